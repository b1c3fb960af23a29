// Points and directions: the two value types that everything in optics speaks of.
#pragma once

#include <algorithm>
#include <cmath>

namespace optics {

constexpr double PI = 3.141592653589793238462643383279502884;

constexpr double RadFromDeg(double dDeg)
{
    return dDeg * (PI / 180.0);
}

constexpr double DegFromRad(double dRad)
{
    return dRad * (180.0 / PI);
}

/// A position in a picture or a view: pixels or fractions, as the function that takes it says.
struct Point
{
    double x;
    double y;
};

/// A direction or an axis in the camera frame: x right and y down in the picture, z out of the
/// lens (right-handed).
struct Vec3
{
    double x;
    double y;
    double z;
};

constexpr Vec3 operator+(const Vec3& a, const Vec3& b)
{
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}

constexpr Vec3 operator-(const Vec3& a, const Vec3& b)
{
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}

constexpr Vec3 operator*(const Vec3& a, double s)
{
    return {a.x * s, a.y * s, a.z * s};
}

constexpr double Dot(const Vec3& a, const Vec3& b)
{
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

constexpr Vec3 Cross(const Vec3& a, const Vec3& b)
{
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

inline double Length(const Vec3& a)
{
    return std::sqrt(Dot(a, a));
}

/// The unit vector along `a`, whose length must not be zero.
inline Vec3 Normalised(const Vec3& a)
{
    return a * (1.0 / Length(a));
}

/// The angle off the optical axis (+z), in radians, 0..PI; `a` of any length but zero. By the half
/// angle's tangent, which takes half the time of std::atan2 and loses digits near PI alone.
inline double AngleOffAxis(const Vec3& a)
{
    const double dSideSquare = a.x * a.x + a.y * a.y;
    const double dLength = std::sqrt(dSideSquare + a.z * a.z);
    if (dLength + a.z <= 0.0)
        return PI;
    return 2.0 * std::atan(std::sqrt(dSideSquare) / (dLength + a.z));
}

/// The bearing of a direction, in radians, -PI..PI: 0 at the bottom of the picture, growing
/// towards its right; 0 on the optical axis.
inline double Bearing(const Vec3& a)
{
    return std::atan2(a.x, a.y);
}

/// The unit direction with a bearing and an angle off the axis, both in radians.
inline Vec3 DirectionOf(double dBearingRad, double dThetaRad)
{
    const double dSin = std::sin(dThetaRad);
    return {dSin * std::sin(dBearingRad), dSin * std::cos(dBearingRad), std::cos(dThetaRad)};
}

}  // namespace optics
