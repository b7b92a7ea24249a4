// Start-up to first paint: the time from starting a program until its first top-level window is
// mapped on the X server (Qt paints right after the map). Measured for the installer on the demo
// product and for a bare Qt window, alternating, in the same run; prints the medians.
//
//   startup_paint <build dir> [runs]      (needs DISPLAY; bench/run-all starts Xvfb)

#include <QElapsedTimer>
#include <QProcess>
#include <QStringList>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <poll.h>
#include <vector>
#include <xcb/xcb.h>

namespace {
double timeToFirstMap(xcb_connection_t* c, const QString& program, const QStringList& args)
{
    // Drain anything left over from the previous run.
    while (xcb_generic_event_t* e = xcb_poll_for_event(c))
        free(e);
    QProcess p;
    QElapsedTimer timer;
    timer.start();
    p.start(program, args);
    double ms = -1;
    const int fd = xcb_get_file_descriptor(c);
    while (timer.elapsed() < 10000) {
        xcb_generic_event_t* e = xcb_poll_for_event(c);
        if (!e) {
            // Sleep until the X server sends something (or the time is up).
            pollfd pfd { fd, POLLIN, 0 };
            const int left = int(10000 - timer.elapsed());
            if (left <= 0 || (::poll(&pfd, 1, left) < 0 && errno != EINTR))
                break;
            continue;
        }
        const bool mapped = (e->response_type & 0x7f) == XCB_MAP_NOTIFY;
        free(e);
        if (mapped) {
            ms = double(timer.nsecsElapsed()) / 1e6;
            break;
        }
    }
    p.kill();
    p.waitForFinished(5000);
    return ms;
}

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
    xcb_connection_t* c = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(c)) {
        std::fprintf(stderr, "startup_paint: no X display\n");
        return 1;
    }
    xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(c)).data;
    const uint32_t mask = XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
    xcb_change_window_attributes(c, screen->root, XCB_CW_EVENT_MASK, &mask);
    xcb_flush(c);

    const QString installer = build + QStringLiteral("/Installer.app/Contents/Linux/Installer");
    const QString demo = build + QStringLiteral("/Demo/Demo.app");
    const QStringList installerArgs { QStringLiteral("-sourcePath"), demo,
        QStringLiteral("-destinationPath"), QStringLiteral("/tmp/startup-bench/Demo.app") };
    const QString bare = build + QStringLiteral("/bench/bare_window");
    std::vector<double> ours, theirs;
    timeToFirstMap(c, bare, {}); // warm the file cache for both
    timeToFirstMap(c, installer, installerArgs);
    for (int i = 0; i < runs; ++i) {
        ours.push_back(timeToFirstMap(c, installer, installerArgs));
        theirs.push_back(timeToFirstMap(c, bare, {}));
    }
    const double a = median(ours), b = median(theirs);
    std::printf("startup to first paint (median of %d): installer %.1f ms, bare Qt window %.1f ms, "
                "ratio %.2f\n",
        runs, a, b, b > 0 ? a / b : 0.0);
    xcb_disconnect(c);
    return 0;
}
