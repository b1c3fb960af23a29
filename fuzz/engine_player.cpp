// Decodes bytes into the life of one player without windows: a stream description, pieces of
// streams (real ones, damaged ones and the input's own bytes), views, and every setting of a view,
// the lens and the player, valid or not.
//
// The player stays paused and is stepped from picture to picture: so nothing waits for a time
// stamp, and every wait is for a picture or for the stream's end, one of which must come.
#include <condition_variable>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string>
#include <vector>

#include <fuzzer/FuzzedDataProvider.h>

#include "engine/PlaySdk.h"
#include "tests/engine/TestClip.h"

namespace {

/// A damaged header may ask for pictures of 6144 x 6144, so there are few of them in one life.
constexpr int MOST_PICTURES = 6;
constexpr int MOST_VIEWS = 4;
constexpr int LARGEST_VIEW = 80;

void Require(bool right, const char* what)
{
    if (right)
        return;
    std::fprintf(stderr, "differs: %s\n", what);
    std::abort();
}

/// One small clip of each format, the same in every run.
const std::vector<test::Bytes>& Clips()
{
    static const std::vector<test::Bytes> clips = [] {
        const struct
        {
            const char* format;
            AVCodecID codec;
            AVPixelFormat pixels;
        } rows[] = {{"mpegts", AV_CODEC_ID_H264, AV_PIX_FMT_YUV420P},
                    {"matroska", AV_CODEC_ID_H264, AV_PIX_FMT_YUV422P},
                    {"mp4", AV_CODEC_ID_H264, AV_PIX_FMT_YUV420P},
                    {"h264", AV_CODEC_ID_H264, AV_PIX_FMT_YUV444P},
                    {"mpegts", AV_CODEC_ID_HEVC, AV_PIX_FMT_YUV420P10},
                    {"hevc", AV_CODEC_ID_HEVC, AV_PIX_FMT_YUV420P},
                    {"mjpeg", AV_CODEC_ID_MJPEG, AV_PIX_FMT_YUVJ422P}};
        std::vector<test::Bytes> made;
        for (const auto& row : rows) {
            test::ClipOptions options;
            options.format = row.format;
            options.codec = row.codec;
            options.pixels = row.pixels;
            options.width = options.height = 64;
            options.pictures = 4;
            options.keyInterval = 2;
            options.paint = [](int picture, int x, int y) {
                const double wave = (x * 5 + y * 3 + picture * 7) % 64;
                return test::Colour{wave * 3, (x ^ y) & 16 ? 200.0 : 50.0, 255 - wave * 2};
            };
            made.push_back(test::MakeClip(options));
        }
        return made;
    }();
    return clips;
}

/// Where the player's callbacks tell that something came.
class News
{
public:
    void Add(bool end)
    {
        {
            std::lock_guard lock(m_lock);
            ++(end ? m_ends : m_pictures);
        }
        m_came.notify_all();
    }
    int Pictures()
    {
        std::lock_guard lock(m_lock);
        return m_pictures;
    }
    /// Whether it was the end.
    bool Await(int pictures, int ends)
    {
        std::unique_lock lock(m_lock);
        m_came.wait(lock, [&] { return m_pictures > pictures || m_ends > ends; });
        return m_ends > ends;
    }

private:
    std::mutex m_lock;
    std::condition_variable m_came;
    int m_pictures = 0;
    int m_ends = 0;
};

/// A number that is likely to mean something, or any.
double Number(FuzzedDataProvider& input)
{
    switch (input.ConsumeIntegralInRange(0, 3)) {
    case 0:
        return input.ConsumeIntegralInRange(-100, 4000);
    case 1:
        return input.ConsumeFloatingPointInRange(-1.0, 1.0);
    case 2:
        return 0.0;
    default: {
        const auto bits = input.ConsumeIntegral<std::uint64_t>();
        double number = 0.0;
        std::memcpy(&number, &bits, sizeof(number));
        return number;
    }
    }
}

int Position(FuzzedDataProvider& input)
{
    return input.ConsumeBool() ? input.ConsumeIntegralInRange(0, 10000)
                               : input.ConsumeIntegral<int>();
}

class Life
{
public:
    explicit Life(FuzzedDataProvider& input) : m_input(input)
    {
        RvPlayerCreation creation{};
        creation.iSize = sizeof(creation);
        static const char* const names[] = {"MPTS", "MKV ", "MP4 ", "H264", "H265", "MJPG", "AUTO"};
        std::memcpy(creation.aucStream, m_input.PickValueInArray(names), 4);
        for (int i = 4; i < 8; ++i)
            creation.aucStream[i] = m_input.ConsumeIntegral<std::uint8_t>();
        m_player = RV_CreatePlayerForSpecialNeeds(2, &creation, sizeof(creation), 0);
        Require(m_player > 0, "RV_CreatePlayerForSpecialNeeds");
        RvCreateCorrect record{};
        record.iSize = sizeof(record);
        record.iCreateType = m_input.ConsumeIntegralInRange(0, 3);
        const int main = RV_SetFishEyeCorrectEnable(m_player, 1, &record);
        Require(main > 0, "RV_SetFishEyeCorrectEnable");
        RV_SetPlayRectEx(m_player, main, 64, 48);
        RV_SetFishEyeCorrectCallBack(
            m_player, main,
            [](int, int, void*, unsigned int, unsigned int, void* news) {
                static_cast<News*>(news)->Add(false);
            },
            &m_news);
        RV_RegisterNotifyPlayToEnd(
            m_player, [](int, void* news) { static_cast<News*>(news)->Add(true); }, &m_news);
        m_views = {main, 0, -1};
    }
    ~Life() { RV_DeletePlayer(m_player); }
    Life(const Life&) = delete;
    Life& operator=(const Life&) = delete;

