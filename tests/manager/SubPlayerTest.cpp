// The base of the views: creation, deletion and callback of a correction window, the harmless
// defaults, and the two views that have no window of their own in the engine.
#include <stdexcept>

#include "VideoPlayer_FishEye/feplayer/CLS_180ViewSubPlayer.h"
#include "VideoPlayer_FishEye/feplayer/CLS_360ViewSubPlayer.h"
#include "VideoPlayer_FishEye/feplayer/CLS_FishEyeSubPlayer.h"
#include "VideoPlayer_FishEye/feplayer/CLS_LATViewSubPlayer.h"
#include "VideoPlayer_FishEye/feplayer/CLS_SourceSubPlayer.h"
#include "tests/manager/ViewProbe.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

void* const CONST_NO_HANDLE = nullptr;

void OnPicture(int, int, void*, unsigned int, unsigned int, void*) {}

/// Identity of a view that nobody has created.
template <class View>
void ExpectUntouched(const Probe<View>& view)
{
    EXPECT_EQ(view.m_iMainPlayId, -1);
    EXPECT_EQ(view.m_iSubPlayId, -1);
    EXPECT_EQ(view.m_pWindow, nullptr);
    EXPECT_EQ(view.m_pFcuHandle, nullptr);
    EXPECT_EQ(Bytes(view.m_stCreatePara), std::string(88, '\0'));
    EXPECT_EQ(view.m_iCreateType, 0);
    EXPECT_EQ(view.m_iCorrectMode, 0);
    EXPECT_EQ(view.m_dPtzX, 0.0);
    EXPECT_EQ(view.m_dPtzY, 0.0);
}

/// What CreatePlayer is given; a row of a refusal changes one of it.
struct Creation
{
    const char* name;
    bool handle;
    int mainId;
    bool window;
    bool idPointer;
    std::string text;

    friend std::ostream& operator<<(std::ostream& out, const Creation& row)
    {
        return out << row.name;
    }
};

template <class View>
void ExpectRefusedCreation(const Creation& row)
{
    Probe<View> view;
    void* const handle = row.handle ? fake::Handle() : nullptr;
    int id = 77;
    EXPECT_EQ(view.CreatePlayer(handle, row.mainId, Numbered<tagCreateCorrectPara>(),
                                row.window ? Window(5) : nullptr, row.idPointer ? &id : nullptr),
              -1);
    EXPECT_EQ(id, 77);
    ExpectUntouched(view);
}

std::string RowName(const ::testing::TestParamInfo<Creation>& info)
{
    return info.param.name;
}

// Each row is wrong in the argument of its name and in all the later ones: the order decides.

class BaseCreationRefused : public ManagerTest, public ::testing::WithParamInterface<Creation>
{};

