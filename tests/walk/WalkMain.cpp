// The steps of a walk that call a main player.
#include "tests/support/DeliberateLeak.h"
#include "tests/walk/Walk.h"

namespace walk {

namespace {

unsigned char s_stream[4096];

}  // namespace

void Walk::MainConstruct()
{
    if (m_mains.size() >= 3)
        return MainDestroy();
    Doing("CLS_MainPlayer");
    const auto model = std::make_shared<ModelMain>(m_setting);
    m_mains.push_back({new CLS_MainPlayer, model});
    model->self = m_mains.back().player;
    Check(0, [&] {
        model->Construct();
        return 0;
    });
}

void Walk::MainDestroy()
{
    if (m_mains.empty())
        return;
    Doing("~CLS_MainPlayer");
    const Main main = m_mains.front();
    m_mains.erase(m_mains.begin());
    Spare(*main.model);
    const std::vector<View> views = ViewsOf(main);
    delete main.player;
    bool abandoned = false;
    Check(0, [&] {
        abandoned = !main.model->Destroy();
        return 0;
    });
    if (abandoned)
        m_abandoned.insert(m_abandoned.end(), views.begin(), views.end());
}

void Walk::MainCreate()
{
    const Main main = AnyMain();
    if (nullptr == main.player)
        return;
    const STRUCT_FishEyeParam camera = m_values.Camera();
    void* const window = m_values.Window();
    const int streamType = m_source.OneIn(12) ? m_values.Int() : 0;
    unsigned char* const header = Header();
    IdPlace place;
    int* const id = IdPointer(place);
    IdPlace* const modelId = nullptr == id ? nullptr : &place;
    if (m_source.OneIn(12)) {
        Doing("CLS_MainPlayer::CreateMainPlayer from a file");
        Check(main.player->CreateMainPlayer(camera, window, QString("a file"), id),
              [] { return -1; });
    } else {
        Doing("CLS_MainPlayer::CreateMainPlayer", {streamType, m_headSize, m_id});
        Check(main.player->CreateMainPlayer(camera, window, streamType, header, m_headSize, id),
              [&] {
                  return main.model->CreateMainPlayer(camera, window, streamType, header,
                                                      m_headSize, modelId);
              });
    }
    CheckId(place);
}

void Walk::MainLayOut()
{
    const Main main = AnyMain();
    if (nullptr == main.player)
        return;
    const STRUCT_FishEyeParam camera = m_values.Camera();
    const QMap<int, QVector<void*>> windows = Windows();
    const STRUCT_FishDrawParam draw = DrawParam(windows);
    const QMap<int, QVector<int>> before{{1, {2}}};
    QMap<int, QVector<int>> ids = before;
    const int unused = m_values.Int();
    Doing("CLS_MainPlayer::CreateSubPlayers", {windows.size(), draw.m_iDrawWindowType});
    std::optional<DeliberateLeak> leak;
    if (MayFail(windows))
        leak.emplace("views whose creation fails are neither kept nor destroyed");
    Check(main.player->CreateSubPlayers(camera, unused, windows, ids, draw),
          [&] { return main.model->CreateSubPlayers(camera, windows, draw); });
    Check(ids == before ? 0 : 1, [] { return 0; });
}

void Walk::MainDelete()
{
    const Main main = AnyMain();
    if (nullptr == main.player)
        return;
    if (m_source.Coin()) {
        Doing("CLS_MainPlayer::DeleteAllSubPlayer");
        return Check(main.player->DeleteAllSubPlayer(),
                     [&] { return main.model->DeleteAllSubPlayer(); });
    }
    Doing("CLS_MainPlayer::DeleteAllPlayer");
    Check(main.player->DeleteAllPlayer(), [&] { return main.model->DeleteAllPlayer(); });
}

void Walk::MainPutStream()
{
    const Main main = AnyMain();
    if (nullptr == main.player)
        return;
    const int streamType = m_source.OneIn(8) ? m_values.Int() : 0;
    unsigned char* const data = m_source.OneIn(16) ? nullptr : s_stream;
    const int size = m_values.Int();
    Doing("CLS_MainPlayer::PutStreamToPlayer", {streamType, nullptr != data, size});
    Check(main.player->PutStreamToPlayer(streamType, data, size),
          [&] { return main.model->PutStreamToPlayer(streamType, data, size); });
}

void Walk::MainSwitches()
{
    const Main main = AnyMain();
    if (nullptr == main.player)
        return;
    const int number = m_source.Below(8);
    const bool on = m_source.Coin();
    Doing("a switch of CLS_MainPlayer", {number, on});
    switch (number) {
    case 0:
        return Check(main.player->StartTrack(), [] { return -1; });
    case 1:
        return Check(main.player->StopTrack(), [] { return -1; });
    case 2:
    case 3:
        return Check(main.player->EnableFishEye(on), [&] { return main.model->EnableFishEye(on); });
    case 4:
    case 5:
        return Check(main.player->EnableDraw(on), [&] { return main.model->EnableDraw(on); });
    default: {
        const int callback = m_source.OneIn(8) ? 0 : 1 + m_source.Below(2);
        const DrawCallback function = 0 == callback ? nullptr : World::Callback(callback);
        return Check(main.player->RegisterDrawCallback(function),
                     [&] { return main.model->RegisterDrawCallback(callback); });
    }
    }
}

/// Cycles of the overlay, called by hand so that they come in order; and the thread's own.
void Walk::MainDraw()
{
    const Main main = AnyMain();
    if (nullptr == main.player)
        return;
    const ModelMain& model = *main.model;
    if (model.running && 0 != model.callback && 0 != model.views.count(0x100)) {
        Doing("waiting for the overlay thread");
        World::AwaitCycle();
    }
    if (m_source.OneIn(8) && !model.running) {
        Doing("CLS_MainPlayer::FishEyeDrawCallBack");
        CLS_MainPlayer::FishEyeDrawCallBack(main.player);
        return Check(0, [&] {
            main.model->FishEyeDrawCallBack();
            return 0;
        });
    }
    if (m_source.OneIn(16)) {
        Doing("CLS_MainPlayer::FishEyeDrawCallBack of nobody");
        CLS_MainPlayer::FishEyeDrawCallBack(nullptr);
        return Check(0, [&] {
            m_setting.Warn("[  CLS_MainPlayer::FishEyeDrawCallBack nullptr == pclsFish ]");
            return 0;
        });
    }
    Doing("CLS_MainPlayer::DrawCalculate");
    Check(main.player->DrawCalculate(), [&] { return main.model->DrawCalculate(); });
}

void Walk::MainPoints()
{
    const Main main = AnyMain();
    if (nullptr == main.player)
        return;
    STRUCT_FecPoint point = {m_values.Int(), m_values.Int()};
    ModelPoint model = {point.iX, point.iY};
    if (m_source.Coin()) {
        const int index = m_source.OneIn(8) ? m_values.Int() : m_source.Below(10);
        const int count = m_source.OneIn(8) ? m_values.Int() : m_source.Below(10);
        Doing("GetDefultCenterPoint", {index, count});
        Check(main.player->GetDefultCenterPoint(index, count, point),
              [&] { return main.model->GetDefultCenterPoint(index, count, model); });
        return CheckPoint(point, model);
    }
    STRUCT_FecPoint in = {m_values.Int(), m_values.Int()};
    ModelPoint modelIn = {in.iX, in.iY};
    Doing("Coord360ToFE", {in.iX, in.iY});
    Check(main.player->Coord360ToFE(in, point),
          [&] { return main.model->Coord360ToFE(modelIn, model); });
    CheckPoint(in, modelIn);
    CheckPoint(point, model);
}

void Walk::CheckPoint(STRUCT_FecPoint real, ModelPoint model)
{
    if (real.iX != model.x || real.iY != model.y)
        throw Mismatch("expected the point (" + std::to_string(model.x) + ", " +
                       std::to_string(model.y) + ") and got (" + std::to_string(real.iX) + ", " +
                       std::to_string(real.iY) + ")");
}

void Walk::MainCorrectWindow()
{
    const Main main = AnyMain();
    if (nullptr == main.player)
        return;
    const int type = m_values.CorrectType();
    const STRUCT_CtlParam step = m_values.Step();
    const n_CtlCmd command = m_values.WindowCommand();
    const STRUCT_FishWindowRect rect = m_values.Rect();
    Doing("CLS_MainPlayer::CorrectWindowCtl",
          {type, step.m_iX, step.m_iY, command, rect.m_iWidth, rect.m_iHeight});
    Check(main.player->CorrectWindowCtl(type, step, command, rect),
          [&] { return main.model->CorrectWindowCtl(type, step, command, rect); });
}

void Walk::MainDrawWindow()
{
    const Main main = AnyMain();
    if (nullptr == main.player)
        return;
    const int index = Index();
    const STRUCT_CtlPointParam drag = m_values.Drag();
    const n_CtlCmd command = m_values.WindowCommand();
    const STRUCT_FishWindowRect rect = m_values.Rect();
    Doing("CLS_MainPlayer::DrawWindowCtl", {index, drag.m_iStartX, drag.m_iStartY, drag.m_iEndX,
                                            drag.m_iEndY, command, rect.m_iWidth, rect.m_iHeight});
    Check(main.player->DrawWindowCtl(index, drag, command, rect),
          [&] { return main.model->DrawWindowCtl(index, drag, command, rect); });
}

void Walk::MainPtzWindow()
{
    const Main main = AnyMain();
    if (nullptr == main.player)
        return;
    const int index = Index();
    const STRUCT_CtlParam step = m_values.Step();
    const n_CtlCmd command = m_values.WindowCommand();
    const STRUCT_FishWindowRect rect = m_values.Rect();
    Doing("CLS_MainPlayer::PTZWindowCtl",
          {index, step.m_iX, step.m_iY, step.m_iZoom, command, rect.m_iWidth, rect.m_iHeight});
    Check(main.player->PTZWindowCtl(index, step, command, rect),
          [&] { return main.model->PTZWindowCtl(index, step, command, rect); });
}

void Walk::MainPtz()
{
    const Main main = AnyMain();
    if (nullptr == main.player)
        return;
    const int index = Index();
    const STRUCT_CtlParam step = m_values.Step();
    const n_PTZCtlCmd command = m_values.ButtonCommand();
    Doing("CLS_MainPlayer::PTZCtl", {index, step.m_iX, step.m_iY, step.m_iZoom, command});
    Check(main.player->PTZCtl(index, step, command),
          [&] { return main.model->PTZCtl(index, step, command); });
}

}  // namespace walk
