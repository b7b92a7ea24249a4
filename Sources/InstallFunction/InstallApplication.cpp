#include "InstallApplication.h"

#include "Platform/Foundation/Log.h"
#include "Platform/Workspace.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

QByteArray encoded(const QString& path)
{
    return QFile::encodeName(path);
}

void logError(const SystemError& e)
{
    NSLog(QStringLiteral("       %s: %s"), e.call, std::strerror(e.error));
}

bool exists(int dir, const QByteArray& name)
{
    struct stat st { };
    return ::fstatat(dir, name.constData(), &st, AT_SYMLINK_NOFOLLOW) == 0;
}

/// Copies path to (dir, name); the source may be anywhere.
std::optional<SystemError> copyPathInto(
    const QString& source, int dir, const QByteArray& name, CopyMode mode)
{
    const QFileInfo info(source);
    const int sourceDir = openFolder(AT_FDCWD, encoded(info.absolutePath()));
    if (sourceDir == -1)
        return SystemError { "openat", errno };
    auto error = copyTree(sourceDir, encoded(info.fileName()), dir, name, mode);
    ::close(sourceDir);
    return error;
}

/// Staging folders left by a run that was killed: ".<name>.staging-<pid>-<random>" whose pid no
/// longer runs. Such a folder holds either a partial new copy or, when the run died between the
/// exchange and the trash, the complete old copy: it goes to the Trash, never away.
void trashStaleStaging(int dir, const QString& parent, const QByteArray& name,
    const QString& destination, const std::function<bool(const QString&, const QString&)>& trash)
{
    const QByteArray prefix = stagingPrefix(name);
    const int dup = ::dup(dir);
    DIR* listing = dup == -1 ? nullptr : ::fdopendir(dup);
    if (!listing) {
        if (dup != -1)
            ::close(dup);
        return;
    }
    QList<QByteArray> stale;
    while (const dirent* entry = ::readdir(listing)) {
        const QByteArray entryName(entry->d_name);
        if (!entryName.startsWith(prefix))
            continue;
        const pid_t pid = pid_t(entryName.mid(prefix.size()).split('-').value(0).toInt());
        if (pid > 0 && pid != ::getpid() && (::kill(pid, 0) == 0 || errno == EPERM))
            continue; // another installer is still at work
        stale.append(entryName);
    }
    ::closedir(listing);
    for (const QByteArray& entry : stale) {
        const QString path = parent + QLatin1Char('/') + QFile::decodeName(entry);
        if (!(trash ? trash(path, destination) : Workspace::shared().recycleAs(path, destination)))
            NSLog(QStringLiteral("ERROR -- Could not trash %@"), path);
    }
}

} // namespace

QByteArray stagingPrefix(const QByteArray& name)
{
    return "." + name + ".staging-";
}

int InstallApplication(const QString& source, const QString& destination,
    const std::optional<QString>& wrapper, const InstallOptions& options)
{
    const auto noteChanged = [&](const QString& path) {
        if (options.noteChanged)
            options.noteChanged(path);
        else
            Workspace::shared().noteFileSystemChanged(path);
    };
    const QFileInfo destinationInfo(destination);
    const QString parent = destinationInfo.absolutePath();

    // Auxiliary items: existing ones are deleted outright and replaced one by one; a missing
    // target folder gets the whole wrapper in one step.
    if (wrapper) {
        if (QFileInfo::exists(parent)) {
            const int parentFd = openFolder(AT_FDCWD, encoded(parent));
            const QStringList entries = QDir(*wrapper).entryList(
                QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System,
                QDir::Unsorted);
            for (const QString& entry : entries) {
                const QString d = parent + QLatin1Char('/') + entry;
                const QByteArray name = encoded(entry);
                if (exists(parentFd, name)) {
                    if (const auto e = removeTree(parentFd, name)) {
                        NSLog(QStringLiteral("ERROR -- Could not delete %@"), d);
                        logError(*e);
                    }
                }
                if (const auto e = copyPathInto(
                        *wrapper + QLatin1Char('/') + entry, parentFd, name, options.mode)) {
                    NSLog(QStringLiteral("ERROR -- Could not copy auxiliary item to %@"), d);
                    logError(*e);
                    ::close(parentFd);
                    return 2;
                }
                noteChanged(d);
            }
            if (parentFd != -1)
                ::close(parentFd);
        } else {
            const QFileInfo parentInfo(parent);
            const int grandParent = openFolder(AT_FDCWD, encoded(parentInfo.absolutePath()));
            const auto e = grandParent == -1
                ? std::optional(SystemError { "openat", errno })
                : copyPathInto(*wrapper, grandParent, encoded(parentInfo.fileName()), options.mode);
            if (grandParent != -1)
                ::close(grandParent);
            if (e) {
                NSLog(QStringLiteral("ERROR -- Could not copy wrapper to %@"), parent);
                logError(*e);
                return 2;
            }
            noteChanged(parent);
        }
    }

    // The privileged tool refuses a destination folder reached through a link.
    const int dir = options.mode == CopyMode::SystemWide ? openFolderWithoutLinks(encoded(parent))
                                                         : openFolder(AT_FDCWD, encoded(parent));
    if (dir == -1) {
        NSLog(QStringLiteral("ERROR -- Could not copy myself to %@"), destination);
        logError({ "openat", errno });
        return 2;
    }
    const QByteArray name = encoded(destinationInfo.fileName());
    trashStaleStaging(dir, parent, name, destination, options.trash);

    // The new copy is built beside the destination (same file system) and made durable first.
    const QByteArray staging = stagingPrefix(name) + QByteArray::number(::getpid()) + "-"
        + QByteArray::number(QRandomGenerator::global()->generate(), 16);
    auto failCopy = [&](const SystemError& e) {
        removeTree(dir, staging);
        ::close(dir);
        NSLog(QStringLiteral("ERROR -- Could not copy myself to %@"), destination);
        logError(e);
        return 2;
    };
    if (const auto e = copyPathInto(source, dir, staging, options.mode))
        return failCopy(*e);
    if (::syncfs(dir) != 0)
        return failCopy({ "syncfs", errno });

    const bool replacing = exists(dir, name);
    if (!replacing) {
        if (::renameat2(dir, staging.constData(), dir, name.constData(), RENAME_NOREPLACE) != 0)
            return failCopy({ "renameat2", errno });
        ::fsync(dir);
        ::close(dir);
        noteChanged(destination);
        return 0;
    }

    // One exchange puts the new copy in place; the old one now lies under the staging name.
    if (::renameat2(dir, staging.constData(), dir, name.constData(), RENAME_EXCHANGE) != 0)
        return failCopy({ "renameat2", errno });
    ::fsync(dir);
    const QString old = parent + QLatin1Char('/') + QFile::decodeName(staging);
    const bool trashed = options.trash ? options.trash(old, destination)
                                       : Workspace::shared().recycleAs(old, destination);
    if (!trashed) {
        const int saved = errno;
        // Put the old copy back where it was and drop the new one.
        if (::renameat2(dir, staging.constData(), dir, name.constData(), RENAME_EXCHANGE) == 0)
            removeTree(dir, staging);
        ::fsync(dir);
        ::close(dir);
        NSLog(QStringLiteral("ERROR -- Could not trash '%@'"), destination);
        NSLog(QStringLiteral("ERROR -- Could not trash existing %@"), destination);
        logError({ "rename to the Trash", saved });
        return 1;
    }
    ::close(dir);
    noteChanged(destination);
    return 0;
}
