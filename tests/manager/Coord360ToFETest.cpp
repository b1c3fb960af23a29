// A point of the panorama as a point of the fisheye picture.
#include <climits>
#include <cmath>
#include <limits>
#include <ostream>

#include "tests/manager/FacadeProbe.h"
#include "tests/manager/RecordBytes.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using Coord360ToFETest = PlayingTest;

TEST_F(Coord360ToFETest, AsksTheAlgorithmWithA92ByteRecordAndAClearedResult)
{
    STRUCT_FecPoint in{2500, 7000};
    STRUCT_FecPoint out{-3, -4};
    EXPECT_EQ(m_player.Coord360ToFE(in, out), 0);
    const std::vector<fake::Call> calls = Calls();
    ASSERT_EQ(calls.size(), 1U);
    EXPECT_EQ(calls[0].name, "VxAlgo_FCU_Point_Transform");
    EXPECT_EQ(calls[0].Pointer<void>(0), fake::Handle());
    EXPECT_EQ(calls[0].records[0], RecordBytes(92)
                                       .Int(0, 92)
                                       .Int(4, 3)  // the kind, whatever the installation type
                                       .Int(8, 0x300)
                                       .Float(12, 0.25F)
                                       .Float(16, 0.7F)
                                       .Int(20, 0x20000)
                                       .Int(24, 0x40000));
    EXPECT_EQ(calls[0].records[1], RecordBytes(8));
    EXPECT_EQ(out.iX, 2500);
    EXPECT_EQ(out.iY, 7500);
    EXPECT_EQ(in.iX, 2500);
    EXPECT_EQ(in.iY, 7000);
    EXPECT_THAT(Lines(), IsEmpty());
}

struct Input
{
    const char* name;
    STRUCT_FecPoint in;
    STRUCT_FecPoint clamped;
};

void PrintTo(const Input& row, std::ostream* out)
{
    *out << row.name;
}

class Coord360ToFEInput : public PlayingTest, public ::testing::WithParamInterface<Input>
{};

INSTANTIATE_TEST_SUITE_P(, Coord360ToFEInput,
                         ::testing::Values(Input{"BothBeyondTheEdge", {10000, 12000}, {9999, 9999}},
                                           Input{"XAtTheEdge", {10000, 5}, {9999, 5}},
                                           Input{"YAtTheEdge", {5, 10000}, {5, 9999}},
                                           Input{"LastInside", {9999, 9999}, {9999, 9999}},
                                           Input{"Largest", {INT_MAX, INT_MAX}, {9999, 9999}},
                                           Input{"Origin", {0, 0}, {0, 0}},
                                           Input{"BelowZero", {-1, -20000}, {-1, -20000}},
                                           Input{
                                               "Smallest", {INT_MIN, INT_MIN}, {INT_MIN, INT_MIN}}),
                         NamedRow());

TEST_P(Coord360ToFEInput, IsClampedAboveAloneAndInPlace)
{
    STRUCT_FecPoint in = GetParam().in;
    STRUCT_FecPoint out{};
    EXPECT_EQ(m_player.Coord360ToFE(in, out), 0);
    EXPECT_EQ(in.iX, GetParam().clamped.iX);
    EXPECT_EQ(in.iY, GetParam().clamped.iY);
    EXPECT_EQ(fake::Calls().at(0).records[0],
              RecordBytes(92)
                  .Int(0, 92)
                  .Int(4, 3)
                  .Int(8, 0x300)
                  .Float(12, static_cast<float>(GetParam().clamped.iX / 10000.0))
                  .Float(16, static_cast<float>(GetParam().clamped.iY / 10000.0))
                  .Int(20, 0x20000)
                  .Int(24, 0x40000));
}

struct Result
{
    const char* name;
    float fraction;
    int position;
};

void PrintTo(const Result& row, std::ostream* out)
{
    *out << row.name;
}

class Coord360ToFEResult : public PlayingTest, public ::testing::WithParamInterface<Result>
{};

constexpr float CONST_INFINITY = std::numeric_limits<float>::infinity();

