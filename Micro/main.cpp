// Micro: maps one tiny window, asks the window manager to make it active, and leaves as soon as it
// is active (or after two seconds, when no window manager answers). The application that opened
// it has meanwhile lost the front and takes it back, which is all Micro is for.

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <poll.h>
#include <unistd.h>
#include <xcb/xcb.h>

namespace {
constexpr int kLifetimeMs = 2000;

xcb_atom_t atom(xcb_connection_t* c, const char* name)
{
    xcb_intern_atom_reply_t* r
        = xcb_intern_atom_reply(c, xcb_intern_atom(c, 0, uint16_t(strlen(name)), name), nullptr);
    const xcb_atom_t a = r ? r->atom : xcb_atom_t(XCB_ATOM_NONE);
    free(r);
    return a;
}

xcb_window_t activeWindow(xcb_connection_t* c, xcb_window_t root, xcb_atom_t active)
{
    xcb_get_property_reply_t* r = xcb_get_property_reply(
        c, xcb_get_property(c, 0, root, active, XCB_ATOM_WINDOW, 0, 1), nullptr);
    xcb_window_t w = 0;
    if (r && r->format == 32 && xcb_get_property_value_length(r) >= 4)
        w = *static_cast<xcb_window_t*>(xcb_get_property_value(r));
    free(r);
    return w;
}

void setProperty(xcb_connection_t* c, xcb_window_t w, xcb_atom_t property, xcb_atom_t type,
    uint8_t format, uint32_t length, const void* data)
{
    xcb_change_property(c, XCB_PROP_MODE_REPLACE, w, property, type, format, length, data);
}
} // namespace

int main()
{
    int screenNumber = 0;
    xcb_connection_t* c = xcb_connect(nullptr, &screenNumber);
    if (xcb_connection_has_error(c))
        return 1;
    xcb_screen_iterator_t it = xcb_setup_roots_iterator(xcb_get_setup(c));
    for (int i = 0; i < screenNumber && it.rem; ++i)
        xcb_screen_next(&it);
    xcb_screen_t* screen = it.data;
    const xcb_window_t root = screen->root;

    const xcb_atom_t netActive = atom(c, "_NET_ACTIVE_WINDOW");
    const uint32_t rootMask = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_change_window_attributes(c, root, XCB_CW_EVENT_MASK, &rootMask);

    const xcb_window_t w = xcb_generate_id(c);
    const uint32_t values[] = { screen->black_pixel };
    xcb_create_window(c, XCB_COPY_FROM_PARENT, w, root, 0, 0, 1, 1, 0,
        XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual, XCB_CW_BACK_PIXEL, values);
    const char title[] = "Micro";
    setProperty(c, w, XCB_ATOM_WM_NAME, XCB_ATOM_STRING, 8, sizeof title - 1, title);
    const char wmClass[] = "Micro\0Micro";
    setProperty(c, w, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 8, sizeof wmClass, wmClass);
    const uint32_t pid = uint32_t(getpid());
    setProperty(c, w, atom(c, "_NET_WM_PID"), XCB_ATOM_CARDINAL, 32, 1, &pid);
    const xcb_atom_t states[]
        = { atom(c, "_NET_WM_STATE_SKIP_TASKBAR"), atom(c, "_NET_WM_STATE_SKIP_PAGER") };
    setProperty(c, w, atom(c, "_NET_WM_STATE"), XCB_ATOM_ATOM, 32, 2, states);
    xcb_map_window(c, w);

    // Ask to be activated, as an application that the user just started (source 1).
    xcb_client_message_event_t request {};
    request.response_type = XCB_CLIENT_MESSAGE;
    request.format = 32;
    request.window = w;
    request.type = netActive;
    request.data.data32[0] = 1;
    request.data.data32[1] = XCB_CURRENT_TIME;
    xcb_send_event(c, 0, root,
        XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
        reinterpret_cast<const char*>(&request));
    xcb_flush(c);

    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(kLifetimeMs);
    bool active = false;
    while (!active && !xcb_connection_has_error(c)) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now())
                              .count();
        if (left <= 0)
            break;
        pollfd pfd { xcb_get_file_descriptor(c), POLLIN, 0 };
        ::poll(&pfd, 1, int(left));
        while (xcb_generic_event_t* e = xcb_poll_for_event(c))
            free(e);
        active = activeWindow(c, root, netActive) == w;
    }
    xcb_destroy_window(c, w);
    xcb_flush(c);
    xcb_disconnect(c);
    return active ? 0 : 2;
}
