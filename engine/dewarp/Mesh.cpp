#include "engine/dewarp/Mesh.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <utility>

#include <hwy/cache_control.h>

#include "engine/dewarp/FixedPoint.h"

namespace dewarp {

namespace {

constexpr int kNodeSpacing = kTile / 2;
constexpr int kPost = 4;             // nodes from one that the mapping is asked for to the next
constexpr double kFarthest = 24000;  // pixels; the coordinates' integer part has 15 bits
constexpr std::int32_t kFarOff = 32767 << 16;
// Rows that are a multiple of this many bytes apart compete for the same cache sets and write
// buffers. Their tiles are drawn to a strip of the cache first, and leave it in longer runs.
constexpr int kCompeting = 2048;
constexpr int kStripTiles = 8;
static_assert(2 * kStripTiles + 1 <= NodeColumns::kMost);
constexpr int kStripLine = (kStripTiles * kTile * 4) + 64;

/// The coordinates of a patch that has no neighbours.
void ExpandAlone(const Kernels& kernels, const PatchNodes& nodes, int level, int lastColumn,
                 int lastRow, std::int32_t* x, std::int32_t* y)
{
    NodeColumns columns[2];
    kernels.lookDown(nodes.x, nodes.line, 3, nodes.spacing, columns[0]);
    kernels.lookDown(nodes.y, nodes.line, 3, nodes.spacing, columns[1]);
    kernels.expand({&columns[0], &columns[1], 0, nodes.spacing, level}, lastColumn, lastRow, x, y);
}

/// What there is to interpolate a line with, of `lines` ones, that lies half-way between two of
/// those known, which are `spacing` apart: six of them where they are far apart, else four.
struct Halfway
{
    Halfway(int line, int lines, int spacing) : reach(spacing == kPost ? 3 : 2)
    {
        const int first = line / spacing;
        const int known = (lines - 1) / spacing + 1;
        before = first >= reach;
        behind = first + 1 + reach < known;
        enough = first + 1 >= reach && first + reach < known && (before || behind);
    }

    HalfwayLines Lines(const std::int32_t* line, std::ptrdiff_t step) const
    {
        HalfwayLines lines{{}, reach == 3, before, behind};
        for (int i = 4 - reach - (before ? 1 : 0); i < 4 + reach + (behind ? 1 : 0); ++i)
            lines.line[i] = line + (i - 3) * step;
        return lines;
    }

