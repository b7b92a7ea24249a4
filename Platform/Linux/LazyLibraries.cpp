// Libraries that the installer needs late or not at all in an ordinary run are loaded on first
// use instead of at start-up: sound (libsndfile with its codecs, libpulse) plays at the end, and
// accessibility observers (libatspi, GObject, libdbus) serve other products. Linking them would
// make every start map twenty more libraries before the window can appear.
//
// Each function the code calls is defined here under its own name, with the signature its header
// declares (the compiler checks it against the header), and forwards to the real function found
// with dlsym in its library, opened the first time any of its functions is called. The
// definitions are hidden: they serve only this program's own calls, never a library's.

#include <atspi/atspi.h>
#include <dbus/dbus.h>
#include <glib-object.h>
#include <pulse/ext-stream-restore.h>
#include <pulse/pulseaudio.h>
#include <sndfile.h>

#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>

namespace {
void* openLibrary(const char* name)
{
    void* handle = ::dlopen(name, RTLD_NOW | RTLD_LOCAL);
    if (!handle) {
        // The packages that provide these are installed with the program; without one nothing
        // sensible can continue.
        std::fprintf(stderr, "cannot load %s: %s\n", name, ::dlerror());
        std::abort();
    }
    return handle;
}

// One opener per library, each opening its library once.
#define LIBRARY(function, soname)                                                                  \
    void* function()                                                                               \
    {                                                                                              \
        static void* handle = openLibrary(soname);                                                 \
        return handle;                                                                             \
    }
LIBRARY(sndfile, "libsndfile.so.1")
LIBRARY(pulse, "libpulse.so.0")
LIBRARY(atspi, "libatspi.so.0")
LIBRARY(gobject, "libgobject-2.0.so.0")
LIBRARY(dbus, "libdbus-1.so.3")

void* symbol(void* library, const char* name)
{
    void* address = ::dlsym(library, name);
    if (!address) {
        std::fprintf(stderr, "cannot find %s: %s\n", name, ::dlerror());
        std::abort();
    }
    return address;
}
} // namespace

