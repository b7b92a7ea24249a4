// The launch/quit handler and the accessibility observers of the process class, against fake
// event sources. Each test that depends on the class-wide state (installed once, the counter)
// uses a class of its own: SampleProcess<N>.

#include "RZProcessNotifications.h"
#include "RZProcess.h"

#include "FakeAccessibility.h"
#include "FakeApplicationEventSource.h"
#include "FakeProcessManager.h"
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

/// Records what the default center posts under one name from one sender, from the time it is
/// made (the real launch/quit watcher may be running in this process too).
class Posted {
public:
    explicit Posted(const QString& name = QString(), NotificationSender sender = nullptr)
    {
        m_token = NotificationCenter::defaultCenter().addObserver(
            name, sender, [this](const Notification& n) { m_list << n; });
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
    Posted posted(RZProcessChangeNotification, SampleProcess<3>::classObject());
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
    Posted posted(RZProcessChangeNotification, SampleProcess<4>::classObject());
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
    SampleProcess<5> process(79);
    Posted posted(RZProcessUINotification, &process);
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

// The process class itself, with its cache, against a fake process table.
class RZProcessClassNotificationsTest : public ::testing::Test {
protected:
    RZProcessClassNotificationsTest()
    {
        RZProcess::resetForTesting();
        manager.add(11, QStringLiteral("Alive"), QStringLiteral("ALIV"));
        manager.add(12, QStringLiteral("Gone"), QStringLiteral("GONE"));
    }
    ~RZProcessClassNotificationsTest() override { RZProcess::resetForTesting(); }
    static void send(uint32_t kind)
    {
        const ApplicationEvent event { kEventClassApplication, kind, 0 };
        ApplicationStartEndHandler(
            nullptr, &event, const_cast<RZProcessClassInfo*>(RZProcess::classObject()));
    }

    // Before any object exists: the class installs its handler on the fake, not on the real
    // watcher, whose events would mix with the test's.
    FakeApplicationEventSource source;
    FakeProcessManager manager;
    FakeAccessibility ax;
    LogRecorder log;
};

TEST_F(
    RZProcessClassNotificationsTest, OnlyTerminationCleansTheCacheAndOnlyLaunchAndTerminationCount)
{
    const struct {
        uint32_t kind;
        const char* word;
        int counted;
        QList<pid_t> cachedAfter;
    } cases[] = {
        { kEventAppLaunched, "started", 1, { 12, 11 } },
        { kEventAppTerminated, "ended", 1, { 11 } },
        { kEventAppFrontSwitched, "front", 0, { 12, 11 } },
    };
    for (const auto& c : cases) {
        RZProcess::resetForTesting();
        manager.find({ 1, 12 })->running = true;
        const std::weak_ptr<RZProcess> alive = RZProcess::processWithPID(11);
        const std::weak_ptr<RZProcess> gone = RZProcess::processWithPID(12);
        manager.find({ 1, 12 })->running = false;
        Posted posted(RZProcessChangeNotification, RZProcess::classObject());
        const int before = RZProcess::applicationLaunchEndCount();
        send(c.kind);
        // Before the queue posts anything, the cache is already as the observers will see it.
        EXPECT_EQ(NotificationQueue::defaultQueue().pendingNotifications().size(), 1) << c.word;
        EXPECT_EQ(cachedProcessPids(), c.cachedAfter) << c.word;
        EXPECT_EQ(gone.expired(), c.cachedAfter.size() == 1) << "the cache owned it";
        EXPECT_EQ(RZProcess::applicationLaunchEndCount() - before, c.counted) << c.word;
        const QList<Notification> list = posted.take();
        ASSERT_EQ(list.size(), 1) << c.word;
        EXPECT_EQ(list[0].userInfo, (QVariantMap { { "change", QString::fromUtf8(c.word) } }));
    }
}

TEST_F(
    RZProcessClassNotificationsTest, ObjectSendsItsAccessibilityNotificationsAndReleasesItsObserver)
{
    std::weak_ptr<RZProcess> weak;
    {
        const RZProcessRef process = RZProcess::processWithPID(12);
        weak = process;
        Posted posted(RZProcessUINotification, process.get());
        process->addAXNotification(QStringLiteral("AXFocusedWindowChanged"));
        ASSERT_EQ(ax.deliver(12, QStringLiteral("AXFocusedWindowChanged"), nullptr), 1);
        const QList<Notification> list = posted.take();
        ASSERT_EQ(list.size(), 1);
        EXPECT_EQ(list[0].userInfo.value("event"), QStringLiteral("AXFocusedWindowChanged"));
        EXPECT_EQ(list[0].userInfo.value("element"), QVariant(QStringLiteral("")));
    }
    manager.find({ 1, 12 })->running = false;
    send(kEventAppTerminated);
    EXPECT_TRUE(weak.expired());
    EXPECT_EQ(ax.liveElements, 0);
    EXPECT_EQ(ax.liveObservers, 0);
    EXPECT_EQ(ax.calls.mid(ax.calls.size() - 3),
        (QStringList { "releaseElement", "removeFromRunLoop", "releaseObserver" }));
}
