// Streams that come, go away, fall silent, hold nothing to see: real servers on loopback.
#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <QAction>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QThreadPool>
#include <QUrl>

#include "tests/viewer/FakeCamera.h"
#include "tests/viewer/FakeNames.h"
#include "tests/viewer/Server.h"
#include "tests/viewer/Stage.h"

#include "viewer/CameraArea.h"
#include "viewer/EngineExtras.h"

#include <linux/videodev2.h>

namespace {

using stage::Await;
using viewer::StreamState;

using stage::Server;

QStringList Rtsp(int port)
{
    return {FISHEYE_RTSP_SERVER, stage::RoomClip(viewer::Mount::Ceiling, 12),
            QString::number(port)};
}

TEST(NetworkCameras, AreShownMissedAndShownAgain)
{
    auto server = std::make_unique<Server>(Rtsp(0));
    if (server->port() == 0)
        GTEST_SKIP() << "no RTSP server: scripts/install-packages.sh viewer-tests";
    const int port = server->port();
    stage::Viewer viewer(QString("rtsp://127.0.0.1:%1/room").arg(port), "fisheye+3");
    const viewer::CameraWidget& camera = viewer.camera();
    ASSERT_TRUE(camera.showsPictures()) << camera.trouble().toStdString();
    EXPECT_EQ(camera.state(), StreamState::Playing);
    EXPECT_TRUE(camera.stream().live);
    EXPECT_TRUE(camera.trouble().isEmpty());

    server.reset();
    EXPECT_TRUE(Await([&] { return camera.state() == StreamState::Reconnecting; }));
    EXPECT_TRUE(camera.trouble().contains("tried again"));

    const auto shown = [&] { return viewer::extras::FiguresOf(camera.player())->llShown; };
    const auto before = shown();
    server = std::make_unique<Server>(Rtsp(port));
    ASSERT_EQ(server->port(), port);
    EXPECT_TRUE(Await([&] { return camera.state() == StreamState::Playing; }));
    EXPECT_TRUE(Await([&] { return shown() > before + 5; }));
    EXPECT_TRUE(camera.trouble().isEmpty());
}

TEST(NetworkCameras, OneThatIsNotThereIsTold)
{
    stage::Viewer viewer("rtsp://127.0.0.1:1/room", "quad", viewer::OverlayKind::Off,
                         stage::Viewer::Wait::No);
    EXPECT_TRUE(Await([&] { return viewer.camera().state() == StreamState::Reconnecting; }));
    EXPECT_FALSE(viewer.camera().showsPictures());
    EXPECT_TRUE(viewer.camera().trouble().contains("127.0.0.1"));
}

TEST(NetworkCameras, OneThatFallsSilentHoldsUpNothing)
{
    Server server(Rtsp(0));
    if (server.port() == 0)
        GTEST_SKIP() << "no RTSP server: scripts/install-packages.sh viewer-tests";
    const QString address = QString("rtsp://127.0.0.1:%1/room").arg(server.port());
    stage::Viewer viewer(address, "fisheye+3");
    ASSERT_TRUE(viewer.camera().showsPictures());
    server.fallSilent();
    // Its views are steered on, with the picture that came last.
    stage::Drag(viewer.cell("view", 1), {0.4, 0.5}, {0.6, 0.5});
    EXPECT_TRUE(stage::ShowsTheTruth(viewer, 1));
    viewer.camera().chooseLayout("quad");
    EXPECT_TRUE(stage::ShowsTheTruth(viewer, 1));
    // A second one gets no answer at all; both are closed, and others are opened.
    viewer.window().openSource(address);
    stage::ActionOf(viewer, "Close camera").trigger();
    stage::ActionOf(viewer, "Close camera").trigger();
    EXPECT_TRUE(viewer.window().cameras().cameras().isEmpty());
    viewer.window().openSource(stage::RoomClip(viewer::Mount::Ceiling));
    EXPECT_TRUE(Await([&] { return viewer.camera().showsPictures(); }));
    // The window goes away while one of them is being opened.
    viewer.window().openSource(address);
}

TEST(NetworkCameras, WhoseNameIsNotAnsweredDoNotHoldUpTheEnd)
{
    const QString address = QString("rtsp://%1/room").arg(fake_names::CONST_SILENT);
    {
        stage::Viewer viewer(address, "quad", viewer::OverlayKind::Off, stage::Viewer::Wait::No);
        viewer.window().openSource(address);
        ASSERT_TRUE(fake_names::AwaitQuestions(2));
    }
    QThreadPool::globalInstance()->waitForDone();  // as the program does when it ends
    EXPECT_EQ(fake_names::Waiting(), 2);
    fake_names::Answer();
}

/// A port of loopback that nobody has now.
int FreePort()
{
    const int socket = ::socket(AF_INET, SOCK_DGRAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof(address);
    ::bind(socket, reinterpret_cast<sockaddr*>(&address), size);
    ::getsockname(socket, reinterpret_cast<sockaddr*>(&address), &size);
    ::close(socket);
    return ntohs(address.sin_port);
}

TEST(NetworkCameras, AreTakenFromPacketsThatSomebodySends)
{
    const QString address = QString("udp://127.0.0.1:%1").arg(FreePort());
    stage::Viewer viewer(address, "fisheye+3", viewer::OverlayKind::Off, stage::Viewer::Wait::No);
    QProcess sender;
    sender.start("ffmpeg", {"-v", "error", "-re", "-stream_loop", "-1", "-i",
                            stage::RoomClip(viewer::Mount::Ceiling, 12), "-c", "copy", "-f",
                            "mpegts", address + "?pkt_size=1316"});
    EXPECT_TRUE(Await([&] { return viewer.camera().showsPictures(); }))
        << viewer.camera().trouble().toStdString();
    EXPECT_TRUE(viewer.camera().stream().live);
    sender.kill();
    sender.waitForFinished();
    EXPECT_TRUE(Await([&] { return viewer.camera().state() == StreamState::Reconnecting; }));
}

TEST(FilesOnAServer, ArePlayedAsFiles)
{
    const Server server({FISHEYE_HTTP_SERVER, stage::RoomClip(viewer::Mount::Ceiling)});
    ASSERT_GT(server.port(), 0);
    stage::Viewer viewer(QString("http://127.0.0.1:%1/room.mkv").arg(server.port()), "quad");
    EXPECT_TRUE(stage::ShowsTheTruth(viewer, 0));
    EXPECT_FALSE(viewer.camera().stream().live);
    viewer.camera().setPaused(true);
    EXPECT_TRUE(viewer.camera().paused());
}

TEST(Files, AreOpenedByTheirUrlsAsDesktopsGiveThem)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QString::fromUtf8("the k\u00fcche.mkv"));
    ASSERT_TRUE(QFile::copy(stage::RoomClip(viewer::Mount::Ceiling), path));
    stage::Viewer viewer(QString::fromLatin1(QUrl::fromLocalFile(path).toEncoded()), "quad");
    EXPECT_TRUE(viewer.camera().showsPictures());
    EXPECT_EQ(viewer.camera().source(), path);
}

