// The records with which views are steered and described: sizes, the order of their fields, and
// the values of the enumerations.
#include <array>

#include "VideoPlayer_FishEye/feplayer/ControlRecords.h"
#include "VideoPlayer_FishEye/feplayer/StreamRecords.h"
#include "tests/manager/ViewProbe.h"

namespace {

using ::testing::ElementsAre;

/// A record from whole numbers of 32 bits in the order of memory.
template <class T, std::size_t n>
T From(const std::array<std::int32_t, n>& fields)
{
    static_assert(sizeof(T) == sizeof(fields));
    T record;
    std::memcpy(&record, fields.data(), sizeof(record));
    return record;
}

TEST(ControlRecords, AStepIsXYAndZoom)
{
    const auto step = From<STRUCT_CtlParam>(std::array<std::int32_t, 3>{1, -2, 3});
    EXPECT_EQ(step.m_iX, 1);
    EXPECT_EQ(step.m_iY, -2);
    EXPECT_EQ(step.m_iZoom, 3);
}

TEST(ControlRecords, ADragIsStartAndEnd)
{
    const auto drag = From<STRUCT_CtlPointParam>(std::array<std::int32_t, 4>{1, -2, 3, -4});
    EXPECT_EQ(drag.m_iStartX, 1);
    EXPECT_EQ(drag.m_iStartY, -2);
    EXPECT_EQ(drag.m_iEndX, 3);
    EXPECT_EQ(drag.m_iEndY, -4);
}

TEST(ControlRecords, AWindowIsWidthAndHeight)
{
    const auto rect = From<STRUCT_FishWindowRect>(std::array<std::int32_t, 2>{640, -480});
    EXPECT_EQ(rect.m_iWidth, 640);
    EXPECT_EQ(rect.m_iHeight, -480);
}

TEST(ControlRecords, TheCommandsHaveTheirNumbers)
{
    EXPECT_EQ(n_CtlCmd_Move, 0);
    EXPECT_EQ(n_CtlCmd_Zoom, 1);
    EXPECT_EQ(n_PTZCtl_Up, 0);
    EXPECT_EQ(n_PTZCtl_Down, 1);
    EXPECT_EQ(n_PTZCtl_Left, 2);
    EXPECT_EQ(n_PTZCtl_Right, 3);
    EXPECT_EQ(n_PTZCtl_LeftUp, 4);
    EXPECT_EQ(n_PTZCtl_RightUp, 5);
    EXPECT_EQ(n_PTZCtl_LeftDown, 6);
    EXPECT_EQ(n_PTZCtl_RightDown, 7);
    EXPECT_EQ(n_PTZCtl_ZoomIn, 8);
    EXPECT_EQ(n_PTZCtl_ZoomOut, 9);
    EXPECT_EQ(sizeof(n_CtlCmd), 4U);
    EXPECT_EQ(sizeof(n_PTZCtlCmd), 4U);
}

TEST(CorrectionRecords, HaveTheirSizes)
{
    EXPECT_EQ(sizeof(tagCreateCorrectPara), 88U);
    EXPECT_EQ(sizeof(tagCorrectPtzPara), 32U);
    EXPECT_EQ(sizeof(STRUCT_FecPtzParam), 24U);
    EXPECT_EQ(sizeof(STRUCT_FecPoint), 8U);
    EXPECT_EQ(sizeof(STRUCT_DrawPoint), 8U);
    EXPECT_EQ(sizeof(tagCorrectWideScanPara), 8U);
}

TEST(CorrectionRecords, TheCreationRecordHasItsFieldsAtTheirOffsets)
{
    tagCreateCorrectPara para{};
    para.iSize = 88;
    para.iCreateType = 1;
    para.iCorrectMode = 0x300;
    para.aiReserved[0] = 2;
    para.aiReserved[4] = 3;
    para.iEngineParam0 = 8;
    para.iEngineParam1 = 9;
    para.iEngineParam2 = 32;
    para.iPtzIndex = 4;
    para.iPTZPositionX = 5000;
    para.iPTZPositionY = 6000;
    para.iPTZZoom = 10000;
    para.iPTZExtra1 = 200;
    para.iPTZExtra2 = 201;
    para.pWindow = Window(5);
    para.pReserved = Window(6);
    const std::string expected = RecordBytes(88)
                                     .Int(0, 88)
                                     .Int(4, 1)
                                     .Int(8, 0x300)
                                     .Int(12, 2)
                                     .Int(28, 3)
                                     .Int(32, 8)
                                     .Int(36, 9)
                                     .Int(40, 32)
                                     .Int(44, 4)
                                     .Int(48, 5000)
                                     .Int(52, 6000)
                                     .Int(56, 10000)
                                     .Int(60, 200)
                                     .Int(64, 201)
                                     .Pointer(72, Window(5))
                                     .Pointer(80, Window(6));
    EXPECT_EQ(Bytes(para), expected);
}

TEST(CorrectionRecords, TheLiveParametersHaveTheirFieldsAtTheirOffsets)
{
    const auto para = From<tagCorrectPtzPara>(std::array<std::int32_t, 8>{1, 2, 3, 4, 5, 6, 7, 8});
    EXPECT_EQ(para.iEngineField0, 1);
    EXPECT_EQ(para.iEngineField1, 2);
    EXPECT_EQ(para.iPTZPositionX, 3);
    EXPECT_EQ(para.iPTZPositionY, 4);
    EXPECT_EQ(para.iPTZZoom, 5);
    EXPECT_THAT(para.aiEngineFields, ElementsAre(6, 7, 8));
}

TEST(CorrectionRecords, TheOutlineDescriptionHasItsFieldsInOrder)
{
    const auto para = From<STRUCT_FecPtzParam>(std::array<std::int32_t, 6>{24, 2, 3, 4, 5, 6});
    EXPECT_EQ(para.iSize, 24);
    EXPECT_EQ(para.stPosition.iX, 2);
    EXPECT_EQ(para.stPosition.iY, 3);
    EXPECT_EQ(para.iPTZZoom, 4);
    EXPECT_EQ(para.iPTZExtra1, 5);
    EXPECT_EQ(para.iPTZExtra2, 6);
}

TEST(CorrectionRecords, AnOutlinePointIsTwoFloats)
{
    EXPECT_EQ(Bytes(STRUCT_DrawPoint{0.25F, 0.75F}),
              RecordBytes(8).Float(0, 0.25F).Float(4, 0.75F));
}

TEST(CorrectionRecords, TheWideScanRecordIsAWholeNumberAndAFloat)
{
    EXPECT_EQ(Bytes(tagCorrectWideScanPara{7, 1.5F}), RecordBytes(8).Int(0, 7).Float(4, 1.5F));
}

TEST(CorrectionRecords, TheDrawTypesHaveTheirNumbers)
{
    EXPECT_EQ(n_DrawType_Fec, 0);
    EXPECT_EQ(n_DrawType_Rect, 1);
}

/// A correction mode and the algorithm's type of pan/tilt/zoom view.
struct ModeType
{
    const char* name;
    int mode;
    int type;

