// Long random walks over the whole interface, held step by step against a second telling of it.
//
//     WALK_SEED=n     walks one seed alone
//     WALK_STEPS=n    steps of each walk
#include <cstdlib>

#include <gtest/gtest.h>

#include "tests/walk/Walk.h"

namespace {

using walk::SeededBytes;
using walk::Walk;

long FromEnvironment(const char* name, long otherwise)
{
    const char* const text = std::getenv(name);
    return nullptr == text ? otherwise : std::atol(text);
}

void WalkSeeds(long seeds, long steps, bool overlays)
{
    const long one = FromEnvironment("WALK_SEED", 0);
    const long length = FromEnvironment("WALK_STEPS", steps);
    for (long seed = 0 == one ? 1 : one; seed <= (0 == one ? seeds : one); ++seed) {
        SeededBytes bytes(static_cast<std::uint64_t>(seed));
        Walk walk(bytes, overlays);
        const std::string difference = walk.Run(static_cast<int>(length));
        ASSERT_TRUE(difference.empty()) << "WALK_SEED=" << seed << ", " << difference;
    }
}

TEST(WalkTest, EveryStepOfLongWalksIsAsTheModelSays)
{
    WalkSeeds(40, 4000, false);
}

TEST(WalkTest, OverlayThreadsChangeNothingInWhatTheClientSees)
{
    WalkSeeds(3, 1500, true);
}

}  // namespace
