#include "tests/correction/Library.h"

#include <dlfcn.h>

namespace correction_test {
namespace {

constexpr int CONST_BUFFER_POINTS = 40000;
constexpr int CONST_GUARDS = 16;
constexpr float CONST_GUARD = -7.5f;

Library Open()
{
    Library library = {};
    void* pLibrary = dlopen("vx_algo_fcu.dylib", RTLD_NOW | RTLD_LOCAL);
    if (pLibrary == nullptr)
        return library;
    const auto resolve = [&](auto& function, const char* pcName) {
        function = reinterpret_cast<std::decay_t<decltype(function)>>(dlsym(pLibrary, pcName));
    };
    resolve(library.Creat, "VxAlgo_FCU_Creat");
    resolve(library.Init, "VxAlgo_FCU_Init");
    resolve(library.Process, "VxAlgo_FCU_Process");
    resolve(library.Point_Transform, "VxAlgo_FCU_Point_Transform");
    resolve(library.GetLibInfo, "VxAlgo_FCU_GetLibInfo");
    resolve(library.Release, "VxAlgo_FCU_Release");
    return library;
}

}  // namespace

const Library& TheLibrary()
{
    static const Library s_library = Open();
    return s_library;
}

InitRecord GoodInit()
{
    InitRecord record;
    record.Put(4, 1000).Put(8, 1000).Put(12, 2);
    record.Put(20, 1.0f).Put(28, 1.0f).Put(32, 0.5f).Put(36, 0.5f);
    return record;
}

TransformRecord Transform(int iInstallation, int iMode, Pair stPoint, int iSource, int iTarget)
{
    TransformRecord record;
    record.Put(4, iInstallation).Put(8, iMode).Put(12, stPoint).Put(20, iSource).Put(24, iTarget);
    return record;
}

OutlineRecord Outline(int iInstallation, int iMode, Pair stCentre, float fZoom, int iAcross,
                      int iDown)
{
    OutlineRecord record;
    record.Put(4, iInstallation).Put(8, iMode).Put(12, 32).Put(20, stCentre).Put(28, fZoom);
    record.Put(32, iAcross).Put(36, iDown).Put(40, 0x1000);
    return record;
}

Handle::Handle() : m_pHandle(TheLibrary().Creat(nullptr, nullptr))
{
    TheLibrary().Init(m_pHandle, GoodInit().Data());
}

Handle::~Handle()
{
    TheLibrary().Release(m_pHandle);
}

Traced Trace(void* pHandle, OutlineRecord outline)
{
    std::vector<Pair> vecBuffer(CONST_BUFFER_POINTS + CONST_GUARDS, Pair{CONST_GUARD, CONST_GUARD});
    alignas(8) std::array<char, 368> table = {};
    Pair* const pBuffer = vecBuffer.data();
    std::memcpy(table.data() + 16, &pBuffer, sizeof(pBuffer));
    ResultRecord result;
    result.Put(16, static_cast<void*>(table.data()));

    Traced traced = {};
    traced.iResult = TheLibrary().Process(pHandle, 0, outline.Data(), result.Data());
    int iLines = 0;
    std::memcpy(&iLines, table.data(), sizeof(iLines));
    const Pair* pExpected = pBuffer;
    traced.blPacked = true;
    for (int i = 0; i < iLines; ++i) {
        int iPoints = 0;
        const Pair* pPoints = nullptr;
        std::memcpy(&iPoints, table.data() + 8 + 16 * i, sizeof(iPoints));
        std::memcpy(&pPoints, table.data() + 16 + 16 * i, sizeof(pPoints));
        traced.blPacked &=
            pPoints == pExpected && pPoints + iPoints <= pBuffer + CONST_BUFFER_POINTS;
        if (!traced.blPacked)
            break;
        traced.vecLines.emplace_back(pPoints, pPoints + iPoints);
        pExpected = pPoints + iPoints;
    }
    traced.blGuardsIntact = true;
    for (int i = CONST_BUFFER_POINTS; i < CONST_BUFFER_POINTS + CONST_GUARDS; ++i)
        traced.blGuardsIntact &= vecBuffer[i].fX == CONST_GUARD && vecBuffer[i].fY == CONST_GUARD;
    return traced;
}

}  // namespace correction_test
