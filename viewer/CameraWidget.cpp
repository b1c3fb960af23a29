// A camera's life, its layout, and what is drawn over its pictures.
#include "viewer/CameraWidget.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

#include <QFileInfo>
#include <QLabel>
#include <QThreadPool>
#include <QTimer>
#include <QUrl>
#include <QUrlQuery>

#include "VideoPlayer_FishEye/feplayer/CLS_180ViewSubPlayer.h"

#include "viewer/EngineExtras.h"
#include "viewer/Layouts.h"
#include "viewer/Manager.h"
#include "viewer/Scene.h"

namespace viewer {

namespace {

constexpr int CONST_GAP = 2;  ///< pixels between the cells
constexpr int CONST_LOOK_FOR_PICTURE_MS = 100;
constexpr int CONST_PICTURELESS_MS = 8000;  ///< of playing; beyond a camera's key frame interval
constexpr int CONST_BANNER_MARGIN = 24;
constexpr int CONST_CIRCLE_POINTS = 180;
constexpr double CONST_PI = 3.14159265358979323846;

/// One for each view, told apart on any picture.
const std::array<QColor, CameraWidget::CONST_VIEWS> CONST_COLOURS = {
    QColor("#ff5a5a"), QColor("#52d273"), QColor("#5aa9ff"), QColor("#ffd23f"),
    QColor("#ff7bd5"), QColor("#3fe0d0"), QColor("#ff9a3c"), QColor("#b48cff")};

QColor ColourOf(int view)
{
    return CONST_COLOURS[static_cast<std::size_t>(view) % CONST_COLOURS.size()];
}

/// 12 bytes: their number, and a description that leaves everything to be found.
QByteArray StreamHeader()
{
    QByteArray header(12, '\0');
    const std::int32_t size = header.size();
    std::memcpy(header.data(), &size, sizeof(size));
    return header;
}

bool Holds(const Layout& layout, CellKind kind)
{
    return std::any_of(layout.cells.begin(), layout.cells.end(),
                       [&](const Cell& cell) { return cell.kind == kind; });
}

int CountOf(const Layout& layout, CellKind kind)
{
    return static_cast<int>(std::count_if(layout.cells.begin(), layout.cells.end(),
                                          [&](const Cell& cell) { return cell.kind == kind; }));
}

/// The room of a cell, as far as it may use it: the engine fills any, and people would come out
/// tall and thin in a wide view that is as high as it is wide.
QRect Shaped(CellKind kind, const QRect& room)
{
    constexpr double CONST_PANORAMA = 3.0;  // the least width for a height
    constexpr double CONST_HALF = 2.0;
    const double least = CellKind::Panorama == kind                              ? CONST_PANORAMA
                         : CellKind::Half == kind || CellKind::OtherHalf == kind ? CONST_HALF
                                                                                 : 0.0;
    if (room.width() >= least * room.height())
        return room;
    const int height = static_cast<int>(room.width() / least);
    return {room.x(), room.y() + (room.height() - height) / 2, room.width(), height};
}

bool Same(const DrawOutlines& a, const DrawOutlines& b)
{
    const auto points = [](const QVector<STRUCT_DrawPoint>& x, const QVector<STRUCT_DrawPoint>& y) {
        return std::equal(x.begin(), x.end(), y.begin(), y.end(),
                          [](const STRUCT_DrawPoint& p, const STRUCT_DrawPoint& q) {
                              return p.fX == q.fX && p.fY == q.fY;
                          });
    };
    const auto lines = [&](const auto& x, const auto& y) {
        return std::equal(x.begin(), x.end(), y.begin(), y.end(), points);
    };
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), lines);
}

}  // namespace

