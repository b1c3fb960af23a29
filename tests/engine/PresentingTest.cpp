// What a player does with windows that are slow to take pictures, and with several connections: on
// windows of the test's own, which stand in for those of the display.
#include <algorithm>
#include <map>
#include <mutex>

#include <gmock/gmock.h>

#include "engine/player/Player.h"
#include "engine/present/Display.h"
#include "tests/engine/EngineUnderTest.h"

namespace test {
namespace {

/// A window that is as fast as the test wants it to be.
class FakeWindow
{
public:
    static std::shared_ptr<FakeWindow> Open(std::uint64_t id, std::function<void()> changed)
    {
        auto window = std::make_shared<FakeWindow>();
        window->changed = std::move(changed);
        std::lock_guard lock(s_lock);
        s_windows[id] = window;
        return window;
    }
    static std::shared_ptr<FakeWindow> Find(std::uint64_t id)
    {
        std::lock_guard lock(s_lock);
        return s_windows.at(id);
    }

    /// Waits until the window has shown, and sent, so many pictures.
    bool AwaitFlushed(int count)
    {
        std::unique_lock lock(m_lock);
        return m_news.wait_for(lock, PATIENCE, [&] { return m_flushed >= count; });
    }
    void SetBusy(bool busy)
    {
        std::lock_guard lock(m_lock);
        m_busy = busy;
    }
    bool IsFree()
    {
        std::lock_guard lock(m_lock);
        return !m_busy;
    }
    void Show()
    {
        std::lock_guard lock(m_lock);
        ++m_shown;
    }
    void Flush()
    {
        {
            std::lock_guard lock(m_lock);
            m_flushed = m_shown;
        }
        m_news.notify_all();
    }

    std::function<void()> changed;
    Bytes pixels;

private:
    static inline std::mutex s_lock;
    static inline std::map<std::uint64_t, std::shared_ptr<FakeWindow>> s_windows;

    std::mutex m_lock;
    std::condition_variable m_news;
    bool m_busy = false;
    int m_shown = 0;
    int m_flushed = 0;
};

/// The player's hold on it.
class FakeWindowHandle : public engine::Window
{
public:
    explicit FakeWindowHandle(std::shared_ptr<FakeWindow> window) : m_window(std::move(window)) {}

    engine::Extent Size() const override { return {32, 32}; }
    bool IsShown() const override { return true; }
    bool IsFree() override { return m_window->IsFree(); }
    std::uint8_t* Pixels(engine::Extent size) override
    {
        m_window->pixels.resize(std::size_t{4} * size.width * size.height);
        return m_window->pixels.data();
    }
    void Show() override { m_window->Show(); }
    void Flush() override { m_window->Flush(); }
    void Close() override {}

private:
    std::shared_ptr<FakeWindow> m_window;
};

}  // namespace
}  // namespace test

namespace engine {

/// In place of the display's.
std::unique_ptr<Window> OpenWindow(std::uint64_t id, std::function<void()> changed)
{
    return std::make_unique<test::FakeWindowHandle>(test::FakeWindow::Open(id, std::move(changed)));
}

}  // namespace engine

namespace test {
namespace {

class Presenting : public testing::Test
{
protected:
    void TearDown() override { m_player->Shutdown(); }

    std::shared_ptr<engine::View> AddView(int id, std::uint64_t window)
    {
        engine::ViewSettings settings;
        settings.mode = RV_MODE_PTZ;
        settings.positionX = settings.positionY = 5000;
        return m_player->AddView(id, settings, window);
    }

    /// Paused, so that each step shows one more picture.
    void Feed()
    {
        const Bytes clip = MakeClip({});
        ASSERT_TRUE(m_player->Queue().Put(clip.data(), clip.size()));
    }

    Images m_images;
    RvPlayerCreation m_creation{};
    std::shared_ptr<engine::Player> m_player = engine::Player::Create(1, 1, m_creation);
};

TEST_F(Presenting, PictureThatASlowWindowLeftOutIsShownLaterAndCalledBackOnce)
{
    const auto view = AddView(2, 20);
    view->SetCallback(Images::Receive, &m_images);
    const auto window = FakeWindow::Find(20);
    Feed();
    m_player->Step();
    ASSERT_TRUE(window->AwaitFlushed(1));
    EXPECT_EQ(m_images.Count(), 1);
    window->SetBusy(true);
    m_player->Step();
    ASSERT_EQ(m_images.Await(2).width, 32);
    window->SetBusy(false);
    window->changed();
    ASSERT_TRUE(window->AwaitFlushed(2));
    EXPECT_EQ(m_images.Count(), 2) << "it is the same picture";
    view->SetTexts({});
    ASSERT_TRUE(window->AwaitFlushed(3));
    EXPECT_EQ(m_images.Count(), 2) << "texts are no part of the callback's picture";

    view->SetPtz({0, 0, 5000, 6000, 10000, {}});
    ASSERT_TRUE(window->AwaitFlushed(4));
    EXPECT_EQ(m_images.Count(), 3) << "the view is another";
    view->SetFixedSize({16, 16});
    ASSERT_TRUE(window->AwaitFlushed(5));
    EXPECT_EQ(m_images.Count(), 4) << "its size is another";
    view->SetCallback(Images::Receive, &m_images);
    ASSERT_TRUE(window->AwaitFlushed(6));
    EXPECT_EQ(m_images.Count(), 5) << "this callback has not had it";
}

/// By a client's thread that had found the view, or the player, before another one deleted it.
TEST_F(Presenting, WhatIsDeletedTakesNoCallback)
{
    Images images;
    const auto view = AddView(2, 20);
    EXPECT_TRUE(view->SetCallback(Images::Receive, &images));
    ASSERT_TRUE(m_player->RemoveView(2));
    EXPECT_FALSE(view->SetCallback(Images::Receive, &images));
    const auto end = [](int, void*) {};
    EXPECT_TRUE(m_player->SetEndCallback(end, nullptr));
    m_player->Shutdown();
    EXPECT_FALSE(m_player->SetEndCallback(end, nullptr));
}

TEST_F(Presenting, EveryWindowThatWasDrawnIntoIsSent)
{
    for (int id = 2; id < 5; ++id)
        AddView(id, 10 * id);
    Feed();
    m_player->Step();
    for (int id = 2; id < 5; ++id)
        EXPECT_TRUE(FakeWindow::Find(10 * id)->AwaitFlushed(1)) << id;
}

}  // namespace
}  // namespace test
