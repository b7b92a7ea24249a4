// Accessibility on Linux: the AT-SPI2 bus through libatspi. An application's element stands for
// its process id; an observer is one libatspi event listener, registered for the AT-SPI event
// types its subscribed notifications map to (AtspiNotificationNames), that passes on only events
// whose source belongs to its process. libatspi talks D-Bus on GLib's default main context, which
// Qt's event loop on the main thread runs, so callbacks arrive there.
//
// Before libatspi is started for the first time, the accessibility bus is looked for without
// its help (AT_SPI_BUS_ADDRESS, else the session bus's org.a11y.Bus): libatspi would otherwise
// warn, or have D-Bus launch a session bus of its own, when there is none.

// GLib's headers go before Qt's, whose "signals" keyword would clash with them.
#include <atspi/atspi.h>

#include "Platform/Accessibility.h"
#include "Platform/Linux/AtspiNotificationNames.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusReply>
#include <QFileInfo>
#include <QHash>
#include <QMap>
#include <QUuid>

#include <atomic>
#include <csignal>
#include <memory>

struct AXUIElement {
    pid_t pid;
};

struct AXObserver {
    struct Subscription {
        void* refcon;
        QStringList types;
    };
    pid_t pid = 0;
    AXObserverCallback callback = nullptr;
    AtspiEventListener* listener = nullptr;
    QMap<QString, Subscription> subscriptions; // by notification name
    QHash<QString, int> typeUses; // AT-SPI types registered with the listener
    bool delivering = false;
};

namespace {
bool g_atspiStarted = false;

QString sessionBusAddress()
{
    const QString address = qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS");
    if (!address.isEmpty())
        return address;
    const QString runtime = qEnvironmentVariable("XDG_RUNTIME_DIR");
    if (!runtime.isEmpty() && QFileInfo::exists(runtime + QStringLiteral("/bus")))
        return QStringLiteral("unix:path=") + runtime + QStringLiteral("/bus");
    return {};
}

bool busAnswers(const QString& address)
{
    const QString name = QStringLiteral("a11y-probe-") + QUuid::createUuid().toString(QUuid::Id128);
    QDBusConnection bus = QDBusConnection::connectToBus(address, name);
    const bool ok = bus.isConnected();
    QDBusConnection::disconnectFromBus(name);
    return ok;
}

QString accessibilityBusAddress()
{
    const QString direct = qEnvironmentVariable("AT_SPI_BUS_ADDRESS");
    if (!direct.isEmpty())
        return direct;
    const QString session = sessionBusAddress();
    if (session.isEmpty())
        return {};
    const QString name
        = QStringLiteral("a11y-session-") + QUuid::createUuid().toString(QUuid::Id128);
    QString address;
    {
        QDBusConnection bus = QDBusConnection::connectToBus(session, name);
        if (bus.isConnected()) {
            QDBusMessage call = QDBusMessage::createMethodCall(QStringLiteral("org.a11y.Bus"),
                QStringLiteral("/org/a11y/bus"), QStringLiteral("org.a11y.Bus"),
                QStringLiteral("GetAddress"));
            const QDBusReply<QString> reply = bus.call(call, QDBus::Block, 3000);
            if (reply.isValid())
                address = reply.value();
        }
    }
    QDBusConnection::disconnectFromBus(name);
    return address;
}

bool accessibilityBusRuns()
{
    if (g_atspiStarted) {
        DBusConnection* bus = atspi_get_a11y_bus();
        return bus && dbus_connection_get_is_connected(bus);
    }
    const QString address = accessibilityBusAddress();
    if (address.isEmpty() || !busAnswers(address))
        return false;
    const int status = atspi_init();
    g_atspiStarted = status == 0 || status == 1;
    return g_atspiStarted && atspi_get_a11y_bus();
}

bool processExists(pid_t pid)
{
    return pid > 0 && (::kill(pid, 0) == 0 || errno == EPERM);
}

/// The process behind an accessible's bus connection, asked once per connection.
pid_t processOf(AtspiAccessible* accessible)
{
    static QHash<QString, pid_t> byBusName;
    if (!accessible)
        return 0;
    const AtspiObject* object = ATSPI_OBJECT(accessible);
    const QString busName = object->app && object->app->bus_name
        ? QString::fromUtf8(object->app->bus_name)
        : QString();
    if (!busName.isEmpty()) {
        if (auto it = byBusName.constFind(busName); it != byBusName.constEnd())
            return *it;
    }
    GError* error = nullptr;
    const pid_t pid = pid_t(atspi_accessible_get_process_id(accessible, &error));
    if (error) {
        g_error_free(error);
        return 0;
    }
    if (!busName.isEmpty())
        byBusName.insert(busName, pid);
    return pid;
}

QString takeString(gchar* s)
{
    const QString result = QString::fromUtf8(s);
    g_free(s);
    return result;
}

AXElement describe(AtspiAccessible* accessible, pid_t pid)
{
    AXElement element;
    element.pid = pid;
    const AtspiObject* object = ATSPI_OBJECT(accessible);
    element.busName = object->app ? QString::fromUtf8(object->app->bus_name) : QString();
    element.path = QString::fromUtf8(object->path);
    element.role = takeString(atspi_accessible_get_role_name(accessible, nullptr));
    element.name = takeString(atspi_accessible_get_name(accessible, nullptr));
    return element;
}

void onEvent(AtspiEvent* event, void* data)
{
    auto* observer = static_cast<AXObserver*>(data);
    const pid_t pid = processOf(event->source);
    if (!observer->delivering || pid != observer->pid) {
        g_boxed_free(ATSPI_TYPE_EVENT, event);
        return;
    }
    const QString type = QString::fromUtf8(event->type);
    QList<std::pair<QString, void*>> matching;
    for (auto it = observer->subscriptions.cbegin(); it != observer->subscriptions.cend(); ++it) {
        if (atspiEventMatchesNotification(type, event->detail1, it.key()))
            matching.append({ it.key(), it->refcon });
    }
    if (!matching.isEmpty()) {
        const std::optional<AXElement> element
            = event->source ? std::optional(describe(event->source, pid)) : std::nullopt;
        const AXObserverCallback callback = observer->callback;
        for (const auto& [name, refcon] : matching)
            callback(observer, element ? &*element : nullptr, name, refcon);
    }
    g_boxed_free(ATSPI_TYPE_EVENT, event);
}

class AtspiAccessibility final : public Accessibility {
public:
    AXUIElementRef createApplication(pid_t pid) override
    {
        return pid > 0 ? new AXUIElement { pid } : nullptr;
    }

