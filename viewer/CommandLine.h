#pragma once

#include <optional>

#include <QString>
#include <QStringList>

#include "viewer/CameraSettings.h"

namespace viewer {

/// Exit codes of the program.
enum ExitCode
{
    CONST_EXIT_DONE = 0,
    CONST_EXIT_FAILED = 1,  ///< something could not be opened, shown or written
    CONST_EXIT_USAGE = 2,   ///< the command line made no sense
    CONST_EXIT_NO_DISPLAY = 3
};

/// What the command line asks for.
struct Options
{
    QStringList sources;  ///< none: the built-in scene
    std::optional<QString> layout;
    std::optional<Mount> mount;
    std::optional<RvLens> lens;
    std::optional<OverlayKind> overlay;
    QString snapshot;    ///< a PNG file to write, and leave; empty: stay
    double after = 3.0;  ///< seconds from the first pictures to the snapshot
};

/// The options, or what to print and the code to leave with.
struct CommandLine
{
    std::optional<Options> options;
    QString text;
    int exitCode = CONST_EXIT_DONE;
};

/// Needs a QCoreApplication.
CommandLine ReadCommandLine(const QStringList& arguments);

}  // namespace viewer
