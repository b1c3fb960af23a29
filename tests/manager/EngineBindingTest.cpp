// The binding to the player engine: loading, the 77 pointers, and the two decode settings.
#include <algorithm>
#include <iterator>
#include <string>
#include <vector>

#include <dlfcn.h>

#include "VideoPlayer_Vx/CLS_VxPlayer_SDK.h"
#include "tests/manager/EngineEntries.h"
#include "tests/manager/RecordBytes.h"
#include "tests/support/ManagerTest.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using VX_Framework::VideoPlayer::CLS_VxPlayer_SDK;

constexpr char CONST_FILE[] = "libplaysdk.dylib";

LogLine VxLine(QtMsgType level, const std::string& text)
{
    return {level, "\"_VX_\" \"VideoPlayer_Vx\" : " + text};
}

/// The engine as it is mapped, null when it is not; what is returned keeps no reference.
void* Mapped()
{
    void* const handle = dlopen(CONST_FILE, RTLD_LAZY | RTLD_NOLOAD);
    if (nullptr != handle)
        dlclose(handle);
    return handle;
}

/// Leaves the engine loaded, whatever a test did to it.
class EngineBindingTest : public ManagerTest
{
protected:
    ~EngineBindingTest() override
    {
        CLS_VxPlayer_SDK::ReleaseLib();
        CLS_VxPlayer_SDK::LoadLib(CONST_FILE);
    }
};

TEST_F(EngineBindingTest, TheTableHoldsThe77NamesInTheOrderOfTheirResolution)
{
    const std::vector<EngineEntry> entries = EngineEntries();
    ASSERT_EQ(entries.size(), 77U);
    ASSERT_EQ(std::size(CONST_ENGINE_ENTRIES), 77U);
    for (std::size_t i = 0; i < entries.size(); ++i) {
        EXPECT_STREQ(entries[i].pointer, CONST_ENGINE_ENTRIES[i].pointer) << "row " << i + 1;
        EXPECT_STREQ(entries[i].exported, CONST_ENGINE_ENTRIES[i].exported) << "row " << i + 1;
    }
}

TEST_F(EngineBindingTest, EveryPointerHoldsTheAddressOfItsOwnName)
{
    for (const EngineEntry& entry : EngineEntries()) {
        EXPECT_NE(entry.address, nullptr) << entry.pointer;
        EXPECT_EQ(entry.address, dlsym(Mapped(), entry.exported)) << entry.pointer;
    }
}

TEST_F(EngineBindingTest, TheVodPlayerIsLookedUpWithACapitalD)
{
    EXPECT_EQ(dlsym(Mapped(), "RV_CreatePlayerFromVod"), nullptr);
    EXPECT_EQ(reinterpret_cast<void*>(CLS_VxPlayer_SDK::RV_CreatePlayerFromVod),
              dlsym(Mapped(), "RV_CreatePlayerFromVoD"));
}

