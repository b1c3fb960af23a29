#include <cmath>
#include <functional>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "optics/CircleFinder.h"
#include "tests/optics/Near.h"

namespace optics {
namespace {

struct Disc
{
    Point stCentre;
    double dRadius;
    double dAspect = 1.0;  ///< height to width
};

/// A picture put together step by step; every row has some bytes behind it that are not part of it.
class Picture
{
public:
    Picture(int iWidth, int iHeight, int iSurround = 16)
        : m_iWidth(iWidth), m_iHeight(iHeight), m_iStride(iWidth + 37),
          m_vecData(static_cast<std::size_t>(m_iStride) * iHeight, 255)
    {
        Paint([&](int, int) { return iSurround; });
    }

    Picture& Paint(const std::function<double(int, int)>& level)
    {
        for (int iY = 0; iY < m_iHeight; ++iY) {
            for (int iX = 0; iX < m_iWidth; ++iX)
                At(iX, iY) = static_cast<std::uint8_t>(std::clamp(level(iX, iY), 0.0, 255.0));
        }
        return *this;
    }

    /// A scene in a disc, its rim blended over one pixel.
    Picture& Add(const Disc& disc, const std::function<double(int, int)>& scene)
    {
        return Paint([&](int iX, int iY) {
            const double dRadius =
                std::hypot(iX - disc.stCentre.x, (iY - disc.stCentre.y) / disc.dAspect);
            const double dShare = std::clamp(disc.dRadius + 0.5 - dRadius, 0.0, 1.0);
            return (1.0 - dShare) * At(iX, iY) + dShare * scene(iX, iY);
        });
    }

    Picture& AddNoise(double dSigma)
    {
        std::mt19937 random(7);
        std::normal_distribution<double> normal(0.0, dSigma);
        return Paint([&](int iX, int iY) { return At(iX, iY) + normal(random); });
    }

    /// Bright strokes, as a camera's overlay writes a line of text.
    Picture& AddText(int iLeft, int iTop, int iWidth, int iHeight)
    {
        return Paint([&](int iX, int iY) {
            const bool blInside = iX >= iLeft && iX < iLeft + iWidth && iY >= iTop &&
                                  iY < iTop + iHeight && (iX / 4 + iY / 6) % 3 == 0;
            return blInside ? 235.0 : At(iX, iY);
        });
    }

    Picture& AddBox(int iLeft, int iTop, int iSide, std::uint8_t ucLevel)
    {
        for (int i = 0; i < iSide * iSide; ++i) {
            const int iX = iLeft + i % iSide;
            const int iY = iTop + i / iSide;
            if (iX >= 0 && iX < m_iWidth && iY >= 0 && iY < m_iHeight)
                At(iX, iY) = ucLevel;
        }
        return *this;
    }

    double Level(int iX, int iY) { return At(iX, iY); }

    std::optional<CircleFit> Find() const
    {
        return FindCircle(m_vecData.data(), m_iWidth, m_iHeight, m_iStride);
    }

private:
    std::uint8_t& At(int iX, int iY)
    {
        return m_vecData[static_cast<std::size_t>(iY) * m_iStride + iX];
    }

