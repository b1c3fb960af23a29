// What is remembered of a camera, however the program is left and entered.
#include <gtest/gtest.h>

#include <QAction>
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

}  // namespace
