#include <atomic>
#include <limits>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include "tests/correction/Library.h"
#include "tests/support/Shortage.h"

namespace correction_test {
namespace {

constexpr float CONST_NAN = std::numeric_limits<float>::quiet_NaN();

TEST(CorrectionLibrary, IsFoundByItsBareNameWithAllSixEntryPoints)
{
    const Library& library = TheLibrary();
    ASSERT_NE(library.Creat, nullptr);
    EXPECT_NE(library.Init, nullptr);
    EXPECT_NE(library.Process, nullptr);
    EXPECT_NE(library.Point_Transform, nullptr);
    EXPECT_NE(library.GetLibInfo, nullptr);
    EXPECT_NE(library.Release, nullptr);
}

TEST(CorrectionLibrary, TellsItsNameAndVersion)
{
    InfoRecord info;
    EXPECT_EQ(TheLibrary().GetLibInfo(info.Data()), 0);
    EXPECT_EQ(info.Get<int>(0), 48);
    EXPECT_EQ(info.Get<int>(4), 1);
    EXPECT_STREQ(static_cast<const char*>(info.Data()) + 16, "vx_algo_fcu");
    info.Put(0, 47);
    EXPECT_EQ(TheLibrary().GetLibInfo(info.Data()), -3);
    EXPECT_EQ(TheLibrary().GetLibInfo(nullptr), -2);
}

/// The first test that asks for a handle: the library has taken no memory yet.
TEST(CorrectionHandle, WithoutMemoryEveryEntryPointSaysSo)
{
    const Library& library = TheLibrary();
    const auto starved = [](auto&& call) {
        const shortage::Shortage shortage(shortage::Of::Memory, shortage::On::ThisThread, 0);
        return call();
    };
    int iLocal = 0;
    TransformRecord transform = Transform(3, 0x300, {0.5f, 0.5f}, 0x40000, 0x40000);
    InitRecord init = GoodInit();
    Pair stResult = {};
    EXPECT_EQ(starved([&] { return library.Creat(nullptr, nullptr); }), nullptr);
    EXPECT_EQ(starved([&] { return library.Init(&iLocal, init.Data()); }), -7);
    EXPECT_EQ(starved([&] { return library.Process(&iLocal, 0, nullptr, nullptr); }), -7);
    EXPECT_EQ(
        starved([&] { return library.Point_Transform(&iLocal, transform.Data(), &stResult); }), -7);
    EXPECT_EQ(starved([&] { return library.Release(&iLocal); }), -7);
    void* const pHandle = library.Creat(nullptr, nullptr);
    EXPECT_NE(pHandle, nullptr);
    EXPECT_EQ(starved([&] { return library.Creat(nullptr, nullptr); }), nullptr);
    EXPECT_EQ(library.Release(pHandle), 0);
}

TEST(CorrectionHandle, NullUnknownAndReleasedHandlesAreRefusedByEveryEntryPoint)
{
    const Library& library = TheLibrary();
    void* const pReleased = library.Creat(nullptr, nullptr);
    ASSERT_NE(pReleased, nullptr);
    EXPECT_EQ(library.Release(pReleased), 0);
    int iLocal = 0;
    for (void* pHandle : {static_cast<void*>(nullptr), static_cast<void*>(&iLocal), pReleased}) {
        TransformRecord transform = Transform(3, 0x300, {0.5f, 0.5f}, 0x40000, 0x40000);
        Pair stResult = {};
        EXPECT_EQ(library.Init(pHandle, GoodInit().Data()), -1);
        EXPECT_EQ(library.Point_Transform(pHandle, transform.Data(), &stResult), -1);
        EXPECT_EQ(Trace(pHandle, Outline(3, 0x100, {0.5f, 0.5f}, 1.0f)).iResult, -1);
        EXPECT_EQ(library.Release(pHandle), -1);
    }
}

TEST(CorrectionHandle, AReleasedHandlesValueDoesNotComeBack)
{
    void* const pFirst = TheLibrary().Creat(nullptr, nullptr);
    TheLibrary().Release(pFirst);
    void* const pSecond = TheLibrary().Creat(nullptr, nullptr);
    EXPECT_NE(pFirst, pSecond);
    TheLibrary().Release(pSecond);
}

TEST(CorrectionHandle, WorksOnlyOnceInitialised)
{
    void* const pHandle = TheLibrary().Creat(nullptr, nullptr);
    EXPECT_EQ(Trace(pHandle, Outline(3, 0x100, {0.5f, 0.5f}, 1.0f)).iResult, -5);
    EXPECT_EQ(TheLibrary().Init(pHandle, GoodInit().Data()), 0);
    EXPECT_EQ(Trace(pHandle, Outline(3, 0x100, {0.5f, 0.5f}, 1.0f)).iResult, 0);
    EXPECT_EQ(TheLibrary().Init(pHandle, GoodInit().Data()), 0);
    TheLibrary().Release(pHandle);
}

TEST(CorrectionHandle, AStartUpRecordOfAnotherPictureIsRefused)
{
    void* const pHandle = TheLibrary().Creat(nullptr, nullptr);
    const auto result = [&](InitRecord record) {
        return TheLibrary().Init(pHandle, record.Data());
    };
    EXPECT_EQ(TheLibrary().Init(pHandle, nullptr), -2);
    EXPECT_EQ(result(GoodInit().Put(0, 131)), -3);
    EXPECT_EQ(result(GoodInit().Put(4, 1001)), -4);
    EXPECT_EQ(result(GoodInit().Put(4, 0).Put(8, 0)), -4);
    EXPECT_EQ(result(GoodInit().Put(4, -5).Put(8, -5)), -4);
    EXPECT_EQ(result(GoodInit().Put(20, 2.0f)), -4);
    EXPECT_EQ(result(GoodInit().Put(28, CONST_NAN)), -4);
    EXPECT_EQ(result(GoodInit().Put(32, CONST_NAN)), -4);
    EXPECT_EQ(result(GoodInit().Put(36, 0.4f)), -4);
    EXPECT_EQ(Trace(pHandle, Outline(3, 0x100, {0.5f, 0.5f}, 1.0f)).iResult, -5);
    TheLibrary().Release(pHandle);
}

// For the thread sanitizer: one handle in several threads, others coming and going.
TEST(CorrectionHandle, SeveralThreadsWorkWithOneHandleWhileOthersComeAndGo)
{
    const Handle handle;
    const Traced expected = Trace(handle.Get(), Outline(3, 0x300, {0.5f, 0.4f}, 1.0f));
    std::atomic<int> iWrong{0};
    const auto work = [&] {
        for (int i = 0; i < 50; ++i) {
            const Traced traced = Trace(handle.Get(), Outline(3, 0x300, {0.5f, 0.4f}, 1.0f));
            iWrong += traced.iResult != 0 || traced.vecLines.size() != expected.vecLines.size();
            void* const pOther = TheLibrary().Creat(nullptr, nullptr);
            iWrong += TheLibrary().Init(pOther, GoodInit().Data()) != 0;
            iWrong += TheLibrary().Release(pOther) != 0;
        }
    };
    std::vector<std::thread> vecThreads;
    for (int i = 0; i < 4; ++i)
        vecThreads.emplace_back(work);
    for (std::thread& thread : vecThreads)
        thread.join();
    EXPECT_EQ(iWrong, 0);
}

}  // namespace
}  // namespace correction_test
