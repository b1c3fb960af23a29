#include "VideoPlayer_FishEye/feplayer/CLS_LATViewSubPlayer.h"

#include "VideoPlayer_FishEye/FishEyeLog.h"

CLS_LATViewSubPlayer::~CLS_LATViewSubPlayer() = default;

int CLS_LATViewSubPlayer::GetCorrectPara(tagCorrectPtzPara&)
{
    if (m_iMainPlayId >= 0)
        return 0;
    return s_warning.Refuse("[  CLS_LATViewSubPlayer::GetCorrectPara m_iMainPlayId < 0 ]");
}
