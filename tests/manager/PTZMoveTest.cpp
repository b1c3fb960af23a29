// The two moves of a pan/tilt/zoom view: by a displacement, and by a drag from point to point.
#include "tests/manager/ViewProbe.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr STRUCT_FishWindowRect CONST_RECT{1000, 500};

/// The algorithm answers with one point after the other.
void AlgorithmAnswers(std::vector<std::pair<float, float>> points)
{
    for (const std::pair<float, float>& point : points)
        fake::Next("VxAlgo_FCU_Point_Transform", [point](const fake::Call& call) {
            call.Pointer<float>(2)[0] = point.first;
            call.Pointer<float>(2)[1] = point.second;
            return 0;
        });
}

class PtzMoveTest : public PtzTest
{
protected:
    /// Centre and stored position of the view, as text.
    std::string Where() const
    {
        return std::to_string(m_view.m_dPtzX) + "," + std::to_string(m_view.m_dPtzY) + " " +
               std::to_string(m_view.m_stCreatePara.iPTZPositionX) + "," +
               std::to_string(m_view.m_stCreatePara.iPTZPositionY) + " " +
               std::to_string(m_view.m_stCreatePara.iPTZZoom);
    }
};

/// Both moves refuse the same windows with the same line.
TEST_F(PtzMoveTest, AWindowWithoutAnExtentIsRefusedBeforeAnythingIsAsked)
{
    const STRUCT_FishWindowRect rects[] = {{0, 480}, {640, 0}, {-1, 480}, {640, INT32_MIN}, {0, 0}};
    Open(1, 0x500);
    for (const STRUCT_FishWindowRect& rect : rects) {
        const LogLine line = Warning(WithValues(
            "[  CLS_PTZSubPlayer::Move _rect.m_iWidth <= 0 || _rect.m_iHeight <= 0  _rect.m_iWidth = ",
            rect.m_iWidth, " _rect.m_iHeight = ", rect.m_iHeight));
        EXPECT_EQ(m_view.Move(1, 2, rect), -1);
        EXPECT_THAT(Lines(), ElementsAre(line));
        EXPECT_EQ(m_view.Move({1, 2, 3, 4}, rect), -1);
        EXPECT_THAT(Lines(), ElementsAre(line));
    }
    EXPECT_THAT(Calls(), IsEmpty());
}

// The displacement.

/// A displacement of a view that the engine has at (4000, 6000), and where it comes to.
struct Displacement
{
    const char* name;
    int type;
    int dx;
    int dy;
    STRUCT_FishWindowRect rect;
    int x;
    int y;

    friend std::ostream& operator<<(std::ostream& out, const Displacement& row)
    {
        return out << row.name;
    }
};

class PtzDisplacement : public PtzMoveTest, public ::testing::WithParamInterface<Displacement>
{};

TEST_P(PtzDisplacement, ComesTo)
{
    const Displacement& row = GetParam();
    Open(row.type);
    EngineHolds(PtzRecord(4000, 6000, 12345));
    EXPECT_EQ(m_view.Move(row.dx, row.dy, row.rect), 0);
    EXPECT_EQ(Written(), PtzRecord(row.x, row.y, 12345));
    EXPECT_EQ(m_view.m_stCreatePara.iPTZPositionX, row.x);
    EXPECT_EQ(m_view.m_stCreatePara.iPTZPositionY, row.y);
    EXPECT_EQ(m_view.m_stCreatePara.iPTZZoom, 9000);
    EXPECT_THAT(Lines(), IsEmpty());
    EXPECT_THAT(fake::Names(), ElementsAre("RV_GetFishEyeCorrectPara", "RV_SetFishEyeCorrectPara"));
}

