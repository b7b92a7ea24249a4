// /proc/<pid> folders are listed with getdents (through readdir); ownership comes from the
// folder's owner and the kind of process from /proc/<pid>/stat: the state after the command
// name's closing parenthesis and the flags word, whose PF_KTHREAD bit marks kernel threads.

#include "Platform/Linux/ProcessTable.h"

#include <algorithm>
#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <iterator>
#include <string>

namespace {
constexpr unsigned long kKernelThreadFlag = 0x00200000; // PF_KTHREAD

bool parsePid(const char* name, pid_t& pid)
{
    if (!*name)
        return false;
    long value = 0;
    for (const char* p = name; *p; ++p) {
        if (*p < '0' || *p > '9' || value > 0x3fffffff)
            return false;
        value = value * 10 + (*p - '0');
    }
    pid = pid_t(value);
    return value > 0;
}

std::string readSmallFile(int dirFd, const std::string& path)
{
    const int fd = ::openat(dirFd, path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd == -1)
        return {};
    char buffer[1024];
    ssize_t n;
    while ((n = ::read(fd, buffer, sizeof buffer - 1)) == -1 && errno == EINTR) { }
    ::close(fd);
    return n > 0 ? std::string(buffer, size_t(n)) : std::string();
}
} // namespace

ProcessTable::ProcessTable(const QString& procRoot, uid_t uid)
    : m_root(procRoot)
    , m_uid(uid)
{
}

bool ProcessTable::isUserProcess(int procFd, pid_t pid)
{
    const std::string name = std::to_string(pid);
    struct stat st { };
    if (::fstatat(procFd, name.c_str(), &st, 0) == -1 || st.st_uid != m_uid)
        return false;
    ++m_statReads;
    const std::string stat = readSmallFile(procFd, name + "/stat");
    const size_t paren = stat.rfind(')');
    if (paren == std::string::npos)
        return false;
    // Fields after the name: state, ppid, pgrp, session, tty_nr, tpgid, flags.
    char state = 0;
    unsigned long flags = 0;
    if (std::sscanf(stat.c_str() + paren + 1, " %c %*d %*d %*d %*d %*d %lu", &state, &flags) != 2)
        return false;
    return state != 'Z' && state != 'X' && !(flags & kKernelThreadFlag);
}

ProcessTableChanges ProcessTable::update()
{
    ProcessTableChanges changes;
    m_statReads = 0;
    const int procFd = ::open(m_root.toLocal8Bit().constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (procFd == -1)
        return changes;
    const int listFd = ::dup(procFd);
    DIR* dir = listFd == -1 ? nullptr : ::fdopendir(listFd);
    if (!dir) {
        if (listFd != -1)
            ::close(listFd);
        ::close(procFd);
        return changes;
    }
    std::vector<pid_t> now;
    now.reserve(m_all.size() + 16);
    while (const dirent* entry = ::readdir(dir)) {
        pid_t pid;
        if (parsePid(entry->d_name, pid))
            now.push_back(pid);
    }
    ::closedir(dir);
    std::sort(now.begin(), now.end());

    std::vector<pid_t> gone, fresh;
    std::set_difference(
        m_all.begin(), m_all.end(), now.begin(), now.end(), std::back_inserter(gone));
    std::set_difference(
        now.begin(), now.end(), m_all.begin(), m_all.end(), std::back_inserter(fresh));
    for (pid_t pid : gone) {
        const auto it = std::lower_bound(m_user.begin(), m_user.end(), pid);
        if (it != m_user.end() && *it == pid) {
            m_user.erase(it);
            changes.terminated.push_back(pid);
        }
    }
    for (pid_t pid : fresh) {
        if (!isUserProcess(procFd, pid))
            continue;
        m_user.insert(std::lower_bound(m_user.begin(), m_user.end(), pid), pid);
        changes.launched.push_back(pid);
    }
    ::close(procFd);
    m_all = std::move(now);
    if (!m_looked) {
        m_looked = true;
        return {};
    }
    return changes;
}
