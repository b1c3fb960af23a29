// FFmpeg's demuxer over an Input: container bytes to packets of the video stream.
#pragma once

#include <memory>

#include "engine/media/AvHandles.h"
#include "engine/media/Container.h"
#include "engine/media/Input.h"
#include "engine/media/Mp4Fragments.h"

namespace engine {

/// Demuxes one stream. Used by the decode thread alone.
class Demuxer
{
public:
    enum class Result
    {
        Packet,   ///< a packet of the video stream
        Idle,     ///< the input stopped with Idle and everything before it has been given out
        Stopped,  ///< the input stopped otherwise and everything before it has been given out
        Broken,   ///< the demuxer cannot go on
    };

    /// @param mostPackets after so many, a fragmented MP4 is demuxed anew from its next fragment
    explicit Demuxer(Input& input, int mostPackets = 20000)
        : m_input(input), m_fragments(input), m_mostPackets(mostPackets)
    {}

    /// Reads the container's header; false where it is none, or the input stopped before its end.
    bool Open(Container container);

    Result Next(AVPacket& packet);

    /// The video stream of the last packet, until Next is called again; its index stays.
    const AVStream* Stream() const { return m_stream; }

private:
    struct Closer
    {
        void operator()(AVFormatContext* context) const;
    };

    bool OpenAt(Container container, std::int64_t position);
    bool OpenAnew();
    static int ReadBytes(void* self, std::uint8_t* target, int size);
    bool IsOurs(const AVPacket& packet);

    Input& m_input;
    Mp4Fragments m_fragments;
    const int m_mostPackets;
    int m_packets = 0;  ///< of the context
    Container m_container = Container::Unknown;
    std::unique_ptr<AVFormatContext, Closer> m_context;
    const AVStream* m_stream = nullptr;
    int m_errors = 0;   ///< in a row
    int m_foreign = 0;  ///< packets of another video stream since one of ours
};

}  // namespace engine
