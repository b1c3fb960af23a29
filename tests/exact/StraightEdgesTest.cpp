// What is straight in the room is straight in a pan/tilt/zoom view, and where it belongs.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <optional>
#include <vector>

#include <gmock/gmock.h>

#include "optics/FisheyePicture.h"
#include "tests/exact/Corrected.h"

namespace {

using optics::Mount;
using optics::Point;
using optics::Vec3;

constexpr int CONST_WIDTH = 640;
constexpr int CONST_HEIGHT = 480;
constexpr int CONST_REACH = 6;           // pixels to either side that the edge is looked for in
constexpr int CONST_PLAIN_REACH = 10;    // that nothing else may be seen in
constexpr int CONST_NEAR = 8;            // pixels to either side along the edge
constexpr int CONST_STEPS = 8;           // samples in a pixel across the edge
constexpr float CONST_CONTRAST = 0.12f;  // less, and the rounding to bytes shows
constexpr float CONST_PLAIN = 0.01f;     // each side of the edge is as even as this

double LumaAt(const scene::Picture& st, const Point& stPixel)
{
    const int iX = int(std::floor(stPixel.x));
    const int iY = int(std::floor(stPixel.y));
    const double dX = stPixel.x - iX;
    const double dY = stPixel.y - iY;
    const auto At = [&](int iColumn, int iRow) {
        const std::uint8_t* p = &st.vecRgb[(std::size_t(iRow) * st.iWidth + iColumn) * 3];
        return exact::Luma(p[0], p[1], p[2]);
    };
    return (At(iX, iY) * (1 - dX) + At(iX + 1, iY) * dX) * (1 - dY) +
           (At(iX, iY + 1) * (1 - dX) + At(iX + 1, iY + 1) * dX) * dY;
}

/// One edge of the room in one view, and the line that it must follow there, in pixels.
struct EdgeInView
{
    const scene::Room& stRoom;
    optics::View stView;
    Point stFrom;
    Point stAlong;   // of unit length
    Point stAcross;  // likewise
    double dLength;

    Point At(double dAlong, double dAcross) const
    {
        return {stFrom.x + stAlong.x * dAlong + stAcross.x * dAcross,
                stFrom.y + stAlong.y * dAlong + stAcross.y * dAcross};
    }

    bool Holds(const Point& st) const
    {
        return st.x >= 1 && st.y >= 1 && st.x < CONST_WIDTH - 2 && st.y < CONST_HEIGHT - 2;
    }

