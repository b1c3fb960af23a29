// Feeds the helper functions with hostile text and holds them against a plain telling of what they
// do. Every buffer that they write has exactly the room that it needs, so that the sanitizer sees a
// byte too many.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "Common/CommonFun.h"

namespace {

void Require(bool right, const char* what)
{
    if (right)
        return;
    std::fprintf(stderr, "differs: %s\n", what);
    std::abort();
}

/// The next text: up to a byte of 0, at most `length` long.
std::string Take(const char*& at, const char* end, std::size_t length)
{
    std::string text;
    while (at != end && text.size() < length) {
        const char byte = *at++;
        if ('\0' == byte)
            break;
        text += byte;
    }
    return text;
}

/// A copy that ends where its memory does.
std::unique_ptr<char[]> Tight(const std::string& text)
{
    std::unique_ptr<char[]> copy(new char[text.size() + 1]);
    text.copy(copy.get(), text.size());
    copy[text.size()] = '\0';
    return copy;
}

std::size_t Find(const std::string& text, const std::string& sep)
{
    return sep.empty() ? std::string::npos : text.find(sep);
}

void CheckSides(const std::string& src, const std::string& sep)
{
    const std::size_t at = Find(src, sep);
    const bool found = std::string::npos != at;
    const std::string left = found ? src.substr(0, at) : "";
    const std::string right = found ? src.substr(at + sep.size()) : "";
    const std::unique_ptr<char[]> source = Tight(src);
    const std::unique_ptr<char[]> separator = Tight(sep);
    const std::unique_ptr<char[]> outLeft = Tight(left);
    const std::unique_ptr<char[]> outRight = Tight(right);
    const int leftLength = OnCharLeft(source.get(), separator.get(), outLeft.get());
    const int rightLength = OnCharRight(source.get(), separator.get(), outRight.get());
    Require(leftLength == static_cast<int>(left.size()) && left == outLeft.get(), "OnCharLeft");
    Require(rightLength == static_cast<int>(right.size()) && right == outRight.get(),
            "OnCharRight");
}

void CheckSplit(const std::string& src, const std::string& sep)
{
    std::vector<std::string> fields;
    for (std::string rest = src.substr(0, 255); !rest.empty();) {
        const std::size_t at = Find(rest, sep);
        fields.push_back(std::string::npos == at ? "" : rest.substr(0, at));
        rest = std::string::npos == at ? "" : rest.substr(at + sep.size());
    }
    std::vector<std::unique_ptr<char[]>> buffers;
    std::vector<char*> out;
    for (const std::string& field : fields) {
        buffers.push_back(Tight(std::string(field.size(), '?')));
        out.push_back(buffers.back().get());
    }
    const int count = SplitString(Tight(src).get(), Tight(sep).get(), out.data());
    Require(count == static_cast<int>(fields.size()), "SplitString");
    for (std::size_t i = 0; i < fields.size(); ++i)
        Require(fields[i] == out[i], "a field of SplitString");
}

/// Blanks, a sign, digits, the end.
int StrictNumber(const std::string& text)
{
    std::size_t at = text.find_first_not_of(' ');
    if (std::string::npos == at)
        return 0;
    const bool minus = '-' == text[at];
    at += minus ? 1U : 0U;
    const bool plus = at < text.size() && '+' == text[at];
    at += plus ? 1U : 0U;
    std::string digits = text.substr(at);
    if (digits.empty() || std::string::npos != digits.find_first_not_of("0123456789"))
        return 0;
    digits.erase(0, digits.find_first_not_of('0'));
    if (digits.empty() || digits.size() > 10)
        return 0;
    const long long value = (minus && !plus ? -1 : 1) * std::stoll(digits);
    return value == static_cast<int>(value) ? static_cast<int>(value) : 0;
}

void CheckNumbers(const std::string& text)
{
    Require(SToInt(Tight(text).get()) == StrictNumber(text), "SToInt");
    int parts[3] = {0, 0, 0};
    std::string rest = text;
    for (int i = 0; i < 3; ++i) {
        const std::size_t colon = i < 2 ? rest.find(':') : std::string::npos;
        parts[i] = std::atoi(rest.substr(0, colon).c_str());
        rest = std::string::npos == colon ? "" : rest.substr(colon + 1);
    }
    const auto seconds = static_cast<std::uint32_t>(parts[0]) * 3600U +
                         static_cast<std::uint32_t>(parts[1]) * 60U +
                         static_cast<std::uint32_t>(parts[2]);
    Require(StrTimeToInt(text) == static_cast<int>(seconds), "StrTimeToInt");
    const long long number = static_cast<long long>(std::hash<std::string>()(text));
    Require(IntToStr(number) == std::to_string(number).substr(0, 15), "IntToStr");
}

void CheckReplace(const std::string& text, const std::string& from, const std::string& to)
{
    std::string expected;
    for (std::size_t at = 0; at < text.size();) {
        const bool here = !from.empty() && 0 == text.compare(at, from.size(), from);
        expected += here ? to : text.substr(at, 1);
        at += here ? from.size() : 1;
    }
    std::string replaced = text;
    Require(&replace_str(replaced, from, to) == &replaced && replaced == expected, "replace_str");
    std::string own = text;  // the text in every place at once
    replace_str(own, own, own);
    Require(own == text, "replace_str of a text by itself");
}

void CheckPieces(const std::string& text, const std::string& other)
{
    const std::size_t slash = text.rfind('/');
    Require(ExtractFilePath(text) == (std::string::npos == slash ? "" : text.substr(0, slash + 1)),
            "ExtractFilePath");
    const std::size_t first = text.find_first_not_of(' ');
    Require(StdStrTrim(text) == (std::string::npos == first
                                     ? ""
                                     : text.substr(first, text.find_last_not_of(' ') - first + 1)),
            "StdStrTrim");
    const std::size_t at = text.find(other);
    Require(StrPos(other, text) == (std::string::npos == at ? -1 : static_cast<int>(at)), "StrPos");
    Require(StrToupper(text).size() == text.size() && StrTolower(text).size() == text.size(),
            "the length of StrToupper or StrTolower");
    std::string untouched = other;
    Require(AnsiToUtf8(text).empty() && AnsiToUTF8(text, untouched).empty() &&
                UTF8ToAnsi(text).empty() && untouched == other,
            "the conversions that convert nothing");
}

/// There and back again, where there is a way; both are empty where the locale is missing.
void CheckConversions(const std::string& text)
{
    const std::wstring wide = StrToWStr(text);
    if (!wide.empty())
        Require(WStrToStr(wide) == text.c_str(), "WStrToStr of StrToWStr");
    std::wstring any;
    for (const char byte : text)
        any += static_cast<wchar_t>(byte * 977);
    const std::string narrow = WStrToStr(any);
    Require(narrow.size() <= 2 * any.size(), "the length of WStrToStr");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const char* at = reinterpret_cast<const char*>(data);
    const char* const end = at + size;
    const std::string sep = Take(at, end, 3);
    const std::string to = Take(at, end, 3);
    const std::string text = Take(at, end, 1000);
    CheckSides(text, sep);
    CheckSplit(text, sep);
    CheckNumbers(text);
    CheckReplace(text, sep, to);
    CheckPieces(text, sep);
    CheckConversions(text);
    return 0;
}
