// The bounded buffer between the client, which puts bytes, and the decode thread, which reads them.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <mutex>
#include <vector>

namespace engine {

using Clock = std::chrono::steady_clock;

/// A ring of bytes for any number of writers and one reader. Grows up to its capacity with use, and
/// gives a large ring back when it has been read empty.
class ByteQueue
{
public:
    static constexpr std::size_t DEFAULT_CAPACITY = std::size_t{4} << 20;

    enum class Status
    {
        Data,     ///< bytes were read
        Timeout,  ///< nothing came before the deadline
        End,      ///< everything before the end mark has been read; the mark is taken away
        Cleared,  ///< Clear was called since the last read: what comes next is another stream
        Closed,   ///< for ever
    };

    struct Read
    {
        Status status;
        std::size_t size;         ///< bytes read, 1 or more for Data, else 0
        bool waited;              ///< the bytes came while the reader was waiting for them
        bool refused;             ///< since the last read a block was refused for want of room
        Clock::time_point putAt;  ///< when these bytes were put, to within 2 ms
    };

    /// Takes the whole block or nothing. False: it does not fit now, or the end mark has not been
    /// reached by the reader. A block larger than the capacity is taken when the queue is empty.
    bool Put(const std::uint8_t* data, std::size_t size);

    /// Waits for at least one byte, until the deadline, and reads at most `size`: bytes that were
    /// put at one time, so that a picture's bytes tell when they came.
    Read Take(std::uint8_t* target, std::size_t size, Clock::time_point deadline);

    /// Forgets all bytes and the end mark; the reader sees Cleared once.
    void Clear();
    /// Marks the end of the stream after the bytes put so far.
    void MarkEnd();
    /// Ends all waiting, now and later.
    void Close();

    void SetCapacity(std::size_t bytes);
    std::size_t Size() const;

private:
    /// Bytes that were put within 2 ms.
    struct Block
    {
        std::size_t size;
        Clock::time_point putAt;  ///< the first of them
    };

    bool HasNewsLocked() const { return m_size > 0 || m_ended || m_cleared || m_closed; }
    void ReserveLocked(std::size_t bytes);

    mutable std::mutex m_lock;
    std::condition_variable m_news;
    std::vector<std::uint8_t> m_ring;
    std::size_t m_begin = 0;
    std::size_t m_size = 0;
    std::size_t m_capacity = DEFAULT_CAPACITY;
    std::deque<Block> m_blocks;   ///< m_size bytes in all
    Clock::time_point m_putAt{};  ///< of the bytes read last
    bool m_refused = false;
    bool m_ended = false;
    bool m_cleared = false;
    bool m_closed = false;
    bool m_waiting = false;
};

}  // namespace engine
