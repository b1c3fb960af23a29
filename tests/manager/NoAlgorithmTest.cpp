// A process in which the correction algorithm library cannot be found.
#include "tests/manager/AlgorithmEntries.h"
#include "tests/manager/MainPlayerProbe.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

// The line quotes the library's name, because that is a string and no text.
const LogLine CONST_LOAD_FAIL =
    Warning("[ CLS_VxAlgoFcu::LoadLib  \"vx_algo_fcu.dylib\"  load fail ]");
const LogLine CONST_CONSTRUCTOR_FAIL =
    Warning(WithValue("[  CLS_MainPlayer::CLS_MainPlayer CLS_VxAlgoFcu::LoadLib fail iRet = ", -1));
const LogLine CONST_DESTRUCTOR_FAIL =
    Warning("[  CLS_MainPlayer::~CLS_MainPlayer nullptr == m_pFcuHandle ]");

using NoAlgorithmTest = ManagerTest;

TEST_F(NoAlgorithmTest, EveryLoadIsTriedAgainAndLogged)
{
    EXPECT_EQ(CLS_VxAlgoFcu::LoadLib(), -1);
    EXPECT_EQ(CLS_VxAlgoFcu::LoadLib(), -1);
    EXPECT_THAT(Lines(), ElementsAre(CONST_LOAD_FAIL, CONST_LOAD_FAIL));
    EXPECT_FALSE(CLS_VxAlgoFcu::m_blLoaded);
    for (const AlgorithmEntry& entry : AlgorithmEntries())
        EXPECT_EQ(entry.address, nullptr) << entry.name;
}

TEST_F(NoAlgorithmTest, ReleasingIsRefusedHereToo)
{
    EXPECT_EQ(CLS_VxAlgoFcu::ReleaseLib(), -1);
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(NoAlgorithmTest, EveryConstructionTriesToLoadAndTheDestructorMissesTheInstance)
{
    {
        const MainPlayerProbe first;
        EXPECT_THAT(Lines(), ElementsAre(CONST_LOAD_FAIL, CONST_CONSTRUCTOR_FAIL));
        EXPECT_EQ(first.m_pFcuHandle, nullptr);
        const MainPlayerProbe second;
        EXPECT_THAT(Lines(), ElementsAre(CONST_LOAD_FAIL, CONST_CONSTRUCTOR_FAIL));
    }
    EXPECT_THAT(Lines(), ElementsAre(CONST_DESTRUCTOR_FAIL, CONST_DESTRUCTOR_FAIL));
    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(NoAlgorithmTest, AStreamPlaysItsViewsAreRefusedAndItsEnginePlayerOutlivesIt)
{
    CLS_FishPlayer& facade = *CLS_FishPlayer::GetInstance();
    std::vector<unsigned char> header = StreamHeader();
    QMap<int, QVector<int>> ids;
    int id = -1;
    EXPECT_EQ(facade.FishPlayer_CreatePlayerFromStream({1, 768}, Window(5), {}, 0, header.data(),
                                                       12, &id, ids, {0, 0}),
              -1);
    EXPECT_EQ(id, CONST_PLAYER);
    EXPECT_THAT(
        Lines(),
        ElementsAre(
            CONST_LOAD_FAIL, CONST_CONSTRUCTOR_FAIL,
            Warning("[  CLS_MainPlayer::CreateSubPlayers nullptr == m_pFcuHandle ]"),
            Warning(WithValue(
                "[  CLS_FishPlayer::FishPlayer_CreatePlayerFromStream  CreateSubPlayer fail iRet = ",
                -1))));
    EXPECT_EQ(facade.FishPlayer_EnableFish(id, true), 0);
    EXPECT_EQ(facade.FishPlayer_DeleteAllPlayer(id), 0);
    EXPECT_THAT(Lines(), ElementsAre(CONST_DESTRUCTOR_FAIL));
    EXPECT_THAT(fake::Names(), ElementsAre("RV_CreatePlayerForSpecialNeeds", "RV_Play",
                                           "RV_SetFishEyeCorrectEnable"));
}

TEST_F(NoAlgorithmTest, APointHasNoPlaceOnThePicture)
{
    MainPlayerProbe player;
    Lines();
    STRUCT_FecPoint in{10000, 12000};
    STRUCT_FecPoint out{-3, -4};
    EXPECT_EQ(player.Coord360ToFE(in, out), -1);
    EXPECT_EQ(player.GetDefultCenterPoint(0, 1, out), -1);
    EXPECT_EQ(in.iX, 10000);  // refused before the point is clamped
    EXPECT_EQ(in.iY, 12000);
    EXPECT_EQ(out.iX, -3);
    EXPECT_EQ(out.iY, -4);
    const LogLine refused = Warning("[  CLS_MainPlayer::Coord360ToFE  nullptr == m_pFcuHandle ]");
    EXPECT_THAT(Lines(), ElementsAre(refused, refused));
}

}  // namespace
