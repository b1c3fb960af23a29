// Engines and algorithm libraries that lack one entry point. The program runs once for each of the
// 83 names, with the suites MissingEntry and Without_<name>: binding happens once in a process.
#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <string>
#include <utility>

#include "VideoPlayer_FishEye/CLS_FishPlayer.h"
#include "tests/manager/AlgorithmEntries.h"
#include "tests/manager/EngineEntries.h"
#include "tests/manager/MainPlayerProbe.h"
#include "tests/manager/OverlayClient.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using VX_Framework::VideoPlayer::CLS_VxPlayer_SDK;

/// The name that this process lacks.
std::string Missing()
{
    const char* const name = std::getenv("FISHEYE_TEST_WITHOUT");
    return nullptr == name ? "" : name;
}

bool IsAlgorithmEntry(const std::string& name)
{
    return 0 == name.rfind("VxAlgo_", 0);
}

/// The lines of the first main player in this process, with which the algorithm library is loaded.
const std::vector<LogLine>& FirstMainPlayer(LogCapture& log)
{
    static const std::vector<LogLine> lines = [&log] {
        {
            const CLS_MainPlayer first;
        }
        return log.TakeLines();
    }();
    return lines;
}

class MissingEntry : public ManagerTest
{
protected:
    MissingEntry() : m_first(FirstMainPlayer(m_log)) { fake::Reset(); }

    const std::vector<LogLine>& m_first;
};

TEST_F(MissingEntry, ItsPointerIsNullAndEveryOtherIsNot)
{
    int missing = 0;
    for (const EngineEntry& entry : EngineEntries()) {
        const bool isMissing = Missing() == entry.exported;
        EXPECT_EQ(nullptr == entry.address, isMissing) << entry.pointer;
        missing += isMissing;
    }
    for (const AlgorithmEntry& entry : AlgorithmEntries()) {
        const bool isMissing = Missing() == entry.name;
        EXPECT_EQ(nullptr == entry.address, isMissing) << entry.name;
        missing += isMissing;
    }
    EXPECT_EQ(missing, 1) << Missing();
}

