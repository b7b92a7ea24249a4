#include "RZProcessNotifications.h"

#include "Platform/Foundation/NotificationQueue.h"

#include <vector>

const QString RZProcessChangeNotification = QStringLiteral("RZProcessChangeNotification");
const QString RZProcessUINotification = QStringLiteral("RZProcessUINotification");

OSStatus installApplicationStartEndHandler(const RZProcessClassInfo* info)
{
    static const std::vector<EventTypeSpec> types = {
        { kEventClassApplication, kEventAppLaunched },
        { kEventClassApplication, kEventAppTerminated },
        { kEventClassApplication, kEventAppFrontSwitched },
    };
    ApplicationEventSource& source = ApplicationEventSource::shared();
    return source.installEventHandler(source.getApplicationEventTarget(),
        ApplicationStartEndHandler, types, const_cast<RZProcessClassInfo*>(info));
}

OSStatus ApplicationStartEndHandler(EventHandlerCallRef, EventRef event, void* userData)
{
    const auto* theClass = static_cast<const RZProcessClassInfo*>(userData);
    QString change = QLatin1String("");
    switch (GetEventKind(event)) {
    case kEventAppFrontSwitched:
        change = QStringLiteral("front");
        break;
    case kEventAppTerminated:
        // The cache is clean before anyone hears of the termination.
        theClass->applicationEnded();
        change = QStringLiteral("ended");
        break;
    case kEventAppLaunched:
        theClass->applicationStarted();
        change = QStringLiteral("started");
        break;
    default:
        break;
    }
    NotificationQueue::defaultQueue().enqueueNotification(
        Notification {
            RZProcessChangeNotification, theClass, { { QStringLiteral("change"), change } } },
        PostWhenIdle);
    return noErr;
}

void notificationHandler(
    AXObserverRef, const AXElement* element, const QString& notification, void* refcon)
{
    const QVariant about
        = element ? QVariant::fromValue(*element) : QVariant(QString(QLatin1String("")));
    NotificationQueue::defaultQueue().enqueueNotification(
        Notification { RZProcessUINotification, refcon,
            { { QStringLiteral("element"), about }, { QStringLiteral("event"), notification } } },
        PostWhenIdle);
}
