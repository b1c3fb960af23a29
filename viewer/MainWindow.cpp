#include "viewer/MainWindow.h"

#include <array>
#include <cstdio>

#include <QActionGroup>
#include <QApplication>
#include <QDateTime>
#include <QDialogButtonBox>
#include <QDockWidget>
#include <QFileDialog>
#include <QFileInfo>
#include <QGridLayout>
#include <QInputDialog>
#include <QLabel>
#include <QListWidget>
#include <QMenuBar>
#include <QMessageBox>
#include <QMouseEvent>
#include <QPushButton>
#include <QScreen>
#include <QScrollArea>
#include <QSettings>
#include <QSlider>
#include <QStandardPaths>
#include <QStatusBar>
#include <QTimer>
#include <QToolButton>
#include <QToolTip>
#include <QUrl>
#include <QVBoxLayout>
#include <QWindow>

#include "viewer/CameraArea.h"
#include "viewer/CameraWidget.h"
#include "viewer/EngineExtras.h"
#include "viewer/Layouts.h"
#include "viewer/LensDialog.h"
#include "viewer/Scene.h"
#include "viewer/WindowPicture.h"

namespace viewer {

namespace {

constexpr int CONST_FIGURES_MS = 500;
constexpr int CONST_PATROL_MS = 4000;
constexpr int CONST_IDLE_MS = 10000;  ///< without the user's hand, after which a patrol goes on
constexpr int CONST_SNAPSHOT_POLL_MS = 100;
constexpr int CONST_SNAPSHOT_POLLS = 1800;
constexpr int CONST_USUAL_PAD_SPEED = 5;
constexpr int CONST_MESSAGE_MS = 6000;
constexpr int CONST_HELP_MARGIN = 8;

struct PadButton
{
    const char* text;
    const char* tip;
    n_PTZCtlCmd command;
    int key;  ///< 0: the pad alone
};

constexpr PadButton CONST_PAD[3][3] = {
    {{"\u2196", QT_TR_NOOP("Left and up"), n_PTZCtl_LeftUp, 0},
     {"\u2191", QT_TR_NOOP("Up"), n_PTZCtl_Up, Qt::Key_Up},
     {"\u2197", QT_TR_NOOP("Right and up"), n_PTZCtl_RightUp, 0}},
    {{"\u2190", QT_TR_NOOP("Left"), n_PTZCtl_Left, Qt::Key_Left},
     {"\u2302", QT_TR_NOOP("Home"), n_PTZCtl_Up, 0},
     {"\u2192", QT_TR_NOOP("Right"), n_PTZCtl_Right, Qt::Key_Right}},
    {{"\u2199", QT_TR_NOOP("Left and down"), n_PTZCtl_LeftDown, 0},
     {"\u2193", QT_TR_NOOP("Down"), n_PTZCtl_Down, Qt::Key_Down},
     {"\u2198", QT_TR_NOOP("Right and down"), n_PTZCtl_RightDown, 0}},
};

QToolButton* MakeButton(const QString& text, const QString& tip)
{
    auto* const button = new QToolButton;
    button->setText(text);
    button->setToolTip(tip);
    button->setFocusPolicy(Qt::NoFocus);
    button->setMinimumSize(40, 40);
    return button;
}

/// One name for a file, by which it is remembered wherever it is opened from and by whichever link,
/// and also where it is missing now.
QString NameOf(const QString& source)
{
    const QUrl url(source);
    const QString name = url.isLocalFile() ? url.toLocalFile() : source;  // desktops give URLs
    const QFileInfo file(name);
    if (Scene::name() == name || (!file.exists() && name.contains("://")))
        return name;
    return file.isFile() ? file.canonicalFilePath() : file.absoluteFilePath();
}

/// A window's size, or what a small screen has room for beside its bars and the window's frame.
QSize OnScreen(QSize size)
{
    constexpr double CONST_ROOM = 0.9;
    return size.boundedTo(QGuiApplication::primaryScreen()->availableSize() * CONST_ROOM);
}

}  // namespace

MainWindow::MainWindow(std::unique_ptr<QSettings> store)
    : m_store(std::move(store)), m_area(new CameraArea(this)), m_patrolTimer(new QTimer(this)),
      m_snapshotTimer(new QTimer(this))
{
    setCentralWidget(m_area);
    makeFileMenu();
    makePad();
    makeViewMenu();
    makeCameraMenu();
    makePlaybackMenu();
    makeSteeringActions();
    makeStatusLine();
    connect(m_area, &CameraArea::activeChanged, this, &MainWindow::showState);
    m_patrolTimer->setObjectName("patrol");
    m_patrolTimer->setSingleShot(true);
    m_snapshotTimer->setObjectName("snapshot");
    qApp->installEventFilter(this);
    connect(m_patrolTimer, &QTimer::timeout, this, &MainWindow::patrol);
    connect(m_snapshotTimer, &QTimer::timeout, this, &MainWindow::checkSnapshot);
    resize(OnScreen({1180, 800}));
    showState();
}

MainWindow::~MainWindow() = default;

CameraWidget* MainWindow::active() const
{
    return m_area->active();
}

void MainWindow::openSource(const QString& source, const Options& options)
{
    const QString name = NameOf(source);
    CameraSettings settings = m_store ? LoadCamera(*m_store, name) : CameraSettings{};
    settings.layout = options.layout.value_or(settings.layout);
    settings.mount = options.mount.value_or(settings.mount);
    settings.overlay = options.overlay.value_or(settings.overlay);
    if (options.lens)
        settings.lens = options.lens;
    auto* const camera = new CameraWidget(name, settings, m_area);
    follow(camera);
    camera->setLoop(m_loop->isChecked());
    m_area->add(camera);
}

void MainWindow::follow(CameraWidget* camera)
{
    connect(camera, &CameraWidget::stateChanged, this, &MainWindow::showState);
    connect(camera, &CameraWidget::selectionChanged, this, &MainWindow::showState);
    connect(camera, &CameraWidget::settingsChanged, this, [this, camera] {
        if (m_store)
            SaveCamera(*m_store, camera->source(), camera->lastingSettings());
        showState();
    });
    connect(camera, &CameraWidget::snapshotTaken, this, [this](const QString& path, bool written) {
        if (written) {
            statusBar()->showMessage(tr("Written: %1").arg(path), CONST_MESSAGE_MS);
            return;
        }
        // In a window of its own: the status line may be turned off.
        auto* const box = new QMessageBox(QMessageBox::Warning, windowTitle(),
                                          tr("The picture could not be written to %1.").arg(path),
                                          QMessageBox::Ok, this);
        box->setTextFormat(Qt::PlainText);
        box->setAttribute(Qt::WA_DeleteOnClose);
        box->open();
    });
}

// ---- Menus

QAction* MainWindow::add(QMenu* menu, const QString& text, const QKeySequence& keys,
                         const std::function<void()>& what)
{
    QAction* const action = menu->addAction(text);
    action->setShortcut(keys);
    if (what)
        connect(action, &QAction::triggered, this, what);
    addAction(action);  // so that it works in full screen, without the menu bar
    return action;
}

QAction* MainWindow::addForCamera(QMenu* menu, const QString& text, const QKeySequence& keys,
                                  const std::function<void(CameraWidget&)>& what)
{
    return add(menu, text, keys, [this, what] {
        if (CameraWidget* const camera = active())
            what(*camera);
    });
}

void MainWindow::makeFileMenu()
{
    QMenu* const menu = menuBar()->addMenu(tr("&File"));
    add(menu, tr("&Open file..."), QKeySequence::Open, [this] { chooseFile(); });
    add(menu, tr("Open &address..."), tr("Ctrl+L"), [this] { chooseAddress(); });
    add(menu, tr("Open built-in &scene"), {}, [this] { openSource(Scene::name()); });
    menu->addSeparator();
    add(menu, tr("Snapshot of the &view..."), tr("Ctrl+S"), [this] { takeSnapshot(true); });
    add(menu, tr("Snapshot of the so&urce..."), tr("Ctrl+Shift+S"),
        [this] { takeSnapshot(false); });
    menu->addSeparator();
    add(menu, tr("&Close camera"), QKeySequence::Close, [this] { m_area->closeActive(); });
    add(menu, tr("&Quit"), QKeySequence::Quit, [this] { close(); });
}

void MainWindow::makeViewMenu()
{
    QMenu* const menu = menuBar()->addMenu(tr("&View"));
    m_layouts = new QActionGroup(this);
    int number = 0;
    for (const Layout& layout : Layouts()) {
        const QString keys = ++number < 10 ? QString("Ctrl+%1").arg(number) : QString();
        QAction* const action =
            addForCamera(menu, layout.title, keys,
                         [id = layout.id](CameraWidget& camera) { camera.chooseLayout(id); });
        action->setCheckable(true);
        action->setData(layout.id);
        m_layouts->addAction(action);
    }
    menu->addSeparator();
    m_overlays = new QActionGroup(this);
    const std::pair<QString, OverlayKind> overlays[] = {
        {tr("No outlines"), OverlayKind::Off},
        {tr("Traced outlines"), OverlayKind::Traced},
        {tr("Square outlines"), OverlayKind::Square}};
    for (const auto& [text, kind] : overlays) {
        QAction* const action = addForCamera(
            menu, text, {}, [kind = kind](CameraWidget& camera) { camera.chooseOverlay(kind); });
        action->setCheckable(true);
        action->setData(WordOf(kind));
        m_overlays->addAction(action);
    }
    menu->addSeparator();
    QAction* const grid = add(menu, tr("All cameras in a &grid"), tr("G"), {});
    grid->setCheckable(true);
    connect(grid, &QAction::toggled, m_area, &CameraArea::setGrid);
    QAction* const pad = findChild<QDockWidget*>("pad")->toggleViewAction();
    pad->setText(tr("Steering &pad"));
    menu->addAction(pad);
    QAction* const status = add(menu, tr("&Status line"), {}, {});
    status->setCheckable(true);
    status->setChecked(true);
    connect(status, &QAction::toggled, this,
            [this](bool shown) { statusBar()->setVisible(shown); });
    m_fullScreen =
        add(menu, tr("&Full screen"), QKeySequence(Qt::Key_F11), [this] { toggleFullScreen(); });

    QMenu* const help = new QMenu(tr("&Help"), this);
    add(help, tr("&Keys and gestures"), QKeySequence(Qt::Key_F1), [this] { showKeys(); });
    // The last menu, once the others are there.
    QTimer::singleShot(0, this, [this, help] { menuBar()->addMenu(help); });
}

void MainWindow::makeCameraMenu()
{
    QMenu* const menu = menuBar()->addMenu(tr("&Camera"));
    m_mounts = new QActionGroup(this);
    const std::pair<QString, Mount> mounts[] = {{tr("On the &ceiling"), Mount::Ceiling},
                                                {tr("On a &wall"), Mount::Wall},
                                                {tr("On the &floor"), Mount::Floor}};
    for (const auto& [text, mount] : mounts) {
        QAction* const action = addForCamera(
            menu, text, {}, [mount = mount](CameraWidget& camera) { camera.chooseMount(mount); });
        action->setCheckable(true);
        action->setData(WordOf(mount));
        m_mounts->addAction(action);
    }
    menu->addSeparator();
    m_mirrored =
        addForCamera(menu, tr("The picture is &mirrored"), {}, [this](CameraWidget& camera) {
            camera.chooseOrientation(m_mirrored->isChecked(), camera.settings().flipped);
        });
    m_mirrored->setCheckable(true);
    m_flipped =
        addForCamera(menu, tr("The picture is &upside down"), {}, [this](CameraWidget& camera) {
            camera.chooseOrientation(camera.settings().mirrored, m_flipped->isChecked());
        });
    m_flipped->setCheckable(true);
    menu->addSeparator();
    add(menu, tr("&Lens..."), {}, [this] { editLens(); });
    addForCamera(menu, tr("&Reopen"), tr("F5"), [](CameraWidget& camera) { camera.reopen(); });
}

void MainWindow::makePlaybackMenu()
{
    QMenu* const menu = menuBar()->addMenu(tr("&Playback"));
    m_pause = addForCamera(menu, tr("&Pause"), QKeySequence(Qt::Key_Space),
                           [](CameraWidget& camera) { camera.togglePause(); });
    m_pause->setCheckable(true);
    addForCamera(menu, tr("&One picture on"), QKeySequence(Qt::Key_Period),
                 [](CameraWidget& camera) { camera.step(); });
    m_loop = add(menu, tr("&Again from the start at the end"), {}, {});
    m_loop->setCheckable(true);
    m_loop->setChecked(true);
    connect(m_loop, &QAction::toggled, this, [this](bool loop) {
        for (CameraWidget* const camera : m_area->cameras())
            camera->setLoop(loop);
    });
    menu->addSeparator();
    m_speeds = new QActionGroup(this);
    const std::pair<QString, double> speeds[] = {{tr("Quarter speed"), 0.25},
                                                 {tr("Half speed"), 0.5},
                                                 {tr("Normal speed"), 1.0},
                                                 {tr("Double speed"), 2.0},
                                                 {tr("Four times the speed"), 4.0}};
    for (const auto& [text, speed] : speeds) {
        QAction* const action = addForCamera(
            menu, text, {}, [speed = speed](CameraWidget& camera) { camera.setSpeed(speed); });
        action->setCheckable(true);
        action->setData(speed);
        m_speeds->addAction(action);
    }
}

/// Keys that steer the selected view.
void MainWindow::makeSteeringActions()
{
    QMenu* const menu = menuBar()->addMenu(tr("&Steer"));
    for (const auto& row : CONST_PAD)
        for (const PadButton& button : row)
            if (0 != button.key)
                addForCamera(menu, tr(button.tip), QKeySequence(button.key),
                             [this, command = button.command](CameraWidget& camera) {
                                 camera.press(command, m_padSpeed->value());
                             });
    const auto zoom = [this](n_PTZCtlCmd command) {
        return
            [this, command](CameraWidget& camera) { camera.press(command, m_padSpeed->value()); };
    };
    QAction* const in = addForCamera(menu, tr("Zoom in"), {}, zoom(n_PTZCtl_ZoomIn));
    in->setShortcuts({QKeySequence(Qt::Key_Plus), QKeySequence(Qt::Key_Equal)});
    addForCamera(menu, tr("Zoom out"), QKeySequence(Qt::Key_Minus), zoom(n_PTZCtl_ZoomOut));
    addForCamera(menu, tr("Home"), QKeySequence(Qt::Key_Home),
                 [](CameraWidget& camera) { camera.home(); });
    menu->addSeparator();
    for (int i = 0; i < CameraWidget::CONST_VIEWS; ++i)
        addForCamera(menu, tr("Select view %1").arg(i + 1), QKeySequence(Qt::Key_1 + i),
                     [i](CameraWidget& camera) { camera.showView(i); });
}

// ---- The pad and the status line

void MainWindow::makePad()
{
    auto* const dock = new QDockWidget(tr("Steer"), this);
    dock->setObjectName("pad");
    dock->setFeatures(QDockWidget::DockWidgetMovable | QDockWidget::DockWidgetClosable);
    auto* const pad = new QWidget;
    auto* const grid = new QGridLayout(pad);
    const auto presses = [this](QToolButton* button, n_PTZCtlCmd command) {
        button->setAutoRepeat(true);
        connect(button, &QToolButton::clicked, this, [this, command] {
            if (CameraWidget* const camera = active())
                camera->press(command, m_padSpeed->value());
        });
    };
    for (int row = 0; row < 3; ++row) {
        for (int column = 0; column < 3; ++column) {
            const PadButton& entry = CONST_PAD[row][column];
            QToolButton* const button = MakeButton(QString::fromUtf8(entry.text), tr(entry.tip));
            grid->addWidget(button, row, column, Qt::AlignCenter);
            if (1 != row || 1 != column) {
                presses(button, entry.command);
                continue;
            }
            connect(button, &QToolButton::clicked, this, [this] {
                if (CameraWidget* const camera = active())
                    camera->home();
            });
        }
    }
    QToolButton* const out = MakeButton("\u2212", tr("Zoom out"));
    QToolButton* const in = MakeButton("+", tr("Zoom in"));
    presses(out, n_PTZCtl_ZoomOut);
    presses(in, n_PTZCtl_ZoomIn);
    grid->addWidget(out, 3, 0, Qt::AlignCenter);
    grid->addWidget(in, 3, 2, Qt::AlignCenter);
    m_padSpeed = new QSlider(Qt::Horizontal);
    m_padSpeed->setRange(1, 10);
    m_padSpeed->setValue(CONST_USUAL_PAD_SPEED);
    m_padSpeed->setFocusPolicy(Qt::NoFocus);
    grid->addWidget(new QLabel(tr("Speed")), 4, 0, 1, 3);
    grid->addWidget(m_padSpeed, 5, 0, 1, 3);

    grid->addWidget(new QLabel(tr("Presets")), 6, 0, 1, 3);
    m_presets = new QListWidget;
    m_presets->setFocusPolicy(Qt::NoFocus);
    m_presets->setMaximumWidth(180);
    connect(m_presets, &QListWidget::itemClicked, this, [this](QListWidgetItem* item) {
        if (CameraWidget* const camera = active())
            camera->goToPreset(item->text());
    });
    grid->addWidget(m_presets, 7, 0, 1, 3);
    auto* const save = new QPushButton(tr("Save..."));
    auto* const remove = new QPushButton(tr("Remove"));
    auto* const patrol = new QToolButton;
    for (QWidget* const button : std::array<QWidget*, 3>{save, remove, patrol})
        button->setFocusPolicy(Qt::NoFocus);
    connect(save, &QPushButton::clicked, this, &MainWindow::savePreset);
    connect(remove, &QPushButton::clicked, this, [this] {
        if (active() && m_presets->currentItem())
            active()->removePreset(m_presets->currentItem()->text());
    });
    m_patrol = new QAction(tr("Patrol"), this);
    m_patrol->setCheckable(true);
    m_patrol->setShortcut(tr("P"));
    addAction(m_patrol);
    connect(m_patrol, &QAction::toggled, this, [this](bool on) {
        if (on)
            startPatrol();
        else
            m_patrolTimer->stop();
    });
    patrol->setDefaultAction(m_patrol);
    auto* const row = new QHBoxLayout;
    row->addWidget(save);
    row->addWidget(remove);
    grid->addLayout(row, 8, 0, 1, 3);
    grid->addWidget(patrol, 9, 0, 1, 3);
    dock->setWidget(pad);
    addDockWidget(Qt::RightDockWidgetArea, dock);
}

void MainWindow::makeStatusLine()
{
    m_figures = new QLabel;
    statusBar()->addPermanentWidget(m_figures);
    auto* const timer = new QTimer(this);
    connect(timer, &QTimer::timeout, this, &MainWindow::showFigures);
    timer->start(CONST_FIGURES_MS);
}

void MainWindow::showFigures()
{
    const CameraWidget* const camera = active();
    if (nullptr == camera || camera->player() < 0 || !statusBar()->isVisible())
        return m_figures->clear();
    const std::optional<RvVideoParam> figures = extras::FiguresOf(camera->player());
    if (!figures || !camera->showsPictures())
        return m_figures->clear();
    const StreamInfo& stream = camera->stream();
    m_figures->setText(tr("%1 %2 x %3   %4/s   dropped %5   decoding %6 ms   drawing %7 ms   "
                          "latency %8 ms")
                           .arg(stream.codec.toUpper())
                           .arg(figures->iWidth)
                           .arg(figures->iHeight)
                           .arg(stream.rate > 0.0 ? stream.rate : figures->dFrameRate, 0, 'f', 1)
                           .arg(figures->llDropped + camera->dropped())
                           .arg(figures->dDecodeMs, 0, 'f', 1)
                           .arg(figures->dDrawMs, 0, 'f', 1)
                           .arg(figures->dLatencyMs, 0, 'f', 0));
}

/// Menus, title and lists as the active camera has it.
void MainWindow::showState()
{
    const CameraWidget* const camera = active();
    setWindowTitle(nullptr == camera
                       ? QApplication::applicationDisplayName()
                       : camera->title() + " \u2013 " + QApplication::applicationDisplayName());
    fillPresets();
    if (nullptr == camera)
        return;
    const auto check = [](const QActionGroup* group, const QVariant& data) {
        for (QAction* const action : group->actions())
            action->setChecked(action->data() == data);
    };
    check(m_layouts, camera->settings().layout);
    check(m_mounts, WordOf(camera->settings().mount));
    check(m_overlays, WordOf(camera->settings().overlay));
    check(m_speeds, camera->speed());
    m_mirrored->setChecked(camera->settings().mirrored);
    m_flipped->setChecked(camera->settings().flipped);
    m_pause->setChecked(camera->paused());
}

void MainWindow::fillPresets()
{
    const CameraWidget* const camera = active();
    const QStringList names = nullptr == camera ? QStringList() : camera->settings().presets.keys();
    QStringList shown;
    for (int i = 0; i < m_presets->count(); ++i)
        shown.append(m_presets->item(i)->text());
    if (shown == names)
        return;
    m_presets->clear();
    m_presets->addItems(names);
}

void MainWindow::savePreset()
{
    if (nullptr == active() || active()->viewCount() < 1)
        return say(tr("There is no view here whose direction could be saved."));
    const QString name =
        QInputDialog::getText(this, tr("Save a preset"), tr("Its name:")).trimmed();
    if (name.isEmpty() || nullptr == active())
        return;
    const QString question = tr("There is a preset \"%1\" already. Put this one in its place?");
    if (!active()->settings().presets.contains(name) ||
        QMessageBox::question(this, tr("Save a preset"), question.arg(name)) == QMessageBox::Yes)
        active()->savePreset(name);
}

/// Whatever the user does to any window of the program holds a patrol up.
bool MainWindow::eventFilter(QObject* object, QEvent* event)
{
    switch (event->type()) {
    case QEvent::MouseMove:
        if (Qt::NoButton == static_cast<QMouseEvent*>(event)->buttons())
            break;
        [[fallthrough]];
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonRelease:
    case QEvent::MouseButtonDblClick:
    case QEvent::Wheel:
    case QEvent::KeyPress:
    case QEvent::ShortcutOverride:  // all that is heard of a key that is a shortcut
        if (m_patrol->isChecked())
            m_patrolTimer->start(CONST_IDLE_MS);
        break;
    default:
        break;
    }
    return QMainWindow::eventFilter(object, event);
}

void MainWindow::startPatrol()
{
    const CameraWidget* const camera = active();
    if (nullptr != camera && !camera->settings().presets.isEmpty() && camera->viewCount() > 0)
        return patrol();
    m_patrol->setChecked(false);
    say(nullptr == camera         ? tr("There is no camera for a patrol.")
        : camera->viewCount() < 1 ? tr("A patrol needs a layout with a view that can be turned.")
                                  : tr("There are no presets to go to; save some first."));
}

void MainWindow::patrol()
{
    m_patrolTimer->start(CONST_PATROL_MS);
    CameraWidget* const camera = active();
    // A patrol waits while another cell covers the view that it steers.
    if (nullptr == camera || camera->settings().presets.isEmpty() || !camera->seesSelected())
        return;
    const QStringList names = camera->settings().presets.keys();
    m_patrolAt = names.value((names.indexOf(m_patrolAt) + 1) % names.size());
    camera->goToPreset(m_patrolAt);
}

// ---- Dialogs

/// In a line that goes away by itself, also where the status line is turned off.
void MainWindow::say(const QString& text)
{
    statusBar()->showMessage(text, CONST_MESSAGE_MS);
    if (!statusBar()->isVisible())
        QToolTip::showText(mapToGlobal(rect().bottomLeft()), text, this, {}, CONST_MESSAGE_MS);
}

void MainWindow::chooseFile()
{
    for (const QString& path : QFileDialog::getOpenFileNames(this, tr("Open videos")))
        openSource(path);
}

void MainWindow::chooseAddress()
{
    const QString address = QInputDialog::getText(
        this, tr("Open address"), tr("rtsp://, http://, udp:// or a device such as /dev/video0:"));
    if (!address.trimmed().isEmpty())
        openSource(address.trimmed());
}

void MainWindow::takeSnapshot(bool ofView)
{
    if (nullptr == active())
        return;
    const QString name = QStandardPaths::writableLocation(QStandardPaths::PicturesLocation) +
                         QDateTime::currentDateTime().toString("'/fisheye-'yyyyMMdd-HHmmss'.png'");
    QFileDialog dialog(this, tr("Write a picture"), name, tr("PNG (*.png)"));
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setDefaultSuffix("png");  // the question whether to overwrite is about the whole name
    dialog.selectFile(name);
    if (QDialog::Accepted != dialog.exec() || nullptr == active())
        return;
    const QString path = dialog.selectedFiles().first();
    if (ofView)
        active()->snapshotView(path);
    else
        active()->snapshotSource(path);
}

void MainWindow::editLens()
{
    CameraWidget* const camera = active();
    if (nullptr == camera || !camera->showsPictures())
        return say(tr("The lens can be set once there are pictures."));
    if (auto* const open = camera->findChild<LensDialog*>()) {
        open->raise();
        open->activateWindow();
        return;
    }
    auto* const dialog = new LensDialog(*camera);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setModal(false);
    dialog->show();
}

void MainWindow::showKeys()
{
    QString text =
        tr("<p><b>Mouse</b><br>"
           "Drag in a view: the picture follows the hand.<br>"
           "Wheel: zoom about the cursor.<br>"
           "Shift and drag, or the right button: zoom into a box.<br>"
           "Drag an outline on the fisheye picture or panorama: that view goes there.<br>"
           "Drag a panorama or 180 view: it turns.<br>"
           "Double click: one cell in the whole window, and back.</p><p><b>Keys</b><br>");
    for (const QAction* const action : actions()) {
        QStringList keys;
        for (const QKeySequence& key : action->shortcuts())
            keys.append(key.toString(QKeySequence::NativeText));
        if (!keys.isEmpty())
            text += QString("<b>%1</b>&nbsp; %2<br>")
                        .arg(keys.join(tr(" or ")).toHtmlEscaped(),
                             QString(action->text()).remove('&').toHtmlEscaped());
    }
    auto* const label = new QLabel(text + "</p>");
    label->setWordWrap(true);
    label->setMargin(CONST_HELP_MARGIN);
    auto* const scroll = new QScrollArea;
    scroll->setWidget(label);
    scroll->setWidgetResizable(true);
    auto* const close = new QDialogButtonBox(QDialogButtonBox::Close);
    QDialog dialog(this);
    dialog.setWindowTitle(tr("Keys and gestures"));
    auto* const column = new QVBoxLayout(&dialog);
    column->addWidget(scroll);
    column->addWidget(close);
    connect(close, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
    dialog.resize(OnScreen({560, 720}));
    scroll->setFocus();  // so that the keys scroll
    dialog.exec();
}

void MainWindow::toggleFullScreen()
{
    const bool full = !isFullScreen();
    menuBar()->setVisible(!full);
    // What was closed before stays closed afterwards.
    const std::pair<QWidget*, bool*> hidden[] = {{findChild<QDockWidget*>("pad"), &m_padShown},
                                                 {statusBar(), &m_statusShown}};
    for (const auto& [widget, shown] : hidden) {
        if (full)
            *shown = !widget->isHidden();
        widget->setVisible(!full && *shown);
    }
    // Escape is a way out alone: elsewhere it means other things.
    m_fullScreen->setShortcuts(full ? QList<QKeySequence>{Qt::Key_F11, Qt::Key_Escape}
                                    : QList<QKeySequence>{Qt::Key_F11});
    setWindowState(windowState() ^ Qt::WindowFullScreen);
}

// ---- Snapshot of the window

void MainWindow::leaveWithSnapshot(const QString& path, double after)
{
    m_snapshot = path;
    m_snapshotAfter = after;
    m_snapshotTimer->start(CONST_SNAPSHOT_POLL_MS);
}

void MainWindow::checkSnapshot()
{
    const auto fail = [this](const QString& why) {
        m_snapshotTimer->stop();
        std::fprintf(stderr, "fisheye-viewer: %s\n", qUtf8Printable(why));
        QApplication::exit(CONST_EXIT_FAILED);
    };
    ++m_snapshotPolls;
    for (const CameraWidget* const camera : m_area->cameras()) {
        const bool over = StreamState::Failed == camera->state() ||
                          (!camera->showsPictures() && (StreamState::Ended == camera->state() ||
                                                        m_snapshotPolls > CONST_SNAPSHOT_POLLS)) ||
                          (camera->pictureless() && !camera->stream().live);
        if (over)
            return fail(camera->trouble());
        if (!camera->showsPictures())
            return;
    }
    m_snapshotTimer->stop();
    QTimer::singleShot(static_cast<int>(m_snapshotAfter * 1000.0), this, [this, fail] {
        QImage picture = PictureOf(winId());
        if (picture.isNull())
            picture = windowHandle()->screen()->grabWindow(winId()).toImage();
        if (!picture.save(m_snapshot, "PNG"))
            return fail(tr("The picture could not be written to %1.").arg(m_snapshot));
        QApplication::exit(CONST_EXIT_DONE);
    });
}

}  // namespace viewer