INSTANTIATE_TEST_SUITE_P(
    PTZSubPlayer, PtzDisplacement,
    ::testing::Values(
        Displacement{"AWallCameraMovesAgainstTheDrag", 1, 100, 0, {1000, 500}, 3000, 6000},
        Displacement{"AWallCameraMovesAgainstTheDragVertically", 1, 0, 50, {1000, 500}, 4000, 5000},
        Displacement{"AWallCameraIsNotLimited", 1, 500, -300, {1000, 500}, -1000, 12000},
        Displacement{"PartsOfAUnitAreCutOff", 1, 1, -1, {30000, 30000}, 4000, 6000},
        Displacement{"PartsOfAUnitAreCutOffTowardZero", 1, -2, 2, {15001, 15001}, 4001, 5999},
        Displacement{"AWindowOfOnePixel", 1, 1, -1, {1, 1}, -6000, 16000},
        Displacement{"TheProductWraps", 1, INT32_MAX, 214749, {1, 1}, 14000, 2147483296},
        Displacement{"TheLeastPixelWrapsToZero", 1, INT32_MIN, INT32_MIN, {1, 1}, 4000, 6000},
        Displacement{"ACeilingCameraOrbits", 0, 100, 0, {1000, 500}, 4357, 6260},
        Displacement{"ACeilingCameraMovesOutward", 0, 0, 5, {1000, 500}, 3929, 6070},
        Displacement{"Type3IsNotReversedHere", 3, 100, 0, {1000, 500}, 4357, 6260},
        Displacement{"Type2TurnsTheOtherWay", 2, -100, 0, {1000, 500}, 4357, 6260},
        Displacement{"Type2MovesInward", 2, 0, -5, {1000, 500}, 3929, 6070},
        Displacement{"AnyOtherTypeOrbits", -7, 100, 0, {1000, 500}, 4357, 6260}),
    [](const ::testing::TestParamInfo<Displacement>& info) { return info.param.name; });

TEST_F(PtzMoveTest, TenPixelsOfAThousandTurnAType2ViewByMinusAHundredUnits)
{
    Open(2);
    EngineHolds(PtzRecord(4000, 6000, 9000));
    EXPECT_EQ(m_view.Move(10, 0, {1000, 1000}), 0);
    m_view.m_dPtzX = 4000;
    m_view.m_dPtzY = 6000;
    double x = 0.0;
    double y = 0.0;
    m_view.FishEyeCorrectCal(x, y, -100, 0);
    EXPECT_EQ(Written(), PtzRecord(static_cast<int>(x), static_cast<int>(y), 9000));
}

// 134217728 x 10000 wraps to -2147483648.
TEST_F(PtzMoveTest, TheNegatedLeastStepOfAType2ViewWrapsToItself)
{
    Open(2);
    EngineHolds(PtzRecord(5000, 6000, 9000));
    EXPECT_EQ(m_view.Move(134217728, 0, {1, 1}), 0);
    EXPECT_EQ(Written(), PtzRecord(4088, 5412, 9000));
}

TEST_F(PtzMoveTest, APositionBeyondInt32SaturatesAndTheCentreKeepsIt)
{
    Open(1);
    EngineHolds(PtzRecord(5000, 6000, 9000));
    EXPECT_EQ(m_view.Move(134217728, 0, {1, 1}), 0);
    EXPECT_EQ(Written(), PtzRecord(INT32_MAX, 6000, 9000));
    EXPECT_EQ(m_view.m_dPtzX, 2147488648.0);
}

TEST_F(PtzMoveTest, TheSumOfADisplacementsAnglesBeginsWithTheStep)
{
    Open(0);
    EngineHolds(PtzRecord(5500, 4400, 9000));
    EXPECT_EQ(m_view.Move(500, 0, CONST_RECT), 0);
    EXPECT_EQ(Written(), PtzRecord(4400, 4500, 9000));
}

TEST_F(PtzMoveTest, ADisplacementKeepsTheFractionsOfTheCentre)
{
    Open(0);
    EngineHolds(PtzRecord(4000, 6000, 9000));
    EXPECT_EQ(m_view.Move(100, 0, CONST_RECT), 0);
    EXPECT_DOUBLE_EQ(m_view.m_dPtzX, 4357.960478079794);
    EXPECT_DOUBLE_EQ(m_view.m_dPtzY, 6260.073510670101);
}

/// When a centre is seeded from the engine's (3000, 3500).
struct Seed
{
    const char* name;
    double x;
    double y;
    bool byDisplacement;
    bool byDrag;

