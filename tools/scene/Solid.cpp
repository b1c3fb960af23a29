#include "tools/scene/Solid.h"

#include <cmath>
#include <limits>
#include <utility>

namespace scene {
namespace {

using optics::Vec3;

constexpr double CONST_INFINITE = std::numeric_limits<double>::infinity();

/// The stretch of a ray between two parallel planes across one axis.
struct Stretch
{
    double dEnter;
    double dLeave;
};

Stretch Between(double dLow, double dHigh, double dOrigin, double dDirection)
{
    if (dDirection == 0)
        return dLow < dOrigin && dOrigin < dHigh ? Stretch{-CONST_INFINITE, CONST_INFINITE}
                                                 : Stretch{CONST_INFINITE, -CONST_INFINITE};
    const double dToLow = (dLow - dOrigin) / dDirection;
    const double dToHigh = (dHigh - dOrigin) / dDirection;
    return dToLow < dToHigh ? Stretch{dToLow, dToHigh} : Stretch{dToHigh, dToLow};
}

std::optional<Hit> MeetBox(const Solid& stBox, const Vec3& stOrigin, const Vec3& stDirection)
{
    const Stretch stX = Between(stBox.stLow.x, stBox.stHigh.x, stOrigin.x, stDirection.x);
    const Stretch stY = Between(stBox.stLow.y, stBox.stHigh.y, stOrigin.y, stDirection.y);
    const Stretch stZ = Between(stBox.stLow.z, stBox.stHigh.z, stOrigin.z, stDirection.z);
    const double dEnter = std::max(stX.dEnter, std::max(stY.dEnter, stZ.dEnter));
    const double dLeave = std::min(stX.dLeave, std::min(stY.dLeave, stZ.dLeave));
    if (!(dEnter > 0 && dEnter < dLeave))
        return std::nullopt;
    if (dEnter == stX.dEnter)
        return Hit{dEnter, {stDirection.x > 0 ? -1.0 : 1.0, 0, 0}};
    if (dEnter == stY.dEnter)
        return Hit{dEnter, {0, stDirection.y > 0 ? -1.0 : 1.0, 0}};
    return Hit{dEnter, {0, 0, stDirection.z > 0 ? -1.0 : 1.0}};
}

/// The lesser root of a t^2 + 2 b t + c, where the polynomial has two.
std::optional<double> LesserRoot(double dA, double dB, double dC)
{
    const double dSquare = dB * dB - dA * dC;
    if (!(dSquare > 0 && dA > 0))
        return std::nullopt;
    return (-dB - std::sqrt(dSquare)) / dA;
}

std::optional<Hit> MeetSphere(const Vec3& stCentre, double dRadius, const Vec3& stOrigin,
                              const Vec3& stDirection)
{
    const Vec3 stFrom = stOrigin - stCentre;
    const std::optional<double> dRoot =
        LesserRoot(Dot(stDirection, stDirection), Dot(stFrom, stDirection),
                   Dot(stFrom, stFrom) - dRadius * dRadius);
    if (!dRoot || *dRoot <= 0)
        return std::nullopt;
    return Hit{*dRoot, (stFrom + stDirection * *dRoot) * (1 / dRadius)};
}

/// The infinite cylinder first: a ray that misses it misses the capsule, and where the ray enters
/// it tells which part of the capsule can be met.
std::optional<Hit> MeetCapsule(const Solid& st, const Vec3& stOrigin, const Vec3& stDirection)
{
    const double dX = stOrigin.x - st.stLow.x;
    const double dY = stOrigin.y - st.stLow.y;
    const double dAcross = stDirection.x * stDirection.x + stDirection.y * stDirection.y;
    const double dOutside = dX * dX + dY * dY - st.dRadius * st.dRadius;
    if (dOutside <= 0)  // above or below the capsule
        return MeetSphere(stOrigin.z > st.stHigh.z ? st.stHigh : st.stLow, st.dRadius, stOrigin,
                          stDirection);
    const std::optional<double> dRoot =
        LesserRoot(dAcross, dX * stDirection.x + dY * stDirection.y, dOutside);
    if (!dRoot || *dRoot <= 0)
        return std::nullopt;
    const double dZ = stOrigin.z + stDirection.z * *dRoot;
    if (dZ < st.stLow.z || dZ > st.stHigh.z)
        return MeetSphere(dZ < st.stLow.z ? st.stLow : st.stHigh, st.dRadius, stOrigin,
                          stDirection);
    return Hit{*dRoot, Vec3{dX + stDirection.x * *dRoot, dY + stDirection.y * *dRoot, 0} *
                           (1 / st.dRadius)};
}

}  // namespace

Solid Box(const Vec3& stLow, const Vec3& stHigh, const Colour& stColour, Surface eTop)
{
    return {Solid::Shape::Box, stLow, stHigh, 0.0, stColour, eTop};
}

Solid Capsule(double dX, double dY, double dBottom, double dTop, double dRadius,
              const Colour& stColour)
{
    return {Solid::Shape::Capsule,
            {dX, dY, dBottom + dRadius},
            {dX, dY, dTop - dRadius},
            dRadius,
            stColour,
            Surface::Plain};
}

Bound BoundOf(const Solid& stSolid)
{
    return {(stSolid.stLow + stSolid.stHigh) * 0.5,
            Length(stSolid.stHigh - stSolid.stLow) / 2 + stSolid.dRadius};
}

std::optional<Hit> Meet(const Solid& stSolid, const Vec3& stOrigin, const Vec3& stDirection)
{
    return stSolid.eShape == Solid::Shape::Box ? MeetBox(stSolid, stOrigin, stDirection)
                                               : MeetCapsule(stSolid, stOrigin, stDirection);
}

}  // namespace scene
