// Finding the image circle of a fisheye lens in a picture.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "optics/Vector.h"

namespace optics {

/// An image circle found in a picture; pixel centres lie at whole numbers.
struct CircleFit
{
    Point stCentre;      ///< in pixels; may lie near the picture's border, never far outside
    double dRadius;      ///< in pixels
    double dConfidence;  ///< 0..1: the part of the rim inside the picture that was seen as one
};

/// Finds the image circle: a bright disc on a dark surround.
///
/// Bears dark scenes, noise, text over the picture and circles that the picture's border cuts.
/// Nothing when no circle fits well, when there is more than one disc, when the picture is smaller
/// than 64 pixels or larger than 16384 either way, or more than eight times longer than wide: a
/// caller then takes the largest centred circle.
///
/// @param pcLuma  8-bit luma, full or limited range, `iStride` bytes from row to row (>= iWidth)
std::optional<CircleFit> FindCircle(const std::uint8_t* pcLuma, int iWidth, int iHeight,
                                    std::ptrdiff_t iStride);

}  // namespace optics
