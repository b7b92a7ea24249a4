#pragma once
// The desktop's workspace: the Trash, file-system change notes, icons, opening files, registering
// applications with the desktop, display names. Abstract so tests can use FakeWorkspace; the real
// one is LinuxWorkspace (freedesktop.org Trash, desktop entries, detached launches, xdg-open).

#include "Platform/MacTypes.h"

#include <QImage>
#include <QString>

class Workspace {
public:
    virtual ~Workspace() = default;
    /// Moves an item to the Trash; false (and the item where it was) when it cannot.
    virtual bool recycle(const QString& path) = 0;
    /// The installer moved an old copy out of the way to `current`; trash it as `original`.
    virtual bool recycleAs(const QString& current, const QString& original) = 0;
    virtual void noteFileSystemChanged(const QString& path) = 0;
    /// The icon of a file: a bundle's own icon, else the desktop's icon for its type.
    virtual QImage iconForFile(const QString& path) = 0;
    /// Opens a file with its default application; a bundle is started itself. False on failure.
    virtual bool openFile(const QString& path) = 0;
    /// Makes an application bundle known to the desktop (its desktop entry). 0 on success.
    virtual OSStatus lsRegisterURL(const QString& path, bool update) = 0;
    virtual QString displayNameAtPath(const QString& path) = 0;

    static Workspace& shared();
    static void setShared(Workspace* workspace);
};
