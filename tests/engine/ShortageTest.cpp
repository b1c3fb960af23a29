// What happens where memory or threads run out: an entry point refuses, a player loses pictures,
// the process lives on.
#include <array>
#include <climits>
#include <future>

#include <unistd.h>

#include <gmock/gmock.h>

#include "tests/engine/XServer.h"
#include "tests/support/Shortage.h"
#include "tests/support/Threads.h"

namespace test {
namespace {

using shortage::Of;
using shortage::On;
using shortage::Shortage;

Bytes GreyClip(const char* format, double grey)
{
    ClipOptions options;
    options.format = format;
    options.width = options.height = 64;
    options.pictures = 3;
    options.paint = [grey](int, int, int) { return Colour{grey, grey, grey}; };
    return MakeClip(options);
}

/// Receives a view's pictures without needing memory.
class Watcher
{
public:
    static void Receive(int, int, void* bgra, unsigned int, unsigned int, void* self)
    {
        auto* watcher = static_cast<Watcher*>(self);
        watcher->m_grey = *static_cast<std::uint8_t*>(bgra);
    }
    int Grey() const { return m_grey; }

private:
    std::atomic<int> m_grey{-1};
};

/// A player with two views, whose calls back need no memory.
class WatchedPlayer
{
public:
    explicit WatchedPlayer(const char* fourCc = "AUTO") : player(fourCc)
    {
        view = player.AddView(RV_MODE_PTZ);
        RV(RV_SetPlayRectEx)(player.Id(), view, 32, 32);
        RV(RV_SetFishEyeCorrectCallBack)(player.Id(), view, Watcher::Receive, &watcher);
        RV(RV_FastForward)(player.Id(), 16);
        player.Play();
    }
    ~WatchedPlayer() { player.Delete(); }

    /// Puts a stream and waits for its end.
    bool PlayToItsEnd(const Bytes& stream)
    {
        std::promise<void> ended;
        RV(RV_RegisterNotifyPlayToEnd)
        (
            player.Id(),
            [](int, void* promise) { static_cast<std::promise<void>*>(promise)->set_value(); },
            &ended);
        // So that a demuxer asks for more while it reads its header.
        const std::size_t first = 200;
        bool put = player.Put(stream.data(), first) == 0;
        while (player.Describe().iBytesBuffered > 0)
            std::this_thread::yield();
        put = put && player.Put(stream.data() + first, stream.size() - first) == 0;
        put = put && player.End() == 0;
        const bool came = ended.get_future().wait_for(PATIENCE) == std::future_status::ready;
        RV(RV_RegisterNotifyPlayToEnd)(player.Id(), nullptr, nullptr);
        return put && came;
    }

