// The outlines that a client draws are the borders of the pictures that the engine renders: within
// half a pixel of a fisheye picture of 2048, whatever view the outline is drawn on.
#include <algorithm>
#include <cmath>
#include <optional>
#include <ostream>
#include <string>
#include <tuple>

#include <gmock/gmock.h>

#include "engine/player/ViewMapping.h"
#include "optics/FisheyePicture.h"
#include "tests/endtoend/Stream.h"
#include "tests/support/Lines.h"

namespace {

using endtoend::Stream;
using lines::Distance;
using lines::Line;
using optics::Point;

constexpr int CONST_PICTURE = 2048;
constexpr double CONST_EXACT = 0.5;       // pixels of it
constexpr double CONST_LONG_STEP = 0.05;  // of the picture that the outline is drawn on
constexpr int CONST_SIDE = 400;           // points of a side of the border

CLS_FishPlayer& Manager()
{
    return *CLS_FishPlayer::GetInstance();
}

Point PixelOf(const Point& stFraction)
{
    return {stFraction.x * CONST_PICTURE - 0.5, stFraction.y * CONST_PICTURE - 0.5};
}

/// Installation type and the kind of view on which the outline is drawn.
class Outlines : public testing::TestWithParam<std::tuple<int, int>>
{
protected:
    Outlines()
        : m_iInstallation(std::get<0>(GetParam())), m_iMode(std::get<1>(GetParam())),
          m_stream(m_iInstallation, m_iMode, {{CORRECT_TYPE_PTZ, 2}, {m_iMode, 1}}),
          m_stDrawnOn(m_stream.IsLaidOut() ? DrawnOn() : optics::View({}))
    {}
    void SetUp() override { ASSERT_TRUE(m_stream.IsLaidOut()); }

    optics::View DrawnOn() const
    {
        optics::ViewParameters st;
        st.eKind = optics::ViewKind(m_iMode);
        st.eMount = optics::MountOf(m_iInstallation);
        return optics::View(st);
    }

    /// The outlines of a view, as fractions of the picture that they are drawn on, for the
    /// parameters that the engine has now: a wheel step of nothing draws them anew.
    std::vector<Line> OutlineOf(int iIndex)
    {
        EXPECT_EQ(
            Manager().FishPlayer_PTZWindowCtl(m_stream.Id(), iIndex, {}, n_CtlCmd_Zoom, {1, 1}), 0);
        std::vector<Line> vecLines;
        const DrawOutlines outlines = m_stream.Outlines();
        EXPECT_EQ(outlines.size(), 2);
        for (const QVector<STRUCT_DrawPoint>& qvecLine : outlines.value(iIndex)) {
            vecLines.emplace_back();
            for (const STRUCT_DrawPoint& st : qvecLine)
                vecLines.back().push_back({double(st.fX), double(st.fY)});
        }
        return vecLines;
    }

    /// A point of the picture that the outline is drawn on, in pixels of the fisheye picture.
    Point FisheyePixel(const Point& stFraction) const
    {
        // Single precision rounds points of the rim outwards.
        if (m_iMode == CORRECT_TYPE_FISHEYE)
            return PixelOf(stFraction);
        return PixelOf(optics::FisheyeFraction(*m_stDrawnOn.Direction(stFraction)));
    }

    void ExpectExact(int iIndex)
    {
        const std::vector<Line> vecLines = OutlineOf(iIndex);
        ExpectNoLineAcross(vecLines);
        std::vector<Line> vecPixels;
        for (const Line& vecLine : vecLines) {
            vecPixels.emplace_back();
            for (const Point& st : vecLine)
                vecPixels.back().push_back(FisheyePixel(st));
        }
        const tagCorrectPtzPara stPara = m_stream.Ptz(iIndex);
        SCOPED_TRACE(std::to_string(stPara.iPTZPositionX) + "," +
                     std::to_string(stPara.iPTZPositionY) + " zoom " +
                     std::to_string(stPara.iPTZZoom));
        ExpectTheBorderOnTheLines(stPara, vecPixels);
        ExpectTheLinesOnTheBorder(stPara, vecPixels);
    }

    void ExpectNoLineAcross(const std::vector<Line>& vecLines)
    {
        double dLongest = 0;
        for (const Line& vecLine : vecLines)
            for (std::size_t i = 1; i < vecLine.size(); ++i)
                dLongest = std::max(dLongest, Distance(vecLine[i - 1], vecLine[i]));
        EXPECT_LT(dLongest, CONST_LONG_STEP);
    }

    /// Where the engine takes the pixels of the picture's border from: an outline runs there.
    void ExpectTheBorderOnTheLines(const tagCorrectPtzPara& stPara,
                                   const std::vector<Line>& vecPixels)
    {
        optics::LensParameters stLens;
        stLens.stCentre = {(CONST_PICTURE - 1) / 2.0, (CONST_PICTURE - 1) / 2.0};
        stLens.dCircleRadius = CONST_PICTURE / 2.0;
        std::string strError;
        engine::CameraOptics stCamera;
        stCamera.lens = optics::Lens::Make(stLens, strError);
        const engine::ViewMapping stMapping({RV_MODE_PTZ, optics::MountOf(m_iInstallation),
                                             stPara.iPTZPositionX, stPara.iPTZPositionY,
                                             stPara.iPTZZoom, 0},
                                            {512, 512}, {CONST_PICTURE, CONST_PICTURE}, stCamera);
        double dFarthest = 0;
        int iSeen = 0;
        for (int iSide = 0; iSide < 4; ++iSide) {
            for (int i = 0; i < CONST_SIDE; ++i) {
                const double t = double(i) / CONST_SIDE;
                const Point astSides[] = {{t, 0}, {1, t}, {1 - t, 1}, {0, 1 - t}};
                const auto stPixel = stMapping(astSides[iSide].x, astSides[iSide].y);
                if (!stPixel || !m_stDrawnOn.Fraction(*stCamera.lens->Unproject(*stPixel)))
                    continue;
                dFarthest = std::max(dFarthest, Distance(*stPixel, vecPixels));
                ++iSeen;
            }
        }
        EXPECT_LE(dFarthest, CONST_EXACT);
        EXPECT_EQ(iSeen > 0, !vecPixels.empty());
    }

