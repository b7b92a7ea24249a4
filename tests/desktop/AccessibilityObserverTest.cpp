// AT-SPI observers against a real accessibility bus and real accessible Qt applications on a
// private desktop: subscribed notifications arrive with the platform's names, only from the
// observed process; without any accessibility bus the observer cannot be created.

#include "Platform/Accessibility.h"
#include "RZProcess.h"

#include "PrivateDesktop.h"
#include "TestSupport.h"

#include <gmock/gmock.h>

namespace {
struct Received {
    QString notification;
    std::optional<AXElement> element;
    void* refcon;
};
std::vector<Received> g_received;

void callback(AXObserverRef, const AXElement* element, const QString& notification, void* refcon)
{
    g_received.push_back(
        { notification, element ? std::optional(*element) : std::nullopt, refcon });
}

const Received* find(const QString& notification)
{
    for (const Received& r : g_received) {
        if (r.notification == notification)
            return &r;
    }
    return nullptr;
}
/// One desktop with an accessibility bus for the tests that need it: libatspi connects to one
/// accessibility bus per process and cannot move to another.
class AccessibilityBusTest : public ::testing::Test {
protected:
    static void SetUpTestSuite()
    {
        desktop = new PrivateDesktop;
        if (!desktop->startDisplay() || !desktop->startAccessibilityBus())
            failure = desktop->error();
        qputenv("DBUS_SESSION_BUS_ADDRESS", desktop->sessionBusAddress().toLocal8Bit());
    }
    static void TearDownTestSuite()
    {
        delete desktop;
        desktop = nullptr;
        qputenv("DBUS_SESSION_BUS_ADDRESS", savedSessionBus);
    }
    void SetUp() override { ASSERT_TRUE(failure.isEmpty()) << failure.toStdString(); }

    static inline PrivateDesktop* desktop = nullptr;
    static inline QString failure;
    static inline const QByteArray savedSessionBus = qgetenv("DBUS_SESSION_BUS_ADDRESS");
};
} // namespace

TEST(AccessibilityObserver, WithoutABusAddingTwiceLogsTheObserverOnceAndTheAdditionTwice)
{
    const QByteArray session = qgetenv("DBUS_SESSION_BUS_ADDRESS");
    const QByteArray runtime = qgetenv("XDG_RUNTIME_DIR");
    QTemporaryDir emptyRuntime;
    qunsetenv("DBUS_SESSION_BUS_ADDRESS");
    qputenv("XDG_RUNTIME_DIR", emptyRuntime.path().toLocal8Bit());
    LogRecorder log;
    const RZProcessRef process = RZProcess::processWithPID(::getpid());
    ASSERT_TRUE(process);
    process->addAXNotification(QStringLiteral("AXFocusedWindowChanged"));
    process->addAXNotification(QStringLiteral("AXFocusedWindowChanged"));
    const QString description = process->description();
    EXPECT_THAT(log.lines(),
        ::testing::ElementsAre("AX Notifications: Could not create observer for " + description,
            "AX Notifications: Could not add notification AXFocusedWindowChanged for "
                + description,
            "AX Notifications: Could not add notification AXFocusedWindowChanged for "
                + description));
    qputenv("DBUS_SESSION_BUS_ADDRESS", session);
    qputenv("XDG_RUNTIME_DIR", runtime);
}

