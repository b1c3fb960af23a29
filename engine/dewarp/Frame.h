// The decoded picture made ready for sampling, once for all views.
#pragma once

#include <cstdint>
#include <memory>

#include "engine/dewarp/Kernels.h"
#include "engine/dewarp/Mesh.h"
#include "engine/dewarp/Picture.h"
#include "engine/dewarp/Pool.h"

namespace dewarp {

/// Memory aligned to cache lines that grows and never shrinks.
class Buffer
{
public:
    /// At least `bytes` bytes: those of the last call, or new ones, all zero, where there is need
    /// for more than ever before.
    std::uint8_t* Reserve(std::size_t bytes);

private:
    struct Free
    {
        void operator()(std::uint8_t* bytes) const;
    };
    std::unique_ptr<std::uint8_t[], Free> m_bytes;
    std::size_t m_size = 0;
};

/// The sizes of a picture that views are sampled from: the picture itself, and, against aliasing,
/// the picture at half and quarter size (means of 2 x 2 pixels). An I420 picture's chroma is
/// interleaved here.
///
/// One thread prepares a frame (with the pool's help); then any number may draw from it, as long as
/// the picture's planes stay as they are.
class Frame
{
public:
    /// @param highestLevel the smallest size that is wanted, 0 full, 1 half, 2 quarter; it is
    /// lowered to what a picture of that size has. Returns false, and prepares nothing, where a
    /// size is outside 1..kLargestPicture, a plane is missing or a line size does not hold a row or
    /// is more than 32767. Allocates only where it needs more room than ever before.
    bool Prepare(Pool& pool, const Picture& picture, int highestLevel,
                 const Kernels& kernels = BestKernels());

    const Level* Levels() const { return m_levels; }
    const ColourTerms& Terms() const { return m_terms; }
    int Width() const { return m_width; }
    int Height() const { return m_height; }

private:
    void PrepareFull(const Picture& picture);
    void PadFull(const Picture& picture);
    void LayOut(int level);
    void HalveRows(const Kernels& kernels, const Picture& picture, int level, int firstRow,
                   int lastRow);
    void HalveLumaRow(const Kernels& kernels, int level, int row, std::uint16_t* out) const;
    void HalveChromaRow(const Kernels& kernels, int level, int row);
    void InterleaveRow(const Kernels& kernels, const Picture& picture, int row);

    Level m_levels[3];
    ColourTerms m_terms{};
    int m_width = 0;
    int m_height = 0;
    bool m_interleave = false;  // the full-size chroma is ours and still to be filled
    Buffer m_luma[3];
    Buffer m_chroma[3];
};

/// A view to be drawn: its mesh and where its pixels go.
struct View
{
    const Mesh* mesh = nullptr;
    std::uint8_t* pixels = nullptr;  ///< BGRA, 4 bytes a pixel, mesh width x height
    std::ptrdiff_t line = 0;  ///< bytes from row to row; multiples of 64, like pixels, are quickest
};

/// Draws the views of a picture with the pool's threads: prepares the frame, then takes every view
/// band by band. Returns false, and draws nothing, where Frame::Prepare refuses the picture. A view
/// whose mesh was built for another picture size, or not at all, is filled with black. The pixels
/// of different views must not overlap. Allocates nothing once the frame has seen a picture of that
/// size.
bool Draw(Pool& pool, Frame& frame, const Picture& picture, const View* views, int count,
          const Kernels& kernels = BestKernels());

}  // namespace dewarp
