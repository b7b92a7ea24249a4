#include "FakeAccessibility.h"

namespace {
// The fake's elements and observers are its own structures behind the port's opaque handles.
struct FakeElement {
    pid_t pid;
};
} // namespace

FakeAccessibility::FakeAccessibility()
{
    Accessibility::setShared(this);
}

FakeAccessibility::~FakeAccessibility()
{
    Accessibility::setShared(nullptr);
    qDeleteAll(m_observers);
}

AXUIElementRef FakeAccessibility::createApplication(pid_t pid)
{
    calls << QStringLiteral("createApplication %1").arg(pid);
    if (failCreateApplication)
        return nullptr;
    ++liveElements;
    return reinterpret_cast<AXUIElementRef>(new FakeElement { pid });
}

AXError FakeAccessibility::observerCreate(
    pid_t pid, AXObserverCallback callback, AXObserverRef* out)
{
    calls << QStringLiteral("observerCreate %1").arg(pid);
    *out = nullptr;
    if (observerCreateStatus != kAXErrorSuccess)
        return observerCreateStatus;
    auto* observer = new Observer { pid, callback, {} };
    m_observers << observer;
    ++liveObservers;
    *out = reinterpret_cast<AXObserverRef>(observer);
    return kAXErrorSuccess;
}

AXError FakeAccessibility::observerAddNotification(
    AXObserverRef observer, AXUIElementRef element, const QString& notification, void* refcon)
{
    calls << QStringLiteral("addNotification ") + notification;
    if (!observer || !element)
        return kAXErrorIllegalArgument;
    reinterpret_cast<Observer*>(observer)->subscriptions.insert(notification, refcon);
    return kAXErrorSuccess;
}

AXError FakeAccessibility::observerRemoveNotification(
    AXObserverRef observer, AXUIElementRef element, const QString& notification)
{
    calls << QStringLiteral("removeNotification ") + notification;
    if (!observer || !element)
        return kAXErrorIllegalArgument;
    return reinterpret_cast<Observer*>(observer)->subscriptions.remove(notification)
        ? kAXErrorSuccess
        : kAXErrorNotificationNotRegistered;
}

void FakeAccessibility::addObserverToRunLoop(AXObserverRef observer)
{
    calls << QStringLiteral("addToRunLoop");
    reinterpret_cast<Observer*>(observer)->onRunLoop = true;
}

void FakeAccessibility::removeObserverFromRunLoop(AXObserverRef observer)
{
    calls << QStringLiteral("removeFromRunLoop");
    reinterpret_cast<Observer*>(observer)->onRunLoop = false;
}

void FakeAccessibility::releaseElement(AXUIElementRef element)
{
    calls << QStringLiteral("releaseElement");
    delete reinterpret_cast<FakeElement*>(element);
    --liveElements;
}

void FakeAccessibility::releaseObserver(AXObserverRef observer)
{
    calls << QStringLiteral("releaseObserver");
    auto* o = reinterpret_cast<Observer*>(observer);
    m_observers.removeOne(o);
    delete o;
    --liveObservers;
}

int FakeAccessibility::deliver(pid_t pid, const QString& notification, const AXElement* element)
{
    int called = 0;
    const QList<Observer*> observers = m_observers;
    for (Observer* o : observers) {
        if (o->pid != pid || !o->onRunLoop || !o->subscriptions.contains(notification))
            continue;
        o->callback(reinterpret_cast<AXObserverRef>(o), element, notification,
            o->subscriptions.value(notification));
        ++called;
    }
    return called;
}
