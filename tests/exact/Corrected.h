#pragma once

#include <cstdint>
#include <vector>

#include "engine/player/ViewMapping.h"
#include "optics/Lens.h"
#include "optics/View.h"

#include "tools/scene/Renderer.h"

// The way from a picture of the room to a corrected view, as the engine goes it but for the codec.
namespace exact {

/// Side of the source pictures, in pixels.
constexpr int CONST_SOURCE = 2048;

/// Seconds: a time at which people are in every camera's sight.
constexpr double CONST_TIME = 3.0;

/// A 180 degree equidistant lens whose circle fills the source picture.
optics::Lens SourceLens();

/// A decoded picture: NV12, BT.709, full range, chroma sited in the middle of its four pixels.
struct Source
{
    std::vector<std::uint8_t> vecLuma;
    std::vector<std::uint8_t> vecChroma;
};

/// The room as the source lens sees it at CONST_TIME, uncompressed. Drawn once for each mount.
const Source& SourceOf(optics::Mount eMount);

/// The luma alone: a grey picture.
Source GreySourceOf(optics::Mount eMount);

/// A view of the source by the engine's mapping, the correction mesh and the best kernels.
scene::Picture Corrected(const Source& stSource, const engine::ViewSettings& stSettings, int iWidth,
                         int iHeight);

/// Pan/tilt/zoom settings.
engine::ViewSettings PanTiltZoom(optics::Mount eMount, int iX, int iY, int iZoom);

/// The optics view that such settings stand for.
optics::View ViewOf(const engine::ViewSettings& stSettings, int iWidth, int iHeight);

/// BT.709 luma of red, green and blue.
double Luma(double dRed, double dGreen, double dBlue);

}  // namespace exact
