// The mesh follows the mapping.

#include <gtest/gtest.h>

#include "tests/dewarp/Scenes.h"

namespace dewarp::test {
namespace {

/// The largest distance between mesh and mapping over a grid of pixels, in source pixels; a pixel
/// that is black in one of them alone counts as 1000.
template <class Mapping>
double WorstError(const Mesh& mesh, const Mapping& mapping)
{
    double worst = 0;
    for (int j = 0; j < mesh.Height(); j += 3)
        for (int i = j % 5; i < mesh.Width(); i += 5) {
            const auto exact = mapping((i + 0.5) / mesh.Width(), (j + 0.5) / mesh.Height());
            const auto meshed = mesh.At(i, j);
            if (exact.has_value() != meshed.has_value())
                worst = std::max(worst, 1000.);
            else if (exact)
                worst = std::max(worst, std::hypot(exact->x - meshed->x, exact->y - meshed->y));
        }
    return worst;
}

struct ViewCase
{
    double pan, tilt, zoom;
    int width, height;
};

TEST(Mesh, IsWithinAFiftiethOfAPixelOfEveryPerspectiveView)
{
    for (const auto& [width, height] : {std::pair(640, 480), {320, 240}, {637, 411}})
        for (const double zoom : {10000., 5000., 500.})
            for (const double tilt : {0., 0.4, 0.8, 1.2, 1.5}) {
                const Perspective view{{2048}, tilt * 3, tilt, zoom, width, height};
                Mesh mesh;
                mesh.Build(width, height, 2048, 2048, view);
                EXPECT_LE(WorstError(mesh, view), 0.02)
                    << width << " x " << height << " zoom " << zoom << " tilt " << tilt;
            }
}

TEST(Mesh, IsWithinAFiftiethOfAPixelOfPanoramaCircleAndSource)
{
    Mesh mesh;
    mesh.Build(2048, 512, 2048, 2048, Panorama{{2048}});
    EXPECT_LE(WorstError(mesh, Panorama{{2048}}), 0.02);
    mesh.Build(640, 640, 2048, 2048, Circle{{2048}});
    EXPECT_LE(WorstError(mesh, Circle{{2048}}), 0.02);
    const Source source{2048, 1536, 800, 450};
    mesh.Build(800, 450, 2048, 1536, source);
    EXPECT_LE(WorstError(mesh, source), 0.02);
}

TEST(Mesh, FollowsAJumpWithoutSmearing)
{
    const auto halves = [](double x, double y) -> std::optional<SourcePoint> {
        return x < 0.503 ? SourcePoint{100 * x + 20, 100 * y + 20}
                         : SourcePoint{500 + 100 * x, 700 + 100 * y};
    };
    Mesh mesh;
    mesh.Build(200, 100, 1000, 1000, halves);
    EXPECT_LE(WorstError(mesh, halves), 0.02);
}

TEST(Mesh, TakesNonsenseForBlack)
{
    const auto nonsense = [](double x, double y) -> std::optional<SourcePoint> {
        return x < 0.5 ? SourcePoint{std::nan(""), 3} : SourcePoint{1e300, y};
    };
    Mesh mesh;
    mesh.Build(64, 64, 100, 100, nonsense);
    EXPECT_EQ(mesh.Count().black, 16);
}

TEST(Mesh, MostTilesOfAnOrdinaryViewAreWholePatches)
{
    Mesh mesh;
    mesh.Build(640, 480, 2048, 2048, Perspective{{2048}, 0.3, 0.6, 10000, 640, 480});
    const Mesh::Census census = mesh.Count();
    EXPECT_GT(census.patch, 1100) << census.quad << " quads, " << census.pixels << " pixels, "
                                  << census.black << " black";
}

}  // namespace
}  // namespace dewarp::test
