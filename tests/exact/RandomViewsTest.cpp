// Pan/tilt/zoom views of a picture of the room, beside the same views of the room itself.
#include <cmath>
#include <cstdio>
#include <random>

#include <gmock/gmock.h>

#include "tests/exact/Corrected.h"

namespace {

using optics::Mount;
using scene::Picture;

constexpr int CONST_VIEWS = 67;  // for each of three mounts
constexpr int CONST_WIDTH = 480;
constexpr int CONST_HEIGHT = 360;

/// Anywhere in the circle, at any zoom.
engine::ViewSettings RandomView(Mount eMount, std::mt19937& stRandom)
{
    std::uniform_real_distribution<double> stUnit(0, 1);
    const double dRadius = 5000 * std::sqrt(stUnit(stRandom));
    const double dAngle = 2 * optics::PI * stUnit(stRandom);
    const int iX = int(std::lround(5000 + dRadius * std::cos(dAngle)));
    const int iY = int(std::lround(5000 + dRadius * std::sin(dAngle)));
    return exact::PanTiltZoom(eMount, iX, iY, int(500 + 9500 * stUnit(stRandom)));
}

Picture Truth(const engine::ViewSettings& stSettings)
{
    scene::Renderer st(stSettings.mount, CONST_WIDTH, CONST_HEIGHT,
                       scene::ThroughView(exact::ViewOf(stSettings, CONST_WIDTH, CONST_HEIGHT),
                                          CONST_WIDTH, CONST_HEIGHT, exact::SourceLens()));
    return st.Render(exact::CONST_TIME);
}

class RandomViews : public testing::TestWithParam<Mount>
{};
INSTANTIATE_TEST_SUITE_P(EachMount, RandomViews,
                         testing::Values(Mount::Ceiling, Mount::Wall, Mount::Floor));

// 38 dB over all views together. A single view that magnifies a few letters, each of whose edges is
// then many pixels wide, is limited by the source picture's own pixels, not by the correction.
TEST_P(RandomViews, LookAsTheRoomItselfDoes)
{
    const exact::Source& stSource = exact::SourceOf(GetParam());
    std::mt19937 stRandom(1);
    Picture stAllCorrected{CONST_WIDTH, 0, {}};
    Picture stAllTruth{CONST_WIDTH, 0, {}};
    double dWorst = HUGE_VAL;
    for (int i = 0; i < CONST_VIEWS; ++i) {
        const engine::ViewSettings st = RandomView(GetParam(), stRandom);
        const Picture stCorrected = exact::Corrected(stSource, st, CONST_WIDTH, CONST_HEIGHT);
        const Picture stTruth = Truth(st);
        EXPECT_GT(Psnr(stCorrected, stTruth), 30)
            << st.positionX << ',' << st.positionY << " zoom " << st.zoom;
        dWorst = std::min(dWorst, Psnr(stCorrected, stTruth));
        const auto Append = [](Picture& stAll, const Picture& stOne) {
            stAll.vecRgb.insert(stAll.vecRgb.end(), stOne.vecRgb.begin(), stOne.vecRgb.end());
        };
        Append(stAllCorrected, stCorrected);
        Append(stAllTruth, stTruth);
    }
    const double dTogether = Psnr(stAllCorrected, stAllTruth);
    std::printf("%d views: %.2f dB together, %.2f dB the worst\n", CONST_VIEWS, dTogether, dWorst);
    EXPECT_GE(dTogether, 38);
}

// The comparison notices a source picture that is off by one pixel: otherwise it would prove
// nothing.
TEST(Comparison, NoticesAShiftOfOnePixel)
{
    const exact::Source& stSource = exact::SourceOf(Mount::Ceiling);
    const engine::ViewSettings st = exact::PanTiltZoom(Mount::Ceiling, 5600, 3500, 5000);
    const Picture stTruth = Truth(st);
    exact::Source stShifted = stSource;
    std::rotate(stShifted.vecLuma.begin(), stShifted.vecLuma.begin() + 1, stShifted.vecLuma.end());
    const double dRight = Psnr(exact::Corrected(stSource, st, CONST_WIDTH, CONST_HEIGHT), stTruth);
    const double dWrong = Psnr(exact::Corrected(stShifted, st, CONST_WIDTH, CONST_HEIGHT), stTruth);
    EXPECT_LT(dWrong, dRight - 3);
}

}  // namespace
