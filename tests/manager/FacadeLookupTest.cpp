// How the facade finds the player of an id, and what each operation says where there is none.
#include <climits>
#include <iterator>
#include <ostream>
#include <string>

#include "tests/manager/FacadeProbe.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

struct Operation
{
    const char* name;
    int (*call)(CLS_FishPlayer& facade, int id);
    const char* unknown;  ///< the text for an id that is not registered
    const char* null;     ///< the text for an id without a player
};

void PrintTo(const Operation& operation, std::ostream* out)
{
    *out << operation.name;
}

const Operation CONST_OPERATIONS[] = {
    {"FishPlayer_DeleteAllPlayer",
     [](CLS_FishPlayer& facade, int id) { return facade.FishPlayer_DeleteAllPlayer(id); },
     "[  CLS_FishPlayer::FishPlayer_DeleteAllPlayer  !m_qmapMainPlayer.contains(_iFishPlayerID) _iFishPlayerID = ",
     "[  CLS_FishPlayer::FishPlayer_DeleteAllPlayer  nullptr == m_qmapMainPlayer[_iFishPlayerID] _iFishPlayerID = "},
    {"FishPlayer_DeleteAllSubPlayer",
     [](CLS_FishPlayer& facade, int id) { return facade.FishPlayer_DeleteAllSubPlayer(id); },
     "[  CLS_FishPlayer::FishPlayer_DeleteAllSubPlayer  !m_qmapMainPlayer.contains(_iFishPlayerID) _iFishPlayerID = ",
     "[  CLS_FishPlayer::FishPlayer_DeleteAllSubPlayer  nullptr == m_qmapMainPlayer[_iFishPlayerID] _iFishPlayerID = "},
    {"FishPlayer_PutStreamToPlayer",
     [](CLS_FishPlayer& facade, int id) {
         unsigned char data = 1;
         return facade.FishPlayer_PutStreamToPlayer(id, 0, &data, 1);
     },
     "[  CLS_FishPlayer::FishPlayer_PutStreamToPlayer !m_qmapMainPlayer.contains(_iFishPlayerID) _iFishPlayerID = ",
     "[  CLS_FishPlayer::FishPlayer_PutStreamToPlayer  nullptr == m_qmapMainPlayer[_iFishPlayerID] _iFishPlayerID = "},
    {"FishPlayer_EnableFish",
     [](CLS_FishPlayer& facade, int id) { return facade.FishPlayer_EnableFish(id, true); },
     "[  CLS_FishPlayer::FishPlayer_EnableFish !m_qmapMainPlayer.contains(_iFishPlayerID) _iFishPlayerID = ",
     "[  CLS_FishPlayer::FishPlayer_EnableFish  nullptr == m_qmapMainPlayer[_iFishPlayerID] _iFishPlayerID = "},
    {"FishPlayer_EnableDraw",
     [](CLS_FishPlayer& facade, int id) { return facade.FishPlayer_EnableDraw(id, true); },
     "[  CLS_FishPlayer::FishPlayer_EnableDraw !m_qmapMainPlayer.contains(_iFishPlayerID) _iFishPlayerID = ",
     "[  CLS_FishPlayer::FishPlayer_EnableDraw  nullptr == m_qmapMainPlayer[_iFishPlayerID] _iFishPlayerID = "},
    {"FishPlayer_RegisterDrawCallback",
     [](CLS_FishPlayer& facade, int id) {
         return facade.FishPlayer_RegisterDrawCallback(id, nullptr);
     },
     "[  CLS_FishPlayer::FishPlayer_RegisterDrawCallback !m_qmapMainPlayer.contains(_iFishPlayerID) _iFishPlayerID = ",
     "[  CLS_FishPlayer::FishPlayer_RegisterDrawCallback  nullptr == m_qmapMainPlayer[_iFishPlayerID] _iFishPlayerID = "},
    {"FishPlayer_CorrectWindowCtl",
     [](CLS_FishPlayer& facade, int id) {
         return facade.FishPlayer_CorrectWindowCtl(id, 0x200, {}, n_CtlCmd_Move, {});
     },
     "[  CLS_FishPlayer::FishPlayer_CorrectWindowCtl !m_qmapMainPlayer.contains(_iFishPlayerID) _iFishPlayerID = ",
     "[  CLS_FishPlayer::FishPlayer_CorrectWindowCtl nullptr == m_qmapMainPlayer[_iFishPlayerID] _iFishPlayerID = "},
    {"FishPlayer_DrawWindowCtl",
     [](CLS_FishPlayer& facade, int id) {
         return facade.FishPlayer_DrawWindowCtl(id, 0, {}, n_CtlCmd_Move, {});
     },
     "[  CLS_FishPlayer::FishPlayer_DrawWindowCtl !m_qmapMainPlayer.contains(_iFishPlayerID) _iFishPlayerID = ",
     "[  CLS_FishPlayer::FishPlayer_DrawWindowCtl nullptr == m_qmapMainPlayer[_iFishPlayerID] _iFishPlayerID = "},
    {"FishPlayer_PTZWindowCtl",
     [](CLS_FishPlayer& facade, int id) {
         return facade.FishPlayer_PTZWindowCtl(id, 0, {}, n_CtlCmd_Move, {});
     },
     "[  CLS_FishPlayer::FishPlayer_PTZWindowCtl !m_qmapMainPlayer.contains(_iFishPlayerID) _iFishPlayerID = ",
     "[  CLS_FishPlayer::FishPlayer_PTZWindowCtl nullptr == m_qmapMainPlayer[_iFishPlayerID] _iFishPlayerID = "},
    {"FishPlayer_PTZCtl",
     [](CLS_FishPlayer& facade, int id) {
         return facade.FishPlayer_PTZCtl(id, 0, {}, n_PTZCtl_Up);
     },
     "[  CLS_FishPlayer::FishPlayer_PTZCtl !m_qmapMainPlayer.contains(_iFishPlayerID) _iFishPlayerID = ",
     "[  CLS_FishPlayer::FishPlayer_PTZCtl nullptr == m_qmapMainPlayer[_iFishPlayerID] _iFishPlayerID = "},
    {"CreateSubPlayer",
     [](CLS_FishPlayer& facade, int id) {
         QMap<int, QVector<int>> ids;
         return facade.CreateSubPlayer({}, id, {}, ids, {});
     },
     "[  CLS_FishPlayer::CreateSubPlayer !m_qmapMainPlayer.contains(_iFishPlayerID) _iFishPlayerID = ",
     "[  CLS_FishPlayer::CreateSubPlayer  nullptr == m_qmapMainPlayer[_iFishPlayerID] _iFishPlayerID = "},
};

