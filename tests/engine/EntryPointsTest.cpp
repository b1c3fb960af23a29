// The table of entry points, and what all of them do with bad arguments.
#include <cstring>

#include <gmock/gmock.h>

#include "tests/engine/EngineUnderTest.h"

namespace test {
namespace {

enum class Behaviour
{
    Works,
    Refused
};

struct EntryRow
{
    const char* name;
    Behaviour behaviour;
};

constexpr EntryRow ENTRIES[] = {
#define ENTRY(name, behaviour) {#name, Behaviour::behaviour},
#include "engine/EntryPoints.def"
};

TEST(EntryPoints, AllSeventySevenAreExported)
{
    EXPECT_EQ(std::size(ENTRIES), 77U);
    for (const EntryRow& row : ENTRIES)
        EXPECT_NO_THROW(EntryPoint(row.name)) << row.name;
}

TEST(EntryPoints, ThoseThatAreNotOfferedReturnMinusOneForAnyArguments)
{
    for (const EntryRow& row : ENTRIES) {
        if (row.behaviour != Behaviour::Refused)
            continue;
        EXPECT_EQ(reinterpret_cast<int (*)()>(EntryPoint(row.name))(), -1) << row.name;
        EXPECT_EQ(
            reinterpret_cast<int (*)(int, const char*, double)>(EntryPoint(row.name))(1, "x", 2.0),
            -1)
            << row.name;
    }
}

TEST(EntryPoints, DecoderSettingsOfOtherEnginesAreTaken)
{
    int av[7] = {28, 1, 0, 0, 5, 0, 0};
    EXPECT_EQ(RV(RV_SetAVMode)(2, av, 28), 0);
    EXPECT_EQ(RV(RV_SetAVMode)(2, av, 24), -1);
    EXPECT_EQ(RV(RV_SetAVMode)(2, nullptr, 28), -1);
    int video[4] = {16, 0, 256, 7};
    EXPECT_EQ(RV(RV_SetVideoMode)(3, video, 16), 0);
    video[0] = 15;
    EXPECT_EQ(RV(RV_SetVideoMode)(3, video, 16), -1);
    EXPECT_EQ(RV(RV_SetVideoMode)(3, video, 2), -1);
}

TEST(EntryPoints, SystemNeedsNoCreationAndItsDeletionDeletesThePlayers)
{
    EXPECT_EQ(RV(RV_CreateSystem)(0), 0);
    EXPECT_GT(RV(RV_GetVersion)(), 0);
    TestPlayer player;
    EXPECT_EQ(player.Play(), 0);
    EXPECT_EQ(RV(RV_DeleteSystem)(), 0);
    EXPECT_EQ(player.Play(), -1);
}

TEST(EntryPoints, PlayerCreationRefusesWrongRecords)
{
    RvPlayerCreation creation{};
    creation.iSize = 32;
    const auto create = RV(RV_CreatePlayerForSpecialNeeds);
    EXPECT_EQ(create(2, nullptr, 32, 0), -1);
    EXPECT_EQ(create(2, &creation, 31, 0), -1);
    EXPECT_EQ(create(1, &creation, 32, 0), -1);
    creation.iSize = 33;
    EXPECT_EQ(create(2, &creation, 32, 0), -1);
}

TEST(EntryPoints, PlayerIdsArePositiveAndNotUsedAgain)
{
    TestPlayer first;
    const int id = first.Id();
    EXPECT_GT(id, 0);
    EXPECT_EQ(first.Delete(), 0);
    TestPlayer second;
    EXPECT_GT(second.Id(), id);
    EXPECT_EQ(RV(RV_DeletePlayer)(id), -1);
}

/// Every entry point that takes a player's id, with an id that is none.
TEST(EntryPoints, UnknownPlayersAreRefusedEverywhere)
{
    unsigned char byte = 0;
    double rate = 0;
    std::int64_t time = 0;
    int width = 0;
    int height = 0;
    RvCreateCorrect correct{};
    correct.iSize = 88;
    correct.iCorrectMode = RV_MODE_PTZ;
    RvVideoParam param{};
    param.iSize = sizeof(param);
    for (const int id : {-1, 0, 1 << 30}) {
        EXPECT_EQ(RV(RV_DeletePlayer)(id), -1);
        EXPECT_EQ(RV(RV_Play)(id), -1);
        EXPECT_EQ(RV(RV_Pause)(id, 1), -1);
        EXPECT_EQ(RV(RV_Stop)(id), -1);
        EXPECT_EQ(RV(RV_StepForward)(id), -1);
        EXPECT_EQ(RV(RV_FastForward)(id, 1), -1);
        EXPECT_EQ(RV(RV_SlowForward)(id, 1), -1);
        EXPECT_EQ(RV(RV_PutStreamToPlayer)(id, &byte, 1), -1);
        EXPECT_EQ(RV(RV_CleanStreamBuffer)(id), -1);
        EXPECT_EQ(RV(RV_SetFrameListBufferSize)(id, 100000), -1);
        EXPECT_EQ(RV(RV_RegisterNotifyPlayToEnd)(id, nullptr, nullptr), -1);
        EXPECT_EQ(RV(RV_PlayerControl)(id, RV_CONTROL_END_OF_STREAM, nullptr, 0), -1);
        EXPECT_EQ(RV(RV_GetFrameRate)(id, &rate), -1);
        EXPECT_EQ(RV(RV_GetPlayTime)(id, &time), -1);
        EXPECT_EQ(RV(RV_GetPlayingFrameNum)(id), -1);
        EXPECT_EQ(RV(RV_GetVideoParam)(id, &param, sizeof(param)), -1);
        EXPECT_EQ(RV(RV_SetFishEyeCorrectEnable)(id, 1, &correct), -1);
        EXPECT_EQ(RV(RV_SetFishEyeCorrectEnable)(id, 0, nullptr), -1);
        EXPECT_EQ(RV(RV_CreateFishEyeCorrect)(id, &correct, 88, nullptr, &width), -1);
        EXPECT_EQ(RV(RV_DeleteFishEyeCorrect)(id, 1), -1);
        EXPECT_EQ(RV(RV_SetFishEyeCorrectCallBack)(id, 1, nullptr, nullptr), -1);
        EXPECT_EQ(RV(RV_SetPlayRectEx)(id, 1, 10, 10), -1);
        EXPECT_EQ(RV(RV_CapturePicture)(id, 0, "x.png"), -1);
        EXPECT_EQ(RV(RV_CaptureBmpPic)(id, "x.bmp"), -1);
        EXPECT_EQ(RV(RV_CapturePic)(id, 0, &byte, 1, &width, &height), -1);
        EXPECT_EQ(RV(RV_DrawText)(id, 1, nullptr, 0), -1);
        EXPECT_EQ(RV(RV_DrawPolyOnLocalVideo)(id, 1, nullptr, 0), -1);
    }
}

TEST(EntryPoints, NullPointersAndBadSizesAreRefused)
{
    TestPlayer player;
    const int id = player.Id();
    const int view = player.AddView(RV_MODE_PTZ);
    unsigned char byte = 0;
    EXPECT_EQ(RV(RV_PutStreamToPlayer)(id, nullptr, 1), -1);
    EXPECT_EQ(RV(RV_PutStreamToPlayer)(id, &byte, 0), -1);
    EXPECT_EQ(RV(RV_PutStreamToPlayer)(id, &byte, -1), -1);
    EXPECT_EQ(RV(RV_GetFrameRate)(id, nullptr), -1);
    EXPECT_EQ(RV(RV_GetPlayTime)(id, nullptr), -1);
    EXPECT_EQ(RV(RV_GetVideoParam)(id, nullptr, sizeof(RvVideoParam)), -1);
    RvVideoParam param{};
    EXPECT_EQ(RV(RV_GetVideoParam)(id, &param, sizeof(param)), -1) << "its size is not set";
    EXPECT_EQ(RV(RV_SetFishEyeCorrectEnable)(id, 1, nullptr), -1);
    RvCreateCorrect correct{};
    int out = 0;
    EXPECT_EQ(RV(RV_CreateFishEyeCorrect)(id, nullptr, 88, nullptr, &out), -1);
    EXPECT_EQ(RV(RV_CreateFishEyeCorrect)(id, &correct, 88, nullptr, &out), -1);
    correct.iSize = 88;
    EXPECT_EQ(RV(RV_CreateFishEyeCorrect)(id, &correct, 87, nullptr, &out), -1);
    EXPECT_EQ(RV(RV_CreateFishEyeCorrect)(id, &correct, 88, nullptr, nullptr), -1);
    for (const int mode : {-0x100, 1, 0x101, 0x600}) {
        correct.iCorrectMode = mode;
        EXPECT_EQ(RV(RV_CreateFishEyeCorrect)(id, &correct, 88, nullptr, &out), -1) << mode;
    }
    EXPECT_EQ(RV(RV_SetPlayRectEx)(id, view, 0, 10), -1);
    EXPECT_EQ(RV(RV_SetPlayRectEx)(id, view, -1, -1), -1);
    EXPECT_EQ(RV(RV_SetPlayRectEx)(id, view, 8193, 10), -1);
    EXPECT_EQ(RV(RV_SetPlayRectEx)(id, view + 1, 10, 10), -1);
    EXPECT_EQ(RV(RV_FastForward)(id, 0), -1);
    EXPECT_EQ(RV(RV_SlowForward)(id, 17), -1);
    EXPECT_EQ(RV(RV_CapturePicture)(id, 0, nullptr), -1);
    EXPECT_EQ(RV(RV_CapturePicture)(id, 0, "x.png"), -1) << "no picture yet";
    EXPECT_EQ(RV(RV_DrawText)(id, view, nullptr, 1), -1);
    RvText text{nullptr, 0, 0, 16, 0};
    EXPECT_EQ(RV(RV_DrawText)(id, view, &text, 1), -1);
    RvPolyline line{nullptr, 2, 1, 0};
    EXPECT_EQ(RV(RV_DrawPolyOnLocalVideo)(id, view, &line, 1), -1);
    EXPECT_EQ(RV(RV_DrawPolyOnLocalVideo)(id, view, nullptr, -1), -1);
    EXPECT_EQ(RV(RV_PlayerControl)(id, RV_CONTROL_SET_LENS, nullptr, sizeof(RvLens)), -1);
    EXPECT_EQ(RV(RV_PlayerControl)(id, RV_CONTROL_GET_LENS, nullptr, sizeof(RvLens)), -1);
}

TEST(EntryPoints, ViewIdComesBackBothWays)
{
    TestPlayer player;
    RvCreateCorrect correct{};
    correct.iSize = 88;
    correct.iCorrectMode = RV_MODE_PANORAMA;
    const RvCreateCorrect before = correct;
    int out = -1;
    const int id = RV(RV_CreateFishEyeCorrect)(player.Id(), &correct, 88, nullptr, &out);
    EXPECT_GT(id, 0);
    EXPECT_EQ(out, id);
    EXPECT_EQ(std::memcmp(&correct, &before, sizeof(correct)), 0) << "the record is not written";
    EXPECT_NE(player.AddView(RV_MODE_LAT), id);
    EXPECT_EQ(RV(RV_DeleteFishEyeCorrect)(player.Id(), -1), -1);
    EXPECT_EQ(RV(RV_DeleteFishEyeCorrect)(player.Id(), player.Fisheye()), -1)
        << "the main window's view lasts as long as its player";
}

}  // namespace
}  // namespace test
