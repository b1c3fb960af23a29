#include <algorithm>

#include "tests/walk/Model.h"
#include "tests/walk/ModelArithmetic.h"

namespace walk {

namespace {

/// The kinds of view that a layout knows.
bool IsCorrectType(int key)
{
    return 0 <= key && key <= 0x500 && 0 == key % 0x100;
}

ModelView::Kind KindOf(int type)
{
    switch (type) {
    case 0x000:
        return ModelView::Kind::Source;
    case 0x200:
        return ModelView::Kind::Wide180;
    case 0x300:
        return ModelView::Kind::Wide360;
    case 0x400:
        return ModelView::Kind::Lat;
    default:
        return ModelView::Kind::FishEye;
    }
}

int DefaultCentre(int index, int count)
{
    static constexpr int eight[] = {3750, 5000, 6250, 2500, 7500, 1250, 0, 8750};
    static constexpr int three[] = {5000, 1667, 8333};
    if (8 == count)
        return eight[index];
    if (3 == count)
        return three[index];
    return (10000 / count * index + 5000) % 10000;
}

}  // namespace

bool SameOutline(const Outline& model, const QVector<QVector<STRUCT_DrawPoint>>& real)
{
    if (static_cast<int>(model.size()) != real.size())
        return false;
    for (int i = 0; i < real.size(); ++i) {
        const std::vector<STRUCT_DrawPoint>& line = *model[static_cast<std::size_t>(i)];
        if (static_cast<int>(line.size()) != real.at(i).size())
            return false;
        if (!line.empty() && 0 != std::memcmp(line.data(), real.at(i).constData(),
                                              line.size() * sizeof(STRUCT_DrawPoint)))
            return false;
    }
    return true;
}

void ModelMain::Construct()
{
    if (!s.algorithmLoaded) {
        s.algorithmLoaded = true;
        for (const char* entry :
             {"VxAlgo_FCU_Creat", "VxAlgo_FCU_Release", "VxAlgo_FCU_Init", "VxAlgo_FCU_Process",
              "VxAlgo_FCU_GetLibInfo", "VxAlgo_FCU_Point_Transform"})
            s.absent.erase(entry);
    }
    if (!s.Has("VxAlgo_FCU_Creat"))
        return s.Warn(
            "[  CLS_MainPlayer::CLS_MainPlayer nullptr == CLS_VxAlgoFcu::VxAlgo_FCU_Creat ]");
    handle = reinterpret_cast<const void*>(
        s.replay->Call("VxAlgo_FCU_Creat", {nullptr, nullptr}).result);
    if (nullptr == handle)
        return s.Warn("[  CLS_MainPlayer::CLS_MainPlayer CLS_VxAlgoFcu::VxAlgo_FCU_Creat fail]");
    if (!s.Has("VxAlgo_FCU_Init"))
        return s.Warn(
            "[  CLS_MainPlayer::CLS_MainPlayer nullptr == CLS_VxAlgoFcu::VxAlgo_FCU_Init ]");
    Record record(132);
    record.Int(0, 132).Int(4, 1000).Int(8, 1000).Int(12, 2).Float(20, 1.0F).Float(28, 1.0F);
    record.Float(32, 0.5F).Float(36, 0.5F);
    const int result = static_cast<int>(
        s.replay->Call("VxAlgo_FCU_Init", {handle, Argument::Address()}, {record}).result);
    if (result < 0)
        s.Warn(Text("[  CLS_MainPlayer::CLS_MainPlayer CLS_VxAlgoFcu::VxAlgo_FCU_Init fail iRet = ",
                    result));
}

bool ModelMain::Destroy()
{
    if (nullptr == handle || !s.Has("VxAlgo_FCU_Release")) {
        s.Warn("[  CLS_MainPlayer::~CLS_MainPlayer nullptr == m_pFcuHandle ]");
        return false;
    }
    s.replay->Call("VxAlgo_FCU_Release", {handle});
    handle = nullptr;
    DeleteAllPlayer();
    return true;
}

int ModelMain::CreateMainPlayer(STRUCT_FishEyeParam newCamera, const void* newWindow,
                                int streamType, const unsigned char* header, int headSize,
                                IdPlace* place)
{
    const auto refuse = [this](const char* text) {
        s.Inform(text);
        return -1;
    };
    if (nullptr == newWindow)
        return refuse("[  CLS_MainPlayer::CreateMainPlayer nullptr == _pMainWindow ]");
    if (nullptr == header)
        return refuse("[  CLS_MainPlayer::CreateMainPlayer nullptr == _pcVideoHeader ]");
    if (headSize <= 0)
        return refuse("[  CLS_MainPlayer::CreateMainPlayer _iHeadSize <= 0 ]");
    if (nullptr == place)
        return refuse("[  CLS_MainPlayer::CreateMainPlayer nullptr == _pFishMainPlyerID ]");
    if (!s.Has("RV_CreatePlayerForSpecialNeeds"))
        return refuse(
            "[  CLS_MainPlayer::CreateMainPlayer nullptr == CLS_VxPlayer_SDK::RV_CreatePlayerForSpecialNeeds]");
    if (!s.Has("RV_Play"))
        return refuse("[  CLS_MainPlayer::CreateMainPlayer nullptr == CLS_VxPlayer_SDK::RV_Play]");
    if (0 != streamType)
        return 0;
    std::string start(12, '\0');
    std::memcpy(start.data(), header, static_cast<std::size_t>(std::min(headSize, 12)));
    const Record read(start);
    if (read.Int(0) != headSize)
        return refuse("[  CLS_MainPlayer::CreateMainPlayer header.m_iSize != _iHeadSize ]");
    Record record(32);
    record.Int(0, 32).Pointer(8, newWindow).Int(16, read.Int(4)).Int(20, read.Int(8));
    const int player = static_cast<int>(
        s.replay->Call("RV_CreatePlayerForSpecialNeeds", {2, Argument::Address(), 32, 0}, {record})
            .result);
    if (player < 0) {
        s.Inform(Text(
            "[  CLS_MainPlayer::CreateMainPlayer CLS_VxPlayer_SDK::RV_CreatePlayerForSpecialNeeds < 0  iPlayerID = ",
            player));
        return -1;
    }
    id = player;
    window = newWindow;
    camera = newCamera;
    place->value = player;
    return static_cast<int>(s.replay->Call("RV_Play", {player}).result);
}

int ModelMain::EnableFishEye(bool enable)
{
    if (enable == corrected)
        return 0;
    if (id < 0)
        return s.Refuse("[  CLS_MainPlayer::EnableFishEye  m_iMainPlayId < 0 ]");
    if (!enable) {
        if (!s.Has("RV_SetFishEyeCorrectCallBack"))
            return s.Refuse(
                "[  CLS_MainPlayer::EnableFishEye nullptr == CLS_VxPlayer_SDK::RV_SetFishEyeCorrectCallBack == nullptr ]");
        if (!s.Has("RV_SetFishEyeCorrectEnable"))
            return s.Refuse(
                "[  CLS_MainPlayer::EnableFishEye nullptr == CLS_VxPlayer_SDK::RV_SetFishEyeCorrectEnable == nullptr ]");
        if (correct >= 0)
            s.replay->Call("RV_SetFishEyeCorrectCallBack", {id, correct, nullptr, self});
        s.replay->Call("RV_SetFishEyeCorrectEnable", {id, 0, nullptr}, {Record(0)});
        corrected = false;
        return 0;
    }
    if (!s.Has("RV_SetFishEyeCorrectEnable"))
        return s.Refuse(
            "[  CLS_MainPlayer::EnableFishEye  CLS_VxPlayer_SDK::RV_SetFishEyeCorrectEnable == nullptr ]");
    Record record(88);
    record.Int(0, 88).Int(4, camera.m_iCreateType).Int(8, 256);
    record.Int(12, 20).Int(16, 0).Int(20, 10000).Int(24, 0).Int(28, 10000);
    record.Int(32, 0).Int(36, 0).Int(40, 32).Int(44, 0).Int(48, 3000).Int(52, 4500);
    record.Int(56, 10000).Int(60, 200).Int(64, 200).Int(68, 0).Pointer(72, window);
    const int result = static_cast<int>(
        s.replay->Call("RV_SetFishEyeCorrectEnable", {id, 1, Argument::Address()}, {record})
            .result);
    if (result < 0)
        return s.Refuse(Text(
            "[  CLS_MainPlayer::EnableFishEye  CLS_VxPlayer_SDK::RV_SetFishEyeCorrectEnable fail iRet = ",
            result));
    correct = result;
    corrected = true;
    return 0;
}

int ModelMain::PutStreamToPlayer(int streamType, const unsigned char* data, int size)
{
    const auto refuse = [this](const char* text) {
        s.Inform(text);
        return -1;
    };
    if (id < 0)
        return refuse("[  CLS_MainPlayer::PutStreamToPlayer m_iMainPlayId < 0 ]");
    if (nullptr == data)
        return refuse("[  CLS_MainPlayer::PutStreamToPlayer nullptr == _pcStreamData ]");
    if (size <= 0)
        return refuse("[  CLS_MainPlayer::PutStreamToPlayer _iSize <= 0 ]");
    if (!s.Has("RV_PutStreamToPlayer"))
        return refuse(
            "[  CLS_MainPlayer::PutStreamToPlayer nullptr == CLS_VxPlayer_SDK::RV_PutStreamToPlayer ]");
    if (0 != streamType)
        return 0;
    return static_cast<int>(s.replay->CallBlind("RV_PutStreamToPlayer", {id, data, size}).result);
}

int ModelMain::DeleteAllSubPlayer()
{
    EnableFishEye(false);
    EnableDraw(false);
    for (auto& [type, players] : views)
        for (const ModelViewPointer& view : players)
            if (nullptr != view)
                view->Destroy();
    views.clear();
    return 0;
}

int ModelMain::DeleteAllPlayer()
{
    DeleteAllSubPlayer();
    if (id < 0)
        return s.Refuse("[  CLS_MainPlayer::DeleteAllPlayer m_iMainPlayId < 0 ]");
    if (!s.Has("RV_DeletePlayer"))
        return s.Refuse(
            "[  CLS_MainPlayer::DeleteAllPlayer nullptr == CLS_VxPlayer_SDK::RV_DeletePlayer ]");
    return static_cast<int>(s.replay->Call("RV_DeletePlayer", {id}).result);
}

int ModelMain::CreateSubPlayers(STRUCT_FishEyeParam layoutCamera,
                                const QMap<int, QVector<void*>>& windows, STRUCT_FishDrawParam draw)
{
    if (id < 0)
        return s.Refuse("[  CLS_MainPlayer::CreateSubPlayers m_iMainPlayId < 0 ]");
    if (nullptr == handle)
        return s.Refuse("[  CLS_MainPlayer::CreateSubPlayers nullptr == m_pFcuHandle ]");
    if (!s.Has("RV_SetFishEyeCorrectCallBack"))
        return s.Refuse(
            "[  CLS_MainPlayer::CreateSubPlayers nullptr == CLS_VxPlayer_SDK::RV_SetFishEyeCorrectCallBack ]");
    EnableFishEye(true);
    EnableDraw(0 != draw.m_iDrawWindowType);
    for (auto entry = windows.cbegin(); entry != windows.cend(); ++entry) {
        const int type = entry.key();
        if (entry.value().isEmpty())
            s.Warn("[  CLS_MainPlayer::CreateSubPlayers iSubPlayerType =  " + std::to_string(type) +
                   "  qvecSubWindows.isEmpty() ]");
        else if (!IsCorrectType(type) || 0 != views.count(type))
            continue;
        else if (0x100 == type)
            LayOutPtz(layoutCamera, entry.value(), draw.m_iDrawType);
        else
            LayOutOne(type, layoutCamera, entry.value().at(0), draw.m_iDrawWindowType);
    }
    return 0;
}

void ModelMain::LayOutOne(int type, STRUCT_FishEyeParam layoutCamera, void* viewWindow,
                          int drawWindowType)
{
    if (0 == type)
        EnableFishEye(false);
    Record record(88);
    record.Int(0, 88);
    if (0x500 != type)
        record.Int(4, layoutCamera.m_iCreateType)
            .Int(8, type)
            .Int(32, 8)
            .Int(44, -1)
            .Pointer(72, viewWindow);
    const auto view = std::make_shared<ModelView>(s, KindOf(type));
    IdPlace local;
    const int result = view->CreatePlayer(handle, id, record, viewWindow, &local);
    if (result < 0) {
        s.Warn(Text("[  CLS_MainPlayer::CreateSubPlayers  pSubPlayer->CreatePlayer fail iRet = ",
                    result));
        return;
    }
    if (0 != type && type == drawWindowType)
        running = true;
    views[type] = {view};
}

void ModelMain::LayOutPtz(STRUCT_FishEyeParam layoutCamera, const QVector<void*>& windows,
                          int drawType)
{
    std::vector<ModelViewPointer> made;
    for (int i = 0; i < windows.size(); ++i) {
        const auto view = std::make_shared<ModelView>(s, ModelView::Kind::Ptz);
        ModelPoint centre;
        GetDefultCenterPoint(i, windows.size(), centre);
        Record record(88);
        record.Int(0, 88).Int(4, layoutCamera.m_iCreateType);
        record.Int(8, layoutCamera.m_iDrawCorrectMode).Int(32, 8).Int(40, 32).Int(44, i);
        record.Int(48, centre.x).Int(52, centre.y).Int(56, 10000).Int(60, 200).Int(64, 200);
        record.Pointer(72, windows.at(i));
        view->CreatePtzDraw(handle, record, drawType);
        record.Int(8, 256);
        IdPlace local;
        const int result = view->CreatePlayer(handle, id, record, windows.at(i), &local);
        if (result < 0)
            s.Warn(
                Text("[  CLS_MainPlayer::CreateSubPlayers  pSubPlayer->CreatePlayer fail iRet = ",
                     result));
        else
            made.push_back(view);
    }
    views[0x100] = made;
}

int ModelMain::GetDefultCenterPoint(int index, int count, ModelPoint& point)
{
    const bool valid = 0 <= index && index <= 7 && count >= 1 && !(3 == count && index > 2);
    if (!valid)
        return s.Refuse(Text("[  CLS_MainPlayer::GetDefultCenterPoint fail _iPtzNum = ", count,
                             " ,  _iPtzId = ", index));
    ModelPoint panorama{DefaultCentre(index, count), 4500};
    return Coord360ToFE(panorama, point);
}

int ModelMain::Coord360ToFE(ModelPoint& in, ModelPoint& out)
{
    if (nullptr == handle)
        return s.Refuse("[  CLS_MainPlayer::Coord360ToFE  nullptr == m_pFcuHandle ]");
    if (!s.Has("VxAlgo_FCU_Point_Transform"))
        return s.Refuse(
            "[  CLS_MainPlayer::Coord360ToFE  nullptr == CLS_VxAlgoFcu::VxAlgo_FCU_Point_Transform ]");
    in = {std::min(in.x, 9999), std::min(in.y, 9999)};
    // A view's conversion with kind 3 where a view has its installation type.
    Record request(92);
    request.Int(0, 92).Int(4, 3).Int(8, camera.m_iDrawCorrectMode);
    request.Float(12, Fraction(in.x));
    request.Float(16, Fraction(in.y));
    request.Int(20, 0x20000).Int(24, 0x40000);
    const Event& answer =
        s.replay->Call("VxAlgo_FCU_Point_Transform",
                       {handle, Argument::Address(), Argument::Address()}, {request, Record(8)});
    const int result = static_cast<int>(answer.result);
    if (result < 0) {
        s.Warn(Text(
            "[  CLS_MainPlayer::Coord360ToFE CLS_VxAlgoFcu::VxAlgo_FCU_Point_Transform fail iRet = ",
            result));
        return result;
    }
    const Record point(answer.written);
    out = {FromFraction(point.Float(0)), FromFraction(point.Float(4))};
    return 0;
}

int ModelMain::EnableDraw(bool enable)
{
    drawEnabled = enable;
    if (!enable)
        running = false;
    return 0;
}

int ModelMain::RegisterDrawCallback(int number)
{
    if (0 == number)
        return s.Refuse("[  CLS_MainPlayer::RegisterDrawCallback nullptr == pfunCallback ]");
    callback = number;
    return 0;
}

/// The body of the overlay thread, called by hand while no thread runs: nothing has asked for
/// cycles, so it ends at once.
void ModelMain::FishEyeDrawCallBack()
{
    if (!drawEnabled)
        s.Warn("[  CLS_MainPlayer::FishEyeDrawCallBack !pclsFish->m_blDrawEnabled ]");
}

int ModelMain::DrawCalculate()
{
    if (0 == callback)
        return s.Refuse("[  CLS_MainPlayer::DrawCalculate nullptr == m_pfDrawCallback ]");
    const auto ptz = views.find(0x100);
    if (ptz == views.end())
        return s.Refuse(
            "[  CLS_MainPlayer::DrawCalculate !m_qmapSubPlayers.contains(CORRECT_TYPE_PTZ) ]");
    std::vector<Outline> outlines;
    for (const ModelViewPointer& view : ptz->second) {
        if (nullptr == view) {
            s.Warn("[  CLS_MainPlayer::DrawCalculate nullptr == pPlayer ]");
            continue;
        }
        Outline outline;
        if (const int result = view->GetPTZDrawData(outline); result < 0)
            s.Inform(Text("[  CLS_MainPlayer::DrawCalculate pPlayer->GetPTZDrawData < 0 iRet = ",
                          result));
        else
            outlines.push_back(outline);
    }
    const Event& event = s.replay->Callback("callback", {callback, 0, 0});
    bool same = static_cast<int>(outlines.size()) == event.outlines.size();
    for (int i = 0; same && i < event.outlines.size(); ++i)
        same = SameOutline(outlines[static_cast<std::size_t>(i)], event.outlines.at(i));
    if (!same)
        throw Mismatch("the outlines that the callback was given");
    return 0;
}

int ModelMain::CorrectWindowCtl(int type, STRUCT_CtlParam param, int command,
                                STRUCT_FishWindowRect rect)
{
    const auto found = views.find(type);
    if (found == views.end() || found->second.empty()) {
        s.Inform(Text(
            found == views.end()
                ? "[  CLS_MainPlayer::CorrectWindowCtl !m_qmapSubPlayers.contains(_iCorrectType) _iCorrectType = "
                : "[  CLS_MainPlayer::CorrectWindowCtl qvecPlayers.isEmpty()  _iCorrectType = ",
            type));
        return -1;
    }
    if (nullptr == found->second[0])
        return s.Refuse("[  CLS_MainPlayer::CorrectWindowCtl nullptr == qvecPlayers.at(0) ]");
    return 0 == command ? found->second[0]->Move(param.m_iX, param.m_iY, rect) : -1;
}

namespace {

/// The selection of a pan/tilt/zoom view; null where it was refused.
ModelView* Select(ModelMain& player, int index, const char* noViews, const char* outOfRange)
{
    const auto ptz = player.views.find(0x100);
    if (ptz == player.views.end())
        player.s.Warn(noViews);
    else if (index < 0 || index >= static_cast<int>(ptz->second.size()))
        player.s.Warn(Text(outOfRange, index));
    else if (nullptr == ptz->second[static_cast<std::size_t>(index)])
        player.s.Warn("[  CLS_MainPlayer::DrawWindowCtl nullptr == pPlayer ]");
    else
        return ptz->second[static_cast<std::size_t>(index)].get();
    return nullptr;
}

}  // namespace

int ModelMain::DrawWindowCtl(int index, STRUCT_CtlPointParam point, int command,
                             STRUCT_FishWindowRect rect)
{
    ModelView* const view =
        Select(*this, index,
               "[  CLS_MainPlayer::DrawWindowCtl !m_qmapSubPlayers.contains(CORRECT_TYPE_PTZ) ]",
               "[  CLS_MainPlayer::DrawWindowCtl _iPtzIndex is invalid iPtzIndex = ");
    return nullptr != view && 0 == command ? view->Move(point, rect) : -1;
}

int ModelMain::PTZWindowCtl(int index, STRUCT_CtlParam param, int command,
                            STRUCT_FishWindowRect rect)
{
    ModelView* const view =
        Select(*this, index,
               "[  CLS_MainPlayer::PTZWindowCtl !m_qmapSubPlayers.contains(CORRECT_TYPE_PTZ) ]",
               "[  CLS_MainPlayer::PTZWindowCtl _iPtzIndex is invalid iPtzIndex = ");
    if (nullptr == view)
        return -1;
    if (0 == command)
        return view->Move(param.m_iX, param.m_iY, rect);
    return 1 == command ? view->Zoom(param.m_iZoom) : 0;
}

int ModelMain::PTZCtl(int index, STRUCT_CtlParam param, int command)
{
    ModelView* const view = Select(
        *this, index, "[  CLS_MainPlayer::PTZCtl !m_qmapSubPlayers.contains(CORRECT_TYPE_PTZ) ]",
        "[  CLS_MainPlayer::PTZCtl _iPtzIndex is invalid iPtzIndex = ");
    return nullptr != view ? view->PTZCtl(param, command) : -1;
}

}  // namespace walk
