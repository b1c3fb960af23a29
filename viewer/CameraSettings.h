#pragma once

#include <optional>

#include <QMap>
#include <QPointF>
#include <QString>

#include "engine/PlaySdk.h"

#include "viewer/EngineExtras.h"
#include "viewer/LensFile.h"
#include "viewer/ViewGeometry.h"

class QSettings;

namespace viewer {

/// What is drawn on the fisheye or panorama picture for each view.
enum class OverlayKind
{
    Off,
    Traced,
    Square
};

/// What the viewer remembers of a camera.
struct CameraSettings
{
    Mount mount = Mount::Ceiling;
    QString layout = "fisheye+8";
    OverlayKind overlay = OverlayKind::Traced;
    std::optional<RvLens> lens;  ///< nothing: the engine finds it
    bool mirrored = false;       ///< the picture has left and right swapped
    bool flipped = false;        ///< above and below
    QMap<QString, extras::Look> presets;
};

/// A lens of which everything is to be found.
RvLens UnknownLens();

/// What a calibration says, for the engine.
RvLens LensFrom(const LensCalibration& calibration);

/// The settings of a source, or the usual ones.
CameraSettings LoadCamera(QSettings& store, const QString& source);
void SaveCamera(QSettings& store, const QString& source, const CameraSettings& settings);

/// The words for them on the command line and in the settings; nothing for any other word.
std::optional<Mount> MountOf(const QString& word);
std::optional<OverlayKind> OverlayOf(const QString& word);
QString WordOf(Mount mount);
QString WordOf(OverlayKind overlay);

}  // namespace viewer
