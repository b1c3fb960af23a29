#include "tools/scene/Room.h"

#include <algorithm>
#include <random>
#include <string>

#include <gmock/gmock.h>

#include "optics/FisheyePicture.h"
#include "optics/View.h"

#include "tools/scene/Paint.h"

namespace {

using optics::Mount;
using optics::Vec3;
using scene::Room;
using scene::Surface;

constexpr Mount CONST_MOUNTS[] = {Mount::Ceiling, Mount::Wall, Mount::Floor};

class EachMount : public testing::TestWithParam<Mount>
{};

std::string NameOf(const testing::TestParamInfo<Mount>& stInfo)
{
    return stInfo.param == Mount::Wall    ? "Wall"
           : stInfo.param == Mount::Floor ? "Floor"
                                          : "Ceiling";
}
INSTANTIATE_TEST_SUITE_P(Room, EachMount, testing::ValuesIn(CONST_MOUNTS), NameOf);

float Difference(const scene::Colour& a, const scene::Colour& b)
{
    return std::abs(a.fRed - b.fRed) + std::abs(a.fGreen - b.fGreen) + std::abs(a.fBlue - b.fBlue);
}

Vec3 RandomDirection(std::mt19937& stRandom)
{
    std::normal_distribution<double> stNormal;
    return optics::Normalised({stNormal(stRandom), stNormal(stRandom), stNormal(stRandom)});
}

TEST_P(EachMount, HasTheWorldsUpWhereTheViewsExpectIt)
{
    const Vec3 stPlace = scene::CameraOf(GetParam()).stPlace;
    const Vec3 stUp = Room(GetParam()).DirectionTo(stPlace + Vec3{0, 0, 1});
    EXPECT_NEAR(Length(stUp - WorldUp(GetParam())), 0, 1e-12);
}

TEST_P(EachMount, HasARightHandedCameraFrame)
{
    const scene::Camera st = scene::CameraOf(GetParam());
    EXPECT_NEAR(Length(Cross(st.stRight, st.stDown) - st.stAhead), 0, 1e-12);
}

TEST(Room, ShowsWhatIsStraightAhead)
{
    EXPECT_NEAR(Room(Mount::Ceiling).Look({0, 0, 1}).dDistance, 2.2, 1e-9);  // the table's top
    EXPECT_NEAR(Room(Mount::Wall).Look({0, 0, 1}).dDistance, 5.95, 1e-9);    // the north wall
    EXPECT_NEAR(Room(Mount::Floor).Look({0, 0, 1}).dDistance, 2.2, 1e-9);    // the ceiling
    EXPECT_NEAR(Room(Mount::Floor).Look({0, 0, -1}).dDistance, 0.05, 1e-9);  // the table
}

TEST(Room, HasNorthAtTheTopOfTheCeilingAndTheFloorCamerasPictures)
{
    for (const Mount eMount : {Mount::Ceiling, Mount::Floor}) {
        const Vec3 stNorth = Room(eMount).DirectionTo({0, 3, 1.5});
        EXPECT_NEAR(std::abs(optics::DegFromRad(Bearing(stNorth))), 180, 1e-9);
    }
    // East is on the right for who looks down, on the left for who looks up.
    EXPECT_NEAR(optics::DegFromRad(Bearing(Room(Mount::Ceiling).DirectionTo({4, 0, 1.5}))), 90,
                1e-9);
    EXPECT_NEAR(optics::DegFromRad(Bearing(Room(Mount::Floor).DirectionTo({4, 0, 1.5}))), -90,
                1e-9);
}

// A text runs to the right and stands upright in a view that looks at it.
TEST_P(EachMount, ShowsTheTextOfEveryWallUnmirrored)
{
    const Room stRoom(GetParam());
    for (const Surface eWall : {Surface::North, Surface::East, Surface::South, Surface::West}) {
        if (GetParam() == Mount::Wall && eWall == Surface::South)
            continue;  // that is the wall behind the camera
        const auto FractionOf = [&](const Vec3& stMiddle, double dAcross, double dUp) {
            optics::ViewParameters st;
            st.eKind = optics::ViewKind::PanTiltZoom;
            st.eMount = GetParam();
            st.stCentre = optics::FisheyeFraction(stRoom.DirectionTo(stMiddle));
            const auto stFraction =
                optics::View(st).Fraction(stRoom.DirectionTo(PointOn(eWall, {dAcross, dUp})));
            return stFraction.value_or(optics::Point{-9, -9});
        };
        const double dHeight = GetParam() == Mount::Floor ? 1.7 : 1.6;
        const Vec3 stMiddle = PointOn(eWall, {0.3, dHeight});
        const optics::Point stLeft = FractionOf(stMiddle, 0.1, dHeight);
        const optics::Point stRight = FractionOf(stMiddle, 0.5, dHeight);
        const optics::Point stTop = FractionOf(stMiddle, 0.3, dHeight + 0.2);
        EXPECT_LT(stLeft.x, 0.5);
        EXPECT_GT(stLeft.x, 0);
        EXPECT_GT(stRight.x, 0.5);
        EXPECT_LT(stTop.y, 0.5);
        EXPECT_GT(stTop.y, 0);
    }
}

TEST_P(EachMount, FindsThePointThatADirectionLeadsTo)
{
    const Room stRoom(GetParam());
    const scene::Camera stCamera = scene::CameraOf(GetParam());
    for (const Vec3 st : {PointOn(Surface::East, {-0.75, 2.0}), PointOn(Surface::Ceiling, {1, 2}),
                          PointOn(Surface::North, {-1.55, 2.0})}) {
        const scene::Sight stSight = stRoom.Look(stRoom.DirectionTo(st));
        EXPECT_NEAR(stSight.dDistance, Length(st - stCamera.stPlace), 1e-9);
        EXPECT_TRUE(stRoom.Sees(st));
    }
}

TEST(Room, PaintsTheInkOfASignDarkerThanItsWall)
{
    // The foot of the F of FISHEYE is chalk on a dark board; the stem of NORTH's N is ink.
    const Vec3 stChalk = PointOn(Surface::South, {-2.88, 1.47});
    const Vec3 stBoard = PointOn(Surface::South, {-3.0, 1.47});
    EXPECT_GT(PaintAt(Surface::South, stChalk).fRed, PaintAt(Surface::South, stBoard).fRed + 0.3f);
    const Vec3 stInk = PointOn(Surface::North, {-1.58, 1.62});
    const Vec3 stWall = PointOn(Surface::North, {-1.65, 1.62});
    EXPECT_LT(PaintAt(Surface::North, stInk).fRed, PaintAt(Surface::North, stWall).fRed - 0.3f);
}

TEST(Room, HasACheckeredFloorOfHalfMetreTiles)
{
    const scene::Colour stOne = PaintAt(Surface::Floor, {2.25, 0.25, 0});
    EXPECT_GT(Difference(stOne, PaintAt(Surface::Floor, {2.75, 0.25, 0})), 0.3f);
    EXPECT_GT(Difference(stOne, PaintAt(Surface::Floor, {2.25, -0.25, 0})), 0.3f);
    EXPECT_EQ(Difference(stOne, PaintAt(Surface::Floor, {2.75, -0.25, 0})), 0.0f);
    EXPECT_EQ(Difference(stOne, PaintAt(Surface::Floor, {2.49, 0.01, 0})), 0.0f);
}

TEST(Paint, PutsPointsOfEverySideWhereTheySayTheyAre)
{
    for (const Surface eSide : {Surface::North, Surface::East, Surface::South, Surface::West,
                                Surface::Floor, Surface::Ceiling}) {
        const scene::OnSurface st = OnSurfaceAt(eSide, PointOn(eSide, {0.7, 1.3}));
        EXPECT_DOUBLE_EQ(st.dAcross, 0.7);
        EXPECT_DOUBLE_EQ(st.dUp, 1.3);
    }
}

TEST_P(EachMount, ShowsNothingElseWhenOnlyNearbySolidsAreAsked)
{
    std::mt19937 stRandom(1);
    const Room stRoom(GetParam(), 4.0);
    std::vector<int> vecAll = stRoom.NearbySolids({0, 0, 1}, optics::PI);
    for (int i = 0; i < 5000; ++i) {
        const Vec3 stAxis = RandomDirection(stRandom);
        const Vec3 stRay = optics::Normalised(stAxis + RandomDirection(stRandom) * 0.1);
        const scene::Sight stNear = stRoom.Look(stRay, stRoom.NearbySolids(stAxis, 0.12));
        const scene::Sight stSight = stRoom.Look(stRay, vecAll);
        ASSERT_EQ(stNear.dDistance, stSight.dDistance);
        ASSERT_EQ(stNear.iSolid, stSight.iSolid);
        ASSERT_TRUE(!stSight.blMoves || stRoom.IsSomebodyNear(stAxis, 0.12));
    }
}

TEST_P(EachMount, IsTheSameAtTheSameTimeAndHasPeopleMoveOn)
{
    std::mt19937 stRandom(2);
    const Room stRoom(GetParam(), 1.0);
    const Room stAgain(GetParam(), 1.0);
    const Room stLater(GetParam(), 2.0);
    const Room stEmpty(GetParam());
    int iMoved = 0;
    int iPeople = 0;
    for (int i = 0; i < 20000; ++i) {
        const Vec3 stRay = RandomDirection(stRandom);
        const scene::Sight stSight = stRoom.Look(stRay);
        ASSERT_EQ(Difference(stSight.stColour, stAgain.Look(stRay).stColour), 0.0f);
        iMoved += Difference(stSight.stColour, stLater.Look(stRay).stColour) > 0;
        iPeople += stSight.blMoves;
        if (!stSight.blMoves) {
            ASSERT_EQ(Difference(stSight.stColour, stEmpty.Look(stRay).stColour), 0.0f);
        }
        ASSERT_FALSE(stEmpty.Look(stRay).blMoves);
    }
    EXPECT_GT(iPeople, 200);
    EXPECT_GT(iMoved, 100);
}

// The walks repeat themselves every 12, 20 and 14 seconds.
TEST(Room, KeepsPeopleOffTheTable)
{
    for (double dSeconds = 0; dSeconds < 20; dSeconds += 0.25) {
        const Room stRoom(Mount::Ceiling, dSeconds);
        for (const Vec3 st : {Vec3{0, 0, 0.75}, Vec3{0.6, 0.4, 0.75}, Vec3{-0.6, -0.4, 0.75}})
            EXPECT_TRUE(stRoom.Sees(st)) << dSeconds;
    }
}

TEST(Room, OffersStraightEdgesThatEachCameraSeesSomeOf)
{
    for (const Mount eMount : CONST_MOUNTS) {
        const Room stRoom(eMount);
        const auto IsSeen = [&](const scene::Edge& stEdge) {
            for (int i = 0; i <= 20; ++i) {
                const double dAlong = 0.01 + 0.98 * i / 20;
                if (!stRoom.Sees(stEdge.stFrom + (stEdge.stTo - stEdge.stFrom) * dAlong))
                    return false;
            }
            return true;
        };
        const auto& vecEdges = scene::StraightEdges();
        EXPECT_GE(std::count_if(vecEdges.begin(), vecEdges.end(), IsSeen), 6) << int(eMount);
    }
}

// Directions a hair's breadth to either side of an edge show different colours.
TEST(Room, HasAColourOnEachSideOfEveryStraightEdge)
{
    for (const scene::Edge& stEdge : scene::StraightEdges()) {
        float fContrast = 0;
        for (const Mount eMount : CONST_MOUNTS) {
            const Room stRoom(eMount);
            const Vec3 stMiddle = stRoom.DirectionTo(stEdge.stFrom * 0.5 + stEdge.stTo * 0.5);
            const Vec3 stAlong =
                stRoom.DirectionTo(stEdge.stTo) - stRoom.DirectionTo(stEdge.stFrom);
            const Vec3 stBeside = optics::Normalised(Cross(stMiddle, stAlong)) * 0.002;
            const scene::Sight a = stRoom.Look(optics::Normalised(stMiddle + stBeside));
            const scene::Sight b = stRoom.Look(optics::Normalised(stMiddle - stBeside));
            fContrast = std::max(fContrast, Difference(a.stColour, b.stColour));
        }
        EXPECT_GT(fContrast, 0.1f) << stEdge.svName;
    }
}

}  // namespace
