// Many players for a long time: nothing grows. Many threads at once: nothing breaks.
#include <dirent.h>

#include <atomic>
#include <fstream>
#include <memory>
#include <random>
#include <thread>

#include <gmock/gmock.h>

#include "tests/engine/XServer.h"
#include "tests/support/Threads.h"

namespace test {
namespace {

const Bytes& Clip()
{
    static const Bytes clip = [] {
        ClipOptions options;
        options.pictures = 4;
        return MakeClip(options);
    }();
    return clip;
}

/// Resident memory in KiB.
long Memory()
{
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.rfind("VmRSS:", 0) == 0)
            return std::stol(line.substr(6));
    }
    return 0;
}

int EntriesOf(const char* directory)
{
    DIR* opened = opendir(directory);
    int count = 0;
    while (opened && readdir(opened))
        ++count;
    if (opened)
        closedir(opened);
    return count;
}

/// Pictures that this process shares with the X server.
int SharedPictures()
{
    std::ifstream maps("/proc/self/maps");
    int count = 0;
    for (std::string line; std::getline(maps, line);)
        count += line.find("memfd:fisheye-view") != std::string::npos;
    return count;
}

constexpr int MODES[] = {RV_MODE_PTZ, RV_MODE_180, RV_MODE_PANORAMA, RV_MODE_LAT};

/// Creates, feeds, lays out, steers and deletes a player, with a window where there is one.
void LiveOneLife(int number, void* window)
{
    Images images;
    TestPlayer player("AUTO", window);
    std::vector<int> views;
    for (int i = 0; i < 6; ++i)
        views.push_back(player.AddView(MODES[(number + i) % 4], number % 4, 5000, 7000));
    const int main = player.Fisheye(number % 4);
    player.Listen(main, images, 96, 96);
    for (const int view : views)
        player.Listen(view, images, 96, 64);
    player.Play();
    ASSERT_EQ(player.Put(Clip()), 0);
    ASSERT_EQ(player.End(), 0);
    ASSERT_GT(images.Await(1).width, 0);
    if (window) {
        EXPECT_EQ(SharedPictures(), 1);
    }
    const int before = images.Count();
    for (const int view : views) {
        RvPtz ptz{0, 0, 4000 + number % 2000, 6000, 3000, {}};
        RV(RV_SetFishEyeCorrectPara)(player.Id(), view, RV_KIND_PTZ, &ptz, sizeof(ptz));
        RvWideScan wide{0, static_cast<float>(number)};
        RV(RV_SetFishEyeCorrectPara)(player.Id(), view, RV_KIND_WIDE_SCAN, &wide, sizeof(wide));
    }
    ASSERT_GT(images.Await(before + 1).width, 0);
    if (number % 2)
        RV(RV_DeleteFishEyeCorrect)(player.Id(), views[0]);
    player.Delete();
}

class Lives : public Windows
{
protected:
    void SetUp() override
    {
        if (TheServer().Runs())
            Windows::SetUp();
    }
};

TEST_F(Lives, TwoHundredPlayersLeaveNothingBehind)
{
    void* window = m_connection ? Handle(Create(96, 96)) : nullptr;
    for (int i = 0; i < 20; ++i)
        LiveOneLife(i, window);  // until every cache is filled
    const long memory = Memory();
    const int threadsBefore = threads::Settled(PATIENCE);
    const int files = EntriesOf("/proc/self/fd");
    for (int i = 0; i < 200; ++i)
        LiveOneLife(i, window);
    EXPECT_LE(threads::AtMost(threadsBefore, PATIENCE), threadsBefore);
    EXPECT_EQ(EntriesOf("/proc/self/fd"), files);
    EXPECT_EQ(SharedPictures(), 0);
    // A leak of one picture of each player would be 200 x 96 KiB. Sanitizers keep freed memory.
    const long allowed = 12 * 1024;
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
    EXPECT_LT(Memory() - memory, allowed);
#else
    (void)memory;
    (void)allowed;
#endif
}

TEST(Lifetimes, ManyPlayersAtOnce)
{
    std::vector<std::unique_ptr<Images>> images;
    std::vector<std::unique_ptr<TestPlayer>> players;
    for (int i = 0; i < 16; ++i) {
        players.push_back(std::make_unique<TestPlayer>());
        images.push_back(std::make_unique<Images>());
        players.back()->Listen(players.back()->Fisheye(), *images.back(), 64, 64);
        players.back()->Play();
        players.back()->Put(Clip());
        players.back()->End();
    }
    for (auto& image : images)
        EXPECT_EQ(image->Await(1).width, 64);
    players.clear();
}

