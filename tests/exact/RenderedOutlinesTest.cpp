// The outlines that the correction library traces are the borders of the pictures that the engine
// renders. Where they run is not worked out here: the source pictures are waves, from which every
// rendered pixel tells where in the fisheye picture it was taken. So a pan/tilt/zoom picture tells
// where its border runs, and the picture of a wide view turns the points of an outline that is
// drawn on it into places of the fisheye picture. The library's own formulas only say which part of
// a border a wide view shows at all.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "optics/FisheyePicture.h"
#include "optics/View.h"
#include "tests/correction/Library.h"
#include "tests/engine/EngineUnderTest.h"
#include "tests/support/Lines.h"

namespace {

using lines::Distance;
using lines::Line;
using optics::Point;
using test::Images;

constexpr int CONST_PICTURE = 2048;      // the fisheye picture, and the source: an ideal lens
constexpr double CONST_EXACT = 0.5;      // pixels of it
constexpr int CONST_SIDE = 512;          // of a pan/tilt/zoom picture
constexpr double CONST_AMPLITUDE = 100;  // of the waves, in grey levels
constexpr double CONST_FINE = 32;        // wavelengths, in pixels: for the digits behind the point
constexpr double CONST_COARSE = 2560;    // for those before it; longer than the picture

/// Behind the first of two points as far as the second lies before it, times `dFactor`.
Point Beyond(const Point& stFirst, const Point& stSecond, double dFactor)
{
    return {stFirst.x + dFactor * (stFirst.x - stSecond.x),
            stFirst.y + dFactor * (stFirst.y - stSecond.y)};
}

/// One of the eight source pictures: a wave along one axis.
struct Wave
{
    bool blDown;
    double dLength;
    bool blSine;

    double At(int iX, int iY) const
    {
        const double dPhase = 2 * optics::PI * (blDown ? iY : iX) / dLength;
        return 128 + CONST_AMPLITUDE * (blSine ? std::sin(dPhase) : std::cos(dPhase));
    }
};

constexpr Wave CONST_WAVES[] = {
    {false, CONST_FINE, false},  {false, CONST_FINE, true},  {false, CONST_COARSE, false},
    {false, CONST_COARSE, true}, {true, CONST_FINE, false},  {true, CONST_FINE, true},
    {true, CONST_COARSE, false}, {true, CONST_COARSE, true},
};

const test::Bytes& ClipOf(std::size_t iWave)
{
    static const std::vector<test::Bytes> s_clips = [] {
        std::vector<test::Bytes> clips;
        for (const Wave& stWave : CONST_WAVES) {
            test::ClipOptions options;
            options.width = options.height = CONST_PICTURE;
            options.pictures = 1;
            options.range = AVCOL_RANGE_JPEG;
            options.lossless = true;
            options.paint = [&](int, int iX, int iY) {
                const double dGrey = stWave.At(iX, iY);
                return test::Colour{dGrey, dGrey, dGrey};
            };
            clips.push_back(test::MakeClip(options));
        }
        return clips;
    }();
    return s_clips[iWave];
}

/// A view to be rendered.
struct Shot
{
    int iMode;
    int iWidth, iHeight;
    int iX, iY, iZoom;
};

/// A rendered view, each pixel the place of the fisheye picture that it shows.
class Places
{
public:
    Places(int iWidth, int iHeight)
        : m_iWidth(iWidth), m_iHeight(iHeight),
          m_vecPlaces(std::size_t(iWidth) * iHeight, Point{std::nan(""), std::nan("")})
    {}

    /// @param vecGreys  the view rendered from each of the waves
    static Places Of(const Shot& shot, const std::vector<std::vector<std::uint8_t>>& vecGreys)
    {
        Places places(shot.iWidth, shot.iHeight);
        for (std::size_t i = 0; i < places.m_vecPlaces.size(); ++i) {
            const auto along = [&](std::size_t iWave) {
                return Along(vecGreys[iWave][i], vecGreys[iWave + 1][i], vecGreys[iWave + 2][i],
                             vecGreys[iWave + 3][i]);
            };
            places.m_vecPlaces[i] = {along(0), along(4)};
        }
        return places;
    }

    /// What the pixel shows; nothing where it is black.
    std::optional<Point> At(int iX, int iY) const
    {
        const Point& st = m_vecPlaces[std::size_t(iY) * m_iWidth + iX];
        return std::isnan(st.x) || std::isnan(st.y) ? std::nullopt : std::optional(st);
    }

