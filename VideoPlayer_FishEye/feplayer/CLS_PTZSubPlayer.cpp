// Creation, live parameters and zoom of a pan/tilt/zoom view.
#include "VideoPlayer_FishEye/feplayer/CLS_PTZSubPlayer.h"

#include <algorithm>

#include "Common/Arithmetic.h"
#include "VideoPlayer_FishEye/FishEyeLog.h"
#include "VideoPlayer_FishEye/fec/AlgorithmRecords.h"
#include "VideoPlayer_FishEye/feplayer/EngineParaKinds.h"
#include "VideoPlayer_FishEye/feplayer/PointTransform.h"
#include "VideoPlayer_FishEye/feplayer/StreamRecords.h"
#include "VideoPlayer_Vx/CLS_VxPlayer_SDK.h"

using VX_Framework::VideoPlayer::CLS_VxPlayer_SDK;

CLS_PTZSubPlayer::~CLS_PTZSubPlayer() = default;

int CLS_PTZSubPlayer::CreatePlayer(void* const& _pfcuHandle, int _iMainPlayerId,
                                   tagCreateCorrectPara para, void* _pWindow, int* _piSubPlayerId)
{
    if (nullptr == _pfcuHandle)
        return s_warning.Refuse("[  CLS_PTZSubPlayer::CreatePlayer nullptr == _pfcuHandle ]");
    if (_iMainPlayerId < 0)
        return s_warning.Refuse("[  CLS_PTZSubPlayer::CreatePlayer _iMainPlayerId < 0 ]");
    if (nullptr == _pWindow)
        return s_warning.Refuse("[  CLS_PTZSubPlayer::CreatePlayer nullptr == _pWindow ]");
    if (nullptr == _piSubPlayerId)
        return s_warning.Refuse("[  CLS_PTZSubPlayer::CreatePlayer nullptr == _piSubPlayerId ]");
    if (nullptr == CLS_VxPlayer_SDK::RV_CreateFishEyeCorrect)
        return s_warning.Refuse(
            "[  CLS_PTZSubPlayer::CreatePlayer nullptr == CLS_VxPlayer_SDK::RV_CreateFishEyeCorrect ]");
    const int iRet = CLS_VxPlayer_SDK::RV_CreateFishEyeCorrect(
        _iMainPlayerId, &para, int{sizeof(para)}, _pWindow, _piSubPlayerId);
    if (iRet < 0)
        return s_warning.PassBack(
            iRet,
            "[  CLS_PTZSubPlayer::CreatePlayer CLS_VxPlayer_SDK::RV_CreateFishEyeCorrect fail iRet = ");
    m_pFcuHandle = _pfcuHandle;
    m_iMainPlayId = _iMainPlayerId;
    m_pWindow = _pWindow;
    m_stCreatePara = para;
    m_iSubPlayId = iRet;
    *_piSubPlayerId = iRet;
    return 0;
}

int CLS_PTZSubPlayer::DeletePlayer()
{
    if (m_iMainPlayId < 0)
        return s_warning.Refuse("[  CLS_PTZSubPlayer::DeletePlayer m_iMainPlayId < 0 ]");
    if (m_iSubPlayId < 0)
        return s_warning.Refuse("[  CLS_PTZSubPlayer::DeletePlayer m_iSubPlayId < 0 ]");
    if (nullptr == CLS_VxPlayer_SDK::RV_DeleteFishEyeCorrect)
        return s_warning.Refuse(
            "[  CLS_PTZSubPlayer::DeletePlayer nullptr == CLS_VxPlayer_SDK::RV_DeleteFishEyeCorrect ]");
    return CLS_VxPlayer_SDK::RV_DeleteFishEyeCorrect(m_iMainPlayId, m_iSubPlayId);
}

