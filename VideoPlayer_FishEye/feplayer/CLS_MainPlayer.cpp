// The life of one stream: construction, creation, feeding, the fisheye switch and teardown.
#include "VideoPlayer_FishEye/feplayer/CLS_MainPlayer.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <iterator>
#include <utility>

#include "VideoPlayer_FishEye/FishEyeLog.h"
#include "VideoPlayer_FishEye/fec/AlgorithmRecords.h"
#include "VideoPlayer_FishEye/fec/CLS_VxAlgoFcu.h"
#include "VideoPlayer_FishEye/feplayer/CLS_SubPlayer.h"
#include "VideoPlayer_FishEye/feplayer/OverlayState.h"
#include "VideoPlayer_Vx/CLS_VxPlayer_SDK.h"

using VX_Framework::VideoPlayer::CLS_VxPlayer_SDK;

namespace {

/// The part of the client's stream header that is read.
struct tagVideoHeader
{
    std::int32_t m_iSize;             ///< length of the whole header in bytes
    unsigned char aucDescription[8];  ///< the engine's
};
static_assert(sizeof(tagVideoHeader) == 12);

/// What RV_CreatePlayerForSpecialNeeds takes.
struct tagCreatePlayerPara
{
    std::int32_t iSize;
    std::int32_t iZero;
    void* pMainWindow;
    unsigned char aucDescription[8];
    void* pReserved;
};
static_assert(sizeof(tagCreatePlayerPara) == 32);
static_assert(offsetof(tagCreatePlayerPara, pMainWindow) == 8);
static_assert(offsetof(tagCreatePlayerPara, aucDescription) == 16);

constexpr int CONST_SPECIAL_NEEDS_KIND = 2;

/// The instance works on a picture of 1000 x 1000 with its centre in the middle; the algorithm
/// library alone knows the rest.
tagFcuInitPara InitPara()
{
    tagFcuInitPara stPara{};
    stPara.iSize = int{sizeof(stPara)};
    stPara.iParam1 = 1000;
    stPara.iParam2 = 1000;
    stPara.iParam3 = 2;
    stPara.fParam5 = 1.0F;
    stPara.fParam7 = 1.0F;
    stPara.fParam8 = 0.5F;
    stPara.fParam9 = 0.5F;
    return stPara;
}

}  // namespace

CLS_MainPlayer::CLS_MainPlayer() : m_pOverlay(std::make_shared<OverlayState>())
{
    const int iLoaded = CLS_VxAlgoFcu::LoadLib();
    if (iLoaded < 0) {
        s_warning.Write(
            "[  CLS_MainPlayer::CLS_MainPlayer CLS_VxAlgoFcu::LoadLib fail iRet = ", iLoaded, " ]");
        return;
    }
    if (nullptr == CLS_VxAlgoFcu::VxAlgo_FCU_Creat) {
        s_warning.Write(
            "[  CLS_MainPlayer::CLS_MainPlayer nullptr == CLS_VxAlgoFcu::VxAlgo_FCU_Creat ]");
        return;
    }
    m_pFcuHandle = CLS_VxAlgoFcu::VxAlgo_FCU_Creat(nullptr, nullptr);
    if (nullptr == m_pFcuHandle) {
        s_warning.Write("[  CLS_MainPlayer::CLS_MainPlayer CLS_VxAlgoFcu::VxAlgo_FCU_Creat fail]");
        return;
    }
    if (nullptr == CLS_VxAlgoFcu::VxAlgo_FCU_Init) {
        s_warning.Write(
            "[  CLS_MainPlayer::CLS_MainPlayer nullptr == CLS_VxAlgoFcu::VxAlgo_FCU_Init ]");
        return;
    }
    tagFcuInitPara stPara = InitPara();
    const int iRet = CLS_VxAlgoFcu::VxAlgo_FCU_Init(m_pFcuHandle, &stPara);
    if (iRet < 0)
        s_warning.Write(
            "[  CLS_MainPlayer::CLS_MainPlayer CLS_VxAlgoFcu::VxAlgo_FCU_Init fail iRet = ", iRet,
            " ]");
}

CLS_MainPlayer::~CLS_MainPlayer()
{
    // sic: one text for both, though in the second case the entry point is what is missing
    if (nullptr == m_pFcuHandle || nullptr == CLS_VxAlgoFcu::VxAlgo_FCU_Release) {
        s_warning.Write("[  CLS_MainPlayer::~CLS_MainPlayer nullptr == m_pFcuHandle ]");
        return;
    }
    // Released before the sub-players that borrowed it are destroyed; they no longer call it.
    CLS_VxAlgoFcu::VxAlgo_FCU_Release(m_pFcuHandle);
    m_pFcuHandle = nullptr;
    CLS_MainPlayer::DeleteAllPlayer();
}

