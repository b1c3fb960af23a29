#pragma once

#include <vector>

#include <QString>

namespace viewer {

/// What a cell of the grid shows.
enum class CellKind
{
    Source,
    FishEye,
    Panorama,
    Half,
    OtherHalf,
    Ptz
};

struct Cell
{
    CellKind kind;
    int row;
    int column;
    int rows;
    int columns;
};

/// A way to share a window between the views of one camera. Pan/tilt/zoom cells are numbered in
/// the order in which they stand here.
struct Layout
{
    QString id;  ///< as on the command line and in the settings
    QString title;
    int rows;
    int columns;
    std::vector<Cell> cells;
};

/// Every layout, in the order of the menu.
const std::vector<Layout>& Layouts();

/// The layout of an id; null where there is none.
const Layout* FindLayout(const QString& id);

/// What stands for a layout with a camera on a wall, or not on one: a wall camera has no back, and
/// one half in place of two.
QString LayoutFor(bool onWall, const QString& id);

}  // namespace viewer
