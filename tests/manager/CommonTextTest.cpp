// The helper functions for strings. Hostile input comes from the last bytes before a page that
// cannot be read, and output goes into an area whose every byte is compared.
#include <climits>
#include <clocale>
#include <cstring>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include "Common/CommonFun.h"

namespace {

using ::testing::ElementsAre;

/// A text whose last byte is the last one that can be read.
class EdgeText
{
public:
    /// With or without its terminator.
    explicit EdgeText(const std::string& text, bool terminated = true)
    {
        const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
        m_size = 2 * page;
        m_area = static_cast<char*>(
            mmap(nullptr, m_size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
        mprotect(m_area + page, page, PROT_NONE);
        const std::size_t size = text.size() + (terminated ? 1 : 0);
        m_text = m_area + page - size;
        std::memcpy(m_text, text.c_str(), size);
    }
    ~EdgeText() { munmap(m_area, m_size); }
    EdgeText(const EdgeText&) = delete;
    EdgeText& operator=(const EdgeText&) = delete;

    operator const char*() const { return m_text; }

private:
    char* m_area;
    char* m_text;
    std::size_t m_size;
};

/// An area of 'Z' to write into; what was written shows with its terminator.
class Area
{
public:
    char* Out() { return m_bytes.data() + 8; }

    /// The text, and whether the area holds it, its terminator and 'Z' everywhere else.
    std::string Text() const
    {
        const std::string text(m_bytes.data() + 8);
        std::string expected(1040, 'Z');
        expected.replace(8, text.size() + 1, text.c_str(), text.size() + 1);
        return expected == m_bytes ? text : "more was written than " + text;
    }

private:
    std::string m_bytes = std::string(1040, 'Z');
};

// SToInt.

struct Number
{
    const char* name;
    const char* text;
    int value;

    friend std::ostream& operator<<(std::ostream& out, const Number& row)
    {
        return out << row.name;
    }
};

class SToIntTest : public ::testing::TestWithParam<Number>
{};

TEST_P(SToIntTest, ReadsStrictlyAndNotBeyondTheTerminator)
{
    EXPECT_EQ(SToInt(EdgeText(GetParam().text)), GetParam().value);
}

INSTANTIATE_TEST_SUITE_P(
    CommonFun, SToIntTest,
    ::testing::Values(
        Number{"Empty", "", 0}, Number{"BlanksAlone", "   ", 0}, Number{"Plain", "42", 42},
        Number{"BlanksBeforeASign", "  -42", -42}, Number{"ATrailingBlank", "42 ", 0},
        Number{"Plus", "+7", 7}, Number{"PlusAfterMinusIsPositive", "-+7", 7},
        Number{"MinusAfterPlus", "+-7", 0}, Number{"TwoMinuses", "--7", 0},
        Number{"TwoPluses", "++7", 0}, Number{"MinusPlusPlus", "-++7", 0},
        Number{"MinusPlusMinus", "-+-7", 0}, Number{"ASignAlone", "-", 0},
        Number{"ASignPairAlone", "-+", 0}, Number{"ABlankAfterTheSign", "- 7", 0},
        Number{"Zeros", "000", 0}, Number{"LeadingZeros", "-00012", -12},
        Number{"MoreZerosThanDigitsFit", "000000000000000000000007", 7},
        Number{"ALetterBehind", "12a", 0}, Number{"ALetterInFront", "a12", 0},
        Number{"ADecimalPoint", "1.5", 0}, Number{"ATabInFront", "\t7", 0},
        Number{"ALineEndBehind", "7\n", 0}, Number{"Hexadecimal", "0x10", 0},
        Number{"CharactersJustBelowDigits", "1/2", 0},
        Number{"CharactersJustAboveDigits", "1:2", 0}, Number{"ABlankBetween", "1 2", 0},
        Number{"AByteAbove127", "1\xB2", 0}, Number{"Largest", "2147483647", INT_MAX},
        Number{"BeyondLargest", "2147483648", 0}, Number{"Least", "-2147483648", INT_MIN},
        Number{"BelowLeast", "-2147483649", 0}, Number{"FarTooLarge", "99999999999", 0},
        Number{"FarTooSmall", "-99999999999", 0},
        Number{"WrappingPast64Bits", "18446744073709551617", 0},
        Number{"OverflowBeforeALetter", "99999999999a", 0}),
    [](const ::testing::TestParamInfo<Number>& info) { return info.param.name; });

TEST(CommonText, SToIntOfANullPointerIsZero)
{
    EXPECT_EQ(SToInt(nullptr), 0);
}

// IntToStr.

TEST(CommonText, IntToStrKeepsTheFirst15Characters)
{
    EXPECT_EQ(IntToStr(0), "0");
    EXPECT_EQ(IntToStr(-42), "-42");
    EXPECT_EQ(IntToStr(123456789012345), "123456789012345");
    EXPECT_EQ(IntToStr(1234567890123456), "123456789012345");
    EXPECT_EQ(IntToStr(-12345678901234), "-12345678901234");
    EXPECT_EQ(IntToStr(-123456789012345), "-12345678901234");
    EXPECT_EQ(IntToStr(LLONG_MAX), "922337203685477");
    EXPECT_EQ(IntToStr(LLONG_MIN), "-92233720368547");
}

// Paths, case, blanks.

TEST(CommonText, ExtractFilePathEndsWithTheLastSlash)
{
    EXPECT_EQ(ExtractFilePath("/usr/lib/libx.dylib"), "/usr/lib/");
    EXPECT_EQ(ExtractFilePath("libx.dylib"), "");
    EXPECT_EQ(ExtractFilePath(""), "");
    EXPECT_EQ(ExtractFilePath("/"), "/");
    EXPECT_EQ(ExtractFilePath("/usr/"), "/usr/");
    EXPECT_EQ(ExtractFilePath("a//b"), "a//");
    EXPECT_EQ(ExtractFilePath("a\\b"), "");
}

TEST(CommonText, CaseChangesByteByByteAndLeavesTheRest)
{
    EXPECT_EQ(StrToupper("abc-XYZ 09 {|}"), "ABC-XYZ 09 {|}");
    EXPECT_EQ(StrTolower("ABC-xyz 09 [\\]"), "abc-xyz 09 [\\]");
    EXPECT_EQ(StrToupper(""), "");
    EXPECT_EQ(StrTolower(""), "");
    EXPECT_EQ(StrToupper(std::string("a\0b", 3)), std::string("A\0B", 3));
    EXPECT_EQ(StrTolower(std::string("A\0B", 3)), std::string("a\0b", 3));
}

TEST(CommonText, CaseLeavesEveryByteAbove127InTheCLocale)
{
    std::setlocale(LC_ALL, "C");
    std::string bytes;
    for (int c = 128; c < 256; ++c)
        bytes += static_cast<char>(c);
    EXPECT_EQ(StrToupper(bytes), bytes);
    EXPECT_EQ(StrTolower(bytes), bytes);
}

TEST(CommonText, TrimRemovesTheSpaceCharacterAlone)
{
    EXPECT_EQ(StdStrTrim("  a b  "), "a b");
    EXPECT_EQ(StdStrTrim("\t x "), "\t x");
    EXPECT_EQ(StdStrTrim(" x\n"), "x\n");
    EXPECT_EQ(StdStrTrim("x"), "x");
    EXPECT_EQ(StdStrTrim(" x"), "x");
    EXPECT_EQ(StdStrTrim("x "), "x");
    EXPECT_EQ(StdStrTrim("    "), "");
    EXPECT_EQ(StdStrTrim(""), "");
}

// OnCharLeft and OnCharRight.

struct Halves
{
    const char* name;
    std::string text;
    std::string separator;
    std::string left;
    std::string right;

    friend std::ostream& operator<<(std::ostream& out, const Halves& row)
    {
        return out << row.name;
    }
};

class OnCharTest : public ::testing::TestWithParam<Halves>
{};

TEST_P(OnCharTest, WritesTheTextAndItsTerminatorAlone)
{
    const EdgeText text(GetParam().text);
    const EdgeText separator(GetParam().separator);
    Area left;
    EXPECT_EQ(OnCharLeft(text, separator, left.Out()), static_cast<int>(GetParam().left.size()));
    EXPECT_EQ(left.Text(), GetParam().left);
    Area right;
    EXPECT_EQ(OnCharRight(text, separator, right.Out()), static_cast<int>(GetParam().right.size()));
    EXPECT_EQ(right.Text(), GetParam().right);
}

INSTANTIATE_TEST_SUITE_P(
    CommonFun, OnCharTest,
    ::testing::Values(
        Halves{"KeyAndValue", "key=value", "=", "key", "value"},
        Halves{"TheFirstOfSeveral", "a=b=c", "=", "a", "b=c"},
        Halves{"AtTheStart", "=value", "=", "", "value"},
        Halves{"AtTheEnd", "key=", "=", "key", ""}, Halves{"TheSeparatorAlone", "=", "=", "", ""},
        Halves{"Missing", "key", "=", "", ""}, Halves{"EmptyText", "", "=", "", ""},
        Halves{"EmptySeparator", "key", "", "", ""}, Halves{"BothEmpty", "", "", "", ""},
        Halves{"ALongSeparator", "a<->b", "<->", "a", "b"},
        Halves{"ASeparatorCutOffAtTheEnd", "a<-", "<->", "", ""},
        Halves{"ASeparatorLongerThanTheText", "a", "abc", "", ""},
        Halves{"BytesAbove127", "\xD6\xD0=\xCE\xC4", "=", "\xD6\xD0", "\xCE\xC4"},
        Halves{"ALongText", std::string(1000, 'x') + "=", "=", std::string(1000, 'x'), ""}),
    [](const ::testing::TestParamInfo<Halves>& info) { return info.param.name; });

TEST(CommonText, OnCharWritesOverItsOwnSource)
{
    char text[] = "key=value";
    EXPECT_EQ(OnCharRight(text, "=", text), 5);
    EXPECT_STREQ(text, "value");
    char other[] = "key=value";
    EXPECT_EQ(OnCharLeft(other, "=", other), 3);
    EXPECT_STREQ(other, "key");
}

TEST(CommonText, OnCharOfANullPointerIsEmpty)
{
    Area area;
    EXPECT_EQ(OnCharLeft(nullptr, "=", area.Out()), 0);
    EXPECT_EQ(area.Text(), "");
    EXPECT_EQ(OnCharRight(nullptr, "=", area.Out()), 0);
    EXPECT_EQ(OnCharLeft("key=value", nullptr, area.Out()), 0);
    EXPECT_EQ(OnCharRight("key=value", nullptr, area.Out()), 0);
    EXPECT_EQ(area.Text(), "");
    EXPECT_EQ(OnCharLeft("key=value", "=", nullptr), 0);
    EXPECT_EQ(OnCharRight("key=value", "=", nullptr), 0);
}

// SplitString.

/// The fields, each checked for what stands round it.
std::vector<std::string> Split(const char* text, const char* separator)
{
    std::vector<Area> areas(300);
    std::vector<char*> out;
    for (Area& area : areas)
        out.push_back(area.Out());
    const int count = SplitString(text, separator, out.data());
    std::vector<std::string> fields;
    for (int i = 0; i < count; ++i)
        fields.push_back(areas[static_cast<std::size_t>(i)].Text());
    for (std::size_t i = fields.size(); i < areas.size(); ++i)
        if ('Z' != *areas[i].Out())
            fields.push_back("written beyond the count");
    return fields;
}

struct Fields
{
    const char* name;
    std::string text;
    std::string separator;
    std::vector<std::string> fields;

    friend std::ostream& operator<<(std::ostream& out, const Fields& row)
    {
        return out << row.name;
    }
};

class SplitStringTest : public ::testing::TestWithParam<Fields>
{};

TEST_P(SplitStringTest, GivesTheFields)
{
    EXPECT_EQ(Split(EdgeText(GetParam().text), EdgeText(GetParam().separator)), GetParam().fields);
}

INSTANTIATE_TEST_SUITE_P(
    CommonFun, SplitStringTest,
    ::testing::Values(
        Fields{"Empty", "", ",", {}},
        Fields{"TheTextAfterTheLastSeparatorIsNotDelivered", "a,b,c", ",", {"a", "b", ""}},
        Fields{"ATrailingSeparatorEndsTheLastField", "a,b,c,", ",", {"a", "b", "c"}},
        Fields{"ConsecutiveSeparators", "a,,b,", ",", {"a", "", "b"}},
        Fields{"NoSeparator", "abc", ",", {""}}, Fields{"ALeadingSeparator", ",a,", ",", {"", "a"}},
        Fields{"TheSeparatorAlone", ",", ",", {""}}, Fields{"Separators", ",,,", ",", {"", "", ""}},
        Fields{"ALongSeparator", "a--b--", "--", {"a", "b"}},
        Fields{"OverlappingSeparators", "a---b--", "--", {"a", "-b"}},
        Fields{"HalfASeparatorAtTheEnd", "a--b-", "--", {"a", ""}},
        Fields{"AnEmptySeparatorOccursNowhere", "abc", "", {""}},
        Fields{"EmptyTextAndSeparator", "", "", {}}, Fields{"OneCharacter", "a", ",", {""}},
        Fields{"TheWhole255Bytes", std::string(254, 'x') + ",", ",", {std::string(254, 'x')}},
        Fields{"WhatFollowsThe255thByteIsIgnored",
               std::string(254, 'x') + "," + std::string(700, 'y') + ",",
               ",",
               {std::string(254, 'x')}},
        Fields{"ASeparatorAsThe256thByteIsIgnored", std::string(255, 'x') + ",", ",", {""}},
        Fields{"ASeparatorCutAtThe255thByteIsNone", std::string(254, 'x') + "--", "--", {""}},
        Fields{"AsManyFieldsAsThereCanBe", std::string(400, ','), ",",
               std::vector<std::string>(255, "")}),
    [](const ::testing::TestParamInfo<Fields>& info) { return info.param.name; });

TEST(CommonText, SplitStringReadsNoMoreThan255Bytes)
{
    const EdgeText endless(std::string(254, 'x') + ",", false);
    EXPECT_THAT(Split(endless, ","), ElementsAre(std::string(254, 'x')));
}

TEST(CommonText, SplitStringMayWriteOverItsSource)
{
    char text[] = "ab,cd,";
    Area second;
    char* out[] = {text, second.Out()};
    EXPECT_EQ(SplitString(text, ",", out), 2);
    EXPECT_STREQ(text, "ab");
    EXPECT_EQ(second.Text(), "cd");
}

TEST(CommonText, SplitStringOfNullPointersIsHarmless)
{
    Area area;
    char* out[] = {area.Out(), nullptr};
    EXPECT_EQ(SplitString(nullptr, ",", out), 0);
    EXPECT_EQ(SplitString("a,b,", ",", nullptr), 0);
    EXPECT_EQ(SplitString("a,b,", ",", out), 2);
    EXPECT_EQ(area.Text(), "a");
    Area other;
    char* one[] = {other.Out()};
    EXPECT_EQ(SplitString("a,b", nullptr, one), 1);
    EXPECT_EQ(other.Text(), "");
}

// StrTimeToInt.

struct Time
{
    const char* name;
    const char* text;
    int seconds;

    friend std::ostream& operator<<(std::ostream& out, const Time& row) { return out << row.name; }
};

class StrTimeToIntTest : public ::testing::TestWithParam<Time>
{};

TEST_P(StrTimeToIntTest, GivesSeconds)
{
    EXPECT_EQ(StrTimeToInt(GetParam().text), GetParam().seconds);
}

INSTANTIATE_TEST_SUITE_P(
    CommonFun, StrTimeToIntTest,
    ::testing::Values(Time{"Whole", "01:02:03", 3723}, Time{"Empty", "", 0},
                      Time{"HoursAlone", "5", 18000}, Time{"HoursAndMinutes", "10:20", 37200},
                      Time{"MinutesAndSeconds", ":1:2", 62}, Time{"SecondsAlone", "::7", 7},
                      Time{"ColonsAlone", "::", 0}, Time{"AFourthPartIsIgnored", "1:1:1:9", 3661},
                      Time{"BeyondADay", "100:99:99", 366039}, Time{"Negative", "-1:0:1", -3599},
                      Time{"Blanks", " 1: 2: 3", 3723}, Time{"Letters", "a:1b:c", 60},
                      // what atoi gives: the long saturates, its lower 32 bits are -1
                      Time{"ANumberThatDoesNotFit", "0:0:99999999999999999999", -1},
                      // 2147483647 x 3600 wraps to -3600
                      Time{"TheProductWraps", "2147483647:60:0", 0},
                      Time{"TheSumWraps", "0:1:2147483647", -2147483589}),
    [](const ::testing::TestParamInfo<Time>& info) { return info.param.name; });

// StrPos.

TEST(CommonText, StrPosTakesTheNeedleFirst)
{
    EXPECT_EQ(StrPos("b", "abcb"), 1);
    EXPECT_EQ(StrPos("cb", "abcb"), 2);
    EXPECT_EQ(StrPos("abcb", "b"), -1);
    EXPECT_EQ(StrPos("x", "abcb"), -1);
    EXPECT_EQ(StrPos("", "abcb"), 0);
    EXPECT_EQ(StrPos("", ""), 0);
    EXPECT_EQ(StrPos("a", ""), -1);
    EXPECT_EQ(StrPos("abcb", "abcb"), 0);
}

// replace_str.

struct Replacement
{
    const char* name;
    const char* text;
    const char* from;
    const char* to;
    const char* result;

    friend std::ostream& operator<<(std::ostream& out, const Replacement& row)
    {
        return out << row.name;
    }
};

class ReplaceStrTest : public ::testing::TestWithParam<Replacement>
{};

TEST_P(ReplaceStrTest, ReplacesInPlace)
{
    std::string text = GetParam().text;
    std::string& result = replace_str(text, GetParam().from, GetParam().to);
    EXPECT_EQ(&result, &text);
    EXPECT_EQ(text, GetParam().result);
}

INSTANTIATE_TEST_SUITE_P(
    CommonFun, ReplaceStrTest,
    ::testing::Values(Replacement{"EveryOccurrence", "a-b-c", "-", "+", "a+b+c"},
                      Replacement{"InsertedTextIsNotReplacedAgain", "aaa", "a", "aa", "aaaaaa"},
                      Replacement{"LeftToRight", "aaaa", "aaa", "b", "ba"},
                      Replacement{"NothingMatchesAcrossTheInserted", "aabb", "ab", "", "ab"},
                      Replacement{"ByNothing", "a-b-", "-", "", "ab"},
                      Replacement{"NotFound", "abc", "x", "y", "abc"},
                      Replacement{"TheWhole", "abc", "abc", "", ""},
                      Replacement{"LongerThanTheText", "ab", "abc", "x", "ab"},
                      Replacement{"AnEmptyFromOccursNowhere", "abc", "", "x", "abc"},
                      Replacement{"EmptyText", "", "a", "b", ""}),
    [](const ::testing::TestParamInfo<Replacement>& info) { return info.param.name; });

TEST(CommonText, ReplaceStrTakesTheTextItselfForItsArguments)
{
    std::string text = "abc";
    EXPECT_EQ(replace_str(text, text, text), "abc");
    EXPECT_EQ(replace_str(text, text, "x"), "x");
    text = "aba";
    EXPECT_EQ(replace_str(text, "b", text), "aabaa");
}

// What this platform does not convert.

TEST(CommonText, AnsiAndUtf8AreNotConverted)
{
    std::string out = "kept";
    EXPECT_EQ(AnsiToUtf8("text"), "");
    EXPECT_EQ(AnsiToUTF8("text", out), "");
    EXPECT_EQ(out, "kept");
    EXPECT_EQ(UTF8ToAnsi("text"), "");
}

}  // namespace
