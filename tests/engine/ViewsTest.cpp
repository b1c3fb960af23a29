// What comes out: every kind of view of a known fisheye picture, its parameters, its callback.
#include <atomic>
#include <cmath>
#include <cstring>
#include <fstream>
#include <future>
#include <limits>
#include <memory>
#include <thread>
#include <vector>

#include <gmock/gmock.h>

#include <unistd.h>

#include "optics/FisheyePicture.h"
#include "optics/Lens.h"
#include "optics/View.h"
#include "tests/engine/EngineUnderTest.h"

namespace test {
namespace {

constexpr double PI = 3.14159265358979323846;

/// The colour of a direction: bearing and angle off the axis can be read from it, smoothly.
Colour ColourOf(const optics::Vec3& direction)
{
    return {128 + 100 * direction.x, 128 + 100 * direction.y, 128 + 100 * direction.z};
}

/// A picture of an equidistant lens of 180 degrees, the circle as large as it can be.
ClipOptions FisheyeClip(int size = 512)
{
    ClipOptions options;
    options.format = "mpegts";
    options.width = options.height = size;
    options.pictures = 3;
    options.paint = [size](int, int x, int y) {
        const double u = (x + 0.5) / size;
        const double v = (y + 0.5) / size;
        const double rho = std::hypot(2 * u - 1, 2 * v - 1);
        return rho <= 1.0 ? ColourOf(optics::FisheyeDirection({u, v})) : Colour{0, 0, 0};
    };
    return options;
}

/// A picture of the room through a lens.
ClipOptions LensClip(const optics::LensParameters& parameters, double scale, int size = 512)
{
    std::string error;
    const auto lens = optics::Lens::Make(parameters, error);
    if (!lens)
        throw std::runtime_error(error);
    ClipOptions options = FisheyeClip(size);
    options.paint = [scaled = lens->ScaledBy(scale, scale)](int, int x, int y) {
        const auto direction = scaled.Unproject({double(x), double(y)});
        return direction ? ColourOf(*direction) : Colour{0, 0, 0};
    };
    return options;
}

const Bytes& Clip()
{
    static const Bytes clip = MakeClip(FisheyeClip());
    return clip;
}

class Views : public testing::Test
{
protected:
    void Feed() { Feed(m_player, Clip()); }

    static void Feed(TestPlayer& player, const Bytes& clip)
    {
        ASSERT_EQ(player.Play(), 0);
        ASSERT_EQ(player.Put(clip), 0);
        ASSERT_EQ(player.End(), 0);
    }

    /// Holds what a view shows against the view's own geometry; the lens sees half the field of
    /// view off its axis.
    void ExpectView(const Images::Image& image, const optics::ViewParameters& parameters,
                    double fieldOfView = PI)
    {
        optics::ViewParameters sized = parameters;
        sized.iWidth = image.width;
        sized.iHeight = image.height;
        const optics::View view(sized);
        for (double y = 0.1; y < 1.0; y += 0.2) {
            for (double x = 0.1; x < 1.0; x += 0.2) {
                const int column = static_cast<int>(x * image.width);
                const int row = static_cast<int>(y * image.height);
                const auto direction =
                    view.Direction({(column + 0.5) / image.width, (row + 0.5) / image.height});
                const bool seen =
                    direction && optics::AngleOffAxis(*direction) < 0.49 * fieldOfView;
                const bool black =
                    !direction || optics::AngleOffAxis(*direction) > 0.51 * fieldOfView;
                const Colour colour = image.At(x, y);
                if (seen) {
                    EXPECT_TRUE(Near(colour, ColourOf(*direction), 6))
                        << x << " " << y << ": " << colour.r << " " << colour.g << " " << colour.b;
                } else if (black) {
                    EXPECT_TRUE(Near(colour, {0, 0, 0}, 2)) << x << " " << y;
                }
            }
        }
    }

