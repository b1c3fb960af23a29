// Plain and small: discs along a line, blocks for the dots of a letter, blended by alpha.
#include "engine/present/Overlay.h"

#include <algorithm>
#include <cmath>

#include "engine/present/Font.h"

namespace engine {

namespace {

class Canvas
{
public:
    Canvas(std::uint8_t* pixels, Extent size) : m_pixels(pixels), m_size(size) {}

    Extent Size() const { return m_size; }

    /// A rectangle, its right and bottom border left out.
    void Fill(int left, int top, int right, int bottom, std::uint32_t colour)
    {
        for (int y = std::max(top, 0); y < std::min(bottom, m_size.height); ++y) {
            for (int x = std::max(left, 0); x < std::min(right, m_size.width); ++x)
                Blend(x, y, colour);
        }
    }

private:
    void Blend(int x, int y, std::uint32_t colour)
    {
        std::uint8_t* pixel = m_pixels + (std::size_t{4} * m_size.width * y + std::size_t{4} * x);
        const std::uint32_t alpha = colour >> 24;
        for (int channel = 0; channel < 3; ++channel) {
            const std::uint32_t ink = colour >> (8 * channel) & 0xFF;
            const std::uint32_t mixed = ink * alpha + pixel[channel] * (255 - alpha);
            pixel[channel] = static_cast<std::uint8_t>((mixed + 127) / 255);
        }
    }

    std::uint8_t* m_pixels;
    Extent m_size;
};

/// One point for each pixel along the longer direction, so that no pixel of a thin line is blended
/// twice.
void DrawSegment(Canvas& canvas, double x0, double y0, double x1, double y1,
                 const OverlayLine& line)
{
    const bool flat = std::abs(x1 - x0) >= std::abs(y1 - y0);
    if (flat ? x1 < x0 : y1 < y0) {
        std::swap(x0, x1);
        std::swap(y0, y1);
    }
    const double length = flat ? x1 - x0 : y1 - y0;
    const double limit = flat ? canvas.Size().width : canvas.Size().height;
    const double begin = flat ? x0 : y0;
    if (begin + length < 0.0 || begin > limit)
        return;
    const int first = static_cast<int>(std::floor(std::clamp(begin, 0.0, limit)));
    const int last = static_cast<int>(std::floor(std::clamp(begin + length, 0.0, limit)));
    for (int along = first; along <= last; ++along) {
        const double part = length > 0.0 ? std::clamp((along - begin) / length, 0.0, 1.0) : 0.0;
        const double across = flat ? y0 + part * (y1 - y0) : x0 + part * (x1 - x0);
        const double other = flat ? canvas.Size().height : canvas.Size().width;
        if (across < -line.width || across > other + line.width)
            continue;
        const int from = static_cast<int>(std::floor(across - (line.width - 1) / 2.0));
        if (flat)
            canvas.Fill(along, from, along + 1, from + line.width, line.colour);
        else
            canvas.Fill(from, along, from + line.width, along + 1, line.colour);
    }
}

void DrawLine(Canvas& canvas, const OverlayLine& line)
{
    const Extent size = canvas.Size();
    for (std::size_t i = 2; i + 1 < line.points.size(); i += 2) {
        const double x0 = line.points[i - 2] * static_cast<double>(size.width);
        const double y0 = line.points[i - 1] * static_cast<double>(size.height);
        const double x1 = line.points[i] * static_cast<double>(size.width);
        const double y1 = line.points[i + 1] * static_cast<double>(size.height);
        if (std::isfinite(x0 + y0 + x1 + y1))
            DrawSegment(canvas, x0, y0, x1, y1, line);
    }
}

void DrawLetter(Canvas& canvas, char letter, double left, double top, double dot,
                std::uint32_t colour)
{
    const auto code = static_cast<unsigned char>(letter);
    const std::uint8_t* rows = code >= 0x20 && code <= 0x7E ? FONT[code - 0x20] : FONT_BOX;
    const auto edge = [](double value) { return static_cast<int>(std::lround(value)); };
    for (int row = 0; row < FONT_ROWS; ++row) {
        for (int column = 0; column < FONT_COLUMNS; ++column) {
            if (rows[row] >> (FONT_COLUMNS - 1 - column) & 1)
                canvas.Fill(edge(left + column * dot), edge(top + row * dot),
                            edge(left + (column + 1) * dot), edge(top + (row + 1) * dot), colour);
        }
    }
}

void DrawLetters(Canvas& canvas, const OverlayText& text)
{
    if (!std::isfinite(text.x) || !std::isfinite(text.y))
        return;
    const Extent size = canvas.Size();
    const double dot = text.height / (FONT_ROWS + 1.0);
    // Far outside nothing shows; the clamp keeps pixel numbers in range.
    const double begin = std::clamp(text.x, -4.0F, 4.0F) * static_cast<double>(size.width);
    double left = begin;
    double top = std::clamp(text.y, -4.0F, 4.0F) * static_cast<double>(size.height);
    for (const char letter : text.text) {
        if (letter == '\n') {
            left = begin;
            top += text.height;
        } else {
            if (left < size.width && top < size.height)
                DrawLetter(canvas, letter, left, top, dot, text.colour);
            left += (FONT_COLUMNS + 1) * dot;
        }
    }
}

}  // namespace

void DrawOverlay(std::uint8_t* pixels, Extent size, const std::vector<OverlayLine>& lines,
                 const std::vector<OverlayText>& texts)
{
    Canvas canvas(pixels, size);
    for (const OverlayLine& line : lines)
        DrawLine(canvas, line);
    for (const OverlayText& text : texts)
        DrawLetters(canvas, text);
}

}  // namespace engine
