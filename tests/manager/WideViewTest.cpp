// The 180-degree, 360-degree and "LAT" views.
#include <cmath>
#include <limits>

#include "VideoPlayer_FishEye/feplayer/CLS_180ViewSubPlayer.h"
#include "VideoPlayer_FishEye/feplayer/CLS_360ViewSubPlayer.h"
#include "VideoPlayer_FishEye/feplayer/CLS_LATViewSubPlayer.h"
#include "tests/manager/ViewProbe.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

/// What the two wide views differ in.
struct View180
{
    using View = CLS_180ViewSubPlayer;
    static std::string Text(const std::string& rest) { return "[  CLS_180ViewSubPlayer::" + rest; }
};

struct View360
{
    using View = CLS_360ViewSubPlayer;
    static std::string Text(const std::string& rest) { return "[  CLS_360ViewSubPlayer::" + rest; }
};

struct ViewName
{
    template <class T>
    static std::string GetName(int)
    {
        return T::Text("").substr(7, 3);
    }
};

std::string WideRecord(std::int32_t scanParam, float angle)
{
    return RecordBytes(8).Int(0, scanParam).Float(4, angle);
}

/// A wide view of engine player 7, correction 11.
template <class T>
class WideViewTest : public ManagerTest
{
protected:
    WideViewTest()
    {
        m_view.m_iMainPlayId = 7;
        m_view.m_iSubPlayId = 11;
    }

    Probe<typename T::View> m_view;
};

using Views = ::testing::Types<View180, View360>;
TYPED_TEST_SUITE(WideViewTest, Views, ViewName);

TYPED_TEST(WideViewTest, ReadsTheRecordWithKind3AndSize8)
{
    for (const int result : {0, 6, -4}) {
        fake::Next("RV_GetFishEyeCorrectPara", result);
        auto para = Numbered<tagCorrectWideScanPara>();
        EXPECT_EQ(this->m_view.GetCorrectPara(para), result);
        EXPECT_THAT(Shown(this->Calls()),
                    ElementsAre(Shown("RV_GetFishEyeCorrectPara",
                                      {7, 11, 3, reinterpret_cast<std::intptr_t>(&para), 8})));
    }
    EXPECT_THAT(this->Lines(), IsEmpty());
}

TYPED_TEST(WideViewTest, WritesTheRecordWithKind3AndSize8)
{
    for (const int result : {0, 6, -4}) {
        fake::Next("RV_SetFishEyeCorrectPara", result);
        auto para = Numbered<tagCorrectWideScanPara>();
        EXPECT_EQ(this->m_view.SetCorrectPara(para), result);
        EXPECT_EQ(Written(), Bytes(Numbered<tagCorrectWideScanPara>()));
        EXPECT_THAT(Shown(this->Calls()),
                    ElementsAre(Shown("RV_SetFishEyeCorrectPara",
                                      {7, 11, 3, reinterpret_cast<std::intptr_t>(&para), 8})));
    }
    EXPECT_THAT(this->Lines(), IsEmpty());
}

TYPED_TEST(WideViewTest, ExchangesParametersWithoutTestingTheCorrectionId)
{
    this->m_view.m_iSubPlayId = -1;
    tagCorrectWideScanPara para{};
    EXPECT_EQ(this->m_view.GetCorrectPara(para), 0);
    EXPECT_EQ(this->m_view.SetCorrectPara(para), 0);
    const std::vector<fake::Call> calls = this->Calls();
    ASSERT_THAT(calls, SizeIs(2));
    EXPECT_EQ(calls[0].Int(1), -1);
    EXPECT_EQ(calls[1].Int(1), -1);
}

TYPED_TEST(WideViewTest, RefusesToReadWithoutAMainPlayer)
{
    this->m_view.m_iMainPlayId = -1;
    auto para = Numbered<tagCorrectWideScanPara>();
    EXPECT_EQ(this->m_view.GetCorrectPara(para), -1);
    EXPECT_EQ(Bytes(para), Bytes(Numbered<tagCorrectWideScanPara>()));
    EXPECT_THAT(this->Lines(),
                ElementsAre(Warning(TypeParam::Text("GetCorrectPara m_iMainPlayId < 0 ]"))));
    EXPECT_THAT(this->Calls(), IsEmpty());
}