TEST_F(AccessibilityBusTest, DeliversSubscribedNotificationsOfTheObservedApplicationOnly)
{
    QProcessEnvironment accessible;
    accessible.insert(QStringLiteral("QT_LINUX_ACCESSIBILITY_ALWAYS_ON"), QStringLiteral("1"));
    const auto watched = desktop->startWindow(QStringLiteral("Watched"), accessible);
    const auto other = desktop->startWindow(QStringLiteral("Other"), accessible);
    ASSERT_FALSE(watched.id.isEmpty());
    ASSERT_FALSE(other.id.isEmpty());
    const pid_t pid = watched.pid;

    Accessibility& ax = Accessibility::shared();
    AXUIElementRef element = ax.createApplication(pid);
    AXObserverRef observer = nullptr;
    ASSERT_EQ(ax.observerCreate(pid, callback, &observer), kAXErrorSuccess);
    int refcon = 0;
    for (const char* name : { "AXTitleChanged", "AXFocusedWindowChanged", "AXValueChanged" })
        EXPECT_EQ(ax.observerAddNotification(observer, element, QString::fromLatin1(name), &refcon),
            kAXErrorSuccess)
            << name;
    EXPECT_EQ(
        ax.observerAddNotification(observer, element, QStringLiteral("AXNoSuchThing"), &refcon),
        kAXErrorNotificationUnsupported);
    ax.addObserverToRunLoop(observer);

    auto tell = [](const PrivateDesktop::Window& w, const char* command) {
        w.process->write(command);
        w.process->write("\n");
        return !waitForLine(w.process, QStringLiteral("ok")).isEmpty();
    };

    // The other application's changes are not the observer's business.
    ASSERT_TRUE(desktop->activate(other));
    ASSERT_TRUE(tell(other, "title Other renamed"));
    spinFor(1000);
    EXPECT_TRUE(g_received.empty()) << g_received.front().notification.toStdString();

    ASSERT_TRUE(desktop->activate(watched));
    ASSERT_TRUE(spinUntil([] { return find(QStringLiteral("AXFocusedWindowChanged")); }));
    ASSERT_TRUE(tell(watched, "title Watched renamed"));
    ASSERT_TRUE(spinUntil([] { return find(QStringLiteral("AXTitleChanged")); }));
    const Received* title = find(QStringLiteral("AXTitleChanged"));
    ASSERT_TRUE(title->element);
    EXPECT_EQ(title->element->pid, pid);
    EXPECT_EQ(title->element->name, QStringLiteral("Watched renamed"));
    EXPECT_EQ(title->refcon, &refcon);
    ASSERT_TRUE(tell(watched, "text typed"));
    EXPECT_TRUE(spinUntil([] { return find(QStringLiteral("AXValueChanged")); }));

    // After removal and off the run loop nothing more arrives.
    EXPECT_EQ(ax.observerRemoveNotification(observer, element, QStringLiteral("AXTitleChanged")),
        kAXErrorSuccess);
    g_received.clear();
    ASSERT_TRUE(tell(watched, "title Again"));
    spinFor(1000);
    EXPECT_FALSE(find(QStringLiteral("AXTitleChanged")));
    ax.removeObserverFromRunLoop(observer);
    ax.releaseObserver(observer);
    ax.releaseElement(element);
}

TEST_F(AccessibilityBusTest, FocusingAndRetitlingGiveProcessUINotifications)
{
    QProcessEnvironment accessible;
    accessible.insert(QStringLiteral("QT_LINUX_ACCESSIBILITY_ALWAYS_ON"), QStringLiteral("1"));
    const auto watched = desktop->startWindow(QStringLiteral("Watched"), accessible);
    const auto other = desktop->startWindow(QStringLiteral("Other"));
    ASSERT_FALSE(watched.id.isEmpty());
    ASSERT_FALSE(other.id.isEmpty());
    ASSERT_TRUE(desktop->activate(other));

    LogRecorder log;
    const RZProcessRef process = RZProcess::processWithPID(watched.pid);
    ASSERT_TRUE(process);
    QList<Notification> posted;
    const auto token = NotificationCenter::defaultCenter().addObserver(
        RZProcessUINotification, process.get(), [&](const Notification& n) { posted << n; });
    process->addAXNotification(QStringLiteral("AXFocusedWindowChanged"));
    process->addAXNotification(QStringLiteral("AXTitleChanged"));
    EXPECT_TRUE(log.lines().isEmpty()) << log.lines().join(QLatin1Char('\n')).toStdString();
    auto events = [&] {
        QStringList names;
        for (const Notification& n : posted)
            names << n.userInfo.value(QStringLiteral("event")).toString();
        return names;
    };

    // The application learns of our listeners asynchronously: retitle until it reports.
    for (int i = 0; i < 40 && !events().contains(QStringLiteral("AXTitleChanged")); ++i) {
        watched.process->write(QStringLiteral("title Probe %1\n").arg(i).toUtf8());
        spinUntil([&] { return events().contains(QStringLiteral("AXTitleChanged")); }, 250);
    }
    ASSERT_TRUE(events().contains(QStringLiteral("AXTitleChanged")));
    spinFor(300);
    posted.clear();

    ASSERT_TRUE(desktop->activate(watched));
    ASSERT_TRUE(spinUntil([&] {
        return events().contains(QStringLiteral("AXFocusedWindowChanged"));
    })) << events().join(QLatin1Char(' ')).toStdString();
    watched.process->write("title Retitled\n");
    ASSERT_TRUE(spinUntil([&] { return events().contains(QStringLiteral("AXTitleChanged")); }))
        << events().join(QLatin1Char(' ')).toStdString();
    const Notification& title = posted[events().indexOf(QStringLiteral("AXTitleChanged"))];
    EXPECT_EQ(title.userInfo.value(QStringLiteral("element")).value<AXElement>().name,
        QStringLiteral("Retitled"));
    NotificationCenter::defaultCenter().removeObserver(token);
}
