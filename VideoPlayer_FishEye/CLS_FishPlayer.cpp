#include "VideoPlayer_FishEye/CLS_FishPlayer.h"

#include "VideoPlayer_FishEye/FishEyeLog.h"
#include "VideoPlayer_FishEye/feplayer/CLS_MainPlayer.h"
#include "VideoPlayer_Vx/CLS_VxPlayer_SDK.h"

using VX_Framework::VideoPlayer::CLS_VxPlayer_SDK;

CLS_FishPlayer* CLS_FishPlayer::GetInstance()
{
    static CLS_FishPlayer player;
    return &player;
}

CLS_FishPlayer::CLS_FishPlayer()
{
    FishPlayer_CreateSystem();
}

CLS_FishPlayer::~CLS_FishPlayer() = default;

int CLS_FishPlayer::FishPlayer_CreateSystem()
{
    if (!CLS_VxPlayer_SDK::LoadLib("libplaysdk.dylib"))
        return s_warning.Refuse(
            "[  CLS_FishPlayer::FishPlayer_CreateSystem CLS_VxPlayer_SDK::LoadLib fail ]");
    if (nullptr == CLS_VxPlayer_SDK::RV_CreateSystem)
        return s_warning.Refuse(
            "[  CLS_FishPlayer::FishPlayer_CreateSystem nullptr == CLS_VxPlayer_SDK::RV_CreateSystem ]");
    return CLS_VxPlayer_SDK::RV_CreateSystem(0);
}

int CLS_FishPlayer::FishPlayer_DeleteSystem()
{
    return 0;
}

/// The player of an id, or null after one of the operation's two lines.
CLS_MainPlayer* CLS_FishPlayer::FindPlayer(int _iFishPlayerID, const char* _pcUnknown,
                                           const char* _pcNull) const
{
    const auto it = m_qmapMainPlayer.constFind(_iFishPlayerID);
    if (m_qmapMainPlayer.constEnd() == it) {
        s_warning.Write(_pcUnknown, _iFishPlayerID, " ]");
        return nullptr;
    }
    if (nullptr == *it)
        s_warning.Write(_pcNull, _iFishPlayerID, " ]");
    return *it;
}

int CLS_FishPlayer::CreateMainPlayer(const STRUCT_FishEyeParam& _stParam, const void* _pMainWindow,
                                     int _iStreamType, unsigned char* _pcVideoHeader,
                                     int _iHeadSize, int* _pFishMainPlyerID)
{
    if (nullptr == _pMainWindow)
        return s_warning.Refuse("[  CLS_FishPlayer::CreateMainPlayer nullptr == _pMainWindow ]");
    if (nullptr == _pcVideoHeader)
        return s_warning.Refuse("[  CLS_FishPlayer::CreateMainPlayer nullptr == _pcVideoHeader ]");
    if (_iHeadSize < 1)
        return s_warning.Refuse("[  CLS_FishPlayer::CreateMainPlayer _iHeadSize <= 0 ]");
    if (nullptr == _pFishMainPlyerID)
        return s_warning.Refuse(
            "[  CLS_FishPlayer::CreateMainPlayer nullptr == _pFishMainPlyerID ]");
    auto* const pMainPlayer = new CLS_MainPlayer;
    const int iRet = pMainPlayer->CreateMainPlayer(_stParam, _pMainWindow, _iStreamType,
                                                   _pcVideoHeader, _iHeadSize, _pFishMainPlyerID);
    return Register(pMainPlayer, iRet, _pFishMainPlyerID);
}

int CLS_FishPlayer::CreateMainPlayer(const STRUCT_FishEyeParam& _stParam, const void* _pMainWindow,
                                     const QString& _qstrPath, int* _pFishMainPlyerID)
{
    if (nullptr == _pMainWindow)
        return s_warning.Refuse("[  CLS_FishPlayer::CreateMainPlayer nullptr == _pMainWindow ]");
    if (nullptr == _pFishMainPlyerID)
        return s_warning.Refuse(
            "[  CLS_FishPlayer::CreateMainPlayer nullptr == _pFishMainPlyerID ]");
    auto* const pMainPlayer = new CLS_MainPlayer;
    const int iRet =
        pMainPlayer->CreateMainPlayer(_stParam, _pMainWindow, _qstrPath, _pFishMainPlyerID);
    return Register(pMainPlayer, iRet, _pFishMainPlyerID);
}

/// The end of both creations.
int CLS_FishPlayer::Register(CLS_MainPlayer* _pMainPlayer, int _iRet, const int* _piFishPlayerID)
{
    // sic: a player that failed is left as it is; its engine player, if any, is not deleted either
    if (_iRet < 0)
        return s_warning.PassBack(
            _iRet,
            "[  CLS_FishPlayer::CreateMainPlayer pMainPlayer->CreateMainPlayer fail iRet = ");
    m_qmapMainPlayer[*_piFishPlayerID] = _pMainPlayer;  // sic: a player that was there is not told
    return 0;
}

