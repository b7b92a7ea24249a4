// Desktop queries: the menu-bar monitor and full-screen mode, the dark theme, a tracer attached,
// idle time, file-system type names, the display zoom and the tint image.

#include "RZUtilities.h"

#include "Platform/DesktopEnvironment.h"
#include "Platform/Foundation/Bundle.h"
#include "Platform/Foundation/Log.h"
#include "Platform/Linux/DesktopQueries.h"

#include <QFile>

#include <sys/vfs.h>

namespace {
// Despite its name, 1 means hidden: it is set when the menu bar is reported hidden.
bool menuBarIsShown = false;
EventHandlerProcPtr installedMenuBarHandler = nullptr;

const std::vector<EventTypeSpec> menuBarEventsWanted = {
    { kEventClassMenu, kEventMenuBarShown },
    { kEventClassMenu, kEventMenuBarHidden },
};
} // namespace

void InstallMenuBarEventMonitor()
{
    if (installedMenuBarHandler)
        return;
    // Marked before the attempt: a failed installation is not tried again.
    installedMenuBarHandler = MonitorMenuBarEventHandler;
    DesktopEnvironment& desktop = DesktopEnvironment::shared();
    const OSStatus status = desktop.installEventHandler(desktop.getEventDispatcherTarget(),
        MonitorMenuBarEventHandler, menuBarEventsWanted, nullptr);
    if (status != noErr)
        NSLog(QStringLiteral("could not install menu bar visibility event handl)"));
}

OSStatus MonitorMenuBarEventHandler(EventHandlerCallRef, EventRef event, void*)
{
    if (GetEventClass(event) != kEventClassMenu)
        return eventNotHandledErr;
    const uint32_t kind = GetEventKind(event);
    if (kind == kEventMenuBarHidden)
        menuBarIsShown = true;
    else if (kind == kEventMenuBarShown)
        menuBarIsShown = false;
    return eventNotHandledErr;
}

void RZUtilities::resetMenuBarMonitorForTesting()
{
    menuBarIsShown = false;
    installedMenuBarHandler = nullptr;
}

bool RZUtilities::fullScreenMode()
{
    InstallMenuBarEventMonitor();
    return menuBarIsShown;
}

bool RZUtilities::darkMenuTheme()
{
    if (!yosemiteOrNewer())
        return false;
    const auto style = DesktopEnvironment::shared().interfaceStyle();
    return style && *style == QLatin1String("Dark");
}

bool RZUtilities::debugging()
{
    QFile status(QStringLiteral("/proc/self/status"));
    return status.open(QIODevice::ReadOnly) && tracerPidIn(status.readAll()) != 0;
}

float RZUtilities::idleTime()
{
    const auto nanoseconds = DesktopEnvironment::shared().hidIdleTime();
    if (!nanoseconds)
        return -1.0f;
    return float(*nanoseconds) / 1000000000.0f;
}

QString RZUtilities::fileSystemTypeFor(const QString& path)
{
    NSLog(QStringLiteral("FS Info %@"), path);
    const QByteArray native = QFile::encodeName(path);
    struct statfs info { };
    const int err = ::statfs(native.constData(), &info);
    NSLog(QStringLiteral("statfs err = %d"), err);
    if (err != 0)
        return QString();
    return fileSystemTypeName(native, long(info.f_type));
}

bool RZUtilities::displayIsZoomed()
{
    return false;
}

QString RZUtilities::systemTintImageName()
{
    QString name;
    if (yosemiteOrNewer())
        name = darkMenuTheme() ? QStringLiteral("tintYosDark") : QStringLiteral("tintYos");
    else
        name = QStringLiteral("tintMav");
    const bool blue = DesktopEnvironment::shared().currentControlTint() == NSBlueControlTint;
    return name + (blue ? QStringLiteral("Blue") : QStringLiteral("Graphite"));
}

QImage RZUtilities::systemTintImage()
{
    const QString name = systemTintImageName();
    for (const char* type : { "png", "svg" }) {
        const QString path = Bundle::mainBundle().pathForResource(name, QString::fromLatin1(type));
        if (!path.isEmpty())
            return QImage(path);
    }
    return QImage();
}
