// The process table on Linux. A serial number is (start time in clock ticks since boot, low 32
// bits; pid), so a pid reused by a new process is a different process. The walk lists the current
// user's processes from /proc in ascending pid, without kernel threads and zombies; each walk
// starts from a fresh listing of /proc taken when it asks for the first process. A process "is"
// the ".app" bundle that encloses its executable: name, signature and information dictionary come
// from that bundle's Info.plist; a process outside a bundle is named after its executable.
// Window operations go through EWMH (X11Session) and fail with appIsDaemon without a window
// manager.

#include "Platform/Foundation/Bundle.h"
#include "Platform/Foundation/OSTypeCode.h"
#include "Platform/Linux/ProcStat.h"
#include "Platform/Linux/X11Session.h"
#include "Platform/ProcessManager.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <dirent.h>
#include <unistd.h>
#include <vector>

namespace {

ProcessSerialNumber serialOf(const ProcStat& stat)
{
    return { uint32_t(stat.startTicks & 0xffffffffu), uint32_t(stat.pid) };
}

/// The process behind a serial number, while it still runs.
std::optional<ProcStat> liveProcess(const ProcessSerialNumber& psn)
{
    if (psn.lowLongOfPSN == 0)
        return std::nullopt;
    auto stat = readProcStat(pid_t(psn.lowLongOfPSN));
    if (!stat || stat->isZombie() || uint32_t(stat->startTicks & 0xffffffffu) != psn.highLongOfPSN)
        return std::nullopt;
    return stat;
}

QString executableOf(const ProcessSerialNumber& psn)
{
    const auto stat = liveProcess(psn);
    return stat ? processExecutable(stat->pid) : QString();
}

class LinuxProcessManager final : public ProcessManager {
public:
    OSErr getNextProcess(ProcessSerialNumber& psn) override
    {
        thread_local std::vector<pid_t> listing;
        if (psn.highLongOfPSN == 0 && psn.lowLongOfPSN == 0)
            listing = listPids();
        auto it = std::upper_bound(listing.begin(), listing.end(), pid_t(psn.lowLongOfPSN));
        const uid_t uid = ::geteuid();
        for (; it != listing.end(); ++it) {
            const auto stat = readProcStat(*it);
            if (!stat || stat->uid != uid || stat->isZombie() || stat->isKernelThread())
                continue; // gone while we looked, or not one of the user's applications
            psn = serialOf(*stat);
            return noErr;
        }
        psn = { 0, 0 };
        return procNotFound;
    }

    OSErr getFrontProcess(ProcessSerialNumber& psn) override
    {
        const pid_t pid = X11Session::windowPid(X11Session::activeWindow());
        return pid > 0 && getProcessForPID(pid, psn) == noErr ? noErr : procNotFound;
    }

    OSErr getCurrentProcess(ProcessSerialNumber& psn) override
    {
        return OSErr(getProcessForPID(::getpid(), psn));
    }

    OSStatus getProcessForPID(pid_t pid, ProcessSerialNumber& psn) override
    {
        const auto stat = readProcStat(pid);
        if (!stat || stat->isZombie())
            return procNotFound;
        psn = serialOf(*stat);
        return noErr;
    }

    OSStatus getProcessPID(const ProcessSerialNumber& psn, pid_t& pid) override
    {
        if (!liveProcess(psn))
            return procNotFound;
        pid = pid_t(psn.lowLongOfPSN);
        return noErr;
    }

    OSErr sameProcess(
        const ProcessSerialNumber& a, const ProcessSerialNumber& b, bool& result) override
    {
        result = a.highLongOfPSN == b.highLongOfPSN && a.lowLongOfPSN == b.lowLongOfPSN;
        return noErr;
    }

    OSErr getProcessInformation(const ProcessSerialNumber& psn, ProcessInfoRecord& info) override
    {
        const QString exe = executableOf(psn);
        if (exe.isEmpty())
            return procNotFound;
        const QString bundlePath = Bundle::enclosingBundlePath(exe);
        std::optional<QVariantMap> plist;
        if (!bundlePath.isEmpty())
            plist = Bundle(bundlePath).infoDictionary();
        info.signature = plist
            ? UTGetOSTypeFromString(plist->value(QStringLiteral("CFBundleSignature")).toString())
            : 0;
        info.name = plist ? plist->value(QStringLiteral("CFBundleName")).toString() : QString();
        if (info.name.isEmpty() && !bundlePath.isEmpty())
            info.name = QFileInfo(bundlePath).completeBaseName();
        if (info.name.isEmpty()) // the whole name, not the 15 characters of comm
            info.name = QFileInfo(processArgv0(pid_t(psn.lowLongOfPSN))).fileName();
        if (info.name.isEmpty())
            info.name = QFileInfo(exe).fileName();
        return noErr;
    }

