#pragma once

#include <vector>

#include "VideoPlayer_FishEye/feplayer/CLS_MainPlayer.h"
#include "VideoPlayer_FishEye/feplayer/CLS_SubPlayer.h"
#include "VideoPlayer_FishEye/feplayer/OverlayState.h"
#include "tests/support/ManagerTest.h"

/// A main player whose members a test can see and set.
class MainPlayerProbe : public CLS_MainPlayer
{
public:
    using CLS_MainPlayer::m_blFishEyeEnabled;
    using CLS_MainPlayer::m_iFishCorrectId;
    using CLS_MainPlayer::m_iMainPlayId;
    using CLS_MainPlayer::m_pDrawThread;
    using CLS_MainPlayer::m_pFcuHandle;
    using CLS_MainPlayer::m_pMainWindow;
    using CLS_MainPlayer::m_pOverlay;
    using CLS_MainPlayer::m_stFishEyeParam;
    using CLS_MainPlayer::OverlayState;

    /// The views by kind, as they are stored; a test may put its own there (the player owns them).
    QMap<int, QVector<CLS_SubPlayer*>>& Views() { return m_pOverlay->m_qmapSubPlayers; }
};

constexpr int CONST_PLAYER = 7;   ///< the player id that the fake engine gives
constexpr int CONST_CORRECT = 3;  ///< and the id of the main window's correction

/// A main player that plays: engine player 7 with installation type 4 and draw mode 0x300, on
/// window 5. Nothing of that is in the log or among the calls.
class PlayingTest : public ManagerTest
{
protected:
    PlayingTest()
    {
        std::vector<unsigned char> header = StreamHeader();
        int id = -1;
        m_player.CreateMainPlayer({4, 0x300}, Window(5), 0, header.data(), 12, &id);
        Forget();
    }

    void Forget()
    {
        Lines();
        Calls();
    }

    /// A layout with installation type 4 and draw mode 0x300.
    int LayOut(const QMap<int, QVector<void*>>& windows, STRUCT_FishDrawParam draw = {0, 0})
    {
        QMap<int, QVector<int>> ids;
        return m_player.CreateSubPlayers({4, 0x300}, CONST_PLAYER, windows, ids, draw);
    }

    MainPlayerProbe m_player;
};