    Watcher watcher;
    TestPlayer player;
    int view;
};

/// Makes a call with the first, then with the second ... request failing, until none fails.
template <typename Call>
void Starve(const char* name, Of of, Call&& call)
{
    for (int spared = 0;; ++spared) {
        int result = 0;
        bool struck = false;
        {
            const Shortage shortage(of, On::ThisThread, spared);
            result = call();
            struck = shortage.Struck();
        }
        if (!struck) {
            EXPECT_GE(result, 0) << name;
            return;
        }
        EXPECT_EQ(result, RV_REFUSED) << name << ", request " << spared;
    }
}

TEST(Shortages, EveryEntryPointRefusesWithoutMemory)
{
    WatchedPlayer watched;
    const int id = watched.player.Id();
    ASSERT_TRUE(watched.PlayToItsEnd(GreyClip("mpegts", 128)));

    RvCreateCorrect correct{};
    correct.iSize = sizeof(correct);
    correct.iCorrectMode = RV_MODE_PANORAMA;
    RvLens lens{};
    lens.iSize = sizeof(lens);
    lens.iModel = 5;
    lens.dCentreX = lens.dCentreY = 31.5;
    lens.iTableLength = 3;
    lens.adTable[1][0] = 45;
    lens.adTable[1][1] = 16;
    lens.adTable[2][0] = 90;
    lens.adTable[2][1] = 32;
    const RvText text{"a text that is longer than a short string", 0, 0, 16, 0};
    const float points[] = {0, 0, 1, 1};
    const RvPolyline line{points, 2, 1, 0};
    std::array<std::uint8_t, 4 * 64 * 64> pixels{};
    int width = 0;
    int height = 0;
    Bytes bytes(100000, 0x55);
    const std::string file =
        testing::TempDir() + "engine_shortage" + std::to_string(getpid()) + ".bmp";

    Starve("capture to memory", Of::Memory,
           [&] { return RV(RV_CapturePic)(id, 0, pixels.data(), pixels.size(), &width, &height); });
    Starve("capture of a view", Of::Memory,
           [&] { return RV(RV_CapturePicture)(id, watched.view, file.c_str()); });
    Starve("capture to a file", Of::Memory, [&] { return RV(RV_CaptureBmpPic)(id, file.c_str()); });
    remove(file.c_str());
    Starve("text", Of::Memory, [&] { return RV(RV_DrawText)(id, watched.view, &text, 1); });
    Starve("line", Of::Memory,
           [&] { return RV(RV_DrawPolyOnLocalVideo)(id, watched.view, &line, 1); });
    Starve("lens", Of::Memory,
           [&] { return RV(RV_PlayerControl)(id, RV_CONTROL_SET_LENS, &lens, sizeof(lens)); });
    Starve("view", Of::Memory, [&] {
        return RV(RV_CreateFishEyeCorrect)(id, &correct, sizeof(correct), nullptr, &width);
    });
    Starve("bytes", Of::Memory, [&] { return watched.player.Put(bytes); });
    const int before = threads::Settled(PATIENCE);
    RvPlayerCreation creation{};
    creation.iSize = sizeof(creation);
    for (const Of of : {Of::Memory, Of::Threads}) {
        int created = RV_REFUSED;
        Starve("player", of, [&] {
            return created = RV(RV_CreatePlayerForSpecialNeeds)(2, &creation, sizeof(creation), 0);
        });
        EXPECT_EQ(RV(RV_DeletePlayer)(created), 0);
    }
    EXPECT_LE(threads::AtMost(before, PATIENCE), before)
        << "players that could not be made are gone";
    EXPECT_EQ(watched.player.Delete(), 0);
    const int without = threads::Settled(PATIENCE);
    const TestPlayer left[3];
    Starve("deletion of what is left", Of::Memory, [&] { return RV(RV_DeleteSystem)(); });
    EXPECT_LE(threads::AtMost(without, PATIENCE), without);
}

/// FFmpeg has memory of its own, which a limit on the size of each piece makes short.
TEST(Shortages, OfTheDecoderCostPicturesAlone)
{
    constexpr std::size_t unlimited = INT_MAX;
    const Bytes shortly = GreyClip("h264", 60);
    const Bytes later = GreyClip("h264", 180);
    for (const std::size_t limit : {1, 100, 400, 1000, 3000, 10000, 30000}) {
        WatchedPlayer watched("H264");
        av_max_alloc(limit);
        EXPECT_TRUE(watched.PlayToItsEnd(shortly)) << limit;
        av_max_alloc(unlimited);
        EXPECT_TRUE(watched.PlayToItsEnd(later)) << limit;
        EXPECT_NEAR(watched.watcher.Grey(), 180, 3) << limit;
    }
    RvPlayerCreation creation{};
    creation.iSize = sizeof(creation);
    av_max_alloc(1);
    EXPECT_EQ(RV(RV_CreatePlayerForSpecialNeeds)(2, &creation, sizeof(creation), 0), RV_REFUSED);
    av_max_alloc(unlimited);
}

TEST(Shortages, DeletionNeedsNoMemory)
{
    auto first = std::make_unique<TestPlayer>();
    const int view = first->AddView(RV_MODE_LAT);
    const TestPlayer second;
    const Shortage shortage(Of::Memory, On::ThisThread, 0);
    EXPECT_EQ(RV(RV_SetFishEyeCorrectCallBack)(first->Id(), view, nullptr, nullptr), 0);
    EXPECT_EQ(RV(RV_DeleteFishEyeCorrect)(first->Id(), view), 0);
    EXPECT_EQ(RV(RV_DeletePlayer)(first->Id()), 0);
    EXPECT_FALSE(shortage.Struck());
}

class StarvingPlayer : public testing::TestWithParam<const char*>
{};

/// Each request for memory of a player's threads in turn fails; what is put afterwards is played.
TEST_P(StarvingPlayer, LosesPicturesAndPlaysOn)
{
    const Bytes stream = GreyClip(GetParam(), 80);
    const Bytes next = GreyClip(GetParam(), 200);
    ASSERT_TRUE(WatchedPlayer().PlayToItsEnd(stream)) << "what is made once is there";
    int spared = 0;
    for (bool struck = true; struck; ++spared) {
        WatchedPlayer watched;
        {
            const Shortage shortage(Of::Memory, On::OtherThreads, spared);
            ASSERT_TRUE(watched.PlayToItsEnd(stream)) << "request " << spared;
            struck = shortage.Struck();
        }
        ASSERT_TRUE(watched.PlayToItsEnd(next)) << "request " << spared;
        ASSERT_NEAR(watched.watcher.Grey(), 200, 3) << "request " << spared;
    }
    EXPECT_GT(spared, 10) << "they do ask for memory";
}

INSTANTIATE_TEST_SUITE_P(All, StarvingPlayer, testing::Values("mpegts", "matroska", "mp4", "h264"),
                         [](const auto& info) { return std::string(info.param); });

class StarvingDisplay : public Windows
{
protected:
    int CreatePlayer(xcb_window_t window)
    {
        RvPlayerCreation creation{};
        creation.iSize = sizeof(creation);
        creation.pWindow = Handle(window);
        return RV(RV_CreatePlayerForSpecialNeeds)(2, &creation, sizeof(creation), 0);
    }
};

TEST_F(StarvingDisplay, ShowsItsPicturesLater)
{
    const xcb_window_t parent = Create(200, 200, true, 0, 300, 0);
    const xcb_window_t window = Create(100, 100, true, parent);  // both are followed
    for (const Of of : {Of::Threads, Of::Memory}) {
        for (const On on : {On::OtherThreads, On::ThisThread}) {
            bool struck = true;
            for (int spared = 0; struck; ++spared) {
                const Shortage shortage(of, on, spared);
                const int player = CreatePlayer(window);
                struck = shortage.Struck();
                EXPECT_EQ(RV(RV_DeletePlayer)(player), player < 0 ? -1 : 0);
                EXPECT_TRUE(player > 0 || on == On::ThisThread) << "without being shown";
            }
        }
    }
    TestPlayer player("AUTO", Handle(window));
    Feed(player);
    EXPECT_TRUE(Becomes(window, 20, 50, RED));
    for (int spared = 0; spared < 20; ++spared) {
        const Shortage shortage(Of::Memory, On::OtherThreads, spared);
        xcb_reparent_window(m_connection, window, parent, 0, 0);
        Resize(window, 50 + spared, 50);
        xcb_reparent_window(m_connection, window, m_screen->root, 0, 0);
        Sync();
    }
    TestPlayer next("AUTO", Handle(window));
    Feed(next);
    Resize(window, 200, 200);
    EXPECT_TRUE(Becomes(window, 180, 180, BLUE));
}

}  // namespace
}  // namespace test
