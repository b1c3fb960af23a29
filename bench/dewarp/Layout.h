// The layout that is measured, and a picture to draw it from.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "engine/dewarp/Frame.h"
#include "optics/Lens.h"

namespace dewarp::bench {

enum class Kind
{
    Circle,
    Panorama,
    Perspective
};

/// A view of the layout over a centred 180 degree equidistant circle that fills a square picture.
struct ViewSettings
{
    Kind kind;
    int width, height;
    double yaw, pitch;  ///< of a perspective view, 90 degrees across the shorter side; degrees
};

/// Where a view of a picture of size x size comes from: by the directions that the others take, and
/// through the lens as the engine has it.
class ViewMapping
{
public:
    ViewMapping(const ViewSettings& settings, int size);

    /// Source positions of any number of fractions, as Mesh::BatchMapping.
    void Map(const double* x, const double* y, int count, SourcePoint* out) const;

private:
    ViewSettings m_settings;
    double m_size, m_centre, m_perRadian;
    optics::Lens m_lens;
    double m_sinYaw, m_cosYaw, m_sinPitch, m_cosPitch;
};

/// One fisheye 640 x 640, one panorama 2048 x 512 and eight perspective views 640 x 480.
std::vector<ViewSettings> LayoutViews();

/// Pixels of all views.
std::int64_t LayoutPixels();

/// A picture with line sizes that are odd multiples of 64: smooth colours, edges and fine texture.
class TestPicture
{
public:
    TestPicture(PixelFormat format, int size);
    const Picture& Get() const { return m_picture; }

private:
    Picture m_picture;
    std::vector<std::uint8_t> m_planes[3];
};

/// BGRA pictures of the layout's views, rows aligned to cache lines.
class Windows
{
public:
    Windows();
    std::uint8_t* Pixels(std::size_t view) { return m_pixels[view].Bytes(); }
    int Line(std::size_t view) const { return m_lines[view]; }

private:
    class Aligned
    {
    public:
        explicit Aligned(std::size_t size) : m_bytes(m_buffer.Reserve(size)) {}
        std::uint8_t* Bytes() { return m_bytes; }

    private:
        Buffer m_buffer;
        std::uint8_t* m_bytes;
    };
    std::vector<Aligned> m_pixels;
    std::vector<int> m_lines;
};

/// Peak signal to noise ratio of the colours of two BGRA pictures, in dB. Pixels that are black in
/// `expected` count for nothing: the others differ in what they do outside the circle.
double Psnr(const std::uint8_t* expected, std::ptrdiff_t expectedLine, const std::uint8_t* drawn,
            std::ptrdiff_t drawnLine, int width, int height);

}  // namespace dewarp::bench
