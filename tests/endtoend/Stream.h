// One stream as a client plays it: the real manager library over the open engine and the open
// correction library, both found by the loader. There are no windows: each view's pictures come
// through the engine's correction callback, the outlines through the manager's draw callback.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "VideoPlayer_FishEye/CLS_FishPlayer.h"
#include "VideoPlayer_Vx/CLS_VxPlayer_SDK.h"
#include "engine/PlaySdk.h"
#include "optics/Lens.h"
#include "optics/View.h"

#include "tools/scene/Renderer.h"

namespace endtoend {

/// How long a test waits for what must come; never waited out when all is well.
constexpr std::chrono::seconds CONST_PATIENCE{120};

/// Side of the clips, in pixels, and the time at which they show the room, in seconds. Each clip is
/// one picture, so every view of it has one truth.
constexpr int CONST_CLIP = 768;
constexpr double CONST_TIME = 3.0;

/// The codec's loss, the source's pixels and the mesh together leave at least this, in decibels.
constexpr double CONST_LIKE_THE_ROOM = 27;

/// An entry point of the engine that the manager binds and never calls, with the signature of the
/// engine's header.
#define ENGINE(name)                                                                               \
    (reinterpret_cast<decltype(&::name)>(VX_Framework::VideoPlayer::CLS_VxPlayer_SDK::name))

/// The lens of the clips: stereographic, 180 degrees, its circle fills the picture.
optics::Lens ClipLens();

/// The clip of a mount (installation type 1, 2 or 3), which the test's fixture has made.
std::vector<unsigned char> ClipOf(int iInstallation);

/// A stream header with a description of the clips' lens.
std::vector<unsigned char> StreamHeader();

/// What a view of the room looks like, drawn ray by ray.
scene::Picture Truth(int iInstallation, const optics::View& stView, int iWidth, int iHeight);

/// Receives one view's pictures, on the engine's threads.
class Pictures
{
public:
    static void Receive(int, int, void* pBgra, unsigned int uiWidth, unsigned int uiHeight,
                        void* pSelf);

    /// The newest picture, as soon as one satisfies the condition; the newest at all, and false,
    /// when none does.
    template <typename Condition>
    std::pair<scene::Picture, bool> Await(Condition&& fnCondition)
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        const bool blFound = m_arrived.wait_for(
            lock, CONST_PATIENCE, [&] { return m_iCount > 0 && fnCondition(m_stPicture); });
        return {m_stPicture, blFound};
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_arrived;
    scene::Picture m_stPicture{0, 0, {}};
    int m_iCount = 0;
};

/// A view by its kind (CORRECT_TYPE_*) and its number among those of its kind. The main window is
/// CORRECT_TYPE_FISHEYE.
using ViewName = std::pair<int, int>;

/// A fixed size for each kind of view: small, because the truth costs 16 rays a pixel.
struct Size
{
    int iWidth, iHeight;
};
Size SizeOf(int iKind);

/// A player of the manager, laid out; deleted at the end.
class Stream
{
public:
    /// @param mapViews  kinds to numbers of windows; the overlay is on the kind iDrawMode
    Stream(int iInstallation, int iDrawMode, const std::map<int, int>& mapViews);
    ~Stream();
    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;

    int Id() const { return m_iPlayer; }
    int Installation() const { return m_iInstallation; }
    int Correct(const ViewName& stView) const { return m_mapCorrects.at(stView); }
    bool IsLaidOut() const { return m_blLaidOut; }

    /// Lays out views after the former ones were deleted (DeleteAllSubPlayer).
    bool LayOut(const std::map<int, int>& mapViews);

    /// Puts the mount's clip, whole, and tells the engine that this is all.
    void Feed();
    int Put(const unsigned char* pData, int iSize);

    Pictures& PicturesOf(const ViewName& stView) { return *m_mapPictures.at(stView); }

    /// What the engine says that a view shows now.
    tagCorrectPtzPara Ptz(int iIndex = 0) const;
    float Angle(int iKind) const;
    optics::View View(const ViewName& stView) const;

    /// Waits for the picture of a view as it is now; its distance from the truth, in decibels: at
    /// least CONST_LIKE_THE_ROOM, unless such a picture does not come.
    double LikeTheRoom(const ViewName& stView);

    /// Outlines that were collected after this call.
    DrawOutlines Outlines();

private:
    bool FindCorrects(const std::map<int, int>& mapViews);

    int m_iInstallation;
    int m_iDrawMode;
    int m_iPlayer = -1;
    bool m_blLaidOut = false;
    std::map<ViewName, int> m_mapCorrects;
    std::map<ViewName, std::unique_ptr<Pictures>> m_mapPictures;  // outlive the player
};

}  // namespace endtoend
