// What stands round the pictures: the pad, the patrol, playback, full screen, the lens dialog.
#include <array>
#include <cmath>

#include <gtest/gtest.h>

#include <QAction>
#include <QDialogButtonBox>
#include <QDockWidget>
#include <QDoubleSpinBox>
#include <QFile>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QPushButton>
#include <QRegularExpression>
#include <QSettings>
#include <QSlider>
#include <QStatusBar>
#include <QTemporaryDir>
#include <QToolButton>

#include "tests/viewer/Stage.h"

#include "viewer/CameraArea.h"
#include "viewer/EngineExtras.h"
#include "viewer/LensDialog.h"

namespace {

using stage::Await;
using stage::Now;
using stage::SeenAt;
using viewer::CellWidget;
using viewer::Mount;
using viewer::PtzView;

/// A button of the pad, by the beginning of its tip.
QToolButton& PadButton(stage::Viewer& viewer, const QString& tip)
{
    for (QToolButton* const button : viewer.window().findChildren<QToolButton*>())
        if (button->toolTip() == tip)
            return *button;
    throw std::runtime_error("no such button");
}

struct Way
{
    const char* tip;
    int x;  ///< to which side of the view, -1 left, 1 right
    int y;  ///< -1 up, 1 down
};

class PadButtons : public ::testing::TestWithParam<std::tuple<Mount, Way>>
{};

TEST_P(PadButtons, TurnTheViewTheWayTheyPoint)
{
    const auto& [mount, way] = GetParam();
    stage::Viewer viewer(mount, "quad");
    viewer.camera().turnTo(0, {{0.6, 0.7}, 6000});
    viewer.window().findChild<QSlider*>()->setValue(10);
    const PtzView before = Now(viewer, 0);
    PadButton(viewer, way.tip).click();  // a slow machine would make several of a held one
    // What the view looks at then was on that side of it.
    const QPointF there = SeenAt(before, viewer::DirectionAt(Now(viewer, 0), {0.5, 0.5}));
    const auto side = [](double value) {
        constexpr double CONST_LEVEL = 0.015;  // a level turn is a curve in the view
        return value > 0.5 + CONST_LEVEL ? 1 : value < 0.5 - CONST_LEVEL ? -1 : 0;
    };
    EXPECT_EQ(side(there.x()), way.x) << there.x();
    EXPECT_EQ(side(there.y()), way.y) << there.y();
    EXPECT_TRUE(stage::ShowsTheTruth(viewer, 0));
}

INSTANTIATE_TEST_SUITE_P(
    MountsAndDirections, PadButtons,
    ::testing::Combine(::testing::Values(Mount::Ceiling, Mount::Wall, Mount::Floor),
                       ::testing::Values(Way{"Up", 0, -1}, Way{"Down", 0, 1}, Way{"Left", -1, 0},
                                         Way{"Right", 1, 0}, Way{"Left and up", -1, -1},
                                         Way{"Right and up", 1, -1}, Way{"Left and down", -1, 1},
                                         Way{"Right and down", 1, 1})),
    [](const auto& info) {
        return viewer::WordOf(std::get<0>(info.param)).toStdString() +
               QString(std::get<1>(info.param).tip).remove(' ').toStdString();
    });

TEST(Pad, ZoomsAndGoesHome)
{
    stage::Viewer viewer(Mount::Ceiling, "quad");
    viewer.camera().turnTo(0, {{0.6, 0.7}, 6000});
    PadButton(viewer, "Zoom in").click();
    const double closer = Now(viewer, 0).zoom;
    EXPECT_LT(closer, 6000);
    PadButton(viewer, "Zoom out").click();
    EXPECT_GT(Now(viewer, 0).zoom, closer);
    stage::Click(PadButton(viewer, "Home"));
    EXPECT_EQ(Now(viewer, 0).zoom, 10000);
}

TEST(Pad, ComesBackFromTheMenuWhenItHasBeenClosed)
{
    stage::Viewer viewer(Mount::Ceiling, "quad");
    auto* const pad = viewer.window().findChild<QDockWidget*>("pad");
    pad->close();
    ASSERT_FALSE(pad->isVisible());
    for (QMenu* const menu : viewer.window().menuBar()->findChildren<QMenu*>())
        if (menu->actions().contains(pad->toggleViewAction()))
            pad->toggleViewAction()->trigger();
    EXPECT_TRUE(pad->isVisible());
}

TEST(Snapshots, AreWrittenUnderTheNameThatWasAskedFor)
{
    const QTemporaryDir folder;
    stage::Viewer viewer(Mount::Ceiling, "quad");
    QString written;
    QObject::connect(&viewer.camera(), &viewer::CameraWidget::snapshotTaken,
                     [&](const QString& path, bool good) { written = good ? path : "failed"; });
    stage::WhenOpen<QFileDialog>([&](QFileDialog& files) {
        files.findChild<QLineEdit*>("fileNameEdit")->setText(folder.filePath("room"));
        QMetaObject::invokeMethod(&files, "accept", Qt::QueuedConnection);
    });
    stage::ActionOf(viewer, "Snapshot of the view...").trigger();
    ASSERT_TRUE(Await([&] { return !written.isEmpty(); }));
    EXPECT_EQ(written, folder.filePath("room.png"));
}

TEST(Pad, MovesFartherAtAHigherSpeed)
{
    stage::Viewer viewer(Mount::Wall, "quad");
    auto* const speed = viewer.window().findChild<QSlider*>();
    ASSERT_NE(speed, nullptr);
    const auto pressed = [&](int value) {
        viewer.camera().turnTo(0, {{0.5, 0.5}, 6000});
        speed->setValue(value);
        PadButton(viewer, "Right").click();
        return Now(viewer, 0).centre.x() - 0.5;
    };
    const double slow = pressed(1);
    EXPECT_GT(slow, 0.0);
    EXPECT_NEAR(pressed(10) / slow, 10.0, 0.5);
}

TEST(Playing, TheMenuSetsTheSpeedOfTheCamera)
{
    stage::Viewer viewer(Mount::Ceiling, "fisheye");
    const std::pair<const char*, double> speeds[] = {{"Quarter speed", 0.25},
                                                     {"Half speed", 0.5},
                                                     {"Double speed", 2.0},
                                                     {"Four times the speed", 4.0},
                                                     {"Normal speed", 1.0}};
    for (const auto& [text, speed] : speeds) {
        QAction& action = stage::ActionOf(viewer, text);
        action.trigger();
        EXPECT_EQ(viewer.camera().speed(), speed) << text;
        EXPECT_TRUE(action.isChecked()) << text;
        const auto shown = [&] {
            return viewer::extras::FiguresOf(viewer.camera().player())->llShown;
        };
        const auto before = shown();
        EXPECT_TRUE(Await([&] { return shown() > before + 3; })) << text;
    }
}

TEST(Playing, AFileGoesOnWhereItWasWhenItsMountChanges)
{
    // Ten seconds and a key frame in each.
    const QString clip = stage::Made(
        "ten-seconds.mkv", {"-f", "lavfi", "-i", "testsrc=size=320x320:rate=25:duration=10", "-c:v",
                            "libx264", "-g", "25", "-pix_fmt", "yuv420p"});
    stage::Viewer viewer(clip, "fisheye");
    ASSERT_TRUE(Await([&] { return viewer.camera().position() > 2.0; }));
    viewer.camera().setPaused(true);
    const double before = viewer.camera().position();
    viewer.camera().chooseMount(Mount::Floor);
    ASSERT_TRUE(Await([&] { return viewer.camera().showsPictures(); }));
    EXPECT_TRUE(viewer.camera().paused());
    EXPECT_GT(viewer.camera().position(), before - 1.5);
    EXPECT_LT(viewer.camera().position(), 9.0);
}

TEST(Playing, AFileThatHasEndedIsReopenedFromItsStart)
{
    const QString clip = stage::Made(
        "three-seconds.mkv", {"-f", "lavfi", "-i", "testsrc=size=320x320:rate=25:duration=3",
                              "-c:v", "libx264", "-g", "5", "-pix_fmt", "yuv420p"});
    stage::Viewer viewer(clip, "fisheye");
    viewer.camera().setLoop(false);
    const auto ended = [&] { return viewer.camera().state() == viewer::StreamState::Ended; };
    ASSERT_TRUE(Await(ended));
    viewer.camera().setSpeed(0.25);
    viewer.camera().reopen();
    EXPECT_LT(viewer.camera().position(), 1.0);
    EXPECT_TRUE(Await([&] { return viewer.camera().showsPictures(); }));
}

/// What the status line says of the pictures; empty where it says nothing.
QString Figures(stage::Viewer& viewer)
{
    const auto labels = viewer.window().statusBar()->findChildren<QLabel*>();
    return labels.isEmpty() ? QString() : labels.last()->text();
}

struct Clip
{
    const char* codec;  ///< as in the status line
    const char* encoder;
    const char* size;
    const char* rate;
};

class StatusLines : public ::testing::TestWithParam<Clip>
{};

TEST_P(StatusLines, TellTheStreamAndHowItIsPlayed)
{
    const auto& [codec, encoder, size, rate] = GetParam();
    const QString clip = stage::Made(
        QString("figures-%1.mkv").arg(encoder),
        {"-f", "lavfi", "-i", QString("testsrc=size=%1:rate=%2:duration=4").arg(size, rate), "-c:v",
         encoder, "-g", "10", "-pix_fmt", "yuvj420p", "-x265-params", "log-level=error"});
    stage::Viewer viewer(clip, "quad");
    const QRegularExpression line(
        "^(\\S+) (\\d+) x (\\d+)   ([\\d.]+)/s   dropped (\\d+)   decoding ([\\d.]+) ms   "
        "drawing ([\\d.]+) ms   latency (\\d+) ms$");
    QRegularExpressionMatch told;
    ASSERT_TRUE(Await([&] {
        told = line.match(Figures(viewer));
        return told.hasMatch();
    })) << Figures(viewer).toStdString();
    EXPECT_EQ(told.captured(1), codec);
    EXPECT_EQ(told.captured(2) + "x" + told.captured(3), size);
    EXPECT_DOUBLE_EQ(told.captured(4).toDouble(), QString(rate).toDouble());
    // Of a player that is held the figures stay, and each stands in its place.
    viewer.camera().setPaused(true);
    constexpr double CONST_AGES = 10000.0;  // milliseconds; none of the three comes near
    EXPECT_TRUE(Await([&] {
        told = line.match(Figures(viewer));
        const RvVideoParam now = *viewer::extras::FiguresOf(viewer.camera().player());
        return told.captured(5).toLongLong() == now.llDropped &&
               std::abs(told.captured(6).toDouble() - now.dDecodeMs) < 0.06 &&
               std::abs(told.captured(7).toDouble() - now.dDrawMs) < 0.06 &&
               std::abs(told.captured(8).toDouble() - now.dLatencyMs) < 0.6 &&
               now.dDecodeMs > 0.0 && now.dDecodeMs < CONST_AGES && now.dDrawMs > 0.0 &&
               now.dDrawMs < CONST_AGES && now.dLatencyMs > 0.0 && now.dLatencyMs < CONST_AGES;
    })) << Figures(viewer).toStdString();
}

INSTANTIATE_TEST_SUITE_P(Codecs, StatusLines,
                         ::testing::Values(Clip{"H264", "libx264", "320x240", "12.5"},
                                           Clip{"HEVC", "libx265", "256x320", "30"},
                                           Clip{"MJPEG", "mjpeg", "400x400", "10"}),
                         [](const auto& info) { return info.param.codec; });

TEST(StatusLine, CanBeTurnedOffAndOnAndIsEmptyWithoutACamera)
{
    stage::Viewer viewer(Mount::Ceiling, "quad");
    const auto tells = [&] { return !Figures(viewer).isEmpty(); };
    ASSERT_TRUE(Await(tells));
    QAction& shown = stage::ActionOf(viewer, "Status line");
    EXPECT_TRUE(shown.isChecked());
    const int room = viewer.camera().height();
    shown.trigger();
    EXPECT_FALSE(viewer.window().statusBar()->isVisible());
    EXPECT_TRUE(Await([&] { return viewer.camera().height() > room; }));  // the pictures get it
    EXPECT_TRUE(Await([&] { return !tells(); }));
    shown.trigger();
    EXPECT_TRUE(viewer.window().statusBar()->isVisible());
    EXPECT_TRUE(Await(tells));
    viewer.window().cameras().closeActive();
    EXPECT_TRUE(Await([&] { return !tells(); }));
}

TEST(FullScreen, ShowsThePicturesAloneAndComesBackAsItWas)
{
    stage::Viewer viewer(Mount::Ceiling, "quad");
    viewer.window().activateWindow();
    ASSERT_TRUE(Await([&] { return viewer.window().isActiveWindow(); }));
    auto* const pad = viewer.window().findChild<QDockWidget*>("pad");
    stage::ActionOf(viewer, "Status line").trigger();
    ASSERT_FALSE(viewer.window().statusBar()->isVisible());
    stage::Key(stage::CONST_KEY_F11);
    EXPECT_TRUE(Await([&] { return viewer.window().isFullScreen(); }));
    EXPECT_FALSE(viewer.window().menuBar()->isVisible());
    EXPECT_FALSE(pad->isVisible());
    EXPECT_TRUE(stage::ShowsTheTruth(viewer, 0));
    stage::Key('3');  // keys work without the menu bar
    EXPECT_TRUE(Await([&] { return viewer.camera().selected() == 2; }));
    stage::Key(stage::CONST_KEY_F11);
    EXPECT_TRUE(Await([&] { return !viewer.window().isFullScreen(); }));
    EXPECT_TRUE(viewer.window().menuBar()->isVisible());
    EXPECT_TRUE(pad->isVisible());
    EXPECT_FALSE(viewer.window().statusBar()->isVisible());  // it had been turned off
}

TEST(Patrols, WaitForTheUserWhateverHeDoes)
{
    stage::Viewer viewer(Mount::Ceiling, "quad");
    viewer.window().activateWindow();
    ASSERT_TRUE(Await([&] { return viewer.window().isActiveWindow(); }));
    viewer.camera().savePreset("door");
    auto* const timer = viewer.window().findChild<QTimer*>("patrol");
    ASSERT_NE(timer, nullptr);
    stage::ActionOf(viewer, "Patrol").trigger();
    const int usual = timer->interval();
    auto* const presets = viewer.window().findChild<QListWidget*>();
    const CellWidget& cell = viewer.cell("view", 1);
    const std::pair<const char*, std::function<void()>> deeds[] = {
        {"a drag",
         [&] {
             stage::Drag(cell, {0.4, 0.5}, {0.5, 0.5});
         }},
        {"the wheel",
         [&] {
             stage::Wheel(cell, {0.4, 0.5}, 1);
         }},
        {"a double click",
         [&] {
             stage::DoubleClick(cell, {0.5, 0.5});
         }},
        {"the pad", [&] { stage::Click(PadButton(viewer, "Left")); }},
        {"a preset", [&] { stage::Click(*presets->viewport()); }},
        {"a key", [&] { stage::Key('2'); }},
        {"another key", [&] { stage::Key('g'); }}};
    for (const auto& [name, act] : deeds) {
        timer->start(usual);  // as after a step of the patrol
        act();
        EXPECT_TRUE(Await([&] { return timer->interval() > usual; })) << name;
        EXPECT_TRUE(timer->isActive()) << name;
    }
    // Idle, it goes on.
    EXPECT_TRUE(Await([&] { return timer->interval() == usual; }));
}

TEST(Boxes, CountFromSixteenPixelsOn)
{
    stage::Viewer viewer(Mount::Ceiling, "quad");
    CellWidget& cell = viewer.cell("view", 0);
    const double pixel = 1.0 / (cell.width() * cell.devicePixelRatioF());
    const auto drawn = [&](int pixels) {
        const double zoom = Now(viewer, 0).zoom;
        const QPointF size(pixels * pixel, pixels * pixel);
        stage::Drag(cell, QPointF(0.5, 0.5), QPointF(0.5, 0.5) + size, 3);
        return Now(viewer, 0).zoom < zoom;
    };
    EXPECT_FALSE(drawn(14));
    EXPECT_TRUE(drawn(18));
}

// ---- The lens dialog

QPushButton& ButtonOf(QWidget& dialog, const QString& text)
{
    for (QPushButton* const button : dialog.findChildren<QPushButton*>())
        if (QString(button->text()).remove('&') == text)
            return *button;
    throw std::runtime_error("no such button");
}

/// Imports a file by the dialog's button and the file dialog that it opens.
void Import(viewer::LensDialog& dialog, const QString& path)
{
    stage::WhenOpen<QFileDialog>([path](QFileDialog& files) {
        files.findChild<QLineEdit*>("fileNameEdit")->setText(path);
        QMetaObject::invokeMethod(&files, "accept", Qt::QueuedConnection);
    });
    stage::Click(ButtonOf(dialog, "Import calibration..."));
}

QString Written(const QTemporaryDir& folder, const QString& name, const QByteArray& text)
{
    QFile file(folder.filePath(name));
    EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(text);
    return file.fileName();
}

TEST(LensDialogs, ImportACalibrationInEitherForm)
{
    const QTemporaryDir folder;
    const QByteArray json = R"({"image_width": 1024, "image_height": 1024,
        "camera_matrix": {"rows": 3, "cols": 3, "dt": "d",
                          "data": [330, 0, 500.5, 0, 331, 520.5, 0, 0, 1]},
        "distortion_coefficients": {"rows": 4, "cols": 1, "dt": "d",
                                    "data": [-0.015, 0.002, 0, 0]}})";
    const QByteArray yaml = "%YAML:1.0\n---\nimage_width: 1024\nimage_height: 1024\n"
                            "camera_matrix: !!opencv-matrix\n   rows: 3\n   cols: 3\n   dt: d\n"
                            "   data: [ 340., 0., 510.5, 0., 341., 512.5, 0., 0., 1. ]\n"
                            "distortion_coefficients: !!opencv-matrix\n   rows: 4\n   cols: 1\n"
                            "   dt: d\n   data: [ 0.01, 0., 0., 0. ]\n";
    stage::Viewer viewer(Mount::Ceiling, "quad");
    viewer::LensDialog dialog(viewer.camera());
    dialog.show();
    const auto lens = [&] { return *viewer::extras::LensOf(viewer.camera().player()); };
    Import(dialog, Written(folder, "lens.json", json));
    EXPECT_TRUE(Await([&] { return lens().dFocalX == 330.0; }));
    EXPECT_EQ(lens().iModel, 4);
    EXPECT_EQ(lens().dCentreY, 520.5);
    EXPECT_EQ(lens().adK[0], -0.015);
    Import(dialog, Written(folder, "lens.yml", yaml));
    EXPECT_TRUE(Await([&] { return lens().dFocalX == 340.0; }));
    EXPECT_EQ(lens().dCentreX, 510.5);
    ASSERT_TRUE(viewer.camera().settings().lens.has_value());
    EXPECT_EQ(viewer.camera().settings().lens->dFocalY, 341.0);
    dialog.reject();
    EXPECT_FALSE(viewer.camera().settings().lens.has_value());
}

