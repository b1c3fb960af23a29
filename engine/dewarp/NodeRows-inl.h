// What a mesh does with whole rows of its nodes: plain loops without branches, of which the
// compiler makes vectors. Included once for each instruction set, within its namespace.

/// All bits where |value| is larger than the limit.
inline std::int32_t Exceeds(std::int32_t value, std::int32_t limit)
{
    return -static_cast<std::int32_t>((value > limit) | (value < -limit));
}

/// The middle one's change: c - b less b - a.
inline std::int32_t Bend(std::int32_t a, std::int32_t b, std::int32_t c)
{
    return Less(Less(c, b), Less(b, a));
}

/// a and 3 / 16 of both fourth differences; wraps around.
inline std::uint32_t WithFourth(std::uint32_t a, std::int32_t b, std::int32_t c)
{
    const std::uint32_t sum = static_cast<std::uint32_t>(b) + static_cast<std::uint32_t>(c);
    return a + static_cast<std::uint32_t>(static_cast<std::int32_t>(3U * sum) >> 4);
}

template <bool Sextic, bool Before, bool Behind>
bool FindHalfway(const HalfwayLines& between, int count, std::int32_t* __restrict out,
                 std::int32_t* __restrict failed)
{
    // Of a polynomial through four lines the error is 3/128 of the fourth difference, through six
    // 5/1024 of the sixth one.
    constexpr std::int32_t limit = Fixed(kPatchError / 5 * (Sextic ? 1024.0 / 5 : 128.0 / 3));
    constexpr bool first = Sextic && Before;
    constexpr bool second = Sextic || Before;
    constexpr bool seventh = Sextic || Behind;
    constexpr bool eighth = Sextic && Behind;
    const std::int32_t* const p0 = between.line[first ? 0 : 3];
    const std::int32_t* const p1 = between.line[second ? 1 : 3];
    const std::int32_t* const p2 = between.line[2];
    const std::int32_t* const p3 = between.line[3];
    const std::int32_t* const p4 = between.line[4];
    const std::int32_t* const p5 = between.line[5];
    const std::int32_t* const p6 = between.line[seventh ? 6 : 4];
    const std::int32_t* const p7 = between.line[eighth ? 7 : 4];
    std::int32_t any = 0;
    for (int i = 0; i < count; ++i) {
        // Steps from line to line, and fourth differences about the third to the sixth line.
        const std::int32_t a = first ? Less(p1[i], p0[i]) : 0;
        const std::int32_t b = second ? Less(p2[i], p1[i]) : 0;
        const std::int32_t c = Less(p3[i], p2[i]);
        const std::int32_t d = Less(p4[i], p3[i]);
        const std::int32_t e = Less(p5[i], p4[i]);
        const std::int32_t f = seventh ? Less(p6[i], p5[i]) : 0;
        const std::int32_t g = eighth ? Less(p7[i], p6[i]) : 0;
        const std::int32_t fourth1 = Less(Bend(b, c, d), Bend(a, b, c));
        const std::int32_t fourth2 = Less(Bend(c, d, e), Bend(b, c, d));
        const std::int32_t fourth3 = Less(Bend(d, e, f), Bend(c, d, e));
        const std::int32_t fourth4 = Less(Bend(e, f, g), Bend(d, e, f));
        // Steps that are not looked at are 0.
        failed[i] |= Exceeds(a, kLargestStep) | Exceeds(b, kLargestStep) |
                     Exceeds(c, kLargestStep) | Exceeds(d, kLargestStep) |
                     Exceeds(e, kLargestStep) | Exceeds(f, kLargestStep) | Exceeds(g, kLargestStep);
        if constexpr (Before)
            failed[i] |= Exceeds(Sextic ? Bend(fourth1, fourth2, fourth3) : fourth2, limit);
        if constexpr (Behind)
            failed[i] |= Exceeds(Sextic ? Bend(fourth2, fourth3, fourth4) : fourth3, limit);
        any |= failed[i];
        // The mean of the two lines, less a sixteenth of both second differences.
        std::uint32_t sixteenths =
            8U * static_cast<std::uint32_t>(d) + static_cast<std::uint32_t>(Less(c, e)) + 8U;
        if constexpr (Sextic)
            sixteenths = WithFourth(sixteenths, fourth2, fourth3);
        out[i] = static_cast<std::int32_t>(
            static_cast<std::uint32_t>(p3[i]) +
            static_cast<std::uint32_t>(static_cast<std::int32_t>(sixteenths) >> 4));
    }
    return any != 0;
}

