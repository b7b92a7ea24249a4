#pragma once
// The handlers installed on one event target, and the delivery of an event to those that asked
// for its class and kind. Installing may happen on any thread; delivery runs on the main thread.

#include "Platform/ApplicationEvents.h"

#include <algorithm>
#include <mutex>
#include <vector>

class EventHandlerList {
public:
    void add(EventHandlerProcPtr proc, const std::vector<EventTypeSpec>& types, void* userData)
    {
        std::lock_guard lock(m_mutex);
        m_handlers.push_back({ proc, types, userData });
    }

    void dispatch(const ApplicationEvent& event)
    {
        std::vector<Handler> handlers;
        {
            std::lock_guard lock(m_mutex);
            handlers = m_handlers;
        }
        for (const Handler& h : handlers) {
            const bool wanted = std::any_of(h.types.begin(), h.types.end(), [&](const auto& t) {
                return t.eventClass == event.eventClass && t.eventKind == event.eventKind;
            });
            if (wanted)
                h.proc(nullptr, &event, h.userData);
        }
    }

private:
    struct Handler {
        EventHandlerProcPtr proc;
        std::vector<EventTypeSpec> types;
        void* userData;
    };
    std::mutex m_mutex;
    std::vector<Handler> m_handlers;
};
