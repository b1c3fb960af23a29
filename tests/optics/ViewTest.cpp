#include <limits>
#include <random>

#include <gtest/gtest.h>

#include "optics/FisheyePicture.h"
#include "optics/View.h"
#include "tests/optics/Near.h"

namespace optics {
namespace {

constexpr double CONST_NAN = std::numeric_limits<double>::quiet_NaN();
constexpr double CONST_INFINITY = std::numeric_limits<double>::infinity();
constexpr Mount CONST_MOUNTS[] = {Mount::Ceiling, Mount::Wall, Mount::Floor};
const double h = std::sqrt(0.5);

View Wide(ViewKind eKind, Mount eMount, double dAngleDeg = 0.0)
{
    ViewParameters st;
    st.eKind = eKind;
    st.eMount = eMount;
    st.dAngleDeg = dAngleDeg;
    return View(st);
}

View PanTiltZoom(Mount eMount, Point stCentre, double dZoom = 10000.0, int iWidth = 1,
                 int iHeight = 1)
{
    ViewParameters st;
    st.eKind = ViewKind::PanTiltZoom;
    st.eMount = eMount;
    st.stCentre = stCentre;
    st.dZoom = dZoom;
    st.iWidth = iWidth;
    st.iHeight = iHeight;
    return View(st);
}

struct HandWorked
{
    const char* pcName;
    View view;
    Point stFraction;
    Vec3 stDirection;
};

void PrintTo(const HandWorked& st, std::ostream* out)
{
    *out << st.pcName << " at (" << st.stFraction.x << ", " << st.stFraction.y << ")";
}

class ViewByHand : public testing::TestWithParam<HandWorked>
{};

// The bottom of the picture is (0, 1, 0), its right (1, 0, 0), its top (0, -1, 0).
INSTANTIATE_TEST_SUITE_P(
    Table, ViewByHand,
    testing::Values(
        // The rim is at the top of a ceiling panorama; its middle looks to the picture's bottom,
        // its left quarter to bearing 90 degrees, the picture's right.
        HandWorked{
            "CeilingPanorama", Wide(ViewKind::Panorama, Mount::Ceiling), {0.5, 0}, {0, 1, 0}},
        HandWorked{
            "CeilingPanorama", Wide(ViewKind::Panorama, Mount::Ceiling), {0.25, 0}, {1, 0, 0}},
        HandWorked{
            "CeilingPanorama", Wide(ViewKind::Panorama, Mount::Ceiling), {0.75, 0.5}, {-h, 0, h}},
        HandWorked{
            "CeilingPanorama", Wide(ViewKind::Panorama, Mount::Ceiling), {0, 0.5}, {0, -h, h}},
        HandWorked{
            "CeilingPanorama", Wide(ViewKind::Panorama, Mount::Ceiling), {0.5, 1}, {0, 0, 1}},
        HandWorked{
            "CeilingTurned90", Wide(ViewKind::Panorama, Mount::Ceiling, 90), {0.5, 0}, {1, 0, 0}},
        HandWorked{"WallPanorama", Wide(ViewKind::Panorama, Mount::Wall), {0.25, 0}, {1, 0, 0}},
        HandWorked{"WallPanorama", Wide(ViewKind::Panorama, Mount::Wall), {0.5, 0.5}, {0, h, h}},
        HandWorked{"WallTurned90", Wide(ViewKind::Panorama, Mount::Wall, 90), {0.5, 0}, {1, 0, 0}},
        // The axis, straight up, is at the top of a floor panorama; to its right is the right.
        HandWorked{"FloorPanorama", Wide(ViewKind::Panorama, Mount::Floor), {0.5, 1}, {0, 1, 0}},
        HandWorked{"FloorPanorama", Wide(ViewKind::Panorama, Mount::Floor), {0.75, 1}, {1, 0, 0}},
        HandWorked{
            "FloorPanorama", Wide(ViewKind::Panorama, Mount::Floor), {0.25, 0.5}, {-h, 0, h}},
        HandWorked{"FloorPanorama", Wide(ViewKind::Panorama, Mount::Floor), {0.5, 0}, {0, 0, 1}},
        HandWorked{
            "FloorTurned90", Wide(ViewKind::Panorama, Mount::Floor, 90), {0.5, 1}, {-1, 0, 0}},
        HandWorked{"Ceiling180", Wide(ViewKind::Half, Mount::Ceiling), {0, 0}, {1, 0, 0}},
        HandWorked{"Ceiling180", Wide(ViewKind::Half, Mount::Ceiling), {0.5, 0}, {0, 1, 0}},
        HandWorked{"Ceiling180", Wide(ViewKind::Half, Mount::Ceiling), {1, 0.5}, {-h, 0, h}},
        HandWorked{
            "Ceiling180Turned", Wide(ViewKind::Half, Mount::Ceiling, 90), {0, 0}, {0, -1, 0}},
        HandWorked{"Floor180", Wide(ViewKind::Half, Mount::Floor), {0, 1}, {-1, 0, 0}},
        HandWorked{"Floor180", Wide(ViewKind::Half, Mount::Floor), {1, 0.5}, {h, 0, h}},
        HandWorked{"Floor180Turned", Wide(ViewKind::Half, Mount::Floor, 90), {1, 1}, {0, 1, 0}},
        HandWorked{"Wall180", Wide(ViewKind::Half, Mount::Wall), {0.5, 0.5}, {0, 0, 1}},
        HandWorked{"Wall180", Wide(ViewKind::Half, Mount::Wall), {0, 0.5}, {-1, 0, 0}},
        HandWorked{"Wall180", Wide(ViewKind::Half, Mount::Wall), {0.75, 0.5}, {h, 0, h}},
        HandWorked{"Wall180", Wide(ViewKind::Half, Mount::Wall), {0.5, 0}, {0, -h, h}},
        HandWorked{"Wall180", Wide(ViewKind::Half, Mount::Wall), {1, 1}, {h, h, 0}},
        HandWorked{"Wall180Turned", Wide(ViewKind::Half, Mount::Wall, 45), {0.5, 0.5}, {-h, 0, h}},
        HandWorked{"Lat", Wide(ViewKind::Lat, Mount::Ceiling), {0.5, 0.5}, {0, 0, 1}},
        HandWorked{"Lat", Wide(ViewKind::Lat, Mount::Wall), {1, 0.5}, {1, 0, 0}},
        HandWorked{"Lat", Wide(ViewKind::Lat, Mount::Floor), {0.5, 0.25}, {0, -h, h}},
        HandWorked{"Lat", Wide(ViewKind::Lat, Mount::Ceiling), {0.25, 0.75}, {-0.5, h, 0.5}},
        HandWorked{"Fisheye", Wide(ViewKind::Fisheye, Mount::Ceiling), {1, 0.5}, {1, 0, 0}},
        HandWorked{"Fisheye", Wide(ViewKind::Fisheye, Mount::Wall), {0.5, 0.25}, {0, -h, h}},
        // Looking down 45 degrees from the ceiling towards the picture's bottom: the top border's
        // middle is at the horizon, the bottom border's middle straight down, the left hand is the
        // picture's right.
        HandWorked{"CeilingPtz", PanTiltZoom(Mount::Ceiling, {0.5, 0.75}), {0.5, 0.5}, {0, h, h}},
        HandWorked{"CeilingPtz", PanTiltZoom(Mount::Ceiling, {0.5, 0.75}), {0.5, 0}, {0, 1, 0}},
        HandWorked{"CeilingPtz", PanTiltZoom(Mount::Ceiling, {0.5, 0.75}), {0.5, 1}, {0, 0, 1}},
        HandWorked{"CeilingPtz", PanTiltZoom(Mount::Ceiling, {0.5, 0.75}), {0, 0.5}, {h, 0.5, 0.5}},
        HandWorked{
            "CeilingPtzAtPole", PanTiltZoom(Mount::Ceiling, {0.5, 0.5}), {1, 0.5}, {-h, 0, h}},
        HandWorked{
            "CeilingPtzAtPole", PanTiltZoom(Mount::Ceiling, {0.5, 0.5}), {0.5, 0}, {0, h, h}},
        HandWorked{"FloorPtz", PanTiltZoom(Mount::Floor, {0.5, 0.75}), {0.5, 0}, {0, 0, 1}},
        HandWorked{"FloorPtz", PanTiltZoom(Mount::Floor, {0.5, 0.75}), {1, 0.5}, {h, 0.5, 0.5}},
        HandWorked{"FloorPtzAtPole", PanTiltZoom(Mount::Floor, {0.5, 0.5}), {1, 0.5}, {h, 0, h}},
        HandWorked{"FloorPtzAtPole", PanTiltZoom(Mount::Floor, {0.5, 0.5}), {0.5, 0}, {0, -h, h}},
        HandWorked{"WallPtz", PanTiltZoom(Mount::Wall, {0.5, 0.5}), {0, 0.5}, {-h, 0, h}},
        HandWorked{"WallPtz", PanTiltZoom(Mount::Wall, {0.5, 0.5}), {0.5, 0}, {0, -h, h}},
        HandWorked{"WallPtz", PanTiltZoom(Mount::Wall, {0.75, 0.5}), {0.5, 0.5}, {h, 0, h}},
        HandWorked{"WallPtzStraightDown", PanTiltZoom(Mount::Wall, {0.5, 1}), {1, 0.5}, {h, h, 0}},
        HandWorked{"WallPtzStraightDown", PanTiltZoom(Mount::Wall, {0.5, 1}), {0.5, 0}, {0, h, h}},
        HandWorked{"WallPtzStraightUp", PanTiltZoom(Mount::Wall, {0.5, 0}), {1, 0.5}, {h, -h, 0}},
        // Zoom 5000 has half the tangent; the longer side of a 2:1 window twice the shorter's.
        HandWorked{"PtzZoomed",
                   PanTiltZoom(Mount::Wall, {0.5, 0.5}, 5000),
                   {1, 0.5},
                   {1 / std::sqrt(5.0), 0, 2 / std::sqrt(5.0)}},
        HandWorked{"PtzLandscape",
                   PanTiltZoom(Mount::Wall, {0.5, 0.5}, 10000, 640, 320),
                   {1, 0.5},
                   {2 / std::sqrt(5.0), 0, 1 / std::sqrt(5.0)}},
        HandWorked{"PtzLandscape",
                   PanTiltZoom(Mount::Wall, {0.5, 0.5}, 10000, 640, 320),
                   {0.5, 1},
                   {0, h, h}},
        HandWorked{"PtzPortrait",
                   PanTiltZoom(Mount::Wall, {0.5, 0.5}, 10000, 320, 640),
                   {0.5, 1},
                   {0, 2 / std::sqrt(5.0), 1 / std::sqrt(5.0)}}));

TEST_P(ViewByHand, LooksWhereTheTableSays)
{
    const HandWorked& st = GetParam();
    const std::optional<Vec3> direction = st.view.Direction(st.stFraction);
    ASSERT_TRUE(direction);
    EXPECT_THAT(*direction, NearDirection(st.stDirection, 1e-12));
}

std::vector<View> ManyViews()
{
    std::vector<View> vecViews;
    for (const Mount eMount : CONST_MOUNTS) {
        for (const double dAngle : {0.0, 17.0, -133.0, 180.0, 359.0, 1e6}) {
            vecViews.push_back(Wide(ViewKind::Panorama, eMount, dAngle));
            vecViews.push_back(Wide(ViewKind::Half, eMount, dAngle));
        }
        vecViews.push_back(Wide(ViewKind::Lat, eMount));
        vecViews.push_back(Wide(ViewKind::Fisheye, eMount));
        for (const Point& stCentre :
             {Point{0.5, 0.5}, Point{0.5, 1.0}, Point{0.5, 0.0}, Point{0, 0}, Point{0.3, 0.45},
              Point{0.5, 0.5 + 1e-7}, Point{9, -4}}) {
            vecViews.push_back(PanTiltZoom(eMount, stCentre, 10000, 640, 480));
            vecViews.push_back(PanTiltZoom(eMount, stCentre, 500, 300, 900));
        }
    }
    return vecViews;
}

TEST(View, EveryDirectionComesBackToItsFraction)
{
    for (const View& view : ManyViews()) {
        const bool blPanorama = view.Parameters().eKind == ViewKind::Panorama;
        for (int i = 0; i <= 50; ++i) {
            for (int j = 1; j < 50; ++j) {
                const Point st{i / 50.0, j / 50.0};
                const std::optional<Vec3> direction = view.Direction(st);
                if (!direction)
                    continue;
                EXPECT_NEAR(Length(*direction), 1.0, 1e-12);
                std::optional<Point> back = view.Fraction(*direction * 3.0);
                ASSERT_TRUE(back) << testing::PrintToString(st);
                if (blPanorama && std::abs(back->x - st.x) > 0.5)
                    back->x =
                        st.x + std::remainder(back->x - st.x, 1.0);  // either side of the seam
                EXPECT_THAT(*back, NearPoint(st, 1e-9))
                    << static_cast<int>(view.Parameters().eKind) << " "
                    << static_cast<int>(view.Parameters().eMount);
            }
        }
    }
}

TEST(View, ManyFractionsAtOnceLookWhereEachOfThemDoes)
{
    std::mt19937 random(12);
    std::uniform_real_distribution<double> fraction(-0.1, 1.1);
    for (const View& view : ManyViews()) {
        double adX[40], adY[40];
        for (int i = 0; i < 40; ++i) {
            adX[i] = fraction(random);
            adY[i] = i % 3 == 0 || i == 1 ? fraction(random) : adY[i - 1];  // rows, and none
        }
        Vec3 astDirections[40];
        view.Directions(adX, adY, 40, astDirections);
        for (int i = 0; i < 40; ++i) {
            const std::optional<Vec3> direction = view.Direction({adX[i], adY[i]});
            ASSERT_EQ(direction.has_value(), !std::isnan(astDirections[i].x)) << i;
            if (direction) {
                EXPECT_THAT(Normalised(astDirections[i]), NearDirection(*direction, 0.0)) << i;
            }
        }
    }
}

TEST(View, WhatAViewDoesNotShowHasNoFraction)
{
    EXPECT_FALSE(Wide(ViewKind::Panorama, Mount::Ceiling).Fraction({0, 1, -0.1}));
    EXPECT_FALSE(Wide(ViewKind::Panorama, Mount::Floor).Fraction({0, 1, -0.1}));
    EXPECT_FALSE(Wide(ViewKind::Half, Mount::Ceiling).Fraction({0, -1, 1}));
    EXPECT_FALSE(Wide(ViewKind::Half, Mount::Wall).Fraction({0, -1, 0.9}));
    EXPECT_FALSE(Wide(ViewKind::Half, Mount::Wall).Fraction({0, -1, 0}));
    EXPECT_FALSE(Wide(ViewKind::Lat, Mount::Wall).Fraction({0.1, 0, -1}));
    EXPECT_FALSE(Wide(ViewKind::Fisheye, Mount::Wall).Fraction({0.1, 0, -1}));
    EXPECT_FALSE(PanTiltZoom(Mount::Wall, {0.5, 0.5}).Fraction({0, 0, -1}));
    EXPECT_FALSE(PanTiltZoom(Mount::Wall, {0.5, 0.5}).Fraction({1, 0, 0.9}));
    for (const View& view : ManyViews())
        EXPECT_FALSE(view.Fraction({CONST_NAN, 0, 1})) << static_cast<int>(view.Parameters().eKind);
}

TEST(View, TheAxisIsTheMiddleOfItsBorderLine)
{
    EXPECT_THAT(*Wide(ViewKind::Panorama, Mount::Ceiling, 100).Fraction({0, 0, 1}),
                NearPoint(Point{0.5, 1.0}, 1e-12));
    EXPECT_THAT(*Wide(ViewKind::Half, Mount::Floor, 120).Fraction({0, 0, 1}),
                NearPoint(Point{0.5, 0.0}, 1e-12));
}

TEST(View, CornersOfTheFisheyeViewAndFractionsThatAreNoNumbersAreBlack)
{
    EXPECT_FALSE(Wide(ViewKind::Fisheye, Mount::Ceiling).Direction({0.1, 0.1}));
    for (const View& view : ManyViews()) {
        EXPECT_FALSE(view.Direction({CONST_NAN, 0.5}));
        EXPECT_FALSE(view.Direction({0.5, CONST_INFINITY}));
    }
}

TEST(View, ACentreOutsideTheCircleLooksAtTheNearestPointOfTheRim)
{
    const View corner = PanTiltZoom(Mount::Ceiling, {0.0, 0.0});
    EXPECT_THAT(*corner.Direction({0.5, 0.5}), NearDirection(Vec3{-h, -h, 0}, 1e-12));
    const View far = PanTiltZoom(Mount::Floor, {0.5, -900.0});
    EXPECT_THAT(*far.Direction({0.5, 0.5}), NearDirection(Vec3{0, -1, 0}, 1e-12));
}

TEST(View, ZoomIsClamped)
{
    for (const double dZoom : {-5000.0, 0.0, 499.0})
        EXPECT_EQ(PanTiltZoom(Mount::Wall, {0.5, 0.5}, dZoom).Parameters().dZoom, 500.0);
    EXPECT_EQ(PanTiltZoom(Mount::Wall, {0.5, 0.5}, 20000).Parameters().dZoom, 10000.0);
    const Vec3 st = *PanTiltZoom(Mount::Wall, {0.5, 0.5}, 0).Direction({1.0, 0.5});
    EXPECT_NEAR(st.x / st.z, 0.05, 1e-12);  // twenty times closer
}

TEST(View, ParametersThatAreNoNumbersCountAsTheirDefaults)
{
    const View view = PanTiltZoom(Mount::Wall, {CONST_NAN, 0.2}, CONST_NAN, -3, 0);
    EXPECT_THAT(view.Parameters().stCentre, NearPoint(Point{0.5, 0.5}, 0.0));
    EXPECT_EQ(view.Parameters().dZoom, 10000.0);
    EXPECT_EQ(view.Parameters().iWidth, 1);
    EXPECT_EQ(view.Parameters().iHeight, 1);
    EXPECT_EQ(Wide(ViewKind::Panorama, Mount::Wall, CONST_INFINITY).Parameters().dAngleDeg, 0.0);
}

TEST(View, TheFrameAtThePoleIsTheLimitFromBearingZero)
{
    for (const Mount eMount : {Mount::Ceiling, Mount::Floor}) {
        const View pole = PanTiltZoom(eMount, {0.5, 0.5});
        const View near = PanTiltZoom(eMount, {0.5, 0.5 + 1e-9});
        for (const Point& st : {Point{0, 0}, Point{1, 0.3}, Point{0.2, 1}})
            EXPECT_THAT(*pole.Direction(st), NearDirection(*near.Direction(st), 1e-8));
    }
    for (const double dV : {0.0, 1.0}) {  // a wall camera's poles lie on the rim
        const View pole = PanTiltZoom(Mount::Wall, {0.5, dV});
        const View near = PanTiltZoom(Mount::Wall, {0.5, dV + (dV > 0 ? -1e-9 : 1e-9)});
        EXPECT_THAT(*pole.Direction({0, 0}), NearDirection(*near.Direction({0, 0}), 1e-8));
    }
}

TEST(View, TheFrameIsUprightEverywhere)
{
    std::mt19937 random(3);
    std::uniform_real_distribution<double> uniform(0.0, 1.0);
    for (const Mount eMount : CONST_MOUNTS) {
        for (int i = 0; i < 200; ++i) {
            const View view = PanTiltZoom(eMount, {uniform(random), uniform(random)});
            const Vec3 stLeft = *view.Direction({0, 0.5});
            const Vec3 stRight = *view.Direction({1, 0.5});
            const Vec3 stTop = *view.Direction({0.5, 0});
            const Vec3 stBottom = *view.Direction({0.5, 1});
            // The horizon is level, up is up, and the view is not mirrored.
            EXPECT_NEAR(Dot(stLeft - stRight, WorldUp(eMount)), 0.0, 1e-12);
            EXPECT_GT(Dot(stTop - stBottom, WorldUp(eMount)), 0.0);
            EXPECT_GT(Dot(Cross(stRight - stLeft, stTop - stBottom), *view.Direction({0.5, 0.5})),
                      -10.0);
            EXPECT_LT(Dot(Cross(stRight - stLeft, stTop - stBottom), *view.Direction({0.5, 0.5})),
                      0.0);
        }
    }
}

TEST(View, MountsByInstallationType)
{
    EXPECT_EQ(MountOf(1), Mount::Wall);
    EXPECT_EQ(MountOf(2), Mount::Floor);
    for (const int iType : {0, 3, 4, -1, 1000})
        EXPECT_EQ(MountOf(iType), Mount::Ceiling);
}

}  // namespace
}  // namespace optics
