#include "tests/viewer/Stage.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdlib>
#include <stdexcept>
#include <string>

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <QAction>
#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QMouseEvent>
#include <QProcess>
#include <QSettings>
#include <QTimer>
#include <QWindow>

#include "tools/scene/Renderer.h"
#include "viewer/CameraArea.h"
#include "viewer/EngineExtras.h"

#include <xcb/xcb.h>
#include <xcb/xtest.h>

namespace stage {

namespace {

constexpr std::chrono::seconds CONST_PATIENCE{60};
constexpr double CONST_TOLERANCE = 0.16;  ///< of red, green and blue together, after the codec
constexpr int CONST_GRID = 60;            ///< places looked at each way
constexpr int CONST_DRAG_STEPS = 8;
constexpr int CONST_DISPLAY_END = 3;  ///< the descriptor on which Xvfb names its display

pid_t s_server = -1;
xcb_connection_t* s_connection = nullptr;
xcb_window_t s_root = 0;

struct FreeReply
{
    void operator()(void* reply) const { std::free(reply); }
};
template <typename T>
using Reply = std::unique_ptr<T, FreeReply>;

/// Counts the mouse and key events that reach the program's windows.
class Ears : public QObject
{
public:
    int heard = 0;

    bool eventFilter(QObject* object, QEvent* event) override
    {
        switch (event->type()) {
        case QEvent::MouseButtonPress:
        case QEvent::MouseButtonRelease:
        case QEvent::MouseButtonDblClick:
        case QEvent::MouseMove:
        case QEvent::Wheel:
        case QEvent::KeyPress:
            if (object->isWindowType())
                ++heard;
            break;
        default:
            break;
        }
        return false;
    }
};

Ears& TheEars()
{
    static Ears* const ears = [] {
        auto* const made = new Ears;
        made->setParent(qApp);
        qApp->installEventFilter(made);
        return made;
    }();
    return *ears;
}

void Fake(std::uint8_t type, std::uint8_t detail, int x = 0, int y = 0)
{
    const int before = TheEars().heard;
    xcb_test_fake_input(s_connection, type, detail, XCB_CURRENT_TIME, s_root,
                        static_cast<std::int16_t>(x), static_cast<std::int16_t>(y), 0);
    xcb_flush(s_connection);
    Await([&] { return TheEars().heard > before; });
}

struct Place
{
    int x;
    int y;
    int width;
    int height;
};

/// Where a cell's window lies on the screen, in real pixels.
Place PlaceOf(const viewer::CellWidget& cell)
{
    const auto id = static_cast<xcb_window_t>(cell.winId());
    const Reply<xcb_get_geometry_reply_t> size(
        xcb_get_geometry_reply(s_connection, xcb_get_geometry(s_connection, id), nullptr));
    const Reply<xcb_translate_coordinates_reply_t> corner(xcb_translate_coordinates_reply(
        s_connection, xcb_translate_coordinates(s_connection, id, s_root, 0, 0), nullptr));
    return {corner->dst_x, corner->dst_y, size->width, size->height};
}

void MovePointer(int x, int y)
{
    const Reply<xcb_query_pointer_reply_t> now(
        xcb_query_pointer_reply(s_connection, xcb_query_pointer(s_connection, s_root), nullptr));
    if (now->root_x != x || now->root_y != y)  // where it is already it makes no event
        Fake(XCB_MOTION_NOTIFY, 0, x, y);
}

xcb_atom_t Atom(const std::string& name)
{
    const Reply<xcb_intern_atom_reply_t> atom(xcb_intern_atom_reply(
        s_connection,
        xcb_intern_atom(s_connection, 0, static_cast<std::uint16_t>(name.size()), name.c_str()),
        nullptr));
    return atom->atom;
}

/// A key of the keyboard, and whether a symbol comes with Shift.
struct Stroke
{
    std::uint8_t code;
    bool shifted;
};

Stroke KeyOf(unsigned keysym)
{
    const xcb_setup_t& setup = *xcb_get_setup(s_connection);
    const auto count = static_cast<std::uint8_t>(setup.max_keycode - setup.min_keycode + 1);
    const Reply<xcb_get_keyboard_mapping_reply_t> map(xcb_get_keyboard_mapping_reply(
        s_connection, xcb_get_keyboard_mapping(s_connection, setup.min_keycode, count), nullptr));
    const xcb_keysym_t* const symbols = xcb_get_keyboard_mapping_keysyms(map.get());
    for (int level = 0; level < 2; ++level)
        for (int i = 0; i < count; ++i)
            if (symbols[i * map->keysyms_per_keycode + level] == keysym)
                return {static_cast<std::uint8_t>(setup.min_keycode + i), 1 == level};
    throw std::runtime_error("no such key");
}

void FakeKey(std::uint8_t type, std::uint8_t code)
{
    xcb_test_fake_input(s_connection, type, code, XCB_CURRENT_TIME, s_root, 0, 0, 0);
    xcb_flush(s_connection);
}

}  // namespace

bool StartDisplay()
{
    int ends[2];
    if (::pipe(ends) != 0)
        return false;
    s_server = fork();
    if (s_server == 0) {
        // A test that dies takes its display along, and the display holds nothing that somebody
        // waits for: not the output of the test, not what whoever runs it has open.
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        const std::string out = std::to_string(CONST_DISPLAY_END);
        if (::dup2(ends[1], CONST_DISPLAY_END) >= 0 &&
            ::close_range(CONST_DISPLAY_END + 1, ~0U, 0) == 0 &&
            nullptr != std::freopen("/dev/null", "w", stdout) &&
            nullptr != std::freopen("/dev/null", "w", stderr))
            execlp("Xvfb", "Xvfb", "-displayfd", out.c_str(), "-screen", "0", "2600x2000x24",
                   "-nolisten", "tcp", static_cast<char*>(nullptr));
        _exit(1);
    }
    ::close(ends[1]);
    std::string number = ":";
    for (char letter = 0; ::read(ends[0], &letter, 1) == 1 && letter != '\n';)
        number += letter;
    ::close(ends[0]);
    if (number.size() < 2)
        return false;
    ::setenv("DISPLAY", number.c_str(), 1);
    s_connection = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(s_connection))
        return false;
    s_root = xcb_setup_roots_iterator(xcb_get_setup(s_connection)).data->root;
    return true;
}

