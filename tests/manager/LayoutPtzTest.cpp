// How the pan/tilt/zoom windows of a map become views, and where they look at first.
#include <climits>
#include <cmath>
#include <ostream>

#include "VideoPlayer_FishEye/feplayer/CLS_PTZSubPlayer.h"
#include "tests/manager/FacadeProbe.h"
#include "tests/manager/RecordBytes.h"
#include "tests/manager/ViewState.h"

namespace {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr char CONST_VIEW_FAIL[] =
    "[  CLS_MainPlayer::CreateSubPlayers  pSubPlayer->CreatePlayer fail iRet = ";

/// The line for a view without a default centre.
LogLine NoCentre(int count, int index)
{
    return Warning("[  CLS_MainPlayer::GetDefultCenterPoint fail _iPtzNum =  " +
                   std::to_string(count) + "  ,  _iPtzId =  " + std::to_string(index) + "  ]");
}

/// The algorithm's request for the place of a panorama position.
RecordBytes PanoramaRequest(int drawCorrectMode, float fX, float fY)
{
    return RecordBytes(92)
        .Int(0, 92)
        .Int(4, 3)
        .Int(8, drawCorrectMode)
        .Float(12, fX)
        .Float(16, fY)
        .Int(20, 0x20000)
        .Int(24, 0x40000);
}

fake::Reply PointAt(float fX, float fY)
{
    return [fX, fY](const fake::Call& call) {
        call.Pointer<float>(2)[0] = fX;
        call.Pointer<float>(2)[1] = fY;
        return 0;
    };
}

class LayoutPtzTest : public PlayingTest
{
protected:
    /// Lays out pan/tilt/zoom windows 21, 22, ... with a camera record that differs from the one
    /// of the player's creation.
    int LayOutWindows(int count, int drawType = 0)
    {
        QVector<void*> windows;
        for (int i = 0; i < count; ++i)
            windows.append(Window(21 + i));
        QMap<int, QVector<int>> ids;
        return m_player.CreateSubPlayers({6, 0x200}, 12345, {{0x100, windows}}, ids, {0, drawType});
    }

    /// A view's record, as the engine gets it.
    static RecordBytes WindowRecord(int index, int x, int y)
    {
        return RecordBytes(88)
            .Int(0, 88)
            .Int(4, 6)
            .Int(8, 256)
            .Int(32, 8)
            .Int(36, 0)
            .Int(40, 32)
            .Int(44, index)
            .Int(48, x)
            .Int(52, y)
            .Int(56, 10000)
            .Int(60, 200)
            .Int(64, 200)
            .Int(68, 0)
            .Pointer(72, Window(21 + index))
            .Pointer(80, nullptr);
    }

    /// The outline request that shows the values of the outline record.
    static RecordBytes OutlineRequest(float fX, float fY)
    {
        return RecordBytes(112)
            .Int(0, 112)
            .Int(4, 6)
            .Int(8, 0x200)
            .Int(12, 32)
            .Float(20, fX)
            .Float(24, fY)
            .Float(28, 1.0F)
            .Int(32, 250)
            .Int(36, 250)
            .Int(40, 0x2000);
    }
};

TEST_F(LayoutPtzTest, ThreeWindowsBecomeThreeViewsOneThirdOfThePanoramaApart)
{
    fake::Next("VxAlgo_FCU_Point_Transform", PointAt(0.125F, 0.25F));
    fake::Next("VxAlgo_FCU_Point_Transform", PointAt(0.375F, 0.5F));
    fake::Next("VxAlgo_FCU_Point_Transform", PointAt(0.625F, 0.75F));
    EXPECT_EQ(LayOutWindows(3), 0);
    EXPECT_THAT(Lines(), IsEmpty());
    EXPECT_THAT(
        fake::Names(),
        ElementsAre("RV_SetFishEyeCorrectEnable",  //
                    "VxAlgo_FCU_Point_Transform", "VxAlgo_FCU_Process", "RV_CreateFishEyeCorrect",
                    "VxAlgo_FCU_Point_Transform", "VxAlgo_FCU_Process", "RV_CreateFishEyeCorrect",
                    "VxAlgo_FCU_Point_Transform", "VxAlgo_FCU_Process", "RV_CreateFishEyeCorrect"));

    // The panorama is asked with the camera of the player's creation, not with the layout's.
    const std::vector<fake::Call> points = fake::CallsOf("VxAlgo_FCU_Point_Transform");
    EXPECT_EQ(points[0].records[0], PanoramaRequest(0x300, 0.5F, 0.45F));
    EXPECT_EQ(points[1].records[0], PanoramaRequest(0x300, 0.1667F, 0.45F));
    EXPECT_EQ(points[2].records[0], PanoramaRequest(0x300, 0.8333F, 0.45F));

    const std::vector<fake::Call> outlines = fake::CallsOf("VxAlgo_FCU_Process");
    EXPECT_EQ(outlines[0].records[0], OutlineRequest(0.125F, 0.25F));
    EXPECT_EQ(outlines[1].records[0], OutlineRequest(0.375F, 0.5F));
    EXPECT_EQ(outlines[2].records[0], OutlineRequest(0.625F, 0.75F));

    const std::vector<fake::Call> windows = fake::CallsOf("RV_CreateFishEyeCorrect");
    EXPECT_EQ(windows[0].records[0], WindowRecord(0, 1250, 2500));
    EXPECT_EQ(windows[1].records[0], WindowRecord(1, 3750, 5000));
    EXPECT_EQ(windows[2].records[0], WindowRecord(2, 6250, 7500));
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(windows[i].Int(0), CONST_PLAYER);
        EXPECT_EQ(windows[i].Int(2), 88);
        EXPECT_EQ(windows[i].Pointer<void>(3), Window(21 + i));
    }

