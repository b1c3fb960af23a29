// The correction mesh of a view: where in the source picture each of its tiles is found.
#pragma once

#include <cstdint>
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
    static constexpr std::int32_t kUnknown = kUnknownPlace;

    bool Known() const { return x != kUnknown; }

    std::int32_t x, y;  ///< both kUnknown outside the picture
};

/// Where in a view, in pixels from the first one's centre.
struct ViewPoint
{
    double column, row;
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
/// for first, such as a hole or a kink, are not seen.
///
/// Each tile also chooses the size of the prepared picture (full, half, quarter) that it is
/// sampled from, by how many source pixels a view pixel spans.
///
/// One thread builds a mesh; after that, any number may draw with it.
class Mesh
{
public:
    /// How many positions a mapping is asked for at most.
    static constexpr int kMostAtOnce = 64;

    /// Fills out[0..count) with the source positions of the view's fractions (x[i], y[i]), at most
    /// kMostAtOnce; a position whose x is NaN is outside the picture: black. Fractions go a little
    /// beyond 1, up to 16 pixels: continue the formula there. A position outside the source picture
    /// takes the nearest pixel of its border; one that is further than 24000 pixels off is black.
    using BatchMapping =
        FunctionRef<void(const double* x, const double* y, int count, SourcePoint* out)>;

    /// Builds the mesh of a view of width x height pixels over a source picture of sourceWidth x
    /// sourceHeight, replacing what was there; all four are 1..kLargestPicture. Pixel (i, j) stands
    /// for the fraction ((i + 0.5) / width, (j + 0.5) / height). Allocates only where it needs more
    /// room than ever before.
    void BuildInBatches(int width, int height, int sourceWidth, int sourceHeight,
                        BatchMapping mapping);

    /// The same for a callable (double x, double y) -> std::optional<SourcePoint>.
    template <class Mapping>
    void Build(int width, int height, int sourceWidth, int sourceHeight, Mapping&& mapping)
    {
        BuildInBatches(width, height, sourceWidth, sourceHeight,
                       [&mapping](const double* x, const double* y, int count, SourcePoint* out) {
                           for (int i = 0; i < count; ++i) {
                               const std::optional<SourcePoint> point = mapping(x[i], y[i]);
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
    DEWARP_HOT void DrawBand(const Kernels& kernels, const Level* levels, const ColourTerms& terms,
                             int band, std::uint8_t* pixels, std::ptrdiff_t line) const;

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

    struct Tile
    {
        Shape shape = Shape::Black;
        std::uint8_t level = 0;
        bool clamped = false;
        std::int32_t index = 0;  // of its first node, its quad or its pixels
        TileBox box{};
    };

    struct Pixels
    {
        Pixels() {}  // all of it is written anyway

        TileCoordinates coordinates;
        std::uint16_t inside[kTile];  // bit j of row i
        bool complete;
    };

    /// Nodes 4 view pixels apart: four patches of half the size.
    struct Quad
    {
        std::int32_t x[5 * 5], y[5 * 5];
    };

    class Lattice;

    /// Values of nodes or tiles in a row; those of m_scratch are for one row while building.
    using Scratch = std::vector<std::int32_t>;
    enum
    {
        kFailed,
        kLeastX,
        kLeastY,
        kMostX,
        kMostY,
        kChoices,
        kLeftTop,
        kRightBottom,
        kScratches
    };

    /// Places of nodes, line by line.
    struct Places
    {
        Scratch x, y;
    };

    /// A node that the mapping is to be asked for, and where its place goes.
    struct Asked
    {
        // For emplace_back: copying one that has just been written in parts makes the processor
        // wait until they have left for the cache.
        Asked(std::int32_t at, std::int32_t column, std::int32_t row)
            : at(at), column(column), row(row)
        {}

        std::int32_t at, column, row;
    };

    void SetLimits();
    void MapNodes(BatchMapping mapping);
    template <class AskFor>
    void InterpolateLine(Places& places, int line, int lines, int spacing, int count,
                         AskFor askFor);
    void AnswerAll(BatchMapping mapping, Places& places);
    template <class PointOf, class Take>
    void Ask(BatchMapping mapping, int count, PointOf pointOf, Take take) const;
    /// Whether there are too few for a tile's neighbours to tell anything of it.
    bool HasFewTiles() const { return m_tileColumns < 3 || m_tileRows < 3; }
    void FindRough();
    PatchNodes NodesOf(const Tile& tile, int part) const;
    void AddTiles(int tileRow, BatchMapping mapping);
    void FindShape(Tile& tile, int tileColumn, int tileRow, bool any, bool patches,
                   BatchMapping mapping);
    bool NearEverywhere(const PatchNodes& patch, ViewPoint first, BatchMapping mapping) const;
    void MapPixels(BatchMapping mapping, ViewPoint first, int columns, int rows,
                   TileCoordinates& out) const;
    static void SetOutside(Pixels& pixels);
    bool AddQuad(Tile& tile, int tileColumn, ViewPoint first, BatchMapping mapping);
    void AddPixels(Tile& tile, int tileColumn, int tileRow, BatchMapping mapping);
    void ExpandQuad(const Kernels& kernels, const Tile& tile, int columns, int rows,
                    TileCoordinates& out) const;
    static void Prefetch(const Level* levels, const Tile& tile);
    DEWARP_HOT void DrawTile(const Kernels& kernels, const Level* levels, const ColourTerms& terms,
                             const Tile& tile, const Patch& patch, int columns, int rows,
                             std::uint8_t* pixels, std::ptrdiff_t line, bool stream) const;

    int m_width = 0;
    int m_height = 0;
    int m_sourceWidth = 0;
    int m_sourceHeight = 0;
    int m_tileColumns = 0;
    int m_tileRows = 0;
    int m_nodeColumns = 0;
    int m_nodeRows = 0;
    int m_highestLevel = 0;
    double m_perWidth = 1;  ///< a pixel's fraction of the view
    double m_perHeight = 1;
    std::vector<Tile> m_tiles;
    std::vector<Quad> m_quads;
    std::vector<Pixels> m_pixels;
    Places m_nodes;  ///< row by row
    // While building: the rows that are not interpolated, and their nodes column by column.
    Scratch m_rows;
    Places m_columns;
    std::vector<Asked> m_asked;
    Scratch m_scratch[kScratches];
    Scratch m_corners, m_roughAcross, m_roughDown, m_rough;
    std::vector<float> m_areas;  ///< source pixels per view pixel, tile by tile of a row
    TileLimits m_limits = {};
};

/// The greatest level that a picture of this size has: 0, 1 or 2.
int HighestLevelOf(int width, int height);

/// The size of a level; at least 4, because the kernels read neighbours without asking.
int LevelSize(int size, int level);

}  // namespace dewarp
