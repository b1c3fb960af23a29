// Small clips of known pictures, encoded and multiplexed in memory.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/pixfmt.h>
}

namespace test {

struct Colour
{
    double r, g, b;  // 0..255
};

using Bytes = std::vector<std::uint8_t>;

enum class Tracks
{
    Pictures,
    PicturesAndSound,  // and subtitles
    Sound              // and subtitles, no pictures
};

struct ClipOptions
{
    std::string format = "mpegts";     // muxer: mpegts, matroska, mp4, h264, hevc, mjpeg
    Tracks tracks = Tracks::Pictures;  // all but the first: mpegts, matroska
    AVCodecID codec = AV_CODEC_ID_H264;
    AVPixelFormat pixels = AV_PIX_FMT_YUV420P;
    AVColorRange range = AVCOL_RANGE_MPEG;
    AVColorSpace matrix = AVCOL_SPC_BT709;
    bool tagged = true;  // the stream tells the matrix
    int width = 256;
    int height = 256;
    int pictures = 10;
    AVRational rate = {25, 1};  // pictures per second
    int keyInterval = 10;
    int bPictures = 0;             // in a row, that no other picture needs
    int firstPicture = 0;          // time stamps begin here
    bool inDecodingOrder = false;  // are the time stamps, as of writers that know no other
    // How an mp4 is made of fragments: FFmpeg's movflags.
    std::string fragments = "frag_every_frame+empty_moov+default_base_moof";
    bool lossless = false;  // H.264 alone
    // Bits per second, coded as thoroughly as a camera does; 0: quickly, and as many as it takes.
    std::int64_t bitRate = 0;
    // The colour of a pixel; `picture` counts from 0.
    std::function<Colour(int picture, int x, int y)> paint = [](int, int x, int) {
        return x < 128 ? Colour{200, 40, 40} : Colour{40, 60, 190};
    };
};

/// The clip's bytes, in the pieces in which a live sender puts them: one for each picture (the
/// first with the container's header). Throws std::runtime_error where FFmpeg cannot.
std::vector<Bytes> MakeClipPieces(const ClipOptions& options);

Bytes MakeClip(const ClipOptions& options);

/// A container (that of the first) of several programmes, or tracks where it knows none. They begin
/// together and need not be of one length.
Bytes MakeProgrammes(const std::vector<ClipOptions>& programmes);

}  // namespace test