    friend std::ostream& operator<<(std::ostream& out, const Seed& row) { return out << row.name; }
};

class PtzMoveSeed : public PtzMoveTest, public ::testing::WithParamInterface<Seed>
{};

TEST_P(PtzMoveSeed, OfADisplacementHappensAtOrBelowZero)
{
    Open(1);
    m_view.m_dPtzX = GetParam().x;
    m_view.m_dPtzY = GetParam().y;
    EngineHolds(PtzRecord(3000, 3500, 9000));
    EXPECT_EQ(m_view.Move(0, 0, CONST_RECT), 0);
    EXPECT_EQ(m_view.m_dPtzX, GetParam().byDisplacement ? 3000 : GetParam().x);
    EXPECT_EQ(m_view.m_dPtzY, GetParam().byDisplacement ? 3500 : GetParam().y);
}

TEST_P(PtzMoveSeed, OfADragHappensBelowOne)
{
    Open(1);
    m_view.m_dPtzX = GetParam().x;
    m_view.m_dPtzY = GetParam().y;
    EngineHolds(PtzRecord(3000, 3500, 9000));
    EXPECT_EQ(m_view.Move({0, 0, 0, 0}, CONST_RECT), 0);
    EXPECT_EQ(m_view.m_dPtzX, GetParam().byDrag ? 3000 : GetParam().x);
    EXPECT_EQ(m_view.m_dPtzY, GetParam().byDrag ? 3500 : GetParam().y);
}

TEST_P(PtzMoveSeed, OfADragOnThePictureHappensAlways)
{
    Open(1, 0x500);
    m_view.m_dPtzX = GetParam().x;
    m_view.m_dPtzY = GetParam().y;
    EngineHolds(PtzRecord(3000, 3500, 9000));
    EXPECT_EQ(m_view.Move({0, 0, 0, 0}, CONST_RECT), 0);
    EXPECT_EQ(m_view.m_dPtzX, 3000);
    EXPECT_EQ(m_view.m_dPtzY, 3500);
}

INSTANTIATE_TEST_SUITE_P(PTZSubPlayer, PtzMoveSeed,
                         ::testing::Values(Seed{"AtTheStart", 0.0, 0.0, true, true},
                                           Seed{"XAtZero", 0.0, 700.5, true, true},
                                           Seed{"YAtZero", 700.5, 0.0, true, true},
                                           Seed{"YNegative", 700.5, -3.0, true, true},
                                           Seed{"XAboveZeroAndBelowOne", 0.25, 700.5, false, true},
                                           Seed{"YAboveZeroAndBelowOne", 700.5, 0.99, false, true},
                                           Seed{"AtOne", 1.0, 1.0, false, false},
                                           Seed{"Above", 700.5, 800.25, false, false}),
                         [](const ::testing::TestParamInfo<Seed>& info) {
                             return info.param.name;
                         });

TEST_F(PtzMoveTest, ADisplacementReadsIntoAClearedRecord)
{
    Open(1);
    m_view.Move(0, 0, CONST_RECT);
    EXPECT_EQ(fake::CallsOf("RV_GetFishEyeCorrectPara").at(0).records[0], std::string(32, '\0'));
}

TEST_F(PtzMoveTest, ADisplacementThatCannotReadHandsTheResultOn)
{
    Open(1);
    const std::string before = Where();
    for (const int result : {-1, -2, -8}) {
        fake::Next("RV_GetFishEyeCorrectPara", result);
        EXPECT_EQ(m_view.Move(100, 0, CONST_RECT), result);
        EXPECT_THAT(Lines(),
                    ElementsAre(Warning(WithValue(
                        "[  CLS_PTZSubPlayer::Move GetCorrectPara fail iRet = ", result))));
    }
    EXPECT_THAT(fake::CallsOf("RV_SetFishEyeCorrectPara"), IsEmpty());
    EXPECT_EQ(Where(), before);
}