class FacadeLookupTest : public ManagerTest
{
protected:
    FacadeLookupTest() { Calls(); }

    FacadeProbe m_facade;
};

class EveryOperation : public FacadeLookupTest, public ::testing::WithParamInterface<Operation>
{};

INSTANTIATE_TEST_SUITE_P(, EveryOperation, ::testing::ValuesIn(CONST_OPERATIONS), NamedRow());

TEST_P(EveryOperation, RefusesAnIdThatWasNeverCreated)
{
    EXPECT_EQ(GetParam().call(m_facade, 42), -1);
    EXPECT_THAT(Lines(), ElementsAre(Warning(WithValue(GetParam().unknown, 42))));
    EXPECT_THAT(Calls(), IsEmpty());
    EXPECT_TRUE(m_facade.m_qmapMainPlayer.isEmpty());  // looking up adds nothing
}

TEST_P(EveryOperation, TakesAnyIntegerForAnId)
{
    EXPECT_EQ(GetParam().call(m_facade, -1), -1);
    EXPECT_EQ(GetParam().call(m_facade, INT_MIN), -1);
    EXPECT_EQ(GetParam().call(m_facade, INT_MAX), -1);
    EXPECT_THAT(Lines(), ElementsAre(Warning(WithValue(GetParam().unknown, -1)),
                                     Warning(WithValue(GetParam().unknown, INT_MIN)),
                                     Warning(WithValue(GetParam().unknown, INT_MAX))));
}

TEST_P(EveryOperation, RefusesAnIdWithoutAPlayerAndKeepsTheEntry)
{
    m_facade.m_qmapMainPlayer[42] = nullptr;
    EXPECT_EQ(GetParam().call(m_facade, 42), -1);
    EXPECT_THAT(Lines(), ElementsAre(Warning(WithValue(GetParam().null, 42))));
    EXPECT_THAT(Calls(), IsEmpty());
    EXPECT_EQ(m_facade.m_qmapMainPlayer.keys(), QList<int>{42});
}

