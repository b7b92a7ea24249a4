// When a process started and how much processor time it has used, from /proc: the start time in
// clock ticks since boot plus the boot time, and the user time. The user time is written as the
// process-status command prints it (minutes, colon, seconds with hundredths) and read back by that
// text's rules, in memory: no scratch file that another user could replace.

#include "RZProcess.h"

#include "Platform/Clock.h"
#include "Platform/Foundation/Log.h"
#include "Platform/Linux/ProcStat.h"
#include "Platform/ProcessManager.h"

#include <QRegularExpression>

double proc_start_time(pid_t pid)
{
    const auto stat = readProcStat(pid);
    if (!stat || bootTime() <= 0)
        return 0;
    return bootTime() + double(stat->startTicks) / double(clockTicksPerSecond());
}

float parseProcessStatusTime(const QString& text)
{
    const qsizetype colon = text.indexOf(QLatin1Char(':'));
    if (colon < 0)
        return 0;
    static const QRegularExpression leadingInt(QStringLiteral("^\\s*([+-]?\\d+)"));
    static const QRegularExpression leadingFloat(
        QStringLiteral("^\\s*([+-]?(\\d+\\.?\\d*|\\.\\d+))"));
    const auto m = leadingInt.match(text.left(colon));
    const auto s = leadingFloat.match(text.mid(colon + 1));
    const int minutes = m.hasMatch() ? m.captured(1).toInt() : 0;
    const double seconds = s.hasMatch() ? s.captured(1).toDouble() : 0.0;
    return float(minutes * 60 + seconds);
}

float proc_cpu_time(pid_t pid)
{
    const auto stat = readProcStat(pid);
    if (!stat)
        return 0;
    const double seconds = double(stat->userTicks) / double(clockTicksPerSecond());
    const int minutes = int(seconds / 60);
    const QString printed = QString::asprintf("%d:%05.2f", minutes, seconds - minutes * 60.0);
    return parseProcessStatusTime(printed);
}

QDateTime RZProcess::launchDate()
{
    std::lock_guard lock(m_mutex);
    if (m_launchDate)
        return *m_launchDate;
    const pid_t pid = unixPID();
    if (pid != 0) {
        m_launchDate
            = QDateTime::fromMSecsSinceEpoch(qint64(proc_start_time(pid) * 1000.0), Qt::UTC);
    } else {
        NSLog(QStringLiteral("*** Cannot get launch date for %@"), name());
        m_launchDate = Clock::shared().currentDate();
    }
    return *m_launchDate;
}

float RZProcess::secondsRunning()
{
    return float(double(launchDate().msecsTo(Clock::shared().currentDate())) / 1000.0);
}

float RZProcess::cpuTime() const
{
    pid_t pid = 0;
    if (ProcessManager::shared().getProcessPID(m_psn, pid) != noErr)
        return 0;
    return proc_cpu_time(pid);
}
