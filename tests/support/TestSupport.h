#pragma once
// Helpers most tests share: a temporary folder, a log recorder, bundles written on the fly.

#include <QList>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>
#include <QVariantMap>

#include <mutex>
#include <ostream>
#include <sys/types.h>

/// Readable QStrings in test failures.
inline void PrintTo(const QString& s, std::ostream* os)
{
    *os << '"' << s.toStdString() << '"';
}

/// Records every log line while it lives.
class LogRecorder {
public:
    LogRecorder();
    ~LogRecorder();
    QStringList lines() const;
    bool contains(const QString& line) const { return lines().contains(line); }
    int count(const QString& line) const { return int(lines().count(line)); }
    void clear();

private:
    static void sink(const QString& line, void* self);
    mutable std::mutex m_mutex;
    QStringList m_lines;
};

/// Writes a bundle folder <parent>/<name>.app with an Info.plist of info and an executable file
/// (a copy of the given program, or an empty shell script when none). Returns its path.
QString makeBundle(const QString& parent, const QString& name, const QVariantMap& info,
    const QString& program = QString());

/// The pids of the process objects in the cache, most recently used first.
QList<pid_t> cachedProcessPids();

/// Writes a file (creating folders); returns false on failure.
bool writeFile(const QString& path, const QByteArray& contents);
QByteArray readFile(const QString& path);

class QProcess;

/// Processes a test starts: killed and reaped when the list is cleared or goes.
class ChildProcesses {
public:
    ChildProcesses() = default;
    ChildProcesses(const ChildProcesses&) = delete;
    ChildProcesses& operator=(const ChildProcesses&) = delete;
    ~ChildProcesses() { clear(); }
    /// A new process, not started, whose Qt windows go to the X display of the test.
    QProcess* add();
    void clear();

private:
    QList<QProcess*> m_processes;
};
