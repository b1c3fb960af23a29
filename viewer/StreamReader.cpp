#include "viewer/StreamReader.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <utility>

#include <QFileInfo>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavdevice/avdevice.h>
#include <libavformat/avformat.h>
#include <libswscale/swscale.h>
}

namespace viewer {

namespace {

using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;

constexpr double CONST_FIRST_RETRY_SECONDS = 1.0;
constexpr double CONST_LAST_RETRY_SECONDS = 8.0;
constexpr std::chrono::seconds CONST_STOP_TIME{1};  ///< after which the thread is left to itself
constexpr double CONST_FULL_RETRY_SECONDS = 0.005;
constexpr double CONST_NO_PICTURE_YET_SECONDS = 0.005;
constexpr double CONST_FULL_LIVE_SECONDS = 0.2;  ///< a live block that finds no room is dropped
constexpr double CONST_DEFAULT_PERIOD = 1.0 / 25.0;
constexpr double CONST_LATE_SECONDS = 0.2;         ///< more than this is not made up for
constexpr double CONST_CLOCK_JUMP_SECONDS = 10.0;  ///< between packets that follow each other
constexpr double CONST_LONG_PLAY_SECONDS = 10.0;   ///< after which a source has played
constexpr int CONST_OUTPUT_BUFFER = 64 * 1024;

QString ErrorText(int code)
{
    char text[AV_ERROR_MAX_STRING_SIZE] = {};
    av_strerror(code, text, sizeof(text));
    return QString::fromLocal8Bit(text);
}

bool IsDevice(const QString& source)
{
    return source.startsWith("/dev/video") || source.startsWith("/dev/v4l/");
}

bool IsNetwork(const QString& source)
{
    return source.contains("://") && source.section("://", 0, 0).toLower() != "file";
}

/// What goes away and comes back, and is therefore tried again.
bool IsTriedAgain(const QString& source)
{
    return IsDevice(source) || IsNetwork(source);
}

/// Why a path is not opened at all: a pipe or a terminal may hold its reader up for ever.
QString WhyNotOpened(const QString& source)
{
    const QFileInfo file(source);
    const bool opened = IsTriedAgain(source) || !file.exists() || file.isFile() || file.isDir();
    return opened ? QString() : QObject::tr("It is neither a file nor a camera.");
}

/// Why the engine does not play a codec; empty where it does.
QString WhyNotPlayed(AVCodecID codec)
{
    if (AV_CODEC_ID_H264 == codec || AV_CODEC_ID_HEVC == codec || AV_CODEC_ID_MJPEG == codec)
        return {};
    return QObject::tr("Its video is %1; H.264, H.265 and Motion JPEG can be shown.")
        .arg(QString::fromLatin1(avcodec_get_name(codec)));
}

struct Free
{
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
    void operator()(AVCodecContext* codec) const { avcodec_free_context(&codec); }
    void operator()(AVCodecParameters* codec) const { avcodec_parameters_free(&codec); }
    void operator()(SwsContext* scaler) const { sws_freeContext(scaler); }
};
template <typename T>
using Owned = std::unique_ptr<T, Free>;

}  // namespace

/// What the thread does, with all that it touches. The thread has a part in it of its own: where
/// the system holds it up beyond the reader's end, it goes on alone and finds that it is to stop.
class StreamReader::Work
{
public:
    Work(QString source, Sink sink, StreamReader& reader)
        : m_source(std::move(source)), m_sink(std::move(sink)), m_reader(reader)
    {}

    void run();

    /// When it returns, neither the sink nor the reader is called any more.
    void askToStop();
    /// False where the thread is held up.
    bool stop();

    /// False when it is to stop.
    bool waitFor(double seconds);
    bool stops() const { return m_stop; }