    int m_iWidth;
    int m_iHeight;
    int m_iStride;
    std::vector<std::uint8_t> m_vecData;
};

/// A scene with light and dark places down to dLow.
std::function<double(int, int)> Scene(double dLow, double dHigh)
{
    return [=](int iX, int iY) {
        return 0.5 * (dLow + dHigh) +
               0.5 * (dHigh - dLow) * std::sin(iX * 0.031 + 2.0 * std::sin(iY * 0.017));
    };
}

void ExpectFound(const Picture& picture, const Disc& disc, double dTolerance)
{
    const std::optional<CircleFit> fit = picture.Find();
    ASSERT_TRUE(fit);
    EXPECT_THAT(fit->stCentre, NearPoint(disc.stCentre, dTolerance));
    EXPECT_NEAR(fit->dRadius, disc.dRadius, dTolerance);
    EXPECT_GE(fit->dConfidence, 0.4);
    EXPECT_LE(fit->dConfidence, 1.0);
}

TEST(CircleFinder, FindsAWholeCircle)
{
    for (const Disc& disc : {Disc{{500, 400}, 380}, Disc{{611.5, 388.25}, 200}}) {
        Picture picture(1000, 800);
        picture.Add(disc, Scene(60, 220));
        ExpectFound(picture, disc, 0.75);
        EXPECT_GT(picture.Find()->dConfidence, 0.95);
    }
}

TEST(CircleFinder, FindsACircleThatJustFillsThePicture)
{
    for (const double dRadius : {511.5, 505.0, 540.0}) {
        const Disc disc{{511.5, 511.5}, dRadius};
        Picture picture(1024, 1024);
        picture.Add(disc, Scene(40, 220));
        ExpectFound(picture, disc, 0.5);
    }
}

TEST(CircleFinder, FindsItAtAnyPictureSize)
{
    for (const double dScale : {0.25, 1.0, 3.0}) {
        const Disc disc{{500 * dScale, 420 * dScale}, 380 * dScale};
        Picture picture(static_cast<int>(1000 * dScale), static_cast<int>(840 * dScale));
        picture.Add(disc, Scene(60, 220));
        ExpectFound(picture, disc, 1.0);
    }
}

TEST(CircleFinder, BearsNoise)
{
    const Disc disc{{480, 410}, 370};
    Picture picture(1000, 800, 20);
    picture.Add(disc, Scene(60, 200)).AddNoise(12.0);
    ExpectFound(picture, disc, 2.0);
}

TEST(CircleFinder, BearsADarkScene)
{
    const Disc disc{{480, 410}, 370};
    Picture picture(1000, 800, 16);
    picture.Add(disc, Scene(17, 34)).AddNoise(2.0);
    ExpectFound(picture, disc, 3.0);
}

TEST(CircleFinder, BearsASceneThatIsBlackOnOneSide)
{
    const Disc disc{{480, 410}, 370};
    Picture picture(1000, 800, 16);
    picture.Add(disc, [](int iX, int) { return iX < 420 ? 16.0 : 150.0; }).AddNoise(2.0);
    ExpectFound(picture, disc, 2.0);
}

TEST(CircleFinder, BearsTextOverThePicture)
{
    const Disc disc{{500, 400}, 380};
    Picture picture(1000, 800);
    picture.Add(disc, Scene(60, 200)).AddText(10, 10, 420, 40).AddText(700, 760, 290, 30);
    ExpectFound(picture, disc, 1.5);
}

TEST(CircleFinder, BearsCirclesThatTheBorderCuts)
{
    for (const Disc& disc : {Disc{{500, 400}, 470}, Disc{{500, 520}, 400}, Disc{{420, 400}, 450}}) {
        Picture picture(1000, 800);
        picture.Add(disc, Scene(60, 200)).AddNoise(3.0);
        ExpectFound(picture, disc, 2.0);
    }
}

TEST(CircleFinder, BearsARimThatFadesOut)
{
    const Disc disc{{500, 400}, 350};  // it fades from 338 to 362
    Picture picture(1000, 800);
    picture.Add({{500, 400}, 362}, [](int iX, int iY) {
        const double dRadius = std::hypot(iX - 500.0, iY - 400.0);
        return 16.0 + 150.0 * std::clamp((362.0 - dRadius) / 24.0, 0.0, 1.0);
    });
    ExpectFound(picture, disc, 12.0);
}

/// How bright a lens with a vignette lets its picture be at a share of the radius, as measured on
/// real ones: it fades over the last sixth, ends at less than half, and the stop itself is blurred.
double Vignette(double dShare)
{
    const double dFade = 1.0 - 0.55 * std::clamp((dShare - 0.85) / 0.15, 0.0, 1.0);
    return dFade * std::clamp((1.015 - dShare) / 0.03, 0.0, 1.0);
}

TEST(CircleFinder, MeasuresAVignettedRimAtItsStop)
{
    for (const double dScale : {0.5, 1.0, 2.0}) {
        const Disc scaled{{480 * dScale, 410 * dScale}, 370 * dScale};
        Picture picture(static_cast<int>(1000 * dScale), static_cast<int>(800 * dScale), 2);
        picture
            .Paint([&](int iX, int iY) {
                const double dShare =
                    std::hypot(iX - scaled.stCentre.x, iY - scaled.stCentre.y) / scaled.dRadius;
                return 2.0 + Vignette(dShare) * Scene(60, 220)(iX, iY);
            })
            .AddNoise(2.0);
        ExpectFound(picture, scaled, std::max(1.0, 0.004 * scaled.dRadius));
    }
}

TEST(CircleFinder, MeasuresAVignettedRimOfASceneWithADarkHalf)
{
    const Disc disc{{480, 410}, 370};
    Picture picture(1000, 800, 2);
    picture
        .Paint([&](int iX, int iY) {
            const double dShare = std::hypot(iX - 480.0, iY - 410.0) / 370.0;
            const double dScene = iY < 380 ? 240.0 : 35.0 + 20.0 * std::sin(iX * 0.05);
            return 2.0 + Vignette(dShare) * dScene;
        })
        .AddNoise(1.5);
    ExpectFound(picture, disc, 2.0);
}

TEST(CircleFinder, BearsANoisySurroundThatIsNotBlack)
{
    const Disc disc{{615, 534}, 475};  // cut at the bottom
    Picture picture(1304, 976, 35);
    picture.Add(disc, Scene(60, 120)).AddNoise(4.0).AddText(5, 940, 480, 34);
    ExpectFound(picture, disc, 2.5);
}

TEST(CircleFinder, BearsASurroundThatStrayLightMakesUneven)
{
    const Disc disc{{500, 400}, 370};
    Picture picture(1000, 800);
    picture.Paint([](int iX, int iY) { return 10.0 + 0.03 * iX + 0.01 * iY; });
    picture.Add(disc, Scene(90, 220)).AddNoise(2.0);
    ExpectFound(picture, disc, 1.5);
}

TEST(CircleFinder, BearsLampsThatGlareOverTheRim)
{
    const Disc disc{{500, 400}, 370};
    Picture picture(1000, 800);
    picture.Add(disc, Scene(30, 120));
    for (const Point& lamp : {Point{132, 420}, {140, 330}, {500, 32}, {800, 610}}) {
        picture.Paint([&](int iX, int iY) {
            const double dGlare = 235.0 * std::exp(-std::hypot(iX - lamp.x, iY - lamp.y) / 9.0);
            return std::max<double>(dGlare, picture.Level(iX, iY));
        });
    }
    ExpectFound(picture, disc, 1.5);
}

TEST(CircleFinder, BearsASurroundFullOfSpecks)
{
    const Disc disc{{500, 400}, 370};
    Picture picture(1000, 800);
    std::mt19937 random(5);
    for (int i = 0; i < 900; ++i)
        picture.AddBox(static_cast<int>(random() % 1000), static_cast<int>(random() % 800), 6, 200);
    picture.Add(disc, Scene(60, 200));
    ExpectFound(picture, disc, 1.5);
}

TEST(CircleFinder, BearsACircleOfWhichTheCornersAloneAreDark)
{
    const Disc disc{{500, 400}, 540};
    Picture picture(1000, 800);
    picture.Add(disc, Scene(60, 200)).AddNoise(3.0);
    ExpectFound(picture, disc, 3.0);
}

/// Points of light through foliage, out to a share of the radius that the bearing decides.
void AddSpecks(Picture& picture, const Disc& disc, int iSpecks, int iSide,
               const std::function<double(double)>& reach)
{
    std::mt19937 random(3);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    for (int i = 0; i < iSpecks; ++i) {
        const double dBearing = 2.0 * PI * unit(random);
        const double dRadius = disc.dRadius * reach(dBearing) * std::sqrt(unit(random));
        picture.AddBox(static_cast<int>(disc.stCentre.x + dRadius * std::sin(dBearing)),
                       static_cast<int>(disc.stCentre.y + dRadius * std::cos(dBearing)), iSide,
                       230);
    }
}

TEST(CircleFinder, BearsASceneOfPointsOfLight)
{
    const Disc disc{{500, 400}, 370};
    Picture picture(1000, 800, 0);
    AddSpecks(picture, disc, 60000, 2, [](double) { return 1.0; });
    ExpectFound(picture, disc, 4.0);
}

// Their outline is no rim: a circle through it would be wrong by a tenth, worse than none.
TEST(CircleFinder, RefusesPointsOfLightThatDoNotReachTheRim)
{
    Picture picture(1000, 800, 0);
    AddSpecks(picture, {{500, 400}, 370}, 9000, 4, [](double dBearing) {
        return 0.92 + 0.08 * std::sin(3.0 * dBearing) + 0.1 * std::cos(dBearing);
    });
    EXPECT_FALSE(picture.Find());
}

TEST(CircleFinder, RefusesTwoCircles)
{
    Picture picture(1600, 800);
    picture.Add({{400, 400}, 390}, Scene(60, 200)).Add({{1200, 400}, 390}, Scene(60, 200));
    EXPECT_FALSE(picture.Find());
}

TEST(CircleFinder, RefusesWhatIsNoCircle)
{
    EXPECT_FALSE(Picture(1000, 800).Find());
    EXPECT_FALSE(Picture(1000, 800).AddNoise(4.0).Find());
    EXPECT_FALSE(Picture(1000, 800).Paint(Scene(20, 220)).Find());
    EXPECT_FALSE(Picture(1000, 800).Paint([](int iX, int iY) { return (iX + iY) / 8.0; }).Find());
    EXPECT_FALSE(Picture(1000, 800)
                     .Paint([](int iX, int iY) {
                         return iX > 200 && iX < 800 && iY > 100 && iY < 700 ? 150.0 : 16.0;
                     })
                     .Find());
    Picture ellipse(1000, 800);
    ellipse.Add({{500, 400}, 330, 1.15}, Scene(60, 200));
    EXPECT_FALSE(ellipse.Find());
}

TEST(CircleFinder, RefusesALampThatIsTooSmallToBeThePicture)
{
    Picture picture(1000, 800);
    picture.Add({{500, 400}, 90}, Scene(200, 230));
    EXPECT_FALSE(picture.Find());
}

TEST(CircleFinder, GivesTheSameAnswerForTheSamePicture)
{
    Picture picture(1000, 800);
    picture.Add({{480, 410}, 370}, Scene(60, 200)).AddNoise(12.0);
    EXPECT_EQ(picture.Find()->dRadius, picture.Find()->dRadius);
}

TEST(CircleFinder, LooksAtPicturesOfAnyShape)
{
    for (const auto& [iWidth, iHeight] :
         {std::pair{64, 64}, {64, 512}, {512, 64}, {4096, 512}, {513, 97}, {4096, 64}, {64, 16384}})
        EXPECT_FALSE(Picture(iWidth, iHeight).Paint(Scene(0, 255)).AddNoise(60.0).Find());
}

TEST(CircleFinder, RefusesPicturesThatItCannotLookAt)
{
    const std::vector<std::uint8_t> vecData(100 * 100);
    EXPECT_FALSE(FindCircle(nullptr, 100, 100, 100));
    EXPECT_FALSE(FindCircle(vecData.data(), 63, 100, 100));
    EXPECT_FALSE(FindCircle(vecData.data(), 100, 63, 100));
    EXPECT_FALSE(FindCircle(vecData.data(), -100, 100, 100));
    EXPECT_FALSE(FindCircle(vecData.data(), 100, 100, 99));
    EXPECT_FALSE(FindCircle(vecData.data(), 20000, 100, 20000));
    EXPECT_FALSE(FindCircle(vecData.data(), 100, 100, 100));
}

}  // namespace
}  // namespace optics
