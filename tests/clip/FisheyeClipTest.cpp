// The program as a user runs it: what it writes is decoded again, what it refuses is told.
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include <sys/wait.h>
#include <unistd.h>

#include <gmock/gmock.h>

#include "tools/scene/Renderer.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/pixdesc.h>
}

namespace {

using testing::HasSubstr;

struct Outcome
{
    int iExitCode;
    std::string strOutput;  // standard output and standard error
};

class FisheyeClip : public testing::Test
{
protected:
    FisheyeClip()
    {
        std::string strPattern = (std::filesystem::temp_directory_path() / "clip-XXXXXX").string();
        m_stDirectory = mkdtemp(strPattern.data());
    }
    ~FisheyeClip() override { std::filesystem::remove_all(m_stDirectory); }

    std::string File(const char* szName) const { return (m_stDirectory / szName).string(); }

    Outcome Run(const std::string& strArguments) const
    {
        const std::string strCommand =
            std::string("\"") + std::getenv("FISHEYE_CLIP") + "\" " + strArguments + " 2>&1";
        FILE* pPipe = popen(strCommand.c_str(), "r");
        std::string strOutput;
        for (int iByte = std::fgetc(pPipe); iByte != EOF; iByte = std::fgetc(pPipe))
            strOutput += char(iByte);
        return {WEXITSTATUS(pclose(pPipe)), strOutput};
    }