int CLS_PTZSubPlayer::GetCorrectPara(tagCorrectPtzPara& para)
{
    if (m_iMainPlayId < 0)
        return s_warning.Refuse("[  CLS_PTZSubPlayer::GetCorrectPara m_iMainPlayId < 0 ]");
    if (m_iSubPlayId < 0)
        return s_warning.Refuse("[  CLS_PTZSubPlayer::GetCorrectPara m_iSubPlayId < 0 ]");
    // sic: reports under DeletePlayer's name, and clients search for that text
    if (nullptr == CLS_VxPlayer_SDK::RV_GetFishEyeCorrectPara)
        return s_warning.Refuse(
            "[  CLS_PTZSubPlayer::DeletePlayer nullptr == CLS_VxPlayer_SDK::RV_GetFishEyeCorrectPara ]");
    return CLS_VxPlayer_SDK::RV_GetFishEyeCorrectPara(m_iMainPlayId, m_iSubPlayId, CONST_PTZ_PARA,
                                                      &para, int{sizeof(para)});
}

int CLS_PTZSubPlayer::SetCorrectPara(tagCorrectPtzPara& para)
{
    if (m_iMainPlayId < 0)
        return s_warning.Refuse("[  CLS_PTZSubPlayer::SetCorrectPara m_iMainPlayId < 0 ]");
    if (m_iSubPlayId < 0)
        return s_warning.Refuse("[  CLS_PTZSubPlayer::SetCorrectPara m_iSubPlayId < 0 ]");
    // sic: neither this text nor the one of the draw type has its closing bracket
    if (nullptr == CLS_VxPlayer_SDK::RV_SetFishEyeCorrectPara)
        return s_warning.Refuse(
            "[  CLS_PTZSubPlayer::SetCorrectPara nullptr == CLS_VxPlayer_SDK::SetCorrectPara");
    ClearOutline();
    STRUCT_FecPtzParam stParam{};
    stParam.iSize = int{sizeof(stParam)};
    stParam.stPosition = {m_stCreatePara.iPTZPositionX, m_stCreatePara.iPTZPositionY};
    stParam.iPTZZoom = m_stCreatePara.iPTZZoom;
    stParam.iPTZExtra1 = m_stCreatePara.iPTZExtra1;
    stParam.iPTZExtra2 = m_stCreatePara.iPTZExtra2;
    if (n_DrawType_Fec == m_iDrawType) {
        SetFecDraw(stParam);
    } else if (n_DrawType_Rect == m_iDrawType) {
        if (CORRECT_TYPE_360 == m_iCorrectMode) {
            STRUCT_FecPoint stPanorama{};
            CoordSwitch(CONST_SPACE_FISHEYE, CONST_SPACE_360, stParam.stPosition, stPanorama);
            stParam.stPosition = stPanorama;
        }
        SetRectDraw(stParam);
    } else {
        return s_warning.Refuse(
            "[  CLS_PTZSubPlayer::SetCorrectPara n_DrawType_Rect != m_iDrawType & n_DrawType_Fec != m_iDrawType");
    }
    return CLS_VxPlayer_SDK::RV_SetFishEyeCorrectPara(m_iMainPlayId, m_iSubPlayId, CONST_PTZ_PARA,
                                                      &para, int{sizeof(para)});
}

int CLS_PTZSubPlayer::Zoom(int iStep)
{
    tagCorrectPtzPara stPara{};
    const int iRet = GetCorrectPara(stPara);
    if (iRet < 0)
        return s_warning.PassBack(iRet, "[  CLS_PTZSubPlayer::Zoom GetCorrectPara fail iRet = ");
    // sic: no lower limit here; the zoom buttons stop at 0
    stPara.iPTZZoom =
        std::min(arithmetic::Subtract(stPara.iPTZZoom, arithmetic::Multiply(5, iStep)),
                 CONST_POSITION_UNITS);
    m_stCreatePara.iPTZZoom = stPara.iPTZZoom;
    return SetCorrectPara(stPara);
}

int CLS_PTZSubPlayer::GetPtzType(int iCorrectMode)
{
    switch (iCorrectMode) {
    case CORRECT_TYPE_180:
    case CORRECT_TYPE_360:
    case CORRECT_TYPE_LAT:
        return iCorrectMode << 4;
    default:
        return 0x1000;
    }
}
