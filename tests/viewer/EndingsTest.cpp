// What becomes of a file that has been played to its end.
#include <gtest/gtest.h>

#include <QAction>

#include "tests/viewer/Stage.h"

namespace {

using stage::Await;
using viewer::StreamState;

/// Five seconds of red whose last picture is green; a decoder holds several back for their order.
QString RedWithAGreenEnd()
{
    return stage::Made("late-green-end.mkv",
                       {"-f", "lavfi", "-i", "color=red:size=320x320:rate=25:duration=5", "-vf",
                        "drawbox=color=lime:t=fill:enable='gte(n,124)'", "-c:v", "libx264", "-bf",
                        "3", "-pix_fmt", "yuv420p"});
}

class Endings : public ::testing::Test
{
protected:
    Endings() { viewer.camera().setLoop(false); }

    bool comesToShow(const QColor& colour)
    {
        return Await([&] {
            const QImage image = stage::Grab(viewer.cell("main"));
            const QColor seen = image.pixelColor(image.rect().center());
            return std::abs(seen.red() - colour.red()) < 20 &&
                   std::abs(seen.green() - colour.green()) < 20;
        });
    }

    bool ends()
    {
        return Await([&] { return StreamState::Ended == viewer.camera().state(); });
    }

    stage::Viewer viewer{RedWithAGreenEnd(), "source"};
};

TEST_F(Endings, ShowTheLastPictureAndAreTold)
{
    ASSERT_TRUE(ends());
    EXPECT_TRUE(comesToShow(QColor(0, 255, 0)));
    EXPECT_TRUE(viewer.camera().trouble().contains("has ended"));
}

TEST_F(Endings, AreLeftByTheSpaceBarForTheStart)
{
    ASSERT_TRUE(ends());
    ASSERT_TRUE(comesToShow(QColor(0, 255, 0)));
    stage::ActionOf(viewer, "Pause").trigger();
    EXPECT_TRUE(comesToShow(QColor(255, 0, 0)));
    EXPECT_FALSE(viewer.camera().paused());
    ASSERT_TRUE(ends());
    EXPECT_TRUE(comesToShow(QColor(0, 255, 0)));
}

TEST_F(Endings, AreLeftWhenFilesAreToBePlayedAgain)
{
    ASSERT_TRUE(ends());
    stage::ActionOf(viewer, "Again from the start at the end").setChecked(false);
    stage::ActionOf(viewer, "Again from the start at the end").setChecked(true);
    EXPECT_TRUE(Await([&] { return StreamState::Playing == viewer.camera().state(); }));
    EXPECT_TRUE(viewer.camera().trouble().isEmpty());
}

}  // namespace
