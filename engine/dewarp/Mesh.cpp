#include "engine/dewarp/Mesh.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include <hwy/cache_control.h>

namespace dewarp {

namespace {

constexpr int kNodeSpacing = kTile / 2;
constexpr double kFarthest = 24000;   // pixels; the coordinates' integer part has 15 bits
constexpr double kPatchError = 0.01;  // source pixels
// Source pixels per view pixel from which a smaller size is taken: half the size as soon as it is
// nearer to the view's own resolution than the full size is (which also is the quicker one), a
// quarter only where half the size would alias, because two halvings soften more.
constexpr double kHalfFrom = 1.5;
constexpr double kQuarterFrom = 4.8;
// Rows that are a multiple of this many bytes apart compete for the same cache sets and write
// buffers. Their tiles are drawn to a strip of the cache first, and leave it in longer runs.
constexpr int kCompeting = 2048;
constexpr int kStripTiles = 8;
constexpr int kStripLine = (kStripTiles * kTile * 4) + 64;

bool Known(const SourcePoint& point)
{
    return !std::isnan(point.x);
}

/// x and y, calculated together.
using Two = double __attribute__((vector_size(16)));

Two TwoOf(const SourcePoint& point)
{
    return Two{point.x, point.y};
}

/// A biquadratic patch: sum of c[p][q] column^p row^q.
struct Quadratic
{
    Two c[3][3];

    Two At(double column, double row) const
    {
        Two value{};
        for (int p = 2; p >= 0; --p)
            value = value * column + (c[p][2] * row + c[p][1]) * row + c[p][0];
        return value;
    }
};

/// Coefficients of the parabola through f at 0, h, 2h.
struct Parabola
{
    Two c[3];

    Parabola(Two f0, Two f1, Two f2, double h)
    {
        const double half = 0.5 / h;
        c[0] = f0;
        c[1] = (4 * f1 - 3 * f0 - f2) * half;
        c[2] = (f0 - 2 * f1 + f2) * (half / h);
    }
};

/// nodes[row][column].
Quadratic Through(const Two (&nodes)[3][3], double spacing)
{
    const Parabola rows[3] = {{nodes[0][0], nodes[0][1], nodes[0][2], spacing},
                              {nodes[1][0], nodes[1][1], nodes[1][2], spacing},
                              {nodes[2][0], nodes[2][1], nodes[2][2], spacing}};
    Quadratic result;
    for (int p = 0; p < 3; ++p) {
        const Parabola down(rows[0].c[p], rows[1].c[p], rows[2].c[p], spacing);
        std::copy_n(down.c, 3, result.c[p]);
    }
    return result;
}

struct Range
{
    Two least, most;

    void Add(Two value)
    {
        least = value < least ? value : least;
        most = value > most ? value : most;
    }
};

/// The Bezier control point between two others, for a parabola with the value `middle` there.
Two Control(Two first, Two middle, Two last)
{
    return 2 * middle - (first + last) * 0.5;
}

/// Bounds of a patch between its outer nodes: those of its Bezier control points.
Range BoundsOf(const Two (&nodes)[3][3])
{
    Two middle[3];
    for (int row = 0; row < 3; ++row)
        middle[row] = Control(nodes[row][0], nodes[row][1], nodes[row][2]);
    Range range{nodes[0][0], nodes[0][0]};
    const auto add = [&range](Two first, Two between, Two last) {
        range.Add(first);
        range.Add(Control(first, between, last));
        range.Add(last);
    };
    add(nodes[0][0], nodes[1][0], nodes[2][0]);
    add(middle[0], middle[1], middle[2]);
    add(nodes[0][2], nodes[1][2], nodes[2][2]);
    return range;
}

/// Full-size positions to those of a level, whose pixels are means of 2^level across.
class ToLevel
{
public:
    explicit ToLevel(int level) : m_scale(1.0 / (1 << level)), m_shift(m_scale / 2 - 0.5) {}
    Two operator()(const SourcePoint& point) const { return TwoOf(point) * m_scale + m_shift; }

private:
    double m_scale, m_shift;
};

/// To the nearest 16.16 fixed point number; |value| is at most 32767. (The library's rounding is a
/// call.)
std::int32_t Fixed(double value)
{
    constexpr std::int64_t offset = std::int64_t{1} << 40;
    return static_cast<std::int32_t>(
        static_cast<std::int64_t>(value * 65536 + (static_cast<double>(offset) + 0.5)) - offset);
}

Patch::Axis AxisOf(const Quadratic& quadratic, int axis)
{
    const auto fixed = [axis](Two value) { return static_cast<float>(value[axis] * 65536); };
    const auto& c = quadratic.c;
    return {Fixed(c[0][0][axis]),     fixed(c[1][0]),           fixed(c[2][0]),
            fixed(c[0][1] + c[0][2]), fixed(c[1][1] + c[1][2]), fixed(c[2][1] + c[2][2]),
            fixed(2 * c[0][2]),       fixed(2 * c[1][2]),       fixed(2 * c[2][2])};
}

/// The level for an area of source pixels per view pixel.
int LevelFor(double area, int highest)
{
    const int wanted = area < kHalfFrom * kHalfFrom         ? 0
                       : area < kQuarterFrom * kQuarterFrom ? 1
                                                            : 2;
    return std::min(wanted, highest);
}

double Area(const SourcePoint& from, const SourcePoint& across, const SourcePoint& down)
{
    return std::fabs((across.x - from.x) * (down.y - from.y) -
                     (across.y - from.y) * (down.x - from.x));
}

/// A patch in a level's pixels.
struct Fitted
{
    Quadratic quadratic;
    Patch patch;
    bool inside;
};

/// What a level is like for fitting.
struct LevelFrame
{
    LevelFrame(int sourceWidth, int sourceHeight, int number)
        : toLevel(number), level(number), last{LevelSize(sourceWidth, number) - 4 - kMargin,
                                               LevelSize(sourceHeight, number) - 3 - kMargin}
    {}