int CLS_MainPlayer::CreateMainPlayer(const STRUCT_FishEyeParam& _stParam, const void* _pMainWindow,
                                     int _iStreamType, unsigned char* _pcVideoHeader,
                                     int _iHeadSize, int* _pFishMainPlyerID)
{
    if (nullptr == _pMainWindow)
        return s_info.Refuse("[  CLS_MainPlayer::CreateMainPlayer nullptr == _pMainWindow ]");
    if (nullptr == _pcVideoHeader)
        return s_info.Refuse("[  CLS_MainPlayer::CreateMainPlayer nullptr == _pcVideoHeader ]");
    if (_iHeadSize <= 0)
        return s_info.Refuse("[  CLS_MainPlayer::CreateMainPlayer _iHeadSize <= 0 ]");
    if (nullptr == _pFishMainPlyerID)
        return s_info.Refuse("[  CLS_MainPlayer::CreateMainPlayer nullptr == _pFishMainPlyerID ]");
    if (nullptr == CLS_VxPlayer_SDK::RV_CreatePlayerForSpecialNeeds)
        return s_info.Refuse(
            "[  CLS_MainPlayer::CreateMainPlayer nullptr == CLS_VxPlayer_SDK::RV_CreatePlayerForSpecialNeeds]");
    if (nullptr == CLS_VxPlayer_SDK::RV_Play)
        return s_info.Refuse(
            "[  CLS_MainPlayer::CreateMainPlayer nullptr == CLS_VxPlayer_SDK::RV_Play]");
    if (0 != _iStreamType)
        return 0;  // sic: nothing is created and the id is not written
    tagVideoHeader stHeader{};
    std::memcpy(&stHeader, _pcVideoHeader,
                std::min(static_cast<std::size_t>(_iHeadSize), sizeof(stHeader)));
    if (stHeader.m_iSize != _iHeadSize)
        return s_info.Refuse("[  CLS_MainPlayer::CreateMainPlayer header.m_iSize != _iHeadSize ]");
    tagCreatePlayerPara stPara{};
    stPara.iSize = int{sizeof(stPara)};
    stPara.pMainWindow = const_cast<void*>(_pMainWindow);
    std::copy(std::begin(stHeader.aucDescription), std::end(stHeader.aucDescription),
              stPara.aucDescription);
    const int iPlayerID = CLS_VxPlayer_SDK::RV_CreatePlayerForSpecialNeeds(
        CONST_SPECIAL_NEEDS_KIND, &stPara, int{sizeof(stPara)}, 0);
    if (iPlayerID < 0)
        return s_info.Refuse(
            "[  CLS_MainPlayer::CreateMainPlayer CLS_VxPlayer_SDK::RV_CreatePlayerForSpecialNeeds < 0  iPlayerID = ",
            iPlayerID, " ]");
    m_iMainPlayId = iPlayerID;
    m_pMainWindow = stPara.pMainWindow;
    m_stFishEyeParam = _stParam;
    *_pFishMainPlyerID = iPlayerID;
    return CLS_VxPlayer_SDK::RV_Play(iPlayerID);
}

int CLS_MainPlayer::CreateMainPlayer(const STRUCT_FishEyeParam&, const void*, const QString&, int*)
{
    return -1;
}

int CLS_MainPlayer::EnableFishEye(bool _blEnable)
{
    if (_blEnable == m_blFishEyeEnabled)
        return 0;
    if (m_iMainPlayId < 0)
        return s_warning.Refuse("[  CLS_MainPlayer::EnableFishEye  m_iMainPlayId < 0 ]");
    return _blEnable ? SwitchFishEyeOn() : SwitchFishEyeOff();
}

