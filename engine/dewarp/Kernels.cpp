// The kernels for vector instruction sets. This file is compiled once for each of them.

#include <algorithm>
#include <cmath>
#include <cstring>

// Targets without the byte operations below are served by the reference.
#define HWY_DISABLED_TARGETS (HWY_SSSE3 | HWY_AVX3_DL)
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "engine/dewarp/Kernels.cpp"
#include <hwy/foreach_target.h>

#include <hwy/cache_control.h>
#include <hwy/highway.h>

#include "engine/dewarp/FixedPoint.h"
#include "engine/dewarp/Kernels.h"

#define DEWARP_X86 (HWY_TARGET == HWY_SSE4 || HWY_TARGET == HWY_AVX2 || HWY_TARGET == HWY_AVX3)
#define DEWARP_NEON (HWY_TARGET == HWY_NEON && HWY_ARCH_ARM_A64)

#if DEWARP_X86 || DEWARP_NEON

HWY_BEFORE_NAMESPACE();
namespace dewarp {
namespace HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

using D32 = hn::ScalableTag<std::int32_t>;
using D16 = hn::Repartition<std::int16_t, D32>;
using D8 = hn::Repartition<std::uint8_t, D32>;
using DU16 = hn::Repartition<std::uint16_t, D32>;
using DU32 = hn::Repartition<std::uint32_t, D32>;
using V32 = hn::Vec<D32>;
using V16 = hn::Vec<D16>;
using V8 = hn::Vec<D8>;

constexpr int kLanes = static_cast<int>(hn::MaxLanes(D32()));

// --- operations that the library has not, or not for whole blocks ---

/// Sums of neighbouring products.
HWY_INLINE V32 PairwiseProducts(V16 a, V16 b)
{
#if HWY_TARGET == HWY_AVX3
    return V32{_mm512_madd_epi16(a.raw, b.raw)};
#elif HWY_TARGET == HWY_AVX2
    return V32{_mm256_madd_epi16(a.raw, b.raw)};
#elif HWY_TARGET == HWY_SSE4
    return V32{_mm_madd_epi16(a.raw, b.raw)};
#else
    return V32{vpaddq_s32(vmull_s16(vget_low_s16(a.raw), vget_low_s16(b.raw)),
                          vmull_s16(vget_high_s16(a.raw), vget_high_s16(b.raw)))};
#endif
}

/// Sums of neighbouring products of weights, at most 255 together, and samples whose sign bit has
/// been flipped.
HWY_INLINE V16 PairwiseWeighted(V8 weights, V8 samples)
{
#if HWY_TARGET == HWY_AVX3
    return V16{_mm512_maddubs_epi16(weights.raw, samples.raw)};
#elif HWY_TARGET == HWY_AVX2
    return V16{_mm256_maddubs_epi16(weights.raw, samples.raw)};
#elif HWY_TARGET == HWY_SSE4
    return V16{_mm_maddubs_epi16(weights.raw, samples.raw)};
#else
    const D16 d;
    const V16 w = hn::BitCast(d, weights);
    const V16 s = hn::BitCast(d, samples);
    const V16 even = hn::Mul(hn::And(w, hn::Set(d, 0xFF)), hn::ShiftRight<8>(hn::ShiftLeft<8>(s)));
    const V16 oddWeights = hn::BitCast(d, hn::ShiftRight<8>(hn::BitCast(DU16(), weights)));
    return hn::Add(even, hn::Mul(oddWeights, hn::ShiftRight<8>(s)));
#endif
}

/// Bytes of a, then of b, block by block of 16 bytes; what is no byte becomes the nearest one.
HWY_INLINE V8 PackToBytes(V16 a, V16 b)
{
#if HWY_TARGET == HWY_AVX3
    return V8{_mm512_packus_epi16(a.raw, b.raw)};
#elif HWY_TARGET == HWY_AVX2
    return V8{_mm256_packus_epi16(a.raw, b.raw)};
#elif HWY_TARGET == HWY_SSE4
    return V8{_mm_packus_epi16(a.raw, b.raw)};
#else
    return V8{vcombine_u8(vqmovun_s16(a.raw), vqmovun_s16(b.raw))};
#endif
}

// --- loads from scattered places ---

HWY_INLINE int Word(const std::uint8_t* from)
{
    int word;
    std::memcpy(&word, from, 4);
    return word;
}

HWY_INLINE int HalfWord(const std::uint8_t* from)
{
    std::uint16_t word;
    std::memcpy(&word, from, 2);
    return word;
}

#if DEWARP_X86
/// Two offsets with one load, because loads are what the kernels have most of.
struct TwoOffsets
{
    HWY_INLINE explicit TwoOffsets(const std::uint32_t* at)
    {
        std::uint64_t both;
        std::memcpy(&both, at, 8);
        first = static_cast<std::uint32_t>(both);
        second = both >> 32;
    }

