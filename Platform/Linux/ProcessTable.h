#pragma once
// The user's processes as /proc lists them, compared between two looks. A look lists the pid
// folders (names only) and reads the stat file of new pids alone, so its cost grows with the
// number of processes that started since the last look, not with the number running.

#include <QString>

#include <sys/types.h>
#include <unistd.h>
#include <vector>

struct ProcessTableChanges {
    std::vector<pid_t> launched;
    std::vector<pid_t> terminated;
    bool isEmpty() const { return launched.empty() && terminated.empty(); }
};

class ProcessTable {
public:
    /// Processes of uid under procRoot (a folder laid out like /proc).
    explicit ProcessTable(
        const QString& procRoot = QStringLiteral("/proc"), uid_t uid = ::getuid());

    /// Looks again. The first look only records what runs and reports nothing. A process counts
    /// when it belongs to the user, is not a kernel thread and was not already a zombie when
    /// first seen; it has ended when its pid folder is gone.
    ProcessTableChanges update();

    /// The user's processes seen at the last look, in ascending pid.
    const std::vector<pid_t>& userProcesses() const { return m_user; }
    /// Stat files read by the last look.
    int statFilesReadLastUpdate() const { return m_statReads; }

private:
    bool isUserProcess(int procFd, pid_t pid);

    QString m_root;
    uid_t m_uid;
    bool m_looked = false;
    std::vector<pid_t> m_all; // every pid folder seen, sorted
    std::vector<pid_t> m_user; // the ones that count, sorted
    int m_statReads = 0;
};
