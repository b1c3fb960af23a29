// How streams are read: pace, position, and what is said of sources that do not play. Without
// engine and windows, so that it runs under every sanitizer.
#include "viewer/StreamReader.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstring>
#include <future>
#include <iterator>
#include <map>
#include <thread>
#include <tuple>

#include <arpa/inet.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include "tests/viewer/FakeNames.h"
#include "tests/viewer/Reading.h"
#include "tests/viewer/Server.h"

extern "C" {
#include <libavformat/avformat.h>
}

namespace {

using stage::Reading;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using viewer::StreamReader;
using viewer::StreamState;

constexpr double CONST_PERIOD = 0.04;  ///< of the clips' pictures

/// The times of the pictures in a Matroska stream, in seconds.
std::vector<double> TimesIn(const QByteArray& bytes)
{
    const QTemporaryDir folder;
    QFile file(folder.filePath("taken.mkv"));
    EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(bytes);
    file.close();
    std::vector<double> times;
    AVFormatContext* context = nullptr;
    if (avformat_open_input(&context, file.fileName().toUtf8().constData(), nullptr, nullptr) < 0)
        return times;
    AVPacket* packet = av_packet_alloc();
    while (av_read_frame(context, packet) >= 0) {
        times.push_back(static_cast<double>(packet->pts) * av_q2d(context->streams[0]->time_base));
        av_packet_unref(packet);
    }
    av_packet_free(&packet);
    avformat_close_input(&context);
    return times;
}

/// The times in a file, in its order.
std::vector<double> TimesInFile(const QString& path)
{
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    return TimesIn(file.readAll());
}

/// A clip of this many pictures in a second, or once in so many seconds: "1/8".
QString Made(const QString& name, const QString& rate, int pictures, const QStringList& encoder)
{
    const QString path = QString(FISHEYE_TEST_FOLDER) + "/" + name + ".mkv";
    if (!QFile::exists(path)) {
        const QString part = path + QString::number(getpid()) + ".mkv";
        const int code =
            QProcess::execute("ffmpeg", QStringList{"-v", "error", "-y", "-f", "lavfi", "-i",
                                                    "testsrc=size=192x192:rate=" + rate,
                                                    "-frames:v", QString::number(pictures), "-c:v",
                                                    "libx264", "-pix_fmt", "yuv420p"} +
                                            encoder + QStringList{part});
        if (0 == code)
            QFile::rename(part, path);
        QFile::remove(part);
    }
    return path;
}

/// Ten pictures, a key frame in every five.
QString Clip()
{
    return Made("ten-pictures", "25", 10, {"-g", "5", "-bf", "0"});
}

class Speeds : public ::testing::TestWithParam<double>
{};

TEST_P(Speeds, StretchTheTimesOfAFile)
{
    Reading reading(Clip());
    reading.reader().setSpeed(GetParam());
    reading.reader().start();
    reading.await(StreamState::Ended);
    const std::vector<double> times = TimesIn(reading.bytes());
    ASSERT_EQ(times.size(), 10U);
    for (std::size_t i = 0; i < times.size(); ++i)
        EXPECT_NEAR(times[i], CONST_PERIOD * static_cast<double>(i) / GetParam(), 0.0021);
    EXPECT_FALSE(reading.info().live);
    EXPECT_EQ(reading.info().codec, "h264");
}

INSTANTIATE_TEST_SUITE_P(QuarterToFour, Speeds, ::testing::Values(0.25, 0.5, 1.0, 2.0, 4.0),
                         [](const auto& info) {
                             return "Percent" + std::to_string(int(info.param * 100));
                         });

// Matroska does not tell when a picture is to be decoded, and FFmpeg finds it out only later.
TEST(StreamReader, KeepsThePaceOfReorderedPicturesFromTheFirstOn)
{
    const QString clip = Made("reordered", "10", 20, {"-bf", "3", "-b_strategy", "0"});
    const std::vector<double> told = TimesInFile(clip);
    Reading reading(clip);
    reading.reader().start();
    reading.await(StreamState::Ended);
    const std::vector<double> times = TimesIn(reading.bytes());
    ASSERT_EQ(times.size(), 20U);
    ASSERT_EQ(told.size(), 20U);
    EXPECT_FALSE(std::is_sorted(told.begin(), told.end()));
    for (std::size_t i = 0; i < times.size(); ++i)
        EXPECT_NEAR(times[i] - times[0], told[i] - told[0], 0.0021) << i;
}

TEST(StreamReader, GivesTheLastPictureItsTimeBeforeItBeginsAgain)
{
    Reading reading(Made("two-in-half-a-second", "4", 2, {}));
    reading.reader().setLoop(true);
    const auto start = std::chrono::steady_clock::now();
    reading.reader().start();
    reading.awaitPictures(5);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(995));
}

