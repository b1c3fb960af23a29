// The C entry points: each checks its arguments, finds its player and hands on.
#include "engine/PlaySdk.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <exception>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include "engine/media/PictureFile.h"
#include "engine/player/Player.h"
#include "engine/player/Registry.h"

using engine::Extent;
using engine::FindPlayer;
using engine::Player;
using engine::View;

static_assert(sizeof(RvPlayerCreation) == 32 && offsetof(RvPlayerCreation, pWindow) == 8);
static_assert(offsetof(RvPlayerCreation, aucStream) == 16);
static_assert(sizeof(RvCreateCorrect) == 88 && offsetof(RvCreateCorrect, iCreateType) == 4);
static_assert(offsetof(RvCreateCorrect, iCorrectMode) == 8);
static_assert(offsetof(RvCreateCorrect, aiEngineParam) == 32);
static_assert(offsetof(RvCreateCorrect, iPtzIndex) == 44);
static_assert(offsetof(RvCreateCorrect, iPositionX) == 48);
static_assert(offsetof(RvCreateCorrect, iPositionY) == 52);
static_assert(offsetof(RvCreateCorrect, iZoom) == 56);
static_assert(offsetof(RvCreateCorrect, pWindow) == 72);
static_assert(sizeof(RvPtz) == 32 && offsetof(RvPtz, iPositionX) == 8);
static_assert(offsetof(RvPtz, iPositionY) == 12 && offsetof(RvPtz, iZoom) == 16);
static_assert(sizeof(RvWideScan) == 8 && offsetof(RvWideScan, fAngle) == 4);
static_assert(sizeof(RvLens) == 616 && offsetof(RvLens, dFieldOfView) == 16);
static_assert(offsetof(RvLens, dCentreX) == 24 && offsetof(RvLens, dFocalX) == 40);
static_assert(offsetof(RvLens, dCircleRadius) == 56 && offsetof(RvLens, adK) == 64);
static_assert(sizeof(RvFindView) == 16 && offsetof(RvFindView, pWindow) == 8);
static_assert(offsetof(RvLens, iTableLength) == 96 && offsetof(RvLens, adTable) == 104);
static_assert(sizeof(RvVideoParam) == 88 && sizeof(RvOrientation) == 12);

namespace {

constexpr int VERSION = 1 << 16;  // 1.0.0
constexpr int LARGEST_VIEW = 8192;
constexpr int SMALLEST_BUFFER = 64 * 1024;
constexpr int LARGEST_BUFFER = 64 * 1024 * 1024;
constexpr int FASTEST = 16;
/// Texts, lines, and points of a line.
constexpr int LARGEST_OVERLAY = 1 << 16;

/// A copy of the caller's record, whose place need not be aligned.
template <typename Record>
bool ReadRecord(const void* record, int size, Record& copy)
{
    if (!record || size != static_cast<int>(sizeof(Record)))
        return false;
    std::memcpy(&copy, record, sizeof(Record));
    return true;
}

/// Likewise, of a record that begins with its own size.
template <typename Record>
bool ReadSized(const void* record, int size, Record& copy)
{
    return ReadRecord(record, size, copy) && copy.iSize == static_cast<int>(sizeof(Record));
}

int CheckSettings(const void* record, int size)
{
    if (!record || size < static_cast<int>(sizeof(std::int32_t)))
        return RV_REFUSED;
    std::int32_t stated = 0;
    std::memcpy(&stated, record, sizeof(stated));
    return stated == size ? 0 : RV_REFUSED;
}

bool IsViewMode(int mode)
{
    return mode >= RV_MODE_SOURCE && mode <= RV_MODE_FISHEYE && mode % 0x100 == 0;
}

engine::ViewSettings SettingsOf(const RvCreateCorrect& record)
{
    engine::ViewSettings settings;
    settings.mode = record.iCorrectMode;
    settings.mount = optics::MountOf(record.iCreateType);
    settings.positionX = record.iPositionX;
    settings.positionY = record.iPositionY;
    settings.zoom = record.iZoom;
    return settings;
}

std::uint64_t WindowId(const void* window)
{
    return reinterpret_cast<std::uintptr_t>(window);
}

/// What an entry point does that may need memory or threads: there may be none, and no exception
/// goes out to a client in C.
template <typename Function>
int Guarded(Function&& function) noexcept
{
    try {
        return function();
    } catch (const std::exception&) {
        return RV_REFUSED;
    }
}

/// Runs a function on a player, guarded; -1 where there is none.
template <typename Function>
int With(int player, Function&& function)
{
    return Guarded([&]() -> int {
        const std::shared_ptr<Player> found = FindPlayer(player);
        return found ? function(*found) : RV_REFUSED;
    });
}

/// Runs a function on a view, guarded; -1 where there is none. The player is held as well: its
/// views call it.
template <typename Function>
int WithView(int player, int correct, Function&& function)
{
    return With(player, [&](Player& owner) -> int {
        const std::shared_ptr<View> view = owner.FindView(correct);
        return view ? function(*view) : RV_REFUSED;
    });
}

int SetSpeed(int player, int times, bool fast)
{
    if (times < 1 || times > FASTEST)
        return RV_REFUSED;
    return With(player, [&](Player& p) {
        p.SetSpeed(fast ? times : 1.0 / times);
        return 0;
    });
}

/// The pixels of a view, or of the decoded picture (correct 0).
std::vector<std::uint8_t> CapturePixels(int player, int correct, Extent& size)
{
    const std::shared_ptr<Player> found = FindPlayer(player);
    if (!found)
        return {};
    const std::shared_ptr<View> view = correct == 0 ? nullptr : found->FindView(correct);
    if (correct != 0 && !view)
        return {};
    return found->Capture(view.get(), size);
}

}  // namespace