    void setPaused(bool paused);
    void setSpeed(double speed);
    void setLoop(bool loop) { m_loop = loop; }
    void setSilenceLimit(double seconds) { m_silenceLimit = seconds; }
    double silenceLimit() const { return m_silenceLimit; }
    void step();
    double position() const { return m_position; }
    void setPosition(double seconds) { m_position = seconds; }

private:
    enum class End
    {
        Stopped,
        Finished,
        Broken,
        Unplayable  ///< and would be so again
    };

    void playAll();
    End playOnce(QString* why);
    /// Waits for the turn of a file's picture: its time, or a step where it is paused. False when
    /// it is to stop.
    bool awaitTurn(Pace& pace);
    /// Waits for the end of the last one's time, unless somebody pauses.
    void awaitEnd(Pace& pace);
    bool deliver(const QByteArray& block, bool live);
    void tell(StreamState state, const QString& message);

    /// Calls what may be gone once stop() has returned; false where it is not called.
    template <typename Call>
    bool callOut(const Call& call);

    const QString m_source;
    const Sink m_sink;
    StreamReader& m_reader;  ///< called out to alone
    std::atomic<bool> m_stop{false};
    std::atomic<bool> m_loop{false};
    std::atomic<double> m_position{0.0};
    double m_silenceLimit = 10.0;

    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_paused = false;  ///< these guarded by m_mutex
    double m_speed = 1.0;
    int m_steps = 0;
    bool m_callsOut = false;
    bool m_over = false;
    Clock::time_point m_asked;  ///< to stop
};

/// The opened source and its first good video stream.
class StreamReader::Input
{
public:
    explicit Input(Work& work) : m_work(work) {}
    ~Input() { avformat_close_input(&m_context); }
    Input(const Input&) = delete;
    Input& operator=(const Input&) = delete;

