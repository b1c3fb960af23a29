// The conversions to and from GB2312 in a process that finds no locale.
#include <clocale>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Common/CommonFun.h"

namespace {

class NoLocaleTest : public ::testing::Test
{
protected:
    NoLocaleTest() { EXPECT_EQ(std::setlocale(LC_ALL, "zh_CN.GB2312"), nullptr); }
};

TEST_F(NoLocaleTest, NothingIsConverted)
{
    for (const char* name : {"C", "C.UTF-8"}) {
        ASSERT_NE(std::setlocale(LC_ALL, name), nullptr) << name;
        EXPECT_EQ(WStrToStr(L"abc"), "");
        EXPECT_EQ(WStrToStr(L"\x4E2D"), "");
        EXPECT_EQ(WStrToStr(L""), "");
        EXPECT_EQ(StrToWStr("abc"), L"");
        EXPECT_EQ(StrToWStr("\xD6\xD0"), L"");
        EXPECT_EQ(StrToWStr(""), L"");
    }
}

TEST_F(NoLocaleTest, TheLocaleStaysAsItIs)
{
    std::setlocale(LC_ALL, "C");
    std::setlocale(LC_CTYPE, "C.UTF-8");
    const std::string before = std::setlocale(LC_ALL, nullptr);
    WStrToStr(L"abc");
    StrToWStr("abc");
    EXPECT_EQ(std::setlocale(LC_ALL, nullptr), before);
}

}  // namespace
