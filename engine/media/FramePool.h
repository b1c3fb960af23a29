// Memory of decoded pictures, laid out for the correction kernels: line sizes are odd multiples of
// 64, because rows a power of two apart share their places in the first cache, and the kernels read
// neighbouring rows all the time.
#pragma once

#include <cstddef>

#include "engine/media/AvHandles.h"

namespace engine {

/// The smallest odd multiple of 64 that holds `bytes`.
constexpr int PictureLineSize(int bytes)
{
    const int units = (bytes + 63) / 64;
    return (units % 2 ? units : units + 1) * 64;
}

/// Hands out 4:2:0 pictures of 8 bits (three planes). Used by one thread; the pictures that it gave
/// out live on without it, and their memory comes back to it from any thread.
class FramePool
{
public:
    /// Gives a frame, whose format, width and height are set, planes of at least `width` x `height`
    /// pixels. False without memory.
    bool Allocate(AVFrame& frame, int width, int height);

private:
    BufferPoolPtr m_pool;
    std::size_t m_size = 0;
};

}  // namespace engine
