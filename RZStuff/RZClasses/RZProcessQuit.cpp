// Asking an application to quit, politely and then by force, and the window-manager operations.

#include "RZProcess.h"

#include "Platform/Clock.h"
#include "Platform/Foundation/Log.h"
#include "Platform/ProcessManager.h"

bool RZProcess::quitRunningApplicationWithTimeout(float timeout)
{
    const auto processName = name();
    RunningApplications& applications = RunningApplications::shared();
    if (!applications.available()) {
        NSLog(QStringLiteral("cannot quit %@: NSRunningApplication not available"), processName);
        return false;
    }
    const pid_t pid = unixPID();
    if (pid == 0) {
        NSLog(QStringLiteral("cannot quit %@: no pid"), processName);
        return false;
    }
    const auto application = applications.runningApplicationWithProcessIdentifier(pid);
    if (!application) {
        NSLog(QStringLiteral("cannot quit %@: no process found"), processName);
        return false;
    }
    Clock& clock = Clock::shared();

    // The polite phase sends terminate again on every pass: an application that is busy saving
    // may drop the first request, and a second one costs nothing.
    double start = clock.now();
    for (int attempts = 0;;) {
        if (!(clock.now() - start < timeout))
            break;
        if (!application->terminate()) {
            NSLog(QStringLiteral("quit %@: process stopped after %1.3fs (%d attempts)"),
                processName, clock.now() - start, attempts + 1);
            return true;
        }
        ++attempts;
        clock.sleep(0.001);
        if (application->isTerminated()) {
            NSLog(QStringLiteral("quit %@: terminated after %1.3fs (%d attempts)"), processName,
                clock.now() - start, attempts);
            return true;
        }
    }

    // The force phase gets the whole timeout again.
    start = clock.now();
    for (int attempts = 0;;) {
        if (!(clock.now() - start < timeout)) {
            NSLog(QStringLiteral("quitting %@ failed"), processName);
            return false;
        }
        if (!application->forceTerminate()) {
            NSLog(QStringLiteral("foce-quit %@: process stopped after %1.3fs (%d attempts)"),
                processName, clock.now() - start, attempts + 1);
            return true;
        }
        ++attempts;
        clock.sleep(0.001);
        if (application->isTerminated()) {
            NSLog(QStringLiteral("force-quit %@: terminated after %1.3fs (%d attempts)"),
                processName, clock.now() - start, attempts);
            return true;
        }
    }
}

void RZProcess::quit()
{
    const auto processName = name();
    if (quitRunningApplicationWithTimeout(4.0f))
        return;
    // The last resort: the quit event, not waited for. Addressing and building it cannot fail
    // here; only the send can.
    const OSStatus status = AppleEvents::shared().sendQuitEvent(m_psn, unixPID());
    if (status != noErr)
        NSLog(QStringLiteral("quitting %@ failed (%d; could not send event)"), processName,
            int(status));
}

void RZProcess::sendAppleEventClass(OSType eventClass, OSType eventID, float timeout)
{
    const pid_t pid = unixPID();
    const RZProcessRef front = frontProcess();
    if (front)
        (void)front->cpuTime(); // measured around the send, as the original tooling did
    const long ticks = long(double(timeout) * 60.0);
    const OSStatus status = AppleEvents::shared().sendMessage(pid, eventClass, eventID, ticks);
    if (status != noErr)
        NSLog(QStringLiteral("*** event error: %d"), int(status));
    if (front)
        (void)front->cpuTime();
}

void RZProcess::wakeUp()
{
    ProcessManager::shared().wakeUpProcess(m_psn);
}

void RZProcess::setHidden(bool hidden)
{
    ProcessManager::shared().showHideProcess(m_psn, !hidden);
}

void RZProcess::setFrontProcess()
{
    ProcessManager::shared().setFrontProcess(m_psn);
}

void RZProcess::setFrontProcessFrontWindowOnly()
{
    ProcessManager::shared().setFrontProcessWithOptions(m_psn, 1);
}

void RZProcess::temporarilySwitchOut()
{
    if (const RZProcessRef self = currentProcess())
        self->setFrontProcess();
    setFrontProcessFrontWindowOnly();
    wakeUp();
}
