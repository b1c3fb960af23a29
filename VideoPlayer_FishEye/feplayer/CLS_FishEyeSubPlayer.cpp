#include "VideoPlayer_FishEye/feplayer/CLS_FishEyeSubPlayer.h"

#include "VideoPlayer_FishEye/FishEyeLog.h"

CLS_FishEyeSubPlayer::~CLS_FishEyeSubPlayer() = default;

int CLS_FishEyeSubPlayer::CreatePlayer(void* const& _pfcuHandle, int _iMainPlayerId,
                                       tagCreateCorrectPara para, void* _pWindow,
                                       int* _piSubPlayerId)
{
    if (nullptr == _pfcuHandle)
        return s_warning.Refuse("[  CLS_FishEyeSubPlayer::CreatePlayer nullptr == _pfcuHandle ]");
    if (_iMainPlayerId < 0)
        return s_warning.Refuse("[  CLS_FishEyeSubPlayer::CreatePlayer _iMainPlayerId < 0 ]");
    if (nullptr == _pWindow)
        return s_warning.Refuse("[  CLS_FishEyeSubPlayer::CreatePlayer nullptr == _pWindow ]");
    if (nullptr == _piSubPlayerId)
        return s_warning.Refuse(
            "[  CLS_FishEyeSubPlayer::CreatePlayer nullptr == _piSubPlayerId ]");
    m_pFcuHandle = _pfcuHandle;
    m_iMainPlayId = _iMainPlayerId;
    m_pWindow = _pWindow;
    m_stCreatePara = para;
    m_iCorrectMode = para.iCorrectMode;
    m_iCreateType = para.iCreateType;
    return 0;
}

int CLS_FishEyeSubPlayer::DeletePlayer()
{
    return 0;
}
