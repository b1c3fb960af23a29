// Synthetic pictures and mappings that the dewarper's tests share.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <optional>
#include <random>
#include <vector>

#include "engine/dewarp/Frame.h"

namespace dewarp::test {

constexpr double kPi = 3.14159265358979323846;

/// Planes of one's own with guard bytes nowhere: exactly what the picture needs.
class OwnPicture
{
public:
    OwnPicture(PixelFormat format, int width, int height, int padding = 0)
    {
        const bool nv12 = format == PixelFormat::Nv12;
        const int chromaWidth = (width + 1) / 2 * (nv12 ? 2 : 1);
        m_picture.format = format;
        m_picture.width = width;
        m_picture.height = height;
        for (int i = 0; i < (nv12 ? 2 : 3); ++i) {
            const int rows = i == 0 ? height : (height + 1) / 2;
            const int bytes = i == 0 ? width : chromaWidth;
            m_picture.lineSize[i] = bytes + padding;
            // The last row ends with its last sample, so that a sanitizer sees what reads further.
            m_planes[i].resize(static_cast<std::size_t>(bytes + padding) * (rows - 1) + bytes);
            m_picture.plane[i] = m_planes[i].data();
        }
    }
    OwnPicture(const OwnPicture&) = delete;
    OwnPicture& operator=(const OwnPicture&) = delete;

    Picture& Get() { return m_picture; }
    std::vector<std::uint8_t>& Plane(int i) { return m_planes[i]; }
    std::uint8_t& Luma(int x, int y) { return m_planes[0][y * m_picture.lineSize[0] + x]; }
    std::uint8_t& Chroma(int component, int x, int y)
    {
        return m_picture.format == PixelFormat::Nv12
                   ? m_planes[1][y * m_picture.lineSize[1] + 2 * x + component]
                   : m_planes[1 + component][y * m_picture.lineSize[1 + component] + x];
    }

    void FillNoise(unsigned seed)
    {
        std::mt19937 random(seed);
        for (auto& plane : m_planes)
            for (std::uint8_t& byte : plane) {
                const auto value = static_cast<unsigned>(random());
                byte = static_cast<std::uint8_t>(value % 3 == 0 ? (value & 256 ? 255 : 0)
                                                                : value >> 16);
            }
    }

private:
    Picture m_picture;
    std::vector<std::uint8_t> m_planes[3];
};

struct Direction
{
    double x, y, z;
};

/// An equidistant lens of 180 degrees in the largest circle of a square picture.
struct Lens
{
    double size;

    double Centre() const { return (size - 1) / 2; }
    double Radius() const { return size / 2; }

    std::optional<SourcePoint> Project(const Direction& d) const
    {
        const double across = std::hypot(d.x, d.y);
        const double theta = std::atan2(across, d.z);
        if (!(theta <= kPi / 2))
            return std::nullopt;
        const double r = theta / (kPi / 2) * Radius();
        if (across == 0)
            return SourcePoint{Centre(), Centre()};
        return SourcePoint{Centre() + r * d.x / across, Centre() + r * d.y / across};
    }

    /// The direction that a place in the picture shows, inside the circle.
    std::optional<Direction> Unproject(double x, double y) const
    {
        const double px = x - Centre();
        const double py = y - Centre();
        const double r = std::hypot(px, py);
        const double theta = r / Radius() * kPi / 2;
        if (theta > kPi / 2)
            return std::nullopt;
        if (r == 0)
            return Direction{0, 0, 1};
        return Direction{std::sin(theta) * px / r, std::sin(theta) * py / r, std::cos(theta)};
    }
};

/// A perspective view: turned by pan about the axis, then away from it by tilt.
struct Perspective
{
    Lens lens;
    double pan, tilt;  // radians
    double zoom;       // 10000 is 90 degrees across the shorter side, 500 is twenty times closer
    int width, height;

    Direction At(double x, double y) const
    {
        const double half = zoom / 10000 / std::min(width, height);
        const double u = (2 * x - 1) * width * half;
        const double v = (2 * y - 1) * height * half;
        // The view's frame with tilt about its x axis, then pan about z.
        const double ty = v * std::cos(tilt) + std::sin(tilt);
        const double tz = std::cos(tilt) - v * std::sin(tilt);
        return {u * std::cos(pan) - ty * std::sin(pan), u * std::sin(pan) + ty * std::cos(pan), tz};
    }
    std::optional<SourcePoint> operator()(double x, double y) const
    {
        return lens.Project(At(x, y));
    }
};

struct Panorama
{
    Lens lens;

    std::optional<SourcePoint> operator()(double x, double y) const
    {
        const double bearing = kPi * (1 - 2 * x);
        const double theta = kPi / 2 * (1 - y);
        return lens.Project({std::sin(theta) * std::sin(bearing),
                             std::sin(theta) * std::cos(bearing), std::cos(theta)});
    }
};

/// The circle scaled to the view, black around it.
struct Circle
{
    Lens lens;

    std::optional<SourcePoint> operator()(double x, double y) const
    {
        if (std::hypot(2 * x - 1, 2 * y - 1) > 1)
            return std::nullopt;
        return SourcePoint{x * lens.size - 0.5, y * lens.size - 0.5};
    }
};

/// The picture as it is, scaled, with black bars where the view is wider.
struct Source
{
    int sourceWidth, sourceHeight, width, height;

    std::optional<SourcePoint> operator()(double x, double y) const
    {
        const double scale = std::max(static_cast<double>(sourceWidth) / width,
                                      static_cast<double>(sourceHeight) / height);
        const double u = (x - 0.5) * width * scale + sourceWidth * 0.5;
        const double v = (y - 0.5) * height * scale + sourceHeight * 0.5;
        if (u < 0 || v < 0 || u > sourceWidth || v > sourceHeight)
            return std::nullopt;
        return SourcePoint{u - 0.5, v - 0.5};
    }
};

/// A view's BGRA pixels.
struct Image
{
    int width, height;
    std::vector<std::uint8_t> bytes;

    Image(int w, int h) : width(w), height(h), bytes(static_cast<std::size_t>(w) * h * 4) {}
    const std::uint8_t* At(int x, int y) const
    {
        return &bytes[(static_cast<std::size_t>(y) * width + x) * 4];
    }
    std::uint8_t* At(int x, int y) { return &bytes[(static_cast<std::size_t>(y) * width + x) * 4]; }
};

inline Image Render(const Mesh& mesh, const Picture& picture,
                    const Kernels& kernels = BestKernels())
{
    Image image(mesh.Width(), mesh.Height());
    Pool pool(1);
    Frame frame;
    const View view{&mesh, image.bytes.data(), image.width * 4};
    Draw(pool, frame, picture, &view, 1, kernels);
    return image;
}

}  // namespace dewarp::test
