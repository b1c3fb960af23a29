#pragma once

#include <QImage>
#include <qwindowdefs.h>

namespace viewer {

/// What a window shows, with all that others draw into windows within it, in real pixels.
///
/// It asks the window itself: what Qt grabs of a screen is black under XWayland, where no window is
/// drawn on the screen that X11 knows.
/// @param window an X11 window
/// @return a null image where the server does not give it, as of a window that is partly beyond the
///         screen's edge, or where it has not 32 bits per pixel
QImage PictureOf(WId window);

}  // namespace viewer
