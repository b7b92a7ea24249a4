#pragma once
// Launches, terminations and front switches of the user's applications, delivered as the
// platform's application events on the main thread's event loop. Abstract so tests can use
// FakeApplicationEventSource; the real one is LinuxApplicationEventSource (a watcher over /proc
// and the window manager's active-window property).

#include "Platform/MacTypes.h"

#include <sys/types.h>
#include <vector>

/// The application event class, the four characters "appl".
constexpr OSType kEventClassApplication = 0x6170706C;
constexpr uint32_t kEventAppLaunched = 5;
constexpr uint32_t kEventAppTerminated = 6;
constexpr uint32_t kEventAppFrontSwitched = 7;

constexpr OSStatus eventNotHandledErr = -9874;
constexpr OSStatus eventInternalErr = -9868;

struct EventTypeSpec {
    OSType eventClass = 0;
    uint32_t eventKind = 0;
};

/// One event as a handler sees it: its class, its kind and the process it is about (0 when the
/// source does not know it).
struct ApplicationEvent {
    OSType eventClass = kEventClassApplication;
    uint32_t eventKind = 0;
    pid_t pid = 0;
};

using EventRef = const ApplicationEvent*;
using EventHandlerCallRef = void*;
using EventTargetRef = void*;
using EventHandlerProcPtr = OSStatus (*)(EventHandlerCallRef, EventRef, void* userData);

inline uint32_t GetEventKind(EventRef event)
{
    return event ? event->eventKind : 0;
}

inline OSType GetEventClass(EventRef event)
{
    return event ? event->eventClass : 0;
}

class ApplicationEventSource {
public:
    virtual ~ApplicationEventSource() = default;

    /// The target that application events are sent to.
    virtual EventTargetRef getApplicationEventTarget() = 0;
    /// From now on, for the rest of the program run, calls handler on the main thread's event
    /// loop with every event of one of the given types. noErr, or a status when no event can be
    /// watched at all.
    virtual OSStatus installEventHandler(EventTargetRef target, EventHandlerProcPtr handler,
        const std::vector<EventTypeSpec>& types, void* userData)
        = 0;

    /// The process-wide source: the system's unless a test installed another.
    static ApplicationEventSource& shared();
    static void setShared(ApplicationEventSource* source);
};