    /// What is shown at a fraction of the view, its outermost half pixels included.
    std::optional<Point> AtFraction(const Point& stFraction) const
    {
        const double dX = stFraction.x * m_iWidth - 0.5;
        const double dY = stFraction.y * m_iHeight - 0.5;
        const int iX = std::clamp(int(std::floor(dX)), 0, m_iWidth - 2);
        const int iY = std::clamp(int(std::floor(dY)), 0, m_iHeight - 2);
        const auto stA = At(iX, iY), stB = At(iX + 1, iY);
        const auto stC = At(iX, iY + 1), stD = At(iX + 1, iY + 1);
        if (!stA || !stB || !stC || !stD)
            return std::nullopt;
        const auto mix = [](double a, double b, double t) { return a + (b - a) * t; };
        return Point{mix(mix(stA->x, stB->x, dX - iX), mix(stC->x, stD->x, dX - iX), dY - iY),
                     mix(mix(stA->y, stB->y, dX - iX), mix(stC->y, stD->y, dX - iX), dY - iY)};
    }

    /// The view's border, half a pixel outside its outermost pixels, as far as it is not black.
    std::vector<Line> Border() const
    {
        std::vector<Line> vecLines;
        const int iRight = m_iWidth - 1;
        const int iBottom = m_iHeight - 1;
        AddSide(vecLines, m_iWidth, [&](int i, int iIn) { return At(i, iIn); });
        AddSide(vecLines, m_iWidth, [&](int i, int iIn) { return At(i, iBottom - iIn); });
        AddSide(vecLines, m_iHeight, [&](int i, int iIn) { return At(iIn, i); });
        AddSide(vecLines, m_iHeight, [&](int i, int iIn) { return At(iRight - iIn, i); });
        return vecLines;
    }

private:
    /// The place along one axis that the two waves' cosine and sine stand for; not a number where
    /// there is no wave, but black.
    static double Along(int iFineCos, int iFineSin, int iCoarseCos, int iCoarseSin)
    {
        if (std::hypot(iFineCos - 128, iFineSin - 128) > 1.2 * CONST_AMPLITUDE)
            return std::nan("");
        const auto turns = [](int iCos, int iSin) {
            return std::atan2(iSin - 128, iCos - 128) / (2 * optics::PI);
        };
        const double dFine = CONST_FINE * turns(iFineCos, iFineSin);
        const double dCoarse = turns(iCoarseCos, iCoarseSin);
        const double dRough = CONST_COARSE * (dCoarse < -0.05 ? dCoarse + 1 : dCoarse);
        return dFine + CONST_FINE * std::round((dRough - dFine) / CONST_FINE);
    }

    /// @param pixel  the pixel at a place along the side, so many pixels inside it
    template <typename Pixel>
    static void AddSide(std::vector<Line>& vecLines, int iLength, const Pixel& pixel)
    {
        Line line;
        const auto end = [&] {
            if (line.size() > 4) {  // as far as the last pixels reach, where it goes on black
                const std::size_t iLast = line.size() - 1;
                line.push_back(Beyond(line[iLast], line[iLast - 4], 0.25));
                line.insert(line.begin(), Beyond(line[0], line[4], 0.25));
                vecLines.push_back(line);
            }
            line.clear();
        };
        for (int i = 0; i < iLength; ++i) {
            const auto stOuter = pixel(i, 0);
            const auto stInner = pixel(i, 4);
            if (stOuter && stInner)
                line.push_back(Beyond(*stOuter, *stInner, 0.125));
            else
                end();
        }
        end();
    }