TEST_F(PtzMoveTest, ADisplacementThatCannotWriteHandsTheResultOnMinusTwoIncludedAndKeepsTheSeed)
{
    Open(1);
    EngineHolds(PtzRecord(3000, 3500, 9000));
    for (const int result : {-2, -1, -8}) {
        fake::Next("RV_SetFishEyeCorrectPara", result);
        EXPECT_EQ(m_view.Move(100, 0, CONST_RECT), result);
        EXPECT_THAT(Lines(),
                    ElementsAre(Warning(WithValue(
                        "[  CLS_PTZSubPlayer::Move SetCorrectPara fail iRet = ", result))));
    }
    EXPECT_EQ(Where(), "3000.000000,3500.000000 4000,6000 9000");
}

TEST_F(PtzMoveTest, APositiveEngineResultIsSuccessForBothMoves)
{
    Open(1, 0x500);
    fake::Always("RV_SetFishEyeCorrectPara", 5);
    EXPECT_EQ(m_view.Move(0, 0, CONST_RECT), 0);
    EXPECT_EQ(m_view.Move({0, 0, 0, 0}, CONST_RECT), 0);
}

TEST_F(PtzMoveTest, WithoutAMainPlayerTheReadLogsFirst)
{
    EXPECT_EQ(m_view.Move(100, 0, CONST_RECT), -1);
    EXPECT_THAT(Lines(),
                ElementsAre(Warning("[  CLS_PTZSubPlayer::GetCorrectPara m_iMainPlayId < 0 ]"),
                            Warning(WithValue(
                                "[  CLS_PTZSubPlayer::Move GetCorrectPara fail iRet = ", -1))));
}

TEST_F(PtzMoveTest, AnUnknownDrawTypeIsReportedByBoth)
{
    Open(1, 0x400, 2);
    EXPECT_EQ(m_view.Move(100, 0, CONST_RECT), -1);
    EXPECT_THAT(
        Lines(),
        ElementsAre(
            Warning(
                "[  CLS_PTZSubPlayer::SetCorrectPara n_DrawType_Rect != m_iDrawType & n_DrawType_Fec != m_iDrawType"),
            Warning(WithValue("[  CLS_PTZSubPlayer::Move SetCorrectPara fail iRet = ", -1))));
    EXPECT_THAT(fake::Names(), ElementsAre("RV_GetFishEyeCorrectPara"));
}

// The drag on the picture (mode 0x500): no algorithm.

struct Drag
{
    const char* name;
    STRUCT_CtlPointParam points;
    STRUCT_FishWindowRect rect;
    int x;
    int y;

    friend std::ostream& operator<<(std::ostream& out, const Drag& row) { return out << row.name; }
};

class PtzDragOnPicture : public PtzMoveTest, public ::testing::WithParamInterface<Drag>
{};

TEST_P(PtzDragOnPicture, ComesToFromTheEnginesPosition)
{
    const Drag& row = GetParam();
    for (const int type : {0, 1, 2, 3}) {
        Open(type, 0x500);
        EngineHolds(PtzRecord(4000, 6000, 12345));
        EXPECT_EQ(m_view.Move(row.points, row.rect), 0);
        EXPECT_EQ(Written(), PtzRecord(row.x, row.y, 12345));
        EXPECT_EQ(m_view.m_dPtzX, row.x);
        EXPECT_EQ(m_view.m_dPtzY, row.y);
        EXPECT_EQ(m_view.m_stCreatePara.iPTZPositionX, row.x);
        EXPECT_EQ(m_view.m_stCreatePara.iPTZPositionY, row.y);
        EXPECT_EQ(m_view.m_stCreatePara.iPTZZoom, 9000);
        EXPECT_THAT(fake::Names(),
                    ElementsAre("RV_GetFishEyeCorrectPara", "RV_SetFishEyeCorrectPara"));
        EXPECT_THAT(Lines(), IsEmpty());
        Calls();
    }
}

