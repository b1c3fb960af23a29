// How a window map becomes views: checks, types, records, and what is skipped.
#include <climits>
#include <ostream>

#include "VideoPlayer_FishEye/feplayer/CLS_180ViewSubPlayer.h"
#include "VideoPlayer_FishEye/feplayer/CLS_360ViewSubPlayer.h"
#include "VideoPlayer_FishEye/feplayer/CLS_FishEyeSubPlayer.h"
#include "VideoPlayer_FishEye/feplayer/CLS_LATViewSubPlayer.h"
#include "VideoPlayer_FishEye/feplayer/CLS_PTZSubPlayer.h"
#include "VideoPlayer_FishEye/feplayer/CLS_SourceSubPlayer.h"
#include "tests/manager/FacadeProbe.h"
#include "tests/manager/RecordBytes.h"
#include "tests/manager/ViewState.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr char CONST_VIEW_FAIL[] =
    "[  CLS_MainPlayer::CreateSubPlayers  pSubPlayer->CreatePlayer fail iRet = ";

/// The line for a type without windows, as the stream puts blanks round the type.
LogLine NoWindows(int type)
{
    return Warning("[  CLS_MainPlayer::CreateSubPlayers iSubPlayerType =  " + std::to_string(type) +
                   "  qvecSubWindows.isEmpty() ]");
}

class LayoutTest : public PlayingTest
{
protected:
    /// A layout whose camera record differs from the one that the player was created with.
    int LayOutAs6(const QMap<int, QVector<void*>>& windows, STRUCT_FishDrawParam draw = {0, 0})
    {
        return m_player.CreateSubPlayers({6, 0x200}, 12345, windows, m_ids, draw);
    }

    QList<int> Types() { return m_player.Views().keys(); }

    QMap<int, QVector<int>> m_ids;
};

// Refusals.

TEST_F(LayoutTest, IsRefusedWithoutAPlayerFirstOfAll)
{
    m_player.m_iMainPlayId = -1;
    void* const handle = std::exchange(m_player.m_pFcuHandle, nullptr);
    EXPECT_EQ(LayOut({{0x200, {Window(1)}}}, {0x200, 0}), -1);
    m_player.m_pFcuHandle = handle;
    EXPECT_THAT(Lines(),
                ElementsAre(Warning("[  CLS_MainPlayer::CreateSubPlayers m_iMainPlayId < 0 ]")));
    EXPECT_THAT(Calls(), IsEmpty());
    EXPECT_FALSE(m_player.m_pOverlay->m_blDrawEnabled);
}

TEST_F(LayoutTest, IsRefusedWithoutAnAlgorithmInstance)
{
    void* const handle = std::exchange(m_player.m_pFcuHandle, nullptr);
    EXPECT_EQ(LayOut({{0x200, {Window(1)}}}, {0x200, 0}), -1);
    m_player.m_pFcuHandle = handle;
    EXPECT_THAT(Lines(), ElementsAre(Warning(
                             "[  CLS_MainPlayer::CreateSubPlayers nullptr == m_pFcuHandle ]")));
    EXPECT_THAT(Calls(), IsEmpty());
    EXPECT_FALSE(m_player.m_pOverlay->m_blDrawEnabled);
    EXPECT_THAT(Types(), IsEmpty());
}

// The switches.

