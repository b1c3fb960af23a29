// One codec context at a time, on the calling thread: no frame of delay, little memory.
#include "engine/media/StreamDecoder.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

#include "engine/dewarp/Picture.h"

namespace engine {

namespace {

constexpr int READ_SIZE = 16 * 1024;
/// A picture of this many pixels is still decoded: beyond it a damaged header would cost gigabytes.
constexpr std::int64_t MAX_PIXELS = std::int64_t{6144} * 6144;
constexpr double DEFAULT_PERIOD = 0.04;
/// Pictures per second that a header may claim: what lies outside is a mistake of its writer.
constexpr double SLOWEST = 0.5;
constexpr double LONGEST_PERIOD = 2.1;  // from time stamps, which are rounded
constexpr double FASTEST = 240.0;

AVCodecID CodecOf(Container container)
{
    switch (container) {
    case Container::H264:
        return AV_CODEC_ID_H264;
    case Container::H265:
        return AV_CODEC_ID_HEVC;
    default:
        return AV_CODEC_ID_MJPEG;
    }
}

double Milliseconds(Clock::duration duration)
{
    return std::chrono::duration<double, std::milli>(duration).count();
}

/// A stream's damage is the player's business, not the client's standard error; a client that chose
/// a level of its own keeps it.
void Quieten()
{
    if (av_log_get_level() == AV_LOG_INFO)
        av_log_set_level(AV_LOG_FATAL);
}

}  // namespace

StreamDecoder::StreamDecoder(ByteQueue& queue, Container expected)
    : m_input(queue), m_expected(expected), m_packet(av_packet_alloc()), m_parsed(av_packet_alloc())
{
    if (!m_packet || !m_parsed)
        throw std::bad_alloc();
    Quieten();
}

StreamDecoder::Event StreamDecoder::Next(Picture& picture)
{
    while (true) {
        if (!m_pictures.empty()) {
            picture = std::move(m_pictures.front());
            m_pictures.pop_front();
            return Event::Picture;
        }
        if (m_pending)
            return *std::exchange(m_pending, std::nullopt);
        m_pending = Advance();
    }
}

/// One step: a header, a packet or a block further.
std::optional<StreamDecoder::Event> StreamDecoder::Advance()
{
    if (m_container == Container::Unknown)
        return Begin();
    if (IsElementary(m_container)) {
        m_padded.resize(READ_SIZE + AV_INPUT_BUFFER_PADDING_SIZE);
        const std::size_t read = m_input.Read(m_padded.data(), READ_SIZE);
        if (read == 0)
            return AfterStop();
        std::memset(m_padded.data() + read, 0, AV_INPUT_BUFFER_PADDING_SIZE);
        if (Ready(CodecOf(m_container), nullptr, {1, 90000}))
            Parse(m_padded.data(), static_cast<int>(read), AV_NOPTS_VALUE, AV_NOPTS_VALUE);
        return std::nullopt;
    }
    switch (m_demuxer->Next(*m_packet)) {
    case Demuxer::Result::Packet: {
        const AVStream* stream = m_demuxer->Stream();
        if (std::exchange(m_streamPlayed, stream->index) != stream->index) {
            FlushParser();
            Decode(nullptr);  // another programme: its pictures do not go on from these
            m_codec.reset();
        }
        if (Ready(stream->codecpar->codec_id, stream->codecpar, stream->time_base))
            TakePacket(*m_packet, m_container == Container::MpegTs);
        av_packet_unref(m_packet.get());
        return std::nullopt;
    }
    case Demuxer::Result::Broken:
        Reset();
        return std::nullopt;
    default:
        return AfterStop();
    }
}

std::optional<StreamDecoder::Event> StreamDecoder::Begin()
{
    m_input.AllowIdle(false);
    const Container container = m_input.Begin(m_expected);
    m_codecPlayed = AV_CODEC_ID_NONE;
    m_containerPlayed = Container::Unknown;
    if (container == Container::Unknown)
        return AfterStop();
    if (!IsElementary(container)) {
        m_demuxer = std::make_unique<Demuxer>(m_input);
        if (!m_demuxer->Open(container)) {
            m_demuxer.reset();
            if (m_input.StopReason() != Input::Stop::None)
                return AfterStop();
            ++m_errors;
            m_expected = Container::Unknown;  // whatever the client named, it is not that
            return std::nullopt;
        }
    }
    m_container = container;
    m_containerPlayed = container;
    m_input.AllowIdle(true);
    return std::nullopt;
}

std::optional<StreamDecoder::Event> StreamDecoder::AfterStop()
{
    const Input::Stop stop = m_input.StopReason();
    if (stop == Input::Stop::Idle) {
        FlushParser();
        m_input.Resume();
        return std::nullopt;
    }
    if (stop == Input::Stop::End || stop == Input::Stop::NewHeader) {
        FlushParser();
        Decode(nullptr);
    }
    if (stop == Input::Stop::Barren)
        ++m_errors;
    if (stop == Input::Stop::NewHeader || stop == Input::Stop::Barren)
        m_expected = Container::Unknown;
    if (stop == Input::Stop::Cleared || stop == Input::Stop::Closed)
        m_pictures.clear();
    Reset();
    switch (stop) {
    case Input::Stop::End:
        return Event::End;
    case Input::Stop::Cleared:
        return Event::Cleared;
    case Input::Stop::Closed:
        return Event::Closed;
    default:
        return std::nullopt;
    }
}

void StreamDecoder::Reset()
{
    m_demuxer.reset();
    m_streamPlayed = -1;
    m_parser.reset();
    m_codec.reset();
    m_container = Container::Unknown;
    m_hasLast = false;
    m_period = 0.0;
}

bool StreamDecoder::Ready(AVCodecID id, const AVCodecParameters* parameters, AVRational timeBase)
{
    if (m_codec && m_codec->codec_id == id)
        return true;
    m_parser.reset();
    m_codec.reset();
    const AVCodec* codec = avcodec_find_decoder(id);
    CodecContextPtr context(codec ? avcodec_alloc_context3(codec) : nullptr);
    if (!context || (parameters && avcodec_parameters_to_context(context.get(), parameters) < 0))
        return false;
    context->opaque = this;
    context->get_buffer2 = GetBuffer;
    context->thread_count = 1;
    context->thread_type = 0;
    context->max_pixels = MAX_PIXELS;
    context->pkt_timebase = timeBase;
    if (avcodec_open2(context.get(), codec, nullptr) < 0)
        return false;
    m_codec = std::move(context);
    m_codecPlayed = id;
    m_showTimes.clear();
    return true;
}

void StreamDecoder::TakePacket(AVPacket& packet, bool parse)
{
    if (parse)
        return Parse(packet.data, packet.size, packet.pts, packet.dts);
    if (packet.dts == AV_NOPTS_VALUE && packet.pts != AV_NOPTS_VALUE)
        packet.dts = DecodeTime(packet.pts);
    Decode(&packet);
}

/// Matroska tells when pictures are to be shown, in the order of decoding; its writers may know no
/// other time than that of decoding. FFmpeg's decoder finds that out, and takes the times of
/// decoding, where it has them: of so many pictures as are held back, the first in time.
std::int64_t StreamDecoder::DecodeTime(std::int64_t showTime)
{
    const std::size_t held = static_cast<std::size_t>(std::max(0, m_codec->has_b_frames)) + 1;
    m_showTimes.insert(std::upper_bound(m_showTimes.begin(), m_showTimes.end(), showTime),
                       showTime);
    while (m_showTimes.size() > held)
        m_showTimes.erase(m_showTimes.begin());
    return m_showTimes.size() == held ? m_showTimes.front() : AV_NOPTS_VALUE;
}

void StreamDecoder::Parse(const std::uint8_t* data, int size, std::int64_t pts, std::int64_t dts)
{
    if (!m_codec)
        return;
    if (!m_parser)
        m_parser.reset(av_parser_init(m_codec->codec_id));
    int still = 0;  // a parser may need a second look at the same bytes, not a third
    while (m_parser && size > 0 && still < 3) {
        std::uint8_t* out = nullptr;
        int outSize = 0;
        const int used = av_parser_parse2(m_parser.get(), m_codec.get(), &out, &outSize, data, size,
                                          pts, dts, 0);
        if (used < 0)
            break;
        still = used == 0 ? still + 1 : 0;
        data += used;
        size -= used;
        pts = dts = AV_NOPTS_VALUE;
        if (outSize > 0) {
            m_parsed->data = out;
            m_parsed->size = outSize;
            m_parsed->pts = m_parser->pts;
            m_parsed->dts = m_parser->dts;
            Decode(m_parsed.get());
        }
    }
}

void StreamDecoder::FlushParser()
{
    if (!m_parser || !m_codec || (m_container != Container::MpegTs && !IsElementary(m_container)))
        return;
    std::uint8_t* out = nullptr;
    int outSize = 0;
    av_parser_parse2(m_parser.get(), m_codec.get(), &out, &outSize, nullptr, 0, AV_NOPTS_VALUE,
                     AV_NOPTS_VALUE, 0);
    if (outSize > 0) {
        m_parsed->data = out;
        m_parsed->size = outSize;
        m_parsed->pts = m_parser->pts;
        m_parsed->dts = m_parser->dts;
        Decode(m_parsed.get());
    }
    // A parser that was flushed still believes itself within a picture.
    m_parser.reset();
}

void StreamDecoder::Decode(const AVPacket* packet)
{
    if (!m_codec)
        return;
    auto begin = Clock::now();
    // The parser's bytes belong to no buffer, so the decoder copies them, with the padding it
    // needs.
    if (avcodec_send_packet(m_codec.get(), packet) < 0 && packet)
        ++m_errors;
    while (true) {
        FramePtr frame(av_frame_alloc());
        const bool got = frame && avcodec_receive_frame(m_codec.get(), frame.get()) >= 0;
        m_spentMs += Milliseconds(Clock::now() - begin);
        if (!got)
            return;
        TakeFrame(std::move(frame));
        begin = Clock::now();
    }
}

void StreamDecoder::TakeFrame(FramePtr frame)
{
    const std::int64_t stamp = frame->best_effort_timestamp;
    const bool stamped = stamp != AV_NOPTS_VALUE;
    const AVRational framerate = m_codec->framerate;
    const double rate = framerate.den > 0 ? av_q2d(framerate) : 0.0;
    const bool rated = rate >= SLOWEST && rate <= FASTEST;
    const double ratedPeriod = rated ? 1.0 / rate : DEFAULT_PERIOD;

    Picture picture = m_maker.Make(std::move(frame), m_codec->codec_id == AV_CODEC_ID_MJPEG);
    if (!picture.frame)
        return;
    if (stamped) {
        picture.seconds = static_cast<double>(stamp) * av_q2d(m_codec->pkt_timebase);
        const double step = picture.seconds - m_lastSeconds;
        const bool all = m_codec->skip_frame == AVDISCARD_DEFAULT;
        if (m_hasLast && all && step > 0.001 && step <= LONGEST_PERIOD)
            m_period = m_period > 0.0 ? 0.9 * m_period + 0.1 * step : step;
    } else {
        picture.seconds = m_hasLast ? m_lastSeconds + ratedPeriod : 0.0;
    }
    picture.period = stamped && m_period > 0.0 ? m_period : ratedPeriod;
    picture.hasTime = stamped || rated;
    picture.live = m_input.TakeWaited();
    picture.refused = m_input.TakeRefused();
    picture.putAt = m_input.PutAt();
    m_lastSeconds = picture.seconds;
    m_hasLast = true;
    m_input.PictureSeen();
    m_input.SetPeriod(std::chrono::duration_cast<Clock::duration>(
        std::chrono::duration<double>(std::clamp(picture.period, 0.005, 1.0))));
    const double average = m_decodeMs;
    m_decodeMs = average > 0.0 ? 0.95 * average + 0.05 * m_spentMs : m_spentMs;
    m_spentMs = 0.0;
    m_pictures.push_back(std::move(picture));
}

void StreamDecoder::Hurry(bool hurry)
{
    if (m_codec)
        m_codec->skip_frame = hurry ? AVDISCARD_NONREF : AVDISCARD_DEFAULT;
}

int StreamDecoder::GetBuffer(AVCodecContext* context, AVFrame* frame, int flags)
{
    if (std::max(frame->width, frame->height) > dewarp::kLargestPicture)
        return AVERROR(EINVAL);  // nobody could draw it
    if (frame->format != AV_PIX_FMT_YUV420P && frame->format != AV_PIX_FMT_YUVJ420P)
        return avcodec_default_get_buffer2(context, frame, flags);
    int width = frame->width;
    int height = frame->height;
    int alignment[AV_NUM_DATA_POINTERS] = {};
    avcodec_align_dimensions2(context, &width, &height, alignment);
    auto* self = static_cast<StreamDecoder*>(context->opaque);
    return self->m_pool.Allocate(*frame, width, height) ? 0 : AVERROR(ENOMEM);
}

}  // namespace engine