    std::uint64_t first, second;
};

HWY_INLINE __m128i FourWords(const std::uint8_t* base, const std::uint32_t* at)
{
    const TwoOffsets a(at);
    const TwoOffsets b(at + 2);
    __m128i words = _mm_cvtsi32_si128(Word(base + a.first));
    words = _mm_insert_epi32(words, Word(base + a.second), 1);
    words = _mm_insert_epi32(words, Word(base + b.first), 2);
    return _mm_insert_epi32(words, Word(base + b.second), 3);
}

HWY_INLINE __m128i FourTwoRows(const std::uint8_t* base, const std::uint8_t* below,
                               const std::uint32_t* at)
{
    const TwoOffsets a(at);
    const TwoOffsets b(at + 2);
    __m128i words = _mm_cvtsi32_si128(Word(base + a.first));
    words = _mm_insert_epi16(words, HalfWord(below + a.first), 1);
    words = _mm_insert_epi16(words, HalfWord(base + a.second), 2);
    words = _mm_insert_epi16(words, HalfWord(below + a.second), 3);
    words = _mm_insert_epi16(words, HalfWord(base + b.first), 4);
    words = _mm_insert_epi16(words, HalfWord(below + b.first), 5);
    words = _mm_insert_epi16(words, HalfWord(base + b.second), 6);
    return _mm_insert_epi16(words, HalfWord(below + b.second), 7);
}

/// One vector of quarters, quarter(i) being lanes 4i .. 4i + 3.
template <class Quarter>
HWY_INLINE V32 OfQuarters(Quarter quarter)
{
#if HWY_TARGET == HWY_AVX3
    const __m256i low = _mm256_inserti128_si256(_mm256_castsi128_si256(quarter(0)), quarter(1), 1);
    const __m256i high = _mm256_inserti128_si256(_mm256_castsi128_si256(quarter(2)), quarter(3), 1);
    return V32{_mm512_inserti64x4(_mm512_castsi256_si512(low), high, 1)};
#elif HWY_TARGET == HWY_AVX2
    return V32{_mm256_inserti128_si256(_mm256_castsi128_si256(quarter(0)), quarter(1), 1)};
#else
    return V32{quarter(0)};
#endif
}
#endif

/// 32 bits from each of base + offsets.
template <bool Gather>
HWY_INLINE V32 LoadWords(const std::uint8_t* base, const std::uint32_t* at)
{
#if HWY_TARGET == HWY_AVX3
    if constexpr (Gather)
        return V32{_mm512_i32gather_epi32(hn::Load(DU32(), at).raw, base, 1)};
#elif HWY_TARGET == HWY_AVX2
    if constexpr (Gather)
        return V32{_mm256_i32gather_epi32(reinterpret_cast<const int*>(base),
                                          hn::Load(DU32(), at).raw, 1)};
#endif
#if DEWARP_X86
    return OfQuarters([&](int i) HWY_ATTR { return FourWords(base, at + 4 * i); });
#else
    alignas(64) std::int32_t words[kLanes];
    for (int i = 0; i < kLanes; ++i)
        words[i] = Word(base + at[i]);
    return hn::Load(D32(), words);
#endif
}

/// 16 bits from base + offsets in the low halves, and from below + offsets in the high ones. Reads
/// two bytes more of the upper row, and of the lower one if Gather.
template <bool Gather>
HWY_INLINE V32 LoadTwoRows(const std::uint8_t* base, const std::uint8_t* below,
                           const std::uint32_t* at)
{
    if constexpr (Gather) {
        const D32 d;
        const D16 d16;
        const V32 above = LoadWords<true>(base, at);
        const V32 under = hn::ShiftLeft<16>(LoadWords<true>(below, at));
        return hn::BitCast(d, hn::OddEven(hn::BitCast(d16, under), hn::BitCast(d16, above)));
    } else {
#if DEWARP_X86
        return OfQuarters([&](int i) HWY_ATTR { return FourTwoRows(base, below, at + 4 * i); });
#else
        alignas(64) std::int32_t words[kLanes];
        for (int i = 0; i < kLanes; ++i)
            words[i] = HalfWord(base + at[i]) | HalfWord(below + at[i]) << 16;
        return hn::Load(D32(), words);
#endif
    }
}

// --- coordinates ---

using DX = hn::CappedTag<std::int32_t, 8>;
using DXF = hn::Rebind<float, DX>;
using VX = hn::Vec<DX>;
using VXF = hn::Vec<DXF>;

/// To the nearest whole numbers; all are far from the limits.
HWY_INLINE VX Rounded(VXF values)
{
#if HWY_TARGET == HWY_SSE4
    return VX{_mm_cvtps_epi32(values.raw)};
#elif DEWARP_X86
    return VX{_mm256_cvtps_epi32(values.raw)};
#else
    return hn::NearestInt(values);
#endif
}

/// One coordinate of a vector's columns of a patch, row after row.
class Descent
{
public:
    HWY_INLINE Descent(const NodeColumns& columns, const Patch& patch, const AcrossWeights& weights,
                       int column)
    {
        const DXF df;
        const int at = patch.column;
        const VXF a = hn::Load(df, weights.column[0] + column);
        const VXF b = hn::Load(df, weights.column[1] + column);
        const VXF c = hn::Load(df, weights.column[2] + column);
        m_value = hn::Add(hn::Set(DX(), ToLevel(columns.first[at], patch.level)),
                          Rounded(hn::Add(hn::Mul(hn::Set(df, columns.next[at]), b),
                                          hn::Mul(hn::Set(df, columns.afterNext[at]), c))));
        m_slope = Across(columns.slope + at, a, b, c);
        m_bend = Across(columns.bend + at, a, b, c);
    }

