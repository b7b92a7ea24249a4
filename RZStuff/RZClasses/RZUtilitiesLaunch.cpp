// Launch context (distribution disk, temporary copies, the launcher), links, the open command,
// shell scripts with a time limit and the companion application that gives the front back.

#include "RZUtilities.h"

#include "Platform/Clock.h"
#include "Platform/DesktopEnvironment.h"
#include "Platform/Foundation/Bundle.h"
#include "Platform/Foundation/Log.h"
#include "Platform/Linux/DetachedSpawn.h"
#include "Platform/ProcessManager.h"
#include "RZProcess.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStringDecoder>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <mutex>
#include <pwd.h>
#include <spawn.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

extern char** environ;

namespace {
std::mutex mediaRootsMutex;
QStringList mediaRoots { QStringLiteral("/media"), QStringLiteral("/run/media") };

QString userName()
{
    const passwd* pw = ::getpwuid(::getuid());
    return pw ? QString::fromLocal8Bit(pw->pw_name) : qEnvironmentVariable("USER");
}

/// The script, started with its streams on output (standard input on the null device), in the
/// home folder and in a process group of its own. Its pid; PlatformException when it cannot start.
pid_t launchScript(const QString& path, const QStringList& arguments, int output)
{
    NativeArguments native(path, arguments);
    char** argv = native.argv();
    const QByteArray home = QFile::encodeName(QDir::homePath());
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, output, 1);
    posix_spawn_file_actions_adddup2(&actions, output, 2);
    posix_spawn_file_actions_addchdir_np(&actions, home.constData());
    posix_spawnattr_t attr;
    posix_spawnattr_init(&attr);
    posix_spawnattr_setflags(&attr, POSIX_SPAWN_SETPGROUP);
    posix_spawnattr_setpgroup(&attr, 0);
    pid_t pid = 0;
    const int rc = ::posix_spawn(&pid, argv[0], &actions, &attr, argv, environ);
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attr);
    if (rc == ENOENT || rc == EACCES || rc == ENOTDIR)
        throw PlatformException("launch path not accessible");
    if (rc != 0)
        throw PlatformException(std::strerror(rc));
    return pid;
}

/// Ends a script's process group; the script is reaped now when it has gone, else by a thread
/// of ours when it goes.
void terminateScript(pid_t pid, bool& reaped)
{
    if (reaped)
        return;
    ::kill(-pid, SIGTERM);
    if (::waitpid(pid, nullptr, WNOHANG) == pid) {
        reaped = true;
        return;
    }
    std::thread([pid] {
        while (::waitpid(pid, nullptr, 0) < 0 && errno == EINTR) { }
    }).detach();
    reaped = true;
}

bool sameProcess(const RZProcessRef& a, const RZProcessRef& b)
{
    return a && b && a->isEqual(*b);
}
} // namespace

QString RZUtilities::distributionVolumeOf(const QString& bundlePath)
{
    // Removable media mount at <root>/<user>/<volume> (udisks) or at <root>/<volume>.
    QStringList roots;
    {
        std::lock_guard lock(mediaRootsMutex);
        roots = mediaRoots;
    }
    const QString user = userName();
    for (const QString& root : roots) {
        if (!bundlePath.startsWith(root + QLatin1Char('/')))
            continue;
        QStringList rest = bundlePath.mid(root.size() + 1).split(QLatin1Char('/'));
        if (!user.isEmpty() && rest.size() > 1 && rest.first() == user) {
            const QString volume = rest.at(1);
            return volume.isEmpty() ? QString() : root + QLatin1Char('/') + user + '/' + volume;
        }
        return rest.first().isEmpty() ? QString() : root + QLatin1Char('/') + rest.first();
    }
    return QString();
}

void RZUtilities::setRemovableMediaRootsForTesting(const QStringList& roots)
{
    std::lock_guard lock(mediaRootsMutex);
    mediaRoots = roots.isEmpty()
        ? QStringList { QStringLiteral("/media"), QStringLiteral("/run/media") }
        : roots;
}

bool RZUtilities::runningFromDistributionDisk()
{
    const QString volume = distributionVolumeOf(Bundle::mainBundle().bundlePath());
    return !volume.isEmpty() && QFileInfo::exists(volume + QStringLiteral("/launchlock"));
}

int RZUtilities::installationMode()
{
    if (runningFromDistributionDisk())
        return 1;
    const QString path = Bundle::mainBundle().bundlePath();
    // A packaged application's runtime mount, then the temporary folders.
    if (path.startsWith(QLatin1String("/tmp/.mount_")))
        return 1;
    if (path.contains(QLatin1String("/var/tmp/")) || path.startsWith(QLatin1String("/tmp/")))
        return 1;
    return 0;
}

