#include "Platform/Linux/FreedesktopTrash.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QUrl>

#include <cerrno>
#include <fcntl.h>
#include <mntent.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

QByteArray bytes(const QString& path)
{
    return QFile::encodeName(path);
}

bool makeFolder(const QString& path, mode_t mode, const TrashOwner& owner)
{
    struct stat st { };
    if (::lstat(bytes(path).constData(), &st) == 0)
        return S_ISDIR(st.st_mode) && st.st_uid == owner.uid;
    if (::mkdir(bytes(path).constData(), mode) != 0)
        return false;
    if (::geteuid() == 0 && owner.uid != 0
        && ::chown(bytes(path).constData(), owner.uid, owner.gid) != 0)
        return false;
    return true;
}

bool prepareTrash(const QString& trash, const TrashOwner& owner)
{
    return makeFolder(trash, 0700, owner)
        && makeFolder(trash + QStringLiteral("/files"), 0700, owner)
        && makeFolder(trash + QStringLiteral("/info"), 0700, owner);
}

/// The mount point of the file system that holds path (the longest matching mount).
QString mountPointOf(const QString& path)
{
    struct stat item { };
    if (::lstat(bytes(path).constData(), &item) != 0)
        return QString();
    QString best = QStringLiteral("/");
    FILE* mounts = ::setmntent("/proc/self/mounts", "r");
    if (!mounts)
        return best;
    while (const mntent* m = ::getmntent(mounts)) {
        const QString dir = QFile::decodeName(m->mnt_dir);
        struct stat st { };
        if (::stat(m->mnt_dir, &st) == 0 && st.st_dev == item.st_dev
            && (path == dir || path.startsWith(dir + QLatin1Char('/'))
                || dir == QStringLiteral("/"))
            && dir.size() >= best.size())
            best = dir;
    }
    ::endmntent(mounts);
    return best;
}

/// Reserves a free name in info/ with an exclusive create, writes the info file, and moves the
/// item.
QString moveInto(const QString& trash, const QString& current, const QString& recordedPath,
    const TrashOwner& owner)
{
    const QString base = QFileInfo(recordedPath).fileName();
    for (int n = 1; n < 10000; ++n) {
        const QString name = n == 1 ? base : QStringLiteral("%1.%2").arg(base).arg(n);
        const QString info = trash + QStringLiteral("/info/") + name + QStringLiteral(".trashinfo");
        const int fd = ::open(
            bytes(info).constData(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
        if (fd == -1) {
            if (errno == EEXIST)
                continue;
            return QString();
        }
        const QByteArray text = "[Trash Info]\nPath=" + QUrl::toPercentEncoding(recordedPath, "/")
            + "\nDeletionDate="
            + QDateTime::currentDateTime()
                  .toString(QStringLiteral("yyyy-MM-ddTHH:mm:ss"))
                  .toLatin1()
            + "\n";
        const bool written
            = ::write(fd, text.constData(), size_t(text.size())) == ssize_t(text.size());
        if (::geteuid() == 0 && owner.uid != 0)
            (void)::fchown(fd, owner.uid, owner.gid);
        ::close(fd);
        const QString target = trash + QStringLiteral("/files/") + name;
        if (!written
            || ::renameat2(AT_FDCWD, bytes(current).constData(), AT_FDCWD,
                   bytes(target).constData(), RENAME_NOREPLACE)
                != 0) {
            const int saved = errno;
            ::unlink(bytes(info).constData());
            if (saved == EEXIST)
                continue; // a stray item in files/ without its info file: take the next name
            errno = saved;
            return QString();
        }
        return target;
    }
    errno = EEXIST;
    return QString();
}

} // namespace

QString moveToTrash(const QString& path, const TrashOwner* owner)
{
    return moveToTrashAs(path, path, owner);
}

QString moveToTrashAs(const QString& current, const QString& original, const TrashOwner* given)
{
    const TrashOwner self { ::getuid(), ::getgid(), QDir::homePath() };
    const TrashOwner& owner = given ? *given : self;
    QString dataHome = given ? QString() : qEnvironmentVariable("XDG_DATA_HOME");
    if (dataHome.isEmpty() || !QDir::isAbsolutePath(dataHome))
        dataHome = owner.home + QStringLiteral("/.local/share");

    // The home trash, when the item is on the same file system as the home folder.
    struct stat item {
    }, home {};
    if (::lstat(bytes(current).constData(), &item) != 0)
        return QString();
    QDir().mkpath(dataHome);
    const QString homeTrash = dataHome + QStringLiteral("/Trash");
    if (::stat(bytes(dataHome).constData(), &home) == 0 && home.st_dev == item.st_dev
        && prepareTrash(homeTrash, owner)) {
        const QString moved = moveInto(homeTrash, current, original, owner);
        if (!moved.isEmpty() || errno != EXDEV)
            return moved;
    }

    // The item's own file system: $topdir/.Trash/$uid (sticky, not a link), else
    // $topdir/.Trash-$uid.
    const QString top = mountPointOf(current);
    if (top.isEmpty())
        return QString();
    const QString relative = top == QStringLiteral("/") ? original : original.mid(top.size());
    const QString shared = top + QStringLiteral("/.Trash");
    struct stat st { };
    if (::lstat(bytes(shared).constData(), &st) == 0 && S_ISDIR(st.st_mode)
        && (st.st_mode & S_ISVTX)) {
        const QString userTrash = shared + QLatin1Char('/') + QString::number(owner.uid);
        if (prepareTrash(userTrash, owner)) {
            const QString moved = moveInto(userTrash, current,
                relative.startsWith(QLatin1Char('/')) ? relative.mid(1) : relative, owner);
            if (!moved.isEmpty())
                return moved;
        }
    }
    const QString ownTrash = top + QStringLiteral("/.Trash-") + QString::number(owner.uid);
    if (!prepareTrash(ownTrash, owner))
        return QString();
    return moveInto(ownTrash, current,
        relative.startsWith(QLatin1Char('/')) ? relative.mid(1) : relative, owner);
}
