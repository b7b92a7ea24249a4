#pragma once
// Front switches from the window manager: its _NET_ACTIVE_WINDOW property on the root window,
// watched through PropertyNotify on a connection of our own to the X display.

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

private:
    void readEvents();
    void checkActiveWindow();

    xcb_connection_t* m_connection = nullptr;
    uint32_t m_root = 0;
    uint32_t m_activeAtom = 0;
    uint32_t m_pidAtom = 0;
    QSocketNotifier* m_notifier = nullptr;
    FrontSwitchFilter m_filter;
    std::function<void(pid_t)> m_onFrontSwitch;
};
