// Views that show more of the source picture than they have pixels for: nearer to what the room
// looks like than single samples of the source are.
#include <cmath>
#include <cstdio>
#include <optional>
#include <ostream>

#include <gtest/gtest.h>

#include "engine/PlaySdk.h"
#include "tests/exact/Corrected.h"

namespace {

using optics::Mount;

/// The truth is drawn so many times larger each way and averaged; 16 rays a pixel come on top.
constexpr int CONST_FINER = 4;

struct Case
{
    const char* szName;
    Mount eMount;
    int iMode;
    int iX, iY;
    int iWidth, iHeight;
};

void PrintTo(const Case& st, std::ostream* out)
{
    *out << st.szName;
}

engine::ViewSettings SettingsOf(const Case& st)
{
    engine::ViewSettings stSettings = exact::PanTiltZoom(st.eMount, st.iX, st.iY, 10000);
    stSettings.mode = st.iMode;
    return stSettings;
}

/// The view's lumas as the room itself gives them: the mean over each pixel's square.
std::vector<double> Truth(const Case& st)
{
    const int iWidth = st.iWidth * CONST_FINER;
    const int iHeight = st.iHeight * CONST_FINER;
    scene::Renderer stRenderer(
        st.eMount, iWidth, iHeight,
        scene::ThroughView(exact::ViewOf(SettingsOf(st), st.iWidth, st.iHeight), iWidth, iHeight,
                           exact::SourceLens()));
    const scene::Picture& stFine = stRenderer.Render(exact::CONST_TIME);
    std::vector<double> vecLuma(std::size_t(st.iWidth) * st.iHeight);
    for (int iY = 0; iY < iHeight; ++iY) {
        for (int iX = 0; iX < iWidth; ++iX) {
            const std::uint8_t* p = &stFine.vecRgb[(std::size_t(iY) * iWidth + iX) * 3];
            vecLuma[std::size_t(iY / CONST_FINER) * st.iWidth + iX / CONST_FINER] +=
                exact::Luma(p[0], p[1], p[2]) / (CONST_FINER * CONST_FINER);
        }
    }
    return vecLuma;
}

/// One bilinear sample of the source for each pixel.
std::vector<double> PlainBilinear(const Case& st, const exact::Source& stSource)
{
    engine::CameraOptics stCamera;
    stCamera.lens = exact::SourceLens();
    const engine::ViewMapping stMapping(SettingsOf(st), {st.iWidth, st.iHeight},
                                        {exact::CONST_SOURCE, exact::CONST_SOURCE}, stCamera);
    const auto Sample = [&](const optics::Point& stAt) {
        const int iX = std::clamp(int(std::floor(stAt.x)), 0, exact::CONST_SOURCE - 2);
        const int iY = std::clamp(int(std::floor(stAt.y)), 0, exact::CONST_SOURCE - 2);
        const double dX = stAt.x - iX;
        const double dY = stAt.y - iY;
        const std::uint8_t* p = &stSource.vecLuma[std::size_t(iY) * exact::CONST_SOURCE + iX];
        const std::uint8_t* q = p + exact::CONST_SOURCE;
        return (p[0] * (1 - dX) + p[1] * dX) * (1 - dY) + (q[0] * (1 - dX) + q[1] * dX) * dY;
    };
    std::vector<double> vecLuma;
    for (int iY = 0; iY < st.iHeight; ++iY) {
        for (int iX = 0; iX < st.iWidth; ++iX) {
            const auto stAt = stMapping((iX + 0.5) / st.iWidth, (iY + 0.5) / st.iHeight);
            vecLuma.push_back(stAt ? Sample(*stAt) : 0);
        }
    }
    return vecLuma;
}

std::vector<double> Ours(const Case& st, const exact::Source& stSource)
{
    const scene::Picture stPicture =
        exact::Corrected(stSource, SettingsOf(st), st.iWidth, st.iHeight);
    std::vector<double> vecLuma;
    for (std::size_t i = 0; i < stPicture.vecRgb.size(); i += 3)
        vecLuma.push_back(stPicture.vecRgb[i]);  // grey
    return vecLuma;
}

double Decibels(const std::vector<double>& a, const std::vector<double>& b)
{
    double dSum = 0;
    for (std::size_t i = 0; i < a.size(); ++i)
        dSum += (a[i] - b[i]) * (a[i] - b[i]);
    return 10 * std::log10(255 * 255 * double(a.size()) / dSum);
}

class MinifiedViews : public testing::TestWithParam<Case>
{};
// The checkered floor below a ceiling and beside a wall camera, text and furniture about them all.
INSTANTIATE_TEST_SUITE_P(
    Views, MinifiedViews,
    testing::Values(Case{"CeilingStraightDown", Mount::Ceiling, RV_MODE_PTZ, 5000, 5000, 240, 180},
                    Case{"CeilingTilted", Mount::Ceiling, RV_MODE_PTZ, 5600, 7000, 160, 120},
                    Case{"CeilingThumbnail", Mount::Ceiling, RV_MODE_PTZ, 4000, 3500, 96, 96},
                    Case{"CeilingPanorama", Mount::Ceiling, RV_MODE_PANORAMA, 0, 0, 512, 128},
                    Case{"Wall", Mount::Wall, RV_MODE_PTZ, 5000, 6500, 160, 120},
                    Case{"WallHalf", Mount::Wall, RV_MODE_180, 0, 0, 240, 160},
                    Case{"Floor", Mount::Floor, RV_MODE_PTZ, 5000, 7500, 160, 120}),
    [](const auto& info) { return std::string(info.param.szName); });

TEST_P(MinifiedViews, AreThreeDecibelsNearerTheRoomThanPlainBilinearSamples)
{
    const exact::Source stSource = exact::GreySourceOf(GetParam().eMount);
    const std::vector<double> vecTruth = Truth(GetParam());
    const double dOurs = Decibels(Ours(GetParam(), stSource), vecTruth);
    const double dPlain = Decibels(PlainBilinear(GetParam(), stSource), vecTruth);
    std::printf("%s: %.2f dB, plain bilinear %.2f dB\n", GetParam().szName, dOurs, dPlain);
    EXPECT_GE(dOurs, dPlain + 3);
}

}  // namespace
