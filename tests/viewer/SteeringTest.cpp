// How the views are steered, to the rim of the picture, by their outlines, in each mount.
#include <algorithm>
#include <cmath>
#include <mutex>
#include <set>

#include <gtest/gtest.h>

#include <QTemporaryDir>

#include "tests/viewer/Stage.h"

#include "viewer/EngineExtras.h"

namespace {

using stage::Apart;
using stage::Await;
using stage::Now;
using viewer::CellWidget;
using viewer::Mount;
using viewer::OverlayKind;
using viewer::PtzView;

constexpr double CONST_PI = 3.14159265358979323846;
constexpr double CONST_RIM = 0.49995;     ///< as near to it as a view comes
constexpr double CONST_WORSE = 0.08;      ///< how much less of the room a wrong picture has
constexpr double CONST_ROUNDED = 0.0008;  /// what the steps and positions leave, in whole units

/// A centre on the rim, `degrees` from the bottom of the picture.
QPointF OnRim(double degrees)
{
    const double bearing = degrees / 180.0 * CONST_PI;
    return QPointF(0.5, 0.5) + CONST_RIM * QPointF(std::sin(bearing), std::cos(bearing));
}

class Rims : public ::testing::TestWithParam<Mount>
{};

TEST_P(Rims, AreReachedFromWhereverAViewWas)
{
    stage::Viewer viewer(GetParam(), "quad");
    for (int degrees = 0; degrees < 360; degrees += 7) {
        const QPointF rim = OnRim(degrees);
        viewer.camera().turnTo(0, {{0.62, 0.43}, 7000});
        viewer.camera().turnTo(0, {rim, 6000});
        EXPECT_LT(Apart(Now(viewer, 0).centre, rim), CONST_ROUNDED) << degrees;
        EXPECT_EQ(Now(viewer, 0).zoom, 6000) << degrees;
    }
    EXPECT_TRUE(stage::ShowsTheTruth(viewer, 0));
}

struct Outwards
{
    n_PTZCtlCmd straight;
    n_PTZCtlCmd aside;
};

/// The buttons that lead away from the middle of the picture, from the right of it.
Outwards OutwardsOf(Mount mount)
{
    return Mount::Wall == mount      ? Outwards{n_PTZCtl_Right, n_PTZCtl_RightDown}
           : Mount::Ceiling == mount ? Outwards{n_PTZCtl_Up, n_PTZCtl_LeftUp}
                                     : Outwards{n_PTZCtl_Down, n_PTZCtl_LeftDown};
}

TEST_P(Rims, AreReachedByTheButtonsAndFollowedByThem)
{
    stage::Viewer viewer(GetParam(), "quad");
    const auto away = [&] { return Apart(Now(viewer, 0).centre, {0.5, 0.5}); };
    viewer.camera().turnTo(0, {{0.97, 0.5}, 10000});
    for (int i = 0; i < 3; ++i) {  // the first would lead beyond it
        viewer.camera().press(OutwardsOf(GetParam()).straight, 10);
        EXPECT_GT(away(), 0.499);
        EXPECT_NEAR(Now(viewer, 0).centre.y(), 0.5, CONST_ROUNDED);
    }
    for (int i = 0; i < 3; ++i) {
        const QPointF before = Now(viewer, 0).centre;
        viewer.camera().press(OutwardsOf(GetParam()).aside, 10);
        EXPECT_GT(Apart(Now(viewer, 0).centre, before), 0.01);
        EXPECT_GT(away(), 0.499);
    }
    EXPECT_TRUE(stage::ShowsTheTruth(viewer, 0));
}

INSTANTIATE_TEST_SUITE_P(OfEachMount, Rims,
                         ::testing::Values(Mount::Ceiling, Mount::Wall, Mount::Floor),
                         [](const auto& info) { return viewer::WordOf(info.param).toStdString(); });

// ---- The wheel and the panorama, where they are not on a ceiling

class Wheels : public ::testing::TestWithParam<Mount>
{};

TEST_P(Wheels, ZoomAboutTheCursor)
{
    stage::Viewer viewer(GetParam(), "quad");
    viewer.camera().turnTo(0, {{0.6, 0.7}, 8000});
    const QPointF cursor(0.3, 0.6);
    const PtzView before = Now(viewer, 0);
    const viewer::Direction there = viewer::DirectionAt(before, cursor);
    stage::Wheel(viewer.cell("view", 0), cursor, 4);
    EXPECT_NEAR(Now(viewer, 0).zoom, before.zoom * std::pow(0.85, 4), 30.0);
    EXPECT_LT(Apart(stage::SeenAt(Now(viewer, 0), there), cursor), 0.02);
    stage::Wheel(viewer.cell("view", 0), cursor, -4);
    EXPECT_NEAR(Now(viewer, 0).zoom, before.zoom, 60.0);
    EXPECT_LT(Apart(stage::SeenAt(Now(viewer, 0), there), cursor), 0.02);
    EXPECT_TRUE(stage::ShowsTheTruth(viewer, 0));
}

INSTANTIATE_TEST_SUITE_P(OnWallAndFloor, Wheels, ::testing::Values(Mount::Wall, Mount::Floor),
                         [](const auto& info) { return viewer::WordOf(info.param).toStdString(); });

TEST(Wheels, OverAnOutlineZoomItsView)
{
    for (const char* const name : {"main", "panorama"}) {
        stage::Viewer viewer(Mount::Ceiling, "panorama+fisheye+4", OverlayKind::Traced);
        CellWidget& cell = viewer.cell(name);
        const PtzView before = Now(viewer, 2);
        const QPointF place =
            QString("main") == name
                ? cell.fromSquare(before.centre)
                : viewer::ToPanorama(Mount::Ceiling, viewer::FromFishEye(before.centre));
        stage::Wheel(cell, place, 3);
        EXPECT_EQ(viewer.camera().selected(), 2) << name;
        EXPECT_NEAR(Now(viewer, 2).zoom, before.zoom * std::pow(0.85, 3), 30.0) << name;
        EXPECT_EQ(Now(viewer, 2).centre, before.centre) << name;
    }
}

TEST(Panoramas, OfAFloorCameraAreTurnedByADrag)
{
    stage::Viewer viewer(Mount::Floor, "panorama");
    const auto likeness = [&](double degrees) {
        optics::ViewParameters view;
        view.eKind = optics::ViewKind::Panorama;
        view.eMount = optics::Mount::Floor;
        view.dAngleDeg = degrees;
        return stage::Likeness(stage::Grab(viewer.cell("panorama")), view, Mount::Floor);
    };
    stage::Drag(viewer.cell("panorama"), {0.3, 0.5}, {0.55, 0.5});
    // Turned the other way the room looks much like it.
    EXPECT_TRUE(Await([&] { return likeness(90) > likeness(-90) + CONST_WORSE; }));
    EXPECT_GT(likeness(90), stage::CONST_RIGHT);
}

// ---- One view

TEST(OneView, IsTheSelectedOneAndLeadsItOn)
{
    stage::Viewer viewer(Mount::Ceiling, "quad");
    const QPointF places[] = {{0.7, 0.7}, {0.3, 0.6}, {0.4, 0.3}, {0.6, 0.2}};
    for (int i = 0; i < 4; ++i)
        viewer.camera().turnTo(i, {places[i], 5000});
    viewer.camera().select(2);
    for (const char* const layout : {"source", "single"})  // there may be others in between
        viewer.camera().chooseLayout(layout);
    EXPECT_LT(Apart(Now(viewer, 0).centre, places[2]), CONST_ROUNDED);
    EXPECT_TRUE(stage::ShowsTheTruth(viewer, 0));
    viewer.camera().turnTo(0, {{0.5, 0.8}, 3000});
    viewer.camera().chooseOverlay(OverlayKind::Square);
    viewer.camera().chooseLayout("quad");
    EXPECT_EQ(viewer.camera().selected(), 2);
    for (int i = 0; i < 4; ++i)
        EXPECT_LT(Apart(Now(viewer, i).centre, 2 == i ? QPointF(0.5, 0.8) : places[i]),
                  CONST_ROUNDED)
            << i;
    viewer.camera().chooseLayout("fisheye+3");  // which has no fourth
    viewer.camera().select(1);
    viewer.camera().chooseLayout("single");
    EXPECT_LT(Apart(Now(viewer, 0).centre, places[1]), CONST_ROUNDED);
}

// ---- Outlines

TEST(Outlines, HaveEachTheColourOfItsViewsFrame)
{
    for (const auto& [layout, name] :
         {std::pair("fisheye+8", "main"), std::pair("panorama+6", "panorama")}) {
        stage::Viewer viewer(Mount::Ceiling, layout, OverlayKind::Traced);
        std::set<QRgb> colours;
        for (int i = 0; i < viewer.camera().viewCount(); ++i)  // no two of them cross
            viewer.camera().turnTo(i, {Now(viewer, i).centre, 3000});
        for (int i = 0; i < viewer.camera().viewCount(); ++i) {
            EXPECT_TRUE(stage::ShowsTheTruth(viewer, i));
            const QImage image = stage::Grab(viewer.cell("view", i));
            const QColor colour = image.pixelColor(1, image.height() / 2);
            EXPECT_TRUE(colours.insert(colour.rgb()).second) << layout << i;
            EXPECT_TRUE(Await([&, name = name] {
                return stage::Traced(viewer, i, name, colour) > 0.9;
            })) << layout
                << i << colour.name().toStdString();
        }
    }
}

TEST(Outlines, ThatAreSquaresAreTakenAnywhereInThem)
{
    constexpr double CONST_WITHIN = 0.047;  // half a square is 0.05
    for (const char* const layout : {"panorama+6", "panorama+fisheye+4", "fisheye+3"}) {
        stage::Viewer viewer(Mount::Ceiling, layout, OverlayKind::Square);
        const bool onPanorama = QString("panorama+6") == layout;
        CellWidget& cell = viewer.cell(onPanorama ? "panorama" : "main");
        for (int i = 0; i < viewer.camera().viewCount(); ++i)  // out of the way
            viewer.camera().turnTo(i, {{0.3, 0.6}, 500});
        viewer.camera().turnTo(1, {{0.6, 0.72}, 500});
        const QPointF centre = Now(viewer, 1).centre;
        const auto placeOf = [&](QPointF offset) {
            return onPanorama
                       ? viewer::ToPanorama(Mount::Ceiling, viewer::FromFishEye(centre)) + offset
                       : cell.fromSquare(centre + offset);
        };
        const auto takenAt = [&](QPointF offset) {
            viewer.camera().select(0);
            stage::MoveTo(cell, placeOf(offset));
            stage::Press();
            stage::Release();
            return viewer.camera().selected() == 1;
        };
        for (const double x : {-1.0, 0.0, 1.0})
            for (const double y : {-1.0, 0.0, 1.0})
                EXPECT_TRUE(takenAt(CONST_WITHIN * QPointF(x, y))) << layout << x << y;
        for (const QPointF beyond : {QPointF(1.0, 0.0), QPointF(0.0, -1.0)})
            EXPECT_FALSE(takenAt(1.2 * CONST_WITHIN * beyond)) << layout;
    }
}

TEST(Outlines, AreNotLookedForWhereThereAreNoViews)
{
    QVector<QString> complaints;
    static QVector<QString>* s_complaints = nullptr;
    static std::mutex s_mutex;
    s_complaints = &complaints;
    const QtMessageHandler before =
        qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString& text) {
            const std::lock_guard<std::mutex> lock(s_mutex);
            if (text.contains("DrawCalculate"))
                s_complaints->append(text);
        });
    stage::Viewer viewer(Mount::Ceiling, "fisheye+3", OverlayKind::Traced);
    EXPECT_TRUE(Await([&] { return stage::Traced(viewer, 0, "main", "#ff5a5a") > 0.9; }));
    const auto shown = [&] { return viewer::extras::FiguresOf(viewer.camera().player())->llShown; };
    for (const char* const layout : {"fisheye", "panorama"}) {
        viewer.camera().chooseLayout(layout);
        const auto start = shown();
        EXPECT_TRUE(Await([&] { return shown() > start + 10; }));
    }
    viewer.camera().chooseLayout("fisheye+3");
    EXPECT_TRUE(Await([&] { return stage::Traced(viewer, 0, "main", "#ff5a5a") > 0.9; }));
    qInstallMessageHandler(before);
    EXPECT_TRUE(complaints.isEmpty()) << complaints.size();
}

