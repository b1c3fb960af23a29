// The overlay thread of a main player: what starts it, what it delivers, and what ends it.
#include <atomic>
#include <set>
#include <thread>
#include <utility>

#include <pthread.h>

#include "tests/manager/MainPlayerProbe.h"
#include "tests/manager/OverlayClient.h"

namespace {

using ::testing::AllOf;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::Field;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class OverlayThreadTest : public PlayingTest
{
protected:
    OverlayThreadTest() { m_player.RegisterDrawCallback(OverlayClient::Draw); }

    /// Three pan/tilt/zoom views on a panorama that carries their outlines.
    int LayOutThree()
    {
        return LayOut({{0x100, {Window(1), Window(2), Window(3)}}, {0x300, {Window(4)}}},
                      {0x300, 0});
    }

    OverlayClient m_client;
};

TEST_F(OverlayThreadTest, EachCycleDeliversAnOutlineForEachViewWithTwoZeros)
{
    EXPECT_EQ(LayOutThree(), 0);
    m_client.AwaitCycles(3);
    EXPECT_EQ(m_player.EnableDraw(false), 0);
    EXPECT_THAT(m_client.Integers(), ElementsAre(std::make_pair(0, 0)));
    const DrawOutlines outlines = m_client.Last();
    ASSERT_EQ(outlines.size(), 3);
    for (const QVector<QVector<STRUCT_DrawPoint>>& outline : outlines) {
        ASSERT_EQ(outline.size(), 1);  // what the fake algorithm traces
        ASSERT_EQ(outline[0].size(), 2);
        EXPECT_FLOAT_EQ(outline[0][1].fY, 0.4F);
    }
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(OverlayThreadTest, CyclesRunOnAThreadOfTheirOwn)
{
    LayOutThree();
    m_client.AwaitCycles(1);
    EXPECT_THAT(m_client.Threads(), ElementsAre(m_player.m_pDrawThread->get_id()));
    EXPECT_NE(m_player.m_pDrawThread->get_id(), std::this_thread::get_id());
}

TEST_F(OverlayThreadTest, AStopReturnsOnceTheThreadHasEndedAndEnablingStartsNone)
{
    LayOutThree();
    m_client.AwaitCycles(1);
    EXPECT_EQ(m_player.EnableDraw(false), 0);
    EXPECT_EQ(m_player.m_pDrawThread, nullptr);
    EXPECT_TRUE(m_player.m_pOverlay->m_blStopDraw);
    const int cycles = m_client.Cycles();
    EXPECT_EQ(m_player.EnableDraw(true), 0);
    EXPECT_EQ(m_player.m_pDrawThread, nullptr);
    EXPECT_EQ(m_client.Cycles(), cycles);
    // A type that is there starts no thread either.
    EXPECT_EQ(LayOutThree(), 0);
    EXPECT_EQ(m_player.m_pDrawThread, nullptr);
}

TEST_F(OverlayThreadTest, AStopWaitsForTheCycleThatRuns)
{
    static MainPlayerProbe* s_player = nullptr;
    static std::atomic<bool> s_ended{false};
    s_player = &m_player;
    s_ended = false;
    m_player.RegisterDrawCallback([](int, int, DrawOutlines outlines) {
        OverlayClient::Draw(0, 0, outlines);
        while (!s_player->m_pOverlay->m_blStopDraw)
            std::this_thread::yield();
        s_ended = true;
        return 0;
    });
    LayOutThree();
    m_client.AwaitCycles(1);
    m_player.EnableDraw(false);
    EXPECT_TRUE(s_ended);
    EXPECT_EQ(m_client.Cycles(), 1);
}

TEST_F(OverlayThreadTest, AMainPlayerHasOneThreadHoweverOftenItIsStarted)
{
    LayOutThree();
    const std::thread* const thread = m_player.m_pDrawThread;
    ASSERT_NE(thread, nullptr);
    const std::thread::id id = thread->get_id();
    m_client.AwaitCycles(1);
    LayOut({{0x200, {Window(5)}}}, {0x200, 0});
    LayOut({{0x400, {Window(6)}}}, {0x400, 0});
    m_client.AwaitCycles(m_client.Cycles() + 2);
    EXPECT_EQ(m_player.m_pDrawThread, thread);
    EXPECT_THAT(m_client.Threads(), ElementsAre(id));
    EXPECT_FALSE(m_player.m_pOverlay->m_blStopDraw);
}

TEST_F(OverlayThreadTest, EachMainPlayerHasAThreadOfItsOwn)
{
    MainPlayerProbe other;
    other.m_iMainPlayId = CONST_PLAYER + 1;
    other.RegisterDrawCallback(OverlayClient::Draw);
    QMap<int, QVector<int>> ids;
    LayOutThree();
    other.CreateSubPlayers({4, 0x300}, 8, {{0x100, {Window(1)}}, {0x300, {Window(2)}}}, ids,
                           {0x300, 0});
    while (m_client.Threads().size() < 2)
        m_client.AwaitCycles(m_client.Cycles() + 1);
    EXPECT_EQ(m_client.Threads(), (std::set<std::thread::id>{m_player.m_pDrawThread->get_id(),
                                                             other.m_pDrawThread->get_id()}));
    m_player.EnableDraw(false);
    EXPECT_NE(other.m_pDrawThread, nullptr);
    m_client.AwaitCycles(m_client.Cycles() + 2);  // the other one's
}

TEST_F(OverlayThreadTest, ALayoutWithoutAnOverlayStopsTheThread)
{
    LayOutThree();
    m_client.AwaitCycles(1);
    EXPECT_EQ(LayOut({}, {0, 0}), 0);
    EXPECT_EQ(m_player.m_pDrawThread, nullptr);
    EXPECT_FALSE(m_player.m_pOverlay->m_blDrawEnabled);
}

TEST_F(OverlayThreadTest, ALayoutWithAnotherOverlayLeavesTheThreadRunning)
{
    LayOutThree();
    EXPECT_EQ(LayOut({}, {0x100, 0}), 0);
    EXPECT_NE(m_player.m_pDrawThread, nullptr);
    m_client.AwaitCycles(m_client.Cycles() + 2);
}

TEST_F(OverlayThreadTest, ClearingTheSwitchAloneDoesNotEndTheThread)
{
    LayOutThree();
    m_client.AwaitCycles(1);
    m_player.m_pOverlay->m_blDrawEnabled = false;
    m_client.AwaitCycles(m_client.Cycles() + 2);
}

TEST_F(OverlayThreadTest, DeletingTheViewsStopsTheThreadAndALayoutStartsItAnew)
{
    for (int round = 0; round < 5; ++round) {
        LayOutThree();
        ASSERT_NE(m_player.m_pDrawThread, nullptr);
        // A thread that took an old request for its own end would never call.
        m_client.AwaitCycles(m_client.Cycles() + 1);
        EXPECT_EQ(m_player.DeleteAllSubPlayer(), 0);
        EXPECT_EQ(m_player.m_pDrawThread, nullptr);
        EXPECT_FALSE(m_player.m_pOverlay->m_blDrawEnabled);
        EXPECT_TRUE(m_player.m_pOverlay->m_blStopDraw);
    }
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(OverlayThreadTest, DestroyingTheMainPlayerStopsTheThread)
{
    auto* const player = new MainPlayerProbe;
    player->m_iMainPlayId = CONST_PLAYER + 1;
    player->RegisterDrawCallback(OverlayClient::Draw);
    QMap<int, QVector<int>> ids;
    player->CreateSubPlayers({4, 0x300}, 8, {{0x100, {Window(1)}}, {0x300, {Window(2)}}}, ids,
                             {0x300, 0});
    const auto overlay = player->m_pOverlay;
    m_client.AwaitCycles(1);
    delete player;
    EXPECT_EQ(overlay.use_count(), 1);  // the thread had its share of it
    EXPECT_TRUE(overlay->m_blStopDraw);
}

TEST_F(OverlayThreadTest, AReplacedCallbackGetsTheNextCycles)
{
    static std::atomic<int> s_first{0};
    m_player.RegisterDrawCallback([](int, int, DrawOutlines outlines) {
        ++s_first;
        return OverlayClient::Draw(0, 0, outlines);
    });
    LayOutThree();
    m_client.AwaitCycles(1);
    m_player.RegisterDrawCallback(OverlayClient::Draw);
    // One cycle may have read the old one already.
    m_client.AwaitCycles(m_client.Cycles() + 1);
    const int first = s_first;
    m_client.AwaitCycles(m_client.Cycles() + 3);
    EXPECT_EQ(s_first, first);
}

TEST_F(OverlayThreadTest, ViewsThatAllFailedDeliverEmptyOutlines)
{
    fake::Always("RV_CreateFishEyeCorrect", [](const fake::Call& call) {
        return call.Pointer<void>(3) == Window(4) ? 14 : -5;
    });
    {
        const DeliberateLeak leak("a view whose creation failed is left allocated");
        LayOutThree();
    }
    m_client.AwaitCycles(2);
    EXPECT_TRUE(m_client.Last().isEmpty());
}

/// A player that never had a callback.
class SilentOverlayTest : public PlayingTest
{};

TEST_F(SilentOverlayTest, WithoutACallbackTheThreadReportsItEveryCycleAndDoesNotEnd)
{
    LayOut({{0x100, {Window(1)}}, {0x300, {Window(4)}}}, {0x300, 0});
    m_log.AwaitLines(3);
    EXPECT_FALSE(m_player.m_pOverlay->m_blStopDraw);
    OverlayClient client;
    m_player.RegisterDrawCallback(OverlayClient::Draw);
    client.AwaitCycles(1);  // it is there still
    m_player.EnableDraw(false);
    const std::vector<LogLine> lines = Lines();
    EXPECT_GE(lines.size(), 3U);
    EXPECT_THAT(lines,
                Each(Warning("[  CLS_MainPlayer::DrawCalculate nullptr == m_pfDrawCallback ]")));
}

TEST_F(SilentOverlayTest, WithoutPtzViewsTheThreadReportsItEveryCycleAndDoesNotEnd)
{
    OverlayClient client;
    m_player.RegisterDrawCallback(OverlayClient::Draw);
    LayOut({{0x300, {Window(4)}}}, {0x300, 0});
    m_log.AwaitLines(3);
    // Once there are some, they are drawn.
    LayOut({{0x100, {Window(1)}}}, {0x300, 0});
    client.AwaitCycles(1);
    m_player.EnableDraw(false);
    const std::vector<LogLine> lines = Lines();
    EXPECT_GE(lines.size(), 3U);
    EXPECT_THAT(
        lines,
        Each(Warning(
            "[  CLS_MainPlayer::DrawCalculate !m_qmapSubPlayers.contains(CORRECT_TYPE_PTZ) ]")));
}

/// While it lives, no thread can be created with default attributes: their stack is larger than
/// any address space.
class NoThreads
{
public:
    NoThreads()
    {
        pthread_getattr_default_np(&m_saved);
        pthread_attr_t attributes;
        pthread_getattr_default_np(&attributes);
        pthread_attr_setstacksize(&attributes, std::size_t{1} << 60);
        pthread_setattr_default_np(&attributes);
        pthread_attr_destroy(&attributes);
    }
    ~NoThreads()
    {
        pthread_setattr_default_np(&m_saved);
        pthread_attr_destroy(&m_saved);
    }
    NoThreads(const NoThreads&) = delete;
    NoThreads& operator=(const NoThreads&) = delete;

private:
    pthread_attr_t m_saved;
};

TEST_F(OverlayThreadTest, AThreadThatCannotBeCreatedIsOneWarningAndTheLayoutGoesOn)
{
    {
        const NoThreads none;
        EXPECT_EQ(
            LayOut({{0x100, {Window(1)}}, {0x300, {Window(4)}}, {0x400, {Window(5)}}}, {0x300, 0}),
            0);
    }
    EXPECT_THAT(Lines(),
                ElementsAre(AllOf(
                    Field(&LogLine::level, QtWarningMsg),
                    Field(&LogLine::text, HasSubstr("[  CLS_MainPlayer::StartDrawThread ")))));
    EXPECT_EQ(m_player.m_pDrawThread, nullptr);
    EXPECT_EQ(m_player.Views().keys(), (QList<int>{0x100, 0x300, 0x400}));
    EXPECT_EQ(m_player.EnableDraw(false), 0);  // there is nothing to stop
    EXPECT_EQ(m_player.DeleteAllSubPlayer(), 0);
    LayOutThree();  // and the next layout starts one
    EXPECT_NE(m_player.m_pDrawThread, nullptr);
    m_client.AwaitCycles(1);
}

}  // namespace
