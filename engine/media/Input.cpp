// The bytes at hand are kept with a little history, so that a header which lies across two reads is
// found whole and handed to the next demuxer whole.
#include "engine/media/Input.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace engine {

namespace {
/// No picture of a camera takes this many bytes; whoever reads so many without one is out of step.
constexpr std::size_t MAX_BARREN = std::size_t{16} << 20;
/// So many bytes without the container that the client named: then any other is taken.
constexpr std::size_t MAX_DOUBT = 4 * CONTAINER_WINDOW;
}  // namespace

Container Input::Begin(Container expected)
{
    m_bytes.erase(m_bytes.begin(), m_bytes.begin() + static_cast<std::ptrdiff_t>(m_next));
    m_next = 0;
    m_headerAhead = false;
    m_stop = Stop::None;
    m_barren = 0;
    m_atHeader = true;
    while (true) {
        auto found = FindContainer(m_bytes.data(), m_bytes.size(), expected);
        if (!found && m_bytes.size() >= MAX_DOUBT)
            found = FindContainer(m_bytes.data(), m_bytes.size(), Container::Unknown);
        if (found) {
            m_bytes.erase(m_bytes.begin(),
                          m_bytes.begin() + static_cast<std::ptrdiff_t>(found->offset));
            m_container = found->container;
            m_pictureEnd = PictureEnd(m_container);
            const std::size_t fresh = m_bytes.size();
            m_limit = fresh;
            m_pictureEnd.Feed(m_bytes.data(), fresh);
            WatchForHeader(fresh);
            return m_container;
        }
        if (m_bytes.size() >= MAX_DOUBT)
            m_bytes.erase(m_bytes.begin(), m_bytes.end() - CONTAINER_WINDOW);
        if (!Pull(Clock::time_point::max())) {
            m_bytes.clear();
            m_next = m_limit = 0;
            return Container::Unknown;
        }
    }
}

std::size_t Input::Read(std::uint8_t* target, std::size_t size)
{
    if (m_stop != Stop::None)
        return 0;
    if (m_next == m_limit && m_headerAhead) {
        m_stop = Stop::NewHeader;
        return 0;
    }
    if (m_next == m_limit) {
        const std::size_t history = std::min(m_next, FILE_HEADER_WINDOW);
        m_atHeader = m_atHeader && history == m_next;
        m_bytes.erase(m_bytes.begin(),
                      m_bytes.begin() + static_cast<std::ptrdiff_t>(m_next - history));
        m_next = m_limit = history;
        const Clock::duration patience =
            m_allowIdle ? m_pictureEnd.Patience(m_period) : Clock::duration::max();
        const bool forEver = patience == Clock::duration::max();
        if (!Pull(forEver ? Clock::time_point::max() : Clock::now() + patience))
            return 0;
        const std::size_t fresh = m_bytes.size() - m_next;
        m_limit = m_bytes.size();
        m_pictureEnd.Feed(m_bytes.data() + m_next, fresh);
        WatchForHeader(fresh);
        if (m_next >= m_limit)  // the header began in what was already read
            return Read(target, size);
    }
    const std::size_t taken = std::min(size, m_limit - m_next);
    std::memcpy(target, m_bytes.data() + m_next, taken);
    m_next += taken;
    m_barren += taken;
    if (m_barren > MAX_BARREN)
        m_stop = Stop::Barren;
    return taken;
}

bool Input::Pull(Clock::time_point deadline)
{
    const std::size_t size = m_bytes.size();
    m_bytes.resize(size + CHUNK);
    const ByteQueue::Read read = m_queue.Take(m_bytes.data() + size, CHUNK, deadline);
    m_bytes.resize(size + read.size);
    m_putAt = read.putAt;
    m_refused = m_refused || read.refused;
    switch (read.status) {
    case ByteQueue::Status::Data:
        m_waited = m_waited || read.waited;
        return true;
    case ByteQueue::Status::Timeout:
        m_stop = Stop::Idle;
        break;
    case ByteQueue::Status::End:
        m_stop = Stop::End;
        break;
    case ByteQueue::Status::Cleared:
        m_stop = Stop::Cleared;
        break;
    case ByteQueue::Status::Closed:
        m_stop = Stop::Closed;
        break;
    }
    m_limit = m_next = m_bytes.size();
    return false;
}

void Input::WatchForHeader(std::size_t fresh)
{
    if (m_container != Container::Matroska && m_container != Container::Mp4)
        return;
    // A header whose last byte has just come begins at most a window before the fresh bytes.
    const std::size_t before = m_bytes.size() - fresh;
    const std::size_t from = std::max<std::size_t>(
        before - std::min(before, FILE_HEADER_WINDOW - 1), m_atHeader ? 1 : 0);
    if (const auto header = FindFileHeader(m_bytes.data(), m_bytes.size(), from)) {
        m_limit = *header;
        m_headerAhead = true;
        m_next = std::min(m_next, m_limit);
    }
}

void Input::Resume()
{
    if (m_stop == Stop::Idle) {
        m_stop = Stop::None;
        m_pictureEnd.Taken();
    }
}

bool Input::TakeRefused()
{
    return std::exchange(m_refused, false);
}

bool Input::TakeWaited()
{
    return std::exchange(m_waited, false);
}

}  // namespace engine
