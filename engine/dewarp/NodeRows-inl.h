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
void FindHalfway(const HalfwayLines& between, int count, std::int32_t* __restrict out,
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
        // The mean of the two lines, less a sixteenth of both second differences.
        std::uint32_t sixteenths =
            8U * static_cast<std::uint32_t>(d) + static_cast<std::uint32_t>(Less(c, e)) + 8U;
        if constexpr (Sextic)
            sixteenths = WithFourth(sixteenths, fourth2, fourth3);
        out[i] = static_cast<std::int32_t>(
            static_cast<std::uint32_t>(p3[i]) +
            static_cast<std::uint32_t>(static_cast<std::int32_t>(sixteenths) >> 4));
    }
}

template <bool Sextic>
void FindHalfway(const HalfwayLines& between, int count, std::int32_t* out, std::int32_t* failed)
{
    if (between.before && between.behind)
        FindHalfway<Sextic, true, true>(between, count, out, failed);
    else if (between.before)
        FindHalfway<Sextic, true, false>(between, count, out, failed);
    else if (between.behind)
        FindHalfway<Sextic, false, true>(between, count, out, failed);
    else
        std::fill_n(failed, count, -1);  // nothing tells how near it is
}

void Halfway(const HalfwayLines& between, int count, std::int32_t* out, std::int32_t* failed)
{
    if (between.six)
        FindHalfway<true>(between, count, out, failed);
    else
        FindHalfway<false>(between, count, out, failed);
}

void MarkRough(const std::int32_t* nodes, std::ptrdiff_t step, int count,
               std::int32_t* __restrict rough)
{
    // Its error is at most h^3 |f'''| / (9 sqrt 3) for nodes h apart, and their third difference is
    // h^3 f'''; half of what is allowed for each direction.
    constexpr std::int32_t limit = Fixed(kPatchError * 0.8 * 15.588 / 2);
    for (int i = 0; i < count; ++i) {
        const std::int32_t a = Less(nodes[i + step], nodes[i]);
        const std::int32_t b = Less(nodes[i + 2 * step], nodes[i + step]);
        const std::int32_t c = Less(nodes[i + 3 * step], nodes[i + 2 * step]);
        rough[i] |= Exceeds(a, kLargestStep) | Exceeds(b, kLargestStep) | Exceeds(c, kLargestStep) |
                    Exceeds(Bend(a, b, c), limit);
    }
}

void FindBounds(const std::int32_t* nodes, std::ptrdiff_t line, std::int32_t* __restrict least,
                std::int32_t* __restrict most)
{
    for (std::ptrdiff_t i = 0; i < line; ++i) {
        const std::int32_t a = nodes[i], b = nodes[i + line], c = nodes[i + 2 * line];
        least[i] = std::min(a, std::min(b, c));
        most[i] = std::max(a, std::max(b, c));
    }
}

void LookDown(const std::int32_t* nodes, std::ptrdiff_t line, int count, int spacing,
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
