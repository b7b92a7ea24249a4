#include "Platform/Linux/DetachedSpawn.h"

#include <QFile>

#include <cerrno>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <thread>
#include <vector>

extern char** environ;

NativeArguments::NativeArguments(const QString& program, const QStringList& args)
{
    m_storage.append(QFile::encodeName(program));
    for (const QString& a : args)
        m_storage.append(QFile::encodeName(a));
    for (QByteArray& s : m_storage)
        m_argv.push_back(s.data());
    m_argv.push_back(nullptr);
}

int spawnDetached(const QString& program, const QStringList& args)
{
    NativeArguments native(program, args);
    char** argv = native.argv();
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
    posix_spawnattr_t attr;
    posix_spawnattr_init(&attr);
    posix_spawnattr_setflags(&attr, POSIX_SPAWN_SETSID);
    pid_t pid = 0;
    const bool search = !program.contains(QLatin1Char('/'));
    const int rc = search ? ::posix_spawnp(&pid, argv[0], &actions, &attr, argv, environ)
                          : ::posix_spawn(&pid, argv[0], &actions, &attr, argv, environ);
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attr);
    if (rc != 0)
        return rc;
    std::thread([pid] {
        while (::waitpid(pid, nullptr, 0) < 0 && errno == EINTR) { }
    }).detach();
    return 0;
}
