#include "viewer/EngineExtras.h"

#include <string>
#include <vector>

#include <QFile>

#include "VideoPlayer_Vx/CLS_VxPlayer_SDK.h"

using VX_Framework::VideoPlayer::CLS_VxPlayer_SDK;

namespace viewer::extras {

namespace {

constexpr double CONST_UNITS = 10000.0;

/// Calls an entry point that the manager has resolved without knowing its signature. `Function` is
/// the type of the engine's declaration.
template <typename Function, typename... Arguments>
int Call(CLS_VxPlayer_SDK::Unused* entry, Arguments... arguments)
{
    return nullptr == entry ? -1 : reinterpret_cast<Function>(entry)(arguments...);
}

template <typename Record>
int Control(int player, int command, Record& record)
{
    record.iSize = int{sizeof(record)};
    return Call<decltype(&::RV_PlayerControl)>(CLS_VxPlayer_SDK::RV_PlayerControl, player, command,
                                               static_cast<void*>(&record), int{sizeof(record)});
}

}  // namespace

int ViewIn(int player, void* window)
{
    RvFindView find{};
    find.pWindow = window;
    return Control(player, RV_CONTROL_FIND_VIEW, find) < 0 ? -1 : find.iCorrect;
}

std::optional<Look> LookOf(int player, int view)
{
    RvPtz ptz{};
    if (nullptr == CLS_VxPlayer_SDK::RV_GetFishEyeCorrectPara ||
        CLS_VxPlayer_SDK::RV_GetFishEyeCorrectPara(player, view, RV_KIND_PTZ, &ptz,
                                                   int{sizeof(ptz)}) < 0)
        return std::nullopt;
    return Look{QPointF(ptz.iPositionX, ptz.iPositionY) / CONST_UNITS, ptz.iZoom};
}

void DrawLines(int player, int view, const QVector<Line>& lines)
{
    std::vector<std::vector<float>> points;
    std::vector<RvPolyline> records;
    points.reserve(static_cast<std::size_t>(lines.size()));  // the records point into it
    for (const Line& line : lines) {
        std::vector<float> pairs;
        for (const QPointF& point : line.points) {
            pairs.push_back(static_cast<float>(point.x()));
            pairs.push_back(static_cast<float>(point.y()));
        }
        points.push_back(std::move(pairs));
        records.push_back({points.back().data(), line.points.size(), line.width,
                           static_cast<std::uint32_t>(line.colour.rgba())});
    }
    Call<decltype(&::RV_DrawPolyOnLocalVideo)>(CLS_VxPlayer_SDK::RV_DrawPolyOnLocalVideo, player,
                                               view, records.data(),
                                               static_cast<int>(records.size()));
}

void DrawTexts(int player, int view, const QVector<Text>& texts)
{
    std::vector<RvText> records;
    for (const Text& text : texts)
        records.push_back({text.text.constData(), static_cast<float>(text.at.x()),
                           static_cast<float>(text.at.y()), text.height,
                           static_cast<std::uint32_t>(text.colour.rgba())});
    Call<decltype(&::RV_DrawText)>(CLS_VxPlayer_SDK::RV_DrawText, player, view, records.data(),
                                   static_cast<int>(records.size()));
}

bool Capture(int player, int view, const QString& path)
{
    const QByteArray file = QFile::encodeName(path);
    return Call<decltype(&::RV_CapturePicture)>(CLS_VxPlayer_SDK::RV_CapturePicture, player, view,
                                                file.constData()) >= 0;
}

bool SetLens(int player, RvLens lens)
{
    return Control(player, RV_CONTROL_SET_LENS, lens) >= 0;
}

std::optional<RvLens> LensOf(int player)
{
    RvLens lens{};
    if (Control(player, RV_CONTROL_GET_LENS, lens) < 0)
        return std::nullopt;
    return lens;
}

void SetOrientation(int player, bool mirrored, bool flipped)
{
    RvOrientation orientation{0, mirrored ? 1 : 0, flipped ? 1 : 0};
    Control(player, RV_CONTROL_SET_ORIENTATION, orientation);
}

std::optional<RvVideoParam> FiguresOf(int player)
{
    RvVideoParam figures{};
    figures.iSize = int{sizeof(figures)};
    if (Call<decltype(&::RV_GetVideoParam)>(CLS_VxPlayer_SDK::RV_GetVideoParam, player, &figures,
                                            int{sizeof(figures)}) < 0)
        return std::nullopt;
    return figures;
}

void EndStream(int player)
{
    Call<decltype(&::RV_PlayerControl)>(CLS_VxPlayer_SDK::RV_PlayerControl, player,
                                        int{RV_CONTROL_END_OF_STREAM}, nullptr, 0);
}

void Pause(int player, bool paused)
{
    Call<decltype(&::RV_Pause)>(CLS_VxPlayer_SDK::RV_Pause, player, paused ? 1 : 0);
}

void Step(int player)
{
    Call<decltype(&::RV_StepForward)>(CLS_VxPlayer_SDK::RV_StepForward, player);
}

}  // namespace viewer::extras
