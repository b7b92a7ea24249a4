// The workspace on Linux. Recycling uses the freedesktop.org Trash. Registering a bundle writes a
// desktop entry for it (name, icon, quoted Exec on its executable, StartupWMClass) into the user's
// applications folder ($XDG_DATA_HOME/applications), or the system's
// (/usr/local/share/applications) for the privileged tool (root without a data home); the entry
// for the same bundle is replaced.
// Opening a bundle starts its executable detached in its own session, so the installer quitting
// does not take it down; other files go to xdg-open, which fails (exit 3) where the desktop has no
// handler.

#include "Platform/Foundation/Bundle.h"
#include "Platform/Foundation/DesktopEntry.h"
#include "Platform/Linux/DetachedSpawn.h"
#include "Platform/Linux/FreedesktopTrash.h"
#include "Platform/Workspace.h"

#include <QDir>
#include <QFileInfo>
#include <QIcon>
#include <QMimeDatabase>
#include <QProcess>
#include <QRegularExpression>
#include <QSaveFile>

#include <atomic>
#include <unistd.h>

namespace {

bool isBundle(const QString& path)
{
    return path.endsWith(QStringLiteral(".app")) && QFileInfo(path).isDir();
}

QString iconFileOf(const Bundle& bundle)
{
    const QString name = bundle.stringForInfoDictionaryKey(QStringLiteral("CFBundleIconFile"));
    if (name.isEmpty())
        return QString();
    const QString icns = bundle.pathForResource(name, QStringLiteral("icns"));
    return icns.isEmpty() ? bundle.pathForResource(name) : icns;
}

/// Quotes one Exec argument as desktop entries want it.
QString quoteExec(const QString& arg)
{
    QString out = QStringLiteral("\"");
    for (const QChar c : arg) {
        if (c == QLatin1Char('"') || c == QLatin1Char('`') || c == QLatin1Char('$')
            || c == QLatin1Char('\\'))
            out += QLatin1Char('\\');
        if (c == QLatin1Char('%'))
            out += QLatin1Char('%');
        out += c;
    }
    return out + QLatin1Char('"');
}

QString escapeValue(QString value)
{
    return value.replace(QLatin1Char('\\'), QStringLiteral("\\\\"))
        .replace(QLatin1Char('\n'), QStringLiteral("\\n"));
}

class LinuxWorkspace final : public Workspace {
public:
    bool recycle(const QString& path) override { return !moveToTrash(path).isEmpty(); }
    bool recycleAs(const QString& current, const QString& original) override
    {
        return !moveToTrashAs(current, original).isEmpty();
    }
    void noteFileSystemChanged(const QString&) override { }

    QImage iconForFile(const QString& path) override
    {
        QImage image;
        if (isBundle(path)) {
            const QString file = iconFileOf(Bundle(path));
            if (!file.isEmpty() && image.load(file))
                return image;
        }
        if (!QFileInfo::exists(path))
            return image;
        const QMimeType type = QMimeDatabase().mimeTypeForFile(path);
        QIcon icon = QIcon::fromTheme(type.iconName(), QIcon::fromTheme(type.genericIconName()));
        if (icon.isNull() && isBundle(path))
            icon = QIcon::fromTheme(QStringLiteral("application-x-executable"));
        return icon.isNull() ? image : icon.pixmap(128, 128).toImage();
    }

    bool openFile(const QString& path) override
    {
        if (isBundle(path)) {
            const QString exe = Bundle(path).executablePath();
            return !exe.isEmpty() && spawnDetached(exe, {}) == 0;
        }
        if (!QFileInfo::exists(path))
            return false;
        QProcess open;
        open.start(QStringLiteral("xdg-open"), { path });
        return open.waitForFinished(10000) && open.exitStatus() == QProcess::NormalExit
            && open.exitCode() == 0;
    }

    OSStatus lsRegisterURL(const QString& path, bool) override
    {
        if (!isBundle(path))
            return paramErr;
        const Bundle bundle(path);
        const QString exe = bundle.executablePath();
        if (exe.isEmpty())
            return procNotFound;
        // Root without a data home of its own (the privileged tool) registers for every user.
        const bool system = ::geteuid() == 0 && qEnvironmentVariableIsEmpty("XDG_DATA_HOME");
        const QString folder = system ? QStringLiteral("/usr/local/share/applications")
                                      : dataHome() + QStringLiteral("/applications");
        QDir().mkpath(folder);
        QString id = bundle.bundleIdentifier();
        if (id.isEmpty())
            id = QStringLiteral("velkaro-") + QFileInfo(path).completeBaseName();
        id.replace(QRegularExpression(QStringLiteral("[^A-Za-z0-9._-]")), QStringLiteral("_"));
        QString name = bundle.stringForInfoDictionaryKey(QStringLiteral("CFBundleName"));
        if (name.isEmpty())
            name = QFileInfo(path).completeBaseName();
        QByteArray entry = "[Desktop Entry]\nType=Application\nVersion=1.4\n";
        entry += "Name=" + escapeValue(name).toUtf8() + "\n";
        entry += "Exec=" + quoteExec(exe).toUtf8() + "\n";
        entry += "TryExec=" + escapeValue(exe).toUtf8() + "\n";
        if (const QString icon = iconFileOf(bundle); !icon.isEmpty())
            entry += "Icon=" + escapeValue(icon).toUtf8() + "\n";
        entry += "StartupWMClass=" + escapeValue(QFileInfo(exe).fileName()).toUtf8() + "\n";
        entry += "X-Velkaro-Bundle=" + escapeValue(path).toUtf8() + "\n";
        QSaveFile file(folder + QLatin1Char('/') + id + QStringLiteral(".desktop"));
        if (!file.open(QIODevice::WriteOnly) || file.write(entry) != entry.size() || !file.commit())
            return ioErr;
        QProcess::execute(QStringLiteral("sh"),
            { QStringLiteral("-c"),
                QStringLiteral("command -v update-desktop-database >/dev/null && "
                               "update-desktop-database -q \"$0\" || true"),
                folder });
        return noErr;
    }

    QString displayNameAtPath(const QString& path) override
    {
        QString name = QFileInfo(path).fileName();
        if (name.endsWith(QStringLiteral(".app")) && isBundle(path))
            name.chop(4);
        return name;
    }

private:
    static QString dataHome()
    {
        const QString data = qEnvironmentVariable("XDG_DATA_HOME");
        return data.isEmpty() || !QDir::isAbsolutePath(data)
            ? QDir::homePath() + QStringLiteral("/.local/share")
            : data;
    }
};

LinuxWorkspace linuxWorkspace;
std::atomic<Workspace*> sharedWorkspace { nullptr };
} // namespace

Workspace& Workspace::shared()
{
    Workspace* w = sharedWorkspace.load();
    return w ? *w : linuxWorkspace;
}

void Workspace::setShared(Workspace* workspace)
{
    sharedWorkspace.store(workspace);
}
