// Creation, deletion, live parameters and zoom steps of a pan/tilt/zoom view.
#include "VideoPlayer_FishEye/feplayer/StreamRecords.h"
#include "tests/manager/ViewProbe.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

using PtzWindowTest = PtzTest;

// Creation. Each row is wrong in the argument of its name and in all the later ones.

struct Refusal
{
    const char* name;
    bool handle;
    int mainId;
    bool window;
    const char* text;

    friend std::ostream& operator<<(std::ostream& out, const Refusal& row)
    {
        return out << row.name;
    }
};

class PtzCreationRefused : public PtzTest, public ::testing::WithParamInterface<Refusal>
{};

TEST_P(PtzCreationRefused, WithItsTextWithoutAnEngineCallOrAChange)
{
    const Refusal& row = GetParam();
    void* const handle = row.handle ? m_pHandle : nullptr;
    EXPECT_EQ(m_view.CreatePlayer(handle, row.mainId, Numbered<tagCreateCorrectPara>(),
                                  row.window ? Window(5) : nullptr, nullptr),
              -1);
    EXPECT_THAT(Lines(), ElementsAre(Warning(row.text)));
    EXPECT_THAT(Calls(), IsEmpty());
    EXPECT_EQ(m_view.m_iMainPlayId, -1);
    EXPECT_EQ(m_view.m_iSubPlayId, -1);
    EXPECT_EQ(m_view.m_pWindow, nullptr);
    EXPECT_EQ(m_view.m_pFcuHandle, nullptr);
    EXPECT_EQ(Bytes(m_view.m_stCreatePara), std::string(88, '\0'));
}

INSTANTIATE_TEST_SUITE_P(
    PTZSubPlayer, PtzCreationRefused,
    ::testing::Values(Refusal{"NullHandle", false, -1, false,
                              "[  CLS_PTZSubPlayer::CreatePlayer nullptr == _pfcuHandle ]"},
                      Refusal{"NegativeMainId", true, -1, false,
                              "[  CLS_PTZSubPlayer::CreatePlayer _iMainPlayerId < 0 ]"},
                      Refusal{"NullWindow", true, 0, false,
                              "[  CLS_PTZSubPlayer::CreatePlayer nullptr == _pWindow ]"},
                      Refusal{"NullIdPointer", true, 0, true,
                              "[  CLS_PTZSubPlayer::CreatePlayer nullptr == _piSubPlayerId ]"}),
    [](const ::testing::TestParamInfo<Refusal>& info) { return info.param.name; });

