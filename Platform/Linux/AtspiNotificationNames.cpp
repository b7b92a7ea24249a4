// One table both ways. A listened-to type matches an event whose type is the same or continues it
// after a colon ("object:text-changed" covers "object:text-changed:insert"), as libatspi's own
// listener matching does.

#include "Platform/Linux/AtspiNotificationNames.h"

namespace {
struct Mapping {
    const char* notification;
    const char* types[3];
};

constexpr Mapping kMappings[] = {
    { "AXFocusedWindowChanged", { "window:activate" } },
    { "AXMainWindowChanged", { "window:activate" } },
    { "AXApplicationActivated", { "window:activate" } },
    { "AXApplicationDeactivated", { "window:deactivate" } },
    { "AXWindowCreated", { "window:create" } },
    { "AXWindowMoved", { "window:move" } },
    { "AXWindowResized", { "window:resize" } },
    { "AXWindowMiniaturized", { "window:minimize" } },
    { "AXWindowDeminiaturized", { "window:restore" } },
    { "AXUIElementDestroyed", { "window:destroy", "object:state-changed:defunct" } },
    { "AXTitleChanged", { "object:property-change:accessible-name" } },
    { "AXValueChanged", { "object:property-change:accessible-value", "object:text-changed" } },
    { "AXFocusedUIElementChanged", { "object:state-changed:focused" } },
    { "AXSelectedTextChanged", { "object:text-selection-changed" } },
    { "AXSelectedChildrenChanged", { "object:selection-changed" } },
    { "AXCreated", { "object:children-changed:add" } },
    { "AXRowCountChanged", { "object:row-inserted", "object:row-deleted" } },
    { "AXMenuOpened", { "object:state-changed:showing" } },
};

bool typeCovers(const QString& listened, const QString& eventType)
{
    return eventType == listened
        || (eventType.startsWith(listened) && eventType.at(listened.size()) == QLatin1Char(':'));
}
} // namespace

QStringList atspiEventTypesForNotification(const QString& notification)
{
    for (const Mapping& m : kMappings) {
        if (notification == QLatin1String(m.notification)) {
            QStringList types;
            for (const char* t : m.types) {
                if (t)
                    types << QString::fromLatin1(t);
            }
            return types;
        }
    }
    return {};
}

bool atspiEventMatchesNotification(
    const QString& eventType, int detail1, const QString& notification)
{
    if (eventType.startsWith(QLatin1String("object:state-changed:")) && detail1 == 0)
        return false;
    const QStringList types = atspiEventTypesForNotification(notification);
    return std::any_of(
        types.begin(), types.end(), [&](const QString& t) { return typeCovers(t, eventType); });
}
