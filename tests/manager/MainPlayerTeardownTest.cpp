// The end of views, engine player and main player, and the order in which it comes.
#include <climits>
#include <ostream>

#include "tests/manager/FacadeProbe.h"
#include "tests/manager/OverlayClient.h"
#include "tests/manager/RecordingView.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// A call with its integers, as one word: "RV_DeleteFishEyeCorrect 7 11".
std::vector<std::string> Words(const std::vector<fake::Call>& calls)
{
    std::vector<std::string> words;
    for (const fake::Call& call : calls) {
        std::string word = call.name;
        for (std::size_t i = 0; i < std::min<std::size_t>(call.arguments.size(), 2); ++i)
            if (0 != word.rfind("VxAlgo_", 0))
                word += " " + std::to_string(call.Int(i));
        words.push_back(word);
    }
    return words;
}

class TeardownTest : public PlayingTest
{
protected:
    /// Two pan/tilt/zoom views (11 and 12), a 180-degree view (13) and a panorama (14).
    void LayOutFourViews(int iDrawWindowType = 0)
    {
        LayOut({{0x300, {Window(4)}}, {0x200, {Window(3)}}, {0x100, {Window(1), Window(2)}}},
               {iDrawWindowType, 0});
        Forget();
    }

    static std::vector<std::string> TeardownOfFourViews()
    {
        return {"RV_SetFishEyeCorrectCallBack 7 3",  "RV_SetFishEyeCorrectEnable 7 0",
                "RV_SetFishEyeCorrectCallBack 7 11", "RV_DeleteFishEyeCorrect 7 11",
                "RV_SetFishEyeCorrectCallBack 7 12", "RV_DeleteFishEyeCorrect 7 12",
                "RV_SetFishEyeCorrectCallBack 7 13", "RV_DeleteFishEyeCorrect 7 13",
                "RV_SetFishEyeCorrectCallBack 7 14", "RV_DeleteFishEyeCorrect 7 14"};
    }
};

