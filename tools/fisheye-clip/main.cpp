// fisheye-clip: films the synthetic room through a fisheye lens. Exit codes: 0 done, 1 the file
// could not be made, 2 the command line makes no sense.
#include <cstdio>
#include <exception>

#include <unistd.h>

#include <QCoreApplication>

extern "C" {
#include <libavutil/log.h>
}

#include "tools/fisheye-clip/Encoder.h"
#include "tools/fisheye-clip/Failure.h"
#include "tools/fisheye-clip/Options.h"
#include "tools/scene/Renderer.h"

namespace {

using clip::Options;

scene::Mapping MappingOf(const Options& stOptions)
{
    std::string strError;
    const std::optional<optics::Lens> stLens = optics::Lens::Make(stOptions.stLens, strError);
    if (!stLens)
        throw clip::BadUsage(strError);
    if (!stOptions.stView)
        return scene::ThroughLens(*stLens);
    return scene::ThroughView(optics::View(*stOptions.stView), stOptions.iWidth, stOptions.iHeight,
                              stLens);
}

/// One line that counts up, where somebody watches.
void TellProgress(const Options& stOptions, int iDone)
{
    if (!stOptions.blQuiet && isatty(STDERR_FILENO))
        std::fprintf(stderr, "\r%d of %d pictures%s", iDone, stOptions.iPictures,
                     iDone == stOptions.iPictures ? "\n" : "");
}

void MakeClip(const Options& stOptions)
{
    const scene::Mapping fnMapping = MappingOf(stOptions);
    clip::Encoder stEncoder(stOptions.strClip, stOptions.iWidth, stOptions.iHeight,
                            stOptions.stEncoder);
    scene::Renderer stRenderer(stOptions.eMount, stOptions.iWidth, stOptions.iHeight, fnMapping);
    const clip::Rate& stRate = stOptions.stEncoder.stRate;
    for (int i = 0; i < stOptions.iPictures; ++i) {
        const double dSeconds = double(i) * stRate.iDenominator / stRate.iNumerator;
        stEncoder.Put(stRenderer.Render(stOptions.dStart + dSeconds));
        TellProgress(stOptions, i + 1);
    }
    stEncoder.Finish();
    if (!stOptions.blQuiet)
        std::fprintf(stderr, "%s: %d pictures of %dx%d, %s\n", stOptions.strClip.c_str(),
                     stOptions.iPictures, stOptions.iWidth, stOptions.iHeight,
                     stEncoder.Codec().c_str());
}

void MakePicture(const Options& stOptions)
{
    scene::Renderer stRenderer(stOptions.eMount, stOptions.iWidth, stOptions.iHeight,
                               MappingOf(stOptions));
    clip::WritePng(stOptions.strPicture, stRenderer.Render(stOptions.dStart));
}

}  // namespace

int main(int argc, char** argv)
{
    const QCoreApplication stApplication(argc, argv);
    av_log_set_level(AV_LOG_ERROR);
    try {
        const std::optional<Options> stOptions = clip::ParseOptions(QCoreApplication::arguments());
        if (stOptions && stOptions->strClip.empty())
            MakePicture(*stOptions);
        else if (stOptions)
            MakeClip(*stOptions);
        return 0;
    } catch (const clip::BadUsage& e) {
        std::fprintf(stderr, "fisheye-clip: %s\nTry fisheye-clip --help.\n", e.what());
        return 2;
    } catch (const std::exception& e) {
        std::fprintf(stderr, "fisheye-clip: %s\n", e.what());
        return 1;
    }
}