    HWY_INLINE VX Next()
    {
        const VX value = m_value;
        m_value = hn::Add(m_value, m_slope);
        m_slope = hn::Add(m_slope, m_bend);
        return value;
    }

private:
    static HWY_INLINE VX Across(const float* of, VXF a, VXF b, VXF c)
    {
        const DXF df;
        const VXF sum = hn::Add(hn::Mul(hn::Set(df, of[0]), a), hn::Mul(hn::Set(df, of[1]), b));
        return Rounded(hn::Add(sum, hn::Mul(hn::Set(df, of[2]), c)));
    }

    VX m_value, m_slope, m_bend;
};

template <int Size>
HWY_INLINE void ExpandAxis(const NodeColumns& columns, const Patch& patch,
                           const AcrossWeights& weights, int lastRow, std::int32_t* out)
{
    const DX d;
    for (int i = 0; i < Size; i += static_cast<int>(hn::MaxLanes(d)), out += hn::MaxLanes(d)) {
        Descent descent(columns, patch, weights, i);
        if (lastRow >= Size - 1) {
            for (int row = 0; row < Size; ++row)
                hn::StoreU(descent.Next(), d, out + row * kTile);
        } else {
            for (int row = 0; row < lastRow; ++row)
                hn::StoreU(descent.Next(), d, out + row * kTile);
            const VX last = descent.Next();
            for (int row = lastRow; row < Size; ++row)
                hn::StoreU(last, d, out + row * kTile);
        }
    }
}

template <int Spacing>
HWY_INLINE void ExpandPatch(const Patch& patch, int lastColumn, int lastRow, std::int32_t* x,
                            std::int32_t* y)
{
    const AcrossWeights* weights = &kAcrossWeights[Spacing == 8][patch.level];
    AcrossWeights repeating;
    if (lastColumn < 2 * Spacing - 1) {
        repeating = AcrossWeightsOf(Spacing, patch.level, lastColumn);
        weights = &repeating;
    }
    ExpandAxis<2 * Spacing>(*patch.x, patch, *weights, lastRow, x);
    ExpandAxis<2 * Spacing>(*patch.y, patch, *weights, lastRow, y);
}

DEWARP_HOT HWY_ATTR void Expand(const Patch& patch, int lastColumn, int lastRow, std::int32_t* x,
                                std::int32_t* y)
{
    if (patch.spacing == 8)
        ExpandPatch<8>(patch, lastColumn, lastRow, x, y);
    else
        ExpandPatch<4>(patch, lastColumn, lastRow, x, y);
}

// --- sampling ---

/// What flips the sign of each byte.
HWY_INLINE V8 Signs()
{
    return hn::Set(D8(), 0x80);
}

/// 32 bits with `low` and `high` in their halves.
HWY_INLINE V16 Halves(int low, int high)
{
    return hn::BitCast(D16(), hn::Set(D32(), static_cast<std::int32_t>(
                                                 static_cast<std::uint32_t>(high) << 16 |
                                                 (static_cast<std::uint32_t>(low) & 0xFFFF))));
}

/// A byte order for every block of 16 bytes; 128 gives zero.
HWY_INLINE V8 Order(const std::uint8_t (&order)[16])
{
    return hn::LoadDup128(D8(), order);
}

/// The pointer, and the compiler does not know where it comes from: it would otherwise make one for
/// each row of a tile, of which most go through memory, or add up another one again and again.
template <class T>
HWY_INLINE T* Hidden(T* pointer)
{
#if defined(__GNUC__)
    asm("" : "+r"(pointer));
#endif
    return pointer;
}

/// The order of two (U, V) pairs as (U, U), (V, V).
HWY_INLINE V8 Grouped()
{
    alignas(16) static constexpr std::uint8_t grouped[16] = {0, 2,  1, 3,  4,  6,  5,  7,
                                                             8, 10, 9, 11, 12, 14, 13, 15};
    return Order(grouped);
}

/// What does not change from pixel to pixel of a plane.
struct Plane
{
    const std::uint8_t* bytes;
    const std::uint8_t* below;  // a row further down
    V16 stepX, stepY;  // bytes from sample to sample and from row to row, for the high halves
    V32 lastX, lastY;  // the last coordinates between two samples, 16.16
};

HWY_INLINE Plane PlaneOf(const std::uint8_t* bytes, int line, int step, int width, int height)
{
    const D32 d;
    return {bytes,
            Hidden(bytes + line),
            Halves(0, step),
            Halves(0, line),
            hn::Set(d, ((width - 1) << 16) - 1),
            hn::Set(d, ((height - 1) << 16) - 1)};
}

/// Offsets from the plane's first byte, never negative, to memory: single loads take them from
/// there.
HWY_INLINE void StoreOffsets(const Plane& plane, V32 x, V32 y, std::uint32_t* out)
{
    const D16 d;
    hn::Store(hn::BitCast(DU32(), hn::Add(PairwiseProducts(hn::BitCast(d, x), plane.stepX),
                                          PairwiseProducts(hn::BitCast(d, y), plane.stepY))),
              DU32(), out);
}

template <bool Clamp>
HWY_INLINE V32 Clamped(V32 coordinate, V32 last)
{
    if constexpr (Clamp)
        return hn::Min(hn::Max(coordinate, hn::Zero(D32())), last);
    else
        return coordinate;
}

/// The fractions of 16.16 numbers: those of x in the lower halves of each lane, of y in the upper.
HWY_INLINE V32 Fractions(V32 x, V32 y)
{
    const D16 d;
    return hn::BitCast(D32(), hn::OddEven(hn::BitCast(d, hn::ShiftLeft<16>(y)), hn::BitCast(d, x)));
}

/// Makes weights of fractions.
struct Weights
{
    HWY_INLINE V8 Of(V32 fractions) const
    {
        return hn::Xor(hn::TableLookupBytes(hn::BitCast(D8(), fractions), order), complement);
    }

