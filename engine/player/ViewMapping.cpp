// view fraction -> direction (the view's business) -> pixel (the lens's business)
#include "engine/player/ViewMapping.h"

#include <algorithm>

#include "engine/PlaySdk.h"

namespace engine {

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
    const optics::Point fraction = {(x - m_left) / m_width, (y - m_top) / m_height};
    std::optional<optics::Point> pixel;
    if (m_view) {
        if (const auto direction = m_view->Direction(fraction))
            pixel = m_camera.lens->Project({m_camera.mirrored ? -direction->x : direction->x,
                                            m_camera.flipped ? -direction->y : direction->y,
                                            direction->z});
    } else {
        const double across = m_camera.mirrored ? 1.0 - fraction.x : fraction.x;
        const double down = m_camera.flipped ? 1.0 - fraction.y : fraction.y;
        pixel = {across * m_picture.width - 0.5, down * m_picture.height - 0.5};
    }
    const bool inside = pixel && pixel->x >= -0.5 && pixel->y >= -0.5 &&
                        pixel->x <= m_picture.width - 0.5 && pixel->y <= m_picture.height - 0.5;
    return inside ? pixel : std::nullopt;
}

}  // namespace engine
