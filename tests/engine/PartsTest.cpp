// The parts by themselves: the byte queue, finding containers, the end of pictures, the clock, the
// drawing over pictures.
#include <algorithm>
#include <cerrno>
#include <cmath>
#include <csignal>
#include <ctime>
#include <limits>
#include <thread>
#include <utility>
#include <vector>

#include <unistd.h>

#include <gmock/gmock.h>

#include "engine/media/ByteQueue.h"
#include "engine/media/Container.h"
#include "engine/media/Demuxer.h"
#include "engine/media/FramePool.h"
#include "engine/media/Input.h"
#include "engine/media/Picture.h"
#include "engine/media/PictureEnd.h"
#include "engine/player/LensSetting.h"
#include "engine/player/PlayClock.h"
#include "engine/present/BrokenPipe.h"
#include "engine/present/Overlay.h"
#include "tests/engine/TestClip.h"

namespace test {
namespace {

using engine::ByteQueue;
using engine::Clock;
using engine::Container;
using engine::PlayClock;

constexpr Clock::time_point FOREVER = Clock::time_point::max();

// ---- ByteQueue

Bytes Count(std::size_t size, std::uint8_t first = 0)
{
    Bytes bytes(size);
    for (std::size_t i = 0; i < size; ++i)
        bytes[i] = static_cast<std::uint8_t>(first + i);
    return bytes;
}

TEST(ByteQueue, GivesBytesInTheirOrderAcrossItsSeam)
{
    ByteQueue queue;
    std::uint8_t next = 0;
    std::uint8_t expected = 0;
    Bytes target(5000);
    for (int round = 0; round < 100; ++round) {
        const Bytes bytes = Count(4099, next);
        next = static_cast<std::uint8_t>(next + 4099);
        ASSERT_TRUE(queue.Put(bytes.data(), bytes.size()));
        for (std::size_t size = 0; size < 4000;) {
            const auto read = queue.Take(target.data(), 4000 - size, FOREVER);
            ASSERT_EQ(read.status, ByteQueue::Status::Data);
            for (std::size_t i = 0; i < read.size; ++i)
                ASSERT_EQ(target[i], expected++);
            size += read.size;
        }
    }
    EXPECT_EQ(queue.Size(), 9900U);
}

TEST(ByteQueue, TakesAllOrNothing)
{
    ByteQueue queue;
    queue.SetCapacity(100);
    const Bytes bytes = Count(60);
    EXPECT_TRUE(queue.Put(bytes.data(), 60));
    EXPECT_FALSE(queue.Put(bytes.data(), 41));
    EXPECT_EQ(queue.Size(), 60U);
    EXPECT_TRUE(queue.Put(bytes.data(), 40));
}

TEST(ByteQueue, TakesALargeBlockWhenItIsEmpty)
{
    ByteQueue queue;
    queue.SetCapacity(100);
    const Bytes bytes = Count(1000);
    EXPECT_TRUE(queue.Put(bytes.data(), 1000));
    EXPECT_FALSE(queue.Put(bytes.data(), 1));
}

TEST(ByteQueue, TellsItsEndOnceAndTakesNothingBeforeThat)
{
    ByteQueue queue;
    std::uint8_t byte = 7;
    queue.Put(&byte, 1);
    queue.MarkEnd();
    EXPECT_FALSE(queue.Put(&byte, 1));
    EXPECT_EQ(queue.Take(&byte, 1, FOREVER).status, ByteQueue::Status::Data);
    EXPECT_EQ(queue.Take(&byte, 1, FOREVER).status, ByteQueue::Status::End);
    EXPECT_EQ(queue.Take(&byte, 1, Clock::now()).status, ByteQueue::Status::Timeout);
    EXPECT_TRUE(queue.Put(&byte, 1));
}

TEST(ByteQueue, ClearTakesTheBytesAndTheEnd)
{
    ByteQueue queue;
    std::uint8_t byte = 7;
    queue.Put(&byte, 1);
    queue.MarkEnd();
    queue.Clear();
    EXPECT_EQ(queue.Take(&byte, 1, FOREVER).status, ByteQueue::Status::Cleared);
    EXPECT_EQ(queue.Take(&byte, 1, Clock::now()).status, ByteQueue::Status::Timeout);
}

TEST(ByteQueue, EveryReadTellsWhenItsOwnBytesWerePut)
{
    ByteQueue queue;
    const Bytes bytes = Count(300);
    const auto first = Clock::now();
    queue.Put(bytes.data(), 100);
    const auto put = Clock::now();
    while (Clock::now() < put + std::chrono::milliseconds(5))
        std::this_thread::yield();
    const auto second = Clock::now();
    queue.Put(bytes.data(), 200);
    Bytes target(300);
    auto read = queue.Take(target.data(), 300, FOREVER);
    EXPECT_EQ(read.size, 100U);
    EXPECT_GE(read.putAt, first);
    EXPECT_LT(read.putAt, second);
    read = queue.Take(target.data(), 300, FOREVER);
    EXPECT_EQ(read.size, 200U);
    EXPECT_GE(read.putAt, second);
}

TEST(ByteQueue, TellsItsReaderOnceThatABlockWasRefused)
{
    ByteQueue queue;
    queue.SetCapacity(100);
    Bytes bytes = Count(80);
    queue.Put(bytes.data(), 80);
    EXPECT_FALSE(queue.Put(bytes.data(), 80));
    EXPECT_TRUE(queue.Take(bytes.data(), 40, FOREVER).refused);
    EXPECT_FALSE(queue.Take(bytes.data(), 40, FOREVER).refused);
    queue.MarkEnd();
    EXPECT_FALSE(queue.Put(bytes.data(), 80)) << "the end has not been reached";
    EXPECT_FALSE(queue.Take(bytes.data(), 40, FOREVER).refused);
}

TEST(ByteQueue, WakesItsReaderAndTellsThatItWaited)
{
    ByteQueue queue;
    std::uint8_t byte = 0;
    ByteQueue::Read read{};
    std::thread reader([&] { read = queue.Take(&byte, 1, FOREVER); });
    std::this_thread::yield();
    const std::uint8_t put = 9;
    queue.Put(&put, 1);
    reader.join();
    EXPECT_EQ(read.status, ByteQueue::Status::Data);
    EXPECT_EQ(byte, 9);
    queue.Put(&put, 1);
    EXPECT_FALSE(queue.Take(&byte, 1, FOREVER).waited);
    std::thread closer([&] { queue.Close(); });
    EXPECT_EQ(queue.Take(&byte, 1, FOREVER).status, ByteQueue::Status::Closed);
    closer.join();
}

// ---- FindContainer

std::optional<engine::FoundContainer> Find(const Bytes& bytes,
                                           Container expected = Container::Unknown)
{
    return engine::FindContainer(bytes.data(), bytes.size(), expected);
}

TEST(FindContainer, KnowsEveryFormatFromItsFirstBytesAndAmongRubbish)
{
    const struct
    {
        const char* format;
        AVCodecID codec;
        Container container;
    } rows[] = {{"mpegts", AV_CODEC_ID_H264, Container::MpegTs},
                {"matroska", AV_CODEC_ID_H264, Container::Matroska},
                {"mp4", AV_CODEC_ID_H264, Container::Mp4},
                {"h264", AV_CODEC_ID_H264, Container::H264},
                {"hevc", AV_CODEC_ID_HEVC, Container::H265},
                {"mjpeg", AV_CODEC_ID_MJPEG, Container::Mjpeg}};
    for (const auto& row : rows) {
        ClipOptions options;
        options.format = row.format;
        options.codec = row.codec;
        if (row.codec == AV_CODEC_ID_MJPEG)
            options.pixels = AV_PIX_FMT_YUVJ420P;
        Bytes clip = MakeClip(options);
        auto found = Find(clip);
        ASSERT_TRUE(found) << row.format;
        EXPECT_EQ(found->container, row.container) << row.format;
        EXPECT_EQ(found->offset, 0U);
        clip.insert(clip.begin(), 1000, 0x55);
        found = Find(clip);
        ASSERT_TRUE(found) << row.format;
        EXPECT_EQ(found->container, row.container) << row.format;
        EXPECT_EQ(found->offset, 1000U) << row.format;
        EXPECT_FALSE(Find(Bytes(clip.begin(), clip.begin() + 900)));
        const Container other =
            row.container == Container::Mp4 ? Container::MpegTs : Container::Mp4;
        EXPECT_FALSE(Find(clip, other)) << row.format;
    }
}

TEST(FindContainer, BytesOfASliceAreNotTakenForAnImage)
{
    ClipOptions options;
    options.format = "h264";
    const Bytes clip = MakeClip(options);
    const Bytes slices[] = {{0xFF, 0xD8, 0xFF, 0x31, 0, 16},           // no segment
                            {0xFF, 0xD8, 0xFF, 0xE0, 0, 1},            // none is so short
                            {0xFF, 0xD8, 0xFF, 0xDB, 0, 4, 1, 2, 3}};  // nothing behind it
    for (const Bytes& slice : slices) {
        Bytes stream(200, 0x55);
        stream.insert(stream.end(), slice.begin(), slice.end());
        const std::size_t begin = stream.size();
        stream.insert(stream.end(), clip.begin(), clip.end());
        const auto found = Find(stream);
        ASSERT_TRUE(found);
        EXPECT_EQ(found->container, Container::H264);
        EXPECT_EQ(found->offset, begin);
    }
}

TEST(FindContainer, ImagesMayHaveFillBytes)
{
    const Bytes image = {0xFF, 0xD8, 0xFF, 0xFF, 0xFF, 0xE0, 0, 4, 1, 2, 0xFF, 0xDB};
    const auto found = Find(image);
    ASSERT_TRUE(found);
    EXPECT_EQ(found->container, Container::Mjpeg);
}

TEST(FindContainer, FourCcsNameContainers)
{
    EXPECT_EQ(engine::ContainerOf({'M', 'P', 'T', 'S'}), Container::MpegTs);
    EXPECT_EQ(engine::ContainerOf({'H', 'E', 'V', 'C'}), Container::H265);
    EXPECT_EQ(engine::ContainerOf({0, 0, 0, 0}), Container::Unknown);
    EXPECT_EQ(engine::ContainerOf({'A', 'U', 'T', 'O'}), Container::Unknown);
    EXPECT_STREQ(engine::FourCcOf(Container::Matroska), "MKV ");
}

// ---- Demuxer

struct Demuxed
{
    std::vector<std::pair<std::int64_t, Bytes>> packets;  ///< time stamps and bytes
    engine::Demuxer::Result end;
    engine::Input::Stop stop;
    int goes;  ///< how often the demuxer began anew
};

/// In goes of so many packets, from blocks of so many bytes.
Demuxed Demux(const Bytes& clip, int mostPackets, std::size_t block)
{
    ByteQueue queue;
    std::thread feeder([&] {
        for (std::size_t at = 0; at < clip.size(); at += block)
            EXPECT_TRUE(queue.Put(clip.data() + at, std::min(block, clip.size() - at)));
        queue.MarkEnd();
    });
    engine::Input input(queue);
    Demuxed demuxed{{}, engine::Demuxer::Result::Broken, engine::Input::Stop::None, 0};
    const AVStream* stream = nullptr;
    engine::Demuxer demuxer(input, mostPackets);
    if (input.Begin(Container::Unknown) == Container::Mp4 && demuxer.Open(Container::Mp4)) {
        const engine::PacketPtr packet(av_packet_alloc());
        while ((demuxed.end = demuxer.Next(*packet)) == engine::Demuxer::Result::Packet) {
            demuxed.packets.emplace_back(packet->pts,
                                         Bytes(packet->data, packet->data + packet->size));
            demuxed.goes += std::exchange(stream, demuxer.Stream()) != demuxer.Stream() ? 1 : 0;
        }
    }
    demuxed.stop = input.StopReason();
    feeder.join();
    return demuxed;
}

TEST(Demuxers, FragmentedMp4ComesTheSameInSeveralGoes)
{
    ClipOptions options;
    options.format = "mp4";
    options.pictures = 20;
    for (const auto& [bPictures, fragments] : {std::pair{0, options.fragments},
                                               {2, options.fragments},
                                               // Fragments that tell their places in the stream.
                                               {0, std::string("frag_every_frame+empty_moov")}}) {
        options.bPictures = bPictures;
        options.fragments = fragments;
        const Bytes clip = MakeClip(options);
        const Demuxed whole = Demux(clip, std::numeric_limits<int>::max(), clip.size());
        ASSERT_EQ(whole.packets.size(), 20U);
        ASSERT_EQ(whole.goes, 1);
        for (const auto& [most, block] :
             {std::pair{1, clip.size()}, {3, clip.size()}, {1, std::size_t{1}}}) {
            const Demuxed goes = Demux(clip, most, block);
            EXPECT_EQ(goes.packets, whole.packets) << most << " " << block;
            EXPECT_EQ(goes.goes, (20 + most - 1) / most) << most << " " << block;
            EXPECT_EQ(goes.end, engine::Demuxer::Result::Stopped);
            EXPECT_EQ(goes.stop, engine::Input::Stop::End);
        }
    }
}

TEST(Demuxers, Mp4WhoseHeaderHasSamplesIsNotRepeated)
{
    ClipOptions options;
    options.format = "mp4";
    options.pictures = 20;
    options.keyInterval = 5;
    options.fragments = "frag_keyframe";
    const Bytes clip = MakeClip(options);
    const Demuxed whole = Demux(clip, std::numeric_limits<int>::max(), clip.size());
    ASSERT_EQ(whole.packets.size(), 20U);
    EXPECT_EQ(Demux(clip, 1, clip.size()).packets, whole.packets);
}

TEST(Demuxers, FragmentedMp4MayBreakOffAnywhereInAnyGo)
{
    ClipOptions options;
    options.format = "mp4";
    options.width = options.height = 16;
    options.pictures = 4;
    const Bytes clip = MakeClip(options);
    for (std::size_t size = 8; size < clip.size(); ++size) {
        const Demuxed goes =
            Demux(Bytes(clip.begin(), clip.begin() + static_cast<int>(size)), 1, clip.size());
        EXPECT_EQ(goes.stop, engine::Input::Stop::End) << size;
        EXPECT_LE(goes.packets.size(), 4U);
    }
}

// ---- PictureEnd

constexpr auto PERIOD = std::chrono::milliseconds(40);
constexpr auto NEVER = Clock::duration::max();

TEST(PictureEnd, TransportStreamEndsAPictureWithAPacketThatWasFilledUp)
{
    const auto pieces = MakeClipPieces({});
    engine::PictureEnd end(Container::MpegTs);
    for (const Bytes& piece : pieces) {
        end.Feed(piece.data(), piece.size() - 188);
        if (piece.size() > 3 * 188) {
            EXPECT_EQ(end.Patience(PERIOD), NEVER);
        }
        end.Feed(piece.data() + piece.size() - 188, 100);
        EXPECT_EQ(end.Patience(PERIOD), NEVER);
        end.Feed(piece.data() + piece.size() - 88, 88);
        EXPECT_EQ(end.Patience(PERIOD), Clock::duration::zero());
        end.Taken();
        EXPECT_EQ(end.Patience(PERIOD), NEVER);
    }
}

/// A transport stream packet of the video; the rest of it is payload.
Bytes VideoPacket(bool begins, const Bytes& head)
{
    Bytes packet(188, 0xAA);
    packet[0] = 0x47;
    packet[1] = begins ? 0x41 : 0x01;
    packet[2] = 0x00;
    packet[3] = 0x10;
    std::copy(head.begin(), head.end(), packet.begin() + 4);
    return packet;
}

TEST(PictureEnd, PictureThatFillsItsLastPacketEndsWhereItsHeaderSays)
{
    // Two packets of 184 bytes of payload, 6 of which the length does not count.
    constexpr int LENGTH = 2 * 184 - 6;
    const Bytes told =
        VideoPacket(true, {0, 0, 1, 0xE0, LENGTH >> 8, LENGTH & 0xFF, 0x80, 0x80, 5});
    const Bytes untold = VideoPacket(true, {0, 0, 1, 0xE0, 0, 0, 0x80, 0x80, 5});
    const Bytes rest = VideoPacket(false, {});
    engine::PictureEnd end(Container::MpegTs);
    for (int i = 0; i < 3; ++i) {
        end.Feed(told.data(), told.size());
        EXPECT_EQ(end.Patience(PERIOD), NEVER);
        end.Feed(rest.data(), rest.size());
        EXPECT_EQ(end.Patience(PERIOD), Clock::duration::zero());
        end.Taken();
    }
    end.Feed(untold.data(), untold.size());
    end.Feed(rest.data(), rest.size());
    EXPECT_EQ(end.Patience(PERIOD), NEVER);
}

TEST(PictureEnd, TransportStreamOfTwoCamerasTellsNoEnds)
{
    constexpr int LENGTH = 2 * 184 - 6;
    const Bytes begin =
        VideoPacket(true, {0, 0, 1, 0xE0, LENGTH >> 8, LENGTH & 0xFF, 0x80, 0x80, 5});
    const Bytes rest = VideoPacket(false, {});
    const auto ofTheOther = [](Bytes packet) {
        ++packet[2];
        return packet;
    };
    engine::PictureEnd end(Container::MpegTs);
    for (int i = 0; i < 3; ++i)
        for (const Bytes& packet : {begin, ofTheOther(begin), ofTheOther(rest), rest}) {
            end.Feed(packet.data(), packet.size());
            EXPECT_EQ(end.Patience(PERIOD), NEVER);
        }
}

TEST(PictureEnd, CameraThatIsFollowedByAnotherEndsItsPictures)
{
    constexpr int LENGTH = 2 * 184 - 6;
    Bytes begin = VideoPacket(true, {0, 0, 1, 0xE0, LENGTH >> 8, LENGTH & 0xFF, 0x80, 0x80, 5});
    Bytes rest = VideoPacket(false, {});
    engine::PictureEnd end(Container::MpegTs);
    for (int i = 0; i < 3; ++i, ++begin[2], ++rest[2]) {
        end.Feed(begin.data(), begin.size());
        EXPECT_EQ(end.Patience(PERIOD), NEVER);
        end.Feed(rest.data(), rest.size());
        EXPECT_EQ(end.Patience(PERIOD), Clock::duration::zero());
        end.Taken();
    }
}

TEST(PictureEnd, TransportStreamsComeInBlocksOfAnySizeAndBehindRubbish)
{
    constexpr int LENGTH = 2 * 184 - 6;
    Bytes stream = {1, 2, 3};  // no sync byte among them
    for (const Bytes& packet :
         {VideoPacket(true, {0, 0, 1, 0xE0, LENGTH >> 8, LENGTH & 0xFF, 0x80, 0x80, 5}),
          VideoPacket(false, {})})
        stream.insert(stream.end(), packet.begin(), packet.end());
    for (const std::size_t block : {1, 2, 3, 7, 100, 187, 188, 189, 191, 379}) {
        engine::PictureEnd end(Container::MpegTs);
        for (std::size_t at = 0; at < stream.size(); at += block) {
            EXPECT_EQ(end.Patience(PERIOD), NEVER) << block << " at " << at;
            end.Feed(stream.data() + at, std::min(block, stream.size() - at));
        }
        EXPECT_EQ(end.Patience(PERIOD), Clock::duration::zero()) << block;
    }
}

TEST(PictureEnd, JpegEndsWithItsMarker)
{
    engine::PictureEnd end(Container::Mjpeg);
    const Bytes bytes = {0xFF, 0xD8, 0xFF, 1, 2, 0xFF};
    end.Feed(bytes.data(), bytes.size());
    EXPECT_EQ(end.Patience(PERIOD), NEVER);
    const std::uint8_t last = 0xD9;
    end.Feed(&last, 1);
    EXPECT_EQ(end.Patience(PERIOD), Clock::duration::zero());
}

TEST(PictureEnd, PauseOfAnElementaryStreamIsTrustedLessAfterItCutAPicture)
{
    engine::PictureEnd end(Container::H264);
    const Bytes picture = {0, 0, 0, 1, 0x65, 0x88, 2, 3};
    end.Feed(picture.data(), picture.size());
    EXPECT_EQ(end.Patience(PERIOD), PERIOD / 2);
    end.Taken();
    end.Feed(picture.data(), picture.size());
    EXPECT_EQ(end.Patience(PERIOD), PERIOD / 2);
    end.Taken();
    const Bytes rest = {4, 5, 6};
    end.Feed(rest.data(), rest.size());
    EXPECT_EQ(end.Patience(PERIOD), PERIOD);
}

TEST(PictureEnd, PauseBetweenTwoSlicesOfAPictureIsADoubtToo)
{
    const struct
    {
        Container container;
        Bytes head;
        bool doubt;
    } rows[] = {{Container::H264, {0, 0, 1, 0x41, 0x9A, 0, 0, 0}, false},
                {Container::H264, {0, 0, 1, 0x41, 0x5A, 0, 0, 0}, true},
                {Container::H264, {0, 0, 0, 1, 0x65, 0x88, 0, 0}, false},
                {Container::H264, {0, 0, 0, 1, 0x65, 0x08, 0, 0}, true},
                {Container::H264, {0, 0, 0, 1, 0x67, 0x4D, 0, 0}, false},
                {Container::H264, {0, 0, 0, 0, 1, 0x41, 0x9A, 0}, false},
                {Container::H265, {0, 0, 1, 0x02, 0x01, 0xD0, 0, 0}, false},
                {Container::H265, {0, 0, 1, 0x02, 0x01, 0x50, 0, 0}, true},
                {Container::H265, {0, 0, 0, 1, 0x26, 0x01, 0xAC, 0}, false},
                {Container::H265, {0, 0, 0, 1, 0x26, 0x01, 0x2C, 0}, true},
                {Container::H265, {0, 0, 0, 1, 0x42, 0x01, 0x01, 0}, false}};
    for (const auto& row : rows) {
        engine::PictureEnd end(row.container);
        const Bytes picture = {0, 0, 0, 1, 0x65, 0x88, 2, 3};
        end.Feed(picture.data(), picture.size());
        end.Taken();
        end.Feed(row.head.data(), row.head.size());
        EXPECT_EQ(end.Patience(PERIOD), row.doubt ? PERIOD : PERIOD / 2) << &row - rows;
    }
}

// ---- PlayClock

class Clocks : public testing::Test
{
protected:
    PlayClock::Plan Schedule(double seconds, double now, bool live = false, bool more = true)
    {
        return m_clock.Schedule({seconds, 0.04, true, live, more}, At(now));
    }
    static Clock::time_point At(double seconds)
    {
        return Clock::time_point(std::chrono::duration_cast<Clock::duration>(
            std::chrono::duration<double>(1000 + seconds)));
    }
    static double When(Clock::time_point time)
    {
        return std::chrono::duration<double>(time.time_since_epoch()).count() - 1000;
    }

