// One xcb connection with the EWMH atoms, guarded by a mutex so that the install thread and the
// main thread can both ask. Requests go to the root window as client messages, as EWMH wants them
// from pagers and task bars (source indication 2).

#include "Platform/Linux/X11Session.h"

#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string>
#include <xcb/res.h>
#include <xcb/screensaver.h>
#include <xcb/xcb.h>
#include <xcb/xcb_ewmh.h>
#include <xcb/xcb_icccm.h>

namespace X11Session {
namespace {

struct Connection {
    xcb_connection_t* xcb = nullptr;
    xcb_ewmh_connection_t ewmh {};
    xcb_window_t root = 0;
    bool ok = false;
};

std::mutex mutex;

Connection& connection()
{
    // Reconnects when $DISPLAY changed or the server went away (tests start several servers).
    static Connection c;
    static std::string connectedTo;
    const char* display = std::getenv("DISPLAY");
    const std::string wanted = display ? display : "";
    if (c.xcb && (wanted != connectedTo || xcb_connection_has_error(c.xcb))) {
        if (c.ok)
            xcb_ewmh_connection_wipe(&c.ewmh);
        xcb_disconnect(c.xcb);
        c = Connection();
    }
    if (c.xcb || wanted.empty())
        return c;
    connectedTo = wanted;
    int screen = 0;
    c.xcb = xcb_connect(wanted.c_str(), &screen);
    if (xcb_connection_has_error(c.xcb))
        return c;
    xcb_intern_atom_cookie_t* cookies = xcb_ewmh_init_atoms(c.xcb, &c.ewmh);
    if (!xcb_ewmh_init_atoms_replies(&c.ewmh, cookies, nullptr))
        return c;
    c.root = c.ewmh.screens[screen]->root;
    c.ok = true;
    return c;
}

bool wmPresentLocked(Connection& c)
{
    // A window manager that exited leaves its root property behind: the window it names must
    // still exist and name itself.
    xcb_window_t check = 0;
    if (!xcb_ewmh_get_supporting_wm_check_reply(
            &c.ewmh, xcb_ewmh_get_supporting_wm_check(&c.ewmh, c.root), &check, nullptr)
        || check == 0)
        return false;
    xcb_window_t self = 0;
    return xcb_ewmh_get_supporting_wm_check_reply(
               &c.ewmh, xcb_ewmh_get_supporting_wm_check(&c.ewmh, check), &self, nullptr)
        && self == check;
}

bool sendToRoot(Connection& c, xcb_window_t window, xcb_atom_t type, uint32_t d0, uint32_t d1 = 0,
    uint32_t d2 = 0)
{
    xcb_client_message_event_t event {};
    event.response_type = XCB_CLIENT_MESSAGE;
    event.format = 32;
    event.window = window;
    event.type = type;
    event.data.data32[0] = d0;
    event.data.data32[1] = d1;
    event.data.data32[2] = d2;
    xcb_send_event(c.xcb, 0, c.root,
        XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
        reinterpret_cast<const char*>(&event));
    return xcb_flush(c.xcb) > 0;
}

pid_t pidLocked(Connection& c, xcb_window_t window)
{
    uint32_t pid = 0;
    if (xcb_ewmh_get_wm_pid_reply(&c.ewmh, xcb_ewmh_get_wm_pid(&c.ewmh, window), &pid, nullptr)
        && pid != 0)
        return pid_t(pid);
    // Without _NET_WM_PID, ask the X-Resource extension which local client made the window.
    xcb_res_client_id_spec_t wanted { window, XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID };
    xcb_res_query_client_ids_reply_t* reply = xcb_res_query_client_ids_reply(
        c.xcb, xcb_res_query_client_ids(c.xcb, 1, &wanted), nullptr);
    pid_t result = 0;
    if (reply) {
        for (auto it = xcb_res_query_client_ids_ids_iterator(reply); it.rem;
             xcb_res_client_id_value_next(&it)) {
            if ((it.data->spec.mask & XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID)
                && xcb_res_client_id_value_value_length(it.data) >= 1)
                result = pid_t(*xcb_res_client_id_value_value(it.data));
        }
        std::free(reply);
    }
    return result;
}

} // namespace

bool windowManagerPresent()
{
    std::lock_guard lock(mutex);
    Connection& c = connection();
    return c.ok && wmPresentLocked(c);
}

Window activeWindow()
{
    std::lock_guard lock(mutex);
    Connection& c = connection();
    xcb_window_t window = 0;
    if (!c.ok || !wmPresentLocked(c)
        || !xcb_ewmh_get_active_window_reply(
            &c.ewmh, xcb_ewmh_get_active_window(&c.ewmh, 0), &window, nullptr))
        return 0;
    return window;
}

pid_t windowPid(Window window)
{
    std::lock_guard lock(mutex);
    Connection& c = connection();
    return c.ok && window ? pidLocked(c, window) : 0;
}

std::vector<Window> windowsOfProcess(pid_t pid)
{
    std::lock_guard lock(mutex);
    Connection& c = connection();
    std::vector<Window> windows;
    xcb_ewmh_get_windows_reply_t list {};
    if (!c.ok || !wmPresentLocked(c)
        || !xcb_ewmh_get_client_list_stacking_reply(
            &c.ewmh, xcb_ewmh_get_client_list_stacking(&c.ewmh, 0), &list, nullptr))
        return windows;
    for (uint32_t i = 0; i < list.windows_len; ++i) {
        if (pidLocked(c, list.windows[i]) == pid)
            windows.push_back(list.windows[i]);
    }
    xcb_ewmh_get_windows_reply_wipe(&list);
    return windows;
}

bool activate(Window window)
{
    std::lock_guard lock(mutex);
    Connection& c = connection();
    return c.ok && wmPresentLocked(c)
        && sendToRoot(c, window, c.ewmh._NET_ACTIVE_WINDOW, 2, XCB_CURRENT_TIME, 0);
}

bool iconify(Window window)
{
    std::lock_guard lock(mutex);
    Connection& c = connection();
    if (!c.ok || !wmPresentLocked(c))
        return false;
    xcb_intern_atom_reply_t* atom = xcb_intern_atom_reply(c.xcb,
        xcb_intern_atom(c.xcb, 0, std::strlen("WM_CHANGE_STATE"), "WM_CHANGE_STATE"), nullptr);
    if (!atom)
        return false;
    const bool sent = sendToRoot(c, window, atom->atom, XCB_ICCCM_WM_STATE_ICONIC);
    std::free(atom);
    return sent;
}

bool requestClose(Window window)
{
    std::lock_guard lock(mutex);
    Connection& c = connection();
    return c.ok && wmPresentLocked(c)
        && sendToRoot(c, window, c.ewmh._NET_CLOSE_WINDOW, XCB_CURRENT_TIME, 2);
}

bool isFullScreen(Window window)
{
    std::lock_guard lock(mutex);
    Connection& c = connection();
    xcb_ewmh_get_atoms_reply_t state {};
    if (!c.ok
        || !xcb_ewmh_get_wm_state_reply(
            &c.ewmh, xcb_ewmh_get_wm_state(&c.ewmh, window), &state, nullptr))
        return false;
    bool full = false;
    for (uint32_t i = 0; i < state.atoms_len; ++i)
        full = full || state.atoms[i] == c.ewmh._NET_WM_STATE_FULLSCREEN;
    xcb_ewmh_get_atoms_reply_wipe(&state);
    return full;
}

std::optional<uint32_t> idleMilliseconds()
{
    std::lock_guard lock(mutex);
    Connection& c = connection();
    if (!c.ok)
        return std::nullopt;
    const xcb_query_extension_reply_t* ext = xcb_get_extension_data(c.xcb, &xcb_screensaver_id);
    if (!ext || !ext->present)
        return std::nullopt;
    xcb_screensaver_query_info_reply_t* info = xcb_screensaver_query_info_reply(
        c.xcb, xcb_screensaver_query_info(c.xcb, c.root), nullptr);
    if (!info)
        return std::nullopt;
    const uint32_t ms = info->ms_since_user_input;
    free(info);
    return ms;
}

} // namespace X11Session
