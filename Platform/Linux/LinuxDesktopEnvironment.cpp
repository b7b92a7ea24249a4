// The desktop on Linux. The menu bar counts as hidden while the active window is full screen
// (_NET_WM_STATE_FULLSCREEN, watched on a connection of our own from the main loop). The interface
// style comes from the desktop portal's "color-scheme" setting (1: prefer dark). The idle counter
// is the X screen-saver extension's time since the last input. The control tint follows the
// palette's highlight colour. The open command starts a bundle's executable itself, as the
// system's open does, and hands anything else to xdg-open; neither is waited for.

#include "Platform/DesktopEnvironment.h"
#include "Platform/Foundation/Bundle.h"
#include "Platform/Linux/ActiveWindowWatcher.h"
#include "Platform/Linux/DesktopQueries.h"
#include "Platform/Linux/DetachedSpawn.h"
#include "Platform/Linux/EventHandlerList.h"
#include "Platform/Linux/X11Session.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QFileInfo>
#include <QGuiApplication>
#include <QPalette>
#include <QThread>

#include <atomic>
#include <cstring>
#include <memory>
#include <mutex>

namespace {
constexpr int kPortalTimeoutMs = 1000;

/// Unwraps the variants the portal's Read puts around a value (ReadOne uses one, Read two).
QVariant unwrapped(QVariant v)
{
    while (v.canConvert<QDBusVariant>() && v.typeId() == qMetaTypeId<QDBusVariant>())
        v = v.value<QDBusVariant>().variant();
    return v;
}

std::optional<uint32_t> portalColorScheme()
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return std::nullopt;
    for (const char* method : { "ReadOne", "Read" }) {
        QDBusMessage call
            = QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.portal.Desktop"),
                QStringLiteral("/org/freedesktop/portal/desktop"),
                QStringLiteral("org.freedesktop.portal.Settings"), QString::fromLatin1(method));
        call << QStringLiteral("org.freedesktop.appearance") << QStringLiteral("color-scheme");
        const QDBusMessage reply = bus.call(call, QDBus::Block, kPortalTimeoutMs);
        if (reply.type() == QDBusMessage::ReplyMessage && !reply.arguments().isEmpty()) {
            const QVariant value = unwrapped(reply.arguments().first());
            bool ok = false;
            const uint32_t scheme = value.toUInt(&ok);
            return ok ? std::optional(scheme) : std::nullopt;
        }
        // An older portal lacks ReadOne; anything else (no portal, no such key) is final.
        if (reply.errorName() != QLatin1String("org.freedesktop.DBus.Error.UnknownMethod"))
            return std::nullopt;
    }
    return std::nullopt;
}

class LinuxDesktopEnvironment final : public DesktopEnvironment {
public:
    EventTargetRef getEventDispatcherTarget() override { return this; }

    OSStatus installEventHandler(EventTargetRef target, EventHandlerProcPtr handler,
        const std::vector<EventTypeSpec>& types, void* userData) override
    {
        if (target != this || !handler)
            return paramErr;
        QCoreApplication* app = QCoreApplication::instance();
        // Without an event loop or an X display nothing would ever report the menu bar.
        if (!app || qEnvironmentVariableIsEmpty("DISPLAY"))
            return eventInternalErr;
        m_handlers.add(handler, types, userData);
        if (QThread::currentThread() == app->thread()) {
            std::call_once(m_started, [this] { m_watching = startWatcher(); });
            return m_watching ? noErr : eventInternalErr;
        }
        std::call_once(m_started, [this, app] {
            m_watching = true;
            QMetaObject::invokeMethod(
                app, [this] { m_watching = startWatcher(); }, Qt::QueuedConnection);
        });
        return noErr;
    }

    std::optional<QString> interfaceStyle() override
    {
        const auto scheme = portalColorScheme();
        if (scheme && *scheme == 1)
            return QStringLiteral("Dark");
        return std::nullopt;
    }

    std::optional<int64_t> hidIdleTime() override
    {
        const auto ms = X11Session::idleMilliseconds();
        return ms ? std::optional(int64_t(*ms) * 1000000) : std::nullopt;
    }

    int currentControlTint() override
    {
        const QPalette palette = qobject_cast<QGuiApplication*>(QCoreApplication::instance())
            ? QGuiApplication::palette()
            : QPalette();
        return controlTintForHighlight(palette.color(QPalette::Active, QPalette::Highlight));
    }

    std::optional<QString> startOpen(const QString& path) override
    {
        const bool bundle = path.endsWith(QLatin1String(".app")) && QFileInfo(path).isDir();
        if (bundle) {
            const QString exe = Bundle(path).executablePath();
            if (exe.isEmpty())
                return QStringLiteral("%1 has no executable").arg(path);
            if (const int rc = spawnDetached(exe, {}))
                return QString::fromLocal8Bit(std::strerror(rc));
            return std::nullopt;
        }
        if (const int rc = spawnDetached(QStringLiteral("xdg-open"), { path }))
            return QStringLiteral("xdg-open: %1").arg(QString::fromLocal8Bit(std::strerror(rc)));
        return std::nullopt;
    }

private:
    bool startWatcher()
    {
        m_watcher = std::make_unique<ActiveWindowWatcher>();
        return m_watcher->startWatchingFullScreen(
            [this](bool full) { dispatch(full ? kEventMenuBarHidden : kEventMenuBarShown); });
    }

    void dispatch(uint32_t kind) { m_handlers.dispatch({ kEventClassMenu, kind, 0 }); }

    EventHandlerList m_handlers;
    std::once_flag m_started;
    std::atomic<bool> m_watching { false };
    std::unique_ptr<ActiveWindowWatcher> m_watcher;
};

LinuxDesktopEnvironment* systemEnvironment()
{
    // Never destroyed: its Qt objects must not outlive the application object at exit.
    static auto* environment = new LinuxDesktopEnvironment;
    return environment;
}

std::atomic<DesktopEnvironment*> sharedEnvironment { nullptr };
} // namespace

DesktopEnvironment& DesktopEnvironment::shared()
{
    DesktopEnvironment* e = sharedEnvironment.load();
    return e ? *e : *systemEnvironment();
}

void DesktopEnvironment::setShared(DesktopEnvironment* environment)
{
    sharedEnvironment.store(environment);
}
