// FFmpeg's demuxer over an Input: container bytes to packets of the video stream.
#pragma once

#include <memory>

#include "engine/media/AvHandles.h"
#include "engine/media/Container.h"
#include "engine/media/Input.h"

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

    explicit Demuxer(Input& input) : m_input(input) {}

    /// Reads the container's header; false where it is none, or the input stopped before its end.
    bool Open(Container container);

    Result Next(AVPacket& packet);

    /// The video stream of the last packet.
    const AVStream* Stream() const { return m_stream; }

private:
    struct Closer
    {
        void operator()(AVFormatContext* context) const;
    };

    static int ReadBytes(void* self, std::uint8_t* target, int size);
    bool IsOurs(const AVPacket& packet);

    Input& m_input;
    std::unique_ptr<AVFormatContext, Closer> m_context;
    const AVStream* m_stream = nullptr;
    int m_errors = 0;   ///< in a row
    int m_foreign = 0;  ///< packets of another video stream since one of ours
};

}  // namespace engine
