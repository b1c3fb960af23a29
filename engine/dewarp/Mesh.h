// The correction mesh of a view: where in the source picture each of its tiles is found.
#pragma once

#include <cstdint>
#include <limits>
#include <optional>
#include <vector>

#include "engine/dewarp/FunctionRef.h"
#include "engine/dewarp/Kernels.h"

namespace dewarp {

/// A place in the source picture, in pixels; pixel centres are at whole numbers.
struct SourcePoint
{
    double x;
    double y;
};

/// A place in the source picture as 16.16 fixed point numbers.
struct Place
{
    static constexpr std::int32_t kUnknown = std::numeric_limits<std::int32_t>::min();

    bool Known() const { return x != kUnknown; }

    std::int32_t x, y;  ///< both kUnknown outside the picture
};

/// 3 x 3 nodes of a patch, places in the source picture.
struct PatchNodes
{
    const std::int32_t* x;  ///< the first one's; those of its row follow
    const std::int32_t* y;
    int line;     ///< nodes from row to row
    int spacing;  ///< view pixels from node to node, 4 or 8
};

/// Where the pixels of a view come from: nodes every 8 pixels and biquadratic patches between them;
/// where these are not within a hundredth of a source pixel of the mapping, patches of half the
/// size; and where that is not enough, or the picture ends within a tile, the position of every
/// pixel. The error stays below 0.02 source pixels for mappings that are smooth or break off;
/// details of the mapping that are narrower than 32 view pixels and lie between those it is asked
/// for first, such as a hole, are not seen.
///
/// Each tile also chooses the size of the prepared picture (full, half, quarter) that it is
/// sampled from, by how many source pixels a view pixel spans.
///
/// One thread builds a mesh; after that, any number may draw with it.
class Mesh
{
public:
    /// Fills out[0..count) with the source positions of the view's fractions (x[i], y); a position
    /// whose x is NaN is outside the picture: black. Fractions go a little beyond 1, up to 16
    /// pixels: continue the formula there. A position outside the source picture takes the nearest
    /// pixel of its border; one that is further than 24000 pixels off is black.
    using RowMapping = FunctionRef<void(const double* x, double y, int count, SourcePoint* out)>;

    /// Builds the mesh of a view of width x height pixels over a source picture of sourceWidth x
    /// sourceHeight, replacing what was there; all four are 1..kLargestPicture. Pixel (i, j) stands
    /// for the fraction ((i + 0.5) / width, (j + 0.5) / height). Allocates only where it needs more
    /// room than ever before.
    void BuildRows(int width, int height, int sourceWidth, int sourceHeight, RowMapping mapping);

    /// The same for a callable (double x, double y) -> std::optional<SourcePoint>.
    template <class Mapping>
    void Build(int width, int height, int sourceWidth, int sourceHeight, Mapping&& mapping)
    {
        BuildRows(width, height, sourceWidth, sourceHeight,
                  [&mapping](const double* x, double y, int count, SourcePoint* out) {
                      for (int i = 0; i < count; ++i) {
                          const std::optional<SourcePoint> point = mapping(x[i], y);
                          out[i] = point.value_or(Nowhere());
                      }
                  });
    }

    static SourcePoint Nowhere();

    int Width() const { return m_width; }
    int Height() const { return m_height; }
    int SourceWidth() const { return m_sourceWidth; }
    int SourceHeight() const { return m_sourceHeight; }
    /// How many bands of kTile rows there are; each can be drawn on its own.
    int Bands() const { return m_tileRows; }
    /// The smallest size that a tile is sampled from: 0 full, 1 half, 2 quarter.
    int HighestLevel() const { return m_highestLevel; }

    /// How often each kind of tile occurs; for tests and for those who tune.
    struct Census
    {
        int black, patch, quad, pixels, clamped;
        int level[3];
    };
    Census Count() const;

    /// Draws one band of the view, rows kTile * band onwards, to BGRA pixels.
    /// @param levels the prepared picture, as many sizes as HighestLevel() asks for
    /// @param pixels the view's first pixel, @param line bytes from row to row
    void DrawBand(const Kernels& kernels, const Level* levels, const ColourTerms& terms, int band,
                  std::uint8_t* pixels, std::ptrdiff_t line) const;

    /// Fills the band with black.
    void BlackBand(int band, std::uint8_t* pixels, std::ptrdiff_t line) const;

