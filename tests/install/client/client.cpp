// The least that a client can do with the installed library, without any engine: it links, runs,
// and gets the codes that it expects.
#include <cstdio>

#include "Common/CommonFun.h"
#include "VideoPlayer_FishEye/CLS_FishPlayer.h"

int main()
{
    CLS_FishPlayer* const player = CLS_FishPlayer::GetInstance();
    if (nullptr == player || -1 != player->FishPlayer_DeleteAllPlayer(1) || 42 != SToInt("42")) {
        std::puts("the installed library does not answer as expected");
        return 1;
    }
    std::puts("the installed library answers");
    return 0;
}
