#include "VideoPlayer_FishEye/feplayer/CLS_SourceSubPlayer.h"

CLS_SourceSubPlayer::~CLS_SourceSubPlayer() = default;

int CLS_SourceSubPlayer::CreatePlayer(void* const& _pfcuHandle, int _iMainPlayerId,
                                      tagCreateCorrectPara para, void* _pWindow, int*)
{
    m_iMainPlayId = _iMainPlayerId;
    m_pFcuHandle = _pfcuHandle;
    m_pWindow = _pWindow;
    m_iCorrectMode = para.iCorrectMode;
    m_iCreateType = para.iCreateType;
    return 0;
}
