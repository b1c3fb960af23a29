#include "tests/walk/Model.h"

namespace walk {

int ModelFacade::CreateSystem()
{
    if (!s.Has("RV_CreateSystem"))
        return s.Refuse(
            "[  CLS_FishPlayer::FishPlayer_CreateSystem nullptr == CLS_VxPlayer_SDK::RV_CreateSystem ]");
    return static_cast<int>(s.replay->Call("RV_CreateSystem", {0}).result);
}

/// A fresh player that failed is forgotten: nobody can reach it any more.
int ModelFacade::Register(const ModelMainPointer& fresh, int result, const IdPlace& id)
{
    if (result < 0) {
        s.Warn(
            Text("[  CLS_FishPlayer::CreateMainPlayer pMainPlayer->CreateMainPlayer fail iRet = ",
                 result));
        return result;
    }
    players[id.value] = fresh;
    return 0;
}

int ModelFacade::CreateMainPlayer(const ModelMainPointer& fresh, STRUCT_FishEyeParam camera,
                                  const void* window, int streamType, const unsigned char* header,
                                  int headSize, IdPlace* id)
{
    if (nullptr == window)
        return s.Refuse("[  CLS_FishPlayer::CreateMainPlayer nullptr == _pMainWindow ]");
    if (nullptr == header)
        return s.Refuse("[  CLS_FishPlayer::CreateMainPlayer nullptr == _pcVideoHeader ]");
    if (headSize < 1)
        return s.Refuse("[  CLS_FishPlayer::CreateMainPlayer _iHeadSize <= 0 ]");
    if (nullptr == id)
        return s.Refuse("[  CLS_FishPlayer::CreateMainPlayer nullptr == _pFishMainPlyerID ]");
    fresh->Construct();
    const int result = fresh->CreateMainPlayer(camera, window, streamType, header, headSize, id);
    return Register(fresh, result, *id);
}

int ModelFacade::CreateMainPlayerFromFile(const ModelMainPointer& fresh, const void* window,
                                          IdPlace* id)
{
    if (nullptr == window)
        return s.Refuse("[  CLS_FishPlayer::CreateMainPlayer nullptr == _pMainWindow ]");
    if (nullptr == id)
        return s.Refuse("[  CLS_FishPlayer::CreateMainPlayer nullptr == _pFishMainPlyerID ]");
    fresh->Construct();
    return Register(fresh, -1, *id);
}

ModelMain* ModelFacade::Find(int id, const char* unknown, const char* null)
{
    const auto player = players.find(id);
    if (player == players.end())
        s.Warn(Text(unknown, id));
    else if (nullptr == player->second)
        s.Warn(Text(null, id));
    else
        return player->second.get();
    return nullptr;
}

int ModelFacade::CreateSubPlayer(STRUCT_FishEyeParam camera, int id,
                                 const QMap<int, QVector<void*>>& windows,
                                 STRUCT_FishDrawParam draw)
{
    ModelMain* const player = Find(
        id,
        "[  CLS_FishPlayer::CreateSubPlayer !m_qmapMainPlayer.contains(_iFishPlayerID) _iFishPlayerID = ",
        "[  CLS_FishPlayer::CreateSubPlayer  nullptr == m_qmapMainPlayer[_iFishPlayerID] _iFishPlayerID = ");
    return nullptr == player ? -1 : player->CreateSubPlayers(camera, windows, draw);
}

int ModelFacade::CreatePlayerFromStream(const ModelMainPointer& fresh, STRUCT_FishEyeParam camera,
                                        const void* window,
                                        const QMap<int, QVector<void*>>& windows, int streamType,
                                        const unsigned char* header, int headSize, IdPlace* id,
                                        STRUCT_FishDrawParam draw)
{
    if (nullptr == id)
        return -1;
    if (nullptr == window)
        return s.Refuse(
            "[  CLS_FishPlayer::FishPlayer_CreatePlayerFromStream  nullptr == _pMainWindow ]");
    if (nullptr == header)
        return s.Refuse(
            "[  CLS_FishPlayer::FishPlayer_CreatePlayerFromStream  nullptr == _pcVideoHeader ]");
    if (headSize <= 0)
        return s.Refuse("[  CLS_FishPlayer::FishPlayer_CreatePlayerFromStream  _iHeadSize <= 0 ]");
    int result = CreateMainPlayer(fresh, camera, window, streamType, header, headSize, id);
    if (result < 0) {
        s.Warn(Text(
            "[  CLS_FishPlayer::FishPlayer_CreatePlayerFromStream  CreateMainPlayer fail iRet = ",
            result));
        return result;
    }
    result = CreateSubPlayer(camera, id->value, windows, draw);
    if (result >= 0)
        return 0;
    s.Warn(
        Text("[  CLS_FishPlayer::FishPlayer_CreatePlayerFromStream  CreateSubPlayer fail iRet = ",
             result));
    return result;
}

int ModelFacade::CreatePlayerFromFile(const ModelMainPointer& fresh, const void* window,
                                      IdPlace* id)
{
    if (nullptr == id)
        return -1;
    if (nullptr == window)
        return s.Refuse(
            "[  CLS_FishPlayer::FishPlayer_CreatePlayerFromFile  nullptr == _pMainWindow ]");
    const int result = CreateMainPlayerFromFile(fresh, window, id);
    s.Warn(Text("[  CLS_FishPlayer::FishPlayer_CreatePlayerFromFile  CreateMainPlayer fail iRet = ",
                result));
    return result;
}

int ModelFacade::FishPlayerCreateSubPlayer(STRUCT_FishEyeParam camera, int id,
                                           const QMap<int, QVector<void*>>& windows,
                                           STRUCT_FishDrawParam draw)
{
    const int result = CreateSubPlayer(camera, id, windows, draw);
    if (result >= 0)
        return 0;
    s.Warn(Text("[  CLS_FishPlayer::FishPlayer_CreateSubPlayer  CreateSubPlayer fail iRet = ",
                result));
    return result;
}

int ModelFacade::DeleteAllPlayer(int id, bool& abandoned)
{
    ModelMain* const player = Find(
        id,
        "[  CLS_FishPlayer::FishPlayer_DeleteAllPlayer  !m_qmapMainPlayer.contains(_iFishPlayerID) _iFishPlayerID = ",
        "[  CLS_FishPlayer::FishPlayer_DeleteAllPlayer  nullptr == m_qmapMainPlayer[_iFishPlayerID] _iFishPlayerID = ");
    if (nullptr == player)
        return -1;
    abandoned = !player->Destroy();
    players.erase(id);
    return 0;
}

int ModelFacade::DeleteAllSubPlayer(int id)
{
    ModelMain* const player = Find(
        id,
        "[  CLS_FishPlayer::FishPlayer_DeleteAllSubPlayer  !m_qmapMainPlayer.contains(_iFishPlayerID) _iFishPlayerID = ",
        "[  CLS_FishPlayer::FishPlayer_DeleteAllSubPlayer  nullptr == m_qmapMainPlayer[_iFishPlayerID] _iFishPlayerID = ");
    return nullptr == player ? -1 : player->DeleteAllSubPlayer();
}

int ModelFacade::PutStreamToPlayer(int id, int streamType, const unsigned char* data, int size)
{
    if (0 != players.count(id)) {
        if (nullptr == data)
            return s.Refuse(
                "[  CLS_FishPlayer::FishPlayer_PutStreamToPlayer nullptr == _pcStreamData");
        if (size < 0)
            return s.Refuse("[  CLS_FishPlayer::FishPlayer_PutStreamToPlayer _iSize < 0");
    }
    ModelMain* const player = Find(
        id,
        "[  CLS_FishPlayer::FishPlayer_PutStreamToPlayer !m_qmapMainPlayer.contains(_iFishPlayerID) _iFishPlayerID = ",
        "[  CLS_FishPlayer::FishPlayer_PutStreamToPlayer  nullptr == m_qmapMainPlayer[_iFishPlayerID] _iFishPlayerID = ");
    return nullptr == player ? -1 : player->PutStreamToPlayer(streamType, data, size);
}

int ModelFacade::EnableFish(int id, bool enable)
{
    ModelMain* const player = Find(
        id,
        "[  CLS_FishPlayer::FishPlayer_EnableFish !m_qmapMainPlayer.contains(_iFishPlayerID) _iFishPlayerID = ",
        "[  CLS_FishPlayer::FishPlayer_EnableFish  nullptr == m_qmapMainPlayer[_iFishPlayerID] _iFishPlayerID = ");
    return nullptr == player ? -1 : player->EnableFishEye(enable);
}

int ModelFacade::EnableDraw(int id, bool enable)
{
    ModelMain* const player = Find(
        id,
        "[  CLS_FishPlayer::FishPlayer_EnableDraw !m_qmapMainPlayer.contains(_iFishPlayerID) _iFishPlayerID = ",
        "[  CLS_FishPlayer::FishPlayer_EnableDraw  nullptr == m_qmapMainPlayer[_iFishPlayerID] _iFishPlayerID = ");
    return nullptr == player ? -1 : player->EnableDraw(enable);
}

int ModelFacade::RegisterDrawCallback(int id, int number)
{
    ModelMain* const player = Find(
        id,
        "[  CLS_FishPlayer::FishPlayer_RegisterDrawCallback !m_qmapMainPlayer.contains(_iFishPlayerID) _iFishPlayerID = ",
        "[  CLS_FishPlayer::FishPlayer_RegisterDrawCallback  nullptr == m_qmapMainPlayer[_iFishPlayerID] _iFishPlayerID = ");
    return nullptr == player ? -1 : player->RegisterDrawCallback(number);
}

int ModelFacade::CorrectWindowCtl(int id, int type, STRUCT_CtlParam param, int command,
                                  STRUCT_FishWindowRect rect)
{
    ModelMain* const player = Find(
        id,
        "[  CLS_FishPlayer::FishPlayer_CorrectWindowCtl !m_qmapMainPlayer.contains(_iFishPlayerID) _iFishPlayerID = ",
        "[  CLS_FishPlayer::FishPlayer_CorrectWindowCtl nullptr == m_qmapMainPlayer[_iFishPlayerID] _iFishPlayerID = ");
    return nullptr == player ? -1 : player->CorrectWindowCtl(type, param, command, rect);
}

int ModelFacade::DrawWindowCtl(int id, int index, STRUCT_CtlPointParam point, int command,
                               STRUCT_FishWindowRect rect)
{
    ModelMain* const player = Find(
        id,
        "[  CLS_FishPlayer::FishPlayer_DrawWindowCtl !m_qmapMainPlayer.contains(_iFishPlayerID) _iFishPlayerID = ",
        "[  CLS_FishPlayer::FishPlayer_DrawWindowCtl nullptr == m_qmapMainPlayer[_iFishPlayerID] _iFishPlayerID = ");
    return nullptr == player ? -1 : player->DrawWindowCtl(index, point, command, rect);
}

int ModelFacade::PTZWindowCtl(int id, int index, STRUCT_CtlParam param, int command,
                              STRUCT_FishWindowRect rect)
{
    ModelMain* const player = Find(
        id,
        "[  CLS_FishPlayer::FishPlayer_PTZWindowCtl !m_qmapMainPlayer.contains(_iFishPlayerID) _iFishPlayerID = ",
        "[  CLS_FishPlayer::FishPlayer_PTZWindowCtl nullptr == m_qmapMainPlayer[_iFishPlayerID] _iFishPlayerID = ");
    return nullptr == player ? -1 : player->PTZWindowCtl(index, param, command, rect);
}

int ModelFacade::PTZCtl(int id, int index, STRUCT_CtlParam param, int command)
{
    ModelMain* const player = Find(
        id,
        "[  CLS_FishPlayer::FishPlayer_PTZCtl !m_qmapMainPlayer.contains(_iFishPlayerID) _iFishPlayerID = ",
        "[  CLS_FishPlayer::FishPlayer_PTZCtl nullptr == m_qmapMainPlayer[_iFishPlayerID] _iFishPlayerID = ");
    return nullptr == player ? -1 : player->PTZCtl(index, param, command);
}

}  // namespace walk
