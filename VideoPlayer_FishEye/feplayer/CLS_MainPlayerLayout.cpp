// How a window map becomes views, and where the pan/tilt/zoom views look at first.
#include "VideoPlayer_FishEye/feplayer/CLS_MainPlayer.h"

#include "VideoPlayer_FishEye/FishEyeLog.h"
#include "VideoPlayer_FishEye/feplayer/CLS_180ViewSubPlayer.h"
#include "VideoPlayer_FishEye/feplayer/CLS_360ViewSubPlayer.h"
#include "VideoPlayer_FishEye/feplayer/CLS_FishEyeSubPlayer.h"
#include "VideoPlayer_FishEye/feplayer/CLS_LATViewSubPlayer.h"
#include "VideoPlayer_FishEye/feplayer/CLS_PTZSubPlayer.h"
#include "VideoPlayer_FishEye/feplayer/CLS_SourceSubPlayer.h"
#include "VideoPlayer_FishEye/feplayer/OverlayState.h"
#include "VideoPlayer_FishEye/feplayer/PointTransform.h"
#include "VideoPlayer_Vx/CLS_VxPlayer_SDK.h"

using VX_Framework::VideoPlayer::CLS_VxPlayer_SDK;

namespace {

// Where the pan/tilt/zoom views look by default, in 1/10000 of the panorama. With three and with
// eight views the order is chosen by hand: the middle first, then to either side.
constexpr int CONST_PTZ_POS_8[] = {3750, 5000, 6250, 2500, 7500, 1250, 0, 8750};
constexpr int CONST_PTZ_POS_3[] = {5000, 1667, 8333};
constexpr int CONST_PTZ_POS_Y = 4500;
constexpr int CONST_MAX_CENTRES = 8;
constexpr int CONST_NO_POSITION = -1;

/// Panorama position of view iPtzId (0..7) of iPtzNum (> 0), or CONST_NO_POSITION.
int DefaultPosition(int iPtzId, int iPtzNum)
{
    switch (iPtzNum) {
    case 8:
        return CONST_PTZ_POS_8[iPtzId];
    case 3:
        return iPtzId < 3 ? CONST_PTZ_POS_3[iPtzId] : CONST_NO_POSITION;
    default:
        return (CONST_POSITION_UNITS / iPtzNum * iPtzId + 5000) % CONST_POSITION_UNITS;
    }
}

tagCreateCorrectPara EmptyRecord()
{
    tagCreateCorrectPara stPara{};
    stPara.iSize = int{sizeof(stPara)};
    return stPara;
}

}  // namespace

int CLS_MainPlayer::CreateSubPlayers(const STRUCT_FishEyeParam& _stParam, int,
                                     const QMap<int, QVector<void*>>& qmapWindows,
                                     QMap<int, QVector<int>>&,
                                     const STRUCT_FishDrawParam& _stDrawParam)
{
    if (m_iMainPlayId < 0)
        return s_warning.Refuse("[  CLS_MainPlayer::CreateSubPlayers m_iMainPlayId < 0 ]");
    if (nullptr == m_pFcuHandle)
        return s_warning.Refuse("[  CLS_MainPlayer::CreateSubPlayers nullptr == m_pFcuHandle ]");
    if (nullptr == CLS_VxPlayer_SDK::RV_SetFishEyeCorrectCallBack)
        return s_warning.Refuse(
            "[  CLS_MainPlayer::CreateSubPlayers nullptr == CLS_VxPlayer_SDK::RV_SetFishEyeCorrectCallBack ]");
    EnableFishEye(true);
    m_pOverlay->m_blDrawEnabled = 0 != _stDrawParam.m_iDrawWindowType;
    if (!m_pOverlay->m_blDrawEnabled)
        StopDrawThread();
    for (auto it = qmapWindows.cbegin(); it != qmapWindows.cend(); ++it) {
        const int iSubPlayerType = it.key();
        const QVector<void*> qvecSubWindows = it.value();
        if (qvecSubWindows.isEmpty()) {
            s_warning.Write("[  CLS_MainPlayer::CreateSubPlayers iSubPlayerType = ", iSubPlayerType,
                            " qvecSubWindows.isEmpty() ]");
            continue;
        }
        if (m_pOverlay->Views(iSubPlayerType))
            continue;
        if (CORRECT_TYPE_PTZ == iSubPlayerType)
            CreatePtzViews(qvecSubWindows, _stParam, _stDrawParam.m_iDrawType);
        else
            CreateView(iSubPlayerType, qvecSubWindows[0], _stParam, _stDrawParam.m_iDrawWindowType);
    }
    return 0;
}

