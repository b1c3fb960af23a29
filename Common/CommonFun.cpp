#include "Common/CommonFun.h"

#include <algorithm>
#include <cctype>
#include <clocale>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <limits>
#include <utility>
#include <vector>

#include <dlfcn.h>
#include <sys/stat.h>
#include <unistd.h>

#include "Common/Arithmetic.h"

namespace {

std::string s_strPath;

constexpr std::size_t CONST_SPLIT_LENGTH = 255;
constexpr std::size_t CONST_TRACE_SIZE = 1024;
constexpr std::size_t CONST_NUMBER_SIZE = 16;
constexpr std::size_t CONST_PATH_SIZE = 2048;

/// The process's locale switched to GB2312 for as long as the object lives.
class ChineseLocale
{
public:
    ChineseLocale()
        : m_strSaved(std::setlocale(LC_ALL, nullptr)),
          m_blAvailable(nullptr != std::setlocale(LC_ALL, "zh_CN.GB2312"))
    {}
    ~ChineseLocale() { std::setlocale(LC_ALL, m_strSaved.c_str()); }
    ChineseLocale(const ChineseLocale&) = delete;
    ChineseLocale& operator=(const ChineseLocale&) = delete;

    bool Available() const { return m_blAvailable; }

private:
    std::string m_strSaved;
    bool m_blAvailable;
};

constexpr std::size_t CONST_NOT_CONVERTIBLE = static_cast<std::size_t>(-1);

/// First sep in src, null where there is none or sep is empty.
const char* FindSeparator(const char* src, const char* sep)
{
    if (nullptr == src || nullptr == sep || '\0' == *sep)
        return nullptr;
    return std::strstr(src, sep);
}

/// Terminates what it copies; the two areas may overlap.
int CopyOut(const char* text, std::size_t length, char* out)
{
    if (nullptr == out)
        return 0;
    std::memmove(out, text, length);
    out[length] = '\0';
    return static_cast<int>(length);
}

/// What atoi does, also where the number does not fit.
int ToInt(const std::string& text)
{
    return static_cast<int>(std::strtol(text.c_str(), nullptr, 10));
}

/// Takes the text before the first ":" off the rest; all of it where there is none.
std::string TakePart(std::string& strRest)
{
    const int iPos = StrPos(":", strRest);
    const std::string strPart = strRest.substr(0, iPos);
    strRest = iPos < 0 ? std::string() : strRest.substr(iPos + 1);
    return strPart;
}

}  // namespace

int FreeLib(void* handle)
{
    return nullptr == handle ? -1 : dlclose(handle);
}

void* LDLib(std::string path)
{
    return dlopen(path.c_str(), RTLD_LAZY);
}

void* GetFunc(void* handle, std::string name)
{
    return dlsym(handle, name.c_str());
}

std::uint64_t GetTick()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<std::uint64_t>(now.tv_sec);
}

std::string WStrToStr(std::wstring s)
{
    const ChineseLocale locale;
    if (!locale.Available())
        return {};
    std::vector<char> buffer(2 * s.size() + 1, '\0');
    const std::size_t n = std::wcstombs(buffer.data(), s.c_str(), buffer.size());
    return CONST_NOT_CONVERTIBLE == n ? std::string() : std::string(buffer.data(), n);
}

std::wstring StrToWStr(std::string s)
{
    const ChineseLocale locale;
    if (!locale.Available())
        return {};
    const std::size_t n = std::mbstowcs(nullptr, s.c_str(), 0);
    if (CONST_NOT_CONVERTIBLE == n)
        return {};
    std::vector<wchar_t> buffer(n + 1, L'\0');
    std::mbstowcs(buffer.data(), s.c_str(), buffer.size());
    return std::wstring(buffer.data(), n);
}

void SetExName(std::string path)
{
    s_strPath = std::move(path);
}

std::string GetExName()
{
    if (!s_strPath.empty())
        return s_strPath;
    char directory[CONST_PATH_SIZE];
    return nullptr == getcwd(directory, sizeof(directory)) ? std::string() : directory;
}

int CreateDir(std::string path)
{
    return mkdir(path.c_str(), 0755);
}

int SToInt(const char* s)
{
    if (nullptr == s)
        return 0;
    while (' ' == *s)
        ++s;
    bool blNegative = '-' == *s;
    if (blNegative)
        ++s;
    if ('+' == *s) {
        blNegative = false;  // sic: "-+7" is 7
        ++s;
    }
    std::int64_t value = 0;
    for (; *s >= '0' && *s <= '9'; ++s) {
        value = value * 10 + (blNegative ? '0' - *s : *s - '0');
        if (value > std::numeric_limits<int>::max() || value < std::numeric_limits<int>::min())
            return 0;
    }
    return '\0' == *s ? static_cast<int>(value) : 0;
}

