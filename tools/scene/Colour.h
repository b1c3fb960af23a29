#pragma once

namespace scene {

/// Red, green and blue as a display takes them (gamma-coded), 0..1. Anti-aliasing averages these
/// very values, as a player's interpolation does.
struct Colour
{
    float fRed;
    float fGreen;
    float fBlue;
};

constexpr Colour operator*(const Colour& a, float fFactor)
{
    return {a.fRed * fFactor, a.fGreen * fFactor, a.fBlue * fFactor};
}

constexpr Colour operator+(const Colour& a, const Colour& b)
{
    return {a.fRed + b.fRed, a.fGreen + b.fGreen, a.fBlue + b.fBlue};
}

}  // namespace scene
