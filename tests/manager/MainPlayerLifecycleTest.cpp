// A main player from its construction to the stream that it is fed.
#include <climits>
#include <memory>
#include <ostream>

#include "tests/manager/FacadeProbe.h"
#include "tests/manager/RecordBytes.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using MainPlayerConstructionTest = ManagerTest;

TEST_F(MainPlayerConstructionTest, SetsTheDefaults)
{
    const MainPlayerProbe player;
    EXPECT_EQ(player.m_iMainPlayId, -1);
    EXPECT_EQ(player.m_iFishCorrectId, -1);
    EXPECT_EQ(player.m_pMainWindow, nullptr);
    EXPECT_TRUE(player.m_pOverlay->m_qmapSubPlayers.isEmpty());
    EXPECT_EQ(player.m_pFcuHandle, fake::Handle());
    EXPECT_FALSE(player.m_blFishEyeEnabled);
    EXPECT_EQ(player.m_stFishEyeParam.m_iCreateType, 0);
    EXPECT_EQ(player.m_stFishEyeParam.m_iDrawCorrectMode, 0);
    EXPECT_FALSE(player.m_pOverlay->m_blDrawEnabled);
    EXPECT_EQ(player.m_pOverlay->m_pfDrawCallback, nullptr);
    EXPECT_TRUE(player.m_pOverlay->m_blStopDraw);
    EXPECT_EQ(player.m_pDrawThread, nullptr);
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(MainPlayerConstructionTest, CreatesAnInstanceAndStartsItUpWithA132ByteRecord)
{
    const CLS_MainPlayer player;
    const std::vector<fake::Call> calls = Calls();
    ASSERT_EQ(calls.size(), 2U);
    EXPECT_EQ(calls[0].name, "VxAlgo_FCU_Creat");
    EXPECT_EQ(calls[0].arguments, (std::vector<std::intptr_t>{0, 0}));
    EXPECT_EQ(calls[1].name, "VxAlgo_FCU_Init");
    EXPECT_EQ(calls[1].Pointer<void>(0), fake::Handle());
    EXPECT_EQ(calls[1].records[0], RecordBytes(132)
                                       .Int(0, 132)
                                       .Int(4, 1000)
                                       .Int(8, 1000)
                                       .Int(12, 2)
                                       .Float(20, 1.0F)
                                       .Float(28, 1.0F)
                                       .Float(32, 0.5F)
                                       .Float(36, 0.5F));
}

TEST_F(MainPlayerConstructionTest, GivesEachPlayerAnInstanceOfItsOwn)
{
    char first;
    char second;
    fake::Next("VxAlgo_FCU_Creat", reinterpret_cast<std::intptr_t>(&first));
    fake::Next("VxAlgo_FCU_Creat", reinterpret_cast<std::intptr_t>(&second));
    const MainPlayerProbe one;
    const MainPlayerProbe two;
    EXPECT_EQ(one.m_pFcuHandle, &first);
    EXPECT_EQ(two.m_pFcuHandle, &second);
}

TEST_F(MainPlayerConstructionTest, ReportsAnInstanceThatIsNotCreatedAndStartsNoneUp)
{
    fake::Next("VxAlgo_FCU_Creat", 0);
    const MainPlayerProbe player;
    EXPECT_THAT(Lines(),
                ElementsAre(Warning(
                    "[  CLS_MainPlayer::CLS_MainPlayer CLS_VxAlgoFcu::VxAlgo_FCU_Creat fail]")));
    EXPECT_EQ(player.m_pFcuHandle, nullptr);
    EXPECT_THAT(fake::Names(), ElementsAre("VxAlgo_FCU_Creat"));
}

TEST_F(MainPlayerConstructionTest, ReportsAStartUpThatFailsAndKeepsTheInstance)
{
    fake::Next("VxAlgo_FCU_Init", -23);
    {
        const MainPlayerProbe player;
        EXPECT_THAT(
            Lines(),
            ElementsAre(Warning(WithValue(
                "[  CLS_MainPlayer::CLS_MainPlayer CLS_VxAlgoFcu::VxAlgo_FCU_Init fail iRet = ",
                -23))));
        EXPECT_EQ(player.m_pFcuHandle, fake::Handle());
    }
    EXPECT_THAT(fake::Names(),
                ElementsAre("VxAlgo_FCU_Creat", "VxAlgo_FCU_Init", "VxAlgo_FCU_Release"));
}

TEST_F(MainPlayerConstructionTest, TakesAPositiveStartUpForSuccess)
{
    fake::Next("VxAlgo_FCU_Init", 1);
    const MainPlayerProbe player;
    EXPECT_THAT(Lines(), IsEmpty());
}

/// A main player without a stream, and the arguments of its creation.
class StreamCreationTest : public ManagerTest
{
protected:
    StreamCreationTest() { Calls(); }

    int Create()
    {
        return m_player.CreateMainPlayer({4, 0x300}, m_window, m_iStreamType, m_header,
                                         m_iHeaderSize, m_pId);
    }

    /// Creates with a header that is exactly as long as its bytes, so that a byte read beyond them
    /// is seen by the address sanitizer.
    int CreateWith(const std::vector<unsigned char>& bytes)
    {
        const auto exact = std::make_unique<unsigned char[]>(bytes.size());
        std::copy(bytes.begin(), bytes.end(), exact.get());
        m_header = exact.get();
        m_iHeaderSize = static_cast<int>(bytes.size());
        return Create();
    }

    void ExpectNothingElse()
    {
        EXPECT_THAT(Calls(), IsEmpty());
        EXPECT_EQ(m_iId, -77);
        EXPECT_EQ(m_player.m_iMainPlayId, -1);
        EXPECT_EQ(m_player.m_pMainWindow, nullptr);
        EXPECT_EQ(m_player.m_stFishEyeParam.m_iCreateType, 0);
        EXPECT_EQ(m_player.m_stFishEyeParam.m_iDrawCorrectMode, 0);
    }

    std::vector<unsigned char> m_bytes = StreamHeader();
    int m_iId = -77;
    const void* m_window = Window(5);
    int m_iStreamType = 0;
    unsigned char* m_header = m_bytes.data();
    int m_iHeaderSize = 12;
    int* m_pId = &m_iId;
    MainPlayerProbe m_player;
};

struct BadArgument
{
    const char* name;
    int firstBad;
    const char* text;
};

void PrintTo(const BadArgument& row, std::ostream* out)
{
    *out << row.name;
}

class StreamCreation : public StreamCreationTest, public ::testing::WithParamInterface<BadArgument>
{};

INSTANTIATE_TEST_SUITE_P(
    , StreamCreation,
    ::testing::Values(
        BadArgument{"Window", 0, "[  CLS_MainPlayer::CreateMainPlayer nullptr == _pMainWindow ]"},
        BadArgument{"Header", 1, "[  CLS_MainPlayer::CreateMainPlayer nullptr == _pcVideoHeader ]"},
        BadArgument{"Size", 2, "[  CLS_MainPlayer::CreateMainPlayer _iHeadSize <= 0 ]"},
        BadArgument{"Id", 3, "[  CLS_MainPlayer::CreateMainPlayer nullptr == _pFishMainPlyerID ]"}),
    NamedRow());

TEST_P(StreamCreation, IsRefusedForTheFirstBadArgument)
{
    m_window = GetParam().firstBad <= 0 ? nullptr : m_window;
    m_header = GetParam().firstBad <= 1 ? nullptr : m_header;
    m_iHeaderSize = GetParam().firstBad <= 2 ? 0 : m_iHeaderSize;
    m_pId = GetParam().firstBad <= 3 ? nullptr : m_pId;
    EXPECT_EQ(Create(), -1);
    EXPECT_THAT(Lines(), ElementsAre(Info(GetParam().text)));
    ExpectNothingElse();
}

TEST_P(StreamCreation, IsRefusedForABadArgumentWhateverTheStreamType)
{
    m_iStreamType = 1;
    m_window = GetParam().firstBad == 0 ? nullptr : m_window;
    m_header = GetParam().firstBad == 1 ? nullptr : m_header;
    m_iHeaderSize = GetParam().firstBad == 2 ? INT_MIN : m_iHeaderSize;
    m_pId = GetParam().firstBad == 3 ? nullptr : m_pId;
    EXPECT_EQ(Create(), -1);
    EXPECT_THAT(Lines(), ElementsAre(Info(GetParam().text)));
    ExpectNothingElse();
}

TEST_F(StreamCreationTest, AStreamTypeOtherThanZeroIsZeroAndCreatesNothing)
{
    for (const int type : {1, -1, 2, INT_MIN, INT_MAX}) {
        m_iStreamType = type;
        EXPECT_EQ(Create(), 0) << type;
    }
    EXPECT_EQ(CreateWith({9, 9, 9, 9}), 0);  // its header is not looked at
    EXPECT_THAT(Lines(), IsEmpty());
    ExpectNothingElse();
}

TEST_F(StreamCreationTest, AHeaderThatStatesAnotherSizeIsRefused)
{
    const LogLine refused =
        Info("[  CLS_MainPlayer::CreateMainPlayer header.m_iSize != _iHeadSize ]");
    m_bytes = StreamHeader(16);
    m_header = m_bytes.data();
    EXPECT_EQ(Create(), -1);  // states 16, is 12
    m_bytes[0] = 11;
    EXPECT_EQ(Create(), -1);
    m_bytes[0] = 12;
    m_bytes[3] = 0x80;
    EXPECT_EQ(Create(), -1);  // the size is all four bytes
    EXPECT_THAT(Lines(), ElementsAre(refused, refused, refused));
    ExpectNothingElse();
}

TEST_F(StreamCreationTest, TheEnginePlayerIsCreatedWithA32ByteRecordAndThenStarted)
{
    fake::Next("RV_CreatePlayerForSpecialNeeds", 29);
    EXPECT_EQ(Create(), 0);
    const std::vector<fake::Call> calls = Calls();
    ASSERT_EQ(calls.size(), 2U);
    EXPECT_EQ(calls[0].name, "RV_CreatePlayerForSpecialNeeds");
    EXPECT_EQ(calls[0].Int(0), 2);
    EXPECT_EQ(calls[0].Int(2), 32);
    EXPECT_EQ(calls[0].Int(3), 0);
    EXPECT_EQ(calls[0].records[0], RecordBytes(32)
                                       .Int(0, 32)
                                       .Int(4, 0)
                                       .Pointer(8, Window(5))
                                       .Text(16, "\1\2\3\4\5\6\7\10")
                                       .Pointer(24, nullptr));
    EXPECT_EQ(calls[1].name, "RV_Play");
    EXPECT_EQ(calls[1].Int(0), 29);
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(StreamCreationTest, IdWindowAndCameraAreStored)
{
    fake::Next("RV_CreatePlayerForSpecialNeeds", 0);
    EXPECT_EQ(Create(), 0);
    EXPECT_EQ(m_iId, 0);
    EXPECT_EQ(m_player.m_iMainPlayId, 0);
    EXPECT_EQ(m_player.m_pMainWindow, Window(5));
    EXPECT_EQ(m_player.m_stFishEyeParam.m_iCreateType, 4);
    EXPECT_EQ(m_player.m_stFishEyeParam.m_iDrawCorrectMode, 0x300);
}

TEST_F(StreamCreationTest, AnEngineThatCreatesNoPlayerIsReportedAndNothingIsStarted)
{
    fake::Next("RV_CreatePlayerForSpecialNeeds", -4);
    EXPECT_EQ(Create(), -1);
    EXPECT_THAT(
        Lines(),
        ElementsAre(Info(WithValue(
            "[  CLS_MainPlayer::CreateMainPlayer CLS_VxPlayer_SDK::RV_CreatePlayerForSpecialNeeds < 0  iPlayerID = ",
            -4))));
    EXPECT_THAT(fake::Names(), ElementsAre("RV_CreatePlayerForSpecialNeeds"));
    Calls();
    ExpectNothingElse();
}

TEST_F(StreamCreationTest, TheResultOfTheStartIsReturnedAsItIsAndTheIdIsKept)
{
    for (const int result : {5, -1, -6, INT_MIN, INT_MAX}) {
        fake::Next("RV_Play", result);
        EXPECT_EQ(Create(), result);
        EXPECT_EQ(m_iId, CONST_PLAYER);
        EXPECT_EQ(m_player.m_iMainPlayId, CONST_PLAYER);
        EXPECT_EQ(m_player.m_pMainWindow, Window(5));
    }
    EXPECT_THAT(Lines(), IsEmpty());
    EXPECT_THAT(fake::CallsOf("RV_DeletePlayer"), IsEmpty());
}

TEST_F(StreamCreationTest, TheIdIsWrittenBeforeTheStart)
{
    int atStart = -1;
    fake::Next("RV_Play", [&](const fake::Call&) { return atStart = m_iId; });
    EXPECT_EQ(Create(), CONST_PLAYER);
    EXPECT_EQ(atStart, CONST_PLAYER);
}

struct Header
{
    const char* name;
    std::vector<unsigned char> bytes;
    std::string description;  ///< bytes 16 to 23 of the engine's record
};

void PrintTo(const Header& header, std::ostream* out)
{
    *out << header.name;
}

class HeaderLength : public StreamCreationTest, public ::testing::WithParamInterface<Header>
{};

const std::string CONST_ZEROS(8, '\0');

INSTANTIATE_TEST_SUITE_P(
    , HeaderLength,
    ::testing::Values(
        Header{"One", {1}, CONST_ZEROS}, Header{"Three", {3, 0, 0}, CONST_ZEROS},
        Header{"Four", {4, 0, 0, 0}, CONST_ZEROS},
        Header{"Eight", {8, 0, 0, 0, 'a', 'b', 'c', 'd'}, std::string("abcd\0\0\0\0", 8)},
        Header{"Eleven",
               {11, 0, 0, 0, 'a', 'b', 'c', 'd', 'e', 'f', 'g'},
               std::string("abcdefg\0", 8)},
        Header{"Twelve", {12, 0, 0, 0, 'a', 'b', 'c', 'd', 'e', 'f', 'g', 'h'}, "abcdefgh"},
        Header{"Thirteen", {13, 0, 0, 0, 'a', 'b', 'c', 'd', 'e', 'f', 'g', 'h', 'i'}, "abcdefgh"},
        Header{"Forty", StreamHeader(40), "\1\2\3\4\5\6\7\10"}),
    NamedRow());

TEST_P(HeaderLength, IsAcceptedWhereTheHeaderStatesItAndWhatIsMissingIsZero)
{
    EXPECT_EQ(CreateWith(GetParam().bytes), 0);
    const std::vector<fake::Call> calls = fake::CallsOf("RV_CreatePlayerForSpecialNeeds");
    ASSERT_EQ(calls.size(), 1U);
    EXPECT_EQ(calls[0].records[0],
              RecordBytes(32).Int(0, 32).Pointer(8, Window(5)).Text(16, GetParam().description));
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(StreamCreationTest, BytesPastTheTwelfthAreNotReadHoweverLongTheHeaderClaimsToBe)
{
    const auto exact = std::make_unique<unsigned char[]>(12);
    std::memset(exact.get(), 0, 12);
    m_iHeaderSize = INT_MAX;
    std::memcpy(exact.get(), &m_iHeaderSize, sizeof(m_iHeaderSize));
    m_header = exact.get();
    EXPECT_EQ(Create(), 0);
}

TEST_F(StreamCreationTest, AFileIsRefusedWithoutALookAtAnything)
{
    EXPECT_EQ(m_player.CreateMainPlayer({4, 0x300}, Window(5), QStringLiteral("/a/file"), m_pId),
              -1);
    EXPECT_EQ(m_player.CreateMainPlayer({4, 0x300}, nullptr, QString(), nullptr), -1);
    EXPECT_THAT(Lines(), IsEmpty());
    ExpectNothingElse();
}

TEST_F(StreamCreationTest, TrackingIsRefusedWithoutALine)
{
    EXPECT_EQ(m_player.StartTrack(), -1);
    EXPECT_EQ(m_player.StopTrack(), -1);
    EXPECT_THAT(Lines(), IsEmpty());
    ExpectNothingElse();
}

// Feeding.

class FeedingTest : public PlayingTest
{
protected:
    unsigned char m_data[4] = {9, 8, 7, 6};
};

TEST_F(FeedingTest, DataReachesTheEngineUncopiedAndItsResultComesBack)
{
    for (const int result : {0, 3, -1, -3, INT_MIN, INT_MAX}) {
        fake::Next("RV_PutStreamToPlayer", result);
        EXPECT_EQ(m_player.PutStreamToPlayer(0, m_data, 4), result);
        const std::vector<fake::Call> calls = Calls();
        ASSERT_EQ(calls.size(), 1U);
        EXPECT_EQ(calls[0].name, "RV_PutStreamToPlayer");
        EXPECT_EQ(calls[0].Int(0), CONST_PLAYER);
        EXPECT_EQ(calls[0].Pointer<unsigned char>(1), m_data);
        EXPECT_EQ(calls[0].Int(2), 4);
        EXPECT_EQ(calls[0].records[0], "\11\10\7\6");
    }
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(FeedingTest, DataOfAnotherStreamTypeIsDroppedWithZero)
{
    for (const int type : {1, -1, INT_MIN, INT_MAX})
        EXPECT_EQ(m_player.PutStreamToPlayer(type, m_data, 4), 0) << type;
    EXPECT_THAT(Calls(), IsEmpty());
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(FeedingTest, DataIsCheckedForEveryStreamType)
{
    const LogLine noData = Info("[  CLS_MainPlayer::PutStreamToPlayer nullptr == _pcStreamData ]");
    const LogLine noSize = Info("[  CLS_MainPlayer::PutStreamToPlayer _iSize <= 0 ]");
    EXPECT_EQ(m_player.PutStreamToPlayer(0, nullptr, 0), -1);  // the data is missed first
    EXPECT_EQ(m_player.PutStreamToPlayer(1, nullptr, 4), -1);
    EXPECT_EQ(m_player.PutStreamToPlayer(0, m_data, 0), -1);
    EXPECT_EQ(m_player.PutStreamToPlayer(1, m_data, -1), -1);
    EXPECT_EQ(m_player.PutStreamToPlayer(0, m_data, INT_MIN), -1);
    EXPECT_THAT(Lines(), ElementsAre(noData, noData, noSize, noSize, noSize));
    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(StreamCreationTest, DataBeforeAStreamIsRefusedWhateverItIs)
{
    unsigned char data = 1;
    const LogLine refused = Info("[  CLS_MainPlayer::PutStreamToPlayer m_iMainPlayId < 0 ]");
    EXPECT_EQ(m_player.PutStreamToPlayer(0, &data, 1), -1);
    EXPECT_EQ(m_player.PutStreamToPlayer(0, nullptr, 0), -1);
    EXPECT_EQ(m_player.PutStreamToPlayer(1, &data, 1), -1);
    EXPECT_THAT(Lines(), ElementsAre(refused, refused, refused));
    ExpectNothingElse();
}

}  // namespace
