#pragma once
// The notification side of RZProcess: launches, terminations and front switches anywhere on the
// system become "RZProcessChangeNotification", sent by the class with {"change": word}; the
// accessibility notifications a caller subscribes to for one application become
// "RZProcessUINotification", sent by that application's object with {"element", "event"}. Both
// are enqueued on the main thread's default notification queue, to be posted when the current
// pass of the event loop ends; several waiting at once from the same sender are posted as one.
//
// RZProcess takes this in as its base (class RZProcess : public RZProcessNotifications<RZProcess>),
// which gives it the class operations installNotifications, applicationStarted, applicationEnded,
// applicationLaunchEndCount and the accessibility operations on each object. The class provides
// static cleanupCache(), and per object unixPID() and description().

#include "Platform/Accessibility.h"
#include "Platform/ApplicationEvents.h"
#include "Platform/Foundation/Log.h"
#include "Platform/Foundation/NotificationCenter.h"

#include <atomic>

extern const QString RZProcessChangeNotification;
extern const QString RZProcessUINotification;

/// The class as the launch/quit handler sees it: its user data, and the sender of the
/// notification. It says what to do on a launch and on a termination.
struct RZProcessClassInfo {
    void (*applicationStarted)();
    void (*applicationEnded)();
};

/// Handles one launch (kind 5), termination (6) or front switch (7) event; userData is the class
/// (its RZProcessClassInfo, which also sends the notification). Answers 0.
OSStatus ApplicationStartEndHandler(EventHandlerCallRef call, EventRef event, void* userData);

/// Turns one accessibility notification into "RZProcessUINotification"; refcon is the object.
void notificationHandler(
    AXObserverRef observer, const AXElement* element, const QString& notification, void* refcon);

/// Installs ApplicationStartEndHandler for the three application event kinds, with info as user
/// data; the status is the event source's.
OSStatus installApplicationStartEndHandler(const RZProcessClassInfo* info);

template <class Process> class RZProcessNotifications {
public:
    /// Installs the launch/quit handler once per program run. The flag stays set when installing
    /// fails: without events the cache is only cleaned less often, and trying again on every
    /// lookup would not help.
    static void installNotifications()
    {
        if (notificationsInstalled.exchange(true))
            return;
        installApplicationStartEndHandler(&classInfo);
    }
    static void applicationStarted() { ++appLaunchEndCount; }
    static void applicationEnded()
    {
        Process::cleanupCache();
        ++appLaunchEndCount;
    }
    /// Grows on every launch and termination: two readings differ when one happened in between.
    static int applicationLaunchEndCount() { return appLaunchEndCount.load(); }
    /// The class itself: the launch/quit handler's user data and the notification's sender.
    static const RZProcessClassInfo* classObject() { return &classInfo; }

    /// Creates the accessibility element and observer once; a failure is logged and not retried.
    void installAXObserver()
    {
        if (axAppElem)
            return;
        Process& self = static_cast<Process&>(*this);
        const pid_t pid = self.unixPID();
        Accessibility& ax = Accessibility::shared();
        axAppElem = ax.createApplication(pid);
        if (!axAppElem) {
            NSLog(QStringLiteral("AX Notifications: Could not create application object for %@"),
                self.description());
            return;
        }
        if (ax.observerCreate(pid, notificationHandler, &axObserver) != kAXErrorSuccess) {
            axObserver = nullptr;
            NSLog(QStringLiteral("AX Notifications: Could not create observer for %@"),
                self.description());
            return;
        }
        ax.addObserverToRunLoop(axObserver);
    }
    /// Subscribes to a notification named in the platform's terms ("AXTitleChanged").
    void addAXNotification(const QString& notification)
    {
        installAXObserver();
        const AXError status = Accessibility::shared().observerAddNotification(
            axObserver, axAppElem, notification, static_cast<Process*>(this));
        if (status != kAXErrorSuccess)
            NSLog(QStringLiteral("AX Notifications: Could not add notification %@ for %@"),
                notification, static_cast<Process&>(*this).description());
    }
    void removeAXNotification(const QString& notification)
    {
        if (axObserver)
            Accessibility::shared().observerRemoveNotification(axObserver, axAppElem, notification);
    }
    /// Releases the element and the observer, on the thread whose event loop the observer was
    /// added to.
    void unregisterAXNotifications()
    {
        Accessibility& ax = Accessibility::shared();
        if (axAppElem) {
            ax.releaseElement(axAppElem);
            axAppElem = nullptr;
        }
        if (axObserver) {
            ax.removeObserverFromRunLoop(axObserver);
            ax.releaseObserver(axObserver);
            axObserver = nullptr;
        }
    }

protected:
    RZProcessNotifications() = default;
    /// The class's own destructor unregisters first; this catches a class that forgot.
    ~RZProcessNotifications() { unregisterAXNotifications(); }

    AXUIElementRef axAppElem = nullptr;
    AXObserverRef axObserver = nullptr;

private:
    static inline std::atomic<bool> notificationsInstalled { false };
    static inline std::atomic<int> appLaunchEndCount { 0 };
    static inline const RZProcessClassInfo classInfo { &RZProcessNotifications::applicationStarted,
        &RZProcessNotifications::applicationEnded };
};
