// The clock is anchored by the first picture. A live picture that comes before its time pulls the
// anchor forward, so that the delay settles at the smallest that the stream ever showed; how far is
// limited, for a file that is put as fast as it is read looks live as well, and must not run away.
#include "engine/player/PlayClock.h"

#include <algorithm>
#include <cmath>

namespace engine {

namespace {

/// A jump of the time stamps beyond this is another piece of film, not a gap.
constexpr double MAX_JUMP = 2.0;
/// Later than this, the clock is wrong rather than the picture.
constexpr double MAX_LATE = 1.0;
/// However late pictures are, one is shown this often.
constexpr double MAX_HIDDEN = 0.25;
/// So many pictures in a row that were put in the stream's own time come from a live sender.
constexpr int PACED_PICTURES = 8;
/// From when and until when it counts that a sender was late before, in seconds.
constexpr double CATCHING_UP = 0.15;
constexpr double SOON = 1.0;
constexpr double PULL_ALLOWANCE = 0.5;
constexpr double PULL_PER_SECOND = 0.01;

Clock::duration Seconds(double seconds)
{
    return std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
}

double SecondsOf(Clock::duration duration)
{
    return std::chrono::duration<double>(duration).count();
}

}  // namespace

PlayClock::Plan PlayClock::Schedule(const Arrival& arrival, Clock::time_point now)
{
    const double step = arrival.seconds - m_lastSeconds;
    const bool live = IsPaced(arrival, step) || arrival.live;
    if (!m_running) {
        m_running = true;
        m_allowance = PULL_ALLOWANCE;
        m_allowedAt = now;
        m_lastShown = now;
        Anchor(arrival.seconds, now);
    } else if (step < 0.0 || step > MAX_JUMP) {
        // Go on one period behind the picture before.
        Anchor(arrival.seconds, std::max(now, DueOf(m_lastSeconds + m_lastPeriod)));
    }
    m_lastSeconds = arrival.seconds;
    m_lastPeriod = arrival.period;

    m_allowance =
        std::min(PULL_ALLOWANCE, m_allowance + PULL_PER_SECOND * SecondsOf(now - m_allowedAt));
    m_allowedAt = now;

    Clock::time_point due = DueOf(arrival.seconds);
    const double early = SecondsOf(due - now);
    if (early > 0.0 && live) {
        const double pull = arrival.hasTime ? std::min(early, m_allowance) : early;
        m_allowance -= arrival.hasTime ? pull : 0.0;
        due -= Seconds(pull);
        Anchor(arrival.seconds, due);
    }
    const double late = -early;
    // What had to be waited for is late with its sender, not in the decoder; unless it was waited
    // for because the buffer is small. A network that stood still catches up, sooner or later; one
    // that is as late again some time after comes from a sender that needs the delay.
    const bool senderLate = arrival.live && !arrival.refused && late > arrival.period;
    const double since = SecondsOf(now - m_senderLateAt);
    if (since > SOON)
        m_senderLate = 0.0;
    const bool again = senderLate && m_senderLate > 0.0 && since > CATCHING_UP;
    const bool wrong = late > MAX_LATE || (again && late > m_senderLate - arrival.period / 2);
    if (senderLate && (wrong || again || m_senderLate == 0.0)) {
        m_senderLate = wrong ? 0.0 : late;
        m_senderLateAt = now;
    }
    const bool behind = late > 2.0 * arrival.period && arrival.more && !senderLate;
    const bool hidden = SecondsOf(now - m_lastShown) < MAX_HIDDEN;
    const bool drop = late > arrival.period && !wrong && arrival.more && hidden;
    if (wrong)
        Anchor(arrival.seconds, now);
    if (!drop)
        m_lastShown = std::max(due, now);
    return {due, drop, behind};
}

/// A sender that is live puts a picture every period, also while the decoder has older ones to
/// show: after a burst at the beginning, or a stall of the network. A file comes faster or in
/// blocks of many pictures, or finds the buffer full. Slow motion falls behind because it should.
bool PlayClock::IsPaced(const Arrival& arrival, double step)
{
    const bool paced = m_running && m_speed == 1.0 && step > 0.0 && step <= MAX_JUMP &&
                       !arrival.refused && SecondsOf(arrival.putAt - m_lastPut) > 0.5 * step;
    m_paced = paced ? std::min(m_paced + 1, PACED_PICTURES) : 0;
    m_lastPut = arrival.putAt;
    return m_paced == PACED_PICTURES;
}

void PlayClock::SetSpeed(double speed, Clock::time_point now)
{
    if (m_running) {
        const Clock::time_point from = std::min(now, DueOf(m_lastSeconds));
        Anchor(m_anchorSeconds + SecondsOf(from - m_anchorTime) * m_speed, from);
    }
    m_speed = speed;
}

void PlayClock::Anchor(double seconds, Clock::time_point due)
{
    m_anchorSeconds = seconds;
    m_anchorTime = due;
}

Clock::time_point PlayClock::DueOf(double seconds) const
{
    return m_anchorTime + Seconds((seconds - m_anchorSeconds) / m_speed);
}

}  // namespace engine
