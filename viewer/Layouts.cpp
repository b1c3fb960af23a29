#include "viewer/Layouts.h"

#include <algorithm>

#include <QObject>

namespace viewer {

namespace {

Cell At(CellKind kind, int row, int column, int rows = 1, int columns = 1)
{
    return {kind, row, column, rows, columns};
}

Cell Ptz(int row, int column)
{
    return At(CellKind::Ptz, row, column);
}

}  // namespace

const std::vector<Layout>& Layouts()
{
    // The grids are chosen so that pan/tilt/zoom cells come out square in a window of 4:3 or 16:9.
    static const std::vector<Layout> layouts = {
        {"fisheye", QObject::tr("Fisheye"), 1, 1, {At(CellKind::FishEye, 0, 0)}},
        {"source", QObject::tr("Source"), 1, 1, {At(CellKind::Source, 0, 0)}},
        {"panorama", QObject::tr("Panorama"), 1, 1, {At(CellKind::Panorama, 0, 0)}},
        {"single", QObject::tr("One view"), 1, 1, {Ptz(0, 0)}},
        {"fisheye+3",
         QObject::tr("Fisheye + 3"),
         3,
         4,
         {At(CellKind::FishEye, 0, 0, 3, 3), Ptz(0, 3), Ptz(1, 3), Ptz(2, 3)}},
        {"fisheye+8",
         QObject::tr("Fisheye + 8"),
         4,
         5,
         {At(CellKind::FishEye, 0, 0, 3, 4), Ptz(0, 4), Ptz(1, 4), Ptz(2, 4), Ptz(3, 0), Ptz(3, 1),
          Ptz(3, 2), Ptz(3, 3), Ptz(3, 4)}},
        {"panorama+6",
         QObject::tr("Panorama + 6"),
         3,
         3,
         {At(CellKind::Panorama, 0, 0, 1, 3), Ptz(1, 0), Ptz(1, 1), Ptz(1, 2), Ptz(2, 0), Ptz(2, 1),
          Ptz(2, 2)}},
        {"double180",
         QObject::tr("Double 180"),
         2,
         1,
         {At(CellKind::Half, 0, 0), At(CellKind::OtherHalf, 1, 0)}},
        {"panorama+fisheye+4",
         QObject::tr("Panorama + fisheye + 4"),
         3,
         4,
         {At(CellKind::Panorama, 0, 0, 1, 4), At(CellKind::FishEye, 1, 0, 2, 2), Ptz(1, 2),
          Ptz(1, 3), Ptz(2, 2), Ptz(2, 3)}},
        {"quad", QObject::tr("Quad"), 2, 2, {Ptz(0, 0), Ptz(0, 1), Ptz(1, 0), Ptz(1, 1)}},
        {"half180", QObject::tr("180"), 1, 1, {At(CellKind::Half, 0, 0)}},
    };
    return layouts;
}

const Layout* FindLayout(const QString& id)
{
    const std::vector<Layout>& layouts = Layouts();
    const auto it = std::find_if(layouts.begin(), layouts.end(),
                                 [&](const Layout& layout) { return layout.id == id; });
    return layouts.end() == it ? nullptr : &*it;
}

QString LayoutFor(bool onWall, const QString& id)
{
    return onWall && "double180" == id ? "half180" : id;
}

}  // namespace viewer
