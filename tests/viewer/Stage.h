#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include <gtest/gtest.h>

#include <QApplication>
#include <QImage>
#include <QTimer>

#include "optics/View.h"
#include "viewer/CameraWidget.h"
#include "viewer/MainWindow.h"
#include "viewer/ViewGeometry.h"

/// A display of its own, with a mouse and a keyboard, on which the viewer is put.
namespace stage {

/// Starts Xvfb and makes DISPLAY name it; false where it is not installed.
bool StartDisplay();
void EndDisplay();

/// Lets the program live until something holds; false where it does not come to hold.
bool Await(const std::function<bool()>& holds);

constexpr double CONST_RIGHT = 0.80;  ///< likeness of a picture that is what it must be

/// A clip of the room, which is made when it is first asked for. One of a fifth of a second is all
/// but a still picture.
QString RoomClip(viewer::Mount mount, double seconds = 0.2);

/// A file that FFmpeg's program makes with these arguments, when it is first asked for.
QString Made(const QString& name, const QStringList& arguments);

/// The viewer's window with one camera, showing pictures.
class Viewer
{
public:
    enum class Wait
    {
        No,
        ForPictures
    };

    /// Looks at the room's clip.
    Viewer(viewer::Mount mount, const QString& layout,
           viewer::OverlayKind overlay = viewer::OverlayKind::Off);
    /// Looks at any source, from the ceiling.
    Viewer(const QString& source, const QString& layout,
           viewer::OverlayKind overlay = viewer::OverlayKind::Off, Wait wait = Wait::ForPictures);

    viewer::MainWindow& window() { return *m_window; }
    viewer::CameraWidget& camera();
    /// "main", "panorama", "half", "other-half" or "view", the latter by number.
    viewer::CellWidget& cell(const QString& name, int number = -1);

private:
    void open(viewer::Mount mount, const QString& source, const QString& layout,
              viewer::OverlayKind overlay);

    std::unique_ptr<viewer::MainWindow> m_window;
};

/// The entry of a menu, by its text without "&".
QAction& ActionOf(Viewer& viewer, const QString& text);
QAction& ActionOf(viewer::MainWindow& window, const QString& text);

/// Waits for a dialog to open, lets it be handled, and goes on waiting. For what opens one and
/// comes back when it is closed: to be called before.
template <typename Dialog>
void WhenOpen(const std::function<void(Dialog&)>& handle)
{
    auto* const timer = new QTimer(qApp);
    QObject::connect(timer, &QTimer::timeout, [timer, handle] {
        if (auto* const dialog = qobject_cast<Dialog*>(QApplication::activeModalWidget())) {
            timer->deleteLater();
            timer->stop();
            handle(*dialog);
        }
    });
    timer->start(20);
}

/// The mouse, by X events, in fractions of a cell; each returns once the viewer has heard of it.
void MoveTo(const viewer::CellWidget& cell, QPointF at);
void Press(int button = 1);
void Release(int button = 1);
/// From one place to another in steps, with a button held.
void Drag(const viewer::CellWidget& cell, QPointF from, QPointF to, int button = 1);
/// Notches upwards, or downwards below 0.
void Wheel(const viewer::CellWidget& cell, QPointF at, int notches);
void DoubleClick(const viewer::CellWidget& cell, QPointF at);
/// A click in the middle of any widget that can be seen.
void Click(const QWidget& widget);
/// The same at a place of it.
void ClickAt(const QWidget& widget, QPoint place);
/// Keys by their X keysyms; throws where the keyboard has none. Nothing is awaited.
void Hold(unsigned keysym);
void LetGo(unsigned keysym);
/// A key while others are held. What it gives only with Shift is typed with it.
void Key(unsigned keysym, const std::vector<unsigned>& held = {});
/// Latin letters, digits and signs, one after the other.
void Type(const char* text);

constexpr unsigned CONST_KEY_TAB = 0xff09;
constexpr unsigned CONST_KEY_RETURN = 0xff0d;
constexpr unsigned CONST_KEY_ESCAPE = 0xff1b;
constexpr unsigned CONST_KEY_HOME = 0xff50;
constexpr unsigned CONST_KEY_LEFT = 0xff51;
constexpr unsigned CONST_KEY_UP = 0xff52;
constexpr unsigned CONST_KEY_RIGHT = 0xff53;
constexpr unsigned CONST_KEY_DOWN = 0xff54;
constexpr unsigned CONST_KEY_PAGE_DOWN = 0xff56;
constexpr unsigned CONST_KEY_F1 = 0xffbe;
constexpr unsigned CONST_KEY_F5 = 0xffc2;
constexpr unsigned CONST_KEY_F11 = 0xffc8;
constexpr unsigned CONST_KEY_SHIFT = 0xffe1;
constexpr unsigned CONST_KEY_CONTROL = 0xffe3;

/// The window that a program shows, by its process; 0 while there is none.
WId WindowOf(qint64 process);
/// Lets a window have the keys.
void Focus(WId window);
/// Asks it to close, as its frame's button does.
void AskToClose(WId window);

/// Whether a window of any program on the display has an icon.
bool AnyWindowHasAnIcon();

/// What stands in the cell's window.
QImage Grab(const viewer::CellWidget& cell);

/// The part of an image that looks like the room itself seen through a view: 0..1. People move and
/// lines are drawn, so even the right view comes to a little less than 1.
double Likeness(const QImage& image, const optics::ViewParameters& view, viewer::Mount mount);

/// The parameters of the view in a pan/tilt/zoom cell, as the engine has them.
optics::ViewParameters ViewOf(const viewer::CameraWidget& camera, int number, const QImage& image);

optics::Mount MountOf(viewer::Mount mount);

/// The geometry of a pan/tilt/zoom view as it is now.
viewer::PtzView Now(Viewer& viewer, int number);

/// Where a view shows a direction; far outside where it does not.
QPointF SeenAt(const viewer::PtzView& view, const viewer::Direction& direction);

double Apart(QPointF a, QPointF b);

/// Whether a cell comes to show what the engine says that it shows.
::testing::AssertionResult ShowsTheTruth(Viewer& viewer, int number);

/// How much of a view's border has a line of its colour on the picture in the cell "main" (fisheye)
/// or "panorama" (unturned): 0..1.
double Traced(Viewer& viewer, int number, const QString& cell, const QColor& colour);
/// The same, of a picture of that cell.
double Traced(const QImage& image, Viewer& viewer, int number, const QString& cell,
              const QColor& colour);

}  // namespace stage