    /// A picture that was put `age` seconds ago.
    PlayClock::Plan Put(double seconds, double now, double age, bool refused = false)
    {
        return m_clock.Schedule({seconds, 0.04, true, false, true, refused, At(now - age)},
                                At(now));
    }

    PlayClock m_clock;
};

TEST_F(Clocks, PicturesAreDueByTheirTimeStamps)
{
    EXPECT_NEAR(When(Schedule(5.00, 0.0).due), 0.00, 1e-6);
    EXPECT_NEAR(When(Schedule(5.04, 0.001).due), 0.04, 1e-6);
    EXPECT_NEAR(When(Schedule(5.50, 0.05).due), 0.50, 1e-6);
}

TEST_F(Clocks, SpeedScalesTheTimeBetweenThem)
{
    Schedule(0.0, 0.0);
    m_clock.SetSpeed(4.0, At(0.0));
    EXPECT_NEAR(When(Schedule(0.4, 0.0).due), 0.1, 1e-6);
    m_clock.SetSpeed(0.25, At(0.1));
    EXPECT_NEAR(When(Schedule(0.5, 0.1).due), 0.5, 1e-6);
}

TEST_F(Clocks, NewSpeedHoldsForThePictureThatWaits)
{
    Schedule(0.0, 0.0);
    EXPECT_NEAR(When(Schedule(1.0, 0.0).due), 1.0, 1e-6);
    m_clock.SetSpeed(0.5, At(0.5));
    EXPECT_NEAR(When(Schedule(1.0, 0.5).due), 1.5, 1e-6);
    m_clock.SetSpeed(4.0, At(0.7));
    EXPECT_NEAR(When(Schedule(1.0, 0.7).due), 0.8, 1e-6);
    // Nothing came for a while: the time between pictures does not run on.
    m_clock.SetSpeed(1.0, At(0.9));
    EXPECT_NEAR(When(Schedule(1.5, 0.9).due), 1.3, 1e-6);
}

TEST_F(Clocks, LatePicturesAreLeftOutWhenNewerOnesAreThere)
{
    Schedule(0.0, 0.0);
    EXPECT_FALSE(Schedule(0.04, 0.07).drop) << "less than a period late";
    EXPECT_TRUE(Schedule(0.08, 0.15).drop);
    EXPECT_FALSE(Schedule(0.12, 0.20, false, /*more=*/false).drop);
}

TEST_F(Clocks, OneOfManyLatePicturesIsStillShownNowAndThen)
{
    Schedule(0.0, 0.0);
    int shown = 0;
    for (int i = 1; i < 50; ++i)
        shown += !Schedule(i * 0.01, i * 0.02 + 0.1).drop;
    EXPECT_GE(shown, 3);
    EXPECT_LE(shown, 6);
}

class Bursts : public Clocks
{
protected:
    /// Five pictures that come together, late by so many seconds; how many are left out.
    int Burst(int number, double late)
    {
        const double seconds = 0.2 * number;
        double now = seconds + late;
        int left = 0;
        for (int i = 0; i < 5; ++i) {
            const PlayClock::Plan plan = Schedule(seconds + 0.04 * i, now, i == 0, i < 4);
            now = std::max(now, When(plan.due));
            left += plan.drop ? 1 : 0;
            m_behind = m_behind || plan.behind;
        }
        m_end = now;
        return left;
    }