CameraWidget::CameraWidget(QString source, CameraSettings settings, QWidget* parent)
    : QWidget(parent), m_source(std::move(source)), m_settings(std::move(settings))
{
    QPalette black = palette();
    black.setColor(QPalette::Window, Qt::black);
    setPalette(black);
    setAutoFillBackground(true);
    setMinimumSize(160, 120);

    const auto makeCell = [this](const QString& name, int number = -1) {
        auto* const cell = new CellWidget(number, this);
        cell->setObjectName(name);
        connect(cell, &CellWidget::pressed, this, &CameraWidget::startDrag);
        connect(cell, &CellWidget::dragged, this, &CameraWidget::goOn);
        connect(cell, &CellWidget::released, this, &CameraWidget::endDrag);
        connect(cell, &CellWidget::wheeled, this, &CameraWidget::wheel);
        connect(cell, &CellWidget::doubleClicked, this, &CameraWidget::enlarge);
        return cell;
    };
    m_main = makeCell("main");
    m_panorama = makeCell("panorama");
    m_half = makeCell("half");
    m_otherHalf = makeCell("other-half");
    for (int i = 0; i < CONST_VIEWS; ++i)
        m_views[static_cast<std::size_t>(i)] = makeCell("view", i);
    connect(m_main, &CellWidget::resized, this, &CameraWidget::drawOutlines);
    connect(m_main, &CellWidget::resized, this, &CameraWidget::drawCircle);

    m_banner = new QLabel(this);
    m_banner->setAttribute(Qt::WA_DontCreateNativeAncestors);
    m_banner->setAttribute(Qt::WA_NativeWindow);  // so that it can lie above the cells
    m_banner->setTextFormat(Qt::PlainText);       // names of files and servers are in it
    m_banner->setAlignment(Qt::AlignCenter);
    m_banner->setWordWrap(true);
    m_banner->setMargin(10);
    m_banner->setAutoFillBackground(true);

    m_nextPicture = new QTimer(this);
    m_nextPicture->setInterval(CONST_LOOK_FOR_PICTURE_MS);
    connect(m_nextPicture, &QTimer::timeout, this, &CameraWidget::awaitPicture);
    open();
}

CameraWidget::~CameraWidget()
{
    close();
}

CameraSettings CameraWidget::lastingSettings() const
{
    CameraSettings settings = m_settings;
    if (m_editsCircle)
        settings.lens = m_lensBefore;
    return settings;
}

QString CameraWidget::title() const
{
    if (Scene::name() == m_source)
        return tr("Built-in scene");
    if (m_source.contains("://")) {
        // Ports and queries tell the cameras of one recorder apart. A password is nobody's to see.
        QUrl url(m_source);
        QUrlQuery query(url);
        for (const char* const secret : {"password", "passwd", "pass", "pwd", "token"})
            query.removeAllQueryItems(secret);
        url.setQuery(query);
        return url.toString(QUrl::RemoveScheme | QUrl::RemoveUserInfo).mid(2);
    }
    return QFileInfo(m_source).fileName();
}

// ---- Life

void CameraWidget::open()
{
    m_message = Manager::instance().missing();
    if (m_message.isEmpty()) {
        m_player = Manager::instance().create(cameraRecord(), m_main->handle(), StreamHeader());
        if (m_player < 0)
            m_message = tr("The player engine refused to make a player.");
    }
    if (m_player < 0) {
        setState(StreamState::Failed, m_message);
        return;
    }
    if (m_settings.lens && !extras::SetLens(m_player, *m_settings.lens)) {
        m_settings.lens.reset();
        m_lensRefused = true;
        qWarning("%s: the lens is refused", qUtf8Printable(title()));
    }
    extras::SetOrientation(m_player, m_settings.mirrored, m_settings.flipped);
    layOut();
    m_shownBefore = 0;
    m_nextPicture->start();
    if (Scene::name() != m_source) {
        play(m_source);
        return;
    }
    m_scene = new Scene(m_settings.mount, this);
    connect(m_scene, &Scene::progress, this,
            [this](const QString& text) { setState(StreamState::Connecting, text); });
    connect(m_scene, &Scene::ready, this, &CameraWidget::play);
    connect(m_scene, &Scene::failed, this,
            [this](const QString& why) { setState(StreamState::Failed, why); });
    m_scene->make();
}

