// One stream: bytes in, views out. Two threads each: one decodes and keeps time, one draws.
#pragma once

#include <atomic>
#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "engine/media/ByteQueue.h"
#include "engine/media/StreamDecoder.h"
#include "engine/player/LensSetting.h"
#include "engine/player/PlayClock.h"
#include "engine/player/View.h"

namespace engine {

/// A player. Every function may be called from any thread, from callbacks too; no lock is held
/// while a callback runs.
class Player : public std::enable_shared_from_this<Player>
{
public:
    static std::shared_ptr<Player> Create(int id, int mainViewId, const RvPlayerCreation& record);
    ~Player();

    /// Ends all callbacks (except the one that this is called from) and both threads. The player
    /// can then only be forgotten.
    void Shutdown();

    // ---- The stream.

    ByteQueue& Queue() { return m_queue; }
    /// Forgets what was put, and the picture that waits for its time.
    void Clean();

    // ---- Playing.

    void Play();
    void Pause(bool paused);
    void Stop();
    /// False: not paused.
    bool Step();
    void SetSpeed(double speed);
    /// False: the player is deleted.
    bool SetEndCallback(void (*function)(int, void*), void* user)
    {
        return m_onEnd.Set(function, user);
    }

    // ---- Views.

    std::shared_ptr<View> AddView(int id, const ViewSettings& settings, std::uint64_t window);
    bool RemoveView(int id);
    /// Null: no such view.
    std::shared_ptr<View> FindView(int id) const;
    /// The id of the view with that window; -1: none.
    int FindViewIn(std::uint64_t window) const;
    const std::shared_ptr<View>& MainView() const { return m_mainView; }

    // ---- The lens.

    bool SetLens(const RvLens& record);
    RvLens GetLens() const;
    void SetOrientation(bool mirrored, bool flipped);
    CameraOptics Camera() const;

    // ---- What is played.

    /// The picture shown last; without a frame when there was none.
    Picture Shown() const;
    /// Draws a view, or the picture as it is (null), of the picture shown last into memory of its
    /// own. Empty when there is no picture.
    std::vector<std::uint8_t> Capture(const View* view, Extent& size) const;
    double PlayTime() const { return m_playTime; }
    std::int64_t ShownCount() const { return m_shown; }
    void Describe(RvVideoParam& param) const;

private:
    Player(int id, int mainViewId, const RvPlayerCreation& record);

    void DecodeLoop();
    bool DecodeNext();
    bool Discards();
    void KeepTime(const Picture& picture);
    void Publish(const Picture& picture);
    void AwaitDrawn();
    void BeginAnew();

    void DrawLoop();
    bool DrawNext();
    void MarkAllDirtyLocked();
    void UpdateLens(const Picture& picture, bool fresh);
    void Draw(const Picture& picture, bool fresh);
    void Wake();
    static void Leave(std::thread& thread);

    const int m_id;
    ByteQueue m_queue;
    StreamDecoder m_decoder;  ///< the decode thread's
    PlayClock m_clock;        ///< the decode thread's
    Callback<int> m_onEnd;

    std::mutex m_playLock;  ///< guards what follows
    std::condition_variable m_playNews;
    bool m_playing = false;
    int m_steps = 0;
    double m_speed = 1.0;
    bool m_restartClock = false;
    bool m_newSpeed = false;
    bool m_discard = false;  ///< the picture that waits belongs to a stream that was forgotten
    bool m_stopped = false;

    mutable std::mutex m_drawLock;  ///< guards what follows; held for moments only
    std::condition_variable m_drawNews;
    std::condition_variable m_drawnNews;
    Picture m_picture;       ///< the newest
    Picture m_shownPicture;  ///< the one that m_lens is for
    bool m_fresh = false;    ///< m_picture has not been drawn
    bool m_redraw = false;   ///< a view changed
    bool m_drawing = false;  ///< a new picture is; a mere change of a view is not waited for
    bool m_drawStopped = false;
    std::map<int, std::shared_ptr<View>> m_views;  ///< the main view is among them
    LensSetting m_lens;
    /// Pictures of this stream, size and lens record, as long as a circle is looked for.
    int m_sinceBegin = 0;

    // The draw thread's.
    struct Job;
    std::vector<std::shared_ptr<View>> m_drawViews;
    std::vector<Job> m_jobs;
    std::vector<dewarp::View> m_targets;
    PictureDrawer m_drawer;
    CameraOptics m_drawCamera;

    std::shared_ptr<View> m_mainView;
    std::atomic<std::int64_t> m_decoded{0};
    std::atomic<std::int64_t> m_shown{0};
    std::atomic<std::int64_t> m_dropped{0};
    std::atomic<double> m_playTime{0.0};
    std::atomic<double> m_drawMs{0.0};
    std::atomic<double> m_latencyMs{0.0};
    double m_lastSeconds = 0.0;  ///< the decode thread's
    bool m_hasLast = false;      ///< the decode thread's

    std::thread m_decodeThread;
    std::thread m_drawThread;
};

}  // namespace engine
