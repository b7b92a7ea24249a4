// One private xcb connection selects PropertyChangeMask on the root window (other clients'
// selections are unaffected) and is read from the main loop through a socket notifier. Only
// property changes of _NET_ACTIVE_WINDOW are looked at; the window's _NET_WM_PID names its
// application. When full-screen changes are wanted, the active window's own property changes are
// selected too (and deselected when another window becomes active). Without a display, or when the
// server goes away, the watcher stays silent.

#include "Platform/Linux/ActiveWindowWatcher.h"

#include <QSocketNotifier>

#include <cstdlib>
#include <cstring>
#include <xcb/xcb.h>

bool FrontSwitchFilter::accept(uint32_t window, pid_t pid)
{
    if (window == 0)
        return false;
    const quint64 key = pid > 0 ? (quint64(1) << 32) | quint64(pid) : quint64(window);
    if (key == m_last)
        return false;
    m_last = key;
    return true;
}

namespace {
uint32_t internAtom(xcb_connection_t* c, const char* name)
{
    xcb_intern_atom_reply_t* reply
        = xcb_intern_atom_reply(c, xcb_intern_atom(c, 0, uint16_t(strlen(name)), name), nullptr);
    const uint32_t atom = reply ? reply->atom : 0;
    free(reply);
    return atom;
}

uint32_t cardinalProperty(xcb_connection_t* c, uint32_t window, uint32_t atom, uint32_t type)
{
    xcb_get_property_reply_t* reply
        = xcb_get_property_reply(c, xcb_get_property(c, 0, window, atom, type, 0, 1), nullptr);
    uint32_t value = 0;
    if (reply && reply->format == 32 && xcb_get_property_value_length(reply) >= 4)
        value = *static_cast<const uint32_t*>(xcb_get_property_value(reply));
    free(reply);
    return value;
}
} // namespace

ActiveWindowWatcher::ActiveWindowWatcher(QObject* parent)
    : QObject(parent)
{
}

ActiveWindowWatcher::~ActiveWindowWatcher()
{
    delete m_notifier;
    if (m_connection)
        xcb_disconnect(m_connection);
}

bool ActiveWindowWatcher::start(std::function<void(pid_t)> onFrontSwitch, const QString& display)
{
    if (m_connection)
        return true;
    const QByteArray name = display.toLocal8Bit();
    if (display.isEmpty() && qEnvironmentVariableIsEmpty("DISPLAY"))
        return false;
    int screenNumber = 0;
    xcb_connection_t* c
        = xcb_connect(display.isEmpty() ? nullptr : name.constData(), &screenNumber);
    if (xcb_connection_has_error(c)) {
        xcb_disconnect(c);
        return false;
    }
    xcb_screen_iterator_t it = xcb_setup_roots_iterator(xcb_get_setup(c));
    for (int i = 0; i < screenNumber && it.rem; ++i)
        xcb_screen_next(&it);
    if (!it.rem) {
        xcb_disconnect(c);
        return false;
    }
    m_connection = c;
    m_root = it.data->root;
    m_activeAtom = internAtom(c, "_NET_ACTIVE_WINDOW");
    m_pidAtom = internAtom(c, "_NET_WM_PID");
    m_stateAtom = internAtom(c, "_NET_WM_STATE");
    m_fullScreenAtom = internAtom(c, "_NET_WM_STATE_FULLSCREEN");
    const uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_change_window_attributes(c, m_root, XCB_CW_EVENT_MASK, &mask);
    xcb_flush(c);
    m_onFrontSwitch = std::move(onFrontSwitch);
    // The window active now is the starting point, not a switch.
    const uint32_t active = cardinalProperty(c, m_root, m_activeAtom, XCB_ATOM_WINDOW);
    m_filter.accept(active, pid_t(cardinalProperty(c, active, m_pidAtom, XCB_ATOM_CARDINAL)));
    if (m_onFullScreenChange)
        checkFullScreen(active);
    m_notifier = new QSocketNotifier(xcb_get_file_descriptor(c), QSocketNotifier::Read);
    connect(m_notifier, &QSocketNotifier::activated, this, [this] { readEvents(); });
    readEvents();
    return true;
}

bool ActiveWindowWatcher::startWatchingFullScreen(
    std::function<void(bool)> onFullScreenChange, const QString& display)
{
    m_onFullScreenChange = std::move(onFullScreenChange);
    return start(nullptr, display);
}

void ActiveWindowWatcher::readEvents()
{
    bool changed = false;
    while (xcb_generic_event_t* event = xcb_poll_for_event(m_connection)) {
        if ((event->response_type & 0x7f) == XCB_PROPERTY_NOTIFY) {
            const auto* notify = reinterpret_cast<xcb_property_notify_event_t*>(event);
            changed |= notify->window == m_root && notify->atom == m_activeAtom;
            changed |= m_stateWatched && notify->window == m_stateWatched
                && notify->atom == m_stateAtom;
        }
        free(event);
    }
    if (xcb_connection_has_error(m_connection)) {
        m_notifier->setEnabled(false);
        return;
    }
    if (changed)
        checkActiveWindow();
}

void ActiveWindowWatcher::checkActiveWindow()
{
    const uint32_t active = cardinalProperty(m_connection, m_root, m_activeAtom, XCB_ATOM_WINDOW);
    const auto pid = pid_t(cardinalProperty(m_connection, active, m_pidAtom, XCB_ATOM_CARDINAL));
    if (m_filter.accept(active, pid) && m_onFrontSwitch)
        m_onFrontSwitch(pid);
    if (m_onFullScreenChange)
        checkFullScreen(active);
    // Replies may have brought further events into xcb's buffer without waking the notifier.
    readEvents();
}

void ActiveWindowWatcher::checkFullScreen(uint32_t active)
{
    if (active != m_stateWatched) {
        const uint32_t none = XCB_EVENT_MASK_NO_EVENT;
        const uint32_t changes = XCB_EVENT_MASK_PROPERTY_CHANGE;
        if (m_stateWatched)
            xcb_change_window_attributes(m_connection, m_stateWatched, XCB_CW_EVENT_MASK, &none);
        if (active)
            xcb_change_window_attributes(m_connection, active, XCB_CW_EVENT_MASK, &changes);
        m_stateWatched = active;
    }
    bool full = false;
    if (active) {
        xcb_get_property_reply_t* reply = xcb_get_property_reply(m_connection,
            xcb_get_property(m_connection, 0, active, m_stateAtom, XCB_ATOM_ATOM, 0, 64), nullptr);
        if (reply && reply->format == 32) {
            const auto* atoms = static_cast<const uint32_t*>(xcb_get_property_value(reply));
            const int count = xcb_get_property_value_length(reply) / 4;
            for (int i = 0; i < count; ++i)
                full = full || atoms[i] == m_fullScreenAtom;
        }
        free(reply);
    }
    if (full != m_fullScreen) {
        m_fullScreen = full;
        m_onFullScreenChange(full);
    }
}
