#include "tools/scene/Renderer.h"

#include <cmath>

#include <gmock/gmock.h>

namespace {

using optics::Mount;
using scene::Mapping;
using scene::Picture;
using scene::Renderer;

optics::Lens LensFor(int iSize, double dFovDeg = 180)
{
    optics::LensParameters st;
    st.dFovDeg = dFovDeg;
    st.stCentre = {(iSize - 1) / 2.0, (iSize - 1) / 2.0};
    st.dCircleRadius = iSize / 2.0;
    std::string strError;
    return optics::Lens::Make(st, strError).value();
}

optics::View PanTiltZoom(Mount eMount, double dU, double dV, double dZoom)
{
    optics::ViewParameters st;
    st.eKind = optics::ViewKind::PanTiltZoom;
    st.eMount = eMount;
    st.stCentre = {dU, dV};
    st.dZoom = dZoom;
    return optics::View(st);
}

const std::uint8_t* PixelOf(const Picture& st, int iX, int iY)
{
    return &st.vecRgb[(std::size_t(iY) * st.iWidth + iX) * 3];
}

bool IsBlack(const Picture& st, int iX, int iY)
{
    const std::uint8_t* p = PixelOf(st, iX, iY);
    return p[0] == 0 && p[1] == 0 && p[2] == 0;
}

/// Every pixel the mean of 8 x 8 rays that know of no tiles and no shortcuts.
Picture Patiently(const scene::Room& stRoom, int iSize, const Mapping& fnMapping)
{
    Picture st{iSize, iSize, {}};
    for (int i = 0; i < iSize * iSize; ++i) {
        scene::Colour stSum{};
        for (int iRay = 0; iRay < 64; ++iRay) {
            const auto stDirection = fnMapping(
                {i % iSize - 0.5 + (iRay % 8 + 0.5) / 8, i / iSize - 0.5 + (iRay / 8 + 0.5) / 8});
            if (stDirection)
                stSum = stSum + stRoom.Look(*stDirection).stColour;
        }
        for (const float fValue : {stSum.fRed, stSum.fGreen, stSum.fBlue})
            st.vecRgb.push_back(std::uint8_t(std::min(1.0f, fValue / 64) * 255 + 0.5f));
    }
    return st;
}

TEST(Renderer, DrawsWhatPatientRaysSee)
{
    constexpr int iSize = 192;
    for (const Mount eMount : {Mount::Ceiling, Mount::Wall, Mount::Floor}) {
        const Mapping fnMapping = scene::ThroughLens(LensFor(iSize, 200));
        Renderer stRenderer(eMount, iSize, iSize, fnMapping);
        const Picture stTruth = Patiently(scene::Room(eMount, 3.0), iSize, fnMapping);
        EXPECT_GT(Psnr(stRenderer.Render(3.0), stTruth), 40) << int(eMount);
    }
}

TEST(Renderer, LeavesNoTraceOfEarlierPictures)
{
    constexpr int iSize = 300;
    const Mapping fnMapping = scene::ThroughLens(LensFor(iSize));
    Renderer stFirst(Mount::Ceiling, iSize, iSize, fnMapping);
    for (const double dSeconds : {0.0, 5.0, 2.5})
        stFirst.Render(dSeconds);
    Renderer stSecond(Mount::Ceiling, iSize, iSize, fnMapping);
    EXPECT_EQ(stFirst.Render(7.0).vecRgb, stSecond.Render(7.0).vecRgb);
}

TEST(Renderer, ShowsPeopleMove)
{
    constexpr int iSize = 200;
    Renderer st(Mount::Ceiling, iSize, iSize, scene::ThroughLens(LensFor(iSize)));
    const Picture stBefore = st.Render(0.0);
    EXPECT_LT(Psnr(stBefore, st.Render(1.0)), 35);
    EXPECT_EQ(stBefore.vecRgb, st.Render(0.0).vecRgb);
}

TEST(Renderer, IsBlackOutsideTheImageCircleAndOnlyThere)
{
    constexpr int iSize = 256;
    Renderer stRenderer(Mount::Ceiling, iSize, iSize, scene::ThroughLens(LensFor(iSize)));
    const Picture& st = stRenderer.Render(1.0);
    for (int iY = 0; iY < iSize; ++iY) {
        for (int iX = 0; iX < iSize; ++iX) {
            const double dRadius = std::hypot(iX - 127.5, iY - 127.5);
            if (std::abs(dRadius - 128) > 1) {
                ASSERT_EQ(IsBlack(st, iX, iY), dRadius > 128) << iX << ' ' << iY;
            }
        }
    }
}

TEST(Renderer, TakesPicturesOfAnyShape)
{
    for (const auto& [iWidth, iHeight] : {std::pair(1, 1), std::pair(17, 3), std::pair(3, 50)}) {
        Renderer st(Mount::Floor, iWidth, iHeight, scene::ThroughLens(LensFor(iWidth)));
        EXPECT_EQ(st.Render(0).vecRgb.size(), std::size_t(iWidth) * iHeight * 3);
    }
}

// A view's pixel and the lens's pixel of the same direction have the same colour: both show the
// middle of one large plain patch.
TEST(Renderer, ShowsTheSameThroughALensAndInAView)
{
    constexpr int iSize = 1000;
    const optics::Lens stLens = LensFor(iSize);
    Renderer stFisheye(Mount::Ceiling, iSize, iSize, scene::ThroughLens(stLens));
    const Picture& stSource = stFisheye.Render(3.0);
    for (const double dU : {0.3, 0.53, 0.7}) {
        const optics::View stView = PanTiltZoom(Mount::Ceiling, dU, 0.4, 2000);
        Renderer stDirect(Mount::Ceiling, 101, 101, scene::ThroughView(stView, 101, 101));
        const std::uint8_t* pView = PixelOf(stDirect.Render(3.0), 50, 50);
        const auto stPixel = stLens.Project(*stView.Direction({0.5, 0.5}));
        const std::uint8_t* pLens =
            PixelOf(stSource, int(std::lround(stPixel->x)), int(std::lround(stPixel->y)));
        for (const int iChannel : {0, 1, 2})
            EXPECT_NEAR(pView[iChannel], pLens[iChannel], 2) << dU;
    }
}

TEST(Renderer, LeavesAViewBlackWhereTheLensSeesNothing)
{
    const optics::View stView =
        PanTiltZoom(Mount::Ceiling, 0.5, 0.0, 10000);  // half beyond the rim
    Renderer stMasked(Mount::Ceiling, 64, 64, scene::ThroughView(stView, 64, 64, LensFor(64)));
    Renderer stWhole(Mount::Ceiling, 64, 64, scene::ThroughView(stView, 64, 64));
    EXPECT_TRUE(IsBlack(stMasked.Render(0), 32, 4));
    EXPECT_FALSE(IsBlack(stWhole.Render(0), 32, 4));
    EXPECT_FALSE(IsBlack(stMasked.Render(0), 32, 60));
}

TEST(Psnr, IsWhatTheFormulaSays)
{
    const Picture a{1, 1, {10, 20, 30}};
    const Picture b{1, 1, {11, 21, 31}};
    EXPECT_NEAR(Psnr(a, b), 48.1308, 1e-4);
    EXPECT_TRUE(std::isinf(Psnr(a, a)));
}

}  // namespace
