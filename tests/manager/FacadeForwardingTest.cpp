// What the facade hands to the player of an id, and that it hands the answer back unchanged.
#include <climits>

#include "tests/manager/FacadeProbe.h"
#include "tests/manager/RecordingView.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr int CONST_ID = 42;

class FacadeForwardingTest : public ManagerTest
{
protected:
    FacadeForwardingTest()
    {
        m_facade.m_qmapMainPlayer[CONST_ID] = &m_player;
        m_facade.m_qmapMainPlayer[CONST_ID + 1] = &m_other;
        m_player.m_iMainPlayId = CONST_PLAYER;
        m_other.m_iMainPlayId = CONST_PLAYER + 1;
        Calls();
    }

    std::vector<std::string> m_asked;
    std::vector<std::string> m_askedOther;
    RecordingPlayer m_player{m_asked, -37};
    RecordingPlayer m_other{m_askedOther, 5};
    FacadeProbe m_facade;
    QMap<int, QVector<int>> m_ids;
};

TEST_F(FacadeForwardingTest, StreamDataGoesToThePlayerAsItCame)
{
    unsigned char data[] = {1, 2, 3};
    EXPECT_EQ(m_facade.FishPlayer_PutStreamToPlayer(CONST_ID, 6, data, 3), -37);
    EXPECT_EQ(m_player.m_data, data);
    m_player.m_iResult = 12;
    EXPECT_EQ(m_facade.FishPlayer_PutStreamToPlayer(CONST_ID, INT_MIN, data, 0), 12);
    EXPECT_EQ(m_facade.FishPlayer_PutStreamToPlayer(CONST_ID, 0, data, INT_MAX), 12);
    EXPECT_THAT(m_asked, ElementsAre("PutStreamToPlayer type 6 size 3",
                                     "PutStreamToPlayer type -2147483648 size 0",
                                     "PutStreamToPlayer type 0 size 2147483647"));
    EXPECT_THAT(m_askedOther, IsEmpty());
    EXPECT_THAT(Lines(), IsEmpty());
    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(FacadeForwardingTest, ALayoutGoesToThePlayerAsItCame)
{
    const STRUCT_FishEyeParam param{1, 2};
    const STRUCT_FishDrawParam draw{3, 4};
    const QMap<int, QVector<void*>> windows;
    EXPECT_EQ(m_facade.CreateSubPlayer(param, CONST_ID, windows, m_ids, draw), -37);
    EXPECT_EQ(m_player.m_param, &param);
    EXPECT_EQ(m_player.m_iFishPlayerID, CONST_ID);
    EXPECT_EQ(m_player.m_windows, &windows);
    EXPECT_EQ(m_player.m_ids, &m_ids);
    EXPECT_EQ(m_player.m_draw, &draw);
    EXPECT_EQ(m_facade.CreateSubPlayer(param, CONST_ID + 1, windows, m_ids, draw), 5);
    EXPECT_EQ(m_other.m_iFishPlayerID, CONST_ID + 1);
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(FacadeForwardingTest, ASecondLayoutIsZeroForEveryResultThatIsNotNegative)
{
    EXPECT_EQ(m_facade.FishPlayer_CreateSubPlayer({}, CONST_ID + 1, {}, m_ids, {}), 0);
    EXPECT_THAT(Lines(), IsEmpty());
    EXPECT_EQ(m_facade.FishPlayer_CreateSubPlayer({}, CONST_ID, {}, m_ids, {}), -37);
    EXPECT_THAT(
        Lines(),
        ElementsAre(Warning(WithValue(
            "[  CLS_FishPlayer::FishPlayer_CreateSubPlayer  CreateSubPlayer fail iRet = ", -37))));
}

TEST_F(FacadeForwardingTest, ASecondLayoutOfAnUnknownIdIsReportedTwice)
{
    EXPECT_EQ(m_facade.FishPlayer_CreateSubPlayer({}, 99, {}, m_ids, {}), -1);
    EXPECT_THAT(
        Lines(),
        ElementsAre(
            Warning(WithValue(
                "[  CLS_FishPlayer::CreateSubPlayer !m_qmapMainPlayer.contains(_iFishPlayerID) _iFishPlayerID = ",
                99)),
            Warning(WithValue(
                "[  CLS_FishPlayer::FishPlayer_CreateSubPlayer  CreateSubPlayer fail iRet = ",
                -1))));
}

TEST_F(FacadeForwardingTest, DeletingTheViewsKeepsThePlayer)
{
    EXPECT_EQ(m_facade.FishPlayer_DeleteAllSubPlayer(CONST_ID), -37);
    EXPECT_EQ(m_facade.FishPlayer_DeleteAllSubPlayer(CONST_ID + 1), 5);
    EXPECT_THAT(m_asked, ElementsAre("DeleteAllSubPlayer"));
    EXPECT_THAT(m_askedOther, ElementsAre("DeleteAllSubPlayer"));
    EXPECT_EQ(m_facade.m_qmapMainPlayer.size(), 2);
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(FacadeForwardingTest, TheFisheyeSwitchReachesTheEngine)
{
    EXPECT_EQ(m_facade.FishPlayer_EnableFish(CONST_ID, true), 0);
    EXPECT_TRUE(m_player.m_blFishEyeEnabled);
    EXPECT_FALSE(m_other.m_blFishEyeEnabled);
    EXPECT_EQ(m_facade.FishPlayer_EnableFish(CONST_ID, false), 0);
    EXPECT_FALSE(m_player.m_blFishEyeEnabled);
    fake::Next("RV_SetFishEyeCorrectEnable", -8);
    EXPECT_EQ(m_facade.FishPlayer_EnableFish(CONST_ID, true), -1);
    for (const fake::Call& call : Calls())
        EXPECT_EQ(call.Int(0), CONST_PLAYER);
}

TEST_F(FacadeForwardingTest, TheOverlaySwitchIsSet)
{
    EXPECT_EQ(m_facade.FishPlayer_EnableDraw(CONST_ID, true), 0);
    EXPECT_TRUE(m_player.m_pOverlay->m_blDrawEnabled);
    EXPECT_FALSE(m_other.m_pOverlay->m_blDrawEnabled);
    EXPECT_EQ(m_facade.FishPlayer_EnableDraw(CONST_ID, false), 0);
    EXPECT_FALSE(m_player.m_pOverlay->m_blDrawEnabled);
    EXPECT_THAT(Lines(), IsEmpty());
}

int SomeCallback(int, int, DrawOutlines)
{
    return 0;
}

TEST_F(FacadeForwardingTest, TheDrawCallbackIsRegisteredWithThePlayer)
{
    EXPECT_EQ(m_facade.FishPlayer_RegisterDrawCallback(CONST_ID, SomeCallback), 0);
    EXPECT_EQ(m_player.m_pOverlay->m_pfDrawCallback, SomeCallback);
    EXPECT_EQ(m_other.m_pOverlay->m_pfDrawCallback, nullptr);
    EXPECT_THAT(Lines(), IsEmpty());
    EXPECT_EQ(m_facade.FishPlayer_RegisterDrawCallback(CONST_ID, nullptr), -1);
    EXPECT_THAT(Lines(), ElementsAre(Warning(
                             "[  CLS_MainPlayer::RegisterDrawCallback nullptr == pfunCallback ]")));
}

/// With a recording view of each kind that the four control operations reach.
class FacadeControlTest : public FacadeForwardingTest
{
protected:
    FacadeControlTest()
    {
        m_player.Views()[0x200] = {&m_wide};
        m_player.Views()[0x100] = {&m_first, &m_second};
    }
    ~FacadeControlTest() override { m_player.Views().clear(); }

    RecordingView m_wide{-21};
    RecordingView m_first{-22};
    RecordingView m_second{-23};
};

TEST_F(FacadeControlTest, AStepInAWindowReachesTheViewOfItsType)
{
    EXPECT_EQ(
        m_facade.FishPlayer_CorrectWindowCtl(CONST_ID, 0x200, {1, 2, 3}, n_CtlCmd_Move, {4, 5}),
        -21);
    EXPECT_THAT(m_wide.Asked(), ElementsAre("Move 1,2 in 4x5"));
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(FacadeControlTest, ADragReachesTheViewOfItsNumber)
{
    EXPECT_EQ(m_facade.FishPlayer_DrawWindowCtl(CONST_ID, 1, {1, 2, 3, 4}, n_CtlCmd_Move, {5, 6}),
              -23);
    EXPECT_THAT(m_second.Asked(), ElementsAre("Drag 1,2 to 3,4 in 5x6"));
    EXPECT_THAT(m_first.Asked(), IsEmpty());
}

TEST_F(FacadeControlTest, AStepInAPtzWindowReachesTheViewOfItsNumber)
{
    EXPECT_EQ(m_facade.FishPlayer_PTZWindowCtl(CONST_ID, 1, {1, 2, 3}, n_CtlCmd_Move, {4, 5}), -23);
    EXPECT_EQ(m_facade.FishPlayer_PTZWindowCtl(CONST_ID, 0, {1, 2, 3}, n_CtlCmd_Zoom, {4, 5}), -22);
    EXPECT_THAT(m_second.Asked(), ElementsAre("Move 1,2 in 4x5"));
    EXPECT_THAT(m_first.Asked(), ElementsAre("Zoom 3"));
}

TEST_F(FacadeControlTest, AButtonReachesTheViewOfItsNumber)
{
    EXPECT_EQ(m_facade.FishPlayer_PTZCtl(CONST_ID, 1, {1, 2, 3}, n_PTZCtl_RightDown), -23);
    EXPECT_EQ(m_facade.FishPlayer_PTZCtl(CONST_ID, 0, {1, 2, 3}, static_cast<n_PTZCtlCmd>(12)),
              -22);
    EXPECT_THAT(m_second.Asked(), ElementsAre("PTZCtl 1,2,3 command 7"));
    EXPECT_THAT(m_first.Asked(), ElementsAre("PTZCtl 1,2,3 command 12"));
}

}  // namespace