TEST(Lifetimes, PlayersMayBeDeletedAtAnyMoment)
{
    std::mt19937 random(1);
    for (int i = 0; i < 60; ++i) {
        Images images;
        TestPlayer player;
        player.Listen(player.Fisheye(), images, 64, 64);
        player.Listen(player.AddView(RV_MODE_PANORAMA), images, 64, 64);
        player.Play();
        const std::size_t size = random() % Clip().size() + 1;
        player.Put(Clip().data(), size);
        if (i % 3 == 0)
            player.End();
        images.AwaitOne([&](const auto&) { return true; },
                        std::chrono::milliseconds(random() % 20));
        EXPECT_EQ(player.Delete(), 0);
        const int count = images.Count();
        std::this_thread::yield();
        EXPECT_EQ(images.Count(), count) << "no callback after the deletion";
    }
}

/// Every thread does anything to any of a few players, which come and go.
TEST(Lifetimes, EveryEntryPointFromEveryThread)
{
    std::atomic<int> ids[4] = {};
    std::vector<std::thread> threads;
    Images images;
    for (unsigned int seed = 1; seed <= 4; ++seed) {
        threads.emplace_back([&, seed] {
            std::mt19937 random(seed);
            for (int step = 0; step < 400; ++step) {
                std::atomic<int>& slot = ids[random() % 4];
                const int id = slot;
                const int correct = static_cast<int>(random() % 60);
                RvPtz ptz{0, 0, 5000, 6000, static_cast<int>(random() % 10000), {}};
                RvWideScan wide{0, static_cast<float>(random() % 360)};
                RvCreateCorrect creation{};
                creation.iSize = 88;
                creation.iCorrectMode = MODES[random() % 4];
                int out = 0;
                RvLens lens{};
                lens.iSize = sizeof(lens);
                lens.dCentreX = lens.dCentreY = 128;
                lens.dCircleRadius = 100 + static_cast<int>(random() % 20);
                RvVideoParam param{};
                param.iSize = sizeof(param);
                switch (random() % 16) {
                case 0: {
                    RvPlayerCreation player{};
                    player.iSize = 32;
                    const int fresh = RV(RV_CreatePlayerForSpecialNeeds)(2, &player, 32, 0);
                    RV(RV_Play)(fresh);
                    RV(RV_DeletePlayer)(slot.exchange(fresh));
                    break;
                }
                case 1:
                    RV(RV_DeletePlayer)(id);
                    break;
                case 2:
                case 3:
                case 4:
                    RV(RV_PutStreamToPlayer)
                    (id, const_cast<unsigned char*>(Clip().data()),
                     static_cast<int>(Clip().size()));
                    break;
                case 5:
                case 6: {
                    const int made = RV(RV_CreateFishEyeCorrect)(id, &creation, 88, nullptr, &out);
                    RV(RV_SetPlayRectEx)(id, made, 48, 32);
                    RV(RV_SetFishEyeCorrectCallBack)(id, made, Images::Receive, &images);
                    break;
                }
                case 7:
                    RV(RV_DeleteFishEyeCorrect)(id, correct);
                    break;
                case 8:
                    RV(RV_SetFishEyeCorrectPara)(id, correct, 1, &ptz, sizeof(ptz));
                    break;
                case 9:
                    RV(RV_SetFishEyeCorrectPara)(id, correct, 3, &wide, sizeof(wide));
                    break;
                case 10:
                    RV(RV_SetFishEyeCorrectEnable)(id, static_cast<int>(random() % 2), &creation);
                    break;
                case 11:
                    RV(RV_Pause)(id, static_cast<int>(random() % 2));
                    RV(RV_StepForward)(id);
                    RV(RV_FastForward)(id, 1 + static_cast<int>(random() % 16));
                    break;
                case 12:
                    RV(RV_PlayerControl)(id, RV_CONTROL_SET_LENS, &lens, sizeof(lens));
                    RV(RV_PlayerControl)(id, RV_CONTROL_GET_LENS, &lens, sizeof(lens));
                    break;
                case 13:
                    RV(RV_GetVideoParam)(id, &param, sizeof(param));
                    RV(RV_CapturePic)(id, 0, nullptr, 0, &out, &out);
                    break;
                case 14:
                    RV(RV_SetFishEyeCorrectCallBack)(id, correct, nullptr, nullptr);
                    RV(RV_PlayerControl)(id, RV_CONTROL_END_OF_STREAM, nullptr, 0);
                    break;
                default:
                    RV(RV_Stop)(id);
                    RV(RV_Play)(id);
                    RV(RV_CleanStreamBuffer)(id);
                    break;
                }
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    RV(RV_DeleteSystem)();
}

}  // namespace
}  // namespace test
