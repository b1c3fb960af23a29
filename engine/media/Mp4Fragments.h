// Fragmented MP4 that is demuxed in several goes: a demuxer that reads it for days keeps a few
// bytes of every sample and fragment that it ever saw.
#pragma once

#include <cstdint>
#include <vector>

#include "engine/media/Input.h"

namespace engine {

/// The bytes of a fragmented MP4 (ISO/IEC 14496-12), which can be begun anew between two fragments.
/// Used by the decode thread alone.
class Mp4Fragments
{
public:
    explicit Mp4Fragments(Input& input) : m_input(input) {}

    /// Reads at least one byte, 0 where reading stops: at a division, else see the input.
    std::size_t Read(std::uint8_t* target, std::size_t size);

    /// Reading is to stop before the next fragment; not where the header is too large to be kept,
    /// or has samples of its own, which would come again.
    void Divide() { m_divides = true; }
    bool IsDivided() const { return m_divided; }

    /// Goes on behind a division with the stream's header, then the next fragment. Fragments may
    /// tell where in the stream they are: returns the position at which the header is to stand for
    /// that.
    std::int64_t BeginAnew();

private:
    bool ReadBoxHead();
    void ForgetHeader();

    static constexpr std::size_t LARGEST_HEADER = 1 << 20;

    Input& m_input;
    std::vector<std::uint8_t> m_header;  ///< what stands before the first fragment
    std::vector<std::uint8_t> m_ahead;   ///< comes before what the input gives
    std::size_t m_given = 0;             ///< of m_ahead
    std::uint8_t m_head[16] = {};        ///< of the box that begins
    std::size_t m_headSize = 0;
    std::uint64_t m_left = 0;     ///< bytes of the box that began
    std::int64_t m_position = 0;  ///< in the stream, of what the input gives next
    bool m_inHeader = true;
    bool m_hadSamples = false;  ///< since the last head of a fragment
    bool m_divides = false;
    bool m_divided = false;
};

}  // namespace engine