void CameraWidget::play(const QString& path)
{
    const int player = m_player;
    const auto sink = [player](const QByteArray& block) {
        if (!block.isEmpty())
            return Manager::instance().put(player, block);
        extras::EndStream(player);
        return true;
    };
    m_path = path;
    m_reader = std::make_shared<StreamReader>(path, sink);
    // What a reader said that has been replaced meanwhile may still be on its way; it goes with
    // the object that it was meant for.
    m_ear = std::make_unique<QObject>();
    connect(m_reader.get(), &StreamReader::stateChanged, m_ear.get(),
            [this](StreamState state, const QString& message) { setState(state, message); });
    connect(m_reader.get(), &StreamReader::opened, m_ear.get(),
            [this](const StreamInfo& info) { m_stream = info; });
    connect(m_reader.get(), &StreamReader::dropped, m_ear.get(),
            [this](int blocks) { m_dropped += blocks; });
    m_reader->setLoop(m_loop);
    m_reader->setSpeed(m_speed);
    m_reader->setPosition(m_position);
    m_reader->start();
}

void CameraWidget::playAgain()
{
    setPaused(false);
    m_position = 0.0;
    play(m_path);
}

void CameraWidget::close()
{
    m_nextPicture->stop();
    delete std::exchange(m_scene, nullptr);
    if (m_reader) {
        // The system may hold up its thread for a moment: others wait for it than the window. The
        // ear goes when nothing is being said: Qt loses memory of a connection that it cuts then.
        m_reader->askToStop();
        m_ear.reset();
        QThreadPool::globalInstance()->start([reader = std::move(m_reader)] { reader->stop(); });
    }
    m_secondHalf.reset();
    if (m_player >= 0)
        Manager::instance().remove(std::exchange(m_player, -1));
}

void CameraWidget::reopen()
{
    keepLooks();
    restart();
}

/// A file goes on where it was, or from the start where it had ended; a pause is taken up again
/// with the first picture.
void CameraWidget::restart()
{
    const bool goesOn = m_reader && !m_stream.live && StreamState::Ended != m_state;
    m_position = goesOn ? m_reader->position() : 0.0;
    close();
    m_live = false;
    m_stream = {};
    m_dropped = 0;
    setState(StreamState::Connecting, {});
    open();
}

void CameraWidget::setState(StreamState state, const QString& message)
{
    m_state = state;
    m_message = message;
    if (StreamState::Playing != state) {
        m_sincePlaying.invalidate();
        m_pictureless = false;
    } else if (!m_sincePlaying.isValid()) {
        m_sincePlaying.start();
        if (m_live) {  // and may from now on be without pictures
            const std::optional<RvVideoParam> figures = extras::FiguresOf(m_player);
            m_shownBefore = figures ? figures->llShown : 0;
            m_nextPicture->start();
        }
    }
    tell();
    emit stateChanged();
}

/// The cells stay hidden until there is something to see in them. The picture that a stream had
/// before it was opened again stays, and is none of this one.
void CameraWidget::awaitPicture()
{
    const std::optional<RvVideoParam> figures = extras::FiguresOf(m_player);
    if (!figures || figures->llShown <= m_shownBefore) {
        if (m_live && m_paused && m_sincePlaying.isValid())
            m_sincePlaying.start();  // nobody keeps its pictures back but the user
        if (!m_pictureless && m_sincePlaying.isValid() &&
            m_sincePlaying.hasExpired(CONST_PICTURELESS_MS)) {
            m_pictureless = true;
            tell();
            emit stateChanged();
        }
        return;
    }
    m_nextPicture->stop();
    m_live = true;
    m_pictureless = false;
    placeCells();
    drawCircle();  // the lens is known with the first picture
    tell();
    setPaused(m_paused);
}