int CLS_FishPlayer::CreateSubPlayer(const STRUCT_FishEyeParam& _stParam, int _iFishPlayerID,
                                    const QMap<int, QVector<void*>>& _qmapWindows,
                                    QMap<int, QVector<int>>& _qmapIds,
                                    const STRUCT_FishDrawParam& _stDrawParam)
{
    CLS_MainPlayer* const pMainPlayer = FindPlayer(
        _iFishPlayerID,
        "[  CLS_FishPlayer::CreateSubPlayer !m_qmapMainPlayer.contains(_iFishPlayerID) _iFishPlayerID = ",
        "[  CLS_FishPlayer::CreateSubPlayer  nullptr == m_qmapMainPlayer[_iFishPlayerID] _iFishPlayerID = ");
    if (nullptr == pMainPlayer)
        return -1;
    return pMainPlayer->CreateSubPlayers(_stParam, _iFishPlayerID, _qmapWindows, _qmapIds,
                                         _stDrawParam);
}

/// The views of all three creations; a refusal is reported under the operation's text.
int CLS_FishPlayer::AddViews(const char* _pcFail, const STRUCT_FishEyeParam& _stParam,
                             int _iFishPlayerID, const QMap<int, QVector<void*>>& _qmapWindows,
                             QMap<int, QVector<int>>& _qmapIds,
                             const STRUCT_FishDrawParam& _stDrawParam)
{
    const int iRet =
        CreateSubPlayer(_stParam, _iFishPlayerID, _qmapWindows, _qmapIds, _stDrawParam);
    return iRet < 0 ? s_warning.PassBack(iRet, _pcFail) : 0;
}

int CLS_FishPlayer::FishPlayer_CreatePlayerFromStream(
    const STRUCT_FishEyeParam& _stParam, const void* _pMainWindow,
    const QMap<int, QVector<void*>>& _qmapWindows, int _iStreamType, unsigned char* _pcVideoHeader,
    int _iHeadSize, int* _piFishPlayerID, QMap<int, QVector<int>>& _qmapIds,
    const STRUCT_FishDrawParam& _stDrawParam)
{
    if (nullptr == _piFishPlayerID)
        return -1;  // sic: without a line, whatever else is wrong
    if (nullptr == _pMainWindow)
        return s_warning.Refuse(
            "[  CLS_FishPlayer::FishPlayer_CreatePlayerFromStream  nullptr == _pMainWindow ]");
    if (nullptr == _pcVideoHeader)
        return s_warning.Refuse(
            "[  CLS_FishPlayer::FishPlayer_CreatePlayerFromStream  nullptr == _pcVideoHeader ]");
    if (_iHeadSize <= 0)
        return s_warning.Refuse(
            "[  CLS_FishPlayer::FishPlayer_CreatePlayerFromStream  _iHeadSize <= 0 ]");
    const int iRet = CreateMainPlayer(_stParam, _pMainWindow, _iStreamType, _pcVideoHeader,
                                      _iHeadSize, _piFishPlayerID);
    if (iRet < 0)
        return s_warning.PassBack(
            iRet,
            "[  CLS_FishPlayer::FishPlayer_CreatePlayerFromStream  CreateMainPlayer fail iRet = ");
    return AddViews(
        "[  CLS_FishPlayer::FishPlayer_CreatePlayerFromStream  CreateSubPlayer fail iRet = ",
        _stParam, *_piFishPlayerID, _qmapWindows, _qmapIds, _stDrawParam);
}

int CLS_FishPlayer::FishPlayer_CreatePlayerFromFile(const STRUCT_FishEyeParam& _stParam,
                                                    const void* _pMainWindow,
                                                    const QMap<int, QVector<void*>>& _qmapWindows,
                                                    const QString& _qstrPath, int* _piFishPlayerID,
                                                    QMap<int, QVector<int>>& _qmapIds,
                                                    const STRUCT_FishDrawParam& _stDrawParam)
{
    if (nullptr == _piFishPlayerID)
        return -1;
    if (nullptr == _pMainWindow)
        return s_warning.Refuse(
            "[  CLS_FishPlayer::FishPlayer_CreatePlayerFromFile  nullptr == _pMainWindow ]");
    const int iRet = CreateMainPlayer(_stParam, _pMainWindow, _qstrPath, _piFishPlayerID);
    static constexpr char CONST_NO_VIEWS[] =
        "[  CLS_FishPlayer::FishPlayer_CreatePlayerFromFile  CreateSubPlayer fail iRet = ";
    if (iRet < 0)  // coverage: excluded, never false: the main player refuses every file
        return s_warning.PassBack(
            iRet,
            "[  CLS_FishPlayer::FishPlayer_CreatePlayerFromFile  CreateMainPlayer fail iRet = ");
    return AddViews(CONST_NO_VIEWS, _stParam,        // coverage: excluded, never reached
                    *_piFishPlayerID, _qmapWindows,  // coverage: excluded, never reached
                    _qmapIds, _stDrawParam);         // coverage: excluded, never reached
}

