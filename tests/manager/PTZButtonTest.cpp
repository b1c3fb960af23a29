// The ten button commands of a pan/tilt/zoom view.
#include "tests/manager/ViewProbe.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using PtzButtonTest = PtzTest;

n_PTZCtlCmd Command(int value)
{
    return static_cast<n_PTZCtlCmd>(value);
}

/// A command with the steps (5, 3, 200), and the step that it stands for.
struct Button
{
    const char* name;
    int command;
    int dx;
    int dy;
    int dz;

    friend std::ostream& operator<<(std::ostream& out, const Button& row)
    {
        return out << row.name;
    }
};

class PtzButton : public PtzTest, public ::testing::WithParamInterface<Button>
{};

TEST_P(PtzButton, StepsAWallCameraStraight)
{
    const Button& row = GetParam();
    Open(1);
    EngineHolds(PtzRecord(5000, 6000, 4000));
    EXPECT_EQ(m_view.PTZCtl({5, 3, 200}, Command(row.command)), 0);
    EXPECT_EQ(Written(), PtzRecord(5000 + row.dx, 6000 + row.dy, 4000 + row.dz));
    EXPECT_EQ(m_view.m_dPtzX, 5000 + row.dx);
    EXPECT_EQ(m_view.m_dPtzY, 6000 + row.dy);
    EXPECT_EQ(m_view.m_stCreatePara.iPTZPositionX, 5000 + row.dx);
    EXPECT_EQ(m_view.m_stCreatePara.iPTZPositionY, 6000 + row.dy);
    EXPECT_EQ(m_view.m_stCreatePara.iPTZZoom, 4000 + row.dz);
    EXPECT_THAT(Lines(), IsEmpty());
    EXPECT_THAT(fake::Names(), ElementsAre("RV_GetFishEyeCorrectPara", "RV_SetFishEyeCorrectPara"));
}

// Straight below the centre at radius 1000, a step of dx turns by dx and one of dy lengthens.
TEST_P(PtzButton, TurnsAndLengthensTheOrbitOfEveryOtherCamera)
{
    const Button& row = GetParam();
    for (const int type : {0, 2, 4, -1}) {
        Open(type);
        m_view.m_dPtzX = 0.0;
        EngineHolds(PtzRecord(5000, 6000, 4000));
        EXPECT_EQ(m_view.PTZCtl({5000, 100, 200}, Command(row.command)), 0);
        const int radius = 1000 + row.dy / 3 * 100;
        const int x = 5000 + row.dx / 5 * radius;
        const int y = 0 == row.dx ? 5000 + radius : 5000;
        EXPECT_EQ(Written(), PtzRecord(x, y, 4000 + row.dz)) << type;
        Calls();
    }
}

TEST_P(PtzButton, TurnsAndShortensWhereButtonsAreReversed)
{
    const Button& row = GetParam();
    Open(3);
    EngineHolds(PtzRecord(5000, 6000, 4000));
    EXPECT_EQ(m_view.PTZCtl({5000, 100, 200}, Command(row.command)), 0);
    const int radius = 1000 - row.dy / 3 * 100;
    const int x = 5000 - row.dx / 5 * radius;
    const int y = 0 == row.dx ? 5000 + radius : 5000;
    EXPECT_EQ(Written(), PtzRecord(x, y, 4000 + row.dz));
}

INSTANTIATE_TEST_SUITE_P(
    PTZSubPlayer, PtzButton,
    ::testing::Values(Button{"Up", 0, 0, -3, 0}, Button{"Down", 1, 0, 3, 0},
                      Button{"Left", 2, -5, 0, 0}, Button{"Right", 3, 5, 0, 0},
                      Button{"LeftUp", 4, -5, -3, 0}, Button{"RightUp", 5, 5, -3, 0},
                      Button{"LeftDown", 6, -5, 3, 0}, Button{"RightDown", 7, 5, 3, 0},
                      Button{"ZoomIn", 8, 0, 0, -200}, Button{"ZoomOut", 9, 0, 0, 200},
                      Button{"TheFirstUnknown", 10, 0, 0, 0}, Button{"Unknown12", 12, 0, 0, 0},
                      Button{"MinusOne", -1, 0, 0, 0}, Button{"Least", INT32_MIN, 0, 0, 0},
                      Button{"Largest", INT32_MAX, 0, 0, 0}),
    [](const ::testing::TestParamInfo<Button>& info) { return info.param.name; });