    int m_iWidth, m_iHeight;
    std::vector<Point> m_vecPlaces;
};

/// The views as the engine renders them, in order, from each of the waves in turn.
std::vector<Places> Render(int iMount, const std::vector<Shot>& vecShots)
{
    std::vector<std::vector<std::vector<std::uint8_t>>> vecGreys(vecShots.size());
    for (std::size_t iWave = 0; iWave < std::size(CONST_WAVES); ++iWave) {
        std::vector<std::unique_ptr<Images>> vecImages;  // outlive the player
        test::TestPlayer player;
        RV(RV_SetFrameListBufferSize)(player.Id(), 64 << 20);
        for (const Shot& st : vecShots) {
            vecImages.push_back(std::make_unique<Images>());
            const int iView = player.AddView(st.iMode, iMount, st.iX, st.iY, st.iZoom);
            EXPECT_EQ(player.Listen(iView, *vecImages.back(), st.iWidth, st.iHeight), 0);
        }
        EXPECT_EQ(player.Play(), 0);
        EXPECT_EQ(player.Put(ClipOf(iWave)), 0);
        EXPECT_EQ(player.End(), 0);
        for (std::size_t i = 0; i < vecShots.size(); ++i) {
            const Images::Image image = vecImages[i]->Await(1);
            std::vector<std::uint8_t> vecGrey(std::size_t(vecShots[i].iWidth) *
                                              vecShots[i].iHeight);
            EXPECT_EQ(image.pixels.size(), vecGrey.size() * 4);
            for (std::size_t j = 0; j < image.pixels.size() / 4; ++j)
                vecGrey[j] = image.pixels[4 * j + 1];
            vecGreys[i].push_back(std::move(vecGrey));
        }
    }
    std::vector<Places> vecPlaces;
    for (std::size_t i = 0; i < vecShots.size(); ++i)
        vecPlaces.push_back(Places::Of(vecShots[i], vecGreys[i]));
    return vecPlaces;
}

struct Pose
{
    const char* szName;
    int iX, iY, iZoom;
};

constexpr Pose CONST_POSES[] = {
    {"at the pole", 5000, 5000, 10000},       {"beside the pole, near", 5000, 5010, 1000},
    {"through the pole", 5000, 7500, 10000},  {"over the seam", 5030, 2000, 3000},
    {"wide over the seam", 4800, 2500, 9000}, {"over the rim", 9400, 5600, 6000},
    {"anywhere", 6700, 3300, 10000},          {"near", 3100, 6200, 500},
};

/// The wide views, large enough that a pixel of them is about one of the fisheye picture.
constexpr Shot CONST_WIDE[] = {
    {RV_MODE_PANORAMA, 2048, 512, 0, 0, 0},
    {RV_MODE_180, 1024, 768, 0, 0, 0},
    {RV_MODE_LAT, 1024, 1024, 0, 0, 0},
};

struct Rendered
{
    std::vector<Places> vecPoses;
    std::vector<Places> vecWide;
};

/// Everything that the tests of a mount look at, rendered once.
const Rendered& RenderedFor(int iMount)
{
    static std::map<int, Rendered> s_map;
    const auto [it, blNew] = s_map.try_emplace(iMount);
    if (blNew) {
        std::vector<Shot> vecShots;
        for (const Pose& st : CONST_POSES)
            vecShots.push_back({RV_MODE_PTZ, CONST_SIDE, CONST_SIDE, st.iX, st.iY, st.iZoom});
        vecShots.insert(vecShots.end(), std::begin(CONST_WIDE), std::end(CONST_WIDE));
        std::vector<Places> vecPlaces = Render(iMount, vecShots);
        const auto itWide = vecPlaces.begin() + std::size(CONST_POSES);
        it->second.vecPoses.assign(vecPlaces.begin(), itWide);
        it->second.vecWide.assign(itWide, vecPlaces.end());
    }
    return it->second;
}

/// Mount, and the mode of the view that the outlines are drawn on.
class RenderedOutlines : public testing::TestWithParam<std::tuple<int, int>>
{
protected:
    int Mount() const { return std::get<0>(GetParam()); }
    int Mode() const { return std::get<1>(GetParam()); }

    /// An outline in pixels of the fisheye picture.
    std::vector<Line> OutlineOf(const Pose& pose) const
    {
        const correction_test::Handle handle;
        const correction_test::Traced traced = correction_test::Trace(
            handle.Get(), correction_test::Outline(Mount(), Mode(),
                                                   {float(pose.iX) / 10000, float(pose.iY) / 10000},
                                                   float(pose.iZoom) / 10000));
        EXPECT_EQ(traced.iResult, 0);
        std::vector<Line> vecLines;
        for (const auto& vecPoints : traced.vecLines) {
            vecLines.emplace_back();
            for (const correction_test::Pair& st : vecPoints) {
                const auto stPlace = PlaceOf({st.fX, st.fY});
                EXPECT_TRUE(stPlace) << st.fX << ", " << st.fY << " is black";
                if (stPlace)
                    vecLines.back().push_back(*stPlace);
            }
        }
        return vecLines;
    }

