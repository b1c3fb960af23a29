// How near the pictures come to a direct rendering of the scene.

#include <functional>

#include <gtest/gtest.h>

#include "tests/dewarp/Scenes.h"

namespace dewarp::test {
namespace {

/// Brightness (0..255) that a direction shows.
using Scene = double (*)(const Direction&);

/// A checkered floor two metres below a ceiling camera, a wall of sky beyond.
double CheckeredFloor(const Direction& d)
{
    if (d.z < 0.05 * std::hypot(d.x, d.y))
        return 128;
    const double x = d.x / d.z * 2 / 0.15;
    const double y = d.y / d.z * 2 / 0.15;
    return (static_cast<int>(std::floor(x)) + static_cast<int>(std::floor(y))) % 2 != 0 ? 220 : 40;
}

/// Waves on the sphere, as fine as the picture resolves well.
double Waves(const Direction& d)
{
    const double length = std::sqrt(d.x * d.x + d.y * d.y + d.z * d.z);
    const double x = d.x / length, y = d.y / length, z = d.z / length;
    return 128 + 40 * std::sin(60 * x + 5 * z) + 30 * std::sin(50 * y - 20 * x) +
           20 * std::sin(90 * z + 30 * y);
}

double Mean(Scene scene, int samples,
            const std::function<std::optional<Direction>(double, double)>& at)
{
    double sum = 0;
    for (int i = 0; i < samples; ++i)
        for (int j = 0; j < samples; ++j) {
            const auto direction = at((j + 0.5) / samples, (i + 0.5) / samples);
            sum += direction ? scene(*direction) : 0;
        }
    return sum / (samples * samples);
}

/// A fisheye picture of a scene; grey, full range.
void Photograph(Scene scene, const Lens& lens, OwnPicture& picture)
{
    picture.Get().fullRange = true;
    const int size = static_cast<int>(lens.size);
    for (int y = 0; y < size; ++y)
        for (int x = 0; x < size; ++x)
            picture.Luma(x, y) =
                static_cast<std::uint8_t>(std::lround(Mean(scene, 3, [&](double u, double v) {
                    return lens.Unproject(x + u - 0.5, y + v - 0.5);
                })));
    for (int y = 0; y < size / 2; ++y)
        for (int x = 0; x < size / 2; ++x)
            picture.Chroma(0, x, y) = picture.Chroma(1, x, y) = 128;
}

std::vector<double> Direct(Scene scene, const Perspective& view)
{
    std::vector<double> image;
    for (int y = 0; y < view.height; ++y)
        for (int x = 0; x < view.width; ++x)
            image.push_back(Mean(scene, 6, [&](double u, double v) {
                return std::optional(view.At((x + u) / view.width, (y + v) / view.height));
            }));
    return image;
}

/// Bilinear samples of the full-size picture, as a player without anti-aliasing takes them.
std::vector<double> PlainBilinear(OwnPicture& picture, const Perspective& view)
{
    std::vector<double> image;
    for (int y = 0; y < view.height; ++y)
        for (int x = 0; x < view.width; ++x) {
            const auto at = view((x + 0.5) / view.width, (y + 0.5) / view.height);
            if (!at) {
                image.push_back(0);
                continue;
            }
            const int i = std::clamp(static_cast<int>(at->x), 0, picture.Get().width - 2);
            const int j = std::clamp(static_cast<int>(at->y), 0, picture.Get().height - 2);
            const double u = at->x - i, v = at->y - j;
            image.push_back(
                (1 - v) * ((1 - u) * picture.Luma(i, j) + u * picture.Luma(i + 1, j)) +
                v * ((1 - u) * picture.Luma(i, j + 1) + u * picture.Luma(i + 1, j + 1)));
        }
    return image;
}

std::vector<double> Ours(OwnPicture& picture, const Perspective& view, Mesh& mesh)
{
    mesh.Build(view.width, view.height, picture.Get().width, picture.Get().height, view);
    const Image image = Render(mesh, picture.Get());
    std::vector<double> grey;
    for (std::size_t i = 0; i < image.bytes.size(); i += 4)
        grey.push_back(image.bytes[i]);
    return grey;
}

double Psnr(const std::vector<double>& a, const std::vector<double>& b)
{
    double sum = 0;
    for (std::size_t i = 0; i < a.size(); ++i)
        sum += (a[i] - b[i]) * (a[i] - b[i]);
    return 10 * std::log10(255 * 255 * static_cast<double>(a.size()) / sum);
}

TEST(Quality, APerspectiveViewIsWhatTheSceneShowsThere)
{
    const Lens lens{1024};
    OwnPicture picture(PixelFormat::Nv12, 1024, 1024);
    Photograph(Waves, lens, picture);
    for (const Perspective& view :
         {Perspective{lens, 0.3, 0.4, 10000, 640, 480}, Perspective{lens, 2.1, 0.7, 5000, 320, 240},
          Perspective{lens, 4.0, 0.6, 10000, 320, 240},
          Perspective{lens, 5.5, 1.0, 1000, 200, 200}}) {
        Mesh mesh;
        EXPECT_GE(Psnr(Direct(Waves, view), Ours(picture, view, mesh)), 38)
            << "pan " << view.pan << " zoom " << view.zoom;
    }
}

// Below some three source pixels per view pixel, plain bilinear samples are hardly worse than what
// can be had at all; three decibels are to be gained from about four.

TEST(Quality, AFloorMinifiedUpToThreeTimesIsAsNearAsPlainBilinear)
{
    const Lens lens{1024};
    OwnPicture picture(PixelFormat::Nv12, 1024, 1024);
    Photograph(CheckeredFloor, lens, picture);
    for (const auto& [size, tilt] : {std::pair(320, 0.0), {240, 0.5}, {200, 0.0}}) {
        const Perspective view{lens, 0.5, tilt, 10000, size, size};
        const std::vector<double> direct = Direct(CheckeredFloor, view);
        Mesh mesh;
        EXPECT_GE(Psnr(direct, Ours(picture, view, mesh)),
                  Psnr(direct, PlainBilinear(picture, view)) - 0.1)
            << size;
    }
}

TEST(Quality, AFloorMinifiedFourTimesIsThreeDecibelsNearerThanPlainBilinear)
{
    const Lens lens{1024};
    OwnPicture picture(PixelFormat::Nv12, 1024, 1024);
    Photograph(CheckeredFloor, lens, picture);
    for (const auto& [width, height, tilt] :
         {std::tuple(160, 160, 0.0), {160, 120, 0.0}, {128, 128, 0.5}, {96, 96, 0.2}}) {
        const Perspective view{lens, 0.5, tilt, 10000, width, height};
        const std::vector<double> direct = Direct(CheckeredFloor, view);
        Mesh mesh;
        const double ours = Psnr(direct, Ours(picture, view, mesh));
        const double plain = Psnr(direct, PlainBilinear(picture, view));
        const Mesh::Census census = mesh.Count();
        RecordProperty("ours" + std::to_string(width), std::to_string(ours));
        EXPECT_GE(ours, plain + 3)
            << width << ": ours " << ours << " plain " << plain << " levels " << census.level[0]
            << ' ' << census.level[1] << ' ' << census.level[2];
    }
}

/// How much the error against the direct rendering jumps between neighbouring pixels of different
/// tiles, on the average: where the tiles' sizes differ, and where they do not.
struct Jumps
{
    double changing, same;
};

Jumps JumpsOf(Scene scene, const Perspective& view, OwnPicture& picture)
{
    Mesh mesh;
    const std::vector<double> ours = Ours(picture, view, mesh);
    const std::vector<double> direct = Direct(scene, view);
    double sum[2] = {};
    int count[2] = {};
    for (int y = 0; y < view.height; ++y)
        for (int x = kTile; x < view.width; x += kTile) {
            const int at = y * view.width + x;
            const int changing = mesh.LevelAt(x, y) != mesh.LevelAt(x - 1, y) ? 1 : 0;
            sum[changing] += std::fabs((ours[at] - direct[at]) - (ours[at - 1] - direct[at - 1]));
            ++count[changing];
        }
    EXPECT_GT(count[1], 50);
    return {sum[1] / count[1], sum[0] / count[0]};
}

TEST(Quality, NoSeamShowsWhereTilesOfDifferentSizesMeet)
{
    const Lens lens{1024};
    OwnPicture picture(PixelFormat::Nv12, 1024, 1024);
    for (const Scene scene : {Waves, CheckeredFloor}) {
        Photograph(scene, lens, picture);
        const Jumps jumps = JumpsOf(scene, {lens, 0.5, 0.3, 10000, 240, 180}, picture);
        RecordProperty("jumps", std::to_string(jumps.changing) + " " + std::to_string(jumps.same));
        EXPECT_LE(jumps.changing, 1.5 * jumps.same + 1);
    }
}

}  // namespace
}  // namespace dewarp::test