TYPED_TEST(WideViewTest, RefusesToWriteWithoutAMainPlayer)
{
    this->m_view.m_iMainPlayId = -1;
    tagCorrectWideScanPara para{};
    EXPECT_EQ(this->m_view.SetCorrectPara(para), -1);
    EXPECT_THAT(this->Lines(),
                ElementsAre(Warning(TypeParam::Text("SetCorrectPara m_iMainPlayId < 0 ]"))));
    EXPECT_THAT(this->Calls(), IsEmpty());
}

TYPED_TEST(WideViewTest, MovesInMainPlayer0)
{
    this->m_view.m_iMainPlayId = 0;
    EXPECT_EQ(this->m_view.Move(1, 0, {10, 10}), 0);
    EXPECT_THAT(fake::Names(), ElementsAre("RV_GetFishEyeCorrectPara", "RV_SetFishEyeCorrectPara"));
}

TYPED_TEST(WideViewTest, RefusesAWindowWithoutAnExtentBeforeTheEngineIsAsked)
{
    const STRUCT_FishWindowRect rects[] = {{0, 480},  {640, 0},         {-1, 480},
                                           {640, -5}, {INT32_MIN, 480}, {0, 0}};
    for (const STRUCT_FishWindowRect& rect : rects) {
        EXPECT_EQ(this->m_view.Move(64, 0, rect), -1);
        EXPECT_THAT(this->Lines(),
                    ElementsAre(Warning(WithValues(
                        TypeParam::Text(
                            "Move _rect.m_iWidth <= 0 || _rect.m_iHeight <= 0  _rect.m_iWidth = "),
                        rect.m_iWidth, " _rect.m_iHeight = ", rect.m_iHeight))));
        EXPECT_THAT(this->Calls(), IsEmpty());
    }
}

TYPED_TEST(WideViewTest, TestsTheWindowBeforeTheMainPlayer)
{
    this->m_view.m_iMainPlayId = -1;
    EXPECT_EQ(this->m_view.Move(64, 0, {0, 0}), -1);
    EXPECT_THAT(this->Lines(), SizeIs(1));
}

TYPED_TEST(WideViewTest, AMoveThatCannotReadGivesMinusOneAndWritesNothing)
{
    fake::Next("RV_GetFishEyeCorrectPara", -6);
    EXPECT_EQ(this->m_view.Move(64, 0, {640, 480}), -1);
    EXPECT_THAT(
        this->Lines(),
        ElementsAre(Warning(WithValue(TypeParam::Text("Move GetCorrectPara fail iRet = "), -6))));
    EXPECT_THAT(fake::Names(), ElementsAre("RV_GetFishEyeCorrectPara"));
}

TYPED_TEST(WideViewTest, AMoveWithoutAMainPlayerLogsTheReadFirst)
{
    this->m_view.m_iMainPlayId = -1;
    EXPECT_EQ(this->m_view.Move(64, 0, {640, 480}), -1);
    EXPECT_THAT(
        this->Lines(),
        ElementsAre(Warning(TypeParam::Text("GetCorrectPara m_iMainPlayId < 0 ]")),
                    Warning(WithValue(TypeParam::Text("Move GetCorrectPara fail iRet = "), -1))));
    EXPECT_THAT(this->Calls(), IsEmpty());
}

TYPED_TEST(WideViewTest, AMoveReadsIntoAClearedRecord)
{
    this->m_view.Move(64, 0, {640, 480});
    EXPECT_EQ(fake::CallsOf("RV_GetFishEyeCorrectPara").at(0).records[0], std::string(8, '\0'));
}

TYPED_TEST(WideViewTest, AMoveHandsTheWritesResultOnWithoutALine)
{
    for (const int result : {9, -2, -7}) {
        fake::Next("RV_SetFishEyeCorrectPara", result);
        EXPECT_EQ(this->m_view.Move(64, 0, {640, 480}), result);
    }
    EXPECT_THAT(this->Lines(), IsEmpty());
}

TYPED_TEST(WideViewTest, APositiveReadResultIsNoFailure)
{
    fake::Next("RV_GetFishEyeCorrectPara", 5);
    EXPECT_EQ(this->m_view.Move(64, 0, {640, 480}), 0);
    EXPECT_THAT(fake::CallsOf("RV_SetFishEyeCorrectPara"), SizeIs(1));
}

TYPED_TEST(WideViewTest, TheEnginesOwnFieldComesBackUnchanged)
{
    EngineHolds(WideRecord(0x12345678, 0.0F));
    this->m_view.Move(0, 0, {640, 480});
    EXPECT_EQ(Written(), WideRecord(0x12345678, 0.0F));
}