    int reach;  ///< lines on each side
    bool before, behind;
    bool enough;
};

/// How far apart the known lines are between which a line lies half-way, when its turn comes; 0 if
/// it is one of those that are known from the beginning.
int SpacingAbout(int line, int lines)
{
    if (line % kPost == 0 || line == lines - 1)
        return 0;
    return line % 2 == 0 ? kPost : kPost / 2;
}

/// A biquadratic patch, column and row in steps between its nodes.
double ValueAt(const std::int32_t* nodes, int line, double column, double row)
{
    const auto through = [](double a, double b, double c, double s) {
        return a * ((s - 1) * (s - 2) / 2) + b * (s * (2 - s)) + c * (s * (s - 1) / 2);
    };
    double down[3];
    for (int i = 0; i < 3; ++i)
        down[i] = through(nodes[i * line], nodes[i * line + 1], nodes[i * line + 2], column);
    return through(down[0], down[1], down[2], row);
}

/// Of the parallelogram that three places span, in pixels.
double Area(const Place& from, const Place& across, const Place& down)
{
    const auto pixels = [](std::int32_t a, std::int32_t b) {
        return (static_cast<double>(a) - b) * (1 / 65536.0);
    };
    return std::fabs(pixels(across.x, from.x) * pixels(down.y, from.y) -
                     pixels(across.y, from.y) * pixels(down.x, from.x));
}

/// Whether the patch is where the mapping is; column and row in steps between its nodes.
bool Near(const PatchNodes& patch, double column, double row, const Place& exact)
{
    if (!exact.Known())
        return false;
    const double x = ValueAt(patch.x, patch.line, column, row) - exact.x;
    const double y = ValueAt(patch.y, patch.line, column, row) - exact.y;
    constexpr double limit = kPatchError * 65536;
    return x * x + y * y <= limit * limit;
}

/// The first to fourth place half-way between the nodes of a patch, whose first pixel this is.
ViewPoint HalfwayPoint(const PatchNodes& patch, ViewPoint first, int i)
{
    return {first.column + (0.5 + i % 2) * patch.spacing,
            first.row + (0.5 + i / 2) * patch.spacing};
}

bool NearHalfway(const PatchNodes& patch, int i, const Place& exact)
{
    return Near(patch, 0.5 + i % 2, 0.5 + i / 2, exact);
}

/// Whether the nodes are as near to each other as a patch's must be.
bool WithinReach(const PatchNodes& patch)
{
    for (const std::int32_t* const nodes : {patch.x, patch.y})
        for (int i = 0; i < 9; ++i) {
            const std::int64_t away =
                std::int64_t{nodes[i / 3 * patch.line + i % 3]} - nodes[patch.line + 1];
            if (std::abs(away) > kLargestPatch / 2)
                return false;
        }
    return true;
}

void FillBlack(std::uint8_t* pixels, std::ptrdiff_t line, int columns, int rows)
{
    for (int row = 0; row < rows; ++row)
        for (int column = 0; column < columns; ++column) {
            constexpr std::uint8_t black[4] = {0, 0, 0, 255};
            std::memcpy(pixels + row * line + std::ptrdiff_t{column} * 4, black, 4);
        }
}

/// Whether each row of a tile is a cache line of its own, so that it can be stored past the caches:
/// the pixels go to a window, and reading them into the cache first would only cost.
bool Aligned(const std::uint8_t* pixels, std::ptrdiff_t line)
{
    return reinterpret_cast<std::uintptr_t>(pixels) % 64 == 0 && line % 64 == 0;
}

/// The first and the last cache line of rows that are at most some 64 bytes long; what lies between
/// them in longer ones follows. Four rows at a time, up to three too many. (Forced inline: calls of
/// what does nothing but this are left out.)
HWY_INLINE void PrefetchRows(const std::uint8_t* first, std::ptrdiff_t line, int bytes, int rows)
{
    const int few = std::min(rows, 4 * kTile);  // sparse samples leave most of more of them unread
    std::ptrdiff_t twice = 2 * line;
    std::ptrdiff_t thrice = 3 * line;
#if defined(__GNUC__)
    asm("" : "+r"(twice), "+r"(thrice));  // else each address is made of the one before
#endif
    const auto prefetch = [=](const std::uint8_t* at) {
        for (int row = 0; row < few; row += 4, at += 4 * line) {
            hwy::Prefetch(at);
            hwy::Prefetch(at + line);
            hwy::Prefetch(at + twice);
            hwy::Prefetch(at + thrice);
        }
    };
    prefetch(first);
    // Where lines are multiples of 64 bytes, all rows reach into the next cache line or none does.
    if (line % 64 != 0 ||
        static_cast<int>(reinterpret_cast<std::uintptr_t>(first) % 64) + bytes > 64)
        prefetch(first + bytes - 1);
}

}  // namespace

int HighestLevelOf(int width, int height)
{
    const int size = std::min(width, height);
    return size >= 15 ? 2 : size >= 7 ? 1 : 0;
}

int LevelSize(int size, int level)
{
    for (int i = 0; i < level; ++i)
        size = (size + 1) / 2;
    return std::max(size, 4);
}

SourcePoint Mesh::Nowhere()
{
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    return {nan, nan};
}

void Mesh::BuildInBatches(int width, int height, int sourceWidth, int sourceHeight,
                          BatchMapping mapping)
{
    m_width = width;
    m_height = height;
    m_sourceWidth = sourceWidth;
    m_sourceHeight = sourceHeight;
    m_tileColumns = (width + kTile - 1) / kTile;
    m_tileRows = (height + kTile - 1) / kTile;
    m_nodeColumns = 2 * m_tileColumns + 1;
    m_nodeRows = 2 * m_tileRows + 1;
    m_perWidth = 1.0 / width;
    m_perHeight = 1.0 / height;
    m_highestLevel = 0;
    m_tiles.resize(static_cast<std::size_t>(m_tileRows) * m_tileColumns);
    m_quads.clear();
    m_pixels.clear();
    SetLimits();
    MapNodes(mapping);
    FindRough();
    for (int row = 0; row < m_tileRows; ++row)
        AddTiles(row, mapping);
}

void Mesh::SetLimits()
{
    constexpr double margin = 1.0 / 32;  // far more than fixed point numbers stray
    m_limits.highestLevel = HighestLevelOf(m_sourceWidth, m_sourceHeight);
    for (int level = 0; level < 3; ++level) {
        const auto full = [level](double place) {
            return Fixed(std::ldexp(place + 0.5, level) - 0.5);
        };
        m_limits.leastX[level] = full(1 + margin);
        m_limits.leastY[level] = full(1 + margin);
        m_limits.mostX[level] = full(LevelSize(m_sourceWidth, level) - 4 - margin);
        m_limits.mostY[level] = full(LevelSize(m_sourceHeight, level) - 3 - margin);
    }
}

// The mapping is asked for every fourth node each way. Those half-way between them are interpolated
// through the six next ones of their line where that is as good, then those between these through
// four, which spares nine tenths of the trigonometry of an ordinary view; where it is not as good,
// and next to the view's border, they are asked for as well. First across, in lines that are
// columns of nodes and hold those rows alone that are not interpolated, then down.
void Mesh::MapNodes(BatchMapping mapping)
{
    for (Scratch& scratch : m_scratch)
        scratch.resize(std::max(m_nodeColumns, m_nodeRows));
    const std::size_t nodes = static_cast<std::size_t>(m_nodeRows) * m_nodeColumns;
    m_nodes.x.resize(nodes);
    m_nodes.y.resize(nodes);

    m_rows.clear();
    for (int row = 0; row < m_nodeRows; ++row)
        if (const int spacing = SpacingAbout(row, m_nodeRows);
            spacing == 0 || !Halfway(row, m_nodeRows, spacing).enough)
            m_rows.push_back(row);
    const auto rows = static_cast<int>(m_rows.size());
    m_columns.x.resize(static_cast<std::size_t>(rows) * m_nodeColumns);
    m_columns.y.resize(m_columns.x.size());
    const auto askInColumn = [&](int column, int i) {
        m_asked.emplace_back(column * rows + i, column, m_rows[i]);
    };
    for (int i = 0; i < rows; ++i)  // row by row, which mappings are quickest with
        for (int column = 0; column < m_nodeColumns; ++column)
            if (SpacingAbout(column, m_nodeColumns) == 0)
                askInColumn(column, i);
    AnswerAll(mapping, m_columns);
    for (int spacing = kPost; spacing > 1; spacing /= 2) {
        for (int column = spacing / 2; column + spacing / 2 < m_nodeColumns; column += spacing)
            InterpolateLine(m_columns, column, m_nodeColumns, spacing, rows,
                            [&](int i) { askInColumn(column, i); });
        AnswerAll(mapping, m_columns);
    }
    const std::pair<const Scratch*, Scratch*> axes[] = {{&m_columns.x, &m_nodes.x},
                                                        {&m_columns.y, &m_nodes.y}};
    for (const auto& [from, to] : axes)
        for (int i = 0; i < rows; ++i) {
            const std::int32_t* column = from->data() + i;
            std::int32_t* const row = to->data() + std::ptrdiff_t{m_rows[i]} * m_nodeColumns;
            for (int j = 0, count = m_nodeColumns; j < count; ++j, column += rows)
                row[j] = *column;
        }
    for (int spacing = kPost; spacing > 1; spacing /= 2) {
        for (int row = spacing / 2; row + spacing / 2 < m_nodeRows; row += spacing)
            if (Halfway(row, m_nodeRows, spacing).enough)
                InterpolateLine(m_nodes, row, m_nodeRows, spacing, m_nodeColumns, [&](int column) {
                    m_asked.emplace_back(row * m_nodeColumns + column, column, row);
                });
        AnswerAll(mapping, m_nodes);
    }
}

/// Sets a line of nodes half-way between two known ones, of which every `spacing`th is known; those
/// that cannot be set are to be asked for.
template <class AskFor>
void Mesh::InterpolateLine(Places& places, int line, int lines, int spacing, int count,
                           AskFor askFor)
{
    const Halfway halfway(line, lines, spacing);
    std::int32_t* const failed = m_scratch[kFailed].data();
    bool any = !halfway.enough;
    std::fill_n(failed, count, halfway.enough ? 0 : -1);
    const std::ptrdiff_t step = count;
    for (Scratch* const axis : {&places.x, &places.y}) {
        std::int32_t* const out = axis->data() + line * step;
        if (halfway.enough)
            any |= BestKernels().halfway(halfway.Lines(out - spacing / 2 * step, spacing * step),
                                         count, out, failed);
    }
    // Between two unknown nodes there may be a known one where the picture's border bulges; there,
    // one beside it is known.
    const std::int32_t* const x = places.x.data() + line * step;
    for (int i = 0; i + 1 < count; ++i)
        any |= (x[i] == kUnknownPlace) != (x[i + 1] == kUnknownPlace);
    const auto black = [&](int i) { return failed[i] == 0 && x[i] == kUnknownPlace; };
    for (int i = 0; any && i < count; ++i)
        if (!black(i) ? failed[i] != 0
                      : (i > 0 && !black(i - 1)) || (i + 1 < count && !black(i + 1)))
            askFor(i);
}

/// Maps the nodes that are to be asked for.
void Mesh::AnswerAll(BatchMapping mapping, Places& places)
{
    Ask(
        mapping, static_cast<int>(m_asked.size()),
        [&](int i) {
            return ViewPoint{double{kNodeSpacing} * m_asked[i].column,
                             double{kNodeSpacing} * m_asked[i].row};
        },
        [&](int i, const Place& place) {
            places.x[m_asked[i].at] = place.x;
            places.y[m_asked[i].at] = place.y;
        });
    m_asked.clear();
}

/// Asks the mapping for pixels of the view, pointOf(0..count), and hands out what it says.
template <class PointOf, class Take>
void Mesh::Ask(BatchMapping mapping, int count, PointOf pointOf, Take take) const
{
    double x[kMostAtOnce], y[kMostAtOnce];
    SourcePoint points[kMostAtOnce];
    for (int done = 0; done < count; done += kMostAtOnce) {
        const int batch = std::min(count - done, kMostAtOnce);
        for (int i = 0; i < batch; ++i) {
            const ViewPoint point = pointOf(done + i);
            x[i] = (point.column + 0.5) * m_perWidth;
            y[i] = (point.row + 0.5) * m_perHeight;
        }
        mapping(x, y, batch, points);
        for (int i = 0; i < batch; ++i) {
            const bool near =
                std::fabs(points[i].x) <= kFarthest && std::fabs(points[i].y) <= kFarthest;
            take(done + i, near ? Place{Fixed(points[i].x), Fixed(points[i].y)}
                                : Place{Place::kUnknown, Place::kUnknown});
        }
    }
}

/// Finds the tiles in which parabolas may not follow the mapping, as far as the corners of their
/// neighbours, every second node each way, tell.
void Mesh::FindRough()
{
    const int columns = m_tileColumns + 1;
    const int rows = m_tileRows + 1;
    const std::size_t corners = static_cast<std::size_t>(rows) * columns;
    m_rough.assign(m_tiles.size(), HasFewTiles() ? -1 : 0);
    if (HasFewTiles())
        return;
    m_roughAcross.assign(corners, 0);
    m_roughDown.assign(corners, 0);
    m_corners.resize(corners);
    for (const Scratch* const nodes : {&m_nodes.x, &m_nodes.y}) {
        const std::int32_t* const from = nodes->data();
        std::int32_t* const to = m_corners.data();
        for (int row = 0; row < rows; ++row) {
            const std::int32_t* const nodeRow = from + std::ptrdiff_t{2} * row * m_nodeColumns;
            std::int32_t* const cornerRow = to + std::ptrdiff_t{row} * columns;
            for (int column = 0; column < columns; ++column)
                cornerRow[column] = nodeRow[2 * column];
            BestKernels().markRough(cornerRow, 1, columns - 3, &m_roughAcross[row * columns]);
        }
        BestKernels().markRough(to, columns, (rows - 3) * columns, m_roughDown.data());
    }
    for (int row = 0; row < m_tileRows; ++row) {
        const std::int32_t* const across = &m_roughAcross[row * columns];
        const std::int32_t* const down =
            &m_roughDown[std::clamp(row - 1, 0, m_tileRows - 3) * columns];
        std::int32_t* const rough = &m_rough[row * m_tileColumns];
        const auto mark = [&](int column, int left) {
            rough[column] = across[left] | across[left + columns] | down[column] | down[column + 1];
        };
        mark(0, 0);
        for (int column = 1; column + 1 < m_tileColumns; ++column)
            mark(column, column - 1);
        mark(m_tileColumns - 1, m_tileColumns - 3);
    }
}

PatchNodes Mesh::NodesOf(const Tile& tile, int part) const
{
    if (tile.shape == Shape::Patch)
        return {&m_nodes.x[tile.index], &m_nodes.y[tile.index], m_nodeColumns, kNodeSpacing};
    const Quad& quad = m_quads[tile.index];
    const int first = part / 2 * 10 + part % 2 * 2;
    return {quad.x + first, quad.y + first, 5, 4};
}

void Mesh::AddTiles(int tileRow, BatchMapping mapping)
{
    const std::int32_t firstNode = 2 * tileRow * m_nodeColumns;
    m_areas.resize(m_tileColumns);
    const TileExtents extents = {m_scratch[kLeastX].data(), m_scratch[kLeastY].data(),
                                 m_scratch[kMostX].data(), m_scratch[kMostY].data(),
                                 m_areas.data()};
    const TileChoices choices = {m_scratch[kChoices].data(), m_scratch[kLeftTop].data(),
                                 m_scratch[kRightBottom].data()};
    BestKernels().findExtents(&m_nodes.x[firstNode], &m_nodes.y[firstNode], m_nodeColumns,
                              m_tileColumns, extents);
    BestKernels().choose(extents, m_limits, m_tileColumns, choices);
    const std::int32_t* const rough = &m_rough[static_cast<std::size_t>(tileRow) * m_tileColumns];
    Tile* const tiles = &m_tiles[static_cast<std::size_t>(tileRow) * m_tileColumns];
    for (int i = 0; i < m_tileColumns; ++i) {
        const std::int32_t choice = choices.choices[i];
        Tile& tile = tiles[i];
        tile.shape = Shape::Patch;
        tile.level = static_cast<std::uint8_t>(choice & TileChoices::kLevel);
        tile.clamped = (choice & TileChoices::kClamped) != 0;
        tile.index = firstNode + 2 * i;
        tile.box = {choices.leftTop[i], choices.rightBottom[i]};
        const bool known = extents.leastX[i] != Place::kUnknown;
        if (!known || rough[i] != 0 || (choice & TileChoices::kTooLarge) != 0) {
            const bool any = HasFewTiles() || extents.mostX[i] != Place::kUnknown;
            const bool patches = known && !HasFewTiles() && (choice & TileChoices::kTooLarge) == 0;
            FindShape(tile, i, tileRow, any, patches, mapping);
        }
        m_highestLevel = std::max<int>(m_highestLevel, tile.level);
    }
}

/// Shapes a tile for which its neighbours do not vouch.
/// @param any whether any of its pixels may be known @param patches whether all of its nodes are,
/// so that patches may do
void Mesh::FindShape(Tile& tile, int tileColumn, int tileRow, bool any, bool patches,
                     BatchMapping mapping)
{
    const ViewPoint first = {double{kTile} * tileColumn, double{kTile} * tileRow};
    if (patches && (NearEverywhere(NodesOf(tile, 0), first, mapping) ||
                    AddQuad(tile, tileColumn, first, mapping)))
        return;
    tile = Tile{};
    if (any)
        AddPixels(tile, tileColumn, tileRow, mapping);
}

/// Whether a patch, whose first pixel this is, is where the mapping is half-way between its nodes.
bool Mesh::NearEverywhere(const PatchNodes& patch, ViewPoint first, BatchMapping mapping) const
{
    bool near = true;
    Ask(
        mapping, 4, [&](int i) { return HalfwayPoint(patch, first, i); },
        [&](int i, const Place& place) { near = near && NearHalfway(patch, i, place); });
    return near;
}

bool Mesh::AddQuad(Tile& tile, int tileColumn, ViewPoint first, BatchMapping mapping)
{
    // Every second of 9 x 9 places is a node of the four patches, the others check them.
    Place exact[9 * 9];
    Ask(
        mapping, 9 * 9,
        [&](int i) {
            return ViewPoint{first.column + i % 9 * 2, first.row + i / 9 * 2};
        },
        [&](int i, const Place& place) { exact[i] = place; });
    Quad quad{};
    Place least{kFarOff, kFarOff};
    Place most{-kFarOff, -kFarOff};
    for (int i = 0; i < 9 * 9; ++i) {
        const Place& place = exact[i];
        if (!place.Known())
            return false;
        const int row = i / 9;
        const int column = i % 9;
        if (row % 2 != 0 || column % 2 != 0)
            continue;
        quad.x[row / 2 * 5 + column / 2] = place.x;
        quad.y[row / 2 * 5 + column / 2] = place.y;
        least = {std::min(least.x, place.x), std::min(least.y, place.y)};
        most = {std::max(most.x, place.x), std::max(most.y, place.y)};
    }
    std::int32_t choice = 0;
    BestKernels().choose({&least.x, &least.y, &most.x, &most.y, &m_areas[tileColumn]}, m_limits, 1,
                         {&choice, &tile.box.leftTop, &tile.box.rightBottom});
    if ((choice & TileChoices::kTooLarge) != 0)
        return false;
    tile.shape = Shape::Quad;
    tile.index = static_cast<std::int32_t>(m_quads.size());
    tile.clamped = (choice & TileChoices::kClamped) != 0;
    m_quads.push_back(quad);
    for (int part = 0; part < 4; ++part)
        for (int i = 0; i < 5; ++i)
            for (int j = 0; j < 5; ++j)
                if (!Near(NodesOf(tile, part), j / 2.0, i / 2.0,
                          exact[(part / 2 * 4 + i) * 9 + part % 2 * 4 + j])) {
                    m_quads.pop_back();
                    return false;
                }
    return true;
}

/// Every fourth pixel of a tile each way, and patches between them: each of 2 x 2 cells.
class Mesh::Lattice
{
public:
    Lattice(const Mesh& mesh, BatchMapping mapping, ViewPoint first) : m_mesh(mesh), m_first(first)
    {
        mesh.Ask(
            mapping, kNodes * kNodes, [&](int i) { return At(i % kNodes, i / kNodes); },
            [&](int i, const Place& place) {
                m_nodes.x[i] = place.x;
                m_nodes.y[i] = place.y;
            });
        for (int i = 0; i < kCells * kCells; ++i)
            for (const int corner : {0, 1, kNodes, kNodes + 1})
                m_known[i] += IsKnown(i / kCells * kNodes + i % kCells + corner) ? 1 : 0;
    }

