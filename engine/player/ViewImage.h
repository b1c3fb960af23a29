// The pictures of views: for each a correction mesh, kept as long as nothing that it depends on
// changes, and one drawing for all views of a player.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "engine/dewarp/Frame.h"
#include "engine/dewarp/Mesh.h"
#include "engine/media/Picture.h"
#include "engine/player/ViewMapping.h"

namespace engine {

/// One view's mesh and memory. Used by one thread at a time.
class ViewImage
{
public:
    /// What the mesh depends on.
    struct Request
    {
        ViewSettings settings;
        std::uint64_t revision;  ///< of `settings`
        Extent view;             ///< pixels
        Extent picture;          ///< pixels
    };

    /// Brings the mesh up to date.
    void Prepare(const Request& request, const CameraOptics& camera);

    /// The view as the dewarper takes it, drawn to BGRA pixels, rows without gaps.
    dewarp::View Target(std::uint8_t* pixels) const;

    /// Memory for the picture where there is no window to draw into.
    std::uint8_t* OwnPixels(Extent view);

private:
    Request m_built{};
    std::uint64_t m_builtCamera = 0;  ///< revision
    bool m_ready = false;
    dewarp::Mesh m_mesh;
    dewarp::Buffer m_pixels;  ///< aligned, so that rows of whole cache lines pass by the caches
};

/// Draws prepared views on all threads of the shared pool. Used by one thread at a time.
class PictureDrawer
{
public:
    /// Prepares the picture, unless it is the one of the last call, and draws views of it.
    void Draw(const Picture& picture, const std::vector<dewarp::View>& views);

private:
    dewarp::Frame m_frame;
    std::shared_ptr<const AVFrame> m_prepared;  ///< m_frame borrows its planes
    int m_level = 0;                            ///< the smallest size that m_frame holds
};

}  // namespace engine