TEST_P(BaseCreationRefused, WithItsTextWithoutAnEngineCallOrAChange)
{
    ExpectRefusedCreation<CLS_SubPlayer>(GetParam());
    EXPECT_EQ(Lines().front(), Warning(GetParam().text));
    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_P(BaseCreationRefused, AlikeForThe180DegreeView)
{
    ExpectRefusedCreation<CLS_180ViewSubPlayer>(GetParam());
    EXPECT_THAT(Lines(),
                ElementsAre(Warning(GetParam().text),
                            Warning("[  CLS_SubPlayer::SetFecCallBackFunc m_iMainPlayId < 0 ]"),
                            Warning("[  CLS_SubPlayer::DeletePlayer m_iMainPlayId < 0 ]")));
    EXPECT_THAT(Calls(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    SubPlayer, BaseCreationRefused,
    ::testing::Values(Creation{"NullHandle", false, -1, false, false,
                               "[  CLS_SubPlayer::CreatePlayer nullptr == _pfcuHandle ]"},
                      Creation{"NegativeMainId", true, -1, false, false,
                               "[  CLS_SubPlayer::CreatePlayer _iMainPlayerId < 0 ]"},
                      Creation{"LeastMainId", true, INT32_MIN, true, true,
                               "[  CLS_SubPlayer::CreatePlayer _iMainPlayerId < 0 ]"},
                      Creation{"NullWindow", true, 0, false, false,
                               "[  CLS_SubPlayer::CreatePlayer nullptr == _pWindow ]"},
                      Creation{"NullIdPointer", true, 0, true, false,
                               "[  CLS_SubPlayer::CreatePlayer nullptr == _piSubPlayerId ]"}),
    RowName);

class FishEyeCreationRefused : public ManagerTest, public ::testing::WithParamInterface<Creation>
{};

TEST_P(FishEyeCreationRefused, WithItsOwnText)
{
    ExpectRefusedCreation<CLS_FishEyeSubPlayer>(GetParam());
    EXPECT_EQ(Lines().front(), Warning(GetParam().text));
    EXPECT_THAT(Calls(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    FishEyeSubPlayer, FishEyeCreationRefused,
    ::testing::Values(Creation{"NullHandle", false, -1, false, false,
                               "[  CLS_FishEyeSubPlayer::CreatePlayer nullptr == _pfcuHandle ]"},
                      Creation{"NegativeMainId", true, -1, false, false,
                               "[  CLS_FishEyeSubPlayer::CreatePlayer _iMainPlayerId < 0 ]"},
                      Creation{"NullWindow", true, 0, false, false,
                               "[  CLS_FishEyeSubPlayer::CreatePlayer nullptr == _pWindow ]"},
                      Creation{
                          "NullIdPointer", true, 0, true, false,
                          "[  CLS_FishEyeSubPlayer::CreatePlayer nullptr == _piSubPlayerId ]"}),
    RowName);

class SubPlayerTest : public ManagerTest
{
protected:
    /// Creates a view on engine player 7 and window 5; lines and calls stay behind.
    template <class View>
    int Create(View& view, tagCreateCorrectPara para = Numbered<tagCreateCorrectPara>())
    {
        return view.CreatePlayer(m_pHandle, 7, para, Window(5), &m_iId);
    }

    void* m_pHandle = fake::Handle();
    int m_iId = 77;
};

TEST_F(SubPlayerTest, StartsWithoutIdentity)
{
    Probe<CLS_SubPlayer> view;
    ExpectUntouched(view);
    EXPECT_EQ(view.GetSubPlayId(), -1);
    EXPECT_THAT(Lines(), IsEmpty());
    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(SubPlayerTest, A180ViewWithANullWindowIsRefusedBeforeTheEngineIsAsked)
{
    CLS_180ViewSubPlayer view;
    EXPECT_EQ(view.CreatePlayer(m_pHandle, 7, tagCreateCorrectPara{}, nullptr, &m_iId), -1);
    EXPECT_THAT(Lines(),
                ElementsAre(Warning("[  CLS_SubPlayer::CreatePlayer nullptr == _pWindow ]")));
    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(SubPlayerTest, CreationHandsTheWholeRecordToTheEngine)
{
    Probe<CLS_SubPlayer> view;
    EXPECT_EQ(Create(view), 0);
    const std::vector<fake::Call> calls = Calls();
    ASSERT_THAT(calls, SizeIs(1));
    EXPECT_EQ(calls[0].name, "RV_CreateFishEyeCorrect");
    EXPECT_EQ(calls[0].Int(0), 7);
    EXPECT_EQ(calls[0].Int(2), 88);
    EXPECT_EQ(calls[0].Pointer<void>(3), Window(5));
    EXPECT_EQ(calls[0].Pointer<int>(4), &m_iId);
    EXPECT_EQ(calls[0].records[0], Bytes(Numbered<tagCreateCorrectPara>()));
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(SubPlayerTest, CreationTakesTheIdentityAndWritesTheCorrectionIdInBothPlaces)
{
    Probe<CLS_SubPlayer> view;
    EXPECT_EQ(Create(view), 0);
    EXPECT_EQ(m_iId, 11);
    EXPECT_EQ(view.GetSubPlayId(), 11);
    EXPECT_EQ(view.m_iSubPlayId, 11);
    EXPECT_EQ(view.m_iMainPlayId, 7);
    EXPECT_EQ(view.m_pWindow, Window(5));
    EXPECT_EQ(view.m_pFcuHandle, m_pHandle);
    EXPECT_EQ(view.m_iCreateType, 0x08070605);   // bytes 4 to 7
    EXPECT_EQ(view.m_iCorrectMode, 0x0C0B0A09);  // bytes 8 to 11
    EXPECT_EQ(Bytes(view.m_stCreatePara), Bytes(Numbered<tagCreateCorrectPara>()));
    EXPECT_EQ(view.m_dPtzX, 0.0);
    EXPECT_EQ(view.m_dPtzY, 0.0);
}

TEST_F(SubPlayerTest, TheIdWrittenLastIsTheEnginesResult)
{
    fake::Next("RV_CreateFishEyeCorrect", [](const fake::Call& call) {
        *call.Pointer<int>(4) = 1234;
        return 0;
    });
    CLS_SubPlayer view;
    EXPECT_EQ(Create(view), 0);
    EXPECT_EQ(m_iId, 0);
    EXPECT_EQ(view.GetSubPlayId(), 0);
}

TEST_F(SubPlayerTest, TheRecordIsKeptAsTheEngineHasChangedIt)
{
    const std::string changed = RecordBytes(88).Int(4, 2).Int(8, 0x300).Int(84, -9);
    fake::Next("RV_CreateFishEyeCorrect", [changed](const fake::Call& call) {
        std::memcpy(call.Pointer<char>(1), changed.data(), changed.size());
        return 21;
    });
    Probe<CLS_SubPlayer> view;
    EXPECT_EQ(Create(view), 0);
    EXPECT_EQ(Bytes(view.m_stCreatePara), changed);
    EXPECT_EQ(view.m_iCreateType, 2);
    EXPECT_EQ(view.m_iCorrectMode, 0x300);
}

TEST_F(SubPlayerTest, ANegativeEngineResultIsLoggedAndHandedOnWithoutAChange)
{
    fake::Next("RV_CreateFishEyeCorrect", -5);
    Probe<CLS_SubPlayer> view;
    EXPECT_EQ(Create(view), -5);
    EXPECT_THAT(
        Lines(),
        ElementsAre(Warning(WithValue(
            "[  CLS_SubPlayer::CreatePlayer CLS_VxPlayer_SDK::RV_CreateFishEyeCorrect fail iRet = ",
            -5))));
    EXPECT_EQ(m_iId, 77);
    ExpectUntouched(view);
    EXPECT_EQ(view.GetSubPlayId(), -1);
}

TEST_F(SubPlayerTest, AnIdThatAFailingEngineWritesStands)
{
    fake::Next("RV_CreateFishEyeCorrect", [](const fake::Call& call) {
        *call.Pointer<int>(4) = 1234;
        return -5;
    });
    CLS_SubPlayer view;
    EXPECT_EQ(Create(view), -5);
    EXPECT_EQ(m_iId, 1234);
}

TEST_F(SubPlayerTest, ASecondCreationThatIsRefusedKeepsTheFirstIdentity)
{
    Probe<CLS_SubPlayer> view;
    Create(view);
    int other = 78;
    EXPECT_EQ(view.CreatePlayer(m_pHandle, -1, tagCreateCorrectPara{}, Window(6), &other), -1);
    fake::Next("RV_CreateFishEyeCorrect", -3);
    EXPECT_EQ(view.CreatePlayer(m_pHandle, 9, tagCreateCorrectPara{}, Window(6), &other), -3);
    EXPECT_EQ(view.m_iMainPlayId, 7);
    EXPECT_EQ(view.m_iSubPlayId, 11);
    EXPECT_EQ(view.m_pWindow, Window(5));
    EXPECT_EQ(Bytes(view.m_stCreatePara), Bytes(Numbered<tagCreateCorrectPara>()));
    EXPECT_EQ(other, 78);
}

TEST_F(SubPlayerTest, DeletionOfAViewNeverCreatedIsRefused)
{
    CLS_SubPlayer view;
    EXPECT_EQ(view.DeletePlayer(), -1);
    EXPECT_THAT(Lines(),
                ElementsAre(Warning("[  CLS_SubPlayer::DeletePlayer m_iMainPlayId < 0 ]")));
    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(SubPlayerTest, DeletionHandsTheEnginesResultOnAndKeepsTheIds)
{
    Probe<CLS_SubPlayer> view;
    Create(view);
    Calls();
    for (const int result : {0, 5, -6}) {
        fake::Next("RV_DeleteFishEyeCorrect", result);
        EXPECT_EQ(view.DeletePlayer(), result);
        EXPECT_THAT(Shown(Calls()), ElementsAre("RV_DeleteFishEyeCorrect(7, 11)"));
    }
    EXPECT_EQ(view.m_iMainPlayId, 7);
    EXPECT_EQ(view.GetSubPlayId(), 11);
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(SubPlayerTest, DeletionDoesNotTestTheCorrectionId)
{
    Probe<CLS_SubPlayer> view;
    view.m_iMainPlayId = 0;
    EXPECT_EQ(view.DeletePlayer(), 0);
    EXPECT_THAT(Shown(Calls()), ElementsAre("RV_DeleteFishEyeCorrect(0, -1)"));
}

TEST_F(SubPlayerTest, ACallbackIsRefusedWithoutAMainPlayer)
{
    Probe<CLS_SubPlayer> view;
    view.m_iSubPlayId = -1;
    EXPECT_EQ(view.SetFecCallBackFunc(OnPicture, nullptr), -1);
    EXPECT_THAT(Lines(),
                ElementsAre(Warning("[  CLS_SubPlayer::SetFecCallBackFunc m_iMainPlayId < 0 ]")));
    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(SubPlayerTest, ACallbackIsRefusedWithoutACorrection)
{
    Probe<CLS_SubPlayer> view;
    view.m_iMainPlayId = 0;
    EXPECT_EQ(view.SetFecCallBackFunc(OnPicture, nullptr), -1);
    EXPECT_THAT(Lines(),
                ElementsAre(Warning("[  CLS_SubPlayer::SetFecCallBackFunc m_iSubPlayId < 0 ]")));
    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(SubPlayerTest, ACallbackReachesTheEngineWithItsUserPointerAndTheResultComesBack)
{
    Probe<CLS_SubPlayer> view;
    view.m_iMainPlayId = 0;
    view.m_iSubPlayId = 0;
    for (const int result : {0, 4, -8}) {
        fake::Next("RV_SetFishEyeCorrectCallBack", result);
        EXPECT_EQ(view.SetFecCallBackFunc(OnPicture, this), result);
        EXPECT_THAT(Shown(Calls()),
                    ElementsAre(Shown("RV_SetFishEyeCorrectCallBack",
                                      {0, 0, reinterpret_cast<std::intptr_t>(&OnPicture),
                                       reinterpret_cast<std::intptr_t>(this)})));
    }
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(SubPlayerTest, DestructionClearsTheCallbackAndThenClosesTheWindow)
{
    {
        Probe<CLS_SubPlayer> view;
        Create(view);
        Calls();
    }
    EXPECT_THAT(Shown(Calls()), ElementsAre("RV_SetFishEyeCorrectCallBack(7, 11, 0, 0)",
                                            "RV_DeleteFishEyeCorrect(7, 11)"));
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(SubPlayerTest, DestructionIgnoresWhatTheEngineAnswers)
{
    fake::Always("RV_SetFishEyeCorrectCallBack", -1);
    fake::Always("RV_DeleteFishEyeCorrect", -1);
    {
        CLS_360ViewSubPlayer view;
        Create(view);
        Calls();
    }
    EXPECT_THAT(Shown(Calls()), ElementsAre("RV_SetFishEyeCorrectCallBack(7, 11, 0, 0)",
                                            "RV_DeleteFishEyeCorrect(7, 11)"));
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(SubPlayerTest, DestructionOfADeletedViewDeletesTheSameCorrectionOnceMore)
{
    {
        CLS_LATViewSubPlayer view;
        Create(view);
        Calls();
        view.DeletePlayer();
    }
    EXPECT_THAT(Shown(Calls()), ElementsAre("RV_DeleteFishEyeCorrect(7, 11)",
                                            "RV_SetFishEyeCorrectCallBack(7, 11, 0, 0)",
                                            "RV_DeleteFishEyeCorrect(7, 11)"));
}

TEST_F(SubPlayerTest, DestructionOfAViewWhoseCreationFailedLogsTwiceAndCallsNobody)
{
    fake::Next("RV_CreateFishEyeCorrect", -5);
    {
        CLS_180ViewSubPlayer view;
        Create(view);
        Lines();
        Calls();
    }
    EXPECT_THAT(Lines(),
                ElementsAre(Warning("[  CLS_SubPlayer::SetFecCallBackFunc m_iMainPlayId < 0 ]"),
                            Warning("[  CLS_SubPlayer::DeletePlayer m_iMainPlayId < 0 ]")));
    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(SubPlayerTest, DestructionThroughTheBaseRunsTheViewsOwnDestructor)
{
    CLS_SubPlayer* view = new CLS_PTZSubPlayer;
    Create(*view);
    Calls();
    delete view;
    EXPECT_THAT(Shown(Calls()), ElementsAre("RV_SetFishEyeCorrectCallBack(7, 11, 0, 0)",
                                            "RV_DeleteFishEyeCorrect(7, 11)"));
}

/// Destroys a view while the engine throws out of one of the two calls.
template <class View>
void DestroyWhileTheEngineThrows(const char* entry)
{
    fake::Next(entry, [](const fake::Call&) -> std::intptr_t { throw std::runtime_error("x"); });
    Probe<View> view;
    view.m_iMainPlayId = 7;
    view.m_iSubPlayId = 11;
}

TEST_F(SubPlayerTest, AnExceptionThatEscapesTheClearingOfTheCallbackEndsTheProcess)
{
    EXPECT_DEATH(DestroyWhileTheEngineThrows<CLS_180ViewSubPlayer>("RV_SetFishEyeCorrectCallBack"),
                 "");
}

TEST_F(SubPlayerTest, AnExceptionThatEscapesTheDeletionEndsTheProcess)
{
    EXPECT_DEATH(DestroyWhileTheEngineThrows<CLS_180ViewSubPlayer>("RV_DeleteFishEyeCorrect"), "");
}

// The defaults: accepted, and nothing happens.

/// Sends every operation that the base accepts; none may touch what it is given.
void ExpectEverythingIsAccepted(CLS_SubPlayer& view)
{
    QVector<QVector<STRUCT_DrawPoint>> outline{{{0.5F, 0.25F}}};
    EXPECT_EQ(view.GetPTZDrawData(outline), 0);
    EXPECT_EQ(outline.size(), 1);
    EXPECT_EQ(view.CreatePtzDraw(CONST_NO_HANDLE, Numbered<tagCreateCorrectPara>(), 0), 0);
    EXPECT_EQ(view.Move(STRUCT_CtlPointParam{1, 2, 30, 40}, STRUCT_FishWindowRect{0, 0}), 0);
    EXPECT_EQ(view.Move(INT32_MIN, INT32_MAX, STRUCT_FishWindowRect{0, -1}), 0);
    EXPECT_EQ(view.Zoom(3), 0);
    EXPECT_EQ(view.PTZCtl({1, 2, 3}, n_PTZCtl_RightDown), 0);
    auto ptz = Numbered<tagCorrectPtzPara>();
    auto wide = Numbered<tagCorrectWideScanPara>();
    EXPECT_EQ(view.GetCorrectPara(ptz), 0);
    EXPECT_EQ(view.GetCorrectPara(wide), 0);
    EXPECT_EQ(view.SetCorrectPara(ptz), 0);
    EXPECT_EQ(view.SetCorrectPara(wide), 0);
    EXPECT_EQ(Bytes(ptz), Bytes(Numbered<tagCorrectPtzPara>()));
    EXPECT_EQ(Bytes(wide), Bytes(Numbered<tagCorrectWideScanPara>()));
}

TEST_F(SubPlayerTest, EveryDefaultSucceedsSilentlyWithoutAnIdentity)
{
    Probe<CLS_SubPlayer> view;
    ExpectEverythingIsAccepted(view);
    ExpectUntouched(view);
    EXPECT_THAT(Lines(), IsEmpty());
    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(SubPlayerTest, EveryDefaultSucceedsSilentlyOnACreatedView)
{
    Probe<CLS_SubPlayer> view;
    Create(view);
    Calls();
    ExpectEverythingIsAccepted(view);
    EXPECT_EQ(Bytes(view.m_stCreatePara), Bytes(Numbered<tagCreateCorrectPara>()));
    EXPECT_EQ(view.m_pFcuHandle, m_pHandle);
    EXPECT_THAT(Lines(), IsEmpty());
    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(SubPlayerTest, ASourceViewAcceptsEveryCommandSilently)
{
    Probe<CLS_SourceSubPlayer> view;
    Create(view);
    ExpectEverythingIsAccepted(view);
    EXPECT_THAT(Lines(), IsEmpty());
    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(SubPlayerTest, AFishEyeViewAcceptsEveryCommandSilently)
{
    Probe<CLS_FishEyeSubPlayer> view;
    Create(view);
    ExpectEverythingIsAccepted(view);
    EXPECT_THAT(Lines(), IsEmpty());
    EXPECT_THAT(Calls(), IsEmpty());
}

// The source view.

TEST_F(SubPlayerTest, ASourceViewIsCreatedWithoutACheckOrAnEngineCall)
{
    Probe<CLS_SourceSubPlayer> view;
    EXPECT_EQ(
        view.CreatePlayer(CONST_NO_HANDLE, -9, Numbered<tagCreateCorrectPara>(), nullptr, nullptr),
        0);
    EXPECT_EQ(view.m_iMainPlayId, -9);
    EXPECT_EQ(view.m_pFcuHandle, nullptr);
    EXPECT_EQ(view.m_pWindow, nullptr);
    EXPECT_EQ(view.GetSubPlayId(), -1);
    EXPECT_THAT(Lines(), IsEmpty());
    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(SubPlayerTest, ASourceViewTakesTheIdentityButNeitherTheRecordNorAnId)
{
    Probe<CLS_SourceSubPlayer> view;
    EXPECT_EQ(Create(view), 0);
    EXPECT_EQ(m_iId, 77);
    EXPECT_EQ(view.m_iMainPlayId, 7);
    EXPECT_EQ(view.m_iSubPlayId, -1);
    EXPECT_EQ(view.m_pWindow, Window(5));
    EXPECT_EQ(view.m_pFcuHandle, m_pHandle);
    EXPECT_EQ(view.m_iCreateType, 0x08070605);
    EXPECT_EQ(view.m_iCorrectMode, 0x0C0B0A09);
    EXPECT_EQ(Bytes(view.m_stCreatePara), std::string(88, '\0'));
}

TEST_F(SubPlayerTest, DeletionOfASourceViewAsksTheEngineToDeleteCorrectionMinusOne)
{
    CLS_SourceSubPlayer view;
    Create(view);
    fake::Next("RV_DeleteFishEyeCorrect", -4);
    EXPECT_EQ(view.DeletePlayer(), -4);
    EXPECT_THAT(Shown(Calls()), ElementsAre("RV_DeleteFishEyeCorrect(7, -1)"));
}

TEST_F(SubPlayerTest, DestructionOfASourceViewLogsTheMissingCorrectionAndDeletesMinusOne)
{
    {
        CLS_SourceSubPlayer view;
        Create(view);
    }
    EXPECT_THAT(Lines(),
                ElementsAre(Warning("[  CLS_SubPlayer::SetFecCallBackFunc m_iSubPlayId < 0 ]")));
    EXPECT_THAT(Shown(Calls()), ElementsAre("RV_DeleteFishEyeCorrect(7, -1)"));
}

// The fisheye view.

TEST_F(SubPlayerTest, AFishEyeViewTakesTheIdentityAndTheRecordButNoId)
{
    Probe<CLS_FishEyeSubPlayer> view;
    EXPECT_EQ(Create(view), 0);
    EXPECT_EQ(m_iId, 77);
    EXPECT_EQ(view.GetSubPlayId(), -1);
    EXPECT_EQ(view.m_iMainPlayId, 7);
    EXPECT_EQ(view.m_pWindow, Window(5));
    EXPECT_EQ(view.m_pFcuHandle, m_pHandle);
    EXPECT_EQ(view.m_iCreateType, 0x08070605);
    EXPECT_EQ(view.m_iCorrectMode, 0x0C0B0A09);
    EXPECT_EQ(Bytes(view.m_stCreatePara), Bytes(Numbered<tagCreateCorrectPara>()));
    EXPECT_THAT(Lines(), IsEmpty());
    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(SubPlayerTest, AFishEyeViewOfMainPlayer0IsTaken)
{
    Probe<CLS_FishEyeSubPlayer> view;
    EXPECT_EQ(view.CreatePlayer(m_pHandle, 0, tagCreateCorrectPara{}, Window(5), &m_iId), 0);
    EXPECT_EQ(view.m_iMainPlayId, 0);
}

TEST_F(SubPlayerTest, DeletionOfAFishEyeViewDoesNothing)
{
    CLS_FishEyeSubPlayer never;
    EXPECT_EQ(never.DeletePlayer(), 0);
    CLS_FishEyeSubPlayer view;
    Create(view);
    EXPECT_EQ(view.DeletePlayer(), 0);
    EXPECT_THAT(Lines(), IsEmpty());
    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(SubPlayerTest, DestructionOfAFishEyeViewRunsTheBasesDeletionNotItsOwn)
{
    {
        CLS_FishEyeSubPlayer view;
        Create(view);
    }
    EXPECT_THAT(Lines(),
                ElementsAre(Warning("[  CLS_SubPlayer::SetFecCallBackFunc m_iSubPlayId < 0 ]")));
    EXPECT_THAT(Shown(Calls()), ElementsAre("RV_DeleteFishEyeCorrect(7, -1)"));
}

}  // namespace
