#include <algorithm>
#include <cmath>
#include <limits>
#include <ostream>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "optics/FisheyePicture.h"
#include "optics/View.h"
#include "tests/correction/Library.h"

namespace correction_test {
namespace {

using optics::Mount;
using optics::Point;
using optics::Vec3;
using optics::View;
using optics::ViewKind;
using optics::ViewParameters;

constexpr double CONST_LONGEST_STEP = 0.02 + 1e-6;

struct Case
{
    int iInstallation;
    int iMode;
    Pair stCentre;
    float fZoom;
    int iAcross;
    int iDown;
};

void PrintTo(const Case& st, std::ostream* out)
{
    *out << "installation " << st.iInstallation << " mode " << std::hex << st.iMode << std::dec
         << " centre (" << st.stCentre.fX << ", " << st.stCentre.fY << ") zoom " << st.fZoom << " "
         << st.iAcross << "x" << st.iDown;
}

View BorderOf(const Case& st)
{
    ViewParameters stView;
    stView.eKind = ViewKind::PanTiltZoom;
    stView.eMount = optics::MountOf(st.iInstallation);
    stView.stCentre = {st.stCentre.fX, st.stCentre.fY};
    stView.dZoom = st.fZoom * 10000.0;
    return View(stView);
}

View SpaceOf(const Case& st)
{
    ViewParameters stView;
    const bool blWide = st.iMode == 0x200 || st.iMode == 0x300 || st.iMode == 0x400;
    stView.eKind = blWide ? static_cast<ViewKind>(st.iMode) : ViewKind::Fisheye;
    stView.eMount = optics::MountOf(st.iInstallation);
    return View(stView);
}

double Distance(const Pair& a, const Pair& b)
{
    return std::max(std::abs(a.fX - b.fX), std::abs(a.fY - b.fY));
}

/// How far a direction is from the nearest point of a square view's border.
double DistanceFromBorder(const View& border, const Vec3& stDirection)
{
    const Point st = border.FractionUnbounded(stDirection);
    double dNearest = 10.0;
    for (const double dEdge : {0.0, 1.0}) {
        const Point stAcross{dEdge, std::clamp(st.y, 0.0, 1.0)};
        const Point stDown{std::clamp(st.x, 0.0, 1.0), dEdge};
        for (const Point& stOnBorder : {stAcross, stDown})
            dNearest = std::min(dNearest, Length(*border.Direction(stOnBorder) - stDirection));
    }
    return dNearest;
}

/// Points of the border, dense and in order.
std::vector<Vec3> BorderDirections(const View& border)
{
    std::vector<Vec3> vecDirections;
    for (int iSide = 0; iSide < 4; ++iSide) {
        for (int i = 0; i < 200; ++i) {
            const double t = i / 200.0;
            const Point astSides[] = {{t, 0.0}, {1.0, t}, {1.0 - t, 1.0}, {0.0, 1.0 - t}};
            vecDirections.push_back(*border.Direction(astSides[iSide]));
        }
    }
    return vecDirections;
}

Traced TraceOf(const Handle& handle, const Case& st)
{
    return Trace(handle.Get(),
                 Outline(st.iInstallation, st.iMode, st.stCentre, st.fZoom, st.iAcross, st.iDown));
}

class EveryOutline : public testing::TestWithParam<Case>
{};

std::vector<Case> ManyCases()
{
    std::vector<Case> vecCases;
    const Pair astCentres[] = {{0.5f, 0.5f}, {0.5f, 0.5001f}, {0.5f, 0.75f}, {0.5f, 0.25f},
                               {0.5f, 0.1f}, {0.503f, 0.2f},  {0.9f, 0.5f},  {0.3f, 0.45f},
                               {0.5f, 1.0f}, {0.5f, 0.0f},    {0.0f, 0.0f},  {1.0f, 0.0f},
                               {0.7f, 0.7f}, {0.25f, 0.5f},   {7.0f, -3.0f}, {0.1f, 0.52f}};
    for (const int iInstallation : {1, 2, 3}) {
        for (const int iMode : {0x100, 0x200, 0x300, 0x400, 0x500, 0}) {
            for (const Pair& stCentre : astCentres) {
                for (const float fZoom : {1.0f, 0.4f, 0.05f})
                    vecCases.push_back({iInstallation, iMode, stCentre, fZoom, 250, 250});
                vecCases.push_back({iInstallation, iMode, stCentre, 1.0f, 7, 3});
                vecCases.push_back({iInstallation, iMode, stCentre, 1.0f, 1, 1});
            }
        }
    }
    return vecCases;
}

INSTANTIATE_TEST_SUITE_P(Views, EveryOutline, testing::ValuesIn(ManyCases()));

TEST_P(EveryOutline, IsTheViewsBorderAndNothingElse)
{
    const Handle handle;
    const View border = BorderOf(GetParam());
    const View space = SpaceOf(GetParam());
    const Traced traced = TraceOf(handle, GetParam());
    ASSERT_EQ(traced.iResult, 0);
    ASSERT_TRUE(traced.blPacked);
    ASSERT_TRUE(traced.blGuardsIntact);
    for (const std::vector<Pair>& vecLine : traced.vecLines) {
        ASSERT_GE(vecLine.size(), 2u);
        ASSERT_LE(vecLine.size(), 2500u);
        for (std::size_t i = 0; i < vecLine.size(); ++i) {
            const Pair& st = vecLine[i];
            ASSERT_TRUE(st.fX >= 0 && st.fX <= 1 && st.fY >= 0 && st.fY <= 1);
            // The rim as single precision rounds it lies a little outside.
            const Vec3 stDirection = space.Parameters().eKind == ViewKind::Fisheye
                                         ? optics::FisheyeDirection(Point{st.fX, st.fY})
                                         : *space.Direction({st.fX, st.fY});
            ASSERT_LT(DistanceFromBorder(border, stDirection), 1e-6) << st.fX << ", " << st.fY;
            if (i > 0) {
                ASSERT_LE(Distance(st, vecLine[i - 1]), CONST_LONGEST_STEP)
                    << st.fX << ", " << st.fY;
                ASSERT_GT(Distance(st, vecLine[i - 1]), 0.0) << st.fX << ", " << st.fY;
            }
        }
    }
}

TEST_P(EveryOutline, LeavesNothingOut)
{
    const Handle handle;
    const View space = SpaceOf(GetParam());
    const Traced traced = TraceOf(handle, GetParam());
    for (const Vec3& stDirection : BorderDirections(BorderOf(GetParam()))) {
        const std::optional<Point> shown = space.Fraction(stDirection);
        // On the seam either side will do, and a pole is a whole border line.
        const double dTop = std::min(shown ? shown->y : 0.0, shown ? 1.0 - shown->y : 0.0);
        const double dSide = std::min(shown ? shown->x : 0.0, shown ? 1.0 - shown->x : 0.0);
        const bool blPole = std::min(std::hypot(stDirection.x, stDirection.y),
                                     std::hypot(stDirection.x, stDirection.z)) < 1e-6;
        if (dSide < 1e-6 || (blPole && dTop < 1e-6))
            continue;
        const Pair st{static_cast<float>(shown->x), static_cast<float>(shown->y)};
        double dNearest = 10.0;
        for (const std::vector<Pair>& vecLine : traced.vecLines) {
            for (const Pair& stPoint : vecLine)
                dNearest = std::min(dNearest, Distance(st, stPoint));
        }
        ASSERT_LT(dNearest, CONST_LONGEST_STEP) << st.fX << ", " << st.fY;
    }
}

TEST_P(EveryOutline, ComesInFewLines)
{
    const Handle handle;
    EXPECT_LE(TraceOf(handle, GetParam()).vecLines.size(), 6u);
}

TEST(Outline, AViewInsideTheCircleIsOneClosedLineOfTheSamplesAskedFor)
{
    const Handle handle;
    const Traced traced = Trace(handle.Get(), Outline(3, 0x100, {0.5f, 0.6f}, 0.5f, 250, 100));
    ASSERT_EQ(traced.vecLines.size(), 1u);
    ASSERT_EQ(traced.vecLines[0].size(), 701u);
    EXPECT_EQ(Distance(traced.vecLines[0].front(), traced.vecLines[0].back()), 0.0);
}

TEST(Outline, BeginsAtTheViewsTopLeftCornerAndRunsAlongItsTop)
{
    const Handle handle;
    const Case st{3, 0x100, {0.5f, 0.6f}, 0.5f, 250, 100};
    const Traced traced = TraceOf(handle, st);
    const Point stCorner = optics::FisheyeFraction(*BorderOf(st).Direction({0.0, 0.0}));
    const Point stMiddle = optics::FisheyeFraction(*BorderOf(st).Direction({0.5, 0.0}));
    EXPECT_NEAR(traced.vecLines[0][0].fX, stCorner.x, 1e-7);
    EXPECT_NEAR(traced.vecLines[0][0].fY, stCorner.y, 1e-7);
    EXPECT_NEAR(traced.vecLines[0][125].fX, stMiddle.x, 1e-7);
    EXPECT_NEAR(traced.vecLines[0][125].fY, stMiddle.y, 1e-7);
}

TEST(Outline, AWallViewIsWorkedOutByHand)
{
    // A square of 90 degrees about the axis: its corner is atan(sqrt 2) off the axis, its sides 45.
    const Handle handle;
    const Traced traced = Trace(handle.Get(), Outline(1, 0x100, {0.5f, 0.5f}, 1.0f));
    ASSERT_EQ(traced.vecLines.size(), 1u);
    const double dCorner = 0.5 * std::atan(std::sqrt(2.0)) / (optics::PI / 2) * std::sqrt(0.5);
    EXPECT_NEAR(traced.vecLines[0][0].fX, 0.5 - dCorner, 1e-7);
    EXPECT_NEAR(traced.vecLines[0][0].fY, 0.5 - dCorner, 1e-7);
    EXPECT_NEAR(traced.vecLines[0][125].fX, 0.5, 1e-7);
    EXPECT_NEAR(traced.vecLines[0][125].fY, 0.25, 1e-7);
    EXPECT_NEAR(traced.vecLines[0][375].fX, 0.75, 1e-7);
    EXPECT_NEAR(traced.vecLines[0][375].fY, 0.5, 1e-7);
}

TEST(Outline, ASideThatLiesOnTheRimIsNotCutUp)
{
    // Tilted 45 degrees, 90 degrees across: the whole top side is the horizon.
    const Handle handle;
    for (const int iInstallation : {2, 3}) {
        const Traced traced =
            Trace(handle.Get(), Outline(iInstallation, 0x100, {0.5f, 0.75f}, 1.0f));
        ASSERT_EQ(traced.vecLines.size(), 1u);
        EXPECT_EQ(traced.vecLines[0].size(), 1001u);
    }
}

TEST(Outline, ASideThatLiesOnTheBorderOfThe180ViewIsDrawn)
{
    // The same view's lower side runs through the pole, half of it up either border of the picture.
    const Handle handle;
    for (const int iInstallation : {2, 3}) {
        const Traced traced =
            Trace(handle.Get(), Outline(iInstallation, 0x200, {0.5f, 0.75f}, 1.0f));
        std::size_t uLeft = 0;
        std::size_t uRight = 0;
        for (const auto& vecLine : traced.vecLines) {
            for (const Pair& st : vecLine) {
                uLeft += st.fX < 1e-6f;
                uRight += st.fX > 1.0f - 1e-6f;
            }
        }
        EXPECT_GE(uLeft, 125u);
        EXPECT_GE(uRight, 125u);
    }
}

TEST(Outline, ARequestsRoundingDoesNotHideASideOnTheRim)
{
    // 45 degrees off the axis, but a little more as single precision has it.
    const Handle handle;
    for (const Pair& stCentre : {Pair{0.57f, 0.74f}, Pair{0.74f, 0.57f}, Pair{0.57f, 0.26f},
                                 Pair{0.43f, 0.74f}, Pair{0.26f, 0.57f}, Pair{0.26f, 0.43f}}) {
        const Traced traced = Trace(handle.Get(), Outline(3, 0x100, stCentre, 1.0f));
        ASSERT_EQ(traced.vecLines.size(), 1u);
        EXPECT_EQ(traced.vecLines[0].size(), 1001u);
    }
}

TEST(Outline, IsCutWhereItLeavesTheCircleOnTheRim)
{
    const Handle handle;
    const Traced traced = Trace(handle.Get(), Outline(3, 0x100, {0.5f, 0.95f}, 0.5f));
    ASSERT_EQ(traced.vecLines.size(), 1u);
    for (const Pair& st : {traced.vecLines[0].front(), traced.vecLines[0].back()})
        EXPECT_NEAR(std::hypot(st.fX - 0.5, st.fY - 0.5), 0.5, 3e-7);
}

TEST(Outline, IsSplitAtThePanoramasSeam)
{
    const Handle handle;
    for (const int iInstallation : {1, 2, 3}) {  // the seam is at the top of the picture
        const Traced traced =
            Trace(handle.Get(), Outline(iInstallation, 0x300, {0.503f, 0.2f}, 0.3f));
        ASSERT_EQ(traced.vecLines.size(), 3u) << iInstallation;
        std::vector<float> vecEnds;
        for (const auto& vecLine : traced.vecLines) {
            vecEnds.push_back(vecLine.front().fX);
            vecEnds.push_back(vecLine.back().fX);
        }
        std::size_t uPoints = 0;  // the samples, and two ends at each of two crossings
        for (const auto& vecLine : traced.vecLines)
            uPoints += vecLine.size();
        EXPECT_EQ(uPoints, 1001u + 4u) << iInstallation;
        EXPECT_EQ(std::count(vecEnds.begin(), vecEnds.end(), 0.0f), 2);
        EXPECT_EQ(std::count(vecEnds.begin(), vecEnds.end(), 1.0f), 2);
    }
}

TEST(Outline, IsWholeWhereItCrossesThePanoramasMiddle)
{
    const Handle handle;
    for (const int iInstallation : {1, 2, 3}) {
        const Traced traced =
            Trace(handle.Get(), Outline(iInstallation, 0x300, {0.503f, 0.8f}, 0.3f));
        ASSERT_EQ(traced.vecLines.size(), 1u) << iInstallation;
        EXPECT_EQ(traced.vecLines[0].size(), 1001u) << iInstallation;
    }
}

TEST(Outline, AViewAtThePoleRunsFromSeamToSeam)
{
    const Handle handle;
    const Traced traced = Trace(handle.Get(), Outline(3, 0x300, {0.5f, 0.5f}, 1.0f));
    double dLeft = 1.0;
    double dRight = 0.0;
    for (const auto& vecLine : traced.vecLines) {
        for (const Pair& st : vecLine) {
            dLeft = std::min<double>(dLeft, st.fX);
            dRight = std::max<double>(dRight, st.fX);
            EXPECT_NEAR(st.fY, 0.45, 0.06);  // 45 to 54.7 degrees off the axis
        }
    }
    EXPECT_EQ(dLeft, 0.0);
    EXPECT_EQ(dRight, 1.0);
}

TEST(Outline, ASideThatPassesAPoleAnyhowCloselyRunsHalfWayRoundIt)
{
    // Tilted 45 degrees, 90 across: the lower side passes the pole as closely as a position can
    // say, on the one side of it or on the other.
    const Handle handle;
    for (const int iInstallation : {2, 3}) {
        for (const float fNudge : {-6e-6f, -6e-8f, 6e-8f, 6e-6f}) {
            const Traced traced =
                Trace(handle.Get(), Outline(iInstallation, 0x300, {0.5f, 0.75f + fNudge}, 1.0f));
            std::vector<double> vecNearPole;
            for (const auto& vecLine : traced.vecLines) {
                for (const Pair& st : vecLine) {
                    if ((iInstallation == 2 ? st.fY : 1.0f - st.fY) < 0.01f)
                        vecNearPole.push_back(st.fX);
                }
            }
            ASSERT_GT(vecNearPole.size(), 2u);
            std::sort(vecNearPole.begin(), vecNearPole.end());
            vecNearPole.push_back(vecNearPole.front() + 1.0);  // all the way round
            std::vector<double> vecGaps;
            for (std::size_t i = 1; i < vecNearPole.size(); ++i)
                vecGaps.push_back(vecNearPole[i] - vecNearPole[i - 1]);
            std::sort(vecGaps.rbegin(), vecGaps.rend());
            EXPECT_NEAR(vecGaps[0], 0.5, 0.03) << iInstallation << " " << fNudge;
            EXPECT_LE(vecGaps[1], CONST_LONGEST_STEP) << iInstallation << " " << fNudge;
        }
    }
}

TEST(Outline, AViewThatTheWideViewDoesNotShowHasNoLines)
{
    const Handle handle;
    const Traced traced = Trace(handle.Get(), Outline(3, 0x200, {0.5f, 0.1f}, 0.1f));
    EXPECT_EQ(traced.iResult, 0);
    EXPECT_TRUE(traced.vecLines.empty());
}

TEST(Outline, ZoomIsClamped)
{
    const Handle handle;
    const auto corner = [&](float fZoom) {
        return Trace(handle.Get(), Outline(1, 0x100, {0.5f, 0.5f}, fZoom)).vecLines.at(0).at(0).fX;
    };
    EXPECT_EQ(corner(-3.0f), corner(0.05f));
    EXPECT_EQ(corner(0.0f), corner(0.05f));
    EXPECT_EQ(corner(9.0f), corner(1.0f));
    EXPECT_LT(corner(1.0f), corner(0.5f));
}

TEST(Outline, ManySamplesAreSplitIntoLinesThatACallerCanRead)
{
    const Handle handle;
    for (const int iSamples : {2500, 4000, 10000, std::numeric_limits<int>::max()}) {
        const Traced traced =
            Trace(handle.Get(), Outline(3, 0x300, {0.52f, 0.3f}, 1.0f, iSamples, iSamples));
        ASSERT_EQ(traced.iResult, 0);
        ASSERT_TRUE(traced.blPacked);
        ASSERT_TRUE(traced.blGuardsIntact);
        ASSERT_LE(traced.vecLines.size(), 22u);
        std::size_t uPoints = 0;
        for (std::size_t i = 0; i < traced.vecLines.size(); ++i) {
            ASSERT_LE(traced.vecLines[i].size(), 2500u);
            uPoints += traced.vecLines[i].size();
            if (i > 0 && traced.vecLines[i - 1].size() == 2500) {
                EXPECT_EQ(Distance(traced.vecLines[i].front(), traced.vecLines[i - 1].back()), 0.0);
            }
        }
        EXPECT_LE(uPoints, 40000u);
        EXPECT_GE(uPoints, 9000u);
    }
}

TEST(Outline, MalformedRequestsAreRefused)
{
    const Handle handle;
    const float fNan = std::numeric_limits<float>::quiet_NaN();
    const OutlineRecord good = Outline(3, 0x100, {0.5f, 0.5f}, 1.0f);
    const auto result = [&](OutlineRecord record) {
        const Traced traced = Trace(handle.Get(), record);
        EXPECT_TRUE(traced.vecLines.empty());
        return traced.iResult;
    };
    EXPECT_EQ(result(OutlineRecord(good).Put(0, 111)), -3);
    EXPECT_EQ(result(OutlineRecord(good).Put(20, fNan)), -4);
    EXPECT_EQ(result(OutlineRecord(good).Put(24, fNan)), -4);
    EXPECT_EQ(result(OutlineRecord(good).Put(28, fNan)), -4);
    EXPECT_EQ(result(OutlineRecord(good).Put(32, 0)), -4);
    EXPECT_EQ(result(OutlineRecord(good).Put(36, -250)), -4);
}

TEST(Outline, MissingRecordsAndWrongSizesAreRefused)
{
    const Handle handle;
    const auto process = TheLibrary().Process;
    OutlineRecord request = Outline(3, 0x100, {0.5f, 0.5f}, 1.0f);
    Record<368> table;
    table.Put(0, 0);
    ResultRecord result;
    EXPECT_EQ(process(handle.Get(), 0, nullptr, result.Data()), -2);
    EXPECT_EQ(process(handle.Get(), 0, request.Data(), nullptr), -2);
    EXPECT_EQ(process(handle.Get(), 0, request.Data(), result.Data()), -2);  // no table
    result.Put(16, table.Data());
    EXPECT_EQ(process(handle.Get(), 0, request.Data(), result.Data()), -2);  // no buffer
    std::vector<Pair> vecBuffer(40000);
    table.Put(16, static_cast<void*>(vecBuffer.data()));
    EXPECT_EQ(process(handle.Get(), 0, request.Data(), result.Data()), 0);
    EXPECT_EQ(process(handle.Get(), 1, request.Data(), result.Data()), -4);
    result.Put(0, 80);
    EXPECT_EQ(process(handle.Get(), 0, request.Data(), result.Data()), -3);
}

}  // namespace
}  // namespace correction_test
