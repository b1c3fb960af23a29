// What F1 tells of the keyboard and the mouse, and whether it is so.
#include <functional>
#include <vector>

#include <gtest/gtest.h>

#include <QDialog>
#include <QLabel>
#include <QRegularExpression>
#include <QScrollArea>
#include <QTimer>

#include "tests/viewer/Stage.h"

#include "viewer/CameraArea.h"
#include "viewer/EngineExtras.h"

namespace {

using stage::Await;
using stage::Now;
using stage::SeenAt;
using viewer::CellWidget;
using viewer::Mount;
using viewer::PtzView;

/// A key of the help, and how to see that it does what is said there.
struct Deed
{
    QString keys;  ///< as the help has them
    QString says;
    std::vector<unsigned> strokes;  ///< each of them does it
    std::vector<unsigned> held;
    std::function<void()> prepare;
    std::function<bool()> done;
};

/// A window with two cameras, of which the second is the active one, and what keys do to it.
class Keyboard : public ::testing::Test
{
protected:
    Keyboard() : m_viewer(Mount::Ceiling, "quad"), m_first(&m_viewer.camera())
    {
        viewer::Options options;
        options.layout = "fisheye+8";
        m_viewer.window().openSource(stage::RoomClip(Mount::Ceiling), options);
        Await([this] { return m_viewer.camera().showsPictures(); });
    }

    viewer::CameraWidget& camera() { return m_viewer.camera(); }

    void listen()
    {
        m_viewer.window().activateWindow();
        ASSERT_TRUE(Await([this] { return m_viewer.window().isActiveWindow(); }));
    }

    /// The lines of the help: keys and what they do.
    std::vector<std::pair<QString, QString>> help()
    {
        QString text;
        stage::WhenOpen<QDialog>([&](QDialog& dialog) {
            if (const auto* const area = dialog.findChild<QScrollArea*>())
                text = qobject_cast<QLabel*>(area->widget())->text();
            dialog.reject();
        });
        listen();
        stage::Key(stage::CONST_KEY_F1);
        EXPECT_TRUE(Await([&] { return !text.isEmpty(); }));
        const QString keys = text.mid(text.indexOf("<b>Keys</b>"));
        std::vector<std::pair<QString, QString>> lines;
        auto matches = QRegularExpression("<b>([^<]*)</b>&nbsp; ([^<]*)<br>").globalMatch(keys);
        while (matches.hasNext()) {
            const QRegularExpressionMatch match = matches.next();
            lines.emplace_back(match.captured(1), match.captured(2));
        }
        return lines;
    }

    Deed opens(const QString& keys, const QString& says, unsigned stroke, const QString& title,
               std::vector<unsigned> held = {})
    {
        return {keys,
                says,
                {stroke},
                std::move(held),
                [this] {
                    m_title.clear();
                    stage::WhenOpen<QDialog>([this](QDialog& dialog) {
                        m_title = dialog.windowTitle();
                        dialog.reject();
                    });
                },
                [this, title] { return m_title == title; }};
    }

    Deed choosesLayout(int number)
    {
        const viewer::Layout& layout = viewer::Layouts()[static_cast<std::size_t>(number - 1)];
        return {QString("Ctrl+%1").arg(number),
                layout.title,
                {unsigned('0' + number)},
                {stage::CONST_KEY_CONTROL},
                {},
                [this, id = layout.id] { return camera().settings().layout == id; }};
    }

    Deed selects(int number)
    {
        return {QString::number(number),
                QString("Select view %1").arg(number),
                {unsigned('0' + number)},
                {},
                [this, number] {
                    camera().chooseLayout("fisheye+8");
                    camera().select(number == 1 ? 1 : 0);
                },
                [this, number] { return camera().selected() == number - 1; }};
    }

    /// Where the view comes to look lies on a side of what it showed: -1 left or up, 1 right or
    /// down, 0 neither.
    Deed turns(const QString& key, unsigned stroke, int x, int y)
    {
        return {key,
                key,
                {stroke},
                {},
                [this] { aside(); },
                [this, x, y] {
                    const QPointF there =
                        SeenAt(m_before, viewer::DirectionAt(Now(m_viewer, 0), {0.5, 0.5}));
                    constexpr double CONST_LEVEL = 0.005;
                    const auto side = [](double value) {
                        return value > 0.5 + CONST_LEVEL ? 1 : value < 0.5 - CONST_LEVEL ? -1 : 0;
                    };
                    return side(there.x()) == x && side(there.y()) == y;
                }};
    }

    void aside()
    {
        camera().chooseLayout("quad");
        camera().select(0);
        camera().turnTo(0, {{0.6, 0.7}, 6000});
        m_before = Now(m_viewer, 0);
    }

    bool zoomed(bool in)
    {
        const double zoom = Now(m_viewer, 0).zoom;
        return in ? zoom < m_before.zoom : zoom > m_before.zoom;
    }

    qint64 shown() { return viewer::extras::FiguresOf(camera().player())->llShown; }

