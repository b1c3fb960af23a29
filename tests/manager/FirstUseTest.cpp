// What happens at the first use of the library in a process; this program holds this test alone.
#include <condition_variable>
#include <mutex>
#include <set>
#include <thread>
#include <vector>

#include "VideoPlayer_FishEye/CLS_FishPlayer.h"
#include "tests/manager/AlgorithmEntries.h"
#include "tests/manager/EngineEntries.h"
#include "tests/support/LogCapture.h"
#include "tests/support/Recorder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using ::testing::IsEmpty;

/// Lets as many threads go as it was made for, when all have arrived.
class Gate
{
public:
    explicit Gate(int threads) : m_missing(threads) {}

    void Pass()
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        --m_missing;
        m_arrived.notify_all();
        m_arrived.wait(lock, [this] { return m_missing <= 0; });
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_arrived;
    int m_missing;
};

TEST(FirstUse, ManyThreadsGetOneInstanceWhichStartsTheEngineOnceAndNoAlgorithm)
{
    const LogCapture log;
    fake::Reset();
    for (const EngineEntry& entry : EngineEntries())
        EXPECT_EQ(entry.address, nullptr) << entry.pointer;

    constexpr int threads = 16;
    Gate gate(threads);
    std::vector<CLS_FishPlayer*> instances(threads);
    std::vector<std::thread> clients;
    for (CLS_FishPlayer*& instance : instances)
        clients.emplace_back([&gate, &instance] {
            gate.Pass();
            instance = CLS_FishPlayer::GetInstance();
        });
    for (std::thread& client : clients)
        client.join();

    EXPECT_NE(instances[0], nullptr);
    EXPECT_EQ(std::set<CLS_FishPlayer*>(instances.begin(), instances.end()).size(), 1U);
    const std::vector<fake::Call> calls = fake::Calls();
    ASSERT_EQ(calls.size(), 1U);
    EXPECT_EQ(calls[0].name, "RV_CreateSystem");
    EXPECT_EQ(calls[0].Int(0), 0);
    EXPECT_THAT(log.Lines(), IsEmpty());
    for (const EngineEntry& entry : EngineEntries())
        EXPECT_NE(entry.address, nullptr) << entry.pointer;
    EXPECT_FALSE(CLS_VxAlgoFcu::m_blLoaded);  // a main player loads it
    for (const AlgorithmEntry& entry : AlgorithmEntries())
        EXPECT_EQ(entry.address, nullptr) << entry.name;
}

}  // namespace
