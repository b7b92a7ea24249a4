// Where the product goes: the destination at start-up, the write-access tests, and the display
// form of a path.

#include "InstallerWinController.h"

#include "Platform/ApplicationsFolders.h"
#include "Platform/Foundation/Log.h"
#include "Platform/Foundation/OSTypeCode.h"
#include "Platform/LoginItems.h"
#include "RZInstallerInterface.h"

#include <QDir>
#include <QFileInfo>
#include <QLabel>

#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

namespace {
QString parentFolder(const QString& path)
{
    return QFileInfo(path).path();
}
QString lastComponent(const QString& path)
{
    return QFileInfo(path).fileName();
}
bool fileExists(const QString& path)
{
    return QFileInfo::exists(path) || QFileInfo(path).isSymLink();
}
} // namespace

void InstallerWinController::settleDestination()
{
    std::optional<QString> candidate;
    if (hasArgument(RZInstallerKeyDestinationPath))
        candidate = argument(RZInstallerKeyDestinationPath);
    else
        candidate = findPreferredDestinationFor(argument(RZInstallerKeyProductName));

    const QString source = argument(RZInstallerKeySourcePath);
    QString destination;
    if (candidate && QFileInfo(parentFolder(*candidate)).isDir())
        destination = *candidate;
    else
        destination = applicationsDirectory() + QLatin1Char('/') + lastComponent(source);

    if (hasArgument(RZInstallerKeyWrapperPath)) {
        const QString wrapper = argument(RZInstallerKeyWrapperPath);
        if (wrapper.startsWith(parentFolder(source)) && fileExists(wrapper)) {
            NSLog(QStringLiteral("wrapper = %@"), wrapper);
            const QString w = lastComponent(wrapper);
            const QString p = parentFolder(destination);
            if (lastComponent(p) != w)
                destination
                    = p + QLatin1Char('/') + w + QLatin1Char('/') + lastComponent(destination);
        } else {
            arguments->remove(RZInstallerKeyWrapperPath);
        }
    }
    arguments->insert(RZInstallerKeyDestinationPath, destination);
    pathField->setText(localizedPath(destination));
}

bool InstallerWinController::signatureIsInArray(
    OSType signature, const std::optional<QStringList>& array)
{
    if (!array || array->size() < 1)
        return false;
    for (const QString& code : *array) {
        if (UTGetOSTypeFromString(code) == signature)
            return true;
    }
    return false;
}

bool InstallerWinController::isInUnsupportedFolder(const std::optional<QString>& path)
{
    if (!path)
        return false;
    const QString& p = *path;
    return (p.contains(QStringLiteral("/build")) && p.contains(QStringLiteral("/qor/")))
        || (p.contains(QStringLiteral("/Volumes/")) && p.contains(QStringLiteral("-Install")))
        || p.contains(QStringLiteral("/Trash/")) || p.contains(QStringLiteral("/.Trash/"));
}

std::optional<QString> InstallerWinController::autoLaunchPathFor(const QString& name) const
{
    const auto items = LoginItems::shared().snapshot();
    if (!items || items->isEmpty())
        return std::nullopt;
    for (const auto& item : *items) {
        if (item && lastComponent(*item).startsWith(name))
            return *item;
    }
    return std::nullopt;
}

std::optional<QString> InstallerWinController::findPreferredDestinationFor(
    const QString& name) const
{
    const auto autoLaunch = autoLaunchPathFor(name);
    NSLog(QStringLiteral("autolaunch = %@"), autoLaunch);
    if (!autoLaunch || isInUnsupportedFolder(autoLaunch))
        return pathToProcessToReplace();
    return autoLaunch;
}

QString InstallerWinController::applicationsDirectory() const
{
    const QStringList local = ApplicationsFolders::shared().localDomain();
    const QString localFolder = local.isEmpty() ? QString() : local.last();
    if (!localFolder.isEmpty() && canWriteToFileOrDirectory(localFolder))
        return localFolder;
    NSLog(QStringLiteral("Can't write to /Applications, checking ~/Applications"));
    const QStringList user = ApplicationsFolders::shared().userDomain();
    const QString userFolder = user.isEmpty() ? QString() : user.last();
    NSLog(QStringLiteral("User applicationsDirectory: %@"),
        user.isEmpty() ? QVariant() : QVariant(userFolder));
    if (userFolder.isEmpty())
        return localFolder;
    return canWriteToFileOrDirectory(userFolder) ? userFolder : localFolder;
}

bool InstallerWinController::canWriteToFileOrDirectory(const QString& path) const
{
    // The writability test for the current user; a missing item is not writable. access(2) also
    // answers no for read-only mounts and immutable files.
    return !path.isEmpty() && ::access(QFile::encodeName(path).constData(), W_OK) == 0;
}

bool InstallerWinController::canWriteToPath(const QString& path) const
{
    if (fileExists(path) && !canWriteToFileOrDirectory(path)) {
        NSLog(QStringLiteral("Cannot write to item %@"), path);
        return false;
    }
    QString folder = parentFolder(path);
    while (folder.size() >= 2 && !fileExists(folder))
        folder = parentFolder(folder);
    if (canWriteToFileOrDirectory(folder))
        return true;
    NSLog(QStringLiteral("Cannot write to folder %@"), folder);
    return false;
}

bool InstallerWinController::canWriteToFile(const QString& path) const
{
    const int fd = ::open(QFile::encodeName(path).constData(), O_RDWR | O_CLOEXEC);
    if (fd == -1)
        return false;
    ::close(fd);
    return true;
}

bool InstallerWinController::canWriteToDirectory(const QString& path) const
{
    QString probe = path + QLatin1Char('/')
        + stringWithFormat(QStringLiteral("temp-%X"), qulonglong(::random()));
    // Retries take their names from the other generator.
    while (fileExists(probe))
        probe = path + QLatin1Char('/')
            + stringWithFormat(QStringLiteral("temp-%X"), qulonglong(std::rand()));
    const QByteArray name = QFile::encodeName(probe);
    const int fd = ::open(name.constData(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (fd == -1)
        return false;
    ::close(fd);
    ::unlink(name.constData());
    return true;
}

QString InstallerWinController::localizedPath(const QString& path) const
{
    QString abbreviated = path;
    const QString home = QDir::homePath();
    if (abbreviated == home)
        abbreviated = QStringLiteral("~");
    else if (abbreviated.startsWith(home + QLatin1Char('/')))
        abbreviated = QStringLiteral("~") + abbreviated.mid(home.size());
    return recursiveLocalizedPath(abbreviated);
}

QString InstallerWinController::recursiveLocalizedPath(const QString& path) const
{
    if (path.size() < 3)
        return path;
    QString expanded = path;
    if (expanded.startsWith(QStringLiteral("~/")))
        expanded = QDir::homePath() + expanded.mid(1);
    QString parent = parentFolder(path);
    QString shown = recursiveLocalizedPath(parent);
    // The display name: the file name, with ".app" hidden for an application bundle.
    QString name = lastComponent(expanded);
    if (name.endsWith(QStringLiteral(".app")) && QFileInfo(expanded).isDir())
        name.chop(4);
    return shown.endsWith(QLatin1Char('/')) ? shown + name : shown + QLatin1Char('/') + name;
}
