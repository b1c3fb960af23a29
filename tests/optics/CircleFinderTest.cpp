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
