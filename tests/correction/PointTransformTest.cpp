#include <cmath>
#include <limits>
#include <tuple>

#include <gtest/gtest.h>

#include "tests/correction/Library.h"

namespace correction_test {
namespace {

constexpr int CONST_WIDE = 0x20000;
constexpr int CONST_HALF = 0x30000;
constexpr int CONST_FISHEYE = 0x40000;
constexpr float CONST_NAN = std::numeric_limits<float>::quiet_NaN();
constexpr float CONST_INFINITY = std::numeric_limits<float>::infinity();

struct Row
{
    const char* pcName;
    int iInstallation;
    int iMode;
    int iSource;
    Pair stPoint;
    int iTarget;
    Pair stExpected;
};

void PrintTo(const Row& st, std::ostream* out)
{
    *out << st.pcName;
}

class PointByHand : public testing::TestWithParam<Row>
{};

// u = 0.5 + 0.5 sin(bearing) theta / 90, v = 0.5 + 0.5 cos(bearing) theta / 90
INSTANTIATE_TEST_SUITE_P(
    Spaces, PointByHand,
    testing::Values(
        Row{"CeilingPanoramaMiddle", 3, 0x300, CONST_WIDE, {0.5f, 0}, CONST_FISHEYE, {0.5f, 1}},
        Row{"CeilingPanoramaLeft",
            3,
            0x300,
            CONST_WIDE,
            {0.25f, 0.5f},
            CONST_FISHEYE,
            {0.75f, 0.5f}},
        Row{"CeilingPanoramaSeam", 3, 0x300, CONST_WIDE, {0, 0.5f}, CONST_FISHEYE, {0.5f, 0.25f}},
        Row{"FloorPanoramaRight",
            2,
            0x300,
            CONST_WIDE,
            {0.75f, 0.5f},
            CONST_FISHEYE,
            {0.75f, 0.5f}},
        Row{"FloorPanoramaAxis", 2, 0x300, CONST_WIDE, {0.3f, 0}, CONST_FISHEYE, {0.5f, 0.5f}},
        Row{"WallPanoramaLeft", 1, 0x300, CONST_WIDE, {0.25f, 0.5f}, CONST_FISHEYE, {0.75f, 0.5f}},
        Row{"ModeOfNoWideView", 3, 0x100, CONST_WIDE, {0.25f, 0.5f}, CONST_FISHEYE, {0.75f, 0.5f}},
        Row{"ModeOfNoWideViewHalf", 3, 0x100, CONST_HALF, {0, 0.5f}, CONST_FISHEYE, {0.75f, 0.5f}},
        Row{"WallHalf", 1, 0x100, CONST_HALF, {0.75f, 0.5f}, CONST_FISHEYE, {0.75f, 0.5f}},
        Row{"WallHalfUp", 1, 0x500, CONST_HALF, {0.5f, 0}, CONST_FISHEYE, {0.5f, 0.25f}},
        Row{"Mode200InTheWideSpace", 3, 0x200, CONST_WIDE, {0, 0.5f}, CONST_FISHEYE, {0.75f, 0.5f}},
        Row{"Mode300InTheHalfSpace",
            1,
            0x300,
            CONST_HALF,
            {0.25f, 0.5f},
            CONST_FISHEYE,
            {0.75f, 0.5f}},
        Row{"Lat", 3, 0x400, CONST_WIDE, {0.75f, 0.5f}, CONST_FISHEYE, {0.75f, 0.5f}},
        Row{"LatUp", 1, 0x400, CONST_HALF, {0.5f, 0.25f}, CONST_FISHEYE, {0.5f, 0.25f}},
        Row{"InstallationZeroIsACeiling",
            0,
            0x300,
            CONST_WIDE,
            {0.25f, 0.5f},
            CONST_FISHEYE,
            {0.75f, 0.5f}},
        Row{"BackIntoThePanorama",
            3,
            0x300,
            CONST_FISHEYE,
            {0.75f, 0.5f},
            CONST_WIDE,
            {0.25f, 0.5f}},
        Row{"FromOutsideTheCircle", 3, 0x300, CONST_FISHEYE, {0.5f, 7.0f}, CONST_WIDE, {0.5f, 0}},
        Row{"FromBeyondThePanorama", 3, 0x300, CONST_WIDE, {0.5f, -0.5f}, CONST_FISHEYE, {0.5f, 1}},
        Row{"TheSameSpace", 3, 0x300, CONST_FISHEYE, {0.3f, 0.6f}, CONST_FISHEYE, {0.3f, 0.6f}}),
    [](const auto& info) { return std::string(info.param.pcName); });

TEST_P(PointByHand, IsWhereItMustBe)
{
    const Handle handle;
    const Row& st = GetParam();
    TransformRecord request =
        Transform(st.iInstallation, st.iMode, st.stPoint, st.iSource, st.iTarget);
    Pair stResult = {};
    ASSERT_EQ(TheLibrary().Point_Transform(handle.Get(), request.Data(), &stResult), 0);
    EXPECT_NEAR(stResult.fX, st.stExpected.fX, 1e-7);
    EXPECT_NEAR(stResult.fY, st.stExpected.fY, 1e-7);
}

TEST(PointTransform, EveryPointOfEverySpaceComesBack)
{
    const Handle handle;
    for (const int iInstallation : {0, 1, 2, 3}) {
        for (const int iMode : {0x100, 0x200, 0x300, 0x400, 0x500}) {
            for (const int iSpace : {CONST_WIDE, CONST_HALF}) {
                for (int i = 0; i < 400; ++i) {
                    const Pair st{0.02f + 0.048f * static_cast<float>(i % 20),
                                  0.02f + 0.048f * static_cast<float>(i / 20)};
                    TransformRecord there =
                        Transform(iInstallation, iMode, st, iSpace, CONST_FISHEYE);
                    Pair stFisheye = {};
                    ASSERT_EQ(TheLibrary().Point_Transform(handle.Get(), there.Data(), &stFisheye),
                              0);
                    TransformRecord back =
                        Transform(iInstallation, iMode, stFisheye, CONST_FISHEYE, iSpace);
                    Pair stBack = {};
                    ASSERT_EQ(TheLibrary().Point_Transform(handle.Get(), back.Data(), &stBack), 0);
                    // Single precision; near the axis a bearing is known less well.
                    EXPECT_NEAR(stBack.fX, st.fX, 2e-6);
                    EXPECT_NEAR(stBack.fY, st.fY, 2e-6);
                }
            }
        }
    }
}

TEST(PointTransform, APointThatTheTargetDoesNotShowIsRefusedAndNothingIsWritten)
{
    const Handle handle;
    TransformRecord request = Transform(3, 0x200, {0.5f, 0.25f}, CONST_FISHEYE, CONST_WIDE);
    Pair stResult = {3.0f, 4.0f};
    EXPECT_EQ(TheLibrary().Point_Transform(handle.Get(), request.Data(), &stResult), -6);
    EXPECT_EQ(stResult.fX, 3.0f);
    EXPECT_EQ(stResult.fY, 4.0f);
}

TEST(PointTransform, MalformedRequestsAreRefused)
{
    const Handle handle;
    Pair stResult = {3.0f, 4.0f};
    const TransformRecord good = Transform(3, 0x300, {0.5f, 0.5f}, CONST_WIDE, CONST_FISHEYE);
    const auto result = [&](TransformRecord record) {
        return TheLibrary().Point_Transform(handle.Get(), record.Data(), &stResult);
    };
    EXPECT_EQ(TheLibrary().Point_Transform(handle.Get(), nullptr, &stResult), -2);
    EXPECT_EQ(TheLibrary().Point_Transform(handle.Get(), TransformRecord(good).Data(), nullptr),
              -2);
    EXPECT_EQ(result(TransformRecord(good).Put(0, 91)), -3);
    EXPECT_EQ(result(TransformRecord(good).Put(0, 0)), -3);
    for (const float fBad : {CONST_NAN, CONST_INFINITY, -CONST_INFINITY}) {
        EXPECT_EQ(result(TransformRecord(good).Put(12, fBad)), -4);
        EXPECT_EQ(result(TransformRecord(good).Put(16, fBad)), -4);
    }
    EXPECT_EQ(result(TransformRecord(good).Put(20, 0x50000)), -4);
    EXPECT_EQ(result(TransformRecord(good).Put(24, 0)), -4);
    EXPECT_EQ(stResult.fX, 3.0f);
}

TEST(PointTransform, HugeFractionsStayInThePicture)
{
    const Handle handle;
    for (const float fHuge : {3e38f, -3e38f}) {
        for (const int iSource : {CONST_WIDE, CONST_HALF, CONST_FISHEYE}) {
            TransformRecord request = Transform(1, 0x300, {fHuge, fHuge}, iSource, CONST_FISHEYE);
            Pair stResult = {};
            ASSERT_EQ(TheLibrary().Point_Transform(handle.Get(), request.Data(), &stResult), 0);
            EXPECT_LE(std::hypot(stResult.fX - 0.5f, stResult.fY - 0.5f), 0.5f + 1e-6f);
        }
    }
}

}  // namespace
}  // namespace correction_test