    const QVector<CLS_SubPlayer*> views = m_player.Views()[0x100];
    ASSERT_EQ(views.size(), 3);
    for (int i = 0; i < 3; ++i) {
        EXPECT_NE(dynamic_cast<CLS_PTZSubPlayer*>(views[i]), nullptr);
        EXPECT_EQ(views[i]->GetSubPlayId(), 11 + i);
        EXPECT_EQ(ViewState::CreateType(*views[i]), 6);
        EXPECT_EQ(ViewState::CorrectMode(*views[i]), 0x200);  // of the outline, not of the window
    }
    EXPECT_EQ(ViewState::Record(*views[1]), WindowRecord(1, 3750, 5000));
}

TEST_F(LayoutPtzTest, TheIdIsPresetToMinusOneForEachView)
{
    std::vector<int> presets;
    fake::Always("RV_CreateFishEyeCorrect", [&](const fake::Call& call) {
        presets.push_back(*call.Pointer<int>(4));
        return 11;
    });
    LayOutWindows(2);
    EXPECT_THAT(presets, ElementsAre(-1, -1));
}

TEST_F(LayoutPtzTest, ASquareOutlineAsksTheAlgorithmForTheCentreAlone)
{
    EXPECT_EQ(LayOutWindows(1, 1), 0);
    EXPECT_THAT(fake::Names(),
                ElementsAre("RV_SetFishEyeCorrectEnable", "VxAlgo_FCU_Point_Transform",
                            "RV_CreateFishEyeCorrect"));
    QVector<QVector<STRUCT_DrawPoint>> outline;
    m_player.Views()[0x100][0]->GetPTZDrawData(outline);
    ASSERT_EQ(outline.size(), 4);
    EXPECT_FLOAT_EQ(outline[0][0].fX, 0.2F);  // the default centre is (0.25, 0.75)
    EXPECT_FLOAT_EQ(outline[0][0].fY, 0.7F);
}

