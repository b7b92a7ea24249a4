// Login items on Linux are the user's XDG autostart entries: $XDG_CONFIG_HOME/autostart/*.desktop
// (default ~/.config/autostart), in file-name order. Hidden entries, entries disabled with
// X-GNOME-Autostart-enabled=false and entries whose TryExec program is missing are not items. An
// item resolves to the program its Exec line starts (looked up in PATH), or to the ".app" bundle
// that encloses that program; a damaged entry does not resolve.

#include "Platform/Foundation/Bundle.h"
#include "Platform/Foundation/DesktopEntry.h"
#include "Platform/LoginItems.h"

#include <QDir>

#include <atomic>

namespace {
class XdgAutostartLoginItems final : public LoginItems {
public:
    std::optional<QList<std::optional<QString>>> snapshot() override
    {
        QString config = qEnvironmentVariable("XDG_CONFIG_HOME");
        if (config.isEmpty() || !QDir::isAbsolutePath(config))
            config = QDir::homePath() + QStringLiteral("/.config");
        const QDir folder(config + QStringLiteral("/autostart"));
        QList<std::optional<QString>> items;
        const QStringList files = folder.entryList(
            { QStringLiteral("*.desktop") }, QDir::Files | QDir::Readable, QDir::Name);
        for (const QString& file : files) {
            const auto entry = DesktopEntry::fromFile(folder.filePath(file));
            if (entry
                && (entry->boolean(QStringLiteral("Hidden"))
                    || entry->value(QStringLiteral("X-GNOME-Autostart-enabled"))
                        == QStringLiteral("false")))
                continue;
            if (entry && entry->contains(QStringLiteral("TryExec"))
                && findExecutable(entry->value(QStringLiteral("TryExec"))).isEmpty())
                continue;
            items.append(resolve(entry));
        }
        return items;
    }

private:
    static std::optional<QString> resolve(const std::optional<DesktopEntry>& entry)
    {
        if (!entry)
            return std::nullopt;
        const auto words = DesktopEntry::splitExec(entry->value(QStringLiteral("Exec")));
        if (!words || words->isEmpty())
            return std::nullopt;
        const QString program = findExecutable(words->first());
        if (program.isEmpty())
            return std::nullopt;
        const QString bundle = Bundle::enclosingBundlePath(program);
        return bundle.isEmpty() ? program : bundle;
    }
};

XdgAutostartLoginItems xdgItems;
std::atomic<LoginItems*> sharedItems { nullptr };
} // namespace

LoginItems& LoginItems::shared()
{
    LoginItems* items = sharedItems.load();
    return items ? *items : xdgItems;
}

void LoginItems::setShared(LoginItems* items)
{
    sharedItems.store(items);
}
