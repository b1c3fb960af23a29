// Colours become luma and chroma here by the standards' formulas, so that what a player shows can
// be held against them without another converter between.
#include "tests/engine/TestClip.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

extern "C" {
#include <libavutil/imgutils.h>
#include <libavutil/opt.h>
#include <libavutil/pixdesc.h>
}

#include "engine/media/AvHandles.h"

namespace test {

namespace {

void Check(bool good, const char* what)
{
    if (!good)
        throw std::runtime_error(what);
}

struct Yuv
{
    double y, u, v;  // 8 bit scale
};

Yuv ToYuv(const Colour& colour, AVColorSpace matrix, bool full)
{
    const bool bt709 = matrix == AVCOL_SPC_BT709;
    const double kr = bt709 ? 0.2126 : 0.299;
    const double kb = bt709 ? 0.0722 : 0.114;
    const double y = kr * colour.r + (1 - kr - kb) * colour.g + kb * colour.b;
    const double u = (colour.b - y) / (2 * (1 - kb));
    const double v = (colour.r - y) / (2 * (1 - kr));
    if (full)
        return {y, u + 128, v + 128};
    return {16 + y * 219 / 255, 128 + u * 224 / 255, 128 + v * 224 / 255};
}

void Store(AVFrame& frame, const AVPixFmtDescriptor& format, int plane, int x, int y, double value)
{
    const int depth = format.comp[0].depth;
    const double scaled = std::clamp(value * (1 << (depth - 8)), 0.0, (1 << depth) - 1.0);
    const auto number = static_cast<int>(std::lround(scaled));
    std::uint8_t* row = frame.data[plane] + static_cast<std::ptrdiff_t>(frame.linesize[plane]) * y;
    if (depth > 8)
        reinterpret_cast<std::uint16_t*>(row)[x] = static_cast<std::uint16_t>(number);
    else
        row[x] = static_cast<std::uint8_t>(number);
}

void Paint(AVFrame& frame, const ClipOptions& options, int picture)
{
    const AVPixFmtDescriptor& format = *av_pix_fmt_desc_get(options.pixels);
    const bool full = options.range == AVCOL_RANGE_JPEG;
    const int stepX = 1 << format.log2_chroma_w;
    const int stepY = 1 << format.log2_chroma_h;
    for (int y = 0; y < options.height; ++y) {
        for (int x = 0; x < options.width; ++x) {
            if (format.flags & AV_PIX_FMT_FLAG_RGB) {
                const Colour colour = options.paint(picture, x, y);
                Store(frame, format, 0, x, y, colour.g);
                Store(frame, format, 1, x, y, colour.b);
                Store(frame, format, 2, x, y, colour.r);
                continue;
            }
            const Yuv yuv = ToYuv(options.paint(picture, x, y), options.matrix, full);
            Store(frame, format, 0, x, y, yuv.y);
            if (format.nb_components > 1 && x % stepX == 0 && y % stepY == 0) {
                Store(frame, format, 1, x / stepX, y / stepY, yuv.u);
                Store(frame, format, 2, x / stepX, y / stepY, yuv.v);
            }
        }
    }
}

engine::CodecContextPtr OpenEncoder(const ClipOptions& options, bool globalHeader)
{
    const AVCodec* codec = avcodec_find_encoder(options.codec);
    Check(codec, "no encoder");
    engine::CodecContextPtr context(avcodec_alloc_context3(codec));
    context->width = options.width;
    context->height = options.height;
    context->pix_fmt = options.pixels;
    context->color_range = options.range;
    context->colorspace = options.tagged ? options.matrix : AVCOL_SPC_UNSPECIFIED;
    context->time_base = av_inv_q(options.rate);
    context->framerate = options.rate;
    context->gop_size = options.keyInterval;
    context->max_b_frames = options.bPictures;
    context->thread_count = 1;
    context->strict_std_compliance = FF_COMPLIANCE_UNOFFICIAL;
    if (globalHeader)
        context->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    if (options.codec == AV_CODEC_ID_MJPEG) {
        context->flags |= AV_CODEC_FLAG_QSCALE;
        context->global_quality = 2 * FF_QP2LAMBDA;
    }
    av_opt_set(context->priv_data, "preset", options.bitRate > 0 ? "veryfast" : "ultrafast", 0);
    av_opt_set(context->priv_data, "tune", "zerolatency", 0);
    if (options.bitRate > 0)
        context->bit_rate = options.bitRate;
    else
        av_opt_set(context->priv_data, "crf", options.lossless ? "0" : "12", 0);
    av_opt_set(context->priv_data, "x265-params", "log-level=none:pools=none:frame-threads=1", 0);
    av_log_set_level(AV_LOG_FATAL);
    Check(avcodec_open2(context.get(), codec, nullptr) >= 0, "the encoder does not open");
    return context;
}

/// A muxer whose bytes are taken piece by piece.
class Muxer
{
public:
    explicit Muxer(const std::string& format)
    {
        Check(avformat_alloc_output_context2(&m_context, nullptr, format.c_str(), "") >= 0,
              "no muxer");
        Check(avio_open_dyn_buf(&m_context->pb) >= 0, "no buffer");
        m_context->flags |= AVFMT_FLAG_FLUSH_PACKETS;
    }
    ~Muxer()
    {
        std::uint8_t* bytes = nullptr;
        avio_close_dyn_buf(m_context->pb, &bytes);
        av_free(bytes);
        avformat_free_context(m_context);
    }

