// A decoded picture as the rest of the engine takes it.
#pragma once

#include <memory>

#include "engine/media/AvHandles.h"
#include "engine/media/ByteQueue.h"
#include "engine/media/FramePool.h"

namespace engine {

/// 8 bits, 4:2:0: three planes (I420) or two (NV12). Immutable; the last owner gives the memory
/// back, from any thread.
struct Picture
{
    std::shared_ptr<const AVFrame> frame;
    bool interleavedChroma = false;  ///< NV12
    bool fullRange = false;          ///< luma 0..255, else 16..235
    bool bt709 = false;              ///< else BT.601
    bool centredChroma = false;      ///< chroma lies between two luma columns, as in JPEG
    double seconds = 0.0;            ///< presentation time in the stream's own time
    bool hasTime = false;            ///< the stream said so
    double period = 0.04;            ///< seconds until the next picture, as far as known
    bool live = false;               ///< its last bytes were waited for
    bool refused = false;            ///< the client found the buffer full since the last picture
    Clock::time_point putAt{};       ///< when its last bytes were put

    int Width() const { return frame->width; }
    int Height() const { return frame->height; }
};

/// Brings decoded frames into the form of a Picture: frames of 8 bit 4:2:0 as they are, all others
/// (10 bits, 4:2:2, 4:4:4, grey, RGB) through swscale. Used by one thread.
class PictureMaker
{
public:
    /// Takes what the frame holds; its colours as tagged, where they are not: BT.601 full range for
    /// JPEG, otherwise limited range, BT.709 from 720 lines or 1280 columns on, below BT.601.
    /// A picture without a frame when there is no memory or the format cannot be converted.
    Picture Make(FramePtr frame, bool jpeg);

private:
    FramePtr Convert(const AVFrame& frame, bool rgb, bool fullRange, bool bt709);

    FramePool m_pool;
    ScalerPtr m_scaler;
};

}  // namespace engine
