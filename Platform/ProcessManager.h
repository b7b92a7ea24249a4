#pragma once
// The running applications as the process table shows them: enumeration, identity, information
// and the window-manager operations on a process. Abstract so tests can use FakeProcessManager;
// the real one is LinuxProcessManager (/proc for processes, EWMH over xcb for windows).

#include "Platform/MacTypes.h"

#include <QString>
#include <QVariantMap>

#include <memory>
#include <optional>
#include <sys/types.h>

/// What the process information record carries that the classes read.
struct ProcessInfoRecord {
    QString name;
    OSType signature = 0;
};

/// The launcher of applications the session's autostart started (its login items). Its
/// information dictionary names it, with the creator "lgnw"; it has no pid and no windows.
constexpr ProcessSerialNumber kSessionAutostartProcess { 0, 0xFFFFFFFFu };

class ProcessManager {
public:
    virtual ~ProcessManager() = default;

    /// Replaces psn with the next process's; (0, 0) yields the first. Non-zero ends the walk.
    virtual OSErr getNextProcess(ProcessSerialNumber& psn) = 0;
    virtual OSErr getFrontProcess(ProcessSerialNumber& psn) = 0;
    virtual OSErr getCurrentProcess(ProcessSerialNumber& psn) = 0;
    virtual OSStatus getProcessForPID(pid_t pid, ProcessSerialNumber& psn) = 0;
    /// Fails once the process has ended.
    virtual OSStatus getProcessPID(const ProcessSerialNumber& psn, pid_t& pid) = 0;
    virtual OSErr sameProcess(
        const ProcessSerialNumber& a, const ProcessSerialNumber& b, bool& result)
        = 0;
    virtual OSErr getProcessInformation(const ProcessSerialNumber& psn, ProcessInfoRecord& info)
        = 0;
    /// The process that launched this one; (0, kNoProcess) when it is unknown or gone. Asked on
    /// its own: finding it reads more of the process table than the information record does.
    virtual OSErr getProcessLauncher(const ProcessSerialNumber& psn, ProcessSerialNumber& launcher)
        = 0;
    /// The information dictionary (the bundle's Info.plist plus the process's own keys).
    virtual std::optional<QVariantMap> processInformationCopyDictionary(
        const ProcessSerialNumber& psn)
        = 0;
    /// The display name.
    virtual std::optional<QString> copyProcessName(const ProcessSerialNumber& psn) = 0;
    /// The path of the application bundle (or of the executable when it is not in one).
    virtual std::optional<QString> getProcessBundleLocation(const ProcessSerialNumber& psn) = 0;

    virtual OSErr wakeUpProcess(const ProcessSerialNumber& psn) = 0;
    virtual OSErr showHideProcess(const ProcessSerialNumber& psn, bool visible) = 0;
    virtual OSErr setFrontProcess(const ProcessSerialNumber& psn) = 0;
    /// Option 1: bring only the front window forward.
    virtual OSErr setFrontProcessWithOptions(const ProcessSerialNumber& psn, uint32_t options) = 0;

    static ProcessManager& shared();
    static void setShared(ProcessManager* manager);
};

/// One running application as the platform's running-application facility sees it.
class RunningApplication {
public:
    virtual ~RunningApplication() = default;
    /// Asks it to quit; false when the request could not be delivered (it has already stopped).
    virtual bool terminate() = 0;
    /// Kills it; false when that could not be done (it has already stopped).
    virtual bool forceTerminate() = 0;
    virtual bool isTerminated() const = 0;
};

/// The running-application facility. Abstract so tests can use FakeRunningApplications; the real
/// one is PidfdRunningApplications (pidfd_open and pidfd_send_signal).
class RunningApplications {
public:
    virtual ~RunningApplications() = default;
    /// Whether the facility exists on this system at all.
    virtual bool available() = 0;
    virtual std::unique_ptr<RunningApplication> runningApplicationWithProcessIdentifier(pid_t pid)
        = 0;

    static RunningApplications& shared();
    static void setShared(RunningApplications* applications);
};

/// Events sent to another application. Abstract so tests can record them; the real one,
/// LinuxAppleEvents, turns the quit event into a close request to the application's windows and
/// answers every other event with errAEEventNotHandled (Linux has no general channel for them).
class AppleEvents {
public:
    virtual ~AppleEvents() = default;
    /// The quit event ('aevt'/'quit') to a process, not waiting for a reply.
    virtual OSStatus sendQuitEvent(const ProcessSerialNumber& psn, pid_t pid) = 0;
    /// Any event to a process id, waiting at most timeoutTicks (1/60 s) for the reply.
    virtual OSStatus sendMessage(pid_t pid, OSType eventClass, OSType eventID, long timeoutTicks)
        = 0;

    static AppleEvents& shared();
    static void setShared(AppleEvents* events);
};
