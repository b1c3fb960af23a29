// The same layout as others draw it.
#pragma once

#include <cstdint>
#include <memory>

#include "bench/dewarp/Layout.h"

namespace dewarp::bench {

/// Another way of drawing the layout, with everything that can be prepared prepared.
class Other
{
public:
    virtual ~Other() = default;
    /// Draws one picture; false if it failed.
    virtual bool Draw() = 0;
    /// Pixels of a view that was drawn last, and their line size.
    virtual const std::uint8_t* Pixels(std::size_t view, std::ptrdiff_t& line) const = 0;
};

/// FFmpeg: one filter graph, split to nine v360 filters (linear) and a scale, each ending in BGRA.
/// The picture must be I420.
std::unique_ptr<Other> MakeV360(const Picture& picture, int threads);

/// OpenCV: for each view remap of Y, U and V with fixed point maps, then cvtColor. The picture must
/// be I420. The number of threads is the process's.
std::unique_ptr<Other> MakeOpenCv(const Picture& picture, int threads);

}  // namespace dewarp::bench
