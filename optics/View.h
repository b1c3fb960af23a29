// The views: which direction each of them shows where. A view knows its mount but no lens: what it
// shows beyond the lens's field of view is black because the lens has no pixel for it.
#pragma once

#include <optional>

#include "optics/Vector.h"

namespace optics {

/// How the camera is installed.
enum class Mount
{
    Ceiling,  ///< looking down: the world's up is -z
    Wall,     ///< looking ahead: the world's up is -y
    Floor,    ///< looking up: the world's up is +z
};

/// The mount of an installation type: 1 is a wall camera, 2 a floor camera, every other value a
/// ceiling camera.
Mount MountOf(int iInstallationType);

/// The world's upward direction in the camera frame, of unit length.
Vec3 WorldUp(Mount eMount);

/// The kinds of view, under the numbers of the correction modes.
enum class ViewKind
{
    PanTiltZoom = 0x100,
    Half = 0x200,      ///< the "180" view
    Panorama = 0x300,  ///< all the way round
    Lat = 0x400,       ///< longitude across, latitude upwards
    Fisheye = 0x500,   ///< the fisheye picture itself
};

/// What a view shows. Each field says for which kinds it counts.
struct ViewParameters
{
    ViewKind eKind = ViewKind::Fisheye;
    Mount eMount = Mount::Ceiling;
    double dAngleDeg = 0.0;       ///< Half, Panorama: the rotation A; raising it follows the mouse
    Point stCentre = {0.5, 0.5};  ///< PanTiltZoom: the centre as a fisheye fraction (u, v)
    double dZoom = 10000.0;       ///< PanTiltZoom: 500..10000 (clamped); 10000 is 90 degrees across
    int iWidth = 1;               ///< PanTiltZoom: the window's size in pixels: its aspect counts
    int iHeight = 1;
};

/// One view: fraction (x, y), from its top left corner, to direction and back.
///
/// Immutable, so it may be used by any number of threads at once. Pixel (i, j) of a view of w x h
/// stands for the fraction ((i + 0.5) / w, (j + 0.5) / h).
class View
{
public:
    /// Takes any parameters. A centre outside the circle becomes the nearest point of the rim; the
    /// zoom is clamped; what is not a finite number counts as the field's default, and a size below
    /// 1 as 1.
    explicit View(const ViewParameters& stParameters);

    /// The direction shown at a fraction, of unit length. Nothing where the view itself is black:
    /// outside the circle of the fisheye view, and for a fraction that is not a number. Fractions
    /// beyond 0..1 go on as the formulas do.
    std::optional<Vec3> Direction(const Point& stFraction) const;

    /// The same for many fractions (pdX[i], pdY[i]), which must be finite: directions of any length
    /// but zero, not a number where the view itself is black. Quickest row by row.
    void Directions(const double* pdX, const double* pdY, int iCount, Vec3* pstOut) const;

    /// The fraction, 0..1 each way, at which a direction of any length but zero is shown; nothing
    /// where the view does not show it. A rounding error of 1e-9 beyond the border still counts,
    /// as the border. Where the view shows a direction more than once this is one side of the
    /// panorama's seam, and for the optical axis, which is a whole border line, that line's middle.
    std::optional<Point> Fraction(const Vec3& stDirection) const;

    /// The same by the formulas alone, not asking whether the fraction lies within the view: beyond
    /// 0..1 where it does not. Not a number where a perspective view cannot show the direction at
    /// all, because it lies behind.
    Point FractionUnbounded(const Vec3& stDirection) const;

    /// As taken: clamped, finite.
    const ViewParameters& Parameters() const { return m_stParameters; }

private:
    void AimPanTiltZoom();
    void RoundTheAxis(const double* pdX, const double* pdY, int iCount, Vec3* pstOut) const;
    Point FractionRoundTheAxis(const Vec3& stDirection) const;
    Point FractionOnCylinder(const Vec3& stDirection) const;
    Point FractionInPerspective(const Vec3& stDirection) const;
    bool IsCylinder() const;

    ViewParameters m_stParameters;
    Vec3 m_stForward = {0.0, 0.0, 1.0};  ///< PanTiltZoom alone, as the four below
    Vec3 m_stRight = {1.0, 0.0, 0.0};
    Vec3 m_stUp = {0.0, -1.0, 0.0};
    double m_dHalfWidth = 1.0;  ///< tangent of half the angle across
    double m_dHalfHeight = 1.0;
};

/// The right-hand direction of somebody who looks along `stForward` with the world's up upwards:
/// forward x up, normalised; looking straight up or down, the limit that bearing 0 comes to.
Vec3 RightOf(const Vec3& stForward, Mount eMount);

}  // namespace optics
