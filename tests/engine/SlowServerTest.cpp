// The engine on an X server that takes requests as slowly as the test lets it. No shared memory:
// pictures go through the socket.
#include <algorithm>
#include <cstdint>
#include <future>
#include <limits>
#include <thread>

#include <gmock/gmock.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/un.h>

#include "tests/engine/XServer.h"

namespace test {
namespace {

/// Stands between the engine and the server and counts the bytes to the server.
class Gate
{
public:
    /// Lets nothing pass at first. From now on DISPLAY leads here.
    explicit Gate(const std::string& server) : m_server(server)
    {
        m_listener = socket(AF_INET, SOCK_STREAM, 0);
        const int buffer = sizeof(Buffer);  // what lies in it has not passed
        setsockopt(m_listener, SOL_SOCKET, SO_RCVBUF, &buffer, sizeof(buffer));
        sockaddr_in address{};  // any port
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof(address);
        bind(m_listener, reinterpret_cast<const sockaddr*>(&address), size);
        listen(m_listener, 1);
        getsockname(m_listener, reinterpret_cast<sockaddr*>(&address), &size);
        const int display = ntohs(address.sin_port) - X_TCP_PORT;
        setenv("DISPLAY", ("127.0.0.1:" + std::to_string(display)).c_str(), 1);
        m_thread = std::thread([this] { Serve(); });
    }
    ~Gate()
    {
        Allow(std::numeric_limits<std::int64_t>::max());
        shutdown(m_listener, SHUT_RDWR);
        shutdown(m_client, SHUT_RDWR);
        m_thread.join();
        close(m_client);
        close(m_listener);
    }
    Gate(const Gate&) = delete;
    Gate& operator=(const Gate&) = delete;

    /// Lets so many more bytes pass than have passed already.
    void Allow(std::int64_t bytes)
    {
        std::lock_guard lock(m_lock);
        m_limit =
            bytes < std::numeric_limits<std::int64_t>::max() - m_passed ? m_passed + bytes : bytes;
        m_news.notify_all();
    }
    /// Waits until all that may pass has passed.
    bool AwaitClosed()
    {
        std::unique_lock lock(m_lock);
        return m_news.wait_for(lock, PATIENCE, [this] { return m_passed == m_limit; });
    }
    std::int64_t Passed()
    {
        std::lock_guard lock(m_lock);
        return m_passed;
    }

private:
    using Buffer = std::uint8_t[64 * 1024];

    /// The engine's one connection.
    void Serve()
    {
        m_client = accept(m_listener, nullptr, nullptr);
        if (m_client < 0)
            return;
        const int server = socket(AF_UNIX, SOCK_STREAM, 0);
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        m_server.copy(address.sun_path, sizeof(address.sun_path) - 1);
        if (connect(server, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0)
            return;
        std::thread back([&] {
            while (Pass(server, m_client, sizeof(Buffer)) > 0) {
            }
            shutdown(m_client, SHUT_RDWR);
        });
        while (true) {
            std::unique_lock lock(m_lock);
            m_news.wait(lock, [this] { return m_passed < m_limit; });
            const std::int64_t room = m_limit - m_passed;
            lock.unlock();
            const ssize_t passed =
                Pass(m_client, server, std::min<std::int64_t>(room, sizeof(Buffer)));
            if (passed <= 0)
                break;
            lock.lock();
            m_passed += passed;
            m_news.notify_all();
        }
        shutdown(server, SHUT_RDWR);
        back.join();
        close(server);
    }

    static ssize_t Pass(int from, int to, std::int64_t most)
    {
        Buffer bytes;
        const ssize_t size = read(from, bytes, static_cast<std::size_t>(most));
        for (ssize_t at = 0; at < size;) {
            const ssize_t written = send(to, bytes + at, size - at, MSG_NOSIGNAL);
            if (written <= 0)
                return written;
            at += written;
        }
        return size;
    }

    const std::string m_server;
    int m_listener = -1;
    std::atomic<int> m_client{-1};
    std::mutex m_lock;
    std::condition_variable m_news;
    std::int64_t m_limit = 0;
    std::int64_t m_passed = 0;
    std::thread m_thread;
};

constexpr std::int64_t EVERYTHING = std::numeric_limits<std::int64_t>::max();

class SlowServer : public Windows
{
protected:
    static void SetUpTestSuite()
    {
        if (TheServer().Runs())
            s_gate = std::make_unique<Gate>(TheServer().Socket());
    }
    static void TearDownTestSuite() { s_gate.reset(); }

    static inline std::unique_ptr<Gate> s_gate;
};

/// The first test: the engine has not connected yet.
TEST_F(SlowServer, ThatLetsNobodyInHoldsUpNobodyAndIsFoundLater)
{
    const xcb_window_t window = Create(100, 100);
    Images images;
    auto done = std::async(std::launch::async, [&] {
        TestPlayer player("AUTO", Handle(window));
        player.Listen(player.Fisheye(), images, 64, 64);
        Feed(player);
        return images.Await(1).width == 64 && player.Delete() == 0;
    });
    const bool ready = done.wait_for(PATIENCE) == std::future_status::ready;
    s_gate->Allow(EVERYTHING);
    ASSERT_TRUE(ready);
    EXPECT_TRUE(done.get());

    TestPlayer player;
    Feed(player);
    int width = 0;
    // Without a window a view has a size of its own.
    for (const auto end = std::chrono::steady_clock::now() + PATIENCE;
         width != 100 && std::chrono::steady_clock::now() < end;) {
        Images shown;
        const int view = player.AddView(RV_MODE_SOURCE, 0, 0, 0, 0, Handle(window));
        player.Listen(view, shown, 0, 0);
        width = shown.Await(1).width;
        if (width == 100) {
            EXPECT_TRUE(Becomes(window, 20, 50, RED));
        }
        RV(RV_DeleteFishEyeCorrect)(player.Id(), view);
    }
    EXPECT_EQ(width, 100);
}

TEST_F(SlowServer, DoesNotGetTheRestOfADeletedViewsPicture)
{
    constexpr std::int64_t MEGABYTE = 1 << 20;
    s_gate->Allow(EVERYTHING);
    const xcb_window_t window = Create(100, 100);
    TestPlayer player;
    const int view = player.AddView(RV_MODE_SOURCE, 0, 0, 0, 0, Handle(window));
    ASSERT_EQ(RV(RV_SetPlayRectEx)(player.Id(), view, 2048, 2048), 0);
    s_gate->Allow(MEGABYTE);
    const std::int64_t before = s_gate->Passed();
    Feed(player);
    ASSERT_TRUE(s_gate->AwaitClosed()) << "one of 16 megabytes";
    EXPECT_EQ(RV(RV_DeleteFishEyeCorrect)(player.Id(), view), 0);
    s_gate->Allow(EVERYTHING);
    EXPECT_EQ(player.Delete(), 0);
    // The rest of a strip, and what the engine's side of the connection holds.
    EXPECT_LT(s_gate->Passed() - before, 8 * MEGABYTE);
}

}  // namespace
}  // namespace test
