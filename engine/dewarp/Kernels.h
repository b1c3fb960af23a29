// The inner loops, as tables of functions: one table for each instruction set, and a plain C++ one
// that says what all of them must compute, byte for byte. Internal to the dewarper and its tests.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

#include "engine/dewarp/Picture.h"

/// What runs for every tile lies together in the library: scattered, its functions drive each other
/// out of the processor's cache of decoded instructions, more or less by chance, which costs up to
/// 4 %.
#if defined(__GNUC__)
#define DEWARP_HOT __attribute__((hot))
#else
#define DEWARP_HOT
#endif

namespace dewarp {

/// Tiles are kTile x kTile pixels, and bands kTile rows: a row of a tile is one cache line of BGRA.
constexpr int kTile = 16;

/// One size of the prepared picture. `pairs` tells the form of the luma plane: either the picture's
/// own bytes, or pairs (L[y][x], L[y + 1][x]), so that four neighbours are one 32 bit load.
/// At least 4 x 4; chroma is interleaved (U, V), half the size rounded up.
struct Level
{
    const std::uint8_t* luma = nullptr;
    const std::uint8_t* chroma = nullptr;
    int lumaLine = 0;  ///< bytes, 0..32767
    int chromaLine = 0;
    int width = 0;
    int height = 0;
    int chromaWidth = 0;
    int chromaHeight = 0;
    std::int32_t chromaBiasX = 0;  ///< chroma coordinate = luma coordinate / 2 + this
    std::int32_t chromaBiasY = 0;
    bool pairs = false;
};

/// The colour matrix: 1.15 fixed point factors that take samples as the kernels weigh them to 1/64
/// grey levels, and the offset in 1/64 grey levels, half a level for rounding included.
struct ColourTerms
{
    std::int16_t luma, offset, blueU, redV, greenU, greenV;
};

/// The terms of (matrix, range): Kr, Kb of ITU-R BT.601 (0.299, 0.114) and BT.709 (0.2126, 0.0722).
ColourTerms ColourTermsOf(ColourMatrix matrix, bool fullRange);

/// One axis of a row of biquadratic patches, column of nodes by column: three nodes n0, n1, n2
/// below each other, which are places in the full-size picture, 16.16, none of a patch more than
/// 4096 pixels from another. With the spacing h and bend = n0 - 2 n1 + n2, down from n0
///   the first difference is (n2 - n0) / 2h + bend (1 / 2h^2 - 1 / h),
///   and the second one bend / h^2.
struct NodeColumns
{
    static constexpr int kMost = 24;