void EndDisplay()
{
    if (nullptr != s_connection)
        xcb_disconnect(s_connection);
    if (s_server <= 0)
        return;
    ::kill(s_server, SIGTERM);
    ::waitpid(s_server, nullptr, 0);
}

bool Await(const std::function<bool()>& holds)
{
    const auto end = std::chrono::steady_clock::now() + CONST_PATIENCE;
    QTimer wake;  // some of what is awaited shows on the screen alone, which tells nobody
    wake.start(5);
    while (!holds()) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    return true;
}

QString RoomClip(viewer::Mount mount, double seconds)
{
    const QString length = QString::number(seconds);
    const QString path =
        QDir(FISHEYE_TEST_FOLDER).filePath("room-" + viewer::WordOf(mount) + "-" + length + ".mkv");
    if (!QFile::exists(path)) {
        // Tests that run side by side each make their own and put it there in one go.
        const QString part = path + QString::number(getpid()) + ".mkv";
        const int code = QProcess::execute(FISHEYE_CLIP, {"--mount", viewer::WordOf(mount),
                                                          "--size", seconds < 1.0 ? "1024" : "512",
                                                          "--seconds", length, "-o", part});
        if (0 == code)
            QFile::rename(part, path);
        QFile::remove(part);
    }
    return path;
}

QString Made(const QString& name, const QStringList& arguments)
{
    const QString path = QDir(FISHEYE_TEST_FOLDER).filePath(name);
    if (!QFile::exists(path)) {
        const QString part =
            path + "." + QString::number(getpid()) + "." + QFileInfo(name).suffix();
        const int code = QProcess::execute("ffmpeg", QStringList{"-v", "error", "-y"} + arguments +
                                                         QStringList{part});
        if (0 == code)
            QFile::rename(part, path);
        QFile::remove(part);
    }
    return path;
}

Viewer::Viewer(viewer::Mount mount, const QString& layout, viewer::OverlayKind overlay)
{
    open(mount, RoomClip(mount), layout, overlay);
    Await([this] { return camera().showsPictures(); });
}

