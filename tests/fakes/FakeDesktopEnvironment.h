#pragma once
// A desktop the test describes: the interface style, the idle counter, the control tint, whether
// menu-bar handlers can be installed and what the open command does. Installed handlers are kept,
// so the test can send them menu-bar events.

#include "Platform/DesktopEnvironment.h"

#include <QStringList>

#include <functional>

class FakeDesktopEnvironment final : public DesktopEnvironment {
public:
    FakeDesktopEnvironment() { DesktopEnvironment::setShared(this); }
    ~FakeDesktopEnvironment() override { DesktopEnvironment::setShared(nullptr); }

    OSStatus installStatus = noErr;
    int installCalls = 0;
    EventHandlerProcPtr handler = nullptr;
    std::vector<EventTypeSpec> handlerTypes;
    std::optional<QString> style;
    std::optional<int64_t> idleNanoseconds;
    int tint = NSBlueControlTint;
    QStringList opened;
    std::optional<QString> openError; // the open command cannot be started
    std::function<void(const QString&)> onOpen;

    EventTargetRef getEventDispatcherTarget() override { return this; }
    OSStatus installEventHandler(EventTargetRef target, EventHandlerProcPtr proc,
        const std::vector<EventTypeSpec>& types, void*) override
    {
        ++installCalls;
        if (target != this || installStatus != noErr)
            return installStatus != noErr ? installStatus : paramErr;
        handler = proc;
        handlerTypes = types;
        return noErr;
    }
    std::optional<QString> interfaceStyle() override { return style; }
    std::optional<int64_t> hidIdleTime() override { return idleNanoseconds; }
    int currentControlTint() override { return tint; }
    std::optional<QString> startOpen(const QString& path) override
    {
        if (openError)
            return openError;
        opened.append(path);
        if (onOpen)
            onOpen(path);
        return std::nullopt;
    }

    /// Sends one event to the installed handler, as the desktop would; its status.
    OSStatus send(OSType eventClass, uint32_t kind)
    {
        const ApplicationEvent event { eventClass, kind, 0 };
        return handler ? handler(nullptr, &event, nullptr) : noErr;
    }
};
