// Pictures go through shared memory by file descriptor (MIT-SHM 1.2: nothing to leak, nothing of it
// outlives the process), else through the socket in strips. The server copies a picture in one go,
// and tells when it has, so nothing tears within it, and windows get no background, so nothing
// flickers. No picture waits for the server: a window whose last picture has not been taken is left
// out, however long. What does wait for an answer does so for a limited time.
#include "engine/present/Display.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <exception>
#include <iterator>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <unistd.h>

#include <xcb/shm.h>
#include <xcb/xcb.h>

#include "engine/present/BrokenPipe.h"

namespace engine {

namespace {

struct FreeReply
{
    void operator()(void* reply) const { std::free(reply); }
};
template <typename T>
using Reply = std::unique_ptr<T, FreeReply>;

constexpr std::uint32_t EVENTS = XCB_EVENT_MASK_STRUCTURE_NOTIFY | XCB_EVENT_MASK_EXPOSURE;

class XWindow;

/// A server that for so long neither answers a question nor takes anything from the socket,
/// although somebody waits for it, is given up.
constexpr std::chrono::seconds PATIENCE{5};

/// A watchdog that wakes so late has slept itself: in a debugger, or on a stopped machine.
constexpr std::chrono::seconds OVERSLEPT{1};

struct Disconnect
{
    void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
};
using ConnectionPtr = std::unique_ptr<xcb_connection_t, Disconnect>;

/// Shuts a connection down, which ends all waiting for it, when no wait comes to its end for too
/// long. A slow server is none that hangs: what queues behind a large picture has time as long as
/// the picture gets on.
class Watchdog
{
public:
    explicit Watchdog(int socket);
    ~Watchdog();
    Watchdog(const Watchdog&) = delete;
    Watchdog& operator=(const Watchdog&) = delete;

    /// Around what may wait for the server. Needs no memory: destructors wait as well.
    class Wait
    {
    public:
        explicit Wait(Watchdog& dog);
        ~Wait();
        Wait(const Wait&) = delete;
        Wait& operator=(const Wait&) = delete;

    private:
        friend class Watchdog;
        BrokenPipe m_brokenPipe;
        Watchdog& m_dog;
        std::chrono::steady_clock::time_point m_deadline;
        Wait* m_older;
        Wait* m_newer = nullptr;
    };

private:
    void Watch();

    const int m_socket;
    std::mutex m_lock;
    std::condition_variable m_news;
    Wait* m_oldest = nullptr;  ///< of those that wait, each linked to the next
    Wait* m_newest = nullptr;
    std::chrono::steady_clock::time_point m_progress;  ///< when a wait last came to its end
    bool m_idle = false;                               ///< sleeps until there is a deadline
    bool m_stopped = false;
    std::thread m_thread;
};

/// The connection. Lives as long as the process, or until the server goes away; windows hold on to
/// the connection that they were opened with.
class Display : public std::enable_shared_from_this<Display>
{
public:
    /// Null without a display, and while a server does not let anybody in.
    static std::shared_ptr<Display> Get();

    explicit Display(ConnectionPtr connection);

    xcb_connection_t* Connection() const { return m_connection.get(); }
    Watchdog& Dog() { return m_dog; }
    bool IsAlive() const { return m_alive && xcb_connection_has_error(Connection()) == 0; }
    bool HasShm() const { return m_hasShm; }
    bool IsLittleEndian() const { return m_littleEndian; }

    /// Registers a window and asks for its state, in one go, so that no event overtakes the answer.
    void Add(XWindow& window);
    void Remove(XWindow& window);

private:
    static void Live(const std::string& name);
    static std::shared_ptr<Display> Connect(const std::string& name);
    void Listen();
    void Dispatch(const xcb_generic_event_t& event);
    void DispatchTaken(std::uint32_t sequence);
    void FollowLocked(XWindow& window);
    void RemoveLocked(const XWindow& window);

