// The notification center's matching and delivery order, and the queue's timing and coalescing
// on Qt's event loop.

#include "Platform/Foundation/NotificationCenter.h"
#include "Platform/Foundation/NotificationQueue.h"

#include "TestSupport.h"

#include <QCoreApplication>
#include <QTimer>

#include <gmock/gmock.h>

using ::testing::ElementsAre;

namespace {
int senderA = 1;
int senderB = 2;

QStringList describe(const QList<Notification>& list)
{
    QStringList out;
    for (const Notification& n : list)
        out << n.name + QLatin1Char(':') + n.userInfo.value(QStringLiteral("k")).toString();
    return out;
}
} // namespace

TEST(NotificationCenter, ObserversMatchOnNameAndSender)
{
    const struct {
        const char* observedName;
        NotificationSender observedSender;
        const char* postedName;
        NotificationSender postedSender;
        bool delivered;
    } cases[] = {
        { "Change", &senderA, "Change", &senderA, true },
        { "Change", &senderA, "Change", &senderB, false },
        { "Change", &senderA, "Other", &senderA, false },
        { "Change", nullptr, "Change", &senderB, true },
        { "", &senderA, "Other", &senderA, true },
        { "", nullptr, "Anything", nullptr, true },
        { "Change", &senderA, "Change", nullptr, false },
    };
    for (const auto& c : cases) {
        NotificationCenter center;
        int calls = 0;
        center.addObserver(QString::fromUtf8(c.observedName), c.observedSender,
            [&](const Notification&) { ++calls; });
        center.postNotificationName(QString::fromUtf8(c.postedName), c.postedSender);
        EXPECT_EQ(calls, c.delivered ? 1 : 0)
            << c.observedName << " observed, " << c.postedName << " posted";
    }
}

TEST(NotificationCenter, DeliversInRegistrationOrderAndHonoursRemovalDuringDelivery)
{
    NotificationCenter center;
    QStringList calls;
    NotificationCenter::ObserverToken third = 0;
    center.addObserver(QStringLiteral("N"), nullptr, [&](const Notification& n) {
        calls << QStringLiteral("first ") + n.userInfo.value(QStringLiteral("k")).toString();
        center.removeObserver(third);
    });
    center.addObserver(QStringLiteral("N"), nullptr,
        [&](const Notification&) { calls << QStringLiteral("second"); });
    third = center.addObserver(QStringLiteral("N"), nullptr,
        [&](const Notification&) { calls << QStringLiteral("third"); });
    center.postNotificationName(QStringLiteral("N"), nullptr, { { QStringLiteral("k"), 7 } });
    EXPECT_THAT(calls, ElementsAre("first 7", "second"));
}

TEST(NotificationCenter, ObserverWithContextGoesAwayWithIt)
{
    NotificationCenter center;
    int calls = 0;
    auto* context = new QObject;
    center.addObserver(
        QStringLiteral("N"), nullptr, [&](const Notification&) { ++calls; }, context);
    delete context;
    center.postNotificationName(QStringLiteral("N"), nullptr);
    EXPECT_EQ(calls, 0);
    EXPECT_EQ(center.observerCount(), 0);
}

class NotificationQueueTest : public ::testing::Test {
protected:
    NotificationQueueTest()
    {
        center.addObserver(QString(), nullptr, [this](const Notification& n) { posted << n; });
    }
    Notification note(const char* name, NotificationSender sender, const char* k)
    {
        return Notification { QString::fromUtf8(name), sender,
            { { QStringLiteral("k"), QString::fromUtf8(k) } } };
    }

    NotificationCenter center;
    NotificationQueue queue { center };
    QList<Notification> posted;
};

TEST_F(NotificationQueueTest, PostsWhenTheEventLoopRunsMergingSimilarOnesKeepingTheFirst)
{
    queue.enqueueNotification(note("N", &senderA, "started"), PostWhenIdle);
    queue.enqueueNotification(note("N", &senderA, "ended"), PostWhenIdle);
    queue.enqueueNotification(note("N", &senderB, "other sender"), PostWhenIdle);
    queue.enqueueNotification(note("M", &senderA, "other name"), PostWhenIdle);
    queue.enqueueNotification(note("N", &senderA, "front"), PostWhenIdle);
    EXPECT_TRUE(posted.isEmpty());
    QCoreApplication::processEvents();
    EXPECT_THAT(describe(posted), ElementsAre("N:started", "N:other sender", "M:other name"));
    EXPECT_TRUE(queue.pendingNotifications().isEmpty());
}

TEST_F(NotificationQueueTest, CoalescingMaskDecidesWhatIsSimilar)
{
    queue.enqueueNotification(note("N", &senderA, "1"), PostWhenIdle, NotificationCoalescingOnName);
    queue.enqueueNotification(note("N", &senderB, "2"), PostWhenIdle, NotificationCoalescingOnName);
    queue.enqueueNotification(note("N", &senderB, "3"), PostWhenIdle, NotificationNoCoalescing);
    QCoreApplication::processEvents();
    EXPECT_THAT(describe(posted), ElementsAre("N:1", "N:3"));
}

TEST_F(NotificationQueueTest, PostNowReplacesWhatWaits)
{
    queue.enqueueNotification(note("N", &senderA, "waiting"), PostWhenIdle);
    queue.enqueueNotification(note("N", &senderA, "now"), PostNow);
    EXPECT_THAT(describe(posted), ElementsAre("N:now"));
    QCoreApplication::processEvents();
    EXPECT_THAT(describe(posted), ElementsAre("N:now"));
}

TEST_F(NotificationQueueTest, IdlePostingWaitsForEventsAlreadyQueued)
{
    QStringList order;
    center.addObserver(QString(), nullptr, [&](const Notification& n) { order << n.name; });
    queue.enqueueNotification(note("Idle", &senderA, ""), PostWhenIdle);
    QTimer::singleShot(0, [&] { order << QStringLiteral("queued call"); });
    QMetaObject::invokeMethod(
        qApp, [&] { order << QStringLiteral("posted event"); }, Qt::QueuedConnection);
    queue.enqueueNotification(note("Asap", &senderA, ""), PostASAP);
    for (int i = 0; i < 5 && order.size() < 4; ++i)
        QCoreApplication::processEvents();
    EXPECT_EQ(order.indexOf(QStringLiteral("Idle")), order.size() - 1)
        << order.join(", ").toStdString();
    EXPECT_LT(order.indexOf(QStringLiteral("Asap")), order.indexOf(QStringLiteral("Idle")));
}

TEST_F(NotificationQueueTest, NotificationEnqueuedByAnObserverWaitsForTheNextPass)
{
    center.addObserver(QStringLiteral("N"), nullptr, [&](const Notification& n) {
        if (n.userInfo.value(QStringLiteral("k")) == QStringLiteral("1"))
            queue.enqueueNotification(note("N", &senderA, "2"), PostWhenIdle);
    });
    queue.enqueueNotification(note("N", &senderA, "1"), PostWhenIdle);
    QCoreApplication::sendPostedEvents();
    ASSERT_THAT(describe(posted), ElementsAre("N:1"));
    QCoreApplication::processEvents();
    EXPECT_THAT(describe(posted), ElementsAre("N:1", "N:2"));
}
