// The launch/quit handler and the accessibility observers of the process class, against fake
// event sources. Each test that depends on the class-wide state (installed once, the counter)
// uses a class of its own: SampleProcess<N>.

#include "RZProcessNotifications.h"

#include "FakeAccessibility.h"
#include "FakeApplicationEventSource.h"
#include "Platform/Foundation/NotificationQueue.h"
#include "TestSupport.h"

#include <QCoreApplication>

#include <gmock/gmock.h>

using ::testing::ElementsAre;

namespace {
QStringList g_journal;

template <int N> class SampleProcess : public RZProcessNotifications<SampleProcess<N>> {
public:
    explicit SampleProcess(pid_t pid)
        : m_pid(pid)
    {
    }
    ~SampleProcess() { this->unregisterAXNotifications(); }
    pid_t unixPID() const { return m_pid; }
    QString description() const
    {
        return stringWithFormat("Process \"%@\" (%@) %@", "Sample", "SAMP", "1.0");
    }
    static void cleanupCache()
    {
        g_journal << QStringLiteral("cleanupCache with %1 waiting")
                         .arg(NotificationQueue::defaultQueue().pendingNotifications().size());
    }

private:
    pid_t m_pid;
};

/// Records what the default center posts, from the time it is made.
class Posted {
public:
    Posted()
    {
        m_token = NotificationCenter::defaultCenter().addObserver(
            QString(), nullptr, [this](const Notification& n) { m_list << n; });
    }
    ~Posted() { NotificationCenter::defaultCenter().removeObserver(m_token); }
    QList<Notification> take()
    {
        QCoreApplication::processEvents();
        return std::exchange(m_list, {});
    }

private:
    NotificationCenter::ObserverToken m_token;
    QList<Notification> m_list;
};
} // namespace

TEST(RZProcessNotifications, InstallsTheHandlerOncePerRunEvenWhenInstallingFails)
{
    FakeApplicationEventSource source;
    source.installStatus = eventInternalErr;
    for (int i = 0; i < 5; ++i)
        SampleProcess<1>::installNotifications();
    EXPECT_EQ(source.installCalls, 1);
    source.installStatus = noErr;
    SampleProcess<1>::installNotifications();
    EXPECT_EQ(source.installCalls, 1);

    SampleProcess<2>::installNotifications();
    SampleProcess<2>::installNotifications();
    ASSERT_EQ(source.handlers.size(), 1u);
    std::vector<uint32_t> kinds;
    for (const EventTypeSpec& t : source.handlers[0].types) {
        EXPECT_EQ(t.eventClass, kEventClassApplication);
        kinds.push_back(t.eventKind);
    }
    EXPECT_THAT(kinds, ElementsAre(5u, 6u, 7u));
}

TEST(RZProcessNotifications, EachEventKindGivesItsWordCounterAndCacheCleanup)
{
    FakeApplicationEventSource source;
    SampleProcess<3>::installNotifications();
    ASSERT_EQ(source.handlers.size(), 1u);
    Posted posted;
    const struct {
        uint32_t kind;
        const char* word;
        int counted;
        bool cleansCache;
    } cases[] = {
        { kEventAppLaunched, "started", 1, false },
        { kEventAppTerminated, "ended", 1, true },
        { kEventAppFrontSwitched, "front", 0, false },
        { 42, "", 0, false },
    };
    for (const auto& c : cases) {
        g_journal.clear();
        const int before = SampleProcess<3>::applicationLaunchEndCount();
        const ApplicationEvent event { kEventClassApplication, c.kind, 1234 };
        EXPECT_EQ(ApplicationStartEndHandler(nullptr, &event, source.handlers[0].userData), noErr);
        EXPECT_EQ(SampleProcess<3>::applicationLaunchEndCount() - before, c.counted) << c.word;
        // A termination cleans the cache before its notification waits in the queue.
        EXPECT_EQ(g_journal,
            c.cleansCache ? QStringList { "cleanupCache with 0 waiting" } : QStringList())
            << c.word;
        const QList<Notification> list = posted.take();
        ASSERT_EQ(list.size(), 1) << c.word;
        EXPECT_EQ(list[0].name, QStringLiteral("RZProcessChangeNotification"));
        EXPECT_EQ(list[0].object, SampleProcess<3>::classObject());
        EXPECT_EQ(list[0].userInfo, (QVariantMap { { "change", QString::fromUtf8(c.word) } }));
    }
}

