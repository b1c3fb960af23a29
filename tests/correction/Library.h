// The correction library as its callers meet it: opened by its bare file name, called by name, fed
// with records that are laid out here byte by byte and share nothing with the library's header.
#pragma once

#include <array>
#include <cstdint>
#include <cstring>
#include <vector>

namespace correction_test {

struct Pair
{
    float fX;
    float fY;
};

/// The six entry points; all null when the library cannot be opened.
struct Library
{
    void* (*Creat)(void*, void*);
    int (*Init)(void*, const void*);
    int (*Process)(void*, int, const void*, void*);
    int (*Point_Transform)(void*, const void*, void*);
    int (*GetLibInfo)(void*);
    int (*Release)(void*);
};

/// The library, opened once for the process.
const Library& TheLibrary();

/// A record of bytes, zero but for what is put into it.
template <int SIZE>
class Record
{
public:
    Record() { Put(0, SIZE); }

    template <typename Value>
    Record& Put(int iOffset, Value value)
    {
        std::memcpy(m_bytes.data() + iOffset, &value, sizeof(value));
        return *this;
    }

    template <typename Value>
    Value Get(int iOffset) const
    {
        Value value;
        std::memcpy(&value, m_bytes.data() + iOffset, sizeof(value));
        return value;
    }

    void* Data() { return m_bytes.data(); }

private:
    alignas(8) std::array<char, SIZE> m_bytes = {};
};

using InitRecord = Record<132>;
using TransformRecord = Record<92>;
using OutlineRecord = Record<112>;
using ResultRecord = Record<88>;
using InfoRecord = Record<48>;

InitRecord GoodInit();
TransformRecord Transform(int iInstallation, int iMode, Pair stPoint, int iSource, int iTarget);
OutlineRecord Outline(int iInstallation, int iMode, Pair stCentre, float fZoom, int iAcross = 250,
                      int iDown = 250);

/// A created and initialised handle, released at the end.
class Handle
{
public:
    Handle();
    ~Handle();
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;
    void* Get() const { return m_pHandle; }

private:
    void* m_pHandle;
};

/// An outline's answer, read the way a caller reads it.
struct Traced
{
    int iResult;
    std::vector<std::vector<Pair>> vecLines;
    bool blPacked;  ///< every line began where the one before ended, within the buffer
    bool blGuardsIntact;
};
Traced Trace(void* pHandle, OutlineRecord outline);

}  // namespace correction_test