// ---- The system

int RV_SetAVMode(int, void* record, int size)
{
    return CheckSettings(record, size);
}

int RV_SetVideoMode(int, void* record, int size)
{
    return CheckSettings(record, size);
}

int RV_CreateSystem(int)
{
    return 0;
}

int RV_DeleteSystem()
{
    return Guarded([] {
        for (const auto& player : engine::RemoveAllPlayers())
            player->Shutdown();
        return 0;
    });
}

int RV_GetVersion()
{
    return VERSION;
}

// ---- Players

int RV_CreatePlayerForSpecialNeeds(int kind, void* record, int size, int)
{
    RvPlayerCreation creation;
    if (kind != 2 || !ReadSized(record, size, creation))
        return RV_REFUSED;
    return Guarded([&] { return engine::AddPlayer(creation); });
}

int RV_DeletePlayer(int player)
{
    return Guarded([&]() -> int {
        const std::shared_ptr<Player> removed = engine::RemovePlayer(player);
        if (!removed)
            return RV_REFUSED;
        removed->Shutdown();
        return 0;
    });
}

int RV_Play(int player)
{
    return With(player, [](Player& p) {
        p.Play();
        return 0;
    });
}

int RV_Pause(int player, int paused)
{
    return With(player, [&](Player& p) {
        p.Pause(paused != 0);
        return 0;
    });
}

int RV_Stop(int player)
{
    return With(player, [](Player& p) {
        p.Stop();
        return 0;
    });
}

int RV_StepForward(int player)
{
    return With(player, [](Player& p) { return p.Step() ? 0 : RV_REFUSED; });
}

int RV_FastForward(int player, int times)
{
    return SetSpeed(player, times, true);
}

int RV_SlowForward(int player, int times)
{
    return SetSpeed(player, times, false);
}

int RV_PutStreamToPlayer(int player, unsigned char* data, int size)
{
    if (!data || size <= 0 || size > LARGEST_BUFFER)
        return RV_REFUSED;
    return With(player, [&](Player& p) {
        return p.Queue().Put(data, static_cast<std::size_t>(size)) ? 0 : RV_BUFFER_FULL;
    });
}

int RV_CleanStreamBuffer(int player)
{
    return With(player, [](Player& p) {
        p.Clean();
        return 0;
    });
}

int RV_SetFrameListBufferSize(int player, int bytes)
{
    return With(player, [&](Player& p) {
        p.Queue().SetCapacity(
            static_cast<std::size_t>(std::clamp(bytes, SMALLEST_BUFFER, LARGEST_BUFFER)));
        return 0;
    });
}

int RV_RegisterNotifyPlayToEnd(int player, RvEndCallback callback, void* user)
{
    return With(player,
                [&](Player& p) { return p.SetEndCallback(callback, user) ? 0 : RV_REFUSED; });
}