TEST(RZProcessNotifications, EventsOfOnePassArriveAsOneNotification)
{
    FakeApplicationEventSource source;
    SampleProcess<4>::installNotifications();
    Posted posted;
    const int before = SampleProcess<4>::applicationLaunchEndCount();
    source.send(kEventAppLaunched);
    source.send(kEventAppTerminated);
    source.send(kEventAppFrontSwitched);
    source.send(kEventAppLaunched);
    EXPECT_EQ(SampleProcess<4>::applicationLaunchEndCount() - before, 3);
    const QList<Notification> list = posted.take();
    ASSERT_EQ(list.size(), 1);
    EXPECT_EQ(list[0].userInfo.value("change"), QStringLiteral("started"));
    source.send(kEventAppTerminated);
    EXPECT_EQ(posted.take().size(), 1);
}

class AXNotificationsTest : public ::testing::Test {
protected:
    FakeAccessibility ax;
    LogRecorder log;
    const QString desc = QStringLiteral("Process \"Sample\" (SAMP) 1.0");
};

TEST_F(AXNotificationsTest, ObserverFailureIsLoggedOnceAndEachFailedAddition)
{
    ax.observerCreateStatus = kAXErrorAPIDisabled;
    SampleProcess<5> process(77);
    process.addAXNotification(QStringLiteral("AXTitleChanged"));
    process.addAXNotification(QStringLiteral("AXTitleChanged"));
    EXPECT_EQ(log.count("AX Notifications: Could not create observer for " + desc), 1);
    EXPECT_EQ(
        log.count("AX Notifications: Could not add notification AXTitleChanged for " + desc), 2);
    EXPECT_EQ(ax.calls.count("observerCreate 77"), 1);
    process.removeAXNotification(QStringLiteral("AXTitleChanged"));
    EXPECT_FALSE(ax.calls.contains("removeNotification AXTitleChanged"));
}

TEST_F(AXNotificationsTest, ElementFailureIsTriedAgainOnTheNextAddition)
{
    ax.failCreateApplication = true;
    SampleProcess<5> process(78);
    process.addAXNotification(QStringLiteral("AXWindowCreated"));
    process.addAXNotification(QStringLiteral("AXWindowCreated"));
    EXPECT_EQ(log.count("AX Notifications: Could not create application object for " + desc), 2);
    EXPECT_EQ(
        log.count("AX Notifications: Could not add notification AXWindowCreated for " + desc), 2);
    EXPECT_EQ(ax.calls.count("observerCreate 78"), 0);
}

TEST_F(AXNotificationsTest, HandlerSendsElementAndEventFromTheObject)
{
    Posted posted;
    SampleProcess<5> process(79);
    process.addAXNotification(QStringLiteral("AXTitleChanged"));
    process.addAXNotification(QStringLiteral("AXWindowCreated"));
    EXPECT_TRUE(log.lines().isEmpty()) << log.lines().join("\n").toStdString();
    const AXElement window { 79, "frame", "Renamed", ":1.5", "/org/a11y/atspi/accessible/1" };
    ASSERT_EQ(ax.deliver(79, QStringLiteral("AXTitleChanged"), &window), 1);
    QList<Notification> list = posted.take();
    ASSERT_EQ(list.size(), 1);
    EXPECT_EQ(list[0].name, QStringLiteral("RZProcessUINotification"));
    EXPECT_EQ(list[0].object, &process);
    EXPECT_EQ(list[0].userInfo.value("event"), QStringLiteral("AXTitleChanged"));
    EXPECT_EQ(list[0].userInfo.value("element").value<AXElement>(), window);

    ASSERT_EQ(ax.deliver(79, QStringLiteral("AXWindowCreated"), nullptr), 1);
    list = posted.take();
    ASSERT_EQ(list.size(), 1);
    EXPECT_EQ(list[0].userInfo.value("element"), QVariant(QStringLiteral("")));
    EXPECT_EQ(list[0].userInfo.value("event"), QStringLiteral("AXWindowCreated"));

    process.removeAXNotification(QStringLiteral("AXTitleChanged"));
    EXPECT_EQ(ax.deliver(79, QStringLiteral("AXTitleChanged"), &window), 0);
}

TEST_F(AXNotificationsTest, DestructionReleasesElementAndObserverOffTheRunLoop)
{
    {
        SampleProcess<5> process(80);
        process.addAXNotification(QStringLiteral("AXValueChanged"));
        process.addAXNotification(QStringLiteral("AXTitleChanged"));
        EXPECT_EQ(ax.liveObservers, 1);
    }
    EXPECT_THAT(ax.calls,
        ElementsAre("createApplication 80", "observerCreate 80", "addToRunLoop",
            "addNotification AXValueChanged", "addNotification AXTitleChanged", "releaseElement",
            "removeFromRunLoop", "releaseObserver"));
    EXPECT_EQ(ax.liveElements, 0);
    EXPECT_EQ(ax.liveObservers, 0);
}
