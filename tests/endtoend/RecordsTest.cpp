// The records that cross between the manager and the open pair are declared on both sides, which
// share no header. Here the two declarations are held together, byte by byte.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>
#include <vector>

#include <gmock/gmock.h>

#include "VideoPlayer_FishEye/CLS_FishPlayer.h"
#include "VideoPlayer_FishEye/feplayer/CorrectParaRecords.h"
#include "VideoPlayer_FishEye/feplayer/EngineParaKinds.h"
#include "VideoPlayer_Vx/CLS_VxPlayer_SDK.h"
#include "correction/VxAlgoFcu.h"
#include "engine/PlaySdk.h"

// Both sides have a tagFcuPoint, a tagFcuLine, ... of their own.
namespace manager {
#include "VideoPlayer_FishEye/fec/AlgorithmRecords.h"
}  // namespace manager

namespace {

using VX_Framework::VideoPlayer::CLS_VxPlayer_SDK;

enum class Kind
{
    Whole,
    Float,
    Pointer,
    Record
};

template <typename T>
constexpr Kind KindOf()
{
    using Element = std::remove_all_extents_t<T>;
    return std::is_floating_point_v<Element> ? Kind::Float
           : std::is_pointer_v<Element>      ? Kind::Pointer
           : std::is_class_v<Element>        ? Kind::Record
                                             : Kind::Whole;
}

struct Place
{
    std::size_t szOffset;
    std::size_t szSize;
    Kind eKind;

