#include "optics/View.h"

#include <limits>

#include "optics/FisheyePicture.h"

namespace optics {
namespace {

constexpr double CONST_BORDER_TOLERANCE = 1e-9;
constexpr double CONST_ZOOM_MIN = 500.0;
constexpr double CONST_ZOOM_MAX = 10000.0;

/// An angle within -540..540 degrees, brought into -180..180.
double WrapDeg(double dDeg)
{
    if (dDeg > 180.0)
        return dDeg - 360.0;
    return dDeg < -180.0 ? dDeg + 360.0 : dDeg;
}

/// A fraction that lies in 0..1 each way but for a rounding error, without that error.
std::optional<Point> Inside(const Point& stFraction)
{
    const double dLow = -CONST_BORDER_TOLERANCE;
    const double dHigh = 1.0 + CONST_BORDER_TOLERANCE;
    if (!(stFraction.x >= dLow && stFraction.x <= dHigh && stFraction.y >= dLow &&
          stFraction.y <= dHigh))
        return std::nullopt;
    return Point{std::clamp(stFraction.x, 0.0, 1.0), std::clamp(stFraction.y, 0.0, 1.0)};
}

/// std::hypot guards against overflow, which directions do not need, and takes several times
/// longer.
double Hypotenuse(double a, double b)
{
    return std::sqrt(a * a + b * b);
}

double FiniteOr(double dValue, double dDefault)
{
    return std::isfinite(dValue) ? dValue : dDefault;
}

/// Sine and cosine of an angle that stays the same for a row of points.
struct RowAngle
{
    void Set(double dNewRad)
    {
        if (dNewRad == dRad)
            return;
        dRad = dNewRad;
        dSin = std::sin(dRad);
        dCos = std::cos(dRad);
    }

