#pragma once
// Time as the classes see it: a monotonic clock, the wall clock and sleeping. Abstract so tests
// can run every sleep and poll in virtual time (FakeClock); the real one is SystemClock.

#include <QDateTime>

class Clock {
public:
    virtual ~Clock() = default;
    /// Seconds on a monotonic clock.
    virtual double now() = 0;
    /// The wall-clock time.
    virtual QDateTime currentDate() = 0;
    /// Blocks the calling thread for the given number of seconds.
    virtual void sleep(double seconds) = 0;

    /// The process-wide clock: the system's unless a test installed another.
    static Clock& shared();
    static void setShared(Clock* clock);
};

/// usleep through the shared clock.
inline void clockUsleep(unsigned microseconds)
{
    Clock::shared().sleep(microseconds / 1e6);
}
