// Which view a control request reaches, what it is asked, and what is refused.
#include <climits>
#include <functional>
#include <ostream>

#include "tests/manager/FacadeProbe.h"
#include "tests/manager/RecordingView.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr n_CtlCmd CONST_UNKNOWN_COMMANDS[] = {
    static_cast<n_CtlCmd>(2), static_cast<n_CtlCmd>(7), static_cast<n_CtlCmd>(-1),
    static_cast<n_CtlCmd>(INT_MIN), static_cast<n_CtlCmd>(INT_MAX)};

/// A playing main player with two recording pan/tilt/zoom views and one of 180 degrees.
class RoutingTest : public PlayingTest
{
protected:
    RoutingTest()
    {
        m_player.Views()[0x100] = {&m_first, &m_second};
        m_player.Views()[0x200] = {&m_wide};
    }
    ~RoutingTest() override { m_player.Views().clear(); }

    RecordingView m_first{-22};
    RecordingView m_second{23};
    RecordingView m_wide{-21};
};

// By number.

struct ByNumber
{
    const char* name;
    int (*call)(CLS_MainPlayer& player, int index);
    const char* asked;    ///< what the view is asked
    const char* noViews;  ///< the text where there are no pan/tilt/zoom views
    const char* invalid;  ///< the text for a number out of range
};

void PrintTo(const ByNumber& row, std::ostream* out)
{
    *out << row.name;
}

class RoutingByNumber : public RoutingTest, public ::testing::WithParamInterface<ByNumber>
{};

INSTANTIATE_TEST_SUITE_P(
    , RoutingByNumber,
    ::testing::Values(
        ByNumber{"DrawWindowCtl",
                 [](CLS_MainPlayer& player, int index) {
                     return player.DrawWindowCtl(index, {1, -2, 3, -4}, n_CtlCmd_Move, {5, 6});
                 },
                 "Drag 1,-2 to 3,-4 in 5x6",
                 "[  CLS_MainPlayer::DrawWindowCtl !m_qmapSubPlayers.contains(CORRECT_TYPE_PTZ) ]",
                 "[  CLS_MainPlayer::DrawWindowCtl _iPtzIndex is invalid iPtzIndex = "},
        ByNumber{"PTZWindowCtl",
                 [](CLS_MainPlayer& player, int index) {
                     return player.PTZWindowCtl(index, {1, -2, 3}, n_CtlCmd_Move, {5, 6});
                 },
                 "Move 1,-2 in 5x6",
                 "[  CLS_MainPlayer::PTZWindowCtl !m_qmapSubPlayers.contains(CORRECT_TYPE_PTZ) ]",
                 "[  CLS_MainPlayer::PTZWindowCtl _iPtzIndex is invalid iPtzIndex = "},
        ByNumber{"PTZCtl",
                 [](CLS_MainPlayer& player, int index) {
                     return player.PTZCtl(index, {1, -2, 3}, n_PTZCtl_LeftUp);
                 },
                 "PTZCtl 1,-2,3 command 4",
                 "[  CLS_MainPlayer::PTZCtl !m_qmapSubPlayers.contains(CORRECT_TYPE_PTZ) ]",
                 "[  CLS_MainPlayer::PTZCtl _iPtzIndex is invalid iPtzIndex = "}),
    NamedRow());