TEST_P(EveryOperation, RefusesAnIdOnceItsPlayerIsDeleted)
{
    std::vector<unsigned char> header = StreamHeader();
    int id = -1;
    m_facade.CreateMainPlayer({1, 768}, Window(5), 0, header.data(), 12, &id);
    EXPECT_EQ(m_facade.FishPlayer_DeleteAllPlayer(id), 0);
    Lines();
    Calls();
    EXPECT_EQ(GetParam().call(m_facade, id), -1);
    EXPECT_THAT(Lines(), ElementsAre(Warning(WithValue(GetParam().unknown, id))));
    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(FacadeLookupTest, TheOperationsAreEleven)
{
    EXPECT_EQ(std::size(CONST_OPERATIONS), 11U);
}

// Feeding has two checks of its own between the two of the lookup.

TEST_F(FacadeLookupTest, FeedingReportsAnUnknownIdBeforeMissingData)
{
    EXPECT_EQ(m_facade.FishPlayer_PutStreamToPlayer(42, 0, nullptr, -1), -1);
    EXPECT_THAT(
        Lines(),
        ElementsAre(Warning(WithValue(
            "[  CLS_FishPlayer::FishPlayer_PutStreamToPlayer !m_qmapMainPlayer.contains(_iFishPlayerID) _iFishPlayerID = ",
            42))));
}

TEST_F(FacadeLookupTest, FeedingReportsMissingDataBeforeANegativeSize)
{
    m_facade.m_qmapMainPlayer[42] = nullptr;
    EXPECT_EQ(m_facade.FishPlayer_PutStreamToPlayer(42, 0, nullptr, -1), -1);
    EXPECT_THAT(Lines(),
                ElementsAre(Warning(
                    "[  CLS_FishPlayer::FishPlayer_PutStreamToPlayer nullptr == _pcStreamData")));
}

TEST_F(FacadeLookupTest, FeedingReportsANegativeSizeBeforeAMissingPlayer)
{
    m_facade.m_qmapMainPlayer[42] = nullptr;
    unsigned char data = 1;
    EXPECT_EQ(m_facade.FishPlayer_PutStreamToPlayer(42, 0, &data, -1), -1);
    EXPECT_EQ(m_facade.FishPlayer_PutStreamToPlayer(42, 1, &data, INT_MIN), -1);
    const LogLine refused = Warning("[  CLS_FishPlayer::FishPlayer_PutStreamToPlayer _iSize < 0");
    EXPECT_THAT(Lines(), ElementsAre(refused, refused));
}

TEST_F(FacadeLookupTest, FeedingASizeOfZeroIsLeftToTheMainPlayer)
{
    std::vector<unsigned char> header = StreamHeader();
    int id = -1;
    m_facade.CreateMainPlayer({1, 768}, Window(5), 0, header.data(), 12, &id);
    Calls();
    unsigned char data = 1;
    EXPECT_EQ(m_facade.FishPlayer_PutStreamToPlayer(id, 0, &data, 0), -1);
    EXPECT_THAT(Lines(), ElementsAre(Info("[  CLS_MainPlayer::PutStreamToPlayer _iSize <= 0 ]")));
    EXPECT_THAT(Calls(), IsEmpty());
    m_facade.FishPlayer_DeleteAllPlayer(id);
}

TEST_F(FacadeLookupTest, TrackingIsRefusedForEveryIdWithoutALine)
{
    std::vector<std::string> asked;
    RecordingPlayer player(asked);
    Calls();
    m_facade.m_qmapMainPlayer[42] = &player;
    m_facade.m_qmapMainPlayer[43] = nullptr;
    for (const int id : {42, 43, 44, -1}) {
        EXPECT_EQ(m_facade.FishPlayer_StartTrack(id), -1) << id;
        EXPECT_EQ(m_facade.FishPlayer_StopTrack(id), -1) << id;
    }
    EXPECT_THAT(Lines(), IsEmpty());
    EXPECT_THAT(Calls(), IsEmpty());
    EXPECT_THAT(asked, IsEmpty());
}

}  // namespace
