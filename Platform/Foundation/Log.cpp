#include "Platform/Foundation/Log.h"

#include <QDateTime>

#include <atomic>
#include <cerrno>
#include <mutex>
#include <sys/syscall.h>
#include <unistd.h>

namespace {
std::mutex sinkMutex;
LogSink logSink = nullptr;
void* logSinkContext = nullptr;

QByteArray processName()
{
    static const QByteArray name = [] {
        QByteArray exe(4096, '\0');
        const ssize_t n = ::readlink("/proc/self/exe", exe.data(), exe.size() - 1);
        if (n <= 0)
            return QByteArray(program_invocation_short_name);
        exe.truncate(n);
        return exe.mid(exe.lastIndexOf('/') + 1);
    }();
    return name;
}
} // namespace

void setLogSink(LogSink sink, void* context)
{
    std::lock_guard lock(sinkMutex);
    logSink = sink;
    logSinkContext = context;
}

void NSLogv(const QString& format, const QList<FormatArg>& args)
{
    const QString text = cocoaFormat(format, args);
    {
        std::lock_guard lock(sinkMutex);
        if (logSink)
            logSink(text, logSinkContext);
    }
    QByteArray line
        = QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss.zzz")).toUtf8();
    line += ' ';
    line += processName();
    line += '[' + QByteArray::number(::getpid()) + ':' + QByteArray::number(::syscall(SYS_gettid))
        + "] ";
    line += text.toUtf8();
    if (!line.endsWith('\n'))
        line += '\n';
    const int saved = errno;
    const char* p = line.constData();
    qsizetype left = line.size();
    while (left > 0) {
        const ssize_t w = ::write(STDERR_FILENO, p, left);
        if (w < 0 && errno == EINTR)
            continue;
        if (w <= 0)
            break;
        p += w;
        left -= w;
    }
    errno = saved;
}
