// The overlay thread: every 40 ms it hands the client the outlines of the pan/tilt/zoom views.
#include "VideoPlayer_FishEye/feplayer/CLS_MainPlayer.h"

#include <optional>
#include <system_error>
#include <utility>

#include <QMutexLocker>
#include <QThread>

#include "VideoPlayer_FishEye/FishEyeLog.h"
#include "VideoPlayer_FishEye/feplayer/CLS_SubPlayer.h"
#include "VideoPlayer_FishEye/feplayer/OverlayState.h"

namespace {

constexpr unsigned long CONST_DRAW_PERIOD_MS = 40;

}  // namespace

int CLS_MainPlayer::RegisterDrawCallback(DrawCallback pfunCallback)
{
    if (nullptr == pfunCallback)
        return s_warning.Refuse(
            "[  CLS_MainPlayer::RegisterDrawCallback nullptr == pfunCallback ]");
    m_pOverlay->m_pfDrawCallback = pfunCallback;
    return 0;
}

int CLS_MainPlayer::EnableDraw(bool _blEnable)
{
    m_pOverlay->m_blDrawEnabled = _blEnable;
    if (!_blEnable)
        StopDrawThread();
    return 0;
}

void CLS_MainPlayer::StartDrawThread()
{
    const QMutexLocker lock(&m_qmutexThread);
    // Before the thread exists, so that it cannot take an old request for its own end.
    m_pOverlay->m_blStopDraw = false;
    if (nullptr != m_pDrawThread)
        return;
    try {
        m_pDrawThread = new std::thread(RunOverlay, m_pOverlay);
    } catch (const std::system_error& error) {
        s_warning.Write("[  CLS_MainPlayer::StartDrawThread std::thread fail ", error.what(), " ]");
    }
}

void CLS_MainPlayer::StopDrawThread()
{
    const QMutexLocker lock(&m_qmutexThread);
    if (nullptr == m_pDrawThread)
        return;
    m_pOverlay->m_blStopDraw = true;
    m_pDrawThread->join();
    delete std::exchange(m_pDrawThread, nullptr);
}

void CLS_MainPlayer::FishEyeDrawCallBack(void* pclsFish)
{
    if (nullptr == pclsFish) {
        s_warning.Write("[  CLS_MainPlayer::FishEyeDrawCallBack nullptr == pclsFish ]");
        return;
    }
    RunOverlay(static_cast<CLS_MainPlayer*>(pclsFish)->m_pOverlay);
}

void CLS_MainPlayer::RunOverlay(std::shared_ptr<OverlayState> pOverlay)
{
    if (!pOverlay->m_blDrawEnabled) {
        s_warning.Write("[  CLS_MainPlayer::FishEyeDrawCallBack !pclsFish->m_blDrawEnabled ]");
        return;
    }
    while (!pOverlay->m_blStopDraw) {
        pOverlay->DrawCalculate();
        QThread::msleep(CONST_DRAW_PERIOD_MS);
    }
}

int CLS_MainPlayer::DrawCalculate()
{
    return m_pOverlay->DrawCalculate();
}

int CLS_MainPlayer::OverlayState::DrawCalculate()
{
    QMutexLocker lock(&m_qmutexDraw);
    if (nullptr == m_pfDrawCallback) {
        lock.unlock();
        return s_warning.Refuse("[  CLS_MainPlayer::DrawCalculate nullptr == m_pfDrawCallback ]");
    }
    const std::optional<QVector<CLS_SubPlayer*>> qvecPlayers = Views(CORRECT_TYPE_PTZ);
    if (!qvecPlayers) {
        lock.unlock();
        return s_warning.Refuse(
            "[  CLS_MainPlayer::DrawCalculate !m_qmapSubPlayers.contains(CORRECT_TYPE_PTZ) ]");
    }
    DrawOutlines qvecOutlines;
    for (CLS_SubPlayer* const pPlayer : *qvecPlayers) {
        if (nullptr == pPlayer) {
            s_warning.Write("[  CLS_MainPlayer::DrawCalculate nullptr == pPlayer ]");
            continue;
        }
        QVector<QVector<STRUCT_DrawPoint>> qvecLines;
        const int iRet = pPlayer->GetPTZDrawData(qvecLines);
        if (iRet < 0) {
            s_info.Write(
                "[  CLS_MainPlayer::DrawCalculate pPlayer->GetPTZDrawData < 0 iRet = ", iRet, " ]");
            continue;
        }
        qvecOutlines.append(qvecLines);
    }
    m_pfDrawCallback.load()(0, 0, qvecOutlines);
    return 0;
}

std::optional<QVector<CLS_SubPlayer*>> CLS_MainPlayer::OverlayState::Views(int iType) const
{
    const QReadLocker lock(&m_rwlSubPlayers);
    const auto it = m_qmapSubPlayers.constFind(iType);
    if (m_qmapSubPlayers.constEnd() == it)
        return std::nullopt;
    return *it;
}

void CLS_MainPlayer::OverlayState::Store(int iType, const QVector<CLS_SubPlayer*>& qvecPlayers)
{
    const QWriteLocker lock(&m_rwlSubPlayers);
    m_qmapSubPlayers[iType] = qvecPlayers;
}

CLS_MainPlayer::SubPlayerMap CLS_MainPlayer::OverlayState::TakeAll()
{
    const QWriteLocker lock(&m_rwlSubPlayers);
    return std::exchange(m_qmapSubPlayers, {});
}