TYPED_TEST(WideViewTest, TheVerticalPartOfADragIsIgnored)
{
    EngineHolds(WideRecord(0, 45.0F));
    this->m_view.Move(0, 300, {640, 480});
    EXPECT_EQ(Written(), WideRecord(0, 45.0F));
}

TYPED_TEST(WideViewTest, ADragOfTheWholeWidthTurnsItOnceAround)
{
    EngineHolds(WideRecord(0, 45.0F));
    this->m_view.Move(640, 0, {640, 1});
    EXPECT_EQ(Written(), WideRecord(0, 45.0F));
}

TYPED_TEST(WideViewTest, OtherCommandsAreAcceptedAndChangeNothing)
{
    CLS_SubPlayer& view = this->m_view;
    auto para = Numbered<tagCorrectPtzPara>();
    EXPECT_EQ(view.Move(STRUCT_CtlPointParam{0, 0, 64, 0}, STRUCT_FishWindowRect{0, 0}), 0);
    EXPECT_EQ(view.Zoom(5), 0);
    EXPECT_EQ(view.PTZCtl({1, 2, 3}, n_PTZCtl_Left), 0);
    EXPECT_EQ(view.GetCorrectPara(para), 0);
    EXPECT_EQ(view.SetCorrectPara(para), 0);
    EXPECT_EQ(Bytes(para), Bytes(Numbered<tagCorrectPtzPara>()));
    EXPECT_THAT(this->Lines(), IsEmpty());
    EXPECT_THAT(this->Calls(), IsEmpty());
}

TYPED_TEST(WideViewTest, IsCreatedInTheEngineByTheBase)
{
    typename TypeParam::View view;
    void* const handle = fake::Handle();
    int id = -1;
    EXPECT_EQ(view.CreatePlayer(handle, 7, Numbered<tagCreateCorrectPara>(), Window(5), &id), 0);
    EXPECT_EQ(id, 11);
    const std::vector<fake::Call> calls = this->Calls();
    ASSERT_THAT(calls, SizeIs(1));
    EXPECT_EQ(calls[0].name, "RV_CreateFishEyeCorrect");
    EXPECT_EQ(calls[0].records[0], Bytes(Numbered<tagCreateCorrectPara>()));
}

/// A drag, and the angle before and after it.
struct Turn
{
    const char* name;
    float before;
    int drag;
    int width;
    float after;

    friend std::ostream& operator<<(std::ostream& out, const Turn& row) { return out << row.name; }
};

std::string TurnName(const ::testing::TestParamInfo<Turn>& info)
{
    return info.param.name;
}

template <class View>
void ExpectTurn(const Turn& row)
{
    EngineHolds(WideRecord(-5, row.before));
    Probe<View> view;
    view.m_iMainPlayId = 7;
    view.m_iSubPlayId = 11;
    EXPECT_EQ(view.Move(row.drag, 9999, {row.width, 1}), 0);
    EXPECT_EQ(Written(), WideRecord(-5, row.after));
}

constexpr float CONST_INFINITY = std::numeric_limits<float>::infinity();
constexpr float CONST_NAN = std::numeric_limits<float>::quiet_NaN();

class Turn180 : public ManagerTest, public ::testing::WithParamInterface<Turn>
{};

TEST_P(Turn180, GivesTheAngle)
{
    ExpectTurn<CLS_180ViewSubPlayer>(GetParam());
}

