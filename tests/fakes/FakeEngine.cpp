// The entry points of the player engine that the manager calls: each records its arguments and the
// bytes of its record, and answers what the test has scripted.
#include <algorithm>
#include <string>

#include "tests/support/Recorder.h"

namespace {

std::intptr_t Address(const void* pointer)
{
    return reinterpret_cast<std::intptr_t>(pointer);
}

std::string Bytes(const void* record, int size)
{
    if (nullptr == record || size <= 0)
        return {};
    return {static_cast<const char*>(record), static_cast<std::size_t>(std::min(size, 4096))};
}

int Answer(fake::Call call)
{
    return static_cast<int>(fake::Answer(std::move(call)));
}

}  // namespace

extern "C" {

int RV_SetAVMode(int kind, void* record, int size)
{
    return Answer({"RV_SetAVMode", {kind, Address(record), size}, {Bytes(record, size)}});
}

int RV_SetVideoMode(int kind, void* record, int size)
{
    return Answer({"RV_SetVideoMode", {kind, Address(record), size}, {Bytes(record, size)}});
}

int RV_CreateSystem(int reserved)
{
    return Answer({"RV_CreateSystem", {reserved}, {}});
}

int RV_DeletePlayer(int player)
{
    return Answer({"RV_DeletePlayer", {player}, {}});
}

int RV_Play(int player)
{
    return Answer({"RV_Play", {player}, {}});
}

int RV_PutStreamToPlayer(int player, unsigned char* data, int size)
{
    return Answer({"RV_PutStreamToPlayer", {player, Address(data), size}, {Bytes(data, size)}});
}

int RV_CreateFishEyeCorrect(int player, void* record, int size, void* window, int* correct)
{
    return Answer({"RV_CreateFishEyeCorrect",
                   {player, Address(record), size, Address(window), Address(correct)},
                   {Bytes(record, size)}});
}

int RV_DeleteFishEyeCorrect(int player, int correct)
{
    return Answer({"RV_DeleteFishEyeCorrect", {player, correct}, {}});
}

int RV_SetFishEyeCorrectCallBack(int player, int correct, void* callback, void* user)
{
    return Answer(
        {"RV_SetFishEyeCorrectCallBack", {player, correct, Address(callback), Address(user)}, {}});
}

int RV_CreatePlayerForSpecialNeeds(int kind, void* record, int size, int reserved)
{
    return Answer({"RV_CreatePlayerForSpecialNeeds",
                   {kind, Address(record), size, reserved},
                   {Bytes(record, size)}});
}

int RV_SetFishEyeCorrectEnable(int player, int enable, void* record)
{
    return Answer(
        {"RV_SetFishEyeCorrectEnable", {player, enable, Address(record)}, {Bytes(record, 88)}});
}

int RV_GetFishEyeCorrectPara(int player, int correct, int kind, void* record, int size)
{
    return Answer({"RV_GetFishEyeCorrectPara",
                   {player, correct, kind, Address(record), size},
                   {Bytes(record, size)}});
}

int RV_SetFishEyeCorrectPara(int player, int correct, int kind, void* record, int size)
{
    return Answer({"RV_SetFishEyeCorrectPara",
                   {player, correct, kind, Address(record), size},
                   {Bytes(record, size)}});
}

}  // extern "C"
