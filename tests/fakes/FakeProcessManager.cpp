#include "FakeProcessManager.h"

#include "Platform/Foundation/OSTypeCode.h"

FakeProcess& FakeProcessManager::add(
    pid_t pid, const QString& name, const QString& signature, const QString& path)
{
    std::lock_guard lock(m_mutex);
    FakeProcess p;
    p.psn = { 1, uint32_t(pid) };
    p.pid = pid;
    p.name = name;
    p.signature = UTGetOSTypeFromString(signature);
    p.path
        = path.isEmpty() ? QStringLiteral("/Applications/") + name + QStringLiteral(".app") : path;
    processes.push_back(p);
    return processes.back();
}

FakeProcess* FakeProcessManager::find(const ProcessSerialNumber& psn)
{
    for (auto& p : processes) {
        if (p.psn.highLongOfPSN == psn.highLongOfPSN && p.psn.lowLongOfPSN == psn.lowLongOfPSN)
            return &p;
    }
    return nullptr;
}

bool FakeProcessManager::fails(const char* operation)
{
    std::lock_guard lock(m_mutex); // the install thread and the main thread both ask
    calls.append(QString::fromLatin1(operation));
    return failing.contains(QString::fromLatin1(operation));
}

OSErr FakeProcessManager::getNextProcess(ProcessSerialNumber& psn)
{
    std::lock_guard lock(m_mutex);
    if (fails("getNextProcess"))
        return procNotFound;
    bool take = psn.highLongOfPSN == 0 && psn.lowLongOfPSN == 0;
    for (const auto& p : processes) {
        if (take && p.running) {
            psn = p.psn;
            return noErr;
        }
        if (p.psn.highLongOfPSN == psn.highLongOfPSN && p.psn.lowLongOfPSN == psn.lowLongOfPSN)
            take = true;
    }
    return procNotFound;
}

OSErr FakeProcessManager::getFrontProcess(ProcessSerialNumber& psn)
{
    std::lock_guard lock(m_mutex);
    if (fails("getFrontProcess") || !front)
        return procNotFound;
    psn = *front;
    return noErr;
}

OSErr FakeProcessManager::getCurrentProcess(ProcessSerialNumber& psn)
{
    std::lock_guard lock(m_mutex);
    if (fails("getCurrentProcess"))
        return procNotFound;
    psn = current;
    return noErr;
}

OSStatus FakeProcessManager::getProcessForPID(pid_t pid, ProcessSerialNumber& psn)
{
    std::lock_guard lock(m_mutex);
    if (fails("getProcessForPID"))
        return procNotFound;
    for (const auto& p : processes) {
        if (p.pid == pid && p.running) {
            psn = p.psn;
            return noErr;
        }
    }
    return procNotFound;
}

OSStatus FakeProcessManager::getProcessPID(const ProcessSerialNumber& psn, pid_t& pid)
{
    std::lock_guard lock(m_mutex);
    if (fails("getProcessPID"))
        return procNotFound;
    const FakeProcess* p = find(psn);
    if (!p || !p->running)
        return procNotFound;
    pid = p->pid;
    return noErr;
}

OSErr FakeProcessManager::sameProcess(
    const ProcessSerialNumber& a, const ProcessSerialNumber& b, bool& result)
{
    std::lock_guard lock(m_mutex);
    if (fails("sameProcess"))
        return paramErr;
    result = a.highLongOfPSN == b.highLongOfPSN && a.lowLongOfPSN == b.lowLongOfPSN;
    return noErr;
}

OSErr FakeProcessManager::getProcessInformation(
    const ProcessSerialNumber& psn, ProcessInfoRecord& info)
{
    std::lock_guard lock(m_mutex);
    const FakeProcess* p = find(psn);
    if (fails("getProcessInformation") || !p || !p->running || p->informationFails)
        return procNotFound;
    info.name = p->name;
    info.signature = p->signature;
    return noErr;
}

OSErr FakeProcessManager::getProcessLauncher(
    const ProcessSerialNumber& psn, ProcessSerialNumber& launcher)
{
    std::lock_guard lock(m_mutex);
    const FakeProcess* p = find(psn);
    if (fails("getProcessLauncher") || !p || !p->running)
        return procNotFound;
    launcher = p->launcher;
    return noErr;
}

std::optional<QVariantMap> FakeProcessManager::processInformationCopyDictionary(
    const ProcessSerialNumber& psn)
{
    std::lock_guard lock(m_mutex);
    const FakeProcess* p = find(psn);
    if (fails("processInformationCopyDictionary") || !p || !p->running)
        return std::nullopt;
    return p->info;
}

std::optional<QString> FakeProcessManager::copyProcessName(const ProcessSerialNumber& psn)
{
    std::lock_guard lock(m_mutex);
    const FakeProcess* p = find(psn);
    if (fails("copyProcessName") || !p || !p->running)
        return std::nullopt;
    return p->name;
}

std::optional<QString> FakeProcessManager::getProcessBundleLocation(const ProcessSerialNumber& psn)
{
    std::lock_guard lock(m_mutex);
    const FakeProcess* p = find(psn);
    if (fails("getProcessBundleLocation") || !p || !p->running)
        return std::nullopt;
    return p->path;
}

OSErr FakeProcessManager::wakeUpProcess(const ProcessSerialNumber&)
{
    return fails("wakeUpProcess") ? procNotFound : noErr;
}
OSErr FakeProcessManager::showHideProcess(const ProcessSerialNumber&, bool visible)
{
    return fails(visible ? "show" : "hide") ? appIsDaemon : noErr;
}
OSErr FakeProcessManager::setFrontProcess(const ProcessSerialNumber&)
{
    return fails("setFrontProcess") ? appIsDaemon : noErr;
}
OSErr FakeProcessManager::setFrontProcessWithOptions(const ProcessSerialNumber&, uint32_t options)
{
    return fails(options == 1 ? "setFrontProcessFrontWindowOnly" : "setFrontProcessWithOptions")
        ? appIsDaemon
        : noErr;
}

bool FakeRunningApplication::terminate()
{
    ++terminateCalls;
    if (terminated || !deliverable)
        return false; // nothing left to deliver to
    if (quitsOnTerminate && terminateCalls >= terminatesAfterRequests) {
        terminated = true;
        if (onTerminated)
            onTerminated();
    }
    return true;
}

bool FakeRunningApplication::forceTerminate()
{
    ++forceTerminateCalls;
    if (terminated)
        return false;
    if (diesOnForce) {
        terminated = true;
        if (onTerminated)
            onTerminated();
    }
    return true;
}

FakeRunningApplication& FakeRunningApplications::add(pid_t pid)
{
    auto app = std::make_shared<FakeRunningApplication>();
    applications[pid] = app;
    return *app;
}

namespace {
// Hands out the same fake behind a unique_ptr, so the test keeps seeing its counters.
struct SharedFake final : RunningApplication {
    std::shared_ptr<FakeRunningApplication> fake;
    bool terminate() override { return fake->terminate(); }
    bool forceTerminate() override { return fake->forceTerminate(); }
    bool isTerminated() const override { return fake->isTerminated(); }
};
} // namespace

std::unique_ptr<RunningApplication>
FakeRunningApplications::runningApplicationWithProcessIdentifier(pid_t pid)
{
    const auto it = applications.find(pid);
    if (it == applications.end())
        return nullptr;
    auto shared = std::make_unique<SharedFake>();
    shared->fake = it->second;
    return shared;
}
