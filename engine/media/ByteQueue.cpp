// The ring: bytes lie from m_begin on, wrapped round the end of m_ring.
#include "engine/media/ByteQueue.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace engine {

namespace {
constexpr std::size_t FIRST_RING = std::size_t{64} << 10;
/// A ring up to this size is kept when it is empty.
constexpr std::size_t KEPT_RING = std::size_t{512} << 10;
constexpr auto ONE_TIME = std::chrono::milliseconds(2);
}  // namespace

bool ByteQueue::Put(const std::uint8_t* data, std::size_t size)
{
    std::unique_lock lock(m_lock);
    if (m_ended || m_closed)
        return false;
    if (m_size > 0 && m_size + size > m_capacity) {
        m_refused = true;
        return false;
    }
    ReserveLocked(m_size + size);
    const std::size_t end = (m_begin + m_size) % m_ring.size();
    const std::size_t first = std::min(size, m_ring.size() - end);
    std::memcpy(m_ring.data() + end, data, first);
    std::memcpy(m_ring.data(), data + first, size - first);
    const auto now = Clock::now();
    if (!m_blocks.empty() && now - m_blocks.back().putAt < ONE_TIME)
        m_blocks.back().size += size;
    else
        m_blocks.push_back({size, now});
    m_size += size;
    const bool wake = m_waiting;
    lock.unlock();
    if (wake)
        m_news.notify_one();
    return true;
}

ByteQueue::Read ByteQueue::Take(std::uint8_t* target, std::size_t size, Clock::time_point deadline)
{
    std::unique_lock lock(m_lock);
    const bool waited = !HasNewsLocked();
    m_waiting = true;
    if (deadline == Clock::time_point::max())
        m_news.wait(lock, [this] { return HasNewsLocked(); });
    else
        m_news.wait_until(lock, deadline, [this] { return HasNewsLocked(); });
    m_waiting = false;

    const bool refused = std::exchange(m_refused, false);
    if (m_closed)
        return {Status::Closed, 0, waited, refused, m_putAt};
    if (std::exchange(m_cleared, false))
        return {Status::Cleared, 0, waited, refused, m_putAt};
    if (m_size == 0)
        return {std::exchange(m_ended, false) ? Status::End : Status::Timeout, 0, waited, refused,
                m_putAt};

    Block& block = m_blocks.front();
    const std::size_t taken = std::min(size, block.size);
    m_putAt = block.putAt;
    const std::size_t first = std::min(taken, m_ring.size() - m_begin);
    std::memcpy(target, m_ring.data() + m_begin, first);
    std::memcpy(target + first, m_ring.data(), taken - first);
    m_begin = (m_begin + taken) % m_ring.size();
    m_size -= taken;
    block.size -= taken;
    if (block.size == 0)
        m_blocks.pop_front();
    if (m_size == 0 && m_ring.size() > KEPT_RING) {
        std::vector<std::uint8_t>().swap(m_ring);
        m_begin = 0;
    }
    return {Status::Data, taken, waited, refused, m_putAt};
}

void ByteQueue::Clear()
{
    {
        std::lock_guard lock(m_lock);
        m_begin = m_size = 0;
        m_blocks.clear();
        m_ended = false;
        m_cleared = true;
    }
    m_news.notify_one();
}

void ByteQueue::MarkEnd()
{
    {
        std::lock_guard lock(m_lock);
        m_ended = true;
    }
    m_news.notify_one();
}

void ByteQueue::Close()
{
    {
        std::lock_guard lock(m_lock);
        m_closed = true;
    }
    m_news.notify_one();
}

void ByteQueue::SetCapacity(std::size_t bytes)
{
    std::lock_guard lock(m_lock);
    m_capacity = bytes;
}

std::size_t ByteQueue::Size() const
{
    std::lock_guard lock(m_lock);
    return m_size;
}

void ByteQueue::ReserveLocked(std::size_t bytes)
{
    if (bytes <= m_ring.size())
        return;
    std::size_t room = std::max(FIRST_RING, m_ring.size());
    while (room < bytes)
        room *= 2;
    std::vector<std::uint8_t> ring(room);
    const std::size_t first = std::min(m_size, m_ring.size() - m_begin);
    if (m_size > 0) {
        std::memcpy(ring.data(), m_ring.data() + m_begin, first);
        std::memcpy(ring.data() + first, m_ring.data(), m_size - first);
    }
    m_ring.swap(ring);
    m_begin = 0;
}

}  // namespace engine
