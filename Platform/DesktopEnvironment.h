#pragma once
// What the utilities ask of the user's desktop: menu-bar visibility events (a full-screen
// application hides it), the interface style, the time since the last input, the control tint and
// the system's "open" command. Abstract so tests can use FakeDesktopEnvironment; the real one is
// LinuxDesktopEnvironment (EWMH full-screen state, the desktop portal's colour scheme, the X
// screen-saver extension, the palette, xdg-open).

#include "Platform/ApplicationEvents.h"

#include <QString>

#include <cstdint>
#include <optional>
#include <vector>

/// The menu event class, the four characters "menu".
constexpr OSType kEventClassMenu = 0x6D656E75;
constexpr uint32_t kEventMenuBarShown = 2000;
constexpr uint32_t kEventMenuBarHidden = 2001;

/// Control tints as the toolkit numbers them.
constexpr int NSDefaultControlTint = 0;
constexpr int NSBlueControlTint = 1;
constexpr int NSGraphiteControlTint = 6;

class DesktopEnvironment {
public:
    virtual ~DesktopEnvironment() = default;

    /// The target that menu-bar events are sent to.
    virtual EventTargetRef getEventDispatcherTarget() = 0;
    /// From now on calls handler on the main thread's event loop with every menu-bar event of
    /// the given types. noErr, or a status when no such event can be watched.
    virtual OSStatus installEventHandler(EventTargetRef target, EventHandlerProcPtr handler,
        const std::vector<EventTypeSpec>& types, void* userData)
        = 0;

    /// The user's interface style ("Dark" when the desktop prefers a dark look); none when the
    /// user has not chosen one, as with the light look.
    virtual std::optional<QString> interfaceStyle() = 0;
    /// The input system's idle counter: nanoseconds since the last user input; none when it
    /// cannot be read.
    virtual std::optional<int64_t> hidIdleTime() = 0;
    /// The control tint of the user's palette (NSBlueControlTint, NSGraphiteControlTint).
    virtual int currentControlTint() = 0;
    /// Starts the system's open command on path and returns without waiting for it. An error
    /// text when the command cannot be started at all.
    virtual std::optional<QString> startOpen(const QString& path) = 0;

    static DesktopEnvironment& shared();
    static void setShared(DesktopEnvironment* environment);
};