    friend std::ostream& operator<<(std::ostream& out, const ModeType& row)
    {
        return out << row.name;
    }
};

class PtzTypeOfMode : public ManagerTest, public ::testing::WithParamInterface<ModeType>
{};

TEST_P(PtzTypeOfMode, IsAPureMapping)
{
    Probe<CLS_PTZSubPlayer> view;
    EXPECT_EQ(view.GetPtzType(GetParam().mode), GetParam().type);
    EXPECT_EQ(view.m_iCorrectMode, 0);
    EXPECT_THAT(Lines(), ::testing::IsEmpty());
    EXPECT_THAT(Calls(), ::testing::IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    CorrectionModes, PtzTypeOfMode,
    ::testing::Values(ModeType{"Source", 0, 0x1000}, ModeType{"Ptz", 0x100, 0x1000},
                      ModeType{"View180", 0x200, 0x2000}, ModeType{"View360", 0x300, 0x3000},
                      ModeType{"Lat", 0x400, 0x4000}, ModeType{"FishEye", 0x500, 0x1000},
                      ModeType{"JustBelow360", 0x2FF, 0x1000},
                      ModeType{"JustAbove180", 0x201, 0x1000}, ModeType{"Beyond", 0x600, 0x1000},
                      ModeType{"Negative", -0x200, 0x1000},
                      ModeType{"AHighBitSet", 0x10000200, 0x1000},
                      ModeType{"Least", INT32_MIN, 0x1000}, ModeType{"Largest", INT32_MAX, 0x1000}),
    [](const ::testing::TestParamInfo<ModeType>& info) { return info.param.name; });

}  // namespace
