#include "engine/dewarp/Frame.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace dewarp {

namespace {

constexpr int kHalvedRows = 16;  // luma rows of a piece of work; their chroma is half as many
constexpr std::align_val_t kAlignment{64};

/// Left-sited chroma sits a quarter of a chroma sample to the right of the mean of its luma
/// neighbours, and half as much less with every halving, which is centred.
std::int32_t ChromaBias(bool centred, int level)
{
    const int sixteenths = centred ? 4 : 4 - (4 >> level);
    return -sixteenths * (65536 / 16);
}

bool PlanesHold(const Picture& picture)
{
    if (picture.width < 1 || picture.width > kLargestPicture || picture.height < 1 ||
        picture.height > kLargestPicture)
        return false;
    const bool nv12 = picture.format == PixelFormat::Nv12;
    const int chromaBytes = (picture.width + 1) / 2 * (nv12 ? 2 : 1);
    for (int i = 0; i < (nv12 ? 2 : 3); ++i)
        if (!picture.plane[i] || picture.lineSize[i] < (i == 0 ? picture.width : chromaBytes) ||
            picture.lineSize[i] > 32767)
            return false;
    return true;
}

/// Adds one more value after count of them, so that the next halving finds a pair.
template <class Value>
void RepeatLast(Value* values, int count)
{
    values[count] = values[count - 1];
}

}  // namespace

std::uint8_t* Buffer::Reserve(std::size_t bytes)
{
    if (bytes > m_size) {
        m_bytes.reset();
        m_bytes.reset(static_cast<std::uint8_t*>(operator new(bytes, kAlignment)));
        m_size = bytes;
        std::memset(m_bytes.get(), 0, bytes);
    }
    return m_bytes.get();
}

void Buffer::Free::operator()(std::uint8_t* bytes) const
{
    operator delete(bytes, kAlignment);
}

bool Frame::Prepare(Pool& pool, const Picture& picture, int highestLevel, const Kernels& kernels)
{
    if (!PlanesHold(picture))
        return false;
    m_width = picture.width;
    m_height = picture.height;
    m_terms = ColourTermsOf(picture.matrix, picture.fullRange);
    PrepareFull(picture);
    const int highest = std::min(highestLevel, HighestLevelOf(m_width, m_height));
    for (int level = 0; level < 3; ++level) {
        if (level > 0 && level <= highest)
            LayOut(level);
        m_levels[level].chromaBiasX = ChromaBias(picture.chromaSite == ChromaSite::Centre, level);
        m_levels[level].chromaBiasY = ChromaBias(true, level);
    }
    if (highest == 0 && m_interleave) {
        const int rows = m_levels[0].chromaHeight;
        pool.Run((rows + kHalvedRows - 1) / kHalvedRows, [&](int piece) {
            const int first = piece * kHalvedRows;
            for (int row = first; row < std::min(first + kHalvedRows, rows); ++row)
                InterleaveRow(kernels, picture, row);
        });
    }
    for (int level = 1; level <= highest; ++level) {
        const int rows = m_levels[level].height;
        pool.Run((rows + kHalvedRows - 1) / kHalvedRows, [&](int piece) {
            const int first = piece * kHalvedRows;
            HalveRows(kernels, picture, level, first, std::min(first + kHalvedRows, rows));
        });
    }
    return true;
}

void Frame::PrepareFull(const Picture& picture)
{
    Level& full = m_levels[0];
    full = Level{};
    full.width = picture.width;
    full.height = picture.height;
    full.chromaWidth = (picture.width + 1) / 2;
    full.chromaHeight = (picture.height + 1) / 2;
    full.luma = picture.plane[0];
    full.lumaLine = picture.lineSize[0];
    full.chroma = picture.plane[1];
    full.chromaLine = picture.lineSize[1];
    m_interleave = picture.format == PixelFormat::I420;
    if (std::min(picture.width, picture.height) < 4)
        return PadFull(picture);
    if (!m_interleave)
        return;
    full.chromaLine = GoodLineSize(full.chromaWidth * 2);
    full.chroma =
        m_chroma[0].Reserve(static_cast<std::size_t>(full.chromaLine) * full.chromaHeight);
}

/// The kernels look at neighbours without asking, so a tiny picture is made 4 x 4 by repeating its
/// border.
void Frame::PadFull(const Picture& picture)
{
    Level& full = m_levels[0];
    full.width = std::max(picture.width, 4);
    full.height = std::max(picture.height, 4);
    full.chromaWidth = (full.width + 1) / 2;
    full.chromaHeight = (full.height + 1) / 2;
    full.lumaLine = GoodLineSize(full.width);
    full.chromaLine = GoodLineSize(full.chromaWidth * 2);
    std::uint8_t* const luma =
        m_luma[0].Reserve(static_cast<std::size_t>(full.lumaLine) * full.height);
    std::uint8_t* const chroma =
        m_chroma[0].Reserve(static_cast<std::size_t>(full.chromaLine) * full.chromaHeight);
    const auto from = [&](int plane, int row, int at) {
        return picture.plane[plane][std::ptrdiff_t{row} * picture.lineSize[plane] + at];
    };
    for (int row = 0; row < full.height; ++row)
        for (int i = 0; i < full.width; ++i)
            luma[row * full.lumaLine + i] =
                from(0, std::min(row, picture.height - 1), std::min(i, picture.width - 1));
    for (int row = 0; row < full.chromaHeight; ++row)
        for (int i = 0; i < full.chromaWidth * 2; ++i) {
            const int y = std::min(row, (picture.height + 1) / 2 - 1);
            const int x = std::min(i / 2, (picture.width + 1) / 2 - 1);
            chroma[row * full.chromaLine + i] =
                m_interleave ? from(1 + i % 2, y, x) : from(1, y, 2 * x + i % 2);
        }
    full.luma = luma;
    full.chroma = chroma;
    m_interleave = false;
}