TEST(StreamReader, StepsThroughASlowFileAtOnce)
{
    // Played, it takes longer than is waited.
    Reading reading(Made("one-in-eight-seconds", "1/8", 16, {"-bf", "0"}));
    reading.reader().setPaused(true);
    reading.reader().start();
    for (int i = 0; i < 16; ++i)
        reading.reader().step();
    reading.awaitPictures(16);
}

TEST(StreamReader, HoldsBackThePictureForWhichAPauseFindsItWaiting)
{
    const QString clip = Made("one-in-three-seconds", "1/3", 2, {});
    Reading reading(clip);
    reading.reader().start();
    while (reading.reader().position() < 1.0)  // it has read the second
        std::this_thread::yield();
    reading.reader().setPaused(true);
    Reading other(clip);
    other.reader().start();
    other.await(StreamState::Ended);
    EXPECT_EQ(reading.pictures(), 1U);
}

TEST(StreamReader, BringsThePictureThatItWaitsForForwardWithTheSpeed)
{
    Reading reading(Made("one-in-eight-seconds", "1/8", 16, {"-bf", "0"}));
    reading.reader().setSpeed(0.25);
    reading.reader().start();
    while (reading.reader().position() < 1.0)  // it has read the second
        std::this_thread::yield();
    reading.reader().setSpeed(4.0);
    reading.awaitPictures(2);
    reading.reader().stop();
    const std::vector<double> times = TimesIn(reading.bytes());
    ASSERT_GE(times.size(), 2U);
    EXPECT_LT(times[1] - times[0], 16.0);  // 2 seconds; 32 they would have been
}

TEST(StreamReader, KeepsReorderedPicturesInOrderWhenTheSpeedChanges)
{
    const QString clip = Made("reordered", "10", 20, {"-bf", "3", "-b_strategy", "0"});
    const std::vector<double> told = TimesInFile(clip);
    Reading reading(clip);
    reading.reader().setSpeed(0.25);
    reading.reader().start();
    reading.awaitPictures(6);
    reading.reader().setSpeed(4.0);
    reading.await(StreamState::Ended);
    const std::vector<double> times = TimesIn(reading.bytes());
    ASSERT_EQ(times.size(), 20U);
    ASSERT_EQ(told.size(), 20U);
    std::map<double, double> shown;
    for (std::size_t i = 0; i < times.size(); ++i)
        shown[told[i]] = times[i];
    for (auto next = std::next(shown.begin()); next != shown.end(); ++next) {
        const double period = next->second - std::prev(next)->second;
        EXPECT_GE(period, 0.1 / 4.0 - 0.0021) << next->first;
        EXPECT_LE(period, 0.1 / 0.25 + 0.0021) << next->first;
    }
    EXPECT_NEAR(shown.rbegin()->second - std::prev(shown.end(), 2)->second, 0.1 / 4.0, 0.0021);
}

// Before it finds out, FFmpeg tells new times for showing beside old ones for decoding.
TEST(StreamReader, TakesANewSpeedBehindAJumpOfTheTimesOfReorderedPictures)
{
    Reading reading(Made("jump", "10", 40,
                         {"-bf", "3", "-b_strategy", "0", "-bsf:v",
                          "setts=pts='if(gte(N,8),PTS+3600/TB,PTS)':"
                          "dts='if(gte(N,8),DTS+3600/TB,DTS)'"}));
    reading.reader().start();
    reading.awaitPictures(14);
    reading.reader().setSpeed(4.0);
    reading.await(StreamState::Ended);
    std::vector<double> times = TimesIn(reading.bytes());
    ASSERT_EQ(times.size(), 40U);
    std::sort(times.begin(), times.end());
    EXPECT_NEAR(times[39] - times[38], 0.1 / 4.0, 0.0021);
}

