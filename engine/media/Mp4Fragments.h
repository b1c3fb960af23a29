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

    /// Reading is to stop before the next fragment; not where the header is too large to be kept.
    void Divide() { m_divides = !m_header.empty(); }
    bool IsDivided() const { return m_divided; }

    /// Goes on behind a division with the stream's header, then the next fragment.
    void BeginAnew();

private:
    bool ReadBoxHead();

    static constexpr std::size_t LARGEST_HEADER = 1 << 20;

    Input& m_input;
    std::vector<std::uint8_t> m_header;  ///< what stands before the first fragment
    std::vector<std::uint8_t> m_ahead;   ///< comes before what the input gives
    std::size_t m_given = 0;             ///< of m_ahead
    std::uint8_t m_head[16] = {};        ///< of the box that begins
    std::size_t m_headSize = 0;
    std::uint64_t m_left = 0;  ///< bytes of the box that began
    bool m_inHeader = true;
    bool m_divides = false;
    bool m_divided = false;
};

}  // namespace engine
