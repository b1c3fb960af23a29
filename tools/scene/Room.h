#pragma once

#include <string_view>
#include <vector>

#include "optics/Vector.h"
#include "optics/View.h"

#include "tools/scene/Solid.h"

// The synthetic scene: a furnished room of 8 x 6 x 3 metres in which people walk about, seen by a
// camera on the ceiling, on the south wall or on the table in its middle. What is seen is a pure
// function of mount, time and direction.
namespace scene {

/// A camera's place and the axes of its frame, in the room's frame.
struct Camera
{
    optics::Vec3 stPlace;
    optics::Vec3 stRight;  ///< x: to the right in the picture
    optics::Vec3 stDown;   ///< y: downwards in the picture
    optics::Vec3 stAhead;  ///< z: out of the lens
};

/// Ceiling and floor cameras have north at the top of the picture; the wall camera looks north.
Camera CameraOf(optics::Mount eMount);

/// What a ray shows.
struct Sight
{
    Colour stColour;
    double dDistance;  ///< metres from the camera
    int iSolid;        ///< which solid it is; -1 for the sides of the room
    bool blMoves;      ///< whether it is part of a person, or lies in a person's shadow
};

/// The room at one instant, from one camera. Immutable: any number of threads may look at it.
class Room
{
public:
    /// The room without people: what never changes.
    explicit Room(optics::Mount eMount);

    /// The room at a time, in seconds; any finite value.
    Room(optics::Mount eMount, double dSeconds);

    /// What is seen in a direction of the camera frame, of unit length.
    Sight Look(const optics::Vec3& stDirection) const;

    /// The same for a direction in which none but the given solids can be met (NearbySolids).
    Sight Look(const optics::Vec3& stDirection, const std::vector<int>& vecSolids) const;

    /// The solids of which a part may lie within an angle (radians) of a direction of unit length:
    /// all that do, and perhaps some that do not.
    std::vector<int> NearbySolids(const optics::Vec3& stDirection, double dAngleRad) const;

    /// Whether a part of a person or of a shadow may lie there; errs in the same way.
    bool IsSomebodyNear(const optics::Vec3& stDirection, double dAngleRad) const;

    /// The direction, in the camera frame and of unit length, to a point of the room's frame.
    optics::Vec3 DirectionTo(const optics::Vec3& stPoint) const;

    /// Whether a point of the room's frame is seen: nothing stands before it.
    bool Sees(const optics::Vec3& stPoint) const;

private:
    struct Person
    {
        double dX, dY;         // where the feet are
        double dEast, dNorth;  // heading, of unit length
        double dStride;        // how far the left foot is ahead of the right, in metres
    };

    static Person PersonAt(int iPerson, double dSeconds);
    void AddPerson(int iPerson, double dSeconds);
    void AddSolid(const Solid& stSolid);
    double ShadowAt(const optics::Vec3& stPoint) const;
    Sight SideOfRoom(const optics::Vec3& stDirection) const;
    bool IsNear(const Bound& stBound, const optics::Vec3& stDirection, double dAngleRad) const;

    Camera m_stCamera;
    std::vector<Solid> m_vecSolids;       // the furniture, then the people
    std::vector<Bound> m_vecBounds;       // of each of them
    std::vector<optics::Vec3> m_vecFeet;  // where shadows lie
    int m_iFurniture;
};

/// A straight edge of the room: a border between two differently painted parts.
struct Edge
{
    std::string_view svName;
    optics::Vec3 stFrom;  ///< in the room's frame
    optics::Vec3 stTo;
};

/// Edges that do not move. Furniture and people may stand before a part of them: Room::Sees tells.
const std::vector<Edge>& StraightEdges();

}  // namespace scene
