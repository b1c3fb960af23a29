// What the views do when engine or algorithm lack one entry point. The suite ViewsWithout_<name>
// runs in the process whose fake lacks that name.
#include "VideoPlayer_FishEye/feplayer/CLS_180ViewSubPlayer.h"
#include "VideoPlayer_FishEye/feplayer/CLS_360ViewSubPlayer.h"
#include "VideoPlayer_FishEye/feplayer/CLS_LATViewSubPlayer.h"
#include "VideoPlayer_Vx/CLS_VxPlayer_SDK.h"
#include "tests/manager/ViewProbe.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using VX_Framework::VideoPlayer::CLS_VxPlayer_SDK;

/// A view of engine player 7, correction 11.
template <class View>
class Bound : public Probe<View>
{
public:
    Bound()
    {
        this->m_iMainPlayId = 7;
        this->m_iSubPlayId = 11;
    }
};

/// A test on the fake without one entry; the view under test has a square outline.
class ViewsWithoutEntry : public PtzTest
{
protected:
    ViewsWithoutEntry()
    {
        m_view.CreatePtzDraw(m_pHandle, tagCreateCorrectPara{}, n_DrawType_Rect);
        m_view.m_iMainPlayId = 7;
        m_view.m_iSubPlayId = 11;
        Lines();
        Calls();
    }
};

class ViewsWithout_RV_CreateFishEyeCorrect : public ViewsWithoutEntry
{
protected:
    template <class View>
    int Create(Probe<View>& view, void* window = Window(5))
    {
        return view.CreatePlayer(m_pHandle, 0, tagCreateCorrectPara{}, window, &m_iId);
    }

    int m_iId = 77;
};

TEST_F(ViewsWithout_RV_CreateFishEyeCorrect, TheBaseRefusesCreationWithoutAChange)
{
    ASSERT_EQ(CLS_VxPlayer_SDK::RV_CreateFishEyeCorrect, nullptr);
    Probe<CLS_LATViewSubPlayer> view;
    EXPECT_EQ(Create(view), -1);
    EXPECT_THAT(
        Lines(),
        ElementsAre(Warning(
            "[  CLS_SubPlayer::CreatePlayer nullptr == CLS_VxPlayer_SDK::RV_CreateFishEyeCorrect ]")));
    EXPECT_THAT(Calls(), IsEmpty());
    EXPECT_EQ(m_iId, 77);
    EXPECT_EQ(view.m_iMainPlayId, -1);
    EXPECT_EQ(view.m_pFcuHandle, nullptr);
}

TEST_F(ViewsWithout_RV_CreateFishEyeCorrect, ThePtzViewRefusesCreationUnderItsOwnName)
{
    Probe<CLS_PTZSubPlayer> view;
    EXPECT_EQ(Create(view), -1);
    EXPECT_THAT(
        Lines(),
        ElementsAre(Warning(
            "[  CLS_PTZSubPlayer::CreatePlayer nullptr == CLS_VxPlayer_SDK::RV_CreateFishEyeCorrect ]")));
    EXPECT_EQ(m_iId, 77);
    EXPECT_EQ(view.m_iMainPlayId, -1);
}

TEST_F(ViewsWithout_RV_CreateFishEyeCorrect, TheArgumentsAreTestedFirst)
{
    Probe<CLS_180ViewSubPlayer> view;
    EXPECT_EQ(Create(view, nullptr), -1);
    EXPECT_THAT(Lines(),
                ElementsAre(Warning("[  CLS_SubPlayer::CreatePlayer nullptr == _pWindow ]")));
    EXPECT_EQ(m_view.CreatePlayer(m_pHandle, 0, tagCreateCorrectPara{}, Window(5), nullptr), -1);
    EXPECT_THAT(Lines(), ElementsAre(Warning(
                             "[  CLS_PTZSubPlayer::CreatePlayer nullptr == _piSubPlayerId ]")));
}

