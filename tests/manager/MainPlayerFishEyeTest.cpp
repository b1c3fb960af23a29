// The switch of the engine's fisheye correction.
#include <climits>

#include "tests/manager/MainPlayerProbe.h"
#include "tests/manager/RecordBytes.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using FishEyeSwitchTest = PlayingTest;

TEST_F(FishEyeSwitchTest, OnHandsTheEngineAn88ByteRecord)
{
    EXPECT_EQ(m_player.EnableFishEye(true), 0);
    const std::vector<fake::Call> calls = Calls();
    ASSERT_EQ(calls.size(), 1U);
    EXPECT_EQ(calls[0].name, "RV_SetFishEyeCorrectEnable");
    EXPECT_EQ(calls[0].Int(0), CONST_PLAYER);
    EXPECT_EQ(calls[0].Int(1), 1);
    EXPECT_EQ(calls[0].records[0], RecordBytes(88)
                                       .Int(0, 88)
                                       .Int(4, 4)
                                       .Int(8, 256)
                                       .Int(12, 20)
                                       .Int(16, 0)
                                       .Int(20, 10000)
                                       .Int(24, 0)
                                       .Int(28, 10000)
                                       .Int(32, 0)
                                       .Int(36, 0)
                                       .Int(40, 32)
                                       .Int(44, 0)
                                       .Int(48, 3000)
                                       .Int(52, 4500)
                                       .Int(56, 10000)
                                       .Int(60, 200)
                                       .Int(64, 200)
                                       .Int(68, 0)
                                       .Pointer(72, Window(5))
                                       .Pointer(80, nullptr));
    EXPECT_TRUE(m_player.m_blFishEyeEnabled);
    EXPECT_EQ(m_player.m_iFishCorrectId, CONST_CORRECT);
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(FishEyeSwitchTest, OnTwiceCallsTheEngineOnce)
{
    EXPECT_EQ(m_player.EnableFishEye(true), 0);
    EXPECT_EQ(m_player.EnableFishEye(true), 0);
    EXPECT_EQ(Calls().size(), 1U);
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(FishEyeSwitchTest, OffOnACorrectionThatWasNeverOnIsZeroAndCallsNothing)
{
    EXPECT_EQ(m_player.EnableFishEye(false), 0);
    EXPECT_THAT(Calls(), IsEmpty());
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(FishEyeSwitchTest, OnIsRefusedWhereTheEngineRefusesAndCanBeTriedAgain)
{
    for (const int result : {-1, -8, INT_MIN}) {
        fake::Next("RV_SetFishEyeCorrectEnable", result);
        EXPECT_EQ(m_player.EnableFishEye(true), -1);
        EXPECT_THAT(
            Lines(),
            ElementsAre(Warning(WithValue(
                "[  CLS_MainPlayer::EnableFishEye  CLS_VxPlayer_SDK::RV_SetFishEyeCorrectEnable fail iRet = ",
                result))));
        EXPECT_FALSE(m_player.m_blFishEyeEnabled);
        EXPECT_EQ(m_player.m_iFishCorrectId, -1);
    }
    EXPECT_EQ(m_player.EnableFishEye(true), 0);
    EXPECT_EQ(Calls().size(), 4U);
}

TEST_F(FishEyeSwitchTest, OffClearsTheCallbackOfTheCorrectionAndThenSwitches)
{
    m_player.EnableFishEye(true);
    Calls();
    EXPECT_EQ(m_player.EnableFishEye(false), 0);
    const std::vector<fake::Call> calls = Calls();
    ASSERT_EQ(calls.size(), 2U);
    EXPECT_EQ(calls[0].name, "RV_SetFishEyeCorrectCallBack");
    EXPECT_EQ(calls[0].Int(0), CONST_PLAYER);
    EXPECT_EQ(calls[0].Int(1), CONST_CORRECT);
    EXPECT_EQ(calls[0].arguments[2], 0);
    EXPECT_EQ(calls[0].Pointer<CLS_MainPlayer>(3), &m_player);
    EXPECT_EQ(calls[1].name, "RV_SetFishEyeCorrectEnable");
    EXPECT_EQ(calls[1].arguments, (std::vector<std::intptr_t>{CONST_PLAYER, 0, 0}));
    EXPECT_FALSE(m_player.m_blFishEyeEnabled);
    EXPECT_EQ(m_player.m_iFishCorrectId, CONST_CORRECT);  // the id stays
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(FishEyeSwitchTest, ACorrectionWithTheIdZeroHasACallbackToClear)
{
    fake::Next("RV_SetFishEyeCorrectEnable", 0);
    m_player.EnableFishEye(true);
    m_player.EnableFishEye(false);
    EXPECT_THAT(fake::Names(),
                ElementsAre("RV_SetFishEyeCorrectEnable", "RV_SetFishEyeCorrectCallBack",
                            "RV_SetFishEyeCorrectEnable"));
}

TEST_F(FishEyeSwitchTest, ACorrectionWithoutAnIdHasNone)
{
    m_player.m_blFishEyeEnabled = true;
    EXPECT_EQ(m_player.EnableFishEye(false), 0);
    EXPECT_THAT(fake::Names(), ElementsAre("RV_SetFishEyeCorrectEnable"));
}

TEST_F(FishEyeSwitchTest, OffIgnoresWhatTheEngineAnswers)
{
    m_player.EnableFishEye(true);
    fake::Next("RV_SetFishEyeCorrectCallBack", -5);
    fake::Next("RV_SetFishEyeCorrectEnable", -6);
    EXPECT_EQ(m_player.EnableFishEye(false), 0);
    EXPECT_FALSE(m_player.m_blFishEyeEnabled);
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(FishEyeSwitchTest, OnAgainTakesTheNewId)
{
    m_player.EnableFishEye(true);
    m_player.EnableFishEye(false);
    fake::Next("RV_SetFishEyeCorrectEnable", 14);
    m_player.EnableFishEye(true);
    EXPECT_EQ(m_player.m_iFishCorrectId, 14);
}

TEST_F(FishEyeSwitchTest, WithoutAPlayerAChangeIsRefusedAndWhatIsSoAlreadyIsZero)
{
    const LogLine refused = Warning("[  CLS_MainPlayer::EnableFishEye  m_iMainPlayId < 0 ]");
    m_player.m_iMainPlayId = -1;
    EXPECT_EQ(m_player.EnableFishEye(false), 0);
    EXPECT_THAT(Lines(), IsEmpty());
    EXPECT_EQ(m_player.EnableFishEye(true), -1);
    EXPECT_FALSE(m_player.m_blFishEyeEnabled);
    m_player.m_blFishEyeEnabled = true;
    EXPECT_EQ(m_player.EnableFishEye(true), 0);
    EXPECT_EQ(m_player.EnableFishEye(false), -1);
    EXPECT_TRUE(m_player.m_blFishEyeEnabled);
    EXPECT_THAT(Lines(), ElementsAre(refused, refused));
    EXPECT_THAT(Calls(), IsEmpty());
}

}  // namespace
