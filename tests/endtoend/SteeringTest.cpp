// Every command of the manager: what the engine then reports, what it then shows, and whether that
// is where a user wanted to go.
#include <cmath>
#include <ostream>
#include <string>

#include <gmock/gmock.h>

#include "optics/FisheyePicture.h"
#include "tests/endtoend/Stream.h"

namespace {

using endtoend::CONST_LIKE_THE_ROOM;
using endtoend::Stream;
using optics::Point;

constexpr endtoend::ViewName CONST_PTZ_VIEW{CORRECT_TYPE_PTZ, 0};
constexpr STRUCT_FishWindowRect CONST_WINDOW{640, 480};

/// How far something must go to count as having gone that way, in fractions of the view.
constexpr double CONST_WAY = 0.03;

int WayOf(double dShift)
{
    return dShift > CONST_WAY ? 1 : dShift < -CONST_WAY ? -1 : 0;
}

CLS_FishPlayer& Manager()
{
    return *CLS_FishPlayer::GetInstance();
}

/// The view on which the manager asks for drags of outlines: see CLS_PTZSubPlayer::GetFishPoint.
int WideKind(int iInstallation)
{
    return iInstallation == 1 ? CORRECT_TYPE_180 : CORRECT_TYPE_360;
}

/// Where the view's present centre lay in an earlier view.
Point CentreIn(const optics::View& stBefore, const optics::View& stNow)
{
    return stBefore.FractionUnbounded(*stNow.Direction({0.5, 0.5}));
}

class Steering : public testing::TestWithParam<int>
{
protected:
    Steering()
        : m_stream(GetParam(), WideKind(GetParam()),
                   {{CORRECT_TYPE_PTZ, 1}, {CORRECT_TYPE_180, 1}, {CORRECT_TYPE_360, 1}})
    {
        m_stream.Feed();
    }
    void SetUp() override { ASSERT_TRUE(m_stream.IsLaidOut()); }

    int Press(n_PTZCtlCmd enCommand, const STRUCT_CtlParam& stStep = {600, 500, 3000})
    {
        return Manager().FishPlayer_PTZCtl(m_stream.Id(), 0, stStep, enCommand);
    }