TEST(LensDialogs, TellOfAFileThatIsNoCalibrationAndChangeNothing)
{
    const QTemporaryDir folder;
    stage::Viewer viewer(Mount::Ceiling, "quad");
    viewer::LensDialog dialog(viewer.camera());
    dialog.show();
    QString told;
    stage::WhenOpen<QMessageBox>([&](QMessageBox& box) {
        told = box.text();
        box.close();
    });
    Import(dialog, Written(folder, "bad.yml", "%YAML:1.0\n---\nshopping: [ milk, bread ]\n"));
    EXPECT_TRUE(Await([&] { return !told.isEmpty(); }));
    EXPECT_TRUE(told.contains("bad.yml")) << told.toStdString();
    EXPECT_FALSE(viewer.camera().settings().lens.has_value());
    dialog.reject();
}

TEST(LensDialogs, ShowTheLensThatIsFoundInsteadOfARememberedOne)
{
    stage::Viewer viewer(Mount::Ceiling, "quad");
    RvLens lens = *viewer::extras::LensOf(viewer.camera().player());
    const double right = lens.dCircleRadius;
    lens.dCircleRadius = 200.0;
    ASSERT_TRUE(viewer.camera().chooseLens(lens));
    viewer::LensDialog dialog(viewer.camera());
    dialog.show();
    const QDoubleSpinBox* const radius = dialog.findChildren<QDoubleSpinBox*>()[3];
    ASSERT_EQ(radius->value(), 200.0);
    ButtonOf(dialog, "Find it").click();
    EXPECT_TRUE(Await([&] { return std::abs(radius->value() - right) < 6.0; })) << radius->value();
    // The engine finds another one later.
    lens.dCircleRadius = 250.0;
    ASSERT_TRUE(viewer::extras::SetLens(viewer.camera().player(), lens));
    EXPECT_TRUE(Await([&] { return radius->value() == 250.0; })) << radius->value();
    dialog.reject();
}

