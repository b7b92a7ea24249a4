#pragma once
// Byte-exact copies of a folder tree with the *at() calls: names as bytes (not necessarily UTF-8),
// symbolic links as links (dangling and looping ones too), modes and times (a folder's after its
// contents). FIFOs, sockets and devices are refused. Large files go through copy_file_range (which
// shares extents where the file system can), with a read/write fallback.

#include <QByteArray>

#include <optional>

/// A failed system call, by name and errno: "openat", ENOSPC.
struct SystemError {
    const char* call;
    int error;
};

enum class CopyMode {
    AsIs, // modes as the source has them
    SystemWide, // setuid/setgid cleared, group and others never writable (the privileged tool)
};

/// Copies the item srcName in srcDir to dstName in dstDir, which must not exist. Paths are
/// relative to the folder descriptors and never follow a link in their last component.
std::optional<SystemError> copyTree(int srcDir, const QByteArray& srcName, int dstDir,
    const QByteArray& dstName, CopyMode mode = CopyMode::AsIs);

/// Removes an item and everything below it, without following links.
std::optional<SystemError> removeTree(int dir, const QByteArray& name);

/// Changes the owner of an item and everything below it, without following links.
std::optional<SystemError> chownTree(int dir, const QByteArray& name, uid_t uid, gid_t gid);

/// Opens a folder (O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC); -1 with errno set on failure.
int openFolder(int dir, const QByteArray& name);

/// Opens an absolute folder path one component at a time, refusing a symbolic link anywhere in
/// it (ELOOP), so that nobody can redirect it by swapping a component for a link.
int openFolderWithoutLinks(const QByteArray& absolutePath);
