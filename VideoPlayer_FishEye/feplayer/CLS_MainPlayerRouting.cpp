// Which view a control request goes to.
#include "VideoPlayer_FishEye/feplayer/CLS_MainPlayer.h"

#include <optional>

#include "VideoPlayer_FishEye/FishEyeLog.h"
#include "VideoPlayer_FishEye/fec/AlgorithmRecords.h"
#include "VideoPlayer_FishEye/fec/CLS_VxAlgoFcu.h"
#include "VideoPlayer_FishEye/feplayer/CLS_SubPlayer.h"
#include "VideoPlayer_FishEye/feplayer/OverlayState.h"
#include "VideoPlayer_FishEye/feplayer/PointTransform.h"

namespace {

constexpr int CONST_KIND_360_TO_FISHEYE = 3;

}  // namespace

int CLS_MainPlayer::CorrectWindowCtl(int _iCorrectType, STRUCT_CtlParam param, n_CtlCmd cmd,
                                     STRUCT_FishWindowRect rect)
{
    const std::optional<QVector<CLS_SubPlayer*>> qvecPlayers = m_pOverlay->Views(_iCorrectType);
    if (!qvecPlayers)
        return s_info.Refuse(
            "[  CLS_MainPlayer::CorrectWindowCtl !m_qmapSubPlayers.contains(_iCorrectType) _iCorrectType = ",
            _iCorrectType, " ]");
    if (qvecPlayers->isEmpty())
        return s_info.Refuse(
            "[  CLS_MainPlayer::CorrectWindowCtl qvecPlayers.isEmpty()  _iCorrectType = ",
            _iCorrectType, " ]");
    CLS_SubPlayer* const pPlayer = qvecPlayers->at(0);
    if (nullptr == pPlayer)
        return s_warning.Refuse(
            "[  CLS_MainPlayer::CorrectWindowCtl nullptr == qvecPlayers.at(0) ]");
    return n_CtlCmd_Move == cmd ? pPlayer->Move(param.m_iX, param.m_iY, rect) : -1;
}

/// The pan/tilt/zoom view with a number, or null after one of the operation's lines.
CLS_SubPlayer* CLS_MainPlayer::FindPtzView(int _iPtzIndex, const char* pcNoViews,
                                           const char* pcInvalidIndex) const
{
    const std::optional<QVector<CLS_SubPlayer*>> qvecPlayers = m_pOverlay->Views(CORRECT_TYPE_PTZ);
    if (!qvecPlayers) {
        s_warning.Write(pcNoViews);
        return nullptr;
    }
    if (_iPtzIndex < 0 || _iPtzIndex >= qvecPlayers->size()) {
        s_warning.Write(pcInvalidIndex, _iPtzIndex, " ]");
        return nullptr;
    }
    CLS_SubPlayer* const pPlayer = qvecPlayers->at(_iPtzIndex);
    if (nullptr == pPlayer)  // sic: DrawWindowCtl's name for every operation
        s_warning.Write("[  CLS_MainPlayer::DrawWindowCtl nullptr == pPlayer ]");
    return pPlayer;
}

int CLS_MainPlayer::DrawWindowCtl(int _iPtzIndex, STRUCT_CtlPointParam point, n_CtlCmd cmd,
                                  STRUCT_FishWindowRect rect)
{
    CLS_SubPlayer* const pPlayer = FindPtzView(
        _iPtzIndex,
        "[  CLS_MainPlayer::DrawWindowCtl !m_qmapSubPlayers.contains(CORRECT_TYPE_PTZ) ]",
        "[  CLS_MainPlayer::DrawWindowCtl _iPtzIndex is invalid iPtzIndex = ");
    if (nullptr == pPlayer)
        return -1;
    return n_CtlCmd_Move == cmd ? pPlayer->Move(point, rect) : -1;
}

int CLS_MainPlayer::PTZWindowCtl(int _iPtzIndex, STRUCT_CtlParam param, n_CtlCmd cmd,
                                 STRUCT_FishWindowRect rect)
{
    CLS_SubPlayer* const pPlayer = FindPtzView(
        _iPtzIndex,
        "[  CLS_MainPlayer::PTZWindowCtl !m_qmapSubPlayers.contains(CORRECT_TYPE_PTZ) ]",
        "[  CLS_MainPlayer::PTZWindowCtl _iPtzIndex is invalid iPtzIndex = ");
    if (nullptr == pPlayer)
        return -1;
    if (n_CtlCmd_Move == cmd)
        return pPlayer->Move(param.m_iX, param.m_iY, rect);
    return n_CtlCmd_Zoom == cmd ? pPlayer->Zoom(param.m_iZoom) : 0;
}

int CLS_MainPlayer::PTZCtl(int _iPtzIndex, STRUCT_CtlParam param, n_PTZCtlCmd cmd)
{
    CLS_SubPlayer* const pPlayer = FindPtzView(
        _iPtzIndex, "[  CLS_MainPlayer::PTZCtl !m_qmapSubPlayers.contains(CORRECT_TYPE_PTZ) ]",
        "[  CLS_MainPlayer::PTZCtl _iPtzIndex is invalid iPtzIndex = ");
    return nullptr == pPlayer ? -1 : pPlayer->PTZCtl(param, cmd);
}

int CLS_MainPlayer::Coord360ToFE(STRUCT_FecPoint& in, STRUCT_FecPoint& out)
{
    if (nullptr == m_pFcuHandle)
        return s_warning.Refuse("[  CLS_MainPlayer::Coord360ToFE  nullptr == m_pFcuHandle ]");
    if (nullptr == CLS_VxAlgoFcu::VxAlgo_FCU_Point_Transform)
        return s_warning.Refuse(
            "[  CLS_MainPlayer::Coord360ToFE  nullptr == CLS_VxAlgoFcu::VxAlgo_FCU_Point_Transform ]");
    ClampToPicture(in);
    const int iRet =
        TransformPoint(m_pFcuHandle, CONST_KIND_360_TO_FISHEYE, m_stFishEyeParam.m_iDrawCorrectMode,
                       {PositionFraction(in.iX), PositionFraction(in.iY)}, CONST_SPACE_360,
                       CONST_SPACE_FISHEYE, out);
    if (iRet < 0)
        return s_warning.PassBack(
            iRet,
            "[  CLS_MainPlayer::Coord360ToFE CLS_VxAlgoFcu::VxAlgo_FCU_Point_Transform fail iRet = ");
    return 0;
}