// ---- Snapshots of what is no pan/tilt/zoom view

struct Shot
{
    const char* layout;
    const char* enlarged;  ///< a cell; null: none
    optics::ViewKind kind;
    double degrees;
};

class SnapshotsOf : public ::testing::TestWithParam<Shot>
{};

TEST_P(SnapshotsOf, ACellHoldWhatItShows)
{
    const QTemporaryDir folder;
    stage::Viewer viewer(Mount::Ceiling, GetParam().layout);
    if (nullptr != GetParam().enlarged) {
        const CellWidget& cell = viewer.cell(GetParam().enlarged);
        const QSize before = cell.size();
        stage::DoubleClick(cell, {0.5, 0.5});
        ASSERT_TRUE(Await([&] { return cell.size() != before; }));
    }
    QString written;
    QObject::connect(&viewer.camera(), &viewer::CameraWidget::snapshotTaken,
                     [&](const QString& path, bool good) { written = good ? path : "failed"; });
    viewer.camera().snapshotView(folder.filePath("cell.png"));
    ASSERT_TRUE(Await([&] { return !written.isEmpty(); }));
    QImage image(written);
    if (optics::ViewKind::Fisheye == GetParam().kind) {  // with bars beside it
        const int side = std::min(image.width(), image.height());
        image = image.copy((image.width() - side) / 2, (image.height() - side) / 2, side, side);
    }
    optics::ViewParameters view;
    view.eKind = GetParam().kind;
    view.dAngleDeg = GetParam().degrees;
    EXPECT_GT(stage::Likeness(image, view, Mount::Ceiling), stage::CONST_RIGHT);
}

INSTANTIATE_TEST_SUITE_P(
    AloneAndEnlarged, SnapshotsOf,
    ::testing::Values(Shot{"panorama", nullptr, optics::ViewKind::Panorama, 0.0},
                      Shot{"half180", nullptr, optics::ViewKind::Half, 0.0},
                      Shot{"fisheye", nullptr, optics::ViewKind::Fisheye, 0.0},
                      Shot{"panorama+6", "panorama", optics::ViewKind::Panorama, 0.0},
                      Shot{"double180", "other-half", optics::ViewKind::Half, 180.0},
                      Shot{"fisheye+3", "main", optics::ViewKind::Fisheye, 0.0}),
    [](const auto& info) {
        return QString(info.param.layout).remove('+').toStdString() +
               (nullptr == info.param.enlarged ? "" : "Enlarged");
    });

}  // namespace
