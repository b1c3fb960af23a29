#include "viewer/Manager.h"

#include <array>
#include <mutex>
#include <utility>
#include <vector>

#include <dlfcn.h>

#include <QDir>
#include <QFile>
#include <QObject>
#include <QStringList>

#include "VideoPlayer_FishEye/fec/CLS_VxAlgoFcu.h"
#include "VideoPlayer_FishEye/feplayer/CLS_180ViewSubPlayer.h"
#include "VideoPlayer_Vx/CLS_VxPlayer_SDK.h"

using VX_Framework::VideoPlayer::CLS_VxPlayer_SDK;

namespace viewer {

namespace {

/// The draw callback has no user pointer, so each player gets a function of its own.
constexpr std::size_t CONST_SLOTS = 256;

struct Slot
{
    std::mutex mutex;  ///< held while the outlines are handed over
    int player = -1;
    Manager::Outlines outlines;
};

std::array<Slot, CONST_SLOTS>& Slots()
{
    static auto* const all = new std::array<Slot, CONST_SLOTS>;  // outlives overlay threads
    return *all;
}

template <std::size_t number>
int HandOver(int, int, DrawOutlines outlines)
{
    Slot& slot = Slots()[number];
    const std::lock_guard<std::mutex> lock(slot.mutex);
    if (slot.outlines)
        slot.outlines(outlines);
    return 0;
}

template <std::size_t... numbers>
constexpr std::array<DrawCallback, sizeof...(numbers)>
MakeCallbacks(std::index_sequence<numbers...>)
{
    return {HandOver<numbers>...};
}

constexpr auto CONST_CALLBACKS = MakeCallbacks(std::make_index_sequence<CONST_SLOTS>());

constexpr STRUCT_FishWindowRect CONST_UNIT_RECT{10000, 10000};

/// Where the system looks for libraries that this program opens by file name: what the environment
/// names, the program's run path, the system's folders.
QStringList LibraryFolders()
{
    const std::unique_ptr<void, int (*)(void*)> program(::dlopen(nullptr, RTLD_LAZY), ::dlclose);
    Dl_serinfo head{};
    if (!program || ::dlinfo(program.get(), RTLD_DI_SERINFOSIZE, &head) != 0)
        return {};
    std::vector<Dl_serinfo> room(head.dls_size / sizeof(Dl_serinfo) + 1);  // the names lie behind
    room.front() = head;
    if (::dlinfo(program.get(), RTLD_DI_SERINFO, room.data()) != 0)
        return {};
    QStringList folders;
    const Dl_serpath* const paths = room.front().dls_serpath;
    for (unsigned i = 0; i < head.dls_cnt; ++i)
        folders.append(QDir::cleanPath(QFile::decodeName(paths[i].dls_name)));
    folders.removeDuplicates();
    return folders;
}

CLS_FishPlayer& Facade()
{
    return *CLS_FishPlayer::GetInstance();
}

}  // namespace

Manager::~Manager()
{
    if (nullptr != m_algorithm && nullptr != CLS_VxAlgoFcu::VxAlgo_FCU_Release)
        CLS_VxAlgoFcu::VxAlgo_FCU_Release(m_algorithm);
}

Manager& Manager::instance()
{
    static Manager manager;
    return manager;
}

QString Manager::missing() const
{
    Facade();
    const char* const file = nullptr == CLS_VxPlayer_SDK::RV_CreatePlayerForSpecialNeeds
                                 ? "libplaysdk.dylib"
                             : CLS_VxAlgoFcu::LoadLib() < 0 ? "vx_algo_fcu.dylib"
                                                            : nullptr;
    if (nullptr == file)
        return {};
    return QObject::tr("The library %1 cannot be loaded. It was looked for in %2.")
        .arg(file, LibraryFolders().join(", "));
}

int Manager::create(const STRUCT_FishEyeParam& camera, void* mainWindow, QByteArray header)
{
    int player = -1;
    const QWriteLocker lock(&m_lock);
    const int code = Facade().CreateMainPlayer(camera, mainWindow, 0,
                                               reinterpret_cast<unsigned char*>(header.data()),
                                               header.size(), &player);
    return code < 0 ? -1 : player;
}

void Manager::remove(int player)
{
    setOutlines(player, nullptr);
    const QWriteLocker lock(&m_lock);
    Facade().FishPlayer_DeleteAllPlayer(player);
}

bool Manager::layOut(int player, const STRUCT_FishEyeParam& camera,
                     const QMap<int, QVector<void*>>& windows, const STRUCT_FishDrawParam& draw)
{
    const QWriteLocker lock(&m_lock);
    Facade().FishPlayer_DeleteAllSubPlayer(player);
    QMap<int, QVector<int>> ids;
    return Facade().FishPlayer_CreateSubPlayer(camera, player, windows, ids, draw) >= 0;
}

bool Manager::setOutlines(int player, Outlines outlines)
{
    Slot* chosen = nullptr;
    for (Slot& slot : Slots()) {
        const std::lock_guard<std::mutex> lock(slot.mutex);
        if (slot.player == player) {
            chosen = &slot;
            break;
        }
        if (nullptr == chosen && slot.player < 0)
            chosen = &slot;
    }
    if (nullptr == chosen)
        return !outlines;
    {
        const std::lock_guard<std::mutex> lock(chosen->mutex);
        chosen->player = outlines ? player : -1;
        chosen->outlines = std::move(outlines);
        if (!chosen->outlines)
            return true;
    }
    const auto number = static_cast<std::size_t>(chosen - Slots().data());
    Facade().FishPlayer_RegisterDrawCallback(player, CONST_CALLBACKS[number]);
    return true;
}

bool Manager::put(int player, const QByteArray& block)
{
    const QReadLocker lock(&m_lock);
    // The manager takes a pointer to bytes that it does not change.
    auto* const bytes = reinterpret_cast<unsigned char*>(const_cast<char*>(block.constData()));
    return Facade().FishPlayer_PutStreamToPlayer(player, 0, bytes, block.size()) >= 0;
}

int Manager::move(int player, int view, int x, int y)
{
    return Facade().FishPlayer_PTZWindowCtl(player, view, {x, y, 0}, n_CtlCmd_Move,
                                            CONST_UNIT_RECT);
}

int Manager::zoom(int player, int view, int step)
{
    return Facade().FishPlayer_PTZWindowCtl(player, view, {0, 0, step}, n_CtlCmd_Zoom,
                                            CONST_UNIT_RECT);
}

int Manager::press(int player, int view, STRUCT_CtlParam step, n_PTZCtlCmd command)
{
    return Facade().FishPlayer_PTZCtl(player, view, step, command);
}

int Manager::turn(int player, int type, int degrees)
{
    // In a window as wide as the view's span a pixel is a degree.
    const int span = CORRECT_TYPE_180 == type ? 180 : 360;
    return Facade().FishPlayer_CorrectWindowCtl(player, type, {degrees, 0, 0}, n_CtlCmd_Move,
                                                {span, span});
}

int Manager::dragOutline(int player, int view, STRUCT_CtlPointParam way)
{
    return Facade().FishPlayer_DrawWindowCtl(player, view, way, n_CtlCmd_Move, CONST_UNIT_RECT);
}

std::unique_ptr<CLS_180ViewSubPlayer>
Manager::createHalf(int player, const STRUCT_FishEyeParam& camera, void* window)
{
    if (nullptr == m_algorithm && nullptr != CLS_VxAlgoFcu::VxAlgo_FCU_Creat)
        m_algorithm = CLS_VxAlgoFcu::VxAlgo_FCU_Creat(nullptr, nullptr);
    tagCreateCorrectPara record{};
    record.iSize = int{sizeof(record)};
    record.iCreateType = camera.m_iCreateType;
    record.iCorrectMode = CORRECT_TYPE_180;
    record.iPtzIndex = -1;
    record.pWindow = window;
    auto half = std::make_unique<CLS_180ViewSubPlayer>();
    int view = -1;
    if (half->CreatePlayer(m_algorithm, player, record, window, &view) < 0)
        return nullptr;
    return half;
}

}  // namespace viewer
