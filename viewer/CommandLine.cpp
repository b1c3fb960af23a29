#include "viewer/CommandLine.h"

#include <QCommandLineParser>
#include <QCoreApplication>

#include "viewer/Layouts.h"
#include "viewer/LensFile.h"

namespace viewer {

namespace {

CommandLine Refused(const QString& text)
{
    return {std::nullopt,
            QCoreApplication::applicationName() + ": " + text + "\n" + QObject::tr("See --help.") +
                "\n",
            CONST_EXIT_USAGE};
}

QString LayoutIds()
{
    QStringList ids;
    for (const Layout& layout : Layouts())
        ids.append(layout.id);
    return ids.join(", ");
}

}  // namespace

CommandLine ReadCommandLine(const QStringList& arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QObject::tr("Shows fisheye cameras without their distortion."));
    parser.addPositionalArgument(
        "source",
        QObject::tr("A file, a URL (rtsp, http, udp) or a device (/dev/video0); several "
                    "make several cameras. Without one: a built-in scene."),
        "[source...]");
    const QCommandLineOption help(QStringList{"h", "help"}, QObject::tr("Print this and leave."));
    const QCommandLineOption version(QStringList{"v", "version"},
                                     QObject::tr("Print the version and leave."));
    const QCommandLineOption layout("layout", QObject::tr("One of %1.").arg(LayoutIds()), "layout");
    const QCommandLineOption mount("mount", QObject::tr("ceiling, wall or floor."), "mount");
    const QCommandLineOption lens(
        "lens", QObject::tr("A fisheye calibration of OpenCV, YAML or JSON."), "file");
    const QCommandLineOption overlay(
        "overlay", QObject::tr("The outlines of the views: off, traced or square."), "kind");
    const QCommandLineOption snapshot(
        "snapshot", QObject::tr("Write a picture of the window (PNG) and leave."), "file");
    const QCommandLineOption after(
        "after", QObject::tr("Seconds from the first pictures to the snapshot; 3."), "seconds");
    parser.addOptions({help, version, layout, mount, lens, overlay, snapshot, after});
    if (!parser.parse(arguments))
        return Refused(parser.errorText());
    if (parser.isSet(help))
        return {std::nullopt, parser.helpText(), CONST_EXIT_DONE};
    if (parser.isSet(version))
        return {std::nullopt,
                QCoreApplication::applicationName() + " " + QCoreApplication::applicationVersion() +
                    "\n",
                CONST_EXIT_DONE};

    Options options;
    options.sources = parser.positionalArguments();
    options.snapshot = parser.value(snapshot);
    if (parser.isSet(layout)) {
        if (nullptr == FindLayout(parser.value(layout)))
            return Refused(QObject::tr("there is no layout \"%1\", only %2")
                               .arg(parser.value(layout), LayoutIds()));
        options.layout = parser.value(layout);
    }
    if (parser.isSet(mount)) {
        options.mount = MountOf(parser.value(mount));
        if (!options.mount)
            return Refused(QObject::tr("there is no mount \"%1\"").arg(parser.value(mount)));
    }
    if (parser.isSet(overlay)) {
        options.overlay = OverlayOf(parser.value(overlay));
        if (!options.overlay)
            return Refused(QObject::tr("there is no overlay \"%1\"").arg(parser.value(overlay)));
    }
    if (parser.isSet(after)) {
        bool number = false;
        options.after = parser.value(after).toDouble(&number);
        if (!number || !(options.after >= 0.0 && options.after <= 86400.0))
            return Refused(QObject::tr("\"%1\" is no number of seconds").arg(parser.value(after)));
    }
    if (parser.isSet(lens)) {
        QString why;
        const auto calibration = ReadLensCalibration(parser.value(lens), &why);
        if (!calibration)
            return {std::nullopt, QCoreApplication::applicationName() + ": " + why + "\n",
                    CONST_EXIT_FAILED};
        options.lens = LensFrom(*calibration);
    }
    return {options, {}, CONST_EXIT_DONE};
}

}  // namespace viewer
