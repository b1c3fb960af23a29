// The trace line and the sleep. The process has a clock and a sleep of its own, which the library
// finds instead of the system's.
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <string>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "Common/CommonFun.h"

namespace {

std::time_t s_now = 1709288430;  // 2024-03-01 10:20:30 UTC
unsigned int s_slept = 0;
int s_sleepResult = 0;

}  // namespace

extern "C" __attribute__((visibility("default"))) std::time_t time(std::time_t* out) noexcept
{
    if (nullptr != out)
        *out = s_now;
    return s_now;
}

extern "C" __attribute__((visibility("default"))) int usleep(useconds_t microseconds)
{
    s_slept = microseconds;
    return s_sleepResult;
}

namespace {

/// TraceR without the compiler's checks of its format.
void (*const s_trace)(const char*, ...) = TraceR;

/// What the function writes to standard output and flushes, in a time zone.
std::string Output(const std::function<void()>& run, const char* zone = "UTC")
{
    int ends[2];
    if (0 != pipe2(ends, O_NONBLOCK))
        return "no pipe";
    std::fflush(stdout);
    const int standardOutput = dup(STDOUT_FILENO);
    dup2(ends[1], STDOUT_FILENO);
    close(ends[1]);
    setenv("TZ", zone, 1);
    run();
    std::string output;
    char part[4096];
    for (ssize_t n = 0; (n = read(ends[0], part, sizeof(part))) > 0;)
        output.append(part, static_cast<std::size_t>(n));
    unsetenv("TZ");
    dup2(standardOutput, STDOUT_FILENO);
    close(standardOutput);
    close(ends[0]);
    return output;
}

class TraceTest : public ::testing::Test
{
protected:
    ~TraceTest() override { s_now = 1709288430; }
};

TEST_F(TraceTest, IsTheLocalTimeTheMessageRightBehindItAndALineEndFlushed)
{
    EXPECT_EQ(Output([] { TraceR("x=%d", 5); }), "2024-03-01 10:20:30x=5\n");
}

TEST_F(TraceTest, ShowsTheTimeOfTheZone)
{
    EXPECT_EQ(Output([] { TraceR("x"); }, "CST-8"), "2024-03-01 18:20:30x\n");
}

TEST_F(TraceTest, FillsSmallNumbersUpWithZeros)
{
    s_now = 981173106;
    EXPECT_EQ(Output([] { TraceR("x"); }), "2001-02-03 04:05:06x\n");
}

TEST_F(TraceTest, FormatsEveryArgumentOnce)
{
    EXPECT_EQ(Output([] { TraceR("%s|%5.2f|%c|%%", "%d%s%n", 1.5, 'c'); }),
              "2024-03-01 10:20:30%d%s%n| 1.50|c|%\n");
}

TEST_F(TraceTest, AnEmptyMessageIsTheTimeAlone)
{
    EXPECT_EQ(Output([] { s_trace(""); }), "2024-03-01 10:20:30\n");
}

TEST_F(TraceTest, ANullFormatIsTheTimeAlone)
{
    EXPECT_EQ(Output([] { s_trace(nullptr); }), "2024-03-01 10:20:30\n");
}

TEST_F(TraceTest, TheLongestMessageFillsUpTo1023Characters)
{
    const std::string fits(1023 - 19, 'm');
    EXPECT_EQ(Output([&fits] { TraceR("%s", fits.c_str()); }), "2024-03-01 10:20:30" + fits + "\n");
}

TEST_F(TraceTest, ALongerMessageIsCut)
{
    const std::string fits(1023 - 19, 'm');
    for (const std::size_t more : {1U, 2U, 5000U}) {
        const std::string message = fits + std::string(more, 'x');
        EXPECT_EQ(Output([&message] { TraceR("%s", message.c_str()); }),
                  "2024-03-01 10:20:30" + fits + "\n");
    }
}

TEST_F(TraceTest, AMessageThatCannotBeFormattedIsTheTimeAlone)
{
    EXPECT_EQ(Output([] { TraceR("abc%ls", L"\x4E2D"); }), "2024-03-01 10:20:30\n");
}

TEST_F(TraceTest, OneLineFollowsTheOther)
{
    EXPECT_EQ(Output([] {
                  TraceR("a");
                  TraceR("b\n");
              }),
              "2024-03-01 10:20:30a\n2024-03-01 10:20:30b\n\n");
}

/// Milliseconds, and what the system is asked for.
struct Sleep
{
    const char* name;
    unsigned long milliseconds;
    unsigned int microseconds;

    friend std::ostream& operator<<(std::ostream& out, const Sleep& row) { return out << row.name; }
};

class SleepTest : public ::testing::TestWithParam<Sleep>
{};

TEST_P(SleepTest, TakesTheProductIn32BitsAndHandsTheResultOn)
{
    for (const int result : {0, -1}) {
        s_slept = 77;
        s_sleepResult = result;
        EXPECT_EQ(VX_Sleep(GetParam().milliseconds), result);
        EXPECT_EQ(s_slept, GetParam().microseconds);
    }
}

INSTANTIATE_TEST_SUITE_P(CommonFun, SleepTest,
                         ::testing::Values(Sleep{"Nothing", 0, 0}, Sleep{"FortyMs", 40, 40000},
                                           Sleep{"ASecond", 1000, 1000000},
                                           Sleep{"TheLargestThatFits", 4294967, 4294967000U},
                                           Sleep{"TheProductWraps", 4294968, 704},
                                           Sleep{"BeyondUnsigned", 4294967301UL, 5000}),
                         [](const ::testing::TestParamInfo<Sleep>& info) {
                             return info.param.name;
                         });

}  // namespace