TEST_F(MissingEntry, TheEngineCountsAsLoaded)
{
    EXPECT_TRUE(CLS_VxPlayer_SDK::LoadLib("no such library"));
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(MissingEntry, TheFirstAlgorithmLoadFailsWithItsNameAndTheNextSucceedsWithoutALine)
{
    if (IsAlgorithmEntry(Missing()))
        EXPECT_THAT(
            m_first,
            ElementsAre(
                Warning("[ CLS_VxAlgoFcu::LoadLib nullptr == " + Missing() + " ]"),
                Warning(WithValue(
                    "[  CLS_MainPlayer::CLS_MainPlayer CLS_VxAlgoFcu::LoadLib fail iRet = ", -1)),
                Warning("[  CLS_MainPlayer::~CLS_MainPlayer nullptr == m_pFcuHandle ]")));
    else  // what the destructor of a player without a stream says
        EXPECT_THAT(m_first,
                    ElementsAre(Warning("[  CLS_MainPlayer::DeleteAllPlayer m_iMainPlayId < 0 ]")));
    EXPECT_TRUE(CLS_VxAlgoFcu::m_blLoaded);
    EXPECT_EQ(CLS_VxAlgoFcu::LoadLib(), 0);
    EXPECT_EQ(CLS_VxAlgoFcu::ReleaseLib(), -1);
    EXPECT_THAT(Lines(), IsEmpty());
}

/// A main player as after a successful creation, whatever the engine lacks.
class WithoutEntry : public MissingEntry
{
protected:
    WithoutEntry()
    {
        m_player.m_iMainPlayId = CONST_PLAYER;
        m_player.m_pMainWindow = Window(5);
        m_player.m_stFishEyeParam = {4, 0x300};
        Forget();
    }

    void Forget()
    {
        Lines();
        Calls();
    }

    int LayOut(const QMap<int, QVector<void*>>& windows, STRUCT_FishDrawParam draw = {0, 0})
    {
        QMap<int, QVector<int>> ids;
        return m_player.CreateSubPlayers({4, 0x300}, CONST_PLAYER, windows, ids, draw);
    }

    int Create(int iStreamType, int* piId)
    {
        std::vector<unsigned char> header = StreamHeader();
        return m_player.CreateMainPlayer({4, 0x300}, Window(5), iStreamType, header.data(), 12,
                                         piId);
    }

    std::vector<std::string> CallNames()
    {
        std::vector<std::string> names;
        for (const fake::Call& call : Calls())
            names.push_back(call.name);
        return names;
    }

    MainPlayerProbe m_player;
};

// The player engine.

using Without_RV_CreateSystem = WithoutEntry;

TEST_F(Without_RV_CreateSystem, CreateSystemIsRefusedAndPlayersWorkAllTheSame)
{
    CLS_FishPlayer& facade = *CLS_FishPlayer::GetInstance();
    EXPECT_EQ(facade.FishPlayer_CreateSystem(), -1);
    EXPECT_THAT(
        Lines(),
        ElementsAre(Warning(
            "[  CLS_FishPlayer::FishPlayer_CreateSystem nullptr == CLS_VxPlayer_SDK::RV_CreateSystem ]")));
    int id = -1;
    EXPECT_EQ(Create(0, &id), 0);
    EXPECT_EQ(id, CONST_PLAYER);
    EXPECT_THAT(Lines(), IsEmpty());
}

using Without_RV_SetAVMode = WithoutEntry;

TEST_F(Without_RV_SetAVMode, HardwareDecodingWorksAllTheSame)
{
    EXPECT_TRUE(::SetHardDecodeMode());
    EXPECT_THAT(CallNames(), ElementsAre("RV_SetVideoMode"));
}

using Without_RV_SetVideoMode = WithoutEntry;

TEST_F(Without_RV_SetVideoMode, TheDecodeModeWorksAllTheSame)
{
    EXPECT_TRUE(CLS_VxPlayer_SDK::SetDecodeMode());
    EXPECT_THAT(CallNames(), ElementsAre("RV_SetAVMode"));
}

using Without_RV_CreatePlayerForSpecialNeeds = WithoutEntry;

TEST_F(Without_RV_CreatePlayerForSpecialNeeds, CreationIsRefusedForEveryStreamType)
{
    const LogLine refused = Info(
        "[  CLS_MainPlayer::CreateMainPlayer nullptr == CLS_VxPlayer_SDK::RV_CreatePlayerForSpecialNeeds]");
    int id = -77;
    EXPECT_EQ(Create(0, &id), -1);
    EXPECT_EQ(Create(1, &id), -1);
    EXPECT_EQ(id, -77);
    EXPECT_THAT(Lines(), ElementsAre(refused, refused));
    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(Without_RV_CreatePlayerForSpecialNeeds, AMissingIdPointerIsReportedFirst)
{
    EXPECT_EQ(Create(0, nullptr), -1);
    EXPECT_THAT(
        Lines(),
        ElementsAre(Info("[  CLS_MainPlayer::CreateMainPlayer nullptr == _pFishMainPlyerID ]")));
}

using Without_RV_Play = WithoutEntry;

TEST_F(Without_RV_Play, CreationIsRefusedForEveryStreamTypeBeforeAPlayerIsCreated)
{
    const LogLine refused =
        Info("[  CLS_MainPlayer::CreateMainPlayer nullptr == CLS_VxPlayer_SDK::RV_Play]");
    int id = -77;
    EXPECT_EQ(Create(0, &id), -1);
    EXPECT_EQ(Create(1, &id), -1);
    EXPECT_EQ(id, -77);
    EXPECT_THAT(Lines(), ElementsAre(refused, refused));
    EXPECT_THAT(Calls(), IsEmpty());
}

using Without_RV_PutStreamToPlayer = WithoutEntry;

TEST_F(Without_RV_PutStreamToPlayer, DataIsRefusedForEveryStreamTypeAfterItsOwnChecks)
{
    const LogLine refused = Info(
        "[  CLS_MainPlayer::PutStreamToPlayer nullptr == CLS_VxPlayer_SDK::RV_PutStreamToPlayer ]");
    unsigned char data[] = {1, 2};
    EXPECT_EQ(m_player.PutStreamToPlayer(0, data, 2), -1);
    EXPECT_EQ(m_player.PutStreamToPlayer(1, data, 2), -1);
    EXPECT_EQ(m_player.PutStreamToPlayer(0, data, 0), -1);
    EXPECT_THAT(Lines(), ElementsAre(refused, refused,
                                     Info("[  CLS_MainPlayer::PutStreamToPlayer _iSize <= 0 ]")));
    EXPECT_THAT(Calls(), IsEmpty());
}

using Without_RV_DeletePlayer = WithoutEntry;

TEST_F(Without_RV_DeletePlayer, TheViewsAreDeletedAndTheEnginePlayerIsNot)
{
    LayOut({{0x200, {Window(1)}}});
    Forget();
    EXPECT_EQ(m_player.DeleteAllPlayer(), -1);
    EXPECT_THAT(
        Lines(),
        ElementsAre(Warning(
            "[  CLS_MainPlayer::DeleteAllPlayer nullptr == CLS_VxPlayer_SDK::RV_DeletePlayer ]")));
    EXPECT_THAT(CallNames(),
                ElementsAre("RV_SetFishEyeCorrectCallBack", "RV_SetFishEyeCorrectEnable",
                            "RV_SetFishEyeCorrectCallBack", "RV_DeleteFishEyeCorrect"));
    EXPECT_TRUE(m_player.Views().isEmpty());
}

TEST_F(Without_RV_DeletePlayer, AMissingPlayerIsReportedFirst)
{
    m_player.m_iMainPlayId = -1;
    EXPECT_EQ(m_player.DeleteAllPlayer(), -1);
    EXPECT_THAT(Lines(),
                ElementsAre(Warning("[  CLS_MainPlayer::DeleteAllPlayer m_iMainPlayId < 0 ]")));
}

TEST_F(Without_RV_DeletePlayer, TheFacadeForgetsThePlayerAllTheSame)
{
    CLS_FishPlayer& facade = *CLS_FishPlayer::GetInstance();
    std::vector<unsigned char> header = StreamHeader();
    int id = -1;
    EXPECT_EQ(facade.CreateMainPlayer({4, 0x300}, Window(5), 0, header.data(), 12, &id), 0);
    EXPECT_EQ(facade.FishPlayer_DeleteAllPlayer(id), 0);
    EXPECT_EQ(facade.FishPlayer_DeleteAllPlayer(id), -1);
}

using Without_RV_SetFishEyeCorrectEnable = WithoutEntry;

TEST_F(Without_RV_SetFishEyeCorrectEnable, TheCorrectionStaysOff)
{
    EXPECT_EQ(m_player.EnableFishEye(true), -1);
    EXPECT_THAT(
        Lines(),
        ElementsAre(Warning(
            "[  CLS_MainPlayer::EnableFishEye  CLS_VxPlayer_SDK::RV_SetFishEyeCorrectEnable == nullptr ]")));
    EXPECT_FALSE(m_player.m_blFishEyeEnabled);
    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(Without_RV_SetFishEyeCorrectEnable, TheCorrectionStaysOnAndKeepsItsCallback)
{
    m_player.m_blFishEyeEnabled = true;
    m_player.m_iFishCorrectId = CONST_CORRECT;
    EXPECT_EQ(m_player.EnableFishEye(false), -1);
    EXPECT_THAT(
        Lines(),
        ElementsAre(Warning(
            "[  CLS_MainPlayer::EnableFishEye nullptr == CLS_VxPlayer_SDK::RV_SetFishEyeCorrectEnable == nullptr ]")));
    EXPECT_TRUE(m_player.m_blFishEyeEnabled);
    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(Without_RV_SetFishEyeCorrectEnable, ALayoutGoesOnWithoutTheCorrection)
{
    EXPECT_EQ(LayOut({{0x200, {Window(1)}}}), 0);
    EXPECT_THAT(CallNames(), ElementsAre("RV_CreateFishEyeCorrect"));
    EXPECT_EQ(m_player.Views().keys(), QList<int>{0x200});
}

using Without_RV_SetFishEyeCorrectCallBack = WithoutEntry;

TEST_F(Without_RV_SetFishEyeCorrectCallBack, ALayoutIsRefusedBeforeAnythingIsSwitched)
{
    EXPECT_EQ(LayOut({{0x200, {Window(1)}}}, {0x200, 0}), -1);
    EXPECT_THAT(
        Lines(),
        ElementsAre(Warning(
            "[  CLS_MainPlayer::CreateSubPlayers nullptr == CLS_VxPlayer_SDK::RV_SetFishEyeCorrectCallBack ]")));
    EXPECT_THAT(Calls(), IsEmpty());
    EXPECT_FALSE(m_player.m_blFishEyeEnabled);
    EXPECT_FALSE(m_player.m_pOverlay->m_blDrawEnabled);
    EXPECT_TRUE(m_player.Views().isEmpty());
}

TEST_F(Without_RV_SetFishEyeCorrectCallBack, AMissingInstanceAndAMissingPlayerAreReportedFirst)
{
    void* const handle = m_player.m_pFcuHandle;
    m_player.m_pFcuHandle = nullptr;
    EXPECT_EQ(LayOut({}), -1);
    m_player.m_iMainPlayId = -1;
    EXPECT_EQ(LayOut({}), -1);
    m_player.m_pFcuHandle = handle;
    EXPECT_THAT(
        Lines(),
        ElementsAre(Warning("[  CLS_MainPlayer::CreateSubPlayers nullptr == m_pFcuHandle ]"),
                    Warning("[  CLS_MainPlayer::CreateSubPlayers m_iMainPlayId < 0 ]")));
}

TEST_F(Without_RV_SetFishEyeCorrectCallBack, TheCorrectionCanBeSwitchedOnAndNoLongerOff)
{
    EXPECT_EQ(m_player.EnableFishEye(true), 0);
    EXPECT_EQ(m_player.EnableFishEye(false), -1);
    EXPECT_THAT(
        Lines(),
        ElementsAre(Warning(
            "[  CLS_MainPlayer::EnableFishEye nullptr == CLS_VxPlayer_SDK::RV_SetFishEyeCorrectCallBack == nullptr ]")));
    EXPECT_TRUE(m_player.m_blFishEyeEnabled);
    EXPECT_THAT(CallNames(), ElementsAre("RV_SetFishEyeCorrectEnable"));
}

TEST_F(Without_RV_SetFishEyeCorrectCallBack, TeardownGoesOnWhereTheCorrectionCannotBeSwitchedOff)
{
    m_player.EnableFishEye(true);
    Forget();
    EXPECT_EQ(m_player.DeleteAllPlayer(), 0);
    EXPECT_THAT(CallNames(), ElementsAre("RV_DeletePlayer"));
}

using Without_RV_CreateFishEyeCorrect = WithoutEntry;

TEST_F(Without_RV_CreateFishEyeCorrect, ViewsOfTheMainWindowAreCreatedAndAllOthersAreAbandoned)
{
    const DeliberateLeak leak("a view whose creation failed is left allocated");
    EXPECT_EQ(LayOut({{0x000, {Window(1)}},
                      {0x100, {Window(2)}},
                      {0x200, {Window(3)}},
                      {0x300, {Window(4)}},
                      {0x400, {Window(5)}},
                      {0x500, {Window(6)}}}),
              0);
    const LogLine ptz = Warning(
        "[  CLS_PTZSubPlayer::CreatePlayer nullptr == CLS_VxPlayer_SDK::RV_CreateFishEyeCorrect ]");
    const LogLine base = Warning(
        "[  CLS_SubPlayer::CreatePlayer nullptr == CLS_VxPlayer_SDK::RV_CreateFishEyeCorrect ]");
    const LogLine abandoned = Warning(WithValue(
        "[  CLS_MainPlayer::CreateSubPlayers  pSubPlayer->CreatePlayer fail iRet = ", -1));
    EXPECT_THAT(Lines(),
                ElementsAre(ptz, abandoned, base, abandoned, base, abandoned, base, abandoned));
    EXPECT_EQ(m_player.Views().keys(), (QList<int>{0x000, 0x100, 0x500}));
    EXPECT_TRUE(m_player.Views()[0x100].isEmpty());
}

using Without_RV_DeleteFishEyeCorrect = WithoutEntry;

TEST_F(Without_RV_DeleteFishEyeCorrect, EachViewReportsThatItsWindowStaysOpen)
{
    LayOut({{0x100, {Window(1)}}, {0x200, {Window(2)}}});
    Forget();
    EXPECT_EQ(m_player.DeleteAllSubPlayer(), 0);
    // The base closes the window, under the name of another operation.
    const LogLine refused = Warning(
        "[  CLS_SubPlayer::CreatePlayer nullptr == CLS_VxPlayer_SDK::RV_DeleteFishEyeCorrect ]");
    EXPECT_THAT(Lines(), ElementsAre(refused, refused));
    EXPECT_THAT(CallNames(),
                ElementsAre("RV_SetFishEyeCorrectCallBack", "RV_SetFishEyeCorrectEnable",
                            "RV_SetFishEyeCorrectCallBack", "RV_SetFishEyeCorrectCallBack"));
    EXPECT_TRUE(m_player.Views().isEmpty());
}

using Without_RV_GetFishEyeCorrectPara = WithoutEntry;

TEST_F(Without_RV_GetFishEyeCorrectPara, ARoutedCommandIsRefusedByTheView)
{
    LayOut({{0x100, {Window(1)}}});
    Forget();
    EXPECT_EQ(m_player.PTZCtl(0, {1, 1, 1}, n_PTZCtl_Up), -1);
    EXPECT_THAT(
        Lines(),
        ElementsAre(
            Warning(
                "[  CLS_PTZSubPlayer::DeletePlayer nullptr == CLS_VxPlayer_SDK::RV_GetFishEyeCorrectPara ]"),
            Warning(WithValue("[  CLS_PTZSubPlayer::PTZCtl GetCorrectPara fail iRet = ", -1))));
    EXPECT_THAT(Calls(), IsEmpty());
}

using Without_RV_SetFishEyeCorrectPara = WithoutEntry;

TEST_F(Without_RV_SetFishEyeCorrectPara, ARoutedCommandIsRefusedByTheViewOnceItHasRead)
{
    LayOut({{0x100, {Window(1)}}});
    Forget();
    EXPECT_EQ(m_player.PTZCtl(0, {1, 1, 1}, n_PTZCtl_Up), -1);
    EXPECT_THAT(
        Lines(),
        ElementsAre(
            Warning(
                "[  CLS_PTZSubPlayer::SetCorrectPara nullptr == CLS_VxPlayer_SDK::SetCorrectPara"),
            Warning(WithValue("[  CLS_PTZSubPlayer::PTZCtl SetCorrectPara fail iRet = ", -1))));
    EXPECT_THAT(CallNames(), ElementsAre("RV_GetFishEyeCorrectPara"));
}

// The algorithm library.

using Without_VxAlgo_FCU_Creat = MissingEntry;

TEST_F(Without_VxAlgo_FCU_Creat, AMainPlayerHasNoInstance)
{
    const MainPlayerProbe player;
    EXPECT_THAT(
        Lines(),
        ElementsAre(Warning(
            "[  CLS_MainPlayer::CLS_MainPlayer nullptr == CLS_VxAlgoFcu::VxAlgo_FCU_Creat ]")));
    EXPECT_EQ(player.m_pFcuHandle, nullptr);
    EXPECT_THAT(Calls(), IsEmpty());
}

using Without_VxAlgo_FCU_Init = MissingEntry;

TEST_F(Without_VxAlgo_FCU_Init, AMainPlayerKeepsItsUninitialisedInstance)
{
    {
        const MainPlayerProbe player;
        EXPECT_THAT(
            Lines(),
            ElementsAre(Warning(
                "[  CLS_MainPlayer::CLS_MainPlayer nullptr == CLS_VxAlgoFcu::VxAlgo_FCU_Init ]")));
        EXPECT_EQ(player.m_pFcuHandle, fake::Handle());
    }
    EXPECT_THAT(fake::Names(), ElementsAre("VxAlgo_FCU_Creat", "VxAlgo_FCU_Release"));
}

using Without_VxAlgo_FCU_GetLibInfo = WithoutEntry;

TEST_F(Without_VxAlgo_FCU_GetLibInfo, EverythingWorksBecauseNothingCallsIt)
{
    EXPECT_EQ(LayOut({{0x100, {Window(1)}}, {0x200, {Window(2)}}}), 0);
    EXPECT_EQ(m_player.DeleteAllPlayer(), 0);
    EXPECT_THAT(Lines(), IsEmpty());
}

using Without_VxAlgo_FCU_Process = WithoutEntry;

TEST_F(Without_VxAlgo_FCU_Process, APtzViewIsCreatedWithoutAnOutline)
{
    EXPECT_EQ(LayOut({{0x100, {Window(1)}}}), 0);
    EXPECT_THAT(
        Lines(),
        ElementsAre(Warning("[  CLS_PTZSubPlayer::SetFecDraw CLS_VxAlgoFcu::VxAlgo_FCU_Process]")));
    EXPECT_THAT(CallNames(), ElementsAre("RV_SetFishEyeCorrectEnable", "VxAlgo_FCU_Point_Transform",
                                         "RV_CreateFishEyeCorrect"));
    EXPECT_EQ(m_player.Views()[0x100].size(), 1);
}

using Without_VxAlgo_FCU_Point_Transform = WithoutEntry;

const LogLine CONST_NO_TRANSFORM = Warning(
    "[  CLS_MainPlayer::Coord360ToFE  nullptr == CLS_VxAlgoFcu::VxAlgo_FCU_Point_Transform ]");

TEST_F(Without_VxAlgo_FCU_Point_Transform, APointIsRefusedAsItIs)
{
    STRUCT_FecPoint in{10000, 12000};
    STRUCT_FecPoint out{-3, -4};
    EXPECT_EQ(m_player.Coord360ToFE(in, out), -1);
    EXPECT_THAT(Lines(), ElementsAre(CONST_NO_TRANSFORM));
    EXPECT_EQ(in.iX, 10000);
    EXPECT_EQ(in.iY, 12000);
    EXPECT_EQ(out.iX, -3);
    EXPECT_EQ(out.iY, -4);
}

TEST_F(Without_VxAlgo_FCU_Point_Transform, AMissingInstanceIsReportedFirst)
{
    void* const handle = std::exchange(m_player.m_pFcuHandle, nullptr);
    STRUCT_FecPoint in{1, 2};
    STRUCT_FecPoint out{3, 4};
    EXPECT_EQ(m_player.Coord360ToFE(in, out), -1);
    m_player.m_pFcuHandle = handle;
    EXPECT_THAT(Lines(),
                ElementsAre(Warning("[  CLS_MainPlayer::Coord360ToFE  nullptr == m_pFcuHandle ]")));
}

TEST_F(Without_VxAlgo_FCU_Point_Transform, PtzViewsStartAtTheOrigin)
{
    EXPECT_EQ(LayOut({{0x100, {Window(1)}}}), 0);
    EXPECT_THAT(Lines(), ElementsAre(CONST_NO_TRANSFORM));
    const std::vector<fake::Call> created = fake::CallsOf("RV_CreateFishEyeCorrect");
    ASSERT_EQ(created.size(), 1U);
    EXPECT_EQ(created[0].Record<tagCreateCorrectPara>().iPTZPositionX, 0);
    EXPECT_EQ(created[0].Record<tagCreateCorrectPara>().iPTZPositionY, 0);
}

using Without_VxAlgo_FCU_Release = MissingEntry;

const LogLine CONST_NO_HANDLE =
    Warning("[  CLS_MainPlayer::~CLS_MainPlayer nullptr == m_pFcuHandle ]");

TEST_F(Without_VxAlgo_FCU_Release, TheDestructorReportsTheHandleAndLeavesViewsAndEnginePlayer)
{
    auto* const player = new MainPlayerProbe;
    player->m_iMainPlayId = CONST_PLAYER;
    QMap<int, QVector<int>> ids;
    player->CreateSubPlayers({4, 0x300}, CONST_PLAYER, {{0x100, {Window(1)}}}, ids, {0, 0});
    EXPECT_NE(player->m_pFcuHandle, nullptr);
    const auto overlay = player->m_pOverlay;
    Lines();
    Calls();
    delete player;
    EXPECT_THAT(Lines(), ElementsAre(CONST_NO_HANDLE));
    EXPECT_THAT(Calls(), IsEmpty());
    const QVector<CLS_SubPlayer*> left = overlay->m_qmapSubPlayers.value(0x100);
    ASSERT_EQ(left.size(), 1);
    EXPECT_EQ(left[0]->GetSubPlayId(), 11);
    delete left[0];
}

TEST_F(Without_VxAlgo_FCU_Release, ARunningOverlayThreadOutlivesItsMainPlayer)
{
    OverlayClient client;
    auto* const player = new MainPlayerProbe;
    player->m_iMainPlayId = CONST_PLAYER;
    player->RegisterDrawCallback(OverlayClient::Draw);
    QMap<int, QVector<int>> ids;
    player->CreateSubPlayers({4, 0x300}, CONST_PLAYER, {{0x100, {Window(1)}}, {0x300, {Window(2)}}},
                             ids, {0x300, 0});
    const auto overlay = player->m_pOverlay;
    std::thread* const thread = player->m_pDrawThread;
    ASSERT_NE(thread, nullptr);
    client.AwaitCycles(1);
    delete player;
    client.AwaitCycles(client.Cycles() + 2);  // it still draws the views, which are left too
    EXPECT_EQ(client.Last().size(), 1);
    overlay->m_blStopDraw = true;
    thread->join();
    delete thread;
    qDeleteAll(overlay->m_qmapSubPlayers.value(0x100));
    qDeleteAll(overlay->m_qmapSubPlayers.value(0x300));
}

/// Every entry point that the library uses has its suite; a slip in a name would drop its tests.
TEST_F(MissingEntry, ASuiteOfItsOwnExistsWhereTheLibraryUsesIt)
{
    if (!IsAlgorithmEntry(Missing())) {
        const char* const used[] = {
            "RV_SetAVMode",
            "RV_SetVideoMode",
            "RV_CreateSystem",
            "RV_DeletePlayer",
            "RV_Play",
            "RV_PutStreamToPlayer",
            "RV_CreateFishEyeCorrect",
            "RV_DeleteFishEyeCorrect",
            "RV_SetFishEyeCorrectCallBack",
            "RV_CreatePlayerForSpecialNeeds",
            "RV_SetFishEyeCorrectEnable",
            "RV_GetFishEyeCorrectPara",
            "RV_SetFishEyeCorrectPara",
        };
        if (std::end(used) == std::find(std::begin(used), std::end(used), Missing()))
            return;
    }
    const ::testing::UnitTest& unit = *::testing::UnitTest::GetInstance();
    bool found = false;
    for (int i = 0; i < unit.total_test_suite_count(); ++i)
        found = found || unit.GetTestSuite(i)->name() == "Without_" + Missing();
    EXPECT_TRUE(found) << Missing();
}

}  // namespace