TEST_F(PtzButtonTest, AnUnknownCommandReportsTheResultOfRewriting)
{
    Open(1);
    EngineHolds(PtzRecord(5000, 6000, 4000));
    fake::Next("RV_SetFishEyeCorrectPara", -5);
    EXPECT_EQ(m_view.PTZCtl({5, 3, 200}, Command(12)), -5);
    EXPECT_EQ(Written(), PtzRecord(5000, 6000, 4000));
}

TEST_F(PtzButtonTest, StraightMotionIsNeverClamped)
{
    Open(1);
    EngineHolds(PtzRecord(5000, 5000, 4000));
    m_view.PTZCtl({4000, 4000, 0}, n_PTZCtl_RightDown);
    m_view.PTZCtl({4000, 4000, 0}, n_PTZCtl_RightDown);
    EXPECT_EQ(fake::CallsOf("RV_SetFishEyeCorrectPara").back().records[0],
              PtzRecord(13000, 13000, 4000));
    m_view.PTZCtl({12000, 14000, 0}, n_PTZCtl_LeftUp);
    EXPECT_EQ(fake::CallsOf("RV_SetFishEyeCorrectPara").back().records[0],
              PtzRecord(1000, -1000, 4000));
}

TEST_F(PtzButtonTest, StraightMotionForthAndBack)
{
    Open(1);
    EngineHolds(PtzRecord(5000, 5000, 4000));
    m_view.PTZCtl({100, 100, 0}, Command(7));
    EXPECT_EQ(Written(), PtzRecord(5100, 5100, 4000));
    Calls();
    m_view.m_dPtzX = 5000;
    m_view.m_dPtzY = 5000;
    m_view.PTZCtl({100, 100, 0}, Command(4));
    EXPECT_EQ(Written(), PtzRecord(4900, 4900, 4000));
}

// The orbit, by hand: position, steps of command 7 (right and down) and the position after it.

struct Orbit
{
    const char* name;
    double x;
    double y;
    int right;
    int down;
    int xAfter;
    int yAfter;

    friend std::ostream& operator<<(std::ostream& out, const Orbit& row) { return out << row.name; }
};

class PtzOrbit : public PtzTest, public ::testing::WithParamInterface<Orbit>
{};

TEST_P(PtzOrbit, EndsAt)
{
    const Orbit& row = GetParam();
    Open(0);
    EngineHolds(PtzRecord(5000, 6000, 4000));
    m_view.m_dPtzX = row.x;
    m_view.m_dPtzY = row.y;
    EXPECT_EQ(m_view.PTZCtl({row.right, row.down, 0}, n_PTZCtl_RightDown), 0);
    EXPECT_EQ(Written(), PtzRecord(row.xAfter, row.yAfter, 4000));
}

