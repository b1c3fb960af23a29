#include <limits>

#include <gtest/gtest.h>

#include "optics/FisheyePicture.h"
#include "tests/optics/Near.h"

namespace optics {
namespace {

constexpr double CONST_NAN = std::numeric_limits<double>::quiet_NaN();
constexpr double CONST_INFINITY = std::numeric_limits<double>::infinity();

TEST(FisheyePicture, PointsWorkedOutByHand)
{
    const double h = std::sqrt(0.5);
    EXPECT_THAT(FisheyeDirection({0.5, 0.5}), NearDirection(Vec3{0, 0, 1}, 1e-15));
    EXPECT_THAT(FisheyeDirection({1.0, 0.5}), NearDirection(Vec3{1, 0, 0}, 1e-15));
    EXPECT_THAT(FisheyeDirection({0.5, 1.0}), NearDirection(Vec3{0, 1, 0}, 1e-15));
    EXPECT_THAT(FisheyeDirection({0.5, 0.75}), NearDirection(Vec3{0, h, h}, 1e-15));
    EXPECT_THAT(FisheyeDirection({0.25, 0.5}), NearDirection(Vec3{-h, 0, h}, 1e-15));
}

TEST(FisheyePicture, BearingIsZeroAtTheBottomAndGrowsToTheRight)
{
    EXPECT_DOUBLE_EQ(Bearing(Point{0.5, 0.9}), 0.0);
    EXPECT_DOUBLE_EQ(Bearing(Point{0.9, 0.5}), PI / 2);
    EXPECT_DOUBLE_EQ(Bearing(Point{0.1, 0.5}), -PI / 2);
    EXPECT_DOUBLE_EQ(Bearing(Point{0.5, 0.5}), 0.0);
    EXPECT_DOUBLE_EQ(Bearing(FisheyeDirection({0.75, 0.75})), PI / 4);
}

TEST(FisheyePicture, EveryPointOfTheSquareComesBack)
{
    for (int i = 0; i <= 40; ++i) {
        for (int j = 0; j <= 40; ++j) {
            const Point st{i / 40.0, j / 40.0};
            EXPECT_THAT(FisheyeFraction(FisheyeDirection(st)), NearPoint(st, 1e-12));
            EXPECT_NEAR(Length(FisheyeDirection(st)), 1.0, 1e-12);
        }
    }
}

TEST(FisheyePicture, TheCircleEndsAtTheRim)
{
    EXPECT_TRUE(InCircle({0.5, 1.0}));
    EXPECT_TRUE(InCircle({0.5 + 0.5 * std::sqrt(0.5), 0.5 + 0.5 * std::sqrt(0.5)}));
    EXPECT_FALSE(InCircle({0.5, 1.0 + 1e-6}));
    EXPECT_FALSE(InCircle({0.0, 0.0}));
    EXPECT_FALSE(InCircle({CONST_NAN, 0.5}));
    EXPECT_FALSE(InCircle({0.5, CONST_INFINITY}));
}

TEST(FisheyePicture, TheNearestPointOfTheRimStandsForAPointOutside)
{
    const double h = 0.5 - 0.5 * std::sqrt(0.5);
    EXPECT_THAT(NearestInCircle({0.0, 0.0}), NearPoint(Point{h, h}, 1e-15));
    EXPECT_THAT(NearestInCircle({0.5, 7.0}), NearPoint(Point{0.5, 1.0}, 0));
    EXPECT_THAT(NearestInCircle({0.3, 0.4}), NearPoint(Point{0.3, 0.4}, 0));
    EXPECT_THAT(NearestInCircle({CONST_NAN, 0.4}), NearPoint(Point{0.5, 0.5}, 0));
    EXPECT_THAT(NearestInCircle({CONST_INFINITY, 0.4}), NearPoint(Point{0.5, 0.5}, 0));
}

}  // namespace
}  // namespace optics