QString RZUtilities::resolvedAlias(const QString& path)
{
    QFileInfo info(path);
    if (path.isEmpty() || !info.isSymLink())
        return path;
    // Follow the chain one link at a time, as far as the kernel would (40 links).
    QString current = path;
    for (int hops = 0; hops < 40; ++hops) {
        const QFileInfo link(current);
        if (!link.isSymLink())
            return link.exists() ? QDir::cleanPath(current) : path;
        const QString target = link.symLinkTarget();
        if (target.isEmpty())
            return path;
        current = target;
    }
    return path;
}

bool RZUtilities::wasLaunchedByProcess(const QString& creator)
{
    ProcessManager& manager = ProcessManager::shared();
    ProcessSerialNumber self;
    if (manager.getCurrentProcess(self) != noErr)
        return false;
    ProcessInfoRecord info;
    ProcessSerialNumber launcherPsn;
    if (manager.getProcessInformation(self, info) != noErr
        || manager.getProcessLauncher(self, launcherPsn) != noErr)
        return false;
    const auto launcher = manager.processInformationCopyDictionary(launcherPsn);
    if (!launcher)
        return false;
    return launcher->value(QStringLiteral("FileCreator")).toString() == creator;
}

bool RZUtilities::wasLaunchedAsLoginItem()
{
    return wasLaunchedByProcess(QStringLiteral("lgnw"));
}

void RZUtilities::openFile(const QString& path)
{
    if (const auto error = DesktopEnvironment::shared().startOpen(path))
        throw PlatformException(error->toStdString());
}

QString RZUtilities::runShellScript(
    const QString& script, const std::optional<QStringList>& parameters, double timeout)
{
    QString path = script;
    if (path == QLatin1String("~") || path.startsWith(QLatin1String("~/")))
        path = QDir::homePath() + path.mid(1);
    const QString name = QFileInfo(path).fileName();
    const QString templ = QDir::tempPath() + QStringLiteral("/RZScript.XXXXXX");
    QByteArray tempName = QFile::encodeName(templ);
    int output = -1;
    try {
        output = ::mkostemp(tempName.data(), O_CLOEXEC);
        if (output < 0)
            throw PlatformException(std::strerror(errno));
        Clock& clock = Clock::shared();
        const pid_t pid = launchScript(path, parameters.value_or(QStringList()), output);
        const double start = clock.now();
        bool reaped = false;
        while (::waitpid(pid, nullptr, WNOHANG) == 0) {
            const float elapsed = float(clock.now() - start);
            if (elapsed > timeout) {
                NSLog(QStringLiteral("script timeout: %@ %@"), name,
                    parameters ? FormatArg(*parameters) : FormatArg(nullptr));
                terminateScript(pid, reaped);
                break;
            }
            clockUsleep(1000);
        }
        reaped = reaped || ::waitpid(pid, nullptr, WNOHANG) != 0;
        terminateScript(pid, reaped);
        ::close(output);
        output = -1;
        QFile file(QFile::decodeName(tempName));
        if (!file.open(QIODevice::ReadOnly))
            throw PlatformException(file.errorString().toStdString());
        const QByteArray bytes = file.readAll();
        file.close();
        file.remove();
        QStringDecoder utf8(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
        const QString text = utf8(bytes);
        if (utf8.hasError())
            return QString();
        return text.isNull() ? QStringLiteral("") : text;
    } catch (const std::exception& e) {
        if (output >= 0) {
            ::close(output);
            ::unlink(tempName.constData());
        }
        return stringWithFormat(
            QStringLiteral("script %@ failed: %@"), name, QString::fromLocal8Bit(e.what()));
    }
}

void RZUtilities::launchMicro(bool flag)
{
    if (fullScreenMode())
        return;
    const RZProcessRef front = RZProcess::frontProcess();
    // Whatever happens on the way, the front is handed back at the end.
    auto giveFrontBack = [&front] {
        if (front) {
            front->setFrontProcessFrontWindowOnly();
            front->wakeUp();
        }
    };
    try {
        openFile(
            Bundle::mainBundle().pathForResource(QStringLiteral("Micro"), QStringLiteral("app")));
        int count = 0;
        for (; count < 500; ++count) {
            if (!sameProcess(RZProcess::frontProcess(), front))
                break;
            clockUsleep(1000);
        }
        NSLog(QStringLiteral("wait count (Micro) = %d"), count);
        if (front) {
            front->wakeUp();
            clockUsleep(1);
            front->wakeUp();
            if (!flag)
                front->setFrontProcessFrontWindowOnly();
        }
        for (int i = 0; i < 500; ++i) {
            if (sameProcess(RZProcess::frontProcess(), front))
                break;
            clockUsleep(1000);
        }
    } catch (const PlatformException& e) {
        NSLog(QStringLiteral("** Error while running Micro: %@"), e.reason());
    } catch (...) {
        giveFrontBack();
        throw;
    }
    giveFrontBack();
}
