// Applications folders on Linux: /opt for every user (the local domain), ~/Applications for the
// user's own applications.

#include "Platform/ApplicationsFolders.h"

#include <QDir>

#include <atomic>

namespace {
class LinuxApplicationsFolders final : public ApplicationsFolders {
public:
    QStringList localDomain() override { return { QStringLiteral("/opt") }; }
    QStringList userDomain() override
    {
        return { QDir::homePath() + QStringLiteral("/Applications") };
    }
};

LinuxApplicationsFolders linuxFolders;
std::atomic<ApplicationsFolders*> sharedFolders { nullptr };
} // namespace

ApplicationsFolders& ApplicationsFolders::shared()
{
    ApplicationsFolders* f = sharedFolders.load();
    return f ? *f : linuxFolders;
}

void ApplicationsFolders::setShared(ApplicationsFolders* folders)
{
    sharedFolders.store(folders);
}
