// A process whose correction algorithm library exports none of the six names.
#include "tests/manager/AlgorithmEntries.h"
#include "tests/manager/MainPlayerProbe.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using NoAlgorithmEntriesTest = ManagerTest;

// One test, because the library is loaded once.
TEST_F(NoAlgorithmEntriesTest, TheFirstLoadReportsEveryNameInOrderAndTheSecondIsASuccess)
{
    EXPECT_EQ(CLS_VxAlgoFcu::LoadLib(), -1);
    EXPECT_THAT(
        Lines(),
        ElementsAre(Warning("[ CLS_VxAlgoFcu::LoadLib nullptr == VxAlgo_FCU_Creat ]"),
                    Warning("[ CLS_VxAlgoFcu::LoadLib nullptr == VxAlgo_FCU_Release ]"),
                    Warning("[ CLS_VxAlgoFcu::LoadLib nullptr == VxAlgo_FCU_Init ]"),
                    Warning("[ CLS_VxAlgoFcu::LoadLib nullptr == VxAlgo_FCU_Process ]"),
                    Warning("[ CLS_VxAlgoFcu::LoadLib nullptr == VxAlgo_FCU_GetLibInfo ]"),
                    Warning("[ CLS_VxAlgoFcu::LoadLib nullptr == VxAlgo_FCU_Point_Transform ]")));
    EXPECT_TRUE(CLS_VxAlgoFcu::m_blLoaded);
    EXPECT_EQ(CLS_VxAlgoFcu::LoadLib(), 0);
    EXPECT_THAT(Lines(), IsEmpty());
    for (const AlgorithmEntry& entry : AlgorithmEntries())
        EXPECT_EQ(entry.address, nullptr) << entry.name;
    {
        const MainPlayerProbe player;
        EXPECT_EQ(player.m_pFcuHandle, nullptr);
    }
    EXPECT_THAT(
        Lines(),
        ElementsAre(
            Warning(
                "[  CLS_MainPlayer::CLS_MainPlayer nullptr == CLS_VxAlgoFcu::VxAlgo_FCU_Creat ]"),
            Warning("[  CLS_MainPlayer::~CLS_MainPlayer nullptr == m_pFcuHandle ]")));
    EXPECT_THAT(Calls(), IsEmpty());
}

}  // namespace
