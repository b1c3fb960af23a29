// What the manager library costs beyond the calls that it makes: each operation beside the bare
// calls, and the difference against what it may be.
#include <sys/resource.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <benchmark/benchmark.h>

#include "VideoPlayer_FishEye/CLS_FishPlayer.h"
#include "VideoPlayer_FishEye/fec/CLS_VxAlgoFcu.h"
#include "VideoPlayer_FishEye/feplayer/CLS_MainPlayer.h"
#include "VideoPlayer_FishEye/feplayer/CLS_PTZSubPlayer.h"
#include "VideoPlayer_Vx/CLS_VxPlayer_SDK.h"

using VX_Framework::VideoPlayer::CLS_VxPlayer_SDK;

namespace {

constexpr int CONST_PLAYERS = 64;
constexpr int CONST_VIEWS = 8;
constexpr int CONST_OUTLINE_POINTS = 1000;
constexpr int CONST_REPETITIONS = 9;

unsigned char s_data[1400];

QMap<int, QVector<void*>> Windows()
{
    void* const window = &s_data;
    return {{CORRECT_TYPE_PTZ, QVector<void*>(CONST_VIEWS, window)}, {CORRECT_TYPE_360, {window}}};
}

/// The ids of so many players, laid out; they live as long as the program.
std::vector<int> Players(int count, const STRUCT_FishDrawParam& draw)
{
    unsigned char header[12] = {12};
    std::vector<int> ids;
    QMap<int, QVector<int>> unused;
    while (static_cast<int>(ids.size()) < count) {
        int id = -1;
        CLS_FishPlayer::GetInstance()->FishPlayer_CreatePlayerFromStream(
            {0, CORRECT_TYPE_FISHEYE}, s_data, Windows(), 0, header, sizeof(header), &id, unused,
            draw);
        ids.push_back(id);
    }
    return ids;
}

const std::vector<int>& SixtyFour()
{
    static const std::vector<int> ids = Players(CONST_PLAYERS, {0, n_DrawType_Rect});
    return ids;
}

void StreamDirectly(benchmark::State& state)
{
    const std::vector<int>& ids = SixtyFour();
    std::size_t i = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(CLS_VxPlayer_SDK::RV_PutStreamToPlayer(ids[++i % CONST_PLAYERS],
                                                                        s_data, sizeof(s_data)));
}

void StreamThroughFacade(benchmark::State& state)
{
    const std::vector<int>& ids = SixtyFour();
    CLS_FishPlayer& facade = *CLS_FishPlayer::GetInstance();
    std::size_t i = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(facade.FishPlayer_PutStreamToPlayer(ids[++i % CONST_PLAYERS], 0,
                                                                     s_data, sizeof(s_data)));
}

void CommandDirectly(benchmark::State& state)
{
    const int id = SixtyFour()[7];
    tagCorrectPtzPara para{};
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            CLS_VxPlayer_SDK::RV_GetFishEyeCorrectPara(id, 3, 1, &para, sizeof(para)));
        benchmark::DoNotOptimize(
            CLS_VxPlayer_SDK::RV_SetFishEyeCorrectPara(id, 3, 1, &para, sizeof(para)));
    }
}

void CommandThroughFacade(benchmark::State& state)
{
    const int id = SixtyFour()[7];
    CLS_FishPlayer& facade = *CLS_FishPlayer::GetInstance();
    int step = 30;
    for (auto _ : state) {
        step = -step;
        if (0 != facade.FishPlayer_PTZCtl(id, 3, {step, step, 0}, n_PTZCtl_RightDown))
            return state.SkipWithError("the command was refused");
    }
}

const STRUCT_DrawPoint* s_firstPoint = nullptr;
std::size_t s_points = 0;

int Draw(int, int, DrawOutlines outlines)
{
    benchmark::DoNotOptimize(outlines.constData());
    return 0;
}

int Count(int, int, DrawOutlines outlines)
{
    s_firstPoint = outlines.at(0).at(0).constData();
    s_points = 0;
    for (const QVector<QVector<STRUCT_DrawPoint>>& view : outlines)
        for (const QVector<STRUCT_DrawPoint>& line : view)
            s_points += static_cast<std::size_t>(line.size());
    return 0;
}

/// A player with eight traced views and no thread.
std::unique_ptr<CLS_MainPlayer> Traced()
{
    auto player = std::make_unique<CLS_MainPlayer>();
    unsigned char header[12] = {12};
    int id = -1;
    QMap<int, QVector<int>> unused;
    player->CreateMainPlayer({0, CORRECT_TYPE_FISHEYE}, s_data, 0, header, sizeof(header), &id);
    player->CreateSubPlayers({0, CORRECT_TYPE_FISHEYE}, id, Windows(), unused, {0, n_DrawType_Fec});
    return player;
}

/// The callback by itself, with outlines that are there already.
void CallbackDirectly(benchmark::State& state)
{
    const DrawOutlines outlines(CONST_VIEWS, {4, QVector<STRUCT_DrawPoint>(250)});
    const DrawCallback callback = &Draw;
    for (auto _ : state)
        benchmark::DoNotOptimize(callback(0, 0, outlines));
}

void OverlayCycle(benchmark::State& state)
{
    const std::unique_ptr<CLS_MainPlayer> player = Traced();
    player->RegisterDrawCallback(&Count);
    player->DrawCalculate();
    const STRUCT_DrawPoint* const first = s_firstPoint;
    player->DrawCalculate();
    if (s_points != CONST_VIEWS * CONST_OUTLINE_POINTS || first != s_firstPoint)
        return state.SkipWithError("points are missing, or were copied");
    player->RegisterDrawCallback(&Draw);
    for (auto _ : state)
        benchmark::DoNotOptimize(player->DrawCalculate());
}

