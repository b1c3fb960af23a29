#include "tools/fisheye-clip/Encoder.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <fstream>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/opt.h>
#include <libavutil/pixdesc.h>
#include <libswscale/swscale.h>
}

#include "tools/fisheye-clip/Failure.h"

namespace clip {
namespace {

/// A codec, the encoder that makes it, and how that is told a quality.
struct CodecRow
{
    const char* szName;
    AVCodecID eId;
    const char* szEncoder;
    const char* szPixelFormat;  // unless one is asked for
    bool blFull;                // the range, likewise
    int iBestQuality, iWorstQuality, iUsualQuality;
};

constexpr CodecRow CONST_CODECS[] = {
    {"h264", AV_CODEC_ID_H264, "libx264", "yuv420p", false, 0, 51, 20},
    {"hevc", AV_CODEC_ID_HEVC, "libx265", "yuv420p", false, 0, 51, 22},
    {"mjpeg", AV_CODEC_ID_MJPEG, "mjpeg", "yuvj420p", true, 1, 31, 3},
};

/// What a file's ending stands for. An elementary stream holds its own codec alone.
struct ContainerRow
{
    const char* szEnding;
    const char* szFormat;
    const char* szCodecs;  // the first is the usual one
};

constexpr ContainerRow CONST_CONTAINERS[] = {
    {".ts", "mpegts", "h264 hevc"},     {".mkv", "matroska", "h264 hevc mjpeg"},
    {".mp4", "mp4", "h264 hevc mjpeg"}, {".h264", "h264", "h264"},
    {".264", "h264", "h264"},           {".h265", "hevc", "hevc"},
    {".265", "hevc", "hevc"},           {".hevc", "hevc", "hevc"},
    {".mjpeg", "mjpeg", "mjpeg"},       {".mjpg", "mjpeg", "mjpeg"},
};

bool EndsWith(const std::string& str, const std::string& strEnd)
{
    return str.size() > strEnd.size() &&
           0 == str.compare(str.size() - strEnd.size(), std::string::npos, strEnd);
}

const ContainerRow& ContainerOf(const std::string& strFile)
{
    std::string strKnown;
    for (const ContainerRow& stRow : CONST_CONTAINERS) {
        if (EndsWith(strFile, stRow.szEnding))
            return stRow;
        strKnown += std::string(" ") + stRow.szEnding;
    }
    throw BadUsage("'" + strFile + "' has none of the endings" + strKnown);
}

const CodecRow& CodecOf(const std::string& strFile, const std::string& strWanted)
{
    const ContainerRow& stContainer = ContainerOf(strFile);
    const std::string strCodecs = stContainer.szCodecs;
    const std::string strName =
        strWanted.empty() ? strCodecs.substr(0, strCodecs.find(' ')) : strWanted;
    for (const CodecRow& stRow : CONST_CODECS) {
        if (strName != stRow.szName)
            continue;
        if ((" " + strCodecs + " ").find(" " + strName + " ") == std::string::npos)
            throw BadUsage("a " + std::string(stContainer.szEnding) + " file cannot hold " +
                           strName + ", only " + strCodecs);
        return stRow;
    }
    throw BadUsage("there is no codec '" + strName + "', only h264, hevc and mjpeg");
}

AVPixelFormat PixelFormatOf(const CodecRow& stRow, const AVCodec* pCodec,
                            const std::string& strWanted)
{
    const std::string strName = strWanted.empty() ? stRow.szPixelFormat : strWanted;
    const AVPixelFormat eFormat = av_get_pix_fmt(strName.c_str());
    std::string strKnown;
    for (const AVPixelFormat* p = pCodec->pix_fmts; p && *p != AV_PIX_FMT_NONE; ++p) {
        if (*p == eFormat)
            return eFormat;
        strKnown += std::string(" ") + av_get_pix_fmt_name(*p);
    }
    throw BadUsage(std::string(stRow.szName) + " cannot be encoded from '" + strName +
                   "', only from" + strKnown);
}

/// FFmpeg's result, where it is not an error.
int Check(int iResult, const std::string& strWhat)
{
    if (iResult >= 0)
        return iResult;
    char szError[AV_ERROR_MAX_STRING_SIZE] = {};
    av_strerror(iResult, szError, sizeof szError);
    throw Failure(strWhat + ": " + szError);
}

template <typename T, void (*Free)(T**)>
struct FreeByAddress
{
    void operator()(T* p) const { Free(&p); }
};
using CodecContext =
    std::unique_ptr<AVCodecContext, FreeByAddress<AVCodecContext, avcodec_free_context>>;
using Frame = std::unique_ptr<AVFrame, FreeByAddress<AVFrame, av_frame_free>>;
using Packet = std::unique_ptr<AVPacket, FreeByAddress<AVPacket, av_packet_free>>;

struct FreeScaler
{
    void operator()(SwsContext* p) const { sws_freeContext(p); }
};
using Scaler = std::unique_ptr<SwsContext, FreeScaler>;

struct CloseFile
{
    void operator()(AVFormatContext* p) const
    {
        avio_closep(&p->pb);
        avformat_free_context(p);
    }
};
using Muxer = std::unique_ptr<AVFormatContext, CloseFile>;

/// From full-range red, green, blue to what the codec takes.
Scaler MakeScaler(const AVCodecContext& stCodec)
{
    Scaler pScaler(sws_alloc_context());
    av_opt_set_int(pScaler.get(), "srcw", stCodec.width, 0);
    av_opt_set_int(pScaler.get(), "srch", stCodec.height, 0);
    av_opt_set_int(pScaler.get(), "src_format", AV_PIX_FMT_RGB24, 0);
    av_opt_set_int(pScaler.get(), "dstw", stCodec.width, 0);
    av_opt_set_int(pScaler.get(), "dsth", stCodec.height, 0);
    av_opt_set_int(pScaler.get(), "dst_format", stCodec.pix_fmt, 0);
    av_opt_set_int(pScaler.get(), "sws_flags", SWS_BILINEAR | SWS_ACCURATE_RND, 0);
    av_opt_set_int(pScaler.get(), "threads", 0, 0);
    const bool blBt709 = stCodec.colorspace == AVCOL_SPC_BT709;
    const int* piMatrix = sws_getCoefficients(blBt709 ? SWS_CS_ITU709 : SWS_CS_ITU601);
    sws_setColorspaceDetails(pScaler.get(), piMatrix, 1, piMatrix,
                             stCodec.color_range == AVCOL_RANGE_JPEG, 0, 1 << 16, 1 << 16);
    Check(sws_init_context(pScaler.get(), nullptr, nullptr), "cannot convert colours");
    return pScaler;
}

void SetColours(AVCodecContext& stCodec, const CodecRow& stRow, const EncoderSettings& stSettings)
{
    const bool blFull = stSettings.blFull.value_or(stRow.blFull);
    if (stRow.eId == AV_CODEC_ID_MJPEG && !blFull)
        throw BadUsage("mjpeg is always full range");
    if (stRow.eId == AV_CODEC_ID_MJPEG && stSettings.blBt709.value_or(false))
        throw BadUsage("mjpeg is always bt601");  // by definition
    const bool blBt709 = stSettings.blBt709.value_or(stRow.eId != AV_CODEC_ID_MJPEG);
    stCodec.color_range = blFull ? AVCOL_RANGE_JPEG : AVCOL_RANGE_MPEG;
    stCodec.colorspace = blBt709 ? AVCOL_SPC_BT709 : AVCOL_SPC_SMPTE170M;
    stCodec.color_primaries = blBt709 ? AVCOL_PRI_BT709 : AVCOL_PRI_SMPTE170M;
    stCodec.color_trc = blBt709 ? AVCOL_TRC_BT709 : AVCOL_TRC_SMPTE170M;
}

void SetQuality(AVCodecContext& stCodec, const CodecRow& stRow, const EncoderSettings& stSettings)
{
    if (stSettings.iKilobits) {
        stCodec.bit_rate = std::int64_t{*stSettings.iKilobits} * 1000;
        return;
    }
    const int iQuality = stSettings.iQuality.value_or(stRow.iUsualQuality);
    if (iQuality < stRow.iBestQuality || iQuality > stRow.iWorstQuality)
        throw BadUsage(std::string(stRow.szName) + " qualities go from " +
                       std::to_string(stRow.iBestQuality) + " (best) to " +
                       std::to_string(stRow.iWorstQuality));
    if (stRow.eId == AV_CODEC_ID_MJPEG) {
        stCodec.flags |= AV_CODEC_FLAG_QSCALE;
        stCodec.global_quality = iQuality * FF_QP2LAMBDA;
        return;
    }
    av_opt_set_int(stCodec.priv_data, "crf", iQuality, 0);
}

void CheckSize(const CodecRow& stRow, AVPixelFormat eFormat, int iWidth, int iHeight)
{
    const AVPixFmtDescriptor* pFormat = av_pix_fmt_desc_get(eFormat);
    const int iAcross = 1 << pFormat->log2_chroma_w;
    const int iDown = 1 << pFormat->log2_chroma_h;
    if (stRow.eId != AV_CODEC_ID_MJPEG && (iWidth % iAcross != 0 || iHeight % iDown != 0))
        throw BadUsage(std::string(stRow.szName) + " in " + av_get_pix_fmt_name(eFormat) +
                       " needs a width that " + std::to_string(iAcross) +
                       " divides and a height that " + std::to_string(iDown) + " divides");
}

CodecContext OpenCodec(const CodecRow& stRow, int iWidth, int iHeight, bool blGlobalHeader,
                       const EncoderSettings& stSettings)
{
    const AVCodec* pCodec = avcodec_find_encoder_by_name(stRow.szEncoder);
    if (nullptr == pCodec)
        throw Failure(std::string("FFmpeg's libraries lack the encoder ") + stRow.szEncoder);
    CodecContext pContext(avcodec_alloc_context3(pCodec));
    pContext->width = iWidth;
    pContext->height = iHeight;
    pContext->pix_fmt = PixelFormatOf(stRow, pCodec, stSettings.strPixelFormat);
    pContext->time_base = {stSettings.stRate.iDenominator, stSettings.stRate.iNumerator};
    pContext->framerate = {stSettings.stRate.iNumerator, stSettings.stRate.iDenominator};
    const int iSecond = stSettings.stRate.iNumerator / stSettings.stRate.iDenominator;
    pContext->gop_size = stSettings.iKeyframes.value_or(std::max(iSecond, 1));
    pContext->max_b_frames = 0;                                  // as cameras do
    pContext->strict_std_compliance = FF_COMPLIANCE_UNOFFICIAL;  // full range without "yuvj"
    if (blGlobalHeader)
        pContext->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    CheckSize(stRow, pContext->pix_fmt, iWidth, iHeight);
    SetColours(*pContext, stRow, stSettings);
    SetQuality(*pContext, stRow, stSettings);
    if (stRow.eId == AV_CODEC_ID_HEVC) {
        av_opt_set(pContext->priv_data, "preset", "ultrafast", 0);
        av_opt_set(pContext->priv_data, "x265-params", "log-level=error", 0);
    } else if (stRow.eId == AV_CODEC_ID_H264) {
        av_opt_set(pContext->priv_data, "preset", "veryfast", 0);
    } else {
        pContext->thread_count = 0;
    }
    Check(avcodec_open2(pContext.get(), pCodec, nullptr),
          std::string("cannot encode ") + stRow.szName);
    return pContext;
}

Muxer OpenFile(const std::string& strFile)
{
    AVFormatContext* pContext = nullptr;
    Check(avformat_alloc_output_context2(&pContext, nullptr, ContainerOf(strFile).szFormat,
                                         strFile.c_str()),
          strFile);
    Muxer pMuxer(pContext);
    Check(avio_open(&pMuxer->pb, strFile.c_str(), AVIO_FLAG_WRITE), strFile);
    return pMuxer;
}

/// The picture in a frame of FFmpeg's own: swscale reads some bytes beyond the end of each line,
/// for which only such a frame has room.
Frame FrameOf(const scene::Picture& stPicture)
{
    Frame pFrame(av_frame_alloc());
    pFrame->width = stPicture.iWidth;
    pFrame->height = stPicture.iHeight;
    pFrame->format = AV_PIX_FMT_RGB24;
    Check(av_frame_get_buffer(pFrame.get(), 0), "no memory for a picture");
    const std::ptrdiff_t iLine = std::ptrdiff_t{3} * stPicture.iWidth;
    for (int iRow = 0; iRow < stPicture.iHeight; ++iRow)
        std::copy_n(stPicture.vecRgb.data() + iRow * iLine, iLine,
                    pFrame->data[0] + std::ptrdiff_t{iRow} * pFrame->linesize[0]);
    return pFrame;
}

}  // namespace

struct Encoder::State
{
    std::string strFile;
    std::string strCodec;
    CodecContext pCodec;
    Scaler pScaler;
    Muxer pMuxer;
    AVStream* pStream = nullptr;  // borrowed from pMuxer
    Packet pPacket{av_packet_alloc()};
    std::int64_t llPictures = 0;