std::string IntToStr(long long v)
{
    char text[CONST_NUMBER_SIZE];
    std::snprintf(text, sizeof(text), "%lld", v);
    return text;
}

int VX_Sleep(unsigned long ms)
{
    return usleep(static_cast<std::uint32_t>(ms) * std::uint32_t{1000});
}

std::string ExtractFilePath(std::string path)
{
    return path.substr(0, path.rfind('/') + 1);
}

std::string StrToupper(std::string s)
{
    std::transform(s.begin(), s.end(), s.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return s;
}

std::string StrTolower(std::string s)
{
    std::transform(s.begin(), s.end(), s.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return s;
}

int GetModuleFileNameEx(char* name, char* out, int len)
{
    const char* const value = std::getenv("_");
    if (nullptr == value || nullptr == name || nullptr == out)
        return -1;
    if (nullptr == std::strstr(value, name))
        return -1;
    std::strncpy(out, value, static_cast<std::size_t>(std::max(len, 0)));
    return 0;
}

std::string StdStrTrim(const std::string& s)
{
    const std::size_t first = s.find_first_not_of(' ');
    if (std::string::npos == first)
        return {};
    return s.substr(first, s.find_last_not_of(' ') + 1 - first);
}

int OnCharLeft(const char* src, const char* sep, char* out)
{
    const char* const found = FindSeparator(src, sep);
    return nullptr == found ? CopyOut("", 0, out)
                            : CopyOut(src, static_cast<std::size_t>(found - src), out);
}

int OnCharRight(const char* src, const char* sep, char* out)
{
    const char* const found = FindSeparator(src, sep);
    if (nullptr == found)
        return CopyOut("", 0, out);
    const char* const rest = found + std::strlen(sep);
    return CopyOut(rest, std::strlen(rest), out);
}

int SplitString(const char* src, const char* sep, char** out)
{
    if (nullptr == src || nullptr == out)
        return 0;
    const std::string buffer(src, strnlen(src, CONST_SPLIT_LENGTH));
    const char* rest = buffer.c_str();
    int i = 0;
    for (; '\0' != *rest; ++i) {
        const char* const found = FindSeparator(rest, sep);
        if (nullptr == found) {
            CopyOut("", 0, out[i]);  // sic: what stands after the last separator is not delivered
            return i + 1;
        }
        CopyOut(rest, static_cast<std::size_t>(found - rest), out[i]);
        rest = found + std::strlen(sep);
    }
    return i;
}

void TraceR(const char* format, ...)
{
    char line[CONST_TRACE_SIZE];
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    tzset();  // localtime_r need not follow a change of the time zone
    localtime_r(&now, &local);
    const std::size_t stamp = std::strftime(line, sizeof(line), "%Y-%m-%d %H:%M:%S", &local);
    va_list arguments;
    va_start(arguments, format);
    if (nullptr == format ||
        std::vsnprintf(line + stamp, sizeof(line) - stamp, format, arguments) < 0)
        line[stamp] = '\0';  // a message that cannot be formatted
    va_end(arguments);
    std::printf("%s\n", line);
    std::fflush(stdout);
}

int StrTimeToInt(const std::string& hms)
{
    std::string strRest = hms;
    const int iHours = ToInt(TakePart(strRest));
    const int iMinutes = ToInt(TakePart(strRest));
    const int iSeconds = ToInt(strRest);
    using arithmetic::Add;
    using arithmetic::Multiply;
    return Add(Add(Multiply(iHours, 3600), Multiply(iMinutes, 60)), iSeconds);
}

int StrPos(std::string needle, std::string hay)
{
    return static_cast<int>(hay.find(needle));  // npos becomes -1
}

bool DeleteDirectory(std::string path)
{
    return path.empty() || 0 == rmdir(path.c_str());
}

bool FileAccessible(std::string path, int mode)
{
    return 0 == access(path.c_str(), mode);
}

std::string AnsiToUtf8(const std::string&)
{
    return {};
}

std::string AnsiToUTF8(const std::string&, std::string&)
{
    return {};
}

std::string UTF8ToAnsi(const std::string&)
{
    return {};
}

std::string& replace_str(std::string& s, const std::string& from, const std::string& to)
{
    if (from.empty())
        return s;
    std::string strResult;
    std::size_t last = 0;
    for (std::size_t at = s.find(from); std::string::npos != at; at = s.find(from, last)) {
        strResult.append(s, last, at - last).append(to);
        last = at + from.size();
    }
    strResult.append(s, last);
    s = std::move(strResult);
    return s;
}
