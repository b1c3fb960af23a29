// Traces the border of one view in the picture of another.
#pragma once

#include <array>

#include "correction/LineWriter.h"
#include "optics/View.h"

namespace correction {

/// Where on the way from one direction to another, 0..1, what is shown may end or begin, in order.
class Cuts
{
public:
    void AddLinear(double a, double b);
    void AddQuadratic(double a, double b, double c);
    const double* begin() const { return m_adAt.data(); }
    const double* end() const { return m_adAt.data() + m_iCount; }

private:
    void Add(double t);

    std::array<double, 3> m_adAt = {};
    int m_iCount = 0;
};

/// Follows the border of a square perspective view. Its sides are great circles, so the points
/// between two corners are straight combinations of them, and everything that happens to a side (it
/// leaves the circle, it crosses the seam) is found on the straight line between two samples.
class Tracer
{
public:
    /// @param border  a square pan/tilt/zoom view
    /// @param space   an unrotated wide view or the fisheye picture
    /// Both, and the writer, must outlive the tracer.
    Tracer(const optics::View& border, const optics::View& space, LineWriter& writer);

    /// Clockwise from the top left corner, with so many samples of the top and bottom side and of
    /// the two others.
    void Trace(int iSamplesAcross, int iSamplesDown);

private:
    /// A direction, not of unit length, and where the space shows it.
    struct Sample
    {
        optics::Vec3 stDirection;
        optics::Point stPoint;
    };

    void Go(const optics::Vec3& stFrom, const optics::Vec3& stTo);
    void GoPiece(const optics::Vec3& stFrom, const optics::Vec3& stTo);
    Cuts CutsBetween(const optics::Vec3& stFrom, const optics::Vec3& stTo) const;
    bool Shown(const optics::Vec3& stDirection) const;

    void Begin(const optics::Vec3& stDirection);
    void DrawTo(const optics::Vec3& stDirection);
    void DrawFinely(const Sample& stFrom, const Sample& stTo, int iDepth);

    bool CrossesSeam(const optics::Vec3& stTo, optics::Vec3& stCrossing) const;
    Sample Placed(const optics::Vec3& stDirection) const;
    Sample OnSeam(const optics::Vec3& stDirection, const optics::Vec3& stNeighbour) const;

    const optics::View& m_border;
    const optics::View& m_space;
    LineWriter& m_writer;
    const bool m_blSeam;      ///< whether the space is a panorama
    const bool m_blCylinder;  ///< whether it is a wall camera's 180 view
    Sample m_stPen = {};      ///< where the current line has come to
    bool m_blDrawing = false;
};

}  // namespace correction
