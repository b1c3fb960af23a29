// How camera devices are read: a made-up one gives pictures of each kind, is taken, and goes away.
#include <future>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

#include "tests/viewer/FakeCamera.h"
#include "tests/viewer/Reading.h"

#include <linux/videodev2.h>

namespace {

using stage::Reading;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::SizeIs;
using viewer::StreamState;

constexpr int CONST_WIDTH = 320;
constexpr int CONST_HEIGHT = 240;
constexpr std::size_t CONST_MANY = 30;

/// The packets of a file's video, and its decoded pictures.
class Clip
{
public:
    explicit Clip(const QString& path)
    {
        avformat_open_input(&m_context, path.toUtf8().constData(), nullptr, nullptr);
        avformat_find_stream_info(m_context, nullptr);
    }
    ~Clip() { avformat_close_input(&m_context); }
    Clip(const Clip&) = delete;
    Clip& operator=(const Clip&) = delete;

    template <typename Take>
    void forEachPacket(const Take& take)
    {
        AVPacket* packet = av_packet_alloc();
        while (av_read_frame(m_context, packet) >= 0) {
            take(*packet);
            av_packet_unref(packet);
        }
        av_packet_free(&packet);
    }

    const AVCodecParameters& codec() const { return *m_context->streams[0]->codecpar; }

private:
    AVFormatContext* m_context = nullptr;
};

/// Ten pictures of one light colour, as a camera packs them.
std::vector<std::string> Pictures(const QStringList& coding, const QString& container)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath("pictures." + container);
    const QString colour = QString("color=0xe0f0c8:size=%1x%2:rate=25:duration=0.4")
                               .arg(CONST_WIDTH)
                               .arg(CONST_HEIGHT);
    QProcess::execute("ffmpeg", QStringList{"-v", "error", "-f", "lavfi", "-i", colour} + coding +
                                    QStringList{path});
    std::vector<std::string> pictures;
    Clip(path).forEachPacket([&](const AVPacket& packet) {
        pictures.emplace_back(reinterpret_cast<const char*>(packet.data),
                              static_cast<std::size_t>(packet.size));
    });
    return pictures;
}

fake_camera::Kind Yuyv()
{
    return {V4L2_PIX_FMT_YUYV, CONST_WIDTH, CONST_HEIGHT,
            Pictures({"-c:v", "rawvideo", "-pix_fmt", "yuyv422"}, "nut")};
}

fake_camera::Kind MotionJpeg()
{
    return {V4L2_PIX_FMT_MJPEG, CONST_WIDTH, CONST_HEIGHT,
            Pictures({"-c:v", "mjpeg", "-q:v", "2"}, "mkv")};
}

fake_camera::Kind H264()
{
    return {V4L2_PIX_FMT_H264, CONST_WIDTH, CONST_HEIGHT,
            Pictures({"-c:v", "libx264", "-g", "5", "-bf", "0", "-pix_fmt", "yuv420p"}, "ts")};
}

fake_camera::Kind Mpeg4()
{
    return {V4L2_PIX_FMT_MPEG4, CONST_WIDTH, CONST_HEIGHT, Pictures({"-c:v", "mpeg4"}, "avi")};
}

/// What a decoder makes of what the reader handed on.
struct Decoded
{
    int width;
    int height;
    int luma;  ///< in the middle of the picture
    int blue;
    int red;
};

std::vector<Decoded> Decode(const QByteArray& bytes)
{
    const QTemporaryDir folder;
    QFile file(folder.filePath("taken.mkv"));
    EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(bytes);
    file.close();
    Clip clip(file.fileName());
    AVCodecContext* decoder = avcodec_alloc_context3(avcodec_find_decoder(clip.codec().codec_id));
    avcodec_parameters_to_context(decoder, &clip.codec());
    avcodec_open2(decoder, nullptr, nullptr);
    AVFrame* frame = av_frame_alloc();
    std::vector<Decoded> pictures;
    const auto feed = [&](const AVPacket* packet) {
        EXPECT_GE(avcodec_send_packet(decoder, packet), 0);
        while (avcodec_receive_frame(decoder, frame) >= 0) {
            const auto at = [&](int plane, int part) {
                return frame->data[plane][frame->height / 2 / part * frame->linesize[plane] +
                                          frame->width / 2 / part];
            };
            pictures.push_back({frame->width, frame->height, at(0, 1), at(1, 2), at(2, 2)});
        }
    };
    clip.forEachPacket([&](const AVPacket& packet) { feed(&packet); });
    feed(nullptr);
    av_frame_free(&frame);
    avcodec_free_context(&decoder);
    return pictures;
}

MATCHER_P3(HasColour, luma, blue, red, "")
{
    constexpr int CONST_NEAR = 4;
    return CONST_WIDTH == arg.width && CONST_HEIGHT == arg.height &&
           std::abs(arg.luma - luma) <= CONST_NEAR && std::abs(arg.blue - blue) <= CONST_NEAR &&
           std::abs(arg.red - red) <= CONST_NEAR;
}

struct Offer
{
    const char* name;
    std::vector<fake_camera::Kind (*)()> kinds;
    const char* codec;  ///< that is chosen
    bool fullRange;     ///< of the decoded pictures, as Motion JPEG has it
};

class CameraDevices : public ::testing::TestWithParam<Offer>
{};

