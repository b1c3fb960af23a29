// Colour metadata is decided here, once; swscale only changes the sampling and the depth and keeps
// range and matrix as they are.
#include "engine/media/Picture.h"

#include <utility>

extern "C" {
#include <libavutil/pixdesc.h>
}

namespace engine {

namespace {

/// The formats that say "full range" by their name, and what they are called without it.
AVPixelFormat WithoutRange(int format)
{
    switch (format) {
    case AV_PIX_FMT_YUVJ420P:
        return AV_PIX_FMT_YUV420P;
    case AV_PIX_FMT_YUVJ422P:
        return AV_PIX_FMT_YUV422P;
    case AV_PIX_FMT_YUVJ444P:
        return AV_PIX_FMT_YUV444P;
    case AV_PIX_FMT_YUVJ440P:
        return AV_PIX_FMT_YUV440P;
    case AV_PIX_FMT_YUVJ411P:
        return AV_PIX_FMT_YUV411P;
    default:
        return static_cast<AVPixelFormat>(format);
    }
}

bool IsFullRange(const AVFrame& frame, bool jpeg)
{
    return WithoutRange(frame.format) != frame.format || frame.color_range == AVCOL_RANGE_JPEG ||
           (jpeg && frame.color_range == AVCOL_RANGE_UNSPECIFIED);
}

bool IsBt709(const AVFrame& frame, bool jpeg)
{
    switch (frame.colorspace) {
    case AVCOL_SPC_BT709:
        return true;
    case AVCOL_SPC_BT470BG:
    case AVCOL_SPC_SMPTE170M:
    case AVCOL_SPC_FCC:
        return false;
    default:
        return !jpeg && (frame.height >= 720 || frame.width >= 1280);
    }
}

}  // namespace

Picture PictureMaker::Make(FramePtr frame, bool jpeg)
{
    Picture picture;
    const AVPixFmtDescriptor* format =
        av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame->format));
    if (!format || frame->width <= 0 || frame->height <= 0)
        return picture;
    const bool rgb = format->flags & AV_PIX_FMT_FLAG_RGB;
    picture.fullRange = rgb || IsFullRange(*frame, jpeg);
    picture.bt709 = rgb || IsBt709(*frame, jpeg);
    picture.centredChroma = frame->chroma_location == AVCHROMA_LOC_CENTER ||
                            (jpeg && frame->chroma_location == AVCHROMA_LOC_UNSPECIFIED);
    picture.interleavedChroma = frame->format == AV_PIX_FMT_NV12;
    const bool plain = frame->format == AV_PIX_FMT_YUV420P ||
                       frame->format == AV_PIX_FMT_YUVJ420P || picture.interleavedChroma;
    if (!plain)
        frame = Convert(*frame, rgb, picture.fullRange, picture.bt709);
    if (frame)
        picture.frame = std::shared_ptr<const AVFrame>(std::move(frame));
    return picture;
}

FramePtr PictureMaker::Convert(const AVFrame& frame, bool rgb, bool fullRange, bool bt709)
{
    FramePtr target(av_frame_alloc());
    if (!target)
        return nullptr;
    target->format = AV_PIX_FMT_YUV420P;
    target->width = frame.width;
    target->height = frame.height;
    if (!m_pool.Allocate(*target, frame.width, frame.height))
        return nullptr;
    m_scaler.reset(sws_getCachedContext(m_scaler.release(), frame.width, frame.height,
                                        WithoutRange(frame.format), frame.width, frame.height,
                                        AV_PIX_FMT_YUV420P, SWS_BILINEAR | SWS_ACCURATE_RND,
                                        nullptr, nullptr, nullptr));
    if (!m_scaler)
        return nullptr;
    const int* matrix = sws_getCoefficients(bt709 ? SWS_CS_ITU709 : SWS_CS_ITU601);
    sws_setColorspaceDetails(m_scaler.get(), matrix, rgb || fullRange, matrix, fullRange, 0,
                             1 << 16, 1 << 16);
    const int rows = sws_scale(m_scaler.get(), frame.data, frame.linesize, 0, frame.height,
                               target->data, target->linesize);
    return rows == frame.height ? std::move(target) : nullptr;
}

}  // namespace engine