void OutlineDirectly(benchmark::State& state)
{
    char request[112] = {112};
    char result[88] = {88};
    const auto points = std::make_unique<char[]>(320000);
    char table[368];
    char* const place = table;
    std::memcpy(result + 16, &place, sizeof(place));
    void* const handle = CLS_VxAlgoFcu::VxAlgo_FCU_Creat(nullptr, nullptr);
    for (auto _ : state) {
        std::memset(table, 0, sizeof(table));
        char* const buffer = points.get();
        std::memcpy(table + 16, &buffer, sizeof(buffer));
        benchmark::DoNotOptimize(CLS_VxAlgoFcu::VxAlgo_FCU_Process(handle, 0, request, result));
    }
}

void OutlineOfView(benchmark::State& state)
{
    CLS_PTZSubPlayer view;
    void* const handle = CLS_VxAlgoFcu::VxAlgo_FCU_Creat(nullptr, nullptr);
    tagCreateCorrectPara para{};
    for (auto _ : state)
        if (0 != view.CreatePtzDraw(handle, para, n_DrawType_Fec))
            return state.SkipWithError("the outline was refused");
    QVector<QVector<STRUCT_DrawPoint>> outline;
    view.GetPTZDrawData(outline);
    if (4 != outline.size() || 250 != outline.at(3).size())
        state.SkipWithError("points are missing");
}

/// A console table, and the medians for the differences below it.
class Medians : public benchmark::ConsoleReporter
{
public:
    void ReportRuns(const std::vector<Run>& runs) override
    {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs)
            if (Run::RT_Aggregate == run.run_type && "median" == run.aggregate_name)
                m_nanoseconds[run.run_name.function_name] = run.GetAdjustedCPUTime();
            else if (run.error_occurred)
                m_failed = true;
    }

    /// True when the difference is within its limit.
    bool Difference(const char* text, const char* ours, const char* bare, double limit) const
    {
        if (m_failed || 0 == m_nanoseconds.count(ours) || 0 == m_nanoseconds.count(bare))
            return !m_failed;
        const double more = m_nanoseconds.at(ours) - m_nanoseconds.at(bare);
        std::printf("%-44s %8.1f ns more than the bare call, at most %6.0f: %s\n", text, more,
                    limit, more <= limit ? "kept" : "MISSED");
        return more <= limit;
    }

private:
    std::map<std::string, double> m_nanoseconds;
    bool m_failed = false;
};

double CpuSeconds()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

std::atomic<int> s_cycles{0};

int CountCycle(int, int, DrawOutlines)
{
    ++s_cycles;
    return 0;
}

/// 64 overlay threads for a second.
void ReportOverlayThreads()
{
    const std::vector<int> ids = Players(CONST_PLAYERS, {CORRECT_TYPE_360, n_DrawType_Fec});
    CLS_FishPlayer& facade = *CLS_FishPlayer::GetInstance();
    for (const int id : ids)
        facade.FishPlayer_RegisterDrawCallback(id, &CountCycle);
    s_cycles = 0;
    const double before = CpuSeconds();
    const auto start = std::chrono::steady_clock::now();
    std::this_thread::sleep_for(std::chrono::seconds(1));
    const std::chrono::duration<double> wall = std::chrono::steady_clock::now() - start;
    const double used = CpuSeconds() - before;
    std::printf("%d overlay threads, %d views each: %d cycles in %.2f s, %.2f %% of one core\n",
                CONST_PLAYERS, CONST_VIEWS, s_cycles.load(), wall.count(),
                100.0 * used / wall.count());
    for (const int id : ids)
        facade.FishPlayer_DeleteAllPlayer(id);
}

}  // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    if (0 != CLS_FishPlayer::GetInstance()->FishPlayer_CreateSystem() ||
        0 != CLS_VxAlgoFcu::LoadLib()) {
        std::fputs("No engine: run scripts/bench.sh, which says where it is.\n", stderr);
        return 1;
    }
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    const std::pair<const char*, void (*)(benchmark::State&)> benchmarks[] = {
        {"stream, bare", StreamDirectly},     {"stream, facade", StreamThroughFacade},
        {"command, bare", CommandDirectly},   {"command, facade", CommandThroughFacade},
        {"callback, bare", CallbackDirectly}, {"overlay cycle", OverlayCycle},
        {"outline, bare", OutlineDirectly},   {"outline, view", OutlineOfView},
    };
    for (const auto& [name, function] : benchmarks)
        benchmark::RegisterBenchmark(name, function)
            ->Repetitions(CONST_REPETITIONS)
            ->ReportAggregatesOnly();
    Medians medians;
    benchmark::RunSpecifiedBenchmarks(&medians);
    std::printf("\nMedians of this run\n");
    bool kept =
        medians.Difference("PutStreamToPlayer, 64 players", "stream, facade", "stream, bare", 20);
    kept &= medians.Difference("PTZCtl, square outline", "command, facade", "command, bare", 1000);
    kept &= medians.Difference("an overlay cycle, 8 views of 4 x 250 points", "overlay cycle",
                               "callback, bare", 3000);
    kept &= medians.Difference("a traced outline of 1000 points", "outline, view", "outline, bare",
                               2000);
    ReportOverlayThreads();
    benchmark::Shutdown();
    return kept ? 0 : 1;
}