TEST_P(CameraDevices, GiveADecodableStream)
{
    std::vector<fake_camera::Kind> kinds;
    for (const auto kind : GetParam().kinds)
        kinds.push_back(kind());
    for (const fake_camera::Kind& kind : kinds)
        ASSERT_EQ(kind.pictures.size(), 10U);
    fake_camera::Plug(kinds);
    Reading reading(fake_camera::CONST_PATH);
    reading.reader().start();
    reading.awaitPictures(CONST_MANY);
    reading.reader().stop();
    EXPECT_TRUE(reading.info().live);
    EXPECT_EQ(reading.info().codec, GetParam().codec);
    EXPECT_EQ(reading.info().width, CONST_WIDTH);
    const std::vector<Decoded> pictures = Decode(reading.bytes());
    EXPECT_GE(pictures.size(), CONST_MANY - 2);
    // BT.601, full range and limited.
    if (GetParam().fullRange)
        EXPECT_THAT(pictures, Each(HasColour(231, 111, 123)));
    else
        EXPECT_THAT(pictures, Each(HasColour(214, 113, 124)));
}

INSTANTIATE_TEST_SUITE_P(
    Offering, CameraDevices,
    ::testing::Values(Offer{"UncompressedAlone", {Yuyv}, "rawvideo", true},
                      Offer{"MotionJpegBehindUncompressed", {Yuyv, MotionJpeg}, "mjpeg", true},
                      Offer{"H264BehindMotionJpeg", {MotionJpeg, H264}, "h264", false}),
    [](const auto& info) { return info.param.name; });

TEST(CameraDevice, IsMissedWhenItIsUnpluggedAndReadAgainWhenItIsBack)
{
    const std::vector<fake_camera::Kind> kinds{Yuyv(), MotionJpeg()};
    fake_camera::Plug(kinds);
    Reading reading(fake_camera::CONST_PATH);
    reading.reader().start();
    reading.awaitPictures(5);
    fake_camera::Unplug();
    EXPECT_THAT(reading.await(StreamState::Reconnecting).toStdString(), HasSubstr("unplugged"));
    EXPECT_THAT(reading.await(StreamState::Reconnecting).toStdString(),
                HasSubstr("no such device"));
    const std::size_t before = reading.pictures();
    fake_camera::Plug(kinds);
    reading.await(StreamState::Playing);
    reading.awaitPictures(before + 5);
}

TEST(CameraDevice, ThatAnotherProgramHasIsToldAndTriedAgain)
{
    fake_camera::Plug({MotionJpeg()});
    fake_camera::SetBusy(true);
    Reading reading(fake_camera::CONST_PATH);
    reading.reader().start();
    EXPECT_THAT(reading.await(StreamState::Reconnecting).toStdString(),
                HasSubstr("Another program"));
    fake_camera::SetBusy(false);
    reading.await(StreamState::Playing);
    reading.awaitPictures(5);
}

TEST(CameraDevice, OfACodecThatCannotBeShownIsToldAndNotTriedAgain)
{
    fake_camera::Plug({Mpeg4()});
    Reading reading(fake_camera::CONST_PATH);
    reading.reader().start();
    EXPECT_THAT(reading.awaitEnd().toStdString(), HasSubstr("Its video is mpeg4; H.264"));
    EXPECT_EQ(reading.states().back(), StreamState::Failed);
}

TEST(CameraDevice, IsGivenTimeForItsFirstPictureAndTheProcessorToOthers)
{
    fake_camera::Plug({MotionJpeg()});
    fake_camera::HoldPictures(true);
    std::promise<int> asks;  // before it opens the device again
    Reading reading(fake_camera::CONST_PATH);
    QObject::connect(
        &reading.reader(), &viewer::StreamReader::stateChanged, &reading.reader(),
        [&asks, told = false](StreamState state, const QString&) mutable {
            if (StreamState::Reconnecting == state && !std::exchange(told, true))
                asks.set_value(fake_camera::AsksInVain());
        },
        Qt::DirectConnection);
    reading.reader().setSilenceLimit(0.5);
    reading.reader().start();
    EXPECT_THAT(reading.await(StreamState::Reconnecting).toStdString(),
                HasSubstr("No video has come from it for 0.5 seconds"));
    EXPECT_THAT(reading.statesSoFar(),
                ElementsAre(StreamState::Connecting, StreamState::Reconnecting));
    // It asked every five milliseconds at most, and not as often as it could.
    EXPECT_LT(asks.get_future().get(), 120);
    fake_camera::HoldPictures(false);
    reading.await(StreamState::Playing);
}

TEST(CameraDevice, CanBeClosedWhileItHasNoPicture)
{
    fake_camera::Plug({MotionJpeg()});
    Reading reading(fake_camera::CONST_PATH);
    reading.reader().start();
    reading.awaitPictures(1);
    fake_camera::HoldPictures(true);
    fake_camera::AwaitAskInVain();
    reading.reader().stop();
    EXPECT_EQ(reading.states().back(), StreamState::Playing);
}

TEST(CameraDevice, LosesNoMoreThanThePictureThatItsDriverFoundDamaged)
{
    for (const auto kind : {Yuyv, MotionJpeg}) {
        fake_camera::Plug({kind()});
        Reading reading(fake_camera::CONST_PATH);
        reading.reader().start();
        reading.awaitPictures(5);
        fake_camera::DamageNext();
        reading.awaitPictures(CONST_MANY);
        reading.reader().stop();
        EXPECT_THAT(Decode(reading.bytes()), Each(HasColour(231, 111, 123)));
        EXPECT_THAT(reading.states(), SizeIs(2));
    }
}

}  // namespace
