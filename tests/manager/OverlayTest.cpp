// One cycle of the overlay, its callback and its switch; nothing here runs on another thread.
#include <string>
#include <utility>
#include <vector>

#include <QMessageLogger>

#include "tests/manager/MainPlayerProbe.h"
#include "tests/manager/OverlayClient.h"
#include "tests/manager/RecordingView.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// An outline as text, to be compared whole: "(0.1,0.2 0.3,0.4)()".
std::string Text(const QVector<QVector<STRUCT_DrawPoint>>& outline)
{
    std::string text;
    for (const QVector<STRUCT_DrawPoint>& line : outline) {
        text += "(";
        for (const STRUCT_DrawPoint& point : line)
            text +=
                ::testing::PrintToString(point.fX) + "," + ::testing::PrintToString(point.fY) + " ";
        text += ")";
    }
    return text;
}

std::vector<std::string> Texts(const DrawOutlines& outlines)
{
    std::vector<std::string> texts;
    for (const QVector<QVector<STRUCT_DrawPoint>>& outline : outlines)
        texts.push_back(Text(outline));
    return texts;
}

int AnotherCallback(int, int, DrawOutlines)
{
    return 0;
}

class OverlayTest : public PlayingTest
{
protected:
    ~OverlayTest() override { m_player.Views().clear(); }

    OverlayClient m_client;
    RecordingView m_first{0};
    RecordingView m_second{0};
};

