// The Linux application events against real processes and a real X server with a window manager:
// a started and ended process gives a launch and a termination, activating another application's
// window gives one front switch.

#include "Platform/Linux/LinuxApplicationEventSource.h"

#include "PrivateDesktop.h"
#include "TestSupport.h"

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
    const auto first = desktop.startWindow(QStringLiteral("First"));
    const auto second = desktop.startWindow(QStringLiteral("Second"));
    ASSERT_FALSE(first.id.isEmpty());
    ASSERT_FALSE(second.id.isEmpty());

    g_seen.clear();
    qputenv("DISPLAY", desktop.display().toLocal8Bit());
    auto source = makeLinuxApplicationEventSource();
    source->installEventHandler(source->getApplicationEventTarget(), record, kAllKinds, nullptr);
    qunsetenv("DISPLAY");

    // Whichever window came up active, the first one is active after this.
    ASSERT_TRUE(desktop.activate(first));
    spinFor(500);
    for (const auto& window : { second, first }) {
        const int before = countOf(kEventAppFrontSwitched);
        ASSERT_TRUE(desktop.activate(window));
        ASSERT_TRUE(spinUntil([&] { return seen(kEventAppFrontSwitched, window.pid); }))
            << "no front switch to " << window.pid;
        spinFor(500); // a repeated report of the same change would arrive by now
        EXPECT_EQ(countOf(kEventAppFrontSwitched), before + 1);
        g_seen.clear();
    }
}
