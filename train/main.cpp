// train: the privileged copy tool. pkexec runs it as root with exactly
//   train <source> <destination> [<wrapper>]
// It copies the way the installer does (the same code), into a place the user could not write,
// and reports only by its exit status: 0 copied, 2 bad arguments, 3 the old copy could not be
// trashed (it is back in place), 4 the copy failed. Never 126 or 127, which are pkexec's own.
// It trusts nothing from the environment but PKEXEC_UID (the user who asked), runs no shell, and
// opens the destination folder without following links.

#include "InstallApplication.h"
#include "Platform/Foundation/Log.h"
#include "Platform/Linux/FreedesktopTrash.h"

#include <QFile>
#include <QFileInfo>

#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {
constexpr int kBadArguments = 2;
constexpr int kNotTrashed = 3;
constexpr int kCopyFailed = 4;

/// An absolute path without "." or ".." components, empty components, or control characters.
bool acceptablePath(const char* arg)
{
    const size_t length = std::strlen(arg);
    if (length < 2 || length >= PATH_MAX || arg[0] != '/')
        return false;
    for (size_t i = 0; i < length; ++i) {
        if (static_cast<unsigned char>(arg[i]) < 0x20 || arg[i] == 0x7f)
            return false;
    }
    for (const QByteArray& component : QByteArray(arg).split('/').mid(1)) {
        if (component.isEmpty() || component == "." || component == "..")
            return false;
    }
    return true;
}
} // namespace

int main(int argc, char* argv[])
{
    ::umask(022);
    if (argc != 3 && argc != 4) {
        NSLog(QStringLiteral("train: usage: train source destination [wrapper]"));
        return kBadArguments;
    }
    for (int i = 1; i < argc; ++i) {
        if (!acceptablePath(argv[i])) {
            NSLog(QStringLiteral("train: refusing argument %d"), i);
            return kBadArguments;
        }
    }
    const QString source = QFile::decodeName(argv[1]);
    const QString destination = QFile::decodeName(argv[2]);
    const std::optional<QString> wrapper
        = argc == 4 ? std::optional(QFile::decodeName(argv[3])) : std::nullopt;
    struct stat st { };
    const QByteArray parent = QFile::encodeName(QFileInfo(destination).path());
    if (::lstat(parent.constData(), &st) != 0 || !S_ISDIR(st.st_mode)
        || ::lstat(argv[1], &st) != 0) {
        NSLog(QStringLiteral("train: the source or the destination's folder is missing"));
        return kBadArguments;
    }

    // The old copy goes to the trash of the user who asked, and is handed to that user.
    TrashOwner owner { 0, 0, QStringLiteral("/root") };
    if (const char* uid = std::getenv("PKEXEC_UID")) {
        char* end = nullptr;
        const long value = std::strtol(uid, &end, 10);
        if (const passwd* pw
            = (end && *end == '\0' && value >= 0) ? ::getpwuid(uid_t(value)) : nullptr)
            owner = { pw->pw_uid, pw->pw_gid, QFile::decodeName(pw->pw_dir) };
    }
    InstallOptions options;
    options.mode = CopyMode::SystemWide;
    options.noteChanged = [](const QString&) {};
    options.trash = [&owner](const QString& current, const QString& original) {
        const QString trashed = moveToTrashAs(current, original, &owner);
        if (trashed.isEmpty())
            return false;
        if (owner.uid != 0)
            chownTree(AT_FDCWD, QFile::encodeName(trashed), owner.uid, owner.gid);
        return true;
    };
    switch (InstallApplication(source, destination, wrapper, options)) {
    case 0:
        return 0;
    case 1:
        return kNotTrashed;
    default:
        return kCopyFailed;
    }
}