    alignas(32) std::int32_t first[kMost];  ///< n0
    alignas(32) float next[kMost];          ///< from n0 to that of the next column
    alignas(32) float afterNext[kMost];     ///< and of the one after that
    alignas(32) float slope[kMost];         ///< the first difference
    alignas(32) float bend[kMost];          ///< the second difference
};

/// Three columns of nodes. Of n0 and of both differences a parabola is taken across, and rounded.
struct Patch
{
    const NodeColumns* x;
    const NodeColumns* y;
    int column;   ///< the first of three
    int spacing;  ///< view pixels from node to node, 4 or 8
    int level;    ///< the size that the coordinates are for
};

/// What the three columns weigh in a pixel of a patch, to get its place in a level.
struct AcrossWeights
{
    alignas(64) float column[3][kTile];
};

/// Pixels beyond the last column repeat it.
constexpr AcrossWeights AcrossWeightsOf(int spacing, int level, int lastColumn)
{
    AcrossWeights weights{};
    const float scale = 1.0F / static_cast<float>(1 << level);
    for (int i = 0; i < 2 * spacing; ++i) {
        const float s =
            static_cast<float>(i < lastColumn ? i : lastColumn) / static_cast<float>(spacing);
        weights.column[0][i] = (s - 1) * (s - 2) * 0.5F * scale;
        weights.column[1][i] = s * (2 - s) * scale;
        weights.column[2][i] = s * (s - 1) * 0.5F * scale;
    }
    return weights;
}

/// For whole patches: of spacing 4 and 8, level by level.
inline constexpr AcrossWeights kAcrossWeights[2][3] = {
    {AcrossWeightsOf(4, 0, 7), AcrossWeightsOf(4, 1, 7), AcrossWeightsOf(4, 2, 7)},
    {AcrossWeightsOf(8, 0, 15), AcrossWeightsOf(8, 1, 15), AcrossWeightsOf(8, 2, 15)}};

/// Full-size coordinates to those of a level, whose pixels are means of 2^level across.
constexpr std::int32_t ToLevel(std::int32_t full, int level)
{
    return ((full + 0x8000) >> level) - 0x8000;
}

/// How far a mesh's patches may be from the mapping, in source pixels.
constexpr double kPatchError = 0.01;
/// Between neighbours, nodes or corners of tiles, that belong together: 1024 pixels.
constexpr std::int32_t kLargestStep = 1 << 26;

/// Both coordinates of a place that is not in the picture.
constexpr std::int32_t kUnknownPlace = std::numeric_limits<std::int32_t>::min();

/// Eight lines of places of equal distance from line to line, 16.16, to find what lies half-way
/// between the middle two.
struct HalfwayLines
{
    const std::int32_t* line[8];  ///< those that are not used may be null
    bool six;     ///< a polynomial through the middle six lines, else through the middle four
    bool before;  ///< one more line before these is there to tell how near that is
    bool behind;  ///< one more behind
};

// Source pixels per view pixel, squared, from which a smaller size is taken. Bilinear samples of
// half the size average about four by four pixels: from here on that is nearer to the mean of the
// view's pixel than two by two of the full size, below it only softens.
constexpr float kHalfFrom = 2.8F * 2.8F;
constexpr float kQuarterFrom = 4.8F * 4.8F;

/// The size to sample for an area of source pixels per view pixel.
constexpr int LevelFor(float area, int highestLevel)
{
    const int wanted = (area >= kHalfFrom ? 1 : 0) + (area >= kQuarterFrom ? 1 : 0);
    return wanted < highestLevel ? wanted : highestLevel;
}

/// Between the nodes of a patch: 4096 pixels.
constexpr std::int32_t kLargestPatch = 1 << 28;

/// Where the tiles of a row lie, tile by tile: the least and the greatest places, 16.16, of their
/// nodes.
struct TileExtents
{
    std::int32_t *leastX, *leastY, *mostX, *mostY;
    float* areas;  ///< source pixels per view pixel
};

/// Where each size may be sampled without looking at the picture's border, in full-size places.
struct TileLimits
{
    std::int32_t leastX[3], leastY[3], mostX[3], mostY[3];
    int highestLevel;
};

/// Pixels of a level that a tile is drawn from, more or less: what to have in the cache. The lower
/// halves are x, the upper ones y.
struct TileBox
{
    std::int32_t leftTop, rightBottom;
};

constexpr TileBox BoxOf(std::int32_t left, std::int32_t top, std::int32_t right,
                        std::int32_t bottom, int level)
{
    const auto both = [level](std::int32_t x, std::int32_t y) {
        const auto at = [level](std::int32_t full) {
            return (level == 0 ? full : level == 1 ? full >> 1 : full >> 2) >> 16;
        };
        return (at(x) & 0xFFFF) | at(y) * 65536;
    };
    return {both(left, top), both(right, bottom)};
}

/// How the tiles of a row are drawn if each is one patch, tile by tile.
struct TileChoices
{
    static constexpr std::int32_t kLevel = 3;
    static constexpr std::int32_t kClamped = 4;   ///< some samples may lie outside
    static constexpr std::int32_t kTooLarge = 8;  ///< not by a patch

    std::int32_t* choices;                ///< a level in the bits of kLevel, and the two flags
    std::int32_t *leftTop, *rightBottom;  ///< a TileBox in pixels of that level
};

/// Source coordinates of a tile's pixels, row by row: what the sampling functions read.
struct TileCoordinates
{
    alignas(64) std::int32_t x[kTile * kTile];
    alignas(64) std::int32_t y[kTile * kTile];
};

/// Where a tile is drawn.
struct TileTarget
{
    std::uint8_t* pixels;  ///< BGRA of the tile's first pixel
    std::ptrdiff_t line;   ///< bytes from row to row
    int rows;              ///< 4, 8, 12 or 16
    bool stream;           ///< store past the caches; pixels and line are multiples of 64
};

struct Kernels
{
    using Sample = void (*)(const Level&, const ColourTerms&, const TileCoordinates&,
                            const TileTarget&);

