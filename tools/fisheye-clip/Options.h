#pragma once

#include <optional>
#include <string>

#include <QStringList>

#include "optics/Lens.h"
#include "optics/View.h"

#include "tools/fisheye-clip/Encoder.h"

namespace clip {

/// What the command line asks for.
struct Options
{
    optics::Mount eMount;
    int iWidth;
    int iHeight;
    optics::LensParameters stLens;                 ///< centre and circle filled in
    std::optional<optics::ViewParameters> stView;  ///< instead of the lens's own picture
    double dStart;                                 ///< seconds
    int iPictures;                                 ///< of the clip
    EncoderSettings stEncoder;
    std::string strClip;     ///< the file to write, or empty
    std::string strPicture;  ///< likewise
    bool blQuiet;
};

/// The options that the arguments, the program's name first, stand for. Nothing when they ask for
/// help or the version, which has then been printed. Throws BadUsage.
std::optional<Options> ParseOptions(const QStringList& lstArguments);

}  // namespace clip
