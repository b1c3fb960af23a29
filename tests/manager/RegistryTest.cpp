// The engine's system, and how players enter and leave the facade's registry.
#include <climits>

#include "tests/manager/FacadeProbe.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class RegistryTest : public ManagerTest
{
protected:
    RegistryTest() { Calls(); }

    int Create()
    {
        std::vector<unsigned char> header = StreamHeader();
        int id = -1;
        EXPECT_EQ(m_facade.CreateMainPlayer({1, 768}, Window(5), 0, header.data(), 12, &id), 0);
        return id;
    }

    FacadeProbe m_facade;
};

TEST_F(RegistryTest, AnInstanceStartsTheEngineWithZeroAndIsEmpty)
{
    const FacadeProbe facade;
    const std::vector<fake::Call> calls = Calls();
    ASSERT_EQ(calls.size(), 1U);
    EXPECT_EQ(calls[0].name, "RV_CreateSystem");
    EXPECT_EQ(calls[0].Int(0), 0);
    EXPECT_TRUE(facade.m_qmapMainPlayer.isEmpty());
}

TEST_F(RegistryTest, AnEngineThatDoesNotStartLeavesAnInstanceWithoutALine)
{
    fake::Next("RV_CreateSystem", -4);
    const FacadeProbe facade;
    EXPECT_TRUE(facade.m_qmapMainPlayer.isEmpty());
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(RegistryTest, CreateSystemStartsTheEngineEachTimeAndPassesItsResultOn)
{
    for (const int result : {0, 5, -1, -12, INT_MIN, INT_MAX}) {
        fake::Next("RV_CreateSystem", result);
        EXPECT_EQ(m_facade.FishPlayer_CreateSystem(), result);
    }
    EXPECT_EQ(fake::CallsOf("RV_CreateSystem").size(), 6U);
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(RegistryTest, DeleteSystemIsZeroAndDoesNothing)
{
    const int id = Create();
    Calls();
    EXPECT_EQ(m_facade.FishPlayer_DeleteSystem(), 0);
    EXPECT_EQ(m_facade.FishPlayer_DeleteSystem(), 0);
    EXPECT_THAT(Calls(), IsEmpty());
    EXPECT_THAT(Lines(), IsEmpty());
    EXPECT_EQ(m_facade.FishPlayer_EnableFish(id, true), 0);  // later operations work
    EXPECT_EQ(m_facade.FishPlayer_DeleteAllPlayer(id), 0);
}

TEST_F(RegistryTest, ACreatedPlayerIsRegisteredUnderTheEnginesIdAndLeavesWithItsDeletion)
{
    const int id = Create();
    EXPECT_EQ(id, CONST_PLAYER);
    EXPECT_EQ(m_facade.m_qmapMainPlayer.keys(), QList<int>{CONST_PLAYER});
    EXPECT_EQ(m_facade.FishPlayer_DeleteAllPlayer(id), 0);
    EXPECT_TRUE(m_facade.m_qmapMainPlayer.isEmpty());
    EXPECT_THAT(Lines(), IsEmpty());
    EXPECT_THAT(fake::Names(),
                ElementsAre("VxAlgo_FCU_Creat", "VxAlgo_FCU_Init", "RV_CreatePlayerForSpecialNeeds",
                            "RV_Play", "VxAlgo_FCU_Release", "RV_DeletePlayer"));
}

TEST_F(RegistryTest, APlayerIsDestroyedBeforeItsEntryIsRemoved)
{
    const int id = Create();
    bool registered = false;
    fake::Next("RV_DeletePlayer", [&](const fake::Call&) {
        registered = m_facade.m_qmapMainPlayer.contains(id);
        return 0;
    });
    m_facade.FishPlayer_DeleteAllPlayer(id);
    EXPECT_TRUE(registered);
}

TEST_F(RegistryTest, APlayerIsDestroyedByItsDestructorAlone)
{
    std::vector<std::string> asked;
    m_facade.m_qmapMainPlayer[42] = new RecordingPlayer(asked);
    EXPECT_EQ(m_facade.FishPlayer_DeleteAllPlayer(42), 0);
    EXPECT_THAT(asked, ElementsAre("destructor"));
}

TEST_F(RegistryTest, ADeletionThatTheEngineRefusesIsZeroAllTheSame)
{
    const int id = Create();
    fake::Next("RV_DeletePlayer", -9);
    EXPECT_EQ(m_facade.FishPlayer_DeleteAllPlayer(id), 0);
    EXPECT_TRUE(m_facade.m_qmapMainPlayer.isEmpty());
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(RegistryTest, DeletingTheViewsKeepsTheIdAndANewLayoutIsBuilt)
{
    const int id = Create();
    QMap<int, QVector<int>> ids;
    const QMap<int, QVector<void*>> windows = {{0x200, {Window(1)}}};
    EXPECT_EQ(m_facade.FishPlayer_CreateSubPlayer({1, 768}, id, windows, ids, {0, 0}), 0);
    EXPECT_EQ(m_facade.FishPlayer_DeleteAllSubPlayer(id), 0);
    EXPECT_TRUE(m_facade.m_qmapMainPlayer.contains(id));
    EXPECT_THAT(fake::CallsOf("RV_DeletePlayer"), IsEmpty());
    EXPECT_EQ(m_facade.FishPlayer_CreateSubPlayer({1, 768}, id, windows, ids, {0, 0}), 0);
    EXPECT_EQ(fake::CallsOf("RV_CreateFishEyeCorrect").size(), 2U);
    m_facade.FishPlayer_DeleteAllPlayer(id);
}

TEST_F(RegistryTest, AnIdThatIsStillRegisteredGetsTheNewPlayerAndTheOldOneStaysAlive)
{
    char first;
    char second;
    fake::Next("VxAlgo_FCU_Creat", reinterpret_cast<std::intptr_t>(&first));
    fake::Next("VxAlgo_FCU_Creat", reinterpret_cast<std::intptr_t>(&second));
    const int id = [this] {
        const DeliberateLeak leak("a player that is replaced is neither deleted nor told");
        return Create();
    }();
    EXPECT_EQ(Create(), id);
    EXPECT_EQ(m_facade.m_qmapMainPlayer.size(), 1);
    EXPECT_THAT(fake::CallsOf("VxAlgo_FCU_Release"), IsEmpty());
    EXPECT_THAT(fake::CallsOf("RV_DeletePlayer"), IsEmpty());
    EXPECT_THAT(Lines(), IsEmpty());
    EXPECT_EQ(m_facade.FishPlayer_DeleteAllPlayer(id), 0);
    const std::vector<fake::Call> released = fake::CallsOf("VxAlgo_FCU_Release");
    ASSERT_EQ(released.size(), 1U);
    EXPECT_EQ(released[0].Pointer<char>(0), &second);
    EXPECT_EQ(m_facade.FishPlayer_DeleteAllPlayer(id), -1);  // the old one is unreachable
}

TEST_F(RegistryTest, TheFacadesDestructorFreesTheRegistryAlone)
{
    std::vector<std::string> asked;
    RecordingPlayer player(asked);
    {
        FacadeProbe facade;
        facade.m_qmapMainPlayer[42] = &player;
        facade.m_qmapMainPlayer[43] = nullptr;
        Calls();
    }
    EXPECT_THAT(asked, IsEmpty());
    EXPECT_THAT(Calls(), IsEmpty());
    EXPECT_THAT(Lines(), IsEmpty());
}

}  // namespace