TEST(Streams, WithoutPicturesAreToldAndWatched)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath("damaged.mkv");
    const QString room = stage::RoomClip(viewer::Mount::Ceiling);
    QProcess::execute("ffmpeg",
                      {"-v", "error", "-i", room, "-c", "copy", "-bsf:v", "noise=amount=1", path});
    stage::Viewer viewer(path, "quad", viewer::OverlayKind::Off, stage::Viewer::Wait::No);
    EXPECT_TRUE(Await([&] { return viewer.camera().trouble().contains("without pictures"); }));
    EXPECT_TRUE(viewer.camera().trouble().contains("damaged.mkv"));
    EXPECT_EQ(viewer.camera().state(), StreamState::Playing);
    // The file is played again and again; now there are pictures in it.
    ASSERT_TRUE(QFile::copy(room, path + ".whole"));
    ASSERT_EQ(::rename(QFile::encodeName(path + ".whole").constData(),
                       QFile::encodeName(path).constData()),
              0);
    EXPECT_TRUE(Await([&] { return viewer.camera().showsPictures(); }));
    EXPECT_TRUE(viewer.camera().trouble().isEmpty());
    EXPECT_TRUE(stage::ShowsTheTruth(viewer, 0));
}

TEST(Streams, OfSoundAloneAreTold)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath("sound.mkv");
    QProcess::execute("ffmpeg", {"-v", "error", "-f", "lavfi", "-i", "sine=duration=0.2", path});
    stage::Viewer viewer(path, "quad", viewer::OverlayKind::Off, stage::Viewer::Wait::No);
    EXPECT_TRUE(Await([&] { return viewer.camera().state() == StreamState::Failed; }));
    EXPECT_TRUE(viewer.camera().trouble().contains("holds no video"));
}

