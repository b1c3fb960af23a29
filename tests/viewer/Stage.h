#pragma once

#include <functional>
#include <memory>
#include <optional>

#include <QApplication>
#include <QImage>

#include "optics/View.h"
#include "viewer/CameraWidget.h"
#include "viewer/MainWindow.h"

/// A display of its own, with a mouse and a keyboard, on which the viewer is put.
namespace stage {

/// Starts Xvfb and makes DISPLAY name it; false where it is not installed.
bool StartDisplay();
void EndDisplay();

/// Lets the program live until something holds; false where it does not come to hold.
bool Await(const std::function<bool()>& holds);

/// A clip of the room, which is made when it is first asked for. One of a fifth of a second is all
/// but a still picture.
QString RoomClip(viewer::Mount mount, double seconds = 0.2);

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

/// The mouse, by X events, in fractions of a cell; each returns once the viewer has heard of it.
void MoveTo(const viewer::CellWidget& cell, QPointF at);
void Press(int button = 1);
void Release(int button = 1);
/// From one place to another in steps, with a button held.
void Drag(const viewer::CellWidget& cell, QPointF from, QPointF to, int button = 1);
/// Notches upwards, or downwards below 0.
void Wheel(const viewer::CellWidget& cell, QPointF at, int notches);
void DoubleClick(const viewer::CellWidget& cell, QPointF at);
/// A key by its X keysym.
void Key(unsigned keysym);

/// What stands in the cell's window.
QImage Grab(const viewer::CellWidget& cell);

/// The part of an image that looks like the room itself seen through a view: 0..1. People move and
/// lines are drawn, so even the right view comes to a little less than 1.
double Likeness(const QImage& image, const optics::ViewParameters& view, viewer::Mount mount);

/// The parameters of the view in a pan/tilt/zoom cell, as the engine has them.
optics::ViewParameters ViewOf(const viewer::CameraWidget& camera, int number, const QImage& image);

optics::Mount MountOf(viewer::Mount mount);

}  // namespace stage