    double dRad = 0.0;
    double dSin = 0.0;
    double dCos = 1.0;
};

Point LatFraction(const Vec3& stDirection)
{
    const double dLongitude = std::atan2(stDirection.x, stDirection.z);
    const double dLatitude = std::atan2(-stDirection.y, Hypotenuse(stDirection.x, stDirection.z));
    return {0.5 + dLongitude / PI, 0.5 - dLatitude / PI};
}

}  // namespace

Mount MountOf(int iInstallationType)
{
    switch (iInstallationType) {
    case 1:
        return Mount::Wall;
    case 2:
        return Mount::Floor;
    default:
        return Mount::Ceiling;
    }
}

Vec3 WorldUp(Mount eMount)
{
    switch (eMount) {
    case Mount::Wall:
        return {0.0, -1.0, 0.0};
    case Mount::Floor:
        return {0.0, 0.0, 1.0};
    default:
        return {0.0, 0.0, -1.0};
    }
}

Vec3 RightOf(const Vec3& stForward, Mount eMount)
{
    const Vec3 stRight = Cross(stForward, WorldUp(eMount));
    const double dLength = Length(stRight);
    if (dLength > 0.0)
        return stRight * (1.0 / dLength);
    return eMount == Mount::Ceiling ? Vec3{-1.0, 0.0, 0.0} : Vec3{1.0, 0.0, 0.0};
}

View::View(const ViewParameters& stParameters) : m_stParameters(stParameters)
{
    ViewParameters& st = m_stParameters;
    st.dAngleDeg = std::remainder(FiniteOr(st.dAngleDeg, 0.0), 360.0);
    st.stCentre = NearestInCircle(st.stCentre);
    st.dZoom = std::clamp(FiniteOr(st.dZoom, CONST_ZOOM_MAX), CONST_ZOOM_MIN, CONST_ZOOM_MAX);
    st.iWidth = std::max(st.iWidth, 1);
    st.iHeight = std::max(st.iHeight, 1);
    if (st.eKind == ViewKind::PanTiltZoom)
        AimPanTiltZoom();
}

void View::AimPanTiltZoom()
{
    m_stForward = FisheyeDirection(m_stParameters.stCentre);
    m_stRight = RightOf(m_stForward, m_stParameters.eMount);
    m_stUp = Cross(m_stRight, m_stForward);
    // tan 45 degrees = 1: at the widest zoom the shorter side is 90 degrees across.
    const double dExtent = m_stParameters.dZoom / CONST_ZOOM_MAX;
    const double dShorter = std::min(m_stParameters.iWidth, m_stParameters.iHeight);
    m_dHalfWidth = dExtent * m_stParameters.iWidth / dShorter;
    m_dHalfHeight = dExtent * m_stParameters.iHeight / dShorter;
}

bool View::IsCylinder() const
{
    return m_stParameters.eKind == ViewKind::Half && m_stParameters.eMount == Mount::Wall;
}

std::optional<Vec3> View::Direction(const Point& stFraction) const
{
    if (!std::isfinite(stFraction.x) || !std::isfinite(stFraction.y))
        return std::nullopt;
    Vec3 stDirection;
    Directions(&stFraction.x, &stFraction.y, 1, &stDirection);
    if (std::isnan(stDirection.x))
        return std::nullopt;
    return Normalised(stDirection);
}

void View::Directions(const double* pdX, const double* pdY, int iCount, Vec3* pstOut) const
{
    switch (m_stParameters.eKind) {
    case ViewKind::PanTiltZoom: {
        for (int i = 0; i < iCount; ++i)
            pstOut[i] = m_stForward + m_stUp * ((1.0 - 2.0 * pdY[i]) * m_dHalfHeight) +
                        m_stRight * ((2.0 * pdX[i] - 1.0) * m_dHalfWidth);
        return;
    }
    case ViewKind::Half:
    case ViewKind::Panorama:
        return RoundTheAxis(pdX, pdY, iCount, pstOut);
    case ViewKind::Lat: {
        // Longitude and latitude about the picture's vertical axis.
        RowAngle latitude;
        for (int i = 0; i < iCount; ++i) {
            latitude.Set(PI * (0.5 - pdY[i]));
            const double dLongitude = PI * (pdX[i] - 0.5);
            pstOut[i] = {latitude.dCos * std::sin(dLongitude), -latitude.dSin,
                         latitude.dCos * std::cos(dLongitude)};
        }
        return;
    }
    case ViewKind::Fisheye:
        break;
    }
    for (int i = 0; i < iCount; ++i) {
        constexpr double dNan = std::numeric_limits<double>::quiet_NaN();
        const Point stFraction = {pdX[i], pdY[i]};
        pstOut[i] = InCircle(stFraction) ? FisheyeDirection(stFraction) : Vec3{dNan, dNan, dNan};
    }
}

std::optional<Point> View::Fraction(const Vec3& stDirection) const
{
    const Point stFraction = FractionUnbounded(stDirection);
    if (m_stParameters.eKind == ViewKind::Fisheye && !InCircle(stFraction))
        return std::nullopt;
    return Inside(stFraction);
}

Point View::FractionUnbounded(const Vec3& stDirection) const
{
    switch (m_stParameters.eKind) {
    case ViewKind::PanTiltZoom:
        return FractionInPerspective(stDirection);
    case ViewKind::Half:
    case ViewKind::Panorama:
        return IsCylinder() ? FractionOnCylinder(stDirection) : FractionRoundTheAxis(stDirection);
    case ViewKind::Lat:
        return LatFraction(stDirection);
    case ViewKind::Fisheye:
        break;
    }
    return FisheyeFraction(stDirection);
}

void View::RoundTheAxis(const double* pdX, const double* pdY, int iCount, Vec3* pstOut) const
{
    const double dAngle = RadFromDeg(m_stParameters.dAngleDeg);
    if (IsCylinder()) {
        // About the vertical: verticals stay straight, which is how a wall camera is watched.
        for (int i = 0; i < iCount; ++i) {
            const double dAzimuth = PI * (pdX[i] - 0.5) - dAngle;
            pstOut[i] = {std::sin(dAzimuth), 2.0 * pdY[i] - 1.0, std::cos(dAzimuth)};
        }
        return;
    }
    // Bearing across, angle off the axis downwards or upwards. Seen from the ceiling, turning right
    // lowers the bearing; from the floor it raises it.
    const double dHalfSpan = m_stParameters.eKind == ViewKind::Panorama ? PI : PI / 2.0;
    const bool blFloor = m_stParameters.eMount == Mount::Floor;
    RowAngle theta;
    for (int i = 0; i < iCount; ++i) {
        theta.Set(PI / 2.0 * (blFloor ? pdY[i] : 1.0 - pdY[i]));
        const double dFromLeft = dHalfSpan * (1.0 - 2.0 * pdX[i]) + dAngle;
        const double dBearing = blFloor ? -dFromLeft : dFromLeft;
        pstOut[i] = {theta.dSin * std::sin(dBearing), theta.dSin * std::cos(dBearing), theta.dCos};
    }
}

Point View::FractionRoundTheAxis(const Vec3& stDirection) const
{
    const double dHalfSpan = m_stParameters.eKind == ViewKind::Panorama ? 180.0 : 90.0;
    const bool blFloor = m_stParameters.eMount == Mount::Floor;
    const double dBearingDeg = DegFromRad(Bearing(stDirection));
    const double dFromLeft =
        WrapDeg((blFloor ? -dBearingDeg : dBearingDeg) - m_stParameters.dAngleDeg);
    const double dTheta = DegFromRad(AngleOffAxis(stDirection)) / 90.0;
    const bool blOnAxis = stDirection.x == 0.0 && stDirection.y == 0.0;  // no bearing: any x
    const double dX = blOnAxis ? 0.5 : 0.5 * (1.0 - dFromLeft / dHalfSpan);
    return {dX, blFloor ? dTheta : 1.0 - dTheta};
}

Point View::FractionOnCylinder(const Vec3& stDirection) const
{
    const double dAzimuth = DegFromRad(std::atan2(stDirection.x, stDirection.z));
    const double dTan = -stDirection.y / Hypotenuse(stDirection.x, stDirection.z);
    return {0.5 + WrapDeg(dAzimuth + m_stParameters.dAngleDeg) / 180.0, 0.5 * (1.0 - dTan)};
}

Point View::FractionInPerspective(const Vec3& stDirection) const
{
    const double dAhead = Dot(stDirection, m_stForward);
    if (!(dAhead > 0.0))
        return {std::nan(""), std::nan("")};
    const double dRight = Dot(stDirection, m_stRight) / dAhead;
    const double dUp = Dot(stDirection, m_stUp) / dAhead;
    return {0.5 * (1.0 + dRight / m_dHalfWidth), 0.5 * (1.0 - dUp / m_dHalfHeight)};
}

}  // namespace optics