int CLS_FishPlayer::FishPlayer_CreateSubPlayer(const STRUCT_FishEyeParam& _stParam,
                                               int _iFishPlayerID,
                                               const QMap<int, QVector<void*>>& _qmapWindows,
                                               QMap<int, QVector<int>>& _qmapIds,
                                               const STRUCT_FishDrawParam& _stDrawParam)
{
    return AddViews("[  CLS_FishPlayer::FishPlayer_CreateSubPlayer  CreateSubPlayer fail iRet = ",
                    _stParam, _iFishPlayerID, _qmapWindows, _qmapIds, _stDrawParam);
}

int CLS_FishPlayer::FishPlayer_DeleteAllPlayer(int _iFishPlayerID)
{
    CLS_MainPlayer* const pMainPlayer = FindPlayer(
        _iFishPlayerID,
        "[  CLS_FishPlayer::FishPlayer_DeleteAllPlayer  !m_qmapMainPlayer.contains(_iFishPlayerID) _iFishPlayerID = ",
        "[  CLS_FishPlayer::FishPlayer_DeleteAllPlayer  nullptr == m_qmapMainPlayer[_iFishPlayerID] _iFishPlayerID = ");
    if (nullptr == pMainPlayer)
        return -1;
    delete pMainPlayer;
    m_qmapMainPlayer.remove(_iFishPlayerID);
    return 0;
}

int CLS_FishPlayer::FishPlayer_DeleteAllSubPlayer(int _iFishPlayerID)
{
    CLS_MainPlayer* const pMainPlayer = FindPlayer(
        _iFishPlayerID,
        "[  CLS_FishPlayer::FishPlayer_DeleteAllSubPlayer  !m_qmapMainPlayer.contains(_iFishPlayerID) _iFishPlayerID = ",
        "[  CLS_FishPlayer::FishPlayer_DeleteAllSubPlayer  nullptr == m_qmapMainPlayer[_iFishPlayerID] _iFishPlayerID = ");
    return nullptr == pMainPlayer ? -1 : pMainPlayer->DeleteAllSubPlayer();
}

int CLS_FishPlayer::FishPlayer_PutStreamToPlayer(int _iFishPlayerID, int _iStreamType,
                                                 unsigned char* _pcStreamData, int _iSize)
{
    const auto it = m_qmapMainPlayer.constFind(_iFishPlayerID);
    if (m_qmapMainPlayer.constEnd() == it)
        return s_warning.Refuse(
            "[  CLS_FishPlayer::FishPlayer_PutStreamToPlayer !m_qmapMainPlayer.contains(_iFishPlayerID) _iFishPlayerID = ",
            _iFishPlayerID, " ]");
    // sic: neither text has its closing bracket, and a size of 0 is left to the main player
    if (nullptr == _pcStreamData)
        return s_warning.Refuse(
            "[  CLS_FishPlayer::FishPlayer_PutStreamToPlayer nullptr == _pcStreamData");
    if (_iSize < 0)
        return s_warning.Refuse("[  CLS_FishPlayer::FishPlayer_PutStreamToPlayer _iSize < 0");
    if (nullptr == *it)
        return s_warning.Refuse(
            "[  CLS_FishPlayer::FishPlayer_PutStreamToPlayer  nullptr == m_qmapMainPlayer[_iFishPlayerID] _iFishPlayerID = ",
            _iFishPlayerID, " ]");
    return (*it)->PutStreamToPlayer(_iStreamType, _pcStreamData, _iSize);
}

int CLS_FishPlayer::FishPlayer_EnableFish(int _iFishPlayerID, bool _blEnable)
{
    CLS_MainPlayer* const pMainPlayer = FindPlayer(
        _iFishPlayerID,
        "[  CLS_FishPlayer::FishPlayer_EnableFish !m_qmapMainPlayer.contains(_iFishPlayerID) _iFishPlayerID = ",
        "[  CLS_FishPlayer::FishPlayer_EnableFish  nullptr == m_qmapMainPlayer[_iFishPlayerID] _iFishPlayerID = ");
    return nullptr == pMainPlayer ? -1 : pMainPlayer->EnableFishEye(_blEnable);
}