    /// How many corners of a cell are known.
    int Known(int cell) const { return m_known[cell]; }

    /// Whether Fill has set the pixels of a cell.
    bool Filled(int cell) const { return m_filled >> cell & 1; }

    /// Sets the pixels of all cells that patches hold which are where the mapping is.
    void Fill(BatchMapping mapping, TileCoordinates& out)
    {
        // Most often the first few will do: others are tried only for what these have left.
        unsigned untried = 0;
        for (int part = 0; part < kParts * kParts; ++part)
            untried |= Usable(part) ? 1U << part : 0U;
        for (;;) {
            int tried[kParts * kParts];
            int count = 0;
            unsigned hoped = m_filled;
            for (int part = 0; part < kParts * kParts; ++part)
                if ((untried >> part & 1) && (CellsOf(part) & ~hoped) != 0) {
                    hoped |= CellsOf(part);
                    untried &= ~(1U << part);
                    tried[count++] = part;
                }
            if (count == 0)
                return;
            bool near[kParts * kParts];
            std::fill_n(near, count, true);
            m_mesh.Ask(
                mapping, 4 * count,
                [&](int i) {
                    const int part = tried[i / 4];
                    return HalfwayPoint(PatchOf(part), At(part % kParts, part / kParts), i % 4);
                },
                [&](int i, const Place& place) {
                    near[i / 4] = near[i / 4] && NearHalfway(PatchOf(tried[i / 4]), i % 4, place);
                });
            for (int i = 0; i < count; ++i)
                if (near[i])
                    Expand(tried[i], out);
        }
    }

private:
    static constexpr int kNodes = 5;
    static constexpr int kCells = kNodes - 1;
    static constexpr int kParts = kNodes - 2;