    /// And nothing runs anywhere else.
    void ExpectTheLinesOnTheBorder(const tagCorrectPtzPara& stPara,
                                   const std::vector<Line>& vecPixels)
    {
        optics::ViewParameters st;
        st.eKind = optics::ViewKind::PanTiltZoom;
        st.eMount = optics::MountOf(m_iInstallation);
        st.stCentre = {stPara.iPTZPositionX / 10000.0, stPara.iPTZPositionY / 10000.0};
        st.dZoom = stPara.iPTZZoom;
        const optics::View stView(st);
        double dFarthest = 0;
        for (const Line& vecLine : vecPixels) {
            for (const Point& stPixel : vecLine) {
                const Point stFraction = stView.FractionUnbounded(optics::FisheyeDirection(
                    {(stPixel.x + 0.5) / CONST_PICTURE, (stPixel.y + 0.5) / CONST_PICTURE}));
                double dNearest = HUGE_VAL;
                for (const double dEdge : {0.0, 1.0})
                    for (const Point& stOnBorder :
                         {Point{dEdge, std::clamp(stFraction.y, 0.0, 1.0)},
                          Point{std::clamp(stFraction.x, 0.0, 1.0), dEdge}})
                        dNearest = std::min(dNearest,
                                            Distance(stPixel, PixelOf(optics::FisheyeFraction(
                                                                  *stView.Direction(stOnBorder)))));
                dFarthest = std::max(dFarthest, dNearest);
            }
        }
        EXPECT_LE(dFarthest, CONST_EXACT);
    }

    int m_iInstallation;
    int m_iMode;
    Stream m_stream;
    optics::View m_stDrawnOn;
};
INSTANTIATE_TEST_SUITE_P(EachMountAndWideView, Outlines,
                         testing::Combine(testing::Values(1, 2, 3),
                                          testing::Values(CORRECT_TYPE_360, CORRECT_TYPE_180,
                                                          CORRECT_TYPE_LAT, CORRECT_TYPE_FISHEYE)),
                         [](const auto& info) {
                             return "type" + std::to_string(std::get<0>(info.param)) + "mode" +
                                    std::to_string(std::get<1>(info.param));
                         });

// The first of two views looks straight ahead, the second straight across the panorama's seam.
TEST_P(Outlines, AreTheBordersAheadAndOverTheSeam)
{
    for (const int iIndex : {0, 1}) {
        ExpectExact(iIndex);
        ASSERT_EQ(Manager().FishPlayer_PTZWindowCtl(m_stream.Id(), iIndex, {0, 0, 1200},
                                                    n_CtlCmd_Zoom, {1, 1}),
                  0);
        EXPECT_EQ(m_stream.Ptz(iIndex).iPTZZoom, 4000);
        ExpectExact(iIndex);
    }
    if (m_iMode == CORRECT_TYPE_360) {
        EXPECT_EQ(m_stream.Ptz(1).iPTZPositionX, 5000);
        EXPECT_GE(OutlineOf(1).size(), 2u);  // cut at the seam
    }
}

TEST_P(Outlines, AreTheBordersAtThePole)
{
    // Towards the middle of the picture, in steps that come to lie on both sides of 45 degrees,
    // where the border runs straight through the pole, and end beside the middle.
    const n_PTZCtlCmd enInwards = m_iInstallation == 3 ? n_PTZCtl_Down : n_PTZCtl_Up;
    for (const int iStep : {150, 101, 400, 2089}) {
        ASSERT_EQ(Manager().FishPlayer_PTZCtl(m_stream.Id(), 0, {0, iStep, 0}, enInwards), 0);
        ExpectExact(0);
    }
    // In the LAT view the default centre lies beside the pole already, and is moved away from it.
    if (m_iMode != CORRECT_TYPE_LAT) {
        EXPECT_NEAR(m_stream.Ptz(0).iPTZPositionY, 5010, 1);
    }
}

TEST_P(Outlines, AreTheBordersAnywhere)
{
    for (const STRUCT_CtlParam& stStep :
         {STRUCT_CtlParam{900, 300, 500}, STRUCT_CtlParam{1300, 200, 3000},
          STRUCT_CtlParam{-700, 900, 2000}, STRUCT_CtlParam{1100, -1400, 0}}) {
        Manager().FishPlayer_PTZCtl(m_stream.Id(), 0, stStep, n_PTZCtl_LeftUp);
        Manager().FishPlayer_PTZCtl(m_stream.Id(), 0, stStep, n_PTZCtl_ZoomIn);
        ExpectExact(0);
    }
}

}  // namespace
