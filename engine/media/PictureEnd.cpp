// Transport streams: the picture's header tells its length, or else the last packet of a picture is
// filled up with stuffing in its adaptation field, unless the picture happens to fit. JPEG: the
// end-of-image marker. H.264 and H.265: nothing tells, so a pause of half a picture period does;
// where that proves wrong it grows.
#include "engine/media/PictureEnd.h"

#include <algorithm>

namespace engine {

namespace {

/// Bytes of an adaptation field that carry something, its length byte left out.
std::size_t AdaptationContent(const std::uint8_t* field, std::size_t length)
{
    if (length == 0)
        return 0;
    const std::uint8_t flags = field[0];
    std::size_t used = 1;
    used += (flags & 0x10) ? 6 : 0;  // PCR
    used += (flags & 0x08) ? 6 : 0;  // OPCR
    used += (flags & 0x04) ? 1 : 0;  // splice countdown
    if ((flags & 0x02) && used < length)
        used += 1 + std::size_t{field[used]};  // private data
    if ((flags & 0x01) && used < length)
        used += 1 + std::size_t{field[used]};  // extension
    return used;
}

constexpr int MAX_DOUBTS = 6;

}  // namespace

void PictureEnd::Feed(const std::uint8_t* data, std::size_t size)
{
    if (size == 0)
        return;
    m_taken = false;
    if (m_container == Container::MpegTs) {
        const std::uint8_t* const end = data + size;
        while (data != end) {
            if (m_packetSize == 0) {
                data = std::find(data, end, 0x47);  // out of step: wait for a sync byte
                if (data == end)
                    break;
            }
            const std::size_t left = sizeof(m_packet) - m_packetSize;
            const std::size_t count = std::min(left, static_cast<std::size_t>(end - data));
            std::copy_n(data, count, m_packet + m_packetSize);
            data += count;
            m_packetSize += count;
            if (m_packetSize == sizeof(m_packet)) {
                m_packetSize = 0;
                FeedPacket();
            }
        }
    } else if (IsElementary(m_container)) {
        for (std::size_t i = 0; i < size && m_sinceTaken < sizeof(m_head); ++i)
            FeedElementary(data[i]);
        for (std::size_t i = size - std::min<std::size_t>(size, 4); i < size; ++i)
            m_last = m_last << 8 | data[i];
    }
}

void PictureEnd::FeedPacket()
{
    const bool begins = m_packet[1] & 0x40;
    const int pid = (m_packet[1] & 0x1F) << 8 | m_packet[2];
    const bool hasField = m_packet[3] & 0x20;
    const bool hasPayload = m_packet[3] & 0x10;
    const std::size_t fieldLength = hasField ? m_packet[4] : 0;
    const std::size_t payload = 4 + (hasField ? 1 + fieldLength : 0);
    if (!hasPayload || payload + 9 > sizeof(m_packet)) {
        if (hasPayload && pid == m_videoPid)
            m_stuffed = payload <= sizeof(m_packet) && Ends(sizeof(m_packet) - payload, true);
        return;
    }
    const std::uint8_t* pes = m_packet + payload;
    const bool video =
        begins && pes[0] == 0 && pes[1] == 0 && pes[2] == 1 && (pes[3] & 0xF0) == 0xE0;
    if (video && m_videoPid != pid) {
        // Two in turn, or one that begins within the other's picture: none ends where others do.
        if (pid == m_formerPid || (m_videoPid >= 0 && !m_stuffed && !m_checkNext))
            m_trusted = false;
        m_formerPid = m_videoPid;
        m_videoPid = pid;
    }
    if (pid != m_videoPid)
        return;
    // A picture that goes on, or a packet of the stream without a time stamp of its own, behind
    // what was taken as a picture's end: this multiplexer fills up elsewhere too.
    if (m_checkNext && (!begins || !(pes[7] & 0x80)))
        m_trusted = false;
    m_checkNext = false;
    if (begins) {
        const std::size_t length = std::size_t{pes[4]} << 8 | pes[5];
        m_left = length == 0 ? 0 : 6 + length;
    }
    const bool stuffed = hasField && (fieldLength == 0 ||
                                      fieldLength != AdaptationContent(m_packet + 5, fieldLength));
    m_stuffed = Ends(sizeof(m_packet) - payload, stuffed);
}

/// Whether a packet with so many bytes of a picture ends it: by the length told, else by stuffing.
bool PictureEnd::Ends(std::size_t bytes, bool stuffed)
{
    if (m_left == 0)
        return stuffed;
    const bool ends = bytes >= m_left;
    m_left = ends ? 0 : m_left - bytes;
    return ends;
}

void PictureEnd::FeedElementary(std::uint8_t byte)
{
    // What follows a whole picture is a start code, 00 00 01 or 00 00 00 01, and no later slice.
    static constexpr std::uint8_t code[] = {0, 0, 1};
    const bool fits =
        m_sinceTaken >= 3 || byte == code[m_sinceTaken] || (m_sinceTaken == 2 && byte == 0);
    m_head[m_sinceTaken] = byte;
    const bool slice = m_sinceTaken + 1 == sizeof(m_head) && IsLaterSlice();
    if ((!fits || slice) && m_container != Container::Mjpeg) {
        m_doubts = std::min(m_doubts + 1, MAX_DOUBTS);
        m_sinceTaken = sizeof(m_head);
        return;
    }
    ++m_sinceTaken;
}

/// Whether the NAL unit behind Taken is a slice, but not its picture's first: that begins with
/// first_mb_in_slice 0 (H.264), or has first_slice_segment_in_pic_flag (H.265), both a bit 1.
bool PictureEnd::IsLaterSlice() const
{
    if (m_head[2] != 1 && m_head[3] != 1)
        return false;  // more zeros than a start code has
    const std::uint8_t* const unit = m_head + (m_head[2] == 1 ? 3 : 4);
    if (m_container == Container::H264) {
        const int type = unit[0] & 0x1F;
        return (type == 1 || type == 2 || type == 5) && (unit[1] & 0x80) == 0;
    }
    return (unit[0] & 0x40) == 0 && (unit[2] & 0x80) == 0;
}

bool PictureEnd::TellsEnd() const
{
    if (m_container == Container::MpegTs)
        return m_trusted && m_packetSize == 0 && m_stuffed;
    return m_container == Container::Mjpeg && (m_last & 0xFFFF) == 0xFFD9;
}

Clock::duration PictureEnd::Patience(Clock::duration period) const
{
    if (!m_taken && TellsEnd())
        return Clock::duration::zero();
    const bool guess = m_container == Container::H264 || m_container == Container::H265;
    return !m_taken && guess ? period / 2 * (1 << m_doubts) : Clock::duration::max();
}

void PictureEnd::Taken()
{
    m_taken = true;
    m_sinceTaken = 0;
    m_checkNext = true;
    m_stuffed = false;
}

}  // namespace engine
