#pragma once
// The accessibility interface of other applications: an element standing for an application,
// and observers that deliver notifications about changes in it (a window created, focused or
// retitled, a value changed). Abstract so tests can use FakeAccessibility; the real one is
// AtspiAccessibility (the AT-SPI2 accessibility bus through libatspi).

#include <QMetaType>
#include <QString>

#include <cstdint>
#include <sys/types.h>

using AXError = int32_t;
constexpr AXError kAXErrorSuccess = 0;
constexpr AXError kAXErrorFailure = -25200;
constexpr AXError kAXErrorIllegalArgument = -25201;
constexpr AXError kAXErrorInvalidUIElement = -25202;
constexpr AXError kAXErrorCannotComplete = -25204;
constexpr AXError kAXErrorNotificationUnsupported = -25207;
constexpr AXError kAXErrorNotificationAlreadyRegistered = -25209;
constexpr AXError kAXErrorNotificationNotRegistered = -25210;
constexpr AXError kAXErrorAPIDisabled = -25211;

/// What a notification is about: one element of another application, as a value that stays
/// valid after the notification (role and name as they were then; bus name and path identify
/// the element on the accessibility bus).
struct AXElement {
    pid_t pid = 0;
    QString role;
    QString name;
    QString busName;
    QString path;
    bool operator==(const AXElement&) const = default;
};
Q_DECLARE_METATYPE(AXElement)

struct AXUIElement;
struct AXObserver;
/// Owned references, released through the port that created them.
using AXUIElementRef = AXUIElement*;
using AXObserverRef = AXObserver*;

/// element is null when the notification is about no particular element.
using AXObserverCallback = void (*)(
    AXObserverRef observer, const AXElement* element, const QString& notification, void* refcon);

class Accessibility {
public:
    virtual ~Accessibility() = default;

    /// The element of the application with that process id; null for an impossible pid.
    virtual AXUIElementRef createApplication(pid_t pid) = 0;
    /// An observer of that process's notifications, calling callback.
    virtual AXError observerCreate(pid_t pid, AXObserverCallback callback, AXObserverRef* out) = 0;
    /// Notifications are named in the platform's terms ("AXTitleChanged").
    virtual AXError observerAddNotification(
        AXObserverRef observer, AXUIElementRef element, const QString& notification, void* refcon)
        = 0;
    virtual AXError observerRemoveNotification(
        AXObserverRef observer, AXUIElementRef element, const QString& notification)
        = 0;
    /// Delivery of an observer's callbacks on the calling thread's event loop starts and stops.
    virtual void addObserverToRunLoop(AXObserverRef observer) = 0;
    virtual void removeObserverFromRunLoop(AXObserverRef observer) = 0;
    virtual void releaseElement(AXUIElementRef element) = 0;
    virtual void releaseObserver(AXObserverRef observer) = 0;

    /// The process-wide interface: the system's unless a test installed another.
    static Accessibility& shared();
    static void setShared(Accessibility* accessibility);
};