// 2147483647 % 180 is 127, 2147483648 % 180 is 128. 11930465 x 180 wraps to -2147483596, which as
// a float is -2147483648.
INSTANTIATE_TEST_SUITE_P(
    View180, Turn180,
    ::testing::Values(Turn{"BeyondTheSpanFoldsDown", 170.0F, 64, 640, 8.0F},
                      Turn{"BelowZeroStaysNegative", 10.0F, -128, 640, -26.0F},
                      Turn{"ExactlyTheSpanIsZero", 162.0F, 64, 640, 0.0F},
                      Turn{"ExactlyMinusTheSpanIsZero", -162.0F, -64, 640, 0.0F},
                      Turn{"BelowMinusTheSpanFoldsUp", -170.0F, -64, 640, -8.0F},
                      Turn{"LargestAngleInRange", 161.0F, 64, 640, 179.0F},
                      Turn{"ATinyDragLosesTheFractionOnly", 33.75F, 3, 1000, 33.0F},
                      Turn{"ATinyNegativeDragTruncatesTowardZero", 33.75F, -5, 1000, 33.0F},
                      Turn{"ANegativeFractionTruncatesTowardZero", -33.75F, 0, 1000, -33.0F},
                      Turn{"TheSumIsTruncatedNotItsParts", -0.5F, 20, 1000, 2.0F},
                      Turn{"AWindowOfOnePixel", 0.0F, 1, 1, 0.0F},
                      Turn{"TheProductWrapsAndIsAddedInSinglePrecision", 0.0F, 11930465, 1,
                           -128.0F},
                      Turn{"AnAngleBeyondInt32Saturates", 1e20F, 0, 640, 127.0F},
                      Turn{"AnAngleBelowInt32Saturates", -1e20F, 0, 640, -128.0F},
                      Turn{"InfinitySaturates", CONST_INFINITY, 5, 640, 127.0F},
                      Turn{"MinusInfinitySaturates", -CONST_INFINITY, 5, 640, -128.0F},
                      Turn{"NotANumberIsZero", CONST_NAN, 64, 640, 0.0F}),
    TurnName);

class Turn360 : public ManagerTest, public ::testing::WithParamInterface<Turn>
{};

TEST_P(Turn360, GivesTheAngle)
{
    ExpectTurn<CLS_360ViewSubPlayer>(GetParam());
}

INSTANTIATE_TEST_SUITE_P(View360, Turn360,
                         ::testing::Values(Turn{"ExactlyTheSpanIsZero", 359.0F, 2, 720, 0.0F},
                                           Turn{"BeyondTheSpanFoldsDown", 350.0F, 64, 640, 26.0F},
                                           Turn{"BelowZeroStaysNegative", 10.0F, -64, 640, -26.0F},
                                           Turn{"BeyondHalfItStays", 170.0F, 64, 640, 206.0F},
                                           Turn{"LargestAngleInRange", 323.0F, 64, 640, 359.0F},
                                           Turn{"ATinyDragLosesTheFractionOnly", 33.75F, 1, 1000,
                                                33.0F},
                                           Turn{"LargestDrag", 0.0F, INT32_MAX, 360, -1.0F},
                                           Turn{"LeastDrag", 0.0F, INT32_MIN, 1, 0.0F}),
                         TurnName);

// The "LAT" view.

TEST_F(ManagerTest, ABoundLatViewAnswersTheQueryWithoutTheEngine)
{
    Probe<CLS_LATViewSubPlayer> view;
    view.m_iMainPlayId = 0;
    auto para = Numbered<tagCorrectPtzPara>();
    EXPECT_EQ(view.GetCorrectPara(para), 0);
    EXPECT_EQ(Bytes(para), Bytes(Numbered<tagCorrectPtzPara>()));
    EXPECT_THAT(Lines(), IsEmpty());
    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(ManagerTest, AnUnboundLatViewRefusesTheQuery)
{
    CLS_LATViewSubPlayer view;
    auto para = Numbered<tagCorrectPtzPara>();
    EXPECT_EQ(view.GetCorrectPara(para), -1);
    EXPECT_EQ(Bytes(para), Bytes(Numbered<tagCorrectPtzPara>()));
    EXPECT_THAT(Lines(), ElementsAre(Warning(
                             "[  CLS_LATViewSubPlayer::GetCorrectPara m_iMainPlayId < 0 ]")));
    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(ManagerTest, ALatViewAcceptsEveryOtherCommand)
{
    Probe<CLS_LATViewSubPlayer> latView;
    CLS_SubPlayer& view = latView;
    auto ptz = Numbered<tagCorrectPtzPara>();
    auto wide = Numbered<tagCorrectWideScanPara>();
    EXPECT_EQ(view.Move(1, 2, STRUCT_FishWindowRect{0, 0}), 0);
    EXPECT_EQ(view.Move(STRUCT_CtlPointParam{}, STRUCT_FishWindowRect{0, 0}), 0);
    EXPECT_EQ(view.Zoom(5), 0);
    EXPECT_EQ(view.PTZCtl({1, 2, 3}, n_PTZCtl_Left), 0);
    EXPECT_EQ(view.GetCorrectPara(wide), 0);
    EXPECT_EQ(view.SetCorrectPara(wide), 0);
    EXPECT_EQ(view.SetCorrectPara(ptz), 0);
    EXPECT_THAT(Lines(), IsEmpty());
    EXPECT_THAT(Calls(), IsEmpty());
}

}  // namespace
