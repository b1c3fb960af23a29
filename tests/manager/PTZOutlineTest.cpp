// The outline of a pan/tilt/zoom view: traced by the algorithm, or a square, and how it is handed
// out. The process counts the point buffers, so that a lost one shows without a leak checker.
#include <atomic>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <new>
#include <thread>

#include "tests/manager/ViewProbe.h"

namespace {

constexpr std::size_t CONST_BUFFER_SIZE = 320000;
constexpr int CONST_BUFFER_POINTS = 40000;

std::atomic<int> s_buffersMade{0};
std::atomic<void*> s_buffer{nullptr};  ///< the one that is in use
std::atomic<int> s_buffersFreed{0};

void* Allocate(std::size_t size)
{
    void* const memory = std::malloc(size);
    if (nullptr == memory)
        std::abort();
    if (CONST_BUFFER_SIZE == size) {
        ++s_buffersMade;
        s_buffer = memory;
    }
    return memory;
}

void Free(void* memory)
{
    void* buffer = memory;
    if (nullptr != memory && s_buffer.compare_exchange_strong(buffer, nullptr))
        ++s_buffersFreed;
    std::free(memory);
}

}  // namespace

void* operator new(std::size_t size)
{
    return Allocate(size);
}
void* operator new[](std::size_t size)
{
    return Allocate(size);
}
void operator delete(void* memory) noexcept
{
    Free(memory);
}
void operator delete[](void* memory) noexcept
{
    Free(memory);
}
void operator delete(void* memory, std::size_t) noexcept
{
    Free(memory);
}
void operator delete[](void* memory, std::size_t) noexcept
{
    Free(memory);
}

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

using Outline = QVector<QVector<STRUCT_DrawPoint>>;

void* const CONST_NO_HANDLE = nullptr;

/// What VxAlgo_FCU_Process was handed: the line table and the point buffer in it.
char* Table(const fake::Call& call)
{
    char* table = nullptr;
    std::memcpy(&table, call.Pointer<char>(3) + 16, sizeof(table));
    return table;
}

STRUCT_DrawPoint* Buffer(const fake::Call& call)
{
    STRUCT_DrawPoint* points = nullptr;
    std::memcpy(&points, Table(call) + 16, sizeof(points));
    return points;
}

/// A line as the algorithm describes it: its points from one of the buffer's on, or none.
struct Line
{
    int count;
    int from;  ///< -1 for a null pointer
};

/// The algorithm fills its whole buffer, point k being (k, -k), and describes the lines; it claims
/// as many lines as told.
fake::Reply Traced(int claimed, const std::vector<Line>& lines)
{
    return [claimed, lines](const fake::Call& call) {
        STRUCT_DrawPoint* const buffer = Buffer(call);
        for (int k = 0; k < CONST_BUFFER_POINTS; ++k)
            buffer[k] = {static_cast<float>(k), static_cast<float>(-k)};
        char* const table = Table(call);
        std::memcpy(table, &claimed, sizeof(claimed));
        for (std::size_t i = 0; i < lines.size(); ++i) {
            const STRUCT_DrawPoint* const points =
                lines[i].from < 0 ? nullptr : buffer + lines[i].from;
            std::memcpy(table + 8 + 16 * i, &lines[i].count, sizeof(lines[i].count));
            std::memcpy(table + 16 + 16 * i, &points, sizeof(points));
        }
        return 0;
    };
}

fake::Reply Traced(const std::vector<Line>& lines)
{
    return Traced(static_cast<int>(lines.size()), lines);
}

/// How many points each polyline has.
std::vector<int> Sizes(const Outline& outline)
{
    std::vector<int> sizes;
    for (const QVector<STRUCT_DrawPoint>& line : outline)
        sizes.push_back(line.size());
    return sizes;
}

std::string Request(int createType, int mode, float x, float y, float zoom, int ptzType)
{
    return RecordBytes(112)
        .Int(0, 112)
        .Int(4, createType)
        .Int(8, mode)
        .Int(12, 32)
        .Int(16, 0)
        .Float(20, x)
        .Float(24, y)
        .Float(28, zoom)
        .Int(32, 250)
        .Int(36, 250)
        .Int(40, ptzType);
}

/// A creation record with centre (1234, 5678) and zoom 9012.
tagCreateCorrectPara Para(int createType, int mode)
{
    tagCreateCorrectPara para{};
    para.iSize = 88;
    para.iCreateType = createType;
    para.iCorrectMode = mode;
    para.iPTZPositionX = 1234;
    para.iPTZPositionY = 5678;
    para.iPTZZoom = 9012;
    para.iPTZExtra1 = 200;
    para.iPTZExtra2 = 201;
    return para;
}

class PtzOutlineTest : public PtzTest
{
protected:
    PtzOutlineTest()
    {
        s_buffersMade = 0;
        s_buffersFreed = 0;
    }

    Outline Drawn()
    {
        Outline outline;
        EXPECT_EQ(m_view.GetPTZDrawData(outline), 0);
        return outline;
    }