    OSErr getProcessLauncher(const ProcessSerialNumber& psn, ProcessSerialNumber& launcher) override
    {
        const auto stat = liveProcess(psn);
        if (!stat)
            return procNotFound;
        launcher = {};
        if (startedByAutostart(stat->pid))
            launcher = kSessionAutostartProcess;
        else
            getProcessForPID(stat->ppid, launcher);
        return noErr;
    }

    std::optional<QVariantMap> processInformationCopyDictionary(
        const ProcessSerialNumber& psn) override
    {
        if (psn.highLongOfPSN == kSessionAutostartProcess.highLongOfPSN
            && psn.lowLongOfPSN == kSessionAutostartProcess.lowLongOfPSN)
            return QVariantMap { { QStringLiteral("CFBundleName"), QStringLiteral("Autostart") },
                { QStringLiteral("FileCreator"), QStringLiteral("lgnw") } };
        const QString exe = executableOf(psn);
        if (exe.isEmpty())
            return std::nullopt;
        QVariantMap info;
        const QString bundlePath = Bundle::enclosingBundlePath(exe);
        if (!bundlePath.isEmpty()) {
            if (const auto plist = Bundle(bundlePath).infoDictionary())
                info = *plist;
            info.insert(QStringLiteral("BundlePath"), bundlePath);
            const QString creator = info.value(QStringLiteral("CFBundleSignature")).toString();
            if (creator.size() == 4 && creator != QLatin1String("????"))
                info.insert(QStringLiteral("FileCreator"), creator);
        }
        info.insert(QStringLiteral("pid"), int(psn.lowLongOfPSN));
        info.insert(QStringLiteral("CFBundleExecutablePath"), exe);
        return info;
    }

    std::optional<QString> copyProcessName(const ProcessSerialNumber& psn) override
    {
        const auto info = processInformationCopyDictionary(psn);
        if (!info)
            return std::nullopt;
        const QString display = info->value(QStringLiteral("CFBundleDisplayName")).toString();
        if (!display.isEmpty())
            return display;
        ProcessInfoRecord record;
        if (getProcessInformation(psn, record) != noErr)
            return std::nullopt;
        return record.name;
    }

    std::optional<QString> getProcessBundleLocation(const ProcessSerialNumber& psn) override
    {
        const QString exe = executableOf(psn);
        if (exe.isEmpty())
            return std::nullopt;
        const QString bundle = Bundle::enclosingBundlePath(exe);
        return bundle.isEmpty() ? exe : bundle;
    }

    OSErr wakeUpProcess(const ProcessSerialNumber& psn) override
    {
        const auto stat = liveProcess(psn);
        return stat && ::kill(stat->pid, SIGCONT) == 0 ? noErr : procNotFound;
    }

    OSErr showHideProcess(const ProcessSerialNumber& psn, bool visible) override
    {
        const auto windows = windowsOf(psn);
        if (windows.empty())
            return appIsDaemon;
        bool ok = true;
        for (const auto w : windows)
            ok = (visible ? X11Session::activate(w) : X11Session::iconify(w)) && ok;
        return ok ? noErr : appIsDaemon;
    }

    OSErr setFrontProcess(const ProcessSerialNumber& psn) override
    {
        const auto windows = windowsOf(psn);
        bool ok = !windows.empty();
        for (const auto w : windows) // bottom to top, so that the top window ends up in front
            ok = X11Session::activate(w) && ok;
        return ok ? noErr : appIsDaemon;
    }

    OSErr setFrontProcessWithOptions(const ProcessSerialNumber& psn, uint32_t options) override
    {
        if (!(options & 1))
            return setFrontProcess(psn);
        const auto windows = windowsOf(psn);
        return !windows.empty() && X11Session::activate(windows.back()) ? noErr : appIsDaemon;
    }

private:
    static std::vector<X11Session::Window> windowsOf(const ProcessSerialNumber& psn)
    {
        const auto stat = liveProcess(psn);
        return stat ? X11Session::windowsOfProcess(stat->pid) : std::vector<X11Session::Window> {};
    }

    static std::vector<pid_t> listPids()
    {
        std::vector<pid_t> pids;
        DIR* dir = ::opendir("/proc");
        if (!dir)
            return pids;
        while (const dirent* entry = ::readdir(dir)) {
            char* end = nullptr;
            const long pid = std::strtol(entry->d_name, &end, 10);
            if (end && *end == '\0' && pid > 0)
                pids.push_back(pid_t(pid));
        }
        ::closedir(dir);
        std::sort(pids.begin(), pids.end());
        return pids;
    }
};

LinuxProcessManager linuxProcessManager;
std::atomic<ProcessManager*> sharedManager { nullptr };
} // namespace

ProcessManager& ProcessManager::shared()
{
    ProcessManager* m = sharedManager.load();
    return m ? *m : linuxProcessManager;
}

void ProcessManager::setShared(ProcessManager* manager)
{
    sharedManager.store(manager);
}
