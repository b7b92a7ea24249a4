// The installer's entry point: the arguments go unchanged to the application, which creates the
// one window controller with its window and runs its start-up.

#include "InstallerWinController.h"

#include "Platform/Foundation/Localization.h"

#include <QApplication>
#include <QDBusConnection>
#include <QThread>
#include <QWidget>

#include <fontconfig/fontconfig.h>
#include <sys/resource.h>
#include <thread>

namespace {
// Work the first paint waits for that does not need the main thread, started before
// QApplication so that it runs alongside the connection to the display: fontconfig's
// configuration (the first text layout loads it) and the session bus (the accessibility bridge
// connects to it on the first accessible-name change and blocks until it is up).
//
// The font thread runs at the lowest priority (nice 19), so that the main thread and the display
// server, which trade requests all through QApplication's construction, keep a core whenever
// they want one. Nothing ever waits for it: if the main thread needs fonts first, fontconfig
// loads its configuration there as well and the later copy is dropped. The bus thread keeps normal
// priority, since the accessibility bridge may wait for the connection it holds; it mostly sleeps
// while Qt's bus thread connects.
class StartUpWarmUp {
public:
    StartUpWarmUp()
    {
        // Qt takes the first thread that asks for its thread data as the main thread.
        QThread::currentThread();
        m_fonts = std::thread([] {
            setpriority(PRIO_PROCESS, 0, 19); // this thread only, on Linux
            FcInit();
        });
        if (hasAccessibilityBridge())
            m_bus = std::thread([] { QDBusConnection::sessionBus(); });
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
    const int status = QApplication::exec();
    warmUp.finish(); // long done by now; joined while the application still exists
    return status;
}