using ViewsWithout_RV_DeleteFishEyeCorrect = ViewsWithoutEntry;

TEST_F(ViewsWithout_RV_DeleteFishEyeCorrect, TheBasesDeletionReportsUnderTheCreationsName)
{
    ASSERT_EQ(CLS_VxPlayer_SDK::RV_DeleteFishEyeCorrect, nullptr);
    const LogLine line = Warning(
        "[  CLS_SubPlayer::CreatePlayer nullptr == CLS_VxPlayer_SDK::RV_DeleteFishEyeCorrect ]");
    {
        Bound<CLS_180ViewSubPlayer> view;
        EXPECT_EQ(view.DeletePlayer(), -1);
        EXPECT_THAT(Lines(), ElementsAre(line));
        view.m_iMainPlayId = -1;
        EXPECT_EQ(view.DeletePlayer(), -1);
        EXPECT_THAT(Lines(),
                    ElementsAre(Warning("[  CLS_SubPlayer::DeletePlayer m_iMainPlayId < 0 ]")));
        view.m_iMainPlayId = 7;
        EXPECT_THAT(Calls(), IsEmpty());
    }
    EXPECT_THAT(Lines(), ElementsAre(line));
    EXPECT_THAT(Shown(Calls()), ElementsAre("RV_SetFishEyeCorrectCallBack(7, 11, 0, 0)"));
}

TEST_F(ViewsWithout_RV_DeleteFishEyeCorrect, ThePtzViewRefusesDeletionUnderItsOwnName)
{
    EXPECT_EQ(m_view.DeletePlayer(), -1);
    EXPECT_THAT(
        Lines(),
        ElementsAre(Warning(
            "[  CLS_PTZSubPlayer::DeletePlayer nullptr == CLS_VxPlayer_SDK::RV_DeleteFishEyeCorrect ]")));
    m_view.m_iSubPlayId = -1;
    EXPECT_EQ(m_view.DeletePlayer(), -1);
    EXPECT_THAT(Lines(),
                ElementsAre(Warning("[  CLS_PTZSubPlayer::DeletePlayer m_iSubPlayId < 0 ]")));
    EXPECT_THAT(Calls(), IsEmpty());
}

using ViewsWithout_RV_SetFishEyeCorrectCallBack = ViewsWithoutEntry;

TEST_F(ViewsWithout_RV_SetFishEyeCorrectCallBack, ARegistrationIsRefused)
{
    ASSERT_EQ(CLS_VxPlayer_SDK::RV_SetFishEyeCorrectCallBack, nullptr);
    const LogLine line = Warning(
        "[  CLS_SubPlayer::SetFecCallBackFunc nullptr == CLS_VxPlayer_SDK::RV_SetFishEyeCorrectCallBack ]");
    {
        Bound<CLS_360ViewSubPlayer> view;
        EXPECT_EQ(view.SetFecCallBackFunc(nullptr, nullptr), -1);
        EXPECT_THAT(Lines(), ElementsAre(line));
        view.m_iSubPlayId = -1;
        EXPECT_EQ(view.SetFecCallBackFunc(nullptr, nullptr), -1);
        EXPECT_THAT(Lines(), ElementsAre(Warning(
                                 "[  CLS_SubPlayer::SetFecCallBackFunc m_iSubPlayId < 0 ]")));
        view.m_iSubPlayId = 11;
    }
    EXPECT_THAT(Lines(), ElementsAre(line));
    EXPECT_THAT(Shown(Calls()), ElementsAre("RV_DeleteFishEyeCorrect(7, 11)"));
}

using ViewsWithout_RV_GetFishEyeCorrectPara = ViewsWithoutEntry;

