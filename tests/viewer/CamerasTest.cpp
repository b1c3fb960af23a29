// Several cameras in one window, and what is remembered of each of them.

#include <memory>

#include <gtest/gtest.h>

#include <QAction>
#include <QListWidget>
#include <QSettings>
#include <QStyle>
#include <QTabBar>
#include <QTemporaryDir>

#include "tests/viewer/Stage.h"

#include "viewer/CameraArea.h"
#include "viewer/EngineExtras.h"

namespace {

using stage::ActionOf;
using stage::Await;
using viewer::CameraWidget;
using viewer::Mount;
using viewer::OverlayKind;

/// How one camera is set up, by menus and the lens.
struct Arrangement
{
    Mount mount;
    const char* mountEntry;
    const char* layoutEntry;
    const char* layout;
    const char* overlayEntry;
    OverlayKind overlay;
    double fieldOfView;
    const char* preset;
    QPointF place;
};

const Arrangement CONST_ON_A_WALL = {Mount::Wall,  "On a wall",   "Panorama + 6",
                                     "panorama+6", "No outlines", OverlayKind::Off,
                                     172.5,        "board",       {0.4, 0.45}};
const Arrangement CONST_ON_THE_FLOOR = {Mount::Floor,      "On the floor",      "Quad", "quad",
                                        "Square outlines", OverlayKind::Square, 191.0,  "lamp",
                                        {0.6, 0.7}};

class RememberedCameras : public ::testing::Test
{
protected:
    std::unique_ptr<viewer::MainWindow> open()
    {
        auto window = std::make_unique<viewer::MainWindow>(
            std::make_unique<QSettings>(m_folder.filePath("viewer.ini"), QSettings::IniFormat));
        window->move(0, 0);
        window->show();
        return window;
    }

    /// Opens a room in the window, whose active camera it is then.
    static CameraWidget& add(viewer::MainWindow& window, Mount mount)
    {
        window.openSource(stage::RoomClip(mount));
        CameraWidget& camera = *window.cameras().active();
        EXPECT_TRUE(Await([&] { return camera.showsPictures(); }));
        return camera;
    }

    /// By the menus, as far as there are any.
    static void arrange(viewer::MainWindow& window, const Arrangement& wanted)
    {
        CameraWidget& camera = *window.cameras().active();
        ActionOf(window, wanted.mountEntry).trigger();
        EXPECT_TRUE(Await([&] { return camera.showsPictures(); }));
        ActionOf(window, wanted.layoutEntry).trigger();
        ActionOf(window, wanted.overlayEntry).trigger();
        RvLens lens = *viewer::extras::LensOf(camera.player());
        lens.dFieldOfView = wanted.fieldOfView;
        lens.dFocalX = lens.dFocalY = 0.0;
        ASSERT_TRUE(camera.chooseLens(lens));
        camera.turnTo(0, {wanted.place, 4000});
        camera.savePreset(wanted.preset);
    }

    /// In the settings, in the engine, in the menus and in the pad's list.
    static void expect(viewer::MainWindow& window, CameraWidget& camera, const Arrangement& wanted)
    {
        window.cameras().activate(&camera);
        EXPECT_EQ(camera.settings().mount, wanted.mount);
        EXPECT_EQ(camera.settings().layout, wanted.layout);
        EXPECT_EQ(camera.settings().overlay, wanted.overlay);
        EXPECT_EQ(viewer::extras::LensOf(camera.player())->dFieldOfView, wanted.fieldOfView);
        for (const char* const entry : {wanted.mountEntry, wanted.layoutEntry, wanted.overlayEntry})
            EXPECT_TRUE(ActionOf(window, entry).isChecked()) << entry;
        auto* const presets = window.findChild<QListWidget*>();
        ASSERT_EQ(presets->count(), 1);
        EXPECT_EQ(presets->item(0)->text(), wanted.preset);
        ASSERT_TRUE(camera.goToPreset(wanted.preset));
        EXPECT_LT(stage::Apart(camera.lookOf(0)->centre, wanted.place), 0.001);
    }

    const QTemporaryDir m_folder;
};

TEST_F(RememberedCameras, AreRememberedFromOneRunToTheNextAndNotMixedUp)
{
    {
        const auto window = open();
        add(*window, Mount::Wall);
        arrange(*window, CONST_ON_A_WALL);
        add(*window, Mount::Floor);
        arrange(*window, CONST_ON_THE_FLOOR);
    }
    const auto window = open();
    CameraWidget& floor = add(*window, Mount::Floor);  // in the other order
    CameraWidget& wall = add(*window, Mount::Wall);
    for (int i = 0; i < 2; ++i) {
        expect(*window, floor, CONST_ON_THE_FLOOR);
        expect(*window, wall, CONST_ON_A_WALL);
    }
    // A third one has nothing of them.
    CameraWidget& ceiling = add(*window, Mount::Ceiling);
    EXPECT_EQ(ceiling.settings().mount, Mount::Ceiling);
    EXPECT_FALSE(ceiling.settings().lens.has_value());
    EXPECT_TRUE(ceiling.settings().presets.isEmpty());
    EXPECT_EQ(window->findChild<QListWidget*>()->count(), 0);
}

TEST_F(RememberedCameras, ForgetAPresetThatIsRemoved)
{
    {
        const auto window = open();
        CameraWidget& camera = add(*window, Mount::Ceiling);
        camera.savePreset("door");
        camera.savePreset("window");
        camera.removePreset("door");
    }
    const auto window = open();
    EXPECT_EQ(add(*window, Mount::Ceiling).settings().presets.keys(), QStringList{"window"});
}

/// A window of two rooms, each as it is seen from another place.
class TwoCameras : public ::testing::Test
{
protected:
    TwoCameras() : m_viewer(Mount::Wall, "quad"), m_wall(&m_viewer.camera())
    {
        viewer::Options options;
        options.mount = Mount::Floor;
        options.layout = "fisheye+3";
        options.overlay = OverlayKind::Traced;
        m_viewer.window().openSource(stage::RoomClip(Mount::Floor), options);
        m_floor = &m_viewer.camera();
        Await([this] { return m_floor->showsPictures(); });
    }

