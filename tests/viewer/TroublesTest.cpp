// What is refused or fails is told where the user looks.
#include <gtest/gtest.h>

#include <QAction>
#include <QMessageBox>
#include <QMutex>
#include <QSettings>
#include <QTemporaryDir>

#include "tests/viewer/Stage.h"

#include "viewer/CameraArea.h"
#include "viewer/Manager.h"

namespace {

using stage::Await;
using viewer::Mount;

TEST(Troubles, ASnapshotThatCannotBeWrittenIsToldWithoutTheStatusLine)
{
    stage::Viewer viewer(Mount::Ceiling, "quad");
    stage::ActionOf(viewer, "Status line").trigger();
    viewer.camera().snapshotSource("/nowhere/room.png");
    const auto box = [&] { return viewer.window().findChild<QMessageBox*>(); };
    ASSERT_TRUE(Await([&] { return nullptr != box() && box()->isVisible(); }));
    EXPECT_TRUE(box()->text().contains("/nowhere/room.png")) << box()->text().toStdString();
}

/// The lines that the program logs while this lives, but the manager's.
class Log
{
public:
    Log() : m_before(qInstallMessageHandler(take)) { lines().clear(); }
    ~Log() { qInstallMessageHandler(m_before); }
    Log(const Log&) = delete;
    Log& operator=(const Log&) = delete;

    static QStringList& lines()
    {
        static QStringList all;
        return all;
    }

private:
    static void take(QtMsgType, const QMessageLogContext&, const QString& text)
    {
        static QMutex mutex;
        const QMutexLocker lock(&mutex);
        if (!text.startsWith("\"_VX_\""))
            lines().append(text);
    }

    const QtMessageHandler m_before;
};

RvLens Nonsense()
{
    RvLens lens = viewer::UnknownLens();
    lens.iModel = 9;
    return lens;
}

TEST(Troubles, ALensThatIsRefusedIsToldWhetherGivenOrRemembered)
{
    const QString clip = stage::RoomClip(Mount::Ceiling);
    const QTemporaryDir folder;
    for (const bool remembered : {false, true}) {
        const Log log;
        auto store =
            std::make_unique<QSettings>(folder.filePath("viewer.ini"), QSettings::IniFormat);
        viewer::Options options;
        options.layout = "quad";
        if (remembered) {
            viewer::CameraSettings settings;
            settings.lens = Nonsense();
            viewer::SaveCamera(*store, clip, settings);
        } else {
            options.lens = Nonsense();
        }
        viewer::MainWindow window(std::move(store));
        window.show();
        window.openSource(clip, options);
        viewer::CameraWidget& camera = *window.cameras().active();
        ASSERT_TRUE(Await([&] { return camera.showsPictures(); }));
        EXPECT_TRUE(camera.trouble().contains("lens")) << camera.trouble().toStdString();
        EXPECT_TRUE(Log::lines().join('\n').contains("lens is refused"));
        EXPECT_FALSE(camera.settings().lens.has_value());
        ASSERT_TRUE(camera.chooseLens(std::nullopt));
        EXPECT_TRUE(camera.trouble().isEmpty()) << camera.trouble().toStdString();
    }
}

/// Whether letters stand in the middle of it and nothing elsewhere.
bool HoldsWords(const viewer::CellWidget& cell)
{
    const QImage image = stage::Grab(cell);
    const QColor ground = image.pixelColor(0, 0);
    QRect place;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            if (image.pixelColor(x, y) != ground)
                place |= QRect(x, y, 1, 1);
    const QPoint off = place.center() - image.rect().center();
    return place.width() > 50 && place.height() < image.height() / 2 && off.manhattanLength() < 10;
}

TEST(Troubles, AViewThatIsRefusedIsToldInItsCell)
{
    stage::Viewer viewer(Mount::Ceiling, "quad");
    const viewer::CellWidget& cell = viewer.cell("view", 0);
    EXPECT_EQ(cell.note(), QString());
    const Log log;
    viewer::Manager::instance().remove(viewer.camera().player());
    viewer.camera().chooseLayout("double180");
    EXPECT_TRUE(Log::lines().join('\n').contains("double180 are refused"));
    for (const char* const name : {"half", "other-half"}) {
        EXPECT_TRUE(viewer.cell(name).note().contains("refused")) << name;
        EXPECT_TRUE(Await([&] { return HoldsWords(viewer.cell(name)); })) << name;
    }
    viewer.camera().chooseLayout("quad");
    EXPECT_TRUE(Await([&] { return HoldsWords(cell); }));
    viewer.camera().reopen();
    ASSERT_TRUE(Await([&] { return viewer.camera().showsPictures(); }));
    EXPECT_EQ(cell.note(), QString());
    EXPECT_TRUE(stage::ShowsTheTruth(viewer, 0));
}

}  // namespace
