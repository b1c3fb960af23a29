// An X server of the test's own, and windows in it that are read back pixel by pixel.
#pragma once

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <sstream>
#include <thread>

#include <gtest/gtest.h>

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/engine/EngineUnderTest.h"

#include <xcb/xcb.h>

namespace test {

/// Xvfb, started by the first test and ended after the last one. FISHEYE_TEST_XVFB holds further
/// arguments for it.
class Server
{
public:
    Server()
    {
        int pipe[2];
        if (::pipe(pipe) != 0)
            return;
        m_process = fork();
        if (m_process == 0) {
            close(pipe[0]);
            Run(pipe[1]);
        }
        close(pipe[1]);
        char number[16] = {};
        ssize_t size = 0;
        ssize_t read = 0;
        while (size < 15 && (read = ::read(pipe[0], number + size, 15 - size)) > 0) {
            size += read;
            if (number[size - 1] == '\n')
                break;
        }
        close(pipe[0]);
        if (size < 2)
            return;
        number[size - 1] = '\0';
        m_socket = std::string("/tmp/.X11-unix/X") + number;
        setenv("DISPLAY", (std::string(":") + number).c_str(), 1);
        m_connection = xcb_connect(nullptr, nullptr);
    }
    ~Server() { Kill(); }
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    void Kill()
    {
        if (m_process <= 0)
            return;
        kill(m_process, SIGKILL);
        waitpid(m_process, nullptr, 0);
        m_process = -1;
    }

    /// As a server that hangs: it takes nothing and answers nothing.
    void Hang()
    {
        kill(m_process, SIGSTOP);
        waitpid(m_process, nullptr, WUNTRACED);
    }
    void GoOn() { kill(m_process, SIGCONT); }

    bool Runs() const { return m_connection && !xcb_connection_has_error(m_connection); }
    xcb_connection_t* Connection() const { return m_connection; }
    /// Where it listens.
    const std::string& Socket() const { return m_socket; }

private:
    [[noreturn]] static void Run(int out)
    {
        std::vector<std::string> words = {"Xvfb", "-displayfd",   std::to_string(out), "-screen",
                                          "0",    "1280x1024x24", "-nolisten",         "tcp"};
        const char* more = std::getenv("FISHEYE_TEST_XVFB");
        std::istringstream stream(more ? more : "");
        for (std::string word; stream >> word;)
            words.push_back(word);
        std::vector<char*> arguments;
        for (std::string& word : words)
            arguments.push_back(word.data());
        arguments.push_back(nullptr);
        prctl(PR_SET_PDEATHSIG, SIGKILL);  // a server left over would keep the test's output open
        freopen("/dev/null", "w", stderr);
        execvp(arguments[0], arguments.data());
        _exit(1);
    }

    pid_t m_process = -1;
    std::string m_socket;
    xcb_connection_t* m_connection = nullptr;
};

inline Server& TheServer()
{
    static Server server;
    return server;
}

class Windows : public testing::Test
{
protected:
    void SetUp() override
    {
        if (!TheServer().Runs())
            GTEST_SKIP() << "Xvfb is not installed: scripts/install-packages.sh tests";
        m_connection = TheServer().Connection();
        m_screen = xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data;
    }

    xcb_window_t Create(int width, int height, bool map = true, xcb_window_t parent = 0, int x = 0,
                        int y = 0)
    {
        const xcb_window_t window = xcb_generate_id(m_connection);
        const std::uint32_t values[] = {0x00FF00FF};  // a background that no picture has
        xcb_create_window(m_connection, XCB_COPY_FROM_PARENT, window,
                          parent ? parent : m_screen->root, static_cast<std::int16_t>(x),
                          static_cast<std::int16_t>(y), static_cast<std::uint16_t>(width),
                          static_cast<std::uint16_t>(height), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
                          XCB_COPY_FROM_PARENT, XCB_CW_BACK_PIXEL, values);
        if (map)
            xcb_map_window(m_connection, window);
        Sync();
        return window;
    }

    void Sync()
    {
        std::free(
            xcb_get_input_focus_reply(m_connection, xcb_get_input_focus(m_connection), nullptr));
    }

    void Resize(xcb_window_t window, int width, int height)
    {
        const std::uint32_t size[] = {static_cast<std::uint32_t>(width),
                                      static_cast<std::uint32_t>(height)};
        xcb_configure_window(m_connection, window,
                             XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT, size);
        Sync();
    }

    /// A pixel of a window as it is, nothing when it cannot be read.
    std::optional<std::uint32_t> Value(xcb_window_t window, int x, int y)
    {
        xcb_get_image_reply_t* image = xcb_get_image_reply(
            m_connection,
            xcb_get_image(m_connection, XCB_IMAGE_FORMAT_Z_PIXMAP, window,
                          static_cast<std::int16_t>(x), static_cast<std::int16_t>(y), 1, 1, ~0U),
            nullptr);
        if (!image)
            return std::nullopt;
        std::uint32_t value = 0;
        std::memcpy(&value, xcb_get_image_data(image), sizeof(value));
        std::free(image);
        return value;
    }

    /// The colour of a pixel of a window; an impossible one when it cannot be read.
    Colour Pixel(xcb_window_t window, int x, int y)
    {
        const auto value = Value(window, x, y);
        if (!value)
            return {-1, -1, -1};
        return {double(*value >> 16 & 0xFF), double(*value >> 8 & 0xFF), double(*value & 0xFF)};
    }

    /// Windows give no notice of having been drawn into, so they are looked at again and again.
    bool Becomes(xcb_window_t window, int x, int y, const Colour& colour)
    {
        const auto end = std::chrono::steady_clock::now() + PATIENCE;
        while (!Near(Pixel(window, x, y), colour, 6)) {
            if (std::chrono::steady_clock::now() > end)
                return false;
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
        }
        return true;
    }

    static void* Handle(xcb_window_t window)
    {
        return reinterpret_cast<void*>(static_cast<std::uintptr_t>(window));
    }

    /// Puts a clip whose left half is red and whose right half is blue.
    static void Feed(TestPlayer& player)
    {
        static const Bytes clip = MakeClip({});
        ASSERT_EQ(player.Play(), 0);
        ASSERT_EQ(player.Put(clip), 0);
        ASSERT_EQ(player.End(), 0);
    }

    const Colour RED = {200, 40, 40};
    const Colour BLUE = {40, 60, 190};
    const Colour BLACK = {0, 0, 0};

    xcb_connection_t* m_connection = nullptr;
    xcb_screen_t* m_screen = nullptr;
};

}  // namespace test
