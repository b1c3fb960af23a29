// That the signs of the geometry fit the way in which clients steer: buttons and drags are turned
// into positions of the fisheye picture by fixed arithmetic, written out here, and the views must
// then move the way the hand does.
#include <gtest/gtest.h>

#include "optics/FisheyePicture.h"
#include "optics/View.h"
#include "tests/optics/Near.h"

namespace optics {
namespace {

struct Position
{
    double dX;
    double dY;
};

/// The orbit round the picture's centre, in ten-thousandths, by which types other than 1 move.
Position Orbit(Position st, double dAngleStep, double dRadiusStep)
{
    const int iX = static_cast<int>(st.dX - 5000.0);
    const int iY = static_cast<int>(st.dY - 5000.0);
    double dAngle =
        iY != 0 ? std::atan(static_cast<double>(iX) / iY) : (iX >= 0 ? PI / 2 : -PI / 2);
    if (iY < 0)
        dAngle += PI;
    dAngle += dAngleStep * PI / 10000.0;
    const double dRadius =
        std::max(std::sqrt(static_cast<double>(iX * iX + iY * iY)) + dRadiusStep, 10.0);
    return {std::sin(dAngle) * dRadius + 5000.0, std::cos(dAngle) * dRadius + 5000.0};
}

/// A pan/tilt button: dx to the right, dy downwards.
Position Button(int iType, Position st, double dDx, double dDy)
{
    const double dSign = iType == 3 ? -1.0 : 1.0;
    if (iType == 1)
        return {st.dX + dDx, st.dY + dDy};
    return Orbit(st, dSign * dDx, dSign * dDy);
}

/// A drag in the view's window, in ten-thousandths of it.
Position Drag(int iType, Position st, double dDx, double dDy)
{
    const double dSign = iType == 2 ? -1.0 : 1.0;
    if (iType == 1)
        return {st.dX - dDx, st.dY - dDy};
    return Orbit(st, dSign * dDx, dSign * dDy);
}

View At(int iType, Position st)
{
    ViewParameters stView;
    stView.eKind = ViewKind::PanTiltZoom;
    stView.eMount = MountOf(iType);
    stView.stCentre = {st.dX / 10000.0, st.dY / 10000.0};
    stView.dZoom = 5000.0;
    return View(stView);
}

struct Case
{
    int iType;
    Position st;
};

class Steering : public testing::TestWithParam<Case>
{
protected:
    /// Where the view after a move shows what was at the middle of the view before it.
    Point MiddleAfter(Position stMoved) const
    {
        const View before = At(GetParam().iType, GetParam().st);
        const View after = At(GetParam().iType, stMoved);
        return after.Fraction(*before.Direction({0.5, 0.5})).value();
    }
};

INSTANTIATE_TEST_SUITE_P(AllRound, Steering,
                         testing::Values(Case{1, {5000, 5000}}, Case{1, {3000, 4500}},
                                         Case{1, {7000, 6000}}, Case{2, {5000, 7000}},
                                         Case{2, {3000, 5000}}, Case{2, {7000, 3500}},
                                         Case{2, {5000, 2500}}, Case{3, {5000, 7000}},
                                         Case{3, {3000, 5000}}, Case{3, {7000, 3500}},
                                         Case{3, {5000, 2500}}),
                         [](const auto& info) {
                             return "Type" + std::to_string(info.param.iType) + "At" +
                                    std::to_string(static_cast<int>(info.param.st.dX)) + "_" +
                                    std::to_string(static_cast<int>(info.param.st.dY));
                         });

TEST_P(Steering, TheRightButtonTurnsRight)
{
    const auto [iType, st] = GetParam();
    EXPECT_LT(MiddleAfter(Button(iType, st, 100, 0)).x, 0.5);
    EXPECT_GT(MiddleAfter(Button(iType, st, -100, 0)).x, 0.5);
}

TEST_P(Steering, TheUpButtonLooksUp)
{
    const auto [iType, st] = GetParam();
    EXPECT_GT(MiddleAfter(Button(iType, st, 0, -100)).y, 0.5);
    EXPECT_LT(MiddleAfter(Button(iType, st, 0, 100)).y, 0.5);
    const Vec3 stUp = WorldUp(MountOf(iType));
    EXPECT_GT(Dot(*At(iType, Button(iType, st, 0, -100)).Direction({0.5, 0.5}), stUp),
              Dot(*At(iType, st).Direction({0.5, 0.5}), stUp));
}

TEST_P(Steering, ThePictureFollowsTheDraggingHand)
{
    const auto [iType, st] = GetParam();
    EXPECT_GT(MiddleAfter(Drag(iType, st, 100, 0)).x, 0.5);
    EXPECT_LT(MiddleAfter(Drag(iType, st, -100, 0)).x, 0.5);
    EXPECT_GT(MiddleAfter(Drag(iType, st, 0, 100)).y, 0.5);
    EXPECT_LT(MiddleAfter(Drag(iType, st, 0, -100)).y, 0.5);
}

class WideSteering : public testing::TestWithParam<std::tuple<ViewKind, int>>
{};

INSTANTIATE_TEST_SUITE_P(AllMounts, WideSteering,
                         testing::Combine(testing::Values(ViewKind::Half, ViewKind::Panorama),
                                          testing::Values(1, 2, 3)));

TEST_P(WideSteering, ADragThatRaisesTheAngleMovesThePictureExactlyWithTheMouse)
{
    const auto [eKind, iType] = GetParam();
    const bool blCylinder = eKind == ViewKind::Half && iType == 1;
    const double dSpanDeg = eKind == ViewKind::Half ? 180.0 : 360.0;
    ViewParameters st;
    st.eKind = eKind;
    st.eMount = MountOf(iType);
    const View before(st);
    st.dAngleDeg = dSpanDeg * 0.1;  // a drag over a tenth of the window
    const View after(st);
    for (const double dY : {0.2, 0.5, 0.8}) {
        const Point stMoved = after.Fraction(*before.Direction({0.4, dY})).value();
        EXPECT_THAT(stMoved, NearPoint(Point{0.5, dY}, 1e-12)) << blCylinder;
    }
}

}  // namespace
}  // namespace optics