TEST(StreamReader, DoesNotMakeUpForTheTimeInWhichTheSinkWasFull)
{
    using Clock = std::chrono::steady_clock;
    constexpr int CONST_REFUSED = 150;  // with 5 ms after each, longer than the clip
    int asked = 0;
    std::vector<Clock::time_point> taken;
    std::promise<void> ended;
    StreamReader reader(Clip(), [&](const QByteArray& block) {
        if (++asked <= CONST_REFUSED)
            return false;
        if (block.isEmpty())
            ended.set_value();
        else
            taken.push_back(Clock::now());
        return true;
    });
    reader.start();
    ended.get_future().wait();
    reader.stop();
    ASSERT_EQ(taken.size(), 10U);
    EXPECT_GE(std::chrono::duration<double>(taken.back() - taken.front()).count(),
              8 * CONST_PERIOD - 0.002);  // the second goes on from where it was
}

TEST(StreamReader, HasLeftItsSinkWhenItHasBeenAskedToStop)
{
    std::promise<void> entered;
    std::promise<void> asks;
    std::atomic<bool> left{false};
    StreamReader reader(Made("one-in-eight-seconds", "1/8", 16, {"-bf", "0"}),
                        [&](const QByteArray&) {
                            entered.set_value();
                            asks.get_future().wait();
                            for (int i = 0; i < 1000; ++i)  // time enough to return too early
                                std::this_thread::yield();
                            left = true;
                            return true;
                        });
    reader.start();
    entered.get_future().wait();
    asks.set_value();
    reader.askToStop();
    EXPECT_TRUE(left);
}

TEST(StreamReader, LosesNothingWhenTheSinkIsFull)
{
    Reading reading(Clip());
    reading.refuse(7);
    reading.reader().start();
    reading.await(StreamState::Ended);
    EXPECT_EQ(TimesIn(reading.bytes()).size(), 10U);
    EXPECT_EQ(reading.ends(), 1);
}

TEST(StreamReader, BeginsAgainAfterTheEnd)
{
    Reading reading(Clip());
    reading.reader().setLoop(true);
    reading.reader().start();
    reading.awaitPictures(25);
    reading.reader().stop();
    const std::vector<StreamState> states = reading.states();
    EXPECT_EQ(std::count(states.begin(), states.end(), StreamState::Ended), 0);
    EXPECT_EQ(reading.ends(), 0);
}

TEST(StreamReader, LetsAPausedFileGoOnByOnePictureForAStep)
{
    Reading reading(Clip());
    reading.reader().setPaused(true);
    reading.reader().start();
    for (std::size_t i = 1; i <= 3; ++i) {
        reading.reader().step();
        reading.awaitPictures(i);
    }
    // None follows in the time in which another plays the whole file.
    Reading other(Clip());
    other.reader().start();
    other.await(StreamState::Ended);
    EXPECT_EQ(reading.pictures(), 3U);
    reading.reader().setPaused(false);
    reading.await(StreamState::Ended);
    EXPECT_EQ(reading.pictures(), 10U);
}

TEST(StreamReader, LosesNoStepToAPauseThatIsThereAlready)
{
    Reading reading(Clip());
    for (int i = 0; i < 3; ++i) {
        reading.reader().setPaused(true);
        reading.reader().step();
    }
    reading.reader().start();
    reading.awaitPictures(3);
}

TEST(StreamReader, BeginsAtTheKeyFrameBeforeItsPosition)
{
    Reading reading(Clip());
    reading.reader().setPosition(0.3);
    reading.reader().start();
    reading.await(StreamState::Ended);
    EXPECT_EQ(TimesIn(reading.bytes()).size(), 5U);
    EXPECT_NEAR(reading.reader().position(), 0.36, 0.01);
}

TEST(StreamReader, BeginsAtTheStartWhereThePositionIsBeyondTheEnd)
{
    Reading reading(Clip());
    reading.reader().setLoop(true);
    reading.reader().setPosition(1e6);
    reading.reader().start();
    reading.awaitPictures(10);
}

