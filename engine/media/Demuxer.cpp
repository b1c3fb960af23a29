// Streams are not searched for their properties beforehand (that would cost a live stream seconds):
// the first packet of a video stream decides.
#include "engine/media/Demuxer.h"

#include <exception>
#include <new>

namespace engine {

namespace {

/// Demuxers step back a few bytes while they read a header, which is only possible within what the
/// buffer still holds: it is only appended to while more than 32 KiB are free, however small the
/// blocks are that come.
constexpr int IO_BUFFER = 256 * 1024;
constexpr int MAX_ERRORS = 32;
/// So many packets of another video stream and none of ours: the programme changed.
constexpr int MAX_FOREIGN = 50;

const char* FormatName(Container container)
{
    switch (container) {
    case Container::MpegTs:
        return "mpegts";
    case Container::Matroska:
        return "matroska";
    default:
        return "mov";
    }
}

bool IsPlayable(AVCodecID codec)
{
    return codec == AV_CODEC_ID_H264 || codec == AV_CODEC_ID_HEVC || codec == AV_CODEC_ID_MJPEG;
}

}  // namespace

void Demuxer::Closer::operator()(AVFormatContext* context) const
{
    AVIOContext* io = context->pb;
    avformat_close_input(&context);
    if (io) {
        av_freep(&io->buffer);
        avio_context_free(&io);
    }
}

bool Demuxer::Open(Container container)
{
    return OpenAt(container, 0);
}

bool Demuxer::OpenAt(Container container, std::int64_t position)
{
    AVFormatContext* context = avformat_alloc_context();
    auto* buffer = static_cast<std::uint8_t*>(av_malloc(IO_BUFFER));
    AVIOContext* io =
        buffer ? avio_alloc_context(buffer, IO_BUFFER, 0, this, ReadBytes, nullptr, nullptr)
               : nullptr;
    if (!context || !io) {
        avformat_free_context(context);
        av_free(buffer);
        avio_context_free(&io);
        throw std::bad_alloc();
    }
    m_container = container;
    io->seekable = 0;
    io->pos = position;
    context->pb = io;
    context->flags |= AVFMT_FLAG_CUSTOM_IO | AVFMT_FLAG_NOPARSE | AVFMT_FLAG_NOBUFFER;
    context->probesize = 256 * 1024;
    // On failure this frees the context and leaves the I/O context alone.
    if (avformat_open_input(&context, "", av_find_input_format(FormatName(container)), nullptr) <
        0) {
        av_freep(&io->buffer);
        avio_context_free(&io);
        return false;
    }
    m_context.reset(context);
    m_packets = 0;
    return true;
}

/// Behind a division of the fragments, with the same streams.
bool Demuxer::OpenAnew()
{
    const int index = m_stream ? m_stream->index : -1;
    if (!OpenAt(m_container, m_fragments.BeginAnew()))
        return false;
    const bool there = index >= 0 && index < static_cast<int>(m_context->nb_streams);
    m_stream = there ? m_context->streams[index] : nullptr;
    return true;
}

int Demuxer::ReadBytes(void* self, std::uint8_t* target, int size)
{
    auto& demuxer = *static_cast<Demuxer*>(self);
    const Input& input = demuxer.m_input;
    const auto most = static_cast<std::size_t>(size);
    std::size_t read = 0;
    try {
        read = demuxer.m_container == Container::Mp4 ? demuxer.m_fragments.Read(target, most)
                                                     : demuxer.m_input.Read(target, most);
    } catch (const std::exception&) {
        return AVERROR(ENOMEM);  // the caller is C
    }
    if (read > 0)
        return static_cast<int>(read);
    return input.StopReason() == Input::Stop::Idle ? AVERROR(EAGAIN) : AVERROR_EOF;
}

Demuxer::Result Demuxer::Next(AVPacket& packet)
{
    while (true) {
        av_packet_unref(&packet);
        const int result = av_read_frame(m_context.get(), &packet);
        const Input::Stop stop = m_input.StopReason();
        if (result >= 0) {
            m_errors = 0;
            if (++m_packets == m_mostPackets)
                m_fragments.Divide();
            if (IsOurs(packet))
                return Result::Packet;
            continue;
        }
        if (m_fragments.IsDivided()) {
            if (OpenAnew())
                continue;
            return m_input.StopReason() == Input::Stop::None ? Result::Broken : Result::Stopped;
        }
        m_context->pb->eof_reached = 0;
        m_context->pb->error = 0;
        if (stop == Input::Stop::Idle)
            return Result::Idle;
        if (stop != Input::Stop::None)
            return Result::Stopped;
        if (result == AVERROR_EOF || ++m_errors > MAX_ERRORS)
            return Result::Broken;
    }
}

bool Demuxer::IsOurs(const AVPacket& packet)
{
    const AVStream* stream = m_context->streams[packet.stream_index];
    if (stream == m_stream) {
        m_foreign = 0;
        return true;
    }
    if (stream->codecpar->codec_type != AVMEDIA_TYPE_VIDEO ||
        !IsPlayable(stream->codecpar->codec_id))
        return false;
    if (m_stream && ++m_foreign <= MAX_FOREIGN)
        return false;
    m_stream = stream;
    m_foreign = 0;
    return true;
}

}  // namespace engine
