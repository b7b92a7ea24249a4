// "RZProcessChangeNotification" from the real event sources: a real process started and ended
// gives "started" and then "ended" and leaves the cache without it; activating another
// application's window on a real X server with a window manager gives "front".

#include "RZProcessNotifications.h"

#include "Platform/ApplicationEvents.h"
#include "Platform/Linux/LinuxApplicationEventSource.h"
#include "PrivateDesktop.h"
#include "TestSupport.h"

#include <gmock/gmock.h>

namespace {
// A process class of the test's own for a source of the test's own: the class-wide handler of
// RZProcess is installed once per run, on the process-wide source.
template <int N> class OwnClass : public RZProcessNotifications<OwnClass<N>> {
public:
    static void cleanupCache() { }
    pid_t unixPID() const { return 0; }
    QString description() const { return {}; }
};

class ProcessChangeNotificationTest : public ::testing::Test {
protected:
    template <int N> void watchWith(ApplicationEventSource& source)
    {
        ApplicationEventSource::setShared(&source);
        OwnClass<N>::installNotifications();
        m_token = NotificationCenter::defaultCenter().addObserver(
            RZProcessChangeNotification, OwnClass<N>::classObject(), [this](const Notification& n) {
                words << n.userInfo.value(QStringLiteral("change")).toString();
            });
    }
    ~ProcessChangeNotificationTest() override
    {
        NotificationCenter::defaultCenter().removeObserver(m_token);
        ApplicationEventSource::setShared(nullptr);
    }

    QStringList words;

private:
    NotificationCenter::ObserverToken m_token = 0;
};
} // namespace

TEST(RZProcessChangeNotification, RealProcessGivesStartedThenEndedAndLeavesTheCache)
{
    // A user of its own: any other process of ours starting or ending in the same pass of the
    // event loop would be merged with the child's notification.
    if (::getuid() != 0)
        GTEST_SKIP() << "needs root to run the probe as a user of its own";
    QProcess probe;
    probe.start(QStringLiteral("setpriv"),
        { QStringLiteral("--reuid=64123"), QStringLiteral("--regid=64123"),
            QStringLiteral("--clear-groups"),
            QStringLiteral(TEST_BINARY_DIR "/test-programs/process_change_probe") });
    ASSERT_TRUE(probe.waitForFinished(30000));
    const QString output = QString::fromUtf8(probe.readAllStandardOutput());
    ASSERT_EQ(probe.exitCode(), 0) << probe.readAllStandardError().toStdString();
    EXPECT_EQ(output, QStringLiteral("words: started ended\ncached: 1 0\n"));
}

TEST_F(ProcessChangeNotificationTest, ActivatingAnotherApplicationsWindowGivesFront)
{
    PrivateDesktop desktop;
    ASSERT_TRUE(desktop.startDisplay()) << desktop.error().toStdString();
    const auto first = desktop.startWindow(QStringLiteral("First"));
    const auto second = desktop.startWindow(QStringLiteral("Second"));
    ASSERT_FALSE(first.id.isEmpty());
    ASSERT_FALSE(second.id.isEmpty());
    ASSERT_TRUE(desktop.activate(first));

    qputenv("DISPLAY", desktop.display().toLocal8Bit());
    // The processes of a user without any: only the window manager reports, and no launch or
    // end elsewhere on the machine merges with the front switch.
    auto source = makeLinuxApplicationEventSource(64123);
    watchWith<2>(*source);
    qunsetenv("DISPLAY");
    ASSERT_TRUE(desktop.activate(second));
    ASSERT_TRUE(spinUntil([&] { return words.contains(QStringLiteral("front")); }))
        << words.join(QLatin1Char(' ')).toStdString();
}