TEST_F(OverlayTest, ACallbackIsRegisteredAndReplaced)
{
    EXPECT_EQ(m_player.RegisterDrawCallback(AnotherCallback), 0);
    EXPECT_EQ(m_player.m_pOverlay->m_pfDrawCallback, AnotherCallback);
    EXPECT_EQ(m_player.RegisterDrawCallback(OverlayClient::Draw), 0);
    EXPECT_EQ(m_player.m_pOverlay->m_pfDrawCallback, OverlayClient::Draw);
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(OverlayTest, ANullCallbackIsRefusedAndThePreviousOneKept)
{
    m_player.RegisterDrawCallback(OverlayClient::Draw);
    EXPECT_EQ(m_player.RegisterDrawCallback(nullptr), -1);
    EXPECT_THAT(Lines(), ElementsAre(Warning(
                             "[  CLS_MainPlayer::RegisterDrawCallback nullptr == pfunCallback ]")));
    EXPECT_EQ(m_player.m_pOverlay->m_pfDrawCallback, OverlayClient::Draw);
}

TEST_F(OverlayTest, TheSwitchIsZeroEitherWayAndStartsNoThread)
{
    EXPECT_EQ(m_player.EnableDraw(true), 0);
    EXPECT_TRUE(m_player.m_pOverlay->m_blDrawEnabled);
    EXPECT_EQ(m_player.EnableDraw(true), 0);
    EXPECT_EQ(m_player.EnableDraw(false), 0);
    EXPECT_FALSE(m_player.m_pOverlay->m_blDrawEnabled);
    EXPECT_EQ(m_player.EnableDraw(false), 0);
    EXPECT_EQ(m_player.m_pDrawThread, nullptr);
    EXPECT_TRUE(m_player.m_pOverlay->m_blStopDraw);
    EXPECT_THAT(Lines(), IsEmpty());
    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(OverlayTest, ACycleWithoutACallbackIsRefusedFirstOfAll)
{
    EXPECT_EQ(m_player.DrawCalculate(), -1);  // there are no views either
    m_player.Views()[0x100] = {&m_first};
    EXPECT_EQ(m_player.DrawCalculate(), -1);
    const LogLine refused =
        Warning("[  CLS_MainPlayer::DrawCalculate nullptr == m_pfDrawCallback ]");
    EXPECT_THAT(Lines(), ElementsAre(refused, refused));
    EXPECT_THAT(m_first.Asked(), IsEmpty());
}

TEST_F(OverlayTest, ACycleWithoutPtzViewsIsRefusedAndTheClientIsNotCalled)
{
    m_player.RegisterDrawCallback(OverlayClient::Draw);
    m_player.Views()[0x300] = {&m_first};
    EXPECT_EQ(m_player.DrawCalculate(), -1);
    EXPECT_THAT(
        Lines(),
        ElementsAre(Warning(
            "[  CLS_MainPlayer::DrawCalculate !m_qmapSubPlayers.contains(CORRECT_TYPE_PTZ) ]")));
    EXPECT_EQ(m_client.Cycles(), 0);
    EXPECT_FALSE(m_player.Views().contains(0x100));
}

TEST_F(OverlayTest, ACycleHandsOverTheOutlineOfEachViewInOrderWithTwoZeros)
{
    m_player.RegisterDrawCallback(OverlayClient::Draw);
    m_first.m_outline = {{{0.25F, 0.5F}, {0.75F, 1.0F}}, {}};
    m_second.m_iResult = 4;
    m_second.m_outline = {{{0.0F, 0.125F}}};
    m_player.Views()[0x100] = {&m_first, &m_second};
    EXPECT_EQ(m_player.DrawCalculate(), 0);  // whatever the client returns
    EXPECT_EQ(m_client.Cycles(), 1);
    EXPECT_THAT(m_client.Integers(), ElementsAre(std::make_pair(0, 0)));
    EXPECT_THAT(Texts(m_client.Last()), ElementsAre("(0.25,0.5 0.75,1 )()", "(0,0.125 )"));
    EXPECT_THAT(m_first.Asked(), ElementsAre("GetPTZDrawData of 0"));
    EXPECT_THAT(m_second.Asked(), ElementsAre("GetPTZDrawData of 0"));
    EXPECT_THAT(Lines(), IsEmpty());
    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(OverlayTest, AnEmptyListOfPtzViewsHandsOverNoOutlines)
{
    m_player.RegisterDrawCallback(OverlayClient::Draw);
    m_player.Views()[0x100] = {};
    EXPECT_EQ(m_player.DrawCalculate(), 0);
    EXPECT_EQ(m_client.Cycles(), 1);
    EXPECT_TRUE(m_client.Last().isEmpty());
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(OverlayTest, ANullElementIsReportedAndPassedOver)
{
    m_player.RegisterDrawCallback(OverlayClient::Draw);
    m_second.m_outline = {{{0.0F, 0.125F}}};
    m_player.Views()[0x100] = {nullptr, &m_second, nullptr};
    EXPECT_EQ(m_player.DrawCalculate(), 0);
    EXPECT_THAT(Texts(m_client.Last()), ElementsAre("(0,0.125 )"));
    const LogLine reported = Warning("[  CLS_MainPlayer::DrawCalculate nullptr == pPlayer ]");
    EXPECT_THAT(Lines(), ElementsAre(reported, reported));
    m_player.Views().clear();
}

TEST_F(OverlayTest, AViewThatRefusesItsOutlineIsInformationAndPassedOverWithWhatItWrote)
{
    m_player.RegisterDrawCallback(OverlayClient::Draw);
    m_first.m_iResult = -14;
    m_first.m_outline = {{{0.5F, 0.5F}}};
    m_second.m_outline = {{{0.0F, 0.125F}}};
    m_player.Views()[0x100] = {&m_first, &m_second};
    EXPECT_EQ(m_player.DrawCalculate(), 0);
    EXPECT_THAT(Texts(m_client.Last()), ElementsAre("(0,0.125 )"));
    EXPECT_THAT(Lines(),
                ElementsAre(Info(WithValue(
                    "[  CLS_MainPlayer::DrawCalculate pPlayer->GetPTZDrawData < 0 iRet = ", -14))));
}

TEST_F(OverlayTest, OneCycleHoldsItsLockRoundViewsAndCallbackAndNotRoundItsRefusals)
{
    static QMutex* s_mutex = nullptr;
    static std::vector<bool> s_locked;
    static const auto s_look = [] {
        const bool taken = s_mutex->tryLock();
        if (taken)
            s_mutex->unlock();
        s_locked.push_back(!taken);
    };
    struct Looking : RecordingView
    {
        using RecordingView::RecordingView;
        int GetPTZDrawData(QVector<QVector<STRUCT_DrawPoint>>&) override
        {
            s_look();
            return 0;
        }
    };
    s_mutex = &m_player.m_pOverlay->m_qmutexDraw;
    const QtMessageHandler previous = qInstallMessageHandler(
        [](QtMsgType, const QMessageLogContext&, const QString&) { s_look(); });
    m_player.DrawCalculate();  // no callback
    m_player.RegisterDrawCallback([](int, int, DrawOutlines) {
        s_look();
        return 0;
    });
    m_player.DrawCalculate();  // no views
    EXPECT_THAT(s_locked, ElementsAre(false, false));
    s_locked.clear();
    Looking view(0);
    m_player.Views()[0x100] = {&view};
    m_player.DrawCalculate();
    EXPECT_THAT(s_locked, ElementsAre(true, true));
    s_locked.clear();
    s_look();
    EXPECT_THAT(s_locked, ElementsAre(false));
    qInstallMessageHandler(previous);
}

// The body of the thread, run by hand.

TEST_F(OverlayTest, TheBodyEndsWithoutAMainPlayer)
{
    CLS_MainPlayer::FishEyeDrawCallBack(nullptr);
    EXPECT_THAT(Lines(), ElementsAre(Warning(
                             "[  CLS_MainPlayer::FishEyeDrawCallBack nullptr == pclsFish ]")));
}

TEST_F(OverlayTest, TheBodyEndsWhereTheOverlayIsOff)
{
    m_player.m_pOverlay->m_blStopDraw = false;
    m_player.RegisterDrawCallback(OverlayClient::Draw);
    m_player.Views()[0x100] = {};
    CLS_MainPlayer::FishEyeDrawCallBack(&m_player);
    EXPECT_THAT(Lines(),
                ElementsAre(Warning(
                    "[  CLS_MainPlayer::FishEyeDrawCallBack !pclsFish->m_blDrawEnabled ]")));
    EXPECT_EQ(m_client.Cycles(), 0);
}

TEST_F(OverlayTest, TheBodyTestsForAStopBeforeItsFirstCycle)
{
    m_player.EnableDraw(true);
    m_player.RegisterDrawCallback(OverlayClient::Draw);
    m_player.Views()[0x100] = {};
    CLS_MainPlayer::FishEyeDrawCallBack(&m_player);
    EXPECT_EQ(m_client.Cycles(), 0);
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(OverlayTest, TheBodyReadsTheSwitchOnceAndTheStopAfterEveryCycle)
{
    static MainPlayerProbe* s_player = nullptr;
    static int s_cycles = 0;
    s_player = &m_player;
    s_cycles = 0;
    m_player.EnableDraw(true);
    m_player.m_pOverlay->m_blStopDraw = false;
    m_player.RegisterDrawCallback([](int, int, DrawOutlines) {
        s_player->m_pOverlay->m_blDrawEnabled = false;
        s_player->m_pOverlay->m_blStopDraw = 3 == ++s_cycles;
        return 0;
    });
    m_player.Views()[0x100] = {};
    CLS_MainPlayer::FishEyeDrawCallBack(&m_player);
    EXPECT_EQ(s_cycles, 3);
    EXPECT_THAT(Lines(), IsEmpty());
}

}  // namespace