    /// FFmpeg's error.
    int open(const QString& source)
    {
        int code = AVERROR(EINVAL);  // which is what a camera says of a format that it has not
        for (const char* const pictures : {"h264", "mjpeg", ""})
            if (AVERROR(EINVAL) == code && (IsDevice(source) || '\0' == *pictures))
                code = tryToOpen(source, pictures);
        if (code < 0)
            return code;
        alive();
        m_probesDevice = IsDevice(source);
        code = avformat_find_stream_info(m_context, nullptr);
        m_probesDevice = false;
        if (0 != interrupted(this))  // which FFmpeg may keep to itself
            return AVERROR_EXIT;
        if (code < 0)
            return code;
        m_index = av_find_best_stream(m_context, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
        if (m_index < 0)
            return m_index;
        for (unsigned i = 0; i < m_context->nb_streams; ++i)
            m_context->streams[i]->discard =
                static_cast<int>(i) == m_index ? AVDISCARD_DEFAULT : AVDISCARD_ALL;
        return 0;
    }

    /// An error for people, who may have named another device than their camera.
    QString errorText(const QString& source, int code) const
    {
        if (AVERROR_EXIT == code)
            return QObject::tr("No video has come from it for %1 seconds.")
                .arg(m_work.silenceLimit());
        if (AVERROR_STREAM_NOT_FOUND == code)
            return QObject::tr("It holds no video.");
        if (IsDevice(source) && AVERROR(ENOENT) == code)
            return QObject::tr("There is no such device.");
        if (IsDevice(source) &&
            (AVERROR(ENOTTY) == code || AVERROR(ENODEV) == code || AVERROR(EISDIR) == code))
            return QObject::tr("It is no camera.");
        if (IsDevice(source) && AVERROR(EINVAL) == code)
            return QObject::tr("It is a camera whose kind of pictures is not known, or none.");
        if (IsDevice(source) && AVERROR(EBUSY) == code)
            return QObject::tr("Another program has the camera's pictures.");
        return ErrorText(code);
    }

    const AVStream& stream() const { return *m_context->streams[m_index]; }

    /// Whether it has no beginning and no end. What a server gives as so many bytes is a file.
    bool live(const QString& source) const
    {
        const bool file = nullptr != m_context->pb && avio_size(m_context->pb) > 0;
        return IsDevice(source) || (IsNetwork(source) && !file);
    }

    /// Whether its packets' times are told by it. Motion JPEG that is served picture by picture has
    /// none, and FFmpeg makes it 25 a second, whatever its pace.
    bool stamped() const { return 0 == (m_context->iformat->flags & AVFMT_NOTIMESTAMPS); }

    /// Goes to the key frame before a time, in seconds from the start; where that cannot be, the
    /// start is as good.
    void seek(double seconds)
    {
        const auto start = AV_NOPTS_VALUE == m_context->start_time ? 0 : m_context->start_time;
        const auto time = start + static_cast<std::int64_t>(seconds * AV_TIME_BASE);
        alive();
        av_seek_frame(m_context, -1, time, AVSEEK_FLAG_BACKWARD);
    }

    /// Seconds from the start of the source to a packet.
    double position(const AVPacket& packet) const
    {
        const AVRational unit = stream().time_base;
        const std::int64_t stamp = AV_NOPTS_VALUE == packet.dts ? packet.pts : packet.dts;
        if (AV_NOPTS_VALUE == stamp)
            return 0.0;
        const auto start = AV_NOPTS_VALUE == m_context->start_time ? 0 : m_context->start_time;
        return static_cast<double>(stamp) * av_q2d(unit) -
               static_cast<double>(start) / AV_TIME_BASE;
    }

    /// What went wrong where a demultiplexer says no more than that there is no more; 0 if nothing.
    int transportError() const { return nullptr == m_context->pb ? 0 : m_context->pb->error; }

    StreamInfo info(bool live) const
    {
        const AVCodecParameters& codec = *stream().codecpar;
        const AVRational rate = live && !stamped() ? AVRational{0, 1} : stream().avg_frame_rate;
        return {QString::fromLatin1(avcodec_get_name(codec.codec_id)), codec.width, codec.height,
                rate.num > 0 && rate.den > 0 ? av_q2d(rate) : 0.0, live};
    }

    /// The next packet of the video, or FFmpeg's error. In a file it may lie beyond any length of
    /// sound; a live source that sends sound alone has lost its video.
    int read(AVPacket* packet, bool live)
    {
        alive();
        for (;;) {
            const int code = av_read_frame(m_context, packet);
            if (AVERROR(EAGAIN) == code) {  // a device that has none yet
                if (!m_work.waitFor(CONST_NO_PICTURE_YET_SECONDS) || 0 != interrupted(this))
                    return AVERROR_EXIT;
                continue;
            }
            if (code < 0 || packet->stream_index == m_index)
                return code;
            av_packet_unref(packet);
            if (!live)
                alive();
            if (0 != interrupted(this))
                return AVERROR_EXIT;
        }
    }

private:
    /// @param pictures  a device's format, "" for whichever it has first; FFmpeg's error
    int tryToOpen(const QString& source, const char* pictures)
    {
        m_context = avformat_alloc_context();
        m_context->interrupt_callback = {interrupted, this};
        if (IsDevice(source))
            m_context->flags |= AVFMT_FLAG_NONBLOCK;  // its driver asks nobody while it waits
        alive();
        AVDictionary* options = nullptr;
        av_dict_set(&options, "rtsp_transport", "tcp", 0);
        // What has been read in order to probe a live stream is late; a file needs it.
        if (IsTriedAgain(source) && !source.startsWith("http"))
            av_dict_set(&options, "fflags", "+nobuffer", 0);
        if ('\0' != *pictures)
            av_dict_set(&options, "input_format", pictures, 0);
        const AVInputFormat* const format =
            IsDevice(source) ? av_find_input_format("v4l2") : nullptr;
        const int code =
            avformat_open_input(&m_context, source.toUtf8().constData(), format, &options);
        av_dict_free(&options);
        return code;
    }

    void alive()
    {
        m_deadline = Clock::now() +
                     std::chrono::duration_cast<Clock::duration>(Seconds(m_work.silenceLimit()));
    }

    static int interrupted(void* self)
    {
        const Input& input = *static_cast<Input*>(self);
        // FFmpeg asks a device that has no picture again at once, and here in between.
        if (input.m_probesDevice)
            input.m_work.waitFor(CONST_NO_PICTURE_YET_SECONDS);
        return input.m_work.stops() || Clock::now() > input.m_deadline ? 1 : 0;
    }

    Work& m_work;
    Clock::time_point m_deadline;
    AVFormatContext* m_context = nullptr;
    int m_index = -1;
    bool m_probesDevice = false;
};

/// Packs uncompressed pictures of any kind as Motion JPEG.
class StreamReader::Recoder
{
public:
    /// FFmpeg's error.
    int open(const AVStream& camera)
    {
        constexpr int CONST_QUALITY = 3;  // of 2, the best, to 31
        const AVCodecParameters& pictures = *camera.codecpar;
        m_decoder.reset(avcodec_alloc_context3(avcodec_find_decoder(pictures.codec_id)));
        m_encoder.reset(avcodec_alloc_context3(avcodec_find_encoder(AV_CODEC_ID_MJPEG)));
        m_encoder->width = m_picture->width = pictures.width;
        m_encoder->height = m_picture->height = pictures.height;
        m_encoder->pix_fmt = AV_PIX_FMT_YUVJ420P;
        m_picture->format = m_encoder->pix_fmt;
        m_encoder->time_base = camera.time_base;
        m_encoder->flags |= AV_CODEC_FLAG_QSCALE;
        m_picture->quality = m_encoder->global_quality = CONST_QUALITY * FF_QP2LAMBDA;
        int code = avcodec_parameters_to_context(m_decoder.get(), &pictures);
        if (code >= 0)
            code = avcodec_open2(m_decoder.get(), nullptr, nullptr);
        if (code >= 0)
            code = avcodec_open2(m_encoder.get(), nullptr, nullptr);
        if (code >= 0)
            code = av_frame_get_buffer(m_picture.get(), 0);
        m_scaler.reset(sws_getContext(pictures.width, pictures.height,
                                      static_cast<AVPixelFormat>(pictures.format), pictures.width,
                                      pictures.height, m_encoder->pix_fmt, SWS_BILINEAR, nullptr,
                                      nullptr, nullptr));
        if (code >= 0 && !m_scaler)
            code = AVERROR_PATCHWELCOME;
        return code < 0 ? code
                        : avcodec_parameters_from_context(m_parameters.get(), m_encoder.get());
    }

