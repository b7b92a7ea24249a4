// A small application for process tests. Built into bundles by the tests.
//   fakeapp [--ignore-term] [--exit-after MS] [--window TITLE]
// Quits on SIGTERM unless --ignore-term; ends by itself after MS milliseconds with --exit-after;
// opens a top-level window with --window (on the xcb platform). Prints "ready" once set up.

#include <QApplication>
#include <QLabel>
#include <QTimer>

#include <csignal>
#include <cstdio>
#include <cstring>
#include <unistd.h>

int main(int argc, char* argv[])
{
    bool ignoreTerm = false;
    int exitAfter = -1;
    const char* title = nullptr;
    for (int i = 1; i < argc; ++i) {
        if (!std::strcmp(argv[i], "--ignore-term"))
            ignoreTerm = true;
        else if (!std::strcmp(argv[i], "--exit-after") && i + 1 < argc)
            exitAfter = std::atoi(argv[++i]);
        else if (!std::strcmp(argv[i], "--window") && i + 1 < argc)
            title = argv[++i];
    }
    if (ignoreTerm)
        std::signal(SIGTERM, SIG_IGN);
    if (!title) {
        // No window: a plain process that sleeps until it is told to end.
        std::printf("ready\n");
        std::fflush(stdout);
        if (exitAfter >= 0) {
            ::usleep(useconds_t(exitAfter) * 1000);
            return 0;
        }
        for (;;)
            ::pause();
    }
    QApplication app(argc, argv);
    QLabel window(QString::fromLocal8Bit(title));
    window.setWindowTitle(QString::fromLocal8Bit(title));
    window.resize(300, 120);
    window.show();
    if (exitAfter >= 0)
        QTimer::singleShot(exitAfter, &app, &QApplication::quit);
    QTimer::singleShot(0, [] {
        std::printf("ready\n");
        std::fflush(stdout);
    });
    return QApplication::exec();
}
