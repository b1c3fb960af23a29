#pragma once

#include <cstdint>
#include <string>

#include "Common/Export.h"

/// @file
/// Helper functions for strings, paths, time and run-time library loading that the libraries of one
/// client share. None of them logs or locks. Strings are bytes; a null pointer where text is
/// expected reads as a text in which nothing is found.

/// Closes a library opened by LDLib. Returns the result of dlclose, -1 for a null handle.
VIDEOPLAYER_FISHEYE_API int FreeLib(void* handle);

/// Opens a library with lazy binding; the dynamic loader's search rules apply to a bare file name.
/// Returns the handle, or null.
VIDEOPLAYER_FISHEYE_API void* LDLib(std::string path);

/// Address of an exported name, or null.
VIDEOPLAYER_FISHEYE_API void* GetFunc(void* handle, std::string name);

/// Whole seconds of the monotonic clock (seconds, despite the name).
VIDEOPLAYER_FISHEYE_API std::uint64_t GetTick();

/// Wide text as GB2312. Empty where the text cannot be converted or the locale "zh_CN.GB2312" does
/// not exist. Switches the process's locale for the duration of the call: other threads see it.
VIDEOPLAYER_FISHEYE_API std::string WStrToStr(std::wstring s);

/// GB2312 as wide text, with the limits of WStrToStr.
VIDEOPLAYER_FISHEYE_API std::wstring StrToWStr(std::string s);

/// Sets what GetExName returns. The two share one string without a lock.
VIDEOPLAYER_FISHEYE_API void SetExName(std::string path);

/// The path last set, or the current directory while none is set; empty where that is unknown.
VIDEOPLAYER_FISHEYE_API std::string GetExName();

/// Makes one directory, mode 0755, without parents. Returns the result of mkdir.
VIDEOPLAYER_FISHEYE_API int CreateDir(std::string path);

/// Strict decimal number: leading blanks, a sign, digits and the end. Anything else, a trailing
/// blank or an overflow of 32 bits included, is 0. "-+7" is 7.
VIDEOPLAYER_FISHEYE_API int SToInt(const char* s);

/// Decimal text, of which only the first 15 characters are kept.
VIDEOPLAYER_FISHEYE_API std::string IntToStr(long long v);

/// Sleeps; milliseconds x 1000 is taken in 32 bits. Returns the result of usleep.
VIDEOPLAYER_FISHEYE_API int VX_Sleep(unsigned long ms);

/// Everything up to and including the last "/"; empty where there is none.
VIDEOPLAYER_FISHEYE_API std::string ExtractFilePath(std::string path);

/// Each byte through the C library's toupper.
VIDEOPLAYER_FISHEYE_API std::string StrToupper(std::string s);

/// Each byte through the C library's tolower.
VIDEOPLAYER_FISHEYE_API std::string StrTolower(std::string s);

/// Copies the environment variable "_" (the running program, as its shell set it) into the len
/// bytes of out, padded with zeros and not terminated where it does not fit. Returns 0, or -1 where
/// the variable is unset or does not contain name.
VIDEOPLAYER_FISHEYE_API int GetModuleFileNameEx(char* name, char* out, int len);

/// Without the blanks (the space character alone) at both ends.
VIDEOPLAYER_FISHEYE_API std::string StdStrTrim(const std::string& s);

/// Writes the text before the first sep, terminated; empty where sep does not occur or is empty.
/// out holds at least strlen(src) + 1 bytes and may be src itself. Returns the length written.
VIDEOPLAYER_FISHEYE_API int OnCharLeft(const char* src, const char* sep, char* out);

/// Writes the text after the first sep, otherwise as OnCharLeft.
VIDEOPLAYER_FISHEYE_API int OnCharRight(const char* src, const char* sep, char* out);

/// Splits the first 255 bytes of src. Each separator ends a field; the text after the last one is
/// delivered as one empty field: "a,b,c" gives "a", "b", "", and "a,b," gives "a", "b". An empty
/// sep occurs nowhere. out holds an entry for each field (255 at most), each large enough for it.
/// Returns the number of fields.
VIDEOPLAYER_FISHEYE_API int SplitString(const char* src, const char* sep, char** out);

/// Writes the local time "2024-03-01 10:20:30", the formatted message right after it (1023 bytes in
/// all) and a newline to standard output, and flushes.
VIDEOPLAYER_FISHEYE_API void TraceR(const char* format, ...) __attribute__((format(printf, 1, 2)));

/// Seconds of "H:M:S"; what is missing is 0, so "5" is 18000.
VIDEOPLAYER_FISHEYE_API int StrTimeToInt(const std::string& hms);

/// Index of the first needle in hay, -1 where it does not occur; an empty needle is at 0.
VIDEOPLAYER_FISHEYE_API int StrPos(std::string needle, std::string hay);

/// Removes one empty directory. True on success, and for an empty path.
VIDEOPLAYER_FISHEYE_API bool DeleteDirectory(std::string path);

/// Whether access(path, mode) allows it.
VIDEOPLAYER_FISHEYE_API bool FileAccessible(std::string path, int mode);

/// @{
/// No conversion is performed on this platform: the three return an empty string, and the second
/// leaves out as it is.
VIDEOPLAYER_FISHEYE_API std::string AnsiToUtf8(const std::string& s);
VIDEOPLAYER_FISHEYE_API std::string AnsiToUTF8(const std::string& s, std::string& out);
VIDEOPLAYER_FISHEYE_API std::string UTF8ToAnsi(const std::string& s);
/// @}

/// Replaces every from in s, left to right, never within text just inserted. An empty from occurs
/// nowhere. Returns s.
VIDEOPLAYER_FISHEYE_API std::string& replace_str(std::string& s, const std::string& from,
                                                 const std::string& to);