    /// Something for the player to call: it outlives the player, which may still be in it when a
    /// test's own variables are gone.
    template <typename Callee>
    Callee& Called()
    {
        auto callee = std::make_shared<Callee>();
        m_called.push_back(callee);
        return *callee;
    }

private:
    std::vector<std::shared_ptr<void>> m_called;

protected:
    Images& m_images = Called<Images>();
    TestPlayer m_player;
};

struct ViewCase
{
    const char* name;
    int mode;
    int mount;
    int x, y, zoom;
};

class EveryView : public Views, public testing::WithParamInterface<ViewCase>
{};

TEST_P(EveryView, ShowsTheDirectionsThatItsGeometrySays)
{
    const ViewCase& c = GetParam();
    const int view = m_player.AddView(c.mode, c.mount, c.x, c.y, c.zoom);
    ASSERT_GT(view, 0);
    ASSERT_EQ(m_player.Listen(view, m_images, 320, 240), 0);
    Feed();
    const Images::Image image = m_images.Await(1);
    ASSERT_EQ(image.width, 320);
    optics::ViewParameters parameters;
    parameters.eKind = static_cast<optics::ViewKind>(c.mode);
    parameters.eMount = optics::MountOf(c.mount);
    parameters.stCentre = {c.x / 10000.0, c.y / 10000.0};
    parameters.dZoom = c.zoom;
    ExpectView(image, parameters);
    EXPECT_EQ(m_images.Player(), m_player.Id());
    EXPECT_EQ(m_images.Correct(), view);
}

INSTANTIATE_TEST_SUITE_P(
    All, EveryView,
    testing::Values(ViewCase{"PtzCeiling", RV_MODE_PTZ, 3, 5000, 7500, 10000},
                    ViewCase{"PtzCeilingAside", RV_MODE_PTZ, 0, 2500, 4000, 5000},
                    ViewCase{"PtzFloor", RV_MODE_PTZ, 2, 7000, 6000, 7000},
                    ViewCase{"PtzWall", RV_MODE_PTZ, 1, 6000, 4500, 10000},
                    ViewCase{"PtzOnTheRim", RV_MODE_PTZ, 3, 5000, 10000, 10000},
                    ViewCase{"PtzAtThePole", RV_MODE_PTZ, 3, 5000, 5000, 500},
                    ViewCase{"PtzFromOutside", RV_MODE_PTZ, 3, 0, 0, 10000},
                    ViewCase{"PanoramaCeiling", RV_MODE_PANORAMA, 3, 0, 0, 0},
                    ViewCase{"PanoramaWall", RV_MODE_PANORAMA, 1, 0, 0, 0},
                    ViewCase{"PanoramaFloor", RV_MODE_PANORAMA, 2, 0, 0, 0},
                    ViewCase{"HalfCeiling", RV_MODE_180, 0, 0, 0, 0},
                    ViewCase{"HalfWall", RV_MODE_180, 1, 0, 0, 0},
                    ViewCase{"HalfFloor", RV_MODE_180, 2, 0, 0, 0},
                    ViewCase{"Lat", RV_MODE_LAT, 0, 0, 0, 0}),
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(Views, FisheyeKeepsItsAspectBetweenBlackBars)
{
    const int view = m_player.Fisheye();
    ASSERT_GT(view, 0);
    ASSERT_EQ(m_player.Listen(view, m_images, 400, 200), 0);
    Feed();
    const Images::Image image = m_images.Await(1);
    ASSERT_EQ(image.width, 400);
    EXPECT_TRUE(Near(image.At(0.1, 0.5), {0, 0, 0}, 2));
    EXPECT_TRUE(Near(image.At(0.9, 0.5), {0, 0, 0}, 2));
    EXPECT_TRUE(Near(image.At(0.5, 0.5), ColourOf({0, 0, 1}), 4));
    EXPECT_TRUE(Near(image.At(0.7, 0.5), ColourOf(optics::FisheyeDirection({0.9, 0.5})), 6));
}

TEST_F(Views, MainWindowSwitchesBetweenFisheyeAndSource)
{
    const int view = m_player.Fisheye();
    // A lens of half the circle: its fisheye picture differs from the picture as it is.
    RvLens lens{};
    lens.iSize = sizeof(lens);
    lens.dCentreX = lens.dCentreY = 255.5;
    lens.dCircleRadius = 128;
    ASSERT_EQ(RV(RV_PlayerControl)(m_player.Id(), RV_CONTROL_SET_LENS, &lens, sizeof(lens)), 0);
    ASSERT_EQ(m_player.Listen(view, m_images), 0);
    Feed();
    const Colour fisheye = ColourOf(optics::FisheyeDirection({0.7, 0.5}));  // half as far out
    EXPECT_TRUE(
        m_images.AwaitOne([&](const auto& image) { return Near(image.At(0.9, 0.5), fisheye, 5); }));
    EXPECT_EQ(RV(RV_SetFishEyeCorrectEnable)(m_player.Id(), 0, nullptr), 0);
    const Colour source = ColourOf(optics::FisheyeDirection({0.9, 0.5}));
    EXPECT_TRUE(
        m_images.AwaitOne([&](const auto& image) { return Near(image.At(0.9, 0.5), source, 5); }));
    EXPECT_EQ(m_player.Fisheye(), view);
    EXPECT_TRUE(
        m_images.AwaitOne([&](const auto& image) { return Near(image.At(0.9, 0.5), fisheye, 5); }));
}

TEST_F(Views, ParameterChangeIsDrawnWithoutANewPicture)
{
    const int view = m_player.AddView(RV_MODE_PTZ, 3, 5000, 7500, 2000);
    ASSERT_EQ(m_player.Listen(view, m_images), 0);
    Feed();
    ASSERT_EQ(m_images.Await(1).width, 256);
    RvPtz ptz{};
    ASSERT_EQ(RV(RV_GetFishEyeCorrectPara)(m_player.Id(), view, 1, &ptz, sizeof(ptz)), 0);
    ptz.iPositionX = 7500;
    ptz.iPositionY = 5000;
    ASSERT_EQ(RV(RV_SetFishEyeCorrectPara)(m_player.Id(), view, 1, &ptz, sizeof(ptz)), 0);
    const Colour there = ColourOf(optics::FisheyeDirection({0.75, 0.5}));
    EXPECT_TRUE(
        m_images.AwaitOne([&](const auto& image) { return Near(image.At(0.5, 0.5), there, 5); }));
}

TEST_F(Views, PanoramaTurnsByItsAngle)
{
    const int view = m_player.AddView(RV_MODE_PANORAMA, 3);
    ASSERT_EQ(m_player.Listen(view, m_images, 360, 90), 0);
    Feed();
    ASSERT_EQ(m_images.Await(1).width, 360);
    RvWideScan wide{77, 90.0F};
    ASSERT_EQ(RV(RV_SetFishEyeCorrectPara)(m_player.Id(), view, 3, &wide, sizeof(wide)), 0);
    optics::ViewParameters parameters;
    parameters.eKind = optics::ViewKind::Panorama;
    parameters.dAngleDeg = 90;
    parameters.iWidth = 360;
    parameters.iHeight = 90;
    const Colour there = ColourOf(*optics::View(parameters).Direction({180.5 / 360, 45.5 / 90}));
    EXPECT_TRUE(
        m_images.AwaitOne([&](const auto& image) { return Near(image.At(0.5, 0.5), there, 5); }));
    RvWideScan read{};
    ASSERT_EQ(RV(RV_GetFishEyeCorrectPara)(m_player.Id(), view, 3, &read, sizeof(read)), 0);
    EXPECT_EQ(read.iScanParam, 77);
    EXPECT_EQ(read.fAngle, 90.0F);
}

TEST_F(Views, PtzRecordComesBackAsItWasSetWithItsZoomClamped)
{
    const int view = m_player.AddView(RV_MODE_PTZ);
    RvPtz ptz{11, 12, 4000, 6000, 20000, {13, 14, 15}};
    ASSERT_EQ(RV(RV_SetFishEyeCorrectPara)(m_player.Id(), view, 1, &ptz, sizeof(ptz)), 0);
    RvPtz read{};
    ASSERT_EQ(RV(RV_GetFishEyeCorrectPara)(m_player.Id(), view, 1, &read, sizeof(read)), 0);
    ptz.iZoom = 10000;
    EXPECT_EQ(std::memcmp(&ptz, &read, sizeof(ptz)), 0);
    ptz.iZoom = -5000;
    ASSERT_EQ(RV(RV_SetFishEyeCorrectPara)(m_player.Id(), view, 1, &ptz, sizeof(ptz)), 0);
    ASSERT_EQ(RV(RV_GetFishEyeCorrectPara)(m_player.Id(), view, 1, &read, sizeof(read)), 0);
    EXPECT_EQ(read.iZoom, 500);
}

TEST_F(Views, CentreOutsideTheCircleIsNotTaken)
{
    const int view = m_player.AddView(RV_MODE_PTZ, 3, 5000, 7500);
    RvPtz outside{0, 0, 0, 0, 10000, {}};
    EXPECT_EQ(RV(RV_SetFishEyeCorrectPara)(m_player.Id(), view, 1, &outside, sizeof(outside)), -2);
    RvPtz read{};
    ASSERT_EQ(RV(RV_GetFishEyeCorrectPara)(m_player.Id(), view, 1, &read, sizeof(read)), 0);
    EXPECT_EQ(read.iPositionX, 5000);
    EXPECT_EQ(read.iPositionY, 7500);
    RvPtz rim{0, 0, 5000, 10000, 10000, {}};
    EXPECT_EQ(RV(RV_SetFishEyeCorrectPara)(m_player.Id(), view, 1, &rim, sizeof(rim)), 0);
    const int corner = std::numeric_limits<int>::min();
    RvPtz far{0, 0, corner, corner, 10000, {}};
    EXPECT_EQ(RV(RV_SetFishEyeCorrectPara)(m_player.Id(), view, 1, &far, sizeof(far)), -2);
}

// A client that reads, changes the zoom and writes must not be told that it has left the circle.
TEST_F(Views, CreatedOutsideTheCircleStandsAtTheRimAndCanBeSteeredFromThere)
{
    for (const auto& [x, y] : {std::pair{0, 0}, {0, 4218}, {10000, 10000}, {-90000, 5000}}) {
        const int view = m_player.AddView(RV_MODE_PTZ, 3, x, y);
        RvPtz ptz{};
        ASSERT_EQ(RV(RV_GetFishEyeCorrectPara)(m_player.Id(), view, 1, &ptz, sizeof(ptz)), 0);
        const double right = ptz.iPositionX - 5000;
        const double down = ptz.iPositionY - 5000;
        EXPECT_NEAR(std::hypot(right, down), 5000, 2);
        EXPECT_NEAR(std::atan2(right, down), std::atan2(x - 5000, y - 5000), 0.001);
        ptz.iZoom = 4000;
        EXPECT_EQ(RV(RV_SetFishEyeCorrectPara)(m_player.Id(), view, 1, &ptz, sizeof(ptz)), 0);
    }
}

TEST_F(Views, AnglesThatAreNoNumbersAreRefused)
{
    const int view = m_player.AddView(RV_MODE_180);
    for (const float angle :
         {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity()}) {
        RvWideScan wide{0, angle};
        EXPECT_EQ(RV(RV_SetFishEyeCorrectPara)(m_player.Id(), view, 3, &wide, sizeof(wide)), -1);
    }
    RvWideScan huge{0, -1e30F};
    EXPECT_EQ(RV(RV_SetFishEyeCorrectPara)(m_player.Id(), view, 3, &huge, sizeof(huge)), 0);
}

TEST_F(Views, ParameterKindMustFitTheView)
{
    const int ptzView = m_player.AddView(RV_MODE_PTZ);
    const int wideView = m_player.AddView(RV_MODE_PANORAMA);
    const int latView = m_player.AddView(RV_MODE_LAT);
    RvPtz ptz{0, 0, 5000, 5000, 10000, {}};
    RvWideScan wide{};
    const int id = m_player.Id();
    EXPECT_EQ(RV(RV_SetFishEyeCorrectPara)(id, wideView, 1, &ptz, sizeof(ptz)), -1);
    EXPECT_EQ(RV(RV_SetFishEyeCorrectPara)(id, ptzView, 3, &wide, sizeof(wide)), -1);
    EXPECT_EQ(RV(RV_GetFishEyeCorrectPara)(id, latView, 3, &wide, sizeof(wide)), -1);
    EXPECT_EQ(RV(RV_GetFishEyeCorrectPara)(id, ptzView, 2, &ptz, sizeof(ptz)), -1);
    EXPECT_EQ(RV(RV_GetFishEyeCorrectPara)(id, ptzView, 1, &ptz, 31), -1);
    EXPECT_EQ(RV(RV_GetFishEyeCorrectPara)(id, ptzView, 1, nullptr, sizeof(ptz)), -1);
    EXPECT_EQ(RV(RV_GetFishEyeCorrectPara)(id, -1, 1, &ptz, sizeof(ptz)), -1);
    EXPECT_EQ(RV(RV_GetFishEyeCorrectPara)(-1, ptzView, 1, &ptz, sizeof(ptz)), -1);
}

TEST_F(Views, CircleOfTheFirstPicturesIsFound)
{
    ClipOptions options;
    options.width = 640;
    options.height = 480;
    options.pictures = 3;
    options.paint = [](int, int x, int y) {
        const double rho = std::hypot(x - 300.0, y - 250.0) / 200.0;
        return rho <= 1.0 ? Colour{150, 140, 130} : Colour{8, 8, 8};
    };
    Images images;
    TestPlayer player("AUTO", nullptr, /*search=*/true);
    ASSERT_EQ(player.Listen(player.Fisheye(), images), 0);
    player.Play();
    ASSERT_EQ(player.Put(MakeClip(options)), 0);
    player.End();
    ASSERT_EQ(images.Await(1).width, 256);
    RvLens lens{};
    ASSERT_EQ(RV(RV_PlayerControl)(player.Id(), RV_CONTROL_GET_LENS, &lens, sizeof(lens)), 0);
    EXPECT_NEAR(lens.dCentreX, 300, 1.0);
    EXPECT_NEAR(lens.dCentreY, 250, 1.0);
    EXPECT_NEAR(lens.dCircleRadius, 200, 1.5);
    EXPECT_EQ(lens.dFieldOfView, 180.0);
    EXPECT_EQ(lens.iWidth, 640);
}

TEST_F(Views, CircleThatOnlyTheFirstPictureShowedIsGivenUpAndAnotherStreamsIsFound)
{
    ClipOptions options;
    options.width = options.height = 480;
    options.pictures = 8;
    double radius = 200.0;
    options.paint = [&](int picture, int x, int y) {
        const double rho = std::hypot(x - 240.0, y - 240.0);
        return rho <= (picture == 0 ? 120.0 : radius) ? Colour{150, 140, 130} : Colour{8, 8, 8};
    };
    Images images;
    TestPlayer player("AUTO", nullptr, /*search=*/true);
    ASSERT_EQ(player.Listen(player.Fisheye(), images), 0);
    const auto radiusAfter = [&](int pictures) {
        for (int i = 0; i < pictures; ++i) {
            const int before = images.Count();
            RV(RV_StepForward)(player.Id());
            images.Await(before + 1);
        }
        RvLens lens{};
        RV(RV_PlayerControl)(player.Id(), RV_CONTROL_GET_LENS, &lens, sizeof(lens));
        return lens.dCircleRadius;
    };
    ASSERT_EQ(player.Put(MakeClip(options)), 0);
    ASSERT_EQ(player.End(), 0);
    EXPECT_NEAR(radiusAfter(1), 120, 1.5);
    EXPECT_NEAR(radiusAfter(7), 200, 1.5);
    radius = 160.0;
    const Bytes another = MakeClip(options);
    while (player.Put(another) == RV_BUFFER_FULL)
        std::this_thread::yield();
    EXPECT_NEAR(radiusAfter(8), 160, 1.5);
    player.Delete();
}

TEST_F(Views, CircleIsLookedForAnewWhenTheLensIsSet)
{
    ClipOptions options;
    options.width = options.height = 240;
    options.pictures = 75;
    options.paint = [](int picture, int x, int y) {
        const bool lit = picture >= 70 && std::hypot(x - 120.0, y - 120.0) <= 100.0;
        return lit ? Colour{150, 140, 130} : Colour{8, 8, 8};
    };
    Images images;
    TestPlayer player("AUTO", nullptr, /*search=*/true);
    ASSERT_EQ(player.Listen(player.Fisheye(), images), 0);
    ASSERT_EQ(player.Put(MakeClip(options)), 0);
    ASSERT_EQ(player.End(), 0);
    const auto step = [&](int pictures) {
        for (int i = 0; i < pictures; ++i) {
            const int before = images.Count();
            RV(RV_StepForward)(player.Id());
            ASSERT_EQ(images.Await(before + 1).width, 256);
        }
    };
    step(73);  // in the dark beyond the last search of a stream
    EXPECT_EQ(player.Lens().dCircleRadius, 120);
    RvLens find{};
    find.dCentreX = find.dCentreY = std::numeric_limits<double>::quiet_NaN();
    const int before = images.Count();
    ASSERT_EQ(player.SetLens(find), 0);
    ASSERT_EQ(images.Await(before + 1).width, 256);
    step(1);
    EXPECT_NEAR(player.Lens().dCircleRadius, 100, 1.5);
    player.Delete();
}

TEST_F(Views, LensThatCannotBeIsRefusedAndTheOneInForceStays)
{
    RvLens lens{};
    lens.iSize = sizeof(lens);
    lens.dCentreX = lens.dCentreY = 100;
    lens.dCircleRadius = 90;
    const int id = m_player.Id();
    ASSERT_EQ(RV(RV_PlayerControl)(id, RV_CONTROL_SET_LENS, &lens, sizeof(lens)), 0);
    for (const double bad : {std::numeric_limits<double>::quiet_NaN(), -1.0, 400.0}) {
        RvLens wrong = lens;
        wrong.dFieldOfView = bad;
        EXPECT_EQ(RV(RV_PlayerControl)(id, RV_CONTROL_SET_LENS, &wrong, sizeof(wrong)), -1) << bad;
    }
    RvLens wrong = lens;
    wrong.iModel = 6;
    EXPECT_EQ(RV(RV_PlayerControl)(id, RV_CONTROL_SET_LENS, &wrong, sizeof(wrong)), -1);
    wrong = lens;
    wrong.iWidth = wrong.iHeight = 16385;  // larger than any picture
    EXPECT_EQ(RV(RV_PlayerControl)(id, RV_CONTROL_SET_LENS, &wrong, sizeof(wrong)), -1);
    wrong = lens;
    wrong.iSize = 0;
    EXPECT_EQ(RV(RV_PlayerControl)(id, RV_CONTROL_SET_LENS, &wrong, sizeof(wrong)), -1);
    EXPECT_EQ(RV(RV_PlayerControl)(id, RV_CONTROL_SET_LENS, &lens, 615), -1);
    EXPECT_EQ(RV(RV_PlayerControl)(id, 99, &lens, sizeof(lens)), -1);
    RvLens read{};
    ASSERT_EQ(RV(RV_PlayerControl)(id, RV_CONTROL_GET_LENS, &read, sizeof(read)), 0);
    EXPECT_EQ(read.dCircleRadius, 90);
}

/// Measured on a picture of 1024 x 1024 that its circle fills.
RvLens LensOf1024()
{
    RvLens lens{};
    lens.iSize = sizeof(lens);
    lens.iWidth = lens.iHeight = 1024;
    lens.dCentreX = lens.dCentreY = 511.5;
    lens.dCircleRadius = 512;
    return lens;
}

TEST_F(Views, LensMeasuredOnALargerPictureIsScaled)
{
    RvLens lens = LensOf1024();
    ASSERT_EQ(RV(RV_PlayerControl)(m_player.Id(), RV_CONTROL_SET_LENS, &lens, sizeof(lens)), 0);
    ASSERT_EQ(m_player.Listen(m_player.Fisheye(), m_images), 0);
    Feed();
    ASSERT_EQ(m_images.Await(1).width, 256);
    RvLens read{};
    ASSERT_EQ(RV(RV_PlayerControl)(m_player.Id(), RV_CONTROL_GET_LENS, &read, sizeof(read)), 0);
    EXPECT_EQ(read.iWidth, 512);
    EXPECT_NEAR(read.dCentreX, 255.5, 1e-9);
    EXPECT_NEAR(read.dCircleRadius, 256, 1e-9);
    EXPECT_TRUE(
        Near(m_images.Await(1).At(0.9, 0.5), ColourOf(optics::FisheyeDirection({0.9, 0.5})), 6));
}

TEST_F(Views, LensMeasuredOnAnotherSizeFollowsAChangeOfResolution)
{
    RvLens lens = LensOf1024();
    ASSERT_EQ(RV(RV_PlayerControl)(m_player.Id(), RV_CONTROL_SET_LENS, &lens, sizeof(lens)), 0);
    ASSERT_EQ(m_player.Listen(m_player.Fisheye(), m_images), 0);
    ClipOptions narrow = FisheyeClip();
    narrow.width = 192;
    narrow.height = 256;
    narrow.firstPicture = narrow.pictures;
    narrow.paint = [paint = narrow.paint](int picture, int x, int y) {
        return paint(picture, x * 512 / 192, y * 512 / 256);
    };
    ASSERT_EQ(m_player.Put(Clip()), 0);
    ASSERT_EQ(m_player.Put(MakeClip(narrow)), 0);
    ASSERT_EQ(m_player.End(), 0);
    for (const auto& [width, height] : {std::pair{512, 512}, {192, 256}}) {
        for (int i = 0; i < narrow.pictures; ++i) {  // paused: a step shows one more
            const int before = m_images.Count();
            ASSERT_EQ(RV(RV_StepForward)(m_player.Id()), 0);
            ASSERT_EQ(m_images.Await(before + 1).width, 256);
        }
        RvLens read{};
        ASSERT_EQ(RV(RV_PlayerControl)(m_player.Id(), RV_CONTROL_GET_LENS, &read, sizeof(read)), 0);
        EXPECT_EQ(read.iWidth, width);
        EXPECT_EQ(read.iHeight, height);
        EXPECT_NEAR(read.dCentreX, (width - 1) / 2.0, 1e-9);
        EXPECT_NEAR(read.dCentreY, (height - 1) / 2.0, 1e-9);
        EXPECT_NEAR(read.dFocalY / read.dFocalX, double(height) / width, 1e-9);
        const Images::Image image = m_images.Await(1);
        for (const optics::Point& point : {optics::Point{0.9, 0.5}, {0.5, 0.9}, {0.3, 0.2}})
            EXPECT_TRUE(
                Near(image.At(point.x, point.y), ColourOf(optics::FisheyeDirection(point)), 8))
                << width << ": " << point.x << " " << point.y;
    }
}

class EveryLens : public Views, public testing::WithParamInterface<int>
{};

/// Measured on a picture twice as large, off its middle.
TEST_P(EveryLens, ShowsTheDirectionsThatItsModelSays)
{
    optics::LensParameters parameters;
    parameters.eModel = static_cast<optics::LensModel>(GetParam());
    parameters.stCentre = {520, 500};
    RvLens record{};
    if (parameters.eModel == optics::LensModel::Table) {
        parameters.astTable = {{{0, 0}, {30, 180}, {60, 320}, {90, 420}, {105, 460}}};
        parameters.iTableLength = 5;
    } else {
        parameters.dFovDeg = 190;
        if (parameters.eModel == optics::LensModel::KannalaBrandt) {
            parameters.dFocalX = 310;
            parameters.dFocalY = 320;
            parameters.adK = {-0.12, 0.02, -0.004, 0.0004};
        } else {
            parameters.dCircleRadius = 480;
        }
    }
    record.iModel = GetParam();
    record.iWidth = record.iHeight = 1024;
    record.dFieldOfView = parameters.dFovDeg;
    record.dCentreX = parameters.stCentre.x;
    record.dCentreY = parameters.stCentre.y;
    record.dFocalX = parameters.dFocalX;
    record.dFocalY = parameters.dFocalY;
    record.dCircleRadius = parameters.dCircleRadius;
    std::copy(parameters.adK.begin(), parameters.adK.end(), record.adK);
    record.iTableLength = parameters.iTableLength;
    for (int i = 0; i < parameters.iTableLength; ++i) {
        record.adTable[i][0] = parameters.astTable[i].dDeg;
        record.adTable[i][1] = parameters.astTable[i].dRadius;
    }
    ASSERT_EQ(m_player.SetLens(record), 0);
    const int view = m_player.AddView(RV_MODE_PTZ, RV_MOUNT_CEILING, 6000, 4200, 6000);
    ASSERT_EQ(m_player.Listen(view, m_images, 320, 240), 0);
    Feed(m_player, MakeClip(LensClip(parameters, 0.5)));
    const Images::Image image = m_images.Await(1);
    ASSERT_EQ(image.width, 320);
    optics::ViewParameters shown;
    shown.eKind = optics::ViewKind::PanTiltZoom;
    shown.stCentre = {0.6, 0.42};
    shown.dZoom = 6000;
    ExpectView(image, shown);

    const RvLens read = m_player.Lens();
    EXPECT_EQ(read.iModel, GetParam());
    EXPECT_EQ(read.iWidth, 512);
    EXPECT_EQ(read.dFieldOfView, parameters.dFovDeg);
    EXPECT_NEAR(read.dCentreX, 259.75, 1e-9);
    EXPECT_NEAR(read.dCentreY, 249.75, 1e-9);
    EXPECT_EQ(read.adK[3], parameters.adK[3]);
    EXPECT_EQ(read.iTableLength, parameters.iTableLength);
    EXPECT_EQ(read.adTable[4][0], parameters.astTable[4].dDeg);
    EXPECT_EQ(read.adTable[4][1], parameters.astTable[4].dRadius / 2);
}

constexpr const char* MODELS[] = {"Equidistant",  "Stereographic", "EquisolidAngle",
                                  "Orthographic", "KannalaBrandt", "Table"};

INSTANTIATE_TEST_SUITE_P(All, EveryLens, testing::Range(0, 6),
                         [](const auto& info) { return std::string(MODELS[info.param]); });

TEST_F(Views, LensOfTheStreamDescriptionIsInForce)
{
    constexpr std::uint8_t EQUISOLID = 2;
    TestPlayer player({0, 0, 0, 0, 2200 & 0xFF, 2200 >> 8, EQUISOLID, /*no search*/ 1});
    EXPECT_EQ(player.Lens().dFieldOfView, 220);
    optics::LensParameters parameters;
    parameters.eModel = optics::LensModel::EquisolidAngle;
    parameters.dFovDeg = 220;
    parameters.stCentre = {255.5, 255.5};
    parameters.dCircleRadius = 256;
    const int view = player.AddView(RV_MODE_PTZ, RV_MOUNT_CEILING, 5000, 8500);
    auto& images = Called<Images>();
    ASSERT_EQ(player.Listen(view, images, 320, 240), 0);
    Feed(player, MakeClip(LensClip(parameters, 1.0)));
    const Images::Image image = images.Await(1);
    ASSERT_EQ(image.width, 320);
    optics::ViewParameters shown;
    shown.eKind = optics::ViewKind::PanTiltZoom;
    shown.stCentre = {0.5, 0.85};
    ExpectView(image, shown, 220 * PI / 180);
    EXPECT_EQ(player.Lens().iModel, EQUISOLID);
    EXPECT_EQ(player.Lens().dFieldOfView, 220);
}

TEST_F(Views, FieldOfViewOfTheStreamDescriptionIsClamped)
{
    const TestPlayer wide({0, 0, 0, 0, 0xFF, 0xFF, 0, 0});
    EXPECT_EQ(wide.Lens().dFieldOfView, 235);
    const TestPlayer narrow({0, 0, 0, 0, 1, 0, 0, 0});
    EXPECT_EQ(narrow.Lens().dFieldOfView, 90);
}

TEST_F(Views, LensSetAfterAPictureIsDrawnWithoutANewOne)
{
    ASSERT_EQ(m_player.Listen(m_player.Fisheye(), m_images), 0);
    ASSERT_EQ(m_player.Put(Clip()), 0);
    ASSERT_EQ(RV(RV_StepForward)(m_player.Id()), 0);
    const auto shows = [&](const optics::Point& point) {
        return m_images.AwaitOne([&](const auto& image) {
            return Near(image.At(0.9, 0.5), ColourOf(optics::FisheyeDirection(point)), 5);
        });
    };
    EXPECT_TRUE(shows({0.9, 0.5}));
    RvLens lens{};
    lens.dCentreX = lens.dCentreY = 255.5;
    lens.dCircleRadius = 128;
    ASSERT_EQ(m_player.SetLens(lens), 0);
    EXPECT_TRUE(shows({0.7, 0.5})) << "half as far out";
}

TEST_F(Views, MirroredAndFlippedCamerasAreShownTheRightWayRound)
{
    auto& sourceImages = Called<Images>();
    const int fisheye = m_player.Fisheye();
    const int source = m_player.AddView(RV_MODE_SOURCE);
    ASSERT_EQ(m_player.Listen(fisheye, m_images), 0);
    ASSERT_EQ(m_player.Listen(source, sourceImages), 0);
    Feed();
    ASSERT_EQ(m_images.Await(1).width, 256);
    RvOrientation orientation{12, 1, 1};
    const int id = m_player.Id();
    ASSERT_EQ(RV(RV_PlayerControl)(id, RV_CONTROL_SET_ORIENTATION, &orientation, 12), 0);
    const Colour there = ColourOf(optics::FisheyeDirection({0.7, 0.4}));
    const auto turned = [&](const Images::Image& image) {
        return Near(image.At(0.3, 0.6), there, 6);
    };
    EXPECT_TRUE(m_images.AwaitOne(turned));
    EXPECT_TRUE(sourceImages.AwaitOne(turned));
    RvOrientation read{};
    ASSERT_EQ(RV(RV_PlayerControl)(id, RV_CONTROL_GET_ORIENTATION, &read, 12), 0);
    EXPECT_EQ(read.iMirrored, 1);
    EXPECT_EQ(read.iFlipped, 1);
    EXPECT_EQ(RV(RV_PlayerControl)(id, RV_CONTROL_SET_ORIENTATION, &orientation, 8), -1);
}

TEST_F(Views, CaptureGivesWhatTheViewShows)
{
    const int view = m_player.AddView(RV_MODE_PTZ, 3, 5000, 7500, 5000);
    ASSERT_EQ(m_player.Listen(view, m_images, 64, 48), 0);
    ASSERT_EQ(m_player.Put(Clip()), 0);
    ASSERT_EQ(RV(RV_StepForward)(m_player.Id()), 0);  // no further picture comes between
    const Images::Image image = m_images.Await(1);
    Bytes pixels(64 * 48 * 4);
    int width = 0;
    int height = 0;
    EXPECT_EQ(RV(RV_CapturePic)(m_player.Id(), view, pixels.data(), 10, &width, &height), -1);
    EXPECT_EQ(width, 64);
    EXPECT_EQ(height, 48);
    ASSERT_EQ(RV(RV_CapturePic)(m_player.Id(), view, pixels.data(), static_cast<int>(pixels.size()),
                                &width, &height),
              0);
    EXPECT_EQ(pixels, image.pixels);
    EXPECT_EQ(RV(RV_CapturePic)(m_player.Id(), 987654, pixels.data(),
                                static_cast<int>(pixels.size()), &width, &height),
              -1);
}

TEST_F(Views, CapturedFilesHoldThePicture)
{
    ASSERT_EQ(m_player.Listen(m_player.Fisheye(), m_images, 64, 64), 0);
    Feed();
    ASSERT_EQ(m_images.Await(1).width, 64);
    const std::string base = testing::TempDir() + "engine_capture" + std::to_string(getpid());
    const struct
    {
        const char* ending;
        const char* magic;
    } kinds[] = {{".png", "\x89PNG"}, {".bmp", "BM"}, {".jpg", "\xFF\xD8\xFF"}};
    for (const auto& kind : kinds) {
        const std::string file = base + kind.ending;
        ASSERT_EQ(RV(RV_CapturePicture)(m_player.Id(), 0, file.c_str()), 0) << file;
        FILE* opened = fopen(file.c_str(), "rb");
        ASSERT_TRUE(opened);
        char begin[4] = {};
        EXPECT_EQ(fread(begin, 1, 4, opened), 4U);
        fclose(opened);
        remove(file.c_str());
        EXPECT_EQ(std::memcmp(begin, kind.magic, strlen(kind.magic)), 0);
    }
    EXPECT_EQ(RV(RV_CapturePicture)(m_player.Id(), 0, (base + ".txt").c_str()), -1);
    EXPECT_EQ(RV(RV_CapturePicture)(m_player.Id(), 0, "/no/such/place.png"), -1);
    EXPECT_EQ(RV(RV_CaptureBmpPic)(m_player.Id(), (base + ".png").c_str()), -1);
    EXPECT_EQ(RV(RV_CaptureBmpPic)(m_player.Id(), (base + ".bmp").c_str()), 0);
    remove((base + ".bmp").c_str());
}

// ---- Callbacks and lifetimes

struct Clearing
{
    int view = 0;
    std::atomic<int> calls{0};
    std::promise<void> called;

    static void ClearMe(int player, int correct, void*, unsigned int, unsigned int, void* self)
    {
        auto* clearing = static_cast<Clearing*>(self);
        RV(RV_SetFishEyeCorrectCallBack)(player, correct, nullptr, nullptr);
        if (++clearing->calls == 1)
            clearing->called.set_value();
    }
};

TEST_F(Views, CallbackMayClearItself)
{
    auto& clearing = Called<Clearing>();
    const int view = m_player.AddView(RV_MODE_PTZ);
    const int other = m_player.AddView(RV_MODE_LAT);
    RV(RV_SetFishEyeCorrectCallBack)(m_player.Id(), view, Clearing::ClearMe, &clearing);
    ASSERT_EQ(m_player.Listen(other, m_images), 0);
    Feed();
    ASSERT_EQ(clearing.called.get_future().wait_for(PATIENCE), std::future_status::ready);
    ASSERT_EQ(m_images.Await(1).width, 256);
    EXPECT_EQ(clearing.calls, 1);
}

struct Deleting : std::enable_shared_from_this<Deleting>
{
    std::promise<int> deleted;
    static void DeletePlayer(int player, int, void*, unsigned int, unsigned int, void* self)
    {
        // Nobody waits for this call once its player is gone.
        const auto kept = static_cast<Deleting*>(self)->shared_from_this();
        kept->deleted.set_value(RV(RV_DeletePlayer)(player));
    }
};

TEST_F(Views, CallbackMayDeleteItsPlayer)
{
    auto& deleting = Called<Deleting>();
    const int view = m_player.AddView(RV_MODE_PTZ);
    RV(RV_SetFishEyeCorrectCallBack)(m_player.Id(), view, Deleting::DeletePlayer, &deleting);
    Feed();
    auto result = deleting.deleted.get_future();
    ASSERT_EQ(result.wait_for(PATIENCE), std::future_status::ready);
    EXPECT_EQ(result.get(), 0);
    EXPECT_EQ(m_player.Delete(), -1);
}

struct Blocking
{
    std::promise<void> entered;
    std::promise<void> release;
    std::atomic<bool> left{false};
    std::atomic<bool> first{true};
    static void Block(int, int, void*, unsigned int, unsigned int, void* self)
    {
        auto* blocking = static_cast<Blocking*>(self);
        if (!blocking->first.exchange(false))
            return;
        blocking->entered.set_value();
        blocking->release.get_future().wait();
        blocking->left = true;
    }
};

/// Waits until a thread of this process sleeps, or says that it is done.
void AwaitAsleep(pid_t thread, const std::atomic<bool>& done)
{
    char state = 0;
    while (!done && state != 'S') {
        std::ifstream stat("/proc/self/task/" + std::to_string(thread) + "/stat");
        std::string word;
        stat >> word >> word >> state;
    }
}

/// Runs a call while the callback is held up; whether the call came back only after the callback.
template <typename Call>
bool WaitsFor(Blocking& blocking, Call&& call)
{
    blocking.entered.get_future().wait();
    std::promise<pid_t> id;
    std::atomic<bool> done{false};
    bool waited = false;
    std::thread caller([&] {
        id.set_value(gettid());
        call();
        waited = blocking.left;
        done = true;
    });
    AwaitAsleep(id.get_future().get(), done);
    blocking.release.set_value();
    caller.join();
    return waited;
}

TEST_F(Views, ClearingACallbackWaitsUntilItHasReturned)
{
    auto& blocking = Called<Blocking>();
    const int view = m_player.AddView(RV_MODE_PTZ);
    RV(RV_SetFishEyeCorrectCallBack)(m_player.Id(), view, Blocking::Block, &blocking);
    Feed();
    EXPECT_TRUE(WaitsFor(blocking, [&] {
        RV(RV_SetFishEyeCorrectCallBack)(m_player.Id(), view, nullptr, nullptr);
    }));
}

TEST_F(Views, DeletingAViewWaitsForItsCallback)
{
    auto& blocking = Called<Blocking>();
    const int view = m_player.AddView(RV_MODE_PTZ);
    RV(RV_SetFishEyeCorrectCallBack)(m_player.Id(), view, Blocking::Block, &blocking);
    Feed();
    EXPECT_TRUE(WaitsFor(blocking,
                         [&] { EXPECT_EQ(RV(RV_DeleteFishEyeCorrect)(m_player.Id(), view), 0); }));
    EXPECT_EQ(RV(RV_DeleteFishEyeCorrect)(m_player.Id(), view), -1);
}

/// While the picture after a change of resolution waits to be drawn.
TEST_F(Views, CaptureNeverShowsAPictureThroughTheLensOfAnother)
{
    auto& blocking = Called<Blocking>();
    const int view = m_player.Fisheye();
    ASSERT_EQ(RV(RV_SetPlayRectEx)(m_player.Id(), view, 128, 128), 0);
    RV(RV_SetFishEyeCorrectCallBack)(m_player.Id(), view, Blocking::Block, &blocking);
    ClipOptions small = FisheyeClip(256);
    small.pictures = 1;
    ASSERT_EQ(m_player.Put(MakeClip(small)), 0);
    ASSERT_EQ(m_player.Put(Clip()), 0);
    ASSERT_EQ(m_player.End(), 0);
    ASSERT_EQ(RV(RV_StepForward)(m_player.Id()), 0);
    blocking.entered.get_future().wait();
    ASSERT_EQ(RV(RV_StepForward)(m_player.Id()), 0);
    while (m_player.Describe().llDecoded < 3)  // the second one has its time behind it
        std::this_thread::yield();
    Images::Image captured{128, 128, Bytes(128 * 128 * 4)};
    ASSERT_EQ(RV(RV_CapturePic)(m_player.Id(), view, captured.pixels.data(), 128 * 128 * 4,
                                &captured.width, &captured.height),
              0);
    EXPECT_EQ(m_player.Describe().iWidth, 256);
    blocking.release.set_value();
    for (const double x : {0.1, 0.3, 0.9}) {
        const Colour there = ColourOf(optics::FisheyeDirection({x, 0.5}));
        EXPECT_TRUE(Near(captured.At(x, 0.5), there, 8)) << x;
    }
}

struct Turning
{
    std::atomic<int> calls{0};
    static void Turn(int player, int correct, void*, unsigned int, unsigned int, void* self)
    {
        RvWideScan wide{0, static_cast<float>(++static_cast<Turning*>(self)->calls)};
        RV(RV_SetFishEyeCorrectPara)(player, correct, RV_KIND_WIDE_SCAN, &wide, sizeof(wide));
    }
};

TEST_F(Views, EndIsToldThoughAViewChangesAllTheTime)
{
    auto& turning = Called<Turning>();
    auto& ended = Called<std::promise<void>>();
    const int view = m_player.AddView(RV_MODE_PANORAMA);
    RV(RV_SetPlayRectEx)(m_player.Id(), view, 64, 16);
    RV(RV_SetFishEyeCorrectCallBack)(m_player.Id(), view, Turning::Turn, &turning);
    RV(RV_RegisterNotifyPlayToEnd)
    (
        m_player.Id(),
        [](int, void* promise) { static_cast<std::promise<void>*>(promise)->set_value(); }, &ended);
    Feed();
    EXPECT_EQ(ended.get_future().wait_for(PATIENCE), std::future_status::ready);
}

/// Sets on its view what is set already.
struct Insisting
{
    std::atomic<int> calls{0};
    static void Set(int player, int correct, void*, unsigned int width, unsigned int height,
                    void* self)
    {
        ++static_cast<Insisting*>(self)->calls;
        RvPtz ptz{};
        RvWideScan wide{};
        if (RV(RV_GetFishEyeCorrectPara)(player, correct, RV_KIND_PTZ, &ptz, sizeof(ptz)) == 0)
            RV(RV_SetFishEyeCorrectPara)(player, correct, RV_KIND_PTZ, &ptz, sizeof(ptz));
        if (RV(RV_GetFishEyeCorrectPara)(player, correct, RV_KIND_WIDE_SCAN, &wide, sizeof(wide)) ==
            0)
            RV(RV_SetFishEyeCorrectPara)(player, correct, RV_KIND_WIDE_SCAN, &wide, sizeof(wide));
        RvCreateCorrect creation{};
        creation.iSize = sizeof(creation);
        creation.iCreateType = RV_MOUNT_FLOOR;
        RV(RV_SetFishEyeCorrectEnable)(player, 1, &creation);
        RV(RV_SetPlayRectEx)(player, correct, static_cast<int>(width), static_cast<int>(height));
        RvOrientation orientation{sizeof(orientation), 0, 0};
        RV(RV_PlayerControl)
        (player, RV_CONTROL_SET_ORIENTATION, &orientation, sizeof(orientation));
    }
};

TEST_F(Views, NothingIsDrawnAgainWhenNothingChanges)
{
    auto& insisting = Called<Insisting>();
    for (const int view : {m_player.Fisheye(RV_MOUNT_FLOOR), m_player.AddView(RV_MODE_PTZ),
                           m_player.AddView(RV_MODE_PANORAMA)}) {
        RV(RV_SetPlayRectEx)(m_player.Id(), view, 48, 48);
        RV(RV_SetFishEyeCorrectCallBack)(m_player.Id(), view, Insisting::Set, &insisting);
    }
    const int turned = m_player.AddView(RV_MODE_PANORAMA);
    ASSERT_EQ(m_player.Listen(turned, m_images, 48, 48), 0);
    auto& ended = Called<std::promise<void>>();
    RV(RV_RegisterNotifyPlayToEnd)
    (
        m_player.Id(),
        [](int, void* promise) { static_cast<std::promise<void>*>(promise)->set_value(); }, &ended);
    Feed();
    ASSERT_EQ(ended.get_future().wait_for(PATIENCE), std::future_status::ready);
    const int calls = insisting.calls;
    EXPECT_GE(calls, 3);
    // What wants to be drawn is drawn together with the view that turns.
    for (int i = 1; i <= 5; ++i) {
        const int before = m_images.Count();
        RvWideScan wide{0, static_cast<float>(i)};
        RV(RV_SetFishEyeCorrectPara)
        (m_player.Id(), turned, RV_KIND_WIDE_SCAN, &wide, sizeof(wide));
        ASSERT_EQ(m_images.Await(before + 1).width, 48);
        EXPECT_EQ(m_images.Count(), before + 1);
    }
    EXPECT_EQ(insisting.calls, calls);
}

}  // namespace
}  // namespace test