    AXError observerCreate(pid_t pid, AXObserverCallback callback, AXObserverRef* out) override
    {
        if (!out || !callback || pid <= 0)
            return kAXErrorIllegalArgument;
        *out = nullptr;
        if (!processExists(pid))
            return kAXErrorIllegalArgument;
        if (!accessibilityBusRuns())
            return kAXErrorAPIDisabled;
        auto* observer = new AXObserver;
        observer->pid = pid;
        observer->callback = callback;
        observer->listener = atspi_event_listener_new(onEvent, observer, nullptr);
        *out = observer;
        return kAXErrorSuccess;
    }

    AXError observerAddNotification(AXObserverRef observer, AXUIElementRef element,
        const QString& notification, void* refcon) override
    {
        if (!observer || !element || element->pid != observer->pid)
            return kAXErrorIllegalArgument;
        if (observer->subscriptions.contains(notification))
            return kAXErrorNotificationAlreadyRegistered;
        const QStringList types = atspiEventTypesForNotification(notification);
        if (types.isEmpty())
            return kAXErrorNotificationUnsupported;
        for (const QString& type : types) {
            if (observer->typeUses[type]++ > 0)
                continue;
            GError* error = nullptr;
            if (!atspi_event_listener_register(
                    observer->listener, type.toUtf8().constData(), &error)) {
                if (error)
                    g_error_free(error);
                observer->typeUses.remove(type);
                return kAXErrorCannotComplete;
            }
        }
        observer->subscriptions.insert(notification, { refcon, types });
        return kAXErrorSuccess;
    }

    AXError observerRemoveNotification(
        AXObserverRef observer, AXUIElementRef element, const QString& notification) override
    {
        if (!observer || !element)
            return kAXErrorIllegalArgument;
        const auto it = observer->subscriptions.find(notification);
        if (it == observer->subscriptions.end())
            return kAXErrorNotificationNotRegistered;
        for (const QString& type : it->types)
            release(observer, type);
        observer->subscriptions.erase(it);
        return kAXErrorSuccess;
    }

    void addObserverToRunLoop(AXObserverRef observer) override
    {
        if (observer)
            observer->delivering = true;
    }

    void removeObserverFromRunLoop(AXObserverRef observer) override
    {
        if (observer)
            observer->delivering = false;
    }

    void releaseElement(AXUIElementRef element) override { delete element; }

    void releaseObserver(AXObserverRef observer) override
    {
        if (!observer)
            return;
        const QStringList types = observer->typeUses.keys();
        for (const QString& type : types) {
            observer->typeUses[type] = 1;
            release(observer, type);
        }
        g_object_unref(observer->listener);
        delete observer;
    }

private:
    static void release(AXObserverRef observer, const QString& type)
    {
        if (--observer->typeUses[type] > 0)
            return;
        observer->typeUses.remove(type);
        atspi_event_listener_deregister(observer->listener, type.toUtf8().constData(), nullptr);
    }
};

AtspiAccessibility* systemAccessibility()
{
    static auto* accessibility = new AtspiAccessibility;
    return accessibility;
}

std::atomic<Accessibility*> sharedAccessibility { nullptr };
} // namespace

Accessibility& Accessibility::shared()
{
    Accessibility* a = sharedAccessibility.load();
    return a ? *a : *systemAccessibility();
}

void Accessibility::setShared(Accessibility* accessibility)
{
    sharedAccessibility.store(accessibility);
}
