#include "tests/walk/Walk.h"

#include <algorithm>
#include <cmath>
#include <iterator>

#include <QReadWriteLock>

#include "VideoPlayer_FishEye/fec/CLS_VxAlgoFcu.h"
#include "VideoPlayer_Vx/CLS_VxPlayer_SDK.h"
#include "tests/support/DeliberateLeak.h"
#include "tests/walk/Access.h"

using VX_Framework::VideoPlayer::CLS_VxPlayer_SDK;

namespace walk {

namespace {

int s_decodeType = 0;  // the library's own outlives a walk

void Require(bool same, const char* what)
{
    if (!same)
        throw Mismatch(std::string("differs: ") + what);
}

/// Equal, or no number on either side.
bool Same(double real, double model)
{
    return real == model || (std::isnan(real) && std::isnan(model));
}

}  // namespace

// How often each operation is called. The sum is what one byte can pick from, about.
const std::vector<Walk::Step> Walk::s_steps = {
    {2, &Walk::ToggleEntry},
    {10, &Walk::RestoreEntries},
    {2, &Walk::DecodeSettings},
    {2, &Walk::AlgorithmBinding},
    {1, &Walk::PlantInRegistry},
    {3, &Walk::PlantInViews},
    {1, &Walk::FacadeSystem},
    {2, &Walk::FacadeCreateMain},
    {1, &Walk::FacadeCreateFromFile},
    {4, &Walk::FacadeCreateFromStream},
    {8, &Walk::FacadeCreateSub},
    {2, &Walk::FacadeDeleteAll},
    {2, &Walk::FacadeDeleteSub},
    {6, &Walk::FacadePutStream},
    {10, &Walk::FacadeSwitches},
    {10, &Walk::FacadeCorrectWindow},
    {12, &Walk::FacadeDrawWindow},
    {10, &Walk::FacadePtzWindow},
    {14, &Walk::FacadePtz},
    {2, &Walk::MainConstruct},
    {1, &Walk::MainDestroy},
    {4, &Walk::MainCreate},
    {8, &Walk::MainLayOut},
    {2, &Walk::MainDelete},
    {3, &Walk::MainPutStream},
    {8, &Walk::MainSwitches},
    {12, &Walk::MainDraw},
    {5, &Walk::MainPoints},
    {6, &Walk::MainCorrectWindow},
    {6, &Walk::MainDrawWindow},
    {6, &Walk::MainPtzWindow},
    {8, &Walk::MainPtz},
    {4, &Walk::ViewConstruct},
    {2, &Walk::ViewDestroy},
    {8, &Walk::ViewCreate},
    {3, &Walk::ViewDelete},
    {8, &Walk::ViewMove},
    {8, &Walk::ViewDrag},
    {4, &Walk::ViewZoom},
    {8, &Walk::ViewPtz},
    {5, &Walk::ViewPtzPara},
    {5, &Walk::ViewWidePara},
    {8, &Walk::ViewOutline},
    {6, &Walk::ViewDraw},
    {5, &Walk::ViewCoordinates},
    {3, &Walk::ViewOrbit},
};

Walk::Walk(ByteSource& source, bool overlays)
    : m_source(source), m_values(source), m_world(source), m_overlays(overlays),
      m_modelFacade(m_setting)
{
    CLS_FishPlayer::GetInstance();  // loads the engine
    CLS_VxAlgoFcu::LoadLib();
    ReadEngineEntries();
    ReadAlgorithmEntries();
    m_world.TakeEvents();
}

/// The next walk finds the bindings whole, however this one ended.
Walk::~Walk()
{
    for (const Entry& entry : m_entries)
        entry.resolve(true);
}

template <class Function>
void Walk::AddEntry(const char* name, Function*& pointer)
{
    m_entries.push_back({name,
                         [&pointer, found = pointer](bool on) { pointer = on ? found : nullptr; },
                         [&pointer] { return nullptr != pointer; }});
}

// Those that the library tests before it calls them.
void Walk::ReadEngineEntries()
{
    m_entries.erase(std::remove_if(m_entries.begin(), m_entries.end(),
                                   [](const Entry& entry) { return 'R' == entry.name[0]; }),
                    m_entries.end());
#define WALK_ENTRY(name) AddEntry(#name, CLS_VxPlayer_SDK::name)
    WALK_ENTRY(RV_CreateSystem);
    WALK_ENTRY(RV_DeletePlayer);
    WALK_ENTRY(RV_Play);
    WALK_ENTRY(RV_PutStreamToPlayer);
    WALK_ENTRY(RV_CreateFishEyeCorrect);
    WALK_ENTRY(RV_DeleteFishEyeCorrect);
    WALK_ENTRY(RV_SetFishEyeCorrectCallBack);
    WALK_ENTRY(RV_CreatePlayerForSpecialNeeds);
    WALK_ENTRY(RV_SetFishEyeCorrectEnable);
    WALK_ENTRY(RV_GetFishEyeCorrectPara);
    WALK_ENTRY(RV_SetFishEyeCorrectPara);
#undef WALK_ENTRY
}

void Walk::ReadAlgorithmEntries()
{
#define WALK_ENTRY(name) AddEntry(#name, CLS_VxAlgoFcu::name)
    WALK_ENTRY(VxAlgo_FCU_Creat);
    WALK_ENTRY(VxAlgo_FCU_Release);
    WALK_ENTRY(VxAlgo_FCU_Init);
    WALK_ENTRY(VxAlgo_FCU_Process);
    WALK_ENTRY(VxAlgo_FCU_GetLibInfo);
    WALK_ENTRY(VxAlgo_FCU_Point_Transform);
#undef WALK_ENTRY
}

std::string Walk::Run(int steps)
{
    try {
        Begin();
        for (m_step = 1; m_step <= steps && !m_source.Empty(); ++m_step)
            Go();
        Clear();
    } catch (const Mismatch& mismatch) {
        return "step " + std::to_string(m_step) + ": " + m_doing + "\n  " + mismatch.what() +
               "\n  what happened:\n" + m_story;
    }
    return {};
}

void Walk::Begin()
{
    Doing("CLS_FishPlayer");
    m_facade = std::make_unique<Facade>();
    Check(0, [this] {
        m_modelFacade.CreateSystem();
        return 0;
    });
}

void Walk::Go()
{
    static const std::vector<const Step*> choices = [] {
        std::vector<const Step*> expanded;
        for (const Step& step : s_steps)
            expanded.insert(expanded.end(), static_cast<std::size_t>(step.weight), &step);
        return expanded;
    }();
    m_world.SetObedient(m_source.Coin());
    const int choice = m_source.Below(static_cast<int>(choices.size()));
    (this->*choices[static_cast<std::size_t>(choice)]->go)();
    Audit();
    if (m_source.OneIn(250) && m_source.OneIn(8))
        ReloadEngine();
}

/// Everything goes, with the entry points that it takes to let go of everything.
void Walk::Clear()
{
    for (const Entry& entry : m_entries)
        entry.resolve(true);
    m_setting.absent.clear();
    while (!m_modelFacade.players.empty()) {
        const int id = m_modelFacade.players.begin()->first;
        const Main main{m_facade->m_qmapMainPlayer.value(id), m_modelFacade.players[id]};
        if (nullptr == main.player) {
            m_facade->m_qmapMainPlayer.remove(id);
            m_modelFacade.players.erase(id);
            continue;
        }
        for (const View& view : ViewsOf(main))
            if (nullptr == main.model->handle)
                m_abandoned.push_back(view);
        Doing("the end: FishPlayer_DeleteAllPlayer", {id});
        bool abandoned = false;
        Check(m_facade->FishPlayer_DeleteAllPlayer(id),
              [&] { return m_modelFacade.DeleteAllPlayer(id, abandoned); });
    }
    m_mains.insert(m_mains.end(), m_replaced.begin(), m_replaced.end());
    m_replaced.clear();
    while (!m_mains.empty())
        MainDestroy();
    m_views.insert(m_views.end(), m_abandoned.begin(), m_abandoned.end());
    m_abandoned.clear();
    while (!m_views.empty())
        ViewDestroy();
    m_facade.reset();
    if (!m_setting.algorithmLoaded)
        CLS_VxAlgoFcu::LoadLib();
    Doing("the end");
    Check(0, [] { return 0; });
}

void Walk::Doing(const char* operation, std::initializer_list<long long> arguments)
{
    m_doing = operation;
    for (const long long argument : arguments)
        m_doing.append(1, ' ').append(std::to_string(argument));
}

void Walk::Check(int result, const std::function<int()>& model)
{
    Replay replay(m_world.TakeEvents());
    m_setting.replay = &replay;
    try {
        const int expected = model();
        replay.Done();
        if (expected != result)
            throw Mismatch("expected the result " + std::to_string(expected) + " and got " +
                           std::to_string(result));
        if (const std::string trespass = World::Trespass(); !trespass.empty())
            throw Mismatch("an overlay thread: " + trespass);
    } catch (const Mismatch&) {
        m_story = replay.Story();
        throw;
    }
}

void Walk::Audit(const View& view)
{
    const CLS_SubPlayer& real = *view.view;
    const ModelView& model = *view.model;
    Require(ViewAccess::Main(real) == model.main, "m_iMainPlayId of a view");
    Require(ViewAccess::Sub(real) == model.sub, "m_iSubPlayId");
    Require(ViewAccess::Window(real) == model.window, "m_pWindow");
    Require(ViewAccess::Handle(real) == model.handle, "m_pFcuHandle of a view");
    Require(ViewAccess::CreateType(real) == model.createType, "m_iCreateType");
    Require(ViewAccess::Mode(real) == model.mode, "m_iCorrectMode");
    const tagCreateCorrectPara create = ViewAccess::Create(real);
    Require(0 == std::memcmp(&create, model.create.Bytes().data(), 88), "m_stCreatePara");
    Require(Same(ViewAccess::X(real), model.x), "m_dPtzX");
    Require(Same(ViewAccess::Y(real), model.y), "m_dPtzY");
}

void Walk::Audit(const Main& main)
{
    const CLS_MainPlayer& real = *main.player;
    const ModelMain& model = *main.model;
    Require(MainAccess::Id(real) == model.id, "m_iMainPlayId");
    Require(MainAccess::Correct(real) == model.correct, "m_iFishCorrectId");
    Require(MainAccess::Window(real) == model.window, "m_pMainWindow");
    Require(MainAccess::Handle(real) == model.handle, "m_pFcuHandle");
    Require(MainAccess::Corrected(real) == model.corrected, "m_blFishEyeEnabled");
    const STRUCT_FishEyeParam camera = MainAccess::Camera(real);
    Require(0 == std::memcmp(&camera, &model.camera, sizeof(camera)), "m_stFishEyeParam");
    const auto& overlay = MainAccess::Overlay(real);
    Require(overlay.m_blDrawEnabled == model.drawEnabled, "m_blDrawEnabled");
    Require(overlay.m_blStopDraw == !model.running, "m_blStopDraw");
    Require(MainAccess::HasThread(real) == model.running, "m_pDrawThread");
    Require(overlay.m_pfDrawCallback ==
                (0 == model.callback ? nullptr : World::Callback(model.callback)),
            "m_pfDrawCallback");
    Require(overlay.m_qmapSubPlayers.size() == static_cast<int>(model.views.size()),
            "the number of kinds of view");
    for (const auto& [type, views] : model.views) {
        const auto found = overlay.m_qmapSubPlayers.constFind(type);
        Require(found != overlay.m_qmapSubPlayers.cend(), "a kind of view");
        Require(found->size() == static_cast<int>(views.size()), "the number of views");
        for (int i = 0; i < found->size(); ++i) {
            const ModelViewPointer& view = views[static_cast<std::size_t>(i)];
            Require((nullptr == found->at(i)) == (nullptr == view), "a view");
            if (nullptr != view)
                Audit(View{found->at(i), view});
        }
    }
}

/// The state of everything that the walk can reach.
void Walk::Audit()
{
    for (const Entry& entry : m_entries)
        Require(entry.resolved() == m_setting.Has(entry.name), entry.name);
    Require(CLS_VxAlgoFcu::m_blLoaded == m_setting.algorithmLoaded, "m_blLoaded");
    const auto& registry = m_facade->m_qmapMainPlayer;
    Require(registry.size() == static_cast<int>(m_modelFacade.players.size()),
            "the number of players");
    for (const auto& [id, model] : m_modelFacade.players) {
        const auto found = registry.constFind(id);
        Require(found != registry.cend(), "the id of a player");
        Require((nullptr == found.value()) == (nullptr == model), "a player");
    }
    for (const Main& main : Mains())
        Audit(main);
    for (const View& view : m_views)
        Audit(view);
}

std::vector<Walk::Main> Walk::Mains() const
{
    std::vector<Main> mains = m_mains;
    for (const auto& [id, model] : m_modelFacade.players)
        if (nullptr != model)
            mains.push_back({m_facade->m_qmapMainPlayer.value(id), model});
    return mains;
}

/// One of those, or null pointers where there is none.
Walk::Main Walk::AnyMain()
{
    const std::vector<Main> mains = Mains();
    if (mains.empty())
        return {nullptr, nullptr};
    return mains[static_cast<std::size_t>(m_source.Below(static_cast<int>(mains.size())))];
}

std::vector<Walk::View> Walk::ViewsOf(const Main& main)
{
    std::vector<View> views;
    const auto& map = MainAccess::Overlay(*main.player).m_qmapSubPlayers;
    for (const auto& [type, models] : main.model->views)
        for (std::size_t i = 0; i < models.size(); ++i)
            if (nullptr != models[i])
                views.push_back({map.value(type).at(static_cast<int>(i)), models[i]});
    return views;
}

/// A view, the walk's own or a main player's; only pan/tilt/zoom views if `ptz`.
Walk::View Walk::AnyView(bool ptz)
{
    std::vector<View> views = m_views;
    if (const Main main = AnyMain(); nullptr != main.player && m_source.Coin())
        views = ViewsOf(main);
    views.erase(std::remove_if(views.begin(), views.end(),
                               [ptz](const View& view) {
                                   const ModelView::Kind kind = view.model->kind;
                                   return ptz ? ModelView::Kind::Ptz != kind
                                              : ModelView::Kind::Planted == kind;
                               }),
                views.end());
    if (views.empty())
        return {nullptr, nullptr};
    return views[static_cast<std::size_t>(m_source.Below(static_cast<int>(views.size())))];
}

/// An id that is in use, as a rule.
int Walk::Id()
{
    const auto& players = m_modelFacade.players;
    if (players.empty() || m_source.OneIn(8))
        return m_source.OneIn(4) ? m_values.Int() : m_source.Below(6);
    auto player = players.begin();
    std::advance(player, m_source.Below(static_cast<int>(players.size())));
    return player->first;
}

int Walk::Index()
{
    return m_source.OneIn(8) ? m_values.Int() : m_source.Below(3);
}

QMap<int, QVector<void*>> Walk::Windows()
{
    QMap<int, QVector<void*>> windows;
    for (int kinds = m_source.Below(5); kinds > 0; --kinds) {
        static constexpr int others[] = {0x101, 0x600, -0x100, 0xFF, 1, 0x10000};
        int type = m_source.Coin() ? 0x100 : m_values.CorrectType();
        if (m_source.OneIn(8))
            type = m_source.OneOf(others);
        int handles = m_source.OneIn(8) ? 0 : 1 + m_source.Below(3);
        if (m_source.OneIn(16))
            handles = 8 + m_source.Below(3);
        QVector<void*>& vector = windows[type];
        vector.clear();
        while (vector.size() < handles)
            vector.append(m_values.Window());
    }
    return windows;
}

/// With overlays, one of the windows often is to carry the overlay; without, none ever is.
STRUCT_FishDrawParam Walk::DrawParam(const QMap<int, QVector<void*>>& windows)
{
    static constexpr int others[] = {0, 0x100, 0, 0x600, -1, 0x301};
    int type = m_source.OneIn(8) ? m_values.Int() : m_source.OneOf(others);
    if (m_overlays && !windows.isEmpty() && m_source.Coin())
        type = windows.lastKey();
    const bool starts = 0x200 <= type && type <= 0x500 && 0 == type % 0x100;
    return {starts && !m_overlays ? 1 : type, m_values.DrawType()};
}

/// A header and its length; null now and then.
unsigned char* Walk::Header()
{
    m_headSize = 12;
    if (m_source.OneIn(8))
        m_headSize = m_source.OneIn(4) ? m_values.Int() : m_source.Below(20);
    m_header.assign(static_cast<std::size_t>(std::clamp(m_headSize, 0, 12)), 0);
    m_header.shrink_to_fit();
    for (unsigned char& byte : m_header)
        byte = m_source.Byte();
    const std::int32_t claimed = m_source.OneIn(32) ? m_values.Int() : m_headSize;
    std::copy_n(reinterpret_cast<const unsigned char*>(&claimed),
                std::min(m_header.size(), sizeof(claimed)), m_header.begin());
    m_headerFits = claimed == m_headSize && m_headSize >= 4;
    if (m_source.OneIn(24))
        return nullptr;
    static unsigned char none;
    return m_header.empty() ? &none : m_header.data();
}

/// The client's variable, holding what it happens to hold; null now and then.
int* Walk::IdPointer(IdPlace& place)
{
    m_id = Id();
    place = {&m_id, m_id};
    return m_source.OneIn(24) ? nullptr : &m_id;
}

void* Walk::Handle()
{
    static char objects[3];
    return m_source.OneIn(12) ? nullptr : &objects[m_source.Below(3)];
}

/// Whether an object may be left behind by design.
bool Walk::MayFail(const QMap<int, QVector<void*>>& windows) const
{
    bool null = false;
    for (const QVector<void*>& handles : windows)
        null = null || handles.contains(nullptr);
    return null || !m_setting.absent.empty() || !m_world.Obedient();
}

/// A player that cannot be torn down leaves its overlay thread running for ever: none does here.
void Walk::Spare(const ModelMain& model)
{
    if (!model.running)
        return;
    for (const Entry& entry : m_entries)
        if (std::string("VxAlgo_FCU_Release") == entry.name)
            entry.resolve(true);
    m_setting.absent.erase("VxAlgo_FCU_Release");
}

void Walk::ToggleEntry()
{
    const Entry& entry =
        m_entries[static_cast<std::size_t>(m_source.Below(static_cast<int>(m_entries.size())))];
    Doing(entry.name);
    entry.resolve(false);
    m_setting.absent.insert(entry.name);
}

void Walk::RestoreEntries()
{
    Doing("all entry points");
    for (const Entry& entry : m_entries)
        entry.resolve(true);
    m_setting.absent.clear();
}

/// Released, the binding keeps its pointers; loaded again, it has all of them.
void Walk::ReloadEngine()
{
    Doing("ReleaseLib");
    Require(CLS_VxPlayer_SDK::ReleaseLib(), "ReleaseLib");
    Audit();
    Require(CLS_VxPlayer_SDK::ReleaseLib(), "ReleaseLib when released");
    Require(!CLS_VxPlayer_SDK::LoadLib("no-such-engine.dylib"), "LoadLib of nothing");
    Audit();
    Check(m_facade->FishPlayer_CreateSystem(), [this] {
        for (const Entry& entry : m_entries)
            if ('R' == entry.name[0])
                m_setting.absent.erase(entry.name);
        return m_modelFacade.CreateSystem();
    });
    ReadEngineEntries();
    Require(CLS_VxPlayer_SDK::LoadLib("no-such-engine.dylib"), "LoadLib when loaded");
    Audit();
}

void Walk::DecodeSettings()
{
    const auto debug = [this](const std::string& text) {
        m_setting.replay->Line(QtDebugMsg, "VideoPlayer_Vx", text);
    };
    const auto warning = [this](const std::string& text) {
        m_setting.replay->Line(QtWarningMsg, "VideoPlayer_Vx", text);
    };
    switch (m_source.Below(3)) {
    case 0: {
        const int type = m_values.Int();
        Doing("SetDecordType", {type});
        CLS_VxPlayer_SDK::SetDecordType(type);
        return Check(0, [&] {
            debug("pokkel---SetDecordType s_iDecodeType =   " + std::to_string(s_decodeType) +
                  "  _iDecodeType =   " + std::to_string(type));
            s_decodeType = type;
            return 0;
        });
    }
    case 1:
        Doing("SetDecodeMode");
        return Check(CLS_VxPlayer_SDK::SetDecodeMode(), [&] {
            debug("RV_SetAVMode video=   1  audio=   0  aac=   0  main_mode=   5  sub_mode=   0");
            Record record(28);
            record.Int(0, 28).Int(4, 1).Int(16, 5);
            const Event& answer =
                m_setting.replay->Call("RV_SetAVMode", {2, Argument::Address(), 28}, {record});
            if (answer.result < 0)
                warning("RV_SetAVMode faild");
            return answer.result >= 0 ? 1 : 0;
        });
    default:
        Doing("SetHardDecodeMode");
        return Check(SetHardDecodeMode(), [&] {
            Record record(16);
            record.Int(0, 16).Int(8, 256).Int(12, 7);
            const Event& answer =
                m_setting.replay->Call("RV_SetVideoMode", {3, Argument::Address(), 16}, {record});
            if (answer.result < 0)
                warning("SetHardDecodeMode faild");
            return answer.result >= 0 ? 1 : 0;
        });
    }
}

/// The binding forgets that it is loaded, and finds everything again.
void Walk::AlgorithmBinding()
{
    if (m_source.OneIn(4)) {
        Doing("CLS_VxAlgoFcu::m_blLoaded = false");
        CLS_VxAlgoFcu::m_blLoaded = false;
        m_setting.algorithmLoaded = false;
        return;
    }
    Doing("CLS_VxAlgoFcu");
    Check(CLS_VxAlgoFcu::ReleaseLib(), [] { return -1; });
    Check(CLS_VxAlgoFcu::LoadLib(), [this] {
        if (!m_setting.algorithmLoaded)
            for (const Entry& entry : m_entries)
                if ('V' == entry.name[0])
                    m_setting.absent.erase(entry.name);
        m_setting.algorithmLoaded = true;
        return 0;
    });
}

/// A null in the registry, where nobody is.
void Walk::PlantInRegistry()
{
    const int id = Id();
    Doing("a null player", {id});
    if (0 != m_modelFacade.players.count(id)) {
        if (nullptr == m_modelFacade.players[id]) {
            m_facade->m_qmapMainPlayer.remove(id);
            m_modelFacade.players.erase(id);
        }
        return;
    }
    m_facade->m_qmapMainPlayer[id] = nullptr;
    m_modelFacade.players[id] = nullptr;
}

/// Nulls and views of the client's own among a main player's views.
void Walk::PlantInViews()
{
    const Main main = AnyMain();
    if (nullptr == main.player)
        return;
    const int type = m_source.OneIn(4) ? m_values.CorrectType() : 0x100;
    auto& overlay = MainAccess::Overlay(*main.player);
    const int what = m_source.Below(4);
    Doing("something among the views", {type, what});
    const QWriteLocker lock(&overlay.m_rwlSubPlayers);
    QVector<CLS_SubPlayer*>& real = overlay.m_qmapSubPlayers[type];
    std::vector<ModelViewPointer>& model = main.model->views[type];
    if (1 == what) {
        real.append(nullptr);
        model.push_back(nullptr);
    } else if (2 == what) {
        real.append(new PlantedView);
        model.push_back(std::make_shared<ModelView>(m_setting, ModelView::Kind::Planted));
    } else if (3 == what && !model.empty() && nullptr != model.back()) {
        m_views.push_back({real.back(), model.back()});
        real.back() = nullptr;
        model.back() = nullptr;
    }
}

}  // namespace walk
