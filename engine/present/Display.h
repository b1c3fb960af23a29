// The X11 side: one connection for the process, one thread that hears its events, and a Window for
// each place where a view is shown. Without a display everything works and nothing is shown.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>

namespace engine {

/// A size in pixels.
struct Extent
{
    int width = 0;
    int height = 0;
    bool operator==(const Extent& other) const
    {
        return width == other.width && height == other.height;
    }
    bool operator!=(const Extent& other) const { return !(*this == other); }
};

/// A client's window, as far as showing pictures in it goes. The window belongs to the client: it
/// may not exist, be unmapped or destroyed at any time; it is then simply not shown in.
///
/// Size, IsShown and Close may be called from any thread. The others belong to one thread.
class Window
{
public:
    virtual ~Window() = default;

    /// Size as last heard of; 0 x 0 when the window is not known (yet).
    virtual Extent Size() const = 0;
    /// Whether anybody could see it: it exists and is mapped.
    virtual bool IsShown() const = 0;
    /// Whether Pixels may be drawn into: the server has taken what was shown last. Where it has
    /// not, `changed` is called as soon as it has.
    virtual bool IsFree() = 0;
    /// Memory for a picture of this size, rows without gaps, to be drawn into and shown; valid
    /// until the next call. Null only without memory. Its content is lost when the size changes.
    virtual std::uint8_t* Pixels(Extent size) = 0;
    /// Puts the picture in Pixels into the middle of the window and blackens what it leaves.
    virtual void Show() = 0;
    /// Sends what was shown in this window without waiting for it to be taken.
    virtual void Flush() = 0;
    /// Nothing is shown any more, also the rest of a picture that is on its way.
    virtual void Close() = 0;
};

/// The window with an X11 window id. `changed` is called from the event thread when the window was
/// resized, mapped, unmapped, destroyed or needs to be drawn again, never after the Window is gone.
/// It may not open or destroy a Window, nor wait for a thread that does.
std::unique_ptr<Window> OpenWindow(std::uint64_t id, std::function<void()> changed);

}  // namespace engine
