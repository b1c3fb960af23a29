#include "viewer/ViewGeometry.h"

#include <algorithm>
#include <cmath>

namespace viewer {

namespace {

constexpr double CONST_PI = 3.14159265358979323846;
constexpr double CONST_UNITS = 10000.0;
constexpr double CONST_NARROWEST = 500.0;
constexpr double CONST_FARTHEST = 0.4998;  ///< of a centre: within the circle after any rounding
const QPointF CONST_MIDDLE(0.5, 0.5);

Direction operator*(double factor, const Direction& a)
{
    return {factor * a.x, factor * a.y, factor * a.z};
}

Direction operator+(const Direction& a, const Direction& b)
{
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}

double Dot(const Direction& a, const Direction& b)
{
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

Direction Cross(const Direction& a, const Direction& b)
{
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

Direction Unit(const Direction& a)
{
    return (1.0 / std::sqrt(Dot(a, a))) * a;
}

/// The world seen from the camera: up, and the horizontal direction of azimuth 0.
struct World
{
    Direction up;
    Direction ahead;
    Direction right;  ///< of somebody who looks ahead
};

World WorldOf(Mount mount)
{
    World world;
    switch (mount) {
    case Mount::Wall:
        world.up = {0.0, -1.0, 0.0};
        world.ahead = {0.0, 0.0, 1.0};
        break;
    case Mount::Floor:
        world.up = {0.0, 0.0, 1.0};
        world.ahead = {0.0, 1.0, 0.0};
        break;
    case Mount::Ceiling:
        world.up = {0.0, 0.0, -1.0};
        world.ahead = {0.0, 1.0, 0.0};
        break;
    }
    world.right = Cross(world.ahead, world.up);
    return world;
}

double Azimuth(const World& world, const Direction& direction)
{
    return std::atan2(Dot(direction, world.right), Dot(direction, world.ahead));
}

double Elevation(const World& world, const Direction& direction)
{
    return std::asin(std::clamp(Dot(direction, world.up), -1.0, 1.0));
}

Direction Looking(const World& world, double azimuth, double elevation)
{
    const Direction level = std::cos(azimuth) * world.ahead + std::sin(azimuth) * world.right;
    return std::cos(elevation) * level + std::sin(elevation) * world.up;
}

/// The upright axes of a view.
struct Axes
{
    Direction forward;
    Direction right;
    Direction up;
};

Axes AxesOf(const PtzView& view)
{
    const World world = WorldOf(view.mount);
    const Direction forward = FromFishEye(view.centre);
    // From azimuth and elevation, so that the pole has its limit from azimuth 0.
    const double azimuth = Azimuth(world, forward);
    const Direction level = Looking(world, azimuth, 0.0);
    const Direction right = Unit(Cross(level, world.up));
    return {forward, right, Cross(right, forward)};
}

/// Half the view's extent each way, at distance 1.
QSizeF HalfExtent(const PtzView& view)
{
    const double shorter = std::min(view.window.width(), view.window.height());
    const double scale = std::max(view.zoom, CONST_NARROWEST) / CONST_UNITS / shorter;
    return {view.window.width() * scale, view.window.height() * scale};
}

/// A fraction of the window as right, up and forward.
Direction LocalOf(const PtzView& view, QPointF fraction)
{
    const QSizeF half = HalfExtent(view);
    return Unit({(2.0 * fraction.x() - 1.0) * half.width(),
                 (1.0 - 2.0 * fraction.y()) * half.height(), 1.0});
}

double Wrapped(double angle)
{
    return std::remainder(angle, 2.0 * CONST_PI);
}

}  // namespace

Direction FromFishEye(QPointF fraction)
{
    const double px = 2.0 * fraction.x() - 1.0;
    const double py = 2.0 * fraction.y() - 1.0;
    const double rho = std::hypot(px, py);
    const double theta = CONST_PI / 2.0 * rho;
    if (rho == 0.0)
        return {};
    return {std::sin(theta) * px / rho, std::sin(theta) * py / rho, std::cos(theta)};
}

QPointF ToFishEye(const Direction& direction)
{
    const double across = std::hypot(direction.x, direction.y);
    const double rho = std::atan2(across, direction.z) / (CONST_PI / 2.0);
    const double bearing = std::atan2(direction.x, direction.y);
    return {0.5 + 0.5 * rho * std::sin(bearing), 0.5 + 0.5 * rho * std::cos(bearing)};
}

Direction DirectionAt(const PtzView& view, QPointF fraction)
{
    const Axes axes = AxesOf(view);
    const Direction local = LocalOf(view, fraction);
    return local.x * axes.right + local.y * axes.up + local.z * axes.forward;
}

std::optional<QPointF> Locate(const PtzView& view, const Direction& direction)
{
    const Axes axes = AxesOf(view);
    const double depth = Dot(direction, axes.forward);
    if (depth <= 0.0)
        return std::nullopt;
    const QSizeF half = HalfExtent(view);
    return QPointF(0.5 + 0.5 * Dot(direction, axes.right) / depth / half.width(),
                   0.5 - 0.5 * Dot(direction, axes.up) / depth / half.height());
}

QPointF CentreThatShows(const PtzView& view, const Direction& direction, QPointF fraction)
{
    const World world = WorldOf(view.mount);
    const Direction local = LocalOf(view, fraction);
    const double today = Elevation(world, FromFishEye(view.centre));
    // The height of the direction above the horizon is what the window's point has at elevation e:
    // local.z sin e + local.y cos e = reach sin(e + tilt).
    const double reach = std::hypot(local.y, local.z);
    const double tilt = std::atan2(local.y, local.z);
    const double angle = std::asin(std::clamp(Dot(direction, world.up) / reach, -1.0, 1.0));
    const double first = Wrapped(angle - tilt);
    const double second = Wrapped(CONST_PI - angle - tilt);
    const double nearer =
        std::abs(Wrapped(first - today)) <= std::abs(Wrapped(second - today)) ? first : second;
    const double elevation = std::clamp(nearer, -CONST_PI / 2.0, CONST_PI / 2.0);
    const double depth = local.z * std::cos(elevation) - local.y * std::sin(elevation);
    const double azimuth = Azimuth(world, direction) - std::atan2(local.x, depth);
    return NearestCentre(ToFishEye(Looking(world, azimuth, elevation)));
}

QPointF NearestCentre(QPointF fraction)
{
    const QPointF offset = fraction - CONST_MIDDLE;
    const double radius = std::hypot(offset.x(), offset.y());
    return radius <= CONST_FARTHEST ? fraction : CONST_MIDDLE + offset * (CONST_FARTHEST / radius);
}

MoveStep StepBetween(Mount mount, QPointF from, QPointF to)
{
    const auto rounded = [](double value) { return static_cast<int>(std::lround(value)); };
    const QPointF start = (from - CONST_MIDDLE) * CONST_UNITS;
    const QPointF end = (to - CONST_MIDDLE) * CONST_UNITS;
    if (Mount::Wall == mount)
        return {rounded(start.x() - end.x()), rounded(start.y() - end.y())};
    const double turn = Wrapped(std::atan2(end.x(), end.y()) - std::atan2(start.x(), start.y()));
    const double away = std::hypot(end.x(), end.y()) - std::hypot(start.x(), start.y());
    const int sign = Mount::Floor == mount ? -1 : 1;
    return {sign * rounded(turn * CONST_UNITS / CONST_PI), sign * rounded(away)};
}

QPointF CentreAfter(Mount mount, QPointF from, MoveStep step)
{
    if (Mount::Wall == mount)
        return from - QPointF(step.x, step.y) / CONST_UNITS;
    const int sign = Mount::Floor == mount ? -1 : 1;
    const QPointF start = from - CONST_MIDDLE;
    const double bearing =
        std::atan2(start.x(), start.y()) + sign * step.x * CONST_PI / CONST_UNITS;
    const double away =
        std::max(0.0, std::hypot(start.x(), start.y()) + sign * step.y / CONST_UNITS);
    return CONST_MIDDLE + away * QPointF(std::sin(bearing), std::cos(bearing));
}

Direction FromPanorama(Mount mount, QPointF fraction)
{
    const bool floor = Mount::Floor == mount;
    const double bearing = CONST_PI * (floor ? 2.0 * fraction.x() - 1.0 : 1.0 - 2.0 * fraction.x());
    const double rho = floor ? fraction.y() : 1.0 - fraction.y();
    return FromFishEye(CONST_MIDDLE + 0.5 * rho * QPointF(std::sin(bearing), std::cos(bearing)));
}

QPointF ToPanorama(Mount mount, const Direction& direction)
{
    const QPointF offset = 2.0 * (ToFishEye(direction) - CONST_MIDDLE);
    const double turns = std::atan2(offset.x(), offset.y()) / (2.0 * CONST_PI);
    const double rho = std::hypot(offset.x(), offset.y());
    return Mount::Floor == mount ? QPointF(0.5 + turns, rho) : QPointF(0.5 - turns, 1.0 - rho);
}

QPointF SourcePicture::place(QPointF pixel) const
{
    const double scale = std::min(cell.width() / picture.width(), cell.height() / picture.height());
    const QPointF offset =
        (pixel + QPointF(0.5, 0.5) - QPointF(picture.width() / 2.0, picture.height() / 2.0)) *
        scale;
    return {0.5 + (mirrored ? -1.0 : 1.0) * offset.x() / cell.width(),
            0.5 + (flipped ? -1.0 : 1.0) * offset.y() / cell.height()};
}

QPointF SourcePicture::pixel(QPointF place) const
{
    const double scale = std::min(cell.width() / picture.width(), cell.height() / picture.height());
    const QPointF offset((mirrored ? -1.0 : 1.0) * (place.x() - 0.5) * cell.width(),
                         (flipped ? -1.0 : 1.0) * (place.y() - 0.5) * cell.height());
    return offset / scale + QPointF(picture.width() / 2.0, picture.height() / 2.0) -
           QPointF(0.5, 0.5);
}

QVector<QVector<QPointF>> TurnedLine(const QVector<QPointF>& line, double degrees)
{
    constexpr double CONST_HALF_WIDTH = 0.5;
    QVector<QVector<QPointF>> pieces;
    for (const QPointF& point : line) {
        const double x = point.x() + degrees / 360.0;
        const double within = x - std::floor(x);
        const QPointF turned(0.0 == within && x >= 1.0 ? 1.0 : within, point.y());
        // Two neighbours are never half a panorama apart, unless the seam lies between them.
        const double step = pieces.isEmpty() ? 0.0 : turned.x() - pieces.last().last().x();
        if (std::abs(step) > CONST_HALF_WIDTH) {
            const double seam = step < 0.0 ? 1.0 : 0.0;
            const QPointF before = pieces.last().last();
            const double way = step < 0.0 ? step + 1.0 : step - 1.0;
            const double part = 0.0 == way ? 0.0 : (seam - before.x()) / way;
            const double y = before.y() + part * (turned.y() - before.y());
            pieces.last().append({seam, y});
            pieces.append({{1.0 - seam, y}});
        }
        if (pieces.isEmpty())
            pieces.append(QVector<QPointF>());
        pieces.last().append(turned);
    }
    return pieces;
}

QVector<QPointF> OnPanorama(Mount mount, const QVector<QPointF>& line)
{
    constexpr double CONST_STEP =
        0.01;  // of the fisheye picture; what is straight there is not here
    QVector<QPointF> points;
    for (int i = 0; i < line.size(); ++i) {
        const QPointF from = line[std::max(0, i - 1)];
        const QPointF way = line[i] - from;
        const int steps =
            std::max(1, static_cast<int>(std::ceil(std::hypot(way.x(), way.y()) / CONST_STEP)));
        for (int step = 1; step <= steps; ++step)
            points.append(ToPanorama(mount, FromFishEye(from + way * step / steps)));
    }
    return points;
}

}  // namespace viewer