    V8 order, complement;
};

/// (255 - f, f) twice, in bytes; f is the upper byte of x's fraction, or of y's.
template <bool OfY>
HWY_INLINE Weights InnerWeights()
{
    constexpr std::uint8_t f = OfY ? 3 : 1;
    alignas(16) static constexpr std::uint8_t order[16] = {
        f,     f,     f,     f,     f + 4,  f + 4,  f + 4,  f + 4,
        f + 8, f + 8, f + 8, f + 8, f + 12, f + 12, f + 12, f + 12};
    return {Order(order), hn::BitCast(D8(), hn::Set(D16(), 0x00FF))};
}

/// (255 - f, f) in 16 bits.
template <bool OfY>
HWY_INLINE Weights OuterWeights()
{
    constexpr std::uint8_t f = OfY ? 3 : 1;
    alignas(16) static constexpr std::uint8_t order[16] = {
        f, 128, f, 128, f + 4, 128, f + 4, 128, f + 8, 128, f + 8, 128, f + 12, 128, f + 12, 128};
    return {Order(order), hn::BitCast(D8(), Halves(0xFF, 0))};
}

/// The vector, and the compiler does not know what is in it: constants that it knows it makes anew,
/// again and again, with three or four instructions.
HWY_INLINE V8 Kept(V8 bytes)
{
#if defined(__GNUC__) && DEWARP_X86
    asm("" : "+x"(bytes.raw));
#endif
    return bytes;
}

/// The constants of LumaAt.
struct LumaWeights
{
    Weights inner, outer;
    V8 signs;
};

template <bool Pairs>
HWY_INLINE LumaWeights LumaWeightsOf()
{
    const auto kept = [](const Weights& weights) HWY_ATTR {
        return Weights{Kept(weights.order), Kept(weights.complement)};
    };
    return {kept(InnerWeights<Pairs>()), kept(OuterWeights<!Pairs>()), Kept(Signs())};
}

/// (luma - 128) * 255 * 255.
template <bool Pairs, bool Gather>
HWY_INLINE V32 LumaAt(const Plane& plane, const LumaWeights& weights, const std::uint32_t* offsets,
                      const std::int32_t* fractions)
{
    const V32 words = Pairs ? LoadWords<Gather>(plane.bytes, offsets)
                            : LoadTwoRows<Gather>(plane.bytes, plane.below, offsets);
    const V32 f = hn::Load(D32(), fractions);
    const V8 samples = hn::Xor(hn::BitCast(D8(), words), weights.signs);
    return PairwiseProducts(PairwiseWeighted(weights.inner.Of(f), samples),
                            hn::BitCast(D16(), weights.outer.Of(f)));
}

/// ((U - 128) * 255, (V - 128) * 255) in the halves of each lane.
template <bool Gather>
HWY_INLINE V16 ChromaAt(const Plane& plane, const std::uint32_t* offsets,
                        const std::int32_t* fractions)
{
    const D8 d8;
    const DU16 du16;
    alignas(16) static constexpr std::uint8_t ofY[16] = {2,  3,  2,  3,  6,  7,  6,  7,
                                                         10, 11, 10, 11, 14, 15, 14, 15};
    const V8 order = Grouped();
    const V8 signs = Signs();
    const V8 above = hn::BitCast(d8, LoadWords<Gather>(plane.bytes, offsets));
    const V8 below = hn::BitCast(d8, LoadWords<Gather>(plane.below, offsets));
    const V32 f = hn::Load(D32(), fractions);
    const V8 weights = InnerWeights<false>().Of(f);
    const V16 upper = PairwiseWeighted(weights, hn::Xor(hn::TableLookupBytes(above, order), signs));
    const V16 lower = PairwiseWeighted(weights, hn::Xor(hn::TableLookupBytes(below, order), signs));
    const V8 twice = hn::TableLookupBytes(hn::BitCast(d8, f), Order(ofY));
    const V16 down = hn::BitCast(D16(), hn::ShiftRight<1>(hn::BitCast(du16, twice)));
    const V16 up = hn::Xor(down, hn::Set(D16(), 0x7FFF));
    return hn::Add(hn::MulFixedPoint15(upper, up), hn::MulFixedPoint15(lower, down));
}

/// The matrix, spread over vectors.
struct Colours
{
    V16 luma, offset, blueRed, green;
};

HWY_INLINE Colours ColoursOf(const ColourTerms& terms)
{
    const D16 d;
    return {hn::Set(d, terms.luma), hn::Set(d, terms.offset), Halves(terms.blueU, terms.redV),
            Halves(terms.greenU, terms.greenV)};
}

/// What chroma adds to each colour, in 1/64 grey levels: (blue, red) and (green, unused) for the
/// blocks of rows 0 and 1 in the even lanes, of rows 2 and 3 in the odd ones.
struct Tint
{
    V8 blueRed, green;
};

/// Draws two rows of kLanes pixels. The 16 bit vectors hold four pixels of the upper row and the
/// four below them in each block of 16 bytes, so that no operation moves anything between blocks.
template <int Odd>
HWY_INLINE void StoreTwoRows(const Colours& colours, V32 upper, V32 lower, const Tint& tint,
                             std::uint8_t* out, std::ptrdiff_t line, bool stream)
{
    const D16 d;
    const D8 d8;
    constexpr std::uint8_t o = 4 * Odd;
    alignas(16) static constexpr std::uint8_t lowHalves[16] = {
        o, o + 1, o, o + 1, o + 8, o + 9, o + 8, o + 9,
        o, o + 1, o, o + 1, o + 8, o + 9, o + 8, o + 9};
    alignas(16) static constexpr std::uint8_t highHalves[16] = {
        o + 2, o + 3, o + 2, o + 3, o + 10, o + 11, o + 10, o + 11,
        o + 2, o + 3, o + 2, o + 3, o + 10, o + 11, o + 10, o + 11};
    const V16 both = hn::ReorderDemote2To(d, hn::ShiftRight<9>(upper), hn::ShiftRight<9>(lower));
    const V16 luma = hn::Add(hn::MulFixedPoint15(both, colours.luma), colours.offset);
    const auto colour = [&](V8 terms, const std::uint8_t(&order)[16]) HWY_ATTR {
        return hn::ShiftRight<6>(
            hn::SaturatedAdd(luma, hn::BitCast(d, hn::TableLookupBytes(terms, Order(order)))));
    };
    const V8 blueRed =
        PackToBytes(colour(tint.blueRed, lowHalves), colour(tint.blueRed, highHalves));
    const V8 greenAlpha = PackToBytes(colour(tint.green, lowHalves), hn::Set(d, 255));
    const V16 blueGreen = hn::BitCast(d, hn::InterleaveLower(d8, blueRed, greenAlpha));
    const V16 redAlpha = hn::BitCast(d, hn::InterleaveUpper(d8, blueRed, greenAlpha));
    const V8 first = hn::BitCast(d8, hn::InterleaveLower(d, blueGreen, redAlpha));
    const V8 second = hn::BitCast(d8, hn::InterleaveUpper(d, blueGreen, redAlpha));
    if (stream) {
        hn::Stream(first, d8, out);
        hn::Stream(second, d8, out + line);
    } else {
        hn::StoreU(first, d8, out);
        hn::StoreU(second, d8, out + line);
    }
}

/// A block's coordinate in the chroma plane: the mean of its first and last pixel, halved.
HWY_INLINE V32 ChromaCoordinate(const V32 (&rows)[4], std::int32_t bias)
{
    const D32 d;
    const V32 even = hn::Add(rows[0], hn::Shuffle2301(rows[1]));
    const V32 odd = hn::Add(hn::Shuffle2301(rows[2]), rows[3]);
    return hn::Add(hn::ShiftRight<2>(hn::OddEven(odd, even)), hn::Set(d, bias));
}

/// Where the samples of a tile begin, and those of its blocks of 2 x 2 pixels in the chroma plane,
/// each with its Fractions. After kLanes pixels of a row those below them in three more rows come,
/// which share a vector of blocks. All offsets are written before any of them is read: what has
/// just been stored in one vector is slow to load in pieces.
struct TilePlaces
{
    alignas(64) std::uint32_t luma[kTile * kTile];
    alignas(64) std::int32_t lumaFractions[kTile * kTile];
    alignas(64) std::uint32_t chroma[kTile * kTile / 4];
    alignas(64) std::int32_t chromaFractions[kTile * kTile / 4];
};

/// What a tile's blocks add to its luma: Tint, vector by vector.
struct TileTints
{
    alignas(64) std::uint8_t blueRed[kTile * kTile];
    alignas(64) std::uint8_t green[kTile * kTile];
};

/// The planes of a level and the colours, ready for use.
struct Source
{
    Plane luma, chroma;
    Colours colours;
    std::int32_t chromaBiasX, chromaBiasY;
};

/// Sets the places of kLanes columns of four rows, the first of which is at `at`, and of the blocks
/// in them.
template <bool Clamp>
HWY_INLINE void SetPlaces(const Source& source, const V32 (&x)[4], const V32 (&y)[4], int at,
                          TilePlaces& places)
{
    const D32 d;
    for (int i = 0; i < 4; ++i) {
        StoreOffsets(source.luma, x[i], y[i], places.luma + at + i * kLanes);
        hn::Store(Fractions(x[i], y[i]), d, places.lumaFractions + at + i * kLanes);
    }
    const V32 chromaX =
        Clamped<Clamp>(ChromaCoordinate(x, source.chromaBiasX), source.chroma.lastX);
    const V32 chromaY =
        Clamped<Clamp>(ChromaCoordinate(y, source.chromaBiasY), source.chroma.lastY);
    StoreOffsets(source.chroma, chromaX, chromaY, places.chroma + at / 4);
    hn::Store(Fractions(chromaX, chromaY), d, places.chromaFractions + at / 4);
}

/// Without this the compiler takes each offset out of the vector register instead.
HWY_INLINE void Stored(TilePlaces& places)
{
#if defined(__GNUC__)
    asm("" : "+m"(places));
#else
    static_cast<void>(places);
#endif
}

template <bool Clamp>
HWY_INLINE void FindPlaces(const Source& source, const TileCoordinates& coordinates, int rows,
                           TilePlaces& places)
{
    const D32 d;
    for (int row = 0; row < rows; row += 4)
        for (int column = 0; column < kTile; column += kLanes) {
            const int at = row * kTile + column;
            const auto atX = [&](int i) HWY_ATTR {
                return Clamped<Clamp>(hn::Load(d, coordinates.x + at + i * kTile),
                                      source.luma.lastX);
            };
            const auto atY = [&](int i) HWY_ATTR {
                return Clamped<Clamp>(hn::Load(d, coordinates.y + at + i * kTile),
                                      source.luma.lastY);
            };
            const V32 x[4] = {atX(0), atX(1), atX(2), atX(3)};
            const V32 y[4] = {atY(0), atY(1), atY(2), atY(3)};
            SetPlaces<Clamp>(source, x, y, row * kTile + column * 4, places);
        }
    Stored(places);
}

template <bool Gather>
HWY_INLINE void FindTints(const Source& source, const TilePlaces& places, int rows,
                          TileTints& tints)
{
    const D16 d16;
    const D8 d8;
    for (int block = 0; block < rows * kTile / 4; block += kLanes) {
        const V16 uv =
            ChromaAt<Gather>(source.chroma, places.chroma + block, places.chromaFractions + block);
        const V16 green = hn::MulFixedPoint15(uv, source.colours.green);
        const V16 greenHigh = hn::BitCast(d16, hn::ShiftRight<16>(hn::BitCast(DU32(), green)));
        const V16 blueRed = hn::MulFixedPoint15(uv, source.colours.blueRed);
        hn::Store(hn::BitCast(d8, blueRed), d8, tints.blueRed + block * 4);
        hn::Store(hn::BitCast(d8, hn::Add(green, greenHigh)), d8, tints.green + block * 4);
    }
}

/// The places of a whole patch, without its coordinates in memory.
HWY_INLINE void FindPlacesOfPatch(const Source& source, const Patch& patch, TilePlaces& places)
{
#if HWY_TARGET == HWY_AVX3  // whose patches are expanded by halves of its vectors
    TileCoordinates coordinates;
    Expand(patch, kTile - 1, kTile - 1, coordinates.x, coordinates.y);
    FindPlaces<false>(source, coordinates, kTile, places);
#else
    const AcrossWeights& weights = kAcrossWeights[1][patch.level];
    for (int column = 0; column < kTile; column += kLanes) {
        Descent x(*patch.x, patch, weights, column);
        Descent y(*patch.y, patch, weights, column);
        for (int row = 0; row < kTile; row += 4) {
            const V32 xs[4] = {x.Next(), x.Next(), x.Next(), x.Next()};
            const V32 ys[4] = {y.Next(), y.Next(), y.Next(), y.Next()};
            SetPlaces<false>(source, xs, ys, row * kTile + column * 4, places);
        }
    }
    Stored(places);
#endif
}

template <bool Pairs>
HWY_INLINE Source SourceOf(const Level& level, const ColourTerms& terms)
{
    return {PlaneOf(level.luma, level.lumaLine, Pairs ? 2 : 1, level.width, level.height),
            PlaneOf(level.chroma, level.chromaLine, 2, level.chromaWidth, level.chromaHeight),
            ColoursOf(terms), level.chromaBiasX, level.chromaBiasY};
}

/// Each step of its own for the whole tile, so that the constants of each fit into registers.
template <bool Pairs, bool GatherLuma, bool Gather>
HWY_INLINE void DrawPlaces(const Source& source, const TilePlaces& places, const TileTarget& target)
{
    const D8 d8;
    const TileTarget to = target;
    TileTints tints;
    FindTints<Gather>(source, places, to.rows, tints);
    const LumaWeights weights = LumaWeightsOf<Pairs>();
    std::uint8_t* out = to.pixels;
    for (int row = 0, at = 0; row < to.rows; row += 4, out += 4 * (to.line - kTile))
        for (int column = 0; column < kTile;
             column += kLanes, at += 4 * kLanes, out += 4 * kLanes) {
            const auto luma = [&](int i) HWY_ATTR {
                return LumaAt<Pairs, GatherLuma>(source.luma, weights,
                                                 places.luma + at + i * kLanes,
                                                 places.lumaFractions + at + i * kLanes);
            };
            // Written out, so that nothing of it goes through memory.
            const V32 l[4] = {luma(0), luma(1), luma(2), luma(3)};
            const Tint tint = {hn::Load(d8, tints.blueRed + at), hn::Load(d8, tints.green + at)};
            StoreTwoRows<0>(source.colours, l[0], l[1], tint, out, to.line, to.stream);
            StoreTwoRows<1>(source.colours, l[2], l[3], tint, out + 2 * to.line, to.line,
                            to.stream);
        }
}

template <bool Pairs, bool Clamp, bool Gather>
HWY_INLINE void SampleTile(const Level& level, const ColourTerms& terms,
                           const TileCoordinates& coordinates, const TileTarget& target)
{
    const Source source = SourceOf<Pairs>(level, terms);
    TilePlaces places;
    FindPlaces<Clamp>(source, coordinates, target.rows, places);
    // A clamped tile may end with the plane's last bytes, where a gathered word would read on.
    DrawPlaces<Pairs, Gather && (Pairs || !Clamp), Gather>(source, places, target);
}

template <bool Clamp, bool Gather>
DEWARP_HOT HWY_ATTR void Sample(const Level& level, const ColourTerms& terms,
                                const TileCoordinates& coordinates, const TileTarget& target)
{
    if (level.pairs)
        SampleTile<true, Clamp, Gather>(level, terms, coordinates, target);
    else
        SampleTile<false, Clamp, Gather>(level, terms, coordinates, target);
}

template <bool Pairs, bool Gather>
HWY_INLINE void SamplePatchTile(const Level& level, const ColourTerms& terms, const Patch& patch,
                                const TileTarget& target)
{
    const Source source = SourceOf<Pairs>(level, terms);
    TilePlaces places;
    FindPlacesOfPatch(source, patch, places);
    DrawPlaces<Pairs, Gather, Gather>(source, places, target);
}

template <bool Gather>
DEWARP_HOT HWY_ATTR void SamplePatch(const Level& level, const ColourTerms& terms,
                                     const Patch& patch, const TileTarget& target)
{
    if (level.pairs)
        SamplePatchTile<true, Gather>(level, terms, patch, target);
    else
        SamplePatchTile<false, Gather>(level, terms, patch, target);
}

DEWARP_HOT HWY_ATTR void StreamRows(const std::uint8_t* from, std::ptrdiff_t fromLine, int bytes,
                                    int rows, std::uint8_t* to, std::ptrdiff_t toLine)
{
    const D8 d;
    for (int row = 0; row < rows; ++row)
        for (int i = 0; i < bytes; i += kLanes * 4)
            hn::Stream(hn::Load(d, from + row * fromLine + i), d, to + row * toLine + i);
}

// --- the smaller sizes ---

/// How far ahead, in bytes, a new picture is asked for, which no cache has yet.
constexpr int kAhead = 2048;

/// Sums of neighbouring bytes.
HWY_INLINE V16 ByteSums(V8 bytes)
{
    return PairwiseWeighted(bytes, hn::Set(D8(), 1));
}

/// The mean of four, from sums of two.
HWY_INLINE V16 Mean(V16 first, V16 second)
{
    return hn::ShiftRight<2>(hn::Add(hn::Add(first, second), hn::Set(D16(), 2)));
}

HWY_ATTR void HalveLuma(const std::uint8_t* above, const std::uint8_t* below, int count,
                        std::uint16_t* out)
{
    const D8 d;
    int i = 0;
    for (; i + 2 * kLanes <= count; i += 2 * kLanes) {
        hwy::Prefetch(above + 2 * i + kAhead);
        hwy::Prefetch(below + 2 * i + kAhead);
        const V16 mean =
            Mean(ByteSums(hn::LoadU(d, above + 2 * i)), ByteSums(hn::LoadU(d, below + 2 * i)));
        hn::StoreU(hn::BitCast(DU16(), mean), DU16(), out + i);
    }
    ReferenceKernels().halveLuma(above + 2 * i, below + 2 * i, count - i, out + i);
}

/// Low halves of 32 bits, in order.
HWY_INLINE void StoreLowHalves(hn::Vec<DU32> words, std::uint16_t* out)
{
    const hn::Rebind<std::uint16_t, DU32> d;
    hn::StoreU(hn::DemoteTo(d, hn::BitCast(D32(), words)), d, out);
}

HWY_ATTR void HalvePairs(const std::uint8_t* pairs, int count, std::uint16_t* out)
{
    const DU32 d;
    int i = 0;
    for (; i + kLanes <= count; i += kLanes) {
        const auto sums = hn::BitCast(d, ByteSums(hn::LoadU(D8(), pairs + 4 * i)));
        const auto sum = hn::And(hn::Add(sums, hn::ShiftRight<16>(sums)), hn::Set(d, 0xFFFF));
        StoreLowHalves(hn::ShiftRight<2>(hn::Add(sum, hn::Set(d, 2))), out + i);
    }
    ReferenceKernels().halvePairs(pairs + 4 * i, count - i, out + i);
}

HWY_ATTR void JoinPairs(const std::uint16_t* first, const std::uint16_t* second, int count,
                        std::uint16_t* out)
{
    const DU16 d;
    int i = 0;
    for (; i + 2 * kLanes <= count; i += 2 * kLanes)
        hn::StoreU(hn::Or(hn::LoadU(d, first + i), hn::ShiftLeft<8>(hn::LoadU(d, second + i))), d,
                   out + i);
    ReferenceKernels().joinPairs(first + i, second + i, count - i, out + i);
}

HWY_ATTR void HalveChroma(const std::uint8_t* above, const std::uint8_t* below, int count,
                          std::uint8_t* out)
{
    const D8 d;
    const hn::Rebind<std::uint8_t, D16> half;
    const V8 order = Grouped();
    const auto sums = [&](const std::uint8_t* at) HWY_ATTR {
        return ByteSums(hn::TableLookupBytes(hn::LoadU(d, at), order));
    };
    int i = 0;
    for (; i + kLanes <= count; i += kLanes) {
        hwy::Prefetch(above + 4 * i + kAhead);
        hwy::Prefetch(below + 4 * i + kAhead);
        const V16 mean = Mean(sums(above + 4 * i), sums(below + 4 * i));
        hn::StoreU(hn::DemoteTo(half, mean), half, out + 2 * i);
    }
    ReferenceKernels().halveChroma(above + 4 * i, below + 4 * i, count - i, out + 2 * i);
}

HWY_ATTR void Interleave(const std::uint8_t* u, const std::uint8_t* v, int count, std::uint8_t* out)
{
    const D8 d;
    int i = 0;
    for (; i + 4 * kLanes <= count; i += 4 * kLanes)
        hn::StoreInterleaved2(hn::LoadU(d, u + i), hn::LoadU(d, v + i), d, out + 2 * i);
    ReferenceKernels().interleave(u + i, v + i, count - i, out + 2 * i);
}

// --- rows of a mesh's nodes ---

#include "engine/dewarp/NodeRows-inl.h"

}  // namespace

