#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>

// The arithmetic of the model, told once more and apart from the library's.
namespace walk {

/// int32 arithmetic wraps.
inline int Wrap(long long value)
{
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(value));
}

/// Pixels of a window side in ten-thousandths of it.
inline int Scale(int pixels, int side)
{
    return Wrap(10000LL * pixels) / side;
}

/// Conversions truncate and saturate; NaN gives 0.
inline int Truncate(double value)
{
    if (std::isnan(value))
        return 0;
    return static_cast<int>(std::clamp(value, -2147483648.0, 2147483647.0));
}

inline float Fraction(int position)
{
    return static_cast<float>(position / 10000.0);
}

inline int FromFraction(float fraction)
{
    return Truncate(static_cast<double>(fraction * 10000.0F));
}

}  // namespace walk
