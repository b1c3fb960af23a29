// What a whole process costs that plays one live stream with the usual layout: fisheye 640x640,
// panorama 2048x512 and eight pan/tilt/zoom views of 640x480, all with callbacks, from a stream of
// 2048x2048 at 25 pictures a second. Prints processor use, memory and latency, and the processor
// use of the `ffmpeg` program that plays the same stream into the same number of views of the same
// sizes; a second player shows what each further one costs.
//   engine_bench [seconds]
#include <dlfcn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "tests/engine/EngineUnderTest.h"

namespace {

/// Of this process (RUSAGE_SELF) or of those that it waited for (RUSAGE_CHILDREN).
double ProcessorSeconds(int who = RUSAGE_SELF)
{
    rusage usage{};
    getrusage(who, &usage);
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
    options.bitRate = 6'200'000;  // what cameras send of this size
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

/// The layout as ffmpeg's filters: scaled, v360 for the others.
std::string FfmpegViews()
{
    std::ostringstream text;
    text << "[0:v]split=10";
    for (int i = 0; i < 10; ++i)
        text << "[i" << i << ']';
    const char* const fisheye = "v360=input=fisheye:ih_fov=180:iv_fov=180:interp=linear";
    text << ";[i0]scale=640:640:flags=bilinear,format=bgra[o0];[i1]" << fisheye
         << ":output=equirect:pitch=90:w=2048:h=512,format=bgra[o1]";
    for (int i = 2; i < 10; ++i)
        text << ";[i" << i << ']' << fisheye
             << ":output=flat:h_fov=106.26:v_fov=90:pitch=50:yaw=" << (i - 2) * 45 - 180
             << ":w=640:h=480,format=bgra[o" << i << ']';
    return text.str();
}

/// Processor time that ffmpeg takes for a second of the stream and its views; below 0 where it does
/// not run.
double FfmpegSeconds(const std::vector<test::Bytes>& clip, double seconds)
{
    char name[] = "play-layout-XXXXXX.ts";
    const int file = mkstemps(name, 3);
    if (file < 0)
        return -1.0;
    for (const test::Bytes& piece : clip) {
        if (write(file, piece.data(), piece.size()) != static_cast<ssize_t>(piece.size()))
            std::perror(name);
    }
    close(file);
    std::vector<std::string> words = {"ffmpeg", "-nostdin",        "-v",         "quiet",
                                      "-re",    "-stream_loop",    "-1",         "-i",
                                      name,     "-filter_complex", FfmpegViews()};
    for (int i = 0; i < 10; ++i)
        for (const std::string& word :
             {std::string("-map"), "[o" + std::to_string(i) + ']', std::string("-t"),
              std::to_string(seconds), std::string("-f"), std::string("null"), std::string("-")})
            words.push_back(word);
    std::vector<char*> arguments;
    for (std::string& word : words)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);
    const double before = ProcessorSeconds(RUSAGE_CHILDREN);
    const pid_t child = fork();
    if (child == 0) {
        execvp(arguments[0], arguments.data());
        _exit(127);
    }
    int status = -1;
    waitpid(child, &status, 0);
    unlink(name);
    return status == 0 ? (ProcessorSeconds(RUSAGE_CHILDREN) - before) / seconds : -1.0;
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
    std::size_t bytes = 0;
    for (const test::Bytes& piece : clip)
        bytes += piece.size();
    std::printf("stream: H.264 2048x2048, 25 pictures a second, %.1f Mbit/s\n",
                static_cast<double>(bytes) * 8e-6);
    const double before = MemoryMb();
    test::TestPlayer first;
    LayOut(first);
    Feed({&first}, clip, 2.0);  // everything is allocated
    const double cpu = ProcessorSeconds();
    Feed({&first}, clip, seconds);
    std::printf("one player: %.2f of a core, %.0f MB beyond the clip's own\n",
                (ProcessorSeconds() - cpu) / seconds, MemoryMb() - before);
    Report("first player", first);
    const double ffmpeg = FfmpegSeconds(clip, seconds);
    if (ffmpeg >= 0.0)
        std::printf("ffmpeg with the same views: %.2f of a core\n", ffmpeg);
    else
        std::printf("ffmpeg does not run\n");
    const double alone = MemoryMb();
    test::TestPlayer second;
    LayOut(second);
    Feed({&first, &second}, clip, 3.0);
    std::printf("a second player: %.0f MB more\n", MemoryMb() - alone);
    Report("second player", second);
    return 0;
}
