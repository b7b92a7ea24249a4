#include "AuthorizedExecute.h"

#include "Platform/Foundation/Log.h"

#include <QFile>

#include <cerrno>
#include <spawn.h>
#include <sys/wait.h>
#include <vector>

extern char** environ;

QString privilegeHelper()
{
    const QString standIn = qEnvironmentVariable("INSTALLER_TEST_PKEXEC");
    return standIn.isEmpty() ? QStringLiteral("/usr/bin/pkexec") : standIn;
}

OSStatus AuthorizedExecute(const QString& toolPath, const QStringList& arguments)
{
    const QByteArray tool = QFile::encodeName(toolPath);
    QList<QByteArray> storage { QFile::encodeName(privilegeHelper()), "--disable-internal-agent",
        tool };
    for (const QString& a : arguments)
        storage.append(a.toUtf8());
    std::vector<char*> argv;
    for (QByteArray& s : storage)
        argv.push_back(s.data());
    argv.push_back(nullptr);

    pid_t pid = 0;
    if (const int rc = ::posix_spawn(&pid, argv[0], nullptr, nullptr, argv.data(), environ);
        rc != 0) {
        NSLog(QStringLiteral("AuthorizationExecuteWithPrivileges failed (%s)"), tool.constData());
        return errAuthorizationToolExecuteFailure;
    }
    int status = 0;
    pid_t waited = -1;
    do {
        waited = ::waitpid(pid, &status, 0);
    } while (waited == -1 && errno == EINTR);
    if (waited == -1) {
        // A tool that cannot be waited for counts as successful.
        NSLog(QStringLiteral("no pid"));
        return noErr;
    }
    if (WIFEXITED(status) && WEXITSTATUS(status) == 0)
        return noErr;
    if (!WIFEXITED(status)) {
        NSLog(QStringLiteral("!WIFEXITED"));
        return -1;
    }
    if (WEXITSTATUS(status) == 126)
        return errAuthorizationCanceled; // the user dismissed the dialog
    if (WEXITSTATUS(status) == 127) {
        // Not authorized, no authentication agent, or the tool is missing: it never ran.
        NSLog(QStringLiteral("AuthorizationExecuteWithPrivileges failed (%s)"), tool.constData());
        return errAuthorizationDenied;
    }
    NSLog(QStringLiteral("WEXITSTATUS"));
    return -1;
}

bool authorizedInstallWith(const QString& toolPath, const QString& source,
    const QString& destination, const std::optional<QString>& wrapper, bool* canceled,
    const std::function<void(bool running)>& progress)
{
    if (canceled)
        *canceled = false;
    auto blank = [](const QString& s) {
        for (const QChar c : s) {
            if (c != QLatin1Char(' ') && c != QLatin1Char('\t'))
                return false;
        }
        return true;
    };
    if (blank(destination) || blank(source))
        return false;
    if (progress)
        progress(false); // the password dialog comes up now
    QStringList arguments { source, destination };
    if (wrapper)
        arguments << *wrapper;
    const OSStatus status = AuthorizedExecute(toolPath, arguments);
    if (progress)
        progress(true);
    if (status == errAuthorizationCanceled && canceled)
        *canceled = true;
    return status == noErr;
}
