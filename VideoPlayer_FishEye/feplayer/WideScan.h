#pragma once

#include <cstdint>

#include "Common/Arithmetic.h"

/// The angle of a wide view after a drag of iDrag pixels in a window iWidth (> 0) pixels wide, of
/// which the full width is iSpan degrees: whole degrees, -(iSpan - 1)..iSpan - 1. A negative angle
/// is not folded up.
inline float TurnedAngle(float fAngle, std::int32_t iDrag, std::int32_t iWidth, std::int32_t iSpan)
{
    const std::int32_t iDegrees = arithmetic::Multiply(iDrag, iSpan) / iWidth;
    const std::int32_t iAngle = arithmetic::Truncate(fAngle + static_cast<float>(iDegrees));
    return static_cast<float>(iAngle % iSpan);
}
