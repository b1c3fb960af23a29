// view fraction -> direction (the view's business) -> pixel (the lens's business)
#include "engine/player/ViewMapping.h"

#include <algorithm>
#include <cmath>

#include "engine/PlaySdk.h"

namespace engine {

namespace {

constexpr int BATCH = dewarp::Mesh::kMostAtOnce;

}  // namespace

ViewMapping::ViewMapping(const ViewSettings& settings, Extent view, Extent picture,
                         const CameraOptics& camera)
    : m_picture(picture), m_camera(camera)
{
    const bool source = settings.mode == RV_MODE_SOURCE || !camera.lens;
    if (source || settings.mode == RV_MODE_FISHEYE) {
        const double aspect = source ? static_cast<double>(picture.width) / picture.height : 1.0;
        const double viewAspect = static_cast<double>(view.width) / view.height;
        m_width = std::min(1.0, aspect / viewAspect);
        m_height = std::min(1.0, viewAspect / aspect);
        m_left = (1.0 - m_width) / 2.0;
        m_top = (1.0 - m_height) / 2.0;
    }
    if (source)
        return;
    optics::ViewParameters parameters;
    parameters.eKind = static_cast<optics::ViewKind>(settings.mode);
    parameters.eMount = settings.mount;
    parameters.dAngleDeg = settings.angle;
    parameters.stCentre = {settings.positionX / 10000.0, settings.positionY / 10000.0};
    parameters.dZoom = settings.zoom;
    parameters.iWidth = view.width;
    parameters.iHeight = view.height;
    m_view.emplace(parameters);
}

std::optional<optics::Point> ViewMapping::operator()(double x, double y) const
{
    dewarp::SourcePoint pixel;
    MapBatch(&x, &y, 1, &pixel);
    return std::isnan(pixel.x) ? std::nullopt : std::optional(optics::Point{pixel.x, pixel.y});
}

void ViewMapping::MapBatch(const double* x, const double* y, int count,
                           dewarp::SourcePoint* out) const
{
    double across[BATCH];
    double down[BATCH];
    for (int i = 0; i < count; ++i) {
        across[i] = (x[i] - m_left) / m_width;
        down[i] = (y[i] - m_top) / m_height;
    }
    optics::Point pixels[BATCH];
    if (m_view) {
        optics::Vec3 directions[BATCH];
        m_view->Directions(across, down, count, directions);
        const double signX = m_camera.mirrored ? -1.0 : 1.0;
        const double signY = m_camera.flipped ? -1.0 : 1.0;
        for (int i = 0; i < count; ++i)
            directions[i] = {signX * directions[i].x, signY * directions[i].y, directions[i].z};
        m_camera.lens->Project(directions, count, pixels);
    } else {
        for (int i = 0; i < count; ++i)
            pixels[i] = {(m_camera.mirrored ? 1.0 - across[i] : across[i]) * m_picture.width - 0.5,
                         (m_camera.flipped ? 1.0 - down[i] : down[i]) * m_picture.height - 0.5};
    }
    for (int i = 0; i < count; ++i) {
        const auto& [column, row] = pixels[i];
        const bool inside = column >= -0.5 && row >= -0.5 && column <= m_picture.width - 0.5 &&
                            row <= m_picture.height - 0.5;
        out[i] = inside ? dewarp::SourcePoint{column, row} : dewarp::Mesh::Nowhere();
    }
}

}  // namespace engine
