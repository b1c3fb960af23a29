// What every kernel computes, one pixel at a time.

#include <algorithm>
#include <cmath>
#include <cstring>

#include "engine/dewarp/FixedPoint.h"
#include "engine/dewarp/Kernels.h"

namespace dewarp {

namespace {

std::int32_t Rounded(float value)
{
    return static_cast<std::int32_t>(std::nearbyint(value));
}

std::int32_t WrappingAdd(std::int32_t a, std::int32_t b)
{
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) + static_cast<std::uint32_t>(b));
}

void ExpandAxis(const NodeColumns& columns, const Patch& patch, const AcrossWeights& weights,
                int lastRow, std::int32_t* out)
{
    const int at = patch.column;
    const auto across = [&](const float* of, int i) {
        return Rounded(of[at] * weights.column[0][i] + of[at + 1] * weights.column[1][i] +
                       of[at + 2] * weights.column[2][i]);
    };
    for (int i = 0; i < 2 * patch.spacing; ++i) {
        std::int32_t value = WrappingAdd(ToLevel(columns.first[at], patch.level),
                                         Rounded(columns.next[at] * weights.column[1][i] +
                                                 columns.afterNext[at] * weights.column[2][i]));
        std::int32_t slope = across(columns.slope, i);
        const std::int32_t bend = across(columns.bend, i);
        for (int row = 0; row < 2 * patch.spacing; ++row) {
            out[row * kTile + i] = value;
            if (row >= lastRow)
                continue;
            value = WrappingAdd(value, slope);
            slope = WrappingAdd(slope, bend);
        }
    }
}

void Expand(const Patch& patch, int lastColumn, int lastRow, std::int32_t* x, std::int32_t* y)
{
    const AcrossWeights weights = AcrossWeightsOf(patch.spacing, patch.level, lastColumn);
    ExpandAxis(*patch.x, patch, weights, lastRow, x);
    ExpandAxis(*patch.y, patch, weights, lastRow, y);
}

/// A coordinate between two samples: the first of them, and 16 bits of fraction.
struct Tap
{
    int index;
    int fraction;

    int Weight() const { return fraction >> 8; }  // of the second sample, of 255 together
};

/// Clamped to 0..size - 1; the last sample is just below a whole one, where the second tap has all
/// the weight, so that no sample beyond it is read.
Tap TapAt(std::int32_t coordinate, int size)
{
    const std::int32_t clamped = std::clamp(coordinate, 0, ((size - 1) << 16) - 1);
    return {clamped >> 16, clamped & 0xFFFF};
}

/// (a * b + 0.5) in 1.15 fixed point.
int MulFixed(int a, int b)
{
    return (a * b + (1 << 14)) >> 15;
}

int Weighted(int weight, int first, int second)
{
    return (255 - weight) * (first - 128) + weight * (second - 128);
}

/// (luma - 128) * 255 * 255 / 512.
int LumaAt(const Level& level, std::int32_t x, std::int32_t y)
{
    const Tap tx = TapAt(x, level.width);
    const Tap ty = TapAt(y, level.height);
    const int step = level.pairs ? 2 : 1;
    const std::uint8_t* const at =
        level.luma + std::ptrdiff_t{ty.index} * level.lumaLine + tx.index * step;
    const std::uint8_t* const below = level.pairs ? at + 1 : at + level.lumaLine;
    const int left = Weighted(ty.Weight(), at[0], below[0]);
    const int right = Weighted(ty.Weight(), at[step], below[step]);
    return ((255 - tx.Weight()) * left + tx.Weight() * right) >> 9;
}

/// (U - 128) * 255 or (V - 128) * 255.
int ChromaAt(const Level& level, Tap tx, Tap ty, int component)
{
    const std::uint8_t* const at =
        level.chroma + std::ptrdiff_t{ty.index} * level.chromaLine + tx.index * 2 + component;
    const std::uint8_t* const below = at + level.chromaLine;
    const int upper = Weighted(tx.Weight(), at[0], at[2]);
    const int lower = Weighted(tx.Weight(), below[0], below[2]);
    const int down = ty.fraction >> 1;
    return MulFixed(upper, 0x7FFF - down) + MulFixed(lower, down);
}

std::uint8_t Byte(int value)
{
    return static_cast<std::uint8_t>(std::clamp(value >> 6, 0, 255));
}

/// Draws the 2 x 2 pixels from (column, row), which share their chroma.
void SampleBlock(const Level& level, const ColourTerms& terms, const TileCoordinates& coordinates,
                 const TileTarget& target, int column, int row)
{
    const auto clampX = [&](int i) {
        return std::clamp(coordinates.x[i], 0, ((level.width - 1) << 16) - 1);
    };
    const auto clampY = [&](int i) {
        return std::clamp(coordinates.y[i], 0, ((level.height - 1) << 16) - 1);
    };
    const int first = row * kTile + column;
    const int opposite = first + kTile + 1;
    const Tap tx =
        TapAt(((clampX(first) + clampX(opposite)) >> 2) + level.chromaBiasX, level.chromaWidth);
    const Tap ty =
        TapAt(((clampY(first) + clampY(opposite)) >> 2) + level.chromaBiasY, level.chromaHeight);
    const int u = ChromaAt(level, tx, ty, 0);
    const int v = ChromaAt(level, tx, ty, 1);
    const int blue = MulFixed(u, terms.blueU);
    const int green = MulFixed(u, terms.greenU) + MulFixed(v, terms.greenV);
    const int red = MulFixed(v, terms.redV);
    for (const int i : {first, first + 1, first + kTile, opposite}) {
        const int luma =
            MulFixed(LumaAt(level, coordinates.x[i], coordinates.y[i]), terms.luma) + terms.offset;
        std::uint8_t* const out =
            target.pixels + (i / kTile) * target.line + std::ptrdiff_t{i % kTile} * 4;
        out[0] = Byte(luma + blue);
        out[1] = Byte(luma + green);
        out[2] = Byte(luma + red);
        out[3] = 255;
    }
}

