// "RZProcessChangeNotification" from the real event sources: a real process started and ended
// gives "started" and then "ended" and leaves the cache without it; activating another
// application's window on a real X server with a window manager gives "front".

#include "RZProcess.h"
#include "RZProcessNotifications.h"

#include "Platform/ApplicationEvents.h"
#include "Platform/Linux/LinuxApplicationEventSource.h"
#include "PrivateDesktop.h"
#include "TestSupport.h"

#include <QCoreApplication>
#include <QDeadlineTimer>

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

bool spinUntil(const std::function<bool()>& condition, int timeoutMs = 10000)
{
    QDeadlineTimer deadline(timeoutMs);
    while (!condition() && !deadline.hasExpired())
        QCoreApplication::processEvents(QEventLoop::AllEvents, 50);
    return condition();
}

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
    QStringList words;
    QList<bool> childCached;
    ProcessSerialNumber child {};
    const auto token = NotificationCenter::defaultCenter().addObserver(
        RZProcessChangeNotification, RZProcess::classObject(), [&](const Notification& n) {
            words << n.userInfo.value(QStringLiteral("change")).toString();
            childCached << (RZProcess::indexOfCachedProcessWithSerialNumber(child) != NSNotFound);
        });
    RZProcess::currentProcess(); // the first object installs the handler on the real watcher
    QProcess process;
    process.start(QStringLiteral("sleep"), { QStringLiteral("30") });
    ASSERT_TRUE(process.waitForStarted());
    const RZProcessRef object = RZProcess::processWithPID(pid_t(process.processId()));
    ASSERT_TRUE(object);
    child = object->serialNumber();
    ASSERT_TRUE(spinUntil([&] { return words.contains(QStringLiteral("started")); }));
    process.kill();
    process.waitForFinished();
    // Other users of the machine start and end processes too: wait for the termination that
    // took the child out of the cache.
    ASSERT_TRUE(spinUntil([&] {
        const qsizetype i = words.lastIndexOf(QStringLiteral("ended"));
        return i >= 0 && !childCached[i];
    })) << words.join(QLatin1Char(' ')).toStdString();
    EXPECT_LT(words.indexOf(QStringLiteral("started")), words.lastIndexOf(QStringLiteral("ended")));
    EXPECT_EQ(RZProcess::indexOfCachedProcessWithSerialNumber(child), NSNotFound);
    NotificationCenter::defaultCenter().removeObserver(token);
}

TEST_F(ProcessChangeNotificationTest, ActivatingAnotherApplicationsWindowGivesFront)
{
    PrivateDesktop desktop;
    ASSERT_TRUE(desktop.startDisplay()) << desktop.error().toStdString();
    const QString program = QStringLiteral(TEST_BINARY_DIR "/test-programs/accessible_window");
    QProcess* first = desktop.start(program, { QStringLiteral("First") });
    QProcess* second = desktop.start(program, { QStringLiteral("Second") });
    const QString firstWindow
        = waitForLine(first, QStringLiteral("ready")).section(QLatin1Char(' '), 1, 1);
    const QString secondWindow
        = waitForLine(second, QStringLiteral("ready")).section(QLatin1Char(' '), 1, 1);
    ASSERT_FALSE(firstWindow.isEmpty());
    ASSERT_FALSE(secondWindow.isEmpty());
    auto activate = [&](const QString& window) {
        QProcess xdotool;
        xdotool.setProcessEnvironment(desktop.environment());
        xdotool.start(QStringLiteral("xdotool"),
            { QStringLiteral("windowactivate"), QStringLiteral("--sync"), window });
        return xdotool.waitForFinished(10000) && xdotool.exitCode() == 0;
    };
    ASSERT_TRUE(activate(firstWindow));

    qputenv("DISPLAY", desktop.display().toLocal8Bit());
    auto source = makeLinuxApplicationEventSource();
    watchWith<2>(*source);
    qunsetenv("DISPLAY");
    ASSERT_TRUE(activate(secondWindow));
    ASSERT_TRUE(spinUntil([&] { return words.contains(QStringLiteral("front")); }))
        << words.join(QLatin1Char(' ')).toStdString();
}
