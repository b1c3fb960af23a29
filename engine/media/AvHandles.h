// Owners for FFmpeg's objects.
#pragma once

#include <memory>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/buffer.h>
#include <libavutil/frame.h>
#include <libswscale/swscale.h>
}

namespace engine {

/// Frees with one of FFmpeg's functions that take a pointer to the pointer.
template <auto Free>
struct FreeByPointer
{
    template <typename T>
    void operator()(T* object) const
    {
        Free(&object);
    }
};

template <auto Free>
struct FreeDirectly
{
    template <typename T>
    void operator()(T* object) const
    {
        Free(object);
    }
};

using FramePtr = std::unique_ptr<AVFrame, FreeByPointer<av_frame_free>>;
using PacketPtr = std::unique_ptr<AVPacket, FreeByPointer<av_packet_free>>;
using CodecContextPtr = std::unique_ptr<AVCodecContext, FreeByPointer<avcodec_free_context>>;
using ParserPtr = std::unique_ptr<AVCodecParserContext, FreeDirectly<av_parser_close>>;
using BufferPoolPtr = std::unique_ptr<AVBufferPool, FreeByPointer<av_buffer_pool_uninit>>;
using ScalerPtr = std::unique_ptr<SwsContext, FreeDirectly<sws_freeContext>>;

}  // namespace engine
