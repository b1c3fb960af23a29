#pragma once

#include "optics/Vector.h"

#include "tools/scene/Colour.h"
#include "tools/scene/Solid.h"

// What the room's surfaces are painted with: the checkered floor, doors, windows, pictures, signs.
namespace scene {

/// Half of the room's extent east-west and north-south, and its height, in metres.
constexpr double CONST_HALF_EAST = 4.0;
constexpr double CONST_HALF_NORTH = 3.0;
constexpr double CONST_HEIGHT = 3.0;

/// The colour of a point of the room's frame on a surface, before light falls on it; Plain is grey.
Colour PaintAt(Surface eSurface, const optics::Vec3& stPoint);

/// A point of a surface: dAcross runs to the right of somebody in the room who faces the surface
/// (for floor and table top: who looks down with north upwards; for the ceiling: who looks up with
/// north upwards), dUp upwards. Both in metres; on a wall from the middle of its foot, else from
/// above or below the middle of the room.
struct OnSurface
{
    double dAcross;
    double dUp;
};
OnSurface OnSurfaceAt(Surface eSurface, const optics::Vec3& stPoint);

/// The inverse of OnSurfaceAt, for the six sides of the room.
optics::Vec3 PointOn(Surface eSide, const OnSurface& st);

}  // namespace scene
