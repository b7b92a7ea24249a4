#include "CopyTree.h"

#include <QList>

#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {
constexpr int kMaxDepth = 256;

struct Fd {
    int fd = -1;
    explicit Fd(int f)
        : fd(f)
    {
    }
    ~Fd()
    {
        if (fd != -1)
            ::close(fd);
    }
    Fd(const Fd&) = delete;
    Fd& operator=(const Fd&) = delete;
};

std::optional<SystemError> fail(const char* call)
{
    return SystemError { call, errno };
}

mode_t modeFor(mode_t source, CopyMode mode)
{
    mode_t m = source & 07777;
    if (mode == CopyMode::SystemWide)
        m &= ~mode_t(S_ISUID | S_ISGID | S_IWGRP | S_IWOTH);
    return m;
}

/// The entries of a folder, as bytes, without "." and "..".
std::optional<std::vector<QByteArray>> listFolder(int dirFd, std::optional<SystemError>& error)
{
    const int dup = ::dup(dirFd);
    if (dup == -1) {
        error = fail("dup");
        return std::nullopt;
    }
    DIR* dir = ::fdopendir(dup);
    if (!dir) {
        error = fail("fdopendir");
        ::close(dup);
        return std::nullopt;
    }
    std::vector<QByteArray> names;
    errno = 0;
    while (const dirent* entry = ::readdir(dir)) {
        const QByteArray name(entry->d_name);
        if (name != "." && name != "..")
            names.push_back(name);
        errno = 0;
    }
    const int readError = errno;
    ::closedir(dir);
    if (readError) {
        error = SystemError { "readdir", readError };
        return std::nullopt;
    }
    return names;
}

/// Calls visit(folder, entry) for every entry of the folder (dir, name), stopping at the first
/// error.
template <class Visit>
std::optional<SystemError> forEachEntry(int dir, const QByteArray& name, Visit visit)
{
    const Fd folder(openFolder(dir, name));
    if (folder.fd == -1)
        return fail("openat");
    std::optional<SystemError> error;
    const auto names = listFolder(folder.fd, error);
    if (!names)
        return error;
    for (const QByteArray& entry : *names) {
        if (auto e = visit(folder.fd, entry))
            return e;
    }
    return std::nullopt;
}

std::optional<SystemError> copyData(int in, int out, off_t size)
{
    off_t done = 0;
    bool kernelCopy = true;
    while (done < size || !kernelCopy) {
        if (kernelCopy) {
            const ssize_t n = ::copy_file_range(in, nullptr, out, nullptr, size_t(size - done), 0);
            if (n > 0) {
                done += n;
                continue;
            }
            if (n == 0)
                break; // the file shrank under us: what is there is copied
            if (errno == EINTR)
                continue;
            if (errno != EXDEV && errno != ENOSYS && errno != EINVAL && errno != EOPNOTSUPP
                && errno != EPERM)
                return fail("copy_file_range");
            kernelCopy = false; // fall back to read/write from where we are
            if (::lseek(in, done, SEEK_SET) == -1 || ::lseek(out, done, SEEK_SET) == -1)
                return fail("lseek");
        }
        char buffer[1 << 16];
        const ssize_t n = ::read(in, buffer, sizeof buffer);
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0)
            return fail("read");
        if (n == 0)
            break;
        for (ssize_t written = 0; written < n;) {
            const ssize_t w = ::write(out, buffer + written, size_t(n - written));
            if (w < 0 && errno == EINTR)
                continue;
            if (w < 0)
                return fail("write");
            written += w;
        }
    }
    return std::nullopt;
}