TEST(StreamReader, TellsWhatCannotBePlayed)
{
    const QTemporaryDir folder;
    const QString pipe = folder.filePath("pipe");
    ASSERT_EQ(mkfifo(pipe.toLocal8Bit().constData(), 0600), 0);
    const std::pair<QString, const char*> sources[] = {
        {folder.filePath("none.mkv"), "No such file"},
        {folder.path(), "directory"},
        {pipe, "neither a file nor a camera"},
        {"/dev/null", "neither a file nor a camera"},
        {FISHEYE_HTTP_SERVER, "Invalid data"}};
    for (const auto& [source, words] : sources) {
        Reading reading(source);
        reading.reader().start();
        EXPECT_THAT(reading.await(StreamState::Failed).toStdString(), HasSubstr(words))
            << source.toStdString();
    }
}

TEST(StreamReader, TellsOfSoundWithoutPictures)
{
    const QTemporaryDir folder;
    const QString sound = folder.filePath("sound.mkv");
    QProcess::execute("ffmpeg", {"-v", "error", "-f", "lavfi", "-i", "sine=duration=0.2", sound});
    Reading reading(sound);
    reading.reader().start();
    EXPECT_THAT(reading.await(StreamState::Failed).toStdString(), HasSubstr("no video"));
}

TEST(StreamReader, TellsOfVideoThatCannotBeShown)
{
    const QTemporaryDir folder;
    for (const char* const codec : {"mpeg4", "rawvideo"}) {
        const QString clip = folder.filePath(QString(codec) + ".nut");
        QProcess::execute("ffmpeg", {"-v", "error", "-f", "lavfi", "-i",
                                     "testsrc=size=64x64:duration=0.2", "-c:v", codec, clip});
        Reading reading(clip);
        reading.reader().start();
        EXPECT_THAT(reading.await(StreamState::Failed).toStdString(),
                    HasSubstr(std::string("Its video is ") + codec + "; H.264"));
        EXPECT_EQ(reading.pictures(), 0U);
    }
}

TEST(StreamReader, DoesNotTryAServersFileAgainThatCannotBeShown)
{
    const QTemporaryDir folder;
    const std::pair<QStringList, const char*> clips[] = {
        {{"testsrc=size=64x64:duration=0.2", "-c:v", "mpeg4"}, "Its video is mpeg4; H.264"},
        {{"sine=duration=0.2"}, "no video"}};
    for (const auto& [made, words] : clips) {
        const QString clip = folder.filePath(made.first().section('=', 0, 0) + ".mkv");
        QProcess::execute("ffmpeg", QStringList{"-v", "error", "-f", "lavfi", "-i"} + made +
                                        QStringList{clip});
        const stage::Server server({FISHEYE_HTTP_SERVER, clip});
        ASSERT_GT(server.port(), 0);
        Reading reading(QString("http://127.0.0.1:%1/room.mkv").arg(server.port()));
        reading.reader().start();
        EXPECT_THAT(reading.awaitEnd().toStdString(), HasSubstr(words));
        EXPECT_THAT(reading.states(), ElementsAre(StreamState::Connecting, StreamState::Failed));
    }
}

TEST(StreamReader, TellsOfAnAddressFromWhichNothingComes)
{
    Reading reading("udp://127.0.0.1:0");
    reading.reader().setSilenceLimit(0.25);
    reading.reader().start();
    EXPECT_THAT(reading.await(StreamState::Reconnecting).toStdString(),
                HasSubstr("No video has come from it for 0.25 seconds"));
}

TEST(StreamReader, TellsOfACameraDeviceThatIsNotThereAndTriesItAgain)
{
    Reading reading("/dev/video9173");
    reading.reader().start();
    EXPECT_THAT(reading.await(StreamState::Reconnecting).toStdString(),
                HasSubstr("no such device"));
    reading.await(StreamState::Reconnecting);
}

/// A socket that listens on loopback, and the port that it got.
std::pair<int, int> Listen()
{
    const int listening = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    EXPECT_EQ(::bind(listening, reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0);
    EXPECT_EQ(::listen(listening, 1), 0);
    socklen_t size = sizeof(address);
    ::getsockname(listening, reinterpret_cast<sockaddr*>(&address), &size);
    return {listening, ntohs(address.sin_port)};
}

void Send(int client, const QByteArray& bytes)
{
    for (int sent = 0; sent < bytes.size();) {
        const auto more = ::send(client, bytes.data() + sent,
                                 static_cast<std::size_t>(bytes.size() - sent), MSG_NOSIGNAL);
        if (more < 0)
            return;
        sent += static_cast<int>(more);
    }
}

/// A file that ffmpeg makes.
QByteArray Encoded(const QString& content, const QStringList& coding)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath("made");
    QProcess::execute("ffmpeg", QStringList{"-v", "error", "-f", "lavfi", "-i", content} + coding +
                                    QStringList{path});
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    return file.readAll();
}

