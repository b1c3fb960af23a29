// The three creation operations of the facade and their two building blocks: checks, their order,
// what is registered, and the codes that come back.
#include <climits>
#include <ostream>

#include "tests/manager/FacadeProbe.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr char CONST_CREATE_FAIL[] =
    "[  CLS_FishPlayer::CreateMainPlayer pMainPlayer->CreateMainPlayer fail iRet = ";
constexpr char CONST_STREAM_MAIN_FAIL[] =
    "[  CLS_FishPlayer::FishPlayer_CreatePlayerFromStream  CreateMainPlayer fail iRet = ";
constexpr char CONST_STREAM_SUB_FAIL[] =
    "[  CLS_FishPlayer::FishPlayer_CreatePlayerFromStream  CreateSubPlayer fail iRet = ";
constexpr char CONST_FILE_MAIN_FAIL[] =
    "[  CLS_FishPlayer::FishPlayer_CreatePlayerFromFile  CreateMainPlayer fail iRet = ";

class FacadeCreationTest : public ManagerTest
{
protected:
    FacadeCreationTest() { Calls(); }

    int CreateMain(int iStreamType = 0)
    {
        return m_facade.CreateMainPlayer({4, 0x300}, m_window, iStreamType, m_header, m_iHeaderSize,
                                         m_pId);
    }
    int CreateMainFromFile()
    {
        return m_facade.CreateMainPlayer({4, 0x300}, m_window, QStringLiteral("/a/file"), m_pId);
    }
    int CreateFromStream(int iStreamType = 0)
    {
        return m_facade.FishPlayer_CreatePlayerFromStream({4, 0x300}, m_window, m_windows,
                                                          iStreamType, m_header, m_iHeaderSize,
                                                          m_pId, m_ids, {0, 0});
    }
    int CreateFromFile()
    {
        return m_facade.FishPlayer_CreatePlayerFromFile(
            {4, 0x300}, m_window, m_windows, QStringLiteral("/a/file"), m_pId, m_ids, {0, 0});
    }

    /// Nothing was created, called, registered or written.
    void ExpectNothingElse()
    {
        EXPECT_THAT(Calls(), IsEmpty());
        EXPECT_TRUE(m_facade.m_qmapMainPlayer.isEmpty());
        EXPECT_EQ(m_iId, -77);
    }

    std::vector<unsigned char> m_bytes = StreamHeader();
    int m_iId = -77;
    // The arguments of a call, good at first.
    const void* m_window = Window(5);
    unsigned char* m_header = m_bytes.data();
    int m_iHeaderSize = 12;
    int* m_pId = &m_iId;
    QMap<int, QVector<void*>> m_windows;
    QMap<int, QVector<int>> m_ids;
    FacadeProbe m_facade;
};

/// The argument that is bad, and with it all that are checked after it: so the first decides.
struct BadArgument
{
    const char* name;
    int firstBad;
    const char* text;  ///< null: no line at all
};

void PrintTo(const BadArgument& row, std::ostream* out)
{
    *out << row.name;
}

class BadArgumentTest : public FacadeCreationTest, public ::testing::WithParamInterface<BadArgument>
{
protected:
    void ExpectRefusal(int result)
    {
        EXPECT_EQ(result, -1);
        if (nullptr == GetParam().text)
            EXPECT_THAT(Lines(), IsEmpty());
        else
            EXPECT_THAT(Lines(), ElementsAre(Warning(GetParam().text)));
        ExpectNothingElse();
    }
};

class StreamMainPlayer : public BadArgumentTest
{};

INSTANTIATE_TEST_SUITE_P(
    , StreamMainPlayer,
    ::testing::Values(
        BadArgument{"Window", 0, "[  CLS_FishPlayer::CreateMainPlayer nullptr == _pMainWindow ]"},
        BadArgument{"Header", 1, "[  CLS_FishPlayer::CreateMainPlayer nullptr == _pcVideoHeader ]"},
        BadArgument{"Size", 2, "[  CLS_FishPlayer::CreateMainPlayer _iHeadSize <= 0 ]"},
        BadArgument{"Id", 3, "[  CLS_FishPlayer::CreateMainPlayer nullptr == _pFishMainPlyerID ]"}),
    NamedRow());