INSTANTIATE_TEST_SUITE_P(
    PTZSubPlayer, PtzOrbit,
    ::testing::Values(Orbit{"AQuarterTurn", 5000, 6000, 5000, 0, 6000, 5000},
                      Orbit{"AQuarterTurnBack", 5000, 6000, -5000, 0, 4000, 5000},
                      Orbit{"HalfATurn", 5000, 6000, 10000, 0, 5000, 4000},
                      Orbit{"FromAboveTheCentre", 5000, 4000, 5000, 0, 4000, 5000},
                      Orbit{"StayingRight", 6000, 5000, 0, 0, 6000, 5000},
                      Orbit{"StayingLeft", 4000, 5000, 0, 0, 4000, 5000},
                      Orbit{"StayingAbove", 5000, 4000, 0, 0, 5000, 4000},
                      Orbit{"LeavingTheExactCentre", 5000, 5000, 0, 0, 5010, 5000},
                      Orbit{"TheCentrePlusLessThanTheLeastRadius", 5000, 5000, 0, 5, 5010, 5000},
                      Orbit{"TheCentrePlusMoreThanTheLeastRadius", 5000, 5000, 0, 50, 5050, 5000},
                      Orbit{"InwardToTheLeastRadius", 5000, 6000, 0, -990, 5000, 5010},
                      Orbit{"InwardBeyondTheLeastRadius", 5000, 6000, 0, -991, 5000, 5010},
                      Orbit{"LowerLeft", 4000, 6000, 1000, 0, 4357, 6260},
                      Orbit{"UpperLeft", 4000, 4000, 1000, 0, 3739, 4357},
                      Orbit{"UpperRight", 6000, 4000, 1000, 0, 5642, 3739},
                      Orbit{"LowerRight", 6000, 6000, 1000, 0, 6260, 5642},
                      Orbit{"Outward", 4000, 6000, 0, 100, 3929, 6070},
                      Orbit{"BackAndInward", 4000, 6000, -1000, -100, 3829, 5596},
                      Orbit{"FractionsRightOfTheCentreAreCutOff", 5001.9, 6000, 0, 0, 5001, 6000},
                      Orbit{"FractionsLeftOfTheCentreAreCutOff", 4998.1, 6000, 0, 0, 4999, 6000},
                      Orbit{"WithinOneUnitOfTheCentreIsTheCentre", 5000.9, 4999.1, 0, 0, 5010,
                            5000},
                      // The angles are added in this order: position, half turn, step.
                      Orbit{"TheOrderOfTheSumCounts", 5500, 4400, 5000, 0, 4400, 4499},
                      Orbit{"TheSumOfSquaresWraps", 105000, 5000, 0, 0, 42550, 5000},
                      Orbit{"ANegativeSumOfSquaresIsNoNumberAndSo0", 55000, 5000, 0, 0, 0, 0},
                      Orbit{"TheLargestTurn", 5000, 6000, INT32_MAX, 0, 5911, 5412},
                      Orbit{"TheLeastTurn", 5000, 6000, INT32_MIN, 0, 4088, 5412},
                      Orbit{"TheLargestRadiusSaturates", 5000, 6000, 0, INT32_MAX, 5000, INT32_MAX},
                      Orbit{"TheLeastRadius", 5000, 6000, 0, INT32_MIN, 5000, 5010}),
    [](const ::testing::TestParamInfo<Orbit>& info) { return info.param.name; });

TEST_F(PtzButtonTest, TheFractionsOfAnOrbitAreKeptFromStepToStep)
{
    Open(0);
    EngineHolds(PtzRecord(4000, 6000, 4000));
    EXPECT_EQ(m_view.PTZCtl({1000, 0, 0}, n_PTZCtl_Right), 0);
    EXPECT_DOUBLE_EQ(m_view.m_dPtzX, 4357.960478079794);
    EXPECT_DOUBLE_EQ(m_view.m_dPtzY, 6260.073510670101);
    EXPECT_EQ(m_view.m_stCreatePara.iPTZPositionX, 4357);
    EXPECT_EQ(m_view.m_stCreatePara.iPTZPositionY, 6260);
}

TEST_F(PtzButtonTest, ACentreThatIsNoNumberIsStoredAndTheNextStepRecovers)
{
    Open(0);
    m_view.m_dPtzX = 55000;
    m_view.m_dPtzY = 5000;
    EXPECT_EQ(m_view.PTZCtl({0, 0, 0}, n_PTZCtl_Up), 0);
    EXPECT_NE(m_view.m_dPtzX, m_view.m_dPtzX);
    EXPECT_EQ(m_view.m_stCreatePara.iPTZPositionX, 0);
    EXPECT_EQ(m_view.PTZCtl({0, 0, 0}, n_PTZCtl_Up), 0);
    EXPECT_EQ(m_view.m_dPtzX, 5010.0);
}

// Steps at the limits of int32.

