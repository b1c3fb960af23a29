// The six entry points of the correction algorithm library, like those of the fake engine.
#include <string>

#include "tests/support/Recorder.h"

namespace {

std::intptr_t Address(const void* pointer)
{
    return reinterpret_cast<std::intptr_t>(pointer);
}

std::string Bytes(const void* record, std::size_t size)
{
    return {static_cast<const char*>(record), size};
}

int Answer(fake::Call call)
{
    return static_cast<int>(fake::Answer(std::move(call)));
}

/// The line table that the result record points to.
std::string LineTable(const void* result)
{
    const char* table = nullptr;
    std::memcpy(&table, static_cast<const char*>(result) + 16, sizeof(table));
    return Bytes(table, 368);
}

}  // namespace

extern "C" {

void* VxAlgo_FCU_Creat(void* first, void* second)
{
    return reinterpret_cast<void*>(
        fake::Answer({"VxAlgo_FCU_Creat", {Address(first), Address(second)}, {}}));
}

int VxAlgo_FCU_Release(void* handle)
{
    return Answer({"VxAlgo_FCU_Release", {Address(handle)}, {}});
}

int VxAlgo_FCU_Init(void* handle, void* record)
{
    return Answer({"VxAlgo_FCU_Init", {Address(handle), Address(record)}, {Bytes(record, 132)}});
}

int VxAlgo_FCU_Process(void* handle, int reserved, void* request, void* result)
{
    return Answer({"VxAlgo_FCU_Process",
                   {Address(handle), reserved, Address(request), Address(result)},
                   {Bytes(request, 112), Bytes(result, 88), LineTable(result)}});
}

int VxAlgo_FCU_GetLibInfo()
{
    return Answer({"VxAlgo_FCU_GetLibInfo", {}, {}});
}

int VxAlgo_FCU_Point_Transform(void* handle, void* request, void* result)
{
    return Answer({"VxAlgo_FCU_Point_Transform",
                   {Address(handle), Address(request), Address(result)},
                   {Bytes(request, 92), Bytes(result, 8)}});
}

}  // extern "C"