INSTANTIATE_TEST_SUITE_P(
    , Coord360ToFEResult,
    ::testing::Values(
        Result{"Zero", 0.0F, 0}, Result{"Half", 0.5F, 5000}, Result{"One", 1.0F, 10000},
        Result{"TowardZeroFromAbove", 0.00019F, 1}, Result{"TowardZeroFromBelow", -0.00019F, -1},
        // 9998.9998 in double precision, 9999 in single
        Result{"InSinglePrecision", 0.9999F, 9999}, Result{"BeyondThePicture", 2.5F, 25000},
        Result{"JustInsideInt32", 214748.0F, 2147480064},
        Result{"BeyondInt32", 214748.375F, INT_MAX}, Result{"BelowInt32", -3e30F, INT_MIN},
        Result{"Infinity", CONST_INFINITY, INT_MAX},
        Result{"MinusInfinity", -CONST_INFINITY, INT_MIN},
        Result{"NotANumber", std::numeric_limits<float>::quiet_NaN(), 0}),
    NamedRow());

TEST_P(Coord360ToFEResult, IsTruncatedAndSaturated)
{
    for (const bool inX : {true, false}) {
        fake::Next("VxAlgo_FCU_Point_Transform", [inX](const fake::Call& call) {
            call.Pointer<float>(2)[inX ? 0 : 1] = GetParam().fraction;
            return 0;
        });
        STRUCT_FecPoint in{1, 2};
        STRUCT_FecPoint out{-3, -4};
        EXPECT_EQ(m_player.Coord360ToFE(in, out), 0);
        EXPECT_EQ(out.iX, inX ? GetParam().position : 0);
        EXPECT_EQ(out.iY, inX ? 0 : GetParam().position);
    }
}

TEST_F(Coord360ToFETest, AnyResultThatIsNotNegativeIsZero)
{
    fake::Next("VxAlgo_FCU_Point_Transform", 5);
    STRUCT_FecPoint in{1, 2};
    STRUCT_FecPoint out{-3, -4};
    EXPECT_EQ(m_player.Coord360ToFE(in, out), 0);
    EXPECT_EQ(out.iX, 0);  // what a cleared result says
    EXPECT_EQ(out.iY, 0);
}

TEST_F(Coord360ToFETest, AFailureComesBackAsItIsWithTheInputClampedAndTheOutputAsItWas)
{
    for (const int result : {-1, -9, INT_MIN}) {
        fake::Next("VxAlgo_FCU_Point_Transform", [result](const fake::Call& call) {
            call.Pointer<float>(2)[0] = 0.5F;
            return result;
        });
        STRUCT_FecPoint in{10000, 12000};
        STRUCT_FecPoint out{-3, -4};
        EXPECT_EQ(m_player.Coord360ToFE(in, out), result);
        EXPECT_EQ(in.iX, 9999);
        EXPECT_EQ(in.iY, 9999);
        EXPECT_EQ(out.iX, -3);
        EXPECT_EQ(out.iY, -4);
        EXPECT_THAT(
            Lines(),
            ElementsAre(Warning(WithValue(
                "[  CLS_MainPlayer::Coord360ToFE CLS_VxAlgoFcu::VxAlgo_FCU_Point_Transform fail iRet = ",
                result))));
    }
}

TEST_F(Coord360ToFETest, WithoutAnInstanceNothingIsAskedOrClamped)
{
    void* const handle = std::exchange(m_player.m_pFcuHandle, nullptr);
    STRUCT_FecPoint in{10000, 12000};
    STRUCT_FecPoint out{-3, -4};
    EXPECT_EQ(m_player.Coord360ToFE(in, out), -1);
    m_player.m_pFcuHandle = handle;
    EXPECT_EQ(in.iX, 10000);
    EXPECT_EQ(in.iY, 12000);
    EXPECT_EQ(out.iX, -3);
    EXPECT_EQ(out.iY, -4);
    EXPECT_THAT(Lines(),
                ElementsAre(Warning("[  CLS_MainPlayer::Coord360ToFE  nullptr == m_pFcuHandle ]")));
    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(Coord360ToFETest, TheSamePointMayBeInputAndOutput)
{
    STRUCT_FecPoint point{1, 2};
    EXPECT_EQ(m_player.Coord360ToFE(point, point), 0);
    EXPECT_EQ(point.iX, 2500);
    EXPECT_EQ(point.iY, 7500);
}

}  // namespace