TEST_F(PtzButtonTest, TheNegatedLeastStepWrapsToItself)
{
    Open(1);
    EngineHolds(PtzRecord(5000, 5000, 4000));
    EXPECT_EQ(m_view.PTZCtl({INT32_MIN, INT32_MIN, INT32_MIN}, n_PTZCtl_LeftUp), 0);
    EXPECT_EQ(Written(), PtzRecord(-2147478648, -2147478648, 4000));
    EXPECT_EQ(m_view.m_dPtzX, -2147478648.0);
}

TEST_F(PtzButtonTest, APositionBeyondInt32SaturatesAndTheCentreKeepsIt)
{
    Open(1);
    EngineHolds(PtzRecord(5000, 5000, 4000));
    EXPECT_EQ(m_view.PTZCtl({INT32_MAX, INT32_MAX, 0}, n_PTZCtl_RightDown), 0);
    EXPECT_EQ(Written(), PtzRecord(INT32_MAX, INT32_MAX, 4000));
    EXPECT_EQ(m_view.m_dPtzX, 2147488647.0);
    EXPECT_EQ(m_view.m_stCreatePara.iPTZPositionX, INT32_MAX);
}

TEST_F(PtzButtonTest, TheReversedLeastStepWrapsToItself)
{
    Open(3);
    EngineHolds(PtzRecord(5000, 6000, 4000));
    EXPECT_EQ(m_view.PTZCtl({INT32_MIN, 0, 0}, n_PTZCtl_Right), 0);
    EXPECT_EQ(Written(), PtzRecord(4088, 5412, 4000));
}

// Zoom buttons.

struct ZoomButton
{
    const char* name;
    int before;
    int command;
    int step;
    int after;

    friend std::ostream& operator<<(std::ostream& out, const ZoomButton& row)
    {
        return out << row.name;
    }
};

class PtzZoomButton : public PtzTest, public ::testing::WithParamInterface<ZoomButton>
{};

TEST_P(PtzZoomButton, KeepsTheZoomWithinItsLimits)
{
    const ZoomButton& row = GetParam();
    Open(3);
    EngineHolds(PtzRecord(5000, 6000, row.before));
    EXPECT_EQ(m_view.PTZCtl({777, 888, row.step}, Command(row.command)), 0);
    EXPECT_EQ(Written(), PtzRecord(5000, 6000, row.after));
    EXPECT_EQ(m_view.m_stCreatePara.iPTZZoom, row.after);
}

INSTANTIATE_TEST_SUITE_P(
    PTZSubPlayer, PtzZoomButton,
    ::testing::Values(ZoomButton{"OutAtTheWidest", 10000, 9, 500, 10000},
                      ZoomButton{"OutToTheWidest", 9500, 9, 500, 10000},
                      ZoomButton{"OutBeyondTheWidest", 9501, 9, 500, 10000},
                      ZoomButton{"InBelowZero", 100, 8, 500, 0},
                      ZoomButton{"InToZero", 500, 8, 500, 0}, ZoomButton{"In", 501, 8, 500, 1},
                      ZoomButton{"EveryCommandClampsTooMuch", 10001, 12, 500, 10000},
                      ZoomButton{"EveryCommandClampsTooLittle", -1, 12, 500, 0},
                      ZoomButton{"TheSumWraps", INT32_MAX, 9, 1, 0},
                      ZoomButton{"TheDifferenceWraps", INT32_MIN, 8, 1, 10000},
                      ZoomButton{"TheNegatedLeastStepWraps", 4000, 8, INT32_MIN, 0}),
    [](const ::testing::TestParamInfo<ZoomButton>& info) { return info.param.name; });

// Seeding from the engine.

struct Seed
{
    const char* name;
    double x;
    double y;
    bool fromEngine;

    friend std::ostream& operator<<(std::ostream& out, const Seed& row) { return out << row.name; }
};

class PtzButtonSeed : public PtzTest, public ::testing::WithParamInterface<Seed>
{};