    double m_end = 0.0;  ///< when its last picture was due
    bool m_behind = false;
};

TEST_F(Bursts, SenderThatIsLateAgainAndAgainIsFollowed)
{
    EXPECT_EQ(Burst(0, 0.0), 0);
    EXPECT_GT(Burst(1, 0.1), 0) << "once, it is to be made up for";
    for (int i = 2; i < 20; ++i) {
        EXPECT_EQ(Burst(i, 0.1), 0) << i;
        EXPECT_NEAR(m_end, 0.2 * i + 0.1 + 0.16, 1e-6) << i;
    }
    EXPECT_FALSE(m_behind) << "decoding is as fast as ever";
}

/// As a relay does that sends sound and pictures in turn.
TEST_F(Bursts, SenderWhosePicturesComeInBurstsAndSinglyIsFollowed)
{
    for (const bool decodesSlowly : {true, false}) {  // the next one is there when one is decoded
        m_clock.Restart();
        double now = 0.0;
        double before = -1.0;
        int lost = 0;
        for (int i = 0; i < 800; ++i) {  // seven at once, one soon after, and a pause
            const bool alone = i % 8 == 7;
            now = std::max(now, i / 8 * 0.32 + (alone ? 0.07 : 0.0));
            const PlayClock::Plan plan =
                Schedule(0.04 * i, now, alone || i % 8 == 0, decodesSlowly && i % 8 < 6);
            now = std::max(now, When(plan.due));
            lost += i >= 80 && (plan.drop || now - before < 0.02) ? 1 : 0;
            before = now;
        }
        EXPECT_LT(lost, 72) << decodesSlowly;  // of 720
    }
}

TEST_F(Bursts, OneLateBurstLeavesNoDelay)
{
    for (int i = 0; i < 24; ++i) {
        Burst(i, i % 8 == 7 ? 0.1 : 0.0);
        EXPECT_NEAR(m_end, 0.2 * i + 0.16, 1e-6) << i;
    }
}

/// As TCP does: what piled up comes in pieces, faster than it was made.
TEST_F(Bursts, NetworkThatStoodStillLeavesNoDelayWhenItCatchesUp)
{
    double now = 0.0;
    for (int i = 0; i < 50; ++i) {
        now = std::max(now, 0.04 * i);
        now = std::max(now, When(Schedule(0.04 * i, now, true, false).due));
    }
    for (int i = 50; i < 80; ++i) {  // half a second late, three pictures every 30 ms
        const int piece = (i - 50) / 3;
        now = std::max({now, 0.04 * i, 2.5 + 0.03 * piece});
        now = std::max(now, When(Schedule(0.04 * i, now, i % 3 == 2, i % 3 != 1).due));
    }
    EXPECT_NEAR(now, 0.04 * 79, 0.005);
}

/// As it does where the line has little more room than the camera needs: picture by picture.
TEST_F(Bursts, NetworkThatStoodStillOftenAndCatchesUpSlowlyLeavesNoDelay)
{
    double came = 0.0;
    double shown = 0.0;
    for (int i = 0; i < 1500; ++i) {
        const double stall = i >= 375 && i % 375 == 0 ? 0.5 : 0.0;
        came = std::max(0.04 * i, came + stall + 0.04 / 1.5);
        shown = std::max(came, When(Schedule(0.04 * i, came, true, false).due));
    }
    EXPECT_NEAR(shown, 0.04 * 1499, 0.05);
}

/// The client that puts a stream through a buffer of less than a picture is waited for all the
/// time.
TEST_F(Clocks, DecoderThatIsTooSlowForASmallBufferHurries)
{
    double now = 0.0;
    bool behind = false;
    for (int i = 0; i < 10; ++i, now += 0.06)
        behind = m_clock.Schedule({0.04 * i, 0.04, true, true, true, true}, At(now)).behind;
    EXPECT_TRUE(behind);
}

TEST_F(Clocks, ClockThatIsSecondsWrongIsSetAnew)
{
    Schedule(0.0, 0.0);
    EXPECT_FALSE(Schedule(0.04, 5.0).drop);
    EXPECT_NEAR(When(Schedule(0.08, 5.0).due), 5.04, 1e-6);
}

TEST_F(Clocks, JumpOfTheTimeStampsGoesOnOnePeriodLater)
{
    Schedule(10.0, 0.0);
    EXPECT_NEAR(When(Schedule(0.0, 0.01).due), 0.04, 1e-6);
    EXPECT_NEAR(When(Schedule(0.04, 0.01).due), 0.08, 1e-6);
    EXPECT_NEAR(When(Schedule(900.0, 0.01).due), 0.12, 1e-6);
}

TEST_F(Clocks, LivePictureIsShownAtOnceAndTheDelayStaysSmall)
{
    // The first picture came 300 ms late, the others come in time.
    Schedule(0.0, 0.3, true, false);
    for (int i = 1; i < 10; ++i)
        EXPECT_NEAR(When(Schedule(i * 0.04, i * 0.04, true, false).due), i * 0.04, 1e-6);
}

TEST_F(Clocks, DelayThatABurstLeftIsTakenBackFromALiveSender)
{
    // 10 pictures came at once, and from then on one every period.
    double due = 0.0;
    for (int i = 0; i < 60; ++i) {
        const double put = std::max(0, i - 9) * 0.04;
        const double now = std::max(due, put) + 0.01;
        due = std::max(When(Put(i * 0.04, now, now - put).due), now);
        EXPECT_TRUE(i >= 17 || due > i * 0.04 - 0.001) << i;
        if (i > 30) {
            EXPECT_LT(due - put, 0.04) << i;
        }
    }
}

TEST_F(Clocks, SlowMotionOfALiveStreamIsNotHurried)
{
    Put(0.0, 0.0, 0.0);
    m_clock.SetSpeed(0.5, At(0.0));
    for (int i = 1; i < 60; ++i) {
        const double now = (i - 1) * 0.08;
        EXPECT_NEAR(When(Put(i * 0.04, now, now - i * 0.04).due), i * 0.08, 1e-6);
    }
}

TEST_F(Clocks, FileThatWaitsForRoomKeepsItsTime)
{
    Put(0.0, 0.0, 0.0);
    for (int i = 1; i < 60; ++i)
        EXPECT_NEAR(When(Put(i * 0.04, (i - 1) * 0.04, 1.0, /*refused=*/true).due), i * 0.04, 1e-6);
}

TEST_F(Clocks, FileThatIsPutInLargeBlocksKeepsItsTime)
{
    // Blocks of five pictures, each a period before it is needed.
    Put(0.0, 0.0, 0.0);
    for (int i = 1; i < 60; ++i) {
        const double now = (i - 1) * 0.04;
        EXPECT_NEAR(When(Put(i * 0.04, now, now - (i / 5 * 5 - 1) * 0.04).due), i * 0.04, 1e-6);
    }
}

TEST_F(Clocks, FileThatIsPutInSmallBlocksDoesNotRunAway)
{
    // Every picture looks live and comes after 1 ms.
    double due = 0.0;
    for (int i = 0; i < 100; ++i)
        due = When(Schedule(i * 0.04, std::max(due, i * 0.001), true, true).due);
    EXPECT_GT(due, 99 * 0.04 - 0.6);
}

// ---- LensSetting

class FoundCircles : public testing::Test
{
protected:
    FoundCircles() { m_lens.SetPictureSize(1000, 1000); }