TEST(LensDialogs, AreOneForACameraAndKeepNothingUnconfirmed)
{
    const QTemporaryDir folder;
    const QString file = folder.filePath("viewer.ini");
    const QString clip = stage::RoomClip(Mount::Ceiling);
    const auto remembered = [&] {
        QSettings store(file, QSettings::IniFormat);
        return viewer::LoadCamera(store, clip).lens.has_value();
    };
    for (const bool confirms : {false, true}) {
        viewer::MainWindow window(std::make_unique<QSettings>(file, QSettings::IniFormat));
        window.show();
        window.openSource(clip);
        viewer::CameraWidget& camera = *window.cameras().active();
        ASSERT_TRUE(Await([&] { return camera.showsPictures(); }));
        for (int i = 0; i < 2; ++i)
            stage::ActionOf(window, "Lens...").trigger();
        const auto dialogs = camera.findChildren<viewer::LensDialog*>();
        ASSERT_EQ(dialogs.size(), 1);
        ASSERT_TRUE(camera.chooseLens(viewer::extras::LensOf(camera.player())));
        if (confirms)
            dialogs.first()->accept();
        window.cameras().closeActive();
        EXPECT_EQ(remembered(), confirms);
    }
}

struct Turned
{
    bool mirrored;
    bool flipped;
};