TEST_P(PtzButtonSeed, HappensBelowOneInEitherCoordinate)
{
    const Seed& row = GetParam();
    Open(1);
    m_view.m_dPtzX = row.x;
    m_view.m_dPtzY = row.y;
    EngineHolds(PtzRecord(3000, 3500, 4000));
    EXPECT_EQ(m_view.PTZCtl({10, 20, 0}, n_PTZCtl_RightDown), 0);
    const double x = row.fromEngine ? 3000 : row.x;
    const double y = row.fromEngine ? 3500 : row.y;
    EXPECT_EQ(Written(), PtzRecord(static_cast<int>(x + 10), static_cast<int>(y + 20), 4000));
    EXPECT_EQ(m_view.m_dPtzX, x + 10);
    EXPECT_EQ(m_view.m_dPtzY, y + 20);
}

INSTANTIATE_TEST_SUITE_P(
    PTZSubPlayer, PtzButtonSeed,
    ::testing::Values(Seed{"AtTheStart", 0.0, 0.0, true}, Seed{"XJustBelow", 0.99, 700.5, true},
                      Seed{"YJustBelow", 700.5, 0.99, true}, Seed{"XNegative", -700.0, 700.0, true},
                      Seed{"NotAtOne", 1.0, 1.0, false}, Seed{"NotAbove", 700.5, 800.25, false}),
    [](const ::testing::TestParamInfo<Seed>& info) { return info.param.name; });

TEST_F(PtzButtonTest, AViewOnTheLeftEdgeIsSeededOnEveryCommand)
{
    Open(1);
    EngineHolds(PtzRecord(0, 3500, 4000));
    m_view.PTZCtl({0, 20, 0}, n_PTZCtl_Down);
    EngineHolds(PtzRecord(0, 4500, 4000));
    Calls();
    m_view.PTZCtl({0, 20, 0}, n_PTZCtl_Down);
    EXPECT_EQ(Written(), PtzRecord(0, 4520, 4000));
}

TEST_F(PtzButtonTest, AViewElsewhereIsNotSeededAgain)
{
    Open(1);
    EngineHolds(PtzRecord(3000, 3500, 4000));
    m_view.PTZCtl({0, 20, 0}, n_PTZCtl_Down);
    Calls();
    m_view.PTZCtl({0, 20, 0}, n_PTZCtl_Down);
    EXPECT_EQ(Written(), PtzRecord(3000, 3540, 4000));
}

// Failures.

TEST_F(PtzButtonTest, ReadsIntoAClearedRecord)
{
    Open(1);
    m_view.PTZCtl({1, 2, 3}, n_PTZCtl_Up);
    EXPECT_EQ(fake::CallsOf("RV_GetFishEyeCorrectPara").at(0).records[0], std::string(32, '\0'));
}

TEST_F(PtzButtonTest, AFailedReadIsLoggedAndHandedOnAndSeedsNothing)
{
    Open(1);
    for (const int result : {-4, -2, -1}) {
        fake::Next("RV_GetFishEyeCorrectPara", result);
        EXPECT_EQ(m_view.PTZCtl({1, 2, 3}, n_PTZCtl_Up), result);
        EXPECT_THAT(Lines(),
                    ElementsAre(Warning(WithValue(
                        "[  CLS_PTZSubPlayer::PTZCtl GetCorrectPara fail iRet = ", result))));
    }
    EXPECT_THAT(fake::CallsOf("RV_SetFishEyeCorrectPara"), IsEmpty());
    EXPECT_EQ(m_view.m_dPtzX, 0.0);
    EXPECT_EQ(m_view.m_stCreatePara.iPTZPositionX, 4000);
}

TEST_F(PtzButtonTest, WithoutAMainPlayerTheReadLogsFirst)
{
    EXPECT_EQ(m_view.PTZCtl({1, 2, 3}, n_PTZCtl_Up), -1);
    EXPECT_THAT(Lines(),
                ElementsAre(Warning("[  CLS_PTZSubPlayer::GetCorrectPara m_iMainPlayId < 0 ]"),
                            Warning(WithValue(
                                "[  CLS_PTZSubPlayer::PTZCtl GetCorrectPara fail iRet = ", -1))));
}

