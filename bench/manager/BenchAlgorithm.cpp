// An algorithm library whose every outline is 4 lines of 250 points, ready to be copied.
#include <cstdint>
#include <cstring>

namespace {

constexpr int CONST_LINES = 4;
constexpr int CONST_POINTS = 250;

float s_points[2 * CONST_LINES * CONST_POINTS];
char s_handle;

template <class T>
void Put(char* place, T value)
{
    std::memcpy(place, &value, sizeof(value));
}

template <class T>
T At(const char* place)
{
    T value;
    std::memcpy(&value, place, sizeof(value));
    return value;
}

}  // namespace

extern "C" {

void* VxAlgo_FCU_Creat(void*, void*)
{
    for (int i = 0; i < 2 * CONST_LINES * CONST_POINTS; ++i)
        s_points[i] = static_cast<float>(i) / 2000.0F;
    return &s_handle;
}

int VxAlgo_FCU_Release(void*)
{
    return 0;
}

int VxAlgo_FCU_Init(void*, void*)
{
    return 0;
}

/// The line table hangs at offset 16 of the result; a line has its count at 8 + 16 i and its points
/// at 16 + 16 i, those of the first in the caller's buffer.
int VxAlgo_FCU_Process(void*, int, void*, void* result)
{
    char* const table = At<char*>(static_cast<char*>(result) + 16);
    float* const buffer = At<float*>(table + 16);
    std::memcpy(buffer, s_points, sizeof(s_points));
    Put<std::int32_t>(table, CONST_LINES);
    for (int i = 0; i < CONST_LINES; ++i) {
        Put<std::int32_t>(table + 8 + 16 * i, CONST_POINTS);
        Put(table + 16 + 16 * i, buffer + 2 * CONST_POINTS * i);
    }
    return 0;
}

int VxAlgo_FCU_GetLibInfo()
{
    return 0;
}

int VxAlgo_FCU_Point_Transform(void*, void* request, void* result)
{
    std::memcpy(result, static_cast<char*>(request) + 12, 8);
    return 0;
}

}  // extern "C"