class LensCircles : public ::testing::TestWithParam<Turned>
{};

TEST_P(LensCircles, FollowTheMouseHoweverTheCameraHangs)
{
    stage::Viewer viewer(Mount::Ceiling, "quad");
    viewer.camera().chooseOrientation(GetParam().mirrored, GetParam().flipped);
    viewer::LensDialog dialog(viewer.camera());
    CellWidget& picture = viewer.cell("main");
    const auto lens = [&] { return *viewer::extras::LensOf(viewer.camera().player()); };
    const RvLens before = lens();
    const QPointF from(0.5, 0.5);
    const QPointF to(0.58, 0.45);
    stage::Drag(picture, picture.fromSquare(from), picture.fromSquare(to));
    EXPECT_NEAR(lens().dCentreX - before.dCentreX,
                (GetParam().mirrored ? -0.08 : 0.08) * before.iWidth, 4.0);
    EXPECT_NEAR(lens().dCentreY - before.dCentreY,
                (GetParam().flipped ? 0.05 : -0.05) * before.iHeight, 4.0);
    // The cross in the circle's middle is where the hand has taken it.
    const auto crossIsThere = [&] {
        const QImage image = stage::Grab(picture);
        const QPointF place = picture.fromSquare(to);
        const QPoint pixel(int(place.x() * image.width()), int(place.y() * image.height()));
        for (int dx = -4; dx <= 4; ++dx)
            for (int dy = -4; dy <= 4; ++dy)
                if (image.pixelColor(pixel + QPoint(dx, dy)) == QColor(Qt::yellow))
                    return true;
        return false;
    };
    EXPECT_TRUE(Await(crossIsThere));
    viewer.window().resize(700, 900);
    EXPECT_TRUE(Await(crossIsThere));
    const QPointF edge = to + QPointF(0.0, 0.45);
    stage::Drag(picture, picture.fromSquare(edge), picture.fromSquare(edge - QPointF(0.0, 0.05)));
    EXPECT_NEAR(lens().dCircleRadius, 0.4 * before.iHeight, 6.0);
    dialog.reject();
}

INSTANTIATE_TEST_SUITE_P(Orientations, LensCircles,
                         ::testing::Values(Turned{false, false}, Turned{true, false},
                                           Turned{false, true}, Turned{true, true}),
                         [](const auto& info) {
                             return std::string(info.param.mirrored ? "Mirrored" : "Plain") +
                                    (info.param.flipped ? "Flipped" : "");
                         });

}  // namespace
