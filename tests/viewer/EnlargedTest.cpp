// What steers while one cell has the whole window.
#include <gtest/gtest.h>

#include <QAction>

#include "tests/viewer/Stage.h"

namespace {

using stage::Await;
using stage::Now;
using viewer::Mount;

TEST(EnlargedCells, GiveWayToTheViewWhoseNumberIsPressed)
{
    stage::Viewer viewer(Mount::Ceiling, "fisheye+3");
    viewer.window().activateWindow();
    ASSERT_TRUE(Await([&] { return viewer.window().isActiveWindow(); }));
    stage::DoubleClick(viewer.cell("view", 0), {0.5, 0.5});
    ASSERT_TRUE(Await([&] { return !viewer.cell("main").isVisible(); }));
    stage::Key('3');
    EXPECT_TRUE(Await([&] { return viewer.cell("view", 2).isVisible(); }));
    EXPECT_FALSE(viewer.cell("view", 0).isVisible());
    EXPECT_EQ(viewer.cell("view", 2).size(), viewer.camera().size());
    EXPECT_EQ(viewer.camera().selected(), 2);
    EXPECT_TRUE(stage::ShowsTheTruth(viewer, 2));
    stage::Key('8');  // there is none
    stage::Key('2');
    EXPECT_TRUE(Await([&] { return viewer.cell("view", 1).isVisible(); }));
    // Where none is enlarged none becomes so.
    stage::DoubleClick(viewer.cell("view", 1), {0.5, 0.5});
    ASSERT_TRUE(Await([&] { return viewer.cell("main").isVisible(); }));
    stage::Key('1');
    EXPECT_TRUE(Await([&] { return viewer.camera().selected() == 0; }));
    EXPECT_TRUE(viewer.cell("main").isVisible());
}

TEST(EnlargedCells, HoldAPatrolUpWhileTheyCoverTheViewThatItSteers)
{
    stage::Viewer viewer(Mount::Ceiling, "fisheye+3");
    viewer.camera().turnTo(0, {{0.6, 0.7}, 4000});
    viewer.camera().savePreset("door");
    viewer.camera().home();
    const QPointF home = Now(viewer, 0).centre;
    stage::DoubleClick(viewer.cell("main"), {0.05, 0.05});
    ASSERT_TRUE(Await([&] { return !viewer.cell("view", 0).isVisible(); }));
    auto* const timer = viewer.window().findChild<QTimer*>("patrol");
    int steps = 0;
    QObject::connect(timer, &QTimer::timeout, [&] { ++steps; });
    stage::ActionOf(viewer, "Patrol").trigger();
    timer->start(0);
    ASSERT_TRUE(Await([&] { return steps > 0; }));
    EXPECT_EQ(Now(viewer, 0).centre, home);
    EXPECT_TRUE(timer->isActive());  // it goes on once the view is there again
    viewer.camera().showView(0);
    timer->start(0);
    EXPECT_TRUE(Await([&] { return stage::Apart(Now(viewer, 0).centre, {0.6, 0.7}) < 0.001; }));
}

}  // namespace