QString CameraWidget::trouble() const
{
    switch (m_state) {
    case StreamState::Connecting:
        return m_message.isEmpty() ? tr("Opening %1 ...").arg(title()) : m_message;
    case StreamState::Reconnecting:
        return tr("%1 gives no pictures and is tried again.\n%2").arg(title(), m_message);
    case StreamState::Failed:
        return tr("%1 cannot be shown.\n%2").arg(title(), m_message);
    case StreamState::Ended:
        return m_live ? tr("%1 has ended. The space bar plays it again.").arg(title())
                      : tr("%1 holds no pictures.").arg(title());
    case StreamState::Playing:
        break;
    }
    if (m_pictureless)
        return tr("%1 is a stream without pictures, or all of them are damaged.\n"
                  "It is watched in case some come.")
            .arg(title());
    if (m_live)
        return notices().join('\n');
    return tr("Waiting for the first picture of %1 ...").arg(title());
}

/// What is not as it was asked for, while there are pictures.
QStringList CameraWidget::notices() const
{
    QStringList notices;
    if (!m_outlined)
        notices.append(tr("There are too many cameras for outlines on this one."));
    if (m_lensRefused)
        notices.append(tr("The lens that %1 was to have makes no sense. The one that is found is "
                          "used; Camera > Lens sets another.")
                           .arg(title()));
    return notices;
}

void CameraWidget::tell()
{
    const QString text = trouble();
    m_banner->setText(text);
    m_banner->setVisible(!text.isEmpty());
    m_banner->raise();
    const int wide = std::max(1, width() - 2 * CONST_BANNER_MARGIN);
    m_banner->setFixedWidth(std::min(wide, 640));
    m_banner->adjustSize();
    m_banner->move((width() - m_banner->width()) / 2,
                   m_live ? CONST_BANNER_MARGIN : (height() - m_banner->height()) / 2);
}

void CameraWidget::setPaused(bool paused)
{
    m_paused = paused && !m_stream.live;
    emit stateChanged();
    if (m_stream.live || !m_reader || !m_live)
        return;
    m_reader->setPaused(paused);
    extras::Pause(m_player, paused);
}

void CameraWidget::togglePause()
{
    if (StreamState::Ended == m_state)
        playAgain();
    else
        setPaused(!m_paused);
}

void CameraWidget::step()
{
    if (!m_reader || m_stream.live)
        return;
    setPaused(true);
    m_reader->step();
    extras::Step(m_player);
}

void CameraWidget::setSpeed(double speed)
{
    m_speed = speed;
    if (m_reader)
        m_reader->setSpeed(speed);
    emit stateChanged();
}

void CameraWidget::setLoop(bool loop)
{
    m_loop = loop;
    if (m_reader)
        m_reader->setLoop(loop);
    if (loop && StreamState::Ended == m_state)
        playAgain();
}

// ---- Layout

const Layout& CameraWidget::layoutNow() const
{
    const bool wall = Mount::Wall == m_settings.mount;
    const Layout* const layout =
        FindLayout(m_editsCircle ? "source" : LayoutFor(wall, m_settings.layout));
    return nullptr == layout ? Layouts().front() : *layout;
}

STRUCT_FishEyeParam CameraWidget::cameraRecord() const
{
    const Layout& layout = layoutNow();
    const bool onPanorama = Holds(layout, CellKind::Panorama) && !Holds(layout, CellKind::FishEye);
    return {static_cast<std::int32_t>(m_settings.mount),
            onPanorama ? CORRECT_TYPE_360 : CORRECT_TYPE_FISHEYE};
}

int CameraWidget::viewCount() const
{
    return CountOf(layoutNow(), CellKind::Ptz);
}

CellWidget* CameraWidget::cellOf(CellKind kind, int number) const
{
    switch (kind) {
    case CellKind::Source:
    case CellKind::FishEye:
        return m_main;
    case CellKind::Panorama:
        return m_panorama;
    case CellKind::Half:
        return m_half;
    case CellKind::OtherHalf:
        return m_otherHalf;
    case CellKind::Ptz:
        break;
    }
    return m_views[static_cast<std::size_t>(number)];
}