void SampleAnywhere(const Level& level, const ColourTerms& terms,
                    const TileCoordinates& coordinates, const TileTarget& target)
{
    for (int row = 0; row < target.rows; row += 2)
        for (int column = 0; column < kTile; column += 2)
            SampleBlock(level, terms, coordinates, target, column, row);
}

void SamplePatch(const Level& level, const ColourTerms& terms, const Patch& patch,
                 const TileTarget& target)
{
    TileCoordinates coordinates;
    Expand(patch, kTile - 1, kTile - 1, coordinates.x, coordinates.y);
    SampleAnywhere(level, terms, coordinates, target);
}

void StreamRows(const std::uint8_t* from, std::ptrdiff_t fromLine, int bytes, int rows,
                std::uint8_t* to, std::ptrdiff_t toLine)
{
    for (int row = 0; row < rows; ++row)
        std::memcpy(to + row * toLine, from + row * fromLine, static_cast<std::size_t>(bytes));
}

void HalveLuma(const std::uint8_t* above, const std::uint8_t* below, int count, std::uint16_t* out)
{
    for (int i = 0; i < count; ++i)
        out[i] = static_cast<std::uint16_t>(
            (above[2 * i] + above[2 * i + 1] + below[2 * i] + below[2 * i + 1] + 2) >> 2);
}

void HalvePairs(const std::uint8_t* pairs, int count, std::uint16_t* out)
{
    for (int i = 0; i < count; ++i)
        out[i] = static_cast<std::uint16_t>(
            (pairs[4 * i] + pairs[4 * i + 1] + pairs[4 * i + 2] + pairs[4 * i + 3] + 2) >> 2);
}

void JoinPairs(const std::uint16_t* first, const std::uint16_t* second, int count,
               std::uint16_t* out)
{
    for (int i = 0; i < count; ++i)
        out[i] = static_cast<std::uint16_t>(first[i] | second[i] << 8);
}

void HalveChroma(const std::uint8_t* above, const std::uint8_t* below, int count, std::uint8_t* out)
{
    for (int i = 0; i < count; ++i)
        for (int c = 0; c < 2; ++c)
            out[2 * i + c] =
                static_cast<std::uint8_t>((above[4 * i + c] + above[4 * i + 2 + c] +
                                           below[4 * i + c] + below[4 * i + 2 + c] + 2) >>
                                          2);
}

void Interleave(const std::uint8_t* u, const std::uint8_t* v, int count, std::uint8_t* out)
{
    for (int i = 0; i < count; ++i) {
        out[2 * i] = u[i];
        out[2 * i + 1] = v[i];
    }
}

#include "engine/dewarp/NodeRows-inl.h"

}  // namespace

ColourTerms ColourTermsOf(ColourMatrix matrix, bool fullRange)
{
    const double kr = matrix == ColourMatrix::Bt601 ? 0.299 : 0.2126;
    const double kb = matrix == ColourMatrix::Bt601 ? 0.114 : 0.0722;
    const double kg = 1 - kr - kb;
    const double lumaGain = fullRange ? 1 : 255.0 / 219;
    const double chromaGain = fullRange ? 1 : 255.0 / 224;
    const double black = fullRange ? 0 : 16;
    // Results are 1/64 grey levels, from samples times 255 * 255 / 512 and 255.
    const auto factor = [](double value, double scale) {
        return static_cast<std::int16_t>(std::lround(value * 64 / scale * 32768));
    };
    ColourTerms terms{};
    terms.luma = factor(lumaGain, 255.0 * 255 / 512);
    terms.offset = static_cast<std::int16_t>(std::lround((128 - black) * lumaGain * 64 + 32));
    terms.blueU = factor(2 * (1 - kb) * chromaGain, 255);
    terms.redV = factor(2 * (1 - kr) * chromaGain, 255);
    terms.greenU = factor(-2 * (1 - kb) * kb / kg * chromaGain, 255);
    terms.greenV = factor(-2 * (1 - kr) * kr / kg * chromaGain, 255);
    return terms;
}

const Kernels& ReferenceKernels()
{
    static constexpr Kernels kernels = {"reference",    LookDown,    Expand,      SampleAnywhere,
                                        SampleAnywhere, SamplePatch, StreamRows,  HalveLuma,
                                        HalvePairs,     JoinPairs,   HalveChroma, Halfway,
                                        MarkRough,      FindExtents, Choose,      Interleave};
    return kernels;
}

}  // namespace dewarp
