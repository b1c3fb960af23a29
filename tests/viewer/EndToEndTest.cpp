// The viewer as its user has it: X events in, pictures of its windows out, held against the room
// that the camera films.
#include <algorithm>
#include <cmath>
#include <vector>

#include <gtest/gtest.h>

#include <QAction>
#include <QDir>
#include <QFile>
#include <QSettings>
#include <QTemporaryDir>

#include "tests/viewer/Stage.h"

#include "tools/scene/Paint.h"
#include "tools/scene/Room.h"

#include "viewer/CameraArea.h"
#include "viewer/EngineExtras.h"
#include "viewer/LensDialog.h"
#include "viewer/Manager.h"
#include "viewer/ViewGeometry.h"

namespace {

using stage::Apart;
using stage::Await;
using stage::Now;
using stage::SeenAt;
using stage::ShowsTheTruth;
using viewer::CellWidget;
using viewer::Mount;
using viewer::OverlayKind;
using viewer::PtzView;

constexpr double CONST_RIGHT = stage::CONST_RIGHT;
constexpr double CONST_WORSE = 0.08;  ///< how much less of it a wrong one has, even of bare walls

struct Case
{
    Mount mount;
    int zoom;
};

class Drags : public ::testing::TestWithParam<Case>
{};

TEST_P(Drags, TheGrabbedPointStaysUnderTheCursor)
{
    stage::Viewer viewer(GetParam().mount, "quad");
    viewer.camera().turnTo(1, {viewer.camera().lookOf(1)->centre, GetParam().zoom});
    const QPointF from(0.4, 0.55);
    const QPointF to(0.65, 0.45);
    const PtzView before = Now(viewer, 1);
    const viewer::Direction grabbed = viewer::DirectionAt(before, from);
    stage::Drag(viewer.cell("view", 1), from, to);
    EXPECT_LT(Apart(SeenAt(Now(viewer, 1), grabbed), to), 0.08);
    EXPECT_EQ(viewer.camera().selected(), 1);
    EXPECT_TRUE(ShowsTheTruth(viewer, 1));
}

INSTANTIATE_TEST_SUITE_P(MountsAndZooms, Drags,
                         ::testing::Values(Case{Mount::Ceiling, 10000}, Case{Mount::Ceiling, 2500},
                                           Case{Mount::Ceiling, 600}, Case{Mount::Wall, 10000},
                                           Case{Mount::Wall, 600}, Case{Mount::Floor, 10000},
                                           Case{Mount::Floor, 600}),
                         [](const auto& info) {
                             return viewer::WordOf(info.param.mount).toStdString() +
                                    std::to_string(info.param.zoom);
                         });

TEST(Gestures, TheWheelZoomsAboutTheCursor)
{
    stage::Viewer viewer(Mount::Ceiling, "quad");
    const QPointF cursor(0.7, 0.6);
    const PtzView before = Now(viewer, 0);
    const viewer::Direction there = viewer::DirectionAt(before, cursor);
    stage::Wheel(viewer.cell("view", 0), cursor, 4);
    const PtzView after = Now(viewer, 0);
    EXPECT_NEAR(after.zoom, before.zoom * std::pow(0.85, 4), 30.0);
    EXPECT_LT(Apart(SeenAt(after, there), cursor), 0.02);
    EXPECT_TRUE(ShowsTheTruth(viewer, 0));
}

TEST(Gestures, AnOutlineLeadsItsViewToWhereItIsDragged)
{
    stage::Viewer viewer(Mount::Ceiling, "fisheye+3", OverlayKind::Traced);
    const QPointF start = viewer.camera().lookOf(2)->centre;
    const QPointF end(0.72, 0.45);
    CellWidget& picture = viewer.cell("main");
    stage::Drag(picture, picture.fromSquare(start), picture.fromSquare(end));
    EXPECT_EQ(viewer.camera().selected(), 2);
    EXPECT_LT(Apart(viewer.camera().lookOf(2)->centre, end), 0.01);
    EXPECT_TRUE(ShowsTheTruth(viewer, 2));
}

TEST(Outlines, LieWhereTheViewLooksAlsoAfterADrag)
{
    stage::Viewer viewer(Mount::Ceiling, "fisheye+3", OverlayKind::Traced);
    const QColor red("#ff5a5a");
    viewer.camera().turnTo(0, {viewer.camera().lookOf(0)->centre, 6000});
    EXPECT_TRUE(Await([&] { return stage::Traced(viewer, 0, "main", red) > 0.9; }));
    stage::Drag(viewer.cell("view", 0), {0.3, 0.5}, {0.8, 0.4});
    EXPECT_TRUE(Await([&] { return stage::Traced(viewer, 0, "main", red) > 0.9; }));
}

TEST(Pictures, ThePanoramaIsTheRoomAndNotItsMirrorImage)
{
    for (const Mount mount : {Mount::Ceiling, Mount::Floor}) {
        stage::Viewer viewer(mount, "panorama");
        optics::ViewParameters view;
        view.eKind = optics::ViewKind::Panorama;
        view.eMount = stage::MountOf(mount);
        QImage image;
        EXPECT_TRUE(Await([&] {
            image = stage::Grab(viewer.cell("panorama"));
            return stage::Likeness(image, view, mount) > CONST_RIGHT;
        }));
        EXPECT_LT(stage::Likeness(image.mirrored(true, false), view, mount),
                  stage::Likeness(image, view, mount) - CONST_WORSE);
    }
}

/// A word on a wall of the room, within a piece of the wall that bears nothing else.
struct Sign
{
    scene::Surface wall;
    double left;  ///< metres on the wall, to the right of somebody who faces it
    double right;
    double bottom;
    double top;
};

constexpr Sign CONST_NORTH = {scene::Surface::North, -1.7, 1.9, 1.55, 2.35};
constexpr Sign CONST_EAST = {scene::Surface::East, -0.9, 1.7, 1.55, 2.35};
constexpr Sign CONST_WEST = {scene::Surface::West, -0.7, 1.9, 1.7, 2.5};

/// Where the middle of a sign is in a view, from its left, and how much of it can be read there,
/// 0..1: ink and wall where they are painted.
struct Reading
{
    double x;
    double right;
    double mirrored;  ///< the same of the word seen in a mirror
};

Reading Read(const QImage& image, const optics::View& view, const Sign& sign)
{
    const scene::Room room(view.Parameters().eMount);
    const auto at = [&](double across, double up) {
        return view.Fraction(room.DirectionTo(scene::PointOn(sign.wall, {across, up}))).value();
    };
    const auto inked = [&](double across, double up) {
        constexpr float CONST_DARK = 0.5f;  // between ink and wall, in red
        return scene::PaintAt(sign.wall, scene::PointOn(sign.wall, {across, up})).fRed < CONST_DARK;
    };
    struct Spot
    {
        double red;
        bool ink;
        bool inkInTheMirror;
    };
    std::vector<Spot> spots;
    double mean = 0.0;
    for (double across = sign.left; across < sign.right; across += 0.02) {
        for (double up = sign.bottom; up < sign.top; up += 0.02) {
            const optics::Point place = at(across, up);
            const QPoint pixel(int(place.x * image.width()), int(place.y * image.height()));
            spots.push_back({QColor(image.pixel(pixel)).redF(), inked(across, up),
                             inked(sign.left + sign.right - across, up)});
            mean += spots.back().red;
        }
    }
    mean /= static_cast<double>(spots.size());
    const auto part = [&](bool Spot::*ink) {
        return static_cast<double>(std::count_if(
                   spots.begin(), spots.end(),
                   [&](const Spot& spot) { return spot.*ink == (spot.red < mean); })) /
               static_cast<double>(spots.size());
    };
    return {at((sign.left + sign.right) / 2.0, (sign.bottom + sign.top) / 2.0).x, part(&Spot::ink),
            part(&Spot::inkInTheMirror)};
}

TEST(Pictures, TheRoomsSignsCanBeReadAndStandWhereTheyAre)
{
    const struct
    {
        Mount mount;
        optics::ViewKind kind;
        const char* layout;
        const char* cell;
        const Sign& sign;
        double x;  ///< where its wall is
    } cases[] = {
        // The middle is the foot of the picture, south; who looks south has west on the right.
        {Mount::Ceiling, optics::ViewKind::Panorama, "panorama", "panorama", CONST_WEST, 0.75},
        {Mount::Ceiling, optics::ViewKind::Panorama, "panorama", "panorama", CONST_EAST, 0.25},
        {Mount::Floor, optics::ViewKind::Panorama, "panorama", "panorama", CONST_WEST, 0.75},
        {Mount::Floor, optics::ViewKind::Panorama, "panorama", "panorama", CONST_EAST, 0.25},
        {Mount::Wall, optics::ViewKind::Half, "half180", "half", CONST_NORTH, 0.5}};
    for (const auto& one : cases) {
        stage::Viewer viewer(one.mount, one.layout);
        optics::ViewParameters parameters;
        parameters.eKind = one.kind;
        parameters.eMount = stage::MountOf(one.mount);
        const optics::View view(parameters);
        Reading reading{};
        EXPECT_TRUE(Await([&] {
            reading = Read(stage::Grab(viewer.cell(one.cell)), view, one.sign);
            return reading.right > 0.85;
        })) << reading.right
            << " of " << viewer::WordOf(one.mount).toStdString() << one.x;
        EXPECT_LT(reading.mirrored, reading.right - 0.2);
        EXPECT_NEAR(reading.x, one.x, 0.06);
    }
}

bool ShowsHalf(stage::Viewer& viewer, const QString& name, double degrees)
{
    const Mount mount = viewer.camera().settings().mount;
    optics::ViewParameters view;
    view.eKind = optics::ViewKind::Half;
    view.eMount = stage::MountOf(mount);
    view.dAngleDeg = degrees;
    return Await(
        [&] { return stage::Likeness(stage::Grab(viewer.cell(name)), view, mount) > CONST_RIGHT; });
}

TEST(Pictures, TheTwoHalvesTurnAllTheWayRound)
{
    for (const int way : {1, -1}) {
        stage::Viewer viewer(Mount::Ceiling, "double180");
        for (int i = 1; i <= 4; ++i) {  // 108 degrees each
            const QPointF from(0.5 - way * 0.3, 0.5);
            stage::Drag(viewer.cell("half"), from, from + QPointF(way * 0.6, 0.0));
            EXPECT_TRUE(ShowsHalf(viewer, "half", way * 108 * i)) << way * 108 * i;
            EXPECT_TRUE(ShowsHalf(viewer, "other-half", way * 108 * i + 180)) << way * 108 * i;
        }
    }
}

TEST(Pictures, AWallCameraHasOneHalfWhereOthersHaveTwo)
{
    stage::Viewer viewer(Mount::Wall, "double180");
    EXPECT_FALSE(viewer.cell("other-half").isVisible());
    EXPECT_TRUE(ShowsHalf(viewer, "half", 0));
    EXPECT_GT(viewer.cell("half").width(), viewer.camera().width() * 0.9);
    stage::Drag(viewer.cell("half"), {0.3, 0.5}, {0.5, 0.5});
    EXPECT_TRUE(ShowsHalf(viewer, "half", 36));
    for (int i = 0; i < 2; ++i)  // it ends where there is nothing more to see
        stage::Drag(viewer.cell("half"), {0.1, 0.5}, {0.9, 0.5});
    EXPECT_TRUE(ShowsHalf(viewer, "half", 90));
}

struct Hanging
{
    const char* name;
    const char* filter;
    bool mirrored;
    bool flipped;
};

class Orientations : public ::testing::TestWithParam<Hanging>
{};

TEST_P(Orientations, PicturesGesturesAndOutlinesAreThoseOfTheRoom)
{
    const QString clip =
        stage::Made(QString("room-%1.mkv").arg(GetParam().name),
                    {"-i", stage::RoomClip(Mount::Ceiling), "-vf", GetParam().filter, "-c:v",
                     "libx264", "-qp", "16", "-pix_fmt", "yuv420p"});
    stage::Viewer viewer(clip, "fisheye+3", OverlayKind::Traced);
    if (GetParam().mirrored)
        stage::ActionOf(viewer, "The picture is mirrored").trigger();
    if (GetParam().flipped)
        stage::ActionOf(viewer, "The picture is upside down").trigger();
    EXPECT_TRUE(ShowsTheTruth(viewer, 0));

    const PtzView before = Now(viewer, 0);
    const viewer::Direction grabbed = viewer::DirectionAt(before, {0.4, 0.5});
    stage::Drag(viewer.cell("view", 0), {0.4, 0.5}, {0.6, 0.45});
    EXPECT_LT(Apart(SeenAt(Now(viewer, 0), grabbed), {0.6, 0.45}), 0.08);
    EXPECT_TRUE(ShowsTheTruth(viewer, 0));
    EXPECT_TRUE(Await([&] { return stage::Traced(viewer, 0, "main", "#ff5a5a") > 0.9; }));

    CellWidget& picture = viewer.cell("main");
    const QPointF start = viewer.camera().lookOf(2)->centre;
    stage::Drag(picture, picture.fromSquare(start), picture.fromSquare({0.72, 0.45}));
    EXPECT_LT(Apart(viewer.camera().lookOf(2)->centre, {0.72, 0.45}), 0.01);
    EXPECT_TRUE(ShowsTheTruth(viewer, 2));
}

INSTANTIATE_TEST_SUITE_P(OfTheCamera, Orientations,
                         ::testing::Values(Hanging{"mirrored", "hflip", true, false},
                                           Hanging{"flipped", "vflip", false, true},
                                           Hanging{"turned", "hflip,vflip", true, true}),
                         [](const auto& info) { return info.param.name; });

TEST(Outlines, LieOnThePanoramaAndOnTheFisheyeWhereBothAreShown)
{
    stage::Viewer viewer(Mount::Ceiling, "panorama+fisheye+4", OverlayKind::Traced);
    const QColor red("#ff5a5a");
    viewer.camera().turnTo(0, {{0.55, 0.8}, 6000});
    EXPECT_TRUE(Await([&] { return stage::Traced(viewer, 0, "main", red) > 0.9; }));
    EXPECT_TRUE(Await([&] { return stage::Traced(viewer, 0, "panorama", red) > 0.9; }));
    const QPointF start =
        viewer::ToPanorama(Mount::Ceiling, viewer::FromFishEye(viewer.camera().lookOf(0)->centre));
    stage::Drag(viewer.cell("panorama"), start, start + QPointF(0.1, 0.05));
    const QPointF there =
        viewer::ToPanorama(Mount::Ceiling, viewer::FromFishEye(viewer.camera().lookOf(0)->centre));
    EXPECT_LT(Apart(there, start + QPointF(0.1, 0.05)), 0.02);
    EXPECT_TRUE(Await([&] { return stage::Traced(viewer, 0, "panorama", red) > 0.9; }));
    EXPECT_TRUE(Await([&] { return stage::Traced(viewer, 0, "main", red) > 0.9; }));
}

TEST(Outlines, BeyondTheNumberOfCamerasThatCanHaveThemAreMissedAloud)
{
    constexpr int CONST_FAR = 1000000;  // no player's id
    constexpr int CONST_MANY = 300;
    viewer::Manager& manager = viewer::Manager::instance();
    for (int i = 0; i < CONST_MANY; ++i)
        manager.setOutlines(CONST_FAR + i, [](const DrawOutlines&) {});
    stage::Viewer viewer(Mount::Ceiling, "fisheye+3", OverlayKind::Traced);
    EXPECT_TRUE(viewer.camera().trouble().contains("too many cameras"));
    for (int i = 0; i < CONST_MANY; ++i)
        manager.setOutlines(CONST_FAR + i, nullptr);
    viewer.camera().chooseLayout("fisheye+8");
    EXPECT_TRUE(viewer.camera().trouble().isEmpty());
    EXPECT_TRUE(Await([&] { return stage::Traced(viewer, 0, "main", "#ff5a5a") > 0.9; }));
}

TEST(Pictures, TheTwoHalvesAreBackToBackAndTurnTogether)
{
    stage::Viewer viewer(Mount::Ceiling, "double180");
    EXPECT_TRUE(ShowsHalf(viewer, "half", 0));
    EXPECT_TRUE(ShowsHalf(viewer, "other-half", 180));
    stage::Drag(viewer.cell("other-half"), {0.3, 0.5}, {0.55, 0.5});
    EXPECT_TRUE(ShowsHalf(viewer, "half", 45));
    EXPECT_TRUE(ShowsHalf(viewer, "other-half", 225));
}

TEST(Pictures, ADragTurnsThePanorama)
{
    stage::Viewer viewer(Mount::Ceiling, "panorama");
    stage::Drag(viewer.cell("panorama"), {0.3, 0.5}, {0.55, 0.5});
    optics::ViewParameters view;
    view.eKind = optics::ViewKind::Panorama;
    view.dAngleDeg = 90;
    EXPECT_TRUE(Await([&] {
        return stage::Likeness(stage::Grab(viewer.cell("panorama")), view, Mount::Ceiling) >
               CONST_RIGHT;
    }));
}

TEST(Gestures, ABoxIsZoomedToAndASmallOneIsNot)
{
    stage::Viewer viewer(Mount::Ceiling, "quad");
    const PtzView before = Now(viewer, 0);
    const double pixel = 1.0 / viewer.cell("view", 0).width();
    stage::Drag(viewer.cell("view", 0), {0.5, 0.5}, {0.5 + 6 * pixel, 0.5 + 6 * pixel}, 3);
    EXPECT_EQ(Now(viewer, 0).zoom, before.zoom);
    const viewer::Direction middle = viewer::DirectionAt(before, {0.65, 0.6});
    stage::Drag(viewer.cell("view", 0), {0.5, 0.45}, {0.8, 0.75}, 3);
    EXPECT_NEAR(Now(viewer, 0).zoom, before.zoom * 0.3, 100.0);
    EXPECT_LT(Apart(SeenAt(Now(viewer, 0), middle), {0.5, 0.5}), 0.03);
    EXPECT_TRUE(ShowsTheTruth(viewer, 0));
}

TEST(Gestures, ADoubleClickEnlargesACellAndPutsItBack)
{
    stage::Viewer viewer(Mount::Ceiling, "quad");
    const QRect before = viewer.cell("view", 2).geometry();
    stage::DoubleClick(viewer.cell("view", 2), {0.5, 0.5});
    EXPECT_TRUE(Await([&] { return viewer.cell("view", 2).size() == viewer.camera().size(); }));
    EXPECT_FALSE(viewer.cell("view", 0).isVisible());
    EXPECT_TRUE(ShowsTheTruth(viewer, 2));
    stage::MoveTo(viewer.cell("view", 2), {0.2, 0.2});  // not a third click of the same place
    stage::DoubleClick(viewer.cell("view", 2), {0.3, 0.2});
    EXPECT_TRUE(Await([&] { return viewer.cell("view", 2).geometry() == before; }));
    EXPECT_TRUE(viewer.cell("view", 0).isVisible());
}

TEST(Gestures, AnEnlargedCellThatTheNewMountLacksLeavesTheOthers)
{
    stage::Viewer viewer(Mount::Ceiling, "double180");
    stage::DoubleClick(viewer.cell("other-half"), {0.5, 0.5});
    ASSERT_TRUE(Await([&] { return !viewer.cell("half").isVisible(); }));
    viewer.camera().chooseMount(Mount::Wall);
    ASSERT_TRUE(Await([&] { return viewer.camera().showsPictures(); }));
    EXPECT_TRUE(viewer.cell("half").isVisible());
    EXPECT_FALSE(viewer.cell("other-half").isVisible());
}

TEST(Keys, TurnAndSelectViews)
{
    stage::Viewer viewer(Mount::Ceiling, "quad");
    viewer.window().activateWindow();
    ASSERT_TRUE(Await([&] { return viewer.window().isActiveWindow(); }));
    stage::Key('3');
    EXPECT_TRUE(Await([&] { return viewer.camera().selected() == 2; }));
    const PtzView before = Now(viewer, 2);
    const viewer::Direction right = viewer::DirectionAt(before, {0.7, 0.5});
    stage::Key(stage::CONST_KEY_RIGHT);
    EXPECT_TRUE(Await([&] { return SeenAt(Now(viewer, 2), right).x() < 0.68; }));
    stage::Key('+');
    stage::Key('=');
    EXPECT_TRUE(Await([&] { return Now(viewer, 2).zoom < before.zoom; }));
    stage::Key(stage::CONST_KEY_HOME);
    EXPECT_TRUE(Await([&] {
        return Now(viewer, 2).zoom == before.zoom &&
               Apart(Now(viewer, 2).centre, before.centre) < 0.001;
    }));
}

TEST(Layouts, AChangeKeepsEachViewsDirection)
{
    stage::Viewer viewer(Mount::Ceiling, "quad");
    stage::Drag(viewer.cell("view", 1), {0.3, 0.5}, {0.7, 0.4});
    viewer.camera().turnTo(2, {{0.3, 0.35}, 3000});
    const PtzView first = Now(viewer, 1);
    for (const viewer::Layout& layout : viewer::Layouts())
        viewer.camera().chooseLayout(layout.id);
    viewer.camera().chooseLayout("quad");
    EXPECT_LT(Apart(Now(viewer, 1).centre, first.centre), 0.001);
    EXPECT_LT(Apart(Now(viewer, 2).centre, {0.3, 0.35}), 0.001);
    EXPECT_EQ(Now(viewer, 2).zoom, 3000);
    EXPECT_TRUE(ShowsTheTruth(viewer, 1));
}

TEST(Snapshots, HoldWhatTheViewShows)
{
    const QTemporaryDir folder;
    stage::Viewer viewer(Mount::Wall, "quad");
    QString written;
    QObject::connect(&viewer.camera(), &viewer::CameraWidget::snapshotTaken,
                     [&](const QString& path, bool good) { written = good ? path : "failed"; });
    const QString path = folder.filePath("view.png");
    viewer.camera().snapshotView(path);
    ASSERT_TRUE(Await([&] { return !written.isEmpty(); }));
    ASSERT_EQ(written, path);
    const QImage image(path);
    EXPECT_GT(stage::Likeness(image, stage::ViewOf(viewer.camera(), 0, image), Mount::Wall),
              CONST_RIGHT);
    written.clear();
    viewer.camera().snapshotSource(folder.filePath("source.png"));
    ASSERT_TRUE(Await([&] { return !written.isEmpty(); }));
    EXPECT_EQ(QImage(written).size(), QSize(1024, 1024));
    written.clear();
    viewer.camera().snapshotSource("/nowhere/source.png");
    ASSERT_TRUE(Await([&] { return !written.isEmpty(); }));
    EXPECT_EQ(written, "failed");
}

TEST(Presets, LeadBackToWhereTheyWereSaved)
{
    stage::Viewer viewer(Mount::Ceiling, "quad");
    viewer.camera().turnTo(0, {{0.6, 0.7}, 4000});
    viewer.camera().savePreset("door");
    viewer.camera().home();
    EXPECT_TRUE(viewer.camera().goToPreset("door"));
    EXPECT_LT(Apart(Now(viewer, 0).centre, {0.6, 0.7}), 0.001);
    EXPECT_EQ(Now(viewer, 0).zoom, 4000);
    EXPECT_FALSE(viewer.camera().goToPreset("window"));
}

TEST(Presets, APatrolGoesFromOneToTheNext)
{
    stage::Viewer viewer(Mount::Ceiling, "quad");
    const QPointF places[] = {{0.6, 0.7}, {0.3, 0.6}};
    for (int i = 0; i < 2; ++i) {
        viewer.camera().turnTo(0, {places[i], 4000});
        viewer.camera().savePreset(QString::number(i));
    }
    QAction& patrol = stage::ActionOf(viewer, "Patrol");
    patrol.trigger();
    for (const int i : {0, 1, 0})
        EXPECT_TRUE(Await([&] { return Apart(Now(viewer, 0).centre, places[i]) < 0.001; }));
    stage::Drag(viewer.cell("view", 0), {0.3, 0.5}, {0.7, 0.4});  // the hand has precedence
    const QPointF left = Now(viewer, 0).centre;
    EXPECT_GT(Apart(left, places[0]), 0.01);
    EXPECT_TRUE(patrol.isChecked());
    EXPECT_TRUE(Await([&] { return Apart(Now(viewer, 0).centre, places[1]) < 0.001; }));
}

TEST(Settings, OfACameraComeBackAsTheyWere)
{
    const QTemporaryDir folder;
    QSettings store(folder.filePath("viewer.ini"), QSettings::IniFormat);
    viewer::CameraSettings settings;
    settings.mount = Mount::Floor;
    settings.layout = "panorama+6";
    settings.overlay = OverlayKind::Square;
    settings.mirrored = true;
    settings.lens = viewer::UnknownLens();
    settings.lens->dFieldOfView = 195.5;
    settings.presets["door"] = {{0.25, 0.75}, 1234};
    viewer::SaveCamera(store, "rtsp://a/b", settings);
    const viewer::CameraSettings read = viewer::LoadCamera(store, "rtsp://a/b");
    EXPECT_EQ(read.mount, Mount::Floor);
    EXPECT_EQ(read.layout, "panorama+6");
    EXPECT_EQ(read.overlay, OverlayKind::Square);
    EXPECT_TRUE(read.mirrored);
    EXPECT_FALSE(read.flipped);
    ASSERT_TRUE(read.lens.has_value());
    EXPECT_EQ(read.lens->dFieldOfView, 195.5);
    EXPECT_EQ(read.presets["door"].zoom, 1234);
    EXPECT_EQ(read.presets["door"].centre, QPointF(0.25, 0.75));
    EXPECT_EQ(viewer::LoadCamera(store, "rtsp://another").mount, Mount::Ceiling);
}

TEST(Settings, AreThoseOfTheFileWhereverItIsOpenedFromAndNotOfTheCommandLineBefore)
{
    const QTemporaryDir folder;
    const QString file = folder.filePath("viewer.ini");
    const QString clip = stage::RoomClip(Mount::Ceiling);
    const QString other = folder.filePath("other.mkv");
    ASSERT_TRUE(QFile::copy(clip, other));
    viewer::MainWindow window(std::make_unique<QSettings>(file, QSettings::IniFormat));
    viewer::Options options;
    options.layout = "quad";
    options.mount = Mount::Floor;
    window.openSource(QDir::current().relativeFilePath(clip), options);
    EXPECT_EQ(window.cameras().active()->settings().layout, "quad");
    window.cameras().active()->chooseOverlay(OverlayKind::Square);
    window.openSource(other);
    EXPECT_EQ(window.cameras().active()->settings().layout, "fisheye+8");
    EXPECT_EQ(window.cameras().active()->settings().mount, Mount::Ceiling);
    window.openSource(clip);
    EXPECT_EQ(window.cameras().active()->settings().overlay, OverlayKind::Square);
}

TEST(Lenses, AreMovedWithTheMouseAndPutBackByCancel)
{
    stage::Viewer viewer(Mount::Ceiling, "quad");
    {
        viewer::LensDialog dialog(viewer.camera());
        CellWidget& picture = viewer.cell("main");
        ASSERT_TRUE(picture.isVisible());
        const double before = viewer::extras::LensOf(viewer.camera().player())->dCentreX;
        stage::Drag(picture, picture.fromSquare({0.5, 0.5}), picture.fromSquare({0.6, 0.5}));
        const RvLens moved = *viewer::extras::LensOf(viewer.camera().player());
        EXPECT_NEAR(moved.dCentreX - before, 0.1 * moved.iWidth, 4.0);
        EXPECT_TRUE(viewer.camera().settings().lens.has_value());
        dialog.reject();
    }
    EXPECT_FALSE(viewer.camera().settings().lens.has_value());
    EXPECT_TRUE(ShowsTheTruth(viewer, 1));
}

TEST(Cameras, StandInTabsAndInAGrid)
{
    stage::Viewer viewer(Mount::Ceiling, "quad");
    viewer::CameraWidget& first = viewer.camera();
    viewer.window().openSource(stage::RoomClip(Mount::Ceiling));
    viewer.camera().chooseLayout("quad");
    viewer::CameraWidget& second = viewer.camera();
    ASSERT_NE(&first, &second);
    EXPECT_FALSE(first.isVisible());
    viewer.window().cameras().setGrid(true);
    EXPECT_TRUE(first.isVisible());
    EXPECT_FALSE(first.geometry().intersects(second.geometry()));
    EXPECT_TRUE(Await([&] { return second.showsPictures(); }));
    stage::Drag(*first.findChild<CellWidget*>("view"), {0.4, 0.5}, {0.6, 0.5});
    EXPECT_EQ(&viewer.camera(), &first);
    viewer.window().cameras().closeActive();
    EXPECT_EQ(&viewer.camera(), &second);
    EXPECT_TRUE(ShowsTheTruth(viewer, 0));
}

TEST(Layouts, HaveSquareViewsWhereThereAreSeveralCells)
{
    stage::Viewer viewer(Mount::Ceiling, "fisheye+3");
    for (const viewer::Layout& layout : viewer::Layouts()) {
        viewer.camera().chooseLayout(layout.id);
        for (int i = 0; layout.cells.size() > 1 && i < viewer.camera().viewCount(); ++i)
            EXPECT_NEAR(viewer.cell("view", i).width(), viewer.cell("view", i).height(), 1)
                << layout.id.toStdString();
    }
}

TEST(Layouts, ShowWideViewsNeverHigherThanIsNatural)
{
    stage::Viewer viewer(Mount::Ceiling, "panorama");
    viewer.window().resize(700, 900);
    const auto isNatural = [&](const char* cell, double shape) {
        const QSize size = viewer.cell(cell).size();
        return size.width() >= shape * size.height() &&
               size.width() > viewer.camera().width() * 0.98;
    };
    for (const auto& [layout, cell, shape, other] :
         {std::tuple("panorama", "panorama", 3.0, ""), std::tuple("half180", "half", 2.0, ""),
          std::tuple("double180", "other-half", 2.0, "half"),
          std::tuple("panorama+fisheye+4", "panorama", 3.0, "main")}) {
        viewer.camera().chooseLayout(layout);
        EXPECT_TRUE(isNatural(cell, shape)) << layout;
        if ('\0' == *other)
            continue;
        stage::DoubleClick(viewer.cell(cell), {0.5, 0.5});
        EXPECT_TRUE(Await([&, other = other] { return !viewer.cell(other).isVisible(); }));
        EXPECT_TRUE(isNatural(cell, shape)) << layout;
    }
}

TEST(Troubles, AreToldInPlainWords)
{
    stage::Viewer viewer(Mount::Ceiling, "quad");
    viewer.window().openSource("/nowhere/at-all.mkv");
    EXPECT_TRUE(Await([&] { return viewer.camera().state() == viewer::StreamState::Failed; }));
    EXPECT_TRUE(viewer.camera().trouble().contains("at-all.mkv"));
    EXPECT_TRUE(viewer.camera().trouble().contains("No such file"))
        << viewer.camera().trouble().toStdString();
    viewer.window().openSource(FISHEYE_HTTP_SERVER);
    EXPECT_TRUE(Await([&] { return viewer.camera().state() == viewer::StreamState::Failed; }));
}

TEST(MissingLibraries, AreNamedWithTheFoldersTheyWereLookedForIn)
{
    const QString file = qEnvironmentVariable("FISHEYE_TEST_MISSING");
    if (file.isEmpty())
        GTEST_SKIP() << "both libraries are there; run by a test of its own";
    stage::Viewer viewer("/any.mkv", "quad", OverlayKind::Off, stage::Viewer::Wait::No);
    EXPECT_EQ(viewer.camera().state(), viewer::StreamState::Failed);
    EXPECT_TRUE(viewer.camera().trouble().contains(file));
    const QString told = viewer.camera().trouble();
    for (const QString& folder :
         qEnvironmentVariable("LD_LIBRARY_PATH").split(':', Qt::SkipEmptyParts) +
             QStringList{FISHEYE_RUN_PATH, "/usr/lib"})
        EXPECT_TRUE(told.contains(folder)) << told.toStdString();
    EXPECT_FALSE(told.contains(QCoreApplication::applicationDirPath())) << told.toStdString();
    viewer.camera().chooseLayout("fisheye+8");  // nothing to see, and no crash
    viewer.camera().press(n_PTZCtl_Left, 5);
    viewer.camera().reopen();
}

TEST(Misuse, CamerasComeAndGoAHundredTimes)
{
    stage::Viewer viewer(Mount::Ceiling, "fisheye+8", OverlayKind::Traced);
    for (int i = 0; i < 100; ++i) {
        const viewer::CameraSettings settings = viewer.camera().settings();
        viewer::CameraWidget other(stage::RoomClip(Mount::Ceiling), settings,
                                   &viewer.window().cameras());
        other.setGeometry(viewer.camera().geometry());
        other.show();
        switch (i % 10) {
        case 1:
            EXPECT_TRUE(Await([&] { return other.showsPictures(); }));
            break;
        case 2:
            EXPECT_TRUE(Await([&] { return other.state() == viewer::StreamState::Playing; }));
            break;
        default:  // while it is being opened
            QCoreApplication::processEvents();
        }
    }
    EXPECT_TRUE(ShowsTheTruth(viewer, 3));
}

TEST(Misuse, AStormOfSizesAndLayoutsEndsInTheRightPicture)
{
    stage::Viewer viewer(Mount::Ceiling, "fisheye+8", OverlayKind::Traced);
    for (int i = 0; i < 60; ++i) {
        viewer.window().resize(500 + 37 * i % 900, 420 + 53 * i % 500);
        if (i % 5 == 0)
            viewer.camera().chooseLayout(i % 2 ? "panorama+6" : "quad");
        QCoreApplication::processEvents();
    }
    viewer.camera().chooseLayout("fisheye+3");
    EXPECT_TRUE(ShowsTheTruth(viewer, 1));
}

}  // namespace

int main(int argc, char** argv)
{
    ::testing::InitGoogleTest(&argc, argv);
    if (!stage::StartDisplay()) {
        std::puts("Xvfb is not installed: scripts/install-packages.sh viewer-tests");
        return 77;
    }
    int code = 1;
    {
        qputenv("QT_QPA_PLATFORM", "xcb");
        // Neither is used, and both leave memory behind.
        qputenv("QT_XCB_GL_INTEGRATION", "none");
        qputenv("DBUS_SESSION_BUS_ADDRESS", "disabled:");
        qputenv("QT_XCB_NO_XI2", "1");  // with it the first turn of a wheel only sets its zero
        QCoreApplication::setAttribute(Qt::AA_DontCreateNativeWidgetSiblings);
        QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
        QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
        QApplication application(argc, argv);
        QApplication::setQuitOnLastWindowClosed(false);
        code = RUN_ALL_TESTS();
    }
    stage::EndDisplay();
    return code;
}
