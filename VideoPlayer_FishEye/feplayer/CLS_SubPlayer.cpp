#include "VideoPlayer_FishEye/feplayer/CLS_SubPlayer.h"

#include "VideoPlayer_FishEye/FishEyeLog.h"
#include "VideoPlayer_Vx/CLS_VxPlayer_SDK.h"

using VX_Framework::VideoPlayer::CLS_VxPlayer_SDK;

CLS_SubPlayer::~CLS_SubPlayer()
{
    SetFecCallBackFunc(nullptr, nullptr);
    CLS_SubPlayer::DeletePlayer();
}

int CLS_SubPlayer::CreatePlayer(void* const& _pfcuHandle, int _iMainPlayerId,
                                tagCreateCorrectPara para, void* _pWindow, int* _piSubPlayerId)
{
    if (nullptr == _pfcuHandle)
        return s_warning.Refuse("[  CLS_SubPlayer::CreatePlayer nullptr == _pfcuHandle ]");
    if (_iMainPlayerId < 0)
        return s_warning.Refuse("[  CLS_SubPlayer::CreatePlayer _iMainPlayerId < 0 ]");
    if (nullptr == _pWindow)
        return s_warning.Refuse("[  CLS_SubPlayer::CreatePlayer nullptr == _pWindow ]");
    if (nullptr == _piSubPlayerId)
        return s_warning.Refuse("[  CLS_SubPlayer::CreatePlayer nullptr == _piSubPlayerId ]");
    if (nullptr == CLS_VxPlayer_SDK::RV_CreateFishEyeCorrect)
        return s_warning.Refuse(
            "[  CLS_SubPlayer::CreatePlayer nullptr == CLS_VxPlayer_SDK::RV_CreateFishEyeCorrect ]");
    const int iRet = CLS_VxPlayer_SDK::RV_CreateFishEyeCorrect(
        _iMainPlayerId, &para, int{sizeof(para)}, _pWindow, _piSubPlayerId);
    if (iRet < 0)
        return s_warning.PassBack(
            iRet,
            "[  CLS_SubPlayer::CreatePlayer CLS_VxPlayer_SDK::RV_CreateFishEyeCorrect fail iRet = ");
    m_pFcuHandle = _pfcuHandle;
    m_iMainPlayId = _iMainPlayerId;
    m_pWindow = _pWindow;
    m_stCreatePara = para;
    m_iSubPlayId = iRet;
    *_piSubPlayerId = iRet;
    m_iCorrectMode = para.iCorrectMode;
    m_iCreateType = para.iCreateType;
    return 0;
}

int CLS_SubPlayer::DeletePlayer()
{
    if (m_iMainPlayId < 0)
        return s_warning.Refuse("[  CLS_SubPlayer::DeletePlayer m_iMainPlayId < 0 ]");
    // sic: reports under CreatePlayer's name, and clients search for that text
    if (nullptr == CLS_VxPlayer_SDK::RV_DeleteFishEyeCorrect)
        return s_warning.Refuse(
            "[  CLS_SubPlayer::CreatePlayer nullptr == CLS_VxPlayer_SDK::RV_DeleteFishEyeCorrect ]");
    return CLS_VxPlayer_SDK::RV_DeleteFishEyeCorrect(m_iMainPlayId, m_iSubPlayId);
}

int CLS_SubPlayer::GetPTZDrawData(QVector<QVector<STRUCT_DrawPoint>>&)
{
    return 0;
}

int CLS_SubPlayer::CreatePtzDraw(void* const&, tagCreateCorrectPara, int)
{
    return 0;
}

int CLS_SubPlayer::Move(STRUCT_CtlPointParam, STRUCT_FishWindowRect)
{
    return 0;
}

int CLS_SubPlayer::Move(int, int, STRUCT_FishWindowRect)
{
    return 0;
}

int CLS_SubPlayer::Zoom(int)
{
    return 0;
}

int CLS_SubPlayer::PTZCtl(STRUCT_CtlParam, n_PTZCtlCmd)
{
    return 0;
}

int CLS_SubPlayer::GetCorrectPara(tagCorrectPtzPara&)
{
    return 0;
}

int CLS_SubPlayer::GetCorrectPara(tagCorrectWideScanPara&)
{
    return 0;
}

int CLS_SubPlayer::SetCorrectPara(tagCorrectPtzPara&)
{
    return 0;
}

int CLS_SubPlayer::SetCorrectPara(tagCorrectWideScanPara&)
{
    return 0;
}

int CLS_SubPlayer::GetSubPlayId()
{
    return m_iSubPlayId;
}

int CLS_SubPlayer::SetFecCallBackFunc(void (*pfn)(int, int, void*, unsigned int, unsigned int,
                                                  void*),
                                      void* pUser)
{
    if (m_iMainPlayId < 0)
        return s_warning.Refuse("[  CLS_SubPlayer::SetFecCallBackFunc m_iMainPlayId < 0 ]");
    if (m_iSubPlayId < 0)
        return s_warning.Refuse("[  CLS_SubPlayer::SetFecCallBackFunc m_iSubPlayId < 0 ]");
    if (nullptr == CLS_VxPlayer_SDK::RV_SetFishEyeCorrectCallBack)
        return s_warning.Refuse(
            "[  CLS_SubPlayer::SetFecCallBackFunc nullptr == CLS_VxPlayer_SDK::RV_SetFishEyeCorrectCallBack ]");
    return CLS_VxPlayer_SDK::RV_SetFishEyeCorrectCallBack(m_iMainPlayId, m_iSubPlayId, pfn, pUser);
}
