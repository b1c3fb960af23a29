// Damaged streams: cut, flipped, random. Whatever comes, the decoder ends, and plays the next
// stream.
#include <random>

#include <gmock/gmock.h>

#include "engine/media/StreamDecoder.h"
#include "tests/engine/TestClip.h"

namespace test {
namespace {

using engine::ByteQueue;
using engine::Container;
using engine::StreamDecoder;

struct Format
{
    const char* name;
    AVCodecID codec;
};

constexpr Format FORMATS[] = {
    {"mpegts", AV_CODEC_ID_H264}, {"matroska", AV_CODEC_ID_H264}, {"mp4", AV_CODEC_ID_H264},
    {"h264", AV_CODEC_ID_H264},   {"mpegts", AV_CODEC_ID_HEVC},   {"hevc", AV_CODEC_ID_HEVC},
    {"mp4", AV_CODEC_ID_HEVC},    {"mjpeg", AV_CODEC_ID_MJPEG},   {"matroska", AV_CODEC_ID_MJPEG},
};

/// Detailed pictures, so that damage has something to meet.
Bytes Clip(const Format& format)
{
    ClipOptions options;
    options.format = format.name;
    options.codec = format.codec;
    if (format.codec == AV_CODEC_ID_MJPEG) {
        options.pixels = AV_PIX_FMT_YUVJ420P;
        options.range = AVCOL_RANGE_JPEG;
    }
    options.width = options.height = 96;
    options.pictures = 6;
    options.keyInterval = 3;
    options.paint = [](int picture, int x, int y) {
        const double wave = (x * 5 + y * 3 + picture * 7) % 64;
        return Colour{wave * 3, (x ^ y) & 32 ? 200.0 : 50.0, 255 - wave * 2};
    };
    return MakeClip(options);
}

/// Decodes a stream of one piece; the number of pictures.
int Decode(StreamDecoder& decoder, ByteQueue& queue, const Bytes& bytes)
{
    EXPECT_TRUE(queue.Put(bytes.data(), bytes.size()));
    queue.MarkEnd();
    int pictures = 0;
    engine::Picture picture;
    while (decoder.Next(picture) == StreamDecoder::Event::Picture)
        ++pictures;
    return pictures;
}

class Corpus : public testing::TestWithParam<int>
{
protected:
    void SetUp() override
    {
        m_format = FORMATS[GetParam()];
        m_clip = Clip(m_format);
    }

    /// Damaged streams one after another on one decoder, a whole one behind each.
    void Survives(const Bytes& damaged, const char* what, unsigned int seed)
    {
        const int pictures = Decode(m_decoder, m_queue, damaged);
        EXPECT_LE(pictures, 100) << what << " seed " << seed;
        EXPECT_EQ(Decode(m_decoder, m_queue, m_clip), 6) << what << " seed " << seed;
    }

    Format m_format{};
    Bytes m_clip;
    ByteQueue m_queue;
    StreamDecoder m_decoder{m_queue, Container::Unknown};
};

TEST_P(Corpus, WholeClipGivesEveryPicture)
{
    EXPECT_EQ(Decode(m_decoder, m_queue, m_clip), 6);
}

TEST_P(Corpus, ClipsCutAnywhereAreSurvived)
{
    for (unsigned int seed = 0; seed < 40; ++seed) {
        const auto begin = static_cast<long>(m_clip.size() * (seed % 8) / 16);
        const auto end = static_cast<long>(m_clip.size() * (seed + 1) / 41);
        if (begin < end)
            Survives(Bytes(m_clip.begin() + begin, m_clip.begin() + end), "cut", seed);
    }
}

TEST_P(Corpus, FlippedBitsAreSurvived)
{
    for (unsigned int seed = 0; seed < 64; ++seed) {  // nine formats: 576 seeds
        std::mt19937 random(seed * 9 + static_cast<unsigned int>(GetParam()));
        Bytes damaged = m_clip;
        const unsigned int flips = 1 + seed % 32;
        for (unsigned int flip = 0; flip < flips; ++flip) {
            // Half of the seeds meet the headers.
            const std::size_t reach =
                seed % 2 ? damaged.size() : std::min<std::size_t>(damaged.size(), 1000);
            damaged[random() % reach] ^= static_cast<std::uint8_t>(1U << random() % 8);
        }
        Survives(damaged, "flipped", seed);
    }
}

TEST_P(Corpus, MissingAndRepeatedPiecesAreSurvived)
{
    for (unsigned int seed = 0; seed < 24; ++seed) {
        std::mt19937 random(seed);
        Bytes damaged = m_clip;
        for (int i = 0; i < 4; ++i) {
            const std::size_t at = random() % damaged.size();
            const std::size_t size = std::min<std::size_t>(random() % 700, damaged.size() - at);
            const auto from = damaged.begin() + static_cast<long>(at);
            const Bytes piece(from, from + static_cast<long>(size));
            if (i % 2)
                damaged.erase(from, from + static_cast<long>(size));
            else
                damaged.insert(damaged.begin() + static_cast<long>(random() % damaged.size()),
                               piece.begin(), piece.end());
        }
        Survives(damaged, "shuffled", seed);
    }
}

TEST_P(Corpus, RandomBytesBehindARealBeginningAreSurvived)
{
    for (unsigned int seed = 0; seed < 16; ++seed) {
        std::mt19937 random(seed);
        Bytes damaged(m_clip.begin(),
                      m_clip.begin() + static_cast<long>(m_clip.size() * seed / 16));
        const std::size_t size = damaged.size() + 20000;
        while (damaged.size() < size)
            damaged.push_back(static_cast<std::uint8_t>(random()));
        Survives(damaged, "random", seed);
    }
}

INSTANTIATE_TEST_SUITE_P(All, Corpus, testing::Range(0, static_cast<int>(std::size(FORMATS))),
                         [](const auto& info) {
                             const Format& format = FORMATS[info.param];
                             return std::string(format.name) + "_" + avcodec_get_name(format.codec);
                         });

TEST(RandomStreams, AreSurvived)
{
    ByteQueue queue;
    StreamDecoder decoder(queue, Container::Unknown);
    for (unsigned int seed = 0; seed < 30; ++seed) {
        std::mt19937 random(seed);
        Bytes bytes(30000);
        for (auto& byte : bytes)
            byte = static_cast<std::uint8_t>(random());
        EXPECT_EQ(Decode(decoder, queue, bytes), 0);
    }
}

}  // namespace
}  // namespace test