    /// Where the mesh places a pixel, in full-size source pixels, as the kernels see it; nullopt is
    /// black. For tests.
    std::optional<SourcePoint> At(int column, int row) const;

    /// The size that a pixel is sampled from. For tests.
    int LevelAt(int column, int row) const
    {
        return m_tiles[static_cast<std::size_t>(row / kTile) * m_tileColumns + column / kTile]
            .level;
    }

private:
    enum class Shape : std::uint8_t
    {
        Black,
        Patch,
        Quad,
        Pixels
    };

    /// Pixels of a level that a tile is drawn from, more or less: what to have in the cache.
    struct Box
    {
        std::int16_t left, top, right, bottom;
    };

    struct Tile
    {
        Shape shape = Shape::Black;
        std::uint8_t level = 0;
        bool clamped = false;
        std::int32_t index = 0;  // of its first node, its quad or its pixels
        Box box{};
    };

    struct Pixels
    {
        TileCoordinates coordinates;
        std::uint16_t inside[kTile];  // bit j of row i
        bool complete;
    };

    struct Bounds
    {
        Place least, most;
    };

    /// Nodes 4 view pixels apart: four patches of half the size.
    struct Quad
    {
        std::int32_t x[5 * 5], y[5 * 5];
    };

    class Lattice;

    /// What building needs for a row of nodes, node by node.
    using Scratch = std::vector<std::int32_t>;
    enum
    {
        kFailed,
        kApart,
        kBetween,
        kLeastX,
        kLeastY,
        kMostX,
        kMostY,
        kRoughAcross,
        kRoughDown,
        kScratches
    };

    Bounds InsideOf(int level) const;
    static Box BoxOf(const Bounds& bounds, int level);
    bool PatchInside(const Bounds& nodes, int level) const;
    void MapNodes(RowMapping mapping);
    void MapNodeRow(RowMapping mapping, int row);
    void InterpolateNodeRow(RowMapping mapping, int row, int spacing);
    void InterpolateAcross(std::int32_t* nodes, int known, int spacing);
    void AskFailed(RowMapping mapping, int row, int first, int step, int count);
    double Fraction(double column) const { return (column + 0.5) / m_width; }
    void MapRow(RowMapping mapping, double row, const double* fractions, int count,
                Place* out) const;
    void LookAtNodes(int tileRow);
    bool Smooth(int tileColumn) const;
    PatchNodes NodesOf(const Tile& tile, int part) const;
    void AddTile(int tileColumn, int tileRow, RowMapping mapping);
    bool AddPatch(Tile& tile, const Bounds& bounds, int tileColumn, int tileRow,
                  RowMapping mapping);
    bool NearEverywhere(const PatchNodes& patch, double column, double row,
                        RowMapping mapping) const;
    void MapPixels(RowMapping mapping, int tileColumn, int tileRow, int columns, int rows,
                   Place (&out)[kTile][kTile]) const;
    bool AddQuad(Tile& tile, int tileColumn, int tileRow, RowMapping mapping);
    void AddPixels(Tile& tile, int tileColumn, int tileRow, RowMapping mapping);
    void ExpandQuad(const Kernels& kernels, const Tile& tile, int columns, int rows,
                    TileCoordinates& out) const;
    static void Prefetch(const Level* levels, const Tile& tile);
    void DrawTile(const Kernels& kernels, const Level* levels, const ColourTerms& terms,
                  const Tile& tile, const Patch& patch, int columns, int rows, std::uint8_t* pixels,
                  std::ptrdiff_t line, bool stream) const;

    int m_width = 0;
    int m_height = 0;
    int m_sourceWidth = 0;
    int m_sourceHeight = 0;
    int m_tileColumns = 0;
    int m_tileRows = 0;
    int m_nodeColumns = 0;
    int m_nodeRows = 0;
    int m_highestLevel = 0;
    std::vector<Tile> m_tiles;
    std::vector<Quad> m_quads;
    std::vector<Pixels> m_pixels;
    std::vector<std::int32_t> m_nodeX, m_nodeY;
    Scratch m_scratch[kScratches];
    Bounds m_inside[3] = {};
};

/// The greatest level that a picture of this size has: 0, 1 or 2.
int HighestLevelOf(int width, int height);

/// The size of a level; at least 4, because the kernels read neighbours without asking.
int LevelSize(int size, int level);

}  // namespace dewarp
