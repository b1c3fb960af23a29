#include "engine/dewarp/Mesh.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include <hwy/cache_control.h>

#include "engine/dewarp/FixedPoint.h"

namespace dewarp {

namespace {

constexpr int kNodeSpacing = kTile / 2;
constexpr int kPost = 4;             // nodes from one that the mapping is asked for to the next
constexpr double kFarthest = 24000;  // pixels; the coordinates' integer part has 15 bits
constexpr std::int32_t kLargestPatch = 1 << 28;  // as Patch says
constexpr int kMapped = 64;                      // places asked for at once
constexpr std::int32_t kFarOff = 32767 << 16;
// Source pixels per view pixel from which a smaller size is taken. Bilinear samples of half the
// size average about four by four pixels: from here on that is nearer to the mean of the view's
// pixel than two by two of the full size, below it only softens.
constexpr double kHalfFrom = 2.8;
constexpr double kQuarterFrom = 4.8;
// Rows that are a multiple of this many bytes apart compete for the same cache sets and write
// buffers. Their tiles are drawn to a strip of the cache first, and leave it in longer runs.
constexpr int kCompeting = 2048;
constexpr int kStripTiles = 8;
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

/// What there is to interpolate with between the known lines `first` and first + 1 of `known` ones,
/// which are `spacing` nodes apart: six lines between those that are far apart, else four.
struct Halfway
{
    Halfway(int first, int known, int spacing)
        : reach(spacing == kPost ? 3 : 2), before(first >= reach),
          behind(first + 1 + reach < known),
          enough(first + 1 >= reach && first + reach < known && (before || behind))
    {}

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

/// The place for a pixel outside: that of one inside of its 2 x 2 block, whose chroma it would
/// otherwise spoil, or any.
Place Beside(const Place (&places)[kTile][kTile], int row, int column, const Place& any)
{
    for (const int k : {1, 2, 3})
        if (const Place& place = places[row ^ (k >> 1)][column ^ (k & 1)]; place.Known())
            return place;
    return any;
}

/// The level for an area of source pixels per view pixel.
int LevelFor(double area, int highest)
{
    const int wanted = area < kHalfFrom * kHalfFrom         ? 0
                       : area < kQuarterFrom * kQuarterFrom ? 1
                                                            : 2;
    return std::min(wanted, highest);
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
    const auto prefetch = [line, few](const std::uint8_t* at) {
        for (int row = 0; row < few; row += 4, at += 4 * line) {
            hwy::Prefetch(at);
            hwy::Prefetch(at + line);
            hwy::Prefetch(at + 2 * line);
            hwy::Prefetch(at + 3 * line);
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

void Mesh::BuildRows(int width, int height, int sourceWidth, int sourceHeight, RowMapping mapping)
{
    m_width = width;
    m_height = height;
    m_sourceWidth = sourceWidth;
    m_sourceHeight = sourceHeight;
    m_tileColumns = (width + kTile - 1) / kTile;
    m_tileRows = (height + kTile - 1) / kTile;
    m_nodeColumns = 2 * m_tileColumns + 1;
    m_nodeRows = 2 * m_tileRows + 1;
    m_highestLevel = 0;
    m_tiles.resize(static_cast<std::size_t>(m_tileRows) * m_tileColumns);
    m_quads.clear();
    m_pixels.clear();
    for (int level = 0; level < 3; ++level)
        m_inside[level] = InsideOf(level);
    MapNodes(mapping);
    for (int row = 0; row < m_tileRows; ++row) {
        LookAtNodes(row);
        for (int column = 0; column < m_tileColumns; ++column)
            AddTile(column, row, mapping);
    }
}

/// Where the kernels may sample a level without looking at the picture's border, in full-size
/// coordinates.
Mesh::Bounds Mesh::InsideOf(int level) const
{
    constexpr double margin = 1.0 / 32;  // far more than fixed point numbers stray
    const auto full = [level](double place) { return Fixed(std::ldexp(place + 0.5, level) - 0.5); };
    return {{full(1 + margin), full(1 + margin)},
            {full(LevelSize(m_sourceWidth, level) - 4 - margin),
             full(LevelSize(m_sourceHeight, level) - 3 - margin)}};
}

Mesh::Box Mesh::BoxOf(const Bounds& bounds, int level)
{
    const auto pixel = [level](std::int32_t full) {
        return static_cast<std::int16_t>(ToLevel(full, level) >> 16);
    };
    return {pixel(bounds.least.x), pixel(bounds.least.y), pixel(bounds.most.x),
            pixel(bounds.most.y)};
}

/// Whether patches through nodes within these bounds are all inside. A parabola through three
/// values strays at most 1/8 of their range from it on either side, a biquadratic patch 9/32.
bool Mesh::PatchInside(const Bounds& nodes, int level) const
{
    const Bounds& inside = m_inside[level];
    const auto stray = [](std::int32_t least, std::int32_t most) {
        return (most - least) / 32 * 9 + 9;
    };
    const std::int32_t x = stray(nodes.least.x, nodes.most.x);
    const std::int32_t y = stray(nodes.least.y, nodes.most.y);
    return nodes.least.x - x >= inside.least.x && nodes.most.x + x <= inside.most.x &&
           nodes.least.y - y >= inside.least.y && nodes.most.y + y <= inside.most.y;
}

// The mapping is asked for every fourth node each way. Those half-way between them are interpolated
// through the six next ones of their line where that is as good, then those between these through
// four, which spares nine tenths of the trigonometry of an ordinary view; where it is not as good,
// and next to the view's border, they are asked for as well.
void Mesh::MapNodes(RowMapping mapping)
{
    for (Scratch& scratch : m_scratch)
        scratch.resize(m_nodeColumns);
    const std::size_t nodes = static_cast<std::size_t>(m_nodeRows) * m_nodeColumns;
    m_nodeX.resize(nodes);
    m_nodeY.resize(nodes);
    for (int row = 0; row < m_nodeRows; row += kPost)
        MapNodeRow(mapping, row);
    if (const int last = m_nodeRows - 1; last % kPost != 0)
        MapNodeRow(mapping, last);
    for (int spacing = kPost; spacing > 1; spacing /= 2)
        for (int row = spacing / 2; row + spacing / 2 < m_nodeRows; row += spacing)
            InterpolateNodeRow(mapping, row, spacing);
}

/// Maps a row of nodes half-way between two known ones, which are `spacing` apart.
void Mesh::InterpolateNodeRow(RowMapping mapping, int row, int spacing)
{
    const Halfway halfway(row / spacing, (m_nodeRows - 1) / spacing + 1, spacing);
    if (!halfway.enough)
        return MapNodeRow(mapping, row);
    std::int32_t* const failed = m_scratch[kFailed].data();
    std::fill_n(failed, m_nodeColumns, 0);
    const std::ptrdiff_t line = m_nodeColumns;
    for (std::int32_t* const nodes : {m_nodeX.data(), m_nodeY.data()}) {
        std::int32_t* const out = nodes + row * line;
        BestKernels().halfway(halfway.Lines(out - spacing / 2 * line, spacing * line),
                              m_nodeColumns, out, failed);
    }
    AskFailed(mapping, row, 0, 1, m_nodeColumns);
}

/// Maps a row of nodes: every fourth one, the last one, and from these the others.
void Mesh::MapNodeRow(RowMapping mapping, int row)
{
    std::int32_t* const failed = m_scratch[kFailed].data();
    std::fill_n(failed, m_nodeColumns, -1);
    AskFailed(mapping, row, 0, kPost, (m_nodeColumns - 1) / kPost + 1);
    if (const int last = m_nodeColumns - 1; last % kPost != 0)
        AskFailed(mapping, row, last, 1, 1);
    const std::size_t start = static_cast<std::size_t>(row) * m_nodeColumns;
    for (int spacing = kPost; spacing > 1; spacing /= 2) {
        const int known = (m_nodeColumns - 1) / spacing + 1;
        std::fill_n(failed, known, 0);
        for (std::int32_t* const nodes : {&m_nodeX[start], &m_nodeY[start]})
            InterpolateAcross(nodes, known, spacing);
        AskFailed(mapping, row, spacing / 2, spacing, known - 1);
    }
}

/// Sets the nodes of a row half-way between known ones, and marks those that cannot be.
void Mesh::InterpolateAcross(std::int32_t* nodes, int known, int spacing)
{
    std::int32_t* const failed = m_scratch[kFailed].data();
    std::int32_t* const apart = m_scratch[kApart].data();
    std::int32_t* const between = m_scratch[kBetween].data();
    for (int i = 0; i < known; ++i)
        apart[i] = nodes[spacing * i];
    for (int first = 0; first + 1 < known;) {
        const Halfway halfway(first, known, spacing);
        // In the middle of the row all is there for each of them.
        const int last = halfway.before && halfway.behind ? known - 2 - halfway.reach : first;
        if (halfway.enough)
            BestKernels().halfway(halfway.Lines(apart + first, 1), last - first + 1,
                                  between + first, failed + first);
        else
            failed[first] = -1;
        first = last + 1;
    }
    for (int i = 0; i + 1 < known; ++i)
        nodes[spacing * i + spacing / 2] = between[i];
}

/// Maps those of the nodes first, first + step ... of a row that are marked as failed.
void Mesh::AskFailed(RowMapping mapping, int row, int first, int step, int count)
{
    const std::int32_t* const failed = m_scratch[kFailed].data();
    const std::size_t start = static_cast<std::size_t>(row) * m_nodeColumns;
    int nodes[kMapped];
    double fractions[kMapped] = {};
    Place places[kMapped];
    for (int i = 0; i < count;) {
        int n = 0;
        for (; i < count && n < kMapped; ++i)
            if (failed[i] != 0)
                nodes[n++] = first + step * i;
        if (n == 0)
            return;
        for (int j = 0; j < n; ++j)
            fractions[j] = Fraction(nodes[j] * kNodeSpacing);
        MapRow(mapping, row * kNodeSpacing, fractions, n, places);
        for (int j = 0; j < n; ++j) {
            m_nodeX[start + nodes[j]] = places[j].x;
            m_nodeY[start + nodes[j]] = places[j].y;
        }
    }
}

/// Asks the mapping for at most 64 places of a row.
void Mesh::MapRow(RowMapping mapping, double row, const double* fractions, int count,
                  Place* out) const
{
    SourcePoint points[kMapped];
    mapping(fractions, (row + 0.5) / m_height, count, points);
    for (int i = 0; i < count; ++i)
        out[i] = std::fabs(points[i].x) <= kFarthest && std::fabs(points[i].y) <= kFarthest
                     ? Place{Fixed(points[i].x), Fixed(points[i].y)}
                     : Place{Place::kUnknown, Place::kUnknown};
}

/// Collects what the tiles of a row must know of their nodes, column by column.
void Mesh::LookAtNodes(int tileRow)
{
    const std::ptrdiff_t line = m_nodeColumns;
    const std::ptrdiff_t start = 2 * tileRow * line;
    BestKernels().findBounds(&m_nodeX[start], m_nodeColumns, m_scratch[kLeastX].data(),
                             m_scratch[kMostX].data());
    BestKernels().findBounds(&m_nodeY[start], m_nodeColumns, m_scratch[kLeastY].data(),
                             m_scratch[kMostY].data());
    std::int32_t* const across = m_scratch[kRoughAcross].data();
    std::int32_t* const down = m_scratch[kRoughDown].data();
    std::fill_n(across, m_nodeColumns, 0);
    std::fill_n(down, m_nodeColumns, 0);
    for (const std::int32_t* const nodes : {m_nodeX.data(), m_nodeY.data()}) {
        for (int row = 0; row < 3; ++row)
            BestKernels().markRough(nodes + start + row * line, 1, m_nodeColumns - 3, across);
        if (tileRow > 0)
            BestKernels().markRough(nodes + start - line, line, m_nodeColumns, down);
        if (tileRow + 1 < m_tileRows)
            BestKernels().markRough(nodes + start, line, m_nodeColumns, down);
    }
}

/// Whether parabolas follow the mapping in a tile, as far as its neighbours tell.
bool Mesh::Smooth(int tileColumn) const
{
    if (m_tileColumns == 1 || m_tileRows == 1)
        return false;
    const std::int32_t* const across = &m_scratch[kRoughAcross][2 * tileColumn];
    const std::int32_t* const down = &m_scratch[kRoughDown][2 * tileColumn];
    return ((tileColumn > 0 ? across[-1] : 0) | (tileColumn + 1 < m_tileColumns ? across[0] : 0) |
            down[0] | down[1] | down[2]) == 0;
}

PatchNodes Mesh::NodesOf(const Tile& tile, int part) const
{
    if (tile.shape == Shape::Patch)
        return {&m_nodeX[tile.index], &m_nodeY[tile.index], m_nodeColumns, kNodeSpacing};
    const Quad& quad = m_quads[tile.index];
    const int first = part / 2 * 10 + part % 2 * 2;
    return {quad.x + first, quad.y + first, 5, 4};
}

void Mesh::AddTile(int tileColumn, int tileRow, RowMapping mapping)
{
    const auto of = [&](int scratch, auto choose) {
        const std::int32_t* const nodes = &m_scratch[scratch][2 * tileColumn];
        return choose(nodes[0], choose(nodes[1], nodes[2]));
    };
    const auto least = [](std::int32_t a, std::int32_t b) { return std::min(a, b); };
    const auto most = [](std::int32_t a, std::int32_t b) { return std::max(a, b); };
    const Bounds bounds = {{of(kLeastX, least), of(kLeastY, least)},
                           {of(kMostX, most), of(kMostY, most)}};
    Tile tile;
    if (bounds.most.Known() &&
        !(bounds.least.Known() && AddPatch(tile, bounds, tileColumn, tileRow, mapping)))
        AddPixels(tile, tileColumn, tileRow, mapping);
    if (tile.shape != Shape::Black) {
        m_highestLevel = std::max<int>(m_highestLevel, tile.level);
        if (bounds.least.Known())
            tile.box = BoxOf(bounds, tile.level);
    }
    m_tiles[static_cast<std::size_t>(tileRow) * m_tileColumns + tileColumn] = tile;
}

/// False where patches do not follow the mapping.
bool Mesh::AddPatch(Tile& tile, const Bounds& bounds, int tileColumn, int tileRow,
                    RowMapping mapping)
{
    const std::int64_t width = std::int64_t{bounds.most.x} - bounds.least.x;
    const std::int64_t height = std::int64_t{bounds.most.y} - bounds.least.y;
    if (std::max(width, height) > kLargestPatch)
        return false;
    const int first = 2 * (tileRow * m_nodeColumns + tileColumn);
    const auto node = [&](int column, int row) {
        const std::size_t at = static_cast<std::size_t>(first) + row * m_nodeColumns + column;
        return Place{m_nodeX[at], m_nodeY[at]};
    };
    const double area =
        Area(node(0, 0), node(2, 0), node(0, 2)) + Area(node(2, 2), node(0, 2), node(2, 0));
    tile.level = static_cast<std::uint8_t>(
        LevelFor(area / (2 * kTile * kTile), HighestLevelOf(m_sourceWidth, m_sourceHeight)));
    tile.shape = Shape::Patch;
    tile.index = first;
    tile.clamped = !PatchInside(bounds, tile.level);
    return Smooth(tileColumn) ||
           NearEverywhere(NodesOf(tile, 0), tileColumn * kTile, tileRow * kTile, mapping) ||
           AddQuad(tile, tileColumn, tileRow, mapping);
}

/// Whether a patch, whose first pixel this is, is where the mapping is half-way between its nodes.
bool Mesh::NearEverywhere(const PatchNodes& patch, double column, double row,
                          RowMapping mapping) const
{
    const double fractions[2] = {Fraction(column + 0.5 * patch.spacing),
                                 Fraction(column + 1.5 * patch.spacing)};
    for (const double down : {0.5, 1.5}) {
        Place exact[2];
        MapRow(mapping, row + down * patch.spacing, fractions, 2, exact);
        if (!Near(patch, 0.5, down, exact[0]) || !Near(patch, 1.5, down, exact[1]))
            return false;
    }
    return true;
}

bool Mesh::AddQuad(Tile& tile, int tileColumn, int tileRow, RowMapping mapping)
{
    // Every second of 9 x 9 places is a node of the four patches, the others check them.
    Place exact[9][9];
    double fractions[9];
    for (int j = 0; j < 9; ++j)
        fractions[j] = Fraction(tileColumn * 16.0 + 2 * j);
    Quad quad{};
    Bounds bounds{{kFarOff, kFarOff}, {-kFarOff, -kFarOff}};
    for (int i = 0; i < 9; ++i) {
        MapRow(mapping, tileRow * 16.0 + 2 * i, fractions, 9, exact[i]);
        for (int j = 0; j < 9; ++j) {
            const Place& place = exact[i][j];
            if (!place.Known())
                return false;
            if (i % 2 != 0 || j % 2 != 0)
                continue;
            quad.x[i / 2 * 5 + j / 2] = place.x;
            quad.y[i / 2 * 5 + j / 2] = place.y;
            bounds = {{std::min(bounds.least.x, place.x), std::min(bounds.least.y, place.y)},
                      {std::max(bounds.most.x, place.x), std::max(bounds.most.y, place.y)}};
        }
    }
    const std::int64_t width = std::int64_t{bounds.most.x} - bounds.least.x;
    const std::int64_t height = std::int64_t{bounds.most.y} - bounds.least.y;
    if (std::max(width, height) > kLargestPatch)
        return false;
    tile.shape = Shape::Quad;
    tile.index = static_cast<std::int32_t>(m_quads.size());
    tile.clamped = !PatchInside(bounds, tile.level);
    m_quads.push_back(quad);
    for (int part = 0; part < 4; ++part)
        for (int i = 0; i < 5; ++i)
            for (int j = 0; j < 5; ++j)
                if (!Near(NodesOf(tile, part), j / 2.0, i / 2.0,
                          exact[part / 2 * 4 + i][part % 2 * 4 + j])) {
                    m_quads.pop_back();
                    return false;
                }
    return true;
}

/// Every fourth pixel of a tile, and patches between them: each of 2 x 2 cells, and expanded when a
/// cell of it is asked for.
class Mesh::Lattice
{
public:
    Lattice(const Mesh& mesh, RowMapping mapping, double left, double top)
        : m_mesh(mesh), m_mapping(mapping), m_left(left), m_top(top)
    {
        double fractions[5];
        for (int j = 0; j < 5; ++j)
            fractions[j] = mesh.Fraction(left + 4 * j);
        for (int i = 0; i < 5; ++i) {
            Place places[5];
            mesh.MapRow(mapping, top + 4 * i, fractions, 5, places);
            for (int j = 0; j < 5; ++j) {
                m_nodes.x[i * 5 + j] = places[j].x;
                m_nodes.y[i * 5 + j] = places[j].y;
            }
        }
    }

    /// How many corners of a cell are known.
    int Known(int column, int row) const
    {
        const std::int32_t* const corner = &m_nodes.x[row * 5 + column];
        int known = 0;
        for (const int i : {0, 1, 5, 6})
            known += corner[i] != Place::kUnknown ? 1 : 0;
        return known;
    }

    /// Sets the pixels of a cell from a patch that holds it; false where none is near enough.
    bool Fill(int column, int row, Place (&out)[kTile][kTile])
    {
        for (int i = std::max(row - 1, 0); i <= std::min(row, 2); ++i)
            for (int j = std::max(column - 1, 0); j <= std::min(column, 2); ++j) {
                Part& part = m_parts[i][j];
                if (!part.tried)
                    Try(part, j, i);
                if (!part.near)
                    continue;
                for (int y = 0; y < 4; ++y)
                    for (int x = 0; x < 4; ++x) {
                        const int at = ((row - i) * 4 + y) * kTile + (column - j) * 4 + x;
                        out[row * 4 + y][column * 4 + x] = {part.places.x[at], part.places.y[at]};
                    }
                return true;
            }
        return false;
    }

private:
    struct Part
    {
        bool tried = false;
        bool near = false;
        TileCoordinates places;
    };

    void Try(Part& part, int column, int row) const
    {
        part.tried = true;
        const int first = row * 5 + column;
        const PatchNodes patch = {m_nodes.x + first, m_nodes.y + first, 5, 4};
        for (int i = 0; i < 9; ++i)
            if (patch.x[i / 3 * 5 + i % 3] == Place::kUnknown)
                return;
        part.near = WithinReach(patch) &&
                    m_mesh.NearEverywhere(patch, m_left + 4 * column, m_top + 4 * row, m_mapping);
        if (part.near)
            ExpandAlone(BestKernels(), patch, 0, 7, 7, part.places.x, part.places.y);
    }

    const Mesh& m_mesh;
    RowMapping m_mapping;
    double m_left, m_top;
    Quad m_nodes{};
    Part m_parts[3][3];
};

/// Asks for the pixels of a tile, of which `columns` and `rows` are in the view; the others repeat
/// the last ones. Cells of four by four pixels are taken from patches between known pixels where
/// these are as near; between unknown ones they are black.
void Mesh::MapPixels(RowMapping mapping, int tileColumn, int tileRow, int columns, int rows,
                     Place (&out)[kTile][kTile]) const
{
    const double left = tileColumn * kTile;
    const double top = tileRow * kTile;
    Lattice lattice(*this, mapping, left, top);
    for (int row = 0; row < kTile; row += 4) {
        int asked[kTile];
        double fractions[kTile];
        int count = 0;
        for (int column = 0; column < kTile; column += 4) {
            const int known = lattice.Known(column / 4, row / 4);
            if (known == 4 && lattice.Fill(column / 4, row / 4, out))
                continue;
            for (int j = column; j < column + 4; ++j) {
                if (known > 0) {
                    asked[count] = j;
                    fractions[count++] = Fraction(left + std::min(j, columns - 1));
                } else {
                    for (int i = row; i < row + 4; ++i)
                        out[i][j] = {Place::kUnknown, Place::kUnknown};
                }
            }
        }
        for (int i = row; count > 0 && i < row + 4; ++i) {
            Place places[kTile];
            MapRow(mapping, top + std::min(i, rows - 1), fractions, count, places);
            for (int j = 0; j < count; ++j)
                out[i][asked[j]] = places[j];
        }
    }
}

void Mesh::AddPixels(Tile& tile, int tileColumn, int tileRow, RowMapping mapping)
{
    tile = Tile{};
    const int columns = std::min(kTile, m_width - tileColumn * kTile);
    const int rows = std::min(kTile, m_height - tileRow * kTile);
    Place exact[kTile][kTile];
    MapPixels(mapping, tileColumn, tileRow, columns, rows, exact);
    const auto known = std::count_if(&exact[0][0], &exact[0][0] + kTile * kTile,
                                     [](const Place& place) { return place.Known(); });
    if (known == 0)
        return;
    double area = 0;
    int areas = 0;
    for (int i = 0; i + 1 < rows; i += 3)
        for (int j = 0; j + 1 < columns; j += 3)
            if (exact[i][j].Known() && exact[i][j + 1].Known() && exact[i + 1][j].Known()) {
                area += Area(exact[i][j], exact[i][j + 1], exact[i + 1][j]);
                ++areas;
            }
    tile.level = static_cast<std::uint8_t>(
        LevelFor(areas > 0 ? area / areas : 0, HighestLevelOf(m_sourceWidth, m_sourceHeight)));
    tile.shape = Shape::Pixels;
    tile.index = static_cast<std::int32_t>(m_pixels.size());
    m_pixels.emplace_back();
    Pixels& pixels = m_pixels.back();
    const Bounds& inside = m_inside[tile.level];
    for (int i = 0; i < kTile; ++i) {
        pixels.inside[i] = 0;
        for (int j = 0; j < kTile; ++j) {
            Place place = exact[i][j];
            if (place.Known())
                pixels.inside[i] = static_cast<std::uint16_t>(pixels.inside[i] | 1 << j);
            else
                place = Beside(exact, i, j, inside.least);
            if (place.x < inside.least.x || place.y < inside.least.y || place.x > inside.most.x ||
                place.y > inside.most.y)
                tile.clamped = true;
            const int at = i * kTile + j;
            pixels.coordinates.x[at] = ToLevel(place.x, tile.level);
            pixels.coordinates.y[at] = ToLevel(place.y, tile.level);
        }
    }
    pixels.complete = known == kTile * kTile;
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
    const auto& [left, top, right, bottom] = tile.box;
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
        kernels.lookDown(&m_nodeX[node], m_nodeColumns, nodes, kNodeSpacing, x);
        kernels.lookDown(&m_nodeY[node], m_nodeColumns, nodes, kNodeSpacing, y);
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
