// A player engine that does next to nothing: it counts ids up and keeps one parameter record.
#include <cstring>

namespace {

int s_players = 0;
int s_corrects = 0;
char s_para[32] = {0, 0, 0, 0, 0, 0, 0, 0, 0x70, 0x17, 0, 0, 0x58, 0x1B};  // centre (6000, 7000)
volatile int s_taken = 0;

}  // namespace

extern "C" {

int RV_CreateSystem(int)
{
    return 0;
}

int RV_CreatePlayerForSpecialNeeds(int, void*, int, int)
{
    return s_players++;
}

int RV_DeletePlayer(int)
{
    return 0;
}

int RV_Play(int)
{
    return 0;
}

int RV_PutStreamToPlayer(int, unsigned char*, int size)
{
    s_taken = size;
    return 0;
}

int RV_SetFishEyeCorrectEnable(int, int, void*)
{
    return 0;
}

int RV_SetFishEyeCorrectCallBack(int, int, void*, void*)
{
    return 0;
}

int RV_CreateFishEyeCorrect(int, void*, int, void*, int*)
{
    return s_corrects++;
}

int RV_DeleteFishEyeCorrect(int, int)
{
    return 0;
}

int RV_GetFishEyeCorrectPara(int, int, int, void* record, int size)
{
    std::memcpy(record, s_para, static_cast<std::size_t>(size));
    return 0;
}

int RV_SetFishEyeCorrectPara(int, int, int, void* record, int size)
{
    std::memcpy(s_para, record, static_cast<std::size_t>(size));
    return 0;
}

}  // extern "C"