Viewer::Viewer(const QString& source, const QString& layout, viewer::OverlayKind overlay, Wait wait)
{
    open(viewer::Mount::Ceiling, source, layout, overlay);
    if (Wait::ForPictures == wait)
        Await([this] { return camera().showsPictures(); });
}

void Viewer::open(viewer::Mount mount, const QString& source, const QString& layout,
                  viewer::OverlayKind overlay)
{
    TheEars();
    viewer::Options options;
    options.mount = mount;
    options.layout = layout;
    options.overlay = overlay;
    m_window = std::make_unique<viewer::MainWindow>(nullptr);
    m_window->move(0, 0);
    m_window->show();
    m_window->openSource(source, options);
}

viewer::CameraWidget& Viewer::camera()
{
    return *m_window->cameras().active();
}

viewer::CellWidget& Viewer::cell(const QString& name, int number)
{
    for (viewer::CellWidget* const cell : camera().findChildren<viewer::CellWidget*>(name))
        if (cell->number() == number)
            return *cell;
    throw std::runtime_error("no such cell");
}

QAction& ActionOf(Viewer& viewer, const QString& text)
{
    return ActionOf(viewer.window(), text);
}

QAction& ActionOf(viewer::MainWindow& window, const QString& text)
{
    for (QAction* const action : window.actions())
        if (QString(action->text()).remove('&') == text)
            return *action;
    throw std::runtime_error("no such action");
}

void MoveTo(const viewer::CellWidget& cell, QPointF at)
{
    const Place place = PlaceOf(cell);
    MovePointer(place.x + static_cast<int>(at.x() * place.width),
                place.y + static_cast<int>(at.y() * place.height));
}

void Click(const QWidget& widget)
{
    ClickAt(widget, widget.rect().center());
}

void ClickAt(const QWidget& widget, QPoint place)
{
    const QPoint onScreen = widget.mapToGlobal(place);
    const double ratio = widget.devicePixelRatioF();
    MovePointer(static_cast<int>(onScreen.x() * ratio), static_cast<int>(onScreen.y() * ratio));
    Press();
    Release();
}

void Press(int button)
{
    Fake(XCB_BUTTON_PRESS, static_cast<std::uint8_t>(button));
}

void Release(int button)
{
    Fake(XCB_BUTTON_RELEASE, static_cast<std::uint8_t>(button));
}

void Drag(const viewer::CellWidget& cell, QPointF from, QPointF to, int button)
{
    MoveTo(cell, from);
    Press(button);
    for (int i = 1; i <= CONST_DRAG_STEPS; ++i)
        MoveTo(cell, from + (to - from) * i / CONST_DRAG_STEPS);
    Release(button);
}

void Wheel(const viewer::CellWidget& cell, QPointF at, int notches)
{
    MoveTo(cell, at);
    const std::uint8_t button = notches > 0 ? 4 : 5;
    for (int i = 0; i < std::abs(notches); ++i) {
        Fake(XCB_BUTTON_PRESS, button);
        xcb_test_fake_input(s_connection, XCB_BUTTON_RELEASE, button, XCB_CURRENT_TIME, s_root, 0,
                            0, 0);  // of which Qt tells nobody
    }
    xcb_flush(s_connection);
}

void DoubleClick(const viewer::CellWidget& cell, QPointF at)
{
    constexpr int CONST_HOWEVER_SLOW = 1000000;  // ms; a busy machine takes its time for a click
    MoveTo(cell, at);
    const int usual = QApplication::doubleClickInterval();
    QApplication::setDoubleClickInterval(0);  // the first is never the second of one before
    Press();
    Release();
    QApplication::setDoubleClickInterval(CONST_HOWEVER_SLOW);
    Press();
    Release();
    QApplication::setDoubleClickInterval(usual);
}

void Hold(unsigned keysym)
{
    FakeKey(XCB_KEY_PRESS, KeyOf(keysym).code);
}

void LetGo(unsigned keysym)
{
    FakeKey(XCB_KEY_RELEASE, KeyOf(keysym).code);
}

void Key(unsigned keysym, const std::vector<unsigned>& held)
{
    const Stroke stroke = KeyOf(keysym);
    std::vector<unsigned> around = held;
    if (stroke.shifted)
        around.push_back(CONST_KEY_SHIFT);
    for (const unsigned key : around)
        Hold(key);
    FakeKey(XCB_KEY_PRESS, stroke.code);
    FakeKey(XCB_KEY_RELEASE, stroke.code);
    for (const unsigned key : around)
        LetGo(key);
}