/// Whether the layout has them or not.
QList<CellWidget*> CameraWidget::cells() const
{
    return findChildren<CellWidget*>(QString(), Qt::FindDirectChildrenOnly);
}

int CameraWidget::viewIn(const CellWidget* cell) const
{
    return extras::ViewIn(m_player, cell->handle());
}

void CameraWidget::chooseLayout(const QString& id)
{
    if (nullptr == FindLayout(id))
        return;
    keepLooks();
    m_enlarged = nullptr;
    m_settings.layout = id;
    layOut();
    emit settingsChanged();
}

void CameraWidget::chooseOverlay(OverlayKind overlay)
{
    keepLooks();
    m_settings.overlay = overlay;
    layOut();
    emit settingsChanged();
}

void CameraWidget::chooseMount(Mount mount)
{
    if (mount == m_settings.mount)
        return;
    m_settings.mount = mount;
    m_enlarged = nullptr;        // a wall has not every cell
    m_looks.fill(std::nullopt);  // they mean other things now
    m_panoramaDegrees = m_halfDegrees = m_halfSent = 0;
    restart();
    emit settingsChanged();
}

bool CameraWidget::chooseLens(const std::optional<RvLens>& lens)
{
    if (!extras::SetLens(m_player, lens.value_or(UnknownLens())))
        return false;
    m_settings.lens = lens;
    m_lensRefused = false;
    tell();
    drawCircle();
    emit settingsChanged();
    return true;
}

void CameraWidget::chooseOrientation(bool mirrored, bool flipped)
{
    m_settings.mirrored = mirrored;
    m_settings.flipped = flipped;
    extras::SetOrientation(m_player, mirrored, flipped);
    drawCircle();
    emit settingsChanged();
}

void CameraWidget::layOut()
{
    if (m_player < 0)
        return;
    const Layout& layout = layoutNow();
    QMap<int, QVector<void*>> windows;
    for (int i = 0; i < CountOf(layout, CellKind::Ptz); ++i)
        windows[CORRECT_TYPE_PTZ].append(cellOf(CellKind::Ptz, i)->handle());
    static constexpr std::pair<CellKind, int> CONST_KINDS[] = {
        {CellKind::Source, CORRECT_TYPE_SOURCE},
        {CellKind::FishEye, CORRECT_TYPE_FISHEYE},
        {CellKind::Panorama, CORRECT_TYPE_360},
        {CellKind::Half, CORRECT_TYPE_180}};
    for (const auto& [kind, type] : CONST_KINDS)
        if (Holds(layout, kind))
            windows[type].append(cellOf(kind, 0)->handle());

    const STRUCT_FishEyeParam camera = cameraRecord();
    // Without views there are none, and the manager would look for them and complain all the time.
    const bool outlines = OverlayKind::Off != m_settings.overlay && viewCount() > 0;
    const STRUCT_FishDrawParam draw{outlines ? camera.m_iDrawCorrectMode : 0,
                                    OverlayKind::Square == m_settings.overlay ? n_DrawType_Rect
                                                                              : n_DrawType_Fec};
    m_secondHalf.reset();
    Manager& manager = Manager::instance();
    m_outlined =
        manager.setOutlines(m_player, [this](const DrawOutlines& all) { receiveOutlines(all); }) ||
        !outlines;
    bool whole = manager.layOut(m_player, camera, windows, draw);
    if (Holds(layout, CellKind::OtherHalf)) {
        m_secondHalf = manager.createHalf(m_player, camera, m_otherHalf->handle());
        whole = whole && m_secondHalf;
    }
    if (!whole)
        qWarning("%s: views of the layout %s are refused", qUtf8Printable(title()),
                 qUtf8Printable(layout.id));
    for (CellWidget* const cell : cells())
        cell->setNote(whole || viewIn(cell) >= 0 ? QString()
                                                 : tr("The player engine refused this view."));
    {
        const std::lock_guard<std::mutex> lock(m_outlinesMutex);
        m_outlines.clear();
    }
    if (viewCount() > 1)
        m_chosen = std::min(m_chosen, viewCount() - 1);
    m_selected = viewCount() > 1 ? m_chosen : 0;
    restoreViews();
    placeCells();
    drawOutlines();
    drawFrames();
    drawCircle();
    emit selectionChanged();
}

