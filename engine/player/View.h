// One view of a player: what the client set, and what the render thread makes of it.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

#include "engine/PlaySdk.h"
#include "engine/player/Callback.h"
#include "engine/player/ViewImage.h"
#include "engine/player/ViewMapping.h"
#include "engine/present/Display.h"
#include "engine/present/Overlay.h"

namespace engine {

/// Everything that the client can set on a view; copied out under the view's lock.
struct ViewState
{
    ViewSettings settings;
    RvPtz ptz{};        ///< as set, zoom clamped
    RvWideScan wide{};  ///< as set
    Extent fixedSize;   ///< 0 x 0: the window's
    std::vector<OverlayText> texts;
    std::vector<OverlayLine> lines;
    std::uint64_t revision = 1;  ///< grows whenever `settings` changes
};

/// What a view's picture is made with, besides the decoded picture.
struct Rendering
{
    std::uint64_t settings = 0;  ///< revision
    std::uint64_t camera = 0;    ///< revision
    Extent size;
    bool operator!=(const Rendering& other) const
    {
        return settings != other.settings || camera != other.camera || size != other.size;
    }
};

/// A view. The functions of the client's side may be called from any thread.
class View
{
public:
    using ImageCallback = Callback<int, int, void*, unsigned int, unsigned int>;

    /// `changed` is called from any thread, also the display's, when the view wants to be drawn.
    View(int id, const ViewSettings& settings, std::function<void()> changed);

    int Id() const { return m_id; }

    // ---- The client's side. Settings that change nothing draw nothing: a callback may set them
    // every time.

    /// 0 opens none and closes the one before.
    void SetWindow(std::uint64_t window);
    /// As set last; 0: none.
    std::uint64_t WindowId() const;
    ViewState State() const;
    /// 0, RV_REFUSED or RV_OUTSIDE_CIRCLE.
    int SetPtz(const RvPtz& ptz);
    int GetPtz(RvPtz& ptz) const;
    int SetWide(const RvWideScan& wide);
    int GetWide(RvWideScan& wide) const;
    void SetMount(optics::Mount mount);
    void SetMode(int mode);
    void SetFixedSize(Extent size);
    void SetTexts(std::vector<OverlayText> texts);
    void SetLines(std::vector<OverlayLine> lines);
    /// Null clears; returns when the former callback does not run any more, except from within it.
    /// False: the view is deleted.
    bool SetCallback(ImageCallback::Function function, void* user);

    /// The view was deleted: it is not drawn any more.
    void Retire();

    /// The size at which it is rendered now.
    Extent RenderSize() const;

    // ---- The render thread's side.

    /// Whether anything wants its picture: a callback, or a window that can be seen.
    bool IsWanted() const;
    /// Whether something changed since the last call.
    bool TakeDirty() { return m_dirty.exchange(false); }
    void MarkDirty() { m_dirty = true; }
    /// The window, when it can be seen, else null.
    std::shared_ptr<Window> ShownWindow() const;
    ImageCallback& OnImage() { return m_onImage; }
    /// Whether the callback is to get this picture: one is set, and has not had the same already.
    /// Asked once for each drawing; `fresh`: the decoded picture is another than at the last one.
    bool TakeNews(bool fresh, const Rendering& rendering);
    ViewImage& Image() { return m_image; }
    /// Making it broke off.
    void ForgetImage() { m_image = ViewImage(); }

private:
    void Touch();

    const int m_id;
    const std::function<void()> m_changed;
    ImageCallback m_onImage;
    ViewImage m_image;      ///< the render thread's
    Rendering m_rendering;  ///< the render thread's: of the last picture for the callback
    std::atomic<bool> m_dirty{true};
    std::atomic<bool> m_retired{false};

    mutable std::mutex m_lock;
    ViewState m_state;
    std::shared_ptr<Window> m_window;  ///< null: none
    std::uint64_t m_windowId = 0;
};

}  // namespace engine