TEST_F(LayoutTest, AnEmptyMapSwitchesTheCorrectionOnAndIsZero)
{
    EXPECT_EQ(LayOut({}), 0);
    EXPECT_THAT(fake::Names(), ElementsAre("RV_SetFishEyeCorrectEnable"));
    EXPECT_TRUE(m_player.m_blFishEyeEnabled);
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(LayoutTest, GoesOnWhereTheEngineDoesNotSwitchTheCorrectionOn)
{
    fake::Next("RV_SetFishEyeCorrectEnable", -8);
    EXPECT_EQ(LayOut({{0x200, {Window(1)}}}), 0);
    EXPECT_EQ(Types(), QList<int>{0x200});
    EXPECT_THAT(
        Lines(),
        ElementsAre(Warning(WithValue(
            "[  CLS_MainPlayer::EnableFishEye  CLS_VxPlayer_SDK::RV_SetFishEyeCorrectEnable fail iRet = ",
            -8))));
}

TEST_F(LayoutTest, EveryDrawWindowTypeButZeroSwitchesTheOverlayOn)
{
    for (const int type : {0x100, 0x200, 0x600, -1, INT_MIN, 1}) {
        LayOut({}, {type, 0});
        EXPECT_TRUE(m_player.m_pOverlay->m_blDrawEnabled) << type;
        LayOut({}, {0, 1});
        EXPECT_FALSE(m_player.m_pOverlay->m_blDrawEnabled) << type;
    }
    EXPECT_EQ(m_player.m_pDrawThread, nullptr);
}

// The five types with one window.

struct SingleView
{
    const char* name;
    int type;
    bool (*isA)(const CLS_SubPlayer* view);
};

void PrintTo(const SingleView& row, std::ostream* out)
{
    *out << row.name;
}

template <class View>
bool IsA(const CLS_SubPlayer* view)
{
    return nullptr != dynamic_cast<const View*>(view);
}

const SingleView CONST_ENGINE_VIEWS[] = {{"Type180", 0x200, IsA<CLS_180ViewSubPlayer>},
                                         {"Type360", 0x300, IsA<CLS_360ViewSubPlayer>},
                                         {"TypeLAT", 0x400, IsA<CLS_LATViewSubPlayer>}};
const SingleView CONST_SINGLE_VIEWS[] = {{"Source", 0x000, IsA<CLS_SourceSubPlayer>},
                                         CONST_ENGINE_VIEWS[0],
                                         CONST_ENGINE_VIEWS[1],
                                         CONST_ENGINE_VIEWS[2],
                                         {"FishEye", 0x500, IsA<CLS_FishEyeSubPlayer>}};

class EveryEngineView : public LayoutTest, public ::testing::WithParamInterface<SingleView>
{};

INSTANTIATE_TEST_SUITE_P(, EveryEngineView, ::testing::ValuesIn(CONST_ENGINE_VIEWS), NamedRow());

TEST_P(EveryEngineView, IsCreatedWithAn88ByteRecordOnItsFirstWindow)
{
    EXPECT_EQ(LayOutAs6({{GetParam().type, {Window(21), Window(22), Window(23)}}}), 0);
    const std::vector<fake::Call> calls = Calls();
    ASSERT_EQ(calls.size(), 2U);
    EXPECT_EQ(calls[0].name, "RV_SetFishEyeCorrectEnable");
    EXPECT_EQ(calls[1].name, "RV_CreateFishEyeCorrect");
    EXPECT_EQ(calls[1].Int(0), CONST_PLAYER);
    EXPECT_EQ(calls[1].Int(2), 88);
    EXPECT_EQ(calls[1].Pointer<void>(3), Window(21));
    EXPECT_NE(calls[1].Pointer<int>(4), nullptr);
    const RecordBytes record = RecordBytes(88)
                                   .Int(0, 88)
                                   .Int(4, 6)
                                   .Int(8, GetParam().type)
                                   .Int(32, 8)
                                   .Int(44, -1)
                                   .Pointer(72, Window(21));
    EXPECT_EQ(calls[1].records[0], record);
    EXPECT_THAT(Lines(), IsEmpty());

    const QVector<CLS_SubPlayer*> views = m_player.Views()[GetParam().type];
    ASSERT_EQ(views.size(), 1);
    EXPECT_TRUE(GetParam().isA(views[0]));
    EXPECT_EQ(views[0]->GetSubPlayId(), 11);
    EXPECT_EQ(ViewState::MainPlayId(*views[0]), CONST_PLAYER);
    EXPECT_EQ(ViewState::Window(*views[0]), Window(21));
    EXPECT_EQ(ViewState::Handle(*views[0]), fake::Handle());
    EXPECT_EQ(ViewState::Record(*views[0]), record);
    EXPECT_EQ(ViewState::CreateType(*views[0]), 6);
    EXPECT_EQ(ViewState::CorrectMode(*views[0]), GetParam().type);
}

TEST_P(EveryEngineView, IsCreatedWithAnIdPresetToMinusOne)
{
    int preset = 0;
    fake::Next("RV_CreateFishEyeCorrect", [&](const fake::Call& call) {
        preset = *call.Pointer<int>(4);
        return 11;
    });
    LayOut({{GetParam().type, {Window(21)}}});
    EXPECT_EQ(preset, -1);
}

TEST_P(EveryEngineView, ThatTheEngineRefusesIsLeftAllocatedAndTriedAgainByTheNextLayout)
{
    fake::Next("RV_CreateFishEyeCorrect", -5);
    {
        const DeliberateLeak leak("a view whose creation failed is left allocated");
        EXPECT_EQ(LayOut({{GetParam().type, {Window(21)}}}, {GetParam().type, 0}), 0);
    }
    EXPECT_THAT(
        Lines(),
        ElementsAre(
            Warning(WithValue(
                "[  CLS_SubPlayer::CreatePlayer CLS_VxPlayer_SDK::RV_CreateFishEyeCorrect fail iRet = ",
                -5)),
            Warning(WithValue(CONST_VIEW_FAIL, -5))));
    EXPECT_THAT(Types(), IsEmpty());
    EXPECT_EQ(m_player.m_pDrawThread, nullptr);
    Calls();
    m_player.DeleteAllSubPlayer();  // no teardown of it reaches the engine
    EXPECT_THAT(fake::CallsOf("RV_DeleteFishEyeCorrect"), IsEmpty());
    EXPECT_EQ(LayOut({{GetParam().type, {Window(21)}}}), 0);
    EXPECT_EQ(Types(), QList<int>{GetParam().type});
}

class EverySingleView : public LayoutTest, public ::testing::WithParamInterface<SingleView>
{};

INSTANTIATE_TEST_SUITE_P(, EverySingleView, ::testing::ValuesIn(CONST_SINGLE_VIEWS), NamedRow());

TEST_P(EverySingleView, UsesTheFirstWindowAlone)
{
    EXPECT_EQ(LayOut({{GetParam().type, {Window(21), Window(22), Window(23)}}}), 0);
    const QVector<CLS_SubPlayer*> views = m_player.Views()[GetParam().type];
    ASSERT_EQ(views.size(), 1);
    EXPECT_TRUE(GetParam().isA(views[0]));
    EXPECT_EQ(ViewState::Window(*views[0]), Window(21));
}

TEST_P(EverySingleView, ThatIsThereAlreadyIsSkippedWithoutALine)
{
    LayOut({{GetParam().type, {Window(21)}}});
    CLS_SubPlayer* const first = m_player.Views()[GetParam().type][0];
    m_player.EnableFishEye(true);
    Forget();
    EXPECT_EQ(LayOut({{GetParam().type, {Window(22)}}}, {GetParam().type, 0}), 0);
    EXPECT_EQ(m_player.Views()[GetParam().type], QVector<CLS_SubPlayer*>{first});
    EXPECT_EQ(m_player.m_pDrawThread, nullptr);  // skipped, so it starts no thread
    EXPECT_THAT(Calls(), IsEmpty());
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_P(EverySingleView, WithANullWindowIsRefusedByTheViewUnlessItIsTheSource)
{
    const DeliberateLeak leak("a view whose creation failed is left allocated");
    EXPECT_EQ(LayOut({{GetParam().type, {nullptr}}}), 0);
    if (0x000 == GetParam().type) {
        EXPECT_THAT(Lines(), IsEmpty());
        EXPECT_EQ(Types(), QList<int>{0x000});
        return;
    }
    const std::string owner = 0x500 == GetParam().type ? "CLS_FishEyeSubPlayer" : "CLS_SubPlayer";
    EXPECT_THAT(Lines(),
                ElementsAre(Warning("[  " + owner + "::CreatePlayer nullptr == _pWindow ]"),
                            Warning(WithValue(CONST_VIEW_FAIL, -1))));
    EXPECT_THAT(Types(), IsEmpty());
}

TEST_F(LayoutTest, AFisheyeViewGetsARecordOfItsSizeAloneAndNoWindowInTheEngine)
{
    EXPECT_EQ(LayOutAs6({{0x500, {Window(21)}}}), 0);
    EXPECT_THAT(fake::Names(), ElementsAre("RV_SetFishEyeCorrectEnable"));
    const CLS_SubPlayer& view = *m_player.Views()[0x500][0];
    EXPECT_EQ(ViewState::Record(view), RecordBytes(88).Int(0, 88));
    EXPECT_EQ(ViewState::CreateType(view), 0);
    EXPECT_EQ(ViewState::CorrectMode(view), 0);
    EXPECT_EQ(ViewState::Handle(view), fake::Handle());
    EXPECT_EQ(ViewState::MainPlayId(view), CONST_PLAYER);
    EXPECT_TRUE(m_player.m_blFishEyeEnabled);
}

TEST_F(LayoutTest, ASourceViewSwitchesTheCorrectionOffAgainAndHasNoWindowInTheEngine)
{
    EXPECT_EQ(LayOutAs6({{0x000, {Window(21)}}}), 0);
    EXPECT_THAT(fake::Names(),
                ElementsAre("RV_SetFishEyeCorrectEnable", "RV_SetFishEyeCorrectCallBack",
                            "RV_SetFishEyeCorrectEnable"));
    EXPECT_EQ(fake::Calls()[2].Int(1), 0);
    EXPECT_FALSE(m_player.m_blFishEyeEnabled);
    const CLS_SubPlayer& view = *m_player.Views()[0x000][0];
    EXPECT_EQ(ViewState::CreateType(view), 6);
    EXPECT_EQ(ViewState::CorrectMode(view), 0);
    EXPECT_EQ(ViewState::Handle(view), fake::Handle());
    EXPECT_EQ(ViewState::MainPlayId(view), CONST_PLAYER);
}

TEST_F(LayoutTest, ASourceViewThatIsThereAlreadyLeavesTheCorrectionOn)
{
    LayOut({{0x000, {Window(21)}}});
    EXPECT_FALSE(m_player.m_blFishEyeEnabled);
    Forget();
    EXPECT_EQ(LayOut({{0x000, {Window(21)}}}), 0);
    EXPECT_THAT(fake::Names(), ElementsAre("RV_SetFishEyeCorrectEnable"));
    EXPECT_TRUE(m_player.m_blFishEyeEnabled);
}

// The map.

TEST_F(LayoutTest, TypesAreBuiltInAscendingOrder)
{
    LayOut({{0x500, {Window(6)}},
            {0x400, {Window(5)}},
            {0x300, {Window(4)}},
            {0x200, {Window(3)}},
            {0x100, {Window(2)}},
            {0x000, {Window(1)}}});
    std::vector<void*> windows;
    for (const fake::Call& call : fake::CallsOf("RV_CreateFishEyeCorrect"))
        windows.push_back(call.Pointer<void>(3));
    EXPECT_THAT(windows, ElementsAre(Window(2), Window(3), Window(4), Window(5)));
    EXPECT_EQ(Types(), (QList<int>{0x000, 0x100, 0x200, 0x300, 0x400, 0x500}));
    EXPECT_THAT(fake::Names(),
                ElementsAre("RV_SetFishEyeCorrectEnable",
                            // the source view
                            "RV_SetFishEyeCorrectCallBack", "RV_SetFishEyeCorrectEnable",
                            // the pan/tilt/zoom view
                            "VxAlgo_FCU_Point_Transform", "VxAlgo_FCU_Process",
                            "RV_CreateFishEyeCorrect",
                            // 180 degrees, panorama, LAT
                            "RV_CreateFishEyeCorrect", "RV_CreateFishEyeCorrect",
                            "RV_CreateFishEyeCorrect"));
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(LayoutTest, UnknownTypesAreSkippedWithoutALine)
{
    EXPECT_EQ(LayOut({{0x101, {Window(1)}},
                      {0x600, {Window(2)}},
                      {-0x100, {Window(3)}},
                      {INT_MIN, {Window(4)}},
                      {INT_MAX, {Window(5)}},
                      {1, {Window(6)}},
                      {0xFF, {Window(7)}}},
                     {0x600, 0}),
              0);
    EXPECT_THAT(Types(), IsEmpty());
    EXPECT_THAT(Lines(), IsEmpty());
    EXPECT_THAT(fake::Names(), ElementsAre("RV_SetFishEyeCorrectEnable"));
    EXPECT_EQ(m_player.m_pDrawThread, nullptr);
}

TEST_F(LayoutTest, ATypeWithoutWindowsIsReportedWhetherOrNotItIsKnown)
{
    EXPECT_EQ(LayOut({{-5, {}}, {0x000, {}}, {0x100, {}}, {0x200, {Window(1)}}, {0x600, {}}}), 0);
    EXPECT_THAT(Lines(), ElementsAre(NoWindows(-5), NoWindows(0), NoWindows(256), NoWindows(1536)));
    EXPECT_EQ(Types(), QList<int>{0x200});
    EXPECT_TRUE(m_player.m_blFishEyeEnabled);  // no source view was built
}

TEST_F(LayoutTest, ATypeWithoutWindowsIsReportedAlsoWhereItIsThereAlready)
{
    LayOut({{0x200, {Window(1)}}});
    Forget();
    EXPECT_EQ(LayOut({{0x200, {}}}), 0);
    EXPECT_THAT(Lines(), ElementsAre(NoWindows(512)));
}

TEST_F(LayoutTest, AViewThatFailsDoesNotStopTheOthers)
{
    fake::Next("RV_CreateFishEyeCorrect", -5);
    const DeliberateLeak leak("a view whose creation failed is left allocated");
    EXPECT_EQ(LayOut({{0x200, {Window(1)}}, {0x300, {Window(2)}}}), 0);
    EXPECT_EQ(Types(), QList<int>{0x300});
}

TEST_F(LayoutTest, ALaterLayoutAddsTypesAndRemovesNone)
{
    LayOut({{0x200, {Window(1)}}});
    EXPECT_EQ(LayOut({{0x300, {Window(2)}}}), 0);
    EXPECT_EQ(LayOut({}), 0);
    EXPECT_EQ(Types(), (QList<int>{0x200, 0x300}));
}

TEST_F(LayoutTest, TheIdMapComesBackAsItWas)
{
    const QMap<int, QVector<int>> before = {{0x100, {1, 2}}, {0x600, {}}, {-1, {3}}};
    m_ids = before;
    EXPECT_EQ(LayOutAs6({{0x100, {Window(1)}}, {0x200, {Window(2)}}}), 0);
    EXPECT_EQ(m_ids, before);
}

TEST_F(LayoutTest, AViewKeepsTheRecordAsTheEngineLeftIt)
{
    fake::Next("RV_CreateFishEyeCorrect", [](const fake::Call& call) {
        call.Pointer<std::int32_t>(1)[3] = 4711;
        return 11;
    });
    LayOut({{0x200, {Window(1)}}, {0x300, {Window(2)}}});
    EXPECT_EQ(ViewState::Record(*m_player.Views()[0x200][0]), RecordBytes(88)
                                                                  .Int(0, 88)
                                                                  .Int(4, 4)
                                                                  .Int(8, 0x200)
                                                                  .Int(12, 4711)
                                                                  .Int(32, 8)
                                                                  .Int(44, -1)
                                                                  .Pointer(72, Window(1)));
    // The next view's record is made anew.
    EXPECT_EQ(fake::CallsOf("RV_CreateFishEyeCorrect")[1].records[0],
              RecordBytes(88).Int(0, 88).Int(4, 4).Int(8, 0x300).Int(32, 8).Int(44, -1).Pointer(
                  72, Window(2)));
}

// Which view starts the overlay thread.

struct ThreadStart
{
    const char* name;
    int type;
    int drawWindowType;
    bool starts;
};

void PrintTo(const ThreadStart& row, std::ostream* out)
{
    *out << row.name;
}

class OverlayThreadStart : public LayoutTest, public ::testing::WithParamInterface<ThreadStart>
{};

INSTANTIATE_TEST_SUITE_P(, OverlayThreadStart,
                         ::testing::Values(ThreadStart{"On180", 0x200, 0x200, true},
                                           ThreadStart{"On360", 0x300, 0x300, true},
                                           ThreadStart{"OnLAT", 0x400, 0x400, true},
                                           ThreadStart{"OnFishEye", 0x500, 0x500, true},
                                           ThreadStart{"NotOnPtz", 0x100, 0x100, false},
                                           ThreadStart{"NotOnSource", 0x000, 0x000, false},
                                           ThreadStart{"NotOnAnotherType", 0x200, 0x300, false},
                                           ThreadStart{"NotOnAnUnknownType", 0x600, 0x600, false},
                                           ThreadStart{"NotWithoutAnOverlay", 0x200, 0, false}),
                         NamedRow());

TEST_P(OverlayThreadStart, BelongsToTheViewThatCarriesTheOverlay)
{
    LayOut({{GetParam().type, {Window(1)}}}, {GetParam().drawWindowType, 0});
    EXPECT_EQ(nullptr != m_player.m_pDrawThread, GetParam().starts);
    EXPECT_EQ(m_player.m_pOverlay->m_blStopDraw, !GetParam().starts);
    EXPECT_EQ(m_player.m_pOverlay->m_blDrawEnabled, 0 != GetParam().drawWindowType);
    m_player.EnableDraw(false);
}

TEST_F(LayoutTest, APanoramaWithASourceViewStartsTheThreadAndLeavesTheCorrectionOff)
{
    EXPECT_EQ(LayOut({{0x000, {Window(1)}}, {0x300, {Window(2)}}}, {0x300, 0}), 0);
    EXPECT_NE(m_player.m_pDrawThread, nullptr);
    EXPECT_FALSE(m_player.m_blFishEyeEnabled);
    EXPECT_THAT(fake::Names(),
                ElementsAre("RV_SetFishEyeCorrectEnable", "RV_SetFishEyeCorrectCallBack",
                            "RV_SetFishEyeCorrectEnable", "RV_CreateFishEyeCorrect"));
    m_player.EnableDraw(false);
}

}  // namespace