    /// What the room shows there; nothing at the rim of the lens's sight and beyond.
    std::optional<float> TrueLuma(const Point& st) const
    {
        const auto stDirection =
            stView.Direction({(st.x + 0.5) / CONST_WIDTH, (st.y + 0.5) / CONST_HEIGHT});
        if (!stDirection || optics::AngleOffAxis(*stDirection) > optics::RadFromDeg(89))
            return std::nullopt;
        const scene::Colour stColour = stRoom.Look(*stDirection).stColour;
        return float(exact::Luma(stColour.fRed, stColour.fGreen, stColour.fBlue));
    }
};

/// The lumas to either side, where the room shows nothing there but one plain border.
struct Sides
{
    float fBefore, fBehind;
};
std::optional<Sides> PlainSides(const EdgeInView& st, double dAlong)
{
    float afLow[2] = {1, 1};
    float afHigh[2] = {0, 0};
    for (int i = -CONST_PLAIN_REACH * 2; i <= CONST_PLAIN_REACH * 2; ++i) {
        const Point stPixel = st.At(dAlong, i / 2.0);
        if (!st.Holds(stPixel))
            return std::nullopt;
        if (i == 0)
            continue;
        const std::optional<float> fLuma = st.TrueLuma(stPixel);
        if (!fLuma)
            return std::nullopt;
        afLow[i > 0] = std::min(afLow[i > 0], *fLuma);
        afHigh[i > 0] = std::max(afHigh[i > 0], *fLuma);
    }
    const Sides stSides{(afLow[0] + afHigh[0]) / 2, (afLow[1] + afHigh[1]) / 2};
    if (afHigh[0] - afLow[0] > CONST_PLAIN || afHigh[1] - afLow[1] > CONST_PLAIN ||
        std::abs(stSides.fBefore - stSides.fBehind) < CONST_CONTRAST)
        return std::nullopt;
    return stSides;
}

/// Where along the edge nothing else is near, in whole pixels: the same two sides reach
/// CONST_NEAR pixels further both ways.
std::vector<int> PlainPlaces(const EdgeInView& st)
{
    std::vector<std::optional<Sides>> vecSides;
    for (int i = 0; i < int(st.dLength); ++i)
        vecSides.push_back(PlainSides(st, i));
    std::vector<int> vecPlaces;
    for (int i = CONST_NEAR; i + CONST_NEAR < int(vecSides.size()); ++i) {
        const auto& stHere = vecSides[std::size_t(i)];
        const auto IsAlike = [&](const std::optional<Sides>& stThere) {
            return stHere && stThere &&
                   std::abs(stHere->fBefore - stThere->fBefore) < CONST_PLAIN &&
                   std::abs(stHere->fBehind - stThere->fBehind) < CONST_PLAIN;
        };
        if (std::all_of(vecSides.begin() + i - CONST_NEAR, vecSides.begin() + i + CONST_NEAR + 1,
                        IsAlike))
            vecPlaces.push_back(i);
    }
    return vecPlaces;
}

/// How far from its line the edge is found, in pixels: where a sharp step of the same two levels
/// would have the same mean.
double OffsetOf(const scene::Picture& stPicture, const EdgeInView& st, double dAlong)
{
    constexpr int iSamples = 2 * CONST_REACH * CONST_STEPS;
    std::vector<double> vecLuma;
    for (int i = 0; i <= iSamples; ++i)
        vecLuma.push_back(LumaAt(stPicture, st.At(dAlong, double(i) / CONST_STEPS - CONST_REACH)));
    const double dBefore = vecLuma.front();
    const double dBehind = vecLuma.back();
    double dArea = 0;
    for (int i = 0; i < iSamples; ++i)
        dArea += (vecLuma[std::size_t(i)] + vecLuma[std::size_t(i) + 1]) / 2 - dBehind;
    return dArea / CONST_STEPS / (dBefore - dBehind) - CONST_REACH;
}

std::optional<EdgeInView> Aim(const scene::Room& stRoom, const scene::Edge& stEdge,
                              const engine::ViewSettings& stSettings)
{
    const optics::View stView = exact::ViewOf(stSettings, CONST_WIDTH, CONST_HEIGHT);
    // Two points near the middle, which the view shows: the line through them goes on straight.
    const auto PixelOf = [&](double dAlong) -> std::optional<Point> {
        const auto st = stView.Fraction(
            stRoom.DirectionTo(stEdge.stFrom + (stEdge.stTo - stEdge.stFrom) * dAlong));
        if (!st)
            return std::nullopt;
        return Point{st->x * CONST_WIDTH - 0.5, st->y * CONST_HEIGHT - 0.5};
    };
    double dFrom = 0.5;
    double dTo = 0.5;
    while (dFrom > 0.02 && PixelOf(dFrom - 0.01))
        dFrom -= 0.01;
    while (dTo < 0.98 && PixelOf(dTo + 0.01))
        dTo += 0.01;
    const auto stFrom = PixelOf(dFrom);
    const auto stTo = PixelOf(dTo);
    if (!stFrom || !stTo)
        return std::nullopt;
    const double dLength = std::hypot(stTo->x - stFrom->x, stTo->y - stFrom->y);
    if (dLength < 60)
        return std::nullopt;
    const Point stAlong{(stTo->x - stFrom->x) / dLength, (stTo->y - stFrom->y) / dLength};
    return EdgeInView{stRoom, stView, *stFrom, stAlong, {-stAlong.y, stAlong.x}, dLength};
}

class StraightEdges : public testing::TestWithParam<Mount>
{};
INSTANTIATE_TEST_SUITE_P(EachMount, StraightEdges,
                         testing::Values(Mount::Ceiling, Mount::Wall, Mount::Floor));

TEST_P(StraightEdges, AreStraightAndInPlaceWithinThreeTenthsOfAPixel)
{
    const exact::Source& stSource = exact::SourceOf(GetParam());
    const scene::Room stRoom(GetParam(), exact::CONST_TIME);
    int iEdges = 0;
    double dWorst = 0;
    for (const scene::Edge& stEdge : scene::StraightEdges()) {
        const Vec3 stMiddle = stRoom.DirectionTo((stEdge.stFrom + stEdge.stTo) * 0.5);
        const Point stCentre = optics::FisheyeFraction(stMiddle);
        if (!optics::InCircle(stCentre))
            continue;
        for (const int iZoom : {10000, 5000, 2000}) {
            const engine::ViewSettings stSettings =
                exact::PanTiltZoom(GetParam(), int(std::lround(stCentre.x * 10000)),
                                   int(std::lround(stCentre.y * 10000)), iZoom);
            const std::optional<EdgeInView> st = Aim(stRoom, stEdge, stSettings);
            if (!st)
                continue;
            const scene::Picture stPicture =
                exact::Corrected(stSource, stSettings, CONST_WIDTH, CONST_HEIGHT);
            const std::vector<int> vecPlaces = PlainPlaces(*st);
            for (const int iPlace : vecPlaces) {
                const double dOffset = OffsetOf(stPicture, *st, iPlace);
                EXPECT_LE(std::abs(dOffset), 0.3)
                    << stEdge.svName << ", zoom " << iZoom << ", " << iPlace << " pixels along";
                dWorst = std::max(dWorst, std::abs(dOffset));
            }
            iEdges += vecPlaces.size() > 40;
        }
    }
    std::printf("%d edges, at most %.3f pixels off\n", iEdges, dWorst);
    EXPECT_GE(iEdges, 6);
}

}  // namespace