    double RadiusAfter(double radius, double x = 500.0)
    {
        m_lens.AddCircle({{x, 500.0}, radius, 1.0});
        return m_lens.Get().dCircleRadius;
    }

    engine::LensSetting m_lens{{}};
};

TEST_F(FoundCircles, FirstOneIsUsedAtOnce)
{
    EXPECT_NEAR(m_lens.Get().dCircleRadius, 500, 1e-9);
    EXPECT_NEAR(RadiusAfter(300), 300, 1e-9);
}

TEST_F(FoundCircles, AnotherOneIsUsedWhenItIsFoundTwiceInARow)
{
    RadiusAfter(300);
    EXPECT_NEAR(RadiusAfter(450), 300, 1e-9);
    EXPECT_NEAR(RadiusAfter(452), 452, 1e-9);
    EXPECT_NEAR(RadiusAfter(452, 550.0), 452, 1e-9);
    RadiusAfter(452, 550.0);
    EXPECT_NEAR(m_lens.Get().dCentreX, 550, 1e-9);
}

TEST_F(FoundCircles, OneErrorAmongThemDoesNoHarm)
{
    RadiusAfter(450);
    EXPECT_NEAR(RadiusAfter(300), 450, 1e-9);
    EXPECT_NEAR(RadiusAfter(451), 450, 1e-9) << "the same, and it stays";
    EXPECT_NEAR(RadiusAfter(300), 450, 1e-9);
}

TEST_F(FoundCircles, AreForgottenWithThePictureSize)
{
    RadiusAfter(300);
    m_lens.SetPictureSize(800, 800);
    EXPECT_NEAR(m_lens.Get().dCircleRadius, 400, 1e-9);
    EXPECT_NEAR(RadiusAfter(350), 350, 1e-9);
}

// ---- PictureMaker

/// What a frame says of its colours, and what is made of it.
struct ColourCase
{
    const char* name;
    AVPixelFormat format;
    AVColorRange range;
    AVColorSpace matrix;
    AVChromaLocation site;
    int width;
    int height;
    bool jpeg;
    bool fullRange;
    bool bt709;
    bool centredChroma;
};

void PrintTo(const ColourCase& row, std::ostream* out)
{
    *out << row.name;
}

class Colours : public testing::TestWithParam<ColourCase>
{};

TEST_P(Colours, AreTaggedOrFollowFromSizeAndCodec)
{
    const ColourCase& row = GetParam();
    engine::FramePtr frame(av_frame_alloc());
    frame->format = row.format;
    frame->color_range = row.range;
    frame->colorspace = row.matrix;
    frame->chroma_location = row.site;
    frame->width = row.width;
    frame->height = row.height;
    ASSERT_GE(av_frame_get_buffer(frame.get(), 0), 0);
    const engine::Picture picture = engine::PictureMaker().Make(std::move(frame), row.jpeg);
    ASSERT_TRUE(picture.frame);
    EXPECT_EQ(picture.fullRange, row.fullRange);
    EXPECT_EQ(picture.bt709, row.bt709);
    EXPECT_EQ(picture.centredChroma, row.centredChroma);
}

constexpr AVColorRange NO_RANGE = AVCOL_RANGE_UNSPECIFIED;
constexpr AVColorSpace NO_MATRIX = AVCOL_SPC_UNSPECIFIED;
constexpr AVChromaLocation NO_SITE = AVCHROMA_LOC_UNSPECIFIED;
constexpr AVChromaLocation LEFT = AVCHROMA_LOC_LEFT;
constexpr AVChromaLocation CENTRE = AVCHROMA_LOC_CENTER;
constexpr AVPixelFormat I420 = AV_PIX_FMT_YUV420P;
constexpr AVPixelFormat J420 = AV_PIX_FMT_YUVJ420P;

INSTANTIATE_TEST_SUITE_P(All, Colours,
                         testing::Values(
                             // clang-format off
        ColourCase{"VideoSmall", I420, NO_RANGE, NO_MATRIX, NO_SITE, 1278, 718, false, false, false, false},
        ColourCase{"VideoWide", I420, NO_RANGE, NO_MATRIX, NO_SITE, 1280, 718, false, false, true, false},
        ColourCase{"VideoHigh", I420, NO_RANGE, NO_MATRIX, NO_SITE, 1278, 720, false, false, true, false},
        ColourCase{"VideoTagged", I420, AVCOL_RANGE_JPEG, AVCOL_SPC_SMPTE170M, LEFT, 1280, 720, false, true, false, false},
        ColourCase{"VideoTaggedSmall", I420, AVCOL_RANGE_MPEG, AVCOL_SPC_BT709, CENTRE, 64, 64, false, false, true, true},
        ColourCase{"Jpeg", J420, NO_RANGE, NO_MATRIX, NO_SITE, 1920, 1080, true, true, false, true},
        ColourCase{"JpegTagged", I420, AVCOL_RANGE_MPEG, AVCOL_SPC_BT709, LEFT, 64, 64, true, false, true, false},
        ColourCase{"Grey", AV_PIX_FMT_GRAY8, NO_RANGE, NO_MATRIX, NO_SITE, 64, 64, false, false, false, false},
        ColourCase{"GreyJpeg", AV_PIX_FMT_GRAY8, NO_RANGE, NO_MATRIX, NO_SITE, 64, 64, true, true, false, true},
        ColourCase{"Rgb", AV_PIX_FMT_GBRP, NO_RANGE, NO_MATRIX, NO_SITE, 64, 64, false, true, true, false}),
                         // clang-format on
                         [](const auto& info) { return std::string(info.param.name); });

// ---- Line sizes

TEST(FramePool, LineSizesAreOddMultiplesOf64)
{
    EXPECT_EQ(engine::PictureLineSize(2048), 2112);
    EXPECT_EQ(engine::PictureLineSize(3000), 3008);
    EXPECT_EQ(engine::PictureLineSize(1), 64);
    EXPECT_EQ(engine::PictureLineSize(65), 192);
}

// ---- BrokenPipe

TEST(BrokenPipes, AreErrorsAndLeaveNoSignalBehind)
{
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    close(ends[0]);
    sigset_t before;
    pthread_sigmask(SIG_BLOCK, nullptr, &before);
    ASSERT_EQ(sigismember(&before, SIGPIPE), 0) << "else this test says nothing";
    {
        const engine::BrokenPipe outer;
        {
            const engine::BrokenPipe inner;
            EXPECT_EQ(write(ends[1], "", 1), -1);
            EXPECT_EQ(errno, EPIPE);
        }
        EXPECT_EQ(write(ends[1], "", 1), -1);
    }
    sigset_t pending;
    sigpending(&pending);
    EXPECT_EQ(sigismember(&pending, SIGPIPE), 0);
    sigset_t after;
    pthread_sigmask(SIG_BLOCK, nullptr, &after);
    EXPECT_EQ(sigismember(&after, SIGPIPE), 0);
    close(ends[1]);
}

TEST(BrokenPipes, SignalThatTheClientHoldsBackStaysItsOwn)
{
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    close(ends[0]);
    sigset_t signal;
    sigemptyset(&signal);
    sigaddset(&signal, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &signal, nullptr);
    EXPECT_EQ(write(ends[1], "", 1), -1);
    {
        const engine::BrokenPipe held;
    }
    const timespec now{};
    EXPECT_EQ(sigtimedwait(&signal, nullptr, &now), SIGPIPE);
    pthread_sigmask(SIG_UNBLOCK, &signal, nullptr);
    close(ends[1]);
}

// ---- Overlay

class Overlays : public testing::Test
{
protected:
    std::uint32_t At(int x, int y) const
    {
        const std::uint8_t* pixel = m_pixels.data() + 4 * (y * 40 + x);
        return std::uint32_t{pixel[2]} << 16 | std::uint32_t{pixel[1]} << 8 | pixel[0];
    }
    void Draw(const std::vector<engine::OverlayLine>& lines,
              const std::vector<engine::OverlayText>& texts = {})
    {
        engine::DrawOverlay(m_pixels.data(), {40, 30}, lines, texts);
    }

