#include "tests/endtoend/Stream.h"

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <thread>

namespace endtoend {
namespace {

// The draw callback has no user pointer: one stream at a time carries an overlay.
std::mutex s_mutex;
std::condition_variable s_arrived;
DrawOutlines s_outlines;
int s_iCycles = 0;

int KeepOutlines(int, int, DrawOutlines outlines)
{
    const std::lock_guard<std::mutex> lock(s_mutex);
    s_outlines = std::move(outlines);
    ++s_iCycles;
    s_arrived.notify_all();
    return 0;
}

/// Handles of windows that no display has.
void* Window(int iNumber)
{
    return reinterpret_cast<void*>(std::intptr_t{0x7f000000} + iNumber);
}

CLS_FishPlayer& Manager()
{
    return *CLS_FishPlayer::GetInstance();
}

const char* MountName(int iInstallation)
{
    return iInstallation == 1 ? "wall" : iInstallation == 2 ? "floor" : "ceiling";
}

}  // namespace

optics::Lens ClipLens()
{
    optics::LensParameters st;
    st.eModel = optics::LensModel::Stereographic;
    st.stCentre = {(CONST_CLIP - 1) / 2.0, (CONST_CLIP - 1) / 2.0};
    st.dCircleRadius = CONST_CLIP / 2.0;
    std::string strError;
    return optics::Lens::Make(st, strError).value();
}

std::vector<unsigned char> ClipOf(int iInstallation)
{
    const std::string strDirectory = std::getenv("FISHEYE_TEST_CLIPS");
    std::ifstream file(strDirectory + "/" + MountName(iInstallation) + ".ts", std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::vector<unsigned char> StreamHeader()
{
    const std::int32_t iSize = 12;
    std::vector<unsigned char> header(iSize);
    std::memcpy(header.data(), &iSize, sizeof(iSize));
    std::memcpy(header.data() + 4, "MPTS", 4);
    header[10] = 1;  // stereographic
    header[11] = 1;  // the largest centred circle
    return header;
}

scene::Picture Truth(int iInstallation, const optics::View& stView, int iWidth, int iHeight)
{
    scene::Renderer st(optics::MountOf(iInstallation), iWidth, iHeight,
                       scene::ThroughView(stView, iWidth, iHeight, ClipLens()));
    return st.Render(CONST_TIME);
}

void Pictures::Receive(int, int, void* pBgra, unsigned int uiWidth, unsigned int uiHeight,
                       void* pSelf)
{
    auto& self = *static_cast<Pictures*>(pSelf);
    const auto* const p = static_cast<const std::uint8_t*>(pBgra);
    const std::lock_guard<std::mutex> lock(self.m_mutex);
    self.m_stPicture = {int(uiWidth), int(uiHeight), {}};
    self.m_stPicture.vecRgb.reserve(std::size_t{3} * uiWidth * uiHeight);
    for (std::size_t i = 0; i < std::size_t{4} * uiWidth * uiHeight; i += 4)
        self.m_stPicture.vecRgb.insert(self.m_stPicture.vecRgb.end(), {p[i + 2], p[i + 1], p[i]});
    ++self.m_iCount;
    self.m_arrived.notify_all();
}

Size SizeOf(int iKind)
{
    switch (iKind) {
    case CORRECT_TYPE_180:
        return {180, 90};
    case CORRECT_TYPE_360:
        return {360, 90};
    case CORRECT_TYPE_PTZ:
        return {128, 96};
    default:
        return {160, 160};
    }
}

Stream::Stream(int iInstallation, int iDrawMode, const std::map<int, int>& mapViews)
    : m_iInstallation(iInstallation), m_iDrawMode(iDrawMode)
{
    QMap<int, QVector<int>> ids;
    std::vector<unsigned char> header = StreamHeader();
    if (Manager().FishPlayer_CreatePlayerFromStream({iInstallation, iDrawMode}, Window(1), {}, 0,
                                                    header.data(), int(header.size()), &m_iPlayer,
                                                    ids, {0, 0}))
        return;
    Manager().FishPlayer_RegisterDrawCallback(m_iPlayer, KeepOutlines);
    m_blLaidOut = LayOut(mapViews);
}

bool Stream::LayOut(const std::map<int, int>& mapViews)
{
    QMap<int, QVector<void*>> windows;
    int iWindow = 1;
    for (const auto& [iKind, iNumber] : mapViews)
        for (int i = 0; i < iNumber; ++i)
            windows[iKind].append(Window(++iWindow));
    QMap<int, QVector<int>> ids;
    const int iRet = Manager().FishPlayer_CreateSubPlayer(
        {m_iInstallation, m_iDrawMode}, m_iPlayer, windows, ids, {m_iDrawMode, n_DrawType_Fec});
    return iRet == 0 && FindCorrects(mapViews);
}

/// The manager keeps the engine's ids to itself. The engine gives them out in ascending order: the
/// main window's with the player, then those of the views in the order of the layout.
bool Stream::FindCorrects(const std::map<int, int>& mapViews)
{
    constexpr int iFar = 100000;
    std::vector<ViewName> vecViews{{CORRECT_TYPE_FISHEYE, 0}};
    for (const auto& [iKind, iNumber] : mapViews)
        for (int i = 0; i < iNumber; ++i)
            if (iKind != CORRECT_TYPE_SOURCE && iKind != CORRECT_TYPE_FISHEYE)
                vecViews.emplace_back(iKind, i);
    int iCorrect = 0;
    for (const ViewName& stView : vecViews) {
        const Size stSize = SizeOf(stView.first);
        do {
            if (++iCorrect == iFar)
                return false;
        } while (ENGINE(RV_SetPlayRectEx)(m_iPlayer, iCorrect, stSize.iWidth, stSize.iHeight) < 0);
        m_mapCorrects[stView] = iCorrect;
        auto& pPictures = m_mapPictures[stView];  // one that is replaced has no view any more
        pPictures = std::make_unique<Pictures>();
        VX_Framework::VideoPlayer::CLS_VxPlayer_SDK::RV_SetFishEyeCorrectCallBack(
            m_iPlayer, iCorrect, Pictures::Receive, pPictures.get());
    }
    return true;
}

Stream::~Stream()
{
    if (m_iPlayer >= 0)
        Manager().FishPlayer_DeleteAllPlayer(m_iPlayer);
}

int Stream::Put(const unsigned char* pData, int iSize)
{
    for (;;) {
        const int iRet = Manager().FishPlayer_PutStreamToPlayer(
            m_iPlayer, 0, const_cast<unsigned char*>(pData), iSize);
        if (RV_BUFFER_FULL != iRet)
            return iRet;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

void Stream::Feed()
{
    const std::vector<unsigned char> clip = ClipOf(m_iInstallation);
    Put(clip.data(), int(clip.size()));
    ENGINE(RV_PlayerControl)(m_iPlayer, RV_CONTROL_END_OF_STREAM, nullptr, 0);
}

tagCorrectPtzPara Stream::Ptz(int iIndex) const
{
    tagCorrectPtzPara st{};
    VX_Framework::VideoPlayer::CLS_VxPlayer_SDK::RV_GetFishEyeCorrectPara(
        m_iPlayer, Correct({CORRECT_TYPE_PTZ, iIndex}), RV_KIND_PTZ, &st, int{sizeof(st)});
    return st;
}

float Stream::Angle(int iKind) const
{
    tagCorrectWideScanPara st{};
    VX_Framework::VideoPlayer::CLS_VxPlayer_SDK::RV_GetFishEyeCorrectPara(
        m_iPlayer, Correct({iKind, 0}), RV_KIND_WIDE_SCAN, &st, int{sizeof(st)});
    return st.fAngle;
}

optics::View Stream::View(const ViewName& stView) const
{
    optics::ViewParameters st;
    st.eKind = optics::ViewKind(stView.first);
    st.eMount = optics::MountOf(m_iInstallation);
    st.iWidth = SizeOf(stView.first).iWidth;
    st.iHeight = SizeOf(stView.first).iHeight;
    if (stView.first == CORRECT_TYPE_PTZ) {
        const tagCorrectPtzPara stPara = Ptz(stView.second);
        st.stCentre = {stPara.iPTZPositionX / 10000.0, stPara.iPTZPositionY / 10000.0};
        st.dZoom = stPara.iPTZZoom;
    }
    if (stView.first == CORRECT_TYPE_180 || stView.first == CORRECT_TYPE_360)
        st.dAngleDeg = double(Angle(stView.first));
    return optics::View(st);
}

double Stream::LikeTheRoom(const ViewName& stView)
{
    const Size stSize = SizeOf(stView.first);
    const scene::Picture stTruth =
        Truth(m_iInstallation, View(stView), stSize.iWidth, stSize.iHeight);
    const auto [stPicture, blFound] = PicturesOf(stView).Await([&](const scene::Picture& st) {
        return st.vecRgb.size() == stTruth.vecRgb.size() &&
               Psnr(st, stTruth) >= CONST_LIKE_THE_ROOM;
    });
    return stPicture.vecRgb.size() == stTruth.vecRgb.size() ? Psnr(stPicture, stTruth) : 0;
}

DrawOutlines Stream::Outlines()
{
    std::unique_lock<std::mutex> lock(s_mutex);
    const int iBefore = s_iCycles;
    // The cycle that is under way may have looked before this call.
    s_arrived.wait_for(lock, CONST_PATIENCE, [&] { return s_iCycles >= iBefore + 2; });
    return s_outlines;
}

}  // namespace endtoend
