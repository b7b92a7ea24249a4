// The Linux application events against real processes and a real X server with a window manager:
// a started and ended process gives a launch and a termination, activating another application's
// window gives one front switch.

#include "Platform/Linux/LinuxApplicationEventSource.h"

#include "PrivateDesktop.h"
#include "TestSupport.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QElapsedTimer>

#include <gmock/gmock.h>

namespace {
struct Seen {
    uint32_t kind;
    pid_t pid;
};
std::vector<Seen> g_seen;

OSStatus record(EventHandlerCallRef, EventRef event, void*)
{
    g_seen.push_back({ GetEventKind(event), event->pid });
    return noErr;
}

const std::vector<EventTypeSpec> kAllKinds = { { kEventClassApplication, kEventAppLaunched },
    { kEventClassApplication, kEventAppTerminated },
    { kEventClassApplication, kEventAppFrontSwitched } };

bool seen(uint32_t kind, pid_t pid)
{
    return std::any_of(g_seen.begin(), g_seen.end(),
        [&](const Seen& s) { return s.kind == kind && s.pid == pid; });
}

int countOf(uint32_t kind)
{
    return int(
        std::count_if(g_seen.begin(), g_seen.end(), [&](const Seen& s) { return s.kind == kind; }));
}

/// Runs the event loop until condition holds or timeoutMs passes.
bool spinUntil(const std::function<bool()>& condition, int timeoutMs = 10000)
{
    QDeadlineTimer deadline(timeoutMs);
    while (!condition() && !deadline.hasExpired())
        QCoreApplication::processEvents(QEventLoop::AllEvents, 50);
    return condition();
}

void spinFor(int ms)
{
    QElapsedTimer t;
    t.start();
    while (t.elapsed() < ms)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
}
} // namespace

TEST(ApplicationEvents, ProcessStartedAndEndedGivesLaunchThenTermination)
{
    g_seen.clear();
    auto source = makeLinuxApplicationEventSource();
    ASSERT_EQ(source->installEventHandler(
                  source->getApplicationEventTarget(), record, kAllKinds, nullptr),
        noErr);
    QProcess child;
    child.start(QStringLiteral("sleep"), { QStringLiteral("30") });
    ASSERT_TRUE(child.waitForStarted());
    const auto pid = pid_t(child.processId());
    ASSERT_TRUE(spinUntil([&] { return seen(kEventAppLaunched, pid); })) << "no launch of " << pid;
    EXPECT_FALSE(seen(kEventAppTerminated, pid));
    child.kill();
    child.waitForFinished();
    ASSERT_TRUE(spinUntil([&] { return seen(kEventAppTerminated, pid); })) << "no end of " << pid;
    const auto launch = std::find_if(g_seen.begin(), g_seen.end(),
        [&](const Seen& s) { return s.pid == pid && s.kind == kEventAppLaunched; });
    const auto end = std::find_if(g_seen.begin(), g_seen.end(),
        [&](const Seen& s) { return s.pid == pid && s.kind == kEventAppTerminated; });
    EXPECT_LT(launch - g_seen.begin(), end - g_seen.begin());
}

TEST(ApplicationEvents, ActivatingAnotherApplicationsWindowGivesOneFrontSwitch)
{
    PrivateDesktop desktop;
    ASSERT_TRUE(desktop.startDisplay()) << desktop.error().toStdString();
    const QString program = QStringLiteral(TEST_BINARY_DIR "/test-programs/accessible_window");
    QProcess* first = desktop.start(program, { QStringLiteral("First") });
    QProcess* second = desktop.start(program, { QStringLiteral("Second") });
    const QStringList firstReady
        = waitForLine(first, QStringLiteral("ready")).split(QLatin1Char(' '));
    const QStringList secondReady
        = waitForLine(second, QStringLiteral("ready")).split(QLatin1Char(' '));
    ASSERT_EQ(firstReady.size(), 3);
    ASSERT_EQ(secondReady.size(), 3);

    g_seen.clear();
    qputenv("DISPLAY", desktop.display().toLocal8Bit());
    auto source = makeLinuxApplicationEventSource();
    source->installEventHandler(source->getApplicationEventTarget(), record, kAllKinds, nullptr);
    qunsetenv("DISPLAY");

    auto activate = [&](const QStringList& ready) {
        QProcess xdotool;
        xdotool.setProcessEnvironment(desktop.environment());
        xdotool.start(QStringLiteral("xdotool"),
            { QStringLiteral("windowactivate"), QStringLiteral("--sync"), ready[1] });
        return xdotool.waitForFinished(10000) && xdotool.exitCode() == 0;
    };
    // Whichever window came up active, the first one is active after this.
    ASSERT_TRUE(activate(firstReady));
    spinFor(500);
    for (const QStringList& ready : { secondReady, firstReady }) {
        const int before = countOf(kEventAppFrontSwitched);
        ASSERT_TRUE(activate(ready));
        ASSERT_TRUE(spinUntil([&] {
            return seen(kEventAppFrontSwitched, pid_t(ready[2].toInt()));
        })) << "no front switch to "
            << ready[2].toStdString();
        spinFor(500); // a repeated report of the same change would arrive by now
        EXPECT_EQ(countOf(kEventAppFrontSwitched), before + 1);
        g_seen.clear();
    }
}
