// The program itself, as a script runs it: a picture of its window, and how it leaves.
#include <gtest/gtest.h>

#include <QFile>
#include <QProcess>
#include <QProcessEnvironment>
#include <QTemporaryDir>

#include "tests/viewer/Stage.h"

#include "viewer/Scene.h"

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

TEST(Program, LeavesWithAPictureOfItsWindow)
{
    const QTemporaryDir folder;
    const QString out = folder.filePath("window.png");
    const Outcome run = RunViewer({"--layout", "fisheye+3", "--overlay", "traced", "--snapshot",
                                   out, "--after", "0.5", stage::RoomClip(viewer::Mount::Ceiling)});
    EXPECT_EQ(run.code, 0) << run.said.toStdString();
    const QImage picture(out);
    EXPECT_GT(picture.width(), 1000);
    EXPECT_TRUE(picture.allGray() == false);
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
