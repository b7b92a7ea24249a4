// "RZProcessChangeNotification" from the real event sources: a real process started and ended
// gives "started" and then "ended" and leaves the cache without it; activating another
// application's window on a real X server with a window manager gives "front". The process class
// here keeps a plain cache of pids that the termination handler cleans, as RZProcess's does.

#include "RZProcessNotifications.h"

#include "Platform/ApplicationEvents.h"
#include "Platform/Linux/LinuxApplicationEventSource.h"
#include "PrivateDesktop.h"
#include "TestSupport.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QFile>

#include <gmock/gmock.h>

namespace {
QList<pid_t> g_cache;

// One class per test: each installs its handler once, with the source its test made.
template <int N> class CachedProcess : public RZProcessNotifications<CachedProcess<N>> {
public:
    static void cleanupCache()
    {
        g_cache.removeIf([](pid_t pid) {
            QFile stat(QStringLiteral("/proc/%1/stat").arg(pid));
            if (!stat.open(QIODevice::ReadOnly))
                return true;
            const QByteArray text = stat.readAll();
            const qsizetype paren = text.lastIndexOf(')');
            return paren < 0 || text.mid(paren + 2, 1) == "Z";
        });
    }
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
        CachedProcess<N>::installNotifications();
        m_token = NotificationCenter::defaultCenter().addObserver(RZProcessChangeNotification,
            CachedProcess<N>::classObject(), [this](const Notification& n) {
                words << n.userInfo.value(QStringLiteral("change")).toString();
                cacheHeldChild << g_cache.contains(child);
            });
    }
    ~ProcessChangeNotificationTest() override
    {
        NotificationCenter::defaultCenter().removeObserver(m_token);
        ApplicationEventSource::setShared(nullptr);
    }

    QStringList words;
    QList<bool> cacheHeldChild;
    pid_t child = 0;

private:
    NotificationCenter::ObserverToken m_token = 0;
};
} // namespace

TEST_F(ProcessChangeNotificationTest, RealProcessGivesStartedThenEndedAndLeavesTheCache)
{
    auto source = makeLinuxApplicationEventSource();
    watchWith<1>(*source);
    const int before = CachedProcess<1>::applicationLaunchEndCount();
    QProcess process;
    process.start(QStringLiteral("sleep"), { QStringLiteral("30") });
    ASSERT_TRUE(process.waitForStarted());
    child = pid_t(process.processId());
    g_cache << child;
    ASSERT_TRUE(spinUntil([&] { return words.contains(QStringLiteral("started")); }));
    EXPECT_GT(CachedProcess<1>::applicationLaunchEndCount(), before);
    process.kill();
    process.waitForFinished();
    // Other users of the machine start and end processes too: wait for the termination that
    // took the child out of the cache.
    ASSERT_TRUE(spinUntil([&] {
        const qsizetype i = words.lastIndexOf(QStringLiteral("ended"));
        return i >= 0 && !cacheHeldChild[i];
    })) << words.join(QLatin1Char(' ')).toStdString();
    EXPECT_LT(words.indexOf(QStringLiteral("started")), words.lastIndexOf(QStringLiteral("ended")));
    EXPECT_FALSE(g_cache.contains(child));
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
