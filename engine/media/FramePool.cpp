// One buffer for each picture: luma, then both chroma planes, each followed by some slack.
#include "engine/media/FramePool.h"

#include <cstdint>

namespace engine {

namespace {
/// The kernels and FFmpeg's own read some bytes beyond a plane's end.
constexpr std::size_t SLACK = 256;
constexpr std::size_t ALIGNMENT = 64;
}  // namespace

bool FramePool::Allocate(AVFrame& frame, int width, int height)
{
    const int luma = PictureLineSize(width);
    const int chroma = PictureLineSize((width + 1) / 2);
    const std::size_t lumaSize = static_cast<std::size_t>(luma) * height + SLACK;
    const std::size_t chromaSize = static_cast<std::size_t>(chroma) * ((height + 1) / 2) + SLACK;
    const std::size_t size = lumaSize + 2 * chromaSize + ALIGNMENT;
    if (size != m_size) {
        m_pool.reset(av_buffer_pool_init(size, av_buffer_allocz));
        m_size = m_pool ? size : 0;
    }
    frame.buf[0] = m_pool ? av_buffer_pool_get(m_pool.get()) : nullptr;
    if (!frame.buf[0])
        return false;
    const auto address = reinterpret_cast<std::uintptr_t>(frame.buf[0]->data);
    std::uint8_t* base = frame.buf[0]->data + (ALIGNMENT - address % ALIGNMENT) % ALIGNMENT;
    frame.data[0] = base;
    frame.data[1] = base + lumaSize;
    frame.data[2] = base + lumaSize + chromaSize;
    frame.linesize[0] = luma;
    frame.linesize[1] = frame.linesize[2] = chroma;
    frame.extended_data = frame.data;
    return true;
}

}  // namespace engine
