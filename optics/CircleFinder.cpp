// In four steps: shrink the picture, so that noise averages out; walk inwards from every border to
// the first bright place; find the circle that most of these places lie on (random triples, fixed
// seed: the answer is the same for the same picture); measure its rim again, at full size, along
// rays from its centre. What the scene looks like inside the circle never matters.
#include "optics/CircleFinder.h"

#include <array>
#include <random>
#include <vector>

namespace optics {
namespace {

constexpr int CONST_MIN_SIZE = 64;
constexpr int CONST_MAX_SIZE = 16384;
constexpr int CONST_MAX_ASPECT = 8;        ///< keeps the shrunken picture from vanishing
constexpr int CONST_COARSE_SIZE = 480;     ///< the longer side of the shrunken picture, at most
constexpr int CONST_TRIPLES = 600;         ///< random circles tried at each threshold
constexpr int CONST_RAYS = 720;            ///< on which the rim is measured
constexpr double CONST_MIN_RADIUS = 0.22;  ///< of the picture's shorter side
constexpr double CONST_MAX_RADIUS = 0.75;  ///< of the picture's longer side
constexpr double CONST_TOLERANCE = 0.006;  ///< of the radius: how far a rim point may lie off
constexpr double CONST_MIN_CONFIDENCE = 0.4;
constexpr double CONST_WIDEST_GAP = 200.0 / 360.0;  ///< of the rim without a point
constexpr double CONST_MAX_BRIGHT_OUTSIDE = 0.12;   ///< of the surround: room for some text
/// How much brighter than the surround the disc may be taken to begin; the best fit wins.
constexpr std::array<int, 5> CONST_THRESHOLDS = {5, 10, 20, 40, 80};

struct Circle
{
    Point stCentre;
    double dRadius;
};

/// A borrowed picture.
struct Luma
{
    const std::uint8_t* pcData;
    int iWidth;
    int iHeight;
    std::ptrdiff_t iStride;

    int At(int iX, int iY) const { return pcData[iY * iStride + iX]; }
    bool Holds(const Point& st, double dMargin) const
    {
        return st.x >= dMargin && st.y >= dMargin && st.x <= iWidth - 1 - dMargin &&
               st.y <= iHeight - 1 - dMargin;
    }
    /// The mean of the 3 x 3 pixels about a position that is held with a margin of 2.
    double Smooth(const Point& st) const
    {
        const int iX = static_cast<int>(std::lround(st.x));
        const int iY = static_cast<int>(std::lround(st.y));
        int iSum = 0;
        for (int j = -1; j <= 1; ++j)
            iSum += At(iX - 1, iY + j) + At(iX, iY + j) + At(iX + 1, iY + j);
        return iSum / 9.0;
    }
};

/// The picture, every block of iFactor x iFactor pixels averaged into one.
struct Coarse
{
    int iFactor;
    int iWidth;
    int iHeight;
    std::vector<std::uint8_t> vecData;

    explicit Coarse(const Luma& luma)
        : iFactor((std::max(luma.iWidth, luma.iHeight) + CONST_COARSE_SIZE - 1) /
                  CONST_COARSE_SIZE),
          iWidth(luma.iWidth / iFactor), iHeight(luma.iHeight / iFactor),
          vecData(static_cast<std::size_t>(iWidth) * iHeight)
    {
        for (int iY = 0; iY < iHeight; ++iY) {
            for (int iX = 0; iX < iWidth; ++iX)
                vecData[static_cast<std::size_t>(iY) * iWidth + iX] = Mean(luma, iX, iY);
        }
    }

