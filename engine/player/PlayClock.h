// When a decoded picture is shown: by its time stamp, but a live picture never later than it must.
#pragma once

#include "engine/media/ByteQueue.h"

namespace engine {

/// Maps the stream's time to the steady clock. Pure bookkeeping: the caller tells what time it is
/// and does the waiting. Not for several threads.
class PlayClock
{
public:
    /// What is known of a picture when it has been decoded.
    struct Arrival
    {
        double seconds;        ///< presentation time in the stream's time
        double period;         ///< until the next picture
        bool hasTime;          ///< the stream tells its time (else pictures only count periods)
        bool live;             ///< decoding had to wait for its bytes
        bool more;             ///< bytes of further pictures are there already
        bool refused = false;  ///< the client puts faster than is played
        Clock::time_point putAt{};  ///< when its last bytes were put
    };

    struct Plan
    {
        Clock::time_point due;  ///< when to show it; in the past: now
        bool drop;              ///< it is late and a newer one is coming: leave it out
        bool behind;            ///< decoding does not keep up
    };

    Plan Schedule(const Arrival& arrival, Clock::time_point now);

    /// 1 is the stream's own speed. A picture that waits is to be scheduled again.
    void SetSpeed(double speed, Clock::time_point now);

    /// The next picture is shown at once and starts the clock.
    void Restart()
    {
        m_running = false;
        m_senderLate = 0.0;
    }

private:
    bool IsPaced(const Arrival& arrival, double step);
    void Anchor(double seconds, Clock::time_point due);
    Clock::time_point DueOf(double seconds) const;

    bool m_running = false;
    double m_speed = 1.0;
    double m_anchorSeconds = 0.0;
    Clock::time_point m_anchorTime{};
    double m_lastSeconds = 0.0;
    double m_lastPeriod = 0.0;
    Clock::time_point m_lastPut{};
    int m_paced = 0;            ///< pictures in a row that came at the stream's own pace
    double m_senderLate = 0.0;  ///< seconds by which the sender was late; 0: not of late
    Clock::time_point m_senderLateAt{};
    Clock::time_point m_lastShown{};
    double m_allowance = 0.0;  ///< seconds by which live pictures may still pull the clock forward
    Clock::time_point m_allowedAt{};
};

}  // namespace engine