int CLS_MainPlayer::SwitchFishEyeOn()
{
    if (nullptr == CLS_VxPlayer_SDK::RV_SetFishEyeCorrectEnable)
        return s_warning.Refuse(
            "[  CLS_MainPlayer::EnableFishEye  CLS_VxPlayer_SDK::RV_SetFishEyeCorrectEnable == nullptr ]");
    tagCreateCorrectPara stPara{};
    stPara.iSize = int{sizeof(stPara)};
    stPara.iCreateType = m_stFishEyeParam.m_iCreateType;
    stPara.iCorrectMode = CORRECT_TYPE_PTZ;
    stPara.aiReserved[0] = 20;
    stPara.aiReserved[2] = 10000;
    stPara.aiReserved[4] = 10000;
    stPara.iEngineParam2 = 32;
    stPara.iPTZPositionX = 3000;
    stPara.iPTZPositionY = 4500;
    stPara.iPTZZoom = 10000;
    stPara.iPTZExtra1 = 200;
    stPara.iPTZExtra2 = 200;
    stPara.pWindow = m_pMainWindow;
    const int iRet = CLS_VxPlayer_SDK::RV_SetFishEyeCorrectEnable(m_iMainPlayId, 1, &stPara);
    if (iRet < 0)
        return s_warning.Refuse(
            "[  CLS_MainPlayer::EnableFishEye  CLS_VxPlayer_SDK::RV_SetFishEyeCorrectEnable fail iRet = ",
            iRet, " ]");
    m_iFishCorrectId = iRet;
    m_blFishEyeEnabled = true;
    return 0;
}

int CLS_MainPlayer::SwitchFishEyeOff()
{
    if (nullptr == CLS_VxPlayer_SDK::RV_SetFishEyeCorrectCallBack)
        return s_warning.Refuse(
            "[  CLS_MainPlayer::EnableFishEye nullptr == CLS_VxPlayer_SDK::RV_SetFishEyeCorrectCallBack == nullptr ]");
    if (nullptr == CLS_VxPlayer_SDK::RV_SetFishEyeCorrectEnable)
        return s_warning.Refuse(
            "[  CLS_MainPlayer::EnableFishEye nullptr == CLS_VxPlayer_SDK::RV_SetFishEyeCorrectEnable == nullptr ]");
    if (m_iFishCorrectId >= 0)
        CLS_VxPlayer_SDK::RV_SetFishEyeCorrectCallBack(m_iMainPlayId, m_iFishCorrectId, nullptr,
                                                       this);
    CLS_VxPlayer_SDK::RV_SetFishEyeCorrectEnable(m_iMainPlayId, 0, nullptr);
    m_blFishEyeEnabled = false;
    return 0;
}

int CLS_MainPlayer::PutStreamToPlayer(int _iStreamType, unsigned char* _pcStreamData, int _iSize)
{
    if (m_iMainPlayId < 0)
        return s_info.Refuse("[  CLS_MainPlayer::PutStreamToPlayer m_iMainPlayId < 0 ]");
    if (nullptr == _pcStreamData)
        return s_info.Refuse("[  CLS_MainPlayer::PutStreamToPlayer nullptr == _pcStreamData ]");
    if (_iSize <= 0)
        return s_info.Refuse("[  CLS_MainPlayer::PutStreamToPlayer _iSize <= 0 ]");
    if (nullptr == CLS_VxPlayer_SDK::RV_PutStreamToPlayer)
        return s_info.Refuse(
            "[  CLS_MainPlayer::PutStreamToPlayer nullptr == CLS_VxPlayer_SDK::RV_PutStreamToPlayer ]");
    if (0 != _iStreamType)
        return 0;
    return CLS_VxPlayer_SDK::RV_PutStreamToPlayer(m_iMainPlayId, _pcStreamData, _iSize);
}

int CLS_MainPlayer::DeleteAllSubPlayer()
{
    EnableFishEye(false);
    m_pOverlay->m_blDrawEnabled = false;
    StopDrawThread();
    for (const QVector<CLS_SubPlayer*>& qvecPlayers : m_pOverlay->TakeAll())
        qDeleteAll(qvecPlayers);
    return 0;
}

int CLS_MainPlayer::DeleteAllPlayer()
{
    DeleteAllSubPlayer();
    if (m_iMainPlayId < 0)
        return s_warning.Refuse("[  CLS_MainPlayer::DeleteAllPlayer m_iMainPlayId < 0 ]");
    if (nullptr == CLS_VxPlayer_SDK::RV_DeletePlayer)
        return s_warning.Refuse(
            "[  CLS_MainPlayer::DeleteAllPlayer nullptr == CLS_VxPlayer_SDK::RV_DeletePlayer ]");
    return CLS_VxPlayer_SDK::RV_DeletePlayer(m_iMainPlayId);
}

int CLS_MainPlayer::StartTrack()
{
    return -1;
}

int CLS_MainPlayer::StopTrack()
{
    return -1;
}
