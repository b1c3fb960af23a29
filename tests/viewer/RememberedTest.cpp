// What is remembered of a camera, however the program is left and entered.
#include <gtest/gtest.h>

#include <QAction>
#include <QDir>
#include <QFile>
#include <QSettings>
#include <QTemporaryDir>

#include "tests/viewer/Stage.h"

#include "viewer/CameraArea.h"
#include "viewer/EngineExtras.h"
#include "viewer/LensDialog.h"

namespace {

using stage::Await;

TEST(Remembered, IsWhatWasChosenWhileTheLensWasEditedButNotTheLens)
{
    const QTemporaryDir folder;
    const QString file = folder.filePath("viewer.ini");
    const QString clip = stage::RoomClip(viewer::Mount::Ceiling);
    {
        viewer::MainWindow window(std::make_unique<QSettings>(file, QSettings::IniFormat));
        window.show();
        viewer::Options options;
        options.layout = "quad";
        window.openSource(clip, options);
        viewer::CameraWidget& camera = *window.cameras().active();
        ASSERT_TRUE(Await([&] { return camera.showsPictures(); }));
        camera.savePreset("before");
        stage::ActionOf(window, "Lens...").trigger();
        ASSERT_TRUE(camera.chooseLens(viewer::extras::LensOf(camera.player())));
        camera.removePreset("before");
        camera.chooseLayout("panorama+6");
    }
    QSettings store(file, QSettings::IniFormat);
    const viewer::CameraSettings settings = viewer::LoadCamera(store, clip);
    EXPECT_EQ(settings.layout, "panorama+6");
    EXPECT_TRUE(settings.presets.isEmpty());
    EXPECT_FALSE(settings.lens.has_value());
}

TEST(Remembered, IsAFileByWhateverNameAndFromWhereverItIsOpened)
{
    const QTemporaryDir folder;
    const QDir home = QDir::current();
    const QDir videos(folder.filePath("videos"));
    ASSERT_TRUE(QDir(folder.path()).mkdir("videos"));
    ASSERT_TRUE(QFile::link("room.mkv", videos.filePath("newest.mkv")));
    viewer::MainWindow window(
        std::make_unique<QSettings>(folder.filePath("viewer.ini"), QSettings::IniFormat));
    const auto mountOf = [&](const QString& from, const QString& name) {
        QDir::setCurrent(from);
        window.openSource(name);
        QDir::setCurrent(home.path());
        return window.cameras().active()->settings().mount;
    };
    // Named before it is there.
    ASSERT_EQ(mountOf(videos.path(), "room.mkv"), viewer::Mount::Ceiling);
    window.cameras().active()->chooseMount(viewer::Mount::Floor);
    ASSERT_TRUE(QFile::copy(stage::RoomClip(viewer::Mount::Ceiling), videos.filePath("room.mkv")));
    EXPECT_EQ(mountOf(videos.path(), "room.mkv"), viewer::Mount::Floor);
    EXPECT_EQ(mountOf(folder.path(), "videos/room.mkv"), viewer::Mount::Floor);
    EXPECT_EQ(mountOf(folder.path(), "videos/newest.mkv"), viewer::Mount::Floor);
    EXPECT_EQ(mountOf("/", videos.filePath("../videos/room.mkv")), viewer::Mount::Floor);
}

}  // namespace