    int At(int iX, int iY) const { return vecData[static_cast<std::size_t>(iY) * iWidth + iX]; }

private:
    std::uint8_t Mean(const Luma& luma, int iX, int iY) const
    {
        int iSum = 0;
        for (int j = 0; j < iFactor; ++j) {
            for (int i = 0; i < iFactor; ++i)
                iSum += luma.At(iX * iFactor + i, iY * iFactor + j);
        }
        return static_cast<std::uint8_t>(iSum / (iFactor * iFactor));
    }
};

/// The surround's level: the second darkest of the four corners, each by its median, so that text
/// over a corner or two does not matter.
int LevelOfSurround(const Coarse& coarse)
{
    const int iSize = std::max(2, std::min(coarse.iWidth, coarse.iHeight) / 16);
    std::array<int, 4> aiMedians = {};
    for (int iCorner = 0; iCorner < 4; ++iCorner) {
        const int iLeft = iCorner % 2 == 0 ? 0 : coarse.iWidth - iSize;
        const int iTop = iCorner / 2 == 0 ? 0 : coarse.iHeight - iSize;
        std::vector<int> vecLevels;
        for (int iY = 0; iY < iSize; ++iY) {
            for (int iX = 0; iX < iSize; ++iX)
                vecLevels.push_back(coarse.At(iLeft + iX, iTop + iY));
        }
        const auto middle = vecLevels.begin() + static_cast<std::ptrdiff_t>(vecLevels.size() / 2);
        std::nth_element(vecLevels.begin(), middle, vecLevels.end());
        aiMedians[iCorner] = *middle;
    }
    std::sort(aiMedians.begin(), aiMedians.end());
    return aiMedians[1];
}

/// The first place along a line from a border where the picture is bright and stays so for a while;
/// -1 when there is none, or when it is bright from the start: there the border cuts the disc.
template <typename LevelAt>
int FirstBright(LevelAt levelAt, int iLength, int iThreshold)
{
    const int iWhile = std::max(3, iLength / 60);
    int iBright = 0;
    for (int i = 0; i < iLength; ++i) {
        iBright = levelAt(i) > iThreshold ? iBright + 1 : 0;
        if (iBright == iWhile)
            return i - iWhile + 1 < 2 ? -1 : i - iWhile + 1;
    }
    return -1;
}

/// Where the disc begins, seen from each of the four borders, in coarse pixels.
std::vector<Point> PlacesWhereItBegins(const Coarse& coarse, int iThreshold)
{
    std::vector<Point> vecPlaces;
    const int iLastX = coarse.iWidth - 1;
    const int iLastY = coarse.iHeight - 1;
    for (int iY = 0; iY <= iLastY; ++iY) {
        const auto fromLeft = [&](int i) { return coarse.At(i, iY); };
        const auto fromRight = [&](int i) { return coarse.At(iLastX - i, iY); };
        const int iLeft = FirstBright(fromLeft, coarse.iWidth, iThreshold);
        const int iRight = FirstBright(fromRight, coarse.iWidth, iThreshold);
        if (iLeft >= 0)
            vecPlaces.push_back({iLeft - 0.5, static_cast<double>(iY)});
        if (iRight >= 0)
            vecPlaces.push_back({iLastX - iRight + 0.5, static_cast<double>(iY)});
    }
    for (int iX = 0; iX <= iLastX; ++iX) {
        const auto fromTop = [&](int i) { return coarse.At(iX, i); };
        const auto fromBottom = [&](int i) { return coarse.At(iX, iLastY - i); };
        const int iTop = FirstBright(fromTop, coarse.iHeight, iThreshold);
        const int iBottom = FirstBright(fromBottom, coarse.iHeight, iThreshold);
        if (iTop >= 0)
            vecPlaces.push_back({static_cast<double>(iX), iTop - 0.5});
        if (iBottom >= 0)
            vecPlaces.push_back({static_cast<double>(iX), iLastY - iBottom + 0.5});
    }
    return vecPlaces;
}

/// Solves a x = b for a symmetric positive 3 x 3 matrix by elimination; false when it is singular.
bool Solve(std::array<std::array<double, 4>, 3>& a)
{
    for (int i = 0; i < 3; ++i) {
        if (!(std::abs(a[i][i]) > 1e-9))
            return false;
        for (int j = 0; j < 3; ++j) {
            if (j == i)
                continue;
            const double dFactor = a[j][i] / a[i][i];
            for (int k = i; k < 4; ++k)
                a[j][k] -= dFactor * a[i][k];
        }
    }
    for (int i = 0; i < 3; ++i)
        a[i][3] /= a[i][i];
    return true;
}

/// The circle for which x^2 + y^2 = 2 a x + 2 b y + c holds best (Kasa, 1976), about their mean.
std::optional<Circle> FitAlgebraic(const std::vector<Point>& vecPoints)
{
    if (vecPoints.size() < 3)
        return std::nullopt;
    Point stMean = {0.0, 0.0};
    for (const Point& st : vecPoints)
        stMean = {stMean.x + st.x, stMean.y + st.y};
    const double dCount = static_cast<double>(vecPoints.size());
    stMean = {stMean.x / dCount, stMean.y / dCount};

    std::array<std::array<double, 4>, 3> normal = {};
    for (const Point& st : vecPoints) {
        const double dX = st.x - stMean.x;
        const double dY = st.y - stMean.y;
        const double adRow[] = {2.0 * dX, 2.0 * dY, 1.0, dX * dX + dY * dY};
        for (int i = 0; i < 3; ++i) {
            for (int j = 0; j < 4; ++j)
                normal[i][j] += adRow[i] * adRow[j];
        }
    }
    if (!Solve(normal))
        return std::nullopt;
    const double dA = normal[0][3];
    const double dB = normal[1][3];
    const double dSquare = normal[2][3] + dA * dA + dB * dB;
    if (!(dSquare > 0.0))
        return std::nullopt;
    return Circle{{stMean.x + dA, stMean.y + dB}, std::sqrt(dSquare)};
}

double DistanceFromRim(const Circle& circle, const Point& st)
{
    return std::abs(std::hypot(st.x - circle.stCentre.x, st.y - circle.stCentre.y) -
                    circle.dRadius);
}

std::vector<Point> PointsNear(const Circle& circle, const std::vector<Point>& vecPoints,
                              double dTolerance)
{
    std::vector<Point> vecNear;
    for (const Point& st : vecPoints) {
        if (DistanceFromRim(circle, st) <= dTolerance)
            vecNear.push_back(st);
    }
    return vecNear;
}

bool IsPlausible(const Circle& circle, int iWidth, int iHeight)
{
    const double dShorter = std::min(iWidth, iHeight);
    const double dLonger = std::max(iWidth, iHeight);
    return circle.dRadius >= CONST_MIN_RADIUS * dShorter &&
           circle.dRadius <= CONST_MAX_RADIUS * dLonger && circle.stCentre.x > 0.1 * iWidth &&
           circle.stCentre.x < 0.9 * iWidth && circle.stCentre.y > 0.1 * iHeight &&
           circle.stCentre.y < 0.9 * iHeight;
}

double CoarseTolerance(const Circle& circle)
{
    return std::max(1.0, CONST_TOLERANCE * circle.dRadius);
}

/// The circle on which most of the places lie, through random triples of them.
std::optional<Circle> CircleOfMost(const std::vector<Point>& vecPlaces, const Coarse& coarse)
{
    if (vecPlaces.size() < 40)
        return std::nullopt;
    std::minstd_rand random(1);
    const auto any = [&] { return vecPlaces[random() % vecPlaces.size()]; };
    std::optional<Circle> best;
    std::ptrdiff_t iBest = 0;
    for (int i = 0; i < CONST_TRIPLES; ++i) {
        const std::optional<Circle> circle = FitAlgebraic({any(), any(), any()});
        if (!circle || !IsPlausible(*circle, coarse.iWidth, coarse.iHeight))
            continue;
        const double dInner = circle->dRadius - CoarseTolerance(*circle);
        const double dOuter = circle->dRadius + CoarseTolerance(*circle);
        const std::ptrdiff_t iNear =
            std::count_if(vecPlaces.begin(), vecPlaces.end(), [&](const Point& st) {
                const double dX = st.x - circle->stCentre.x;
                const double dY = st.y - circle->stCentre.y;
                const double dSquare = dX * dX + dY * dY;
                return dSquare >= dInner * dInner && dSquare <= dOuter * dOuter;
            });
        if (iNear > iBest) {
            iBest = iNear;
            best = circle;
        }
    }
    for (int i = 0; best && i < 3; ++i)
        best = FitAlgebraic(PointsNear(*best, vecPlaces, CoarseTolerance(*best)));
    return best;
}

/// The share of the surround, out to a multiple of the radius, that is bright.
double BrightOutside(const Coarse& coarse, const Circle& circle, int iThreshold, double dOut)
{
    const double dInner = 1.03 * circle.dRadius + 1.0;
    const double dOuter = dOut * circle.dRadius + 2.0;
    int iOutside = 0;
    int iBright = 0;
    for (int iY = 0; iY < coarse.iHeight; ++iY) {
        for (int iX = 0; iX < coarse.iWidth; ++iX) {
            const double dX = iX - circle.stCentre.x;
            const double dY = iY - circle.stCentre.y;
            const double dSquare = dX * dX + dY * dY;
            if (dSquare <= dInner * dInner || dSquare > dOuter * dOuter)
                continue;
            ++iOutside;
            iBright += coarse.At(iX, iY) > iThreshold;
        }
    }
    return iOutside > 0 ? static_cast<double>(iBright) / iOutside : 1.0;  // none: nothing to go by
}

/// Bright all over, it is a second disc or no surround; bright about the rim, it is no circle.
bool IsSurroundDark(const Coarse& coarse, const Circle& circle, int iThreshold)
{
    return BrightOutside(coarse, circle, iThreshold, 10.0) <= CONST_MAX_BRIGHT_OUTSIDE &&
           BrightOutside(coarse, circle, iThreshold, 1.1) <= CONST_MAX_BRIGHT_OUTSIDE;
}

Point OnRay(const Circle& circle, int iRay, double dRadius)
{
    const double dAngle = 2.0 * PI * iRay / CONST_RAYS;
    return {circle.stCentre.x + dRadius * std::cos(dAngle),
            circle.stCentre.y + dRadius * std::sin(dAngle)};
}

/// The radius, within dReach of the circle's, at which a ray comes from the dark to half the
/// brightness inside; nothing without a clear step, or where the picture does not hold the ray.
std::optional<double> RimOnRay(const Luma& luma, const Circle& circle, int iRay, double dReach)
{
    const Point stOuterEnd = OnRay(circle, iRay, circle.dRadius + dReach);
    if (!luma.Holds(stOuterEnd, 2.0) ||
        !luma.Holds(OnRay(circle, iRay, circle.dRadius - dReach), 2.0))
        return std::nullopt;
    const int iSteps = static_cast<int>(2.0 * dReach);
    std::vector<double> vecLevels;  // from the outside inwards
    for (int i = 0; i <= iSteps; ++i)
        vecLevels.push_back(luma.Smooth(OnRay(circle, iRay, circle.dRadius + dReach - i)));
    const auto mean = [&](int iFrom, int iTo) {
        double dSum = 0.0;
        for (int i = iFrom; i < iTo; ++i)
            dSum += vecLevels[i];
        return dSum / (iTo - iFrom);
    };
    const double dOuter = mean(0, iSteps / 3);
    const double dInner = mean(iSteps - iSteps / 3, iSteps);
    if (dInner - dOuter < CONST_THRESHOLDS[0])
        return std::nullopt;
    const double dHalf = 0.5 * (dInner + dOuter);
    for (int i = 1; i <= iSteps; ++i) {
        if (vecLevels[i] > dHalf) {
            const double dPart = (dHalf - vecLevels[i - 1]) / (vecLevels[i] - vecLevels[i - 1]);
            return circle.dRadius + dReach - (i - 1) - std::clamp(dPart, 0.0, 1.0);
        }
    }
    return std::nullopt;
}

/// What the rays from a circle's centre say about it.
struct Rim
{
    std::vector<Point> vecPoints;
    int iRaysInside = 0;    ///< rays whose rim the picture holds
    double dWidestGap = 1;  ///< the widest part of the turn without a point that fits
};

Rim MeasureRim(const Luma& luma, const Circle& circle, double dReach, double dTolerance)
{
    Rim rim;
    int iFirst = -1;
    int iLast = -1;
    int iWidest = 0;
    for (int iRay = 0; iRay < CONST_RAYS; ++iRay) {
        rim.iRaysInside += luma.Holds(OnRay(circle, iRay, circle.dRadius), 2.0 + dReach);
        const std::optional<double> radius = RimOnRay(luma, circle, iRay, dReach);
        if (!radius || std::abs(*radius - circle.dRadius) > dTolerance)
            continue;
        rim.vecPoints.push_back(OnRay(circle, iRay, *radius));
        iWidest = std::max(iWidest, iLast >= 0 ? iRay - iLast : 0);
        iLast = iRay;
        iFirst = iFirst >= 0 ? iFirst : iRay;
    }
    if (iFirst >= 0)
        rim.dWidestGap =
            static_cast<double>(std::max(iWidest, iFirst + CONST_RAYS - iLast)) / CONST_RAYS;
    return rim;
}

/// The circle at full size: fitted to its own rim until it stands still, ever more closely.
std::optional<CircleFit> Refine(const Luma& luma, Circle circle)
{
    const double dTolerance = std::max(1.5, CONST_TOLERANCE * circle.dRadius);
    for (const double dWider : {3.0, 2.0, 1.0, 1.0}) {
        const double dReach = std::max(6.0, 2.0 * dWider * dTolerance);
        const Rim rim = MeasureRim(luma, circle, dReach, dWider * dTolerance);
        const std::optional<Circle> fitted = FitAlgebraic(rim.vecPoints);
        if (!fitted || !IsPlausible(*fitted, luma.iWidth, luma.iHeight))
            return std::nullopt;
        circle = *fitted;
    }
    const Rim rim = MeasureRim(luma, circle, std::max(6.0, 2.0 * dTolerance), dTolerance);
    if (rim.iRaysInside == 0 || rim.dWidestGap > CONST_WIDEST_GAP)
        return std::nullopt;
    const double dSeen = static_cast<double>(rim.vecPoints.size()) / rim.iRaysInside;
    return CircleFit{circle.stCentre, circle.dRadius, std::min(dSeen, 1.0)};
}

std::optional<CircleFit> FindAt(const Luma& luma, const Coarse& coarse, int iThreshold)
{
    const std::optional<Circle> circle =
        CircleOfMost(PlacesWhereItBegins(coarse, iThreshold), coarse);
    if (!circle || !IsPlausible(*circle, coarse.iWidth, coarse.iHeight) ||
        !IsSurroundDark(coarse, *circle, iThreshold))
        return std::nullopt;
    const double dMiddle = 0.5 * (coarse.iFactor - 1);  // of a block, in pixels of the picture
    return Refine(luma, {{circle->stCentre.x * coarse.iFactor + dMiddle,
                          circle->stCentre.y * coarse.iFactor + dMiddle},
                         circle->dRadius * coarse.iFactor});
}

}  // namespace

std::optional<CircleFit> FindCircle(const std::uint8_t* pcLuma, int iWidth, int iHeight,
                                    std::ptrdiff_t iStride)
{
    if (pcLuma == nullptr || std::min(iWidth, iHeight) < CONST_MIN_SIZE ||
        std::max(iWidth, iHeight) > CONST_MAX_SIZE || iStride < iWidth ||
        std::max(iWidth, iHeight) > CONST_MAX_ASPECT * std::min(iWidth, iHeight))
        return std::nullopt;
    const Luma luma{pcLuma, iWidth, iHeight, iStride};
    const Coarse coarse(luma);
    const int iSurround = LevelOfSurround(coarse);
    std::optional<CircleFit> best;
    for (const int iThreshold : CONST_THRESHOLDS) {
        const std::optional<CircleFit> fit = FindAt(luma, coarse, iSurround + iThreshold);
        if (fit && fit->dConfidence >= CONST_MIN_CONFIDENCE &&
            (!best || fit->dConfidence > best->dConfidence))
            best = fit;
    }
    return best;
}

}  // namespace optics
