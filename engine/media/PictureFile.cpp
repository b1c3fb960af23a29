// FFmpeg's picture encoders; swscale brings the pixels into the form that each of them takes.
#include "engine/media/PictureFile.h"

#include <cctype>
#include <cstdio>
#include <memory>

#include "engine/media/AvHandles.h"

namespace engine {

namespace {

struct FormatRow
{
    const char* ending;
    AVCodecID codec;
    AVPixelFormat pixels;
};

constexpr FormatRow FORMATS[] = {
    {".png", AV_CODEC_ID_PNG, AV_PIX_FMT_RGB24},
    {".bmp", AV_CODEC_ID_BMP, AV_PIX_FMT_BGR24},
    {".jpg", AV_CODEC_ID_MJPEG, AV_PIX_FMT_YUVJ420P},
    {".jpeg", AV_CODEC_ID_MJPEG, AV_PIX_FMT_YUVJ420P},
};

const FormatRow* FormatOf(const std::string& file)
{
    for (const FormatRow& row : FORMATS) {
        const std::string ending = row.ending;
        if (file.size() < ending.size())
            continue;
        bool same = true;
        for (std::size_t i = 0; i < ending.size(); ++i) {
            const auto letter = static_cast<unsigned char>(file[file.size() - ending.size() + i]);
            same = same && std::tolower(letter) == ending[i];
        }
        if (same)
            return &row;
    }
    return nullptr;
}

FramePtr ToFormat(const std::uint8_t* pixels, int width, int height, AVPixelFormat format)
{
    FramePtr frame(av_frame_alloc());
    if (!frame)
        return nullptr;
    frame->width = width;
    frame->height = height;
    frame->format = format;
    frame->color_range = AVCOL_RANGE_JPEG;
    const ScalerPtr scaler(sws_getContext(width, height, AV_PIX_FMT_BGRA, width, height, format,
                                          SWS_BILINEAR | SWS_ACCURATE_RND, nullptr, nullptr,
                                          nullptr));
    if (!scaler || av_frame_get_buffer(frame.get(), 0) < 0)
        return nullptr;
    const int line = 4 * width;
    return sws_scale(scaler.get(), &pixels, &line, 0, height, frame->data, frame->linesize) ==
                   height
               ? std::move(frame)
               : nullptr;
}

struct CloseFile
{
    void operator()(std::FILE* file) const { std::fclose(file); }
};

}  // namespace

bool WritePicture(const std::string& file, const std::uint8_t* pixels, int width, int height)
{
    const FormatRow* format = FormatOf(file);
    const AVCodec* codec = format ? avcodec_find_encoder(format->codec) : nullptr;
    const CodecContextPtr context(codec ? avcodec_alloc_context3(codec) : nullptr);
    const FramePtr frame = context ? ToFormat(pixels, width, height, format->pixels) : nullptr;
    const PacketPtr packet(av_packet_alloc());
    if (!frame || !packet)
        return false;
    context->width = width;
    context->height = height;
    context->pix_fmt = format->pixels;
    context->color_range = AVCOL_RANGE_JPEG;
    context->time_base = {1, 25};
    context->flags |= AV_CODEC_FLAG_QSCALE;
    context->global_quality = 2 * FF_QP2LAMBDA;
    frame->quality = context->global_quality;
    if (avcodec_open2(context.get(), codec, nullptr) < 0 ||
        avcodec_send_frame(context.get(), frame.get()) < 0 ||
        avcodec_send_frame(context.get(), nullptr) < 0 ||
        avcodec_receive_packet(context.get(), packet.get()) < 0)
        return false;
    std::unique_ptr<std::FILE, CloseFile> target(std::fopen(file.c_str(), "wb"));
    if (!target)
        return false;
    const auto size = static_cast<std::size_t>(packet->size);
    const bool written = std::fwrite(packet->data, 1, size, target.get()) == size;
    return std::fclose(target.release()) == 0 && written;
}

}  // namespace engine
