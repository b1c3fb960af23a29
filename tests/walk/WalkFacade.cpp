// The steps of a walk that call the facade.
#include "tests/support/DeliberateLeak.h"
#include "tests/walk/Walk.h"

namespace walk {

namespace {

constexpr const char* CONST_ABANDONED =
    "players and views whose creation fails are neither kept nor destroyed";

unsigned char s_stream[4096];

}  // namespace

void Walk::FacadeSystem()
{
    Doing("FishPlayer_CreateSystem, FishPlayer_DeleteSystem, GetInstance");
    Check(m_facade->FishPlayer_CreateSystem(), [this] { return m_modelFacade.CreateSystem(); });
    Check(m_facade->FishPlayer_DeleteSystem(), [] { return 0; });
    const bool one = CLS_FishPlayer::GetInstance() == CLS_FishPlayer::GetInstance();
    Check(one && nullptr != CLS_FishPlayer::GetInstance() ? 0 : 1, [] { return 0; });
    {
        const CLS_FishPlayer other;
    }
    Check(0, [this] {
        m_modelFacade.CreateSystem();
        return 0;
    });
}

/// Runs a creation and its model. A player that another pushes out of the registry lives on.
void Walk::CreateInRegistry(const std::function<int()>& create,
                            const std::function<int(const ModelMainPointer&)>& model)
{
    const QMap<int, CLS_MainPlayer*> before = m_facade->m_qmapMainPlayer;
    const std::map<int, ModelMainPointer> modelBefore = m_modelFacade.players;
    const int result = create();
    CLS_MainPlayer* const created = m_facade->m_qmapMainPlayer.value(m_id);
    CLS_MainPlayer* const replaced = before.value(m_id);
    const auto fresh = std::make_shared<ModelMain>(m_setting);
    fresh->self = created;
    Check(result, [&] { return model(fresh); });
    if (created != replaced && nullptr != replaced)
        m_replaced.push_back({replaced, modelBefore.at(m_id)});
}

void Walk::CheckId(const IdPlace& place) const
{
    if (place.value != m_id)
        throw Mismatch("the id written is " + std::to_string(m_id) + " and not " +
                       std::to_string(place.value));
}

void Walk::FacadeCreateMain()
{
    const STRUCT_FishEyeParam camera = m_values.Camera();
    void* const window = m_values.Window();
    const int streamType = m_source.OneIn(12) ? m_values.Int() : 0;
    unsigned char* const header = Header();
    IdPlace place;
    int* const id = IdPointer(place);
    Doing("CreateMainPlayer", {streamType, m_headSize, m_id});
    std::optional<DeliberateLeak> leak;
    if (MayFail({}) || !m_headerFits)
        leak.emplace(CONST_ABANDONED);
    CreateInRegistry(
        [&] {
            return m_facade->CreateMainPlayer(camera, window, streamType, header, m_headSize, id);
        },
        [&](const ModelMainPointer& fresh) {
            return m_modelFacade.CreateMainPlayer(fresh, camera, window, streamType, header,
                                                  m_headSize, nullptr == id ? nullptr : &place);
        });
    CheckId(place);
}

void Walk::FacadeCreateFromFile()
{
    const STRUCT_FishEyeParam camera = m_values.Camera();
    void* const window = m_values.Window();
    IdPlace place;
    int* const id = IdPointer(place);
    IdPlace* const modelId = nullptr == id ? nullptr : &place;
    const DeliberateLeak leak(CONST_ABANDONED);
    if (m_source.Coin()) {
        Doing("CreateMainPlayer from a file", {m_id});
        CreateInRegistry(
            [&] { return m_facade->CreateMainPlayer(camera, window, QString("a file"), id); },
            [&](const ModelMainPointer& fresh) {
                return m_modelFacade.CreateMainPlayerFromFile(fresh, window, modelId);
            });
    } else {
        Doing("FishPlayer_CreatePlayerFromFile", {m_id});
        const QMap<int, QVector<void*>> windows = Windows();
        const STRUCT_FishDrawParam draw = DrawParam(windows);
        QMap<int, QVector<int>> ids;
        CreateInRegistry(
            [&] {
                return m_facade->FishPlayer_CreatePlayerFromFile(camera, window, windows,
                                                                 QString("a file"), id, ids, draw);
            },
            [&](const ModelMainPointer& fresh) {
                return m_modelFacade.CreatePlayerFromFile(fresh, window, modelId);
            });
    }
    CheckId(place);
}

void Walk::FacadeCreateFromStream()
{
    const STRUCT_FishEyeParam camera = m_values.Camera();
    void* const window = m_values.Window();
    const QMap<int, QVector<void*>> windows = Windows();
    const int streamType = m_source.OneIn(12) ? m_values.Int() : 0;
    unsigned char* const header = Header();
    IdPlace place;
    int* const id = IdPointer(place);
    const STRUCT_FishDrawParam draw = DrawParam(windows);
    const QMap<int, QVector<int>> before{{m_id, {1, 2}}};
    QMap<int, QVector<int>> ids = before;
    Doing("FishPlayer_CreatePlayerFromStream", {streamType, m_headSize, m_id, windows.size()});
    std::optional<DeliberateLeak> leak;
    if (MayFail(windows) || !m_headerFits)
        leak.emplace(CONST_ABANDONED);
    CreateInRegistry(
        [&] {
            return m_facade->FishPlayer_CreatePlayerFromStream(camera, window, windows, streamType,
                                                               header, m_headSize, id, ids, draw);
        },
        [&](const ModelMainPointer& fresh) {
            return m_modelFacade.CreatePlayerFromStream(fresh, camera, window, windows, streamType,
                                                        header, m_headSize,
                                                        nullptr == id ? nullptr : &place, draw);
        });
    CheckId(place);
    Check(ids == before ? 0 : 1, [] { return 0; });
}

void Walk::FacadeCreateSub()
{
    const STRUCT_FishEyeParam camera = m_values.Camera();
    const int id = Id();
    const QMap<int, QVector<void*>> windows = Windows();
    const STRUCT_FishDrawParam draw = DrawParam(windows);
    const QMap<int, QVector<int>> before{{id, {3}}};
    QMap<int, QVector<int>> ids = before;
    const bool outer = m_source.Coin();
    Doing(outer ? "FishPlayer_CreateSubPlayer" : "CreateSubPlayer", {id, windows.size()});
    std::optional<DeliberateLeak> leak;
    if (MayFail(windows))
        leak.emplace(CONST_ABANDONED);
    const int result = outer ? m_facade->FishPlayer_CreateSubPlayer(camera, id, windows, ids, draw)
                             : m_facade->CreateSubPlayer(camera, id, windows, ids, draw);
    Check(result, [&] {
        return outer ? m_modelFacade.FishPlayerCreateSubPlayer(camera, id, windows, draw)
                     : m_modelFacade.CreateSubPlayer(camera, id, windows, draw);
    });
    Check(ids == before ? 0 : 1, [] { return 0; });
}

void Walk::FacadeDeleteAll()
{
    const int id = Id();
    Doing("FishPlayer_DeleteAllPlayer", {id});
    const auto known = m_modelFacade.players.find(id);
    std::vector<View> views;
    if (known != m_modelFacade.players.end() && nullptr != known->second) {
        Spare(*known->second);
        views = ViewsOf({m_facade->m_qmapMainPlayer.value(id), known->second});
    }
    bool abandoned = false;
    Check(m_facade->FishPlayer_DeleteAllPlayer(id),
          [&] { return m_modelFacade.DeleteAllPlayer(id, abandoned); });
    if (abandoned)
        m_abandoned.insert(m_abandoned.end(), views.begin(), views.end());
}

void Walk::FacadeDeleteSub()
{
    const int id = Id();
    Doing("FishPlayer_DeleteAllSubPlayer", {id});
    Check(m_facade->FishPlayer_DeleteAllSubPlayer(id),
          [&] { return m_modelFacade.DeleteAllSubPlayer(id); });
}

void Walk::FacadePutStream()
{
    const int id = Id();
    const int streamType = m_source.OneIn(8) ? m_values.Int() : 0;
    unsigned char* const data = m_source.OneIn(16) ? nullptr : s_stream;
    const int size = m_values.Int();
    Doing("FishPlayer_PutStreamToPlayer", {id, streamType, nullptr != data, size});
    Check(m_facade->FishPlayer_PutStreamToPlayer(id, streamType, data, size),
          [&] { return m_modelFacade.PutStreamToPlayer(id, streamType, data, size); });
}

void Walk::FacadeSwitches()
{
    const int id = Id();
    const int number = m_source.Below(8);
    const bool on = m_source.Coin();
    Doing("a switch of the facade", {id, number, on});
    switch (number) {
    case 0:
        return Check(m_facade->FishPlayer_StartTrack(id), [] { return -1; });
    case 1:
        return Check(m_facade->FishPlayer_StopTrack(id), [] { return -1; });
    case 2:
    case 3:
        return Check(m_facade->FishPlayer_EnableFish(id, on),
                     [&] { return m_modelFacade.EnableFish(id, on); });
    case 4:
    case 5:
        return Check(m_facade->FishPlayer_EnableDraw(id, on),
                     [&] { return m_modelFacade.EnableDraw(id, on); });
    default: {
        const int callback = m_source.OneIn(8) ? 0 : 1 + m_source.Below(2);
        const DrawCallback function = 0 == callback ? nullptr : World::Callback(callback);
        return Check(m_facade->FishPlayer_RegisterDrawCallback(id, function),
                     [&] { return m_modelFacade.RegisterDrawCallback(id, callback); });
    }
    }
}

void Walk::FacadeCorrectWindow()
{
    const int id = Id();
    const int type = m_values.CorrectType();
    const STRUCT_CtlParam step = m_values.Step();
    const n_CtlCmd command = m_values.WindowCommand();
    const STRUCT_FishWindowRect rect = m_values.Rect();
    Doing("FishPlayer_CorrectWindowCtl",
          {id, type, step.m_iX, step.m_iY, command, rect.m_iWidth, rect.m_iHeight});
    Check(m_facade->FishPlayer_CorrectWindowCtl(id, type, step, command, rect),
          [&] { return m_modelFacade.CorrectWindowCtl(id, type, step, command, rect); });
}

void Walk::FacadeDrawWindow()
{
    const int id = Id();
    const int index = Index();
    const STRUCT_CtlPointParam drag = m_values.Drag();
    const n_CtlCmd command = m_values.WindowCommand();
    const STRUCT_FishWindowRect rect = m_values.Rect();
    Doing("FishPlayer_DrawWindowCtl", {id, index, drag.m_iStartX, drag.m_iStartY, drag.m_iEndX,
                                       drag.m_iEndY, command, rect.m_iWidth, rect.m_iHeight});
    Check(m_facade->FishPlayer_DrawWindowCtl(id, index, drag, command, rect),
          [&] { return m_modelFacade.DrawWindowCtl(id, index, drag, command, rect); });
}

void Walk::FacadePtzWindow()
{
    const int id = Id();
    const int index = Index();
    const STRUCT_CtlParam step = m_values.Step();
    const n_CtlCmd command = m_values.WindowCommand();
    const STRUCT_FishWindowRect rect = m_values.Rect();
    Doing("FishPlayer_PTZWindowCtl",
          {id, index, step.m_iX, step.m_iY, step.m_iZoom, command, rect.m_iWidth, rect.m_iHeight});
    Check(m_facade->FishPlayer_PTZWindowCtl(id, index, step, command, rect),
          [&] { return m_modelFacade.PTZWindowCtl(id, index, step, command, rect); });
}

void Walk::FacadePtz()
{
    const int id = Id();
    const int index = Index();
    const STRUCT_CtlParam step = m_values.Step();
    const n_PTZCtlCmd command = m_values.ButtonCommand();
    Doing("FishPlayer_PTZCtl", {id, index, step.m_iX, step.m_iY, step.m_iZoom, command});
    Check(m_facade->FishPlayer_PTZCtl(id, index, step, command),
          [&] { return m_modelFacade.PTZCtl(id, index, step, command); });
}

}  // namespace walk