TEST_F(EngineBindingTest, ASecondLoadWithAnyNameIsTrueAndResolvesNothing)
{
    CLS_VxPlayer_SDK::RV_Play = nullptr;
    EXPECT_TRUE(CLS_VxPlayer_SDK::LoadLib(CONST_FILE));
    EXPECT_TRUE(CLS_VxPlayer_SDK::LoadLib("no such library"));
    EXPECT_TRUE(CLS_VxPlayer_SDK::LoadLib(""));
    EXPECT_EQ(CLS_VxPlayer_SDK::RV_Play, nullptr);
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(EngineBindingTest, ALibraryThatCannotBeOpenedIsFalseWithoutALineAndIsTriedAgain)
{
    CLS_VxPlayer_SDK::ReleaseLib();
    const std::vector<EngineEntry> before = EngineEntries();
    EXPECT_FALSE(CLS_VxPlayer_SDK::LoadLib("no such library"));
    EXPECT_FALSE(CLS_VxPlayer_SDK::LoadLib(nullptr));
    EXPECT_FALSE(CLS_VxPlayer_SDK::LoadLib("/tmp/libplaysdk.dylib"));  // no directory is searched
    EXPECT_EQ(Mapped(), nullptr);
    EXPECT_EQ(EngineEntries(), before);
    EXPECT_TRUE(CLS_VxPlayer_SDK::LoadLib(CONST_FILE));
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(EngineBindingTest, ReleasingClosesTheLibraryAndLeavesThePointersStale)
{
    const std::vector<EngineEntry> before = EngineEntries();
    EXPECT_TRUE(CLS_VxPlayer_SDK::ReleaseLib());
    EXPECT_EQ(Mapped(), nullptr);
    EXPECT_EQ(EngineEntries(), before);
    EXPECT_THAT(Lines(), IsEmpty());
    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(EngineBindingTest, ReleasingAnUnloadedBindingIsTrueAndDoesNothing)
{
    CLS_VxPlayer_SDK::ReleaseLib();
    const std::vector<EngineEntry> before = EngineEntries();
    EXPECT_TRUE(CLS_VxPlayer_SDK::ReleaseLib());
    EXPECT_EQ(EngineEntries(), before);
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(EngineBindingTest, LoadingAfterAReleaseResolvesEveryPointerAgain)
{
    CLS_VxPlayer_SDK::ReleaseLib();
    ForgetEngineEntries();
    EXPECT_TRUE(CLS_VxPlayer_SDK::LoadLib(CONST_FILE));
    for (const EngineEntry& entry : EngineEntries())
        EXPECT_EQ(entry.address, dlsym(Mapped(), entry.exported)) << entry.pointer;
    EXPECT_EQ(CLS_FishPlayer::GetInstance()->FishPlayer_CreateSystem(), 0);
    EXPECT_THAT(fake::Names(), ElementsAre("RV_CreateSystem"));
}

TEST_F(EngineBindingTest, TheDecodeTypeIsLoggedWithItsOldValueAndReachesNoEngine)
{
    CLS_VxPlayer_SDK::SetDecordType(2);  // the type is 0 at first, and again at the end
    CLS_VxPlayer_SDK::SetDecordType(5);
    CLS_VxPlayer_SDK::SetDecordType(-2147483647 - 1);
    CLS_VxPlayer_SDK::SetDecordType(0);
    EXPECT_THAT(
        Lines(),
        ElementsAre(
            VxLine(QtDebugMsg, "pokkel---SetDecordType s_iDecodeType =   0  _iDecodeType =   2"),
            VxLine(QtDebugMsg, "pokkel---SetDecordType s_iDecodeType =   2  _iDecodeType =   5"),
            VxLine(QtDebugMsg,
                   "pokkel---SetDecordType s_iDecodeType =   5  _iDecodeType =   -2147483648"),
            VxLine(QtDebugMsg,
                   "pokkel---SetDecordType s_iDecodeType =   -2147483648  _iDecodeType =   0")));
    EXPECT_THAT(Calls(), IsEmpty());
}

const LogLine CONST_AV_MODE = {
    QtDebugMsg,
    "\"_VX_\" \"VideoPlayer_Vx\" : RV_SetAVMode video=   1  audio=   0  aac=   0  main_mode=   5  "
    "sub_mode=   0"};

TEST_F(EngineBindingTest, TheDecodeModeIsSevenValuesOf28Bytes)
{
    fake::Next("RV_SetAVMode", 3);
    EXPECT_TRUE(CLS_VxPlayer_SDK::SetDecodeMode());
    const std::vector<fake::Call> calls = Calls();
    ASSERT_EQ(calls.size(), 1U);
    EXPECT_EQ(calls[0].name, "RV_SetAVMode");
    EXPECT_EQ(calls[0].Int(0), 2);
    EXPECT_EQ(calls[0].Int(2), 28);
    EXPECT_EQ(
        calls[0].records[0],
        RecordBytes(28).Int(0, 28).Int(4, 1).Int(8, 0).Int(12, 0).Int(16, 5).Int(20, 0).Int(24, 0));
    EXPECT_THAT(Lines(), ElementsAre(CONST_AV_MODE));
}

TEST_F(EngineBindingTest, ARefusedDecodeModeIsFalseWithAWarning)
{
    fake::Next("RV_SetAVMode", -1);
    EXPECT_FALSE(CLS_VxPlayer_SDK::SetDecodeMode());
    EXPECT_THAT(Lines(), ElementsAre(CONST_AV_MODE, VxLine(QtWarningMsg, "RV_SetAVMode faild")));
}

TEST_F(EngineBindingTest, HardwareDecodingIsFourValuesOf16Bytes)
{
    fake::Next("RV_SetVideoMode", 0);
    EXPECT_TRUE(::SetHardDecodeMode());
    fake::Next("RV_SetVideoMode", 9);
    EXPECT_TRUE(VX_Framework::VideoPlayer::SetHardDecodeMode());
    const std::vector<fake::Call> calls = Calls();
    ASSERT_EQ(calls.size(), 2U);
    for (const fake::Call& call : calls) {
        EXPECT_EQ(call.name, "RV_SetVideoMode");
        EXPECT_EQ(call.Int(0), 3);
        EXPECT_EQ(call.Int(2), 16);
        EXPECT_EQ(call.records[0], RecordBytes(16).Int(0, 16).Int(4, 0).Int(8, 256).Int(12, 7));
    }
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(EngineBindingTest, RefusedHardwareDecodingIsFalseWithAWarning)
{
    fake::Next("RV_SetVideoMode", -1);
    EXPECT_FALSE(::SetHardDecodeMode());
    EXPECT_THAT(Lines(), ElementsAre(VxLine(QtWarningMsg, "SetHardDecodeMode faild")));
}

}  // namespace
