#pragma once
// A process table the test writes: processes in enumeration order, each with its serial number,
// pid, name, signature, path and information dictionary; `running` false makes it ended. Calls are
// recorded in order, and any operation can be told to fail.

#include "Platform/ProcessManager.h"

#include <QMap>
#include <QSet>
#include <QStringList>

#include <functional>
#include <map>
#include <mutex>

struct FakeProcess {
    ProcessSerialNumber psn;
    pid_t pid = 0;
    QString name;
    OSType signature = 0;
    QString path;
    QVariantMap info;
    ProcessSerialNumber launcher;
    bool running = true;
    bool informationFails = false;
};

class FakeProcessManager final : public ProcessManager {
public:
    FakeProcessManager() { ProcessManager::setShared(this); }
    ~FakeProcessManager() override { ProcessManager::setShared(nullptr); }

    /// Adds a process (serial number (1, pid)) and returns it for further setting up.
    FakeProcess& add(pid_t pid, const QString& name, const QString& signature = QString(),
        const QString& path = QString());
    FakeProcess* find(const ProcessSerialNumber& psn);

    std::vector<FakeProcess> processes;
    ProcessSerialNumber current { 1, 100 };
    std::optional<ProcessSerialNumber> front;
    QSet<QString> failing; // operation names that answer an error
    QStringList calls;

    OSErr getNextProcess(ProcessSerialNumber& psn) override;
    OSErr getFrontProcess(ProcessSerialNumber& psn) override;
    OSErr getCurrentProcess(ProcessSerialNumber& psn) override;
    OSStatus getProcessForPID(pid_t pid, ProcessSerialNumber& psn) override;
    OSStatus getProcessPID(const ProcessSerialNumber& psn, pid_t& pid) override;
    OSErr sameProcess(
        const ProcessSerialNumber& a, const ProcessSerialNumber& b, bool& result) override;
    OSErr getProcessInformation(const ProcessSerialNumber& psn, ProcessInfoRecord& info) override;
    OSErr getProcessLauncher(
        const ProcessSerialNumber& psn, ProcessSerialNumber& launcher) override;
    std::optional<QVariantMap> processInformationCopyDictionary(
        const ProcessSerialNumber& psn) override;
    std::optional<QString> copyProcessName(const ProcessSerialNumber& psn) override;
    std::optional<QString> getProcessBundleLocation(const ProcessSerialNumber& psn) override;
    OSErr wakeUpProcess(const ProcessSerialNumber& psn) override;
    OSErr showHideProcess(const ProcessSerialNumber& psn, bool visible) override;
    OSErr setFrontProcess(const ProcessSerialNumber& psn) override;
    OSErr setFrontProcessWithOptions(const ProcessSerialNumber& psn, uint32_t options) override;

private:
    bool fails(const char* operation);
    std::recursive_mutex m_mutex;
};

/// Running applications whose reaction to terminate and force-terminate the test decides.
struct FakeRunningApplication final : RunningApplication {
    int terminateCalls = 0;
    int forceTerminateCalls = 0;
    bool quitsOnTerminate = true; // false: ignores the polite request
    bool diesOnForce = true; // false: cannot be killed
    int terminatesAfterRequests = 1;
    bool terminated = false;
    bool deliverable = true; // false: terminate answers false at once (already stopped)
    std::function<void()> onTerminated;

    bool terminate() override;
    bool forceTerminate() override;
    bool isTerminated() const override { return terminated; }
};

class FakeRunningApplications final : public RunningApplications {
public:
    FakeRunningApplications() { RunningApplications::setShared(this); }
    ~FakeRunningApplications() override { RunningApplications::setShared(nullptr); }

    bool exists = true;
    std::map<pid_t, std::shared_ptr<FakeRunningApplication>> applications;
    FakeRunningApplication& add(pid_t pid);

    bool available() override { return exists; }
    std::unique_ptr<RunningApplication> runningApplicationWithProcessIdentifier(pid_t pid) override;
};

class FakeAppleEvents final : public AppleEvents {
public:
    FakeAppleEvents() { AppleEvents::setShared(this); }
    ~FakeAppleEvents() override { AppleEvents::setShared(nullptr); }

    OSStatus quitStatus = noErr;
    QList<pid_t> quitEvents;
    QList<long> messageTimeouts;

    OSStatus sendQuitEvent(const ProcessSerialNumber& psn, pid_t pid) override
    {
        quitEvents.append(pid ? pid : pid_t(psn.lowLongOfPSN));
        return quitStatus;
    }
    OSStatus sendMessage(pid_t, OSType, OSType, long timeoutTicks) override
    {
        messageTimeouts.append(timeoutTicks);
        return errAEEventNotHandled;
    }
};