    std::vector<Deed> deeds();

    stage::Viewer m_viewer;
    viewer::CameraWidget* m_first;
    PtzView m_before;
    QString m_title;
    qint64 m_shown = 0;
    int m_player = -1;
};

std::vector<Deed> Keyboard::deeds()
{
    const unsigned control = stage::CONST_KEY_CONTROL;
    viewer::MainWindow& window = m_viewer.window();
    std::vector<Deed> all = {
        opens("Ctrl+O", "Open file...", 'o', "Open videos", {control}),
        opens("Ctrl+L", "Open address...", 'l', "Open address", {control}),
        opens("Ctrl+S", "Snapshot of the view...", 's', "Write a picture", {control}),
        opens("Ctrl+Shift+S", "Snapshot of the source...", 's', "Write a picture",
              {control, stage::CONST_KEY_SHIFT}),
        opens("F1", "Keys and gestures", stage::CONST_KEY_F1, "Keys and gestures"),
        {"G",
         "All cameras in a grid",
         {'g'},
         {},
         [this] { EXPECT_FALSE(m_first->isVisible()); },
         [this] { return m_first->isVisible() && camera().isVisible(); }},
        {"F11",
         "Full screen",
         {stage::CONST_KEY_F11},
         {},
         {},
         [&] { return window.isFullScreen(); }},
        {"Space", "Pause", {' '}, {}, {}, [this] { return camera().paused(); }},
        {".",
         "One picture on",
         {'.'},
         {},
         [this] { m_shown = shown(); },
         [this] { return camera().paused() && shown() == m_shown + 1; }},
        {"F5",
         "Reopen",
         {stage::CONST_KEY_F5},
         {},
         [this] { m_player = camera().player(); },
         [this] { return camera().player() != m_player; }},
        turns("Up", stage::CONST_KEY_UP, 0, -1),
        turns("Down", stage::CONST_KEY_DOWN, 0, 1),
        turns("Left", stage::CONST_KEY_LEFT, -1, 0),
        turns("Right", stage::CONST_KEY_RIGHT, 1, 0),
        {"+ or =", "Zoom in", {'+', '='}, {}, [this] { aside(); }, [this] { return zoomed(true); }},
        {"-", "Zoom out", {'-'}, {}, [this] { aside(); }, [this] { return zoomed(false); }},
        {"Home",
         "Home",
         {stage::CONST_KEY_HOME},
         {},
         [this] { aside(); },
         [this] { return Now(m_viewer, 0).zoom == 10000; }},
        {"P",
         "Patrol",
         {'p'},
         {},
         [this] {
             aside();
             camera().savePreset("door");
             camera().home();
         },
         [this] {
             return stage::Apart(Now(m_viewer, 0).centre, {0.6, 0.7}) < 0.001;
         }},
    };
    for (int number = 1; number < 10; ++number)
        all.push_back(choosesLayout(number));
    for (int number = 1; number <= viewer::CameraWidget::CONST_VIEWS; ++number)
        all.push_back(selects(number));
    all.push_back({"Ctrl+W", "Close camera", {'w'}, {control}, {}, [&] {
                       return window.cameras().cameras().size() == 1;
                   }});
    all.push_back({"Ctrl+Q", "Quit", {'q'}, {control}, {}, [&] { return !window.isVisible(); }});
    return all;
}

TEST_F(Keyboard, EveryKeyOfTheHelpDoesWhatIsSaidThereAndThereAreNoOthers)
{
    std::vector<std::pair<QString, QString>> told = help();
    for (const Deed& deed : deeds()) {
        const auto line = std::pair(deed.keys, deed.says);
        const auto found = std::find(told.begin(), told.end(), line);
        EXPECT_NE(found, told.end()) << deed.keys.toStdString() << " is not in the help";
        if (told.end() != found)
            told.erase(found);
        for (const unsigned stroke : deed.strokes) {
            if (deed.prepare)
                deed.prepare();
            listen();
            stage::Key(stroke, deed.held);
            EXPECT_TRUE(Await(deed.done))
                << deed.keys.toStdString() << " " << deed.says.toStdString();
        }
    }
    for (const auto& [keys, says] : told)
        ADD_FAILURE() << "nobody has tried " << keys.toStdString() << " " << says.toStdString();
}

TEST_F(Keyboard, ADragWithShiftZoomsIntoTheBox)
{
    aside();
    stage::MoveTo(m_viewer.cell("view", 0), {0.4, 0.4});
    stage::Hold(stage::CONST_KEY_SHIFT);
    stage::Drag(m_viewer.cell("view", 0), {0.4, 0.4}, {0.7, 0.7});
    stage::LetGo(stage::CONST_KEY_SHIFT);
    EXPECT_NEAR(Now(m_viewer, 0).zoom, 0.3 * m_before.zoom, 60.0);
    EXPECT_TRUE(stage::ShowsTheTruth(m_viewer, 0));
}

}  // namespace
