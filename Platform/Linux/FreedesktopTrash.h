#pragma once
// The freedesktop.org Trash: an item goes to the home trash ($XDG_DATA_HOME/Trash) when it lies on
// the same file system, else to the trash of its own file system ($topdir/.Trash/$uid when the
// administrator made one, else $topdir/.Trash-$uid). The item is renamed into files/ under a free
// name, with an info file saying where it came from and when, so that trash-list, gio and
// trash-restore see it and can put it back.

#include <QString>

#include <sys/types.h>

struct TrashOwner {
    uid_t uid;
    gid_t gid;
    QString home; // the owner's home folder (for the home trash)
};

/// Moves the item at path to the trash of owner (by default the current user). Returns the path it
/// now has in the trash, or an empty string with errno set when it could not be trashed; then the
/// item is where it was.
QString moveToTrash(const QString& path, const TrashOwner* owner = nullptr);

/// Like moveToTrash, but the item to move lies at `current` while the trash records it as having
/// come from `original` (the installer trashes an old copy it has just swapped out of place).
QString moveToTrashAs(
    const QString& current, const QString& original, const TrashOwner* owner = nullptr);