TEST(StreamReader, DoesNotWaitForACameraThatAcceptsAndSaysNothing)
{
    const auto [listening, port] = Listen();
    for (const char* const scheme : {"rtsp", "http"}) {
        Reading reading(QString("%1://127.0.0.1:%2/room").arg(scheme).arg(port));
        reading.reader().start();
        const int connection = ::accept(listening, nullptr, nullptr);
        char first = 0;
        EXPECT_EQ(::recv(connection, &first, 1, 0), 1);  // it has asked, and waits
        reading.reader().stop();
        char rest[4096];
        while (::recv(connection, rest, sizeof(rest), 0) > 0) {
        }
        ::close(connection);
        EXPECT_THAT(reading.states(), ElementsAre(StreamState::Connecting)) << scheme;
    }
    ::close(listening);
}

/// An MPEG transport stream of one track, whose packets are numbered so that another's can follow.
QByteArray TransportStream(const QString& content, const QStringList& coding, int number)
{
    return Encoded(content,
                   coding + QStringList{"-streamid", QString("0:%1").arg(number), "-f", "mpegts"});
}

/// A camera that gives each client a few seconds of video at once, and then sound for as long as it
/// is listened to.
class CameraThatLosesItsVideo
{
public:
    CameraThatLosesItsVideo()
    {
        std::tie(m_listening, m_port) = Listen();
        m_thread = std::thread([this] {
            for (int client = 0; (client = ::accept(m_listening, nullptr, nullptr)) >= 0;) {
                Send(client, m_video);
                for (int at = 0; !leaves(client); at = (at + CONST_PIECE) % m_sound.size())
                    Send(client, m_sound.mid(at, CONST_PIECE));
                ::close(client);
            }
        });
    }
    /// Its clients have left.
    ~CameraThatLosesItsVideo()
    {
        ::shutdown(m_listening, SHUT_RDWR);
        m_thread.join();
        ::close(m_listening);
    }
    CameraThatLosesItsVideo(const CameraThatLosesItsVideo&) = delete;
    CameraThatLosesItsVideo& operator=(const CameraThatLosesItsVideo&) = delete;

    int port() const { return m_port; }

private:
    static constexpr int CONST_PIECE = 10 * 188;  ///< bytes: packets of a transport stream
    static constexpr int CONST_PIECE_MS = 20;

    /// Waits for it until the next piece is due.
    static bool leaves(int client)
    {
        pollfd end{client, POLLRDHUP, 0};
        return ::poll(&end, 1, CONST_PIECE_MS) > 0;
    }

    const QByteArray m_video = TransportStream(  // as long as it takes to find out what is in it
        "testsrc=size=64x64:rate=25:duration=10",
        {"-c:v", "libx264", "-g", "25", "-bf", "0", "-pix_fmt", "yuv420p"}, 256);
    const QByteArray m_sound = TransportStream("sine=duration=5", {"-c:a", "mp2"}, 257);
    int m_listening = -1;
    int m_port = 0;
    std::thread m_thread;
};

TEST(StreamReader, TellsOfACameraWhoseSoundGoesOnWithoutVideoAndTriesItAgain)
{
    const CameraThatLosesItsVideo camera;
    Reading reading(QString("tcp://127.0.0.1:%1").arg(camera.port()));
    reading.reader().setSilenceLimit(3.0);
    reading.reader().start();
    reading.await(StreamState::Playing);
    EXPECT_THAT(reading.await(StreamState::Reconnecting).toStdString(),
                HasSubstr("No video has come from it for 3 seconds"));
    EXPECT_GT(reading.pictures(), 100U);
    EXPECT_TRUE(reading.info().live);
    reading.await(StreamState::Playing);
}