    bool WantsGlobalHeader() const { return m_context->oformat->flags & AVFMT_GLOBALHEADER; }

    /// The number of a stream of pictures, in a programme of its own where `programme` is above 0.
    int AddPictures(const AVCodecContext& encoder, int programme = 0)
    {
        AVStream* stream = Add();
        avcodec_parameters_from_context(stream->codecpar, &encoder);
        stream->time_base = encoder.time_base;
        stream->avg_frame_rate = encoder.framerate;
        if (programme > 0) {
            Check(av_new_program(m_context, programme), "no memory");
            av_program_add_stream_index(m_context, programme, stream->index);
        }
        return stream->index;
    }

    void AddSound()
    {
        AVCodecParameters* sound = Add()->codecpar;
        sound->codec_type = AVMEDIA_TYPE_AUDIO;
        sound->codec_id = AV_CODEC_ID_MP2;
        sound->sample_rate = 48000;
        sound->frame_size = 1152;
        av_channel_layout_default(&sound->ch_layout, 2);
        AVCodecParameters* text = Add()->codecpar;
        text->codec_type = AVMEDIA_TYPE_SUBTITLE;
        text->codec_id = std::string(m_context->oformat->name) == "mpegts"
                             ? AV_CODEC_ID_DVB_SUBTITLE
                             : AV_CODEC_ID_SUBRIP;
        m_sounds = 2;
    }

    /// @param fragments movflags
    void Begin(const std::string& fragments)
    {
        AVDictionary* settings = nullptr;
        av_dict_set(&settings, "movflags", fragments.c_str(), 0);
        av_dict_set(&settings, "live", "1", 0);
        av_dict_set(&settings, "cluster_time_limit", "0", 0);
        av_dict_set(&settings, "flush_packets", "1", 0);
        m_context->strict_std_compliance = FF_COMPLIANCE_UNOFFICIAL;
        const int result = avformat_write_header(m_context, &settings);
        av_dict_free(&settings);
        Check(result >= 0, "the muxer does not begin");
    }

    void Write(AVPacket& packet, AVRational timeBase, int stream)
    {
        av_packet_rescale_ts(&packet, timeBase, m_context->streams[stream]->time_base);
        packet.stream_index = stream;
        Check(av_write_frame(m_context, &packet) >= 0, "the muxer refuses");
        av_write_frame(m_context, nullptr);
    }

    /// Something for each stream of AddSound.
    void WriteSound(std::int64_t time, AVRational timeBase)
    {
        for (int stream = 0; stream < m_sounds; ++stream) {
            const engine::PacketPtr packet(av_packet_alloc());
            Check(av_new_packet(packet.get(), 384) >= 0, "no memory");
            std::fill_n(packet->data, packet->size, std::uint8_t{0x20});
            packet->pts = packet->dts = time;
            packet->duration = 1;
            Write(*packet, timeBase, stream);
        }
    }

    void End() { av_write_trailer(m_context); }

