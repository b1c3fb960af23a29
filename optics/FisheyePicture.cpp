#include "optics/FisheyePicture.h"

namespace optics {
namespace {

constexpr double CONST_RIM_TOLERANCE = 1e-9;

}  // namespace

Vec3 FisheyeDirection(const Point& stFraction)
{
    const double dPx = 2.0 * stFraction.x - 1.0;
    const double dPy = 2.0 * stFraction.y - 1.0;
    const double dRho = std::hypot(dPx, dPy);
    const double dTheta = PI / 2.0 * dRho;
    const double dSinOverRho = dRho > 0.0 ? std::sin(dTheta) / dRho : PI / 2.0;
    return {dSinOverRho * dPx, dSinOverRho * dPy, std::cos(dTheta)};
}

Point FisheyeFraction(const Vec3& stDirection)
{
    const double dSide = std::sqrt(stDirection.x * stDirection.x + stDirection.y * stDirection.y);
    if (dSide == 0.0)  // on the axis: the centre; straight behind: any point at rho = 2
        return {0.5, stDirection.z < 0.0 ? 1.5 : 0.5};
    const double dRho = AngleOffAxis(stDirection) / (PI / 2.0);
    const double dScale = 0.5 * dRho / dSide;
    return {0.5 + dScale * stDirection.x, 0.5 + dScale * stDirection.y};
}

bool InCircle(const Point& stFraction)
{
    const double dPx = 2.0 * stFraction.x - 1.0;
    const double dPy = 2.0 * stFraction.y - 1.0;
    return std::hypot(dPx, dPy) <= 1.0 + CONST_RIM_TOLERANCE;
}

Point NearestInCircle(const Point& stFraction)
{
    const double dPx = 2.0 * stFraction.x - 1.0;
    const double dPy = 2.0 * stFraction.y - 1.0;
    const double dRho = std::hypot(dPx, dPy);
    if (!std::isfinite(dRho))
        return {0.5, 0.5};
    if (dRho <= 1.0)
        return stFraction;
    return {0.5 + 0.5 * dPx / dRho, 0.5 + 0.5 * dPy / dRho};
}

}  // namespace optics
