#include "VideoPlayer_FishEye/feplayer/CLS_360ViewSubPlayer.h"

#include "VideoPlayer_FishEye/FishEyeLog.h"
#include "VideoPlayer_FishEye/feplayer/EngineParaKinds.h"
#include "VideoPlayer_FishEye/feplayer/WideScan.h"
#include "VideoPlayer_Vx/CLS_VxPlayer_SDK.h"

using VX_Framework::VideoPlayer::CLS_VxPlayer_SDK;

CLS_360ViewSubPlayer::~CLS_360ViewSubPlayer() = default;

int CLS_360ViewSubPlayer::Move(int x, int, STRUCT_FishWindowRect _rect)
{
    if (_rect.m_iWidth <= 0 || _rect.m_iHeight <= 0)
        return s_warning.Refuse(
            "[  CLS_360ViewSubPlayer::Move _rect.m_iWidth <= 0 || _rect.m_iHeight <= 0  _rect.m_iWidth = ",
            _rect.m_iWidth, " _rect.m_iHeight = ", _rect.m_iHeight, " ]");
    tagCorrectWideScanPara stPara{};
    const int iRet = GetCorrectPara(stPara);
    if (iRet < 0)
        return s_warning.Refuse("[  CLS_360ViewSubPlayer::Move GetCorrectPara fail iRet = ", iRet,
                                " ]");
    stPara.fAngle = TurnedAngle(stPara.fAngle, x, _rect.m_iWidth, 360);
    return SetCorrectPara(stPara);
}

int CLS_360ViewSubPlayer::GetCorrectPara(tagCorrectWideScanPara& para)
{
    if (m_iMainPlayId < 0)
        return s_warning.Refuse("[  CLS_360ViewSubPlayer::GetCorrectPara m_iMainPlayId < 0 ]");
    if (nullptr == CLS_VxPlayer_SDK::RV_GetFishEyeCorrectPara)
        return s_warning.Refuse(
            "[  CLS_360ViewSubPlayer::GetCorrectPara nullptr == CLS_VxPlayer_SDK::RV_GetFishEyeCorrectPara ]");
    return CLS_VxPlayer_SDK::RV_GetFishEyeCorrectPara(
        m_iMainPlayId, m_iSubPlayId, CONST_WIDE_SCAN_PARA, &para, int{sizeof(para)});
}

int CLS_360ViewSubPlayer::SetCorrectPara(tagCorrectWideScanPara& para)
{
    if (m_iMainPlayId < 0)
        return s_warning.Refuse("[  CLS_360ViewSubPlayer::SetCorrectPara m_iMainPlayId < 0 ]");
    if (nullptr == CLS_VxPlayer_SDK::RV_SetFishEyeCorrectPara)
        return s_warning.Refuse(
            "[  CLS_360ViewSubPlayer::SetCorrectPara nullptr == CLS_VxPlayer_SDK::RV_SetFishEyeCorrectPara ]");
    return CLS_VxPlayer_SDK::RV_SetFishEyeCorrectPara(
        m_iMainPlayId, m_iSubPlayId, CONST_WIDE_SCAN_PARA, &para, int{sizeof(para)});
}
