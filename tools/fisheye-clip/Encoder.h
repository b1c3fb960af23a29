#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "tools/scene/Renderer.h"

// Pictures to files, by FFmpeg's libraries.
namespace clip {

struct Rate  ///< pictures in a second
{
    int iNumerator = 25;
    int iDenominator = 1;
};

/// How a clip is encoded. Empty texts and missing numbers: what suits the file and the codec.
struct EncoderSettings
{
    std::string strCodec;           ///< h264, hevc or mjpeg
    std::string strPixelFormat;     ///< FFmpeg's name of it, such as yuv420p10le
    std::optional<int> iQuality;    ///< less is better: 0..51; for mjpeg 1..31
    std::optional<int> iKilobits;   ///< in a second; rules instead of a quality
    std::optional<bool> blFull;     ///< full range, rather than limited
    std::optional<bool> blBt709;    ///< the matrix BT.709, rather than BT.601
    std::optional<int> iKeyframes;  ///< pictures from one key frame to the next
    Rate stRate;
};

/// Encodes pictures of one size into a file, in a container that the file's ending tells.
class Encoder
{
public:
    /// Throws BadUsage where the settings do not go together, Failure where the file or the codec
    /// cannot be opened.
    Encoder(const std::string& strFile, int iWidth, int iHeight, const EncoderSettings& stSettings);
    ~Encoder();
    Encoder(const Encoder&) = delete;
    Encoder& operator=(const Encoder&) = delete;

    /// The next picture. Throws Failure.
    void Put(const scene::Picture& stPicture);

    /// Completes the file; without it the clip has no proper end. Throws Failure.
    void Finish();

    /// The name of the codec in use.
    const std::string& Codec() const;

private:
    struct State;
    std::unique_ptr<State> m_pState;
};

/// Writes one picture as a PNG file. Throws Failure.
void WritePng(const std::string& strFile, const scene::Picture& stPicture);

}  // namespace clip
