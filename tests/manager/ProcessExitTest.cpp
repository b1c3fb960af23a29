// What a process leaves undone when it exits with players registered. Each test runs in a child
// that uses the library first of all, so that its exit handler runs after every destructor.
#include <cstdio>
#include <cstdlib>

#include "VideoPlayer_FishEye/CLS_FishPlayer.h"
#include "tests/manager/OverlayClient.h"
#include "tests/support/ManagerTest.h"

namespace {

using ::testing::ExitedWithCode;

LogCapture* s_log = nullptr;

/// Says on the child's error output what the library did since the last look.
void Report()
{
    std::fputs("at exit:", stderr);
    for (const fake::Call& call : fake::TakeCalls())
        std::fprintf(stderr, " %s", call.name.c_str());
    for (const LogLine& line : s_log->TakeLines())
        std::fprintf(stderr, " %s", line.text.c_str());
    std::fputs(" nothing else\n", stderr);
}

void ExitWithRegisteredPlayers(STRUCT_FishDrawParam draw)
{
    const DeliberateLeak leak("players that are registered at exit are not destroyed");
    fake::Reset();
    s_log = new LogCapture;
    std::atexit(Report);  // before the instance exists, so it runs after its destructor
    OverlayClient client;
    CLS_FishPlayer& facade = *CLS_FishPlayer::GetInstance();
    std::vector<unsigned char> header = StreamHeader();
    QMap<int, QVector<int>> ids;
    for (const int engineId : {7, 8}) {
        fake::Next("RV_CreatePlayerForSpecialNeeds", engineId);
        int id = -1;
        facade.FishPlayer_CreatePlayerFromStream({1, 0x300}, Window(5),
                                                 {{0x100, {Window(1)}}, {0x300, {Window(2)}}}, 0,
                                                 header.data(), 12, &id, ids, draw);
        facade.FishPlayer_RegisterDrawCallback(id, OverlayClient::Draw);
    }
    if (0 != draw.m_iDrawWindowType)
        client.AwaitCycles(4);
    s_log->TakeLines();  // of cycles before the callback was there
    fake::TakeCalls();
    std::exit(0);
}

TEST(ProcessExitDeathTest, NoDestructorRunsAndTheEngineIsNotCalled)
{
    ::testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(ExitWithRegisteredPlayers({0, 0}), ExitedWithCode(0), "at exit: nothing else");
}

TEST(ProcessExitDeathTest, RunningOverlayThreadsDoNotDisturbTheExit)
{
    ::testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(ExitWithRegisteredPlayers({0x300, 0}), ExitedWithCode(0), "at exit: nothing else");
}

}  // namespace
