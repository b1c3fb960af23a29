// Every instruction set gives the bytes of the reference.

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include <gtest/gtest.h>

#include "engine/dewarp/FixedPoint.h"
#include "tests/dewarp/Scenes.h"

namespace dewarp::test {
namespace {

class EveryKernel : public testing::TestWithParam<const Kernels*>
{};

std::string NameOf(const testing::TestParamInfo<const Kernels*>& info)
{
    std::string name = info.param->name;
    name.erase(std::remove_if(name.begin(), name.end(), [](char c) { return !std::isalnum(c); }),
               name.end());
    return name;
}

INSTANTIATE_TEST_SUITE_P(Supported, EveryKernel, testing::ValuesIn(SupportedKernels()), NameOf);

/// Draws with odd line sizes and guard bytes around every row, and compares all of it.
void ExpectSameBytes(const Kernels& kernels, const Mesh& mesh, const Picture& picture)
{
    Pool pool(1);
    const int line = mesh.Width() * 4 + 37;
    const std::size_t size = static_cast<std::size_t>(line) * mesh.Height() + 64;
    std::vector<std::uint8_t> expected(size, 0xA5);
    std::vector<std::uint8_t> drawn(size, 0xA5);
    Frame frame;
    const View reference{&mesh, expected.data() + 13, line};
    const View view{&mesh, drawn.data() + 13, line};
    ASSERT_TRUE(Draw(pool, frame, picture, &reference, 1, ReferenceKernels()));
    ASSERT_TRUE(Draw(pool, frame, picture, &view, 1, kernels));
    ASSERT_EQ(expected, drawn);
    for (int row = 0; row + 1 < mesh.Height(); ++row)
        for (int i = 0; i < 37; ++i)
            ASSERT_EQ(drawn[13 + row * line + mesh.Width() * 4 + i], 0xA5);
}

TEST_P(EveryKernel, DrawsPerspectiveViewsLikeTheReference)
{
    for (const PixelFormat format : {PixelFormat::Nv12, PixelFormat::I420}) {
        OwnPicture picture(format, 515, 509, 3);
        picture.FillNoise(1);
        for (const auto& [width, height] : {std::pair(64, 48), {101, 67}, {17, 33}, {16, 16}})
            for (const double zoom : {10000., 2000.}) {
                Mesh mesh;
                mesh.Build(width, height, 515, 509,
                           Perspective{{512}, 0.4, 0.7, zoom, width, height});
                ExpectSameBytes(*GetParam(), mesh, picture.Get());
            }
    }
}

TEST_P(EveryKernel, DrawsPicturesOfAnySizeLikeTheReference)
{
    for (const PixelFormat format : {PixelFormat::Nv12, PixelFormat::I420})
        for (const int width : {1, 2, 3, 4, 5, 7, 15, 16, 31, 67})
            for (const int height : {1, 2, 3, 5, 16, 30}) {
                OwnPicture picture(format, width, height);
                picture.FillNoise(width * 100 + height);
                for (const int size : {1, 2, 9, 21}) {
                    Mesh mesh;
                    mesh.Build(size, size + 3, width, height,
                               Source{width, height, size, size + 3});
                    ExpectSameBytes(*GetParam(), mesh, picture.Get());
                }
            }
}

TEST_P(EveryKernel, DrawsCircleAndPanoramaLikeTheReference)
{
    OwnPicture picture(PixelFormat::Nv12, 700, 700, 4);
    picture.FillNoise(3);
    for (const bool fullRange : {false, true})
        for (const ColourMatrix matrix : {ColourMatrix::Bt601, ColourMatrix::Bt709})
            for (const ChromaSite site : {ChromaSite::Left, ChromaSite::Centre}) {
                picture.Get().fullRange = fullRange;
                picture.Get().matrix = matrix;
                picture.Get().chromaSite = site;
                Mesh mesh;
                mesh.Build(160, 160, 700, 700, Circle{{700}});
                ExpectSameBytes(*GetParam(), mesh, picture.Get());
                mesh.Build(333, 100, 700, 700, Panorama{{700}});
                ExpectSameBytes(*GetParam(), mesh, picture.Get());
            }
}

TEST_P(EveryKernel, DrawsRowsOfCacheLinesLikeTheReference)
{
    OwnPicture picture(PixelFormat::Nv12, 300, 300);
    picture.FillNoise(4);
    Pool pool(1);
    Frame frame;
    for (const int width : {512, 520, 352, 100})
        for (const int line : {2048, 2112, 4096}) {
            if (width * 4 > line)
                continue;
            Mesh mesh;
            mesh.Build(width, 40, 300, 300, Panorama{{300}});
            std::vector<std::vector<std::uint8_t>> drawn;
            for (const Kernels* const kernels : {&ReferenceKernels(), GetParam()}) {
                Buffer buffer;
                const std::size_t size = static_cast<std::size_t>(line) * 40;
                std::uint8_t* const pixels = buffer.Reserve(size);
                std::fill_n(pixels, size, std::uint8_t{0xA5});
                const View view{&mesh, pixels, line};
                ASSERT_TRUE(Draw(pool, frame, picture.Get(), &view, 1, *kernels));
                drawn.emplace_back(pixels, pixels + size);
            }
            ASSERT_EQ(drawn[0], drawn[1]) << width << ' ' << line;
            for (int row = 0; row < 40; ++row)
                for (int i = row * line + width * 4; i < (row + 1) * line; ++i)
                    ASSERT_EQ(drawn[1][i], 0xA5) << width << ' ' << line << ' ' << i;
        }
}

TEST_P(EveryKernel, ExpandsPatchesLikeTheReference)
{
    std::mt19937 random(5);
    for (int round = 0; round < 300; ++round) {
        // From hardly bent to as far apart as nodes may be, anywhere in the largest picture.
        const auto spread = static_cast<std::int32_t>(1U << (10 + round % 18));
        std::int32_t nodes[2][4][5];
        for (auto& axis : nodes) {
            const auto base = static_cast<std::int32_t>(random() % (24000U << 16)) -
                              (round % 2 == 0 ? 12000 << 16 : 0);
            for (auto& row : axis)
                for (std::int32_t& node : row)
                    node = base + static_cast<std::int32_t>(random() % spread);
        }
        const int spacing = round % 2 == 0 ? 4 : 8;
        const int lastColumn = static_cast<int>(random() % 16);
        const int lastRow = static_cast<int>(random() % 16);
        TileCoordinates expanded[2][2]{};
        int table = 0;
        for (const Kernels* const kernels : {&ReferenceKernels(), GetParam()}) {
            NodeColumns columns[2];
            kernels->lookDown(nodes[0][0], 5, 5, spacing, columns[0]);
            kernels->lookDown(nodes[1][0], 5, 5, spacing, columns[1]);
            for (int i = 0; i < 2; ++i)
                kernels->expand({&columns[0], &columns[1], 2 * i, spacing, round % 3}, lastColumn,
                                lastRow, expanded[table][i].x, expanded[table][i].y);
            ++table;
        }
        ASSERT_EQ(std::memcmp(expanded[0], expanded[1], sizeof(expanded[0])), 0) << round;
    }
}

TEST_P(EveryKernel, DrawsWholePatchesLikeTheReference)
{
    std::mt19937 random(8);
    Pool pool(1);
    Frame frame;
    for (int round = 0; round < 60; ++round) {
        OwnPicture picture(round % 2 == 0 ? PixelFormat::Nv12 : PixelFormat::I420, 200, 200);
        picture.FillNoise(round);
        ASSERT_TRUE(frame.Prepare(pool, picture.Get(), 2, *GetParam()));
        // Places of the full size, which with the bends between them stay inside of each level.
        const auto place = [&] { return static_cast<std::int32_t>(random() % (100U << 16)); };
        std::int32_t nodes[2][3][5];
        for (auto& axis : nodes)
            for (auto& row : axis)
                for (std::int32_t& node : row)
                    node = (50 << 16) + place();
        const int level = round % 3;
        for (const bool stream : {false, true}) {
            Image drawn[2] = {{kTile, kTile}, {kTile, kTile}};
            int table = 0;
            for (const Kernels* const kernels : {&ReferenceKernels(), GetParam()}) {
                NodeColumns columns[2];
                kernels->lookDown(nodes[0][0], 5, 5, 8, columns[0]);
                kernels->lookDown(nodes[1][0], 5, 5, 8, columns[1]);
                alignas(64) std::uint8_t pixels[kTile * kTile * 4] = {};
                kernels->samplePatch(frame.Levels()[level], frame.Terms(),
                                     {&columns[0], &columns[1], 2, 8, level},
                                     {pixels, kTile * 4, kTile, stream});
                std::memcpy(drawn[table++].bytes.data(), pixels, sizeof(pixels));
            }
            ASSERT_EQ(drawn[0].bytes, drawn[1].bytes) << round;
        }
    }
}

/// Rows of places: smooth ones, ones that jump, and ones with unknown places.
std::vector<std::vector<std::int32_t>> NodeRows(int rows, int count, std::mt19937& random)
{
    const double bend = static_cast<double>(random() % 1000) / 1000;
    const auto disturbed = static_cast<int>(random() % 3);
    std::vector<std::vector<std::int32_t>> nodes(rows, std::vector<std::int32_t>(count));
    for (int i = 0; i < rows; ++i)
        for (int j = 0; j < count; ++j) {
            nodes[i][j] = static_cast<std::int32_t>(
                65536 * (900 + 40 * i + 30 * j + 200 * bend * std::sin(0.2 * i + 0.1 * j)));
            if (disturbed != 0 && random() % 16 == 0)
                nodes[i][j] = disturbed == 1 ? static_cast<std::int32_t>(random())
                                             : std::numeric_limits<std::int32_t>::min();
        }
    return nodes;
}

TEST_P(EveryKernel, FindsPlacesHalfwayLikeTheReference)
{
    std::mt19937 random(8);
    int near = 0;
    int failures = 0;
    for (int round = 0; round < 400; ++round) {
        const int count = 1 + static_cast<int>(random() % 40);
        const auto nodes = NodeRows(8, count, random);
        HalfwayLines lines{{}, round % 2 != 0, round % 3 != 0, round % 5 != 0};
        const int reach = lines.six ? 3 : 2;
        for (int i = 4 - reach - (lines.before ? 1 : 0); i < 4 + reach + (lines.behind ? 1 : 0);
             ++i)
            lines.line[i] = nodes[i].data();
        std::vector<std::int32_t> out[2];
        std::vector<std::int32_t> failed[2];
        int table = 0;
        for (const Kernels* const kernels : {&ReferenceKernels(), GetParam()}) {
            out[table].resize(count);
            failed[table].resize(count);
            failed[table][count / 2] = round % 2 != 0 ? -1 : 0;
            const bool any =
                kernels->halfway(lines, count, out[table].data(), failed[table].data());
            EXPECT_EQ(any, std::count(failed[table].begin(), failed[table].end(), 0) < count);
            ++table;
        }
        ASSERT_EQ(failed[0], failed[1]) << round;
        if (round % 2 != 0) {
            EXPECT_EQ(failed[0][count / 2], -1) << "it stays";
        }
        for (int i = 0; i < count; ++i) {
            (failed[0][i] != 0 ? failures : near) += 1;
            if (failed[0][i] == 0) {
                ASSERT_EQ(out[0][i], out[1][i]) << round << ' ' << i;
            }
        }
    }
    EXPECT_GT(near, 500);
    EXPECT_GT(failures, 500);
}

TEST_P(EveryKernel, LooksAtRowsOfNodesLikeTheReference)
{
    std::mt19937 random(9);
    int rough = 0;
    int clamped = 0;
    int tooLarge = 0;
    int levels[3] = {};
    for (int round = 0; round < 400; ++round) {
        const int tiles = 2 + static_cast<int>(random() % 40);
        const int count = 2 * tiles + 1;
        // Two axes of four rows, coarser and coarser.
        const int scale = 1 << round % 4;
        std::vector<std::int32_t> nodes[2];
        for (int axis = 0; axis < 2; ++axis)
            for (auto& row : NodeRows(4, count, random))
                for (int i = 0; i < count; ++i) {
                    const std::int32_t node = row[axis == 0 ? i : count - 1 - i];
                    const bool known = node != std::numeric_limits<std::int32_t>::min();
                    nodes[axis].push_back(known ? node / 8 * scale : node);
                }
        TileLimits limits{};
        for (int level = 0; level < 3; ++level) {
            limits.leastX[level] = limits.leastY[level] = (300 + 10 * level) << 16;
            limits.mostX[level] = limits.mostY[level] = (1500 - 10 * level) << 16;
        }
        limits.highestLevel = round % 3;
        std::vector<std::vector<std::int32_t>> results[2];
        std::vector<float> areas[2];
        int table = 0;
        for (const Kernels* const kernels : {&ReferenceKernels(), GetParam()}) {
            auto& result = results[table];
            result.assign(9, std::vector<std::int32_t>(count));
            result[0][count / 2] = result[1][count / 2] = -1;  // which stays
            areas[table].resize(tiles);
            kernels->markRough(nodes[0].data(), 1, count - 3, result[0].data());
            kernels->markRough(nodes[0].data(), count, count, result[1].data());
            const TileExtents extents = {result[2].data(), result[3].data(), result[4].data(),
                                         result[5].data(), areas[table].data()};
            kernels->findExtents(nodes[0].data(), nodes[1].data(), count, tiles, extents);
            kernels->choose(extents, limits, tiles,
                            {result[6].data(), result[7].data(), result[8].data()});
            ++table;
        }
        ASSERT_EQ(results[0], results[1]) << round;
        ASSERT_EQ(areas[0], areas[1]) << round;
        EXPECT_EQ(results[0][0][count / 2], -1);
        EXPECT_EQ(results[0][1][count / 2], -1);
        for (int i = 0; i < tiles; ++i) {
            const std::int32_t choice = results[0][6][i];
            rough += results[0][0][i] != 0 ? 1 : 0;
            clamped += (choice & TileChoices::kClamped) != 0 ? 1 : 0;
            tooLarge += (choice & TileChoices::kTooLarge) != 0 ? 1 : 0;
            ++levels[choice & TileChoices::kLevel];
        }
    }
    for (const int occurrences : {rough, clamped, tooLarge, levels[0], levels[1], levels[2]}) {
        EXPECT_GT(occurrences, 50);
        EXPECT_LT(occurrences, 400 * 20 - 50);
    }
}

/// Of four corners in a row, of which each is in pixels.
bool IsRough(std::initializer_list<double> corners)
{
    std::vector<std::int32_t> places;
    for (const double corner : corners)
        places.push_back(Fixed(corner));
    std::int32_t rough = 0;
    ReferenceKernels().markRough(places.data(), 1, 1, &rough);
    return rough != 0;
}

TEST(RoughCorners, AreThoseThatNoParabolaMeets)
{
    EXPECT_FALSE(IsRough({0, 30, 60, 90}));
    EXPECT_FALSE(IsRough({0, 30, 65, 105}));         // a parabola
    EXPECT_FALSE(IsRough({0, 30, 65, 105 + 0.49}));  // a third difference of 0.49
    EXPECT_TRUE(IsRough({0, 30, 65, 105 + 0.51}));
    EXPECT_TRUE(IsRough({0, 30, 65, 105 - 0.51}));
    EXPECT_TRUE(IsRough({0, 1100, 2200, 3300}));  // too far apart
}

TEST(RoughCorners, AreThoseNextToUnknownPlaces)
{
    constexpr std::int32_t unknown = std::numeric_limits<std::int32_t>::min();
    for (int at = 0; at < 4; ++at) {
        std::int32_t places[4] = {100 << 16, 130 << 16, 160 << 16, 190 << 16};
        places[at] = unknown;
        std::int32_t rough = 0;
        ReferenceKernels().markRough(places, 1, 1, &rough);
        EXPECT_EQ(rough, -1) << at;
    }
}

/// What is chosen for a tile of these extents, in pixels, over a picture that may be sampled from
/// 10 to 990 each way in all sizes.
std::int32_t Choice(double left, double top, double right, double bottom, float area,
                    int highestLevel = 2)
{
    TileLimits limits{};
    for (int level = 0; level < 3; ++level) {
        limits.leastX[level] = limits.leastY[level] = 10 << 16;
        limits.mostX[level] = limits.mostY[level] = 990 << 16;
    }
    limits.highestLevel = highestLevel;
    std::int32_t places[4] = {Fixed(left), Fixed(top), Fixed(right), Fixed(bottom)};
    std::int32_t choice = -1, leftTop = -1, rightBottom = -1;
    ReferenceKernels().choose({&places[0], &places[1], &places[2], &places[3], &area}, limits, 1,
                              {&choice, &leftTop, &rightBottom});
    return choice;
}

TEST(Choices, GoByTheAreaOfAViewPixel)
{
    EXPECT_EQ(Choice(100, 100, 130, 130, 2.7F * 2.7F), 0);
    EXPECT_EQ(Choice(100, 100, 150, 150, 2.9F * 2.9F), 1);
    EXPECT_EQ(Choice(100, 100, 170, 170, 4.7F * 4.7F), 1);
    EXPECT_EQ(Choice(100, 100, 180, 180, 4.9F * 4.9F), 2);
    EXPECT_EQ(Choice(100, 100, 180, 180, 4.9F * 4.9F, 1), 1);
    EXPECT_EQ(Choice(100, 100, 180, 180, 4.9F * 4.9F, 0), 0);
}

TEST(Choices, ClampWherePatchesMayStrayBeyondTheBorder)
{
    // 32 pixels between nodes: patches stray 9.
    EXPECT_EQ(Choice(19.1, 100, 51.1, 132, 4), 0);
    EXPECT_EQ(Choice(18.9, 100, 50.9, 132, 4), TileChoices::kClamped);
    EXPECT_EQ(Choice(100, 18.9, 132, 50.9, 4), TileChoices::kClamped);
    EXPECT_EQ(Choice(948.9, 948.9, 980.9, 980.9, 4), 0);
    EXPECT_EQ(Choice(949.1, 100, 981.1, 132, 4), TileChoices::kClamped);
    EXPECT_EQ(Choice(100, 949.1, 132, 981.1, 4), TileChoices::kClamped);
}

TEST(Choices, RefusePatchesWhoseNodesAreTooFarApart)
{
    EXPECT_EQ(Choice(-2000, 500, 2090, 530, 4) & TileChoices::kTooLarge, 0);
    EXPECT_NE(Choice(-2000, 500, 2100, 530, 4) & TileChoices::kTooLarge, 0);
    EXPECT_NE(Choice(500, -2000, 530, 2100, 4) & TileChoices::kTooLarge, 0);
    EXPECT_NE(Choice(-24000, 500, 24000, 530, 4) & TileChoices::kTooLarge, 0);
}

TEST(Extents, AreThoseOfNineNodesAndOfTheCornersParallelogram)
{
    // Two tiles, sheared: 3 across and 2 down for each view pixel, in pixels of a 16.16 number.
    std::int32_t x[3][5], y[3][5];
    for (int row = 0; row < 3; ++row)
        for (int column = 0; column < 5; ++column) {
            x[row][column] = (100 + 24 * column + 8 * row) << 16;
            y[row][column] = (200 + 16 * row) << 16;
        }
    y[1][2] = 300 << 16;  // a middle node, which both tiles have
    std::int32_t leastX[2], leastY[2], mostX[2], mostY[2];
    float areas[2];
    ReferenceKernels().findExtents(x[0], y[0], 5, 2, {leastX, leastY, mostX, mostY, areas});
    for (int tile = 0; tile < 2; ++tile) {
        EXPECT_EQ(leastX[tile] >> 16, 100 + 48 * tile);
        EXPECT_EQ(mostX[tile] >> 16, 164 + 48 * tile);
        EXPECT_EQ(leastY[tile] >> 16, 200);
        EXPECT_EQ(mostY[tile] >> 16, 300);
        EXPECT_FLOAT_EQ(areas[tile], 6);
    }
}

TEST(Patches, AreTheParabolasThroughTheirNodes)
{
    // x = 5 + c / 2 + c^2 / 64 + r / 4 - r^2 / 128 + c r / 32 and y = 2 x at pixel (c, r).
    const auto xAt = [](int column, int row) {
        return 5 + column / 2.0 + column * column / 64.0 + row / 4.0 - row * row / 128.0 +
               column * row / 32.0;
    };
    for (const int spacing : {4, 8}) {
        std::int32_t nodes[2][3][3];
        for (int i = 0; i < 9; ++i) {
            const double x = xAt(i % 3 * spacing, i / 3 * spacing);
            nodes[0][i / 3][i % 3] = Fixed(x);
            nodes[1][i / 3][i % 3] = Fixed(2 * x);
        }
        NodeColumns columns[2];
        for (int axis = 0; axis < 2; ++axis)
            ReferenceKernels().lookDown(nodes[axis][0], 3, 3, spacing, columns[axis]);
        for (int level = 0; level < 3; ++level) {
            TileCoordinates places;
            ReferenceKernels().expand({&columns[0], &columns[1], 0, spacing, level},
                                      2 * spacing - 1, 2 * spacing - 1, places.x, places.y);
            for (int row = 0; row < 2 * spacing; ++row)
                for (int column = 0; column < 2 * spacing; ++column) {
                    const double x = std::ldexp(xAt(column, row) + 0.5, -level) - 0.5;
                    const double y = std::ldexp(2 * xAt(column, row) + 0.5, -level) - 0.5;
                    EXPECT_NEAR(places.x[row * kTile + column] / 65536.0, x, 0.001);
                    EXPECT_NEAR(places.y[row * kTile + column] / 65536.0, y, 0.001);
                }
        }
    }
}

TEST_P(EveryKernel, ClampsCoordinatesFarOutsideLikeTheReference)
{
    OwnPicture picture(PixelFormat::Nv12, 40, 40);
    picture.FillNoise(6);
    Pool pool(1);
    Frame frame;
    std::mt19937 random(7);
    for (int level = 0; level < 3; ++level) {
        ASSERT_TRUE(frame.Prepare(pool, picture.Get(), 2, *GetParam()));
        TileCoordinates coordinates;
        for (int i = 0; i < kTile * kTile; ++i) {
            coordinates.x[i] = static_cast<std::int32_t>(random()) >> (random() % 16);
            coordinates.y[i] = static_cast<std::int32_t>(random()) >> (random() % 16);
        }
        Image expected(kTile, kTile);
        Image drawn(kTile, kTile);
        ReferenceKernels().sampleAnywhere(frame.Levels()[level], frame.Terms(), coordinates,
                                          {expected.bytes.data(), kTile * 4, kTile, false});
        GetParam()->sampleAnywhere(frame.Levels()[level], frame.Terms(), coordinates,
                                   {drawn.bytes.data(), kTile * 4, kTile, false});
        ASSERT_EQ(expected.bytes, drawn.bytes);
    }
}

}  // namespace
}  // namespace dewarp::test
