#pragma once

#include <string_view>

// The lettering of the room's signs: block letters on a grid of five columns and seven rows.
namespace scene {

/// Width of a text in units of its letter height; each letter stands on a cell of 6/7.
double TextWidth(std::string_view svText);

/// Whether the ink of a text covers a point. The text's box begins at (0, 0), its lower left
/// corner, and is 1 high and TextWidth(svText) wide; across runs to the reader's right, up upwards,
/// both in units of the letter height. Knows A to Z, 0 to 9, blank, '.' and '-'; every other
/// character is a blank.
bool TextCovers(std::string_view svText, double dAcross, double dUp);

}  // namespace scene
