// What comes in: containers, codecs, colours, blocks of any size, streams that break off and
// change.
#include <algorithm>
#include <cstdlib>
#include <future>
#include <random>
#include <thread>

#include <gmock/gmock.h>

#include "engine/media/StreamDecoder.h"
#include "tests/engine/EngineUnderTest.h"

namespace test {
namespace {

struct FormatCase
{
    const char* name;
    const char* format;
    AVCodecID codec;
    AVPixelFormat pixels;
    AVColorRange range;
    AVColorSpace matrix;
    const char* fourCc;
    bool tagged = true;
    int width = 256;
    int height = 256;
};

void PrintTo(const FormatCase& format, std::ostream* out)
{
    *out << format.name;
}

class Formats : public testing::TestWithParam<FormatCase>
{};

TEST_P(Formats, AreShownInTheirColours)
{
    const FormatCase& format = GetParam();
    ClipOptions options;
    options.format = format.format;
    options.codec = format.codec;
    options.pixels = format.pixels;
    options.range = format.range;
    options.matrix = format.matrix;
    options.tagged = format.tagged;
    options.width = format.width;
    options.height = format.height;
    options.paint = [&](int, int x, int) {
        return x < format.width / 2 ? Colour{200, 40, 40} : Colour{40, 60, 190};
    };
    Images images;
    TestPlayer player(format.fourCc);
    const int view = player.AddView(RV_MODE_SOURCE);
    ASSERT_EQ(player.Listen(view, images), 0);
    ASSERT_EQ(player.Play(), 0);
    ASSERT_EQ(player.Put(MakeClip(options)), 0);
    ASSERT_EQ(player.End(), 0);
    const Images::Image image = images.Await(1);
    ASSERT_EQ(image.width, 256);
    for (const auto& [x, colour] :
         {std::pair{0.25, Colour{200, 40, 40}}, {0.75, Colour{40, 60, 190}}}) {
        const double luma = 0.299 * colour.r + 0.587 * colour.g + 0.114 * colour.b;
        const bool grey = format.pixels == AV_PIX_FMT_GRAY8;
        const Colour shown = image.At(x, 0.5);
        EXPECT_TRUE(Near(shown, grey ? Colour{luma, luma, luma} : colour, 4))
            << shown.r << " " << shown.g << " " << shown.b;
    }
}

/// A baseline JPEG of one component, 256 x 256 pixels of one grey level below 128. Only the first
/// block differs from the one before it: by a DC coefficient of six bits.
Bytes GreyJpeg(int level)
{
    Bytes jpeg = {0xFF, 0xD8, 0xFF, 0xDB, 0, 67, 0};
    jpeg.insert(jpeg.end(), 64, 8);  // so the DC coefficient is the level, from 128
    const Bytes size = {0xFF, 0xC0, 0, 11, 8, 1, 0, 1, 0, 1, 1, 0x11, 0};
    jpeg.insert(jpeg.end(), size.begin(), size.end());
    // DC: the bit 0 says no difference, the bits 10 that six bits follow. AC: 0 ends the block.
    const Bytes codes[] = {{0xFF, 0xC4, 0, 21, 0x00, 1, 1}, {0xFF, 0xC4, 0, 20, 0x10, 1, 0}};
    const Bytes values[] = {{0, 6}, {0}};
    for (int table = 0; table < 2; ++table) {
        jpeg.insert(jpeg.end(), codes[table].begin(), codes[table].end());
        jpeg.insert(jpeg.end(), 14, 0);  // no longer codes
        jpeg.insert(jpeg.end(), values[table].begin(), values[table].end());
    }
    const Bytes scan = {0xFF, 0xDA, 0, 8, 1, 1, 0, 0, 63, 0};
    jpeg.insert(jpeg.end(), scan.begin(), scan.end());
    jpeg.push_back(static_cast<std::uint8_t>(0x80 | (level - 128 + 63)));
    jpeg.insert(jpeg.end(), 32 * 32 * 2 / 8, 0);
    jpeg.insert(jpeg.end(), {0xFF, 0xD9});
    return jpeg;
}

TEST(Streams, GreyJpegOfACameraAtNightIsShown)
{
    Images images;
    TestPlayer player;
    ASSERT_EQ(player.Listen(player.AddView(RV_MODE_SOURCE), images), 0);
    ASSERT_EQ(player.Play(), 0);
    ASSERT_EQ(player.Put(GreyJpeg(80)), 0);
    ASSERT_EQ(player.End(), 0);
    const Images::Image image = images.Await(1);
    ASSERT_EQ(image.width, 256);
    EXPECT_TRUE(Near(image.At(0.1, 0.1), {80, 80, 80}, 1)) << image.At(0.1, 0.1).r;
    EXPECT_TRUE(Near(image.At(0.9, 0.9), {80, 80, 80}, 1)) << image.At(0.9, 0.9).r;
    player.Delete();
}

constexpr AVColorRange LIMITED = AVCOL_RANGE_MPEG;
constexpr AVColorRange FULL = AVCOL_RANGE_JPEG;
constexpr AVColorSpace BT601 = AVCOL_SPC_SMPTE170M;
constexpr AVColorSpace BT709 = AVCOL_SPC_BT709;
constexpr AVCodecID H264 = AV_CODEC_ID_H264;
constexpr AVCodecID H265 = AV_CODEC_ID_HEVC;
constexpr AVCodecID JPEG = AV_CODEC_ID_MJPEG;

INSTANTIATE_TEST_SUITE_P(
    All, Formats,
    testing::Values(
        FormatCase{"TsH264", "mpegts", H264, AV_PIX_FMT_YUV420P, LIMITED, BT709, "AUTO"},
        FormatCase{"TsH264Named", "mpegts", H264, AV_PIX_FMT_YUV420P, LIMITED, BT709, "MPTS"},
        FormatCase{"TsH265", "mpegts", H265, AV_PIX_FMT_YUV420P, LIMITED, BT709, "AUTO"},
        FormatCase{"MatroskaH264", "matroska", H264, AV_PIX_FMT_YUV420P, LIMITED, BT709, "AUTO"},
        FormatCase{"MatroskaH265", "matroska", H265, AV_PIX_FMT_YUV420P, LIMITED, BT709, "MKV "},
        FormatCase{"MatroskaMjpeg", "matroska", JPEG, AV_PIX_FMT_YUVJ420P, FULL, BT601, "AUTO"},
        FormatCase{"Mp4H264", "mp4", H264, AV_PIX_FMT_YUV420P, LIMITED, BT709, "AUTO"},
        FormatCase{"Mp4H265", "mp4", H265, AV_PIX_FMT_YUV420P, LIMITED, BT709, "MP4 "},
        FormatCase{"ElementaryH264", "h264", H264, AV_PIX_FMT_YUV420P, LIMITED, BT709, "AUTO"},
        FormatCase{"ElementaryH264Named", "h264", H264, AV_PIX_FMT_YUV420P, LIMITED, BT709, "H264"},
        FormatCase{"ElementaryH265", "hevc", H265, AV_PIX_FMT_YUV420P, LIMITED, BT709, "AUTO"},
        FormatCase{"ElementaryMjpeg", "mjpeg", JPEG, AV_PIX_FMT_YUVJ420P, FULL, BT601, "AUTO"},
        FormatCase{"Mjpeg422", "mjpeg", JPEG, AV_PIX_FMT_YUVJ422P, FULL, BT601, "MJPG"},
        FormatCase{"H264Full709", "mpegts", H264, AV_PIX_FMT_YUV420P, FULL, BT709, "AUTO"},
        FormatCase{"H264Limited601", "mpegts", H264, AV_PIX_FMT_YUV420P, LIMITED, BT601, "AUTO"},
        FormatCase{"H264Full601", "mpegts", H264, AV_PIX_FMT_YUV420P, FULL, BT601, "AUTO"},
        FormatCase{"H264TenBits", "mpegts", H264, AV_PIX_FMT_YUV420P10, LIMITED, BT709, "AUTO"},
        FormatCase{"H264422", "mpegts", H264, AV_PIX_FMT_YUV422P, LIMITED, BT709, "AUTO"},
        FormatCase{"H264444", "mpegts", H264, AV_PIX_FMT_YUV444P, LIMITED, BT709, "AUTO"},
        FormatCase{"H264444Full", "mpegts", H264, AV_PIX_FMT_YUV444P, FULL, BT601, "AUTO"},
        FormatCase{"H265TenBits", "mpegts", H265, AV_PIX_FMT_YUV420P10, LIMITED, BT709, "AUTO"},
        FormatCase{"H265TenBits422", "mpegts", H265, AV_PIX_FMT_YUV422P10, FULL, BT709, "AUTO"},
        FormatCase{"H264Grey", "mpegts", H264, AV_PIX_FMT_GRAY8, LIMITED, BT601, "AUTO"},
        FormatCase{"H265GreyFull", "mpegts", H265, AV_PIX_FMT_GRAY8, FULL, BT601, "AUTO"},
        FormatCase{"H265Rgb", "mpegts", H265, AV_PIX_FMT_GBRP, FULL, AVCOL_SPC_RGB, "AUTO"},
        FormatCase{"UntaggedSmall", "h264", H264, AV_PIX_FMT_YUV420P, LIMITED, BT601, "AUTO", false,
                   1264, 704},
        FormatCase{"UntaggedWide", "h264", H264, AV_PIX_FMT_YUV420P, LIMITED, BT709, "AUTO", false,
                   1280, 704},
        FormatCase{"UntaggedHigh", "h264", H264, AV_PIX_FMT_YUV420P, LIMITED, BT709, "AUTO", false,
                   1264, 720},
        FormatCase{"UntaggedJpeg", "mjpeg", JPEG, AV_PIX_FMT_YUVJ420P, FULL, BT601, "AUTO", false,
                   1280, 720}),
    [](const auto& info) { return std::string(info.param.name); });

// ---- Blocks, breaks and changes

/// A clip whose picture tells its number: grey levels 40, 60, 80 ... in turn.
ClipOptions Numbered(const char* format, int pictures)
{
    ClipOptions options;
    options.format = format;
    if (options.format == "mp4h265")
        options.format = "mp4";
    if (std::string(format) == "hevc" || std::string(format) == "mp4h265")
        options.codec = AV_CODEC_ID_HEVC;
    if (std::string(format) == "mjpeg") {
        options.codec = AV_CODEC_ID_MJPEG;
        options.pixels = AV_PIX_FMT_YUVJ420P;
        options.range = AVCOL_RANGE_JPEG;
        options.matrix = AVCOL_SPC_SMPTE170M;
    }
    options.width = options.height = 128;
    options.pictures = pictures;
    options.paint = [](int picture, int, int) {
        const double grey = 40 + 20 * (picture % 10);
        return Colour{grey, grey, grey};
    };
    return options;
}

Colour GreyOf(int picture)
{
    const double grey = 40 + 20 * (picture % 10);
    return {grey, grey, grey};
}

/// A player with a source view that is listened to.
class Source
{
public:
    explicit Source(const char* fourCc = "AUTO") : player(fourCc)
    {
        view = player.AddView(RV_MODE_SOURCE);
        player.Listen(view, images, 32, 32);
        RV(RV_FastForward)(player.Id(), 16);
        player.Play();
    }
    ~Source() { player.Delete(); }  // before the images