    /// What the view that the outlines are drawn on shows at a fraction.
    std::optional<Point> PlaceOf(const Point& stFraction) const
    {
        for (std::size_t i = 0; i < std::size(CONST_WIDE); ++i)
            if (CONST_WIDE[i].iMode == Mode())
                return RenderedFor(Mount()).vecWide[i].AtFraction(stFraction);
        return Point{stFraction.x * CONST_PICTURE - 0.5, stFraction.y * CONST_PICTURE - 0.5};
    }

    /// Whether the source goes on around a place of it. Where it ends its last pixel is repeated,
    /// and no colour tells how far beyond that pixel the engine looked.
    static bool CanBeRead(const Point& stPlace)
    {
        const auto inside = [](double d) { return d > 1 && d < CONST_PICTURE - 2; };
        return inside(stPlace.x) && inside(stPlace.y);
    }

    /// Whether the view that the outlines are drawn on shows a place of the fisheye picture.
    bool Shows(const Point& stPlace) const
    {
        optics::ViewParameters st;
        st.eKind = optics::ViewKind(Mode());
        st.eMount = optics::MountOf(Mount());
        return optics::View(st)
            .Fraction(optics::FisheyeDirection(
                {(stPlace.x + 0.5) / CONST_PICTURE, (stPlace.y + 0.5) / CONST_PICTURE}))
            .has_value();
    }
};
INSTANTIATE_TEST_SUITE_P(EachMountAndView, RenderedOutlines,
                         testing::Combine(testing::Values(1, 2, 3),
                                          testing::Values(RV_MODE_FISHEYE, RV_MODE_PANORAMA,
                                                          RV_MODE_180, RV_MODE_LAT)),
                         [](const auto& info) {
                             return "type" + std::to_string(std::get<0>(info.param)) + "mode" +
                                    std::to_string(std::get<1>(info.param));
                         });

TEST_P(RenderedOutlines, RunWhereTheBordersOfThePicturesDo)
{
    double dWorst = 0;
    for (std::size_t i = 0; i < std::size(CONST_POSES); ++i) {
        SCOPED_TRACE(CONST_POSES[i].szName);
        const std::vector<Line> vecOutline = OutlineOf(CONST_POSES[i]);
        const std::vector<Line> vecBorder = RenderedFor(Mount()).vecPoses[i].Border();
        ASSERT_FALSE(vecBorder.empty());
        double dOffBorder = 0;
        for (const Line& line : vecOutline)
            for (const Point& st : line)
                if (CanBeRead(st))
                    dOffBorder = std::max(dOffBorder, Distance(st, vecBorder));
        EXPECT_LE(dOffBorder, CONST_EXACT) << "the outline runs where no border is";
        double dOffOutline = 0;
        for (const Line& line : vecBorder)
            for (auto it = line.begin() + 1; it != line.end() - 1; ++it)  // not the prolonged ends
                if (CanBeRead(*it) && Shows(*it))
                    dOffOutline = std::max(dOffOutline, Distance(*it, vecOutline));
        EXPECT_LE(dOffOutline, CONST_EXACT) << "a border has no outline";
        dWorst = std::max({dWorst, dOffBorder, dOffOutline});
    }
    std::printf("at most %.3f pixels apart\n", dWorst);
}

// Otherwise the measurement would prove nothing.
TEST(Measurement, NoticesAnOutlineThatIsOffByAPixel)
{
    const Pose& pose = CONST_POSES[6];
    const correction_test::Handle handle;
    const correction_test::Traced traced = correction_test::Trace(
        handle.Get(), correction_test::Outline(3, RV_MODE_FISHEYE,
                                               {float(pose.iX + 5) / 10000, float(pose.iY) / 10000},
                                               float(pose.iZoom) / 10000));
    const std::vector<Line> vecBorder = RenderedFor(3).vecPoses[6].Border();
    double dOff = 0;
    for (const correction_test::Pair& st : traced.vecLines.at(0))
        dOff = std::max(
            dOff, Distance({st.fX * CONST_PICTURE - 0.5, st.fY * CONST_PICTURE - 0.5}, vecBorder));
    EXPECT_GT(dOff, CONST_EXACT);
}

}  // namespace