/// A view of one of the five kinds with a single window; null for any other kind.
CLS_SubPlayer* CLS_MainPlayer::NewView(int iSubPlayerType)
{
    switch (iSubPlayerType) {
    case CORRECT_TYPE_SOURCE:
        return new CLS_SourceSubPlayer;
    case CORRECT_TYPE_180:
        return new CLS_180ViewSubPlayer;
    case CORRECT_TYPE_360:
        return new CLS_360ViewSubPlayer;
    case CORRECT_TYPE_LAT:
        return new CLS_LATViewSubPlayer;
    case CORRECT_TYPE_FISHEYE:
        return new CLS_FishEyeSubPlayer;
    default:
        return nullptr;
    }
}

void CLS_MainPlayer::CreateView(int iSubPlayerType, void* pWindow,
                                const STRUCT_FishEyeParam& _stParam, int iDrawWindowType)
{
    CLS_SubPlayer* const pSubPlayer = NewView(iSubPlayerType);
    if (nullptr == pSubPlayer)
        return;
    tagCreateCorrectPara stPara = EmptyRecord();
    if (CORRECT_TYPE_FISHEYE != iSubPlayerType) {
        stPara.iCreateType = _stParam.m_iCreateType;
        stPara.iCorrectMode = iSubPlayerType;
        stPara.iEngineParam0 = 8;
        stPara.iPtzIndex = -1;
        stPara.pWindow = pWindow;
    }
    if (CORRECT_TYPE_SOURCE == iSubPlayerType)
        EnableFishEye(false);  // the source view shows the uncorrected picture
    int iSubPlayerId = -1;
    const int iRet =
        pSubPlayer->CreatePlayer(m_pFcuHandle, m_iMainPlayId, stPara, pWindow, &iSubPlayerId);
    if (iRet < 0) {
        // sic: the object is neither stored nor destroyed, so that no teardown reaches the engine
        s_warning.Write(
            "[  CLS_MainPlayer::CreateSubPlayers  pSubPlayer->CreatePlayer fail iRet = ", iRet,
            " ]");
        return;
    }
    if (CORRECT_TYPE_SOURCE != iSubPlayerType && iDrawWindowType == iSubPlayerType)
        StartDrawThread();
    m_pOverlay->Store(iSubPlayerType, {pSubPlayer});
}

void CLS_MainPlayer::CreatePtzViews(const QVector<void*>& qvecSubWindows,
                                    const STRUCT_FishEyeParam& _stParam, int iDrawType)
{
    QVector<CLS_SubPlayer*> qvecPlayers;
    for (int i = 0; i < qvecSubWindows.size(); ++i) {
        auto* const pSubPlayer = new CLS_PTZSubPlayer;
        STRUCT_FecPoint stCentre{};
        GetDefultCenterPoint(i, qvecSubWindows.size(), stCentre);
        tagCreateCorrectPara stPara = EmptyRecord();
        stPara.iCreateType = _stParam.m_iCreateType;
        stPara.iCorrectMode = _stParam.m_iDrawCorrectMode;
        stPara.iEngineParam0 = 8;
        stPara.iEngineParam2 = 32;
        stPara.iPtzIndex = i;
        stPara.iPTZPositionX = stCentre.iX;
        stPara.iPTZPositionY = stCentre.iY;
        stPara.iPTZZoom = 10000;
        stPara.iPTZExtra1 = 200;
        stPara.iPTZExtra2 = 200;
        stPara.pWindow = qvecSubWindows[i];
        pSubPlayer->CreatePtzDraw(m_pFcuHandle, stPara, iDrawType);
        stPara.iCorrectMode = CORRECT_TYPE_PTZ;
        int iSubPlayerId = -1;
        const int iRet = pSubPlayer->CreatePlayer(m_pFcuHandle, m_iMainPlayId, stPara,
                                                  qvecSubWindows[i], &iSubPlayerId);
        if (iRet < 0) {
            // sic: left allocated, as above
            s_warning.Write(
                "[  CLS_MainPlayer::CreateSubPlayers  pSubPlayer->CreatePlayer fail iRet = ", iRet,
                " ]");
            continue;
        }
        qvecPlayers.append(pSubPlayer);
    }
    m_pOverlay->Store(CORRECT_TYPE_PTZ, qvecPlayers);
}

int CLS_MainPlayer::GetDefultCenterPoint(int _iPtzId, int _iPtzNum, STRUCT_FecPoint& _stPoint)
{
    const bool blValid = _iPtzId >= 0 && _iPtzId < CONST_MAX_CENTRES && _iPtzNum >= 1;
    const int iX = blValid ? DefaultPosition(_iPtzId, _iPtzNum) : CONST_NO_POSITION;
    if (CONST_NO_POSITION == iX)
        return s_warning.Refuse("[  CLS_MainPlayer::GetDefultCenterPoint fail _iPtzNum = ",
                                _iPtzNum, " ,  _iPtzId = ", _iPtzId, " ]");
    STRUCT_FecPoint stPanorama{iX, CONST_PTZ_POS_Y};
    return Coord360ToFE(stPanorama, _stPoint);
}
