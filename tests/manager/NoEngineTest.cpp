// A process in which the player engine cannot be found.
#include "VideoPlayer_Vx/CLS_VxPlayer_SDK.h"
#include "tests/manager/EngineEntries.h"
#include "tests/manager/MainPlayerProbe.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using VX_Framework::VideoPlayer::CLS_VxPlayer_SDK;

const LogLine CONST_LOAD_FAIL =
    Warning("[  CLS_FishPlayer::FishPlayer_CreateSystem CLS_VxPlayer_SDK::LoadLib fail ]");

using NoEngineTest = ManagerTest;

// The first test of the file, because the instance is made once.
TEST(NoEngineFirstUse, TheInstanceExistsAndTheLogSaysWhatIsMissing)
{
    const LogCapture log;
    CLS_FishPlayer* const instance = CLS_FishPlayer::GetInstance();
    EXPECT_NE(instance, nullptr);
    EXPECT_EQ(instance, CLS_FishPlayer::GetInstance());
    EXPECT_THAT(log.Lines(), ElementsAre(CONST_LOAD_FAIL));
}

TEST_F(NoEngineTest, CreateSystemIsRefusedAndLoggedEveryTime)
{
    EXPECT_EQ(CLS_FishPlayer::GetInstance()->FishPlayer_CreateSystem(), -1);
    EXPECT_EQ(CLS_FishPlayer::GetInstance()->FishPlayer_CreateSystem(), -1);
    EXPECT_THAT(Lines(), ElementsAre(CONST_LOAD_FAIL, CONST_LOAD_FAIL));
    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(NoEngineTest, EveryPointerIsNull)
{
    for (const EngineEntry& entry : EngineEntries())
        EXPECT_EQ(entry.address, nullptr) << entry.pointer;
}

TEST_F(NoEngineTest, TheBindingLoadsNothingAndReleasesNothingWithoutALine)
{
    EXPECT_FALSE(CLS_VxPlayer_SDK::LoadLib("libplaysdk.dylib"));
    EXPECT_FALSE(CLS_VxPlayer_SDK::LoadLib("libplaysdk.dylib"));
    EXPECT_TRUE(CLS_VxPlayer_SDK::ReleaseLib());
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(NoEngineTest, DeleteSystemIsZeroAllTheSame)
{
    EXPECT_EQ(CLS_FishPlayer::GetInstance()->FishPlayer_DeleteSystem(), 0);
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(NoEngineTest, AStreamIsRefusedByEveryLevelInItsOwnWords)
{
    std::vector<unsigned char> header = StreamHeader();
    QMap<int, QVector<int>> ids;
    int id = -77;
    const DeliberateLeak leak("a main player that failed is left as it is");
    EXPECT_EQ(CLS_FishPlayer::GetInstance()->FishPlayer_CreatePlayerFromStream(
                  {1, 768}, Window(5), {}, 0, header.data(), 12, &id, ids, {0, 0}),
              -1);
    EXPECT_THAT(
        Lines(),
        ElementsAre(
            Info(
                "[  CLS_MainPlayer::CreateMainPlayer nullptr == CLS_VxPlayer_SDK::RV_CreatePlayerForSpecialNeeds]"),
            Warning(WithValue(
                "[  CLS_FishPlayer::CreateMainPlayer pMainPlayer->CreateMainPlayer fail iRet = ",
                -1)),
            Warning(WithValue(
                "[  CLS_FishPlayer::FishPlayer_CreatePlayerFromStream  CreateMainPlayer fail iRet = ",
                -1))));
    EXPECT_EQ(id, -77);
    EXPECT_THAT(fake::Names(), ElementsAre("VxAlgo_FCU_Creat", "VxAlgo_FCU_Init"));
}

// Members that only a working engine sets are set by hand: whatever a client does then, each entry
// point that is missing is reported and none is called.
TEST_F(NoEngineTest, APlayerReportsEachMissingEntryPointAndCallsNone)
{
    MainPlayerProbe player;
    player.m_iMainPlayId = CONST_PLAYER;
    player.m_blFishEyeEnabled = true;
    Calls();
    unsigned char data[] = {1};
    QMap<int, QVector<int>> ids;
    EXPECT_EQ(player.PutStreamToPlayer(0, data, 1), -1);
    EXPECT_EQ(player.EnableFishEye(false), -1);
    EXPECT_EQ(player.CreateSubPlayers({1, 768}, CONST_PLAYER, {{0x200, {Window(1)}}}, ids, {0, 0}),
              -1);
    EXPECT_EQ(player.DeleteAllPlayer(), -1);
    const std::string off =
        "[  CLS_MainPlayer::EnableFishEye nullptr == CLS_VxPlayer_SDK::RV_SetFishEyeCorrectCallBack == nullptr ]";
    EXPECT_THAT(
        Lines(),
        ElementsAre(
            Info(
                "[  CLS_MainPlayer::PutStreamToPlayer nullptr == CLS_VxPlayer_SDK::RV_PutStreamToPlayer ]"),
            Warning(off),
            Warning(
                "[  CLS_MainPlayer::CreateSubPlayers nullptr == CLS_VxPlayer_SDK::RV_SetFishEyeCorrectCallBack ]"),
            Warning(off),
            Warning(
                "[  CLS_MainPlayer::DeleteAllPlayer nullptr == CLS_VxPlayer_SDK::RV_DeletePlayer ]")));
    player.m_blFishEyeEnabled = false;
    EXPECT_EQ(player.EnableFishEye(true), -1);
    EXPECT_THAT(
        Lines(),
        ElementsAre(Warning(
            "[  CLS_MainPlayer::EnableFishEye  CLS_VxPlayer_SDK::RV_SetFishEyeCorrectEnable == nullptr ]")));
    EXPECT_THAT(Calls(), IsEmpty());
}

}  // namespace
