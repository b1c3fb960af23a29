// The one overlap that the library allows for a single player: its stream is fed from one thread
// while another lays out, steers and clears its views. What is tested is that ThreadSanitizer finds
// nothing, and that both threads get through.
#include <atomic>
#include <future>
#include <thread>

#include "tests/support/ManagerTest.h"

namespace {

int IgnoreOutlines(int, int, DrawOutlines)
{
    return 0;
}

}  // namespace

using FeedingThread = ManagerTest;

TEST_F(FeedingThread, MayOverlapWithLayoutAndCommandsOfTheSamePlayer)
{
    CLS_FishPlayer* const library = CLS_FishPlayer::GetInstance();
    const STRUCT_FishEyeParam camera{3, CORRECT_TYPE_360};
    std::vector<unsigned char> header = StreamHeader();
    int player = -1;
    QMap<int, QVector<int>> ids;
    ASSERT_EQ(library->FishPlayer_CreatePlayerFromStream(camera, Window(1), {}, 0, header.data(),
                                                         static_cast<int>(header.size()), &player,
                                                         ids, {0, 0}),
              0);
    ASSERT_EQ(library->FishPlayer_RegisterDrawCallback(player, IgnoreOutlines), 0);

    std::atomic<bool> stop{false};
    std::atomic<int> refused{0};
    std::promise<void> feeding;
    std::thread feeder([&] {
        unsigned char block[16] = {};
        const auto feed = [&] {
            if (0 != library->FishPlayer_PutStreamToPlayer(player, 0, block, int{sizeof(block)}))
                ++refused;
        };
        feed();
        feeding.set_value();
        while (!stop)
            feed();
    });
    feeding.get_future().wait();

    const QMap<int, QVector<void*>> windows{{CORRECT_TYPE_360, {Window(2)}},
                                            {CORRECT_TYPE_PTZ, {Window(3), Window(4)}}};
    for (int i = 0; i < 10; ++i) {
        EXPECT_EQ(library->FishPlayer_CreateSubPlayer(camera, player, windows, ids,
                                                      {CORRECT_TYPE_360, n_DrawType_Fec}),
                  0);
        for (int step = 0; step < 10; ++step) {
            EXPECT_EQ(library->FishPlayer_PTZCtl(player, 0, {100, 0, 0}, n_PTZCtl_Right), 0);
            EXPECT_EQ(library->FishPlayer_EnableFish(player, 0 != step % 2), 0);
        }
        EXPECT_EQ(library->FishPlayer_DeleteAllSubPlayer(player), 0);
    }
    stop = true;
    feeder.join();
    EXPECT_EQ(refused, 0);
    EXPECT_EQ(library->FishPlayer_DeleteAllPlayer(player), 0);
}
