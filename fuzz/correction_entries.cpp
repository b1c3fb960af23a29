// Feeds the correction library's two working entry points with records of any bytes and holds their
// answers against what the header promises: codes, bounds, packing, and that two ways from one
// space to another end at one place.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <memory>

#include "correction/VxAlgoFcu.h"

namespace {

constexpr float UNTOUCHED = -7.5F;

void Require(bool right, const char* what)
{
    if (right)
        return;
    std::fprintf(stderr, "differs: %s\n", what);
    std::abort();
}

/// Takes values off the input; zeros when it is used up.
class Input
{
public:
    Input(const std::uint8_t* data, std::size_t size) : m_at(data), m_end(data + size) {}

    template <typename Value>
    Value Raw()
    {
        Value value{};
        const std::size_t size = std::min(sizeof(value), static_cast<std::size_t>(m_end - m_at));
        std::memcpy(&value, m_at, size);
        m_at += size;
        return value;
    }

    /// One of the values that mean something, now and then any number at all.
    template <std::size_t COUNT>
    std::int32_t OneOf(const std::int32_t (&values)[COUNT])
    {
        const std::size_t choice = Raw<std::uint8_t>() % (COUNT + 1);
        return choice < COUNT ? values[choice] : Raw<std::int32_t>();
    }

    /// A fraction -0.25..1.25 in steps that hit 0, a half and 1, now and then any float at all.
    float Fraction()
    {
        const auto steps = Raw<std::uint16_t>();
        return steps == 0xffff ? Raw<float>() : static_cast<float>(steps % 6001 - 1000) / 4000.0F;
    }

    bool IsUsedUp() const { return m_at == m_end; }

private:
    const std::uint8_t* m_at;
    const std::uint8_t* m_end;
};

constexpr std::int32_t INSTALLATIONS[] = {0, 1, 2, 3};
constexpr std::int32_t MODES[] = {0x100, 0x200, 0x300, 0x400, 0x500, 0};
constexpr std::int32_t SPACES[] = {FCU_SPACE_WIDE, FCU_SPACE_HALF, FCU_SPACE_FISHEYE};
constexpr std::int32_t COUNTS[] = {1, 2, 7, 250, 4000};

bool IsFraction(const tagFcuPoint& point)
{
    return point.fX >= 0.0F && point.fX <= 1.0F && point.fY >= 0.0F && point.fY <= 1.0F;
}

void CheckOutline(void* handle, Input& input)
{
    // Room for exactly what the header says, so that the sanitizer sees a point too many.
    static const std::unique_ptr<tagFcuPoint[]> buffer(new tagFcuPoint[FCU_MAX_POINTS]);
    tagFcuOutline request{};
    request.iSize = sizeof(request);
    request.iInstallation = input.OneOf(INSTALLATIONS);
    request.iCorrectMode = input.OneOf(MODES);
    request.stCentre = {input.Fraction(), input.Fraction()};
    request.fZoom = input.Fraction();
    request.iSamplesAcross = input.OneOf(COUNTS);
    request.iSamplesDown = input.OneOf(COUNTS);
    tagFcuLineTable table{};
    table.iLines = -1;
    table.astLines[0].pstPoints = buffer.get();
    tagFcuOutlineResult result{};
    result.iSize = sizeof(result);
    result.pstTable = &table;

    const int code = VxAlgo_FCU_Process(handle, 0, &request, &result);
    const bool good = std::isfinite(request.stCentre.fX) && std::isfinite(request.stCentre.fY) &&
                      std::isfinite(request.fZoom) && request.iSamplesAcross >= 1 &&
                      request.iSamplesDown >= 1;
    Require(code == (good ? FCU_OK : FCU_BAD_VALUE), "the outline's result code");
    if (code != FCU_OK) {
        Require(table.iLines == -1, "a refused outline leaves the table alone");
        return;
    }
    Require(table.iLines >= 0 && table.iLines <= FCU_MAX_LINES, "the number of lines");
    const tagFcuPoint* expected = buffer.get();
    for (int i = 0; i < table.iLines; ++i) {
        const tagFcuLine& line = table.astLines[i];
        Require(line.pstPoints == expected, "the lines lie one behind the other");
        Require(line.iPoints >= 2 && line.iPoints <= FCU_MAX_POINTS_OF_LINE, "a line's length");
        expected += line.iPoints;
        Require(expected <= buffer.get() + FCU_MAX_POINTS, "the lines fit the buffer");
        Require(std::all_of(line.pstPoints, line.pstPoints + line.iPoints, IsFraction),
                "every point lies in the picture");
    }
}

int Transform(void* handle, tagFcuTransform request, tagFcuPoint& point)
{
    point = {UNTOUCHED, UNTOUCHED};
    const int code = VxAlgo_FCU_Point_Transform(handle, &request, &point);
    if (code == FCU_OK)
        Require(IsFraction(point), "a point lies in the picture");
    else
        Require(point.fX == UNTOUCHED && point.fY == UNTOUCHED, "a refusal writes nothing");
    return code;
}

void CheckTransform(void* handle, Input& input)
{
    tagFcuTransform request{};
    request.iSize = sizeof(request);
    request.iInstallation = input.OneOf(INSTALLATIONS);
    request.iCorrectMode = input.OneOf(MODES);
    request.stPoint = {input.Fraction(), input.Fraction()};
    request.iSourceSpace = input.OneOf(SPACES);
    request.iTargetSpace = input.OneOf(SPACES);
    tagFcuPoint there;
    const int code = Transform(handle, request, there);
    const auto known = [](std::int32_t space) {
        return std::find(std::begin(SPACES), std::end(SPACES), space) != std::end(SPACES);
    };
    const bool good = known(request.iSourceSpace) && known(request.iTargetSpace) &&
                      std::isfinite(request.stPoint.fX) && std::isfinite(request.stPoint.fY);
    Require(good ? code == FCU_OK || code == FCU_NOT_SHOWN : code == FCU_BAD_VALUE,
            "the point's result code");
    if (code != FCU_OK)
        return;

    tagFcuTransform toFisheye = request;
    toFisheye.iTargetSpace = FCU_SPACE_FISHEYE;
    tagFcuPoint straight, roundabout;
    Require(Transform(handle, toFisheye, straight) == FCU_OK, "the fisheye picture shows all");
    toFisheye.iSourceSpace = request.iTargetSpace;
    toFisheye.stPoint = there;
    Require(Transform(handle, toFisheye, roundabout) == FCU_OK, "and from the other space too");
    Require(std::hypot(straight.fX - roundabout.fX, straight.fY - roundabout.fY) < 1e-5F,
            "two ways end at one place");
}

void* NewHandle()
{
    tagFcuInit init{};
    init.iSize = sizeof(init);
    init.iWidth = init.iHeight = 1000;
    init.fScaleX = init.fScaleY = 1.0F;
    init.fCentreX = init.fCentreY = 0.5F;
    void* handle = VxAlgo_FCU_Creat(nullptr, nullptr);
    Require(VxAlgo_FCU_Init(handle, &init) == FCU_OK, "a handle can be had");
    return handle;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static void* const handle = NewHandle();
    Input input(data, std::min<std::size_t>(size, 96));
    while (!input.IsUsedUp()) {
        if (input.Raw<std::uint8_t>() % 2 == 0)
            CheckOutline(handle, input);
        else
            CheckTransform(handle, input);
    }
    return 0;
}
