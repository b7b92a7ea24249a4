#pragma once
// Accessibility on demand: records every call in order ("observerCreate 42", "addNotification
// AXTitleChanged", ...), can be told to fail creating the element or the observer, and delivers
// notifications a test asks for to the observers that subscribed to them and are on a run loop.

#include "Platform/Accessibility.h"

#include <QMap>
#include <QStringList>

class FakeAccessibility final : public Accessibility {
public:
    FakeAccessibility();
    ~FakeAccessibility() override;

    QStringList calls;
    bool failCreateApplication = false;
    AXError observerCreateStatus = kAXErrorSuccess;
    int liveElements = 0;
    int liveObservers = 0;

    AXUIElementRef createApplication(pid_t pid) override;
    AXError observerCreate(pid_t pid, AXObserverCallback callback, AXObserverRef* out) override;
    AXError observerAddNotification(AXObserverRef observer, AXUIElementRef element,
        const QString& notification, void* refcon) override;
    AXError observerRemoveNotification(
        AXObserverRef observer, AXUIElementRef element, const QString& notification) override;
    void addObserverToRunLoop(AXObserverRef observer) override;
    void removeObserverFromRunLoop(AXObserverRef observer) override;
    void releaseElement(AXUIElementRef element) override;
    void releaseObserver(AXObserverRef observer) override;

    /// Calls back every observer of pid that subscribed to notification and is on a run loop;
    /// answers how many were called.
    int deliver(pid_t pid, const QString& notification, const AXElement* element);

private:
    struct Observer {
        pid_t pid;
        AXObserverCallback callback;
        QMap<QString, void*> subscriptions;
        bool onRunLoop = false;
    };
    QList<Observer*> m_observers;
};