    void Encode(const AVFrame* pFrame);
};

Encoder::Encoder(const std::string& strFile, int iWidth, int iHeight,
                 const EncoderSettings& stSettings)
    : m_pState(std::make_unique<State>())
{
    State& st = *m_pState;
    const CodecRow& stRow = CodecOf(strFile, stSettings.strCodec);
    st.strFile = strFile;
    st.strCodec = stRow.szName;
    const AVOutputFormat* pFormat =
        av_guess_format(ContainerOf(strFile).szFormat, nullptr, nullptr);
    const bool blGlobalHeader = pFormat && (pFormat->flags & AVFMT_GLOBALHEADER);
    st.pCodec = OpenCodec(stRow, iWidth, iHeight, blGlobalHeader, stSettings);
    st.pScaler = MakeScaler(*st.pCodec);
    st.pMuxer = OpenFile(strFile);
    st.pStream = avformat_new_stream(st.pMuxer.get(), nullptr);
    st.pStream->time_base = st.pCodec->time_base;
    st.pStream->avg_frame_rate = st.pCodec->framerate;
    Check(avcodec_parameters_from_context(st.pStream->codecpar, st.pCodec.get()), strFile);
    // In fragments, so that an MP4 file can be played as a stream.
    AVDictionary* pOptions = nullptr;
    if (0 == std::strcmp(st.pMuxer->oformat->name, "mp4"))
        av_dict_set(&pOptions, "movflags", "frag_keyframe+empty_moov+default_base_moof", 0);
    const int iResult = avformat_write_header(st.pMuxer.get(), &pOptions);
    av_dict_free(&pOptions);
    Check(iResult, strFile);
}

Encoder::~Encoder() = default;

const std::string& Encoder::Codec() const
{
    return m_pState->strCodec;
}

/// Null tells the codec that nothing more comes.
void Encoder::State::Encode(const AVFrame* pFrame)
{
    Check(avcodec_send_frame(pCodec.get(), pFrame), "cannot encode");
    for (;;) {
        const int iResult = avcodec_receive_packet(pCodec.get(), pPacket.get());
        if (iResult == AVERROR(EAGAIN) || iResult == AVERROR_EOF)
            return;
        Check(iResult, "cannot encode");
        pPacket->duration = 1;
        av_packet_rescale_ts(pPacket.get(), pCodec->time_base, pStream->time_base);
        pPacket->stream_index = pStream->index;
        Check(av_interleaved_write_frame(pMuxer.get(), pPacket.get()), strFile);
    }
}

void Encoder::Put(const scene::Picture& stPicture)
{
    State& st = *m_pState;
    const Frame pFrame(av_frame_alloc());
    pFrame->width = stPicture.iWidth;
    pFrame->height = stPicture.iHeight;
    pFrame->format = st.pCodec->pix_fmt;
    Check(av_frame_get_buffer(pFrame.get(), 0), "no memory for a picture");
    Check(sws_scale_frame(st.pScaler.get(), pFrame.get(), FrameOf(stPicture).get()),
          "cannot convert colours");
    pFrame->color_range = st.pCodec->color_range;
    pFrame->colorspace = st.pCodec->colorspace;
    pFrame->pts = st.llPictures++;
    pFrame->quality = st.pCodec->global_quality;
    st.Encode(pFrame.get());
}

void Encoder::Finish()
{
    m_pState->Encode(nullptr);
    Check(av_write_trailer(m_pState->pMuxer.get()), m_pState->strFile);
    Check(avio_closep(&m_pState->pMuxer->pb), m_pState->strFile);
}

void WritePng(const std::string& strFile, const scene::Picture& stPicture)
{
    const AVCodec* pCodec = avcodec_find_encoder(AV_CODEC_ID_PNG);
    CodecContext pContext(avcodec_alloc_context3(pCodec));
    pContext->width = stPicture.iWidth;
    pContext->height = stPicture.iHeight;
    pContext->pix_fmt = AV_PIX_FMT_RGB24;
    pContext->time_base = {1, 1};
    Check(avcodec_open2(pContext.get(), pCodec, nullptr), "cannot encode PNG");
    const Packet pPacket(av_packet_alloc());
    Check(avcodec_send_frame(pContext.get(), FrameOf(stPicture).get()), "cannot encode PNG");
    Check(avcodec_send_frame(pContext.get(), nullptr), "cannot encode PNG");
    Check(avcodec_receive_packet(pContext.get(), pPacket.get()), "cannot encode PNG");
    std::ofstream stFile(strFile, std::ios::binary);
    stFile.write(reinterpret_cast<const char*>(pPacket->data), pPacket->size);
    if (!stFile.flush())
        throw Failure(strFile + ": " + std::strerror(errno));
}

}  // namespace clip