void Frame::LayOut(int level)
{
    Level& out = m_levels[level];
    out.width = LevelSize(m_width, level);
    out.height = LevelSize(m_height, level);
    out.chromaWidth = (out.width + 1) / 2;
    out.chromaHeight = (out.height + 1) / 2;
    out.pairs = true;
    out.lumaLine = GoodLineSize((out.width + 1) * 2);
    out.chromaLine = GoodLineSize(out.chromaWidth * 2);
    out.luma = m_luma[level].Reserve(static_cast<std::size_t>(out.lumaLine) * out.height);
    out.chroma =
        m_chroma[level].Reserve(static_cast<std::size_t>(out.chromaLine) * out.chromaHeight);
}

void Frame::HalveRows(const Kernels& kernels, const Picture& picture, int level, int firstRow,
                      int lastRow)
{
    const Level& out = m_levels[level];
    const int lastChroma = std::min((lastRow + 1) / 2, out.chromaHeight);
    for (int row = firstRow / 2; row < lastChroma; ++row) {
        for (int i = 2 * row; level == 1 && m_interleave && i < 2 * row + 2; ++i)
            if (i < m_levels[0].chromaHeight)
                InterleaveRow(kernels, picture, i);
        HalveChromaRow(kernels, level, row);
    }
    std::uint16_t rows[2][kLargestPicture / 2 + 1];
    HalveLumaRow(kernels, level, firstRow, rows[firstRow % 2]);
    std::uint8_t* const luma = m_luma[level].Reserve(0);
    for (int row = firstRow; row < lastRow; ++row) {
        const int next = std::min(row + 1, out.height - 1);
        if (next > row)
            HalveLumaRow(kernels, level, next, rows[next % 2]);
        kernels.joinPairs(
            rows[row % 2], rows[next % 2], out.width + 1,
            reinterpret_cast<std::uint16_t*>(luma + std::ptrdiff_t{row} * out.lumaLine));
    }
}

void Frame::HalveLumaRow(const Kernels& kernels, int level, int row, std::uint16_t* out) const
{
    const Level& from = m_levels[level - 1];
    const int count = m_levels[level].width;
    const std::uint8_t* const above = from.luma + std::ptrdiff_t{2 * row} * from.lumaLine;
    if (from.pairs) {
        kernels.halvePairs(above, count, out);
    } else {
        const std::uint8_t* const below = 2 * row + 1 < from.height ? above + from.lumaLine : above;
        kernels.halveLuma(above, below, from.width / 2, out);
        if (from.width % 2 != 0)
            out[count - 1] = static_cast<std::uint16_t>(
                (above[from.width - 1] + below[from.width - 1] + 1) >> 1);
    }
    RepeatLast(out, count);
}

void Frame::HalveChromaRow(const Kernels& kernels, int level, int row)
{
    const Level& from = m_levels[level - 1];
    const Level& to = m_levels[level];
    std::uint8_t* const out = m_chroma[level].Reserve(0) + std::ptrdiff_t{row} * to.chromaLine;
    const std::uint8_t* const above = from.chroma + std::ptrdiff_t{2 * row} * from.chromaLine;
    const std::uint8_t* const below =
        2 * row + 1 < from.chromaHeight ? above + from.chromaLine : above;
    kernels.halveChroma(above, below, from.chromaWidth / 2, out);
    if (from.chromaWidth % 2 == 0)
        return;
    for (int c = 0; c < 2; ++c) {
        const int last = 2 * (from.chromaWidth - 1) + c;
        out[2 * (to.chromaWidth - 1) + c] =
            static_cast<std::uint8_t>((above[last] + below[last] + 1) >> 1);
    }
}

void Frame::InterleaveRow(const Kernels& kernels, const Picture& picture, int row)
{
    kernels.interleave(picture.plane[1] + std::ptrdiff_t{row} * picture.lineSize[1],
                       picture.plane[2] + std::ptrdiff_t{row} * picture.lineSize[2],
                       m_levels[0].chromaWidth,
                       m_chroma[0].Reserve(0) + std::ptrdiff_t{row} * m_levels[0].chromaLine);
}

bool Draw(Pool& pool, Frame& frame, const Picture& picture, const View* views, int count,
          const Kernels& kernels)
{
    const auto fits = [&](const View& view) {
        return view.mesh->SourceWidth() == picture.width &&
               view.mesh->SourceHeight() == picture.height;
    };
    int highest = 0;
    int bands = 0;
    for (int i = 0; i < count; ++i) {
        if (fits(views[i]))
            highest = std::max(highest, views[i].mesh->HighestLevel());
        bands += views[i].mesh->Bands();
    }
    if (!frame.Prepare(pool, picture, highest, kernels))
        return false;
    pool.Run(bands, [&](int band) {
        const View* view = views;
        while (band >= view->mesh->Bands())
            band -= view++->mesh->Bands();
        if (fits(*view))
            view->mesh->DrawBand(kernels, frame.Levels(), frame.Terms(), band, view->pixels,
                                 view->line);
        else
            view->mesh->BlackBand(band, view->pixels, view->line);
    });
    return true;
}

}  // namespace dewarp