    void Run()
    {
        while (m_input.remaining_bytes() > 0 && m_steps < MOST_PICTURES)
            Act();
        Finish();
    }

private:
    void Act()
    {
        switch (m_input.ConsumeIntegralInRange(0, 15)) {
        case 0:
            return Put(m_input.ConsumeBytes<std::uint8_t>(m_input.ConsumeIntegralInRange(1, 600)));
        case 1:
        case 2:
        case 3:
        case 4:
            return PutClip();
        case 5:
            return Finish();
        case 6:
            return AddView();
        case 7:
            return SetView();
        case 8:
            return SetLens();
        case 9:
            return Control();
        case 10:
            return Overlay();
        case 11:
            return Capture();
        case 12:
            RV_SetFishEyeCorrectEnable(m_player, 0, nullptr);
            return;
        case 13:
            if (m_views.size() > 3)
                Require(RV_DeleteFishEyeCorrect(m_player, m_views.back()) == 0,
                        "a view's deletion"),
                    m_views.pop_back();
            return;
        case 14:
            Require(RV_CleanStreamBuffer(m_player) == 0, "RV_CleanStreamBuffer");
            return;
        default:
            RV_SetFrameListBufferSize(m_player, m_input.ConsumeIntegral<int>());
        }
    }

    void Put(test::Bytes bytes)
    {
        if (!bytes.empty())
            RV_PutStreamToPlayer(m_player, bytes.data(), static_cast<int>(bytes.size()));
    }

    /// A piece of a real stream, with some bytes changed.
    void PutClip()
    {
        const auto& clip =
            Clips()[m_input.ConsumeIntegralInRange<std::size_t>(0, Clips().size() - 1)];
        std::size_t begin = 0;
        std::size_t end = clip.size();
        if (m_input.ConsumeBool()) {
            begin = m_input.ConsumeIntegralInRange<std::size_t>(0, clip.size() - 1);
            end = m_input.ConsumeIntegralInRange<std::size_t>(begin, clip.size());
        }
        test::Bytes piece(clip.begin() + static_cast<std::ptrdiff_t>(begin),
                          clip.begin() + static_cast<std::ptrdiff_t>(end));
        for (int i = m_input.ConsumeIntegralInRange(0, 8); i > 0 && !piece.empty(); --i)
            piece[m_input.ConsumeIntegralInRange<std::size_t>(0, piece.size() - 1)] ^=
                m_input.ConsumeIntegral<std::uint8_t>();
        Put(std::move(piece));
    }

    /// Steps through what was put, up to the end of the stream or of the pictures allowed.
    void Finish()
    {
        Require(RV_PlayerControl(m_player, RV_CONTROL_END_OF_STREAM, nullptr, 0) == 0, "an end");
        while (m_steps++ < MOST_PICTURES) {
            const int pictures = m_news.Pictures();
            RV_StepForward(m_player);
            if (m_news.Await(pictures, m_ends)) {
                ++m_ends;
                return;
            }
        }
    }

    void AddView()
    {
        if (m_views.size() >= 3 + MOST_VIEWS)
            return;
        RvCreateCorrect record{};
        record.iSize = sizeof(record);
        record.iCreateType = m_input.ConsumeIntegralInRange(-1, 4);
        record.iCorrectMode = m_input.ConsumeIntegralInRange(0, 6) * 0x100;
        record.iPositionX = Position(m_input);
        record.iPositionY = Position(m_input);
        record.iZoom = Position(m_input);
        int id = -1;
        if (RV_CreateFishEyeCorrect(m_player, &record, sizeof(record), nullptr, &id) <= 0)
            return;
        m_views.push_back(id);
        RV_SetPlayRectEx(m_player, id, m_input.ConsumeIntegralInRange(1, LARGEST_VIEW),
                         m_input.ConsumeIntegralInRange(1, LARGEST_VIEW));
        RV_SetFishEyeCorrectCallBack(
            m_player, id, [](int, int, void*, unsigned int, unsigned int, void*) {}, nullptr);
    }

