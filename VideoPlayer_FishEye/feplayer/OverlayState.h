#pragma once

#include <atomic>
#include <optional>

#include <QMutex>
#include <QReadWriteLock>

#include "VideoPlayer_FishEye/feplayer/CLS_MainPlayer.h"

struct CLS_MainPlayer::OverlayState
{
    /// One cycle of the overlay thread; see CLS_MainPlayer::DrawCalculate.
    int DrawCalculate();

    /// The views of a kind, a shared copy; nothing where the map does not hold the kind.
    std::optional<QVector<CLS_SubPlayer*>> Views(int iType) const;
    void Store(int iType, const QVector<CLS_SubPlayer*>& qvecPlayers);

    /// Takes every view out of the map.
    SubPlayerMap TakeAll();

    std::atomic<bool> m_blDrawEnabled{false};
    std::atomic<DrawCallback> m_pfDrawCallback{nullptr};
    QMutex m_qmutexDraw;  ///< around one cycle and the client's callback
    std::atomic<bool> m_blStopDraw{true};

    /// The sub-players are owned; freed by DeleteAllSubPlayer. Guarded by m_rwlSubPlayers, which is
    /// held around an operation on the map alone and never around a call of anybody.
    SubPlayerMap m_qmapSubPlayers;
    mutable QReadWriteLock m_rwlSubPlayers;
};
