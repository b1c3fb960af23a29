// The real lens: direction to pixel of the decoded picture and back. Everything that depends on the
// camera's optics is behind this one class.
#pragma once

#include <array>
#include <optional>
#include <string>

#include "optics/Vector.h"

namespace optics {

/// The lens models, under their numbers in the interface. r is the radius in units of the focal
/// length, theta the angle off the axis.
enum class LensModel
{
    Equidistant = 0,     ///< r = theta
    Stereographic = 1,   ///< r = 2 tan(theta / 2)
    EquisolidAngle = 2,  ///< r = 2 sin(theta / 2)
    Orthographic = 3,    ///< r = sin theta, up to 90 degrees
    KannalaBrandt = 4,   ///< r = theta (1 + k1 theta^2 + k2 theta^4 + k3 theta^6 + k4 theta^8)
    Table = 5,           ///< (angle, radius) rows, joined by a monotone cubic
};

constexpr int LENS_TABLE_ROWS = 32;
constexpr double LENS_FOV_MIN_DEG = 90.0;
constexpr double LENS_FOV_MAX_DEG = 235.0;

/// One row of a lens table.
struct LensTableRow
{
    double dDeg;     ///< angle off the axis, in degrees
    double dRadius;  ///< radius in pixels (along x where the focal lengths differ)
};

/// What is known of a lens. Pixel centres lie at whole numbers.
struct LensParameters
{
    LensModel eModel = LensModel::Equidistant;
    /// The full field of view, 90..235 degrees, or 0: 180, for a table as far as it goes.
    double dFovDeg = 0.0;
    Point stCentre = {0.0, 0.0};  ///< the optical axis, in pixels
    /// Pixels per radian on the axis; both, or both 0: then they follow from the circle's radius,
    /// which is where half the field of view (or the end of the model before it) lies. A table
    /// has its scale in its rows: there only their ratio y / x counts, and 0 stands for 1.
    double dFocalX = 0.0;
    double dFocalY = 0.0;
    /// The image circle's radius in pixels (along x). 0 = not known, which needs focal lengths or
    /// a table. Where those are given as well nothing is seen beyond this radius.
    double dCircleRadius = 0.0;
    std::array<double, 4> adK = {};  ///< KannalaBrandt alone
    int iTableLength = 0;            ///< Table alone: 2..32
    std::array<LensTableRow, LENS_TABLE_ROWS> astTable = {};
};

/// A monotone map from the angle off the axis to a radius, placed in a picture.
///
/// The map ends at half the field of view, at the last row of a table, at the circle's radius where
/// that is given beside the scale, and where the model turns over (90 degrees for the orthographic
/// one, the first turning point of a polynomial), whichever comes first: so no two directions ever
/// share a pixel. Immutable, so it may be used by any number of threads at once.
class Lens
{
public:
    /// A lens, or nothing and a sentence that says what is wrong: an unknown model, a number that
    /// is not finite, a field of view outside 90..235 degrees, neither focal lengths nor radius, a
    /// negative or a single focal length, a table that is too short or not strictly growing, a
    /// polynomial that turns over within the first degree. Fields that the model does not use are
    /// not looked at.
    static std::optional<Lens> Make(const LensParameters& stParameters, std::string& strError);

    /// The pixel of a direction of any length but zero; nothing beyond the end of the map. The
    /// pixel may lie outside the picture, whose size the lens does not know.
    std::optional<Point> Project(const Vec3& stDirection) const;

    /// The same for many directions at once, which takes a fraction of the time; not a number where
    /// there is no pixel.
    void Project(const Vec3* pstDirections, int iCount, Point* pstOut) const;

    /// The direction of a pixel, of unit length; nothing beyond the end of the map.
    std::optional<Vec3> Unproject(const Point& stPixel) const;

    /// The radius in pixels along x at an angle in 0..MaxTheta(), in radians, and the inverse for a
    /// radius in 0..MaxRadius().
    double RadiusOf(double dThetaRad) const;
    double ThetaOf(double dRadius) const;

    /// Where the map ends: the angle in radians and the radius in pixels along x.
    double MaxTheta() const { return m_dMaxTheta; }
    double MaxRadius() const { return m_dMaxRadius; }

    /// Pixels per radian on the axis, across and down.
    double FocalX() const { return m_dFocal * m_dSlopeOnAxis; }
    double FocalY() const { return FocalX() * m_dAspect; }
    const Point& Centre() const { return m_stCentre; }
    LensModel Model() const { return m_eModel; }

    /// The same lens for the picture resampled by these factors (> 0) across and down.
    Lens ScaledBy(double dScaleX, double dScaleY) const;

private:
    Lens() = default;

    /// The model itself, in units of m_dFocal, on 0..m_dMaxTheta.
    double Map(double dTheta) const;
    double MapInverse(double dMapped) const;
    double Polynomial(double dTheta) const;
    double PolynomialInverse(double dMapped) const;
    double TableValue(double dTheta) const;
    double TableInverse(double dRadius) const;

    struct ValueAndSlope
    {
        double dValue;
        double dSlope;
    };
    ValueAndSlope TableCubic(int i, double dTheta) const;

    friend class LensBuilder;

    LensModel m_eModel = LensModel::Equidistant;
    Point m_stCentre = {0.0, 0.0};
    double m_dFocal = 1.0;   ///< pixels per unit of the map, along x
    double m_dAspect = 1.0;  ///< pixels down for each pixel across
    double m_dSlopeOnAxis = 1.0;
    double m_dMaxTheta = 0.0;
    double m_dMaxHalfTangent = 0.0;
    double m_dMaxRadius = 0.0;
    std::array<double, 4> m_adK = {};

    /// A node of the cubic that joins the rows of a table.
    struct Knot
    {
        double dTheta;
        double dRadius;
        double dSlope;
    };
    int m_iKnots = 0;
    std::array<Knot, LENS_TABLE_ROWS + 1> m_astKnots = {};
};

}  // namespace optics