INSTANTIATE_TEST_SUITE_P(
    PTZSubPlayer, PtzDragOnPicture,
    ::testing::Values(
        Drag{"Nowhere", {10, 20, 10, 20}, {1000, 500}, 4000, 6000},
        Drag{"RightAndDown", {10, 20, 110, 70}, {1000, 500}, 5000, 7000},
        Drag{"LeftAndUp", {110, 70, 10, 20}, {1000, 500}, 3000, 5000},
        Drag{"PartsOfAUnitAreCutOffTowardZero", {0, 0, -1, 1}, {6000, 6000}, 3999, 6001},
        Drag{"ToTheUpperLeftCorner", {400, 300, 0, 0}, {1000, 500}, 0, 0},
        Drag{"ToTheLowerRightCorner", {0, 0, 600, 200}, {1000, 500}, 10000, 10000},
        Drag{"TheDifferenceWraps",
             {INT32_MIN, INT32_MAX, INT32_MAX, INT32_MIN},
             {5, 10},
             2000,
             7000},
        Drag{"TheProductWraps", {0, 0, INT32_MIN, INT32_MAX}, {1, 10}, 4000, 5000}),
    [](const ::testing::TestParamInfo<Drag>& info) { return info.param.name; });

/// A drag that would leave 0..10000, and the position that the line tells.
class PtzDragOffPicture : public PtzMoveTest, public ::testing::WithParamInterface<Drag>
{};

TEST_P(PtzDragOffPicture, IsRefusedAtInformationLevelAndSeedsAllTheSame)
{
    const Drag& row = GetParam();
    Open(0, 0x500);
    EngineHolds(PtzRecord(4000, 6000, 12345));
    EXPECT_EQ(m_view.Move(row.points, row.rect), -1);
    EXPECT_THAT(
        Lines(),
        ElementsAre(Info(WithValues(
            "[  tParam.iPTZPositionX is invalid ||  tParam.iPTZPositionY is invalid . tParam.iPTZPositionX = ",
            row.x, " tParam.iPTZPositionY = ", row.y))));
    EXPECT_THAT(fake::Names(), ElementsAre("RV_GetFishEyeCorrectPara"));
    EXPECT_EQ(Where(), "4000.000000,6000.000000 4000,6000 9000");
}

INSTANTIATE_TEST_SUITE_P(
    PTZSubPlayer, PtzDragOffPicture,
    ::testing::Values(Drag{"ToMinusOne", {4001, 0, 0, 0}, {10000, 10000}, -1, 6000},
                      Drag{"UpToMinusOne", {0, 6001, 0, 0}, {10000, 10000}, 4000, -1},
                      Drag{"ToOneTooMany", {0, 0, 6001, 0}, {10000, 10000}, 10001, 6000},
                      Drag{"DownToOneTooMany", {0, 0, 0, 4001}, {10000, 10000}, 4000, 10001},
                      Drag{"BothWays", {0, 0, -1, -1}, {1, 1}, -6000, -4000},
                      Drag{"FarAway", {0, 0, 214748, 0}, {1, 1}, INT32_MAX, 6000}),
    [](const ::testing::TestParamInfo<Drag>& info) { return info.param.name; });

TEST_F(PtzMoveTest, ADragOnThePictureReadsIntoAClearedRecord)
{
    Open(1, 0x500);
    m_view.Move({0, 0, 0, 0}, CONST_RECT);
    EXPECT_EQ(fake::CallsOf("RV_GetFishEyeCorrectPara").at(0).records[0], std::string(32, '\0'));
}

TEST_F(PtzMoveTest, ADragOnThePictureThatCannotReadHandsTheResultOnAndSeedsNothing)
{
    Open(1, 0x500);
    const std::string before = Where();
    fake::Next("RV_GetFishEyeCorrectPara", -8);
    EXPECT_EQ(m_view.Move({0, 0, 1, 1}, CONST_RECT), -8);
    EXPECT_THAT(Lines(), ElementsAre(Warning(WithValue(
                             "[  CLS_PTZSubPlayer::Move GetCorrectPara fail iRet = ", -8))));
    EXPECT_EQ(Where(), before);
}