template <bool Sextic>
bool FindHalfway(const HalfwayLines& between, int count, std::int32_t* out, std::int32_t* failed)
{
    if (between.before && between.behind)
        return FindHalfway<Sextic, true, true>(between, count, out, failed);
    if (between.before)
        return FindHalfway<Sextic, true, false>(between, count, out, failed);
    if (between.behind)
        return FindHalfway<Sextic, false, true>(between, count, out, failed);
    std::fill_n(failed, count, -1);  // nothing tells how near it is
    return true;
}

bool Halfway(const HalfwayLines& between, int count, std::int32_t* out, std::int32_t* failed)
{
    return between.six ? FindHalfway<true>(between, count, out, failed)
                       : FindHalfway<false>(between, count, out, failed);
}

void MarkRough(const std::int32_t* nodes, std::ptrdiff_t step, int count,
               std::int32_t* __restrict rough)
{
    // Its error is at most h^3 |f'''| / (9 sqrt 3) for nodes h apart, and the third difference of
    // corners, a mean over three tiles, is 8 h^3 f'''; half of what is allowed for each direction.
    constexpr std::int32_t limit = Fixed(kPatchError * 0.8 * 15.588 * 8 / 2);
    for (int i = 0; i < count; ++i) {
        const std::int32_t a = Less(nodes[i + step], nodes[i]);
        const std::int32_t b = Less(nodes[i + 2 * step], nodes[i + step]);
        const std::int32_t c = Less(nodes[i + 3 * step], nodes[i + 2 * step]);
        rough[i] |= Exceeds(a, kLargestStep) | Exceeds(b, kLargestStep) | Exceeds(c, kLargestStep) |
                    Exceeds(Bend(a, b, c), limit);
    }
}

inline void FindBounds(const std::int32_t* nodes, std::ptrdiff_t line, int tiles,
                       std::int32_t* __restrict least, std::int32_t* __restrict most)
{
    constexpr int kAtOnce = 32;
    for (int done = 0; done < tiles; done += kAtOnce) {
        const int count = std::min(tiles - done, kAtOnce);
        const std::int32_t* const a = nodes + 2 * done;
        std::int32_t low[2 * kAtOnce + 1], high[2 * kAtOnce + 1];
        for (int i = 0; i < 2 * count + 1; ++i) {
            low[i] = std::min(a[i], std::min(a[i + line], a[i + 2 * line]));
            high[i] = std::max(a[i], std::max(a[i + line], a[i + 2 * line]));
        }
        for (int i = 0; i < count; ++i) {
            least[done + i] = std::min(low[2 * i], std::min(low[2 * i + 1], low[2 * i + 2]));
            most[done + i] = std::max(high[2 * i], std::max(high[2 * i + 1], high[2 * i + 2]));
        }
    }
}

void FindExtents(const std::int32_t* x, const std::int32_t* y, std::ptrdiff_t line, int tiles,
                 const TileExtents& out)
{
    FindBounds(x, line, tiles, out.leastX, out.mostX);
    FindBounds(y, line, tiles, out.leastY, out.mostY);
    // The two triangles of the corners.
    constexpr float scale = 1.0F / 65536 / kTile;
    const auto between = [](const std::int32_t* nodes, std::ptrdiff_t from, std::ptrdiff_t to) {
        return static_cast<float>(Less(nodes[to], nodes[from])) * scale;
    };
    float* __restrict const areas = out.areas;
    for (int i = 0; i < tiles; ++i) {
        const std::ptrdiff_t a = 2 * i, b = a + 2, c = a + 2 * line, d = c + 2;
        const float first =
            between(x, a, b) * between(y, a, c) - between(y, a, b) * between(x, a, c);
        const float second =
            between(x, d, c) * between(y, d, b) - between(y, d, c) * between(x, d, b);
        areas[i] = 0.5F * (std::fabs(first) + std::fabs(second));
    }
}

