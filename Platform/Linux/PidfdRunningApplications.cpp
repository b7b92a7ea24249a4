// Running applications through pidfds: a pidfd names one process for good, so a pid that is reused
// after the application ended can never be signalled by mistake. terminate is SIGTERM, force
// terminate SIGKILL; an application has terminated once its pidfd polls readable (it exited) or it
// is a zombie. The quit event is a close request to the application's top-level windows (EWMH),
// or SIGTERM when it has none; every other event has no channel on Linux.

#include "Platform/Linux/ProcStat.h"
#include "Platform/Linux/X11Session.h"
#include "Platform/ProcessManager.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

int pidfdOpen(pid_t pid)
{
    return int(::syscall(SYS_pidfd_open, pid, 0));
}
int pidfdSendSignal(int fd, int signal)
{
    return int(::syscall(SYS_pidfd_send_signal, fd, signal, nullptr, 0));
}

class PidfdApplication final : public RunningApplication {
public:
    PidfdApplication(int fd, pid_t pid)
        : m_fd(fd)
        , m_pid(pid)
    {
    }
    ~PidfdApplication() override { ::close(m_fd); }

    bool terminate() override { return signal(SIGTERM); }
    bool forceTerminate() override { return signal(SIGKILL); }
    bool isTerminated() const override
    {
        pollfd p { m_fd, POLLIN, 0 };
        if (::poll(&p, 1, 0) > 0)
            return true;
        const auto stat = readProcStat(m_pid);
        return !stat || stat->isZombie();
    }

private:
    bool signal(int sig)
    {
        if (isTerminated())
            return false; // nothing left to deliver to
        return pidfdSendSignal(m_fd, sig) == 0;
    }

    int m_fd;
    pid_t m_pid;
};

class PidfdRunningApplications final : public RunningApplications {
public:
    bool available() override
    {
        static const bool works = [] {
            const int fd = pidfdOpen(::getpid());
            if (fd < 0)
                return false;
            ::close(fd);
            return true;
        }();
        return works;
    }

    std::unique_ptr<RunningApplication> runningApplicationWithProcessIdentifier(pid_t pid) override
    {
        const auto stat = readProcStat(pid);
        if (!stat || stat->isZombie())
            return nullptr;
        const int fd = pidfdOpen(pid);
        if (fd < 0)
            return nullptr;
        // The pid might have been reused between the look and the open: the pidfd must name the
        // process we looked at.
        const auto again = readProcStat(pid);
        if (!again || again->startTicks != stat->startTicks) {
            ::close(fd);
            return nullptr;
        }
        return std::make_unique<PidfdApplication>(fd, pid);
    }
};

class LinuxAppleEvents final : public AppleEvents {
public:
    OSStatus sendQuitEvent(const ProcessSerialNumber& psn, pid_t pid) override
    {
        if (pid <= 0)
            pid = pid_t(psn.lowLongOfPSN);
        const auto stat = readProcStat(pid);
        if (!stat || uint32_t(stat->startTicks & 0xffffffffu) != psn.highLongOfPSN)
            return procNotFound;
        const auto windows = X11Session::windowsOfProcess(pid);
        bool asked = false;
        for (const auto w : windows)
            asked = X11Session::requestClose(w) || asked;
        if (asked)
            return noErr;
        auto app = RunningApplications::shared().runningApplicationWithProcessIdentifier(pid);
        return app && app->terminate() ? noErr : procNotFound;
    }

    OSStatus sendMessage(pid_t, OSType, OSType, long) override { return errAEEventNotHandled; }
};

PidfdRunningApplications pidfdApplications;
LinuxAppleEvents linuxAppleEvents;
std::atomic<RunningApplications*> sharedApplications { nullptr };
std::atomic<AppleEvents*> sharedEvents { nullptr };
} // namespace

RunningApplications& RunningApplications::shared()
{
    RunningApplications* a = sharedApplications.load();
    return a ? *a : pidfdApplications;
}

void RunningApplications::setShared(RunningApplications* applications)
{
    sharedApplications.store(applications);
}

AppleEvents& AppleEvents::shared()
{
    AppleEvents* e = sharedEvents.load();
    return e ? *e : linuxAppleEvents;
}

void AppleEvents::setShared(AppleEvents* events)
{
    sharedEvents.store(events);
}
