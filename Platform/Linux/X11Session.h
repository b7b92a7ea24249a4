#pragma once
// The X server and its window manager, as EWMH describes them: the active window, the top-level
// windows of a process, activating, iconifying and closing them. One connection per process,
// opened on first use from $DISPLAY; every call answers "unavailable" (false, 0, empty) when there
// is no X server or no window manager that names itself through _NET_SUPPORTING_WM_CHECK.

#include <cstdint>
#include <optional>
#include <sys/types.h>
#include <vector>

namespace X11Session {

using Window = uint32_t;

/// True when an X server answers and a live window manager supports EWMH.
bool windowManagerPresent();
Window activeWindow();
/// The process that owns a window: _NET_WM_PID, else the X-Resource client id.
pid_t windowPid(Window window);
/// The managed top-level windows of a process, bottom to top in stacking order.
std::vector<Window> windowsOfProcess(pid_t pid);
/// Asks the window manager to activate (raise, focus, de-iconify) a window.
bool activate(Window window);
/// Asks the window manager to iconify a window.
bool iconify(Window window);
/// Asks the window manager to close a window politely (_NET_CLOSE_WINDOW).
bool requestClose(Window window);
/// True when the window carries _NET_WM_STATE_FULLSCREEN.
bool isFullScreen(Window window);
/// Milliseconds since the last user input, from the screen-saver extension; none without an X
/// server or without the extension.
std::optional<uint32_t> idleMilliseconds();

} // namespace X11Session
