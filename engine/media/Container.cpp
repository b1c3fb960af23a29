// One predicate for each format: does a stream of it begin here?
#include "engine/media/Container.h"

#include <algorithm>
#include <cstring>
#include <string_view>

namespace engine {

namespace {

constexpr std::size_t TS_PACKET = 188;

struct FourCcRow
{
    char letters[5];
    Container container;
};

constexpr FourCcRow FOURCCS[] = {
    // The first row of each container is the name that the engine gives it.
    {"MPTS", Container::MpegTs}, {"MKV ", Container::Matroska}, {"MP4 ", Container::Mp4},
    {"H264", Container::H264},   {"H265", Container::H265},     {"MJPG", Container::Mjpeg},
    {"TS  ", Container::MpegTs}, {"WEBM", Container::Matroska}, {"FMP4", Container::Mp4},
    {"AVC1", Container::H264},   {"HEVC", Container::H265},     {"HVC1", Container::H265},
    {"HEV1", Container::H265},   {"JPEG", Container::Mjpeg},
};

bool Matches(const std::uint8_t* data, std::size_t size, std::size_t at, std::string_view bytes)
{
    return at + bytes.size() <= size && std::memcmp(data + at, bytes.data(), bytes.size()) == 0;
}

bool IsMatroska(const std::uint8_t* data, std::size_t size, std::size_t at)
{
    return Matches(data, size, at, "\x1A\x45\xDF\xA3");
}

bool IsMp4(const std::uint8_t* data, std::size_t size, std::size_t at)
{
    return Matches(data, size, at, std::string_view("\0\0", 2)) &&
           (Matches(data, size, at + 4, "ftyp") || Matches(data, size, at + 4, "styp"));
}

/// The start of an image and a segment that may follow it, as far as the next marker where that has
/// come. The first three bytes alone are found in every few megabytes of a compressed stream.
bool IsMjpeg(const std::uint8_t* data, std::size_t size, std::size_t at)
{
    if (!Matches(data, size, at, "\xFF\xD8\xFF"))
        return false;
    at += 2;
    while (at + 1 < size && data[at + 1] == 0xFF)
        ++at;  // any number of fill bytes may stand before a marker
    if (at + 4 > size)
        return false;
    const std::uint8_t segment = data[at + 1];
    const bool follows = (segment >= 0xC0 && segment <= 0xC4) || segment == 0xDB ||
                         segment == 0xDD || (segment >= 0xE0 && segment <= 0xEF) || segment == 0xFE;
    const std::size_t length = std::size_t{data[at + 2]} << 8 | data[at + 3];
    const std::size_t next = at + 2 + length;
    return follows && length >= 2 && (next >= size || data[next] == 0xFF);
}

/// `packets` packets in a row; fewer only when `at` is 0 and no more have come yet, but never below
/// three.
bool IsMpegTs(const std::uint8_t* data, std::size_t size, std::size_t at, std::size_t packets)
{
    std::size_t seen = 0;
    for (; seen < packets && at + seen * TS_PACKET < size; ++seen) {
        if (data[at + seen * TS_PACKET] != 0x47)
            return false;
    }
    return seen == packets;
}

/// The NAL unit behind a start code at `at`, whose first byte tells its kind; null when there is
/// none or its first four bytes are not all there.
const std::uint8_t* NalUnit(const std::uint8_t* data, std::size_t size, std::size_t at)
{
    const std::size_t zeros = Matches(data, size, at, std::string_view("\0\0\0\1", 4)) ? 4 : 3;
    if (zeros == 3 && !Matches(data, size, at, std::string_view("\0\0\1", 3)))
        return nullptr;
    return at + zeros + 4 <= size ? data + at + zeros : nullptr;
}

/// A sequence parameter set of a profile that exists.
bool IsH264(const std::uint8_t* data, std::size_t size, std::size_t at)
{
    const std::uint8_t* nal = NalUnit(data, size, at);
    if (!nal || (nal[0] & 0x9F) != 7 || (nal[0] & 0x60) == 0)
        return false;
    constexpr std::uint8_t profiles[] = {44, 66, 77, 88, 100, 110, 118, 122, 128, 144, 244};
    return std::find(std::begin(profiles), std::end(profiles), nal[1]) != std::end(profiles);
}

/// A video or sequence parameter set of the base layer.
bool IsH265(const std::uint8_t* data, std::size_t size, std::size_t at)
{
    const std::uint8_t* nal = NalUnit(data, size, at);
    return nal && (nal[0] == 0x40 || nal[0] == 0x42) && nal[1] == 0x01;
}

Container At(const std::uint8_t* data, std::size_t size, std::size_t at, std::size_t tsPackets)
{
    if (IsMpegTs(data, size, at, tsPackets))
        return Container::MpegTs;
    if (IsMatroska(data, size, at))
        return Container::Matroska;
    if (IsMp4(data, size, at))
        return Container::Mp4;
    if (IsMjpeg(data, size, at))
        return Container::Mjpeg;
    if (IsH264(data, size, at))
        return Container::H264;
    return IsH265(data, size, at) ? Container::H265 : Container::Unknown;
}

}  // namespace

Container ContainerOf(const std::uint8_t (&fourCc)[4])
{
    for (const FourCcRow& row : FOURCCS) {
        if (std::memcmp(row.letters, fourCc, 4) == 0)
            return row.container;
    }
    return Container::Unknown;
}

const char* FourCcOf(Container container)
{
    for (const FourCcRow& row : FOURCCS) {
        if (row.container == container)
            return row.letters;
    }
    return "\0\0\0\0";
}

std::optional<FoundContainer> FindContainer(const std::uint8_t* data, std::size_t size,
                                            Container expected)
{
    // A transport stream is full of what looks like the beginning of an elementary stream, so until
    // there is enough to know a transport stream by its packets, only the very beginning counts.
    const bool startsWithCode = NalUnit(data, size, 0) != nullptr;
    const bool enough = size >= CONTAINER_WINDOW || startsWithCode;
    for (std::size_t at = 0; at < (enough ? size : std::min<std::size_t>(size, 1)); ++at) {
        const Container container = At(data, size, at, at == 0 ? 3 : 5);
        if (container != Container::Unknown &&
            (expected == Container::Unknown || expected == container))
            return FoundContainer{container, at};
    }
    return std::nullopt;
}

std::optional<std::size_t> FindFileHeader(const std::uint8_t* data, std::size_t size,
                                          std::size_t from)
{
    for (std::size_t at = from; at + FILE_HEADER_WINDOW <= size; ++at) {
        if (IsMp4(data, size, at) && Matches(data, size, at + 4, "ftyp") && data[at + 2] == 0 &&
            data[at + 3] >= 16)
            return at;
        if (!IsMatroska(data, size, at))
            continue;
        const std::string_view header(reinterpret_cast<const char*>(data + at), FILE_HEADER_WINDOW);
        if (header.find("\x42\x82\x88matroska") != header.npos ||
            header.find("\x42\x82\x84webm") != header.npos)
            return at;
    }
    return std::nullopt;
}

}  // namespace engine