    const AVCodecParameters& parameters() const { return *m_parameters; }

    /// Puts the packed picture in the place of the other; FFmpeg's error.
    int recode(AVPacket* packet)
    {
        int code = avcodec_send_packet(m_decoder.get(), packet);
        if (code >= 0)
            code = avcodec_receive_frame(m_decoder.get(), m_raw.get());
        if (code >= 0)
            code = av_frame_make_writable(m_picture.get());  // the encoder may still have it
        if (code < 0)
            return code;
        sws_scale(m_scaler.get(), m_raw->data, m_raw->linesize, 0, m_raw->height, m_picture->data,
                  m_picture->linesize);
        m_picture->pts = m_raw->pts;
        av_packet_unref(packet);
        code = avcodec_send_frame(m_encoder.get(), m_picture.get());
        return code < 0 ? code : avcodec_receive_packet(m_encoder.get(), packet);
    }

private:
    Owned<AVCodecContext> m_decoder;
    Owned<AVCodecContext> m_encoder;
    Owned<AVCodecParameters> m_parameters{avcodec_parameters_alloc()};
    Owned<SwsContext> m_scaler;
    const Owned<AVFrame> m_raw{av_frame_alloc()};
    const Owned<AVFrame> m_picture{av_frame_alloc()};
};

/// The Matroska stream that is made of it. Every packet is a cluster of its own, so that nothing
/// waits for the packet behind it.
class StreamReader::Output
{
public:
    Output() = default;
    ~Output()
    {
        if (nullptr == m_context)
            return;
        if (nullptr != m_context->pb)
            av_freep(&m_context->pb->buffer);
        avio_context_free(&m_context->pb);
        avformat_free_context(m_context);
    }
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    /// @param pictures  how the source's pictures are packed
    QString open(const AVStream& source, const AVCodecParameters& pictures)
    {
        int code = avformat_alloc_output_context2(&m_context, nullptr, "matroska", nullptr);
        if (code < 0)
            return ErrorText(code);
        auto* const buffer = static_cast<unsigned char*>(av_malloc(CONST_OUTPUT_BUFFER));
        m_context->pb =
            avio_alloc_context(buffer, CONST_OUTPUT_BUFFER, 1, &m_bytes, nullptr, take, nullptr);
        m_context->flags |= AVFMT_FLAG_FLUSH_PACKETS;
        AVStream* const stream = avformat_new_stream(m_context, nullptr);
        code = avcodec_parameters_copy(stream->codecpar, &pictures);
        if (code < 0)
            return ErrorText(code);
        stream->codecpar->codec_tag = 0;
        stream->time_base = source.time_base;
        stream->avg_frame_rate = source.avg_frame_rate;
        AVDictionary* options = nullptr;
        av_dict_set(&options, "live", "1", 0);
        code = avformat_write_header(m_context, &options);
        av_dict_free(&options);
        return code < 0 ? ErrorText(code) : QString();
    }

