// The installer's entry point: the arguments go unchanged to the application, which creates the
// one window controller with its window and runs its start-up.

#include "InstallerWinController.h"

#include "Platform/Foundation/Localization.h"

#include <QApplication>
#include <QDBusConnection>
#include <QThread>
#include <QWidget>

#include <fontconfig/fontconfig.h>
#include <sched.h>
#include <thread>

namespace {
// Work the first paint waits for that does not need the main thread, started before
// QApplication so that it runs alongside the connection to the display: fontconfig's
// configuration (the first text layout loads it) and the session bus (the accessibility bridge
// connects to it on the first accessible-name change and blocks until it is up).
//
// The threads run in the idle scheduling class: they use what the main thread and the display
// server leave free and never take a core from them (at normal priority they slowed
// QApplication's construction by about as much as they saved). Processes they start, such as
// the bus launcher, get normal scheduling back.
class StartUpWarmUp {
public:
    StartUpWarmUp()
    {
        // Qt takes the first thread that asks for its thread data as the main thread.
        QThread::currentThread();
        m_fonts = std::thread([] {
            runWhenIdle();
            FcInit();
        });
        if (hasAccessibilityBridge())
            m_bus = std::thread([] {
                runWhenIdle();
                QDBusConnection::sessionBus();
            });
    }
    ~StartUpWarmUp() { finish(); }
    void finish()
    {
        if (m_fonts.joinable())
            m_fonts.join();
        if (m_bus.joinable())
            m_bus.join();
    }

private:
    static void runWhenIdle()
    {
        const sched_param none {};
        sched_setscheduler(0, SCHED_IDLE | SCHED_RESET_ON_FORK, &none);
    }
    // The desktop platforms publish the widgets over the accessibility bus; the offscreen and
    // minimal ones do not, and must not open a session bus.
    static bool hasAccessibilityBridge()
    {
        const QByteArray platform = qgetenv("QT_QPA_PLATFORM");
        return platform.isEmpty() || platform.startsWith("xcb") || platform.startsWith("wayland");
    }
    std::thread m_fonts;
    std::thread m_bus;
};
} // namespace

int main(int argc, char* argv[])
{
    StartUpWarmUp warmUp;
    QApplication app(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("Velkaro"));
    QCoreApplication::setApplicationName(QStringLiteral("Installer"));
    QApplication::setQuitOnLastWindowClosed(
        InstallerWinController::applicationShouldTerminateAfterLastWindowClosed());
    installStringTables(app);
    InstallerWinController controller;
    controller.awakeFromNib();
    controller.window->show();
    warmUp.finish();
    return QApplication::exec();
}
