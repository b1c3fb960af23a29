// The smallest steps of a wheel.
#include <gtest/gtest.h>

#include <QWheelEvent>

#include "tests/viewer/Stage.h"

namespace {

using stage::Now;
using viewer::CellWidget;
using viewer::Mount;

void Turn(CellWidget& cell, int eighthsOfADegree)
{
    const QPointF middle = cell.rect().center();
    QWheelEvent event(middle, cell.mapToGlobal(middle.toPoint()), {}, {0, eighthsOfADegree},
                      Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
    QCoreApplication::sendEvent(&cell, &event);
}

TEST(Wheels, OfTouchpadsZoomTheNarrowestViewsInSmallStepsToo)
{
    stage::Viewer viewer(Mount::Ceiling, "quad");
    viewer.camera().turnTo(0, {{0.5, 0.6}, 700});
    for (int i = 0; i < 120; ++i)  // a notch in all
        Turn(viewer.cell("view", 0), 1);
    EXPECT_NEAR(Now(viewer, 0).zoom, 700 * 0.85, 8.0);
    for (int i = 0; i < 120; ++i)
        Turn(viewer.cell("view", 0), -1);
    EXPECT_NEAR(Now(viewer, 0).zoom, 700, 8.0);
    // At the end of the way nothing is saved up that would have to be turned back.
    for (int i = 0; i < 600; ++i)
        Turn(viewer.cell("view", 0), 1);
    ASSERT_EQ(Now(viewer, 0).zoom, 500);
    for (int i = 0; i < 120; ++i)
        Turn(viewer.cell("view", 0), -1);
    EXPECT_NEAR(Now(viewer, 0).zoom, 500 / 0.85, 8.0);
}

}  // namespace