int CLS_FishPlayer::FishPlayer_EnableDraw(int _iFishPlayerID, bool _blEnable)
{
    CLS_MainPlayer* const pMainPlayer = FindPlayer(
        _iFishPlayerID,
        "[  CLS_FishPlayer::FishPlayer_EnableDraw !m_qmapMainPlayer.contains(_iFishPlayerID) _iFishPlayerID = ",
        "[  CLS_FishPlayer::FishPlayer_EnableDraw  nullptr == m_qmapMainPlayer[_iFishPlayerID] _iFishPlayerID = ");
    return nullptr == pMainPlayer ? -1 : pMainPlayer->EnableDraw(_blEnable);
}

int CLS_FishPlayer::FishPlayer_RegisterDrawCallback(int _iFishPlayerID, DrawCallback _pfunCallback)
{
    CLS_MainPlayer* const pMainPlayer = FindPlayer(
        _iFishPlayerID,
        "[  CLS_FishPlayer::FishPlayer_RegisterDrawCallback !m_qmapMainPlayer.contains(_iFishPlayerID) _iFishPlayerID = ",
        "[  CLS_FishPlayer::FishPlayer_RegisterDrawCallback  nullptr == m_qmapMainPlayer[_iFishPlayerID] _iFishPlayerID = ");
    return nullptr == pMainPlayer ? -1 : pMainPlayer->RegisterDrawCallback(_pfunCallback);
}

int CLS_FishPlayer::FishPlayer_CorrectWindowCtl(int _iFishPlayerID, int _iCorrectType,
                                                STRUCT_CtlParam _stParam, n_CtlCmd _enCmd,
                                                STRUCT_FishWindowRect _stRect)
{
    CLS_MainPlayer* const pMainPlayer = FindPlayer(
        _iFishPlayerID,
        "[  CLS_FishPlayer::FishPlayer_CorrectWindowCtl !m_qmapMainPlayer.contains(_iFishPlayerID) _iFishPlayerID = ",
        "[  CLS_FishPlayer::FishPlayer_CorrectWindowCtl nullptr == m_qmapMainPlayer[_iFishPlayerID] _iFishPlayerID = ");
    return nullptr == pMainPlayer
               ? -1
               : pMainPlayer->CorrectWindowCtl(_iCorrectType, _stParam, _enCmd, _stRect);
}

int CLS_FishPlayer::FishPlayer_DrawWindowCtl(int _iFishPlayerID, int _iPtzIndex,
                                             STRUCT_CtlPointParam _stPoint, n_CtlCmd _enCmd,
                                             STRUCT_FishWindowRect _stRect)
{
    CLS_MainPlayer* const pMainPlayer = FindPlayer(
        _iFishPlayerID,
        "[  CLS_FishPlayer::FishPlayer_DrawWindowCtl !m_qmapMainPlayer.contains(_iFishPlayerID) _iFishPlayerID = ",
        "[  CLS_FishPlayer::FishPlayer_DrawWindowCtl nullptr == m_qmapMainPlayer[_iFishPlayerID] _iFishPlayerID = ");
    return nullptr == pMainPlayer
               ? -1
               : pMainPlayer->DrawWindowCtl(_iPtzIndex, _stPoint, _enCmd, _stRect);
}

int CLS_FishPlayer::FishPlayer_PTZWindowCtl(int _iFishPlayerID, int _iPtzIndex,
                                            STRUCT_CtlParam _stParam, n_CtlCmd _enCmd,
                                            STRUCT_FishWindowRect _stRect)
{
    CLS_MainPlayer* const pMainPlayer = FindPlayer(
        _iFishPlayerID,
        "[  CLS_FishPlayer::FishPlayer_PTZWindowCtl !m_qmapMainPlayer.contains(_iFishPlayerID) _iFishPlayerID = ",
        "[  CLS_FishPlayer::FishPlayer_PTZWindowCtl nullptr == m_qmapMainPlayer[_iFishPlayerID] _iFishPlayerID = ");
    return nullptr == pMainPlayer
               ? -1
               : pMainPlayer->PTZWindowCtl(_iPtzIndex, _stParam, _enCmd, _stRect);
}

int CLS_FishPlayer::FishPlayer_PTZCtl(int _iFishPlayerID, int _iPtzIndex, STRUCT_CtlParam _stParam,
                                      n_PTZCtlCmd _enCmd)
{
    CLS_MainPlayer* const pMainPlayer = FindPlayer(
        _iFishPlayerID,
        "[  CLS_FishPlayer::FishPlayer_PTZCtl !m_qmapMainPlayer.contains(_iFishPlayerID) _iFishPlayerID = ",
        "[  CLS_FishPlayer::FishPlayer_PTZCtl nullptr == m_qmapMainPlayer[_iFishPlayerID] _iFishPlayerID = ");
    return nullptr == pMainPlayer ? -1 : pMainPlayer->PTZCtl(_iPtzIndex, _stParam, _enCmd);
}

int CLS_FishPlayer::FishPlayer_StartTrack(int)
{
    return -1;
}

int CLS_FishPlayer::FishPlayer_StopTrack(int)
{
    return -1;
}