/// How far patches through nodes within these bounds are beyond them at most. A parabola through
/// three values strays at most 1/8 of their range from it on either side, a biquadratic patch 9/32.
inline std::int32_t Stray(std::int32_t least, std::int32_t most)
{
    return Less(most, least) / 32 * 9 + 9;
}

/// That of the level; three selections, because vectors have no other way to look it up.
inline std::int32_t OfLevel(const std::int32_t (&limit)[3], std::int32_t level)
{
    const std::int32_t half = level == 1 ? limit[1] : limit[2];
    return level == 0 ? limit[0] : half;
}

inline void ChooseEach(const std::int32_t* leastX, const std::int32_t* leastY,
                       const std::int32_t* mostX, const std::int32_t* mostY, const float* areas,
                       const TileLimits& limit, int tiles, std::int32_t* __restrict choices,
                       std::int32_t* __restrict leftTop, std::int32_t* __restrict rightBottom)
{
    for (int i = 0; i < tiles; ++i) {
        const std::int32_t left = leastX[i], top = leastY[i];
        const std::int32_t right = mostX[i], bottom = mostY[i];
        const std::int32_t level = LevelFor(areas[i], limit.highestLevel);
        const std::int32_t x = Stray(left, right), y = Stray(top, bottom);
        const std::int32_t beyondLeft = Less(left, x) < OfLevel(limit.leastX, level) ? 1 : 0;
        const std::int32_t beyondTop = Less(top, y) < OfLevel(limit.leastY, level) ? 1 : 0;
        const std::int32_t beyondRight = Less(right, -x) > OfLevel(limit.mostX, level) ? 1 : 0;
        const std::int32_t beyondBottom = Less(bottom, -y) > OfLevel(limit.mostY, level) ? 1 : 0;
        // Negative when it does not fit into 31 bits.
        const std::int32_t width = Less(right, left), height = Less(bottom, top);
        const std::int32_t wide = width < 0 || width > kLargestPatch ? 1 : 0;
        const std::int32_t high = height < 0 || height > kLargestPatch ? 1 : 0;
        const TileBox box = BoxOf(left, top, right, bottom, level);
        choices[i] = level |
                     (beyondLeft | beyondTop | beyondRight | beyondBottom) * TileChoices::kClamped |
                     (wide | high) * TileChoices::kTooLarge;
        leftTop[i] = box.leftTop;
        rightBottom[i] = box.rightBottom;
    }
}

void Choose(const TileExtents& extents, const TileLimits& limits, int tiles, const TileChoices& out)
{
    const TileLimits limit = limits;  // which nothing that is written can change
    ChooseEach(extents.leastX, extents.leastY, extents.mostX, extents.mostY, extents.areas, limit,
               tiles, out.choices, out.leftTop, out.rightBottom);
}

DEWARP_HOT void LookDown(const std::int32_t* nodes, std::ptrdiff_t line, int count, int spacing,
                         NodeColumns& out)
{
    const float step = 1.0F / static_cast<float>(spacing);
    const float slopeOfFall = 0.5F * step;
    const float slopeOfBend = step * (0.5F * step - 1);
    const float bendOfBend = step * step;
    for (int i = 0; i < count; ++i) {
        const std::int32_t a = nodes[i], b = nodes[i + line], c = nodes[i + 2 * line];
        const auto fall = static_cast<float>(Less(c, a));
        const auto bend = static_cast<float>(Bend(a, b, c));
        out.first[i] = a;
        out.slope[i] = fall * slopeOfFall + bend * slopeOfBend;
        out.bend[i] = bend * bendOfBend;
    }
    for (int i = 0; i + 2 < count; ++i) {
        out.next[i] = static_cast<float>(Less(nodes[i + 1], nodes[i]));
        out.afterNext[i] = static_cast<float>(Less(nodes[i + 2], nodes[i]));
    }
}