    /// One buffer was made for the call and is gone.
    void ExpectOneBuffer()
    {
        EXPECT_EQ(s_buffersMade, 1);
        EXPECT_EQ(s_buffersFreed, 1);
    }
};

// The square.

/// A centre, and the edges of its square.
struct Square
{
    const char* name;
    int centre;
    float before;
    float behind;

    friend std::ostream& operator<<(std::ostream& out, const Square& row)
    {
        return out << row.name;
    }
};

class PtzSquare : public PtzOutlineTest, public ::testing::WithParamInterface<Square>
{};

std::string Segment(float x0, float y0, float x1, float y1)
{
    return RecordBytes(16).Float(0, x0).Float(4, y0).Float(8, x1).Float(12, y1);
}

/// The bytes of each polyline.
std::vector<std::string> Points(const Outline& outline)
{
    std::vector<std::string> lines;
    for (const QVector<STRUCT_DrawPoint>& line : outline)
        lines.emplace_back(reinterpret_cast<const char*>(line.constData()),
                           sizeof(STRUCT_DrawPoint) * static_cast<std::size_t>(line.size()));
    return lines;
}

TEST_P(PtzSquare, HasItsEdgesAcrossAndDown)
{
    const Square& row = GetParam();
    STRUCT_FecPtzParam param{};
    param.stPosition = {row.centre, 5000};
    param.iPTZZoom = 1;
    EXPECT_EQ(m_view.SetRectDraw(param), 0);
    const float before = row.before;
    const float behind = row.behind;
    EXPECT_THAT(Points(Drawn()), ElementsAre(Segment(before, 0.45F, behind, 0.45F),
                                             Segment(behind, 0.45F, behind, 0.55F),
                                             Segment(behind, 0.55F, before, 0.55F),
                                             Segment(before, 0.55F, before, 0.45F)));
    CLS_PTZSubPlayer other;
    tagCreateCorrectPara para{};
    para.iPTZPositionX = 5000;
    para.iPTZPositionY = row.centre;
    EXPECT_EQ(other.SetRectDraw(m_pHandle, para), 0);
    Outline outline;
    other.GetPTZDrawData(outline);
    EXPECT_THAT(Points(outline), ElementsAre(Segment(0.45F, before, 0.55F, before),
                                             Segment(0.55F, before, 0.55F, behind),
                                             Segment(0.55F, behind, 0.45F, behind),
                                             Segment(0.45F, behind, 0.45F, before)));
    EXPECT_THAT(Calls(), IsEmpty());
    EXPECT_THAT(Lines(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(PTZSubPlayer, PtzSquare,
                         ::testing::Values(Square{"AtTheCentre", 5000, 0.45F, 0.55F},
                                           Square{"NearTheLeft", 100, 0.0F, 0.06F},
                                           Square{"NearTheRight", 9900, 0.94F, 1.0F},
                                           Square{"JustTouchingTheLeft", 500, 0.0F, 0.1F},
                                           Square{"JustOffTheLeft", 501, 0.0001F, 0.1001F},
                                           Square{"JustCutOnTheLeft", 499, 0.0F, 0.0999F},
                                           Square{"JustOffTheRight", 9499, 0.8999F, 0.9999F},
                                           Square{"JustTouchingTheRight", 9500, 0.9F, 1.0F},
                                           Square{"JustCutOnTheRight", 9501, 0.9001F, 1.0F},
                                           Square{"AtZero", 0, 0.0F, 0.05F},
                                           Square{"AtTheEdge", 10000, 0.95F, 1.0F},
                                           Square{"BelowZero", -700, 0.0F, -0.02F},
                                           Square{"BeyondTheEdge", 20000, 1.95F, 1.0F},
                                           Square{"Least", INT32_MIN, 0.0F, -214748.3148F},
                                           Square{"Largest", INT32_MAX, 214748.3147F, 1.0F}),
                         [](const ::testing::TestParamInfo<Square>& info) {
                             return info.param.name;
                         });

TEST_F(PtzOutlineTest, ASquareCutAtTwoBorders)
{
    STRUCT_FecPtzParam param{};
    param.stPosition = {100, 9900};
    EXPECT_EQ(m_view.SetRectDraw(param), 0);
    EXPECT_THAT(Points(Drawn()),
                ElementsAre(Segment(0.0F, 0.94F, 0.06F, 0.94F), Segment(0.06F, 0.94F, 0.06F, 1.0F),
                            Segment(0.06F, 1.0F, 0.0F, 1.0F), Segment(0.0F, 1.0F, 0.0F, 0.94F)));
}

TEST_F(PtzOutlineTest, ASquareIsAppendedToWhatIsThere)
{
    m_view.SetRectDraw(STRUCT_FecPtzParam{});
    m_view.SetRectDraw(m_pHandle, Para(1, 0x100));
    EXPECT_THAT(Sizes(Drawn()), ElementsAre(2, 2, 2, 2, 2, 2, 2, 2));
}

TEST_F(PtzOutlineTest, ASquareFromACreationRecordWithoutAnInstanceIsRefused)
{
    m_view.m_pFcuHandle = m_pHandle;
    EXPECT_EQ(m_view.SetRectDraw(CONST_NO_HANDLE, Para(1, 0x100)), -1);
    EXPECT_THAT(Lines(),
                ElementsAre(Warning("[  CLS_PTZSubPlayer::SetRectDraw nullptr == _pfcuHandle ]")));
    EXPECT_THAT(Drawn(), IsEmpty());
    EXPECT_EQ(m_view.m_pFcuHandle, m_pHandle);
}

TEST_F(PtzOutlineTest, ASquareFromACreationRecordTakesTheInstance)
{
    EXPECT_EQ(m_view.SetRectDraw(m_pHandle, Para(1, 0x100)), 0);
    EXPECT_EQ(m_view.m_pFcuHandle, m_pHandle);
}

TEST_F(PtzOutlineTest, ASquareFromADescriptionNeedsNoInstance)
{
    EXPECT_EQ(m_view.SetRectDraw(STRUCT_FecPtzParam{}), 0);
    EXPECT_EQ(m_view.m_pFcuHandle, nullptr);
    EXPECT_THAT(Lines(), IsEmpty());
}

// The traced border: what the algorithm is asked.

TEST_F(PtzOutlineTest, TheRequestFromACreationRecordHasItsFieldsAtTheirOffsets)
{
    m_view.m_iCreateType = 4;
    m_view.m_iCorrectMode = 0x300;
    EXPECT_EQ(m_view.SetFecDraw(m_pHandle, Para(9, 0x999)), 0);
    const std::vector<fake::Call> calls = Calls();
    ASSERT_THAT(calls, SizeIs(1));
    EXPECT_EQ(calls[0].name, "VxAlgo_FCU_Process");
    EXPECT_EQ(calls[0].Pointer<void>(0), m_pHandle);
    EXPECT_EQ(calls[0].Int(1), 0);
    EXPECT_EQ(calls[0].records[0], Request(4, 0x300, 0.1234F, 0.5678F, 0.9012F, 0x3000));
    EXPECT_EQ(m_view.m_pFcuHandle, m_pHandle);
    EXPECT_THAT(Lines(), IsEmpty());
    ExpectOneBuffer();
}

TEST_F(PtzOutlineTest, TheRequestFromADescriptionHasItsFieldsAtTheirOffsets)
{
    m_view.m_pFcuHandle = m_pHandle;
    m_view.m_iCreateType = -4;
    m_view.m_iCorrectMode = 0x500;
    EXPECT_EQ(m_view.SetFecDraw(STRUCT_FecPtzParam{24, {10000, -5000}, 20000, 7, 8}), 0);
    const fake::Call call = Calls().at(0);
    EXPECT_EQ(call.Pointer<void>(0), m_pHandle);
    EXPECT_EQ(call.Int(1), 0);
    EXPECT_EQ(call.records[0], Request(-4, 0x500, 1.0F, -0.5F, 2.0F, 0x1000));
    ExpectOneBuffer();
}

TEST_F(PtzOutlineTest, TheResultIsZeroButForItsSizeAndItsLineTable)
{
    m_view.SetFecDraw(m_pHandle, Para(4, 0x300));
    const fake::Call call = Calls().at(0);
    const std::string& result = call.records[1];
    ASSERT_EQ(result.size(), 88U);
    EXPECT_EQ(result.substr(0, 16), RecordBytes(16).Int(0, 88));
    EXPECT_NE(result.substr(16, 8), std::string(8, '\0'));
    EXPECT_EQ(result.substr(24), std::string(64, '\0'));
}

TEST_F(PtzOutlineTest, TheLineTableIsZeroButForTheBufferInItsFirstLine)
{
    void* buffer = nullptr;
    fake::Next("VxAlgo_FCU_Process", [&buffer](const fake::Call&) {
        buffer = s_buffer;
        return -1;
    });
    m_view.SetFecDraw(m_pHandle, Para(4, 0x300));
    EXPECT_NE(buffer, nullptr);
    EXPECT_EQ(Calls().at(0).records[2], RecordBytes(368).Pointer(16, buffer));
}

// The traced border: what becomes of the answer.

TEST_F(PtzOutlineTest, EachLineKeepsItsFirst2500PointsAsTheyAre)
{
    fake::Next("VxAlgo_FCU_Process", Traced({{10, 0}, {0, 10}, {3000, 10}}));
    EXPECT_EQ(m_view.SetFecDraw(m_pHandle, Para(1, 0x100)), 0);
    const Outline outline = Drawn();
    ASSERT_THAT(Sizes(outline), ElementsAre(10, 0, 2500));
    EXPECT_EQ(outline[0][0].fX, 0.0F);
    EXPECT_EQ(outline[0][9].fX, 9.0F);
    EXPECT_EQ(outline[0][9].fY, -9.0F);
    EXPECT_EQ(outline[2][0].fX, 10.0F);
    EXPECT_EQ(outline[2][2499].fX, 2509.0F);
    EXPECT_EQ(outline[2][2499].fY, -2509.0F);
    ExpectOneBuffer();
}

TEST_F(PtzOutlineTest, TheLimitOfALineIs2500Points)
{
    fake::Next("VxAlgo_FCU_Process", Traced({{2499, 0}, {2500, 0}, {2501, 0}, {1, 39999}}));
    EXPECT_EQ(m_view.SetFecDraw(m_pHandle, Para(1, 0x100)), 0);
    EXPECT_THAT(Sizes(Drawn()), ElementsAre(2499, 2500, 2500, 1));
}

TEST_F(PtzOutlineTest, TwentyTwoLinesOfTheWholeBuffer)
{
    fake::Next("VxAlgo_FCU_Process", Traced(std::vector<Line>(22, {CONST_BUFFER_POINTS, 0})));
    EXPECT_EQ(m_view.SetFecDraw(m_pHandle, Para(1, 0x100)), 0);
    EXPECT_THAT(Sizes(Drawn()), ::testing::AllOf(SizeIs(22), ::testing::Each(2500)));
    ExpectOneBuffer();
}

TEST_F(PtzOutlineTest, OfMoreLinesThanTheTableHoldsTwentyTwoAreRead)
{
    for (const int claimed : {22, 23, 1000, INT32_MAX}) {
        CLS_PTZSubPlayer view;
        fake::Next("VxAlgo_FCU_Process", Traced(claimed, std::vector<Line>(22, {3, 5})));
        EXPECT_EQ(view.SetFecDraw(m_pHandle, Para(1, 0x100)), 0);
        Outline outline;
        view.GetPTZDrawData(outline);
        EXPECT_THAT(Sizes(outline), ::testing::AllOf(SizeIs(22), ::testing::Each(3))) << claimed;
    }
}

TEST_F(PtzOutlineTest, LinesThatAreClaimedButNotDescribedAreEmpty)
{
    fake::Next("VxAlgo_FCU_Process", Traced(4, {{2, 0}}));
    EXPECT_EQ(m_view.SetFecDraw(m_pHandle, Para(1, 0x100)), 0);
    EXPECT_THAT(Sizes(Drawn()), ElementsAre(2, 0, 0, 0));
}

TEST_F(PtzOutlineTest, ANullPointerOrACountBelowOneGivesAnEmptyLine)
{
    fake::Next("VxAlgo_FCU_Process",
               Traced({{5, -1}, {-1, 0}, {INT32_MIN, 0}, {0, -1}, {INT32_MAX, -1}, {4, 0}}));
    EXPECT_EQ(m_view.SetFecDraw(m_pHandle, Para(1, 0x100)), 0);
    EXPECT_THAT(Sizes(Drawn()), ElementsAre(0, 0, 0, 0, 0, 4));
    EXPECT_THAT(Lines(), IsEmpty());
    ExpectOneBuffer();
}

TEST_F(PtzOutlineTest, ANullPointerInTheFirstLineStillFreesTheBuffer)
{
    fake::Next("VxAlgo_FCU_Process", Traced({{7, -1}}));
    EXPECT_EQ(m_view.SetFecDraw(m_pHandle, Para(1, 0x100)), 0);
    EXPECT_THAT(Sizes(Drawn()), ElementsAre(0));
    ExpectOneBuffer();
}

TEST_F(PtzOutlineTest, PointsOfTheAlgorithmsOwnMemoryAreCopiedToo)
{
    static const STRUCT_DrawPoint own[] = {{0.25F, 0.5F}, {0.75F, 1.0F}};
    fake::Next("VxAlgo_FCU_Process", [](const fake::Call& call) {
        Traced({{2, 0}})(call);
        const STRUCT_DrawPoint* const points = own;
        std::memcpy(Table(call) + 16, &points, sizeof(points));
        return 0;
    });
    EXPECT_EQ(m_view.SetFecDraw(m_pHandle, Para(1, 0x100)), 0);
    EXPECT_THAT(Points(Drawn()), ElementsAre(Segment(0.25F, 0.5F, 0.75F, 1.0F)));
    ExpectOneBuffer();
}

TEST_F(PtzOutlineTest, PointsThatAreNoNumbersAreCopiedAsTheyAre)
{
    fake::Next("VxAlgo_FCU_Process", [](const fake::Call& call) {
        Traced({{2, 0}})(call);
        Buffer(call)[0] = {std::numeric_limits<float>::quiet_NaN(), -0.0F};
        Buffer(call)[1] = {std::numeric_limits<float>::infinity(), 1e30F};
        return 0;
    });
    EXPECT_EQ(m_view.SetFecDraw(m_pHandle, Para(1, 0x100)), 0);
    EXPECT_THAT(Points(Drawn()),
                ElementsAre(Segment(std::numeric_limits<float>::quiet_NaN(), -0.0F,
                                    std::numeric_limits<float>::infinity(), 1e30F)));
}

TEST_F(PtzOutlineTest, ATracedBorderIsAppendedToWhatIsThere)
{
    m_view.SetFecDraw(m_pHandle, Para(1, 0x100));
    m_view.SetFecDraw(STRUCT_FecPtzParam{});
    EXPECT_THAT(Sizes(Drawn()), ElementsAre(2, 2));
}

TEST_F(PtzOutlineTest, APositiveResultIsSuccess)
{
    fake::Next("VxAlgo_FCU_Process", [](const fake::Call& call) {
        Traced({{2, 0}})(call);
        return 6;
    });
    EXPECT_EQ(m_view.SetFecDraw(m_pHandle, Para(1, 0x100)), 0);
    EXPECT_THAT(Sizes(Drawn()), ElementsAre(2));
}

TEST_F(PtzOutlineTest, AFailingAlgorithmIsLoggedAndHandedOnAndTheBufferFreed)
{
    fake::Next("VxAlgo_FCU_Process", [](const fake::Call& call) {
        Traced({{2, 0}})(call);
        return -6;
    });
    EXPECT_EQ(m_view.SetFecDraw(m_pHandle, Para(1, 0x100)), -6);
    EXPECT_THAT(
        Lines(),
        ElementsAre(Warning(WithValue(
            "[  CLS_PTZSubPlayer::SetFecDraw CLS_VxAlgoFcu::VxAlgo_FCU_Process fail iRet = ",
            -6))));
    EXPECT_THAT(Drawn(), IsEmpty());
    EXPECT_EQ(m_view.m_pFcuHandle, m_pHandle);
    ExpectOneBuffer();
}

TEST_F(PtzOutlineTest, AnAnswerWithoutALineIsRefusedAndTheBufferFreed)
{
    for (const int claimed : {0, -1, INT32_MIN}) {
        s_buffersMade = 0;
        s_buffersFreed = 0;
        fake::Next("VxAlgo_FCU_Process", Traced(claimed, {{2, 0}}));
        EXPECT_EQ(m_view.SetFecDraw(m_pHandle, Para(1, 0x100)), -1);
        EXPECT_THAT(Lines(),
                    ElementsAre(Warning("[  CLS_PTZSubPlayer::SetFecDraw iLineNum <= 0 ]")));
        EXPECT_THAT(Drawn(), IsEmpty());
        ExpectOneBuffer();
    }
}

TEST_F(PtzOutlineTest, WithoutAnInstanceACreationRecordIsRefused)
{
    m_view.m_pFcuHandle = m_pHandle;
    EXPECT_EQ(m_view.SetFecDraw(CONST_NO_HANDLE, Para(1, 0x100)), -1);
    EXPECT_THAT(Lines(),
                ElementsAre(Warning("[  CLS_PTZSubPlayer::SetFecDraw nullptr == _pfcuHandle]")));
    EXPECT_THAT(Calls(), IsEmpty());
    EXPECT_EQ(m_view.m_pFcuHandle, m_pHandle);
    EXPECT_EQ(s_buffersMade, 0);
}

TEST_F(PtzOutlineTest, WithoutAnInstanceADescriptionIsRefused)
{
    EXPECT_EQ(m_view.SetFecDraw(STRUCT_FecPtzParam{}), -1);
    EXPECT_THAT(Lines(),
                ElementsAre(Warning("[  CLS_PTZSubPlayer::SetFecDraw nullptr == m_pFcuHandle]")));
    EXPECT_THAT(Calls(), IsEmpty());
    EXPECT_EQ(s_buffersMade, 0);
}

// Set-up of a view.

TEST_F(PtzOutlineTest, SetUpTakesTypeModeAndInstanceButNotTheRecord)
{
    EXPECT_EQ(m_view.CreatePtzDraw(m_pHandle, Para(4, 0x200), n_DrawType_Rect), 0);
    EXPECT_EQ(m_view.m_iCreateType, 4);
    EXPECT_EQ(m_view.m_iCorrectMode, 0x200);
    EXPECT_EQ(m_view.m_pFcuHandle, m_pHandle);
    EXPECT_EQ(Bytes(m_view.m_stCreatePara), std::string(88, '\0'));
    EXPECT_THAT(Points(Drawn()), ElementsAre(Segment(0.0734F, 0.5178F, 0.1734F, 0.5178F),
                                             Segment(0.1734F, 0.5178F, 0.1734F, 0.6178F),
                                             Segment(0.1734F, 0.6178F, 0.0734F, 0.6178F),
                                             Segment(0.0734F, 0.6178F, 0.0734F, 0.5178F)));
    EXPECT_THAT(Calls(), IsEmpty());
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(PtzOutlineTest, SetUpWithATracedBorderAsksWithTheNewTypeAndMode)
{
    EXPECT_EQ(m_view.CreatePtzDraw(m_pHandle, Para(4, 0x400), n_DrawType_Fec), 0);
    EXPECT_THAT(Sizes(Drawn()), ElementsAre(2));
    const std::vector<fake::Call> calls = Calls();
    ASSERT_THAT(calls, SizeIs(1));
    EXPECT_EQ(calls[0].records[0], Request(4, 0x400, 0.1234F, 0.5678F, 0.9012F, 0x4000));
}

TEST_F(PtzOutlineTest, ATracedBorderOfThePanoramasModeIsNotConverted)
{
    EXPECT_EQ(m_view.CreatePtzDraw(m_pHandle, Para(4, 0x300), n_DrawType_Fec), 0);
    EXPECT_THAT(fake::Names(), ElementsAre("VxAlgo_FCU_Process"));
}

TEST_F(PtzOutlineTest, SetUpReplacesTheOutline)
{
    m_view.CreatePtzDraw(m_pHandle, Para(4, 0x200), n_DrawType_Rect);
    m_view.CreatePtzDraw(m_pHandle, Para(4, 0x200), n_DrawType_Fec);
    EXPECT_THAT(Sizes(Drawn()), ElementsAre(2));
    m_view.CreatePtzDraw(m_pHandle, Para(4, 0x200), 5);
    EXPECT_THAT(Drawn(), IsEmpty());
}

TEST_F(PtzOutlineTest, SetUpWithASquareInThePanoramasModeConvertsTheCentre)
{
    EXPECT_EQ(m_view.CreatePtzDraw(m_pHandle, Para(4, 0x300), n_DrawType_Rect), 0);
    const std::vector<fake::Call> calls = Calls();
    ASSERT_THAT(calls, SizeIs(1));
    EXPECT_EQ(calls[0].name, "VxAlgo_FCU_Point_Transform");
    EXPECT_EQ(calls[0].Pointer<void>(0), m_pHandle);
    EXPECT_EQ(calls[0].records[0], RecordBytes(92)
                                       .Int(0, 92)
                                       .Int(4, 4)
                                       .Int(8, 0x300)
                                       .Float(12, 0.1234F)
                                       .Float(16, 0.5678F)
                                       .Int(20, 0x40000)
                                       .Int(24, 0x20000));
    // around (2500, 7500), which the algorithm answers
    EXPECT_EQ(Points(Drawn()).at(0), Segment(0.2F, 0.7F, 0.3F, 0.7F));
    EXPECT_EQ(Points(Drawn()).at(2), Segment(0.3F, 0.8F, 0.2F, 0.8F));
}

TEST_F(PtzOutlineTest, ACentreThatCannotBeConvertedBecomesTheUpperLeftCorner)
{
    fake::Next("VxAlgo_FCU_Point_Transform", -4);
    EXPECT_EQ(m_view.CreatePtzDraw(m_pHandle, Para(4, 0x300), n_DrawType_Rect), 0);
    EXPECT_THAT(
        Lines(),
        ElementsAre(Warning(WithValue(
            "[  CLS_PTZSubPlayer::CoordSwitch CLS_VxAlgoFcu::VxAlgo_FCU_Point_Transform fail iRet = ",
            -4))));
    EXPECT_EQ(Points(Drawn()).at(0), Segment(0.0F, 0.0F, 0.05F, 0.0F));
}

TEST_F(PtzOutlineTest, SetUpWithoutAnInstanceReportsConversionAndSquare)
{
    m_view.m_pFcuHandle = m_pHandle;
    EXPECT_EQ(m_view.CreatePtzDraw(CONST_NO_HANDLE, Para(4, 0x300), n_DrawType_Rect), -1);
    EXPECT_THAT(Lines(),
                ElementsAre(Warning("[  CLS_PTZSubPlayer::CoordFETo360 nullptr == m_pFcuHandle ]"),
                            Warning("[  CLS_PTZSubPlayer::SetRectDraw nullptr == _pfcuHandle ]")));
    EXPECT_EQ(m_view.m_pFcuHandle, nullptr);
    EXPECT_EQ(m_view.m_iCreateType, 4);
    EXPECT_EQ(m_view.m_iCorrectMode, 0x300);
    EXPECT_THAT(Drawn(), IsEmpty());
}

TEST_F(PtzOutlineTest, SetUpHandsTheResultOfATracedBorderOn)
{
    fake::Next("VxAlgo_FCU_Process", -9);
    EXPECT_EQ(m_view.CreatePtzDraw(m_pHandle, Para(4, 0x300), n_DrawType_Fec), -9);
    EXPECT_EQ(m_view.CreatePtzDraw(CONST_NO_HANDLE, Para(4, 0x300), n_DrawType_Fec), -1);
}

TEST_F(PtzOutlineTest, SetUpWithAnUnknownDrawTypeSucceedsWithoutAnOutlineAndIsKept)
{
    for (const int drawType : {5, 2, -1}) {
        EXPECT_EQ(m_view.CreatePtzDraw(CONST_NO_HANDLE, Para(4, 0x300), drawType), 0);
        EXPECT_THAT(Drawn(), IsEmpty());
        EXPECT_THAT(Lines(), IsEmpty());
        m_view.m_iMainPlayId = 7;
        m_view.m_iSubPlayId = 11;
        tagCorrectPtzPara para{};
        EXPECT_EQ(m_view.SetCorrectPara(para), -1);
        EXPECT_THAT(Lines(), SizeIs(1));
    }
    EXPECT_THAT(Calls(), IsEmpty());
}

// The outline of a parameter write.

TEST_F(PtzOutlineTest, AWriteRedrawsFromTheStoredRecordBeforeTheEngineIsAsked)
{
    Open(4, 0x200, n_DrawType_Fec);
    auto para = Numbered<tagCorrectPtzPara>();
    EXPECT_EQ(m_view.SetCorrectPara(para), 0);
    EXPECT_THAT(Sizes(Drawn()), ElementsAre(2));
    const std::vector<fake::Call> calls = Calls();
    ASSERT_THAT(calls, SizeIs(2));
    EXPECT_EQ(calls[0].name, "VxAlgo_FCU_Process");
    EXPECT_EQ(calls[0].records[0], Request(4, 0x200, 0.4F, 0.6F, 0.9F, 0x2000));
    EXPECT_EQ(calls[1].name, "RV_SetFishEyeCorrectPara");
    EXPECT_EQ(calls[1].records[0], Bytes(Numbered<tagCorrectPtzPara>()));
}

TEST_F(PtzOutlineTest, AFailedRedrawDoesNotHoldUpTheWrite)
{
    Open(4, 0x200, n_DrawType_Fec);
    fake::Next("VxAlgo_FCU_Process", -6);
    fake::Next("RV_SetFishEyeCorrectPara", 4);
    tagCorrectPtzPara para{};
    EXPECT_EQ(m_view.SetCorrectPara(para), 4);
    EXPECT_THAT(Lines(), SizeIs(1));
    EXPECT_THAT(Drawn(), IsEmpty());
}

TEST_F(PtzOutlineTest, AWriteWithoutAnInstanceLogsAndGoesOn)
{
    Open(4, 0x200, n_DrawType_Fec);
    m_view.m_pFcuHandle = nullptr;
    tagCorrectPtzPara para{};
    EXPECT_EQ(m_view.SetCorrectPara(para), 0);
    EXPECT_THAT(Lines(),
                ElementsAre(Warning("[  CLS_PTZSubPlayer::SetFecDraw nullptr == m_pFcuHandle]")));
    EXPECT_THAT(fake::Names(), ElementsAre("RV_SetFishEyeCorrectPara"));
}

TEST_F(PtzOutlineTest, ARefusedWriteKeepsTheOutline)
{
    Open(4, 0x200);
    m_view.m_iSubPlayId = -1;
    tagCorrectPtzPara para{};
    EXPECT_EQ(m_view.SetCorrectPara(para), -1);
    EXPECT_THAT(Sizes(Drawn()), ElementsAre(2, 2, 2, 2));
}

TEST_F(PtzOutlineTest, AFailedWriteKeepsTheNewOutline)
{
    Open(4, 0x200);
    m_view.m_stCreatePara.iPTZPositionX = 5000;
    fake::Next("RV_SetFishEyeCorrectPara", -6);
    tagCorrectPtzPara para{};
    EXPECT_EQ(m_view.SetCorrectPara(para), -6);
    EXPECT_EQ(Points(Drawn()).at(0), Segment(0.45F, 0.55F, 0.55F, 0.55F));
}

TEST_F(PtzOutlineTest, AWriteInThePanoramasModeConvertsTheCentreOfTheSquareAlone)
{
    Open(4, 0x300);
    m_view.m_stCreatePara.iPTZPositionX = 10000;
    tagCorrectPtzPara para{};
    EXPECT_EQ(m_view.SetCorrectPara(para), 0);
    const std::vector<fake::Call> calls = Calls();
    ASSERT_THAT(calls, SizeIs(2));
    EXPECT_EQ(calls[0].name, "VxAlgo_FCU_Point_Transform");
    EXPECT_EQ(calls[0].records[0], RecordBytes(92)
                                       .Int(0, 92)
                                       .Int(4, 4)
                                       .Int(8, 0x300)
                                       .Float(12, 0.9999F)
                                       .Float(16, 0.6F)
                                       .Int(20, 0x40000)
                                       .Int(24, 0x20000));
    EXPECT_EQ(calls[1].name, "RV_SetFishEyeCorrectPara");
    EXPECT_EQ(Points(Drawn()).at(0), Segment(0.2F, 0.7F, 0.3F, 0.7F));
    EXPECT_EQ(m_view.m_stCreatePara.iPTZPositionX, 10000);  // clamped for the request alone
}

TEST_F(PtzOutlineTest, AWriteWhoseCentreCannotBeConvertedDrawsAtTheUpperLeftCorner)
{
    Open(4, 0x300);
    fake::Next("VxAlgo_FCU_Point_Transform", -4);
    tagCorrectPtzPara para{};
    EXPECT_EQ(m_view.SetCorrectPara(para), 0);
    EXPECT_EQ(Points(Drawn()).at(0), Segment(0.0F, 0.0F, 0.05F, 0.0F));
    EXPECT_EQ(m_view.m_stCreatePara.iPTZPositionX, 4000);
}

TEST_F(PtzOutlineTest, AWriteInThePanoramasModeTracesWithoutConverting)
{
    Open(4, 0x300, n_DrawType_Fec);
    tagCorrectPtzPara para{};
    EXPECT_EQ(m_view.SetCorrectPara(para), 0);
    EXPECT_THAT(fake::Names(), ElementsAre("VxAlgo_FCU_Process", "RV_SetFishEyeCorrectPara"));
}

// Handing out.

TEST_F(PtzOutlineTest, ANewViewHasNoOutlineAndTheCallersContentsAreReleased)
{
    Outline outline{{{1.0F, 2.0F}}};
    EXPECT_EQ(m_view.GetPTZDrawData(outline), 0);
    EXPECT_THAT(outline, IsEmpty());
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(PtzOutlineTest, CopiesAreSharedAndNoPointIsCopied)
{
    fake::Next("VxAlgo_FCU_Process", Traced({{2500, 0}, {100, 0}}));
    m_view.CreatePtzDraw(m_pHandle, Para(1, 0x100), n_DrawType_Fec);
    const Outline first = Drawn();
    const Outline second = Drawn();
    ASSERT_THAT(Sizes(first), ElementsAre(2500, 100));
    EXPECT_EQ(first.constData(), second.constData());
    EXPECT_EQ(first[0].constData(), second[0].constData());
    EXPECT_EQ(first[1].constData(), second[1].constData());
}

TEST_F(PtzOutlineTest, ACopyStaysAsItWasWhenTheViewIsRedrawn)
{
    Open(1);
    const Outline before = Drawn();
    const std::vector<std::string> points = Points(before);
    m_view.m_stCreatePara.iPTZPositionX = 9000;
    tagCorrectPtzPara para{};
    m_view.SetCorrectPara(para);
    EXPECT_EQ(Points(before), points);
    EXPECT_NE(Points(Drawn()), points);
}

TEST_F(PtzOutlineTest, TheLockIsNotHeldWhileAlgorithmOrEngineRuns)
{
    Open(1, 0x200, n_DrawType_Fec);
    std::vector<int> seen;
    const auto look = [this, &seen] {
        std::thread([this, &seen] { seen.push_back(Drawn().size()); }).join();
    };
    fake::Next("VxAlgo_FCU_Process", [&look](const fake::Call& call) {
        look();
        return Traced({{2, 0}, {2, 0}})(call);
    });
    fake::Next("RV_SetFishEyeCorrectPara", [&look](const fake::Call&) {
        look();
        return 0;
    });
    tagCorrectPtzPara para{};
    EXPECT_EQ(m_view.SetCorrectPara(para), 0);
    EXPECT_THAT(seen, ElementsAre(0, 2));
}

// For the thread sanitizer: another thread has looked at a copy and let it go, and nothing but the
// count of the sharing tells the view so. Neither a clear nor an append may then write in place.
TEST_F(PtzOutlineTest, ACopyThatAReaderHasLetGoOfIsNotWrittenInPlace)
{
    m_view.SetRectDraw(STRUCT_FecPtzParam{});
    const auto lookOnAnotherThread = [this](const auto& write) {
        std::atomic<int> lines{0};
        std::thread reader([this, &lines] {
            const int size = Drawn().size();
            lines.store(size, std::memory_order_relaxed);
        });
        while (0 == lines.load(std::memory_order_relaxed))
            std::this_thread::yield();
        write();
        reader.join();
        return lines.load();
    };
    EXPECT_EQ(lookOnAnotherThread([this] { m_view.SetRectDraw(STRUCT_FecPtzParam{}); }), 4);
    EXPECT_EQ(lookOnAnotherThread([this] { m_view.CreatePtzDraw(m_pHandle, Para(1, 0x100), 5); }),
              8);
    EXPECT_THAT(Drawn(), IsEmpty());
}

TEST_F(PtzOutlineTest, AReaderOnAnotherThreadSeesWholeLinesOnly)
{
    Open(1);
    std::atomic<bool> stop{false};
    std::atomic<int> wrong{0};
    std::thread reader([this, &stop, &wrong] {
        while (!stop) {
            const Outline outline = Drawn();
            wrong += outline.size() > 4;
            for (const QVector<STRUCT_DrawPoint>& line : outline)
                wrong += line.size() != 2;
        }
    });
    tagCorrectPtzPara para{};
    for (int i = 0; i < 2000; ++i)
        m_view.SetCorrectPara(para);
    stop = true;
    reader.join();
    EXPECT_EQ(wrong, 0);
    EXPECT_THAT(Sizes(Drawn()), ElementsAre(2, 2, 2, 2));
}

}  // namespace