std::optional<extras::Look>& CameraWidget::keptLook(int view)
{
    return m_looks[static_cast<std::size_t>(viewCount() > 1 ? view : m_chosen)];
}

void CameraWidget::keepLooks()
{
    for (int i = 0; i < viewCount(); ++i)
        if (const std::optional<extras::Look> look = lookOf(i))
            keptLook(i) = look;
}

/// What the views showed in the layout before.
void CameraWidget::restoreViews()
{
    for (int i = 0; i < viewCount(); ++i) {
        m_homes[static_cast<std::size_t>(i)] = lookOf(i).value_or(extras::Look{});
        if (const std::optional<extras::Look>& look = keptLook(i))
            turnTo(i, *look);
    }
    if (Holds(layoutNow(), CellKind::Panorama))
        turnWide(m_panorama, std::exchange(m_panoramaDegrees, 0));
    m_halfSent = 0;
    if (Holds(layoutNow(), CellKind::Half))
        turnWide(m_half, std::exchange(m_halfDegrees, 0));
}

void CameraWidget::resizeEvent(QResizeEvent*)
{
    placeCells();
    tell();
}

void CameraWidget::placeCells()
{
    const Layout& layout = layoutNow();
    QVector<CellWidget*> shown;
    int views = 0;
    // With squares the whole stands in the middle, otherwise the window is filled.
    const bool squares = Holds(layout, CellKind::Ptz) && layout.cells.size() > 1;
    double unitX = static_cast<double>(width()) / layout.columns;
    double unitY = static_cast<double>(height()) / layout.rows;
    if (squares)
        unitX = unitY = std::min(unitX, unitY);
    const double left = (width() - unitX * layout.columns) / 2.0;
    const double top = (height() - unitY * layout.rows) / 2.0;
    for (const Cell& cell : layout.cells) {
        CellWidget* const widget = cellOf(cell.kind, CellKind::Ptz == cell.kind ? views++ : 0);
        if (!m_live || (nullptr != m_enlarged && widget != m_enlarged))
            continue;
        shown.append(widget);
        const QRect place = QRectF(left + cell.column * unitX, top + cell.row * unitY,
                                   cell.columns * unitX, cell.rows * unitY)
                                .toRect();
        widget->setGeometry(Shaped(cell.kind, widget == m_enlarged
                                                  ? rect()
                                                  : place.adjusted(0, 0, -CONST_GAP, -CONST_GAP)));
    }
    for (CellWidget* const widget : cells())
        widget->setVisible(shown.contains(widget));
    m_banner->raise();
}

void CameraWidget::select(int view)
{
    if (view < 0 || view >= viewCount() || view == m_selected)
        return;
    m_selected = m_chosen = view;
    drawFrames();
    emit selectionChanged();
}

void CameraWidget::showView(int view)
{
    select(view);
    if (nullptr == m_enlarged || view < 0 || view >= viewCount())
        return;
    m_enlarged = m_views[static_cast<std::size_t>(view)];
    placeCells();
}

bool CameraWidget::seesSelected() const
{
    return nullptr == m_enlarged || m_enlarged == m_views[static_cast<std::size_t>(m_selected)];
}

// ---- Overlay

/// On the overlay thread.
void CameraWidget::receiveOutlines(const DrawOutlines& outlines)
{
    {
        const std::lock_guard<std::mutex> lock(m_outlinesMutex);
        if (Same(outlines, m_outlines))
            return;
        m_outlines = outlines;
    }
    QMetaObject::invokeMethod(this, &CameraWidget::drawOutlines, Qt::QueuedConnection);
}

