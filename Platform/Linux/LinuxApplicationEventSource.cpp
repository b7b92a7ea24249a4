// Application events on Linux. Launches and terminations come from a look at the process table
// (ProcessTable) every quarter second on the main thread's event loop; front switches come from
// the window manager's active-window property (ActiveWindowWatcher), when there is an X display.
// Both watchers start with the first installed handler and live for the rest of the program run.
// Handlers are called on the main thread, as the platform's own events would be.

#include "Platform/Linux/LinuxApplicationEventSource.h"
#include "Platform/Linux/ActiveWindowWatcher.h"
#include "Platform/Linux/EventHandlerList.h"
#include "Platform/Linux/ProcessTable.h"

#include <QCoreApplication>
#include <QThread>
#include <QTimer>

#include <algorithm>
#include <atomic>
#include <memory>
#include <mutex>

namespace {
constexpr int kProcessTableIntervalMs = 250;

class LinuxApplicationEventSource final : public ApplicationEventSource {
public:
    explicit LinuxApplicationEventSource(uid_t processOwner = ::getuid())
        : m_table(QStringLiteral("/proc"), processOwner)
    {
    }

    EventTargetRef getApplicationEventTarget() override { return this; }

    OSStatus installEventHandler(EventTargetRef target, EventHandlerProcPtr handler,
        const std::vector<EventTypeSpec>& types, void* userData) override
    {
        if (target != this || !handler)
            return paramErr;
        QCoreApplication* app = QCoreApplication::instance();
        if (!app)
            return eventInternalErr;
        m_handlers.add(handler, types, userData);
        // The watchers belong to the main thread, whichever thread installs the first handler.
        std::call_once(m_started, [this, app] {
            if (QThread::currentThread() == app->thread())
                startWatchers();
            else
                QMetaObject::invokeMethod(
                    app, [this] { startWatchers(); }, Qt::QueuedConnection);
        });
        return noErr;
    }

private:
    void startWatchers()
    {
        m_timer = std::make_unique<QTimer>();
        QObject::connect(m_timer.get(), &QTimer::timeout, [this] { lookAtProcessTable(); });
        m_table.update();
        m_timer->start(kProcessTableIntervalMs);
        m_activeWindow = std::make_unique<ActiveWindowWatcher>();
        m_activeWindow->start([this](pid_t pid) { dispatch(kEventAppFrontSwitched, pid); });
    }

    void lookAtProcessTable()
    {
        // Terminations go first: one look sees both at the same moment, and a handler whose
        // notifications are merged per pass keeps the first, so the one that cleans caches wins.
        const ProcessTableChanges changes = m_table.update();
        for (pid_t pid : changes.terminated)
            dispatch(kEventAppTerminated, pid);
        for (pid_t pid : changes.launched)
            dispatch(kEventAppLaunched, pid);
    }

    void dispatch(uint32_t kind, pid_t pid)
    {
        m_handlers.dispatch({ kEventClassApplication, kind, pid });
    }

    EventHandlerList m_handlers;
    std::once_flag m_started;
    ProcessTable m_table;
    std::unique_ptr<QTimer> m_timer;
    std::unique_ptr<ActiveWindowWatcher> m_activeWindow;
};

} // namespace

std::unique_ptr<ApplicationEventSource> makeLinuxApplicationEventSource(uid_t processOwner)
{
    return std::make_unique<LinuxApplicationEventSource>(processOwner);
}

namespace {
LinuxApplicationEventSource* systemSource()
{
    // Never destroyed: its Qt objects must not outlive the application object at exit.
    static auto* source = new LinuxApplicationEventSource;
    return source;
}

std::atomic<ApplicationEventSource*> sharedSource { nullptr };
} // namespace

ApplicationEventSource& ApplicationEventSource::shared()
{
    ApplicationEventSource* s = sharedSource.load();
    return s ? *s : *systemSource();
}

void ApplicationEventSource::setShared(ApplicationEventSource* source)
{
    sharedSource.store(source);
}