/// constexpr, because code of this file that merely made the table would run, or fail to, on
/// processors without the instruction set.
template <bool Gather>
constexpr Kernels TableOf(const char* name)
{
    return {name,
            LookDown,
            Expand,
            Sample<false, Gather>,
            Sample<true, Gather>,
            SamplePatch<Gather>,
            StreamRows,
            HalveLuma,
            HalvePairs,
            JoinPairs,
            HalveChroma,
            Halfway,
            MarkRough,
            FindExtents,
            Choose,
            Interleave};
}

}  // namespace HWY_NAMESPACE
}  // namespace dewarp
HWY_AFTER_NAMESPACE();

#endif

#if HWY_ONCE

namespace dewarp {

namespace {

struct Entry
{
    std::int64_t target;
    bool gathers;
    Kernels kernels;
};

/// Slowest instruction set first.
constexpr Entry kTable[] = {
    {0, false, {}},  // of no processor; without it the table could be empty
#if (HWY_TARGETS & HWY_NEON) && HWY_ARCH_ARM_A64
    {HWY_NEON, false, N_NEON::TableOf<false>("NEON")},
#endif
#if HWY_TARGETS & HWY_SSE4
    {HWY_SSE4, false, N_SSE4::TableOf<false>("SSE4")},
#endif
#if HWY_TARGETS & HWY_AVX2
    {HWY_AVX2, false, N_AVX2::TableOf<false>("AVX2")},
    {HWY_AVX2, true, N_AVX2::TableOf<true>("AVX2 gather")},
#endif
#if HWY_TARGETS & HWY_AVX3
    {HWY_AVX3, false, N_AVX3::TableOf<false>("AVX-512")},
    {HWY_AVX3, true, N_AVX3::TableOf<true>("AVX-512 gather")},
#endif
};

}  // namespace

std::vector<const Kernels*> SupportedKernels()
{
    std::vector<const Kernels*> supported = {&ReferenceKernels()};
    for (const Entry& entry : kTable)
        if (hwy::SupportedTargets() & entry.target)
            supported.push_back(&entry.kernels);
    return supported;
}

namespace {

/// Gather instructions are quick on Intel's processors. On AMD's they lose to single loads, most of
/// all where the picture is not in the inner caches.
bool GathersAreQuick()
{
#if HWY_ARCH_X86
    return __builtin_cpu_is("intel");
#else
    return false;
#endif
}

const Kernels* Quickest()
{
    const Kernels* quickest = &ReferenceKernels();
    for (const Entry& entry : kTable)
        if ((hwy::SupportedTargets() & entry.target) && (!entry.gathers || GathersAreQuick()))
            quickest = &entry.kernels;
    return quickest;
}

}  // namespace

const Kernels& BestKernels()
{
    static const Kernels* const best = Quickest();
    return *best;
}

}  // namespace dewarp

#endif
