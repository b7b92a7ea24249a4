#pragma once
// Front switches from the window manager: its _NET_ACTIVE_WINDOW property on the root window,
// watched through PropertyNotify on a connection of our own to the X display; optionally also the
// full-screen state (_NET_WM_STATE_FULLSCREEN) of whichever window is active.

#include <QObject>
#include <QString>

#include <functional>
#include <sys/types.h>

class QSocketNotifier;
struct xcb_connection_t;

/// Decides which changes of the active window are front switches: window managers often set the
/// property twice for one activation, and clear it in between; a change counts only when a window
/// becomes active whose application (its pid, else the window itself) differs from the last one.
class FrontSwitchFilter {
public:
    bool accept(uint32_t window, pid_t pid);

private:
    quint64 m_last = 0;
};

class ActiveWindowWatcher : public QObject {
public:
    explicit ActiveWindowWatcher(QObject* parent = nullptr);
    ~ActiveWindowWatcher() override;

    /// Connects to the display named (or $DISPLAY when empty) and calls onFrontSwitch with the new
    /// front application's pid (0 when unknown). false, quietly, without an X display.
    bool start(std::function<void(pid_t)> onFrontSwitch, const QString& display = QString());
    /// As start, and also calls onFullScreenChange whenever the active window enters or leaves
    /// full screen, or another window becomes active with the other state. The state before the
    /// first call counts as "not full screen", so a full-screen window active at the start is
    /// reported at once.
    bool startWatchingFullScreen(
        std::function<void(bool)> onFullScreenChange, const QString& display = QString());

private:
    void readEvents();
    void checkActiveWindow();
    void checkFullScreen(uint32_t active);

    xcb_connection_t* m_connection = nullptr;
    uint32_t m_root = 0;
    uint32_t m_activeAtom = 0;
    uint32_t m_pidAtom = 0;
    uint32_t m_stateAtom = 0;
    uint32_t m_fullScreenAtom = 0;
    uint32_t m_stateWatched = 0; // the window whose state changes we receive
    bool m_fullScreen = false;
    std::function<void(bool)> m_onFullScreenChange;
    QSocketNotifier* m_notifier = nullptr;
    FrontSwitchFilter m_filter;
    std::function<void(pid_t)> m_onFrontSwitch;
};
