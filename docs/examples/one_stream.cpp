// The road of one stream through the library, as a complete client.
//
//     one_stream [FILE]
//
// FILE is fed as it is; without one, the stream is a single block of zeros. The windows are made-up
// handles; a Qt client passes reinterpret_cast<void*>(widget->winId()).
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include "VideoPlayer_FishEye/CLS_FishPlayer.h"

namespace {

// The overlay. The library calls KeepOutlines every 40 ms on a thread of its own. It leaves the
// outlines for others and returns: it must neither take long nor stop the thread that it runs on.
std::mutex s_mutex;
std::condition_variable s_arrived;
DrawOutlines s_outlines;
bool s_haveOutlines = false;

int KeepOutlines(int, int, DrawOutlines outlines)
{
    const std::lock_guard<std::mutex> lock(s_mutex);
    s_outlines = std::move(outlines);
    s_haveOutlines = true;
    s_arrived.notify_all();
    return 0;
}

/// The next outlines, or none when the library sends nothing.
DrawOutlines NextOutlines()
{
    std::unique_lock<std::mutex> lock(s_mutex);
    s_haveOutlines = false;
    s_arrived.wait_for(lock, std::chrono::seconds(10), [] { return s_haveOutlines; });
    return s_outlines;
}

void* Window(std::intptr_t handle)
{
    return reinterpret_cast<void*>(handle);
}

/// The stream header: its own length as int32, then eight bytes for the engine. Zeros let the open
/// engine find out by itself what the stream is.
std::vector<unsigned char> StreamHeader()
{
    const std::int32_t size = 12;
    std::vector<unsigned char> header(size);
    std::memcpy(header.data(), &size, sizeof(size));
    return header;
}

/// Feeds one block. The open engine answers -3 while its buffer is full: nothing was taken, and the
/// block is offered again.
int Feed(int player, unsigned char* data, int size)
{
    for (;;) {
        const int code =
            CLS_FishPlayer::GetInstance()->FishPlayer_PutStreamToPlayer(player, 0, data, size);
        if (-3 != code)
            return code;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
}

int FeedFile(int player, const char* path)
{
    std::ifstream file(path, std::ios::binary);
    if (!file)
        return -1;
    std::vector<char> block(64 * 1024);
    while (file.read(block.data(), static_cast<std::streamsize>(block.size())) ||
           file.gcount() > 0) {
        const int code = Feed(player, reinterpret_cast<unsigned char*>(block.data()),
                              static_cast<int>(file.gcount()));
        if (code < 0)
            return code;
    }
    return 0;
}

bool Succeeded(const char* step, int code)
{
    std::printf("%-60s %d\n", step, code);
    return code >= 0;
}

/// Everything between creation and deletion.
bool UsePlayer(int player, const STRUCT_FishEyeParam& camera, const char* path)
{
    CLS_FishPlayer* const library = CLS_FishPlayer::GetInstance();

    // Before the layout: it starts the overlay thread, which logs a line for every cycle in which
    // it finds no callback.
    if (!Succeeded("register the draw callback",
                   library->FishPlayer_RegisterDrawCallback(player, KeepOutlines)))
        return false;

    // The layout: windows by kind of view, and the overlay on the panorama. The main window shows
    // the fisheye picture meanwhile.
    const QMap<int, QVector<void*>> windows{
        {CORRECT_TYPE_360, {Window(2)}},
        {CORRECT_TYPE_PTZ, {Window(3), Window(4), Window(5)}},
    };
    const STRUCT_FishDrawParam overlay{CORRECT_TYPE_360, n_DrawType_Fec};
    QMap<int, QVector<int>> ids;  // asked for, and never written
    if (!Succeeded("lay out a panorama and three PTZ views",
                   library->FishPlayer_CreateSubPlayer(camera, player, windows, ids, overlay)))
        return false;

    // Stream data, in blocks of any size.
    std::vector<unsigned char> zeros(1024);
    const int fed = nullptr == path ? Feed(player, zeros.data(), static_cast<int>(zeros.size()))
                                    : FeedFile(player, path);
    if (!Succeeded("feed the stream", fed))
        return false;

    // Commands: the first PTZ view turns right by an eighth of a circle, and a mouse drag by 40
    // pixels in a window 640 pixels wide turns the panorama by 22 degrees.
    const STRUCT_CtlParam turn{2500, 0, 0};
    if (!Succeeded("turn the first PTZ view",
                   library->FishPlayer_PTZCtl(player, 0, turn, n_PTZCtl_Right)))
        return false;
    const STRUCT_CtlParam drag{40, 0, 0};
    if (!Succeeded("drag the panorama",
                   library->FishPlayer_CorrectWindowCtl(player, CORRECT_TYPE_360, drag,
                                                        n_CtlCmd_Move, {640, 160})))
        return false;

    // Outlines: for each PTZ view polylines in fractions of the panorama, ready to draw.
    const DrawOutlines outlines = NextOutlines();
    return Succeeded("PTZ views whose outline came", outlines.isEmpty() ? -1 : outlines.size());
}

}  // namespace

int main(int argc, char** argv)
{
    CLS_FishPlayer* const library = CLS_FishPlayer::GetInstance();  // opens the engine

    // A ceiling camera; outlines are wanted on the panorama.
    const STRUCT_FishEyeParam camera{3, CORRECT_TYPE_360};
    std::vector<unsigned char> header = StreamHeader();
    int player = -1;
    QMap<int, QVector<int>> ids;
    const bool created =
        Succeeded("create the player", library->FishPlayer_CreatePlayerFromStream(
                                           camera, Window(1), {}, 0, header.data(),
                                           static_cast<int>(header.size()), &player, ids, {0, 0}));
    const bool used = created && UsePlayer(player, camera, argc > 1 ? argv[1] : nullptr);

    // Nothing is deleted at the end of the process: whoever has an id deletes its player. It may be
    // there although the creation failed, when only the views were refused.
    if (player < 0)
        return 1;
    const bool deleted =
        Succeeded("delete the player", library->FishPlayer_DeleteAllPlayer(player));
    return used && deleted ? 0 : 1;
}