TEST_F(PtzButtonTest, TheEndOfTravelIsOneWithoutALineOrAChange)
{
    Open(1);
    EngineHolds(PtzRecord(3000, 3500, 4000));
    fake::Next("RV_SetFishEyeCorrectPara", -2);
    EXPECT_EQ(m_view.PTZCtl({10, 20, 30}, n_PTZCtl_RightDown), 1);
    EXPECT_THAT(Lines(), IsEmpty());
    EXPECT_EQ(m_view.m_dPtzX, 3000.0);  // the seed stays
    EXPECT_EQ(m_view.m_dPtzY, 3500.0);
    EXPECT_EQ(m_view.m_stCreatePara.iPTZPositionX, 4000);
    EXPECT_EQ(m_view.m_stCreatePara.iPTZPositionY, 6000);
    EXPECT_EQ(m_view.m_stCreatePara.iPTZZoom, 9000);
}

TEST_F(PtzButtonTest, AFailedWriteIsLoggedAndHandedOnAndTheSeedStays)
{
    Open(1);
    EngineHolds(PtzRecord(3000, 3500, 4000));
    for (const int result : {-1, -3, INT32_MIN}) {
        fake::Next("RV_SetFishEyeCorrectPara", result);
        EXPECT_EQ(m_view.PTZCtl({10, 20, 30}, n_PTZCtl_ZoomOut), result);
        EXPECT_THAT(Lines(),
                    ElementsAre(Warning(WithValue(
                        "[  CLS_PTZSubPlayer::PTZCtl SetCorrectPara fail iRet = ", result))));
    }
    EXPECT_EQ(m_view.m_dPtzX, 3000.0);
    EXPECT_EQ(m_view.m_dPtzY, 3500.0);
    EXPECT_EQ(m_view.m_stCreatePara.iPTZPositionX, 4000);
    EXPECT_EQ(m_view.m_stCreatePara.iPTZPositionY, 6000);
    EXPECT_EQ(m_view.m_stCreatePara.iPTZZoom, 9000);
}

TEST_F(PtzButtonTest, APositiveWriteResultIsSuccess)
{
    Open(1);
    EngineHolds(PtzRecord(3000, 3500, 4000));
    fake::Next("RV_GetFishEyeCorrectPara", 3);
    fake::Next("RV_SetFishEyeCorrectPara", 5);
    EXPECT_EQ(m_view.PTZCtl({10, 20, 30}, n_PTZCtl_ZoomOut), 0);
    EXPECT_EQ(m_view.m_stCreatePara.iPTZZoom, 30);
}

TEST_F(PtzButtonTest, AnUnknownDrawTypeIsReportedByBoth)
{
    Open(1, 0x400, 2);
    EXPECT_EQ(m_view.PTZCtl({10, 20, 30}, n_PTZCtl_ZoomOut), -1);
    EXPECT_THAT(
        Lines(),
        ElementsAre(
            Warning(
                "[  CLS_PTZSubPlayer::SetCorrectPara n_DrawType_Rect != m_iDrawType & n_DrawType_Fec != m_iDrawType"),
            Warning(WithValue("[  CLS_PTZSubPlayer::PTZCtl SetCorrectPara fail iRet = ", -1))));
    EXPECT_THAT(fake::Names(), ElementsAre("RV_GetFishEyeCorrectPara"));
}

TEST_F(PtzButtonTest, TheOutlineShowsThePositionBeforeTheCommand)
{
    Open(1);
    EngineHolds(PtzRecord(5000, 5000, 4000));
    QVector<QVector<STRUCT_DrawPoint>> outline;
    m_view.PTZCtl({1000, 0, 0}, n_PTZCtl_Right);
    m_view.GetPTZDrawData(outline);
    EXPECT_EQ(outline.at(0).at(0).fX, 0.35F);  // around 4000, where the record stood
    m_view.PTZCtl({1000, 0, 0}, n_PTZCtl_Right);
    m_view.GetPTZDrawData(outline);
    EXPECT_EQ(outline.at(0).at(0).fX, 0.55F);  // around 6000: the command before
}

}  // namespace
