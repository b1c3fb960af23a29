// The engine in X11 windows of a server of the test's own, read back pixel by pixel.
#include <cstdlib>

#include <gmock/gmock.h>

#include "tests/engine/XServer.h"

namespace test {
namespace {

TEST_F(Windows, MainWindowShowsThePictureInItsAspect)
{
    const xcb_window_t window = Create(400, 200);
    TestPlayer player("AUTO", Handle(window));
    Feed(player);
    EXPECT_TRUE(Becomes(window, 150, 100, RED));
    EXPECT_TRUE(Becomes(window, 250, 100, BLUE));
    EXPECT_TRUE(Becomes(window, 20, 100, BLACK));
    EXPECT_TRUE(Becomes(window, 399, 199, BLACK));
}

TEST_F(Windows, PictureFollowsTheWindowsSizeWithoutANewPicture)
{
    const xcb_window_t window = Create(100, 100);
    TestPlayer player("AUTO", Handle(window));
    Feed(player);
    ASSERT_TRUE(Becomes(window, 90, 50, BLUE));
    Resize(window, 300, 300);
    EXPECT_TRUE(Becomes(window, 280, 280, BLUE));
    EXPECT_TRUE(Becomes(window, 120, 20, RED));
    Resize(window, 31, 17);
    EXPECT_TRUE(Becomes(window, 12, 8, RED));
    EXPECT_TRUE(Becomes(window, 19, 8, BLUE));
}

TEST_F(Windows, WindowThatIsMappedLaterShowsTheLastPicture)
{
    const xcb_window_t window = Create(100, 100, /*map=*/false);
    Images images;
    TestPlayer player("AUTO", Handle(window));
    player.Listen(player.Fisheye(), images);
    RV(RV_SetFishEyeCorrectEnable)(player.Id(), 0, nullptr);
    Feed(player);
    ASSERT_EQ(images.Await(1).width, 256);
    RV(RV_SetPlayRectEx)(player.Id(), player.Fisheye(), 0, 0);
    RV(RV_SetFishEyeCorrectEnable)(player.Id(), 0, nullptr);
    xcb_map_window(m_connection, window);
    Sync();
    EXPECT_TRUE(Becomes(window, 20, 50, RED));
    player.Delete();
}

TEST_F(Windows, HiddenWindowIsNotDrawnNorOneInAHiddenParent)
{
    const xcb_window_t parent = Create(200, 200, /*map=*/false);
    const xcb_window_t window = Create(100, 100, /*map=*/true, parent);
    const xcb_window_t hidden = Create(100, 100, /*map=*/false);
    TestPlayer player("AUTO", Handle(window));
    EXPECT_GT(player.AddView(RV_MODE_SOURCE, 0, 0, 0, 0, Handle(hidden)), 0);
    Feed(player);
    while (player.Describe().llShown + player.Describe().llDropped < 10)
        std::this_thread::yield();
    EXPECT_GT(player.Describe().llShown, 0);
    EXPECT_EQ(player.Describe().dDrawMs, 0.0);
    xcb_map_window(m_connection, parent);
    Sync();
    EXPECT_TRUE(Becomes(window, 20, 50, RED));
    xcb_unmap_window(m_connection, parent);
    Sync();
    xcb_map_window(m_connection, parent);
    Sync();
    EXPECT_TRUE(Becomes(window, 20, 50, RED));
}

TEST_F(Windows, ExposedPartsAreDrawnAgain)
{
    const xcb_window_t window = Create(100, 100);
    TestPlayer player("AUTO", Handle(window));
    Feed(player);
    ASSERT_TRUE(Becomes(window, 20, 50, RED));
    const xcb_window_t cover = Create(100, 100);
    xcb_destroy_window(m_connection, cover);
    Sync();
    EXPECT_TRUE(Becomes(window, 20, 50, RED));
}

TEST_F(Windows, FixedSizeIsCentredInItsWindow)
{
    const xcb_window_t window = Create(200, 100);
    TestPlayer player;
    const int view = player.AddView(RV_MODE_SOURCE, 0, 0, 0, 0, Handle(window));
    ASSERT_EQ(RV(RV_SetPlayRectEx)(player.Id(), view, 50, 50), 0);
    Feed(player);
    EXPECT_TRUE(Becomes(window, 80, 50, RED));
    EXPECT_TRUE(Becomes(window, 120, 50, BLUE));
    EXPECT_TRUE(Becomes(window, 70, 50, BLACK));
    EXPECT_TRUE(Becomes(window, 100, 20, BLACK));
    EXPECT_TRUE(Becomes(window, 130, 80, BLACK));
    ASSERT_EQ(RV(RV_SetPlayRectEx)(player.Id(), view, 400, 400), 0);
    EXPECT_TRUE(Becomes(window, 2, 2, RED));
    EXPECT_TRUE(Becomes(window, 198, 98, BLUE));
}

TEST_F(Windows, IdsThatAreNoWindowsAndWindowsThatGoAwayDisturbNobody)
{
    const xcb_window_t window = Create(100, 100);
    const xcb_window_t doomed = Create(100, 100);
    const xcb_window_t gone = Create(100, 100);
    xcb_destroy_window(m_connection, gone);
    Sync();
    Images images;
    TestPlayer player("AUTO", Handle(window));
    const int bogus = player.AddView(RV_MODE_SOURCE, 0, 0, 0, 0, Handle(0x1FFFFFFF));
    EXPECT_GT(bogus, 0);
    player.Listen(bogus, images, 0, 0);
    EXPECT_GT(player.AddView(RV_MODE_SOURCE, 0, 0, 0, 0, Handle(gone)), 0);
    EXPECT_GT(player.AddView(RV_MODE_SOURCE, 0, 0, 0, 0, Handle(doomed)), 0);
    EXPECT_GT(player.AddView(RV_MODE_SOURCE, 0, 0, 0, 0, reinterpret_cast<void*>(~0UL)), 0);
    Feed(player);
    ASSERT_TRUE(Becomes(doomed, 20, 50, RED));
    xcb_destroy_window(m_connection, doomed);
    Sync();
    const Images::Image image = images.Await(1);
    EXPECT_EQ(image.width, 640);
    EXPECT_EQ(image.height, 640);
    Resize(window, 50, 50);
    EXPECT_TRUE(Becomes(window, 12, 25, RED));
    player.Delete();
}

TEST_F(Windows, HundredViewsAreShownAndGoAway)
{
    std::vector<xcb_window_t> windows;
    for (int i = 0; i < 100; ++i)
        windows.push_back(Create(64, 48, true, 0, i % 10 * 100, i / 10 * 100));
    TestPlayer player;
    std::vector<int> views;
    for (const xcb_window_t window : windows)
        views.push_back(player.AddView(RV_MODE_SOURCE, 0, 0, 0, 0, Handle(window)));
    Feed(player);
    for (const xcb_window_t window : windows)
        EXPECT_TRUE(Becomes(window, 24, 24, RED));
    for (const int view : views)
        EXPECT_EQ(RV(RV_DeleteFishEyeCorrect)(player.Id(), view), 0);
    for (const xcb_window_t window : windows)
        xcb_destroy_window(m_connection, window);
    Sync();
}

TEST_F(Windows, TextsAndLinesAreDrawnOnTheWindowAndNotInTheCallback)
{
    const xcb_window_t window = Create(200, 200);
    Images images;
    TestPlayer player;
    const int view = player.AddView(RV_MODE_SOURCE, 0, 0, 0, 0, Handle(window));
    player.Listen(view, images, 0, 0);
    Feed(player);
    ASSERT_TRUE(Becomes(window, 20, 100, RED));
    const float points[] = {0.0F, 0.5F, 1.0F, 0.5F};
    const RvPolyline line{points, 2, 5, 0xFF00FF00};
    ASSERT_EQ(RV(RV_DrawPolyOnLocalVideo)(player.Id(), view, &line, 1), 0);
    EXPECT_TRUE(Becomes(window, 20, 100, {0, 255, 0}));
    const RvText text{"L", 0.0F, 0.0F, 64, 0xFFFFFFFF};
    ASSERT_EQ(RV(RV_DrawText)(player.Id(), view, &text, 1), 0);
    EXPECT_TRUE(Becomes(window, 4, 20, {255, 255, 255}));
    EXPECT_TRUE(Near(images.Await(1).At(0.1, 0.5), RED, 6));
    ASSERT_EQ(RV(RV_DrawPolyOnLocalVideo)(player.Id(), view, nullptr, 0), 0);
    EXPECT_TRUE(Becomes(window, 20, 100, RED));
    player.Delete();
}

TEST_F(Windows, AViewIsFoundByItsWindow)
{
    const xcb_window_t main = Create(100, 100);
    const xcb_window_t other = Create(100, 100);
    const xcb_window_t unused = Create(100, 100);
    TestPlayer player("AUTO", Handle(main));
    const int view = player.AddView(RV_MODE_PTZ, 3, 5000, 5000, 10000, Handle(other));
    const auto find = [&](void* window) {
        RvFindView record = {sizeof(record), 0, window};
        EXPECT_EQ(RV(RV_PlayerControl)(player.Id(), RV_CONTROL_FIND_VIEW, &record, sizeof(record)),
                  0);
        return record.iCorrect;
    };
    EXPECT_EQ(find(Handle(other)), view);
    EXPECT_EQ(find(Handle(main)), player.Fisheye());
    EXPECT_EQ(find(Handle(unused)), -1);
    player.AddView(RV_MODE_PTZ);
    EXPECT_EQ(find(nullptr), -1);
    EXPECT_EQ(RV(RV_DeleteFishEyeCorrect)(player.Id(), view), 0);
    EXPECT_EQ(find(Handle(other)), -1);
    RvFindView wrong = {sizeof(wrong) - 1, 0, nullptr};
    EXPECT_EQ(RV(RV_PlayerControl)(player.Id(), RV_CONTROL_FIND_VIEW, &wrong, sizeof(wrong)), -1);
}

TEST_F(Windows, ResizingStormEndsInTheRightPicture)
{
    const xcb_window_t window = Create(100, 100);
    TestPlayer player("AUTO", Handle(window));
    Feed(player);
    for (int i = 0; i < 200; ++i)
        Resize(window, 20 + i * 7 % 300, 20 + i * 13 % 300);
    Resize(window, 160, 160);
    EXPECT_TRUE(Becomes(window, 40, 80, RED));
    EXPECT_TRUE(Becomes(window, 155, 155, BLUE));
}

/// The server would paint it before every new picture.
TEST_F(Windows, BackgroundIsNeverSeenWhileAWindowIsResized)
{
    const Colour background = {255, 0, 255};
    // Where no other window was: without a background there is what lay below.
    const xcb_window_t window = Create(100, 100, true, 0, 700, 600);
    EXPECT_TRUE(Near(Pixel(window, 99, 99), background, 0));
    TestPlayer player("AUTO", Handle(window));
    Feed(player);
    ASSERT_TRUE(Becomes(window, 20, 50, RED));
    for (int i = 0; i < 200; ++i) {
        const int width = 20 + i * 7 % 300;
        const int height = 20 + i * 13 % 300;
        Resize(window, width, height);
        ASSERT_FALSE(Near(Pixel(window, width - 1, height - 1), background, 0)) << i;
    }
}

/// Transparency is a compositor's business, which takes it from the window's pixels.
TEST_F(Windows, PictureAndWhatIsLeftAroundItAreOpaque)
{
    xcb_visualid_t visual = 0;
    for (auto depth = xcb_screen_allowed_depths_iterator(m_screen); depth.rem;
         xcb_depth_next(&depth)) {
        if (depth.data->depth == 32 && xcb_depth_visuals_length(depth.data) > 0)
            visual = xcb_depth_visuals(depth.data)->visual_id;
    }
    if (!visual)
        GTEST_SKIP() << "the server has no windows with transparency";
    const xcb_colormap_t colours = xcb_generate_id(m_connection);
    xcb_create_colormap(m_connection, XCB_COLORMAP_ALLOC_NONE, colours, m_screen->root, visual);
    const xcb_window_t window = xcb_generate_id(m_connection);
    const std::uint32_t values[] = {0, 0, colours};
    xcb_create_window(m_connection, 32, window, m_screen->root, 0, 0, 200, 100, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, visual,
                      XCB_CW_BACK_PIXEL | XCB_CW_BORDER_PIXEL | XCB_CW_COLORMAP, values);
    xcb_map_window(m_connection, window);
    Sync();
    TestPlayer player;
    const int view = player.AddView(RV_MODE_SOURCE, 0, 0, 0, 0, Handle(window));
    ASSERT_EQ(RV(RV_SetPlayRectEx)(player.Id(), view, 50, 50), 0);
    Feed(player);
    ASSERT_TRUE(Becomes(window, 80, 50, RED));
    for (const auto& [x, y] : {std::pair{80, 50}, {70, 50}, {100, 20}, {130, 80}, {120, 99}})
        EXPECT_EQ(Value(window, x, y).value_or(0) >> 24, 0xFFU) << x << " " << y;
}

TEST_F(Windows, HangingServerStopsNeitherCallbacksNorDeletion)
{
    const xcb_window_t window = Create(100, 100);
    Images images;
    TestPlayer player("AUTO", Handle(window));
    const int view = player.Fisheye();
    player.Listen(view, images);
    Feed(player);
    ASSERT_EQ(images.Await(1).width, 256);
    TheServer().Hang();
    for (int i = 0; i < 3; ++i) {
        const int before = images.Count();
        player.Fisheye(i % 2 ? RV_MOUNT_FLOOR : RV_MOUNT_WALL);
        EXPECT_EQ(images.Await(before + 1).width, 256);
    }
    EXPECT_EQ(player.Delete(), 0);

    TestPlayer deletedAtOnce("AUTO");
    EXPECT_EQ(deletedAtOnce.Delete(), 0);
    TheServer().GoOn();
    TestPlayer next("AUTO", Handle(window));
    Feed(next);
    EXPECT_TRUE(Becomes(window, 20, 50, RED));
    EXPECT_TRUE(Becomes(window, 80, 50, BLUE));
}

TEST_F(Windows, ServerThatGoesOnShowsTheNewestPicture)
{
    if (std::getenv("FISHEYE_TEST_XVFB"))
        GTEST_SKIP() << "without shared memory a server that hangs is given up";
    const xcb_window_t window = Create(100, 100);
    Images images;
    TestPlayer player("AUTO", Handle(window));
    const int view = player.AddView(RV_MODE_SOURCE, 0, 0, 0, 0, Handle(window));
    player.Listen(view, images, 100, 100);
    Feed(player);
    ASSERT_TRUE(Becomes(window, 20, 50, RED));
    TheServer().Hang();
    // Two pictures: the first is on its way, the second finds the window busy.
    RvOrientation orientation = {sizeof(orientation), 0, 1};
    for (int i = 0; i < 2; ++i) {
        const int before = images.Count();
        orientation.iMirrored = i;
        ASSERT_EQ(RV(RV_PlayerControl)(player.Id(), RV_CONTROL_SET_ORIENTATION, &orientation,
                                       sizeof(orientation)),
                  0);
        ASSERT_EQ(images.Await(before + 1).width, 100);
    }
    TheServer().GoOn();
    EXPECT_TRUE(Becomes(window, 20, 50, BLUE));
    EXPECT_TRUE(Becomes(window, 80, 50, RED));
    player.Delete();
}

/// The last test: the server dies.
TEST_F(Windows, ZServersDeathStopsNobodysCallback)
{
    const xcb_window_t window = Create(100, 100);
    Images images;
    TestPlayer player("AUTO", Handle(window));
    player.Listen(player.Fisheye(), images);
    Feed(player);
    ASSERT_EQ(images.Await(1).width, 256);
    TheServer().Kill();
    const int before = images.Count();
    EXPECT_GT(player.AddView(RV_MODE_SOURCE, 0, 0, 0, 0, Handle(window)), 0);
    player.Fisheye(RV_MOUNT_FLOOR);
    EXPECT_EQ(images.Await(before + 1).width, 256);
    player.Delete();
}

}  // namespace
}  // namespace test