    Bytes m_pixels = Bytes(40 * 30 * 4);
};

TEST_F(Overlays, LineRunsFromEndToEndInItsColourAndWidth)
{
    Draw({{{0.25F, 0.5F, 0.75F, 0.5F}, 3, 0xFF102030}});
    EXPECT_EQ(At(10, 15), 0x102030U);
    EXPECT_EQ(At(30, 15), 0x102030U);
    EXPECT_EQ(At(20, 14), 0x102030U);
    EXPECT_EQ(At(20, 16), 0x102030U);
    EXPECT_EQ(At(20, 12), 0U);
    EXPECT_EQ(At(20, 18), 0U);
    EXPECT_EQ(At(8, 15), 0U);
    EXPECT_EQ(At(32, 15), 0U);
}

TEST_F(Overlays, HalfTransparentInkIsBlendedOnce)
{
    Draw({{{0.0F, 0.5F, 1.0F, 0.5F}, 1, 0x80FFFFFF}});
    EXPECT_EQ(At(20, 15), 0x808080U);
}

TEST_F(Overlays, NothingIsDrawnOutsideThePictureNorForWhatIsNoNumber)
{
    const float nan = std::numeric_limits<float>::quiet_NaN();
    Draw({{{-5.0F, -7.0F, 9.0F, 1e30F}, 32, 0xFFFFFFFF},
          {{nan, 0.5F, 0.5F, 0.5F, 0.6F, std::numeric_limits<float>::infinity()}, 1, 0xFFFFFFFF},
          {{0.5F}, 1, 0xFFFFFFFF}},
         {{"text", nan, 0.0F, 16, 0xFFFFFFFF}, {"text", 1e30F, -1e30F, 256, 0xFFFFFFFF}});
    SUCCEED();  // AddressSanitizer watches the borders
}

TEST_F(Overlays, LinesBesideThePictureLeaveNoMarksAtItsBorders)
{
    for (const float side : {-0.5F, 1.25F})
        Draw({{{side, 0.5F, side + 0.25F, 0.5F}, 9, 0xFFFFFFFF},
              {{0.5F, side, 0.5F, side + 0.25F}, 9, 0xFFFFFFFF}});
    EXPECT_EQ(m_pixels, Bytes(m_pixels.size()));
}

TEST_F(Overlays, LetterHasItsShape)
{
    Draw({}, {{"L", 0.0F, 0.0F, 8, 0xFFFFFFFF}});
    for (int row = 0; row < 7; ++row)
        EXPECT_EQ(At(0, row), 0xFFFFFFU) << row;
    for (int column = 0; column < 5; ++column)
        EXPECT_EQ(At(column, 6), 0xFFFFFFU);
    EXPECT_EQ(At(2, 2), 0U);
    EXPECT_EQ(At(5, 6), 0U);
}

}  // namespace
}  // namespace test