TEST_P(RoutingByNumber, ReachesTheViewOfThatNumberAndReturnsItsResult)
{
    EXPECT_EQ(GetParam().call(m_player, 1), 23);
    EXPECT_THAT(m_second.Asked(), ElementsAre(GetParam().asked));
    EXPECT_THAT(m_first.Asked(), IsEmpty());
    EXPECT_EQ(GetParam().call(m_player, 0), -22);
    EXPECT_THAT(m_first.Asked(), ElementsAre(GetParam().asked));
    for (const int result : {0, 1, -2, INT_MIN, INT_MAX}) {
        m_first.m_iResult = result;
        EXPECT_EQ(GetParam().call(m_player, 0), result);
    }
    EXPECT_THAT(Lines(), IsEmpty());
    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_P(RoutingByNumber, RefusesANumberOutOfRangeWithThatNumber)
{
    for (const int index : {2, 3, -1, INT_MIN, INT_MAX}) {
        EXPECT_EQ(GetParam().call(m_player, index), -1);
        EXPECT_THAT(Lines(), ElementsAre(Warning(WithValue(GetParam().invalid, index))));
    }
    EXPECT_THAT(m_first.Asked(), IsEmpty());
    EXPECT_THAT(m_second.Asked(), IsEmpty());
}

TEST_P(RoutingByNumber, RefusesEveryNumberOfAnEmptyList)
{
    m_player.Views()[0x100].clear();
    EXPECT_EQ(GetParam().call(m_player, 0), -1);
    EXPECT_THAT(Lines(), ElementsAre(Warning(WithValue(GetParam().invalid, 0))));
}

TEST_P(RoutingByNumber, RefusesEveryNumberWithoutPtzViews)
{
    m_player.Views().remove(0x100);
    for (const int index : {0, -1, 5}) {
        EXPECT_EQ(GetParam().call(m_player, index), -1);
        EXPECT_THAT(Lines(), ElementsAre(Warning(GetParam().noViews)));
    }
    EXPECT_FALSE(m_player.Views().contains(0x100));  // looking up adds nothing
}

TEST_P(RoutingByNumber, ReportsANullElementUnderTheNameOfTheDrag)
{
    m_player.Views()[0x100] = {nullptr, &m_second};
    EXPECT_EQ(GetParam().call(m_player, 0), -1);
    EXPECT_THAT(Lines(),
                ElementsAre(Warning("[  CLS_MainPlayer::DrawWindowCtl nullptr == pPlayer ]")));
}

TEST_F(RoutingTest, ADragTakesNoCommandButMove)
{
    EXPECT_EQ(m_player.DrawWindowCtl(0, {}, n_CtlCmd_Zoom, {5, 6}), -1);
    for (const n_CtlCmd command : CONST_UNKNOWN_COMMANDS)
        EXPECT_EQ(m_player.DrawWindowCtl(0, {}, command, {5, 6}), -1) << command;
    EXPECT_THAT(m_first.Asked(), IsEmpty());
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(RoutingTest, AStepInAPtzWindowZoomsAndAcceptsEveryOtherCommandForNothing)
{
    EXPECT_EQ(m_player.PTZWindowCtl(0, {1, 2, -7}, n_CtlCmd_Zoom, {0, 0}), -22);
    EXPECT_THAT(m_first.Asked(), ElementsAre("Zoom -7"));
    for (const n_CtlCmd command : CONST_UNKNOWN_COMMANDS)
        EXPECT_EQ(m_player.PTZWindowCtl(0, {1, 2, 3}, command, {5, 6}), 0) << command;
    EXPECT_THAT(m_first.Asked(), IsEmpty());
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(RoutingTest, EveryButtonIsHandedOn)
{
    for (const int command : {0, 9, 12, -1, INT_MIN, INT_MAX}) {
        EXPECT_EQ(m_player.PTZCtl(0, {INT_MIN, INT_MAX, 0}, static_cast<n_PTZCtlCmd>(command)),
                  -22);
        EXPECT_THAT(m_first.Asked(), ElementsAre("PTZCtl -2147483648,2147483647,0 command " +
                                                 std::to_string(command)));
    }
}

TEST_F(RoutingTest, ABadNumberIsReportedAlsoWhereTheCommandWouldHaveBeenRefused)
{
    EXPECT_EQ(m_player.DrawWindowCtl(2, {}, n_CtlCmd_Zoom, {}), -1);
    EXPECT_EQ(m_player.PTZWindowCtl(2, {}, static_cast<n_CtlCmd>(7), {}), -1);
    EXPECT_EQ(m_player.CorrectWindowCtl(0x300, {}, n_CtlCmd_Zoom, {}), -1);
    EXPECT_EQ(Lines().size(), 3U);
}

// By type.

TEST_F(RoutingTest, AStepReachesTheFirstViewOfItsTypeAndReturnsItsResult)
{
    EXPECT_EQ(m_player.CorrectWindowCtl(0x200, {1, -2, 3}, n_CtlCmd_Move, {5, 6}), -21);
    EXPECT_THAT(m_wide.Asked(), ElementsAre("Move 1,-2 in 5x6"));
    EXPECT_EQ(m_player.CorrectWindowCtl(0x100, {1, -2, 3}, n_CtlCmd_Move, {5, 6}), -22);
    EXPECT_THAT(m_first.Asked(), ElementsAre("Move 1,-2 in 5x6"));
    EXPECT_THAT(m_second.Asked(), IsEmpty());
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(RoutingTest, AStepTakesNoCommandButMove)
{
    EXPECT_EQ(m_player.CorrectWindowCtl(0x200, {1, 2, 3}, n_CtlCmd_Zoom, {5, 6}), -1);
    for (const n_CtlCmd command : CONST_UNKNOWN_COMMANDS)
        EXPECT_EQ(m_player.CorrectWindowCtl(0x200, {1, 2, 3}, command, {5, 6}), -1) << command;
    EXPECT_THAT(m_wide.Asked(), IsEmpty());
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(RoutingTest, AStepForATypeThatTheLayoutDoesNotHoldIsInformation)
{
    for (const int type : {0x300, 0, 0x600, -1, INT_MIN, INT_MAX}) {
        EXPECT_EQ(m_player.CorrectWindowCtl(type, {}, n_CtlCmd_Move, {5, 6}), -1);
        EXPECT_THAT(
            Lines(),
            ElementsAre(Info(WithValue(
                "[  CLS_MainPlayer::CorrectWindowCtl !m_qmapSubPlayers.contains(_iCorrectType) _iCorrectType = ",
                type))));
    }
}

TEST_F(RoutingTest, AStepForAnEmptyListIsInformation)
{
    m_player.Views()[0x300] = {};
    EXPECT_EQ(m_player.CorrectWindowCtl(0x300, {}, n_CtlCmd_Move, {5, 6}), -1);
    EXPECT_THAT(
        Lines(),
        ElementsAre(Info(WithValue(
            "[  CLS_MainPlayer::CorrectWindowCtl qvecPlayers.isEmpty()  _iCorrectType = ", 768))));
}

TEST_F(RoutingTest, AStepForANullElementIsAWarning)
{
    m_player.Views()[0x300] = {nullptr};
    EXPECT_EQ(m_player.CorrectWindowCtl(0x300, {}, n_CtlCmd_Zoom, {5, 6}), -1);
    EXPECT_THAT(
        Lines(),
        ElementsAre(Warning("[  CLS_MainPlayer::CorrectWindowCtl nullptr == qvecPlayers.at(0) ]")));
    m_player.Views().remove(0x300);
}

TEST_F(RoutingTest, AStepReachesTheRotationOfA180DegreeView)
{
    m_player.Views().remove(0x200);
    LayOut({{0x200, {Window(1)}}});
    Forget();
    EXPECT_EQ(m_player.CorrectWindowCtl(0x200, {10, 0, 0}, n_CtlCmd_Move, {100, 100}), 0);
    EXPECT_THAT(fake::Names(), ElementsAre("RV_GetFishEyeCorrectPara", "RV_SetFishEyeCorrectPara"));
    m_player.Views()[0x100].clear();  // the recording views are not the player's
    m_player.DeleteAllSubPlayer();
}

TEST_F(RoutingTest, ARequestThatDeletesTheViewsWorksOnItsOwnCopyOfTheList)
{
    struct Greedy : RecordingView
    {
        Greedy(MainPlayerProbe& player) : RecordingView(0), m_player(player) {}
        int Zoom(int) override
        {
            m_player.Views().clear();
            return 19;
        }
        MainPlayerProbe& m_player;
    };
    Greedy greedy(m_player);
    m_player.Views()[0x100] = {&greedy};
    EXPECT_EQ(m_player.PTZWindowCtl(0, {}, n_CtlCmd_Zoom, {}), 19);
}

}  // namespace
