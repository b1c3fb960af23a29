// The conversions between wide text and GB2312, where the locale exists.
#include <clocale>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Common/CommonFun.h"

namespace {

std::string Locale()
{
    return std::setlocale(LC_ALL, nullptr);
}

class LocaleTest : public ::testing::Test
{
protected:
    LocaleTest()
    {
        EXPECT_NE(std::setlocale(LC_ALL, "zh_CN.GB2312"), nullptr) << "see scripts/make-locale.sh";
        std::setlocale(LC_ALL, "C");
    }
    ~LocaleTest() override { std::setlocale(LC_ALL, "C"); }
};

TEST_F(LocaleTest, TextGoesThereAndBack)
{
    const std::wstring wide = L"a\x4E2D\x6587 z";
    const std::string bytes = "a\xD6\xD0\xCE\xC4 z";
    EXPECT_EQ(WStrToStr(wide), bytes);
    EXPECT_EQ(StrToWStr(bytes), wide);
}

TEST_F(LocaleTest, EmptyTextIsEmpty)
{
    EXPECT_EQ(WStrToStr(L""), "");
    EXPECT_EQ(StrToWStr(""), L"");
}

TEST_F(LocaleTest, LongTextIsConvertedWhole)
{
    std::string bytes;
    for (int i = 0; i < 100000; ++i)
        bytes += "\xD6\xD0";
    EXPECT_EQ(WStrToStr(std::wstring(100000, L'\x4E2D')), bytes);
    EXPECT_EQ(StrToWStr(bytes), std::wstring(100000, L'\x4E2D'));
}

TEST_F(LocaleTest, TextEndsAtItsFirstZero)
{
    EXPECT_EQ(WStrToStr(std::wstring(L"ab\0cd", 5)), "ab");
    EXPECT_EQ(StrToWStr(std::string("ab\0cd", 5)), L"ab");
    EXPECT_EQ(WStrToStr(std::wstring(1, L'\0')), "");
    EXPECT_EQ(StrToWStr(std::string(1, '\0')), L"");
}

TEST_F(LocaleTest, WideTextThatGb2312LacksIsEmpty)
{
    EXPECT_EQ(WStrToStr(L"\x1F600"), "");
    EXPECT_EQ(WStrToStr(L"abc\x20AC"), "");
    EXPECT_EQ(WStrToStr(L"\x20AC"), "");
    EXPECT_EQ(WStrToStr(std::wstring(1, static_cast<wchar_t>(0xD800))), "");
    EXPECT_EQ(WStrToStr(std::wstring(1, static_cast<wchar_t>(0x7FFFFFFF))), "");
    EXPECT_EQ(WStrToStr(std::wstring(1, static_cast<wchar_t>(-1))), "");
}

TEST_F(LocaleTest, BytesThatAreNotGb2312AreEmpty)
{
    EXPECT_EQ(StrToWStr("\xFF"), L"");
    EXPECT_EQ(StrToWStr("\x80"), L"");
    EXPECT_EQ(StrToWStr("abc\xD6"), L"");
    EXPECT_EQ(StrToWStr("\xD6 "), L"");
    EXPECT_EQ(StrToWStr("\xFE\xFE"), L"");
}

/// Calls each conversion once with text that converts and once with text that does not.
void ConvertAll()
{
    WStrToStr(L"\x4E2D");
    WStrToStr(L"\x1F600");
    StrToWStr("\xD6\xD0");
    StrToWStr("\xFF");
}

TEST_F(LocaleTest, TheLocaleIsRestored)
{
    for (const char* name : {"C", "C.UTF-8", "zh_CN.GB2312"}) {
        ASSERT_NE(std::setlocale(LC_ALL, name), nullptr) << name;
        const std::string before = Locale();
        ConvertAll();
        EXPECT_EQ(Locale(), before);
    }
}

TEST_F(LocaleTest, ALocaleOfDifferentCategoriesIsRestored)
{
    std::setlocale(LC_CTYPE, "C.UTF-8");
    std::setlocale(LC_TIME, "zh_CN.GB2312");
    const std::string before = Locale();
    ASSERT_NE(before.find(';'), std::string::npos);
    ConvertAll();
    EXPECT_EQ(Locale(), before);
}

}  // namespace
