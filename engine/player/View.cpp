// The records go in and out byte for byte; what they mean goes into ViewSettings.
#include "engine/player/View.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "optics/FisheyePicture.h"

namespace engine {

namespace {

constexpr int MIN_ZOOM = 500;
constexpr int MAX_ZOOM = 10000;
constexpr Extent WITHOUT_WINDOW = {640, 640};
constexpr int LARGEST_VIEW = 8192;

/// A centre outside the circle becomes the nearest point of the rim, in whole units towards the
/// middle: what is read from a view can always be set again.
void HoldInCircle(ViewSettings& settings)
{
    const optics::Point centre = {settings.positionX / 10000.0, settings.positionY / 10000.0};
    if (optics::InCircle(centre))
        return;
    const optics::Point held = optics::NearestInCircle(centre);
    settings.positionX = 5000 + static_cast<int>((held.x - 0.5) * 10000.0);
    settings.positionY = 5000 + static_cast<int>((held.y - 0.5) * 10000.0);
}

}  // namespace

View::View(int id, const ViewSettings& settings, std::function<void()> changed)
    : m_id(id), m_changed(std::move(changed))
{
    m_state.settings = settings;
    HoldInCircle(m_state.settings);
    m_state.settings.zoom = std::clamp(settings.zoom, MIN_ZOOM, MAX_ZOOM);
    m_state.ptz.iPositionX = m_state.settings.positionX;
    m_state.ptz.iPositionY = m_state.settings.positionY;
    m_state.ptz.iZoom = m_state.settings.zoom;
    m_state.wide.fAngle = settings.angle;
}

void View::Touch()
{
    m_dirty = true;
    m_changed();
}

void View::SetWindow(std::uint64_t window)
{
    // Opened and closed outside the lock: both may wait for the display.
    std::shared_ptr<Window> opened;
    if (window != 0 && !m_retired)
        opened = OpenWindow(window, [this] { Touch(); });
    {
        std::lock_guard lock(m_lock);
        m_window.swap(opened);
        m_windowId = m_window ? window : 0;
    }
    if (opened)
        opened->Close();  // the render thread may hold it still
    Touch();
}

std::uint64_t View::WindowId() const
{
    std::lock_guard lock(m_lock);
    return m_windowId;
}

ViewState View::State() const
{
    std::lock_guard lock(m_lock);
    return m_state;
}

int View::SetPtz(const RvPtz& ptz)
{
    {
        std::lock_guard lock(m_lock);
        if (m_state.settings.mode != RV_MODE_PTZ)
            return RV_REFUSED;
        if (!optics::InCircle({ptz.iPositionX / 10000.0, ptz.iPositionY / 10000.0}))
            return RV_OUTSIDE_CIRCLE;
        m_state.ptz = ptz;
        m_state.ptz.iZoom = std::clamp(ptz.iZoom, MIN_ZOOM, MAX_ZOOM);
        ViewSettings& settings = m_state.settings;
        if (settings.positionX == ptz.iPositionX && settings.positionY == ptz.iPositionY &&
            settings.zoom == m_state.ptz.iZoom)
            return 0;
        settings.positionX = ptz.iPositionX;
        settings.positionY = ptz.iPositionY;
        settings.zoom = m_state.ptz.iZoom;
        ++m_state.revision;
    }
    Touch();
    return 0;
}

int View::GetPtz(RvPtz& ptz) const
{
    std::lock_guard lock(m_lock);
    if (m_state.settings.mode != RV_MODE_PTZ)
        return RV_REFUSED;
    ptz = m_state.ptz;
    return 0;
}

int View::SetWide(const RvWideScan& wide)
{
    {
        std::lock_guard lock(m_lock);
        const int mode = m_state.settings.mode;
        if ((mode != RV_MODE_180 && mode != RV_MODE_PANORAMA) || !std::isfinite(wide.fAngle))
            return RV_REFUSED;
        m_state.wide = wide;
        if (std::exchange(m_state.settings.angle, wide.fAngle) == wide.fAngle)
            return 0;
        ++m_state.revision;
    }
    Touch();
    return 0;
}

int View::GetWide(RvWideScan& wide) const
{
    std::lock_guard lock(m_lock);
    const int mode = m_state.settings.mode;
    if (mode != RV_MODE_180 && mode != RV_MODE_PANORAMA)
        return RV_REFUSED;
    wide = m_state.wide;
    return 0;
}

void View::SetMount(optics::Mount mount)
{
    {
        std::lock_guard lock(m_lock);
        if (std::exchange(m_state.settings.mount, mount) == mount)
            return;
        ++m_state.revision;
    }
    Touch();
}

void View::SetMode(int mode)
{
    {
        std::lock_guard lock(m_lock);
        if (std::exchange(m_state.settings.mode, mode) == mode)
            return;
        ++m_state.revision;
    }
    Touch();
}

void View::SetFixedSize(Extent size)
{
    {
        std::lock_guard lock(m_lock);
        if (std::exchange(m_state.fixedSize, size) == size)
            return;
    }
    Touch();
}

void View::SetTexts(std::vector<OverlayText> texts)
{
    {
        std::lock_guard lock(m_lock);
        m_state.texts = std::move(texts);
    }
    Touch();
}

void View::SetLines(std::vector<OverlayLine> lines)
{
    {
        std::lock_guard lock(m_lock);
        m_state.lines = std::move(lines);
    }
    Touch();
}

bool View::SetCallback(ImageCallback::Function function, void* user)
{
    const bool set = m_onImage.Set(function, user);
    Touch();
    return set;
}

void View::Retire()
{
    m_retired = true;
    m_onImage.Close();
    SetWindow(0);
}

Extent View::RenderSize() const
{
    std::lock_guard lock(m_lock);
    if (m_state.fixedSize.width > 0)
        return m_state.fixedSize;
    const Extent window = m_window ? m_window->Size() : Extent{};
    if (window.width <= 0 || window.height <= 0)
        return WITHOUT_WINDOW;
    return {std::min(window.width, LARGEST_VIEW), std::min(window.height, LARGEST_VIEW)};
}

bool View::TakeNews(bool fresh, const Rendering& rendering)
{
    if (!m_onImage.IsSet())
        return false;
    const bool other = std::exchange(m_rendering, rendering) != rendering;
    return fresh || other || m_onImage.IsUnheard();
}

bool View::IsWanted() const
{
    return !m_retired && (m_onImage.IsSet() || ShownWindow());
}

std::shared_ptr<Window> View::ShownWindow() const
{
    std::lock_guard lock(m_lock);
    return !m_retired && m_window && m_window->IsShown() ? m_window : nullptr;
}

}  // namespace engine