#define LAZY_DEFINITION(visibility, library, ret, name, params, args)                              \
    extern "C" visibility ret name params                                                          \
    {                                                                                              \
        static auto* real = reinterpret_cast<ret(*) params>(symbol(library(), #name));             \
        return real args;                                                                          \
    }

#define LAZY(...) LAZY_DEFINITION(__attribute__((visibility("hidden"))), __VA_ARGS__)
// libdbus declares its functions visible; nothing this program links uses this one.
#define LAZY_VISIBLE(...) LAZY_DEFINITION(, __VA_ARGS__)

// Sound files.
LAZY(sndfile, SNDFILE*, sf_open, (const char* path, int mode, SF_INFO* info), (path, mode, info))
LAZY(sndfile, int, sf_close, (SNDFILE * file), (file))
LAZY(sndfile, sf_count_t, sf_readf_float, (SNDFILE * file, float* ptr, sf_count_t frames),
    (file, ptr, frames))

// The sound server.
LAZY(pulse, pa_threaded_mainloop*, pa_threaded_mainloop_new, (void), ())
LAZY(pulse, int, pa_threaded_mainloop_start, (pa_threaded_mainloop * m), (m))
LAZY(pulse, void, pa_threaded_mainloop_lock, (pa_threaded_mainloop * m), (m))
LAZY(pulse, void, pa_threaded_mainloop_unlock, (pa_threaded_mainloop * m), (m))
LAZY(pulse, void, pa_threaded_mainloop_wait, (pa_threaded_mainloop * m), (m))
LAZY(pulse, void, pa_threaded_mainloop_signal, (pa_threaded_mainloop * m, int wait), (m, wait))
LAZY(pulse, pa_mainloop_api*, pa_threaded_mainloop_get_api, (pa_threaded_mainloop * m), (m))
LAZY(pulse, pa_context*, pa_context_new, (pa_mainloop_api * api, const char* name), (api, name))
LAZY(pulse, int, pa_context_connect,
    (pa_context * c, const char* server, pa_context_flags_t flags, const pa_spawn_api* spawn),
    (c, server, flags, spawn))
LAZY(pulse, void, pa_context_disconnect, (pa_context * c), (c))
LAZY(pulse, void, pa_context_unref, (pa_context * c), (c))
LAZY(pulse, pa_context_state_t, pa_context_get_state, (const pa_context* c), (c))
LAZY(pulse, void, pa_context_set_state_callback,
    (pa_context * c, pa_context_notify_cb_t cb, void* data), (c, cb, data))
LAZY(pulse, pa_operation*, pa_context_get_sink_info_list,
    (pa_context * c, pa_sink_info_cb_t cb, void* data), (c, cb, data))
LAZY(pulse, pa_operation*, pa_ext_stream_restore_read,
    (pa_context * c, pa_ext_stream_restore_read_cb_t cb, void* data), (c, cb, data))
LAZY(pulse, void, pa_operation_unref, (pa_operation * o), (o))
LAZY(pulse, pa_proplist*, pa_proplist_new, (void), ())
LAZY(pulse, void, pa_proplist_free, (pa_proplist * p), (p))
LAZY(pulse, const char*, pa_proplist_gets, (const pa_proplist* p, const char* key), (p, key))
LAZY(pulse, int, pa_proplist_sets, (pa_proplist * p, const char* key, const char* value),
    (p, key, value))
LAZY(pulse, int, pa_sample_spec_valid, (const pa_sample_spec* ss), (ss))
LAZY(pulse, pa_stream*, pa_stream_new_with_proplist,
    (pa_context * c, const char* name, const pa_sample_spec* ss, const pa_channel_map* map,
        pa_proplist* p),
    (c, name, ss, map, p))
LAZY(pulse, int, pa_stream_connect_playback,
    (pa_stream * s, const char* dev, const pa_buffer_attr* attr, pa_stream_flags_t flags,
        const pa_cvolume* volume, pa_stream* sync),
    (s, dev, attr, flags, volume, sync))
LAZY(pulse, int, pa_stream_disconnect, (pa_stream * s), (s))
LAZY(pulse, void, pa_stream_unref, (pa_stream * s), (s))
LAZY(pulse, pa_stream_state_t, pa_stream_get_state, (const pa_stream* s), (s))
LAZY(pulse, void, pa_stream_set_state_callback,
    (pa_stream * s, pa_stream_notify_cb_t cb, void* data), (s, cb, data))
LAZY(pulse, void, pa_stream_set_write_callback,
    (pa_stream * s, pa_stream_request_cb_t cb, void* data), (s, cb, data))
LAZY(pulse, int, pa_stream_write,
    (pa_stream * s, const void* data, size_t bytes, pa_free_cb_t free, int64_t offset,
        pa_seek_mode_t seek),
    (s, data, bytes, free, offset, seek))
LAZY(pulse, pa_operation*, pa_stream_drain, (pa_stream * s, pa_stream_success_cb_t cb, void* data),
    (s, cb, data))

// Accessibility.
LAZY(atspi, int, atspi_init, (void), ())
LAZY(atspi, DBusConnection*, atspi_get_a11y_bus, (void), ())
LAZY(atspi, GType, atspi_event_get_type, (void), ())
LAZY(atspi, GType, atspi_object_get_type, (void), ())
LAZY(atspi, gchar*, atspi_accessible_get_name, (AtspiAccessible * a, GError** error), (a, error))
LAZY(atspi, gchar*, atspi_accessible_get_role_name, (AtspiAccessible * a, GError** error),
    (a, error))
LAZY(atspi, guint, atspi_accessible_get_process_id, (AtspiAccessible * a, GError** error),
    (a, error))
LAZY(atspi, AtspiEventListener*, atspi_event_listener_new,
    (AtspiEventListenerCB cb, gpointer data, GDestroyNotify destroyed), (cb, data, destroyed))
LAZY(atspi, gboolean, atspi_event_listener_register,
    (AtspiEventListener * l, const gchar* type, GError** error), (l, type, error))
LAZY(atspi, gboolean, atspi_event_listener_deregister,
    (AtspiEventListener * l, const gchar* type, GError** error), (l, type, error))
LAZY(gobject, void, g_object_unref, (gpointer object), (object))
LAZY(gobject, void, g_boxed_free, (GType type, gpointer boxed), (type, boxed))
LAZY(
    gobject, GTypeInstance*, g_type_check_instance_cast, (GTypeInstance * i, GType type), (i, type))
LAZY_VISIBLE(dbus, dbus_bool_t, dbus_connection_get_is_connected, (DBusConnection * c), (c))
