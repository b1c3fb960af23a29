#include "tools/scene/Room.h"

#include <algorithm>
#include <cmath>

#include "tools/scene/Paint.h"

namespace scene {
namespace {

using optics::Cross;
using optics::Dot;
using optics::Length;
using optics::Mount;
using optics::Normalised;
using optics::Vec3;

constexpr Colour CONST_OAK = {0.56f, 0.46f, 0.36f};

const Solid CONST_FURNITURE[] = {
    // the table, on which the floor camera stands, and a cup beside it
    Box({-0.6, -0.4, 0.70}, {0.6, 0.4, 0.75}, {0.55f, 0.42f, 0.30f}, Surface::TableTop),
    Box({-0.56, -0.36, 0.0}, {-0.51, -0.31, 0.70}, {0.40f, 0.30f, 0.22f}),
    Box({0.51, -0.36, 0.0}, {0.56, -0.31, 0.70}, {0.40f, 0.30f, 0.22f}),
    Box({-0.56, 0.31, 0.0}, {-0.51, 0.36, 0.70}, {0.40f, 0.30f, 0.22f}),
    Box({0.51, 0.31, 0.0}, {0.56, 0.36, 0.70}, {0.40f, 0.30f, 0.22f}),
    Capsule(0.4, -0.2, 0.75, 0.89, 0.045, {0.86f, 0.50f, 0.20f}),
    // sideboard, wardrobe, pillar, carton
    Box({-1.4, 2.5, 0.0}, {1.4, 3.0, 0.8}, CONST_OAK),
    Box({3.4, -3.0, 0.0}, {4.0, -1.9, 2.0}, {0.50f, 0.54f, 0.60f}),
    Box({-3.15, -1.35, 0.0}, {-2.85, -1.05, 3.0}, {0.78f, 0.76f, 0.74f}),
    Box({-2.25, -2.45, 0.0}, {-1.75, -1.95, 0.5}, {0.26f, 0.40f, 0.72f}),
    // balls and a bollard
    Capsule(1.8, 2.0, 0.0, 0.5, 0.25, {0.80f, 0.26f, 0.22f}),
    Capsule(-3.4, 1.0, 0.0, 0.6, 0.3, {0.30f, 0.62f, 0.34f}),
    Capsule(3.0, 0.4, 0.0, 0.9, 0.15, {0.88f, 0.76f, 0.24f}),
};

/// A walk along an ellipse, or to and fro where one of its half axes is 0.
struct Walk
{
    double dX, dY;         // the ellipse's centre, in metres
    double dEast, dNorth;  // its half axes
    double dPeriod;        // seconds for one round; negative: clockwise seen from above
    double dPhase;         // rounds at time 0
    Colour stShirt, stTrousers;
};

constexpr Walk CONST_WALKS[] = {
    {0.0, 0.0, 1.5, 1.2, 12.0, 0.1, {0.78f, 0.32f, 0.26f}, {0.28f, 0.32f, 0.44f}},
    {0.0, 0.0, 2.5, 1.9, -20.0, 0.3, {0.28f, 0.50f, 0.70f}, {0.36f, 0.34f, 0.30f}},
    {1.0, -2.3, 1.9, 0.0, 14.0, 0.6, {0.84f, 0.76f, 0.40f}, {0.24f, 0.26f, 0.28f}},
};
constexpr Colour CONST_SKIN = {0.80f, 0.62f, 0.50f};
constexpr Colour CONST_HAIR = {0.30f, 0.22f, 0.18f};
constexpr double CONST_STEPS_A_SECOND = 0.9;  // pairs of steps
constexpr double CONST_SHADOW = 0.45;         // metres: how far a shadow reaches from the feet

constexpr Vec3 CONST_LAMPS[] = {{-2.4, 0.0, CONST_HEIGHT}, {2.4, 0.0, CONST_HEIGHT}};

/// Light that comes from all around, and from the lamps in a soft way: half of it reaches a
/// surface that stands along its rays.
float LightOn(const Vec3& stPoint, const Vec3& stNormal)
{
    double dLight = 0;
    for (const Vec3& stLamp : CONST_LAMPS) {
        const Vec3 stTo = stLamp - stPoint;
        dLight += 0.5 + 0.5 * Dot(stNormal, stTo) / std::max(0.01, Length(stTo));
    }
    return float(0.6 + 0.4 * dLight / double(std::size(CONST_LAMPS)));
}

struct SideHit
{
    Surface eSide;
    Hit stHit;
};

/// Which side of the room a ray from within leaves it by.
SideHit LeaveRoom(const Vec3& stOrigin, const Vec3& stDirection)
{
    const auto To = [](double dHalf, double dOrigin, double dDirection) {
        return dDirection == 0 ? HUGE_VAL
                               : ((dDirection > 0 ? dHalf : -dHalf) - dOrigin) / dDirection;
    };
    const double dX = To(CONST_HALF_EAST, stOrigin.x, stDirection.x);
    const double dY = To(CONST_HALF_NORTH, stOrigin.y, stDirection.y);
    const double dZ = To(CONST_HEIGHT / 2, stOrigin.z - CONST_HEIGHT / 2, stDirection.z);
    if (dX <= dY && dX <= dZ)
        return stDirection.x > 0 ? SideHit{Surface::East, {dX, {-1, 0, 0}}}
                                 : SideHit{Surface::West, {dX, {1, 0, 0}}};
    if (dY <= dZ)
        return stDirection.y > 0 ? SideHit{Surface::North, {dY, {0, -1, 0}}}
                                 : SideHit{Surface::South, {dY, {0, 1, 0}}};
    return stDirection.z > 0 ? SideHit{Surface::Ceiling, {dZ, {0, 0, -1}}}
                             : SideHit{Surface::Floor, {dZ, {0, 0, 1}}};
}

Vec3 ToRoom(const Camera& st, const Vec3& stDirection)
{
    return st.stRight * stDirection.x + st.stDown * stDirection.y + st.stAhead * stDirection.z;
}

}  // namespace

Camera CameraOf(Mount eMount)
{
    switch (eMount) {
    case Mount::Wall:
        return {{0.0, -2.95, 1.8}, {1, 0, 0}, {0, 0, -1}, {0, 1, 0}};
    case Mount::Floor:
        return {{0.0, 0.0, 0.8}, {-1, 0, 0}, {0, -1, 0}, {0, 0, 1}};
    default:
        return {{0.0, 0.0, 2.95}, {1, 0, 0}, {0, -1, 0}, {0, 0, -1}};
    }
}

Room::Room(Mount eMount) : m_stCamera(CameraOf(eMount))
{
    for (const Solid& stSolid : CONST_FURNITURE)
        AddSolid(stSolid);
    m_iFurniture = int(m_vecSolids.size());
}

Room::Room(Mount eMount, double dSeconds) : Room(eMount)
{
    for (int iPerson = 0; iPerson < int{std::size(CONST_WALKS)}; ++iPerson)
        AddPerson(iPerson, dSeconds);
}

void Room::AddSolid(const Solid& stSolid)
{
    m_vecSolids.push_back(stSolid);
    m_vecBounds.push_back(BoundOf(stSolid));
}

Room::Person Room::PersonAt(int iPerson, double dSeconds)
{
    const Walk& stWalk = CONST_WALKS[iPerson];
    const double dTurn = 2 * optics::PI * (dSeconds / stWalk.dPeriod + stWalk.dPhase);
    // Velocity, but for its length; to and fro it turns round in no time.
    const double dEast = -stWalk.dEast * std::sin(dTurn) / stWalk.dPeriod;
    const double dNorth = stWalk.dNorth * std::cos(dTurn) / stWalk.dPeriod;
    const double dSpeed = std::hypot(dEast, dNorth);
    const double dStep = std::sin(2 * optics::PI * dSeconds * CONST_STEPS_A_SECOND);
    return {stWalk.dX + stWalk.dEast * std::cos(dTurn), stWalk.dY + stWalk.dNorth * std::sin(dTurn),
            dSpeed > 0 ? dEast / dSpeed : 1.0, dSpeed > 0 ? dNorth / dSpeed : 0.0, 0.2 * dStep};
}

void Room::AddPerson(int iPerson, double dSeconds)
{
    const Person st = PersonAt(iPerson, dSeconds);
    const Walk& stWalk = CONST_WALKS[iPerson];
    const auto Add = [&](double dAhead, double dLeft, double dBottom, double dTop, double dRadius,
                         const Colour& stColour) {
        AddSolid(Capsule(st.dX + dAhead * st.dEast - dLeft * st.dNorth,
                         st.dY + dAhead * st.dNorth + dLeft * st.dEast, dBottom, dTop, dRadius,
                         stColour));
    };
    Add(st.dStride, 0.09, 0.0, 0.9, 0.09, stWalk.stTrousers);
    Add(-st.dStride, -0.09, 0.0, 0.9, 0.09, stWalk.stTrousers);
    Add(0, 0, 0.78, 1.5, 0.19, stWalk.stShirt);
    Add(-0.6 * st.dStride, 0.25, 0.8, 1.42, 0.06, stWalk.stShirt * 0.9f);
    Add(0.6 * st.dStride, -0.25, 0.8, 1.42, 0.06, stWalk.stShirt * 0.9f);
    Add(0, 0, 1.48, 1.75, 0.12, CONST_SKIN);
    Add(-0.03, 0, 1.55, 1.8, 0.12, CONST_HAIR);
    m_vecFeet.push_back({st.dX, st.dY, 0.0});
}

// A soft disc about the feet, 1 where there is no shadow.
double Room::ShadowAt(const Vec3& stPoint) const
{
    double dLight = 1;
    for (const Vec3& stFeet : m_vecFeet) {
        const double dX = (stPoint.x - stFeet.x) / CONST_SHADOW;
        const double dY = (stPoint.y - stFeet.y) / CONST_SHADOW;
        const double dDepth = std::max(0.0, 1 - dX * dX - dY * dY);
        dLight *= 1 - 0.5 * dDepth * dDepth;
    }
    return dLight;
}

Sight Room::SideOfRoom(const Vec3& stDirection) const
{
    const SideHit st = LeaveRoom(m_stCamera.stPlace, stDirection);
    const Vec3 stPoint = m_stCamera.stPlace + stDirection * st.stHit.dDistance;
    const double dShadow = st.eSide == Surface::Floor ? ShadowAt(stPoint) : 1.0;
    const float fLight = LightOn(stPoint, st.stHit.stNormal) * float(dShadow);
    return {PaintAt(st.eSide, stPoint) * fLight, st.stHit.dDistance, -1, dShadow < 1};
}

Sight Room::Look(const Vec3& stDirection, const std::vector<int>& vecSolids) const
{
    const Vec3 stRay = ToRoom(m_stCamera, stDirection);
    std::optional<Hit> stNearest;
    int iNearest = -1;
    for (const int iSolid : vecSolids) {
        const std::optional<Hit> stHit =
            Meet(m_vecSolids[std::size_t(iSolid)], m_stCamera.stPlace, stRay);
        if (stHit && (!stNearest || stHit->dDistance < stNearest->dDistance)) {
            stNearest = stHit;
            iNearest = iSolid;
        }
    }
    if (!stNearest)
        return SideOfRoom(stRay);
    const Solid& stSolid = m_vecSolids[std::size_t(iNearest)];
    const Vec3 stPoint = m_stCamera.stPlace + stRay * stNearest->dDistance;
    const bool blPainted = stSolid.eTop != Surface::Plain && stNearest->stNormal.z > 0;
    const Colour stColour = blPainted ? PaintAt(stSolid.eTop, stPoint) : stSolid.stColour;
    return {stColour * LightOn(stPoint, stNearest->stNormal), stNearest->dDistance, iNearest,
            iNearest >= m_iFurniture};
}

Sight Room::Look(const Vec3& stDirection) const
{
    return Look(stDirection, NearbySolids(stDirection, 0.0));
}

bool Room::IsNear(const Bound& stBound, const Vec3& stDirection, double dAngleRad) const
{
    const Vec3 stTo = stBound.stCentre - m_stCamera.stPlace;
    const double dDistance = Length(stTo);
    if (dDistance <= stBound.dRadius)
        return true;
    const double dReach = dAngleRad + std::asin(stBound.dRadius / dDistance) + 1e-9;
    return dReach >= optics::PI ||
           Dot(stTo, ToRoom(m_stCamera, stDirection)) >= dDistance * std::cos(dReach);
}

std::vector<int> Room::NearbySolids(const Vec3& stDirection, double dAngleRad) const
{
    std::vector<int> vecSolids;
    for (std::size_t i = 0; i < m_vecSolids.size(); ++i) {
        if (IsNear(m_vecBounds[i], stDirection, dAngleRad))
            vecSolids.push_back(int(i));
    }
    return vecSolids;
}

bool Room::IsSomebodyNear(const Vec3& stDirection, double dAngleRad) const
{
    const auto Near = [&](const Bound& stBound) { return IsNear(stBound, stDirection, dAngleRad); };
    return std::any_of(m_vecBounds.begin() + m_iFurniture, m_vecBounds.end(), Near) ||
           std::any_of(m_vecFeet.begin(), m_vecFeet.end(), [&](const Vec3& stFeet) {
               return Near({stFeet, CONST_SHADOW});
           });
}

Vec3 Room::DirectionTo(const Vec3& stPoint) const
{
    const Vec3 stTo = Normalised(stPoint - m_stCamera.stPlace);
    return {Dot(stTo, m_stCamera.stRight), Dot(stTo, m_stCamera.stDown),
            Dot(stTo, m_stCamera.stAhead)};
}

bool Room::Sees(const Vec3& stPoint) const
{
    constexpr double dTolerance = 1e-6;  // metres; the point itself is on a surface
    return Look(DirectionTo(stPoint)).dDistance >=
           Length(stPoint - m_stCamera.stPlace) - dTolerance;
}

const std::vector<Edge>& StraightEdges()
{
    const auto On = [](Surface eSide, double dAcross, double dUp) {
        return PointOn(eSide, {dAcross, dUp});
    };
    static const std::vector<Edge> s_vecEdges = {
        {"corner north-east", {4, 3, 0.12}, {4, 3, 3}},
        {"corner north-west", {-4, 3, 0.12}, {-4, 3, 3}},
        {"corner south-west", {-4, -3, 0.12}, {-4, -3, 3}},
        {"ceiling at the north", {-4, 3, 3}, {4, 3, 3}},
        {"ceiling at the east", {4, -3, 3}, {4, 3, 3}},
        {"ceiling at the west", {-4, -3, 3}, {-4, 3, 3}},
        {"skirting in the north", On(Surface::North, 2.2, 0.12), On(Surface::North, 4, 0.12)},
        {"skirting in the east", On(Surface::East, -3, 0.12), On(Surface::East, 3, 0.12)},
        {"skirting in the west", On(Surface::West, -3, 0.12), On(Surface::West, 3, 0.12)},
        {"picture's left", On(Surface::East, -2.4, 1.1), On(Surface::East, -2.4, 1.9)},
        {"picture's top", On(Surface::East, -2.4, 1.9), On(Surface::East, -1.2, 1.9)},
        {"blackboard's top", On(Surface::South, -3.2, 1.9), On(Surface::South, -0.9, 1.9)},
        {"blackboard's right", On(Surface::South, -0.9, 0.9), On(Surface::South, -0.9, 1.9)},
        {"pane's top", On(Surface::West, -2.42, 2.12), On(Surface::West, -1.74, 2.12)},
        {"pane's left", On(Surface::North, 2.08, 0.98), On(Surface::North, 2.08, 2.12)},
        {"pane's bottom", On(Surface::North, 2.84, 0.98), On(Surface::North, 3.52, 0.98)},
        {"blue door's left", On(Surface::South, 2.28, 0.12), On(Surface::South, 2.28, 2.02)},
        {"door's right", On(Surface::North, -2.38, 0.0), On(Surface::North, -2.38, 2.02)},
        {"door's top", On(Surface::North, -3.22, 2.02), On(Surface::North, -2.38, 2.02)},
    };
    return s_vecEdges;
}

}  // namespace scene