    /// Writes the packet, which stays the caller's; its times are seconds.
    void write(AVPacket* packet, double decodeTime, double showTime)
    {
        const double unit = av_q2d(m_context->streams[0]->time_base);
        packet->dts = std::llround(decodeTime / unit);
        packet->pts = std::max<std::int64_t>(std::llround(showTime / unit), packet->dts);
        packet->duration = 0;
        packet->stream_index = 0;
        // av_write_frame keeps what it needs of the packet and takes none of it over.
        if (av_write_frame(m_context, packet) >= 0)
            av_write_frame(m_context, nullptr);  // closes the cluster
    }

    QByteArray takeBytes() { return std::exchange(m_bytes, {}); }

private:
    static int take(void* opaque, std::uint8_t* data, int size)
    {
        static_cast<QByteArray*>(opaque)->append(reinterpret_cast<const char*>(data), size);
        return size;
    }

    AVFormatContext* m_context = nullptr;
    QByteArray m_bytes;
};

/// When the packets of one opening are due, in seconds since its start. A file's time stamps are
/// stretched by the speed, and neither pauses nor what holds it up count: what is sent is always
/// due now, as if it were live.
class StreamReader::Pace
{
public:
    explicit Pace(const AVStream& stream) : m_stream(stream) {}

    double now() const { return Seconds(Clock::now() - m_start).count(); }

    void setNow(double seconds)
    {
        m_start = Clock::now() - std::chrono::duration_cast<Clock::duration>(Seconds(seconds));
    }

    double speed() const { return m_speed; }

    /// It counts from the last picture on that has been sent: those between it and the packet,
    /// which are to be shown before it, keep their order so.
    void setSpeed(double speed)
    {
        if (speed == m_speed)
            return;
        if (m_sent > m_turn) {
            m_turnTime = timeOf(m_sent);
            m_turn = m_sent;
            m_speedBefore = m_speed;
        }
        m_speed = speed;
    }