TEST_F(TeardownTest, DeletingTheViewsSwitchesTheCorrectionOffAndClosesThemByAscendingType)
{
    LayOutFourViews();
    EXPECT_EQ(m_player.DeleteAllSubPlayer(), 0);
    EXPECT_EQ(Words(Calls()), TeardownOfFourViews());
    EXPECT_TRUE(m_player.Views().isEmpty());
    EXPECT_FALSE(m_player.m_blFishEyeEnabled);
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(TeardownTest, TheCallbackOfEachViewIsClearedWithoutAUser)
{
    LayOut({{0x200, {Window(3)}}});
    Forget();
    m_player.DeleteAllSubPlayer();
    const std::vector<fake::Call> calls = fake::CallsOf("RV_SetFishEyeCorrectCallBack");
    ASSERT_EQ(calls.size(), 2U);
    EXPECT_EQ(calls[1].arguments, (std::vector<std::intptr_t>{CONST_PLAYER, 11, 0, 0}));
}

TEST_F(TeardownTest, DeletingNoViewsIsZeroAndCallsNothing)
{
    EXPECT_EQ(m_player.DeleteAllSubPlayer(), 0);
    EXPECT_EQ(m_player.DeleteAllSubPlayer(), 0);
    EXPECT_THAT(Calls(), IsEmpty());
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(TeardownTest, EmptyListsAndNullElementsArePassedOver)
{
    m_player.Views()[0x100] = {nullptr, nullptr};
    m_player.Views()[0x200] = {};
    EXPECT_EQ(m_player.DeleteAllSubPlayer(), 0);
    EXPECT_TRUE(m_player.Views().isEmpty());
    EXPECT_THAT(Calls(), IsEmpty());
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(TeardownTest, TheOverlayEndsBetweenTheCorrectionAndTheFirstView)
{
    LayOutFourViews(0x300);
    ASSERT_NE(m_player.m_pDrawThread, nullptr);
    bool runsWithCorrection = false;
    bool runsWithViews = true;
    bool enabledWithViews = true;
    fake::Next("RV_SetFishEyeCorrectEnable", [&](const fake::Call&) {
        runsWithCorrection = nullptr != m_player.m_pDrawThread;
        return 0;
    });
    fake::Next("RV_DeleteFishEyeCorrect", [&](const fake::Call&) {
        runsWithViews = nullptr != m_player.m_pDrawThread;
        enabledWithViews = m_player.m_pOverlay->m_blDrawEnabled;
        return 0;
    });
    m_player.DeleteAllSubPlayer();
    EXPECT_TRUE(runsWithCorrection);
    EXPECT_FALSE(runsWithViews);
    EXPECT_FALSE(enabledWithViews);
}

TEST_F(TeardownTest, DeletingEverythingDeletesTheViewsAndThenTheEnginePlayer)
{
    LayOutFourViews();
    EXPECT_EQ(m_player.DeleteAllPlayer(), 0);
    std::vector<std::string> expected = TeardownOfFourViews();
    expected.push_back("RV_DeletePlayer 7");
    EXPECT_EQ(Words(Calls()), expected);
    EXPECT_EQ(m_player.m_iMainPlayId, CONST_PLAYER);  // the id stays
}

TEST_F(TeardownTest, TheEnginesAnswerToTheDeletionComesBackAsItIs)
{
    for (const int result : {0, 3, -1, -9, INT_MIN, INT_MAX}) {
        fake::Next("RV_DeletePlayer", result);
        EXPECT_EQ(m_player.DeleteAllPlayer(), result);
    }
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(TeardownTest, DeletingEverythingGoesThroughTheVirtualDeletionOfViews)
{
    struct Player : RecordingPlayer
    {
        using RecordingPlayer::RecordingPlayer;
        int DeleteAllPlayer() override { return CLS_MainPlayer::DeleteAllPlayer(); }
    };
    std::vector<std::string> asked;
    {
        Player player(asked, -5);
        Forget();
        EXPECT_EQ(player.DeleteAllPlayer(), -1);  // whatever the deletion of views answers
        EXPECT_THAT(asked, ElementsAre("DeleteAllSubPlayer"));
        EXPECT_THAT(Lines(),
                    ElementsAre(Warning("[  CLS_MainPlayer::DeleteAllPlayer m_iMainPlayId < 0 ]")));
    }
    EXPECT_THAT(asked, ElementsAre("DeleteAllSubPlayer", "destructor"));
}

TEST_F(TeardownTest, WithoutAnEnginePlayerTheViewsAreDeletedAllTheSame)
{
    LayOut({{0x200, {Window(3)}}});
    m_player.m_iMainPlayId = -1;
    Forget();
    EXPECT_EQ(m_player.DeleteAllPlayer(), -1);
    EXPECT_THAT(Lines(),
                ElementsAre(Warning("[  CLS_MainPlayer::EnableFishEye  m_iMainPlayId < 0 ]"),
                            Warning("[  CLS_MainPlayer::DeleteAllPlayer m_iMainPlayId < 0 ]")));
    EXPECT_EQ(Words(Calls()), (std::vector<std::string>{"RV_SetFishEyeCorrectCallBack 7 11",
                                                        "RV_DeleteFishEyeCorrect 7 11"}));
}

TEST_F(TeardownTest, TheDestructorReleasesTheInstanceBeforeTheViewsThatBorrowedIt)
{
    auto* const player = new MainPlayerProbe;
    player->m_iMainPlayId = CONST_PLAYER;
    QMap<int, QVector<int>> ids;
    player->CreateSubPlayers(
        {4, 0x300}, CONST_PLAYER,
        {{0x100, {Window(1), Window(2)}}, {0x200, {Window(3)}}, {0x300, {Window(4)}}}, ids, {0, 0});
    Forget();
    delete player;
    std::vector<std::string> expected = TeardownOfFourViews();
    expected.insert(expected.begin(), "VxAlgo_FCU_Release");
    expected.push_back("RV_DeletePlayer 7");
    const std::vector<fake::Call> calls = Calls();
    EXPECT_EQ(Words(calls), expected);
    EXPECT_EQ(calls[0].Pointer<void>(0), fake::Handle());
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(TeardownTest, TheDestructorIgnoresTheResultOfTheRelease)
{
    fake::Next("VxAlgo_FCU_Release", -5);
    {
        MainPlayerProbe player;
        player.m_iMainPlayId = 8;
        Forget();
    }
    EXPECT_EQ(Words(Calls()),
              (std::vector<std::string>{"VxAlgo_FCU_Release", "RV_DeletePlayer 8"}));
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(TeardownTest, DestroyingAPlayerThatIsDeletedAsksTheEngineASecondTime)
{
    {
        MainPlayerProbe player;
        player.m_iMainPlayId = 8;
        player.DeleteAllPlayer();
        Forget();
    }
    EXPECT_EQ(Words(Calls()),
              (std::vector<std::string>{"VxAlgo_FCU_Release", "RV_DeletePlayer 8"}));
}

TEST_F(TeardownTest, DestroyingAPlayerThatNeverPlayedReleasesTheInstanceAndReportsTheMissingId)
{
    {
        const MainPlayerProbe player;
        Forget();
    }
    EXPECT_THAT(fake::Names(), ElementsAre("VxAlgo_FCU_Release"));
    EXPECT_THAT(Lines(),
                ElementsAre(Warning("[  CLS_MainPlayer::DeleteAllPlayer m_iMainPlayId < 0 ]")));
}

TEST_F(TeardownTest, DestroyingAPlayerWithoutAnInstanceDeletesNeitherViewsNorEnginePlayer)
{
    fake::Next("VxAlgo_FCU_Creat", 0);
    RecordingView view(0);
    {
        MainPlayerProbe player;
        player.m_iMainPlayId = CONST_PLAYER;
        player.m_blFishEyeEnabled = true;
        player.Views()[0x100] = {&view};
        Forget();
    }
    EXPECT_THAT(Lines(), ElementsAre(Warning(
                             "[  CLS_MainPlayer::~CLS_MainPlayer nullptr == m_pFcuHandle ]")));
    EXPECT_THAT(Calls(), IsEmpty());
    EXPECT_EQ(view.Zoom(1), 0);  // it lives
}

// The overlay thread of such a player is left as well: it goes on with what it shares.
TEST_F(TeardownTest, DestroyingAPlayerWithoutAnInstanceLeavesItsOverlayThreadRunning)
{
    OverlayClient client;
    auto* const player = new MainPlayerProbe;
    player->m_iMainPlayId = CONST_PLAYER;
    player->RegisterDrawCallback(OverlayClient::Draw);
    QMap<int, QVector<int>> ids;
    player->CreateSubPlayers({4, 0x300}, CONST_PLAYER, {{0x100, {Window(1)}}, {0x300, {Window(2)}}},
                             ids, {0x300, 0});
    const auto overlay = player->m_pOverlay;
    std::thread* const thread = player->m_pDrawThread;
    ASSERT_NE(thread, nullptr);
    player->m_pFcuHandle = nullptr;
    Forget();
    delete player;
    EXPECT_THAT(Calls(), IsEmpty());
    client.AwaitCycles(client.Cycles() + 2);
    EXPECT_EQ(client.Last().size(), 1);
    overlay->m_blStopDraw = true;
    thread->join();
    delete thread;
    qDeleteAll(overlay->m_qmapSubPlayers.value(0x100));
    qDeleteAll(overlay->m_qmapSubPlayers.value(0x300));
}

}  // namespace