TEST_F(PtzMoveTest, ADragOnThePictureThatCannotWriteHandsTheResultOnAndKeepsTheSeed)
{
    Open(1, 0x500);
    EngineHolds(PtzRecord(3000, 3500, 9000));
    for (const int result : {-2, -8}) {
        fake::Next("RV_SetFishEyeCorrectPara", result);
        EXPECT_EQ(m_view.Move({0, 0, 100, 100}, CONST_RECT), result);
        EXPECT_THAT(Lines(),
                    ElementsAre(Warning(WithValue(
                        "[  CLS_PTZSubPlayer::Move SetCorrectPara fail iRet = ", result))));
    }
    EXPECT_EQ(Where(), "3000.000000,3500.000000 4000,6000 9000");
}

TEST_F(PtzMoveTest, ADragOnThePictureNeedsNoAlgorithmInstance)
{
    Open(1, 0x500);
    m_view.m_pFcuHandle = nullptr;
    EngineHolds(PtzRecord(3000, 3500, 9000));
    EXPECT_EQ(m_view.Move({0, 0, 100, 100}, CONST_RECT), 0);
    EXPECT_THAT(Lines(), IsEmpty());
}

// The drag through the algorithm: every other mode.

TEST_F(PtzMoveTest, ADragAsksForBothPointsThenReadsThenWrites)
{
    Open(3);
    EngineHolds(PtzRecord(4000, 6000, 12345));
    AlgorithmAnswers({{0.5F, 0.5F}, {0.6F, 0.45F}});
    EXPECT_EQ(m_view.Move({100, 200, 300, 400}, CONST_RECT), 0);
    EXPECT_EQ(Written(), PtzRecord(5000, 5500, 12345));
    EXPECT_EQ(Where(), "5000.000000,5500.000000 5000,5500 9000");
    const std::vector<fake::Call> calls = Calls();
    ASSERT_THAT(calls, SizeIs(4));
    EXPECT_EQ(calls[0].name, "VxAlgo_FCU_Point_Transform");
    EXPECT_EQ(calls[1].name, "VxAlgo_FCU_Point_Transform");
    EXPECT_EQ(calls[2].name, "RV_GetFishEyeCorrectPara");
    EXPECT_EQ(calls[3].name, "RV_SetFishEyeCorrectPara");
    EXPECT_EQ(calls[0].records[0].substr(12, 8), RecordBytes(8).Float(0, 0.1F).Float(4, 0.4F));
    EXPECT_EQ(calls[1].records[0].substr(12, 8), RecordBytes(8).Float(0, 0.3F).Float(4, 0.8F));
    EXPECT_EQ(calls[2].records[0], std::string(32, '\0'));
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(PtzMoveTest, ADragMovesEveryInstallationAlikeWithoutSignOrOrbit)
{
    for (const int type : {0, 1, 2, 3, 9}) {
        Open(type);
        m_view.m_dPtzX = 0.0;
        EngineHolds(PtzRecord(4000, 6000, 12345));
        AlgorithmAnswers({{0.5F, 0.5F}, {0.6F, 0.45F}});
        EXPECT_EQ(m_view.Move({0, 0, 1, 1}, CONST_RECT), 0);
        EXPECT_EQ(Written(), PtzRecord(5000, 5500, 12345)) << type;
        Calls();
    }
}

TEST_F(PtzMoveTest, EveryModeButTheFishEyeDragsThroughTheAlgorithm)
{
    for (const int mode : {0, 0x100, 0x200, 0x300, 0x400, 0x501}) {
        Open(1, mode);
        Calls();
        m_view.Move({0, 0, 1, 1}, CONST_RECT);
        EXPECT_EQ(Calls().at(0).name, "VxAlgo_FCU_Point_Transform") << mode;
    }
}

TEST_F(PtzMoveTest, ADragContinuesFromTheKeptFractions)
{
    Open(1);
    m_view.m_dPtzX = 1000.75;
    m_view.m_dPtzY = 2000.5;
    AlgorithmAnswers({{0.5F, 0.5F}, {0.6F, 0.45F}});
    EXPECT_EQ(m_view.Move({0, 0, 1, 1}, CONST_RECT), 0);
    EXPECT_EQ(Where(), "2000.750000,1500.500000 2000,1500 9000");
}

TEST_F(PtzMoveTest, AStartPointThatFailsEndsTheDragBeforeTheEndPointIsAskedFor)
{
    Open(1);
    const std::string before = Where();
    fake::Next("VxAlgo_FCU_Point_Transform", -6);
    EXPECT_EQ(m_view.Move({0, 0, 1, 1}, CONST_RECT), -6);
    EXPECT_THAT(
        Lines(),
        ElementsAre(
            Warning(WithValue(
                "[  CLS_PTZSubPlayer::CoordSwitch CLS_VxAlgoFcu::VxAlgo_FCU_Point_Transform fail iRet = ",
                -6)),
            Warning(WithValue("[  CLS_PTZSubPlayer::GetFishPoint CoordSwitch fail iRet = ", -6)),
            Warning(WithValue("[  CLS_PTZSubPlayer::Move GetFishPoint fail iRet = ", -6))));
    EXPECT_THAT(fake::Names(), ElementsAre("VxAlgo_FCU_Point_Transform"));
    EXPECT_EQ(Where(), before);
}

TEST_F(PtzMoveTest, AnEndPointThatFailsEndsTheDragBeforeTheRead)
{
    Open(1);
    const std::string before = Where();
    fake::Next("VxAlgo_FCU_Point_Transform", 0);
    fake::Next("VxAlgo_FCU_Point_Transform", -7);
    EXPECT_EQ(m_view.Move({0, 0, 1, 1}, CONST_RECT), -7);
    EXPECT_THAT(
        Lines(),
        ElementsAre(
            Warning(WithValue(
                "[  CLS_PTZSubPlayer::CoordSwitch CLS_VxAlgoFcu::VxAlgo_FCU_Point_Transform fail iRet = ",
                -7)),
            Warning(WithValue("[  CLS_PTZSubPlayer::GetFishPoint CoordSwitch fail iRet = ", -7)),
            Warning(WithValue("[  CLS_PTZSubPlayer::Move GetFishPoint fail iRet = ", -7))));
    EXPECT_THAT(fake::Names(),
                ElementsAre("VxAlgo_FCU_Point_Transform", "VxAlgo_FCU_Point_Transform"));
    EXPECT_EQ(Where(), before);
}

TEST_F(PtzMoveTest, ADragWithoutAnInstanceLogsInnermostFirst)
{
    Open(1);
    m_view.m_pFcuHandle = nullptr;
    EXPECT_EQ(m_view.Move({0, 0, 1, 1}, CONST_RECT), -1);
    EXPECT_THAT(
        Lines(),
        ElementsAre(
            Warning("[  CLS_PTZSubPlayer::CoordFETo360 nullptr == m_pFcuHandle ]"),
            Warning(WithValue("[  CLS_PTZSubPlayer::GetFishPoint CoordSwitch fail iRet = ", -1)),
            Warning(WithValue("[  CLS_PTZSubPlayer::Move GetFishPoint fail iRet = ", -1))));
    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(PtzMoveTest, ADragThatCannotReadHandsTheResultOnAndSeedsNothing)
{
    Open(1);
    const std::string before = Where();
    fake::Next("RV_GetFishEyeCorrectPara", -8);
    EXPECT_EQ(m_view.Move({0, 0, 1, 1}, CONST_RECT), -8);
    EXPECT_THAT(Lines(), ElementsAre(Warning(WithValue(
                             "[  CLS_PTZSubPlayer::Move GetCorrectPara fail iRet = ", -8))));
    EXPECT_EQ(Where(), before);
}

TEST_F(PtzMoveTest, ADragThatCannotWriteHandsTheResultOnAndKeepsTheSeed)
{
    Open(1);
    EngineHolds(PtzRecord(3000, 3500, 9000));
    for (const int result : {-2, -8}) {
        AlgorithmAnswers({{0.5F, 0.5F}, {0.6F, 0.45F}});
        fake::Next("RV_SetFishEyeCorrectPara", result);
        EXPECT_EQ(m_view.Move({0, 0, 1, 1}, CONST_RECT), result);
        EXPECT_THAT(Lines(),
                    ElementsAre(Warning(WithValue(
                        "[  CLS_PTZSubPlayer::Move SetCorrectPara fail iRet = ", result))));
    }
    EXPECT_EQ(Where(), "3000.000000,3500.000000 4000,6000 9000");
}

/// A drag through the algorithm of a view at (4000, 6000), whose centre would leave 0..10000.
struct Leaving
{
    const char* name;
    float fromX;
    float fromY;
    float toX;
    float toY;
    int x;
    int y;

    friend std::ostream& operator<<(std::ostream& out, const Leaving& row)
    {
        return out << row.name;
    }
};

class PtzDragLeaving : public PtzMoveTest, public ::testing::WithParamInterface<Leaving>
{};

TEST_P(PtzDragLeaving, IsRefusedWithAWarningAndSeedsAllTheSame)
{
    const Leaving& row = GetParam();
    Open(0);
    EngineHolds(PtzRecord(4000, 6000, 12345));
    AlgorithmAnswers({{row.fromX, row.fromY}, {row.toX, row.toY}});
    EXPECT_EQ(m_view.Move({0, 0, 1, 1}, CONST_RECT), -1);
    EXPECT_THAT(
        Lines(),
        ElementsAre(Warning(WithValues(
            "[  CLS_PTZSubPlayer::Move param.iPTZPositionX is invalid || param.iPTZPositionY is invalid param.iPTZPositionX = ",
            row.x, " param.iPTZPositionY = ", row.y))));
    EXPECT_THAT(fake::Names(),
                ElementsAre("VxAlgo_FCU_Point_Transform", "VxAlgo_FCU_Point_Transform",
                            "RV_GetFishEyeCorrectPara"));
    EXPECT_EQ(Where(), "4000.000000,6000.000000 4000,6000 9000");
}

INSTANTIATE_TEST_SUITE_P(
    PTZSubPlayer, PtzDragLeaving,
    ::testing::Values(Leaving{"ToMinusOne", 0.4001F, 0.5F, 0.0F, 0.5F, -1, 6000},
                      Leaving{"UpToMinusOne", 0.5F, 0.6001F, 0.5F, 0.0F, 4000, -1},
                      Leaving{"ToOneTooMany", 0.0F, 0.5F, 0.6001F, 0.5F, 10001, 6000},
                      Leaving{"DownToOneTooMany", 0.5F, 0.0F, 0.5F, 0.4001F, 4000, 10001},
                      Leaving{"ToInfinity", 0.0F, 0.5F, 1e30F, 0.5F, INT32_MAX, 6000},
                      Leaving{"TheDifferenceWraps", -1e30F, 0.6001F, 1e30F, 0.0F, 3999, -1}),
    [](const ::testing::TestParamInfo<Leaving>& info) { return info.param.name; });

TEST_F(PtzMoveTest, TheCornersOfThePictureAreReached)
{
    Open(0);
    EngineHolds(PtzRecord(4000, 6000, 12345));
    AlgorithmAnswers({{0.0F, 0.0F}, {0.6F, 0.4F}, {1.0F, 1.0F}, {0.0F, 0.0F}});
    EXPECT_EQ(m_view.Move({0, 0, 1, 1}, CONST_RECT), 0);
    EXPECT_EQ(Where(), "10000.000000,10000.000000 10000,10000 9000");
    EXPECT_EQ(m_view.Move({0, 0, 1, 1}, CONST_RECT), 0);
    EXPECT_EQ(Where(), "0.000000,0.000000 0,0 9000");
}

TEST_F(PtzMoveTest, TheOutlineOfAMoveShowsThePositionBeforeIt)
{
    Open(1);
    EngineHolds(PtzRecord(4000, 6000, 9000));
    QVector<QVector<STRUCT_DrawPoint>> outline;
    m_view.Move(-100, 0, CONST_RECT);
    m_view.GetPTZDrawData(outline);
    EXPECT_EQ(outline.at(0).at(0).fX, 0.35F);
    m_view.Move(-100, 0, CONST_RECT);
    m_view.GetPTZDrawData(outline);
    EXPECT_EQ(outline.at(0).at(0).fX, 0.45F);
}

}  // namespace