    const char* name;

    /// Sets `count` columns, at most kMost, of the nodes that begin here, `line` apart.
    void (*lookDown)(const std::int32_t* nodes, std::ptrdiff_t line, int count, int spacing,
                     NodeColumns& out);
    /// Writes the coordinates of the patch's pixels, 2 * spacing rows that are kTile apart in x and
    /// y, and as many columns. Columns beyond lastColumn and rows beyond lastRow (>= 0) repeat the
    /// last one.
    void (*expand)(const Patch& patch, int lastColumn, int lastRow, std::int32_t* x,
                   std::int32_t* y);

    /// Draws a tile all of whose samples lie inside: luma x in 1..width - 4, y in 1..height - 3.
    Sample sampleInside;
    /// Draws any tile; coordinates are clamped to the picture.
    Sample sampleAnywhere;
    /// Draws a whole tile of one patch of spacing 8, all of whose samples lie inside.
    void (*samplePatch)(const Level&, const ColourTerms&, const Patch&, const TileTarget&);

    /// Copies rows of `bytes` bytes past the caches; all of it is a multiple of 64.
    void (*streamRows)(const std::uint8_t* from, std::ptrdiff_t fromLine, int bytes, int rows,
                       std::uint8_t* to, std::ptrdiff_t toLine);

    /// Half-size luma: out[i] = rounded mean of 2 x 2 bytes of the rows above and below, 2i
    /// onwards.
    void (*halveLuma)(const std::uint8_t* above, const std::uint8_t* below, int count,
                      std::uint16_t* out);
    /// The same from one row of pairs, which holds both rows.
    void (*halvePairs)(const std::uint8_t* pairs, int count, std::uint16_t* out);
    /// out[i] = first[i] | second[i] << 8.
    void (*joinPairs)(const std::uint16_t* first, const std::uint16_t* second, int count,
                      std::uint16_t* out);
    /// Half-size chroma of interleaved rows: count (U, V) pairs.
    void (*halveChroma)(const std::uint8_t* above, const std::uint8_t* below, int count,
                        std::uint8_t* out);
    /// Sets out[0..count) half-way between the two middle lines, and failed to -1 where the
    /// polynomial is not within a fifth of kPatchError of the mapping as far as one more line
    /// tells, and where places are too far apart or unknown; elsewhere failed stays. Where no line
    /// is there to tell, all have failed, and out stays. True if any failed is set afterwards.
    bool (*halfway)(const HalfwayLines& between, int count, std::int32_t* out,
                    std::int32_t* failed);
    /// For corners of tiles, every second node. Sets rough[i] to -1 where parabolas through nodes
    /// are not within kPatchError of the mapping, as far as four corners from i on, `step` apart,
    /// tell, or where one of these is too far or unknown; elsewhere rough stays.
    void (*markRough)(const std::int32_t* corners, std::ptrdiff_t step, int count,
                      std::int32_t* rough);
    /// The extents of tiles of 3 x 3 nodes; one begins every second node.
    void (*findExtents)(const std::int32_t* x, const std::int32_t* y, std::ptrdiff_t line,
                        int tiles, const TileExtents& out);
    /// What follows from the extents. One patch through nodes that are further apart than
    /// kLargestPatch is too large.
    void (*choose)(const TileExtents& extents, const TileLimits& limits, int tiles,
                   const TileChoices& out);
    /// out[2i] = u[i], out[2i + 1] = v[i].
    void (*interleave)(const std::uint8_t* u, const std::uint8_t* v, int count, std::uint8_t* out);
};

/// Plain C++: the definition of every result.
const Kernels& ReferenceKernels();

/// Every table that this processor can run, the reference first.
std::vector<const Kernels*> SupportedKernels();

/// The table to use here: that of the widest instruction set, with gather instructions where the
/// processor's maker is known for quick ones. All tables give the same bytes.
const Kernels& BestKernels();

}  // namespace dewarp