void Type(const char* text)
{
    for (; '\0' != *text; ++text)
        Key(static_cast<unsigned char>(*text));  // whose keysyms are their codes
}

WId WindowOf(qint64 process)
{
    const xcb_atom_t pid = Atom("_NET_WM_PID");
    const Reply<xcb_query_tree_reply_t> tree(
        xcb_query_tree_reply(s_connection, xcb_query_tree(s_connection, s_root), nullptr));
    for (int i = 0; i < xcb_query_tree_children_length(tree.get()); ++i) {
        const xcb_window_t window = xcb_query_tree_children(tree.get())[i];
        const Reply<xcb_get_window_attributes_reply_t> state(xcb_get_window_attributes_reply(
            s_connection, xcb_get_window_attributes(s_connection, window), nullptr));
        const Reply<xcb_get_property_reply_t> owner(xcb_get_property_reply(
            s_connection, xcb_get_property(s_connection, 0, window, pid, XCB_ATOM_CARDINAL, 0, 1),
            nullptr));
        if (state && XCB_MAP_STATE_VIEWABLE == state->map_state && owner &&
            xcb_get_property_value_length(owner.get()) == 4 &&
            *static_cast<const std::uint32_t*>(xcb_get_property_value(owner.get())) == process)
            return window;
    }
    return 0;
}

void Focus(WId window)
{
    xcb_set_input_focus(s_connection, XCB_INPUT_FOCUS_PARENT, static_cast<xcb_window_t>(window),
                        XCB_CURRENT_TIME);
    xcb_flush(s_connection);
}

void AskToClose(WId window)
{
    xcb_client_message_event_t event{};
    event.response_type = XCB_CLIENT_MESSAGE;
    event.format = 32;
    event.window = static_cast<xcb_window_t>(window);
    event.type = Atom("WM_PROTOCOLS");
    event.data.data32[0] = Atom("WM_DELETE_WINDOW");
    xcb_send_event(s_connection, 0, event.window, XCB_EVENT_MASK_NO_EVENT,
                   reinterpret_cast<const char*>(&event));
    xcb_flush(s_connection);
}

bool AnyWindowHasAnIcon()
{
    constexpr char CONST_PROPERTY[] = "_NET_WM_ICON";
    const Reply<xcb_intern_atom_reply_t> icon(xcb_intern_atom_reply(
        s_connection, xcb_intern_atom(s_connection, 0, sizeof(CONST_PROPERTY) - 1, CONST_PROPERTY),
        nullptr));
    const Reply<xcb_query_tree_reply_t> tree(
        xcb_query_tree_reply(s_connection, xcb_query_tree(s_connection, s_root), nullptr));
    const xcb_window_t* const windows = xcb_query_tree_children(tree.get());
    return std::any_of(windows, windows + tree->children_len, [&](xcb_window_t window) {
        const Reply<xcb_get_property_reply_t> value(xcb_get_property_reply(
            s_connection,
            xcb_get_property(s_connection, 0, window, icon->atom, XCB_ATOM_CARDINAL, 0, 1),
            nullptr));
        return value && xcb_get_property_value_length(value.get()) > 0;
    });
}

QImage Grab(const viewer::CellWidget& cell)
{
    const Place place = PlaceOf(cell);
    const Reply<xcb_get_image_reply_t> image(xcb_get_image_reply(
        s_connection,
        xcb_get_image(
            s_connection, XCB_IMAGE_FORMAT_Z_PIXMAP, static_cast<xcb_window_t>(cell.winId()), 0, 0,
            static_cast<std::uint16_t>(place.width), static_cast<std::uint16_t>(place.height), ~0U),
        nullptr));
    if (!image)
        return {};
    return QImage(xcb_get_image_data(image.get()), place.width, place.height, QImage::Format_RGB32)
        .copy();
}

