// Where the viewer believes that its views look, and how it turns them.
#include "viewer/ViewGeometry.h"

#include <cmath>
#include <random>

#include <gtest/gtest.h>

namespace viewer {

std::ostream& operator<<(std::ostream& out, const Direction& a)
{
    return out << "(" << a.x << ", " << a.y << ", " << a.z << ")";
}

namespace {

void ExpectSame(const Direction& a, const Direction& b, double tolerance = 1e-12)
{
    EXPECT_NEAR(a.x, b.x, tolerance) << a << b;
    EXPECT_NEAR(a.y, b.y, tolerance) << a << b;
    EXPECT_NEAR(a.z, b.z, tolerance) << a << b;
}

void ExpectSame(QPointF a, QPointF b, double tolerance = 1e-9)
{
    EXPECT_NEAR(a.x(), b.x(), tolerance);
    EXPECT_NEAR(a.y(), b.y(), tolerance);
}

TEST(FishEyePicture, ItsCentreLooksAlongTheAxisAndItsRimAcross)
{
    ExpectSame(FromFishEye({0.5, 0.5}), {0, 0, 1});
    ExpectSame(FromFishEye({1.0, 0.5}), {1, 0, 0});
    ExpectSame(FromFishEye({0.5, 1.0}), {0, 1, 0});
    ExpectSame(FromFishEye({0.5, 0.75}), {0, std::sqrt(0.5), std::sqrt(0.5)});
}

TEST(FishEyePicture, GoesThereAndBack)
{
    for (double u = 0.02; u < 1.0; u += 0.07)
        for (double v = 0.03; v < 1.0; v += 0.07)
            ExpectSame(ToFishEye(FromFishEye({u, v})), QPointF(u, v), 1e-12);
}

class EachMount : public ::testing::TestWithParam<Mount>
{};

TEST_P(EachMount, AViewAndItsInverseAgree)
{
    const PtzView view{GetParam(), {0.62, 0.71}, 4000.0, {640, 480}};
    for (double x = 0.0; x <= 1.0; x += 0.25)
        for (double y = 0.0; y <= 1.0; y += 0.25)
            ExpectSame(Locate(view, DirectionAt(view, {x, y})).value(), QPointF(x, y));
}

TEST_P(EachMount, TheMiddleOfAViewIsItsCentre)
{
    const PtzView view{GetParam(), {0.31, 0.64}, 10000.0, {300, 300}};
    ExpectSame(DirectionAt(view, {0.5, 0.5}), FromFishEye(view.centre));
}

TEST_P(EachMount, ADirectionIsSeenUnderTheCursorAfterTheTurn)
{
    std::mt19937 random(5);
    std::uniform_real_distribution<double> window(0.1, 0.9);
    std::uniform_real_distribution<double> offset(-0.12, 0.12);
    for (int i = 0; i < 200; ++i) {
        // Away from the pole and from the rim, where no upright view may show it there.
        const QPointF centre(0.5 + 0.3 * std::sin(i), 0.5 + 0.3 * std::cos(i));
        PtzView view{GetParam(), centre, 500.0 + 20 * i, {640, 360}};
        const QPointF grabbed(window(random), window(random));
        const QPointF cursor(grabbed.x() + offset(random), grabbed.y() + offset(random));
        const Direction direction = DirectionAt(view, grabbed);
        view.centre = CentreThatShows(view, direction, cursor);
        ExpectSame(DirectionAt(view, cursor), direction, 1e-9);
    }
}

TEST_P(EachMount, NothingMovesWhenTheCursorStays)
{
    const PtzView view{GetParam(), {0.35, 0.7}, 3000.0, {400, 400}};
    const QPointF cursor(0.8, 0.2);
    ExpectSame(CentreThatShows(view, DirectionAt(view, cursor), cursor), view.centre);
}

INSTANTIATE_TEST_SUITE_P(Mounts, EachMount,
                         ::testing::Values(Mount::Wall, Mount::Floor, Mount::Ceiling),
                         [](const auto& info) {
                             return info.param == Mount::Wall    ? "Wall"
                                    : info.param == Mount::Floor ? "Floor"
                                                                 : "Ceiling";
                         });

TEST(ViewsOfAWallCamera, RightIsRightAndUpIsUpInThePicture)
{
    const PtzView view{Mount::Wall, {0.5, 0.5}, 10000.0, {100, 100}};
    ExpectSame(DirectionAt(view, {1.0, 0.5}), {std::sqrt(0.5), 0, std::sqrt(0.5)});
    ExpectSame(DirectionAt(view, {0.5, 0.0}), {0, -std::sqrt(0.5), std::sqrt(0.5)});
}

TEST(ViewsOfACeilingCamera, UpInAViewIsTowardsTheRim)
{
    // Down at the picture's bottom, 45 degrees below the horizon; its top edge is the horizon.
    const PtzView view{Mount::Ceiling, {0.5, 0.75}, 10000.0, {100, 100}};
    ExpectSame(DirectionAt(view, {0.5, 0.0}), {0, 1, 0});
    EXPECT_LT(DirectionAt(view, {1.0, 0.5}).x, 0.0);
}

TEST(ViewsOfAFloorCamera, UpInAViewIsTowardsTheCentre)
{
    const PtzView view{Mount::Floor, {0.5, 0.75}, 10000.0, {100, 100}};
    ExpectSame(DirectionAt(view, {0.5, 0.0}), {0, 0, 1});
    EXPECT_GT(DirectionAt(view, {1.0, 0.5}).x, 0.0);
}

TEST(Steps, AWallCameraMovesStraightAgainstTheDisplacement)
{
    const MoveStep step = StepBetween(Mount::Wall, {0.5, 0.5}, {0.6, 0.45});
    EXPECT_EQ(step.x, -1000);
    EXPECT_EQ(step.y, 500);
}

TEST(Steps, AnOrbitIsAnAngleAndARadius)
{
    // From straight below the centre to its right: a quarter turn, 1000 units farther out.
    const MoveStep ceiling = StepBetween(Mount::Ceiling, {0.5, 0.6}, {0.7, 0.5});
    EXPECT_EQ(ceiling.x, 5000);
    EXPECT_EQ(ceiling.y, 1000);
    const MoveStep floor = StepBetween(Mount::Floor, {0.5, 0.6}, {0.7, 0.5});
    EXPECT_EQ(floor.x, -5000);
    EXPECT_EQ(floor.y, -1000);
}

TEST(Steps, AnOrbitTakesTheShortWayRound)
{
    const MoveStep step = StepBetween(Mount::Ceiling, {0.51, 0.3}, {0.49, 0.3});
    EXPECT_LT(std::abs(step.x), 500);
}

TEST_P(EachMount, AStepLeadsWhereItWasMadeFor)
{
    const QPointF from(0.31, 0.64);
    for (const QPointF to : {QPointF(0.33, 0.6), QPointF(0.8, 0.2), QPointF(0.9, 1.02)})
        ExpectSame(CentreAfter(GetParam(), from, StepBetween(GetParam(), from, to)), to, 2e-4);
}

TEST_P(EachMount, ThePanoramaGoesThereAndBack)
{
    for (double x = 0.05; x < 1.0; x += 0.1)
        for (double y = 0.05; y < 1.0; y += 0.1)
            ExpectSame(ToPanorama(GetParam(), FromPanorama(GetParam(), {x, y})), QPointF(x, y));
}

TEST(Panoramas, TheirMiddleIsTheBottomOfThePictureAndTheirHorizonTheRim)
{
    ExpectSame(FromPanorama(Mount::Ceiling, {0.5, 0.0}), {0, 1, 0});
    ExpectSame(FromPanorama(Mount::Floor, {0.5, 1.0}), {0, 1, 0});
    // A quarter to the right: what a ceiling camera's picture has on its left.
    ExpectSame(FromPanorama(Mount::Ceiling, {0.75, 0.0}), {-1, 0, 0});
    ExpectSame(FromPanorama(Mount::Floor, {0.75, 1.0}), {1, 0, 0});
}

TEST(Panoramas, ALineThatIsTurnedAcrossTheSeamComesInPieces)
{
    const QVector<QPointF> line = {{0.7, 0.2}, {0.8, 0.3}, {0.9, 0.4}};
    const auto turned = TurnedLine(line, 54.0);  // 0.15 of a turn
    ASSERT_EQ(turned.size(), 2);
    ASSERT_EQ(turned[0].size(), 3);
    ASSERT_EQ(turned[1].size(), 2);
    ExpectSame(turned[0][1], QPointF(0.95, 0.3));
    ExpectSame(turned[0][2], QPointF(1.0, 0.35));
    ExpectSame(turned[1][0], QPointF(0.0, 0.35));
    ExpectSame(turned[1][1], QPointF(0.05, 0.4));
    const auto back = TurnedLine({{0.05, 0.4}, {0.95, 0.3}}, 0.0);
    ASSERT_EQ(back.size(), 2);
    ExpectSame(back[0][1], QPointF(0.0, 0.35));
    ExpectSame(back[1][0], QPointF(1.0, 0.35));
    EXPECT_EQ(TurnedLine(line, 0.0).size(), 1);
    EXPECT_EQ(TurnedLine({{0.9, 0.2}, {1.0, 0.2}}, 0.0).size(), 1);
}

TEST_P(EachMount, AStraightLineOfTheFisheyePictureIsFollowedOnThePanorama)
{
    const QVector<QPointF> line = {{0.2, 0.3}, {0.8, 0.35}};
    const QVector<QPointF> strip = OnPanorama(GetParam(), line);
    ASSERT_GT(strip.size(), 50);
    ExpectSame(strip.first(), ToPanorama(GetParam(), FromFishEye(line.first())), 1e-9);
    ExpectSame(strip.last(), ToPanorama(GetParam(), FromFishEye(line.last())), 1e-9);
    for (const QPointF& point : strip) {
        const QPointF at = ToFishEye(FromPanorama(GetParam(), point));
        EXPECT_NEAR(at.y(), 0.3 + 0.05 * (at.x() - 0.2) / 0.6, 1e-9);
    }
}

TEST(SourcePictures, GoThereAndBackHoweverTheCameraHangs)
{
    for (const bool mirrored : {false, true}) {
        for (const bool flipped : {false, true}) {
            const SourcePicture source{{1000, 800}, {300, 300}, mirrored, flipped};
            ExpectSame(source.pixel(source.place({123.0, 456.0})), QPointF(123.0, 456.0));
            ExpectSame(source.place({499.5, 399.5}), QPointF(0.5, 0.5));
            const QPointF corner = source.place({-0.5, -0.5});  // 300 x 240 in the middle
            ExpectSame(corner, QPointF(mirrored ? 1.0 : 0.0, flipped ? 0.9 : 0.1));
        }
    }
}

}  // namespace
}  // namespace viewer