    /// Goes on to a packet; the one before it has been sent.
    void next(const AVPacket& packet)
    {
        const double stamp = stampOf(packet);
        double step = m_first ? 0.0 : stamp - m_lastStamp;
        double ahead = AV_NOPTS_VALUE == packet.pts ? 0.0 : secondsOf(packet.pts) - stamp;
        // The source's clock may have jumped, for showing before it has for decoding.
        if (step < 0.0 || step > CONST_CLOCK_JUMP_SECONDS)
            step = m_period;
        if (ahead < 0.0 || ahead > CONST_CLOCK_JUMP_SECONDS)
            ahead = 0.0;
        if (!m_first)
            m_sent = std::max(m_sent, m_film + m_ahead);
        m_first = false;
        m_lastStamp = stamp;
        m_period = periodOf(packet);
        m_film += step;
        m_ahead = ahead;
    }

    /// Goes on to a packet of a live source that tells no times: it is due as it comes.
    void arrive()
    {
        m_turnTime = std::max(due(), now());
        m_turn = m_film;
        m_ahead = 0.0;
    }

    /// When the packet is to be decoded, and is sent.
    double due() const { return timeOf(m_film); }
    /// When it is to be shown.
    double shown() const { return timeOf(m_film + m_ahead); }
    /// When its time has passed as well.
    double end() const { return timeOf(m_film + m_period); }

private:
    double secondsOf(std::int64_t time) const
    {
        return static_cast<double>(time) * av_q2d(m_stream.time_base);
    }

    /// When a packet is to be decoded. Matroska does not tell it, and FFmpeg cannot before it has
    /// seen how the first of them are ordered.
    double stampOf(const AVPacket& packet) const
    {
        if (AV_NOPTS_VALUE != packet.dts)
            return secondsOf(packet.dts);
        if (!m_first)
            return m_lastStamp + m_period;
        const double shown = AV_NOPTS_VALUE == packet.pts ? 0.0 : secondsOf(packet.pts);
        return shown - m_stream.codecpar->video_delay * periodOf(packet);
    }

    double periodOf(const AVPacket& packet) const
    {
        const double told = packet.duration > 0 ? secondsOf(packet.duration)
                                                : av_q2d(av_inv_q(m_stream.avg_frame_rate));
        return told > 0.0 && told <= CONST_CLOCK_JUMP_SECONDS ? told : CONST_DEFAULT_PERIOD;
    }

    /// When it is time for a place in the film.
    double timeOf(double film) const
    {
        const double rest = film - m_turn;
        return m_turnTime + rest / (rest < 0.0 ? m_speedBefore : m_speed);
    }

    const AVStream& m_stream;
    Clock::time_point m_start = Clock::now();
    bool m_first = true;
    double m_lastStamp = 0.0;
    double m_film = 0.0;                     ///< seconds of film up to the packet's decoding
    double m_ahead = 0.0;                    ///< from there to its being shown
    double m_period = CONST_DEFAULT_PERIOD;  ///< of the packet
    double m_sent = 0.0;                     ///< seconds of film up to the last picture sent
    double m_turn = 0.0;                     ///< where in the film the speed has changed
    double m_turnTime = 0.0;
    double m_speedBefore = 1.0;
    double m_speed = 1.0;
};

// ---- The thread

void StreamReader::Work::run()
{
    playAll();
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_over = true;
    m_changed.notify_all();
}

void StreamReader::Work::askToStop()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    if (!m_stop)
        m_asked = Clock::now();
    m_stop = true;
    m_changed.notify_all();
    m_changed.wait(lock, [this] { return !m_callsOut; });
}

bool StreamReader::Work::stop()
{
    askToStop();
    std::unique_lock<std::mutex> lock(m_mutex);
    m_changed.wait_until(lock, m_asked + CONST_STOP_TIME, [this] { return m_over; });
    return m_over;
}

bool StreamReader::Work::waitFor(double seconds)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    m_changed.wait_for(lock, Seconds(seconds), [this] { return m_stop.load(); });
    return !m_stop;
}

template <typename Call>
bool StreamReader::Work::callOut(const Call& call)
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (m_stop)
            return false;
        m_callsOut = true;
    }
    call();
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_callsOut = false;
    m_changed.notify_all();
    return true;
}