    void ExpectRefused(const std::string& strArguments, const std::string& strReason) const
    {
        const Outcome st = Run(strArguments);
        EXPECT_EQ(st.iExitCode, 2) << strArguments;
        EXPECT_THAT(st.strOutput, HasSubstr(strReason)) << strArguments;
    }

private:
    std::filesystem::path m_stDirectory;
};

/// What a file turns out to hold.
struct Decoded
{
    std::string strCodec;
    std::string strFormat;  // of the pixels
    int iWidth = 0;
    int iHeight = 0;
    int iPictures = 0;
    int iKeyPictures = 0;
    AVRational stRate{};
    std::shared_ptr<AVFrame> pFirst;
};

void TakePictures(AVCodecContext* pCodec, Decoded& st)
{
    std::shared_ptr<AVFrame> pFrame(av_frame_alloc(), [](AVFrame* p) { av_frame_free(&p); });
    while (avcodec_receive_frame(pCodec, pFrame.get()) == 0) {
        ++st.iPictures;
        st.iKeyPictures += pFrame->key_frame;
        if (!st.pFirst) {
            st.pFirst.reset(av_frame_clone(pFrame.get()), [](AVFrame* p) { av_frame_free(&p); });
            st.strFormat = av_get_pix_fmt_name(AVPixelFormat(pFrame->format));
            st.iWidth = pFrame->width;
            st.iHeight = pFrame->height;
        }
    }
}

Decoded Decode(const std::string& strFile)
{
    Decoded st;
    AVFormatContext* pFile = nullptr;
    if (avformat_open_input(&pFile, strFile.c_str(), nullptr, nullptr) < 0)
        return st;
    avformat_find_stream_info(pFile, nullptr);
    const AVStream* pStream = pFile->streams[0];
    st.strCodec = avcodec_get_name(pStream->codecpar->codec_id);
    st.stRate = pStream->avg_frame_rate;
    AVCodecContext* pCodec =
        avcodec_alloc_context3(avcodec_find_decoder(pStream->codecpar->codec_id));
    avcodec_parameters_to_context(pCodec, pStream->codecpar);
    avcodec_open2(pCodec, nullptr, nullptr);
    AVPacket* pPacket = av_packet_alloc();
    while (av_read_frame(pFile, pPacket) >= 0) {
        avcodec_send_packet(pCodec, pPacket);
        av_packet_unref(pPacket);
        TakePictures(pCodec, st);
    }
    avcodec_send_packet(pCodec, nullptr);
    TakePictures(pCodec, st);
    av_packet_free(&pPacket);
    avcodec_free_context(&pCodec);
    avformat_close_input(&pFile);
    return st;
}

/// Mean absolute difference of a frame's red, green and blue from a picture's, converted by the
/// equations of the recommendation that the frame names.
double MeanDifference(const AVFrame& st, const scene::Picture& stTruth)
{
    const bool blBt709 = st.colorspace == AVCOL_SPC_BT709;
    const double dKr = blBt709 ? 0.2126 : 0.299;
    const double dKb = blBt709 ? 0.0722 : 0.114;
    const bool blFull = st.color_range == AVCOL_RANGE_JPEG;
    const AVPixFmtDescriptor* pFormat = av_pix_fmt_desc_get(AVPixelFormat(st.format));
    double dSum = 0;
    for (int i = 0; i < st.width * st.height; ++i) {
        const int iX = i % st.width;
        const int iY = i / st.width;
        const auto Chroma = [&](int iPlane) {
            const int iRow = iY >> pFormat->log2_chroma_h;
            return st.data[iPlane][iRow * st.linesize[iPlane] + (iX >> pFormat->log2_chroma_w)];
        };
        const double dY =
            (st.data[0][iY * st.linesize[0] + iX] - (blFull ? 0 : 16)) / (blFull ? 255.0 : 219.0);
        const double dB = (Chroma(1) - 128) / (blFull ? 255.0 : 224.0);
        const double dR = (Chroma(2) - 128) / (blFull ? 255.0 : 224.0);
        const double dRed = dY + 2 * (1 - dKr) * dR;
        const double dBlue = dY + 2 * (1 - dKb) * dB;
        const double dGreen = (dY - dKr * dRed - dKb * dBlue) / (1 - dKr - dKb);
        const std::uint8_t* pTruth = &stTruth.vecRgb[std::size_t(i) * 3];
        dSum += std::abs(dRed * 255 - pTruth[0]) + std::abs(dGreen * 255 - pTruth[1]) +
                std::abs(dBlue * 255 - pTruth[2]);
    }
    return dSum / (3.0 * st.width * st.height);
}

struct ContainerCase
{
    const char* szFile;
    const char* szOptions;
    const char* szCodec;
};

class EachContainer : public FisheyeClip, public testing::WithParamInterface<ContainerCase>
{};

TEST_P(EachContainer, DecodesToTheSizeAndNumberOfPicturesAskedFor)
{
    const ContainerCase& stCase = GetParam();
    const std::string strFile = File(stCase.szFile);
    const Outcome stOutcome = Run("-q --size 160x128 --seconds 0.5 --rate 20 " +
                                  std::string(stCase.szOptions) + " -o " + strFile);
    ASSERT_EQ(stOutcome.iExitCode, 0) << stOutcome.strOutput;
    EXPECT_EQ(stOutcome.strOutput, "");
    const Decoded st = Decode(strFile);
    EXPECT_EQ(st.strCodec, stCase.szCodec);
    EXPECT_EQ(st.iPictures, 10);
    EXPECT_EQ(st.iWidth, 160);
    EXPECT_EQ(st.iHeight, 128);
}

INSTANTIATE_TEST_SUITE_P(FisheyeClip, EachContainer,
                         testing::Values(ContainerCase{"a.ts", "", "h264"},
                                         ContainerCase{"a.ts", "--codec hevc", "hevc"},
                                         ContainerCase{"a.mkv", "--codec mjpeg", "mjpeg"},
                                         ContainerCase{"a.mkv", "--codec hevc", "hevc"},
                                         ContainerCase{"a.mp4", "", "h264"},
                                         ContainerCase{"a.h264", "", "h264"},
                                         ContainerCase{"a.h265", "", "hevc"},
                                         ContainerCase{"a.mjpeg", "", "mjpeg"}));

struct ColourCase
{
    const char* szOptions;
    const char* szFormat;
    AVColorRange eRange;
    AVColorSpace eMatrix;
};

class EachColour : public FisheyeClip, public testing::WithParamInterface<ColourCase>
{};

TEST_P(EachColour, DecodesToTheColoursOfTheRoomByItsOwnDescription)
{
    const ColourCase& stCase = GetParam();
    const std::string strFile = File("a.mkv");
    const Outcome stOutcome = Run("-q --size 256 --seconds 0.04 --time 3 --quality 5 " +
                                  std::string(stCase.szOptions) + " -o " + strFile);
    ASSERT_EQ(stOutcome.iExitCode, 0) << stOutcome.strOutput;
    const Decoded st = Decode(strFile);
    ASSERT_TRUE(st.pFirst);
    EXPECT_EQ(st.strFormat, stCase.szFormat);
    EXPECT_EQ(st.pFirst->color_range, stCase.eRange);
    EXPECT_EQ(st.pFirst->colorspace, stCase.eMatrix);
    optics::LensParameters stLens;
    stLens.stCentre = {127.5, 127.5};
    stLens.dCircleRadius = 128;
    std::string strError;
    scene::Renderer stRenderer(optics::Mount::Ceiling, 256, 256,
                               scene::ThroughLens(optics::Lens::Make(stLens, strError).value()));
    EXPECT_LT(MeanDifference(*st.pFirst, stRenderer.Render(3.0)), 2.5);
}

INSTANTIATE_TEST_SUITE_P(
    FisheyeClip, EachColour,
    testing::Values(
        ColourCase{"", "yuv420p", AVCOL_RANGE_MPEG, AVCOL_SPC_BT709},
        ColourCase{"--matrix bt601", "yuv420p", AVCOL_RANGE_MPEG, AVCOL_SPC_SMPTE170M},
        ColourCase{"--range full", "yuvj420p", AVCOL_RANGE_JPEG, AVCOL_SPC_BT709},
        ColourCase{"--pixel-format yuv422p", "yuv422p", AVCOL_RANGE_MPEG, AVCOL_SPC_BT709},
        ColourCase{"--pixel-format yuv444p", "yuv444p", AVCOL_RANGE_MPEG, AVCOL_SPC_BT709},
        ColourCase{"--codec hevc", "yuv420p", AVCOL_RANGE_MPEG, AVCOL_SPC_BT709},
        ColourCase{"--codec mjpeg --quality 1", "yuvj420p", AVCOL_RANGE_JPEG, AVCOL_SPC_BT470BG}));

TEST_F(FisheyeClip, EncodesTenBitPictures)
{
    ASSERT_EQ(
        Run("-q --size 64 --seconds 0.1 --pixel-format yuv420p10le -o " + File("a.mkv")).iExitCode,
        0);
    EXPECT_EQ(Decode(File("a.mkv")).strFormat, "yuv420p10le");
}

TEST_F(FisheyeClip, HonoursRateAndKeyFrames)
{
    ASSERT_EQ(Run("-q --size 64 --seconds 1 --rate 30000/1001 --key-frames 10 -o " + File("a.mkv"))
                  .iExitCode,
              0);
    const Decoded st = Decode(File("a.mkv"));
    EXPECT_EQ(st.iPictures, 30);
    EXPECT_EQ(st.iKeyPictures, 3);
    EXPECT_NEAR(av_q2d(st.stRate), 29.97, 0.01);
}

TEST_F(FisheyeClip, MakesASmallerFileAtALowerQuality)
{
    ASSERT_EQ(Run("-q --size 256 --seconds 0.4 --quality 10 -o " + File("fine.ts")).iExitCode, 0);
    ASSERT_EQ(Run("-q --size 256 --seconds 0.4 --quality 40 -o " + File("coarse.ts")).iExitCode, 0);
    EXPECT_LT(std::filesystem::file_size(File("coarse.ts")) * 3,
              std::filesystem::file_size(File("fine.ts")));
}

TEST_F(FisheyeClip, DrawsAPngOfAView)
{
    ASSERT_EQ(Run("--view ptz --position 3000,4000 --zoom 5000 --size 64x48 --time 2 --picture " +
                  File("a.png"))
                  .iExitCode,
              0);
    const Decoded st = Decode(File("a.png"));
    EXPECT_EQ(st.strCodec, "png");
    ASSERT_EQ(st.iWidth, 64);
    ASSERT_EQ(st.iHeight, 48);
    optics::ViewParameters stView;
    stView.eKind = optics::ViewKind::PanTiltZoom;
    stView.stCentre = {0.3, 0.4};
    stView.dZoom = 5000;
    stView.iWidth = 64;
    stView.iHeight = 48;
    scene::Renderer stRenderer(optics::Mount::Ceiling, 64, 48,
                               scene::ThroughView(optics::View(stView), 64, 48));
    const scene::Picture& stTruth = stRenderer.Render(2.0);
    for (int iY = 0; iY < 48; ++iY) {
        const std::uint8_t* pRow = st.pFirst->data[0] + iY * st.pFirst->linesize[0];
        ASSERT_TRUE(std::equal(pRow, pRow + 64 * 3, &stTruth.vecRgb[std::size_t(iY) * 64 * 3]));
    }
}

TEST_F(FisheyeClip, DrawsEveryLensAndView)
{
    for (const char* szOptions :
         {"--lens stereographic", "--lens equisolid --fov 235", "--lens orthographic",
          "--lens kannala-brandt --k 0.02,-0.01,0.001,0 --focal 40,41",
          "--lens table --table 0:0,45:15,90:31", "--centre 20,40.5 --radius 18", "--view fisheye",
          "--view panorama --angle -30", "--view 180 --mount floor", "--view lat --mount wall"}) {
        const Outcome st =
            Run(std::string("--size 64 ") + szOptions + " --picture " + File("a.png"));
        EXPECT_EQ(st.iExitCode, 0) << szOptions << ": " << st.strOutput;
    }
}

TEST_F(FisheyeClip, RefusesWhatMakesNoSenseAndSaysWhy)
{
    const std::string strTo = " -o " + File("a.ts");
    ExpectRefused("", "name one file");
    ExpectRefused("--picture a.png" + strTo, "name one file");
    ExpectRefused("--nonsense" + strTo, "nonsense");
    ExpectRefused("extra" + strTo, "unexpected 'extra'");
    ExpectRefused("-o a.gif", "none of the endings .ts");
    ExpectRefused("--mount shelf" + strTo, "none of ceiling, wall, floor");
    ExpectRefused("--size 0" + strTo, "--size: '0' is not a whole number");
    ExpectRefused("--size 64x64x64" + strTo, "is not WIDTHxHEIGHT");
    ExpectRefused("--size 65x64" + strTo, "h264 in yuv420p needs a width");
    ExpectRefused("--fov 300" + strTo, "--fov: '300'");
    ExpectRefused("--fov nan" + strTo, "--fov: 'nan'");
    ExpectRefused("--seconds -1" + strTo, "--seconds: '-1'");
    ExpectRefused("--rate 25/0" + strTo, "--rate: '0'");
    ExpectRefused("--rate 1000" + strTo, "--rate goes up to 240");
    ExpectRefused("--centre 5" + strTo, "is not X,Y");
    ExpectRefused("--lens table --table 1" + strTo, "is not DEGREES:PIXELS");
    ExpectRefused("--lens table --table 0:0" + strTo, "table");
    ExpectRefused("--lens kannala-brandt --k 1,2,3,4,5" + strTo, "more than 4");
    ExpectRefused("--codec vp9" + strTo, "there is no codec 'vp9'");
    ExpectRefused("--codec mjpeg" + strTo, "a .ts file cannot hold mjpeg");
    ExpectRefused("--pixel-format rgb48" + strTo, "cannot be encoded from 'rgb48'");
    ExpectRefused("--quality 5 --bit-rate 100" + strTo, "not both");
    ExpectRefused("--codec mjpeg --quality 40 -o " + File("a.mkv"), "1 (best) to 31");
    ExpectRefused("--codec mjpeg --range limited -o " + File("a.mkv"), "always full range");
    ExpectRefused("--codec mjpeg --matrix bt709 -o " + File("a.mkv"), "always bt601");
    EXPECT_FALSE(std::filesystem::exists(File("a.ts")));
    EXPECT_FALSE(std::filesystem::exists(File("a.mkv")));
}

TEST_F(FisheyeClip, TellsWhenAFileCannotBeWritten)
{
    for (const std::string strFile : {"/nonexistent/a.ts", "/nonexistent/a.png"}) {
        const Outcome st = Run("-q --size 64 --seconds 0.1 " +
                               std::string(strFile.back() == 's' ? "-o " : "--picture ") + strFile);
        EXPECT_EQ(st.iExitCode, 1);
        EXPECT_THAT(st.strOutput, HasSubstr(strFile + ": No such file or directory"));
    }
}

TEST_F(FisheyeClip, TellsAFullDisk)
{
    if (!std::filesystem::exists("/dev/full"))
        GTEST_SKIP() << "this system has no /dev/full";
    std::filesystem::create_symlink("/dev/full", File("a.h264"));
    const Outcome st = Run("-q --size 64 --seconds 1 -o " + File("a.h264"));
    EXPECT_EQ(st.iExitCode, 1);
    EXPECT_THAT(st.strOutput, HasSubstr("No space left on device"));
}

TEST_F(FisheyeClip, PrintsHelpAndVersion)
{
    const Outcome stHelp = Run("--help");
    EXPECT_EQ(stHelp.iExitCode, 0);
    EXPECT_THAT(stHelp.strOutput, HasSubstr("--position <X,Y>"));
    const Outcome stVersion = Run("--version");
    EXPECT_EQ(stVersion.iExitCode, 0);
    EXPECT_THAT(stVersion.strOutput, testing::StartsWith("fisheye-clip "));
}

TEST_F(FisheyeClip, SaysWhatItMade)
{
    EXPECT_THAT(Run("--size 64 --seconds 0.2 -o " + File("a.ts")).strOutput,
                HasSubstr("a.ts: 5 pictures of 64x64, h264"));
}

}  // namespace
