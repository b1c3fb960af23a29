// Tells whether the bytes seen so far end with a whole picture. A parser knows the end of a picture
// only by the beginning of the next one, which a live stream sends a picture period later; with
// this the last picture is decoded as soon as it is there.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>

#include "engine/media/ByteQueue.h"
#include "engine/media/Container.h"

namespace engine {

/// Watches the bytes of one stream. Not for several threads.
class PictureEnd
{
public:
    explicit PictureEnd(Container container = Container::Unknown) : m_container(container) {}

    void Feed(const std::uint8_t* data, std::size_t size);

    /// How long to wait for further bytes before the picture counts as whole; nothing to wait for
    /// (max) where a picture's end cannot be told or is told by the container itself.
    Clock::duration Patience(Clock::duration period) const;

    /// The picture was taken as whole: not again before further bytes.
    void Taken();

private:
    void FeedPacket();
    bool Ends(std::size_t bytes, bool stuffed);
    void FeedElementary(std::uint8_t byte);
    bool IsLaterSlice() const;
    bool TellsEnd() const;

    Container m_container;
    bool m_taken = false;         ///< no byte since Taken
    bool m_trusted = true;        ///< Taken has never cut a picture of a transport stream
    int m_doubts = 0;             ///< how often Taken has cut a picture of an elementary stream
    std::uint8_t m_head[7] = {};  ///< what came since Taken: a start code and three bytes
    std::size_t m_sinceTaken = sizeof(m_head);  ///< bytes in it; full before the first Taken
    std::uint32_t m_last = 0;                   ///< the last four bytes
    // Transport streams.
    std::uint8_t m_packet[188] = {};
    std::size_t m_packetSize = 0;
    int m_videoPid = -1;
    int m_formerPid = -1;    ///< of the video before it
    bool m_stuffed = false;  ///< the last packet of the video was filled up: it ended a picture
    std::size_t m_left =
        0;  ///< bytes of the picture to come, where its header tells; 0: it does not
    bool m_checkNext = false;
};

}  // namespace engine
