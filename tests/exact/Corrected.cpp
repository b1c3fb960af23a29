#include "tests/exact/Corrected.h"

#include <cmath>
#include <map>
#include <optional>

#include "engine/PlaySdk.h"
#include "engine/dewarp/Frame.h"
#include "engine/dewarp/Mesh.h"

namespace exact {
namespace {

std::uint8_t ByteOf(double dValue)
{
    return std::uint8_t(std::lround(std::min(255.0, std::max(0.0, dValue))));
}

dewarp::Picture PictureOf(const Source& stSource)
{
    dewarp::Picture st;
    st.format = dewarp::PixelFormat::Nv12;
    st.matrix = dewarp::ColourMatrix::Bt709;
    st.chromaSite = dewarp::ChromaSite::Centre;
    st.fullRange = true;
    st.width = st.height = CONST_SOURCE;
    st.plane[0] = stSource.vecLuma.data();
    st.plane[1] = stSource.vecChroma.data();
    st.lineSize[0] = st.lineSize[1] = CONST_SOURCE;
    return st;
}

/// The mean of 2 x 2 pixels.
void PutChroma(const scene::Picture& stPicture, int iX, int iY, std::uint8_t* pChroma)
{
    double adSum[3] = {};
    for (const int i : {0, 1, 2, 3}) {
        const std::size_t szPixel = std::size_t(iY + i / 2) * CONST_SOURCE + iX + i % 2;
        for (const int iChannel : {0, 1, 2})
            adSum[iChannel] += stPicture.vecRgb[szPixel * 3 + iChannel] / 4.0;
    }
    const double dLuma = Luma(adSum[0], adSum[1], adSum[2]);
    pChroma[0] = ByteOf(128 + (adSum[2] - dLuma) / 1.8556);
    pChroma[1] = ByteOf(128 + (adSum[0] - dLuma) / 1.5748);
}

}  // namespace

double Luma(double dRed, double dGreen, double dBlue)
{
    return 0.2126 * dRed + 0.7152 * dGreen + 0.0722 * dBlue;
}

optics::Lens SourceLens()
{
    optics::LensParameters st;
    st.stCentre = {(CONST_SOURCE - 1) / 2.0, (CONST_SOURCE - 1) / 2.0};
    st.dCircleRadius = CONST_SOURCE / 2.0;
    std::string strError;
    return optics::Lens::Make(st, strError).value();
}

namespace {

Source DrawSource(optics::Mount eMount)
{
    scene::Renderer stRenderer(eMount, CONST_SOURCE, CONST_SOURCE,
                               scene::ThroughLens(SourceLens()));
    const scene::Picture& stPicture = stRenderer.Render(CONST_TIME);
    Source st;
    st.vecLuma.reserve(stPicture.vecRgb.size() / 3);
    for (std::size_t i = 0; i < stPicture.vecRgb.size(); i += 3) {
        const std::uint8_t* p = &stPicture.vecRgb[i];
        st.vecLuma.push_back(ByteOf(Luma(p[0], p[1], p[2])));
    }
    st.vecChroma.resize(st.vecLuma.size() / 2);
    for (int iY = 0; iY < CONST_SOURCE; iY += 2) {
        for (int iX = 0; iX < CONST_SOURCE; iX += 2)
            PutChroma(stPicture, iX, iY, &st.vecChroma[std::size_t(iY / 2) * CONST_SOURCE + iX]);
    }
    return st;
}

}  // namespace

const Source& SourceOf(optics::Mount eMount)
{
    static std::map<optics::Mount, Source> s_map;
    const auto it = s_map.find(eMount);
    return it != s_map.end() ? it->second : s_map.emplace(eMount, DrawSource(eMount)).first->second;
}

Source GreySourceOf(optics::Mount eMount)
{
    Source st = SourceOf(eMount);
    st.vecChroma.assign(st.vecChroma.size(), 128);
    return st;
}

scene::Picture Corrected(const Source& stSource, const engine::ViewSettings& stSettings, int iWidth,
                         int iHeight)
{
    engine::CameraOptics stCamera;
    stCamera.lens = SourceLens();
    const engine::ViewMapping stMapping(stSettings, {iWidth, iHeight}, {CONST_SOURCE, CONST_SOURCE},
                                        stCamera);
    dewarp::Mesh stMesh;
    stMesh.Build(iWidth, iHeight, CONST_SOURCE, CONST_SOURCE,
                 [&](double dX, double dY) -> std::optional<dewarp::SourcePoint> {
                     const std::optional<optics::Point> st = stMapping(dX, dY);
                     if (!st)
                         return std::nullopt;
                     return dewarp::SourcePoint{st->x, st->y};
                 });
    std::vector<std::uint8_t> vecPixels(std::size_t(iWidth) * iHeight * 4);
    dewarp::View stView;
    stView.mesh = &stMesh;
    stView.pixels = vecPixels.data();
    stView.line = std::ptrdiff_t{iWidth} * 4;
    dewarp::Frame stFrame;
    dewarp::Draw(dewarp::Pool::Shared(), stFrame, PictureOf(stSource), &stView, 1);
    scene::Picture stPicture{iWidth, iHeight, {}};
    for (std::size_t i = 0; i < vecPixels.size(); i += 4)
        stPicture.vecRgb.insert(stPicture.vecRgb.end(),
                                {vecPixels[i + 2], vecPixels[i + 1], vecPixels[i]});
    return stPicture;
}

engine::ViewSettings PanTiltZoom(optics::Mount eMount, int iX, int iY, int iZoom)
{
    engine::ViewSettings st;
    st.mode = RV_MODE_PTZ;
    st.mount = eMount;
    st.positionX = iX;
    st.positionY = iY;
    st.zoom = iZoom;
    return st;
}

optics::View ViewOf(const engine::ViewSettings& stSettings, int iWidth, int iHeight)
{
    optics::ViewParameters st;
    st.eKind = optics::ViewKind(stSettings.mode);
    st.eMount = stSettings.mount;
    st.dAngleDeg = stSettings.angle;
    st.stCentre = {stSettings.positionX / 10000.0, stSettings.positionY / 10000.0};
    st.dZoom = stSettings.zoom;
    st.iWidth = iWidth;
    st.iHeight = iHeight;
    return optics::View(st);
}

}  // namespace exact