TEST_F(ViewsWithout_RV_GetFishEyeCorrectPara, TheWideViewsRefuseToReadAndSoToMove)
{
    ASSERT_EQ(CLS_VxPlayer_SDK::RV_GetFishEyeCorrectPara, nullptr);
    const LogLine read180 = Warning(
        "[  CLS_180ViewSubPlayer::GetCorrectPara nullptr == CLS_VxPlayer_SDK::RV_GetFishEyeCorrectPara ]");
    const LogLine read360 = Warning(
        "[  CLS_360ViewSubPlayer::GetCorrectPara nullptr == CLS_VxPlayer_SDK::RV_GetFishEyeCorrectPara ]");
    Bound<CLS_180ViewSubPlayer> view180;
    Bound<CLS_360ViewSubPlayer> view360;
    tagCorrectWideScanPara para{};
    EXPECT_EQ(view180.GetCorrectPara(para), -1);
    EXPECT_EQ(view360.GetCorrectPara(para), -1);
    EXPECT_THAT(Lines(), ElementsAre(read180, read360));
    EXPECT_EQ(view180.Move(1, 1, {10, 10}), -1);
    EXPECT_EQ(view360.Move(1, 1, {10, 10}), -1);
    EXPECT_THAT(
        Lines(),
        ElementsAre(
            read180,
            Warning(WithValue("[  CLS_180ViewSubPlayer::Move GetCorrectPara fail iRet = ", -1)),
            read360,
            Warning(WithValue("[  CLS_360ViewSubPlayer::Move GetCorrectPara fail iRet = ", -1))));
    view180.m_iMainPlayId = -1;
    EXPECT_EQ(view180.GetCorrectPara(para), -1);
    EXPECT_THAT(Lines(), ElementsAre(Warning(
                             "[  CLS_180ViewSubPlayer::GetCorrectPara m_iMainPlayId < 0 ]")));
    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(ViewsWithout_RV_GetFishEyeCorrectPara, ThePtzViewReportsUnderTheDeletionsName)
{
    const LogLine line = Warning(
        "[  CLS_PTZSubPlayer::DeletePlayer nullptr == CLS_VxPlayer_SDK::RV_GetFishEyeCorrectPara ]");
    tagCorrectPtzPara para{};
    EXPECT_EQ(m_view.GetCorrectPara(para), -1);
    EXPECT_THAT(Lines(), ElementsAre(line));
    EXPECT_EQ(m_view.Zoom(1), -1);
    EXPECT_THAT(
        Lines(),
        ElementsAre(
            line, Warning(WithValue("[  CLS_PTZSubPlayer::Zoom GetCorrectPara fail iRet = ", -1))));
    m_view.m_iSubPlayId = -1;
    EXPECT_EQ(m_view.GetCorrectPara(para), -1);
    EXPECT_THAT(Lines(),
                ElementsAre(Warning("[  CLS_PTZSubPlayer::GetCorrectPara m_iSubPlayId < 0 ]")));
    EXPECT_THAT(Calls(), IsEmpty());
}

using ViewsWithout_RV_SetFishEyeCorrectPara = ViewsWithoutEntry;

TEST_F(ViewsWithout_RV_SetFishEyeCorrectPara, TheWideViewsRefuseToWriteAndAMoveHandsItOn)
{
    ASSERT_EQ(CLS_VxPlayer_SDK::RV_SetFishEyeCorrectPara, nullptr);
    const LogLine write180 = Warning(
        "[  CLS_180ViewSubPlayer::SetCorrectPara nullptr == CLS_VxPlayer_SDK::RV_SetFishEyeCorrectPara ]");
    const LogLine write360 = Warning(
        "[  CLS_360ViewSubPlayer::SetCorrectPara nullptr == CLS_VxPlayer_SDK::RV_SetFishEyeCorrectPara ]");
    Bound<CLS_180ViewSubPlayer> view180;
    Bound<CLS_360ViewSubPlayer> view360;
    tagCorrectWideScanPara para{};
    EXPECT_EQ(view180.SetCorrectPara(para), -1);
    EXPECT_EQ(view360.SetCorrectPara(para), -1);
    EXPECT_THAT(Lines(), ElementsAre(write180, write360));
    EXPECT_EQ(view180.Move(1, 1, {10, 10}), -1);
    EXPECT_EQ(view360.Move(1, 1, {10, 10}), -1);
    EXPECT_THAT(Lines(), ElementsAre(write180, write360));
    view360.m_iMainPlayId = -1;
    EXPECT_EQ(view360.SetCorrectPara(para), -1);
    EXPECT_THAT(Lines(), ElementsAre(Warning(
                             "[  CLS_360ViewSubPlayer::SetCorrectPara m_iMainPlayId < 0 ]")));
}

TEST_F(ViewsWithout_RV_SetFishEyeCorrectPara, ThePtzViewsLineHasNoClosingBracketAndTheOutlineStays)
{
    const LogLine line =
        Warning("[  CLS_PTZSubPlayer::SetCorrectPara nullptr == CLS_VxPlayer_SDK::SetCorrectPara");
    tagCorrectPtzPara para{};
    EXPECT_EQ(m_view.SetCorrectPara(para), -1);
    EXPECT_THAT(Lines(), ElementsAre(line));
    QVector<QVector<STRUCT_DrawPoint>> outline;
    m_view.GetPTZDrawData(outline);
    EXPECT_EQ(outline.size(), 4);
    EXPECT_EQ(m_view.PTZCtl({1, 2, 3}, n_PTZCtl_Up), -1);
    EXPECT_THAT(
        Lines(),
        ElementsAre(line, Warning(WithValue(
                              "[  CLS_PTZSubPlayer::PTZCtl SetCorrectPara fail iRet = ", -1))));
    m_view.m_iSubPlayId = -1;
    EXPECT_EQ(m_view.SetCorrectPara(para), -1);
    EXPECT_THAT(Lines(),
                ElementsAre(Warning("[  CLS_PTZSubPlayer::SetCorrectPara m_iSubPlayId < 0 ]")));
}

TEST_F(ViewsWithout_RV_SetFishEyeCorrectPara, TheEntryIsTestedBeforeTheDrawType)
{
    m_view.CreatePtzDraw(m_pHandle, tagCreateCorrectPara{}, 2);
    tagCorrectPtzPara para{};
    EXPECT_EQ(m_view.SetCorrectPara(para), -1);
    EXPECT_THAT(
        Lines(),
        ElementsAre(Warning(
            "[  CLS_PTZSubPlayer::SetCorrectPara nullptr == CLS_VxPlayer_SDK::SetCorrectPara")));
}

using ViewsWithout_VxAlgo_FCU_Process = ViewsWithoutEntry;

TEST_F(ViewsWithout_VxAlgo_FCU_Process, BothFormsOfTheTracedBorderAreRefused)
{
    ASSERT_EQ(CLS_VxAlgoFcu::VxAlgo_FCU_Process, nullptr);
    const LogLine line =
        Warning("[  CLS_PTZSubPlayer::SetFecDraw CLS_VxAlgoFcu::VxAlgo_FCU_Process]");
    int other = 0;
    void* const handle = &other;
    EXPECT_EQ(m_view.SetFecDraw(handle, tagCreateCorrectPara{}), -1);
    EXPECT_EQ(m_view.SetFecDraw(STRUCT_FecPtzParam{}), -1);
    EXPECT_THAT(Lines(), ElementsAre(line, line));
    EXPECT_EQ(m_view.m_pFcuHandle, m_pHandle);  // taken only once the entry is there
}

TEST_F(ViewsWithout_VxAlgo_FCU_Process, TheInstanceIsTestedFirst)
{
    void* const none = nullptr;
    m_view.m_pFcuHandle = nullptr;
    EXPECT_EQ(m_view.SetFecDraw(none, tagCreateCorrectPara{}), -1);
    EXPECT_EQ(m_view.SetFecDraw(STRUCT_FecPtzParam{}), -1);
    EXPECT_THAT(Lines(),
                ElementsAre(Warning("[  CLS_PTZSubPlayer::SetFecDraw nullptr == _pfcuHandle]"),
                            Warning("[  CLS_PTZSubPlayer::SetFecDraw nullptr == m_pFcuHandle]")));
}

TEST_F(ViewsWithout_VxAlgo_FCU_Process, AWriteGoesOnWithoutAnOutline)
{
    const LogLine line =
        Warning("[  CLS_PTZSubPlayer::SetFecDraw CLS_VxAlgoFcu::VxAlgo_FCU_Process]");
    EXPECT_EQ(m_view.CreatePtzDraw(m_pHandle, tagCreateCorrectPara{}, n_DrawType_Fec), -1);
    tagCorrectPtzPara para{};
    EXPECT_EQ(m_view.SetCorrectPara(para), 0);
    EXPECT_THAT(Lines(), ElementsAre(line, line));
    EXPECT_THAT(fake::Names(), ElementsAre("RV_SetFishEyeCorrectPara"));
}

using ViewsWithout_VxAlgo_FCU_Point_Transform = ViewsWithoutEntry;

TEST_F(ViewsWithout_VxAlgo_FCU_Point_Transform, ConversionsAreRefusedWithoutAClamp)
{
    ASSERT_EQ(CLS_VxAlgoFcu::VxAlgo_FCU_Point_Transform, nullptr);
    STRUCT_FecPoint in{10000, 20000};
    STRUCT_FecPoint out{77, 88};
    EXPECT_EQ(m_view.CoordSwitch(1, 2, in, out), -1);
    EXPECT_EQ(m_view.CoordFETo360(in, out), -1);
    EXPECT_THAT(
        Lines(),
        ElementsAre(
            Warning("[  CLS_PTZSubPlayer::CoordSwitch CLS_VxAlgoFcu::VxAlgo_FCU_Point_Transform ]"),
            Warning(
                "[  CLS_PTZSubPlayer::CoordFETo360 nullptr == CLS_VxAlgoFcu::VxAlgo_FCU_Point_Transform ]")));
    EXPECT_EQ(in.iX, 10000);
    EXPECT_EQ(in.iY, 20000);
    EXPECT_EQ(out.iX, 77);
    EXPECT_EQ(out.iY, 88);
}

TEST_F(ViewsWithout_VxAlgo_FCU_Point_Transform, TheInstanceIsTestedFirst)
{
    m_view.m_pFcuHandle = nullptr;
    STRUCT_FecPoint in{1, 2};
    STRUCT_FecPoint out{};
    EXPECT_EQ(m_view.CoordSwitch(1, 2, in, out), -1);
    EXPECT_EQ(m_view.CoordFETo360(in, out), -1);
    const LogLine line = Warning("[  CLS_PTZSubPlayer::CoordFETo360 nullptr == m_pFcuHandle ]");
    EXPECT_THAT(Lines(), ElementsAre(line, line));
}

TEST_F(ViewsWithout_VxAlgo_FCU_Point_Transform, ADragLogsInnermostFirst)
{
    EXPECT_EQ(m_view.Move({1, 2, 3, 4}, {10, 10}), -1);
    EXPECT_THAT(
        Lines(),
        ElementsAre(
            Warning("[  CLS_PTZSubPlayer::CoordSwitch CLS_VxAlgoFcu::VxAlgo_FCU_Point_Transform ]"),
            Warning(WithValue("[  CLS_PTZSubPlayer::GetFishPoint CoordSwitch fail iRet = ", -1)),
            Warning(WithValue("[  CLS_PTZSubPlayer::Move GetFishPoint fail iRet = ", -1))));
    EXPECT_THAT(Calls(), IsEmpty());
}

}  // namespace