int RV_PlayerControl(int player, int command, void* record, int size)
{
    return With(player, [&](Player& p) -> int {
        RvLens lens;
        RvOrientation orientation;
        switch (command) {
        case RV_CONTROL_SET_LENS:
            return ReadSized(record, size, lens) && p.SetLens(lens) ? 0 : RV_REFUSED;
        case RV_CONTROL_GET_LENS:
            if (!record || size != static_cast<int>(sizeof(lens)))
                return RV_REFUSED;
            lens = p.GetLens();
            std::memcpy(record, &lens, sizeof(lens));
            return 0;
        case RV_CONTROL_SET_ORIENTATION:
            if (!ReadSized(record, size, orientation))
                return RV_REFUSED;
            p.SetOrientation(orientation.iMirrored != 0, orientation.iFlipped != 0);
            return 0;
        case RV_CONTROL_GET_ORIENTATION: {
            if (!ReadRecord(record, size, orientation))
                return RV_REFUSED;
            const engine::CameraOptics camera = p.Camera();
            orientation = {size, camera.mirrored, camera.flipped};
            std::memcpy(record, &orientation, sizeof(orientation));
            return 0;
        }
        case RV_CONTROL_END_OF_STREAM:
            if (record || size != 0)
                return RV_REFUSED;
            p.Queue().MarkEnd();
            return 0;
        case RV_CONTROL_FIND_VIEW: {
            RvFindView find;
            if (!ReadSized(record, size, find))
                return RV_REFUSED;
            find.iCorrect = p.FindViewIn(reinterpret_cast<std::uintptr_t>(find.pWindow));
            std::memcpy(record, &find, sizeof(find));
            return 0;
        }
        default:
            return RV_REFUSED;
        }
    });
}

int RV_GetFrameRate(int player, double* picturesPerSecond)
{
    return With(player, [&](Player& p) {
        const engine::Picture picture = p.Shown();
        if (!picturesPerSecond || !picture.frame)
            return int{RV_REFUSED};
        *picturesPerSecond = 1.0 / picture.period;
        return 0;
    });
}

int RV_GetPlayTime(int player, std::int64_t* milliseconds)
{
    return With(player, [&](Player& p) {
        if (!milliseconds || !p.Shown().frame)
            return int{RV_REFUSED};
        *milliseconds = std::llround(p.PlayTime() * 1000.0);
        return 0;
    });
}

int RV_GetPlayingFrameNum(int player)
{
    return With(player, [](Player& p) {
        return static_cast<int>(std::min<std::int64_t>(p.ShownCount(), INT32_MAX));
    });
}

int RV_GetVideoParam(int player, RvVideoParam* param, int size)
{
    RvVideoParam described{};
    if (!ReadSized(param, size, described))
        return RV_REFUSED;
    return With(player, [&](Player& p) {
        described = {};
        described.iSize = size;
        p.Describe(described);
        std::memcpy(param, &described, sizeof(described));
        return 0;
    });
}

// ---- Views

int RV_SetFishEyeCorrectEnable(int player, int enable, void* record)
{
    return With(player, [&](Player& p) -> int {
        const std::shared_ptr<View>& view = p.MainView();
        if (enable == 0) {
            view->SetMode(RV_MODE_SOURCE);
            return 0;
        }
        RvCreateCorrect creation;
        if (!ReadSized(record, sizeof(creation), creation))
            return RV_REFUSED;
        view->SetMount(optics::MountOf(creation.iCreateType));
        view->SetMode(RV_MODE_FISHEYE);
        return view->Id();
    });
}

int RV_CreateFishEyeCorrect(int player, void* record, int size, void* window, int* correct)
{
    RvCreateCorrect creation;
    if (!correct || !ReadSized(record, size, creation) || !IsViewMode(creation.iCorrectMode))
        return RV_REFUSED;
    return With(player, [&](Player& p) {
        const int id = engine::NextViewId();
        if (!p.AddView(id, SettingsOf(creation), WindowId(window ? window : creation.pWindow)))
            return int{RV_REFUSED};
        *correct = id;
        return id;
    });
}

int RV_DeleteFishEyeCorrect(int player, int correct)
{
    return With(player, [&](Player& p) { return p.RemoveView(correct) ? 0 : RV_REFUSED; });
}

int RV_SetFishEyeCorrectCallBack(int player, int correct, RvCorrectCallback callback, void* user)
{
    return WithView(player, correct,
                    [&](View& view) { return view.SetCallback(callback, user) ? 0 : RV_REFUSED; });
}

