#pragma once

#include <optional>

#include <QPointF>
#include <QSizeF>
#include <QVector>

/// Where the points of a pan/tilt/zoom window lie on the fisheye picture, and how to turn the view
/// so that a point of the scene lies under the cursor. What the viewer has to know to steer by the
/// manager's operations; the pictures are the engine's.
///
/// Camera frame: x right and y down in the picture, z out of the lens. Directions are unit vectors.
/// The fisheye picture is the square whose inscribed circle is a 180-degree equidistant projection
/// (angle off the axis = 90 degrees x distance from the centre); fractions 0..1 each way, also
/// outside the circle.
namespace viewer {

/// How the camera is mounted; the values are the manager's installation types.
enum class Mount
{
    Wall = 1,
    Floor = 2,
    Ceiling = 3
};

struct Direction
{
    double x = 0.0;
    double y = 0.0;
    double z = 1.0;
};

/// The direction of a fraction of the fisheye picture.
Direction FromFishEye(QPointF fraction);

/// The fraction of the fisheye picture in which a direction lies. Straight back is one of many
/// points: the one below the centre.
QPointF ToFishEye(const Direction& direction);

/// What one pan/tilt/zoom window shows.
struct PtzView
{
    Mount mount = Mount::Ceiling;
    QPointF centre{0.5, 0.5};  ///< fraction of the fisheye picture
    double zoom = 10000.0;     ///< 10000 is 90 degrees across the shorter side, 500 the narrowest
    QSizeF window{1.0, 1.0};   ///< of any unit; only the shape counts
};

/// The direction seen at a fraction of the window.
Direction DirectionAt(const PtzView& view, QPointF fraction);

/// Where a direction is seen, as a fraction of the window (also beyond its border); nothing where
/// it lies behind the view.
std::optional<QPointF> Locate(const PtzView& view, const Direction& direction);

/// The centre to which the view must be turned, upright, for a direction to be seen at a fraction
/// of its window; of two such centres the one nearer to today's. Where none is exact (near the
/// poles) the nearest possible, and always one within the circle.
QPointF CentreThatShows(const PtzView& view, const Direction& direction, QPointF fraction);

/// The centre nearest to a fraction that a view can have: within the image circle.
QPointF NearestCentre(QPointF fraction);

/// A step of the manager's relative move in a window of 10000 x 10000, in which a pixel is a unit.
struct MoveStep
{
    int x = 0;
    int y = 0;
};

/// The step that comes nearest to leading a view from one centre to another: straight for a wall
/// camera, otherwise an orbit by 1/10000 of half a circle and a change of the radius.
MoveStep StepBetween(Mount mount, QPointF from, QPointF to);

/// Where a step leads from a centre, be it within the circle or not.
QPointF CentreAfter(Mount mount, QPointF from, MoveStep step);

/// A fraction of the unturned panorama as a direction, and the other way round.
Direction FromPanorama(Mount mount, QPointF fraction);
QPointF ToPanorama(Mount mount, const Direction& direction);

/// The source picture in a cell, in which it keeps its aspect and is shown the right way round.
struct SourcePicture
{
    QSizeF picture;         ///< pixels; above 0
    QSizeF cell;            ///< of any unit; only the shape counts
    bool mirrored = false;  ///< the picture has left and right swapped
    bool flipped = false;   ///< above and below

    /// The fraction of the cell at which a pixel of the picture is seen (pixel centres at whole
    /// numbers), and the other way round.
    QPointF place(QPointF pixel) const;
    QPointF pixel(QPointF place) const;
};

/// A line of the unturned panorama on one that is turned by `degrees`, in as many pieces as the
/// seam makes of it; they end and begin at the seam.
QVector<QVector<QPointF>> TurnedLine(const QVector<QPointF>& line, double degrees);

/// A line of the fisheye picture on the unturned panorama, with as many points as it takes to
/// follow it. Neighbours on either side of the seam are a panorama apart: for TurnedLine.
QVector<QPointF> OnPanorama(Mount mount, const QVector<QPointF>& line);

}  // namespace viewer