TEST(Devices, ThatAreNotThereOrNoCamerasAreToldInPlainWords)
{
    const auto told = [](const QString& source, const QString& words) {
        stage::Viewer viewer(source, "quad", viewer::OverlayKind::Off, stage::Viewer::Wait::No);
        EXPECT_TRUE(Await([&] { return viewer.camera().trouble().contains(words); }))
            << viewer.camera().trouble().toStdString();
    };
    told("/dev/video9173", "no such device");
    told("/dev/null", "neither a file nor a camera");
}

/// A camera that gives one picture of the room again and again.
fake_camera::Kind RoomCamera()
{
    QFile picture(
        stage::Made("uncompressed.yuv", {"-i", stage::RoomClip(viewer::Mount::Ceiling), "-frames:v",
                                         "1", "-vf", "scale=512:512", "-pix_fmt", "yuyv422"}));
    EXPECT_TRUE(picture.open(QIODevice::ReadOnly));
    return {V4L2_PIX_FMT_YUYV, 512, 512, {picture.readAll().toStdString()}};
}

TEST(Devices, WithUncompressedPicturesAreShownMissedAndShownAgain)
{
    const fake_camera::Kind kind = RoomCamera();
    fake_camera::Plug({kind});
    stage::Viewer viewer(fake_camera::CONST_PATH, "quad");
    EXPECT_TRUE(stage::ShowsTheTruth(viewer, 0));
    fake_camera::Unplug();
    EXPECT_TRUE(Await([&] { return viewer.camera().trouble().contains("unplugged"); }));
    const auto shown = [&] { return viewer::extras::FiguresOf(viewer.camera().player())->llShown; };
    const auto before = shown();
    fake_camera::Plug({kind});
    EXPECT_TRUE(Await([&] { return shown() > before + 5; }));
    EXPECT_TRUE(viewer.camera().trouble().isEmpty());
}

TEST(Devices, ThatComeBackWithoutPicturesAreToldUntilSomeCome)
{
    const fake_camera::Kind kind = RoomCamera();
    fake_camera::Plug({kind});
    stage::Viewer viewer(fake_camera::CONST_PATH, "quad");
    const auto told = [&] { return viewer.camera().trouble().contains("without pictures"); };
    const auto unplug = [&] {
        fake_camera::Unplug();
        EXPECT_TRUE(Await([&] { return viewer.camera().trouble().contains("unplugged"); }));
    };
    unplug();
    fake_camera::Plug({{V4L2_PIX_FMT_MJPEG, 512, 512, {std::string(1000, 'x')}}});
    EXPECT_TRUE(Await(told)) << viewer.camera().trouble().toStdString();
    EXPECT_EQ(viewer.camera().state(), StreamState::Playing);
    unplug();
    const auto shown = [&] { return viewer::extras::FiguresOf(viewer.camera().player())->llShown; };
    const auto before = shown();
    fake_camera::Plug({kind});
    EXPECT_TRUE(Await([&] { return shown() > before + 5; }));
    EXPECT_TRUE(viewer.camera().trouble().isEmpty());
}

}  // namespace
