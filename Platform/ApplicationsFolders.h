#pragma once
// Where applications are installed: the local domain (for every user) and the user's own folder.
// Abstract so tests can point them at temporary folders; the real one is LinuxApplicationsFolders
// (/opt and ~/Applications).

#include <QStringList>

class ApplicationsFolders {
public:
    virtual ~ApplicationsFolders() = default;
    virtual QStringList localDomain() = 0;
    virtual QStringList userDomain() = 0;

    static ApplicationsFolders& shared();
    static void setShared(ApplicationsFolders* folders);
};