TEST_F(PtzWindowTest, CreationHandsTheWholeRecordToTheEngine)
{
    int id = 77;
    EXPECT_EQ(m_view.CreatePlayer(m_pHandle, 7, Numbered<tagCreateCorrectPara>(), Window(5), &id),
              0);
    const std::vector<fake::Call> calls = Calls();
    ASSERT_THAT(calls, SizeIs(1));
    EXPECT_EQ(calls[0].name, "RV_CreateFishEyeCorrect");
    EXPECT_EQ(calls[0].Int(0), 7);
    EXPECT_EQ(calls[0].Int(2), 88);
    EXPECT_EQ(calls[0].Pointer<void>(3), Window(5));
    EXPECT_EQ(calls[0].Pointer<int>(4), &id);
    EXPECT_EQ(calls[0].records[0], Bytes(Numbered<tagCreateCorrectPara>()));
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(PtzWindowTest, CreationTakesTheIdentityButKeepsTypeAndModeOfTheOutline)
{
    m_view.m_iCreateType = 4;
    m_view.m_iCorrectMode = 0x300;
    int id = 77;
    EXPECT_EQ(m_view.CreatePlayer(m_pHandle, 0, Numbered<tagCreateCorrectPara>(), Window(5), &id),
              0);
    EXPECT_EQ(id, 11);
    EXPECT_EQ(m_view.GetSubPlayId(), 11);
    EXPECT_EQ(m_view.m_iMainPlayId, 0);
    EXPECT_EQ(m_view.m_pWindow, Window(5));
    EXPECT_EQ(m_view.m_pFcuHandle, m_pHandle);
    EXPECT_EQ(Bytes(m_view.m_stCreatePara), Bytes(Numbered<tagCreateCorrectPara>()));
    EXPECT_EQ(m_view.m_iCreateType, 4);
    EXPECT_EQ(m_view.m_iCorrectMode, 0x300);
    EXPECT_EQ(m_view.m_dPtzX, 0.0);
    EXPECT_EQ(m_view.m_dPtzY, 0.0);
}

TEST_F(PtzWindowTest, CreationReplacesAHandleThatDiffers)
{
    int other = 0;
    m_view.m_pFcuHandle = &other;
    int id = 77;
    m_view.CreatePlayer(m_pHandle, 7, Numbered<tagCreateCorrectPara>(), Window(5), &id);
    EXPECT_EQ(m_view.m_pFcuHandle, m_pHandle);
}

TEST_F(PtzWindowTest, TheRecordIsKeptAsTheEngineHasChangedIt)
{
    const std::string changed = RecordBytes(88).Int(48, 123).Int(52, 456).Int(56, 789);
    fake::Next("RV_CreateFishEyeCorrect", [changed](const fake::Call& call) {
        std::memcpy(call.Pointer<char>(1), changed.data(), changed.size());
        *call.Pointer<int>(4) = 1234;
        return 0;
    });
    int id = 77;
    EXPECT_EQ(m_view.CreatePlayer(m_pHandle, 7, Numbered<tagCreateCorrectPara>(), Window(5), &id),
              0);
    EXPECT_EQ(Bytes(m_view.m_stCreatePara), changed);
    EXPECT_EQ(id, 0);
    EXPECT_EQ(m_view.GetSubPlayId(), 0);
}

TEST_F(PtzWindowTest, ANegativeEngineResultIsLoggedAndHandedOnWithoutAChange)
{
    int other = 0;
    m_view.m_pFcuHandle = &other;
    fake::Next("RV_CreateFishEyeCorrect", -9);
    int id = 77;
    EXPECT_EQ(m_view.CreatePlayer(m_pHandle, 7, Numbered<tagCreateCorrectPara>(), Window(5), &id),
              -9);
    EXPECT_THAT(
        Lines(),
        ElementsAre(Warning(WithValue(
            "[  CLS_PTZSubPlayer::CreatePlayer CLS_VxPlayer_SDK::RV_CreateFishEyeCorrect fail iRet = ",
            -9))));
    EXPECT_EQ(id, 77);
    EXPECT_EQ(m_view.m_pFcuHandle, &other);
    EXPECT_EQ(m_view.m_iMainPlayId, -1);
    EXPECT_EQ(m_view.GetSubPlayId(), -1);
    EXPECT_EQ(Bytes(m_view.m_stCreatePara), std::string(88, '\0'));
}

// Deletion.

TEST_F(PtzWindowTest, DeletionIsRefusedWithoutAMainPlayer)
{
    EXPECT_EQ(m_view.DeletePlayer(), -1);
    EXPECT_THAT(Lines(),
                ElementsAre(Warning("[  CLS_PTZSubPlayer::DeletePlayer m_iMainPlayId < 0 ]")));
    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(PtzWindowTest, DeletionIsRefusedWithoutACorrection)
{
    m_view.m_iMainPlayId = 0;
    EXPECT_EQ(m_view.DeletePlayer(), -1);
    EXPECT_THAT(Lines(),
                ElementsAre(Warning("[  CLS_PTZSubPlayer::DeletePlayer m_iSubPlayId < 0 ]")));
    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(PtzWindowTest, DeletionHandsTheEnginesResultOnAndKeepsIdsAndOutline)
{
    Open(1);
    for (const int result : {0, 8, -3}) {
        fake::Next("RV_DeleteFishEyeCorrect", result);
        EXPECT_EQ(m_view.DeletePlayer(), result);
        EXPECT_THAT(Shown(Calls()), ElementsAre("RV_DeleteFishEyeCorrect(7, 11)"));
    }
    QVector<QVector<STRUCT_DrawPoint>> outline;
    m_view.GetPTZDrawData(outline);
    EXPECT_EQ(outline.size(), 4);
    EXPECT_EQ(m_view.m_iMainPlayId, 7);
    EXPECT_EQ(m_view.GetSubPlayId(), 11);
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(PtzWindowTest, ADeletedViewStillAsksTheEngineUnderItsStaleIds)
{
    Open(1);
    m_view.DeletePlayer();
    Calls();
    fake::Next("RV_GetFishEyeCorrectPara", -7);
    EXPECT_EQ(m_view.Zoom(1), -7);
    EXPECT_EQ(Calls().at(0).Int(1), 11);
}

TEST_F(PtzWindowTest, DestructionOfADeletedViewDeletesTheSameCorrectionOnceMore)
{
    {
        CLS_PTZSubPlayer view;
        int id = -1;
        view.CreatePlayer(m_pHandle, 7, tagCreateCorrectPara{}, Window(5), &id);
        view.DeletePlayer();
        Calls();
    }
    EXPECT_THAT(Shown(Calls()), ElementsAre("RV_SetFishEyeCorrectCallBack(7, 11, 0, 0)",
                                            "RV_DeleteFishEyeCorrect(7, 11)"));
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(PtzWindowTest, DestructionOfAViewWithAnOutlineButNoWindowLogsTwice)
{
    {
        CLS_PTZSubPlayer view;
        view.CreatePtzDraw(m_pHandle, tagCreateCorrectPara{}, n_DrawType_Rect);
    }
    EXPECT_THAT(Lines(),
                ElementsAre(Warning("[  CLS_SubPlayer::SetFecCallBackFunc m_iMainPlayId < 0 ]"),
                            Warning("[  CLS_SubPlayer::DeletePlayer m_iMainPlayId < 0 ]")));
    EXPECT_THAT(Calls(), IsEmpty());
}

// Live parameters.

TEST_F(PtzWindowTest, ReadingIsRefusedWithoutAMainPlayer)
{
    auto para = Numbered<tagCorrectPtzPara>();
    EXPECT_EQ(m_view.GetCorrectPara(para), -1);
    EXPECT_EQ(Bytes(para), Bytes(Numbered<tagCorrectPtzPara>()));
    EXPECT_THAT(Lines(),
                ElementsAre(Warning("[  CLS_PTZSubPlayer::GetCorrectPara m_iMainPlayId < 0 ]")));
    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(PtzWindowTest, ReadingIsRefusedWithoutACorrection)
{
    m_view.m_iMainPlayId = 0;
    tagCorrectPtzPara para{};
    EXPECT_EQ(m_view.GetCorrectPara(para), -1);
    EXPECT_THAT(Lines(),
                ElementsAre(Warning("[  CLS_PTZSubPlayer::GetCorrectPara m_iSubPlayId < 0 ]")));
    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(PtzWindowTest, WritingIsRefusedWithoutAMainPlayer)
{
    tagCorrectPtzPara para{};
    EXPECT_EQ(m_view.SetCorrectPara(para), -1);
    EXPECT_THAT(Lines(),
                ElementsAre(Warning("[  CLS_PTZSubPlayer::SetCorrectPara m_iMainPlayId < 0 ]")));
    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(PtzWindowTest, WritingIsRefusedWithoutACorrection)
{
    m_view.m_iMainPlayId = 0;
    tagCorrectPtzPara para{};
    EXPECT_EQ(m_view.SetCorrectPara(para), -1);
    EXPECT_THAT(Lines(),
                ElementsAre(Warning("[  CLS_PTZSubPlayer::SetCorrectPara m_iSubPlayId < 0 ]")));
    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(PtzWindowTest, ReadsTheRecordWithKind1AndSize32)
{
    m_view.m_iMainPlayId = 0;
    m_view.m_iSubPlayId = 0;
    for (const int result : {0, 6, -4}) {
        fake::Next("RV_GetFishEyeCorrectPara", result);
        tagCorrectPtzPara para{};
        EXPECT_EQ(m_view.GetCorrectPara(para), result);
        EXPECT_THAT(Shown(Calls()),
                    ElementsAre(Shown("RV_GetFishEyeCorrectPara",
                                      {0, 0, 1, reinterpret_cast<std::intptr_t>(&para), 32})));
    }
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(PtzWindowTest, WritesTheRecordWithKind1AndSize32)
{
    Open(1);
    for (const int result : {0, 6, -2, -4}) {
        fake::Next("RV_SetFishEyeCorrectPara", result);
        auto para = Numbered<tagCorrectPtzPara>();
        EXPECT_EQ(m_view.SetCorrectPara(para), result);
        EXPECT_EQ(Written(), Bytes(Numbered<tagCorrectPtzPara>()));
        EXPECT_THAT(Shown(Calls()),
                    ElementsAre(Shown("RV_SetFishEyeCorrectPara",
                                      {7, 11, 1, reinterpret_cast<std::intptr_t>(&para), 32})));
    }
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(PtzWindowTest, WideScanParametersAreAcceptedAndIgnored)
{
    Open(1);
    CLS_SubPlayer& view = m_view;
    auto para = Numbered<tagCorrectWideScanPara>();
    EXPECT_EQ(view.GetCorrectPara(para), 0);
    EXPECT_EQ(view.SetCorrectPara(para), 0);
    EXPECT_EQ(Bytes(para), Bytes(Numbered<tagCorrectWideScanPara>()));
    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(PtzWindowTest, AnUnknownDrawTypeRefusesEveryWriteBeforeTheEngineIsAsked)
{
    for (const int drawType : {2, 5, -1, INT32_MIN}) {
        Open(1, 0x300, drawType);
        tagCorrectPtzPara para{};
        EXPECT_EQ(m_view.SetCorrectPara(para), -1);
        EXPECT_THAT(
            Lines(),
            ElementsAre(Warning(
                "[  CLS_PTZSubPlayer::SetCorrectPara n_DrawType_Rect != m_iDrawType & n_DrawType_Fec != m_iDrawType")));
        EXPECT_THAT(Calls(), IsEmpty());
    }
}

TEST_F(PtzWindowTest, ARefusedWriteOfAnUnknownDrawTypeHasClearedTheOutline)
{
    Open(1, 0x400, 2);
    m_view.SetRectDraw(STRUCT_FecPtzParam{});
    QVector<QVector<STRUCT_DrawPoint>> outline;
    m_view.GetPTZDrawData(outline);
    ASSERT_EQ(outline.size(), 4);
    tagCorrectPtzPara para{};
    EXPECT_EQ(m_view.SetCorrectPara(para), -1);
    m_view.GetPTZDrawData(outline);
    EXPECT_EQ(outline.size(), 0);
}

// Zoom steps.

struct ZoomStep
{
    const char* name;
    int before;
    int step;
    int after;

    friend std::ostream& operator<<(std::ostream& out, const ZoomStep& row)
    {
        return out << row.name;
    }
};

class PtzZoom : public PtzTest, public ::testing::WithParamInterface<ZoomStep>
{};

TEST_P(PtzZoom, ChangesTheZoomFieldAlone)
{
    const ZoomStep& row = GetParam();
    Open(1);
    EngineHolds(PtzRecord(123, -456, row.before));
    EXPECT_EQ(m_view.Zoom(row.step), 0);
    EXPECT_EQ(Written(), PtzRecord(123, -456, row.after));
    EXPECT_EQ(m_view.m_stCreatePara.iPTZZoom, row.after);
    EXPECT_EQ(m_view.m_stCreatePara.iPTZPositionX, 4000);
    EXPECT_EQ(m_view.m_stCreatePara.iPTZPositionY, 6000);
    EXPECT_EQ(m_view.m_dPtzX, 0.0);
    EXPECT_EQ(m_view.m_dPtzY, 0.0);
    EXPECT_THAT(Lines(), IsEmpty());
    EXPECT_THAT(fake::Names(), ElementsAre("RV_GetFishEyeCorrectPara", "RV_SetFishEyeCorrectPara"));
}

INSTANTIATE_TEST_SUITE_P(
    PTZSubPlayer, PtzZoom,
    ::testing::Values(ZoomStep{"OneStepIsFiveUnits", 10000, 1, 9995},
                      ZoomStep{"StopsAtTheWidest", 9990, -10, 10000},
                      ZoomStep{"ReachesTheWidest", 9990, -2, 10000},
                      ZoomStep{"HasNoLowerLimit", 10000, 3000, -5000},
                      ZoomStep{"GoesOnBelowZero", -5000, 1, -5005},
                      ZoomStep{"NothingIsNothing", 4321, 0, 4321},
                      ZoomStep{"FromBeyondTheWidestItComesBack", 20000, 0, 10000},
                      ZoomStep{"TheProductWraps", 10000, INT32_MAX, -2147473643},
                      ZoomStep{"TheLeastStepWraps", 10000, INT32_MIN, -2147473648},
                      ZoomStep{"TheDifferenceWraps", INT32_MIN, 1, 10000}),
    [](const ::testing::TestParamInfo<ZoomStep>& info) { return info.param.name; });

TEST_F(PtzWindowTest, AZoomReadsIntoAClearedRecord)
{
    Open(1);
    m_view.Zoom(1);
    EXPECT_EQ(fake::CallsOf("RV_GetFishEyeCorrectPara").at(0).records[0], std::string(32, '\0'));
}

TEST_F(PtzWindowTest, AZoomThatCannotReadHandsTheResultOnAndChangesNothing)
{
    Open(1);
    fake::Next("RV_GetFishEyeCorrectPara", -4);
    EXPECT_EQ(m_view.Zoom(1), -4);
    EXPECT_THAT(Lines(), ElementsAre(Warning(WithValue(
                             "[  CLS_PTZSubPlayer::Zoom GetCorrectPara fail iRet = ", -4))));
    EXPECT_THAT(fake::Names(), ElementsAre("RV_GetFishEyeCorrectPara"));
    EXPECT_EQ(m_view.m_stCreatePara.iPTZZoom, 9000);
}

TEST_F(PtzWindowTest, AZoomWithoutAMainPlayerLogsTheReadFirst)
{
    EXPECT_EQ(m_view.Zoom(1), -1);
    EXPECT_THAT(Lines(),
                ElementsAre(Warning("[  CLS_PTZSubPlayer::GetCorrectPara m_iMainPlayId < 0 ]"),
                            Warning(WithValue(
                                "[  CLS_PTZSubPlayer::Zoom GetCorrectPara fail iRet = ", -1))));
}

TEST_F(PtzWindowTest, AZoomHandsTheWritesResultOnWithoutALineAndKeepsTheStoredZoom)
{
    Open(1);
    for (const int result : {3, -2, -6}) {
        EngineHolds(PtzRecord(1, 2, 1000 + result));
        fake::Next("RV_SetFishEyeCorrectPara", result);
        EXPECT_EQ(m_view.Zoom(1), result);
        EXPECT_EQ(m_view.m_stCreatePara.iPTZZoom, 995 + result);
    }
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(PtzWindowTest, AZoomOfAnUnknownDrawTypeStoresTheZoomAndIsRefused)
{
    Open(1, 0x400, 2);
    EngineHolds(PtzRecord(1, 2, 1000));
    EXPECT_EQ(m_view.Zoom(1), -1);
    EXPECT_EQ(m_view.m_stCreatePara.iPTZZoom, 995);
    EXPECT_THAT(fake::Names(), ElementsAre("RV_GetFishEyeCorrectPara"));
}

TEST_F(PtzWindowTest, TheOutlineOfAZoomIsDrawnWithTheNewZoom)
{
    Open(1, 0x400, n_DrawType_Fec);
    EngineHolds(PtzRecord(1, 2, 5000));
    m_view.Zoom(100);
    const fake::Call outline = fake::CallsOf("VxAlgo_FCU_Process").at(0);
    EXPECT_EQ(outline.records[0].substr(28, 4), RecordBytes(4).Float(0, 0.45F));
    EXPECT_THAT(fake::Names(), ElementsAre("RV_GetFishEyeCorrectPara", "VxAlgo_FCU_Process",
                                           "RV_SetFishEyeCorrectPara"));
}

}  // namespace