    bool IsKnown(int node) const { return m_nodes.x[node] != Place::kUnknown; }

    ViewPoint At(int column, int row) const
    {
        return {m_first.column + 4 * column, m_first.row + 4 * row};
    }

    PatchNodes PatchOf(int part) const
    {
        const int first = part / kParts * kNodes + part % kParts;
        return {m_nodes.x + first, m_nodes.y + first, kNodes, 4};
    }

    static unsigned CellsOf(int part)
    {
        return (3U | 3U << kCells) << (part / kParts * kCells + part % kParts);
    }

    bool Usable(int part) const
    {
        for (int i = 0; i < 9; ++i)
            if (!IsKnown((part / kParts + i / 3) * kNodes + part % kParts + i % 3))
                return false;
        return WithinReach(PatchOf(part));
    }

    void Expand(int part, TileCoordinates& out)
    {
        const int at = (part / kParts * kTile + part % kParts) * 4;
        ExpandAlone(BestKernels(), PatchOf(part), 0, 7, 7, out.x + at, out.y + at);
        m_filled |= CellsOf(part);
    }

    const Mesh& m_mesh;
    ViewPoint m_first;
    Quad m_nodes{};
    int m_known[kCells * kCells] = {};
    unsigned m_filled = 0;
};

/// Asks for the pixels of a tile, of which `columns` and `rows` are in the view; the others repeat
/// the last ones. Cells of four by four pixels are taken from patches between known pixels where
/// these are as near; between unknown ones they are black, but for a view of so few pixels that all
/// are asked for.
void Mesh::MapPixels(BatchMapping mapping, ViewPoint first, int columns, int rows,
                     TileCoordinates& out) const
{
    Lattice lattice(*this, mapping, first);
    lattice.Fill(mapping, out);
    int asked[kTile * kTile];
    int count = 0;
    for (int cell = 0; cell < 16; ++cell) {
        if (lattice.Filled(cell))
            continue;
        const bool black = lattice.Known(cell) == 0 && !HasFewTiles();
        for (int i = 0; i < 16; ++i) {
            const int at = (cell / 4 * 4 + i / 4) * kTile + cell % 4 * 4 + i % 4;
            if (black)
                out.x[at] = Place::kUnknown;
            else
                asked[count++] = at;
        }
    }
    Ask(
        mapping, count,
        [&](int i) {
            return ViewPoint{first.column + std::min(asked[i] % kTile, columns - 1),
                             first.row + std::min(asked[i] / kTile, rows - 1)};
        },
        [&](int i, const Place& place) {
            out.x[asked[i]] = place.x;
            out.y[asked[i]] = place.y;
        });
}

void Mesh::AddPixels(Tile& tile, int tileColumn, int tileRow, BatchMapping mapping)
{
    const int columns = std::min(kTile, m_width - tileColumn * kTile);
    const int rows = std::min(kTile, m_height - tileRow * kTile);
    m_pixels.emplace_back();
    Pixels& pixels = m_pixels.back();
    TileCoordinates& places = pixels.coordinates;
    MapPixels(mapping, {double{kTile} * tileColumn, double{kTile} * tileRow}, columns, rows,
              places);
    bool known = false;
    for (int i = 0; i < kTile; ++i) {
        unsigned inside = 0;
        for (int j = 0; j < kTile; ++j)
            inside |= (places.x[i * kTile + j] != Place::kUnknown ? 1U : 0U) << j;
        pixels.inside[i] = static_cast<std::uint16_t>(inside);
        known = known || inside != 0;
    }
    if (!known)
        return m_pixels.pop_back();
    const auto place = [&](int at) { return Place{places.x[at], places.y[at]}; };
    double area = 0;
    int areas = 0;
    for (int i = 0; i + 1 < rows; i += 3)
        for (int j = 0; j + 1 < columns; j += 3)
            if ((pixels.inside[i] >> j & 3) == 3 && (pixels.inside[i + 1] >> j & 1)) {
                const int at = i * kTile + j;
                area += Area(place(at), place(at + 1), place(at + kTile));
                ++areas;
            }
    tile.level = static_cast<std::uint8_t>(
        LevelFor(areas > 0 ? static_cast<float>(area / areas) : 0, m_limits.highestLevel));
    tile.shape = Shape::Pixels;
    tile.index = static_cast<std::int32_t>(m_pixels.size()) - 1;
    pixels.complete = std::all_of(pixels.inside, pixels.inside + kTile,
                                  [](std::uint16_t row) { return row == 0xFFFF; });
    if (!pixels.complete)
        SetOutside(pixels);
    Place least = place(0);
    Place most = least;
    for (int i = 0; i < kTile * kTile; ++i) {
        least = {std::min(least.x, places.x[i]), std::min(least.y, places.y[i])};
        most = {std::max(most.x, places.x[i]), std::max(most.y, places.y[i])};
        places.x[i] = ToLevel(places.x[i], tile.level);
        places.y[i] = ToLevel(places.y[i], tile.level);
    }
    tile.clamped = least.x < m_limits.leastX[tile.level] || least.y < m_limits.leastY[tile.level] ||
                   most.x > m_limits.mostX[tile.level] || most.y > m_limits.mostY[tile.level];
    tile.box = BoxOf(least.x, least.y, most.x, most.y, tile.level);
}

/// Gives the pixels outside the place of one inside of their 2 x 2 block, whose chroma they would
/// otherwise spoil, or any of the tile's.
void Mesh::SetOutside(Pixels& pixels)
{
    TileCoordinates& places = pixels.coordinates;
    const std::int32_t* const first = std::find_if(
        places.x, places.x + kTile * kTile, [](std::int32_t x) { return x != Place::kUnknown; });
    const Place any = {*first, places.y[first - places.x]};
    for (int row = 0; row < kTile; row += 2) {
        const unsigned inside = pixels.inside[row] | pixels.inside[row + 1] << kTile;
        for (int column = 0; inside != ~0U && column < kTile; column += 2) {
            const unsigned block = inside >> column;
            const int at = row * kTile + column;
            const int known = (block & 1) != 0             ? at
                              : (block & 2) != 0           ? at + 1
                              : (block & 1U << kTile) != 0 ? at + kTile
                                                           : at + kTile + 1;
            const bool none = (block & (3U | 3U << kTile)) == 0;
            const Place place = none ? any : Place{places.x[known], places.y[known]};
            for (const int i : {0, 1, kTile, kTile + 1})
                if ((block >> i & 1) == 0) {
                    places.x[at + i] = place.x;
                    places.y[at + i] = place.y;
                }
        }
    }
}

Mesh::Census Mesh::Count() const
{
    Census census{};
    for (const Tile& tile : m_tiles) {
        int* const counts[] = {&census.black, &census.patch, &census.quad, &census.pixels};
        ++*counts[static_cast<int>(tile.shape)];
        if (tile.shape != Shape::Black)
            ++census.level[tile.level];
        census.clamped += tile.clamped ? 1 : 0;
    }
    return census;
}

void Mesh::ExpandQuad(const Kernels& kernels, const Tile& tile, int columns, int rows,
                      TileCoordinates& out) const
{
    for (int part = 0; part < 4; ++part) {
        const int column = part % 2 * 8;
        const int row = part / 2 * 8;
        const int at = row * kTile + column;
        ExpandAlone(kernels, NodesOf(tile, part), tile.level, std::max(columns - 1 - column, 0),
                    std::max(rows - 1 - row, 0), out.x + at, out.y + at);
    }
}

/// Asks for the source of the tile that is drawn next, while this one is being drawn. A tile's rows
/// lie in as many cache lines, most of them not where the processor would look for them by itself.
HWY_INLINE void Mesh::Prefetch(const Level* levels, const Tile& tile)
{
    if (tile.shape == Shape::Black)
        return;
    const Level& level = levels[tile.level];
    const auto column = [](std::int32_t place) { return static_cast<std::int16_t>(place); };
    const int left = column(tile.box.leftTop);
    const int top = tile.box.leftTop >> 16;
    const int right = column(tile.box.rightBottom);
    const int bottom = tile.box.rightBottom >> 16;
    const int bytes = level.pairs ? 2 : 1;
    PrefetchRows(level.luma + std::ptrdiff_t{top} * level.lumaLine + left * bytes, level.lumaLine,
                 (right - left + 2) * bytes, bottom - top + (level.pairs ? 1 : 2));
    PrefetchRows(level.chroma + std::ptrdiff_t{top / 2} * level.chromaLine + left / 2 * 2,
                 level.chromaLine, right - left + 4, (bottom - top) / 2 + 2);
}

void Mesh::DrawTile(const Kernels& kernels, const Level* levels, const ColourTerms& terms,
                    const Tile& tile, const Patch& patch, int columns, int rows,
                    std::uint8_t* pixels, std::ptrdiff_t line, bool stream) const
{
    if (tile.shape == Shape::Black)
        return FillBlack(pixels, line, columns, rows);
    if (tile.shape == Shape::Patch && !tile.clamped && columns == kTile && rows == kTile)
        return kernels.samplePatch(levels[tile.level], terms, patch, {pixels, line, kTile, stream});
    const bool listed = tile.shape == Shape::Pixels;
    TileCoordinates expanded;
    if (tile.shape == Shape::Patch)
        kernels.expand(patch, columns - 1, rows - 1, expanded.x, expanded.y);
    else if (tile.shape == Shape::Quad)
        ExpandQuad(kernels, tile, columns, rows, expanded);
    const TileCoordinates& coordinates = listed ? m_pixels[tile.index].coordinates : expanded;
    const bool complete = !listed || m_pixels[tile.index].complete;
    const auto sample = tile.clamped ? kernels.sampleAnywhere : kernels.sampleInside;
    if (columns == kTile && rows == kTile && complete)
        return sample(levels[tile.level], terms, coordinates, {pixels, line, kTile, stream});

    alignas(64) std::uint8_t whole[kTile * kTile * 4];
    sample(levels[tile.level], terms, coordinates, {whole, kTile * 4, (rows + 3) & ~3, false});
    for (int row = 0; row < rows; ++row) {
        std::uint8_t* const out = whole + std::ptrdiff_t{row} * kTile * 4;
        for (int column = 0; !complete && column < columns; ++column)
            if (!(m_pixels[tile.index].inside[row] >> column & 1))
                FillBlack(out + std::ptrdiff_t{column} * 4, 0, 1, 1);
        std::memcpy(pixels + row * line, out, static_cast<std::size_t>(columns) * 4);
    }
}

void Mesh::DrawBand(const Kernels& kernels, const Level* levels, const ColourTerms& terms, int band,
                    std::uint8_t* pixels, std::ptrdiff_t line) const
{
    const int rows = std::min(kTile, m_height - band * kTile);
    const bool stream = Aligned(pixels, line);
    const bool collect = stream && line % kCompeting == 0;
    alignas(64) std::uint8_t strip[kTile * kStripLine];
    for (int i = 0; i < m_tileColumns; i += kStripTiles) {
        const int columns = std::min(kStripTiles * kTile, m_width - i * kTile);
        std::uint8_t* const out =
            pixels + std::ptrdiff_t{band} * kTile * line + std::ptrdiff_t{i} * kTile * 4;
        const Tile* const tiles = &m_tiles[static_cast<std::size_t>(band) * m_tileColumns + i];
        const bool through = collect && columns % kTile == 0;
        const std::size_t node = (std::size_t{2} * band * m_nodeColumns) + 2 * i;
        const int nodes = (columns + kTile - 1) / kTile * 2 + 1;
        NodeColumns x, y;
        kernels.lookDown(&m_nodes.x[node], m_nodeColumns, nodes, kNodeSpacing, x);
        kernels.lookDown(&m_nodes.y[node], m_nodeColumns, nodes, kNodeSpacing, y);
        for (int j = 0; j < columns; j += kTile) {
            const Tile& tile = tiles[j / kTile];
            if (i + j / kTile + 1 < m_tileColumns)
                Prefetch(levels, tiles[j / kTile + 1]);
            DrawTile(
                kernels, levels, terms, tile, {&x, &y, j / kNodeSpacing, kNodeSpacing, tile.level},
                std::min(kTile, columns - j), rows, (through ? strip : out) + std::ptrdiff_t{j} * 4,
                through ? kStripLine : line, stream && !through);
        }
        if (through)
            kernels.streamRows(strip, kStripLine, columns * 4, rows, out, line);
    }
    hwy::FlushStream();  // before another thread is told that the band is there
}

void Mesh::BlackBand(int band, std::uint8_t* pixels, std::ptrdiff_t line) const
{
    FillBlack(pixels + std::ptrdiff_t{band} * kTile * line, line, m_width,
              std::min(kTile, m_height - band * kTile));
}

std::optional<SourcePoint> Mesh::At(int column, int row) const
{
    const Tile& tile =
        m_tiles[static_cast<std::size_t>(row / kTile) * m_tileColumns + column / kTile];
    if (tile.shape == Shape::Black)
        return std::nullopt;
    const int j = column % kTile;
    const int i = row % kTile;
    TileCoordinates expanded;
    const bool listed = tile.shape == Shape::Pixels;
    if (listed && !(m_pixels[tile.index].inside[i] >> j & 1))
        return std::nullopt;
    if (tile.shape == Shape::Patch)
        ExpandAlone(ReferenceKernels(), NodesOf(tile, 0), tile.level, kTile - 1, kTile - 1,
                    expanded.x, expanded.y);
    else if (tile.shape == Shape::Quad)
        ExpandQuad(ReferenceKernels(), tile, kTile, kTile, expanded);
    const TileCoordinates& coordinates = listed ? m_pixels[tile.index].coordinates : expanded;
    const auto full = [&](std::int32_t coordinate) {
        return std::ldexp(coordinate / 65536.0 + 0.5, tile.level) - 0.5;
    };
    return SourcePoint{full(coordinates.x[i * kTile + j]), full(coordinates.y[i * kTile + j])};
}

}  // namespace dewarp
