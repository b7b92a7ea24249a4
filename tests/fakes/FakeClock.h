#pragma once
// Virtual time: sleeping advances the clock at once, so waits and polls run in microseconds.

#include "Platform/Clock.h"

#include <atomic>
#include <functional>
#include <mutex>

class FakeClock final : public Clock {
public:
    FakeClock() { Clock::setShared(this); }
    ~FakeClock() override { Clock::setShared(nullptr); }

    double now() override { return m_now.load(); }
    QDateTime currentDate() override
    {
        return m_start.addMSecs(static_cast<qint64>(m_now.load() * 1000.0));
    }
    void sleep(double seconds) override
    {
        if (seconds > 0)
            advance(seconds);
        std::function<void(double)> hook;
        {
            std::lock_guard lock(m_mutex);
            hook = m_onSleep;
        }
        if (hook)
            hook(seconds);
    }

    void advance(double seconds)
    {
        double expected = m_now.load();
        while (!m_now.compare_exchange_weak(expected, expected + seconds)) { }
    }
    double elapsed() const { return m_now.load(); }
    /// Called after every sleep with its length: lets a test change the world as time passes.
    void onSleep(std::function<void(double)> hook)
    {
        std::lock_guard lock(m_mutex);
        m_onSleep = std::move(hook);
    }

private:
    std::atomic<double> m_now { 0.0 };
    QDateTime m_start = QDateTime(QDate(2026, 1, 1), QTime(12, 0), Qt::UTC);
    std::mutex m_mutex;
    std::function<void(double)> m_onSleep;
};
