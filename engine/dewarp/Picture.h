// The decoded picture as the dewarper takes it: planes that somebody else owns.
#pragma once

#include <cstddef>
#include <cstdint>

namespace dewarp {

/// Both are 8 bit with chroma of half the size both ways, rounded up. Nv12 has one chroma plane of
/// (U, V) byte pairs, I420 a plane of U and a plane of V. Nv12 is the quicker one: the chroma of an
/// I420 picture is interleaved once for each picture. Anything else is converted before; 4:2:2
/// and 4:4:4 pictures lose chroma resolution by that, never luma.
enum class PixelFormat
{
    Nv12,
    I420
};

enum class ColourMatrix
{
    Bt601,
    Bt709
};

/// Where a chroma sample lies between the luma samples across a row (down a column it is always
/// half-way): Left is what MPEG streams have, Centre what JPEG has.
enum class ChromaSite
{
    Left,
    Centre
};

/// The largest width and height of a picture. Coordinates are 16.16 fixed point numbers.
constexpr int kLargestPicture = 16384;

/// A decoded picture. The planes are borrowed and must stay unchanged while the picture is in use.
struct Picture
{
    PixelFormat format = PixelFormat::Nv12;
    ColourMatrix matrix = ColourMatrix::Bt601;
    ChromaSite chromaSite = ChromaSite::Left;
    bool fullRange = false;             ///< luma 0..255 instead of 16..235, chroma likewise
    int width = 0;                      ///< pixels, 1..kLargestPicture
    int height = 0;                     ///< pixels, 1..kLargestPicture
    const std::uint8_t* plane[3] = {};  ///< Nv12: Y, UV; I420: Y, U, V
    int lineSize[3] = {};  ///< bytes from row to row, 0..32767; an odd multiple of 64 is quickest,
                           ///< because rows at a power of two apart compete for the same cache sets
};

/// A line size for rows of `bytes` bytes: the least odd multiple of 64 that holds them.
constexpr int GoodLineSize(int bytes)
{
    const int lines = (bytes + 63) / 64;
    return (lines | 1) * 64;
}

}  // namespace dewarp
