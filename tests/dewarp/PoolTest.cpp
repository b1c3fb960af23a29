#include <atomic>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "engine/dewarp/Pool.h"
#include "tests/support/Shortage.h"

namespace dewarp {
namespace {

TEST(Pool, DoesEveryPieceOnceAndShowsItsEffects)
{
    Pool pool(4);
    for (int round = 0; round < 200; ++round) {
        std::vector<int> done(97, 0);
        pool.Run(97, [&](int i) { ++done[i]; });
        EXPECT_EQ(done, std::vector<int>(97, 1));
    }
}

TEST(Pool, ServesSeveralCallersAtTheSameTime)
{
    Pool pool(3);
    std::vector<std::thread> callers;
    std::atomic<int> total{0};
    for (int caller = 0; caller < 4; ++caller)
        callers.emplace_back([&] {
            for (int round = 0; round < 100; ++round)
                pool.Run(10, [&](int) { total.fetch_add(1, std::memory_order_relaxed); });
        });
    for (std::thread& caller : callers)
        caller.join();
    EXPECT_EQ(total, 4000);
}

TEST(Pool, WorkMayRunWork)
{
    Pool pool(2);
    std::atomic<int> total{0};
    pool.Run(8, [&](int) { pool.Run(8, [&](int) { ++total; }); });
    EXPECT_EQ(total, 64);
}

TEST(Pool, WorksWithTheThreadsThatItCouldGet)
{
    for (const auto of : {shortage::Of::Threads, shortage::Of::Memory})
        for (int spared = 0; spared < 3; ++spared) {
            shortage::Shortage shortage(of, shortage::On::ThisThread, spared);
            Pool pool(4);
            EXPECT_TRUE(shortage.Struck()) << spared;
            std::atomic<int> total{0};
            pool.Run(20, [&](int) { ++total; });
            EXPECT_EQ(total, 20) << spared;
        }
}

TEST(Pool, NothingToDoReturns)
{
    Pool pool(2);
    pool.Run(0, [](int) { FAIL(); });
}

TEST(Pool, OneThreadWorksInTheCaller)
{
    Pool pool(1);
    EXPECT_EQ(pool.Threads(), 1);
    const auto caller = std::this_thread::get_id();
    pool.Run(5, [&](int) { EXPECT_EQ(std::this_thread::get_id(), caller); });
}

}  // namespace
}  // namespace dewarp