double Likeness(const QImage& image, const optics::ViewParameters& parameters, viewer::Mount mount)
{
    const optics::View view(parameters);
    const scene::Room room(MountOf(mount), 0.1);
    int alike = 0;
    int all = 0;
    for (int row = 2; row < CONST_GRID - 2; ++row) {
        for (int column = 2; column < CONST_GRID - 2; ++column) {
            const QPointF at((column + 0.5) / CONST_GRID, (row + 0.5) / CONST_GRID);
            const QPoint pixel(static_cast<int>(at.x() * image.width()),
                               static_cast<int>(at.y() * image.height()));
            const auto direction = view.Direction(
                {(pixel.x() + 0.5) / image.width(), (pixel.y() + 0.5) / image.height()});
            if (!direction || direction->z < 0.02)
                continue;  // beyond the circle's rim
            const scene::Sight sight = room.Look(*direction);
            const QColor seen(image.pixel(pixel));
            const double difference = std::abs(seen.redF() - sight.stColour.fRed) +
                                      std::abs(seen.greenF() - sight.stColour.fGreen) +
                                      std::abs(seen.blueF() - sight.stColour.fBlue);
            ++all;
            alike += difference <= CONST_TOLERANCE ? 1 : 0;
        }
    }
    return 0 == all ? 0.0 : static_cast<double>(alike) / all;
}

optics::ViewParameters ViewOf(const viewer::CameraWidget& camera, int number, const QImage& image)
{
    const viewer::extras::Look look = camera.lookOf(number).value();
    optics::ViewParameters view;
    view.eKind = optics::ViewKind::PanTiltZoom;
    view.eMount = MountOf(camera.settings().mount);
    view.stCentre = {look.centre.x(), look.centre.y()};
    view.dZoom = look.zoom;
    view.iWidth = image.width();
    view.iHeight = image.height();
    return view;
}

optics::Mount MountOf(viewer::Mount mount)
{
    return optics::MountOf(static_cast<int>(mount));
}

viewer::PtzView Now(Viewer& viewer, int number)
{
    const auto look = viewer.camera().lookOf(number).value();
    return {viewer.camera().settings().mount, look.centre, double(look.zoom),
            viewer.cell("view", number).size()};
}

QPointF SeenAt(const viewer::PtzView& view, const viewer::Direction& direction)
{
    return viewer::Locate(view, direction).value_or(QPointF(9.0, 9.0));
}

double Apart(QPointF a, QPointF b)
{
    return std::hypot(a.x() - b.x(), a.y() - b.y());
}

::testing::AssertionResult ShowsTheTruth(Viewer& viewer, int number)
{
    const viewer::CellWidget& cell = viewer.cell("view", number);
    double best = 0.0;
    Await([&] {
        const QImage image = Grab(cell);
        best = Likeness(image, ViewOf(viewer.camera(), number, image),
                        viewer.camera().settings().mount);
        return best > CONST_RIGHT;
    });
    if (best > CONST_RIGHT)
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "likeness " << best;
}

double Traced(Viewer& viewer, int number, const QString& name, const QColor& colour)
{
    return Traced(Grab(viewer.cell(name)), viewer, number, name, colour);
}

double Traced(const QImage& image, Viewer& viewer, int number, const QString& name,
              const QColor& colour)
{
    const viewer::CellWidget& cell = viewer.cell(name);
    const viewer::PtzView view = Now(viewer, number);
    int hits = 0;
    int all = 0;
    for (int i = 1; i < 100; ++i) {
        for (const QPointF& at : {QPointF(i / 100.0, 0.0), QPointF(1.0, i / 100.0),
                                  QPointF(i / 100.0, 1.0), QPointF(0.0, i / 100.0)}) {
            const viewer::Direction direction = viewer::DirectionAt(view, at);
            const QPointF point = viewer::ToFishEye(direction);
            if (Apart(point, {0.5, 0.5}) > 0.495)
                continue;
            const QPointF place = "panorama" == name ? viewer::ToPanorama(view.mount, direction)
                                                     : cell.fromSquare(point);
            const QPoint pixel(int(place.x() * image.width()), int(place.y() * image.height()));
            ++all;
            bool hit = false;
            for (int dx = -2; dx <= 2; ++dx)
                for (int dy = -2; dy <= 2; ++dy)
                    hit |= image.rect().contains(pixel + QPoint(dx, dy)) &&
                           image.pixelColor(pixel + QPoint(dx, dy)) == colour;
            hits += hit ? 1 : 0;
        }
    }
    return 0 == all ? 0.0 : double(hits) / all;
}

}  // namespace stage
