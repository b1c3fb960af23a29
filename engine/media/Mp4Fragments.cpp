#include "engine/media/Mp4Fragments.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace engine {

namespace {

std::uint64_t BigEndian(const std::uint8_t* bytes, int count)
{
    std::uint64_t value = 0;
    for (int i = 0; i < count; ++i)
        value = value << 8 | bytes[i];
    return value;
}

}  // namespace

std::size_t Mp4Fragments::Read(std::uint8_t* target, std::size_t size)
{
    if (m_divided || (m_given == m_ahead.size() && m_left == 0 && !ReadBoxHead()))
        return 0;
    if (m_given < m_ahead.size()) {
        const std::size_t taken = std::min(size, m_ahead.size() - m_given);
        std::memcpy(target, m_ahead.data() + m_given, taken);
        m_given += taken;
        return taken;
    }
    const std::size_t read =
        m_input.Read(target, static_cast<std::size_t>(std::min<std::uint64_t>(size, m_left)));
    m_left -= read;
    m_position += static_cast<std::int64_t>(read);
    if (m_inHeader)
        m_header.insert(m_header.end(), target, target + read);
    if (m_header.size() > LARGEST_HEADER)
        ForgetHeader();
    return read;
}

void Mp4Fragments::ForgetHeader()
{
    m_header = {};
    m_inHeader = false;
}

/// False: reading stops, within the head or because a fragment begins that is kept back.
bool Mp4Fragments::ReadBoxHead()
{
    // A 32 bit size of 1 stands for one of 64 bits behind the type, 0 for all that follows.
    const auto wanted = [this] {
        return m_headSize >= 4 && BigEndian(m_head, 4) == 1 ? std::size_t{16} : std::size_t{8};
    };
    while (m_headSize < wanted()) {
        const std::size_t read = m_input.Read(m_head + m_headSize, wanted() - m_headSize);
        if (read == 0)
            return false;
        m_headSize += read;
    }
    const std::uint64_t size = m_headSize == 16 ? BigEndian(m_head + 8, 8) : BigEndian(m_head, 4);
    m_left = size < m_headSize ? std::numeric_limits<std::uint64_t>::max() : size - m_headSize;
    m_position += static_cast<std::int64_t>(m_headSize);
    m_ahead.assign(m_head, m_head + m_headSize);
    m_given = 0;
    m_headSize = 0;
    if (std::memcmp(m_head + 4, "moof", 4) == 0) {
        m_inHeader = false;
        m_divided = m_divides && m_hadSamples && !m_header.empty();
        m_hadSamples = false;
        return !m_divided;
    }
    m_hadSamples = m_hadSamples || std::memcmp(m_head + 4, "mdat", 4) == 0;
    if (m_inHeader && m_hadSamples)
        ForgetHeader();
    if (m_inHeader)
        m_header.insert(m_header.end(), m_ahead.begin(), m_ahead.end());
    return true;
}

std::int64_t Mp4Fragments::BeginAnew()
{
    m_ahead.insert(m_ahead.begin(), m_header.begin(), m_header.end());
    m_divides = m_divided = false;
    return m_position - static_cast<std::int64_t>(m_ahead.size());
}

}  // namespace engine