TEST_F(LayoutPtzTest, AnUnknownDrawTypeGivesAViewWithoutAnOutline)
{
    EXPECT_EQ(LayOutWindows(1, 5), 0);
    EXPECT_THAT(fake::CallsOf("VxAlgo_FCU_Process"), IsEmpty());
    EXPECT_EQ(m_player.Views()[0x100].size(), 1);
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(LayoutPtzTest, AnOutlineThatFailsDoesNotStopTheView)
{
    fake::Next("VxAlgo_FCU_Process", -31);
    EXPECT_EQ(LayOutWindows(1), 0);
    EXPECT_THAT(
        Lines(),
        ElementsAre(Warning(WithValue(
            "[  CLS_PTZSubPlayer::SetFecDraw CLS_VxAlgoFcu::VxAlgo_FCU_Process fail iRet = ",
            -31))));
    EXPECT_EQ(m_player.Views()[0x100].size(), 1);
}

TEST_F(LayoutPtzTest, AViewWithoutACentreStartsAtTheOrigin)
{
    fake::Next("VxAlgo_FCU_Point_Transform", -9);
    EXPECT_EQ(LayOutWindows(2), 0);
    EXPECT_THAT(
        Lines(),
        ElementsAre(Warning(WithValue(
            "[  CLS_MainPlayer::Coord360ToFE CLS_VxAlgoFcu::VxAlgo_FCU_Point_Transform fail iRet = ",
            -9))));
    const std::vector<fake::Call> windows = fake::CallsOf("RV_CreateFishEyeCorrect");
    EXPECT_EQ(windows[0].records[0], WindowRecord(0, 0, 0));
    EXPECT_EQ(windows[1].records[0], WindowRecord(1, 2500, 7500));
}

TEST_F(LayoutPtzTest, TheNinthAndEveryLaterOfTenWindowsStartAtTheOrigin)
{
    EXPECT_EQ(LayOutWindows(10), 0);
    EXPECT_THAT(Lines(), ElementsAre(NoCentre(10, 8), NoCentre(10, 9)));
    EXPECT_EQ(m_player.Views()[0x100].size(), 10);
    EXPECT_EQ(fake::CallsOf("VxAlgo_FCU_Point_Transform").size(), 8U);
    const std::vector<fake::Call> windows = fake::CallsOf("RV_CreateFishEyeCorrect");
    ASSERT_EQ(windows.size(), 10U);
    EXPECT_EQ(windows[7].records[0], WindowRecord(7, 2500, 7500));
    EXPECT_EQ(windows[8].records[0], WindowRecord(8, 0, 0));
    EXPECT_EQ(windows[9].records[0], WindowRecord(9, 0, 0));
}

TEST_F(LayoutPtzTest, AViewThatTheEngineRefusesIsLeftAllocatedAndTheOthersFollow)
{
    fake::Next("RV_CreateFishEyeCorrect", 31);
    fake::Next("RV_CreateFishEyeCorrect", -5);
    fake::Next("RV_CreateFishEyeCorrect", 33);
    {
        const DeliberateLeak leak("a view whose creation failed is left allocated");
        EXPECT_EQ(LayOutWindows(3), 0);
    }
    EXPECT_THAT(
        Lines(),
        ElementsAre(
            Warning(WithValue(
                "[  CLS_PTZSubPlayer::CreatePlayer CLS_VxPlayer_SDK::RV_CreateFishEyeCorrect fail iRet = ",
                -5)),
            Warning(WithValue(CONST_VIEW_FAIL, -5))));
    const QVector<CLS_SubPlayer*> views = m_player.Views()[0x100];
    ASSERT_EQ(views.size(), 2);
    EXPECT_EQ(views[0]->GetSubPlayId(), 31);
    EXPECT_EQ(views[1]->GetSubPlayId(), 33);  // number 1 for commands, made for window 2
}

TEST_F(LayoutPtzTest, ViewsThatAllFailLeaveAnEmptyListForWhichALaterLayoutBuildsNothing)
{
    fake::Always("RV_CreateFishEyeCorrect", -5);
    {
        const DeliberateLeak leak("a view whose creation failed is left allocated");
        EXPECT_EQ(LayOutWindows(2), 0);
    }
    EXPECT_EQ(m_player.Views().keys(), QList<int>{0x100});
    EXPECT_TRUE(m_player.Views()[0x100].isEmpty());
    Forget();
    EXPECT_EQ(LayOutWindows(2), 0);
    EXPECT_THAT(Calls(), IsEmpty());
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(LayoutPtzTest, ASecondLayoutOfAnotherWindowCreatesNothing)
{
    LayOutWindows(3);
    const QVector<CLS_SubPlayer*> views = m_player.Views()[0x100];
    Forget();
    EXPECT_EQ(LayOut({{0x100, {Window(99)}}}), 0);
    EXPECT_EQ(m_player.Views()[0x100], views);
    EXPECT_THAT(Calls(), IsEmpty());
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(LayoutPtzTest, ANullWindowIsRefusedByItsViewAlone)
{
    const DeliberateLeak leak("a view whose creation failed is left allocated");
    EXPECT_EQ(LayOut({{0x100, {Window(1), nullptr}}}), 0);
    EXPECT_THAT(Lines(),
                ElementsAre(Warning("[  CLS_PTZSubPlayer::CreatePlayer nullptr == _pWindow ]"),
                            Warning(WithValue(CONST_VIEW_FAIL, -1))));
    EXPECT_EQ(m_player.Views()[0x100].size(), 1);
}

// Default centres.

struct Centres
{
    int count;
    std::vector<int> x;  ///< of views 0, 1, 2, ... in ten-thousandths of the panorama
};

void PrintTo(const Centres& row, std::ostream* out)
{
    *out << row.count;
}

class DefaultCentres : public PlayingTest, public ::testing::WithParamInterface<Centres>
{};

INSTANTIATE_TEST_SUITE_P(
    , DefaultCentres,
    ::testing::Values(Centres{1, {5000, 5000, 5000, 5000, 5000, 5000, 5000, 5000}},
                      Centres{2, {5000, 0, 5000, 0, 5000, 0, 5000, 0}},
                      Centres{3, {5000, 1667, 8333}},
                      Centres{4, {5000, 7500, 0, 2500, 5000, 7500, 0, 2500}},
                      Centres{5, {5000, 7000, 9000, 1000, 3000, 5000, 7000, 9000}},
                      Centres{6, {5000, 6666, 8332, 9998, 1664, 3330, 4996, 6662}},
                      Centres{7, {5000, 6428, 7856, 9284, 712, 2140, 3568, 4996}},
                      Centres{8, {3750, 5000, 6250, 2500, 7500, 1250, 0, 8750}},
                      Centres{9, {5000, 6111, 7222, 8333, 9444, 555, 1666, 2777}},
                      Centres{10, {5000, 6000, 7000, 8000, 9000, 0, 1000, 2000}},
                      Centres{10000, {5000, 5001, 5002, 5003, 5004, 5005, 5006, 5007}},
                      Centres{10001, {5000, 5000, 5000, 5000, 5000, 5000, 5000, 5000}},
                      Centres{INT_MAX, {5000, 5000, 5000, 5000, 5000, 5000, 5000, 5000}}),
    [](const auto& info) { return "Of" + std::to_string(info.param.count); });

TEST_P(DefaultCentres, LieOnOneHeightOfThePanorama)
{
    const Centres& row = GetParam();
    for (int i = 0; i < static_cast<int>(row.x.size()); ++i) {
        STRUCT_FecPoint point{-3, -4};
        EXPECT_EQ(m_player.GetDefultCenterPoint(i, row.count, point), 0);
        EXPECT_EQ(point.iX, 2500);  // where the algorithm says
        EXPECT_EQ(point.iY, 7500);
        const std::vector<fake::Call> calls = Calls();
        ASSERT_EQ(calls.size(), 1U);
        EXPECT_EQ(calls[0].records[0],
                  PanoramaRequest(0x300, static_cast<float>(row.x[i] / 10000.0), 0.45F))
            << i;
    }
    EXPECT_THAT(Lines(), IsEmpty());
}

struct Outside
{
    const char* name;
    int index;
    int count;
};

void PrintTo(const Outside& row, std::ostream* out)
{
    *out << row.name;
}

class DefaultCentreOutside : public PlayingTest, public ::testing::WithParamInterface<Outside>
{};

INSTANTIATE_TEST_SUITE_P(
    , DefaultCentreOutside,
    ::testing::Values(Outside{"IndexBelowZero", -1, 4}, Outside{"NinthOfNine", 8, 9},
                      Outside{"NinthOfEight", 8, 8}, Outside{"SmallestIndex", INT_MIN, 8},
                      Outside{"LargestIndex", INT_MAX, 8}, Outside{"NoViews", 0, 0},
                      Outside{"FewerThanNone", 0, -1}, Outside{"SmallestCount", 0, INT_MIN},
                      Outside{"FourthOfThree", 3, 3}, Outside{"EighthOfThree", 7, 3}),
    NamedRow());

TEST_P(DefaultCentreOutside, IsReportedAndLeavesThePoint)
{
    STRUCT_FecPoint point{-3, -4};
    EXPECT_EQ(m_player.GetDefultCenterPoint(GetParam().index, GetParam().count, point), -1);
    EXPECT_EQ(point.iX, -3);
    EXPECT_EQ(point.iY, -4);
    EXPECT_THAT(Lines(), ElementsAre(NoCentre(GetParam().count, GetParam().index)));
    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(LayoutPtzTest, ACentreThatTheAlgorithmRefusesComesBackWithItsResult)
{
    STRUCT_FecPoint point{-3, -4};
    fake::Next("VxAlgo_FCU_Point_Transform", -9);
    EXPECT_EQ(m_player.GetDefultCenterPoint(0, 1, point), -9);
    EXPECT_EQ(point.iX, -3);
    EXPECT_EQ(point.iY, -4);
}

}  // namespace