TEST_P(StreamMainPlayer, IsRefusedForTheFirstBadArgument)
{
    m_window = GetParam().firstBad <= 0 ? nullptr : m_window;
    m_header = GetParam().firstBad <= 1 ? nullptr : m_header;
    m_iHeaderSize = GetParam().firstBad <= 2 ? 0 : m_iHeaderSize;
    m_pId = GetParam().firstBad <= 3 ? nullptr : m_pId;
    ExpectRefusal(CreateMain());
}

TEST_P(StreamMainPlayer, IsRefusedForEachBadArgumentAlone)
{
    m_window = GetParam().firstBad == 0 ? nullptr : m_window;
    m_header = GetParam().firstBad == 1 ? nullptr : m_header;
    m_iHeaderSize = GetParam().firstBad == 2 ? INT_MIN : m_iHeaderSize;
    m_pId = GetParam().firstBad == 3 ? nullptr : m_pId;
    ExpectRefusal(CreateMain(1));  // whatever the stream type
}

class FileMainPlayer : public BadArgumentTest
{};

INSTANTIATE_TEST_SUITE_P(
    , FileMainPlayer,
    ::testing::Values(
        BadArgument{"Window", 0, "[  CLS_FishPlayer::CreateMainPlayer nullptr == _pMainWindow ]"},
        BadArgument{"Id", 1, "[  CLS_FishPlayer::CreateMainPlayer nullptr == _pFishMainPlyerID ]"}),
    NamedRow());

TEST_P(FileMainPlayer, IsRefusedForTheFirstBadArgument)
{
    m_window = GetParam().firstBad <= 0 ? nullptr : m_window;
    m_pId = nullptr;
    ExpectRefusal(CreateMainFromFile());
}

class PlayerFromStream : public BadArgumentTest
{};

INSTANTIATE_TEST_SUITE_P(
    , PlayerFromStream,
    ::testing::Values(
        BadArgument{"Id", 0, nullptr},
        BadArgument{
            "Window", 1,
            "[  CLS_FishPlayer::FishPlayer_CreatePlayerFromStream  nullptr == _pMainWindow ]"},
        BadArgument{
            "Header", 2,
            "[  CLS_FishPlayer::FishPlayer_CreatePlayerFromStream  nullptr == _pcVideoHeader ]"},
        BadArgument{"Size", 3,
                    "[  CLS_FishPlayer::FishPlayer_CreatePlayerFromStream  _iHeadSize <= 0 ]"}),
    NamedRow());

TEST_P(PlayerFromStream, IsRefusedForTheFirstBadArgument)
{
    m_pId = GetParam().firstBad <= 0 ? nullptr : m_pId;
    m_window = GetParam().firstBad <= 1 ? nullptr : m_window;
    m_header = GetParam().firstBad <= 2 ? nullptr : m_header;
    m_iHeaderSize = GetParam().firstBad <= 3 ? 0 : m_iHeaderSize;
    ExpectRefusal(CreateFromStream());
}

TEST_P(PlayerFromStream, IsRefusedForEachBadArgumentAlone)
{
    m_pId = GetParam().firstBad == 0 ? nullptr : m_pId;
    m_window = GetParam().firstBad == 1 ? nullptr : m_window;
    m_header = GetParam().firstBad == 2 ? nullptr : m_header;
    m_iHeaderSize = GetParam().firstBad == 3 ? -1 : m_iHeaderSize;
    ExpectRefusal(CreateFromStream(1));
}

class PlayerFromFile : public BadArgumentTest
{};

INSTANTIATE_TEST_SUITE_P(
    , PlayerFromFile,
    ::testing::Values(
        BadArgument{"Id", 0, nullptr},
        BadArgument{
            "Window", 1,
            "[  CLS_FishPlayer::FishPlayer_CreatePlayerFromFile  nullptr == _pMainWindow ]"}),
    NamedRow());

TEST_P(PlayerFromFile, IsRefusedForTheFirstBadArgument)
{
    m_pId = GetParam().firstBad <= 0 ? nullptr : m_pId;
    m_window = nullptr;
    ExpectRefusal(CreateFromFile());
}

// What happens behind the checks.

