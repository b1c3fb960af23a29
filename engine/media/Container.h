// Which container or elementary stream bytes are, told from the bytes themselves. The engine's own
// search needs few bytes, finds a stream's beginning anywhere among rubbish, and tries only formats
// that the engine plays.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

namespace engine {

enum class Container
{
    Unknown,
    MpegTs,
    Matroska,
    Mp4,
    H264,
    H265,
    Mjpeg
};

/// Elementary streams are parsed by the engine, the others opened by FFmpeg's demuxer.
constexpr bool IsElementary(Container container)
{
    return container == Container::H264 || container == Container::H265 ||
           container == Container::Mjpeg;
}

/// The container of a stream description's FourCC; Unknown = find it from the data.
Container ContainerOf(const std::uint8_t (&fourCc)[4]);

/// Four letters for a container ("MPTS", "MKV ", "MP4 ", "H264", "H265", "MJPG"), zeros for
/// Unknown; static storage.
const char* FourCcOf(Container container);

struct FoundContainer
{
    Container container;
    std::size_t offset;  ///< where its first byte lies
};

/// Bytes that FindContainer may need to see to decide about a place among them.
constexpr std::size_t CONTAINER_WINDOW = 1024;

/// The first place at which a stream of the expected container begins, of any container for
/// Unknown. Nothing while the bytes do not tell.
std::optional<FoundContainer> FindContainer(const std::uint8_t* data, std::size_t size,
                                            Container expected);

/// The first place from `from` on at which the header of a Matroska or MP4 stream lies whole: a
/// stream that begins anew within another.
std::optional<std::size_t> FindFileHeader(const std::uint8_t* data, std::size_t size,
                                          std::size_t from);

/// Bytes of a file header that FindFileHeader needs to see.
constexpr std::size_t FILE_HEADER_WINDOW = 64;

}  // namespace engine
