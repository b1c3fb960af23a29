// The program itself, as a script runs it: a picture of its window, and how it leaves.
#include <algorithm>

#include <gtest/gtest.h>

#include <QFile>
#include <QProcess>
#include <QProcessEnvironment>
#include <QSettings>
#include <QTemporaryDir>

#include "tests/viewer/Stage.h"

#include "viewer/CameraSettings.h"
#include "viewer/Scene.h"
#include "viewer/WindowPicture.h"

namespace {

struct Outcome
{
    int code;
    QString said;
};

Outcome RunViewer(const QStringList& arguments)
{
    QProcess program;
    program.start(FISHEYE_VIEWER, arguments);
    program.waitForFinished(-1);
    return {QProcess::NormalExit == program.exitStatus() ? program.exitCode() : -1,
            QString::fromLocal8Bit(program.readAllStandardError())};
}

/// Pixels of a colour in a picture.
int Count(const QImage& picture, const QColor& colour)
{
    int count = 0;
    for (int y = 0; y < picture.height(); ++y)
        for (int x = 0; x < picture.width(); ++x)
            count += picture.pixel(x, y) == colour.rgb() ? 1 : 0;
    return count;
}

/// The square in the middle of a picture.
QImage SquareOf(const QImage& picture)
{
    const int side = std::min(picture.width(), picture.height());
    return picture.copy((picture.width() - side) / 2, (picture.height() - side) / 2, side, side);
}

/// The part of a picture of the window where a cell stands in a window that is like it.
QImage PartOf(const QImage& picture, const viewer::CellWidget& cell)
{
    return picture.copy({cell.mapTo(cell.window(), QPoint(0, 0)), cell.size()});
}

TEST(Program, LeavesWithAPictureOfItsWindow)
{
    const QTemporaryDir folder;
    const QString out = folder.filePath("window.png");
    const Outcome run =
        RunViewer({"--layout", "fisheye+3", "--overlay", "traced", "--mount", "wall", "--snapshot",
                   out, "--after", "5", stage::RoomClip(viewer::Mount::Wall)});
    EXPECT_EQ(run.code, 0) << run.said.toStdString();
    const QImage picture(out);
    stage::Viewer like(viewer::Mount::Wall, "fisheye+3", viewer::OverlayKind::Traced);
    ASSERT_EQ(picture.size(), like.window().size());
    const QImage fisheye = PartOf(picture, like.cell("main"));
    optics::ViewParameters round;
    round.eMount = optics::Mount::Wall;
    EXPECT_GT(stage::Likeness(SquareOf(fisheye), round, viewer::Mount::Wall), stage::CONST_RIGHT);
    const char* const colours[] = {"#ff5a5a", "#52d273", "#5aa9ff", "#ffd23f"};
    for (int i = 0; i < 3; ++i) {
        const QImage view = PartOf(picture, like.cell("view", i));
        for (int other = 0; other < 3; ++other) {
            const double alike = stage::Likeness(view, stage::ViewOf(like.camera(), other, view),
                                                 viewer::Mount::Wall);
            if (other == i)
                EXPECT_GT(alike, stage::CONST_RIGHT) << i;
            else
                EXPECT_LT(alike, stage::CONST_RIGHT - 0.08) << i << " is like " << other;
        }
        EXPECT_GT(stage::Traced(fisheye, like, i, "main", colours[i]), 0.9) << i;
        EXPECT_GT(Count(view, colours[i]), 4 * view.width()) << i;  // its frame
    }
    EXPECT_EQ(Count(picture, colours[3]), 0);
}

TEST(Program, FailsAndSaysWhyWhereThereIsNothingToShowOrNowhereToWrite)
{
    const QTemporaryDir folder;
    const QString room = stage::RoomClip(viewer::Mount::Ceiling);
    const QString damaged = folder.filePath("damaged.mkv");
    QProcess::execute(
        "ffmpeg", {"-v", "error", "-i", room, "-c", "copy", "-bsf:v", "noise=amount=1", damaged});
    const struct
    {
        QString source;
        QString out;
        const char* words;
    } cases[] = {{"/nowhere/at-all.mkv", folder.filePath("a.png"), "at-all.mkv"},
                 {damaged, folder.filePath("b.png"), "without pictures"},
                 {room, "/nowhere/c.png", "/nowhere/c.png"}};
    for (const auto& one : cases) {
        const Outcome run = RunViewer({"--snapshot", one.out, "--after", "0", one.source});
        EXPECT_EQ(run.code, 1) << one.words;
        EXPECT_TRUE(run.said.contains("fisheye-viewer: ")) << run.said.toStdString();
        EXPECT_TRUE(run.said.contains(one.words)) << run.said.toStdString();
        EXPECT_FALSE(QFile::exists(one.out));
    }
}

TEST(Program, HasItsIconWhereItIsBuiltToo)
{
    ASSERT_FALSE(stage::AnyWindowHasAnIcon());
    const QTemporaryDir home;
    QProcess program;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("XDG_CONFIG_HOME", home.path());
    program.setProcessEnvironment(environment);
    program.start(FISHEYE_VIEWER, {stage::RoomClip(viewer::Mount::Ceiling)});
    EXPECT_TRUE(stage::Await(stage::AnyWindowHasAnIcon));
    program.kill();
    program.waitForFinished();
}

/// The viewer as somebody starts it, who has a folder of his own for its settings.
class RunningViewer
{
public:
    RunningViewer(const QTemporaryDir& settings, const QString& source)
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("XDG_CONFIG_HOME", settings.path());
        m_program.setProcessEnvironment(environment);
        m_program.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        m_program.start(FISHEYE_VIEWER, {source});
        EXPECT_TRUE(stage::Await([this] { return window() != 0; }));
    }
    ~RunningViewer()
    {
        m_program.kill();  // if it is still there
        m_program.waitForFinished(-1);
    }

