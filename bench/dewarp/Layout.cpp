#include "bench/dewarp/Layout.h"

#include <algorithm>
#include <cmath>
#include <string>

namespace dewarp::bench {

namespace {

constexpr double kPi = 3.14159265358979323846;

std::uint8_t Byte(double value)
{
    return static_cast<std::uint8_t>(std::lround(std::clamp(value, 0., 255.)));
}

/// Equidistant: radius = theta / 90 degrees x size / 2.
optics::Lens LensOf(int size)
{
    optics::LensParameters parameters;
    parameters.stCentre = {(size - 1) / 2.0, (size - 1) / 2.0};
    parameters.dCircleRadius = size / 2.0;
    std::string error;
    return optics::Lens::Make(parameters, error).value();
}

}  // namespace

ViewMapping::ViewMapping(const ViewSettings& settings, int size)
    : m_settings(settings), m_size(size), m_centre((size - 1) / 2.0), m_perRadian(size / kPi),
      m_lens(LensOf(size)), m_sinYaw(std::sin(settings.yaw * kPi / 180)),
      m_cosYaw(std::cos(settings.yaw * kPi / 180)),
      m_sinPitch(std::sin(settings.pitch * kPi / 180)),
      m_cosPitch(std::cos(settings.pitch * kPi / 180))
{}

void ViewMapping::Map(const double* x, const double* y, int count, SourcePoint* out) const
{
    if (m_settings.kind == Kind::Circle) {
        for (int i = 0; i < count; ++i) {
            const double u = 2 * x[i] - 1;
            const double v = 2 * y[i] - 1;
            out[i] = u * u + v * v <= 1 ? SourcePoint{x[i] * m_size - 0.5, y[i] * m_size - 0.5}
                                        : Mesh::Nowhere();
        }
        return;
    }
    if (m_settings.kind == Kind::Panorama) {
        for (int i = 0; i < count; ++i) {
            const double radius = kPi / 2 * (1 - y[i]) * m_perRadian;
            const double bearing = kPi * (1 - 2 * x[i]);
            out[i] = {m_centre + radius * std::sin(bearing), m_centre + radius * std::cos(bearing)};
        }
        return;
    }
    const double half = 1.0 / std::min(m_settings.width, m_settings.height);
    constexpr int batch = 64;
    for (int done = 0; done < count; done += batch) {
        const int points = std::min(count - done, batch);
        optics::Vec3 directions[batch];
        optics::Point pixels[batch];
        for (int i = 0; i < points; ++i) {
            const double right = (2 * x[done + i] - 1) * m_settings.width * half;
            const double down = (2 * y[done + i] - 1) * m_settings.height * half;
            const double py = down * m_cosPitch - m_sinPitch;
            const double pz = m_cosPitch + down * m_sinPitch;
            directions[i] = {right * m_cosYaw + pz * m_sinYaw, py,
                             pz * m_cosYaw - right * m_sinYaw};
        }
        m_lens.Project(directions, points, pixels);
        for (int i = 0; i < points; ++i)
            out[done + i] = {pixels[i].x, pixels[i].y};
    }
}

std::vector<ViewSettings> LayoutViews()
{
    std::vector<ViewSettings> views = {{Kind::Circle, 640, 640, 0, 0},
                                       {Kind::Panorama, 2048, 512, 0, 0}};
    for (const auto& [yaw, pitch] : {std::pair(0., 0.),
                                     {35., 0.},
                                     {-35., 10.},
                                     {0., 40.},
                                     {0., -40.},
                                     {30., 30.},
                                     {-30., -30.},
                                     {50., -20.}})
        views.push_back({Kind::Perspective, 640, 480, yaw, pitch});
    return views;
}

std::int64_t LayoutPixels()
{
    std::int64_t pixels = 0;
    for (const ViewSettings& view : LayoutViews())
        pixels += std::int64_t{view.width} * view.height;
    return pixels;
}

TestPicture::TestPicture(PixelFormat format, int size)
{
    const bool nv12 = format == PixelFormat::Nv12;
    m_picture.format = format;
    m_picture.width = size;
    m_picture.height = size;
    m_picture.chromaSite = ChromaSite::Centre;
    const int chroma = (size + 1) / 2;
    for (int i = 0; i < (nv12 ? 2 : 3); ++i) {
        m_picture.lineSize[i] = GoodLineSize(i == 0 ? size : nv12 ? 2 * chroma : chroma);
        m_planes[i].resize(static_cast<std::size_t>(m_picture.lineSize[i]) *
                           (i == 0 ? size : chroma));
        m_picture.plane[i] = m_planes[i].data();
    }
    const double scale = 2048.0 / size;
    for (int y = 0; y < size; ++y)
        for (int x = 0; x < size; ++x) {
            const double u = x * scale, v = y * scale;
            const bool square = (static_cast<int>(u / 64) + static_cast<int>(v / 64)) % 2 != 0;
            m_planes[0][static_cast<std::size_t>(y) * m_picture.lineSize[0] + x] =
                Byte(120 + 50 * std::sin(u / 90) * std::cos(v / 70) + (square ? 20 : -20) +
                     15 * std::sin(u * 0.4 + v * 0.3));
        }
    for (int y = 0; y < chroma; ++y)
        for (int x = 0; x < chroma; ++x) {
            const double u = 2 * x * scale, v = 2 * y * scale;
            const std::uint8_t values[2] = {Byte(128 + 60 * std::sin(u / 120)),
                                            Byte(128 + 60 * std::cos(v / 100))};
            for (int c = 0; c < 2; ++c) {
                const int plane = nv12 ? 1 : 1 + c;
                m_planes[plane][static_cast<std::size_t>(y) * m_picture.lineSize[plane] +
                                (nv12 ? 2 * x + c : x)] = values[c];
            }
        }
}

Windows::Windows()
{
    for (const ViewSettings& view : LayoutViews()) {
        m_lines.push_back(view.width * 4);
        m_pixels.emplace_back(static_cast<std::size_t>(view.width) * 4 * view.height);
    }
}

double Psnr(const std::uint8_t* expected, std::ptrdiff_t expectedLine, const std::uint8_t* drawn,
            std::ptrdiff_t drawnLine, int width, int height)
{
    double sum = 0;
    std::int64_t count = 0;
    for (int row = 0; row < height; ++row)
        for (int i = 0; i < width; ++i) {
            const std::uint8_t* const a = expected + row * expectedLine + std::ptrdiff_t{i} * 4;
            const std::uint8_t* const b = drawn + row * drawnLine + std::ptrdiff_t{i} * 4;
            if (a[0] == 0 && a[1] == 0 && a[2] == 0)
                continue;
            for (int c = 0; c < 3; ++c)
                sum += (a[c] - b[c]) * (a[c] - b[c]);
            count += 3;
        }
    return 10 * std::log10(255.0 * 255.0 * static_cast<double>(count) / std::max(sum, 1e-9));
}

}  // namespace dewarp::bench
