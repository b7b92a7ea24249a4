// The real clock: CLOCK_MONOTONIC for intervals, the system time for dates, nanosleep (resumed
// after signals) for sleeping.

#include "Platform/Clock.h"

#include <atomic>
#include <cerrno>
#include <ctime>

namespace {
class SystemClock final : public Clock {
public:
    double now() override
    {
        timespec ts {};
        ::clock_gettime(CLOCK_MONOTONIC, &ts);
        return double(ts.tv_sec) + double(ts.tv_nsec) / 1e9;
    }
    QDateTime currentDate() override { return QDateTime::currentDateTime(); }
    void sleep(double seconds) override
    {
        if (seconds <= 0)
            return;
        timespec req { time_t(seconds), long((seconds - double(time_t(seconds))) * 1e9) };
        timespec rem {};
        while (::nanosleep(&req, &rem) == -1 && errno == EINTR)
            req = rem;
    }
};

SystemClock systemClock;
std::atomic<Clock*> sharedClock { nullptr };
} // namespace

Clock& Clock::shared()
{
    Clock* c = sharedClock.load();
    return c ? *c : systemClock;
}

void Clock::setShared(Clock* clock)
{
    sharedClock.store(clock);
}
