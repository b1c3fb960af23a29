// The fisheye picture: the canonical picture of an ideal lens, a unit square whose inscribed circle
// is a 180 degree equidistant projection. Positions, outlines and the correction library's picture
// all refer to it, so that they are the same for every camera.
#pragma once

#include "optics/Vector.h"

namespace optics {

/// The direction seen at fraction (u, v) of the fisheye picture, of unit length.
///
/// With px = 2u-1, py = 2v-1, rho = |(px, py)| and theta = 90 degrees x rho:
/// (sin theta px/rho, sin theta py/rho, cos theta). Defined for every finite point; whoever wants
/// only what the circle holds asks InCircle first.
Vec3 FisheyeDirection(const Point& stFraction);

/// The fraction (u, v) of the fisheye picture that shows a direction of any length but zero: the
/// inverse of FisheyeDirection. Outside the circle when the direction lies behind the lens plane.
Point FisheyeFraction(const Vec3& stDirection);

/// Whether a fraction lies in the circle, its rim (and a rounding error of 1e-9) included; false
/// when a coordinate is not a number.
bool InCircle(const Point& stFraction);

/// A fraction as it is when it lies in the circle, else the nearest point of the rim. A coordinate
/// that is not finite gives the centre (0.5, 0.5).
Point NearestInCircle(const Point& stFraction);

/// The bearing of a fraction, in radians, -PI..PI: 0 at the bottom, growing towards the right; 0 at
/// the centre.
inline double Bearing(const Point& stFraction)
{
    return std::atan2(2.0 * stFraction.x - 1.0, 2.0 * stFraction.y - 1.0);
}

}  // namespace optics
