// Which pixel of the decoded picture a view shows where.
#pragma once

#include <optional>

#include "engine/dewarp/Mesh.h"
#include "engine/player/LensSetting.h"
#include "engine/present/Display.h"
#include "optics/View.h"

namespace engine {

/// What a view shows, as the client set it.
struct ViewSettings
{
    int mode = 0;  ///< RV_MODE_*
    optics::Mount mount = optics::Mount::Ceiling;
    int positionX = 5000;  ///< pan/tilt/zoom, ten-thousandths
    int positionY = 5000;
    int zoom = 10000;
    float angle = 0.0F;  ///< 180 view and panorama, degrees
};

/// Fractions of a view to pixels of the picture (pixel centres at whole numbers). Immutable.
class ViewMapping
{
public:
    /// Without a lens every view shows the picture as it is.
    ViewMapping(const ViewSettings& settings, Extent view, Extent picture,
                const CameraOptics& camera);

    /// Nothing where the view is black: outside the image circle, beyond the picture, in the bars
    /// beside a picture that keeps its aspect.
    std::optional<optics::Point> operator()(double x, double y) const;
    /// The same for at most Mesh::kMostAtOnce fractions (x[i], y[i]); not a number where the view
    /// is black.
    void MapBatch(const double* x, const double* y, int count, dewarp::SourcePoint* out) const;

private:
    Extent m_picture;
    CameraOptics m_camera;
    std::optional<optics::View> m_view;  ///< none: the picture as it is
    // The part of the view, in fractions, that source and fisheye pictures fill.
    double m_left = 0.0;
    double m_top = 0.0;
    double m_width = 1.0;
    double m_height = 1.0;
};

}  // namespace engine