    viewer::CameraArea& area() { return m_viewer.window().cameras(); }

    void showsItsOwn(CameraWidget* camera, Mount mount)
    {
        area().activate(camera);
        ASSERT_EQ(m_viewer.camera().settings().mount, mount);
        for (int i = 0; i < 3; ++i)
            EXPECT_TRUE(stage::ShowsTheTruth(m_viewer, i)) << i;
    }

    QTabBar& tabs() { return *area().findChild<QTabBar*>(); }

    /// The cross of a tab.
    QWidget& crossOf(int tab)
    {
        const auto side =
            tabs().style()->styleHint(QStyle::SH_TabBar_CloseButtonPosition, nullptr, &tabs());
        return *tabs().tabButton(tab, static_cast<QTabBar::ButtonPosition>(side));
    }

    stage::Viewer m_viewer;
    CameraWidget* m_wall;
    CameraWidget* m_floor;
};

TEST_F(TwoCameras, HaveAMountALayoutAndALensOfTheirOwn)
{
    for (const bool grid : {false, true}) {
        area().setGrid(grid);
        showsItsOwn(m_wall, Mount::Wall);
        EXPECT_EQ(m_floor->isVisible(), grid);
        showsItsOwn(m_floor, Mount::Floor);
        EXPECT_EQ(m_wall->isVisible(), grid);
        EXPECT_TRUE(Await([&] { return stage::Traced(m_viewer, 0, "main", "#ff5a5a") > 0.9; }));
    }
    EXPECT_FALSE(m_wall->geometry().intersects(m_floor->geometry()));
    // What is done to one leaves the other as it was.
    const double before = viewer::extras::LensOf(m_wall->player())->dCircleRadius;
    RvLens lens = *viewer::extras::LensOf(m_floor->player());
    lens.dCircleRadius = 300.0;
    ASSERT_TRUE(m_floor->chooseLens(lens));
    EXPECT_EQ(viewer::extras::LensOf(m_wall->player())->dCircleRadius, before);
    m_floor->chooseLayout("panorama");
    m_floor->chooseMount(Mount::Ceiling);
    EXPECT_EQ(m_wall->settings().layout, "quad");
    showsItsOwn(m_wall, Mount::Wall);
}

TEST_F(TwoCameras, AreChosenByTheirTabsAndClosedByTheirCrosses)
{
    ASSERT_TRUE(tabs().isVisible());
    EXPECT_EQ(tabs().tabText(0), "room-wall-0.2.mkv");
    tabs().setCurrentIndex(0);
    EXPECT_EQ(area().active(), m_wall);
    EXPECT_TRUE(m_wall->isVisible());
    EXPECT_TRUE(ActionOf(m_viewer, "On a wall").isChecked());
    stage::Click(crossOf(1));  // of the one that is not shown
    ASSERT_TRUE(Await([&] { return area().cameras().size() == 1; }));
    EXPECT_EQ(area().active(), m_wall);
    EXPECT_FALSE(tabs().isVisible());
    EXPECT_EQ(m_wall->geometry(), area().rect());
    showsItsOwn(m_wall, Mount::Wall);
}

TEST_F(TwoCameras, LeaveTheOtherWhenTheOneThatIsShownIsClosed)
{
    stage::Click(crossOf(1));
    ASSERT_TRUE(Await([&] { return area().cameras().size() == 1; }));
    showsItsOwn(m_wall, Mount::Wall);
    EXPECT_TRUE(ActionOf(m_viewer, "On a wall").isChecked());
    EXPECT_TRUE(ActionOf(m_viewer, "Quad").isChecked());
    EXPECT_TRUE(m_viewer.window().windowTitle().startsWith("room-wall"));
    ActionOf(m_viewer, "Close camera").trigger();
    EXPECT_EQ(area().active(), nullptr);
    EXPECT_FALSE(m_viewer.window().windowTitle().contains("room"));
    m_viewer.window().openSource(stage::RoomClip(Mount::Ceiling));
    EXPECT_TRUE(Await([&] { return m_viewer.camera().showsPictures(); }));
}

}  // namespace
