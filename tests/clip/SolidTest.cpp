#include "tools/scene/Solid.h"

#include <gmock/gmock.h>

namespace {

using optics::Vec3;
using scene::Hit;
using scene::Meet;

constexpr scene::Colour CONST_GREY = {0.5f, 0.5f, 0.5f};

void ExpectHit(const std::optional<Hit>& stHit, double dDistance, const Vec3& stNormal)
{
    ASSERT_TRUE(stHit);
    EXPECT_NEAR(stHit->dDistance, dDistance, 1e-12);
    EXPECT_NEAR(Length(stHit->stNormal - stNormal), 0, 1e-12);
}

TEST(Box, IsMetOnTheSideThatFacesTheRay)
{
    const scene::Solid stBox = scene::Box({1, -1, 0}, {2, 1, 3}, CONST_GREY);
    ExpectHit(Meet(stBox, {0, 0, 1}, {1, 0, 0}), 1, {-1, 0, 0});
    ExpectHit(Meet(stBox, {4, 0, 1}, {-1, 0, 0}), 2, {1, 0, 0});
    ExpectHit(Meet(stBox, {1.5, 0, 5}, {0, 0, -1}), 2, {0, 0, 1});
    ExpectHit(Meet(stBox, {1.5, -3, 1}, {0, 1, 0}), 2, {0, -1, 0});
}

TEST(Box, IsMissedByRaysBesideItAndAwayFromIt)
{
    const scene::Solid stBox = scene::Box({1, -1, 0}, {2, 1, 3}, CONST_GREY);
    EXPECT_FALSE(Meet(stBox, {0, 2, 1}, {1, 0, 0}));
    EXPECT_FALSE(Meet(stBox, {0, 0, 1}, {-1, 0, 0}));
    EXPECT_FALSE(Meet(stBox, {0, 0, 1}, {0, 0, 1}));
}

TEST(Capsule, IsMetOnItsSideAndOnBothEnds)
{
    const scene::Solid stCapsule = scene::Capsule(2, 0, 0, 2, 0.5, CONST_GREY);
    ExpectHit(Meet(stCapsule, {0, 0, 1}, {1, 0, 0}), 1.5, {-1, 0, 0});
    ExpectHit(Meet(stCapsule, {2, 0, 5}, {0, 0, -1}), 3, {0, 0, 1});
    ExpectHit(Meet(stCapsule, {2, 0, -1}, {0, 0, 1}), 1, {0, 0, -1});
    // towards the centre of the upper end, from 45 degrees above
    const Vec3 stDown = optics::Normalised({1, 0, -1});
    ExpectHit(Meet(stCapsule, Vec3{2, 0, 1.5} - stDown * 2, stDown), 1.5, stDown * -1);
}

TEST(Capsule, IsMissedOverItsRoundedEndAndBehindTheRay)
{
    const scene::Solid stCapsule = scene::Capsule(2, 0, 0, 2, 0.5, CONST_GREY);
    EXPECT_FALSE(Meet(stCapsule, {0, 0.45, 1.95}, {1, 0, 0}));
    EXPECT_FALSE(Meet(stCapsule, {0, 0, 1}, {-1, 0, 0}));
    EXPECT_FALSE(Meet(stCapsule, {0, 0.6, 1}, {1, 0, 0}));
}

TEST(Bound, HoldsTheWholeSolid)
{
    const scene::Bound stBox = BoundOf(scene::Box({0, 0, 0}, {2, 4, 4}, CONST_GREY));
    EXPECT_NEAR(stBox.dRadius, 3, 1e-12);
    const scene::Bound stCapsule = BoundOf(scene::Capsule(0, 0, 0, 2, 0.5, CONST_GREY));
    EXPECT_NEAR(stCapsule.dRadius, 1, 1e-12);
    EXPECT_NEAR(stCapsule.stCentre.z, 1, 1e-12);
}

}  // namespace
