// Many directions to pixels at once. Internal to Lens.
#pragma once

#include <array>

#include "optics/Lens.h"

namespace optics {

/// How far a rounding error may reach beyond the end of the map, of its length.
constexpr double CONST_END_TOLERANCE = 1e-9;

/// What a lens's formulas need to know.
struct Projection
{
    LensModel eModel;
    double dMaxHalfTangent;     ///< where the map ends: tan(theta / 2)
    std::array<double, 4> adK;  ///< KannalaBrandt alone
    /// Table alone: angles off the axis to radii, in place.
    void (*pfnTable)(const Lens& lens, double* pdTheta, int iCount);
    double dFocal;  ///< pixels per unit of the map, along x
    double dAspect;
    Point stCentre;
};

/// Pixels of directions of any length but zero; not a number beyond the end of the map. With the
/// widest instruction set that this processor has.
void ProjectAll(const Lens& lens, const Projection& projection, const Vec3* pstDirections,
                int iCount, Point* pstOut);

}  // namespace optics
