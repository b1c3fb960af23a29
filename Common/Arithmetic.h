#pragma once

#include <cstdint>
#include <limits>

/// Arithmetic on values that come from clients and closed libraries, defined for every input:
/// int32 wraps like the hardware, and a conversion from floating point truncates and saturates.
namespace arithmetic {

constexpr std::int32_t Wrapped(std::uint32_t value)
{
    return static_cast<std::int32_t>(value);
}

constexpr std::int32_t Add(std::int32_t a, std::int32_t b)
{
    return Wrapped(static_cast<std::uint32_t>(a) + static_cast<std::uint32_t>(b));
}

constexpr std::int32_t Subtract(std::int32_t a, std::int32_t b)
{
    return Wrapped(static_cast<std::uint32_t>(a) - static_cast<std::uint32_t>(b));
}

constexpr std::int32_t Multiply(std::int32_t a, std::int32_t b)
{
    return Wrapped(static_cast<std::uint32_t>(a) * static_cast<std::uint32_t>(b));
}

constexpr std::int32_t Negate(std::int32_t a)
{
    return Subtract(0, a);
}

/// Toward zero; beyond the range the nearest int32; 0 for NaN. A float converts exactly.
constexpr std::int32_t Truncate(double value)
{
    if (value >= 2147483648.0)
        return std::numeric_limits<std::int32_t>::max();
    if (value <= -2147483649.0)
        return std::numeric_limits<std::int32_t>::min();
    return value == value ? static_cast<std::int32_t>(value) : 0;
}

}  // namespace arithmetic
