// Pause and single steps, by the pictures that are seen.
#include <cmath>

#include <gtest/gtest.h>

#include <QAction>

#include "tests/viewer/Stage.h"

#include "viewer/EngineExtras.h"

namespace {

using stage::Await;

constexpr int CONST_PICTURES = 12;
constexpr int CONST_FIRST_LUMA = 32;
constexpr int CONST_LUMA_STEP = 16;  // from one picture to the next

/// One picture a second, so that none is on its way when another has just been seen; each is
/// brighter than the one before.
QString Stairs(const QString& name, const QStringList& encoder)
{
    return stage::Made("slow-stairs-" + name + ".mkv",
                       QStringList{"-f", "lavfi", "-i",
                                   QString("color=size=320x320:rate=1:duration=%1,format=yuv420p,"
                                           "geq=lum='%2+%3*N':cb=128:cr=128")
                                       .arg(CONST_PICTURES)
                                       .arg(CONST_FIRST_LUMA)
                                       .arg(CONST_LUMA_STEP),
                                   "-c:v", "libx264", "-qp", "1"} +
                           encoder);
}

/// Which picture of the clip is seen.
int Seen(stage::Viewer& viewer)
{
    const QImage image = stage::Grab(viewer.cell("main"));
    const double luma = 16.0 + image.pixelColor(image.rect().center()).green() * 219.0 / 255.0;
    return static_cast<int>(std::lround((luma - CONST_FIRST_LUMA) / CONST_LUMA_STEP));
}

struct Stream
{
    const char* name;
    QStringList encoder;
};

class Steps : public ::testing::TestWithParam<Stream>
{};

TEST_P(Steps, ShowTheNextPictureEachAndNoneBesides)
{
    stage::Viewer viewer(Stairs(GetParam().name, GetParam().encoder), "source");
    const auto shown = [&] { return viewer::extras::FiguresOf(viewer.camera().player())->llShown; };
    // The first that is another one.
    const auto seenAfter = [&](int before) {
        int seen = before;
        Await([&] { return (seen = Seen(viewer)) != before; });
        return seen;
    };
    ASSERT_TRUE(Await([&] { return Seen(viewer) == 3; }));
    stage::ActionOf(viewer, "Pause").trigger();
    const int first = Seen(viewer);
    const auto before = shown();
    constexpr int CONST_STEPS = CONST_PICTURES + 4;  // over the end, to the start again
    for (int i = 1; i <= CONST_STEPS; ++i) {
        stage::ActionOf(viewer, "One picture on").trigger();
        ASSERT_EQ(seenAfter((first + i - 1) % CONST_PICTURES), (first + i) % CONST_PICTURES);
        EXPECT_EQ(shown(), before + i);
    }
    EXPECT_TRUE(viewer.camera().paused());
    // From there it goes on.
    const int last = (first + CONST_STEPS) % CONST_PICTURES;
    stage::ActionOf(viewer, "Pause").trigger();
    EXPECT_GT(seenAfter(last), last);
}

INSTANTIATE_TEST_SUITE_P(Streams, Steps,
                         ::testing::Values(Stream{"InOrder", {"-bf", "0", "-g", "4"}},
                                           Stream{"Reordered",
                                                  {"-bf", "3", "-g", "6", "-b_strategy", "0"}}),
                         [](const auto& info) { return info.param.name; });

}  // namespace
