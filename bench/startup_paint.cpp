// Start-up to first paint: the time from starting a program until it first draws into a
// top-level window of its own, seen by the X server (the DAMAGE extension reports the drawing).
// The time until the window is mapped is printed beside it: a window is mapped before anything is
// drawn in it, and a Qt window may still do a good deal of work in between (the bare window
// starts the accessibility bridge there). Measured for the installer on the demo product and for
// a bare Qt window, alternating, in the same run; prints the medians.
//
//   startup_paint <build dir> [runs]      (needs DISPLAY; bench/run-all starts Xvfb)

#include <QElapsedTimer>
#include <QProcess>
#include <QStringList>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <poll.h>
#include <set>
#include <vector>
#include <xcb/damage.h>
#include <xcb/xcb.h>

namespace {
struct Times {
    double map = -1;
    double paint = -1;
};

class Display {
public:
    Display()
        : c(xcb_connect(nullptr, nullptr))
    {
        if (xcb_connection_has_error(c))
            return;
        const xcb_query_extension_reply_t* damage = xcb_get_extension_data(c, &xcb_damage_id);
        if (!damage || !damage->present)
            return;
        damageEvent = damage->first_event + XCB_DAMAGE_NOTIFY;
        xcb_discard_reply(c, xcb_damage_query_version(c, 1, 1).sequence);
        root = xcb_setup_roots_iterator(xcb_get_setup(c)).data->root;
        const uint32_t mask = XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
        xcb_change_window_attributes(c, root, XCB_CW_EVENT_MASK, &mask);
        xcb_flush(c);
        usable = true;
    }
    ~Display() { xcb_disconnect(c); }

    Times startUp(const QString& program, const QStringList& args)
    {
        // Drain anything left over from the previous run.
        while (xcb_generic_event_t* e = xcb_poll_for_event(c))
            free(e);
        std::vector<xcb_damage_damage_t> damages;
        QProcess p;
        QElapsedTimer timer;
        timer.start();
        p.start(program, args);
        Times t;
        const int fd = xcb_get_file_descriptor(c);
        while (t.paint < 0 && timer.elapsed() < 10000) {
            xcb_generic_event_t* e = xcb_poll_for_event(c);
            if (!e) {
                // Sleep until the X server sends something (or the time is up).
                pollfd pfd { fd, POLLIN, 0 };
                const int left = int(10000 - timer.elapsed());
                if (left <= 0 || (::poll(&pfd, 1, left) < 0 && errno != EINTR))
                    break;
                continue;
            }
            const uint8_t type = e->response_type & 0x7f;
            const double now = double(timer.nsecsElapsed()) / 1e6;
            if (type == XCB_CREATE_NOTIFY) {
                // Every new top-level window is watched for drawing; the program draws only
                // after mapping it, long after this.
                const auto* created = reinterpret_cast<xcb_create_notify_event_t*>(e);
                const xcb_damage_damage_t d = xcb_generate_id(c);
                xcb_damage_create(c, d, created->window, XCB_DAMAGE_REPORT_LEVEL_NON_EMPTY);
                xcb_flush(c);
                damages.push_back(d);
            } else if (type == XCB_MAP_NOTIFY && t.map < 0) {
                t.map = now;
            } else if (type == damageEvent) {
                t.paint = now;
            }
            free(e);
        }
        for (xcb_damage_damage_t d : damages)
            xcb_damage_destroy(c, d);
        xcb_flush(c);
        p.kill();
        p.waitForFinished(5000);
        return t;
    }

    xcb_connection_t* c;
    xcb_window_t root = 0;
    uint8_t damageEvent = 0;
    bool usable = false;
};

double median(std::vector<double> v)
{
    std::sort(v.begin(), v.end());
    return v.empty()
        ? -1
        : (v.size() % 2 ? v[v.size() / 2] : (v[v.size() / 2 - 1] + v[v.size() / 2]) / 2);
}
} // namespace

int main(int argc, char* argv[])
{
    if (argc < 2) {
        std::fprintf(stderr, "usage: startup_paint <build dir> [runs]\n");
        return 2;
    }
    const QString build = QString::fromLocal8Bit(argv[1]);
    const int runs = argc > 2 ? std::atoi(argv[2]) : 10;
    Display display;
    if (!display.usable) {
        std::fprintf(stderr, "startup_paint: no X display with the DAMAGE extension\n");
        return 1;
    }

    const QString installer = build + QStringLiteral("/Installer.app/Contents/Linux/Installer");
    const QString demo = build + QStringLiteral("/Demo/Demo.app");
    const QStringList installerArgs { QStringLiteral("-sourcePath"), demo,
        QStringLiteral("-destinationPath"), QStringLiteral("/tmp/startup-bench/Demo.app") };
    const QString bare = build + QStringLiteral("/bench/bare_window");
    display.startUp(bare, {}); // warm the file cache for both
    display.startUp(installer, installerArgs);
    std::vector<double> oursPaint, theirsPaint, oursMap, theirsMap;
    for (int i = 0; i < runs; ++i) {
        const Times ours = display.startUp(installer, installerArgs);
        const Times theirs = display.startUp(bare, {});
        if (ours.paint < 0 || theirs.paint < 0) {
            std::fprintf(stderr, "startup_paint: a window was never drawn\n");
            return 1;
        }
        oursPaint.push_back(ours.paint);
        theirsPaint.push_back(theirs.paint);
        oursMap.push_back(ours.map);
        theirsMap.push_back(theirs.map);
    }
    const double a = median(oursPaint), b = median(theirsPaint);
    std::printf("startup to first paint (median of %d): installer %.1f ms, bare Qt window %.1f ms, "
                "ratio %.2f\n",
        runs, a, b, b > 0 ? a / b : 0.0);
    const double am = median(oursMap), bm = median(theirsMap);
    std::printf("startup to map (median of %d): installer %.1f ms, bare Qt window %.1f ms, "
                "ratio %.2f\n",
        runs, am, bm, bm > 0 ? am / bm : 0.0);
    return 0;
}