    /// Puts everything, waiting while the buffer is full.
    void PutAll(const Bytes& bytes, std::size_t block)
    {
        for (std::size_t at = 0; at < bytes.size(); at += block) {
            const std::size_t size = std::min(block, bytes.size() - at);
            while (player.Put(bytes.data() + at, size) == RV_BUFFER_FULL)
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }

    /// The end mark is refused a second time, not lost, while the first waits to be reached.
    bool AwaitEnd()
    {
        std::promise<void> ended;
        RV(RV_RegisterNotifyPlayToEnd)
        (
            player.Id(),
            [](int, void* promise) { static_cast<std::promise<void>*>(promise)->set_value(); },
            &ended);
        player.End();
        const bool came = ended.get_future().wait_for(PATIENCE) == std::future_status::ready;
        RV(RV_RegisterNotifyPlayToEnd)(player.Id(), nullptr, nullptr);
        return came;
    }

    /// Shows the next picture of the paused player: its number, modulo 10.
    int Step()
    {
        const int before = images.Count();
        EXPECT_EQ(RV(RV_StepForward)(player.Id()), 0);
        const Images::Image image = images.Await(before + 1);
        return image.width == 0 ? -1 : static_cast<int>((image.At(0.5, 0.5).r - 30) / 20);
    }

    std::int64_t PlayTime() const
    {
        std::int64_t time = -1;
        RV(RV_GetPlayTime)(player.Id(), &time);
        return time;
    }

    Images images;
    TestPlayer player;
    int view;
};

class EveryFormat : public testing::TestWithParam<const char*>
{};

TEST_P(EveryFormat, GivesEveryPictureWhenFedByteByByte)
{
    ClipOptions options = Numbered(GetParam(), 5);
    const bool elementary = options.format == "h264" || options.format == "hevc";
    // Where a break of half a period is taken for the end of a picture, this thread may make one.
    if (elementary) {
        options.rate = {1, 1};
        options.keyInterval = 2;  // parameter sets behind the first picture as well
    }
    std::vector<Bytes> pieces = MakeClipPieces(options);
    Source source;
    RV(RV_Pause)(source.player.Id(), 1);  // nothing is left out for being late
    for (int i = 0; i < 5; ++i)
        RV(RV_StepForward)(source.player.Id());
    if (elementary) {  // the period is known once there is a picture
        ASSERT_EQ(source.player.Put(pieces.front()), 0);
        ASSERT_EQ(source.images.Await(1).width, 32);
        ASSERT_EQ(source.player.Describe().dFrameRate, 1.0);
        pieces.erase(pieces.begin());
    }
    for (const Bytes& piece : pieces)
        source.PutAll(piece, 1);
    ASSERT_TRUE(source.AwaitEnd());
    ASSERT_EQ(source.player.Describe().llDecoded, 5);
    EXPECT_TRUE(Near(source.images.Await(1).At(0.5, 0.5), GreyOf(4), 3));
}

TEST(Streams, Mp4HeaderMayBreakAnywhereInItsDecoderRecord)
{
    const Bytes clip = MakeClip(Numbered("mp4", 2));
    static constexpr std::uint8_t NAME[] = {'a', 'v', 'c', 'C'};
    const auto name = std::search(clip.begin(), clip.end(), std::begin(NAME), std::end(NAME));
    ASSERT_NE(name, clip.end());
    const auto at = static_cast<std::size_t>(name - clip.begin());
    for (std::size_t cut = at - 8; cut < at + 24; ++cut) {
        Source source;
        ASSERT_EQ(source.player.Put(clip.data(), cut), 0);
        while (source.player.Describe().iBytesBuffered > 0)
            std::this_thread::yield();
        source.PutAll(Bytes(clip.begin() + static_cast<std::ptrdiff_t>(cut), clip.end()), 4096);
        ASSERT_TRUE(source.AwaitEnd());
        EXPECT_EQ(source.player.Describe().llDecoded, 2)
            << "cut " << cut - at << " behind the name";
    }
}

TEST_P(EveryFormat, PlaysOnWhenTheClipIsPutAgain)
{
    const Bytes clip = MakeClip(Numbered(GetParam(), 4));
    Source source;
    for (int round = 1; round <= 3; ++round) {
        source.PutAll(clip, 1000);
        ASSERT_TRUE(source.AwaitEnd());
        EXPECT_EQ(source.player.Describe().llDecoded, 4 * round);
    }
}

TEST_P(EveryFormat, PlaysOnWhenTheClipBeginsAgainWithoutAnEndMark)
{
    const Bytes clip = MakeClip(Numbered(GetParam(), 4));
    Source source;
    for (int round = 0; round < 3; ++round)
        source.PutAll(clip, 777);
    ASSERT_TRUE(source.AwaitEnd());
    EXPECT_EQ(source.player.Describe().llDecoded, 12);
}

TEST_P(EveryFormat, ComesBackAfterRubbishAndACutOffPicture)
{
    const Bytes clip = MakeClip(Numbered(GetParam(), 8));
    Source source;
    source.PutAll(Bytes(clip.begin(), clip.begin() + static_cast<long>(clip.size() * 6 / 10)),
                  4096);
    std::mt19937 random(7);
    Bytes rubbish(3000);
    for (auto& byte : rubbish)
        byte = static_cast<std::uint8_t>(random());
    source.PutAll(rubbish, 500);
    // Rubbish can look like a JPEG segment of 64 KiB, which swallows what follows.
    const int rounds = std::string(GetParam()) == "mjpeg" ? 15 : 3;
    for (int i = 0; i < rounds; ++i)
        source.PutAll(clip, 4096);
    ASSERT_TRUE(source.AwaitEnd());
    // Some of the first pictures and all of at least the last clip but one.
    EXPECT_GE(source.player.Describe().llDecoded, 8 + 2);
    EXPECT_TRUE(Near(source.images.Await(1).At(0.5, 0.5), GreyOf(7), 3));
}

TEST_P(EveryFormat, IsFoundAgainAfterCleaning)
{
    const Bytes clip = MakeClip(Numbered(GetParam(), 4));
    Source source;
    source.PutAll(Bytes(clip.begin(), clip.begin() + static_cast<long>(clip.size() / 2)), 4096);
    ASSERT_EQ(RV(RV_CleanStreamBuffer)(source.player.Id()), 0);
    source.PutAll(clip, 4096);
    ASSERT_TRUE(source.AwaitEnd());
    EXPECT_TRUE(Near(source.images.Await(1).At(0.5, 0.5), GreyOf(3), 3));
}

TEST_P(EveryFormat, FollowsAChangeOfResolution)
{
    ClipOptions small = Numbered(GetParam(), 4);
    ClipOptions large = small;
    large.width = 192;
    large.height = 160;
    large.firstPicture = 4;
    Source source;
    source.PutAll(MakeClip(small), 4096);
    source.PutAll(MakeClip(large), 4096);
    ASSERT_TRUE(source.AwaitEnd());
    const RvVideoParam param = source.player.Describe();
    EXPECT_EQ(param.llDecoded, 8);
    EXPECT_EQ(param.iWidth, 192);
    EXPECT_EQ(param.iHeight, 160);
}

/// A live stream: every picture is put only when the one before it has been shown, so each must
/// come out without a byte of the next.
TEST_P(EveryFormat, ShowsALivePictureBeforeTheNextOneComes)
{
    const std::vector<Bytes> pieces = MakeClipPieces(Numbered(GetParam(), 12));
    Source source;
    int shown = 0;
    for (const Bytes& piece : pieces) {
        ASSERT_EQ(source.player.Put(piece), 0);
        ASSERT_TRUE(source.images.AwaitOne([&](const auto& image) {
            return Near(image.At(0.5, 0.5), GreyOf(shown), 3);
        })) << "picture "
            << shown;
        ++shown;
    }
    EXPECT_EQ(shown, 12);
}

INSTANTIATE_TEST_SUITE_P(All, EveryFormat,
                         testing::Values("mpegts", "matroska", "mp4", "mp4h265", "h264", "hevc",
                                         "mjpeg"),
                         [](const auto& info) { return std::string(info.param); });

// ---- What a client hands over that takes RTP packets apart

struct NalCase
{
    const char* name;
    const char* format;
    int startCode;      ///< bytes; 0: three and four in turn
    bool setsRepeated;  ///< parameter sets before every key picture, else only in front
};

void PrintTo(const NalCase& row, std::ostream* out)
{
    *out << row.name;
}

/// The NAL units of an Annex B stream, without start codes.
std::vector<Bytes> NalUnits(const Bytes& stream)
{
    static constexpr std::uint8_t CODE[] = {0, 0, 1};
    std::vector<Bytes> units;
    auto at = std::search(stream.begin(), stream.end(), std::begin(CODE), std::end(CODE));
    while (at != stream.end()) {
        at += 3;
        auto next = std::search(at, stream.end(), std::begin(CODE), std::end(CODE));
        units.emplace_back(at, next);
        if (next != stream.end() && units.back().back() == 0)
            units.back().pop_back();  // the first byte of a start code of four
        at = next;
    }
    return units;
}

bool IsParameterSet(const Bytes& unit, bool h265)
{
    const int type = h265 ? unit[0] >> 1 & 0x3F : unit[0] & 0x1F;
    return h265 ? type >= 32 && type <= 34 : type == 7 || type == 8;
}

class NalStreams : public testing::TestWithParam<NalCase>
{
protected:
    /// A stream of 12 pictures with three key pictures; for each picture its NAL units.
    static std::vector<std::vector<Bytes>> AccessUnits()
    {
        const bool h265 = std::string(GetParam().format) == "hevc";
        ClipOptions options = Numbered(GetParam().format, 12);
        options.keyInterval = 4;
        std::vector<std::vector<Bytes>> pictures;
        int sets = 0;
        int count = 0;
        for (const Bytes& piece : MakeClipPieces(options)) {
            std::vector<Bytes> units;
            for (const Bytes& unit : NalUnits(piece)) {
                const bool set = IsParameterSet(unit, h265);
                sets += set;
                if (set && !pictures.empty() && !GetParam().setsRepeated)
                    continue;
                const int code = GetParam().startCode ? GetParam().startCode : 3 + ++count % 2;
                Bytes coded(static_cast<std::size_t>(code - 1), 0);
                coded.push_back(1);
                coded.insert(coded.end(), unit.begin(), unit.end());
                units.push_back(coded);
            }
            pictures.push_back(units);
        }
        EXPECT_GE(sets, 6) << "the encoder repeats its parameter sets";
        return pictures;
    }
};

TEST_P(NalStreams, AccessUnitPutByItselfIsShownAtOnce)
{
    Source source;
    int shown = 0;
    for (const std::vector<Bytes>& units : AccessUnits()) {
        Bytes picture;
        for (const Bytes& unit : units)
            picture.insert(picture.end(), unit.begin(), unit.end());
        ASSERT_EQ(source.player.Put(picture), 0);
        ASSERT_TRUE(source.images.AwaitOne([&](const auto& image) {
            return Near(image.At(0.5, 0.5), GreyOf(shown), 3);
        })) << "picture "
            << shown;
        ++shown;
    }
    EXPECT_EQ(shown, 12);
}

TEST_P(NalStreams, GiveEveryPictureWhenPutUnitByUnit)
{
    Source source;
    RV(RV_Pause)(source.player.Id(), 1);  // nothing is left out for being late
    std::vector<std::vector<Bytes>> pictures = AccessUnits();
    // With one picture waiting nothing more is read: a break between units, which this thread may
    // make at any time, would be taken for the end of a picture.
    Bytes first;
    for (const Bytes& unit : pictures.front())
        first.insert(first.end(), unit.begin(), unit.end());
    ASSERT_EQ(source.player.Put(first), 0);
    while (source.player.Describe().llDecoded == 0)
        std::this_thread::yield();
    pictures.erase(pictures.begin());
    for (const std::vector<Bytes>& units : pictures) {
        for (const Bytes& unit : units)
            ASSERT_EQ(source.player.Put(unit), 0);
    }
    for (int i = 0; i < 12; ++i)
        RV(RV_StepForward)(source.player.Id());
    ASSERT_TRUE(source.AwaitEnd());
    EXPECT_EQ(source.player.Describe().llDecoded, 12);
    EXPECT_EQ(source.player.Describe().llErrors, 0);
    EXPECT_TRUE(Near(source.images.Await(1).At(0.5, 0.5), GreyOf(11), 3));
}

INSTANTIATE_TEST_SUITE_P(All, NalStreams,
                         testing::Values(NalCase{"H264LongCodes", "h264", 4, true},
                                         NalCase{"H264ShortCodes", "h264", 3, true},
                                         NalCase{"H264MixedCodes", "h264", 0, true},
                                         NalCase{"H264SetsInFront", "h264", 4, false},
                                         NalCase{"H265LongCodes", "hevc", 4, true},
                                         NalCase{"H265ShortCodes", "hevc", 3, true},
                                         NalCase{"H265MixedCodes", "hevc", 0, true},
                                         NalCase{"H265SetsInFront", "hevc", 3, false}),
                         [](const auto& info) { return std::string(info.param.name); });

// ---- What else lies in a stream, and its time

class Companies : public testing::TestWithParam<const char*>
{};

TEST_P(Companies, PicturesAreFoundAmongSoundAndSubtitles)
{
    ClipOptions options = Numbered(GetParam(), 5);
    options.tracks = Tracks::PicturesAndSound;
    Source source;
    source.PutAll(MakeClip(options), 777);
    ASSERT_TRUE(source.AwaitEnd());
    EXPECT_EQ(source.player.Describe().llDecoded, 5);
    EXPECT_TRUE(Near(source.images.Await(1).At(0.5, 0.5), GreyOf(4), 3));
}

TEST_P(Companies, PicturesBehindAStreamOfSoundAloneAreShown)
{
    ClipOptions sound = Numbered(GetParam(), 5);
    sound.tracks = Tracks::Sound;
    ClipOptions both = sound;
    both.tracks = Tracks::PicturesAndSound;
    Source source;
    source.PutAll(MakeClip(sound), 777);
    ASSERT_TRUE(source.AwaitEnd());
    EXPECT_EQ(source.player.Describe().llDecoded, 0);
    EXPECT_EQ(source.player.Describe().iBytesBuffered, 0);
    source.PutAll(MakeClip(sound), 777);
    source.PutAll(MakeClip(both), 777);
    ASSERT_TRUE(source.AwaitEnd());
    ASSERT_EQ(source.player.Describe().llDecoded, 5);
    EXPECT_TRUE(Near(source.images.Await(1).At(0.5, 0.5), GreyOf(4), 3));
}

INSTANTIATE_TEST_SUITE_P(All, Companies, testing::Values("mpegts", "matroska"),
                         [](const auto& info) { return std::string(info.param); });

TEST(Streams, OneOfTwoProgrammesIsShownAndTheOtherWhenItEnds)
{
    std::vector<ClipOptions> programmes(2, Numbered("mpegts", 10));
    programmes[1].pictures = 100;
    programmes[0].paint = [](int, int, int) { return Colour{50, 50, 50}; };
    programmes[1].paint = [](int, int, int) { return Colour{200, 200, 200}; };
    const Bytes stream = MakeProgrammes(programmes);
    engine::ByteQueue queue;
    engine::StreamDecoder decoder(queue, engine::Container::Unknown);
    ASSERT_TRUE(queue.Put(stream.data(), stream.size()));
    queue.MarkEnd();
    int pictures[2] = {};
    engine::Picture picture;
    while (decoder.Next(picture) == engine::StreamDecoder::Event::Picture) {
        const bool second = picture.frame->data[0][0] > 128;
        EXPECT_TRUE(second || pictures[1] == 0) << "not in turn";
        ++pictures[second];
    }
    // That its last picture is whole, the first programme never tells.
    EXPECT_EQ(pictures[0], 9);
    EXPECT_GE(pictures[1], 20);
}

struct TimeCase
{
    const char* name;
    int first;   ///< picture whose time the first piece begins with
    int second;  ///< likewise; the first piece has 10 pictures
};

void PrintTo(const TimeCase& row, std::ostream* out)
{
    *out << row.name;
}

class Times : public testing::TestWithParam<TimeCase>
{};

/// Were the jump taken for time, the second piece would wait for it, or be late and left out.
TEST_P(Times, PicturesGoOnAtTheirPace)
{
    ClipOptions first = Numbered("mpegts", 10);
    first.firstPicture = GetParam().first;
    ClipOptions second = first;
    second.firstPicture = GetParam().second;
    const Bytes clips[] = {MakeClip(first), MakeClip(second)};
    Source source;
    RV(RV_SlowForward)(source.player.Id(), 4);  // a thread that is held up makes few of them late
    for (const Bytes& clip : clips)
        source.PutAll(clip, 4096);
    ASSERT_TRUE(source.AwaitEnd());
    const RvVideoParam param = source.player.Describe();
    EXPECT_EQ(param.llDecoded, 20);
    EXPECT_GE(param.llShown, 15);
    EXPECT_TRUE(Near(source.images.Await(1).At(0.5, 0.5), GreyOf(9), 3));
    std::int64_t time = 0;
    EXPECT_EQ(RV(RV_GetPlayTime)(source.player.Id(), &time), 0);
    EXPECT_NEAR(static_cast<double>(time), 19 * 40, 80);
}

constexpr int HOUR = 3600 * 25;
/// Time stamps of transport streams have 33 bits of 1/90000 second.
constexpr int WRAP = static_cast<int>((std::int64_t{1} << 33) / 3600);

INSTANTIATE_TEST_SUITE_P(All, Times,
                         testing::Values(TimeCase{"GoingOn", 0, 10},
                                         TimeCase{"BackByAnHour", HOUR, 0},
                                         TimeCase{"ForwardByAnHour", 0, HOUR},
                                         TimeCase{"Wrapping", WRAP - 10, WRAP},
                                         TimeCase{"WrappingWithinAPiece", WRAP - 5, WRAP + 5},
                                         TimeCase{"BackFromTheWrap", WRAP - 10, 0}),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(Streams, ContainerMayChangeWithoutAnEndMark)
{
    Source source;
    std::int64_t pictures = 0;
    for (const char* format : {"matroska", "mp4", "matroska"}) {
        source.PutAll(MakeClip(Numbered(format, 4)), 4096);
        pictures += 4;
    }
    ASSERT_TRUE(source.AwaitEnd());
    EXPECT_EQ(source.player.Describe().llDecoded, pictures);
}

TEST(Streams, WrongFourCcIsCorrectedByTheData)
{
    for (const char* fourCc : {"MKV ", "XXXX"}) {
        Source source(fourCc);
        source.PutAll(MakeClip(Numbered("mpegts", 30)), 4096);
        ASSERT_TRUE(source.AwaitEnd());
        EXPECT_EQ(source.player.Describe().llDecoded, 30) << fourCc;
    }
}

TEST(Streams, RateThatNoCameraHasIsTakenForUnknown)
{
    for (const AVRational rate : {AVRational{1, 1000}, AVRational{45000, 1}}) {
        ClipOptions options = Numbered("h264", 4);
        options.rate = rate;
        Source source;
        source.PutAll(MakeClip(options), 100000);
        ASSERT_TRUE(source.AwaitEnd()) << rate.num;
        EXPECT_EQ(source.PlayTime(), 3 * 40) << rate.num;
        double shownRate = 0.0;
        ASSERT_EQ(RV(RV_GetFrameRate)(source.player.Id(), &shownRate), 0);
        EXPECT_EQ(shownRate, 25.0);
    }
}

TEST(Streams, PictureTooWideToBeDrawnIsRefused)
{
    ClipOptions wide = Numbered("mjpeg", 2);
    wide.height = 16;
    wide.width = 16384;
    Source source;
    source.PutAll(MakeClip(wide), 4096);
    ASSERT_TRUE(source.AwaitEnd());
    EXPECT_EQ(source.player.Describe().llDecoded, 2);
    for (auto [width, height] : {std::pair{16400, 16}, {16, 16400}}) {
        wide.width = width;
        wide.height = height;
        source.PutAll(MakeClip(wide), 4096);
        ASSERT_TRUE(source.AwaitEnd());
    }
    EXPECT_EQ(source.player.Describe().llDecoded, 2);
    EXPECT_EQ(source.player.Describe().llErrors, 4);
    EXPECT_EQ(source.player.Describe().iWidth, 16384);
}

TEST(Streams, AnotherTrackOfTheSameCodecIsFollowed)
{
    for (const char* format : {"matroska", "mp4"}) {
        ClipOptions other = Numbered(format, 70);
        other.width = 192;
        other.height = 160;
        Source source;
        source.PutAll(MakeProgrammes({Numbered(format, 4), other}), 4096);
        ASSERT_TRUE(source.AwaitEnd());
        EXPECT_EQ(source.player.Describe().iWidth, 192) << format;
        EXPECT_TRUE(Near(source.images.Await(1).At(0.5, 0.5), GreyOf(69), 3)) << format;
    }
}

TEST(Streams, ReorderedPicturesKeepTheirPaceWhereTheirTimesAreThoseOfDecoding)
{
    ClipOptions options = Numbered("matroska", 40);
    options.bPictures = 3;
    options.inDecodingOrder = true;
    Source source;
    RV(RV_Pause)(source.player.Id(), 1);
    ASSERT_EQ(source.player.Put(MakeClip(options)), 0);
    ASSERT_EQ(source.player.End(), 0);
    std::int64_t before = 0;
    for (int i = 0; i < 36; ++i) {  // the last ones come without packets of their own
        ASSERT_EQ(source.Step(), i % 10);
        if (i > 4) {  // by then it has been found out
            EXPECT_EQ(source.PlayTime(), before + 40) << i;
        }
        before = source.PlayTime();
    }
}

TEST(Streams, PlayTimeBeginsAnewWithEveryStream)
{
    Source source;
    for (int round = 0; round < 2; ++round) {
        source.PutAll(MakeClip(Numbered("mpegts", 4)), 100000);
        ASSERT_TRUE(source.AwaitEnd());
        EXPECT_EQ(source.PlayTime(), 3 * 40);
    }
    ASSERT_EQ(RV(RV_CleanStreamBuffer)(source.player.Id()), 0);
    source.PutAll(MakeClip(Numbered("mpegts", 2)), 100000);
    ASSERT_TRUE(source.AwaitEnd());
    EXPECT_EQ(source.PlayTime(), 40);
}

TEST(Streams, FiguresTellWhatIsPlayed)
{
    Source source;
    const RvVideoParam before = source.player.Describe();
    EXPECT_EQ(before.iWidth, 0);
    EXPECT_EQ(before.acCodec[0], 0);
    source.PutAll(MakeClip(Numbered("mpegts", 3)), 100000);
    ASSERT_TRUE(source.AwaitEnd());
    const RvVideoParam param = source.player.Describe();
    EXPECT_EQ(std::string(param.acCodec, 4), "H264");
    EXPECT_EQ(std::string(param.acContainer, 4), "MPTS");
    EXPECT_NEAR(param.dFrameRate, 25.0, 0.5);
    double rate = 0.0;
    EXPECT_EQ(RV(RV_GetFrameRate)(source.player.Id(), &rate), 0);
    EXPECT_EQ(rate, param.dFrameRate);
    EXPECT_EQ(param.llShown + param.llDropped, 3);
    EXPECT_EQ(param.iBytesBuffered, 0);
}

TEST(Streams, StreamThatGivesNoPictureIsKnownByItsFigures)
{
    Source rubbish;
    rubbish.PutAll(Bytes(20000, 0x55), 4096);
    ASSERT_TRUE(rubbish.AwaitEnd());
    RvVideoParam param = rubbish.player.Describe();
    EXPECT_EQ(param.iBytesBuffered, 0);
    EXPECT_EQ(param.llDecoded, 0);
    EXPECT_EQ(param.acContainer[0], 0);

    ClipOptions options = Numbered("mpegts", 4);
    options.codec = AV_CODEC_ID_MPEG2VIDEO;
    Source foreign;
    foreign.PutAll(MakeClip(options), 4096);
    ASSERT_TRUE(foreign.AwaitEnd());
    param = foreign.player.Describe();
    EXPECT_EQ(param.iBytesBuffered, 0);
    EXPECT_EQ(param.llDecoded, 0);
    EXPECT_EQ(std::string(param.acContainer, 4), "MPTS");
    EXPECT_EQ(param.acCodec[0], 0);

    Source both;
    for (const Bytes& stream : {MakeClip(Numbered("h264", 2)), MakeClip(options)}) {
        both.PutAll(stream, 4096);
        ASSERT_TRUE(both.AwaitEnd());
    }
    param = both.player.Describe();
    EXPECT_EQ(std::string(param.acContainer, 4), "MPTS");
    EXPECT_EQ(param.acCodec[0], 0) << "the stream before it had one";
    both.PutAll(Bytes(20000, 0x55), 4096);
    ASSERT_TRUE(both.AwaitEnd());
    EXPECT_EQ(both.player.Describe().acContainer[0], 0);
}

TEST(Streams, RateOfSlowCamerasIsTold)
{
    for (const AVRational rate : {AVRational{1, 1}, AVRational{1, 2}}) {
        ClipOptions options = Numbered("matroska", 4);
        options.rate = rate;
        options.codec = AV_CODEC_ID_MJPEG;  // tells none itself
        options.pixels = AV_PIX_FMT_YUVJ420P;
        options.range = AVCOL_RANGE_JPEG;
        Source source;
        source.PutAll(MakeClip(options), 4096);
        ASSERT_TRUE(source.AwaitEnd());
        EXPECT_NEAR(source.player.Describe().dFrameRate, av_q2d(rate), 0.01);
    }
}

TEST(Streams, FullBufferTakesNothingAndTakesItLater)
{
    Source source;
    RV(RV_Pause)(source.player.Id(), 1);
    ASSERT_EQ(RV(RV_SetFrameListBufferSize)(source.player.Id(), 64 * 1024), 0);
    const Bytes clip = MakeClip(Numbered("mpegts", 10));
    ASSERT_EQ(source.player.Put(clip), 0);
    while (source.player.Describe().llDecoded == 0)
        std::this_thread::yield();
    // With one picture waiting nothing more is read.
    while (source.player.Put(clip) == 0)
        ;
    const int buffered = source.player.Describe().iBytesBuffered;
    EXPECT_GT(buffered + static_cast<int>(clip.size()), 64 * 1024);
    EXPECT_EQ(source.player.Put(clip), RV_BUFFER_FULL);
    EXPECT_EQ(source.player.Describe().iBytesBuffered, buffered);
    RV(RV_Play)(source.player.Id());
    source.PutAll(clip, clip.size());
    EXPECT_TRUE(source.AwaitEnd());
}

TEST(Streams, PausedPlayerFillsItsBuffer)
{
    Source source;
    RV(RV_Pause)(source.player.Id(), 1);
    ASSERT_EQ(RV(RV_SetFrameListBufferSize)(source.player.Id(), 64 * 1024), 0);
    const Bytes clip = MakeClip(Numbered("mpegts", 10));
    int result = 0;
    for (int i = 0; i < 100 && result == 0; ++i)
        result = source.player.Put(clip);
    EXPECT_EQ(result, RV_BUFFER_FULL);
    EXPECT_EQ(source.images.Count(), 0);
    ASSERT_EQ(RV(RV_StepForward)(source.player.Id()), 0);
    EXPECT_TRUE(Near(source.images.Await(1).At(0.5, 0.5), GreyOf(0), 3));
    ASSERT_EQ(RV(RV_StepForward)(source.player.Id()), 0);
    EXPECT_TRUE(Near(source.images.Await(2).At(0.5, 0.5), GreyOf(1), 3));
    EXPECT_EQ(RV(RV_GetPlayingFrameNum)(source.player.Id()), 2);
    std::int64_t time = -1;
    EXPECT_EQ(RV(RV_GetPlayTime)(source.player.Id(), &time), 0);
    EXPECT_EQ(time, 40);
    RV(RV_Play)(source.player.Id());
    EXPECT_EQ(RV(RV_StepForward)(source.player.Id()), -1);
    EXPECT_EQ(source.images.Await(3).width, 32);
}

TEST(Streams, StepsThatFoundNoPictureAreForgottenByPlayingAndCleaning)
{
    const Bytes clip = MakeClip(Numbered("mpegts", 9));
    for (const bool playing : {true, false}) {
        Source source;
        const int id = source.player.Id();
        RV(RV_Pause)(id, 1);
        for (int i = 0; i < 9; ++i)
            ASSERT_EQ(RV(RV_StepForward)(id), 0);
        if (playing) {
            RV(RV_Play)(id);
            RV(RV_Pause)(id, 1);
        } else {
            RV(RV_CleanStreamBuffer)(id);
        }
        ASSERT_EQ(source.player.Put(clip), 0);
        ASSERT_EQ(source.player.End(), 0);
        for (int i = 0; i < 9; ++i) {
            ASSERT_EQ(source.Step(), i);
            ASSERT_EQ(RV(RV_GetPlayingFrameNum)(id), i + 1);
            ASSERT_EQ(source.PlayTime(), 40 * i);
        }
    }
}

TEST(Streams, SteppingLeavesNothingOutAfterPlayingFellBehind)
{
    ClipOptions options = Numbered("mpegts", 1500);
    options.width = options.height = 64;
    options.rate = {200, 1};
    options.bPictures = 3;
    const std::vector<Bytes> pieces = MakeClipPieces(options);
    const auto join = [&](std::size_t first, std::size_t end) {
        Bytes bytes;
        for (std::size_t i = first; i < end; ++i)
            bytes.insert(bytes.end(), pieces[i].begin(), pieces[i].end());
        return bytes;
    };
    Source source;
    ASSERT_EQ(source.player.Put(join(0, 12)), 0);
    ASSERT_EQ(source.images.Await(1).width, 32);
    // So late that more than a thousand pictures are behind their time, but the clock is kept.
    const auto late = std::chrono::steady_clock::now() + std::chrono::milliseconds(400);
    while (std::chrono::steady_clock::now() < late)
        std::this_thread::yield();
    const std::int64_t before = source.player.Describe().llDecoded;
    ASSERT_EQ(source.player.Put(join(12, 1400)), 0);
    while (source.player.Describe().llDecoded < before + 5)
        std::this_thread::yield();
    RV(RV_Pause)(source.player.Id(), 1);
    ASSERT_EQ(source.player.Put(join(1400, 1500)), 0);
    // What was left out before may still show in the next ones, and the picture that was on its way
    // when the pause began can come between two steps.
    int number = 0;
    for (int i = 0; i < 8; ++i)
        number = source.Step();
    int passed = 0;
    for (int i = 0; i < 40; ++i) {
        const int next = source.Step();
        ASSERT_GE(next, 0);
        passed += (next - number + 10) % 10;
        number = next;
    }
    EXPECT_GE(passed, 40);
    EXPECT_LE(passed, 42);
}

/// Told by what comes first, not by the clock: 20 pictures at 16 times the speed before the second
/// one at a 16th of it.
TEST(Streams, SpeedIsWhatTheClientSetAlsoWhileAPictureWaits)
{
    ClipOptions options = Numbered("mpegts", 20);
    options.rate = {2, 1};
    const Bytes clip = MakeClip(options);
    options.rate = {8, 15};  // half a minute from one to the next
    const Bytes slowClip = MakeClip(options);
    Source fast;
    Source slow;
    Source changed;
    for (Source* source : {&slow, &changed})
        ASSERT_EQ(RV(RV_SlowForward)(source->player.Id(), 16), 0);
    ASSERT_EQ(RV(RV_FastForward)(fast.player.Id(), 16), 0);
    ASSERT_EQ(slow.player.Put(slowClip), 0);
    for (Source* source : {&changed, &fast})
        ASSERT_EQ(source->player.Put(clip), 0);
    ASSERT_EQ(slow.images.Await(1).width, 32);
    ASSERT_EQ(changed.images.Await(1).width, 32);
    while (changed.player.Describe().llDecoded < 2)
        std::this_thread::yield();
    ASSERT_EQ(RV(RV_FastForward)(changed.player.Id(), 16), 0);
    ASSERT_TRUE(fast.AwaitEnd());
    ASSERT_TRUE(changed.AwaitEnd());
    EXPECT_EQ(RV(RV_GetPlayingFrameNum)(slow.player.Id()), 1);
}

TEST(Streams, StopForgetsTheStreamAndPlayStartsAnew)
{
    Source source;
    source.PutAll(MakeClip(Numbered("mpegts", 50)), 4096);
    ASSERT_EQ(source.images.Await(2).width, 32);
    ASSERT_EQ(RV(RV_Stop)(source.player.Id()), 0);
    ASSERT_EQ(RV(RV_Play)(source.player.Id()), 0);
    source.PutAll(MakeClip(Numbered("matroska", 3)), 4096);
    ASSERT_TRUE(source.AwaitEnd());
    EXPECT_TRUE(Near(source.images.Await(1).At(0.5, 0.5), GreyOf(2), 3));
}

/// Waits for what the decode thread does.
template <typename Condition>
bool Await(Condition&& condition)
{
    const auto end = std::chrono::steady_clock::now() + PATIENCE;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

/// The mark has been read, and its picture waits to be shown, when the player is stopped.
TEST(Streams, EndOfAStreamThatWasForgottenIsNotTold)
{
    const std::vector<Bytes> pieces = MakeClipPieces(Numbered("h264", 2));
    for (const auto forget : {RV(RV_Stop), RV(RV_CleanStreamBuffer)}) {
        std::promise<std::int64_t> decoded;  // at the first end that is told
        Source source;
        RV(RV_RegisterNotifyPlayToEnd)
        (
            source.player.Id(),
            [](int player, void* promise) {
                RvVideoParam param{};
                param.iSize = sizeof(param);
                RV(RV_GetVideoParam)(player, &param, sizeof(param));
                RV(RV_RegisterNotifyPlayToEnd)(player, nullptr, nullptr);
                static_cast<std::promise<std::int64_t>*>(promise)->set_value(param.llDecoded);
            },
            &decoded);
        const auto decodes = [&](int count) {
            return Await([&] { return source.player.Describe().llDecoded == count; });
        };
        RV(RV_Pause)(source.player.Id(), 1);
        ASSERT_EQ(source.player.Put(pieces[0]), 0);
        ASSERT_TRUE(decodes(1));
        ASSERT_EQ(source.player.Put(pieces[1]), 0);
        ASSERT_EQ(source.player.End(), 0);
        ASSERT_EQ(source.Step(), 0);
        ASSERT_TRUE(decodes(2));
        ASSERT_EQ(forget(source.player.Id()), 0);
        source.PutAll(MakeClip(Numbered("matroska", 3)), 4096);
        ASSERT_EQ(source.player.Play(), 0);
        ASSERT_EQ(source.player.End(), 0);
        auto end = decoded.get_future();
        ASSERT_EQ(end.wait_for(PATIENCE), std::future_status::ready);
        EXPECT_EQ(end.get(), 2 + 3);
    }
}

}  // namespace
}  // namespace test