    const ConnectionPtr m_connection;
    Watchdog m_dog;
    std::atomic<bool> m_alive{true};
    bool m_hasShm = false;
    std::uint8_t m_shmCompletion = 0;  ///< the event's number
    std::uint8_t m_shmRequests = 0;    ///< the major code of its requests
    bool m_littleEndian = false;
    std::mutex m_lock;  ///< guards m_windows, and is held while their `changed` runs
    /// Each window under its own id and those of its ancestors: it is hidden when one of them is.
    std::multimap<xcb_window_t, XWindow*> m_windows;
};

/// Memory shared with the server, or plain memory where that is not to be had.
class PixelMemory
{
public:
    PixelMemory(Display& display, std::size_t size);
    ~PixelMemory();
    PixelMemory(const PixelMemory&) = delete;
    PixelMemory& operator=(const PixelMemory&) = delete;

    std::uint8_t* Data() { return m_shared ? m_shared : m_plain.data(); }
    std::size_t Size() const { return m_size; }
    xcb_shm_seg_t Segment() const { return m_segment; }

private:
    bool Share();

    Display& m_display;
    std::size_t m_size;
    std::uint8_t* m_shared = nullptr;
    std::vector<std::uint8_t> m_plain;
    xcb_shm_seg_t m_segment = 0;  ///< 0: plain memory
};

class XWindow : public Window
{
public:
    XWindow(std::shared_ptr<Display> display, xcb_window_t id, std::function<void()> changed);
    ~XWindow() override;

    Extent Size() const override;
    bool IsShown() const override
    {
        return !m_closed && m_mapped && m_display && m_display->IsAlive();
    }
    std::uint8_t* Pixels(Extent size) override;
    void Show() override;
    bool IsFree() override;
    void Flush() override;
    void Close() override { m_closed = true; }

    xcb_window_t Id() const { return m_id; }
    void Ask();
    /// The server has taken, or refused, the picture of that request.
    void HearTaken(std::uint32_t sequence);
    /// An event of the window itself (`own`) or of one of its ancestors.
    void Hear(const xcb_generic_event_t& event, bool own);

private:
    void Furnish(std::uint8_t depth);
    void PutStrips(int x, int y);
    void BlackenAround(int x, int y, Extent window);

    std::shared_ptr<Display> m_display;  ///< null: headless
    xcb_window_t m_id;
    std::function<void()> m_changed;
    std::atomic<bool> m_closed{false};
    std::atomic<bool> m_mapped{false};
    std::atomic<std::uint32_t> m_size{0};  ///< width << 16 | height
    std::uint8_t m_depth = 0;              ///< written before m_gc
    std::atomic<xcb_gcontext_t> m_gc{0};   ///< 0: the window is not known
    Extent m_picture;
    std::unique_ptr<PixelMemory> m_memory;

