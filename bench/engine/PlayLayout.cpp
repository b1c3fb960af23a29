// What a whole process costs that plays one live stream with the usual layout: fisheye 640x640,
// panorama 2048x512 and eight pan/tilt/zoom views of 640x480, all with callbacks, from a stream of
// 2048x2048 at 25 pictures a second. Prints processor use, memory and latency; a second player
// shows what each further one costs.
//   engine_PlayLayout [seconds]
#include <dlfcn.h>
#include <sys/resource.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "tests/engine/EngineUnderTest.h"

namespace {

double ProcessorSeconds()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

double MemoryMb()
{
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.rfind("VmRSS:", 0) == 0)
            return std::stod(line.substr(6)) / 1024.0;
    }
    return 0.0;
}

void Ignore(int, int, void*, unsigned int, unsigned int, void*) {}

void LayOut(test::TestPlayer& player)
{
    const auto view = [&](int id, int width, int height) {
        RV(RV_SetPlayRectEx)(player.Id(), id, width, height);
        RV(RV_SetFishEyeCorrectCallBack)(player.Id(), id, Ignore, nullptr);
    };
    view(player.Fisheye(), 640, 640);
    view(player.AddView(RV_MODE_PANORAMA, 3), 2048, 512);
    for (int i = 0; i < 8; ++i) {
        const double bearing = i * 0.785398;
        view(player.AddView(RV_MODE_PTZ, 3, static_cast<int>(5000 + 2750 * std::sin(bearing)),
                            static_cast<int>(5000 + 2750 * std::cos(bearing))),
             640, 480);
    }
    player.Play();
}

/// A disc with waves in it, moving; cheap enough to be painted here.
std::vector<test::Bytes> Clip()
{
    test::ClipOptions options;
    options.width = options.height = 2048;
    options.pictures = 25;
    options.keyInterval = 25;
    options.paint = [](int picture, int x, int y) {
        const int dx = x - 1024;
        const int dy = y - 1024;
        if (dx * dx + dy * dy > 1000 * 1000)
            return test::Colour{0, 0, 0};
        const double wave = ((x + 3 * picture) / 16 % 16 + (y + picture) / 16 % 16) * 6.0;
        return test::Colour{40 + wave, 220 - wave, 90 + wave / 2};
    };
    return test::MakeClipPieces(options);
}

/// Feeds the players like cameras, a picture every 40 ms.
void Feed(const std::vector<test::TestPlayer*>& players, const std::vector<test::Bytes>& clip,
          double seconds)
{
    auto due = std::chrono::steady_clock::now();
    const int pictures = static_cast<int>(seconds * 25);
    for (int picture = 0; picture < pictures; ++picture) {
        std::this_thread::sleep_until(due);
        due += std::chrono::milliseconds(40);
        for (test::TestPlayer* player : players)
            player->Put(clip[static_cast<std::size_t>(picture) % clip.size()]);
    }
}

void Report(const char* name, const test::TestPlayer& player)
{
    const RvVideoParam param = player.Describe();
    std::printf("%s: decode %.1f ms, draw %.1f ms, last byte to pixels %.1f ms, %lld shown, %lld "
                "left out, memory %.0f MB\n",
                name, param.dDecodeMs, param.dDrawMs, param.dLatencyMs,
                static_cast<long long>(param.llShown), static_cast<long long>(param.llDropped),
                MemoryMb());
}

}  // namespace

int main(int count, char** arguments)
{
    const double seconds = count > 1 ? std::atof(arguments[1]) : 10.0;
    const std::vector<test::Bytes> clip = Clip();
    const double before = MemoryMb();
    test::TestPlayer first;
    LayOut(first);
    Feed({&first}, clip, 2.0);  // everything is allocated
    const double cpu = ProcessorSeconds();
    Feed({&first}, clip, seconds);
    std::printf("one player: %.2f of a core, %.0f MB beyond the clip's own\n",
                (ProcessorSeconds() - cpu) / seconds, MemoryMb() - before);
    Report("first player", first);
    const double alone = MemoryMb();
    test::TestPlayer second;
    LayOut(second);
    Feed({&first, &second}, clip, 3.0);
    std::printf("a second player: %.0f MB more\n", MemoryMb() - alone);
    Report("second player", second);
    return 0;
}
