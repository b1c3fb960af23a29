// What is refused or fails is told where the user looks.
#include <gtest/gtest.h>

#include <QAction>
#include <QMessageBox>

#include "tests/viewer/Stage.h"

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

}  // namespace
