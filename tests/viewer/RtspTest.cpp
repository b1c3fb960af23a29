// A camera on the network that comes, goes away and comes back: a real RTSP server on loopback.
#include <gtest/gtest.h>

#include <QProcess>

#include "tests/viewer/Stage.h"

#include "viewer/EngineExtras.h"

namespace {

using stage::Await;
using viewer::StreamState;

/// The server's process; killed without a word to its clients.
class Server
{
public:
    explicit Server(int port)
    {
        m_process.start("/usr/bin/python3",
                        {FISHEYE_RTSP_SERVER, stage::RoomClip(viewer::Mount::Ceiling, 12),
                         QString::number(port)});
        Await([this] {
            return m_process.canReadLine() || QProcess::NotRunning == m_process.state();
        });
        m_port = m_process.readLine().trimmed().toInt();
    }
    ~Server()
    {
        m_process.kill();
        m_process.waitForFinished();
    }

    int port() const { return m_port; }

private:
    QProcess m_process;
    int m_port = 0;
};

TEST(NetworkCameras, AreShownMissedAndShownAgain)
{
    auto server = std::make_unique<Server>(0);
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
    server = std::make_unique<Server>(port);
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

}  // namespace