void StreamReader::Work::tell(StreamState state, const QString& message)
{
    callOut([&] { emit m_reader.stateChanged(state, message); });
}

void StreamReader::Work::setPaused(bool paused)
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (m_paused != paused)
            m_steps = 0;
        m_paused = paused;
    }
    m_changed.notify_all();
}

void StreamReader::Work::setSpeed(double speed)
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_speed = std::clamp(speed, 0.25, 4.0);
    }
    m_changed.notify_all();
}

void StreamReader::Work::step()
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        ++m_steps;
    }
    m_changed.notify_all();
}

void StreamReader::Work::playAll()
{
    avdevice_register_all();
    double retry = CONST_FIRST_RETRY_SECONDS;
    tell(StreamState::Connecting, {});
    while (!m_stop) {
        QString why;
        const Clock::time_point start = Clock::now();
        const End end = playOnce(&why);
        if (End::Stopped == end)
            return;
        if (End::Finished == end && m_loop) {
            m_position = 0.0;
            continue;
        }
        if (End::Finished == end) {
            callOut([this] { m_sink({}); });
            return tell(StreamState::Ended, {});
        }
        if (End::Unplayable == end || !IsTriedAgain(m_source))
            return tell(StreamState::Failed, why);
        if (Seconds(Clock::now() - start).count() > CONST_LONG_PLAY_SECONDS)
            retry = CONST_FIRST_RETRY_SECONDS;  // it had played
        tell(StreamState::Reconnecting, why);
        if (!waitFor(retry))
            return;
        retry = std::min(2.0 * retry, CONST_LAST_RETRY_SECONDS);
    }
}

/// Finished is said of files alone: a live stream that ends has broken.
StreamReader::Work::End StreamReader::Work::playOnce(QString* why)
{
    Input input(*this);
    Output output;
    *why = WhyNotOpened(m_source);
    if (!why->isEmpty())
        return End::Broken;
    const int opening = input.open(m_source);
    if (m_stop)
        return End::Stopped;
    if (opening < 0) {
        *why = input.errorText(m_source, opening);
        return AVERROR_STREAM_NOT_FOUND == opening && !input.live(m_source) ? End::Unplayable
                                                                            : End::Broken;
    }
    const AVCodecParameters* pictures = input.stream().codecpar;
    std::optional<Recoder> recoder;
    if (IsDevice(m_source) && AV_CODEC_ID_RAWVIDEO == pictures->codec_id) {
        const int code = recoder.emplace().open(input.stream());
        if (code < 0) {
            *why = tr("It is a camera whose uncompressed pictures cannot be shown: %1.")
                       .arg(ErrorText(code));
            return End::Unplayable;
        }
        pictures = &recoder->parameters();
    }
    *why = WhyNotPlayed(pictures->codec_id);
    if (!why->isEmpty())
        return AV_CODEC_ID_NONE == pictures->codec_id ? End::Broken : End::Unplayable;
    *why = output.open(input.stream(), *pictures);
    if (!why->isEmpty())
        return End::Broken;
    const bool live = input.live(m_source);
    if (!live && m_position > 0.0)
        input.seek(m_position);
    callOut([&] { emit m_reader.opened(input.info(live)); });
    tell(StreamState::Playing, {});

    Pace pace(input.stream());
    const Owned<AVPacket> packet(av_packet_alloc());
    bool any = false;
    for (;;) {
        const int code = input.read(packet.get(), live);
        if (m_stop)
            return End::Stopped;
        if (code < 0) {
            const int error = AVERROR_EOF == code ? input.transportError() : code;
            // A file that is damaged from here on has ended, as far as there is something to see.
            const bool ended =
                0 == error || AVERROR_EOF == error || (any && !IsTriedAgain(m_source));
            *why = ended ? tr("The source has ended.")
                   : IsDevice(m_source) && AVERROR(ENODEV) == error
                       ? tr("The camera has been unplugged.")
                       : input.errorText(m_source, error);
            if (!ended || live)
                return End::Broken;
            if (any)
                awaitEnd(pace);
            else
                waitFor(CONST_DEFAULT_PERIOD);  // before it is opened again
            return m_stop ? End::Stopped : End::Finished;
        }
        any = true;
        m_position = input.position(*packet);
        const bool timed = AV_NOPTS_VALUE != packet->pts || AV_NOPTS_VALUE != packet->dts;
        if (live && !(timed && input.stamped()))
            pace.arrive();
        else
            pace.next(*packet);
        if (!live && !awaitTurn(pace))
            return End::Stopped;
        // A damaged one costs a picture.
        if (!recoder || recoder->recode(packet.get()) >= 0)
            output.write(packet.get(), pace.due(), pace.shown());
        av_packet_unref(packet.get());
        if (!deliver(output.takeBytes(), live))
            return End::Stopped;
    }
}

