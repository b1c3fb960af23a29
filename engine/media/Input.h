// What a demuxer or parser reads: the bytes of one stream out of the queue, up to where the stream
// ends or another begins.
#pragma once

#include <vector>

#include "engine/media/ByteQueue.h"
#include "engine/media/Container.h"
#include "engine/media/PictureEnd.h"

namespace engine {

/// One reader's view of a ByteQueue. Used by the decode thread alone.
class Input
{
public:
    /// Why there are no bytes. All but Idle last until Begin.
    enum class Stop
    {
        None,
        Idle,       ///< the bytes read end with a whole picture and no more have come yet
        End,        ///< the client's end mark
        Cleared,    ///< the client cleared the buffer
        Closed,     ///< the player goes away
        NewHeader,  ///< another stream begins here
        Barren,     ///< too many bytes without one picture
    };

    explicit Input(ByteQueue& queue) : m_queue(queue) {}

    /// Forgets the stream read so far and waits until the beginning of one is there. The container
    /// found, or Unknown with a StopReason of End, Cleared or Closed.
    Container Begin(Container expected);

    /// Reads at least one byte, 0 where reading stops: see StopReason.
    std::size_t Read(std::uint8_t* target, std::size_t size);

    Stop StopReason() const { return m_stop; }

    /// Goes on after Idle.
    void Resume();
    /// Whether Read may stop with Idle.
    void AllowIdle(bool allow) { m_allowIdle = allow; }
    void SetPeriod(Clock::duration period) { m_period = period; }

    bool HasMore() const { return m_next < m_limit || m_queue.Size() > 0; }

    /// A picture came out of the bytes: they are not barren.
    void PictureSeen() { m_barren = 0; }

    /// Whether bytes were waited for since the last call: the picture that they make is live.
    bool TakeWaited();
    /// Whether the client was refused a block since the last call: it puts faster than is played.
    bool TakeRefused();
    /// When the newest byte that was read was put.
    Clock::time_point PutAt() const { return m_putAt; }

private:
    bool Pull(Clock::time_point deadline);
    void WatchForHeader(std::size_t fresh);

    static constexpr std::size_t CHUNK = 16 * 1024;

    ByteQueue& m_queue;
    std::vector<std::uint8_t> m_bytes;  ///< history, then what is to be read from m_next on
    std::size_t m_next = 0;
    std::size_t m_limit = 0;     ///< bytes of m_bytes that belong to this stream
    bool m_headerAhead = false;  ///< another stream begins at m_limit
    Stop m_stop = Stop::None;
    Container m_container = Container::Unknown;
    PictureEnd m_pictureEnd;
    bool m_allowIdle = false;
    bool m_waited = false;
    bool m_refused = false;
    Clock::duration m_period = std::chrono::milliseconds(40);
    Clock::time_point m_putAt{};
    std::size_t m_barren = 0;
    bool m_atHeader = true;  ///< m_bytes begins with the stream's own header
};

}  // namespace engine
