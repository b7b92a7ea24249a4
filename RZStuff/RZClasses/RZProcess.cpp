// The process cache and the lookups. The cache is ordered by most recent use; a lock guards it so
// that the install thread can enumerate while the main thread evicts ended processes, without
// changing any of the orders below.

#include "RZProcess.h"

#include "Platform/Foundation/Format.h"
#include "Platform/ProcessManager.h"

#include <mutex>

namespace {
std::recursive_mutex cacheMutex;
std::optional<QList<RZProcessRef>> cachedProcesses; // absent until the first insertion
RZProcessRef rememberedCurrentProcess;
} // namespace

RZProcess::RZProcess(const ProcessSerialNumber& psn)
    : m_psn(psn)
{
    installNotifications();
}

RZProcess::~RZProcess()
{
    unregisterAXNotifications();
}

long RZProcess::indexOfCachedProcessWithSerialNumber(const ProcessSerialNumber& psn)
{
    std::lock_guard lock(cacheMutex);
    if (!cachedProcesses || cachedProcesses->isEmpty())
        return NSNotFound;
    for (qsizetype i = 0; i < cachedProcesses->size(); ++i) {
        if (cachedProcesses->at(i)->isSameProcess(psn))
            return long(i);
    }
    return NSNotFound;
}

RZProcessRef RZProcess::cachedProcessWithSerialNumber(const ProcessSerialNumber& psn)
{
    std::lock_guard lock(cacheMutex);
    const long index = indexOfCachedProcessWithSerialNumber(psn);
    if (index == NSNotFound)
        return nullptr;
    RZProcessRef process = cachedProcesses->at(index);
    if (index != 0) {
        cachedProcesses->insert(0, process);
        cachedProcesses->removeAt(index + 1);
    }
    return process;
}

void RZProcess::cleanupCache()
{
    std::lock_guard lock(cacheMutex);
    if (!cachedProcesses)
        return;
    for (qsizetype i = 0; i < cachedProcesses->size();) {
        if (!cachedProcesses->at(i)->isStillRunning())
            cachedProcesses->removeAt(i); // the next entry moves into place i
        else
            ++i;
    }
}

std::optional<QList<RZProcessRef>> RZProcess::cachedProcessesEnumerator()
{
    std::lock_guard lock(cacheMutex);
    return cachedProcesses;
}

void RZProcess::addToCache()
{
    std::lock_guard lock(cacheMutex);
    if (!cachedProcesses)
        cachedProcesses.emplace();
    cachedProcesses->insert(0, shared_from_this());
}

RZProcessRef RZProcess::processWithSerialNumber(const ProcessSerialNumber& psn)
{
    std::lock_guard lock(cacheMutex);
    if (RZProcessRef hit = cachedProcessWithSerialNumber(psn))
        return hit;
    auto process = std::make_shared<RZProcess>(psn);
    process->addToCache();
    return process;
}

RZProcessRef RZProcess::frontProcess()
{
    ProcessSerialNumber psn;
    if (ProcessManager::shared().getFrontProcess(psn) != noErr)
        return nullptr;
    return processWithSerialNumber(psn);
}

RZProcessRef RZProcess::currentProcess()
{
    std::lock_guard lock(cacheMutex);
    if (rememberedCurrentProcess)
        return rememberedCurrentProcess;
    installNotifications();
    ProcessSerialNumber psn;
    if (ProcessManager::shared().getCurrentProcess(psn) != noErr)
        return nullptr;
    rememberedCurrentProcess = processWithSerialNumber(psn);
    return rememberedCurrentProcess;
}

QList<RZProcessRef> RZProcess::allProcesses()
{
    QList<RZProcessRef> list;
    ProcessSerialNumber psn { 0, 0 };
    installNotifications();
    ProcessManager& manager = ProcessManager::shared();
    while (manager.getNextProcess(psn) == noErr)
        list.append(processWithSerialNumber(psn));
    return list;
}

RZProcessRef RZProcess::processWithPID(pid_t pid)
{
    ProcessSerialNumber psn;
    if (ProcessManager::shared().getProcessForPID(pid, psn) != noErr)
        return nullptr;
    return processWithSerialNumber(psn);
}

RZProcessRef RZProcess::processWithSignature(OSType signature)
{
    installNotifications();
    ProcessManager& manager = ProcessManager::shared();
    ProcessSerialNumber psn { 0, 0 };
    while (manager.getNextProcess(psn) == noErr) {
        ProcessInfoRecord info;
        if (manager.getProcessInformation(psn, info) == noErr && info.signature == signature)
            return processWithSerialNumber(psn);
    }
    return nullptr;
}

RZProcessRef RZProcess::processWithIdentifier(const QString& identifier)
{
    installNotifications();
    for (const RZProcessRef& process : allProcesses()) {
        if (process->identifier() == identifier)
            return process;
    }
    return nullptr;
}

void RZProcess::resetForTesting()
{
    std::lock_guard lock(cacheMutex);
    cachedProcesses.reset();
    rememberedCurrentProcess.reset();
}

bool RZProcess::isSameProcess(const ProcessSerialNumber& psn) const
{
    bool same = false;
    return ProcessManager::shared().sameProcess(m_psn, psn, same) == noErr && same;
}

bool RZProcess::isEqual(const RZProcess& other) const
{
    return &other == this || isSameProcess(other.m_psn);
}

int RZProcess::compare(const RZProcess& other) const
{
    const QString a = const_cast<RZProcess*>(this)->name().value_or(QString());
    const QString b = const_cast<RZProcess&>(other).name().value_or(QString());
    const int c = QString::compare(a, b, Qt::CaseInsensitive);
    return c < 0 ? -1 : (c > 0 ? 1 : 0);
}

size_t RZProcess::hash() const
{
    return size_t(uint32_t(m_psn.highLongOfPSN + m_psn.lowLongOfPSN));
}

QString RZProcess::description() const
{
    auto* self = const_cast<RZProcess*>(this);
    return stringWithFormat(QStringLiteral("Process \"%@\" (%@) %@"), self->name(),
        self->signatureString(), self->version());
}

QVariant RZProcess::infoForKey(const QString& key) const
{
    std::lock_guard lock(m_mutex);
    return m_customInfo ? m_customInfo->value(key) : QVariant();
}

void RZProcess::setInfoForKey(const QVariant& value, const QString& key)
{
    std::lock_guard lock(m_mutex);
    if (!m_customInfo)
        m_customInfo.emplace();
    if (value.isValid())
        m_customInfo->insert(key, value);
    else
        m_customInfo->remove(key);
}

bool RZProcess::isStillRunning() const
{
    pid_t pid = 0;
    return ProcessManager::shared().getProcessPID(m_psn, pid) == noErr;
}
