// The binding to the correction algorithm library, with the library whole.
#include <dlfcn.h>

#include "tests/manager/AlgorithmEntries.h"
#include "tests/support/ManagerTest.h"

namespace {

using ::testing::IsEmpty;

using AlgorithmBindingTest = ManagerTest;

TEST_F(AlgorithmBindingTest, EveryPointerHoldsTheAddressOfItsOwnName)
{
    EXPECT_EQ(CLS_VxAlgoFcu::LoadLib(), 0);
    EXPECT_TRUE(CLS_VxAlgoFcu::m_blLoaded);
    void* const handle = dlopen("vx_algo_fcu.dylib", RTLD_LAZY | RTLD_NOLOAD);
    ASSERT_NE(handle, nullptr);
    for (const AlgorithmEntry& entry : AlgorithmEntries()) {
        EXPECT_NE(entry.address, nullptr) << entry.name;
        EXPECT_EQ(entry.address, dlsym(handle, entry.name)) << entry.name;
    }
    dlclose(handle);
    EXPECT_THAT(Lines(), IsEmpty());
    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(AlgorithmBindingTest, ASecondLoadResolvesNothing)
{
    CLS_VxAlgoFcu::LoadLib();
    auto* const init = CLS_VxAlgoFcu::VxAlgo_FCU_Init;
    CLS_VxAlgoFcu::VxAlgo_FCU_Init = nullptr;
    EXPECT_EQ(CLS_VxAlgoFcu::LoadLib(), 0);
    EXPECT_EQ(CLS_VxAlgoFcu::VxAlgo_FCU_Init, nullptr);
    CLS_VxAlgoFcu::VxAlgo_FCU_Init = init;
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(AlgorithmBindingTest, ReleasingIsRefusedAndDoesNothing)
{
    CLS_VxAlgoFcu::LoadLib();
    EXPECT_EQ(CLS_VxAlgoFcu::ReleaseLib(), -1);
    EXPECT_EQ(CLS_VxAlgoFcu::ReleaseLib(), -1);
    EXPECT_TRUE(CLS_VxAlgoFcu::m_blLoaded);
    void* const handle = dlopen("vx_algo_fcu.dylib", RTLD_LAZY | RTLD_NOLOAD);
    EXPECT_NE(handle, nullptr);
    dlclose(handle);
    for (const AlgorithmEntry& entry : AlgorithmEntries())
        EXPECT_NE(entry.address, nullptr) << entry.name;
    EXPECT_THAT(Lines(), IsEmpty());
}

}  // namespace
