#pragma once

#include <optional>

#include "optics/Vector.h"

#include "tools/scene/Colour.h"

// The solids that furnish the room: upright boxes and upright capsules. Lengths are metres, in the
// room's frame: x east, y north, z up.
namespace scene {

/// What a side of the room or of a solid is painted with (Paint.h).
enum class Surface
{
    North,
    East,
    South,
    West,
    Floor,
    Ceiling,
    TableTop,
    Plain
};

/// Where a ray meets something.
struct Hit
{
    double dDistance;       ///< in units of the length of the ray's direction
    optics::Vec3 stNormal;  ///< of unit length, towards the side that the ray comes from
};

struct Solid
{
    enum class Shape
    {
        Box,
        Capsule
    };

    Shape eShape;
    optics::Vec3 stLow;   ///< a box's corner of least coordinates; centre of a capsule's lower end
    optics::Vec3 stHigh;  ///< a box's corner of greatest coordinates; centre of the upper end
    double dRadius;       ///< of a capsule; a box has none
    Colour stColour;
    Surface eTop;  ///< what a box's upper side is painted with
};

Solid Box(const optics::Vec3& stLow, const optics::Vec3& stHigh, const Colour& stColour,
          Surface eTop = Surface::Plain);

/// An upright capsule from its lowest to its highest point; a sphere where they are 2 radii apart.
Solid Capsule(double dX, double dY, double dBottom, double dTop, double dRadius,
              const Colour& stColour);

/// A sphere that holds the solid.
struct Bound
{
    optics::Vec3 stCentre;
    double dRadius;
};
Bound BoundOf(const Solid& stSolid);

/// Where a ray that starts outside the solid first meets it.
std::optional<Hit> Meet(const Solid& stSolid, const optics::Vec3& stOrigin,
                        const optics::Vec3& stDirection);

}  // namespace scene