    int AnyView()
    {
        return m_views[m_input.ConsumeIntegralInRange<std::size_t>(0, m_views.size() - 1)];
    }

    void SetView()
    {
        const int view = AnyView();
        RvPtz ptz{};
        RvWideScan wide{};
        if (m_input.ConsumeBool()) {
            const bool known =
                RV_GetFishEyeCorrectPara(m_player, view, RV_KIND_PTZ, &ptz, sizeof(ptz)) == 0;
            ptz.iPositionX = Position(m_input);
            ptz.iPositionY = Position(m_input);
            ptz.iZoom = Position(m_input);
            const int result =
                RV_SetFishEyeCorrectPara(m_player, view, RV_KIND_PTZ, &ptz, sizeof(ptz));
            Require(known ? result == 0 || result == RV_OUTSIDE_CIRCLE : result == RV_REFUSED,
                    "RV_SetFishEyeCorrectPara");
        } else {
            wide.fAngle = static_cast<float>(Number(m_input));
            RV_SetFishEyeCorrectPara(m_player, view, RV_KIND_WIDE_SCAN, &wide, sizeof(wide));
        }
    }

    void SetLens()
    {
        RvLens lens{};
        lens.iSize = sizeof(lens);
        lens.iModel = m_input.ConsumeIntegralInRange(-1, 6);
        lens.iWidth = m_input.ConsumeBool() ? 0 : m_input.ConsumeIntegralInRange(-1, 4000);
        lens.iHeight = lens.iWidth;
        double* const numbers[] = {&lens.dFieldOfView,  &lens.dCentreX,      &lens.dCentreY,
                                   &lens.dFocalX,       &lens.dFocalY,       &lens.dCircleRadius,
                                   &lens.adK[0],        &lens.adK[1],        &lens.adK[2],
                                   &lens.adK[3],        &lens.adTable[1][0], &lens.adTable[1][1],
                                   &lens.adTable[2][0], &lens.adTable[2][1]};
        for (double* number : numbers)
            *number = Number(m_input);
        lens.iTableLength = m_input.ConsumeIntegralInRange(-1, 33);
        if (RV_PlayerControl(m_player, RV_CONTROL_SET_LENS, &lens, sizeof(lens)) != 0)
            return;
        RvLens inForce{};
        Require(RV_PlayerControl(m_player, RV_CONTROL_GET_LENS, &inForce, sizeof(inForce)) == 0,
                "a lens that was set cannot be read");
        Require(inForce.iModel == lens.iModel, "another model is in force");
    }

    void Control()
    {
        // Exactly as long as it says, so that the sanitizer sees a byte too many.
        auto record = m_input.ConsumeBytes<std::uint8_t>(m_input.ConsumeIntegralInRange(1, 64));
        const auto size = static_cast<std::int32_t>(record.size());
        if (record.size() >= sizeof(size) && m_input.ConsumeBool())
            std::memcpy(record.data(), &size, sizeof(size));
        if (!record.empty())
            RV_PlayerControl(m_player, m_input.ConsumeIntegralInRange(-1, 10), record.data(), size);
    }

    void Overlay()
    {
        const int view = AnyView();
        const float points[] = {static_cast<float>(Number(m_input)), 0.5F,
                                static_cast<float>(Number(m_input)), 0.25F};
        const RvPolyline line{points, m_input.ConsumeIntegralInRange(-1, 2),
                              m_input.ConsumeIntegralInRange(-1, 40),
                              m_input.ConsumeIntegral<std::uint32_t>()};
        RV_DrawPolyOnLocalVideo(m_player, view, &line, m_input.ConsumeIntegralInRange(-1, 1));
        const std::string words = m_input.ConsumeRandomLengthString(20);
        const RvText text{words.c_str(), static_cast<float>(Number(m_input)), points[0],
                          m_input.ConsumeIntegralInRange(0, 300), 0xFFFFFFFF};
        RV_DrawText(m_player, view, &text, m_input.ConsumeIntegralInRange(-1, 1));
    }

    void Capture()
    {
        const int view = AnyView();
        int width = 0;
        int height = 0;
        RV_CapturePic(m_player, view, nullptr, 0, &width, &height);
        std::vector<std::uint8_t> pixels(m_input.ConsumeIntegralInRange<std::size_t>(1, 30000));
        RV_CapturePic(m_player, view, pixels.data(), static_cast<int>(pixels.size()), &width,
                      &height);
        RvVideoParam param{};
        param.iSize = sizeof(param);
        Require(RV_GetVideoParam(m_player, &param, sizeof(param)) == 0, "RV_GetVideoParam");
    }

    FuzzedDataProvider& m_input;
    News m_news;
    int m_player = -1;
    std::vector<int> m_views;  ///< the main view, two that are none, then those that were added
    int m_steps = 0;
    int m_ends = 0;
};

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    unsetenv("DISPLAY");
    Clips();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    FuzzedDataProvider input(data, size);
    Life(input).Run();
    return 0;
}
