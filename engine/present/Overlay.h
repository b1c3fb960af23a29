// Texts and polylines drawn over a view's picture before it is shown.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "engine/present/Display.h"

namespace engine {

struct OverlayText
{
    std::string text;
    float x;  ///< top left corner, fractions of the view
    float y;
    int height;            ///< pixels, one line
    std::uint32_t colour;  ///< 0xAARRGGBB
};

struct OverlayLine
{
    std::vector<float> points;  ///< pairs x, y, fractions of the view
    int width;                  ///< pixels
    std::uint32_t colour;
};

/// Draws into BGRA pixels; what lies outside is cut, coordinates that are not finite are passed
/// over.
void DrawOverlay(std::uint8_t* pixels, Extent size, const std::vector<OverlayLine>& lines,
                 const std::vector<OverlayText>& texts);

}  // namespace engine
