// The overlay thread with its sleep replaced: the sleeps are counted instead of slept, so that the
// period is exact and a client's operations meet as many cycles as the processor can run.
#include <memory>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include <QThread>

#include "tests/manager/MainPlayerProbe.h"
#include "tests/manager/OverlayClient.h"

namespace {

std::mutex s_mutex;
std::vector<unsigned long> s_sleeps;

std::vector<unsigned long> TakeSleeps()
{
    const std::lock_guard<std::mutex> lock(s_mutex);
    return std::exchange(s_sleeps, {});
}

}  // namespace

// Found by the library before Qt's own.
void QThread::msleep(unsigned long milliseconds)
{
    {
        const std::lock_guard<std::mutex> lock(s_mutex);
        s_sleeps.push_back(milliseconds);
    }
    std::this_thread::yield();
}

namespace {

using ::testing::Each;
using ::testing::IsEmpty;

class OverlayPeriodTest : public PlayingTest
{
protected:
    OverlayPeriodTest()
    {
        TakeSleeps();
        m_player.RegisterDrawCallback(OverlayClient::Draw);
    }

    int LayOutThree()
    {
        return LayOut({{0x100, {Window(1), Window(2), Window(3)}}, {0x300, {Window(4)}}},
                      {0x300, 0});
    }

    OverlayClient m_client;
};

TEST_F(OverlayPeriodTest, TheThreadSleeps40MillisecondsAfterEachCycle)
{
    LayOutThree();
    m_client.AwaitCycles(10);
    m_player.EnableDraw(false);
    const std::vector<unsigned long> sleeps = TakeSleeps();
    EXPECT_THAT(sleeps, Each(40UL));
    EXPECT_EQ(sleeps.size(), static_cast<std::size_t>(m_client.Cycles()));
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(OverlayPeriodTest, ACycleThatIsRefusedIsFollowedByTheSameSleep)
{
    LayOut({{0x300, {Window(4)}}}, {0x300, 0});
    m_log.AwaitLines(10);
    m_player.EnableDraw(false);
    const std::vector<unsigned long> sleeps = TakeSleeps();
    EXPECT_THAT(sleeps, Each(40UL));
    EXPECT_EQ(sleeps.size(), Lines().size());
}

TEST_F(OverlayPeriodTest, ABodyThatEndsAtOnceDoesNotSleep)
{
    CLS_MainPlayer::FishEyeDrawCallBack(&m_player);
    EXPECT_THAT(TakeSleeps(), IsEmpty());
}

// What a client may do beside the thread; the thread sanitizer watches.

int AnotherCallback(int, int, DrawOutlines outlines)
{
    return OverlayClient::Draw(0, 0, outlines);
}

TEST_F(OverlayPeriodTest, CommandsRunBesideTheThread)
{
    LayOutThree();
    for (int i = 0; i < 300; ++i) {
        const int view = i % 3;
        EXPECT_EQ(m_player.PTZCtl(view, {1, 1, 1}, static_cast<n_PTZCtlCmd>(i % 10)), 0);
        EXPECT_EQ(m_player.PTZWindowCtl(view, {1, 1, 1}, n_CtlCmd_Move, {100, 100}), 0);
        EXPECT_EQ(m_player.PTZWindowCtl(view, {1, 1, 1}, n_CtlCmd_Zoom, {100, 100}), 0);
        m_player.DrawWindowCtl(view, {1, 1, 2, 2}, n_CtlCmd_Move, {100, 100});
        EXPECT_EQ(m_player.CorrectWindowCtl(0x300, {1, 0, 0}, n_CtlCmd_Move, {100, 100}), 0);
        if (0 == i % 50) {
            Forget();
            m_client.AwaitCycles(m_client.Cycles() + 1);
        }
    }
    m_player.EnableDraw(false);
}

TEST_F(OverlayPeriodTest, LayoutsThatAddTypesRunBesideTheThread)
{
    for (int round = 0; round < 20; ++round) {
        EXPECT_EQ(LayOut({{0x300, {Window(4)}}}, {0x300, 0}), 0);
        EXPECT_EQ(LayOut({{0x100, {Window(1), Window(2)}}}, {0x300, 0}), 0);
        EXPECT_EQ(
            LayOut({{0x200, {Window(5)}}, {0x400, {Window(6)}}, {0x500, {Window(7)}}}, {0x500, 0}),
            0);
        EXPECT_EQ(LayOut({{0x000, {Window(8)}}}, {0x300, 0}), 0);
        m_client.AwaitCycles(m_client.Cycles() + 1);
        EXPECT_EQ(m_player.DeleteAllSubPlayer(), 0);
        Forget();
    }
}

TEST_F(OverlayPeriodTest, CallbacksAreReplacedBesideTheThread)
{
    LayOutThree();
    for (int i = 0; i < 200; ++i) {
        EXPECT_EQ(m_player.RegisterDrawCallback(i % 2 == 0 ? AnotherCallback : OverlayClient::Draw),
                  0);
        EXPECT_EQ(m_player.RegisterDrawCallback(nullptr), -1);
    }
    m_client.AwaitCycles(m_client.Cycles() + 2);
    m_player.EnableDraw(false);
}

TEST_F(OverlayPeriodTest, TheSwitchIsTurnedBesideTheThread)
{
    for (int i = 0; i < 20; ++i) {
        LayOutThree();
        m_player.EnableDraw(true);
        m_player.EnableDraw(0 == i % 2);
        LayOut({}, {i % 3, 0});
        m_player.DeleteAllSubPlayer();
    }
    EXPECT_EQ(m_player.m_pDrawThread, nullptr);
}

TEST_F(OverlayPeriodTest, ManyPlayersDrawAtOnceAndAreDestroyed)
{
    std::vector<std::unique_ptr<MainPlayerProbe>> players;
    QMap<int, QVector<int>> ids;
    for (int i = 0; i < 8; ++i) {
        players.push_back(std::make_unique<MainPlayerProbe>());
        players.back()->m_iMainPlayId = 100 + i;
        players.back()->RegisterDrawCallback(OverlayClient::Draw);
        players.back()->CreateSubPlayers(
            {4, 0x300}, 0, {{0x100, {Window(1)}}, {0x200, {Window(2)}}}, ids, {0x200, 1});
    }
    while (m_client.Threads().size() < players.size())
        m_client.AwaitCycles(m_client.Cycles() + 1);
    std::vector<std::shared_ptr<MainPlayerProbe::OverlayState>> overlays;
    for (const auto& player : players)
        overlays.push_back(player->m_pOverlay);
    players.clear();
    for (const auto& overlay : overlays)
        EXPECT_EQ(overlay.use_count(), 1);  // no thread shares it any longer
}

}  // namespace
