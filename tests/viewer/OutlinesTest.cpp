// The outlines of the views on the fisheye picture and on the panorama, for every mount.
#include <algorithm>
#include <cmath>

#include <gtest/gtest.h>

#include <QAction>

#include "tests/viewer/Stage.h"

#include "viewer/EngineExtras.h"
#include "viewer/ViewGeometry.h"

namespace {

using stage::Apart;
using stage::Await;
using viewer::Mount;
using viewer::OverlayKind;

const QColor CONST_FIRST("#ff5a5a");  // the colour of the first view, which is the selected one
const QColor CONST_OTHERS[] = {"#52d273", "#5aa9ff", "#ffd23f"};

/// The places of a colour in a cell, as fractions of it.
QVector<QPointF> Coloured(stage::Viewer& viewer, const QString& cell, const QColor& colour)
{
    const QImage image = stage::Grab(viewer.cell(cell));
    QVector<QPointF> places;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            if (image.pixel(x, y) == colour.rgb())
                places.append({(x + 0.5) / image.width(), (y + 0.5) / image.height()});
    return places;
}

/// How many of them lie in a part of the panorama's width.
int Between(stage::Viewer& viewer, double left, double right)
{
    const QVector<QPointF> places = Coloured(viewer, "panorama", CONST_FIRST);
    return static_cast<int>(std::count_if(places.begin(), places.end(), [&](QPointF place) {
        return place.x() >= left && place.x() < right;
    }));
}

/// Waits until so many pictures more have been shown.
bool PicturesGoOn(stage::Viewer& viewer, int count)
{
    const auto shown = [&] { return viewer::extras::FiguresOf(viewer.camera().player())->llShown; };
    const auto before = shown();
    return Await([&] { return shown() >= before + count; });
}

/// On the unturned panorama.
QPointF Strip(stage::Viewer& viewer, int view)
{
    return viewer::ToPanorama(viewer.camera().settings().mount,
                              viewer::FromFishEye(viewer.camera().lookOf(view)->centre));
}

class OutlinesOf : public ::testing::TestWithParam<Mount>
{};

TEST_P(OutlinesOf, ViewsAreNowhereWhereTheyAreTurnedOff)
{
    stage::Viewer viewer(GetParam(), "panorama+fisheye+4");
    const auto lines = [&] {
        int count = 0;
        for (const char* const cell : {"main", "panorama"}) {
            count += Coloured(viewer, cell, CONST_FIRST).size();
            for (const QColor& colour : CONST_OTHERS)
                count += Coloured(viewer, cell, colour).size();
        }
        return count;
    };
    const auto moved = [&] {
        viewer.camera().turnTo(0, {{0.6, 0.7}, 6000});
        viewer.camera().turnTo(0, {{0.4, 0.6}, 7000});
        return PicturesGoOn(viewer, 4);
    };
    ASSERT_TRUE(stage::ShowsTheTruth(viewer, 0));
    ASSERT_TRUE(moved());
    EXPECT_EQ(lines(), 0);
    for (const char* const kind : {"Traced outlines", "Square outlines"}) {
        stage::ActionOf(viewer, kind).trigger();
        EXPECT_TRUE(Await([&] { return lines() > 400; })) << kind;
        stage::ActionOf(viewer, "No outlines").trigger();
        EXPECT_TRUE(Await([&] { return 0 == lines(); })) << kind;
        ASSERT_TRUE(moved());
        EXPECT_EQ(lines(), 0) << kind;
    }
}

TEST_P(OutlinesOf, ViewsThatAreTracedAreTheBordersOfWhatTheyShow)
{
    for (const char* const layout : {"panorama+fisheye+4", "panorama+6", "fisheye+3"}) {
        stage::Viewer viewer(GetParam(), layout, OverlayKind::Traced);
        viewer.camera().turnTo(0, {{0.55, 0.7}, 6000});
        for (const char* const cell : {"main", "panorama"}) {
            if (!viewer.cell(cell).isVisible())
                continue;
            EXPECT_TRUE(Await([&] { return stage::Traced(viewer, 0, cell, CONST_FIRST) > 0.9; }))
                << layout << " " << cell << " " << stage::Traced(viewer, 0, cell, CONST_FIRST);
        }
    }
}

/// Whether places are the border of a square about a centre, of a tenth of the picture, which lies
/// whole within it.
bool AreASquare(const QVector<QPointF>& places, QPointF centre)
{
    constexpr double CONST_HALF = 0.05;
    constexpr double CONST_LINE = 0.01;  // half a line's width and a pixel's rounding
    QRectF seen;
    for (const QPointF& place : places) {
        const QPointF offset = place - centre;
        if (std::abs(std::max(std::abs(offset.x()), std::abs(offset.y())) - CONST_HALF) >
            CONST_LINE)
            return false;
        seen |= QRectF(offset, QSizeF(1e-9, 1e-9));
    }
    const double least = 2.0 * CONST_HALF - CONST_LINE;
    return places.size() > 100 && seen.width() > least && seen.height() > least;
}

TEST_P(OutlinesOf, ViewsThatAreSquaresLieAboutWhereTheyLook)
{
    const QPointF centre(0.55, 0.7);
    stage::Viewer viewer(GetParam(), "panorama+fisheye+4", OverlayKind::Square);
    viewer.camera().turnTo(0, {centre, 6000});
    const auto onFishEye = [&](QVector<QPointF> places) {
        for (QPointF& place : places)
            place = viewer::ToFishEye(viewer::FromPanorama(GetParam(), place));
        return places;
    };
    EXPECT_TRUE(Await([&] {
        QVector<QPointF> places = Coloured(viewer, "main", CONST_FIRST);
        for (QPointF& place : places)
            place = viewer.cell("main").toSquare(place);
        return AreASquare(places, centre);
    }));
    EXPECT_TRUE(Await(
        [&] { return AreASquare(onFishEye(Coloured(viewer, "panorama", CONST_FIRST)), centre); }));
    viewer.camera().chooseLayout("panorama+6");
    viewer.camera().turnTo(0, {centre, 6000});
    EXPECT_TRUE(Await(
        [&] { return AreASquare(Coloured(viewer, "panorama", CONST_FIRST), Strip(viewer, 0)); }));
}

TEST_P(OutlinesOf, ViewsLeadThemToWhereTheyAreDraggedOnThePanorama)
{
    for (const char* const layout : {"panorama+6", "panorama+fisheye+4"}) {
        for (const OverlayKind kind : {OverlayKind::Traced, OverlayKind::Square}) {
            stage::Viewer viewer(GetParam(), layout, kind);
            viewer.camera().turnTo(1, {{0.6, 0.72}, 6000});
            const QPointF start = Strip(viewer, 1);
            const QPointF end = start + QPointF(0.12, 0.1);
            stage::Drag(viewer.cell("panorama"), start, end);
            EXPECT_EQ(viewer.camera().selected(), 1);
            EXPECT_LT(Apart(Strip(viewer, 1), end), 0.02) << layout;
            EXPECT_TRUE(stage::ShowsTheTruth(viewer, 1)) << layout;
        }
    }
}

TEST_P(OutlinesOf, ViewsOverTheSeamOfThePanoramaAreNeverALineAcross)
{
    for (const char* const layout : {"panorama+6", "panorama+fisheye+4"}) {
        for (const OverlayKind kind : {OverlayKind::Traced, OverlayKind::Square}) {
            stage::Viewer viewer(GetParam(), layout, kind);
            for (int i = 1; i < viewer.camera().viewCount(); ++i)  // out of the way
                viewer.camera().turnTo(i, {{0.5, 0.75}, 500});
            viewer.camera().turnTo(0, {{0.5, 0.2}, 5000});    // the seam in its middle
            const bool traced = OverlayKind::Traced == kind;  // the manager cuts squares off there
            EXPECT_TRUE(Await([&] {
                const int left = Between(viewer, 0.0, 0.2);
                const int right = Between(viewer, 0.8, 1.0);
                return traced ? left > 20 && right > 20 : left + right > 20;
            })) << layout;
            EXPECT_EQ(Between(viewer, 0.3, 0.7), 0) << layout;
            // Turned by half a panorama it is whole, and there is nothing at the seam.
            stage::Drag(viewer.cell("panorama"), {0.25, 0.1}, {0.75, 0.1});
            EXPECT_TRUE(Await([&] {
                return Between(viewer, 0.3, 0.7) > 40 && 0 == Between(viewer, 0.0, 0.2);
            })) << layout;
            // There it leads its view as well.
            const QPointF start(0.5, Strip(viewer, 0).y());
            stage::Drag(viewer.cell("panorama"), start, start + QPointF(0.1, 0.05));
            EXPECT_LT(Apart(Strip(viewer, 0), start + QPointF(-0.4, 0.05)), 0.02) << layout;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Mounts, OutlinesOf,
                         ::testing::Values(Mount::Ceiling, Mount::Wall, Mount::Floor),
                         [](const auto& info) { return viewer::WordOf(info.param).toStdString(); });

}  // namespace