std::optional<SystemError> copyItem(int srcDir, const QByteArray& srcName, int dstDir,
    const QByteArray& dstName, CopyMode mode, int depth)
{
    if (depth > kMaxDepth)
        return SystemError { "copy", ELOOP };
    struct stat st { };
    if (::fstatat(srcDir, srcName.constData(), &st, AT_SYMLINK_NOFOLLOW) != 0)
        return fail("fstatat");
    const timespec times[2] = { st.st_atim, st.st_mtim };

    if (S_ISLNK(st.st_mode)) {
        std::vector<char> target(size_t(st.st_size > 0 ? st.st_size : PATH_MAX) + 1);
        const ssize_t n
            = ::readlinkat(srcDir, srcName.constData(), target.data(), target.size() - 1);
        if (n < 0)
            return fail("readlinkat");
        target[size_t(n)] = '\0';
        if (::symlinkat(target.data(), dstDir, dstName.constData()) != 0)
            return fail("symlinkat");
        ::utimensat(dstDir, dstName.constData(), times, AT_SYMLINK_NOFOLLOW); // best effort
        return std::nullopt;
    }

    if (S_ISREG(st.st_mode)) {
        const Fd in(::openat(srcDir, srcName.constData(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
        if (in.fd == -1)
            return fail("openat");
        const Fd out(::openat(dstDir, dstName.constData(),
            O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
        if (out.fd == -1)
            return fail("openat");
        if (auto error = copyData(in.fd, out.fd, st.st_size))
            return error;
        if (::fchmod(out.fd, modeFor(st.st_mode, mode)) != 0)
            return fail("fchmod");
        if (::futimens(out.fd, times) != 0)
            return fail("futimens");
        return std::nullopt;
    }

    if (S_ISDIR(st.st_mode)) {
        const Fd in(openFolder(srcDir, srcName));
        if (in.fd == -1)
            return fail("openat");
        if (::mkdirat(dstDir, dstName.constData(), 0700) != 0)
            return fail("mkdirat");
        const Fd out(openFolder(dstDir, dstName));
        if (out.fd == -1)
            return fail("openat");
        std::optional<SystemError> error;
        const auto names = listFolder(in.fd, error);
        if (!names)
            return error;
        for (const QByteArray& name : *names) {
            if (auto e = copyItem(in.fd, name, out.fd, name, mode, depth + 1))
                return e;
        }
        // A folder's mode and times come last: writing its contents changed them.
        if (::fchmod(out.fd, modeFor(st.st_mode, mode)) != 0)
            return fail("fchmod");
        if (::futimens(out.fd, times) != 0)
            return fail("futimens");
        return std::nullopt;
    }

    return SystemError { "copy", EINVAL }; // FIFOs, sockets and devices are refused
}
} // namespace

int openFolder(int dir, const QByteArray& name)
{
    return ::openat(dir, name.constData(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
}

std::optional<SystemError> copyTree(
    int srcDir, const QByteArray& srcName, int dstDir, const QByteArray& dstName, CopyMode mode)
{
    return copyItem(srcDir, srcName, dstDir, dstName, mode, 0);
}

std::optional<SystemError> removeTree(int dir, const QByteArray& name)
{
    struct stat st { };
    if (::fstatat(dir, name.constData(), &st, AT_SYMLINK_NOFOLLOW) != 0)
        return fail("fstatat");
    if (S_ISDIR(st.st_mode)) {
        if (auto e = forEachEntry(dir, name,
                [](int folder, const QByteArray& entry) { return removeTree(folder, entry); }))
            return e;
        if (::unlinkat(dir, name.constData(), AT_REMOVEDIR) != 0)
            return fail("unlinkat");
        return std::nullopt;
    }
    if (::unlinkat(dir, name.constData(), 0) != 0)
        return fail("unlinkat");
    return std::nullopt;
}

std::optional<SystemError> chownTree(int dir, const QByteArray& name, uid_t uid, gid_t gid)
{
    if (::fchownat(dir, name.constData(), uid, gid, AT_SYMLINK_NOFOLLOW) != 0)
        return fail("fchownat");
    struct stat st { };
    if (::fstatat(dir, name.constData(), &st, AT_SYMLINK_NOFOLLOW) != 0 || !S_ISDIR(st.st_mode))
        return std::nullopt;
    return forEachEntry(dir, name, [uid, gid](int folder, const QByteArray& entry) {
        return chownTree(folder, entry, uid, gid);
    });
}

int openFolderWithoutLinks(const QByteArray& absolutePath)
{
    if (!absolutePath.startsWith('/')) {
        errno = EINVAL;
        return -1;
    }
    int fd = ::open("/", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    for (const QByteArray& component : absolutePath.split('/')) {
        if (fd == -1 || component.isEmpty())
            continue;
        const int next = openFolder(fd, component);
        const int saved = errno;
        ::close(fd);
        fd = next;
        errno = saved;
    }
    return fd;
}
