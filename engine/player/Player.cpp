// The two threads and what they share.
#include "engine/player/Player.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <exception>
#include <utility>

namespace engine {

namespace {

double Milliseconds(Clock::duration duration)
{
    return std::chrono::duration<double, std::milli>(duration).count();
}

void Average(std::atomic<double>& average, double value)
{
    const double before = average;
    average = before > 0.0 ? 0.95 * before + 0.05 * value : value;
}

ViewSettings SourceView()
{
    ViewSettings settings;
    settings.mode = RV_MODE_SOURCE;
    return settings;
}

/// The circle is looked for in the pictures 1, 2, 4 ... up to this one of a stream: the first ones
/// may be dark, or show what only looks like one.
constexpr int LAST_SEARCH = 64;

/// How long decoding rests when there is no memory.
constexpr std::chrono::milliseconds BREATH{5};

}  // namespace

/// One view to draw. The view is named first: it outlives its window.
struct Player::Job
{
    std::shared_ptr<View> view;
    std::shared_ptr<Window> window;
    ViewState state;
    Extent size;
    std::uint8_t* pixels;
    bool called;  ///< the callback gets it
};

std::shared_ptr<Player> Player::Create(int id, int mainViewId, const RvPlayerCreation& record)
{
    std::shared_ptr<Player> player(new Player(id, mainViewId, record));
    try {
        player->m_mainView->SetWindow(reinterpret_cast<std::uintptr_t>(record.pWindow));
        // The threads own the player too, so that a callback may delete it.
        player->m_decodeThread = std::thread([player] { player->DecodeLoop(); });
        player->m_drawThread = std::thread([player] { player->DrawLoop(); });
    } catch (...) {
        player->Shutdown();  // ends the thread that there is
        throw;
    }
    return player;
}

Player::Player(int id, int mainViewId, const RvPlayerCreation& record)
    : m_id(id), m_decoder(m_queue, ContainerOf({record.aucStream[0], record.aucStream[1],
                                                record.aucStream[2], record.aucStream[3]})),
      m_lens(record.aucStream),
      m_mainView(std::make_shared<View>(mainViewId, SourceView(), [this] { Wake(); }))
{
    m_views.emplace(mainViewId, m_mainView);
}

Player::~Player() = default;

void Player::Shutdown()
{
    {
        std::lock_guard lock(m_playLock);
        m_stopped = true;
    }
    m_playNews.notify_all();
    m_queue.Close();
    std::map<int, std::shared_ptr<View>> views;
    {
        std::lock_guard lock(m_drawLock);
        m_drawStopped = true;
        views.swap(m_views);
    }
    m_drawNews.notify_all();
    m_drawnNews.notify_all();
    m_onEnd.Close();
    for (const auto& entry : views)
        entry.second->Retire();
    Leave(m_decodeThread);
    Leave(m_drawThread);
}

/// Waits for a thread's end, unless it is the calling one, which ends by itself.
void Player::Leave(std::thread& thread)
{
    if (thread.get_id() == std::this_thread::get_id())
        thread.detach();
    else if (thread.joinable())
        thread.join();
}

// ---- The client's side

void Player::Clean()
{
    {
        std::lock_guard lock(m_playLock);
        m_queue.Clear();
        m_discard = true;
        m_restartClock = true;
        m_steps = 0;
    }
    m_playNews.notify_all();
}

void Player::Play()
{
    {
        std::lock_guard lock(m_playLock);
        m_restartClock = m_restartClock || !m_playing;
        m_playing = true;
        m_steps = 0;
    }
    m_playNews.notify_all();
}

void Player::Pause(bool paused)
{
    if (!paused)
        return Play();
    {
        std::lock_guard lock(m_playLock);
        m_playing = false;
    }
    m_playNews.notify_all();
}

void Player::Stop()
{
    Pause(true);
    Clean();
}

bool Player::Step()
{
    {
        std::lock_guard lock(m_playLock);
        if (m_playing)
            return false;
        ++m_steps;
    }
    m_playNews.notify_all();
    return true;
}

void Player::SetSpeed(double speed)
{
    {
        std::lock_guard lock(m_playLock);
        m_speed = speed;
        m_newSpeed = true;
    }
    m_playNews.notify_all();
}

std::shared_ptr<View> Player::AddView(int id, const ViewSettings& settings, std::uint64_t window)
{
    auto view = std::make_shared<View>(id, settings, [this] { Wake(); });
    view->SetWindow(window);
    std::unique_lock lock(m_drawLock);
    if (m_drawStopped) {
        lock.unlock();
        view->Retire();
        return nullptr;
    }
    m_views.emplace(id, view);
    m_redraw = true;
    lock.unlock();
    m_drawNews.notify_one();
    return view;
}

bool Player::RemoveView(int id)
{
    std::shared_ptr<View> view;
    {
        std::lock_guard lock(m_drawLock);
        const auto found = m_views.find(id);
        if (found == m_views.end() || found->second == m_mainView)
            return false;
        view = found->second;
        m_views.erase(found);
    }
    view->Retire();
    return true;
}

std::shared_ptr<View> Player::FindView(int id) const
{
    std::lock_guard lock(m_drawLock);
    const auto found = m_views.find(id);
    return found == m_views.end() ? nullptr : found->second;
}

int Player::FindViewIn(std::uint64_t window) const
{
    std::lock_guard lock(m_drawLock);
    for (const auto& entry : m_views) {
        if (window != 0 && entry.second->WindowId() == window)
            return entry.first;
    }
    return -1;
}

bool Player::SetLens(const RvLens& record)
{
    {
        std::lock_guard lock(m_drawLock);
        if (!m_lens.Set(record))
            return false;
        m_sinceBegin = 0;
        MarkAllDirtyLocked();
    }
    m_drawNews.notify_one();
    return true;
}

void Player::SetOrientation(bool mirrored, bool flipped)
{
    {
        std::lock_guard lock(m_drawLock);
        const CameraOptics& camera = m_lens.InForce();
        if (camera.mirrored == mirrored && camera.flipped == flipped)
            return;
        m_lens.SetOrientation(mirrored, flipped);
        MarkAllDirtyLocked();
    }
    m_drawNews.notify_one();
}

CameraOptics Player::Camera() const
{
    std::lock_guard lock(m_drawLock);
    return m_lens.InForce();
}

/// Everything is drawn again; the picture itself is not new.
void Player::MarkAllDirtyLocked()
{
    for (const auto& entry : m_views)
        entry.second->MarkDirty();
    m_redraw = true;
}

RvLens Player::GetLens() const
{
    std::lock_guard lock(m_drawLock);
    return m_lens.Get();
}

Picture Player::Shown() const
{
    std::lock_guard lock(m_drawLock);
    return m_shownPicture;
}

std::vector<std::uint8_t> Player::Capture(const View* view, Extent& size) const
{
    Picture picture;
    CameraOptics camera;
    {
        std::lock_guard lock(m_drawLock);
        picture = m_shownPicture;
        camera = m_lens.InForce();
    }
    if (!picture.frame)
        return {};
    size = view ? view->RenderSize() : Extent{picture.Width(), picture.Height()};
    std::vector<std::uint8_t> pixels(std::size_t{4} * size.width * size.height);
    ViewImage image;
    image.Prepare({view ? view->State().settings : SourceView(), 1, size,
                   Extent{picture.Width(), picture.Height()}},
                  camera);
    PictureDrawer().Draw(picture, {image.Target(pixels.data())});
    return pixels;
}

void Player::Describe(RvVideoParam& param) const
{
    const Picture picture = Shown();
    if (picture.frame) {
        param.iWidth = picture.Width();
        param.iHeight = picture.Height();
        param.dFrameRate = 1.0 / picture.period;
    }
    const AVCodecID codec = m_decoder.CodecPlayed();
    const Container elementary = codec == AV_CODEC_ID_H264    ? Container::H264
                                 : codec == AV_CODEC_ID_HEVC  ? Container::H265
                                 : codec == AV_CODEC_ID_MJPEG ? Container::Mjpeg
                                                              : Container::Unknown;
    std::memcpy(param.acCodec, FourCcOf(elementary), 4);
    std::memcpy(param.acContainer, FourCcOf(m_decoder.ContainerPlayed()), 4);
    param.iBytesBuffered = static_cast<std::int32_t>(m_queue.Size());
    param.llDecoded = m_decoded;
    param.llShown = m_shown;
    param.llDropped = m_dropped;
    param.llErrors = m_decoder.Errors();
    param.dDecodeMs = m_decoder.DecodeMs();
    param.dDrawMs = m_drawMs;
    param.dLatencyMs = m_latencyMs;
}

// ---- The decode thread

void Player::DecodeLoop()
{
    while (true) {
        try {
            if (!DecodeNext())
                return;
        } catch (const std::exception&) {
            // No memory: the picture is lost. Perhaps others give some back.
            std::unique_lock lock(m_playLock);
            if (m_playNews.wait_for(lock, BREATH, [this] { return m_stopped; }))
                return;
        }
    }
}

/// False: the player goes away.
bool Player::DecodeNext()
{
    Picture picture;
    switch (m_decoder.Next(picture)) {
    case StreamDecoder::Event::Picture:
        ++m_decoded;
        KeepTime(picture);
        return true;
    case StreamDecoder::Event::End:
        AwaitDrawn();
        if (Discards())
            return true;  // it belongs to a stream that was forgotten
        BeginAnew();
        m_onEnd.Call(m_id);
        return true;
    case StreamDecoder::Event::Cleared: {
        BeginAnew();
        std::lock_guard lock(m_playLock);
        m_discard = false;
        return true;
    }
    default:
        return false;
    }
}

bool Player::Discards()
{
    std::lock_guard lock(m_playLock);
    return m_discard;
}

/// Waits until the picture's time has come and publishes it, or leaves it out.
void Player::KeepTime(const Picture& picture)
{
    std::unique_lock lock(m_playLock);
    while (true) {
        m_playNews.wait(lock,
                        [this] { return m_playing || m_steps > 0 || m_discard || m_stopped; });
        if (m_discard || m_stopped)
            return;
        if (!m_playing) {
            --m_steps;
            m_decoder.Hurry(false);  // playing may have fallen behind
            break;
        }
        if (std::exchange(m_newSpeed, false))
            m_clock.SetSpeed(m_speed, Clock::now());
        if (std::exchange(m_restartClock, false))
            m_clock.Restart();
        const PlayClock::Plan plan =
            m_clock.Schedule({picture.seconds, picture.period, picture.hasTime, picture.live,
                              m_decoder.HasMore(), picture.refused, picture.putAt},
                             Clock::now());
        m_decoder.Hurry(plan.behind);
        if (plan.drop) {
            ++m_dropped;
            return;
        }
        if (!m_playNews.wait_until(lock, plan.due, [this] {
                return !m_playing || m_newSpeed || m_restartClock || m_discard || m_stopped;
            }))
            break;
    }
    lock.unlock();
    Publish(picture);
}

void Player::Publish(const Picture& picture)
{
    const double step = picture.seconds - m_lastSeconds;
    if (m_hasLast)
        m_playTime = m_playTime + (step >= 0.0 && step < 2.0 ? step : picture.period);
    else
        m_playTime = 0.0;
    m_lastSeconds = picture.seconds;
    m_hasLast = true;
    {
        std::lock_guard lock(m_drawLock);
        if (m_fresh)
            ++m_dropped;  // the one before it was never drawn
        m_picture = picture;
        m_fresh = true;
    }
    m_drawNews.notify_one();
}

void Player::AwaitDrawn()
{
    std::unique_lock lock(m_drawLock);
    m_drawnNews.wait(lock, [this] { return (!m_fresh && !m_drawing) || m_drawStopped; });
}

/// The next picture belongs to another stream, whose camera may be another.
void Player::BeginAnew()
{
    m_hasLast = false;
    std::lock_guard lock(m_drawLock);
    m_sinceBegin = 0;
}

// ---- The draw thread

void Player::Wake()
{
    {
        std::lock_guard lock(m_drawLock);
        m_redraw = true;
    }
    m_drawNews.notify_one();
}

void Player::DrawLoop()
{
    while (true) {
        try {
            if (!DrawNext())
                return;
        } catch (const std::exception&) {
            // No memory or threads: this picture is lost, with all that was begun for it.
            for (const std::shared_ptr<View>& view : m_drawViews)
                view->ForgetImage();
            m_drawer = PictureDrawer();
        }
        m_jobs.clear();
        m_targets.clear();
        m_drawViews.clear();
    }
}

/// False: the player goes away.
bool Player::DrawNext()
{
    Picture picture;
    bool fresh = false;
    {
        std::unique_lock lock(m_drawLock);
        m_drawing = false;
        m_drawnNews.notify_all();
        m_drawNews.wait(
            lock, [this] { return m_drawStopped || (m_picture.frame && (m_fresh || m_redraw)); });
        if (m_drawStopped)
            return false;
        picture = m_picture;
        fresh = std::exchange(m_fresh, false);
        m_drawing = fresh;
        m_redraw = false;
        for (const auto& entry : m_views)
            m_drawViews.push_back(entry.second);
    }
    const auto begin = Clock::now();
    UpdateLens(picture, fresh);
    if (fresh)
        ++m_shown;  // before the callbacks get it, who may ask
    Draw(picture, fresh);
    const auto end = Clock::now();
    if (!m_jobs.empty())
        Average(m_drawMs, Milliseconds(end - begin));
    if (fresh)
        Average(m_latencyMs, Milliseconds(end - picture.putAt));
    return true;
}

/// Follows the picture's size, looks for the circle, and takes a copy of the lens in force.
void Player::UpdateLens(const Picture& picture, bool fresh)
{
    bool search = false;
    {
        std::lock_guard lock(m_drawLock);
        m_shownPicture = picture;
        if (m_lens.SetPictureSize(picture.Width(), picture.Height()))
            m_sinceBegin = 0;
        if (fresh && m_lens.WantsCircle() && m_sinceBegin < LAST_SEARCH) {
            ++m_sinceBegin;
            search = (m_sinceBegin & (m_sinceBegin - 1)) == 0;
        }
    }
    std::optional<optics::CircleFit> circle;
    if (search)
        circle = optics::FindCircle(picture.frame->data[0], picture.Width(), picture.Height(),
                                    picture.frame->linesize[0]);
    std::lock_guard lock(m_drawLock);
    if (circle)
        m_lens.AddCircle(*circle);
    if (m_drawCamera.revision != m_lens.InForce().revision)
        m_drawCamera = m_lens.InForce();
}

void Player::Draw(const Picture& picture, bool fresh)
{
    for (const std::shared_ptr<View>& view : m_drawViews) {
        const bool dirty = view->TakeDirty();
        if ((!fresh && !dirty) || !view->IsWanted())
            continue;
        Job job = {view, view->ShownWindow(), view->State(), view->RenderSize(), nullptr, false};
        if (job.window && !job.window->IsFree())
            job.window = nullptr;  // shown when it is free
        job.called = view->TakeNews(fresh, {job.state.revision, m_drawCamera.revision, job.size});
        if (!job.window && !job.called)
            continue;
        job.pixels = job.window ? job.window->Pixels(job.size) : nullptr;
        if (!job.pixels)
            job.pixels = view->Image().OwnPixels(job.size);
        view->Image().Prepare({job.state.settings, job.state.revision, job.size,
                               Extent{picture.Width(), picture.Height()}},
                              m_drawCamera);
        m_targets.push_back(view->Image().Target(job.pixels));
        m_jobs.push_back(std::move(job));
    }
    m_drawer.Draw(picture, m_targets);
    for (Job& job : m_jobs) {
        if (job.called)
            job.view->OnImage().Call(m_id, job.view->Id(), job.pixels,
                                     static_cast<unsigned int>(job.size.width),
                                     static_cast<unsigned int>(job.size.height));
        if (!job.window || !job.view->IsWanted()) {
            job.window = nullptr;
            continue;
        }
        DrawOverlay(job.pixels, job.size, job.state.lines, job.state.texts);
        job.window->Show();
    }
    // Only now, so that the views change together; each, for they may be on different connections.
    for (const Job& job : m_jobs) {
        if (job.window)
            job.window->Flush();
    }
}

}  // namespace engine