int RV_GetFishEyeCorrectPara(int player, int correct, int kind, void* record, int size)
{
    return WithView(player, correct, [&](View& view) -> int {
        RvPtz ptz;
        RvWideScan wide;
        if (kind == RV_KIND_PTZ && ReadRecord(record, size, ptz) && view.GetPtz(ptz) == 0) {
            std::memcpy(record, &ptz, sizeof(ptz));
            return 0;
        }
        if (kind == RV_KIND_WIDE_SCAN && ReadRecord(record, size, wide) &&
            view.GetWide(wide) == 0) {
            std::memcpy(record, &wide, sizeof(wide));
            return 0;
        }
        return RV_REFUSED;
    });
}

int RV_SetFishEyeCorrectPara(int player, int correct, int kind, void* record, int size)
{
    return WithView(player, correct, [&](View& view) -> int {
        RvPtz ptz;
        RvWideScan wide;
        if (kind == RV_KIND_PTZ && ReadRecord(record, size, ptz))
            return view.SetPtz(ptz);
        if (kind == RV_KIND_WIDE_SCAN && ReadRecord(record, size, wide))
            return view.SetWide(wide);
        return RV_REFUSED;
    });
}

int RV_SetPlayRectEx(int player, int correct, int width, int height)
{
    const bool window = width == 0 && height == 0;
    const bool possible =
        width >= 1 && height >= 1 && width <= LARGEST_VIEW && height <= LARGEST_VIEW;
    if (!window && !possible)
        return RV_REFUSED;
    return WithView(player, correct, [&](View& view) {
        view.SetFixedSize({width, height});
        return 0;
    });
}

// ---- Capture

int RV_CapturePicture(int player, int correct, const char* file)
{
    if (!file)
        return RV_REFUSED;
    return Guarded([&] {
        Extent size;
        const std::vector<std::uint8_t> pixels = CapturePixels(player, correct, size);
        const bool written =
            !pixels.empty() && engine::WritePicture(file, pixels.data(), size.width, size.height);
        return written ? 0 : RV_REFUSED;
    });
}

int RV_CaptureBmpPic(int player, const char* file)
{
    if (!file)
        return RV_REFUSED;
    const std::string_view name = file;
    const std::string_view ending =
        name.substr(name.size() - std::min<std::size_t>(name.size(), 4));
    const bool bmp = name.size() > 4 && (ending == ".bmp" || ending == ".BMP");
    return bmp ? RV_CapturePicture(player, 0, file) : RV_REFUSED;
}

int RV_CapturePic(int player, int correct, void* bgra, int capacity, int* width, int* height)
{
    if (!width || !height)
        return RV_REFUSED;
    return Guarded([&]() -> int {
        Extent size;
        const std::vector<std::uint8_t> pixels = CapturePixels(player, correct, size);
        if (pixels.empty())
            return RV_REFUSED;
        *width = size.width;
        *height = size.height;
        if (!bgra || capacity < 0 || static_cast<std::size_t>(capacity) < pixels.size())
            return RV_REFUSED;
        std::memcpy(bgra, pixels.data(), pixels.size());
        return 0;
    });
}

// ---- Drawing on a window

int RV_DrawText(int player, int correct, const RvText* texts, int count)
{
    if (count < 0 || count > LARGEST_OVERLAY || (count > 0 && !texts))
        return RV_REFUSED;
    return WithView(player, correct, [&](View& view) -> int {
        std::vector<engine::OverlayText> copy;
        for (int i = 0; i < count; ++i) {
            if (!texts[i].pcText)
                return RV_REFUSED;
            copy.push_back({texts[i].pcText, texts[i].fX, texts[i].fY,
                            std::clamp(texts[i].iHeight, 8, 256), texts[i].uiColour});
        }
        view.SetTexts(std::move(copy));
        return 0;
    });
}

int RV_DrawPolyOnLocalVideo(int player, int correct, const RvPolyline* lines, int count)
{
    if (count < 0 || count > LARGEST_OVERLAY || (count > 0 && !lines))
        return RV_REFUSED;
    return WithView(player, correct, [&](View& view) -> int {
        std::vector<engine::OverlayLine> copy;
        for (int i = 0; i < count; ++i) {
            if (!lines[i].pfPoints || lines[i].iCount < 0 || lines[i].iCount > LARGEST_OVERLAY)
                return RV_REFUSED;
            copy.push_back({{lines[i].pfPoints, lines[i].pfPoints + 2 * lines[i].iCount},
                            std::clamp(lines[i].iWidth, 1, 32),
                            lines[i].uiColour});
        }
        view.SetLines(std::move(copy));
        return 0;
    });
}