    /// Whether the kernels may sample there without looking at the picture's border.
    bool Inside(const Range& range) const
    {
        return range.least[0] >= 1 + kMargin && range.least[1] >= 1 + kMargin &&
               range.most[0] <= last[0] && range.most[1] <= last[1];
    }

    static constexpr double kMargin = 1.0 / 32;  // far more than fixed point numbers stray
    ToLevel toLevel;
    int level;
    Two last;
};

/// Bounds of a patch of size x size that cost less than BoundsOf, and are wider.
Range WideBoundsOf(const Quadratic& quadratic, double size)
{
    const auto absolute = [](Two value) { return value < 0 ? -value : value; };
    const auto& c = quadratic.c;
    Two away{};
    for (int p = 2; p >= 0; --p) {
        const Two first = p > 0 ? absolute(c[p][0]) : Two{};
        away = away * size + (absolute(c[p][2]) * size + absolute(c[p][1])) * size + first;
    }
    return {c[0][0] - away, c[0][0] + away};
}

/// False where the fixed point numbers do not hold the patch.
bool Fit(const SourcePoint (&nodes)[3][3], double spacing, const LevelFrame& frame, Fitted& out)
{
    Two places[3][3];
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            places[i][j] = frame.toLevel(nodes[i][j]);
    out.quadratic = Through(places, spacing);
    out.patch.x = AxisOf(out.quadratic, 0);
    out.patch.y = AxisOf(out.quadratic, 1);
    out.inside = frame.Inside(WideBoundsOf(out.quadratic, 2 * spacing));
    if (out.inside)
        return true;
    const Range range = BoundsOf(places);
    out.inside = frame.Inside(range);
    return std::min(range.least[0], range.least[1]) >= -kFarthest &&
           std::max(range.most[0], range.most[1]) <= kFarthest;
}

/// Whether the patch is where the mapping is, at one of its pixels.
bool Near(const Fitted& fitted, double column, double row, const SourcePoint& exact,
          const LevelFrame& frame)
{
    const Two error = fitted.quadratic.At(column, row) - frame.toLevel(exact);
    const double limit = kPatchError / (1 << frame.level);
    return error[0] * error[0] + error[1] * error[1] <= limit * limit;
}

/// Sets a node from its neighbours at -3, -1, 1, 3 steps; it is number `index` of `count` nodes,
/// not the first or last odd one. False where one of them is unknown or a cubic does not follow the
/// mapping: its error half-way is 3/128 of the fourth difference.
bool Interpolate(SourcePoint* node, std::ptrdiff_t step, int index, int count)
{
    constexpr double limit = kPatchError / 5 * 128 / 3;
    const auto at = [&](int place) { return TwoOf(node[place * step]); };
    const Two sum = at(-1) + at(1);
    const Two outer = at(-3) + at(3);
    const auto small = [](Two fourth) {
        return (std::fabs(fourth[0]) <= limit) & (std::fabs(fourth[1]) <= limit);
    };
    bool known = false;
    if (index >= 5) {
        known = true;
        if (!small(at(-5) - 4 * at(-3) + 6 * at(-1) - 4 * at(1) + at(3)))
            return false;
    }
    if (index + 5 < count) {
        known = true;
        if (!small(at(-3) - 4 * at(-1) + 6 * at(1) - 4 * at(3) + at(5)))
            return false;
    }
    const Two middle = sum * (9.0 / 16) - outer * (1.0 / 16);
    *node = {middle[0], middle[1]};
    return known;
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
    m_highestLevel = 0;
    m_tiles.clear();
    m_patches.clear();
    m_pixels.clear();
    MapNodes(mapping);
    for (int row = 0; row < m_tileRows; ++row)
        for (int column = 0; column < m_tileColumns; ++column)
            AddTile(column, row, mapping);
}

// The mapping is asked for the corners of the tiles. A node half-way between them is interpolated
// through the four next corners of its line where that is as good, which spares three quarters of
// the trigonometry of an ordinary view; else it is asked for as well.
void Mesh::MapNodes(RowMapping mapping)
{
    const int nodeRows = 2 * m_tileRows + 1;
    const std::ptrdiff_t columns = m_nodeColumns;
    m_nodes.resize(static_cast<std::size_t>(nodeRows) * m_nodeColumns);
    m_asked.reserve(m_nodeColumns);
    m_answers.resize(m_nodeColumns);
    for (int row = 0; row < nodeRows; row += 2) {
        for (int i = 0; i < m_nodeColumns; ++i)
            if (i % 2 == 0 || i == 1 || i == m_nodeColumns - 2)
                m_asked.push_back(i);
        Ask(mapping, row);
        SourcePoint* const line = &m_nodes[row * columns];
        for (int i = 3; i < m_nodeColumns - 2; i += 2)
            if (!Interpolate(line + i, 1, i, m_nodeColumns))
                m_asked.push_back(i);
        Ask(mapping, row);
    }
    for (int row = 1; row < nodeRows; row += 2) {
        SourcePoint* const line = &m_nodes[row * columns];
        for (int i = 0; i < m_nodeColumns; ++i)
            if (row == 1 || row == nodeRows - 2 || !Interpolate(line + i, columns, row, nodeRows))
                m_asked.push_back(i);
        Ask(mapping, row);
    }
}

/// Maps the nodes of a row that m_asked lists, and empties the list.
void Mesh::Ask(RowMapping mapping, int row)
{
    for (double& column : m_asked)
        column *= kNodeSpacing;
    const int count = static_cast<int>(m_asked.size());
    MapRow(mapping, kNodeSpacing * row, m_asked.data(), count, m_answers.data());
    SourcePoint* const line = &m_nodes[static_cast<std::size_t>(row) * m_nodeColumns];
    for (int i = 0; i < count; ++i)
        line[static_cast<int>(m_asked[i]) / kNodeSpacing] = m_answers[i];
    m_asked.clear();
}

void Mesh::MapRow(RowMapping mapping, double row, const double* columns, int count,
                  SourcePoint* out) const
{
    constexpr int batch = 64;
    double x[batch];
    const double y = (row + 0.5) / m_height;
    for (int done = 0; done < count; done += batch) {
        const int n = std::min(batch, count - done);
        for (int i = 0; i < n; ++i)
            x[i] = (columns[done + i] + 0.5) / m_width;
        mapping(x, y, n, out + done);
        for (int i = done; i < done + n; ++i)
            if (!(std::fabs(out[i].x) <= kFarthest && std::fabs(out[i].y) <= kFarthest))
                out[i] = Nowhere();
    }
}

void Mesh::AddTile(int tileColumn, int tileRow, RowMapping mapping)
{
    SourcePoint nodes[3][3];
    int known = 0;
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) {
            nodes[i][j] = Node(2 * tileColumn + j, 2 * tileRow + i);
            known += Known(nodes[i][j]) ? 1 : 0;
        }
    Tile tile;
    if (known == 9) {
        const double area = Area(nodes[0][0], nodes[0][2], nodes[2][0]);
        const double opposite = Area(nodes[2][2], nodes[2][0], nodes[0][2]);
        tile.level =
            static_cast<std::uint8_t>(LevelFor((area + opposite) / 2 / (kTile * kTile),
                                               HighestLevelOf(m_sourceWidth, m_sourceHeight)));
        if (!AddPatch(tile, nodes, tileColumn, tileRow, mapping) &&
            !AddQuad(tile, tileColumn, tileRow, mapping))
            AddPixels(tile, tileColumn, tileRow, mapping);
    } else if (known > 0) {
        AddPixels(tile, tileColumn, tileRow, mapping);
    }
    if (tile.shape != Shape::Black)
        m_highestLevel = std::max<int>(m_highestLevel, tile.level);
    m_tiles.push_back(tile);
}

// The error of a parabola through nodes h apart is at most h^3 |f'''| / (9 sqrt 3), and the third
// difference of the nodes is h^3 f'''.
bool Mesh::SmoothAround(int tileColumn, int tileRow) const
{
    constexpr double limit = kPatchError * 0.8 * 15.588 / 2;  // each direction has half of it
    const int nodeRows = 2 * m_tileRows + 1;
    const SourcePoint* const first = &Node(2 * tileColumn, 2 * tileRow);
    const auto smooth = [](const SourcePoint* from, std::ptrdiff_t step) {
        const Two third = TwoOf(from[3 * step]) - TwoOf(from[0]) +
                          3 * (TwoOf(from[step]) - TwoOf(from[2 * step]));
        return (std::fabs(third[0]) <= limit) & (std::fabs(third[1]) <= limit);
    };
    // The three lines of nodes in one direction, with the node before or behind the tile, or both.
    const auto allSmooth = [&](std::ptrdiff_t step, std::ptrdiff_t across, bool before,
                               bool behind) {
        bool all = before || behind;
        for (int i = 0; i < 3; ++i) {
            if (before)
                all &= smooth(first + i * across - step, step);
            if (behind)
                all &= smooth(first + i * across, step);
        }
        return all;
    };
    const std::ptrdiff_t down = m_nodeColumns;
    return allSmooth(1, down, tileColumn > 0, 2 * tileColumn + 3 < m_nodeColumns) &&
           allSmooth(down, 1, tileRow > 0, 2 * tileRow + 3 < nodeRows);
}

bool Mesh::AddPatch(Tile& tile, const SourcePoint (&nodes)[3][3], int tileColumn, int tileRow,
                    RowMapping mapping)
{
    const LevelFrame frame(m_sourceWidth, m_sourceHeight, tile.level);
    Fitted fitted;
    if (!Fit(nodes, kNodeSpacing, frame, fitted))
        return false;
    if (!SmoothAround(tileColumn, tileRow)) {
        for (const int row : {4, 12}) {
            const double columns[2] = {tileColumn * 16.0 + 4, tileColumn * 16.0 + 12};
            SourcePoint exact[2];
            MapRow(mapping, tileRow * 16.0 + row, columns, 2, exact);
            for (int i = 0; i < 2; ++i)
                if (!Near(fitted, 4 + 8 * i, row, exact[i], frame))
                    return false;
        }
    }
    tile.shape = Shape::Patch;
    tile.clamped = !fitted.inside;
    tile.index = static_cast<std::int32_t>(m_patches.size());
    m_patches.push_back(fitted.patch);
    return true;
}

bool Mesh::AddQuad(Tile& tile, int tileColumn, int tileRow, RowMapping mapping)
{
    // Every second of 9 x 9 points is a node of the four patches, the others check them.
    SourcePoint exact[9][9];
    double columns[9];
    for (int j = 0; j < 9; ++j)
        columns[j] = tileColumn * 16.0 + 2 * j;
    for (int i = 0; i < 9; ++i) {
        MapRow(mapping, tileRow * 16.0 + 2 * i, columns, 9, exact[i]);
        for (const SourcePoint& point : exact[i])
            if (!Known(point))
                return false;
    }
    const LevelFrame frame(m_sourceWidth, m_sourceHeight, tile.level);
    Patch patches[4];
    bool inside = true;
    for (int part = 0; part < 4; ++part) {
        const int left = part % 2 * 4;
        const int top = part / 2 * 4;
        SourcePoint nodes[3][3];
        for (int i = 0; i < 3; ++i)
            for (int j = 0; j < 3; ++j)
                nodes[i][j] = exact[top + 2 * i][left + 2 * j];
        Fitted fitted;
        if (!Fit(nodes, 4, frame, fitted))
            return false;
        for (int i = 0; i < 5; ++i)
            for (int j = 0; j < 5; ++j)
                if (!Near(fitted, 2 * j, 2 * i, exact[top + i][left + j], frame))
                    return false;
        patches[part] = fitted.patch;
        inside = inside && fitted.inside;
    }
    tile.shape = Shape::Quad;
    tile.clamped = !inside;
    tile.index = static_cast<std::int32_t>(m_patches.size());
    m_patches.insert(m_patches.end(), patches, patches + 4);
    return true;
}

void Mesh::AddPixels(Tile& tile, int tileColumn, int tileRow, RowMapping mapping)
{
    const int columns = std::min(kTile, m_width - tileColumn * kTile);
    const int rows = std::min(kTile, m_height - tileRow * kTile);
    SourcePoint exact[kTile][kTile];
    double places[kTile];
    for (int j = 0; j < kTile; ++j)
        places[j] = tileColumn * kTile + std::min(j, columns - 1);
    int known = 0;
    for (int i = 0; i < kTile; ++i) {
        if (i < rows)
            MapRow(mapping, tileRow * kTile + i, places, kTile, exact[i]);
        else
            std::copy_n(exact[rows - 1], kTile, exact[i]);
        known += static_cast<int>(std::count_if(exact[i], exact[i] + kTile, Known));
    }
    if (known == 0)
        return;
    double area = 0;
    int areas = 0;
    for (int i = 0; i + 1 < rows; ++i)
        for (int j = 0; j + 1 < columns; ++j)
            if (Known(exact[i][j]) && Known(exact[i][j + 1]) && Known(exact[i + 1][j])) {
                area += Area(exact[i][j], exact[i][j + 1], exact[i + 1][j]);
                ++areas;
            }
    tile.level = static_cast<std::uint8_t>(
        LevelFor(areas > 0 ? area / areas : 0, HighestLevelOf(m_sourceWidth, m_sourceHeight)));
    tile.shape = Shape::Pixels;
    tile.index = static_cast<std::int32_t>(m_pixels.size());
    m_pixels.emplace_back();
    Pixels& pixels = m_pixels.back();
    const LevelFrame frame(m_sourceWidth, m_sourceHeight, tile.level);
    for (int i = 0; i < kTile; ++i) {
        pixels.inside[i] = 0;
        for (int j = 0; j < kTile; ++j) {
            // A pixel outside takes the place of one inside of its 2 x 2 block, whose chroma it
            // would otherwise spoil.
            SourcePoint point = exact[i][j];
            if (Known(point))
                pixels.inside[i] = static_cast<std::uint16_t>(pixels.inside[i] | 1 << j);
            for (const int k : {1, 2, 3})
                if (!Known(point))
                    point = exact[i ^ (k >> 1)][j ^ (k & 1)];
            if (!Known(point))
                point = {8, 8};
            const Two place = frame.toLevel(point);
            if (!frame.Inside({place, place}))
                tile.clamped = true;
            const int at = i * kTile + j;
            pixels.coordinates.x[at] = Fixed(place[0]);
            pixels.coordinates.y[at] = Fixed(place[1]);
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

void Mesh::Expand(const Kernels& kernels, const Tile& tile, int columns, int rows,
                  TileCoordinates& out) const
{
    const Patch* const patch = &m_patches[tile.index];
    if (tile.shape == Shape::Patch) {
        for (const int column : {0, 8})
            kernels.expand(*patch, column, columns - 1, kTile, rows - 1, out.x + column,
                           out.y + column);
        return;
    }
    for (int part = 0; part < 4; ++part) {
        const int column = part % 2 * 8;
        const int row = part / 2 * 8;
        const int at = row * kTile + column;
        kernels.expand(patch[part], 0, std::max(columns - 1 - column, 0), 8,
                       std::max(rows - 1 - row, 0), out.x + at, out.y + at);
    }
}

void Mesh::DrawTile(const Kernels& kernels, const Level* levels, const ColourTerms& terms,
                    const Tile& tile, int columns, int rows, std::uint8_t* pixels,
                    std::ptrdiff_t line, bool stream) const
{
    if (tile.shape == Shape::Black)
        return FillBlack(pixels, line, columns, rows);
    const bool listed = tile.shape == Shape::Pixels;
    TileCoordinates expanded;
    if (!listed)
        Expand(kernels, tile, columns, rows, expanded);
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
        for (int j = 0; j < columns; j += kTile)
            DrawTile(kernels, levels, terms, tiles[j / kTile], std::min(kTile, columns - j), rows,
                     (through ? strip : out) + std::ptrdiff_t{j} * 4, through ? kStripLine : line,
                     stream && !through);
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
    if (!listed)
        Expand(ReferenceKernels(), tile, kTile, kTile, expanded);
    const TileCoordinates& coordinates = listed ? m_pixels[tile.index].coordinates : expanded;
    const auto full = [&](std::int32_t coordinate) {
        return std::ldexp(coordinate / 65536.0 + 0.5, tile.level) - 0.5;
    };
    return SourcePoint{full(coordinates.x[i * kTile + j]), full(coordinates.y[i * kTile + j])};
}

}  // namespace dewarp
