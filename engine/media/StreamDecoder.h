// Bytes in, pictures out: finds the stream, demuxes, parses and decodes it, and begins anew where
// it breaks off.
#pragma once

#include <atomic>
#include <deque>
#include <optional>

#include "engine/media/AvHandles.h"
#include "engine/media/Demuxer.h"
#include "engine/media/Input.h"
#include "engine/media/Picture.h"

namespace engine {

/// Decodes what a queue holds. Next is called by one thread; the figures may be read by others.
class StreamDecoder
{
public:
    enum class Event
    {
        Picture,
        End,      ///< the end mark: every picture before it has been given out
        Cleared,  ///< the queue was cleared
        Closed,   ///< the queue was closed
    };

    /// `expected`: the container that the client named, or Unknown.
    StreamDecoder(ByteQueue& queue, Container expected);

    /// Waits for the next picture. Damaged data is passed over.
    Event Next(Picture& picture);

    /// Whether bytes that have not been decoded are there. From the thread of Next.
    bool HasMore() const { return !m_pictures.empty() || m_input.HasMore(); }

    /// Decoding falls behind: leave out what no other picture needs. From the thread of Next.
    void Hurry(bool hurry);

    Container ContainerPlayed() const { return m_containerPlayed; }
    AVCodecID CodecPlayed() const { return m_codecPlayed; }
    std::int64_t Errors() const { return m_errors; }
    double DecodeMs() const { return m_decodeMs; }

private:
    std::optional<Event> Advance();
    std::optional<Event> Begin();
    std::optional<Event> AfterStop();
    void Reset();
    bool Ready(AVCodecID codec, const AVCodecParameters* parameters, AVRational timeBase);
    void TakePacket(AVPacket& packet, bool parse);
    std::int64_t DecodeTime(std::int64_t showTime);
    void Parse(const std::uint8_t* data, int size, std::int64_t pts, std::int64_t dts);
    void FlushParser();
    void Decode(const AVPacket* packet);
    void TakeFrame(FramePtr frame);
    static int GetBuffer(AVCodecContext* context, AVFrame* frame, int flags);

    Input m_input;
    Container m_expected;
    Container m_container = Container::Unknown;
    std::unique_ptr<Demuxer> m_demuxer;  ///< none for elementary streams
    int m_streamPlayed = -1;             ///< the demuxer's, of the last packet
    ParserPtr m_parser;
    CodecContextPtr m_codec;
    FramePool m_pool;
    PictureMaker m_maker;
    PacketPtr m_packet;
    PacketPtr m_parsed;
    std::vector<std::uint8_t> m_padded;  ///< bytes for the parser, with its padding
    std::deque<Picture> m_pictures;
    std::optional<Event> m_pending;         ///< to be told after the pictures
    std::vector<std::int64_t> m_showTimes;  ///< of the last packets, in order of time
    double m_period = 0.0;                  ///< measured from time stamps; 0 = not known
    double m_lastSeconds = 0.0;
    bool m_hasLast = false;
    double m_spentMs = 0.0;  ///< decoding since the last picture

    std::atomic<Container> m_containerPlayed{Container::Unknown};
    std::atomic<AVCodecID> m_codecPlayed{AV_CODEC_ID_NONE};
    std::atomic<std::int64_t> m_errors{0};
    std::atomic<double> m_decodeMs{0.0};
};

}  // namespace engine
