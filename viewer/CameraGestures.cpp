// How the mouse and the buttons steer a camera's views, through the manager's operations.
#include "viewer/CameraWidget.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include <QCoreApplication>
#include <QPointer>
#include <QThreadPool>

#include "VideoPlayer_FishEye/feplayer/CLS_180ViewSubPlayer.h"

#include "viewer/EngineExtras.h"
#include "viewer/Manager.h"

namespace viewer {

namespace {

constexpr double CONST_UNITS = 10000.0;
constexpr double CONST_NARROWEST = 500.0;
constexpr double CONST_WIDEST = 10000.0;
constexpr double CONST_NOTCH_FACTOR = 0.85;  ///< of the view's width, for a notch of the wheel
constexpr int CONST_ZOOM_STEP = 5;           ///< zoom units of one step of the manager
constexpr double CONST_PAD_PAN = 40.0;      ///< position units of a button, for each speed, at 90°
constexpr double CONST_PAD_ZOOM = 100.0;    ///< zoom units, likewise
constexpr double CONST_HALF_SQUARE = 0.05;  ///< of the outline that is a square
constexpr int CONST_LEAST_BOX = 16;         ///< pixels
constexpr int CONST_HALF_LIMIT = 179;       ///< degrees, either way, to which the 180 view turns
constexpr int CONST_WALL_LIMIT = 90;        ///< beyond it a wall camera sees nothing
constexpr int CONST_END_OF_TRAVEL = 1;      ///< the manager's answer where a button leads too far

double Distance(QPointF a, QPointF b)
{
    return std::hypot(a.x() - b.x(), a.y() - b.y());
}

STRUCT_FecPoint Units(QPointF fraction)
{
    return {static_cast<std::int32_t>(std::lround(fraction.x() * CONST_UNITS)),
            static_cast<std::int32_t>(std::lround(fraction.y() * CONST_UNITS))};
}

/// The relative move that a button command is: a move takes the picture along, a button the view.
MoveStep StepOf(n_PTZCtlCmd command, int units)
{
    const auto is = [command](auto... commands) { return ((command == commands) || ...); };
    MoveStep step;
    step.x = is(n_PTZCtl_Left, n_PTZCtl_LeftUp, n_PTZCtl_LeftDown)      ? units
             : is(n_PTZCtl_Right, n_PTZCtl_RightUp, n_PTZCtl_RightDown) ? -units
                                                                        : 0;
    step.y = is(n_PTZCtl_Up, n_PTZCtl_LeftUp, n_PTZCtl_RightUp)         ? units
             : is(n_PTZCtl_Down, n_PTZCtl_LeftDown, n_PTZCtl_RightDown) ? -units
                                                                        : 0;
    return step;
}

}  // namespace

// ---- Where a view looks

std::optional<extras::Look> CameraWidget::lookOf(int view) const
{
    if (m_player < 0 || view < 0 || view >= viewCount())
        return std::nullopt;
    return extras::LookOf(m_player, viewIn(m_views[static_cast<std::size_t>(view)]));
}

PtzView CameraWidget::geometryOf(int view) const
{
    const extras::Look look = lookOf(view).value_or(extras::Look{});
    return {m_settings.mount, look.centre, static_cast<double>(look.zoom),
            m_views[static_cast<std::size_t>(view)]->size()};
}

void CameraWidget::lookAt(int view, QPointF centre)
{
    const std::optional<extras::Look> now = lookOf(view);
    if (!now)
        return;
    // Nearer to the rim than that a rounded step may end beyond it, and would be refused as a
    // whole.
    const MoveStep step = StepBetween(m_settings.mount, now->centre, NearestCentre(centre));
    Manager& manager = Manager::instance();
    manager.move(m_player, view, step.x, step.y);
    manager.zoom(m_player, view, 0);  // the outline lags one command behind
}

void CameraWidget::zoomTo(int view, double zoom)
{
    const std::optional<extras::Look> now = lookOf(view);
    if (!now)
        return;
    const double target = std::clamp(zoom, CONST_NARROWEST, CONST_WIDEST);
    const auto step = static_cast<int>(std::lround((now->zoom - target) / CONST_ZOOM_STEP));
    Manager::instance().zoom(m_player, view, step);
}

void CameraWidget::turnTo(int view, const extras::Look& look)
{
    zoomTo(view, look.zoom);
    lookAt(view, look.centre);
}

void CameraWidget::home()
{
    emit userActed();
    turnTo(m_selected, m_homes[static_cast<std::size_t>(m_selected)]);
}

void CameraWidget::press(n_PTZCtlCmd command, int speed)
{
    const std::optional<extras::Look> look = lookOf(m_selected);
    if (!look)
        return;
    emit userActed();
    // A narrow view moves slower, so that a press is always the same part of the window.
    const double scale = speed * std::max<double>(look->zoom, CONST_NARROWEST) / CONST_WIDEST;
    const int pan = std::max(1, static_cast<int>(CONST_PAD_PAN * scale));
    const int zoom = std::max(1, static_cast<int>(CONST_PAD_ZOOM * scale));
    Manager& manager = Manager::instance();
    // To the rim and along it, where the manager would not move at all.
    if (manager.press(m_player, m_selected, {pan, pan, zoom}, command) == CONST_END_OF_TRAVEL)
        lookAt(m_selected, CentreAfter(m_settings.mount, look->centre, StepOf(command, pan)));
    manager.zoom(m_player, m_selected, 0);  // the outline lags one command behind
}

// ---- Presets and snapshots

void CameraWidget::savePreset(const QString& name)
{
    if (const std::optional<extras::Look> look = lookOf(m_selected)) {
        m_settings.presets[name] = *look;
        emit settingsChanged();
    }
}

void CameraWidget::removePreset(const QString& name)
{
    m_settings.presets.remove(name);
    emit settingsChanged();
}

bool CameraWidget::goToPreset(const QString& name)
{
    const auto preset = m_settings.presets.constFind(name);
    if (m_settings.presets.constEnd() == preset || viewCount() < 1)
        return false;
    turnTo(m_selected, *preset);
    return true;
}

void CameraWidget::snapshotView(const QString& path)
{
    const CellWidget* const cell = nullptr != m_enlarged ? m_enlarged
                                   : viewCount() > 0 ? m_views[static_cast<std::size_t>(m_selected)]
                                   : m_panorama->isVisible() ? m_panorama
                                   : m_half->isVisible()     ? m_half
                                                             : m_main;
    const int view = viewIn(cell);
    if (view > 0)
        capture(view, path);
    else
        emit snapshotTaken(path, false);
}

void CameraWidget::snapshotSource(const QString& path)
{
    capture(0, path);
}

/// Drawing and packing take a moment, and the camera may be closed meanwhile.
void CameraWidget::capture(int view, const QString& path)
{
    const QPointer<CameraWidget> self(this);
    QThreadPool::globalInstance()->start([self, player = m_player, view, path] {
        const bool written = extras::Capture(player, view, path);
        QMetaObject::invokeMethod(
            qApp,
            [self, path, written] {
                if (self)
                    emit self->snapshotTaken(path, written);
            },
            Qt::QueuedConnection);
    });
}

// ---- The mouse

/// The place on the unturned picture that carries the outlines; nothing where the cell is none.
std::optional<QPointF> CameraWidget::overlayPoint(const CellWidget* cell, QPointF at) const
{
    if (cell == m_main && "source" != m_settings.layout)
        return m_main->toSquare(at);
    if (cell != m_panorama)
        return std::nullopt;
    const double x = at.x() - m_panoramaDegrees / 360.0;
    return ToFishEye(FromPanorama(m_settings.mount, {x - std::floor(x), at.y()}));
}

/// The view whose outline surrounds a place, the one with the nearest centre; -1 where there is
/// none.
int CameraWidget::outlineAt(const CellWidget* cell, QPointF at) const
{
    const std::optional<QPointF> point = overlayPoint(cell, at);
    if (!point || OverlayKind::Off == m_settings.overlay)
        return -1;
    // The picture for which the manager makes the outlines: a square is one on that.
    const bool ofPanorama = CORRECT_TYPE_360 == cameraRecord().m_iDrawCorrectMode;
    const auto onCarrier = [&](QPointF place) {
        return ofPanorama ? ToPanorama(m_settings.mount, FromFishEye(place)) : place;
    };
    int found = -1;
    double nearest = std::numeric_limits<double>::max();
    for (int i = 0; i < viewCount(); ++i) {
        const PtzView view = geometryOf(i);
        const std::optional<QPointF> seen = Locate(view, FromFishEye(*point));
        const bool within = seen && QRectF(0.0, 0.0, 1.0, 1.0).contains(*seen);
        const QPointF off = onCarrier(*point) - onCarrier(view.centre);
        const bool close = std::max(std::abs(off.x()), std::abs(off.y())) < CONST_HALF_SQUARE;
        if (!within && !close)
            continue;
        const double distance = Distance(view.centre, *point);
        if (distance < nearest) {
            nearest = distance;
            found = i;
        }
    }
    return found;
}

void CameraWidget::startDrag(CellWidget* cell, QPointF at, Qt::MouseButton button,
                             Qt::KeyboardModifiers modifiers)
{
    emit userActed();
    m_drag = {};
    m_drag.cell = cell;
    m_drag.start = at;
    if (m_editsCircle) {
        m_drag.what = Drag::What::Circle;
        if (const std::optional<RvLens> lens = extras::LensOf(m_player)) {
            const QPointF pixel = sourcePicture(*lens).pixel(at);
            const QPointF centre(lens->dCentreX, lens->dCentreY);
            m_drag.resizes = Distance(pixel, centre) > lens->dCircleRadius / 2.0;
        }
    } else if (cell->number() >= 0) {
        select(cell->number());
        m_drag.view = cell->number();
        m_drag.what = Qt::RightButton == button || (modifiers & Qt::ShiftModifier)
                          ? Drag::What::Box
                          : Drag::What::View;
        m_drag.grabbed = DirectionAt(geometryOf(m_drag.view), at);
    } else if (const int view = outlineAt(cell, at); view >= 0) {
        select(view);
        m_drag.view = view;
        m_drag.what = Drag::What::Outline;
        m_drag.offset = *overlayPoint(cell, at) - geometryOf(view).centre;
    } else if (cell == m_panorama || cell == m_half || cell == m_otherHalf) {
        m_drag.what = Drag::What::Turn;
    }
}

void CameraWidget::goOn(CellWidget* cell, QPointF at)
{
    if (cell != m_drag.cell || m_player < 0)
        return;
    switch (m_drag.what) {
    case Drag::What::Nothing:
        break;
    case Drag::What::View:
        lookAt(m_drag.view, CentreThatShows(geometryOf(m_drag.view), m_drag.grabbed, at));
        break;
    case Drag::What::Outline:
        dragOutline(at);
        break;
    case Drag::What::Turn: {
        const int span = cell == m_panorama ? 360 : 180;
        const auto degrees = static_cast<int>(std::lround((at.x() - m_drag.start.x()) * span));
        turnWide(cell, degrees - m_drag.turned);
        m_drag.turned = degrees;
        break;
    }
    case Drag::What::Box:
        drawBox(cell, m_drag.start, at);
        break;
    case Drag::What::Circle:
        dragCircle(at);
        break;
    }
}

void CameraWidget::endDrag(CellWidget* cell, QPointF at)
{
    goOn(cell, at);
    if (Drag::What::Box == m_drag.what && cell == m_drag.cell) {
        zoomBox(cell, m_drag.start, at);
        drawFrames();
        if (viewCount() == 1)
            extras::DrawLines(m_player, viewIn(cell), {});
    }
    m_drag = {};
}

void CameraWidget::dragOutline(QPointF to)
{
    const std::optional<QPointF> point = overlayPoint(m_drag.cell, to);
    const std::optional<extras::Look> look = lookOf(m_drag.view);
    if (!point || !look)
        return;
    const QPointF centre = NearestCentre(*point - m_drag.offset);
    if (m_drag.cell != m_main || CORRECT_TYPE_FISHEYE != cameraRecord().m_iDrawCorrectMode) {
        lookAt(m_drag.view, centre);
        return;
    }
    const STRUCT_FecPoint from = Units(look->centre);
    const STRUCT_FecPoint target = Units(centre);
    Manager& manager = Manager::instance();
    manager.dragOutline(m_player, m_drag.view, {from.iX, from.iY, target.iX, target.iY});
    manager.zoom(m_player, m_drag.view, 0);  // the outline lags one command behind
}

void CameraWidget::turnWide(const CellWidget* cell, int degrees)
{
    if (cell == m_panorama) {
        if (Manager::instance().turn(m_player, CORRECT_TYPE_360, degrees) >= 0)
            m_panoramaDegrees = (m_panoramaDegrees + degrees) % 360;
        drawOutlines();
        return;
    }
    // From 180 degrees on the manager would fold the angle and the picture jump by half a turn. So
    // it is sent the equal angle below; the one that has none is passed over by a degree.
    const bool wall = Mount::Wall == m_settings.mount;
    m_halfDegrees = wall ? std::clamp(m_halfDegrees + degrees, -CONST_WALL_LIMIT, CONST_WALL_LIMIT)
                         : (m_halfDegrees + degrees) % 360;
    const int equal = m_halfDegrees > 180    ? m_halfDegrees - 360
                      : m_halfDegrees < -180 ? m_halfDegrees + 360
                                             : m_halfDegrees;
    const int target = std::clamp(equal, -CONST_HALF_LIMIT, CONST_HALF_LIMIT);
    if (Manager::instance().turn(m_player, CORRECT_TYPE_180, target - m_halfSent) < 0)
        return;
    m_halfSent = target;
    if (m_secondHalf) {
        tagCorrectWideScanPara para{};
        m_secondHalf->GetCorrectPara(para);
        para.fAngle = static_cast<float>(m_halfSent + 180);
        m_secondHalf->SetCorrectPara(para);
    }
}

void CameraWidget::zoomBox(const CellWidget* cell, QPointF from, QPointF to)
{
    const QSizeF box(std::abs(to.x() - from.x()), std::abs(to.y() - from.y()));
    const double ratio = cell->devicePixelRatioF();
    if (box.width() * cell->width() * ratio < CONST_LEAST_BOX ||
        box.height() * cell->height() * ratio < CONST_LEAST_BOX)
        return;
    const PtzView view = geometryOf(m_drag.view);
    const Direction middle = DirectionAt(view, (from + to) / 2.0);
    zoomTo(m_drag.view, view.zoom * std::max(box.width(), box.height()));
    lookAt(m_drag.view, ToFishEye(middle));
}

void CameraWidget::dragCircle(QPointF at)
{
    const std::optional<RvLens> lens = extras::LensOf(m_player);
    if (!lens || lens->iWidth < 1)
        return;
    const SourcePicture picture = sourcePicture(*lens);
    const QPointF pixel = picture.pixel(at);
    const QPointF centre(lens->dCentreX, lens->dCentreY);
    if (m_drag.resizes) {
        emit circleDragged(centre.x(), centre.y(), Distance(pixel, centre));
        return;
    }
    const QPointF moved = centre + pixel - picture.pixel(std::exchange(m_drag.start, at));
    emit circleDragged(moved.x(), moved.y(), lens->dCircleRadius);
}

void CameraWidget::wheel(CellWidget* cell, QPointF at, double notches)
{
    emit userActed();
    const bool own = cell->number() >= 0;
    const int index = own ? cell->number() : outlineAt(cell, at);
    if (index < 0 || m_player < 0 || m_editsCircle)
        return;
    select(index);
    if (m_wheeled != index)
        m_wheelRest = 0.0;
    m_wheeled = index;
    const PtzView view = geometryOf(index);
    const double wanted = notches + m_wheelRest;
    const double target = view.zoom * std::pow(CONST_NOTCH_FACTOR, wanted);
    zoomTo(index, target);
    // A touchpad's steps are smaller than the manager's: what was not turned yet is added to them.
    const double turned =
        std::log(geometryOf(index).zoom / view.zoom) / std::log(CONST_NOTCH_FACTOR);
    m_wheelRest = target > CONST_NARROWEST && target < CONST_WIDEST ? wanted - turned : 0.0;
    if (own)  // what is under the cursor stays there
        lookAt(index, CentreThatShows(geometryOf(index), DirectionAt(view, at), at));
}

void CameraWidget::enlarge(CellWidget* cell)
{
    emit userActed();
    m_enlarged = nullptr == m_enlarged && layoutNow().cells.size() > 1 ? cell : nullptr;
    placeCells();
}

}  // namespace viewer