    bool operator==(const Place& other) const
    {
        return szOffset == other.szOffset && szSize == other.szSize && eKind == other.eKind;
    }
};

struct Field
{
    const char* szName;
    Place stManager;
    Place stOpen;
};

#define PLACE(record, field)                                                                       \
    Place                                                                                          \
    {                                                                                              \
        offsetof(record, field), sizeof(record::field), KindOf<decltype(record::field)>()          \
    }
#define FIELD(field, openField)                                                                    \
    Field                                                                                          \
    {                                                                                              \
#field, PLACE(Manager, field), PLACE(Open, openField)                                      \
    }

/// The same fields at the same places, and between them nothing that neither names.
template <typename Manager, typename Open>
void ExpectSame(const std::vector<Field>& vecFields)
{
    EXPECT_EQ(sizeof(Manager), sizeof(Open));
    EXPECT_EQ(alignof(Manager), alignof(Open));
    std::size_t szEnd = 0;
    for (const Field& st : vecFields) {
        EXPECT_TRUE(st.stManager == st.stOpen) << st.szName;
        EXPECT_EQ(st.stManager.szOffset, szEnd) << st.szName;
        szEnd = st.stManager.szOffset + st.stManager.szSize;
    }
    EXPECT_EQ(szEnd, sizeof(Manager));
}

TEST(Records, OfAPanTiltZoomViewAreTheSame)
{
    using Manager = tagCorrectPtzPara;
    using Open = RvPtz;
    ExpectSame<Manager, Open>({FIELD(iEngineField0, iEngineField0),
                               FIELD(iEngineField1, iEngineField1),
                               FIELD(iPTZPositionX, iPositionX), FIELD(iPTZPositionY, iPositionY),
                               FIELD(iPTZZoom, iZoom), FIELD(aiEngineFields, aiEngineFields)});
    EXPECT_EQ(CONST_PTZ_PARA, RV_KIND_PTZ);
}

TEST(Records, OfAWideViewAreTheSame)
{
    using Manager = tagCorrectWideScanPara;
    using Open = RvWideScan;
    ExpectSame<Manager, Open>({FIELD(iScanParam, iScanParam), FIELD(fAngle, fAngle)});
    EXPECT_EQ(CONST_WIDE_SCAN_PARA, RV_KIND_WIDE_SCAN);
}

TEST(Records, OfAViewsCreationAreTheSame)
{
    using Manager = tagCreateCorrectPara;
    using Open = RvCreateCorrect;
    constexpr std::size_t szParam = offsetof(Open, aiEngineParam);
    const auto Param = [](std::size_t szIndex) {
        return Place{szParam + szIndex * sizeof(std::int32_t), sizeof(std::int32_t), Kind::Whole};
    };
    EXPECT_EQ(sizeof(Open::aiEngineParam), 3 * sizeof(std::int32_t));
    ExpectSame<Manager, Open>({FIELD(iSize, iSize), FIELD(iCreateType, iCreateType),
                               FIELD(iCorrectMode, iCorrectMode), FIELD(aiReserved, aiReserved),
                               Field{"iEngineParam0", PLACE(Manager, iEngineParam0), Param(0)},
                               Field{"iEngineParam1", PLACE(Manager, iEngineParam1), Param(1)},
                               Field{"iEngineParam2", PLACE(Manager, iEngineParam2), Param(2)},
                               FIELD(iPtzIndex, iPtzIndex), FIELD(iPTZPositionX, iPositionX),
                               FIELD(iPTZPositionY, iPositionY), FIELD(iPTZZoom, iZoom),
                               FIELD(iPTZExtra1, iExtra1), FIELD(iPTZExtra2, iExtra2),
                               FIELD(iZero, iPadding), FIELD(pWindow, pWindow),
                               FIELD(pReserved, pReserved)});
}

TEST(Records, ModesOfTheViewsAreTheSame)
{
    EXPECT_EQ(int{CORRECT_TYPE_SOURCE}, int{RV_MODE_SOURCE});
    EXPECT_EQ(int{CORRECT_TYPE_PTZ}, int{RV_MODE_PTZ});
    EXPECT_EQ(int{CORRECT_TYPE_180}, int{RV_MODE_180});
    EXPECT_EQ(int{CORRECT_TYPE_360}, int{RV_MODE_PANORAMA});
    EXPECT_EQ(int{CORRECT_TYPE_LAT}, int{RV_MODE_LAT});
    EXPECT_EQ(int{CORRECT_TYPE_FISHEYE}, int{RV_MODE_FISHEYE});
}

TEST(Records, OfTheAlgorithmsStartAreTheSame)
{
    using Manager = manager::tagFcuInitPara;
    using Open = tagFcuInit;
    ExpectSame<Manager, Open>({FIELD(iSize, iSize), FIELD(iParam1, iWidth), FIELD(iParam2, iHeight),
                               FIELD(iParam3, iReserved3), FIELD(iParam4, iReserved4),
                               FIELD(fParam5, fScaleX), FIELD(iParam6, iReserved6),
                               FIELD(fParam7, fScaleY), FIELD(fParam8, fCentreX),
                               FIELD(fParam9, fCentreY), FIELD(aiZero, aiReserved)});
}

TEST(Records, OfAPointsConversionAreTheSame)
{
    {
        using Manager = manager::tagFcuPoint;
        using Open = tagFcuPoint;
        ExpectSame<Manager, Open>({FIELD(fX, fX), FIELD(fY, fY)});
    }
    using Manager = manager::tagFcuPointPara;
    using Open = tagFcuTransform;
    ExpectSame<Manager, Open>({FIELD(iSize, iSize), FIELD(iCreateType, iInstallation),
                               FIELD(iCorrectMode, iCorrectMode), FIELD(stFrom, stPoint),
                               FIELD(iSrcType, iSourceSpace), FIELD(iDstType, iTargetSpace),
                               FIELD(aiZero, aiReserved)});
    EXPECT_EQ(manager::CONST_SPACE_360, FCU_SPACE_WIDE);
    EXPECT_EQ(manager::CONST_SPACE_180, FCU_SPACE_HALF);
    EXPECT_EQ(manager::CONST_SPACE_FISHEYE, FCU_SPACE_FISHEYE);
}

TEST(Records, OfAnOutlineAreTheSame)
{
    {
        using Manager = manager::tagFcuOutlinePara;
        using Open = tagFcuOutline;
        // The centre is two numbers on one side and a point on the other.
        const auto Centre = [](std::size_t szOffset) {
            return Place{offsetof(Open, stCentre) + szOffset, sizeof(float), Kind::Float};
        };
        ExpectSame<Manager, Open>(
            {FIELD(iSize, iSize), FIELD(iCreateType, iInstallation),
             FIELD(iCorrectMode, iCorrectMode), FIELD(iParam3, iReserved3),
             FIELD(iParam4, iReserved4),
             Field{"fCenterX", PLACE(Manager, fCenterX), Centre(offsetof(tagFcuPoint, fX))},
             Field{"fCenterY", PLACE(Manager, fCenterY), Centre(offsetof(tagFcuPoint, fY))},
             FIELD(fZoom, fZoom), FIELD(iParam8, iSamplesAcross), FIELD(iParam9, iSamplesDown),
             FIELD(iPtzType, iPtzType), FIELD(aiZero, aiReserved)});
    }
    {
        using Manager = manager::tagFcuLine;
        using Open = tagFcuLine;
        ExpectSame<Manager, Open>(
            {FIELD(iPointNum, iPoints), FIELD(iZero, iReserved), FIELD(pPoints, pstPoints)});
    }
    {
        using Manager = manager::tagFcuLineTable;
        using Open = tagFcuLineTable;
        ExpectSame<Manager, Open>({FIELD(iLineNum, iLines), FIELD(iZero, iReserved),
                                   FIELD(astLines, astLines), FIELD(aiZero, aiReserved)});
        EXPECT_EQ(manager::CONST_FCU_MAX_LINES, FCU_MAX_LINES);
    }
    using Manager = manager::tagFcuOutlineResult;
    using Open = tagFcuOutlineResult;
    ExpectSame<Manager, Open>({FIELD(iSize, iSize), FIELD(aiZero, aiReserved),
                               FIELD(pLines, pstTable), FIELD(aiZeroBehind, aiReservedBehind)});
    EXPECT_EQ(sizeof(STRUCT_DrawPoint), sizeof(tagFcuPoint));
    EXPECT_EQ(offsetof(STRUCT_DrawPoint, fX), offsetof(tagFcuPoint, fX));
    EXPECT_EQ(offsetof(STRUCT_DrawPoint, fY), offsetof(tagFcuPoint, fY));
}

/// What the manager sends when a player is created: its own record is private to the source file.
struct Creation
{
    int iKind;
    int iSize;
    RvPlayerCreation stRecord;
};
Creation s_stCreation;
CLS_VxPlayer_SDK::RV_CreatePlayerForSpecialNeeds_Function* s_pfnCreate;

int KeepCreation(int iKind, void* pRecord, int iSize, int iReserved)
{
    s_stCreation = {iKind, iSize, {}};
    std::memcpy(&s_stCreation.stRecord, pRecord, sizeof(s_stCreation.stRecord));
    return s_pfnCreate(iKind, pRecord, iSize, iReserved);
}

TEST(Records, OfAPlayersCreationArriveAsTheEngineReadsThem)
{
    CLS_FishPlayer* const pManager = CLS_FishPlayer::GetInstance();
    s_pfnCreate = CLS_VxPlayer_SDK::RV_CreatePlayerForSpecialNeeds;
    CLS_VxPlayer_SDK::RV_CreatePlayerForSpecialNeeds = KeepCreation;
    unsigned char aucHeader[12] = {12, 0, 0, 0, 'M', 'P', 'T', 'S', 0xd0, 0x07, 2, 1};
    int iPlayer = -1;
    int iWindow = 0;
    EXPECT_EQ(pManager->CreateMainPlayer({3, CORRECT_TYPE_360}, &iWindow, 0, aucHeader,
                                         int{sizeof(aucHeader)}, &iPlayer),
              0);
    CLS_VxPlayer_SDK::RV_CreatePlayerForSpecialNeeds = s_pfnCreate;
    EXPECT_EQ(pManager->FishPlayer_DeleteAllPlayer(iPlayer), 0);

    EXPECT_EQ(s_stCreation.iKind, 2);
    EXPECT_EQ(s_stCreation.iSize, int{sizeof(RvPlayerCreation)});
    EXPECT_EQ(s_stCreation.stRecord.iSize, int{sizeof(RvPlayerCreation)});
    EXPECT_EQ(s_stCreation.stRecord.iReserved, 0);
    EXPECT_EQ(s_stCreation.stRecord.pWindow, &iWindow);
    EXPECT_EQ(std::memcmp(s_stCreation.stRecord.aucStream, aucHeader + 4, 8), 0);
    EXPECT_EQ(s_stCreation.stRecord.pReserved, nullptr);
}

TEST(Records, OfTheDecodeModesAreTaken)
{
    CLS_FishPlayer::GetInstance();
    EXPECT_TRUE(CLS_VxPlayer_SDK::SetDecodeMode());
    EXPECT_TRUE(SetHardDecodeMode());
}

}  // namespace