    Bytes Take()
    {
        avio_flush(m_context->pb);
        std::uint8_t* bytes = nullptr;
        const int size = avio_close_dyn_buf(m_context->pb, &bytes);
        Bytes taken(bytes, bytes + size);
        av_free(bytes);
        m_context->pb = nullptr;
        Check(avio_open_dyn_buf(&m_context->pb) >= 0, "no buffer");
        m_taken += size;
        m_context->pb->pos = m_taken;  // fragments of an mp4 may tell where in the file they are
        return taken;
    }

private:
    AVStream* Add()
    {
        AVStream* stream = avformat_new_stream(m_context, nullptr);
        Check(stream, "no memory");
        return stream;
    }

    std::int64_t m_taken = 0;  ///< bytes
    AVFormatContext* m_context = nullptr;
    int m_sounds = 0;  ///< the first streams
};

/// Encodes a picture, or what is left after the last one, and hands on the packets.
template <typename Sink>
void Encode(AVCodecContext& encoder, const ClipOptions& options, int picture, Sink&& sink)
{
    const bool last = picture == options.pictures;
    const engine::FramePtr frame(av_frame_alloc());
    if (!last) {
        frame->width = options.width;
        frame->height = options.height;
        frame->format = options.pixels;
        frame->color_range = encoder.color_range;
        frame->colorspace = encoder.colorspace;
        Check(av_frame_get_buffer(frame.get(), 0) >= 0, "no memory");
        Paint(*frame, options, picture);
        frame->pts = options.firstPicture + picture;
        frame->quality = 2 * FF_QP2LAMBDA;
    }
    Check(avcodec_send_frame(&encoder, last ? nullptr : frame.get()) >= 0, "the encoder refuses");
    const engine::PacketPtr packet(av_packet_alloc());
    while (avcodec_receive_packet(&encoder, packet.get()) >= 0) {
        sink(*packet);
        av_packet_unref(packet.get());
    }
}

}  // namespace

std::vector<Bytes> MakeClipPieces(const ClipOptions& options)
{
    Muxer muxer(options.format);
    const engine::CodecContextPtr encoder = OpenEncoder(options, muxer.WantsGlobalHeader());
    if (options.tracks != Tracks::Pictures)
        muxer.AddSound();
    const bool shown = options.tracks != Tracks::Sound;
    const int stream = shown ? muxer.AddPictures(*encoder) : -1;
    muxer.Begin(options.fragments);
    std::vector<Bytes> pieces;
    int packets = 0;
    for (int picture = 0; picture <= options.pictures; ++picture) {
        if (picture < options.pictures)
            muxer.WriteSound(options.firstPicture + picture, encoder->time_base);
        Encode(*encoder, options, picture, [&](AVPacket& packet) {
            if (options.inDecodingOrder)
                packet.pts = packet.dts = options.firstPicture + packets++;
            if (shown)
                muxer.Write(packet, encoder->time_base, stream);
            pieces.push_back(muxer.Take());
        });
    }
    muxer.End();
    const Bytes rest = muxer.Take();
    if (!pieces.empty())
        pieces.back().insert(pieces.back().end(), rest.begin(), rest.end());
    return pieces;
}

Bytes MakeClip(const ClipOptions& options)
{
    Bytes clip;
    for (const Bytes& piece : MakeClipPieces(options))
        clip.insert(clip.end(), piece.begin(), piece.end());
    return clip;
}

Bytes MakeProgrammes(const std::vector<ClipOptions>& programmes)
{
    Muxer muxer(programmes.front().format);
    std::vector<engine::CodecContextPtr> encoders;
    int longest = 0;
    for (const ClipOptions& options : programmes) {
        encoders.push_back(OpenEncoder(options, muxer.WantsGlobalHeader()));
        muxer.AddPictures(*encoders.back(), static_cast<int>(encoders.size()));
        longest = std::max(longest, options.pictures);
    }
    muxer.Begin(programmes.front().fragments);
    for (int picture = 0; picture <= longest; ++picture) {
        for (std::size_t i = 0; i < programmes.size(); ++i) {
            if (picture <= programmes[i].pictures)
                Encode(*encoders[i], programmes[i], picture, [&](AVPacket& packet) {
                    muxer.Write(packet, encoders[i]->time_base, static_cast<int>(i));
                });
        }
    }
    muxer.End();
    return muxer.Take();
}

}  // namespace test
