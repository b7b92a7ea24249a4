// Launch and quit notifications (the handler is installed once per program run).

#include "RZProcess.h"

#include <atomic>

namespace {
std::atomic<bool> notificationsInstalled { false };
std::atomic<int> appLaunchEndCount { 0 };
} // namespace

void RZProcess::installNotifications()
{
    notificationsInstalled = true;
}

int RZProcess::applicationLaunchEndCount()
{
    return appLaunchEndCount.load();
}

void RZProcess::unregisterAXNotifications()
{
    axObserver = nullptr;
    axAppElem = nullptr;
}
