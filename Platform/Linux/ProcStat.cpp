#include "Platform/Linux/ProcStat.h"

#include <QFile>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {
QByteArray readSmallFile(const char* path, qsizetype limit = 4096)
{
    const int fd = ::open(path, O_RDONLY | O_CLOEXEC);
    if (fd == -1)
        return {};
    QByteArray data(limit, '\0');
    qsizetype total = 0;
    while (total < limit) {
        const ssize_t n = ::read(fd, data.data() + total, size_t(limit - total));
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            break;
        total += n;
    }
    ::close(fd);
    data.truncate(total);
    return data;
}
} // namespace

std::optional<ProcStat> readProcStat(pid_t pid)
{
    if (pid <= 0)
        return std::nullopt;
    char path[64];
    std::snprintf(path, sizeof path, "/proc/%d/stat", int(pid));
    const QByteArray line = readSmallFile(path);
    const qsizetype close = line.lastIndexOf(')');
    if (close < 0)
        return std::nullopt;
    const QList<QByteArray> fields = line.mid(close + 2).split(' ');
    // Field 3 (state) is fields[0]; field k is fields[k - 3].
    if (fields.size() < 20)
        return std::nullopt;
    ProcStat stat;
    stat.pid = pid;
    stat.state = fields[0].isEmpty() ? '?' : fields[0][0];
    stat.ppid = pid_t(fields[4 - 3].toInt());
    stat.flags = uint32_t(fields[9 - 3].toULong());
    stat.userTicks = fields[14 - 3].toULongLong();
    stat.startTicks = fields[22 - 3].toULongLong();
    std::snprintf(path, sizeof path, "/proc/%d", int(pid));
    struct stat st { };
    if (::stat(path, &st) != 0)
        return std::nullopt;
    stat.uid = st.st_uid;
    return stat;
}

QString processExecutable(pid_t pid)
{
    char path[64];
    std::snprintf(path, sizeof path, "/proc/%d/exe", int(pid));
    char target[4096];
    const ssize_t n = ::readlink(path, target, sizeof target - 1);
    if (n <= 0)
        return QString();
    QString exe = QFile::decodeName(QByteArray(target, n));
    if (exe.endsWith(QStringLiteral(" (deleted)")))
        exe.chop(10);
    return exe;
}

bool startedByAutostart(pid_t pid)
{
    char path[64];
    std::snprintf(path, sizeof path, "/proc/%d/environ", int(pid));
    const QByteArray environment = readSmallFile(path, 1 << 20);
    if (environment.startsWith("DESKTOP_AUTOSTART_ID=")
        || environment.contains(QByteArray("\0DESKTOP_AUTOSTART_ID=", 22)))
        return true;
    std::snprintf(path, sizeof path, "/proc/%d/cgroup", int(pid));
    return readSmallFile(path).contains("@autostart.service");
}

QString processArgv0(pid_t pid)
{
    char path[64];
    std::snprintf(path, sizeof path, "/proc/%d/cmdline", int(pid));
    const QByteArray cmdline = readSmallFile(path);
    return QFile::decodeName(
        cmdline.left(cmdline.indexOf('\0') < 0 ? cmdline.size() : cmdline.indexOf('\0')));
}

double bootTime()
{
    static const double boot = [] {
        const QByteArray stat = readSmallFile("/proc/stat", 1 << 16);
        const qsizetype at = stat.indexOf("\nbtime ");
        return at < 0 ? 0.0 : stat.mid(at + 7, stat.indexOf('\n', at + 7) - at - 7).toDouble();
    }();
    return boot;
}

long clockTicksPerSecond()
{
    static const long ticks = ::sysconf(_SC_CLK_TCK) > 0 ? ::sysconf(_SC_CLK_TCK) : 100;
    return ticks;
}
