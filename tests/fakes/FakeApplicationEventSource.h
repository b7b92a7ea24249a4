#pragma once
// Application events on demand: records every handler installation and sends the events a test
// asks for, synchronously, to the handlers that asked for their type. Can be told to fail the
// installation.

#include "Platform/ApplicationEvents.h"

#include <algorithm>
#include <vector>

class FakeApplicationEventSource final : public ApplicationEventSource {
public:
    FakeApplicationEventSource() { ApplicationEventSource::setShared(this); }
    ~FakeApplicationEventSource() override { ApplicationEventSource::setShared(nullptr); }

    struct Installed {
        EventHandlerProcPtr handler;
        std::vector<EventTypeSpec> types;
        void* userData;
    };

    int installCalls = 0;
    OSStatus installStatus = noErr; // anything else: the installation fails
    std::vector<Installed> handlers;

    EventTargetRef getApplicationEventTarget() override { return this; }
    OSStatus installEventHandler(EventTargetRef target, EventHandlerProcPtr handler,
        const std::vector<EventTypeSpec>& types, void* userData) override
    {
        ++installCalls;
        if (target != this)
            return paramErr;
        if (installStatus != noErr)
            return installStatus;
        handlers.push_back({ handler, types, userData });
        return noErr;
    }

    /// Sends one event of the application class; answers the statuses of the handlers called.
    std::vector<OSStatus> send(uint32_t kind, pid_t pid = 0)
    {
        const ApplicationEvent event { kEventClassApplication, kind, pid };
        std::vector<OSStatus> statuses;
        for (const Installed& h : handlers) {
            if (std::any_of(h.types.begin(), h.types.end(), [&](const EventTypeSpec& t) {
                    return t.eventClass == kEventClassApplication && t.eventKind == kind;
                }))
                statuses.push_back(h.handler(nullptr, &event, h.userData));
        }
        return statuses;
    }
};