bool StreamReader::Work::awaitTurn(Pace& pace)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    while (!m_stop) {
        pace.setSpeed(m_speed);
        if (pace.now() > pace.due() + CONST_LATE_SECONDS)
            pace.setNow(pace.due());
        const double now = pace.now();
        if (m_paused) {
            m_changed.wait(lock, [this] { return m_stop || !m_paused || m_steps > 0; });
            const bool step = m_paused && m_steps > 0;
            pace.setNow(step ? pace.due() : now);
            if (step) {
                --m_steps;
                return !m_stop;
            }
        } else if (!m_changed.wait_for(lock, Seconds(pace.due() - now), [&] {
                       return m_stop || m_paused || m_speed != pace.speed();
                   })) {
            return true;
        }
    }
    return false;
}

void StreamReader::Work::awaitEnd(Pace& pace)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    bool early = true;
    while (early && !m_stop && !m_paused) {
        pace.setSpeed(m_speed);
        early = m_changed.wait_for(lock, Seconds(pace.end() - pace.now()),
                                   [&] { return m_stop || m_paused || m_speed != pace.speed(); });
    }
}

bool StreamReader::Work::deliver(const QByteArray& block, bool live)
{
    const Clock::time_point start = Clock::now();
    bool taken = block.isEmpty();
    while (!taken) {
        if (!callOut([&] { taken = m_sink(block); }))
            return false;
        if (taken)
            break;
        if (live && Seconds(Clock::now() - start).count() > CONST_FULL_LIVE_SECONDS)
            return callOut([this] { emit m_reader.dropped(1); });
        if (!waitFor(CONST_FULL_RETRY_SECONDS))
            return false;
    }
    return !m_stop;
}

// ---- The reader

StreamReader::StreamReader(QString source, Sink sink, QObject* parent)
    : QObject(parent), m_work(std::make_shared<Work>(std::move(source), std::move(sink), *this))
{
    qRegisterMetaType<StreamState>();
    qRegisterMetaType<StreamInfo>();
}

StreamReader::~StreamReader()
{
    stop();
}

void StreamReader::start()
{
    if (!m_thread.joinable())
        m_thread = std::thread([work = m_work] { work->run(); });
}

void StreamReader::stop()
{
    if (!m_thread.joinable())
        return;
    if (m_work->stop())
        m_thread.join();
    else
        m_thread.detach();
}

void StreamReader::askToStop()
{
    m_work->askToStop();
}

void StreamReader::setPaused(bool paused)
{
    m_work->setPaused(paused);
}

void StreamReader::setSpeed(double speed)
{
    m_work->setSpeed(speed);
}

void StreamReader::setLoop(bool loop)
{
    m_work->setLoop(loop);
}

void StreamReader::setSilenceLimit(double seconds)
{
    m_work->setSilenceLimit(seconds);
}

void StreamReader::step()
{
    m_work->step();
}

double StreamReader::position() const
{
    return m_work->position();
}

void StreamReader::setPosition(double seconds)
{
    m_work->setPosition(seconds);
}

}  // namespace viewer