    std::mutex m_putLock;     ///< guards what follows
    std::uint32_t m_put = 0;  ///< the request whose picture the server has not taken; 0: none
    bool m_leftOut = false;   ///< a picture was not shown meanwhile
};

// ---- Watchdog

Watchdog::Watchdog(int socket) : m_socket(socket), m_thread([this] { Watch(); }) {}

Watchdog::~Watchdog()
{
    {
        std::lock_guard lock(m_lock);
        m_stopped = true;
    }
    m_news.notify_one();
    m_thread.join();
}

void Watchdog::Watch()
{
    std::unique_lock lock(m_lock);
    while (!m_stopped) {
        if (!m_oldest) {
            m_idle = true;
            m_news.wait(lock);
            m_idle = false;
            continue;
        }
        const auto due = std::max(m_oldest->m_deadline, m_progress + PATIENCE);
        const auto now = std::chrono::steady_clock::now();
        if (now < due) {
            m_news.wait_until(lock, due);
            continue;
        }
        if (now > due + OVERSLEPT) {  // this process stood still, not the server
            m_progress = now;
            continue;
        }
        shutdown(m_socket, SHUT_RDWR);
        return;
    }
}

Watchdog::Wait::Wait(Watchdog& dog) : m_dog(dog)
{
    std::lock_guard lock(m_dog.m_lock);
    m_deadline = std::chrono::steady_clock::now() + PATIENCE;
    m_older = std::exchange(m_dog.m_newest, this);
    (m_older ? m_older->m_newer : m_dog.m_oldest) = this;
    if (m_dog.m_idle)
        m_dog.m_news.notify_one();
}

Watchdog::Wait::~Wait()
{
    std::lock_guard lock(m_dog.m_lock);
    (m_older ? m_older->m_newer : m_dog.m_oldest) = m_newer;
    (m_newer ? m_newer->m_older : m_dog.m_newest) = m_older;
    m_dog.m_progress = std::chrono::steady_clock::now();
}

// ---- Display

/// The connection of the process, or the attempt to make it.
struct Desk
{
    std::mutex lock;
    std::condition_variable news;
    std::shared_ptr<Display> display;
    bool connecting = false;  ///< by the one thread that does
    std::chrono::steady_clock::time_point since;
};

/// Never destroyed: the event thread may outlive the objects of the process's end.
Desk& TheDesk()
{
    static Desk& desk = *new Desk;
    return desk;
}

std::shared_ptr<Display> Display::Get()
{
    Desk& desk = TheDesk();
    std::unique_lock lock(desk.lock);
    if (!desk.connecting && !(desk.display && desk.display->IsAlive())) {
        desk.display.reset();
        const char* name = std::getenv("DISPLAY");
        if (!name)
            return nullptr;
        std::thread(Live, std::string(name)).detach();
        desk.connecting = true;
        desk.since = std::chrono::steady_clock::now();
    }
    desk.news.wait_until(lock, desk.since + PATIENCE, [&] { return !desk.connecting; });
    return desk.connecting ? nullptr : desk.display;
}

/// The event thread: connects, which a server that hangs may never let it, and listens.
void Display::Live(const std::string& name)
{
    std::shared_ptr<Display> display;
    try {
        display = Connect(name);
    } catch (const std::exception&) {  // no memory or threads: as without a display
    }
    Desk& desk = TheDesk();
    {
        std::lock_guard lock(desk.lock);
        desk.display = display;
        desk.connecting = false;
    }
    desk.news.notify_all();
    if (display)
        display->Listen();
}

std::shared_ptr<Display> Display::Connect(const std::string& name)
{
    const BrokenPipe held;
    ConnectionPtr connection(xcb_connect(name.c_str(), nullptr));
    if (xcb_connection_has_error(connection.get()))
        return nullptr;
    return std::make_shared<Display>(std::move(connection));
}

Display::Display(ConnectionPtr owned)
    : m_connection(std::move(owned)), m_dog(xcb_get_file_descriptor(Connection()))
{
    xcb_connection_t* connection = Connection();
    const Watchdog::Wait wait(m_dog);
    xcb_get_maximum_request_length(connection);  // asks the server the first time
    m_littleEndian = xcb_get_setup(connection)->image_byte_order == XCB_IMAGE_ORDER_LSB_FIRST;
    const xcb_query_extension_reply_t* extension = xcb_get_extension_data(connection, &xcb_shm_id);
    if (!extension || !extension->present)
        return;
    const Reply<xcb_shm_query_version_reply_t> version(
        xcb_shm_query_version_reply(connection, xcb_shm_query_version(connection), nullptr));
    m_shmCompletion = static_cast<std::uint8_t>(extension->first_event + XCB_SHM_COMPLETION);
    m_shmRequests = extension->major_opcode;
    m_hasShm = version && (version->major_version > 1 ||
                           (version->major_version == 1 && version->minor_version >= 2));
}

void Display::Add(XWindow& window)
{
    std::lock_guard guard(m_lock);
    try {
        FollowLocked(window);
    } catch (...) {
        RemoveLocked(window);
        throw;
    }
}

void Display::Remove(XWindow& window)
{
    std::lock_guard guard(m_lock);
    RemoveLocked(window);
}

void Display::RemoveLocked(const XWindow& window)
{
    for (auto entry = m_windows.begin(); entry != m_windows.end();)
        entry = entry->second == &window ? m_windows.erase(entry) : std::next(entry);
}

void Display::FollowLocked(XWindow& window)
{
    RemoveLocked(window);
    const Watchdog::Wait wait(m_dog);
    constexpr int DEEPEST = 64;
    xcb_window_t id = window.Id();
    for (int depth = 0; depth < DEEPEST; ++depth) {
        m_windows.emplace(id, &window);
        // Before asking for the parent, so that a change of it is heard.
        xcb_change_window_attributes(Connection(), id, XCB_CW_EVENT_MASK, &EVENTS);
        const Reply<xcb_query_tree_reply_t> tree(
            xcb_query_tree_reply(Connection(), xcb_query_tree(Connection(), id), nullptr));
        if (!tree || tree->parent == XCB_NONE || tree->parent == tree->root)
            break;
        id = tree->parent;
    }
    window.Ask();
}

void Display::Listen()
{
    // Errors of requests come as events too and mean that the window has gone.
    while (const Reply<xcb_generic_event_t> event{xcb_wait_for_event(Connection())}) {
        try {
            Dispatch(*event);
        } catch (const std::exception&) {  // no memory: this event is lost
        }
    }
    m_alive = false;
}

/// The window that an event tells of, 0 for other events.
xcb_window_t WindowOf(const xcb_generic_event_t& event)
{
    switch (event.response_type & 0x7F) {
    case XCB_CONFIGURE_NOTIFY:
        return reinterpret_cast<const xcb_configure_notify_event_t&>(event).window;
    case XCB_MAP_NOTIFY:
        return reinterpret_cast<const xcb_map_notify_event_t&>(event).window;
    case XCB_UNMAP_NOTIFY:
        return reinterpret_cast<const xcb_unmap_notify_event_t&>(event).window;
    case XCB_DESTROY_NOTIFY:
        return reinterpret_cast<const xcb_destroy_notify_event_t&>(event).window;
    case XCB_REPARENT_NOTIFY:
        return reinterpret_cast<const xcb_reparent_notify_event_t&>(event).window;
    case XCB_EXPOSE:
        return reinterpret_cast<const xcb_expose_event_t&>(event).window;
    default:
        return 0;
    }
}

void Display::Dispatch(const xcb_generic_event_t& event)
{
    const auto& error = reinterpret_cast<const xcb_generic_error_t&>(event);
    if (m_hasShm && (event.response_type & 0x7F) == m_shmCompletion)
        return DispatchTaken(event.full_sequence);
    if (m_hasShm && event.response_type == 0 && error.major_code == m_shmRequests)
        return DispatchTaken(error.full_sequence);
    const xcb_window_t id = WindowOf(event);
    if (id == 0)
        return;
    std::lock_guard guard(m_lock);
    std::vector<XWindow*> hearers;
    const auto range = m_windows.equal_range(id);
    for (auto entry = range.first; entry != range.second; ++entry)
        hearers.push_back(entry->second);
    const bool moved = (event.response_type & 0x7F) == XCB_REPARENT_NOTIFY;
    for (XWindow* window : hearers) {
        if (moved)
            FollowLocked(*window);
        window->Hear(event, id == window->Id());
    }
}

void Display::DispatchTaken(std::uint32_t sequence)
{
    std::lock_guard guard(m_lock);
    for (const auto& entry : m_windows) {
        if (entry.first == entry.second->Id())
            entry.second->HearTaken(sequence);
    }
}

// ---- PixelMemory

PixelMemory::PixelMemory(Display& display, std::size_t size) : m_display(display), m_size(size)
{
    if (!display.HasShm() || !Share())
        m_plain.resize(size);
}

bool PixelMemory::Share()
{
    const int file = memfd_create("fisheye-view", MFD_CLOEXEC);
    if (file < 0)
        return false;
    // Memory that is only promised would be missed by a signal when it is written to.
    int refused = EINTR;
    while (refused == EINTR)
        refused = posix_fallocate(file, 0, static_cast<off_t>(m_size));
    void* memory = refused == 0 ? mmap(nullptr, m_size, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0)
                                : MAP_FAILED;
    if (memory == MAP_FAILED) {
        close(file);
        return false;
    }
    const Watchdog::Wait wait(m_display.Dog());
    xcb_connection_t* connection = m_display.Connection();
    const xcb_shm_seg_t segment = xcb_generate_id(connection);
    // Sending closes the file.
    const Reply<xcb_generic_error_t> error(xcb_request_check(
        connection, xcb_shm_attach_fd_checked(connection, segment, file, /*read_only=*/1)));
    if (error || xcb_connection_has_error(connection)) {
        munmap(memory, m_size);
        return false;
    }
    m_shared = static_cast<std::uint8_t*>(memory);
    m_segment = segment;
    return true;
}

PixelMemory::~PixelMemory()
{
    if (!m_shared)
        return;
    xcb_shm_detach(m_display.Connection(), m_segment);
    munmap(m_shared, m_size);
}

// ---- XWindow

XWindow::XWindow(std::shared_ptr<Display> display, xcb_window_t id, std::function<void()> changed)
    : m_display(std::move(display)), m_id(id), m_changed(std::move(changed))
{
    if (!m_display)
        return;
    m_display->Add(*this);
}

/// The events have been selected before: what changes afterwards is heard.
void XWindow::Ask()
{
    const Watchdog::Wait wait(m_display->Dog());
    xcb_connection_t* connection = m_display->Connection();
    const auto geometryCookie = xcb_get_geometry(connection, m_id);
    const auto attributesCookie = xcb_get_window_attributes(connection, m_id);
    const Reply<xcb_get_geometry_reply_t> geometry(
        xcb_get_geometry_reply(connection, geometryCookie, nullptr));
    const Reply<xcb_get_window_attributes_reply_t> attributes(
        xcb_get_window_attributes_reply(connection, attributesCookie, nullptr));
    const bool drawable =
        geometry && attributes && attributes->_class == XCB_WINDOW_CLASS_INPUT_OUTPUT &&
        (geometry->depth == 24 || geometry->depth == 32) && m_display->IsLittleEndian();
    m_size = drawable ? std::uint32_t{geometry->width} << 16 | geometry->height : 0;
    if (drawable && m_gc == 0)
        Furnish(geometry->depth);
    m_mapped = drawable && attributes->map_state == XCB_MAP_STATE_VIEWABLE;
}

/// What drawing needs, made when the window is first known to be there.
void XWindow::Furnish(std::uint8_t depth)
{
    xcb_connection_t* connection = m_display->Connection();
    m_depth = depth;
    const xcb_gcontext_t gc = xcb_generate_id(connection);
    constexpr std::uint32_t OPAQUE_BLACK = 0xFF000000;  // in a window of depth 32
    const std::uint32_t values[] = {OPAQUE_BLACK, 0};
    xcb_create_gc(connection, gc, m_id, XCB_GC_FOREGROUND | XCB_GC_GRAPHICS_EXPOSURES, values);
    // The server would paint the background before every new picture.
    const std::uint32_t none = XCB_BACK_PIXMAP_NONE;
    xcb_change_window_attributes(connection, m_id, XCB_CW_BACK_PIXMAP, &none);
    xcb_flush(connection);
    m_gc = gc;
}

XWindow::~XWindow()
{
    if (!m_display)
        return;
    m_display->Remove(*this);
    const Watchdog::Wait wait(m_display->Dog());
    m_memory.reset();
    if (m_gc)
        xcb_free_gc(m_display->Connection(), m_gc);
    xcb_flush(m_display->Connection());
}

Extent XWindow::Size() const
{
    const std::uint32_t size = m_size;
    return {static_cast<int>(size >> 16), static_cast<int>(size & 0xFFFF)};
}

void XWindow::Hear(const xcb_generic_event_t& event, bool own)
{
    switch (event.response_type & 0x7F) {
    case XCB_CONFIGURE_NOTIFY: {
        const auto& configure = reinterpret_cast<const xcb_configure_notify_event_t&>(event);
        const std::uint32_t size = std::uint32_t{configure.width} << 16 | configure.height;
        if (!own || m_size.exchange(size) == size)
            return;  // only moved
        break;
    }
    case XCB_MAP_NOTIFY:
    case XCB_UNMAP_NOTIFY:
        Ask();  // what an ancestor's change means for this window, the server knows
        break;
    case XCB_DESTROY_NOTIFY:
        m_mapped = false;
        m_size = 0;
        break;
    case XCB_EXPOSE:
        if (!own)
            return;
        break;
    default:
        break;
    }
    m_changed();
}

std::uint8_t* XWindow::Pixels(Extent size)
{
    const std::size_t bytes = std::size_t{4} * size.width * size.height;
    if (!m_display)
        return nullptr;
    const Watchdog::Wait wait(m_display->Dog());
    if (!m_memory || m_memory->Size() < bytes || m_memory->Size() > 4 * bytes + 65536)
        m_memory = std::make_unique<PixelMemory>(*m_display, bytes);
    m_picture = size;
    return m_memory->Data();
}

void XWindow::Show()
{
    if (!IsShown() || !m_gc || !m_memory)
        return;
    xcb_connection_t* connection = m_display->Connection();
    const Extent window = Size();
    const int x = (window.width - m_picture.width) / 2;
    const int y = (window.height - m_picture.height) / 2;
    {
        const Watchdog::Wait wait(m_display->Dog());
        BlackenAround(x, y, window);
    }
    if (m_memory->Segment() == 0)
        return PutStrips(x, y);
    const Watchdog::Wait wait(m_display->Dog());
    const auto width = static_cast<std::uint16_t>(m_picture.width);
    const auto height = static_cast<std::uint16_t>(m_picture.height);
    std::lock_guard lock(m_putLock);  // the answer may come before the number is kept
    m_put = xcb_shm_put_image(connection, m_id, m_gc, width, height, 0, 0, width, height,
                              static_cast<std::int16_t>(x), static_cast<std::int16_t>(y), m_depth,
                              XCB_IMAGE_FORMAT_Z_PIXMAP, /*send_event=*/1, m_memory->Segment(), 0)
                .sequence;
}

bool XWindow::IsFree()
{
    std::lock_guard lock(m_putLock);
    m_leftOut = m_put != 0;
    return m_put == 0;
}

void XWindow::HearTaken(std::uint32_t sequence)
{
    {
        std::lock_guard lock(m_putLock);
        if (m_put != sequence)
            return;
        m_put = 0;
        if (!std::exchange(m_leftOut, false))
            return;
    }
    m_changed();
}

void XWindow::Flush()
{
    const Watchdog::Wait wait(m_display->Dog());
    xcb_flush(m_display->Connection());
}

/// Through the socket: that the server is slow is felt here. It is given its time for each strip,
/// and whoever closes the window waits for one strip at most.
void XWindow::PutStrips(int x, int y)
{
    constexpr std::size_t STRIP = std::size_t{256} << 10;
    xcb_connection_t* connection = m_display->Connection();
    const std::size_t line = std::size_t{4} * m_picture.width;
    const std::size_t longest = std::size_t{4} * xcb_get_maximum_request_length(connection) -
                                sizeof(xcb_put_image_request_t);
    const std::size_t room = std::min(longest, std::max(STRIP, line));
    const int rows = static_cast<int>(std::clamp<std::size_t>(room / line, 1, 65535));
    for (int row = 0; row < m_picture.height && !m_closed; row += rows) {
        const int count = std::min(rows, m_picture.height - row);
        const Watchdog::Wait wait(m_display->Dog());
        xcb_put_image(connection, XCB_IMAGE_FORMAT_Z_PIXMAP, m_id, m_gc,
                      static_cast<std::uint16_t>(m_picture.width),
                      static_cast<std::uint16_t>(count), static_cast<std::int16_t>(x),
                      static_cast<std::int16_t>(y + row), 0, m_depth,
                      static_cast<std::uint32_t>(line * count), m_memory->Data() + line * row);
    }
}

void XWindow::BlackenAround(int x, int y, Extent window)
{
    if (x <= 0 && y <= 0)
        return;
    const auto rectangle = [](int left, int top, int width, int height) {
        return xcb_rectangle_t{static_cast<std::int16_t>(left), static_cast<std::int16_t>(top),
                               static_cast<std::uint16_t>(std::max(width, 0)),
                               static_cast<std::uint16_t>(std::max(height, 0))};
    };
    const int right = x + m_picture.width;
    const int bottom = y + m_picture.height;
    const xcb_rectangle_t around[] = {
        rectangle(0, 0, window.width, y),
        rectangle(0, bottom, window.width, window.height - bottom),
        rectangle(0, y, x, m_picture.height),
        rectangle(right, y, window.width - right, m_picture.height),
    };
    xcb_poly_fill_rectangle(m_display->Connection(), m_id, m_gc, 4, around);
}

}  // namespace

std::unique_ptr<Window> OpenWindow(std::uint64_t id, std::function<void()> changed)
{
    // Ids of X11 have 29 bits; what is larger is no window, and 0 none either.
    const bool possible = id != 0 && id < (std::uint64_t{1} << 32);
    return std::make_unique<XWindow>(possible ? Display::Get() : nullptr,
                                     static_cast<xcb_window_t>(id), std::move(changed));
}

}  // namespace engine
