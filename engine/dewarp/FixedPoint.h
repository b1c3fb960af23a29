// 16.16 fixed point numbers, as places in the source picture are kept.
#pragma once

#include <cstdint>

namespace dewarp {

/// To the nearest 16.16 fixed point number; |value| is at most 32767. (The library's rounding is a
/// call.)
constexpr std::int32_t Fixed(double value)
{
    constexpr std::int64_t offset = std::int64_t{1} << 40;
    return static_cast<std::int32_t>(
        static_cast<std::int64_t>(value * 65536 + (static_cast<double>(offset) + 0.5)) - offset);
}

/// a - b, wrapping around: a difference from what is unknown is never small.
constexpr std::int32_t Less(std::int32_t a, std::int32_t b)
{
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) - static_cast<std::uint32_t>(b));
}

}  // namespace dewarp
