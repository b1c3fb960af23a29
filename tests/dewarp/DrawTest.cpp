// What the pictures look like.

#include <gtest/gtest.h>

#include "tests/dewarp/Scenes.h"

namespace dewarp::test {
namespace {

void Fill(OwnPicture& picture, std::uint8_t y, std::uint8_t u, std::uint8_t v)
{
    std::fill(picture.Plane(0).begin(), picture.Plane(0).end(), y);
    const Picture& p = picture.Get();
    for (int row = 0; row < (p.height + 1) / 2; ++row)
        for (int i = 0; i < (p.width + 1) / 2; ++i) {
            picture.Chroma(0, i, row) = u;
            picture.Chroma(1, i, row) = v;
        }
}

struct ColourCase
{
    ColourMatrix matrix;
    bool fullRange;
    std::uint8_t yuv[3], bgr[3];
};

TEST(Draw, ConvertsColoursOfEveryMatrixAndRange)
{
    // Red, green, blue, white and black by the definitions of the two recommendations.
    const ColourCase cases[] = {
        {ColourMatrix::Bt601, false, {81, 90, 240}, {0, 0, 255}},
        {ColourMatrix::Bt601, false, {145, 54, 34}, {0, 255, 0}},
        {ColourMatrix::Bt601, false, {41, 240, 110}, {255, 0, 0}},
        {ColourMatrix::Bt601, false, {235, 128, 128}, {255, 255, 255}},
        {ColourMatrix::Bt601, false, {16, 128, 128}, {0, 0, 0}},
        {ColourMatrix::Bt709, false, {63, 102, 240}, {0, 0, 255}},
        {ColourMatrix::Bt709, false, {173, 42, 26}, {0, 255, 0}},
        {ColourMatrix::Bt709, false, {32, 240, 118}, {255, 0, 0}},
        {ColourMatrix::Bt601, true, {76, 85, 255}, {0, 0, 254}},
        {ColourMatrix::Bt601, true, {255, 128, 128}, {255, 255, 255}},
        {ColourMatrix::Bt601, true, {0, 128, 128}, {0, 0, 0}},
        {ColourMatrix::Bt709, true, {54, 99, 255}, {0, 0, 254}},
        {ColourMatrix::Bt709, true, {100, 128, 128}, {100, 100, 100}},
    };
    for (const ColourCase& c : cases)
        for (const PixelFormat format : {PixelFormat::Nv12, PixelFormat::I420}) {
            OwnPicture picture(format, 40, 40);
            Fill(picture, c.yuv[0], c.yuv[1], c.yuv[2]);
            picture.Get().matrix = c.matrix;
            picture.Get().fullRange = c.fullRange;
            Mesh mesh;
            mesh.Build(20, 20, 40, 40, Source{40, 40, 20, 20});
            const Image image = Render(mesh, picture.Get());
            for (int i = 0; i < 3; ++i)
                EXPECT_NEAR(image.At(10, 10)[i], c.bgr[i], 2)
                    << int{c.yuv[0]} << ' ' << int{c.yuv[1]} << ' ' << int{c.yuv[2]} << " colour "
                    << i;
            EXPECT_EQ(image.At(10, 10)[3], 255);
        }
}

TEST(Draw, GreyAtFullSizeIsThePictureItself)
{
    OwnPicture picture(PixelFormat::Nv12, 100, 70);
    picture.Get().fullRange = true;
    Fill(picture, 0, 128, 128);
    for (int y = 0; y < 70; ++y)
        for (int x = 0; x < 100; ++x)
            picture.Luma(x, y) = static_cast<std::uint8_t>((x * 7 + y * 13) % 256);
    Mesh mesh;
    mesh.Build(100, 70, 100, 70, Source{100, 70, 100, 70});
    const Image image = Render(mesh, picture.Get());
    for (int y = 0; y < 70; ++y)
        for (int x = 0; x < 100; ++x)
            for (int c = 0; c < 3; ++c)
                ASSERT_EQ(image.At(x, y)[c], (x * 7 + y * 13) % 256) << x << ',' << y;
}

TEST(Draw, OutsideTheCircleIsBlackToThePixel)
{
    OwnPicture picture(PixelFormat::Nv12, 512, 512);
    Fill(picture, 235, 128, 128);
    const std::pair<int, int> sizes[] = {{150, 150}, {481, 481}, {601, 27}, {672, 24}, {24, 672},
                                         {480, 16},  {64, 9},    {8, 8},    {5, 4},    {1, 1}};
    for (const auto& [width, height] : sizes) {
        Mesh mesh;
        mesh.Build(width, height, 512, 512, Circle{{512}});
        const Image image = Render(mesh, picture.Get());
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x) {
                const bool inside =
                    std::hypot((2. * x + 1) / width - 1, (2. * y + 1) / height - 1) <= 1;
                ASSERT_EQ(image.At(x, y)[0], inside ? 255 : 0)
                    << x << ',' << y << " of " << width << 'x' << height;
                ASSERT_EQ(image.At(x, y)[3], 255);
            }
    }
}

TEST(Draw, RefusesAPictureItCannotHold)
{
    OwnPicture picture(PixelFormat::I420, 40, 40);
    Mesh mesh;
    mesh.Build(20, 20, 40, 40, Source{40, 40, 20, 20});
    Image image(20, 20);
    Pool pool(1);
    Frame frame;
    const View view{&mesh, image.bytes.data(), 80};
    for (const auto& spoil : std::vector<void (*)(Picture&)>{
             [](Picture& p) { p.plane[2] = nullptr; }, [](Picture& p) { p.lineSize[1] = 19; },
             [](Picture& p) { p.lineSize[0] = 40000; }, [](Picture& p) { p.width = 0; },
             [](Picture& p) { p.height = kLargestPicture + 1; }}) {
        Picture spoilt = picture.Get();
        spoil(spoilt);
        EXPECT_FALSE(Draw(pool, frame, spoilt, &view, 1));
    }
    EXPECT_TRUE(Draw(pool, frame, picture.Get(), &view, 1));
}

TEST(Draw, AMeshOfAnotherPictureSizeGivesBlack)
{
    OwnPicture picture(PixelFormat::Nv12, 40, 40);
    Fill(picture, 235, 128, 128);
    Mesh mesh;
    mesh.Build(20, 20, 50, 40, Source{50, 40, 20, 20});
    const Image image = Render(mesh, picture.Get());
    EXPECT_EQ(image.At(10, 10)[0], 0);
    EXPECT_EQ(image.At(10, 10)[3], 255);
}

TEST(Draw, ManyThreadsDrawTheSameBytesAsOne)
{
    OwnPicture picture(PixelFormat::I420, 600, 600);
    picture.FillNoise(9);
    Mesh meshes[3];
    meshes[0].Build(320, 240, 600, 600, Perspective{{600}, 1, 0.5, 9000, 320, 240});
    meshes[1].Build(500, 130, 600, 600, Panorama{{600}});
    meshes[2].Build(111, 111, 600, 600, Circle{{600}});
    std::vector<Image> images;
    View views[3];
    Pool pool(4);
    Frame frame;
    for (const Mesh& mesh : meshes)
        images.emplace_back(mesh.Width(), mesh.Height());
    for (int i = 0; i < 3; ++i)
        views[i] = {&meshes[i], images[i].bytes.data(), images[i].width * 4};
    ASSERT_TRUE(Draw(pool, frame, picture.Get(), views, 3));
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(images[i].bytes, Render(meshes[i], picture.Get()).bytes);
}

}  // namespace
}  // namespace dewarp::test