TEST_F(FacadeCreationTest, AMainPlayerIsCreatedWithEveryArgumentAndRegisteredUnderTheEnginesId)
{
    EXPECT_EQ(CreateMain(), 0);
    EXPECT_EQ(m_iId, CONST_PLAYER);
    EXPECT_EQ(m_facade.m_qmapMainPlayer.keys(), QList<int>{CONST_PLAYER});
    EXPECT_THAT(Lines(), IsEmpty());
    EXPECT_THAT(fake::Names(), ElementsAre("VxAlgo_FCU_Creat", "VxAlgo_FCU_Init",
                                           "RV_CreatePlayerForSpecialNeeds", "RV_Play"));
    // The camera record shows where the correction is switched on.
    Calls();
    m_facade.FishPlayer_EnableFish(m_iId, true);
    EXPECT_EQ(Calls().at(0).Record<tagCreateCorrectPara>().iCreateType, 4);
    m_facade.FishPlayer_DeleteAllPlayer(m_iId);
}

TEST_F(FacadeCreationTest, EveryStartThatIsNotNegativeIsZero)
{
    fake::Next("RV_Play", 5);
    EXPECT_EQ(CreateMain(), 0);
    m_facade.FishPlayer_DeleteAllPlayer(m_iId);
    fake::Next("RV_Play", 6);
    EXPECT_EQ(CreateFromStream(), 0);
    m_facade.FishPlayer_DeleteAllPlayer(m_iId);
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(FacadeCreationTest, AFailedMainPlayerIsNeitherRegisteredNorDestroyed)
{
    fake::Next("RV_Play", -6);
    const DeliberateLeak leak("a main player that failed is left as it is");
    EXPECT_EQ(CreateMain(), -6);
    EXPECT_THAT(Lines(), ElementsAre(Warning(WithValue(CONST_CREATE_FAIL, -6))));
    EXPECT_TRUE(m_facade.m_qmapMainPlayer.isEmpty());
    EXPECT_EQ(m_iId, CONST_PLAYER);  // written before the start failed
    EXPECT_THAT(fake::Names(), ElementsAre("VxAlgo_FCU_Creat", "VxAlgo_FCU_Init",
                                           "RV_CreatePlayerForSpecialNeeds", "RV_Play"));
}

TEST_F(FacadeCreationTest, AStreamWhoseStartFailsGivesTheEnginesCodeWithALineFromEachLevel)
{
    fake::Next("RV_Play", -6);
    m_windows = {{0x200, {Window(1)}}};
    const DeliberateLeak leak("a main player that failed is left as it is");
    EXPECT_EQ(CreateFromStream(), -6);
    EXPECT_THAT(Lines(), ElementsAre(Warning(WithValue(CONST_CREATE_FAIL, -6)),
                                     Warning(WithValue(CONST_STREAM_MAIN_FAIL, -6))));
    EXPECT_THAT(fake::CallsOf("RV_SetFishEyeCorrectEnable"), IsEmpty());  // no layout
}

TEST_F(FacadeCreationTest, AHeaderThatTheMainPlayerRefusesIsReportedByThreeLevelsInnermostFirst)
{
    m_iHeaderSize = 11;
    const DeliberateLeak leak("a main player that failed is left as it is");
    EXPECT_EQ(CreateFromStream(), -1);
    EXPECT_THAT(
        Lines(),
        ElementsAre(Info("[  CLS_MainPlayer::CreateMainPlayer header.m_iSize != _iHeadSize ]"),
                    Warning(WithValue(CONST_CREATE_FAIL, -1)),
                    Warning(WithValue(CONST_STREAM_MAIN_FAIL, -1))));
    EXPECT_EQ(m_iId, -77);
    EXPECT_TRUE(m_facade.m_qmapMainPlayer.isEmpty());
}

TEST_F(FacadeCreationTest, AStreamIsCreatedAndLaidOut)
{
    m_windows = {{0x200, {Window(1)}}};
    m_ids = {{0x200, {4711}}};
    EXPECT_EQ(CreateFromStream(), 0);
    EXPECT_THAT(fake::Names(),
                ElementsAre("VxAlgo_FCU_Creat", "VxAlgo_FCU_Init", "RV_CreatePlayerForSpecialNeeds",
                            "RV_Play", "RV_SetFishEyeCorrectEnable", "RV_CreateFishEyeCorrect"));
    EXPECT_EQ(m_ids, (QMap<int, QVector<int>>{{0x200, {4711}}}));
    EXPECT_THAT(Lines(), IsEmpty());
    m_facade.FishPlayer_DeleteAllPlayer(m_iId);
}

TEST_F(FacadeCreationTest, AStreamWithoutItsViewsStaysRegisteredAndUsable)
{
    fake::Next("VxAlgo_FCU_Creat", 0);  // the layout refuses without an instance
    EXPECT_EQ(CreateFromStream(), -1);
    EXPECT_THAT(
        Lines(),
        ElementsAre(
            Warning("[  CLS_MainPlayer::CLS_MainPlayer CLS_VxAlgoFcu::VxAlgo_FCU_Creat fail]"),
            Warning("[  CLS_MainPlayer::CreateSubPlayers nullptr == m_pFcuHandle ]"),
            Warning(WithValue(CONST_STREAM_SUB_FAIL, -1))));
    EXPECT_EQ(m_iId, CONST_PLAYER);
    unsigned char data = 1;
    fake::Next("RV_PutStreamToPlayer", 17);
    EXPECT_EQ(m_facade.FishPlayer_PutStreamToPlayer(m_iId, 0, &data, 1), 17);
    EXPECT_EQ(m_facade.FishPlayer_CreateSubPlayer({}, m_iId, {}, m_ids, {}), -1);  // a retry
    EXPECT_EQ(m_facade.FishPlayer_DeleteAllPlayer(m_iId), 0);
}

TEST_F(FacadeCreationTest, ANonZeroStreamTypeIsRegisteredUnderWhatTheIdVariableHeld)
{
    m_iId = 99;
    EXPECT_EQ(CreateFromStream(1), -1);
    EXPECT_EQ(m_iId, 99);
    EXPECT_THAT(Lines(),
                ElementsAre(Warning("[  CLS_MainPlayer::CreateSubPlayers m_iMainPlayId < 0 ]"),
                            Warning(WithValue(CONST_STREAM_SUB_FAIL, -1))));
    EXPECT_EQ(m_facade.m_qmapMainPlayer.keys(), QList<int>{99});
    EXPECT_THAT(fake::Names(), ElementsAre("VxAlgo_FCU_Creat", "VxAlgo_FCU_Init"));
    EXPECT_EQ(m_facade.FishPlayer_EnableDraw(99, true), 0);

    m_iId = INT_MIN;
    EXPECT_EQ(CreateMain(-1), 0);
    EXPECT_EQ(m_facade.m_qmapMainPlayer.keys(), (QList<int>{INT_MIN, 99}));
    m_facade.FishPlayer_DeleteAllPlayer(INT_MIN);
    m_facade.FishPlayer_DeleteAllPlayer(99);
}

TEST_F(FacadeCreationTest, AFileIsRefusedByTheMainPlayerForAnyArguments)
{
    const DeliberateLeak leak("a main player that failed is left as it is");
    EXPECT_EQ(CreateMainFromFile(), -1);
    EXPECT_THAT(Lines(), ElementsAre(Warning(WithValue(CONST_CREATE_FAIL, -1))));
    EXPECT_EQ(CreateFromFile(), -1);
    EXPECT_EQ(
        m_facade.FishPlayer_CreatePlayerFromFile({}, m_window, {}, QString(), m_pId, m_ids, {}),
        -1);
    EXPECT_THAT(Lines(), ElementsAre(Warning(WithValue(CONST_CREATE_FAIL, -1)),
                                     Warning(WithValue(CONST_FILE_MAIN_FAIL, -1)),
                                     Warning(WithValue(CONST_CREATE_FAIL, -1)),
                                     Warning(WithValue(CONST_FILE_MAIN_FAIL, -1))));
    EXPECT_TRUE(m_facade.m_qmapMainPlayer.isEmpty());
    EXPECT_EQ(m_iId, -77);
    EXPECT_THAT(fake::CallsOf("RV_CreatePlayerForSpecialNeeds"), IsEmpty());
}

}  // namespace