// FFmpeg makes them 25 a second: another pace would fall behind, ever further.
TEST(StreamReader, TakesPicturesThatAreServedOneByOneAsTheyCome)
{
    constexpr int CONST_PICTURES = 100;
    const QByteArray picture =
        Encoded("testsrc=size=64x64", {"-frames:v", "1", "-c:v", "mjpeg", "-f", "mjpeg"});
    const auto [listening, port] = Listen();
    std::thread camera([&picture, listening = listening] {
        const int client = ::accept(listening, nullptr, nullptr);
        Send(client, "HTTP/1.0 200 OK\r\n"
                     "Content-Type: multipart/x-mixed-replace; boundary=next\r\n\r\n");
        for (int i = 0; i <= CONST_PICTURES; ++i)
            Send(client, "--next\r\nContent-Type: image/jpeg\r\nContent-Length: " +
                             QByteArray::number(picture.size()) + "\r\n\r\n" + picture + "\r\n");
        pollfd end{client, POLLRDHUP, 0};
        ::poll(&end, 1, -1);
        ::close(client);
    });
    const auto start = std::chrono::steady_clock::now();
    Reading reading(QString("http://127.0.0.1:%1/live").arg(port));
    reading.reader().start();
    reading.awaitPictures(CONST_PICTURES);
    const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - start;
    reading.reader().stop();
    camera.join();
    ::close(listening);
    const std::vector<double> times = TimesIn(reading.bytes());
    ASSERT_GE(times.size(), std::size_t{CONST_PICTURES});
    EXPECT_TRUE(std::is_sorted(times.begin(), times.end()));
    EXPECT_LE(times[CONST_PICTURES - 1], passed.count());
    EXPECT_TRUE(reading.info().live);
    EXPECT_EQ(reading.info().rate, 0.0);
}

TEST(StreamReader, DoesNotWaitForANameServerThatDoesNotAnswer)
{
    struct Told
    {
        std::promise<void> gone;
        ~Told() { gone.set_value(); }
    };
    auto told = std::make_shared<Told>();
    std::future<void> threadsAreGone = told->gone.get_future();
    constexpr int CONST_MANY = 30;  // which take a second together, and not each
    {
        std::vector<std::unique_ptr<StreamReader>> readers;
        for (int i = 0; i < CONST_MANY; ++i) {
            readers.push_back(std::make_unique<StreamReader>(
                QString("http://%1/room.mkv").arg(fake_names::CONST_SILENT),
                [told](const QByteArray&) { return true; }));
            readers.back()->start();
        }
        told.reset();  // the readers' threads have it until they end
        ASSERT_TRUE(fake_names::AwaitQuestions(CONST_MANY));
        for (const auto& reader : readers)
            reader->askToStop();
    }
    EXPECT_EQ(fake_names::Waiting(), CONST_MANY);
    fake_names::Answer();
    EXPECT_EQ(threadsAreGone.wait_for(fake_names::CONST_PATIENCE), std::future_status::ready);
}

TEST(StreamReader, PlaysAFileFromAServerAtItsPace)
{
    const stage::Server server({FISHEYE_HTTP_SERVER, Clip()});
    ASSERT_GT(server.port(), 0);
    Reading reading(QString("http://127.0.0.1:%1/room.mkv").arg(server.port()));
    reading.reader().setSpeed(2.0);
    reading.reader().start();
    reading.await(StreamState::Ended);
    const std::vector<double> times = TimesIn(reading.bytes());
    ASSERT_EQ(times.size(), 10U);
    EXPECT_NEAR(times.back(), 9 * CONST_PERIOD / 2.0, 0.0021);
    EXPECT_FALSE(reading.info().live);
}

TEST(StreamReader, GoesOnWhereTheServerBrokeOff)
{
    const QString cut = QString::number(QFile(Clip()).size() * 3 / 4);
    const stage::Server server({FISHEYE_HTTP_SERVER, Clip(), cut});
    ASSERT_GT(server.port(), 0);
    Reading reading(QString("http://127.0.0.1:%1/room.mkv").arg(server.port()));
    reading.reader().start();
    reading.await(StreamState::Reconnecting);
    const std::size_t before = reading.picturesBefore();
    ASSERT_GT(before, 0U);
    ASSERT_LT(before, 10U);
    reading.await(StreamState::Ended);
    EXPECT_EQ(reading.pictures(), before + 10 - (before - 1) / 5 * 5);  // from the key frame before
}

}  // namespace

int main(int argc, char** argv)
{
    ::testing::InitGoogleMock(&argc, argv);
    const QCoreApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