    WId window() { return stage::WindowOf(m_program.processId()); }

    /// Waits for the frames of so many views, no less and no more.
    bool comesToShow(int views)
    {
        static const QColor CONST_COLOURS[] = {"#ff5a5a", "#52d273", "#5aa9ff", "#ffd23f",
                                               "#ff7bd5", "#3fe0d0", "#ff9a3c", "#b48cff"};
        return stage::Await([&] {
            const QImage picture = viewer::PictureOf(window());
            int shown = 0;
            for (const QColor& colour : CONST_COLOURS)
                shown += Count(picture, colour) > 100 ? 1 : 0;
            return shown == views;
        });
    }

    /// The exit code, once it has left by itself.
    int left()
    {
        stage::Await([this] { return QProcess::NotRunning == m_program.state(); });
        return QProcess::NormalExit == m_program.exitStatus() ? m_program.exitCode() : -1;
    }

private:
    QProcess m_program;
};

TEST(Program, RemembersACameraFromOneRunToTheNextAndIsClosedWhileItPlays)
{
    const QTemporaryDir folder;
    const QString clip = stage::RoomClip(viewer::Mount::Ceiling);
    {
        RunningViewer program(folder, clip);
        ASSERT_TRUE(program.comesToShow(8));
        stage::Focus(program.window());
        stage::Key('5', {stage::CONST_KEY_CONTROL});  // fisheye + 3
        EXPECT_TRUE(program.comesToShow(3));
        stage::Key('q', {stage::CONST_KEY_CONTROL});
        EXPECT_EQ(program.left(), 0);
    }
    QSettings store(folder.filePath("fisheye-viewer/fisheye-viewer.ini"), QSettings::IniFormat);
    EXPECT_EQ(viewer::LoadCamera(store, clip).layout, "fisheye+3");
    RunningViewer program(folder, clip);
    EXPECT_TRUE(program.comesToShow(3));
    stage::AskToClose(program.window());
    EXPECT_EQ(program.left(), 0);
}

/// What comes of the built-in scene where this script is the program that makes it.
QString SceneMadeBy(const QByteArray& script)
{
    const QTemporaryDir folder;
    QFile program(folder.filePath("fisheye-clip"));
    EXPECT_TRUE(program.open(QIODevice::WriteOnly));
    program.write(script);
    program.close();
    program.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    const QByteArray path = qgetenv("PATH");
    qputenv("PATH", QFile::encodeName(folder.path()) + ":" + path);
    qputenv("XDG_CACHE_HOME", QFile::encodeName(folder.path()));
    viewer::Scene scene(viewer::Mount::Ceiling);
    QString outcome;
    QObject::connect(&scene, &viewer::Scene::ready,
                     [&](const QString& clip) { outcome = "ready " + clip; });
    QObject::connect(&scene, &viewer::Scene::failed, [&](const QString& why) { outcome = why; });
    scene.make();
    EXPECT_TRUE(stage::Await([&] { return !outcome.isEmpty(); }));
    qputenv("PATH", path);
    qunsetenv("XDG_CACHE_HOME");
    return outcome;
}

TEST(Scenes, AreThoseOfAnotherViewerThatWasFirst)
{
    const QString outcome = SceneMadeBy("#!/bin/sh\n"
                                        "for part; do :; done\n"
                                        ": >\"$part\"; : >\"${part%.mkv.*}.mkv\"\n");
    EXPECT_TRUE(outcome.startsWith("ready ")) << outcome.toStdString();
    EXPECT_TRUE(outcome.endsWith("scene-ceiling.mkv")) << outcome.toStdString();
}

TEST(Scenes, WhoseMakerCannotBeStartedAreTold)
{
    const QString outcome = SceneMadeBy("#!/nowhere/sh\n");
    EXPECT_TRUE(outcome.startsWith("The scene could not be made in")) << outcome.toStdString();
}

}  // namespace