void CameraWidget::drawOutlines()
{
    if (m_player < 0 || m_editsCircle)
        return;
    DrawOutlines outlines;
    {
        const std::lock_guard<std::mutex> lock(m_outlinesMutex);
        outlines = m_outlines;
    }
    const bool ofPanorama = CORRECT_TYPE_360 == cameraRecord().m_iDrawCorrectMode;
    QVector<extras::Line> onFishEye;
    QVector<extras::Line> onPanorama;
    for (int i = 0; i < outlines.size(); ++i) {
        const int width = i == m_selected ? 4 : 2;
        for (const QVector<STRUCT_DrawPoint>& outline : outlines[i]) {
            QVector<QPointF> points;
            QVector<QPointF> inCell;
            for (const STRUCT_DrawPoint& point : outline) {
                points.append({point.fX, point.fY});
                inCell.append(m_main->fromSquare(points.last()));
            }
            onFishEye.append({inCell, ColourOf(i), width});
            const QVector<QPointF> strip =
                ofPanorama ? points : OnPanorama(m_settings.mount, points);
            for (const QVector<QPointF>& piece : TurnedLine(strip, m_panoramaDegrees))
                onPanorama.append({piece, ColourOf(i), width});
        }
    }
    extras::DrawLines(m_player, viewIn(m_main), ofPanorama ? QVector<extras::Line>() : onFishEye);
    if (Holds(layoutNow(), CellKind::Panorama))
        extras::DrawLines(m_player, viewIn(m_panorama), onPanorama);
}

/// A frame and a number in its colour for each view.
void CameraWidget::drawFrames()
{
    for (int i = 0; i < viewCount() && viewCount() > 1; ++i) {
        const int view = viewIn(m_views[static_cast<std::size_t>(i)]);
        const QVector<QPointF> border = {{0, 0}, {1, 0}, {1, 1}, {0, 1}, {0, 0}};
        extras::DrawLines(m_player, view, {{border, ColourOf(i), i == m_selected ? 8 : 3}});
        extras::DrawTexts(m_player, view,
                          {{QByteArray::number(i + 1), {0.04, 0.04}, 18, ColourOf(i)}});
    }
    drawOutlines();
}

void CameraWidget::drawBox(const CellWidget* cell, QPointF from, QPointF to)
{
    const QVector<QPointF> box = {from, {to.x(), from.y()}, to, {from.x(), to.y()}, from};
    extras::DrawLines(m_player, viewIn(cell), {{box, Qt::white, 2}});
}

void CameraWidget::editCircle(bool edit)
{
    keepLooks();
    m_editsCircle = edit;
    m_lensBefore = m_settings.lens;
    m_enlarged = nullptr;
    layOut();
    if (!edit)
        emit settingsChanged();
}

SourcePicture CameraWidget::sourcePicture(const RvLens& lens) const
{
    return {QSizeF(lens.iWidth, lens.iHeight), QSizeF(m_main->size()), m_settings.mirrored,
            m_settings.flipped};
}

void CameraWidget::drawCircle()
{
    const std::optional<RvLens> lens = extras::LensOf(m_player);
    if (!m_editsCircle || !lens || lens->iWidth < 1)
        return;
    const SourcePicture picture = sourcePicture(*lens);
    const auto place = [&](double x, double y) { return picture.place({x, y}); };
    QVector<QPointF> circle;
    for (int i = 0; i <= CONST_CIRCLE_POINTS; ++i) {
        const double angle = 2.0 * CONST_PI * i / CONST_CIRCLE_POINTS;
        circle.append(place(lens->dCentreX + lens->dCircleRadius * std::cos(angle),
                            lens->dCentreY + lens->dCircleRadius * std::sin(angle)));
    }
    const double arm = lens->dCircleRadius / 20.0;
    const double x = lens->dCentreX;
    const double y = lens->dCentreY;
    extras::DrawLines(m_player, viewIn(m_main),
                      {{circle, Qt::yellow, 2},
                       {{place(x - arm, y), place(x + arm, y)}, Qt::yellow, 2},
                       {{place(x, y - arm), place(x, y + arm)}, Qt::yellow, 2}});
}

}  // namespace viewer
