// How a pan/tilt/zoom view converts points: between the algorithm's spaces, and from the pixels of
// its window.
#include <limits>

#include "tests/manager/ViewProbe.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr float CONST_INFINITY = std::numeric_limits<float>::infinity();
constexpr float CONST_NAN = std::numeric_limits<float>::quiet_NaN();

/// The algorithm answers with a point.
fake::Reply Point(float x, float y)
{
    return [x, y](const fake::Call& call) {
        call.Pointer<float>(2)[0] = x;
        call.Pointer<float>(2)[1] = y;
        return 0;
    };
}

std::string Request(int createType, int mode, float x, float y, int source, int destination)
{
    return RecordBytes(92)
        .Int(0, 92)
        .Int(4, createType)
        .Int(8, mode)
        .Float(12, x)
        .Float(16, y)
        .Int(20, source)
        .Int(24, destination);
}

/// A view that has an algorithm instance, installation type 4 and mode 0x200, and no window.
class PtzPointTest : public PtzTest
{
protected:
    PtzPointTest()
    {
        m_view.m_pFcuHandle = m_pHandle;
        m_view.m_iCreateType = 4;
        m_view.m_iCorrectMode = 0x200;
    }

    STRUCT_FecPoint m_out{77, 88};
};

// CoordSwitch.

