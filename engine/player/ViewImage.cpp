// Between the player's records and the dewarper's.
#include "engine/player/ViewImage.h"

#include <algorithm>
#include <optional>

namespace engine {

namespace {

/// The planes of a picture, borrowed.
dewarp::Picture PlanesOf(const Picture& picture)
{
    const AVFrame& frame = *picture.frame;
    dewarp::Picture planes;
    planes.format =
        picture.interleavedChroma ? dewarp::PixelFormat::Nv12 : dewarp::PixelFormat::I420;
    planes.matrix = picture.bt709 ? dewarp::ColourMatrix::Bt709 : dewarp::ColourMatrix::Bt601;
    planes.chromaSite =
        picture.centredChroma ? dewarp::ChromaSite::Centre : dewarp::ChromaSite::Left;
    planes.fullRange = picture.fullRange;
    planes.width = frame.width;
    planes.height = frame.height;
    for (int plane = 0; plane < 3; ++plane) {
        planes.plane[plane] = frame.data[plane];
        planes.lineSize[plane] = frame.linesize[plane];
    }
    return planes;
}

}  // namespace

void ViewImage::Prepare(const Request& request, const CameraOptics& camera)
{
    if (m_ready && m_built.view == request.view && m_built.picture == request.picture &&
        m_built.revision == request.revision && m_builtCamera == camera.revision)
        return;
    const ViewMapping mapping(request.settings, request.view, request.picture, camera);
    m_mesh.BuildInBatches(request.view.width, request.view.height, request.picture.width,
                          request.picture.height,
                          [&](const double* x, const double* y, int count,
                              dewarp::SourcePoint* out) { mapping.MapBatch(x, y, count, out); });
    m_built = request;
    m_builtCamera = camera.revision;
    m_ready = true;
}

dewarp::View ViewImage::Target(std::uint8_t* pixels) const
{
    return {&m_mesh, pixels, std::ptrdiff_t{4} * m_built.view.width};
}

std::uint8_t* ViewImage::OwnPixels(Extent view)
{
    return m_pixels.Reserve(std::size_t{4} * view.width * view.height);
}

void PictureDrawer::Draw(const Picture& picture, const std::vector<dewarp::View>& views)
{
    int level = 0;
    int bands = 0;
    for (const dewarp::View& view : views) {
        level = std::max(level, view.mesh->HighestLevel());
        bands += view.mesh->Bands();
    }
    if (bands == 0)
        return;
    dewarp::Pool& pool = dewarp::Pool::Shared();
    // A view that is steered between two pictures costs no more than itself.
    if (m_prepared != picture.frame || level > m_level) {
        m_prepared = m_frame.Prepare(pool, PlanesOf(picture), level) ? picture.frame : nullptr;
        m_level = level;
    }
    if (!m_prepared)
        return;
    const dewarp::Kernels& kernels = dewarp::BestKernels();
    pool.Run(bands, [&](int band) {
        const dewarp::View* view = views.data();
        while (band >= view->mesh->Bands())
            band -= view++->mesh->Bands();
        view->mesh->DrawBand(kernels, m_frame.Levels(), m_frame.Terms(), band, view->pixels,
                             view->line);
    });
}

}  // namespace engine
