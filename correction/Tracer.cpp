#include "correction/Tracer.h"

namespace correction {
namespace {

using optics::Mount;
using optics::Point;
using optics::Vec3;
using optics::ViewKind;

// A side can lie on the rim in all its length (tilted 45 degrees, 90 across); that the request's
// single precision puts it a little beyond must not hide it. A thousandth of a pixel of 2048.
constexpr double CONST_TOLERANCE = 5e-7;
constexpr double CONST_LONGEST_STEP = 0.02;
// Halvings of a step: enough to pass a pole at any distance that a double position can have.
constexpr int CONST_DEPTH = 30;

Vec3 Between(const Vec3& a, const Vec3& b, double t)
{
    return a * (1.0 - t) + b * t;
}

/// The quadratic form that is zero where the cylinder ends, at an elevation of 45 degrees, and
/// negative on it.
double CylinderForm(const Vec3& a, const Vec3& b)
{
    return a.y * b.y - a.x * b.x - a.z * b.z;
}

}  // namespace

void Cuts::Add(double t)
{
    if (!(t > 0.0 && t < 1.0))  // also what is not a number
        return;
    int i = m_iCount++;
    for (; i > 0 && m_adAt[i - 1] > t; --i)
        m_adAt[i] = m_adAt[i - 1];
    m_adAt[i] = t;
}

/// Where a + t (b - a) sinks below the tolerance or rises above it.
void Cuts::AddLinear(double a, double b)
{
    if ((a < -CONST_TOLERANCE) != (b < -CONST_TOLERANCE))
        Add((a + CONST_TOLERANCE) / (a - b));
}

/// Where a + 2 b t + c t^2 passes the tolerance.
void Cuts::AddQuadratic(double a, double b, double c)
{
    const double dShifted = a - CONST_TOLERANCE;
    const double dRoot = std::sqrt(b * b - dShifted * c);
    const double dSum =
        b < 0.0 ? b - dRoot : b + dRoot;  // no cancellation, also where c is nearly 0
    Add(-dSum / c);
    Add(-dShifted / dSum);
}

Tracer::Tracer(const optics::View& border, const optics::View& space, LineWriter& writer)
    : m_border(border), m_space(space), m_writer(writer),
      m_blSeam(space.Parameters().eKind == ViewKind::Panorama),
      m_blCylinder(space.Parameters().eKind == ViewKind::Half &&
                   space.Parameters().eMount == Mount::Wall)
{}

void Tracer::Trace(int iSamplesAcross, int iSamplesDown)
{
    // A square's corners are equally far off its centre, so unit directions stand for them.
    const Vec3 astCorners[] = {*m_border.Direction({0.0, 0.0}), *m_border.Direction({1.0, 0.0}),
                               *m_border.Direction({1.0, 1.0}), *m_border.Direction({0.0, 1.0})};
    Vec3 stLast = astCorners[0];
    for (int iSide = 0; iSide < 4; ++iSide) {
        const int iSamples = iSide % 2 == 0 ? iSamplesAcross : iSamplesDown;
        for (int i = 1; i <= iSamples; ++i) {
            const double t = static_cast<double>(i) / iSamples;
            const Vec3 stNext = Between(astCorners[iSide], astCorners[(iSide + 1) % 4], t);
            Go(stLast, stNext);
            stLast = stNext;
        }
    }
}

void Tracer::Go(const Vec3& stFrom, const Vec3& stTo)
{
    const Cuts cuts = CutsBetween(stFrom, stTo);
    double dFrom = 0.0;
    for (const double dTo : cuts) {
        GoPiece(Between(stFrom, stTo, dFrom), Between(stFrom, stTo, dTo));
        dFrom = dTo;
    }
    GoPiece(dFrom == 0.0 ? stFrom : Between(stFrom, stTo, dFrom), stTo);
}

/// A piece that is shown all of it or not at all.
void Tracer::GoPiece(const Vec3& stFrom, const Vec3& stTo)
{
    const bool blShown = Shown(Between(stFrom, stTo, 0.5));
    if (blShown && !m_blDrawing)
        Begin(stFrom);
    if (blShown)
        DrawTo(stTo);
    else
        m_writer.Break();
    m_blDrawing = blShown;
}

Cuts Tracer::CutsBetween(const Vec3& stFrom, const Vec3& stTo) const
{
    Cuts cuts;
    cuts.AddLinear(stFrom.z, stTo.z);
    if (m_blCylinder) {
        const Vec3 stStep = stTo - stFrom;
        cuts.AddQuadratic(CylinderForm(stFrom, stFrom), CylinderForm(stFrom, stStep),
                          CylinderForm(stStep, stStep));
    } else if (m_space.Parameters().eKind == ViewKind::Half) {
        cuts.AddLinear(stFrom.y, stTo.y);
    }
    return cuts;
}

bool Tracer::Shown(const Vec3& stDirection) const
{
    if (stDirection.z < -CONST_TOLERANCE)
        return false;
    if (m_space.Parameters().eKind != ViewKind::Half)
        return true;
    if (!m_blCylinder)
        return stDirection.y >= -CONST_TOLERANCE;
    return CylinderForm(stDirection, stDirection) <= CONST_TOLERANCE;
}

void Tracer::Begin(const Vec3& stDirection)
{
    m_stPen = Placed(stDirection);
    m_blDrawing = true;
    m_writer.Add(m_stPen.stPoint);
}

void Tracer::DrawTo(const Vec3& stDirection)
{
    Vec3 stCrossing;
    if (m_blSeam && CrossesSeam(stDirection, stCrossing)) {
        DrawFinely(m_stPen, OnSeam(stCrossing, m_stPen.stDirection), CONST_DEPTH);
        m_writer.Break();
        m_stPen = OnSeam(stCrossing, stDirection);
        m_writer.Add(m_stPen.stPoint);
    }
    const Sample stTo = Placed(stDirection);
    DrawFinely(m_stPen, stTo, CONST_DEPTH);
    m_stPen = stTo;
}

void Tracer::DrawFinely(const Sample& stFrom, const Sample& stTo, int iDepth)
{
    const double dStep = std::max(std::abs(stTo.stPoint.x - stFrom.stPoint.x),
                                  std::abs(stTo.stPoint.y - stFrom.stPoint.y));
    if (dStep > CONST_LONGEST_STEP) {
        if (iDepth > 0) {
            const Sample stMiddle = Placed(Between(stFrom.stDirection, stTo.stDirection, 0.5));
            DrawFinely(stFrom, stMiddle, iDepth - 1);
            DrawFinely(stMiddle, stTo, iDepth - 1);
            return;
        }
        m_writer.Break();  // straight through a pole, where the picture really is torn
    }
    m_writer.Add(stTo.stPoint);
}

/// The seam is the half plane x = 0, y < 0; the other half is bearing 0, the panorama's middle.
bool Tracer::CrossesSeam(const Vec3& stTo, Vec3& stCrossing) const
{
    const Vec3& stFrom = m_stPen.stDirection;
    if ((stFrom.x < 0.0) == (stTo.x < 0.0))
        return false;
    stCrossing = Between(stFrom, stTo, stFrom.x / (stFrom.x - stTo.x));
    return stCrossing.y < 0.0;
}

Tracer::Sample Tracer::Placed(const Vec3& stDirection) const
{
    return {stDirection, m_space.FractionUnbounded(stDirection)};
}

/// A place on the seam, on the border of the panorama that belongs to a neighbour's side.
Tracer::Sample Tracer::OnSeam(const Vec3& stDirection, const Vec3& stNeighbour) const
{
    const bool blRight = (stNeighbour.x < 0.0) != (m_space.Parameters().eMount == Mount::Floor);
    return {stDirection, {blRight ? 1.0 : 0.0, m_space.FractionUnbounded(stDirection).y}};
}

}  // namespace correction
