// Streams come and go, in every order that a client may choose: nothing is called after it has been
// deleted, and nothing is left behind. The sanitizers watch.
#include <atomic>
#include <filesystem>
#include <iterator>
#include <memory>
#include <thread>

#include <gmock/gmock.h>

#include "tests/endtoend/Stream.h"
#include "tests/support/Threads.h"

namespace {

using endtoend::Stream;

constexpr int CONST_LIVES = 20;

CLS_FishPlayer& Manager()
{
    return *CLS_FishPlayer::GetInstance();
}

long Entries(const char* szDirectory)
{
    const std::filesystem::directory_iterator it(szDirectory);
    return std::distance(begin(it), end(it));
}

const std::map<int, int> CONST_EVERYTHING{{CORRECT_TYPE_PTZ, 4},
                                          {CORRECT_TYPE_180, 1},
                                          {CORRECT_TYPE_360, 1},
                                          {CORRECT_TYPE_LAT, 1},
                                          {CORRECT_TYPE_FISHEYE, 1}};

void Steer(const Stream& stream)
{
    for (const n_PTZCtlCmd enCommand : {n_PTZCtl_Right, n_PTZCtl_Up, n_PTZCtl_ZoomIn})
        EXPECT_EQ(Manager().FishPlayer_PTZCtl(stream.Id(), 0, {200, 100, 500}, enCommand), 0);
    EXPECT_EQ(
        Manager().FishPlayer_PTZWindowCtl(stream.Id(), 1, {9, 3, 0}, n_CtlCmd_Move, {640, 480}), 0);
    EXPECT_EQ(Manager().FishPlayer_CorrectWindowCtl(stream.Id(), CORRECT_TYPE_360, {20, 0, 0},
                                                    n_CtlCmd_Move, {360, 90}),
              0);
}

/// One life, its last moments chosen by its number.
void Live(int iLife)
{
    Stream stream(iLife % 3 + 1, CORRECT_TYPE_360, CONST_EVERYTHING);
    ASSERT_TRUE(stream.IsLaidOut());
    // Another thread feeds, again and again, until the views are gone.
    std::atomic<bool> blEnough{false};
    std::thread feeder([&] {
        const std::vector<unsigned char> clip = endtoend::ClipOf(stream.Installation());
        while (!blEnough) {
            for (std::size_t i = 0; i < clip.size() && !blEnough; i += 1880) {
                const std::size_t szBlock = std::min<std::size_t>(1880, clip.size() - i);
                stream.Put(&clip[i], int(szBlock));
            }
            ENGINE(RV_PlayerControl)(stream.Id(), RV_CONTROL_END_OF_STREAM, nullptr, 0);
        }
    });
    if (iLife % 4 != 3) {
        const auto Any = [](const scene::Picture&) { return true; };
        EXPECT_TRUE(stream.PicturesOf({CORRECT_TYPE_360, 0}).Await(Any).second);
        EXPECT_TRUE(stream.PicturesOf({CORRECT_TYPE_PTZ, 3}).Await(Any).second);
    }
    Steer(stream);
    EXPECT_EQ(stream.Outlines().size(), 4);
    switch (iLife % 4) {
    case 0:
        EXPECT_EQ(Manager().FishPlayer_EnableFish(stream.Id(), false), 0);
        break;
    case 1:
        EXPECT_EQ(Manager().FishPlayer_DeleteAllSubPlayer(stream.Id()), 0);
        break;
    case 2:
        EXPECT_EQ(Manager().FishPlayer_EnableDraw(stream.Id(), false), 0);
        break;
    default:
        break;
    }
    blEnough = true;
    feeder.join();
}

TEST(Lifetimes, LeaveNothingBehind)
{
    Live(0);  // what is made once for the process
    Live(1);
    const int iThreads = threads::Settled(endtoend::CONST_PATIENCE);
    const long lFiles = Entries("/proc/self/fd");
    for (int i = 2; i < CONST_LIVES; ++i)
        Live(i);
    EXPECT_LE(threads::AtMost(iThreads, endtoend::CONST_PATIENCE), iThreads);
    EXPECT_LE(Entries("/proc/self/fd"), lFiles);
}

TEST(Lifetimes, ViewsThatWereDeletedCanBeLaidOutAgain)
{
    Stream stream(3, CORRECT_TYPE_360, {{CORRECT_TYPE_PTZ, 2}, {CORRECT_TYPE_360, 1}});
    ASSERT_TRUE(stream.IsLaidOut());
    stream.Feed();
    ASSERT_GE(stream.LikeTheRoom({CORRECT_TYPE_360, 0}), endtoend::CONST_LIKE_THE_ROOM);
    ASSERT_EQ(Manager().FishPlayer_DeleteAllSubPlayer(stream.Id()), 0);
    ASSERT_TRUE(stream.LayOut({{CORRECT_TYPE_PTZ, 1}, {CORRECT_TYPE_LAT, 1}}));
    EXPECT_GE(stream.LikeTheRoom({CORRECT_TYPE_PTZ, 0}), endtoend::CONST_LIKE_THE_ROOM);
    EXPECT_GE(stream.LikeTheRoom({CORRECT_TYPE_LAT, 0}), endtoend::CONST_LIKE_THE_ROOM);
}

TEST(Lifetimes, TwoStreamsDoNotMeet)
{
    Stream ceiling(3, CORRECT_TYPE_360, {{CORRECT_TYPE_PTZ, 1}, {CORRECT_TYPE_360, 1}});
    auto pWall = std::make_unique<Stream>(
        1, CORRECT_TYPE_180, std::map<int, int>{{CORRECT_TYPE_PTZ, 1}, {CORRECT_TYPE_180, 1}});
    ASSERT_TRUE(ceiling.IsLaidOut() && pWall->IsLaidOut());
    pWall->Feed();
    ceiling.Feed();
    EXPECT_GE(pWall->LikeTheRoom({CORRECT_TYPE_180, 0}), endtoend::CONST_LIKE_THE_ROOM);
    pWall.reset();
    ASSERT_EQ(Manager().FishPlayer_PTZCtl(ceiling.Id(), 0, {800, 0, 0}, n_PTZCtl_Left), 0);
    EXPECT_GE(ceiling.LikeTheRoom({CORRECT_TYPE_PTZ, 0}), endtoend::CONST_LIKE_THE_ROOM);
    EXPECT_GE(ceiling.LikeTheRoom({CORRECT_TYPE_360, 0}), endtoend::CONST_LIKE_THE_ROOM);
}

}  // namespace
