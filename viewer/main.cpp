#include <cstdio>
#include <memory>

#include <QApplication>
#include <QIcon>
#include <QPalette>
#include <QSettings>
#include <QStyleFactory>

#include <xcb/xcb.h>

#include "viewer/CommandLine.h"
#include "viewer/MainWindow.h"
#include "viewer/Scene.h"

namespace {

constexpr const char* CONST_NAME = "fisheye-viewer";

void NameProgram()
{
    QCoreApplication::setApplicationName(CONST_NAME);
    QCoreApplication::setApplicationVersion(FISHEYE_VERSION);
}

/// The command line is read before there is a display.
viewer::CommandLine Read(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    return viewer::ReadCommandLine(QCoreApplication::arguments());
}

/// A connection to the display, or null: Qt aborts where there is none. It is kept until Qt has its
/// own, for a display that loses its last client begins anew, and drops whoever comes meanwhile.
auto DisplayConnection()
{
    std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)> connection(
        xcb_connect(nullptr, nullptr), &xcb_disconnect);
    if (0 != xcb_connection_has_error(connection.get()))
        connection.reset();
    return connection;
}

QPalette DarkPalette()
{
    QPalette palette(QColor(45, 47, 51));
    palette.setColor(QPalette::Window, QColor(37, 39, 42));
    palette.setColor(QPalette::Base, QColor(28, 29, 32));
    palette.setColor(QPalette::Highlight, QColor(58, 120, 200));
    return palette;
}

/// The manager logs every refusal; a viewer's error output has room for its own messages alone.
void DropManagersLines(QtMsgType type, const QMessageLogContext&, const QString& text)
{
    if (!text.startsWith("\"_VX_\"") || QtFatalMsg == type)
        std::fprintf(stderr, "%s\n", qUtf8Printable(text));
}

}  // namespace

int main(int argc, char** argv)
{
    NameProgram();
    const viewer::CommandLine commandLine = Read(argc, argv);
    if (!commandLine.options) {
        std::fputs(qUtf8Printable(commandLine.text),
                   viewer::CONST_EXIT_DONE == commandLine.exitCode ? stdout : stderr);
        return commandLine.exitCode;
    }
    // The engine draws into X11 windows; on Wayland that is XWayland's.
    if (qEnvironmentVariableIsEmpty("DISPLAY")) {
        std::fprintf(stderr, "%s: there is no X11 display (DISPLAY is not set).\n", CONST_NAME);
        return viewer::CONST_EXIT_NO_DISPLAY;
    }
    auto display = DisplayConnection();
    if (nullptr == display) {
        std::fprintf(stderr, "%s: the X11 display %s does not answer.\n", CONST_NAME,
                     qgetenv("DISPLAY").constData());
        return viewer::CONST_EXIT_NO_DISPLAY;
    }
    qputenv("QT_QPA_PLATFORM", "xcb");
    qputenv("QT_XCB_GL_INTEGRATION", "none");  // nothing here draws with it, and it starts slowly
    if (!qEnvironmentVariableIsSet("FISHEYE_VIEWER_LOG"))
        qInstallMessageHandler(DropManagersLines);
    QCoreApplication::setAttribute(Qt::AA_DontCreateNativeWidgetSiblings);
    QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
    QApplication application(argc, argv);
    display.reset();
    QApplication::setApplicationDisplayName(QObject::tr("Fisheye Viewer"));
    QApplication::setDesktopFileName(CONST_NAME);
    // The desktop's, where the viewer is installed.
    QApplication::setWindowIcon(QIcon::fromTheme(CONST_NAME, QIcon(":/fisheye-viewer.svg")));
    QApplication::setStyle(QStyleFactory::create("Fusion"));
    QApplication::setPalette(DarkPalette());

    const viewer::Options& options = *commandLine.options;
    // A picture for a script is the same whatever was remembered.
    auto store = options.snapshot.isEmpty()
                     ? std::make_unique<QSettings>(QSettings::IniFormat, QSettings::UserScope,
                                                   CONST_NAME, CONST_NAME)
                     : nullptr;
    viewer::MainWindow window(std::move(store));
    window.show();
    for (const QString& source :
         options.sources.isEmpty() ? QStringList{viewer::Scene::name()} : options.sources)
        window.openSource(source, options);
    if (!options.snapshot.isEmpty())
        window.leaveWithSnapshot(options.snapshot, options.after);
    return QApplication::exec();
}