    Stream m_stream;
};
INSTANTIATE_TEST_SUITE_P(EachMount, Steering, testing::Values(1, 2, 3),
                         [](const auto& info) { return "type" + std::to_string(info.param); });

struct Button
{
    n_PTZCtlCmd enCommand;
    int iRight;  // -1, 0, 1
    int iUp;
    const char* szName;
};

TEST_P(Steering, ButtonsGoWhereTheyPoint)
{
    constexpr Button astButtons[] = {
        {n_PTZCtl_Right, 1, 0, "right"},          {n_PTZCtl_Up, 0, 1, "up"},
        {n_PTZCtl_Left, -1, 0, "left"},           {n_PTZCtl_Down, 0, -1, "down"},
        {n_PTZCtl_LeftUp, -1, 1, "left up"},      {n_PTZCtl_RightDown, 1, -1, "right down"},
        {n_PTZCtl_LeftDown, -1, -1, "left down"}, {n_PTZCtl_RightUp, 1, 1, "right up"}};
    for (const Button& stButton : astButtons) {
        SCOPED_TRACE(stButton.szName);
        const optics::View stBefore = m_stream.View(CONST_PTZ_VIEW);
        ASSERT_EQ(Press(stButton.enCommand), 0);
        const Point stCentre = CentreIn(stBefore, m_stream.View(CONST_PTZ_VIEW));
        EXPECT_EQ(WayOf(stCentre.x - 0.5), stButton.iRight);
        EXPECT_EQ(WayOf(0.5 - stCentre.y), stButton.iUp);
        EXPECT_GE(m_stream.LikeTheRoom(CONST_PTZ_VIEW), CONST_LIKE_THE_ROOM);
    }
}

TEST_P(Steering, ZoomButtonsAndWheelNarrowAndWidenTheView)
{
    ASSERT_EQ(Press(n_PTZCtl_ZoomIn), 0);
    EXPECT_EQ(m_stream.Ptz().iPTZZoom, 7000);
    EXPECT_GE(m_stream.LikeTheRoom(CONST_PTZ_VIEW), CONST_LIKE_THE_ROOM);

    ASSERT_EQ(Manager().FishPlayer_PTZWindowCtl(m_stream.Id(), 0, {0, 0, 400}, n_CtlCmd_Zoom,
                                                CONST_WINDOW),
              0);
    EXPECT_EQ(m_stream.Ptz().iPTZZoom, 5000);
    EXPECT_GE(m_stream.LikeTheRoom(CONST_PTZ_VIEW), CONST_LIKE_THE_ROOM);

    ASSERT_EQ(Press(n_PTZCtl_ZoomOut), 0);
    EXPECT_EQ(m_stream.Ptz().iPTZZoom, 8000);
    EXPECT_GE(m_stream.LikeTheRoom(CONST_PTZ_VIEW), CONST_LIKE_THE_ROOM);
}

TEST_P(Steering, ThePictureOfAPtzWindowFollowsTheHand)
{
    for (const STRUCT_CtlParam& stDrag :
         {STRUCT_CtlParam{40, 0, 0}, STRUCT_CtlParam{0, 30, 0}, STRUCT_CtlParam{-50, -35, 0}}) {
        SCOPED_TRACE(std::to_string(stDrag.m_iX) + "," + std::to_string(stDrag.m_iY));
        const optics::View stBefore = m_stream.View(CONST_PTZ_VIEW);
        ASSERT_EQ(Manager().FishPlayer_PTZWindowCtl(m_stream.Id(), 0, stDrag, n_CtlCmd_Move,
                                                    CONST_WINDOW),
                  0);
        // What was in the middle has gone with the hand.
        const optics::View stNow = m_stream.View(CONST_PTZ_VIEW);
        const Point stMiddle = stNow.FractionUnbounded(*stBefore.Direction({0.5, 0.5}));
        EXPECT_TRUE(stDrag.m_iX == 0 || (stMiddle.x - 0.5) * stDrag.m_iX > 0) << stMiddle.x;
        EXPECT_TRUE(stDrag.m_iY == 0 || (stMiddle.y - 0.5) * stDrag.m_iY > 0) << stMiddle.y;
        EXPECT_GE(m_stream.LikeTheRoom(CONST_PTZ_VIEW), CONST_LIKE_THE_ROOM);
    }
}

/// The pictures beside each other, the first moved to the right by some pixels.
double PsnrMoved(const scene::Picture& stBefore, int iMoved, const scene::Picture& stNow)
{
    scene::Picture stLeft{stBefore.iWidth - iMoved, stBefore.iHeight, {}};
    scene::Picture stRight = stLeft;
    const std::size_t szRow = std::size_t(stLeft.iWidth) * 3;
    for (int iRow = 0; iRow < stBefore.iHeight; ++iRow) {
        const std::size_t szBegin = std::size_t(iRow) * stBefore.iWidth * 3;
        const auto itBefore = stBefore.vecRgb.begin() + std::ptrdiff_t(szBegin);
        const auto itNow = stNow.vecRgb.begin() + std::ptrdiff_t(szBegin) + iMoved * 3;
        stLeft.vecRgb.insert(stLeft.vecRgb.end(), itBefore, itBefore + std::ptrdiff_t(szRow));
        stRight.vecRgb.insert(stRight.vecRgb.end(), itNow, itNow + std::ptrdiff_t(szRow));
    }
    return Psnr(stLeft, stRight);
}

TEST_P(Steering, WidePicturesFollowTheHand)
{
    constexpr int iDrag = 30;  // pixels of a view as wide as it is rendered: whole degrees
    for (const int iKind : {CORRECT_TYPE_180, CORRECT_TYPE_360}) {
        SCOPED_TRACE(iKind);
        const endtoend::ViewName stView{iKind, 0};
        const endtoend::Size stSize = endtoend::SizeOf(iKind);
        ASSERT_GE(m_stream.LikeTheRoom(stView), CONST_LIKE_THE_ROOM);
        const scene::Picture stBefore =
            m_stream.PicturesOf(stView).Await([](const scene::Picture&) { return true; }).first;
        ASSERT_EQ(Manager().FishPlayer_CorrectWindowCtl(m_stream.Id(), iKind, {iDrag, 0, 0},
                                                        n_CtlCmd_Move,
                                                        {stSize.iWidth, stSize.iHeight}),
                  0);
        EXPECT_EQ(m_stream.Angle(iKind), iDrag);
        EXPECT_GE(m_stream.LikeTheRoom(stView), CONST_LIKE_THE_ROOM);
        const auto [stNow, blFollowed] =
            m_stream.PicturesOf(stView).Await([&](const scene::Picture& st) {
                return PsnrMoved(stBefore, iDrag, st) >= CONST_LIKE_THE_ROOM;
            });
        EXPECT_TRUE(blFollowed) << PsnrMoved(stBefore, iDrag, stNow);
    }
}

// A drag that begins at the view's centre on the wide view takes the centre to where it ends.
TEST_P(Steering, ADraggedOutlineGoesWhereTheHandGoes)
{
    // A wall camera's 180 view ends 45 degrees below the horizon.
    ASSERT_EQ(Press(n_PTZCtl_Up, {0, GetParam() == 1 ? 1000 : 0, 0}), 0);
    const optics::View stWide = m_stream.View({WideKind(GetParam()), 0});
    constexpr STRUCT_FishWindowRect stWindow{2000, 1000};
    const auto PixelOf = [&](const Point& st) {
        return STRUCT_FecPoint{int(std::lround(st.x * stWindow.m_iWidth)),
                               int(std::lround(st.y * stWindow.m_iHeight))};
    };
    const optics::View stBefore = m_stream.View(CONST_PTZ_VIEW);
    const auto stPlace = stWide.Fraction(*stBefore.Direction({0.5, 0.5}));
    ASSERT_TRUE(stPlace);
    const STRUCT_FecPoint stFrom = PixelOf(*stPlace);
    const Point stTarget{stPlace->x + 0.15, stPlace->y - 0.1};
    const STRUCT_FecPoint stTo = PixelOf(stTarget);
    ASSERT_EQ(Manager().FishPlayer_DrawWindowCtl(m_stream.Id(), 0,
                                                 {stFrom.iX, stFrom.iY, stTo.iX, stTo.iY},
                                                 n_CtlCmd_Move, stWindow),
              0);
    const auto stNow = stWide.Fraction(*m_stream.View(CONST_PTZ_VIEW).Direction({0.5, 0.5}));
    ASSERT_TRUE(stNow);
    EXPECT_NEAR(stNow->x, stTarget.x, 0.002);
    EXPECT_NEAR(stNow->y, stTarget.y, 0.002);
    EXPECT_GE(m_stream.LikeTheRoom(CONST_PTZ_VIEW), CONST_LIKE_THE_ROOM);
}

TEST_P(Steering, TheEndOfTravelIsToldAndHoldsTheView)
{
    // The way to the rim of the circle: the horizon of ceiling and floor cameras.
    const n_PTZCtlCmd enOut = GetParam() == 1   ? n_PTZCtl_Right
                              : GetParam() == 2 ? n_PTZCtl_Down
                                                : n_PTZCtl_Up;
    const n_PTZCtlCmd enBack = GetParam() == 1   ? n_PTZCtl_Left
                               : GetParam() == 2 ? n_PTZCtl_Up
                                                 : n_PTZCtl_Down;
    int iRet = 0;
    tagCorrectPtzPara stLast{};
    for (int i = 0; i < 20 && iRet == 0; ++i) {
        stLast = m_stream.Ptz();
        iRet = Press(enOut, {700, 700, 0});
    }
    ASSERT_EQ(iRet, 1);
    EXPECT_EQ(m_stream.Ptz().iPTZPositionX, stLast.iPTZPositionX);
    EXPECT_EQ(m_stream.Ptz().iPTZPositionY, stLast.iPTZPositionY);
    EXPECT_GE(m_stream.LikeTheRoom(CONST_PTZ_VIEW), CONST_LIKE_THE_ROOM);
    EXPECT_EQ(Press(enOut, {700, 700, 0}), 1);
    const optics::View stBefore = m_stream.View(CONST_PTZ_VIEW);
    EXPECT_EQ(Press(enBack, {700, 700, 0}), 0);
    EXPECT_NE(CentreIn(stBefore, m_stream.View(CONST_PTZ_VIEW)).y, 0.5);
    EXPECT_GE(m_stream.LikeTheRoom(CONST_PTZ_VIEW), CONST_LIKE_THE_ROOM);
}

// On the fisheye picture a drag moves the centre by as much as the hand.
TEST_P(Steering, AnOutlineOnTheFisheyePictureIsDraggedAsFarAsTheHand)
{
    Stream stream(GetParam(), CORRECT_TYPE_FISHEYE,
                  {{CORRECT_TYPE_PTZ, 1}, {CORRECT_TYPE_FISHEYE, 1}});
    ASSERT_TRUE(stream.IsLaidOut());
    stream.Feed();
    const tagCorrectPtzPara stBefore = stream.Ptz();
    ASSERT_EQ(Manager().FishPlayer_DrawWindowCtl(stream.Id(), 0, {100, 100, 180, 40}, n_CtlCmd_Move,
                                                 {1000, 1000}),
              0);
    EXPECT_EQ(stream.Ptz().iPTZPositionX, stBefore.iPTZPositionX + 800);
    EXPECT_EQ(stream.Ptz().iPTZPositionY, stBefore.iPTZPositionY - 600);
    EXPECT_GE(stream.LikeTheRoom(CONST_PTZ_VIEW), CONST_LIKE_THE_ROOM);
}

}  // namespace