TEST_F(PtzPointTest, TheRequestHasItsFieldsAtTheirOffsets)
{
    STRUCT_FecPoint in{1234, 5678};
    EXPECT_EQ(m_view.CoordSwitch(0x20000, 0x30000, in, m_out), 0);
    const std::vector<fake::Call> calls = Calls();
    ASSERT_THAT(calls, SizeIs(1));
    EXPECT_EQ(calls[0].name, "VxAlgo_FCU_Point_Transform");
    EXPECT_EQ(calls[0].Pointer<void>(0), m_pHandle);
    EXPECT_EQ(calls[0].records[0], Request(4, 0x200, 0.1234F, 0.5678F, 0x20000, 0x30000));
    EXPECT_EQ(calls[0].records[1], std::string(8, '\0'));
    EXPECT_EQ(m_out.iX, 2500);
    EXPECT_EQ(m_out.iY, 7500);
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(PtzPointTest, SpaceCodesAreHandedOnWhateverTheyAre)
{
    STRUCT_FecPoint in{0, 0};
    EXPECT_EQ(m_view.CoordSwitch(-5, INT32_MAX, in, m_out), 0);
    EXPECT_EQ(Calls().at(0).records[0], Request(4, 0x200, 0.0F, 0.0F, -5, INT32_MAX));
}

/// A coordinate, what becomes of it in place, and the fraction that is asked for.
struct Clamp
{
    const char* name;
    int before;
    int after;
    float fraction;
    float wholeFraction;  ///< CoordFETo360 divides as integers

    friend std::ostream& operator<<(std::ostream& out, const Clamp& row) { return out << row.name; }
};

class PtzPointClamp : public PtzPointTest, public ::testing::WithParamInterface<Clamp>
{};

TEST_P(PtzPointClamp, HappensAtTheRightAndTheBottomInPlace)
{
    STRUCT_FecPoint in{GetParam().before, 1};
    EXPECT_EQ(m_view.CoordSwitch(1, 2, in, m_out), 0);
    EXPECT_EQ(in.iX, GetParam().after);
    EXPECT_EQ(in.iY, 1);
    in = {1, GetParam().before};
    EXPECT_EQ(m_view.CoordSwitch(1, 2, in, m_out), 0);
    EXPECT_EQ(in.iX, 1);
    EXPECT_EQ(in.iY, GetParam().after);
    const std::vector<fake::Call> calls = Calls();
    EXPECT_EQ(calls.at(0).records[0], Request(4, 0x200, GetParam().fraction, 0.0001F, 1, 2));
    EXPECT_EQ(calls.at(1).records[0], Request(4, 0x200, 0.0001F, GetParam().fraction, 1, 2));
}

TEST_P(PtzPointClamp, HappensLikewiseInTheFixedConversion)
{
    STRUCT_FecPoint in{GetParam().before, 1};
    EXPECT_EQ(m_view.CoordFETo360(in, m_out), 0);
    EXPECT_EQ(in.iX, GetParam().after);
    EXPECT_EQ(in.iY, 1);
    in = {1, GetParam().before};
    EXPECT_EQ(m_view.CoordFETo360(in, m_out), 0);
    EXPECT_EQ(in.iY, GetParam().after);
    const std::vector<fake::Call> calls = Calls();
    const float whole = GetParam().wholeFraction;
    EXPECT_EQ(calls.at(0).records[0], Request(4, 0x200, whole, 0.0F, 0x40000, 0x20000));
    EXPECT_EQ(calls.at(1).records[0], Request(4, 0x200, 0.0F, whole, 0x40000, 0x20000));
}

INSTANTIATE_TEST_SUITE_P(
    PTZSubPlayer, PtzPointClamp,
    ::testing::Values(Clamp{"Centre", 5000, 5000, 0.5F, 0.0F}, Clamp{"Zero", 0, 0, 0.0F, 0.0F},
                      Clamp{"LastInside", 9999, 9999, 0.9999F, 0.0F},
                      Clamp{"TheEdge", 10000, 9999, 0.9999F, 0.0F},
                      Clamp{"Beyond", 10001, 9999, 0.9999F, 0.0F},
                      Clamp{"Largest", INT32_MAX, 9999, 0.9999F, 0.0F},
                      Clamp{"JustNegative", -1, -1, -0.0001F, 0.0F},
                      Clamp{"NegativeBelowOnePicture", -9999, -9999, -0.9999F, 0.0F},
                      Clamp{"OnePictureToTheLeft", -10000, -10000, -1.0F, -1.0F},
                      Clamp{"OneAndAHalfToTheLeft", -15000, -15000, -1.5F, -1.0F},
                      Clamp{"Least", INT32_MIN, INT32_MIN, -214748.3648F, -214748.0F}),
    [](const ::testing::TestParamInfo<Clamp>& info) { return info.param.name; });

/// A fraction that the algorithm answers, and the position that becomes of it.
struct Answer
{
    const char* name;
    float fraction;
    int position;

    friend std::ostream& operator<<(std::ostream& out, const Answer& row)
    {
        return out << row.name;
    }
};

class PtzPointAnswer : public PtzPointTest, public ::testing::WithParamInterface<Answer>
{};

TEST_P(PtzPointAnswer, BecomesAPositionInSinglePrecision)
{
    STRUCT_FecPoint in{0, 0};
    fake::Always("VxAlgo_FCU_Point_Transform", Point(GetParam().fraction, 0.5F));
    EXPECT_EQ(m_view.CoordSwitch(1, 2, in, m_out), 0);
    EXPECT_EQ(m_out.iX, GetParam().position);
    EXPECT_EQ(m_out.iY, 5000);
    EXPECT_EQ(m_view.CoordFETo360(in, m_out), 0);
    EXPECT_EQ(m_out.iX, GetParam().position);
    fake::Always("VxAlgo_FCU_Point_Transform", Point(0.5F, GetParam().fraction));
    EXPECT_EQ(m_view.CoordSwitch(1, 2, in, m_out), 0);
    EXPECT_EQ(m_out.iX, 5000);
    EXPECT_EQ(m_out.iY, GetParam().position);
    EXPECT_EQ(m_view.CoordFETo360(in, m_out), 0);
    EXPECT_EQ(m_out.iY, GetParam().position);
}

INSTANTIATE_TEST_SUITE_P(
    PTZSubPlayer, PtzPointAnswer,
    ::testing::Values(Answer{"Zero", 0.0F, 0}, Answer{"One", 1.0F, 10000},
                      Answer{"RoundedUpBySinglePrecision", 0.7F, 7000},  // as doubles: 6999
                      Answer{"Truncated", 0.12349F, 1234},
                      Answer{"NegativeTruncatedTowardZero", -0.12349F, -1234},
                      Answer{"JustBelowZero", -0.00009F, 0}, Answer{"TwoPictures", 2.0F, 20000},
                      Answer{"Huge", 1e30F, INT32_MAX}, Answer{"HugeNegative", -1e30F, INT32_MIN},
                      Answer{"Overflowing", 3e38F, INT32_MAX},
                      Answer{"Infinity", CONST_INFINITY, INT32_MAX},
                      Answer{"MinusInfinity", -CONST_INFINITY, INT32_MIN},
                      Answer{"NotANumber", CONST_NAN, 0}),
    [](const ::testing::TestParamInfo<Answer>& info) { return info.param.name; });

TEST_F(PtzPointTest, WithoutAnInstanceCoordSwitchReportsUnderTheOthersNameAndClampsNothing)
{
    m_view.m_pFcuHandle = nullptr;
    STRUCT_FecPoint in{10000, 10000};
    EXPECT_EQ(m_view.CoordSwitch(1, 2, in, m_out), -1);
    EXPECT_THAT(Lines(), ElementsAre(Warning(
                             "[  CLS_PTZSubPlayer::CoordFETo360 nullptr == m_pFcuHandle ]")));
    EXPECT_THAT(Calls(), IsEmpty());
    EXPECT_EQ(in.iX, 10000);
    EXPECT_EQ(in.iY, 10000);
    EXPECT_EQ(m_out.iX, 77);
    EXPECT_EQ(m_out.iY, 88);
}

TEST_F(PtzPointTest, WithoutAnInstanceCoordFETo360Refuses)
{
    m_view.m_pFcuHandle = nullptr;
    STRUCT_FecPoint in{10000, 10000};
    EXPECT_EQ(m_view.CoordFETo360(in, m_out), -1);
    EXPECT_THAT(Lines(), ElementsAre(Warning(
                             "[  CLS_PTZSubPlayer::CoordFETo360 nullptr == m_pFcuHandle ]")));
    EXPECT_THAT(Calls(), IsEmpty());
    EXPECT_EQ(in.iX, 10000);
    EXPECT_EQ(m_out.iX, 77);
}

TEST_F(PtzPointTest, AFailedConversionIsLoggedAndLeavesTheOutputButClampsTheInput)
{
    fake::Always("VxAlgo_FCU_Point_Transform", [](const fake::Call& call) {
        call.Pointer<float>(2)[0] = 0.5F;
        return -6;
    });
    STRUCT_FecPoint in{10000, 20000};
    EXPECT_EQ(m_view.CoordSwitch(1, 2, in, m_out), -6);
    EXPECT_THAT(
        Lines(),
        ElementsAre(Warning(WithValue(
            "[  CLS_PTZSubPlayer::CoordSwitch CLS_VxAlgoFcu::VxAlgo_FCU_Point_Transform fail iRet = ",
            -6))));
    EXPECT_EQ(in.iX, 9999);
    EXPECT_EQ(in.iY, 9999);
    EXPECT_EQ(m_out.iX, 77);
    EXPECT_EQ(m_out.iY, 88);
}

TEST_F(PtzPointTest, AFailedFixedConversionIsLoggedUnderItsOwnName)
{
    fake::Next("VxAlgo_FCU_Point_Transform", -6);
    STRUCT_FecPoint in{10000, 20000};
    EXPECT_EQ(m_view.CoordFETo360(in, m_out), -6);
    EXPECT_THAT(
        Lines(),
        ElementsAre(Warning(WithValue(
            "[  CLS_PTZSubPlayer::CoordFETo360 CLS_VxAlgoFcu::VxAlgo_FCU_Point_Transform fail iRet = ",
            -6))));
    EXPECT_EQ(in.iX, 9999);
    EXPECT_EQ(m_out.iX, 77);
    EXPECT_EQ(m_out.iY, 88);
}

TEST_F(PtzPointTest, APositiveResultIsSuccess)
{
    fake::Always("VxAlgo_FCU_Point_Transform", 5);
    STRUCT_FecPoint in{1, 1};
    EXPECT_EQ(m_view.CoordSwitch(1, 2, in, m_out), 0);
    EXPECT_EQ(m_out.iX, 0);
    EXPECT_EQ(m_view.CoordFETo360(in, m_out), 0);
    EXPECT_EQ(m_out.iY, 0);
}

TEST_F(PtzPointTest, TheFixedConversionDividesAsIntegersAndSoAsksForTheOrigin)
{
    STRUCT_FecPoint in{5000, 5000};
    EXPECT_EQ(m_view.CoordFETo360(in, m_out), 0);
    const fake::Call call = Calls().at(0);
    EXPECT_EQ(call.Pointer<void>(0), m_pHandle);
    EXPECT_EQ(call.records[0], Request(4, 0x200, 0.0F, 0.0F, 0x40000, 0x20000));
    EXPECT_EQ(call.records[1], std::string(8, '\0'));
    EXPECT_EQ(m_out.iX, 2500);
    EXPECT_EQ(m_out.iY, 7500);
}

// GetFishPoint.

TEST_F(PtzPointTest, AWindowWithoutAnExtentIsRefusedBeforeTheDivision)
{
    const STRUCT_FishWindowRect rects[] = {{0, 480}, {640, 0}, {-1, 480}, {640, INT32_MIN}, {0, 0}};
    int x = 77;
    int y = 88;
    for (const STRUCT_FishWindowRect& rect : rects) {
        EXPECT_EQ(m_view.GetFishPoint(1, 2, rect, x, y), -1);
        EXPECT_THAT(
            Lines(),
            ElementsAre(Warning(WithValues(
                "[  CLS_PTZSubPlayer::GetFishPoint _rect.m_iWidth <= 0 || _rect.m_iHeight <= 0  _rect.m_iWidth = ",
                rect.m_iWidth, " _rect.m_iHeight = ", rect.m_iHeight))));
    }
    EXPECT_THAT(Calls(), IsEmpty());
    EXPECT_EQ(x, 77);
    EXPECT_EQ(y, 88);
}

/// A pixel of a window, and the fractions that are asked for.
struct Pixel
{
    const char* name;
    int x;
    int y;
    STRUCT_FishWindowRect rect;
    float fractionX;
    float fractionY;

    friend std::ostream& operator<<(std::ostream& out, const Pixel& row) { return out << row.name; }
};

class PtzPixel : public PtzPointTest, public ::testing::WithParamInterface<Pixel>
{};

TEST_P(PtzPixel, IsAPositionInTheSpaceOfTheInstallation)
{
    const Pixel& row = GetParam();
    for (const int type : {0, 1, 2, 3}) {
        m_view.m_iCreateType = type;
        int x = 0;
        int y = 0;
        EXPECT_EQ(m_view.GetFishPoint(row.x, row.y, row.rect, x, y), 0);
        EXPECT_EQ(Calls().at(0).records[0], Request(type, 0x200, row.fractionX, row.fractionY,
                                                    1 == type ? 0x30000 : 0x20000, 0x40000));
        EXPECT_EQ(x, 2500);
        EXPECT_EQ(y, 7500);
    }
    EXPECT_THAT(Lines(), IsEmpty());
}

// 2147483647 x 10000 wraps to -10000, 214749 x 10000 to -2147477296, and -2147483648 x 10000 to 0.
INSTANTIATE_TEST_SUITE_P(
    PTZSubPlayer, PtzPixel,
    ::testing::Values(Pixel{"TheCentre", 320, 240, {640, 480}, 0.5F, 0.5F},
                      Pixel{"TruncatedTowardZero", 1, 2, {3, 3}, 0.3333F, 0.6666F},
                      Pixel{"NegativeTruncatedTowardZero", -1, -2, {3, 3}, -0.3333F, -0.6666F},
                      Pixel{"TheRightAndBottomEdges", 640, 480, {640, 480}, 0.9999F, 0.9999F},
                      Pixel{"BeyondTheEdges", 700, 999, {640, 480}, 0.9999F, 0.9999F},
                      Pixel{"AWindowOfOnePixel", 0, -1, {1, 1}, 0.0F, -1.0F},
                      Pixel{"TheProductWraps", INT32_MAX, 214749, {10, 10}, -0.1F, -21474.7729F},
                      Pixel{"TheLeastPixelWrapsToZero", INT32_MIN, INT32_MIN, {1, 1}, 0.0F, 0.0F}),
    [](const ::testing::TestParamInfo<Pixel>& info) { return info.param.name; });

TEST_F(PtzPointTest, APixelThatCannotBeConvertedLogsInnermostFirst)
{
    fake::Next("VxAlgo_FCU_Point_Transform", -6);
    int x = 77;
    int y = 88;
    EXPECT_EQ(m_view.GetFishPoint(1, 2, {640, 480}, x, y), -6);
    EXPECT_THAT(
        Lines(),
        ElementsAre(
            Warning(WithValue(
                "[  CLS_PTZSubPlayer::CoordSwitch CLS_VxAlgoFcu::VxAlgo_FCU_Point_Transform fail iRet = ",
                -6)),
            Warning(WithValue("[  CLS_PTZSubPlayer::GetFishPoint CoordSwitch fail iRet = ", -6))));
    EXPECT_EQ(x, 77);
    EXPECT_EQ(y, 88);
}

TEST_F(PtzPointTest, APixelMayBeReadFromWhereTheResultGoes)
{
    int x = 320;
    int y = 240;
    EXPECT_EQ(m_view.GetFishPoint(x, y, {640, 480}, x, y), 0);
    EXPECT_EQ(x, 2500);
    EXPECT_EQ(y, 7500);
}

// The orbit formula by itself.

struct Step
{
    const char* name;
    double x;
    double y;
    double angle;
    double radius;
    double xAfter;
    double yAfter;

    friend std::ostream& operator<<(std::ostream& out, const Step& row) { return out << row.name; }
};

class PtzOrbitStep : public PtzTest, public ::testing::WithParamInterface<Step>
{};

TEST_P(PtzOrbitStep, EndsAtAndChangesNothingOfTheView)
{
    const Step& row = GetParam();
    m_view.m_dPtzX = row.x;
    m_view.m_dPtzY = row.y;
    double x = -1.0;
    double y = -1.0;
    EXPECT_EQ(m_view.FishEyeCorrectCal(x, y, row.angle, row.radius), 0);
    EXPECT_NEAR(x, row.xAfter, 1e-9);
    EXPECT_NEAR(y, row.yAfter, 1e-9);
    EXPECT_EQ(m_view.m_dPtzX, row.x);
    EXPECT_EQ(m_view.m_dPtzY, row.y);
    EXPECT_THAT(Lines(), IsEmpty());
    EXPECT_THAT(Calls(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    PTZSubPlayer, PtzOrbitStep,
    ::testing::Values(Step{"AQuarterTurn", 5000, 6000, 5000, 0, 6000, 5000},
                      Step{"FromAboveTheCentre", 5000, 4000, 5000, 0, 4000, 5000},
                      Step{"Right", 6000, 5000, 0, 0, 6000, 5000},
                      Step{"Left", 4000, 5000, 0, 0, 4000, 5000},
                      Step{"TheExactCentre", 5000, 5000, 0, 0, 5010, 5000},
                      Step{"WithinAUnitOfTheCentre", 4999.5, 5000.5, 0, 0, 5010, 5000},
                      Step{"AFractionOfAStep", 5000, 6000, 0, 0.25, 5000, 6000.25},
                      Step{"TheLeastRadius", 5000, 6000, 0, -2000, 5000, 5010},
                      Step{"LowerLeft", 4000, 6000, 1000, 0, 4357.960478079794, 6260.073510670101},
                      Step{"UpperRight", 6000, 4000, 1000, 0, 5642.039521920206, 3739.926489329899},
                      Step{"ACentreBeyondInt32Saturates", -3e9, 5000, 0, 0, 4990, 5000}),
    [](const ::testing::TestParamInfo<Step>& info) { return info.param.name; });

TEST_F(PtzPointTest, AnOrbitWhoseSquaresOverflowIsNoNumber)
{
    m_view.m_dPtzX = 55000;
    m_view.m_dPtzY = 5000;
    double x = 0.0;
    double y = 0.0;
    EXPECT_EQ(m_view.FishEyeCorrectCal(x, y, 0, 0), 0);
    EXPECT_NE(x, x);
    EXPECT_NE(y, y);
}

}  // namespace
