// Launch context: where the application runs from, links, the launcher's creator, and the
// companion launch with its two waits, in virtual time.

#include "FakeClock.h"
#include "FakeDesktopEnvironment.h"
#include "FakeProcessManager.h"
#include "Platform/Foundation/Bundle.h"
#include "Platform/Foundation/OSTypeCode.h"
#include "RZProcess.h"
#include "RZUtilities.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>

#include <pwd.h>
#include <unistd.h>

namespace {
QString me()
{
    const passwd* pw = ::getpwuid(::getuid());
    return QString::fromLocal8Bit(pw ? pw->pw_name : "nobody");
}
} // namespace

TEST(LaunchContext, InstallationModeFromTheBundlePath)
{
    const QString user = me();
    const struct {
        QString path;
        QString volume;
        int mode;
    } cases[] = {
        { "/media/" + user + "/Disk/App.app", "/media/" + user + "/Disk", 0 }, // no marker there
        { "/run/media/" + user + "/My Disk/App.app", "/run/media/" + user + "/My Disk", 0 },
        { "/media/cdrom/App.app", "/media/cdrom", 0 },
        { "/mediacenter/App.app", "", 0 },
        { "/tmp/.mount_AppXy12/usr/App.app", "", 1 },
        { "/var/tmp/x/App.app", "", 1 },
        { "/home/u/var/tmp/App.app", "", 1 },
        { "/tmp/App.app", "", 1 },
        { "/home/u/tmp/App.app", "", 0 },
        { "/opt/App.app", "", 0 },
    };
    for (const auto& c : cases) {
        Bundle::setMainBundlePathForTesting(c.path);
        EXPECT_EQ(RZUtilities::distributionVolumeOf(c.path), c.volume) << c.path.toStdString();
        EXPECT_FALSE(RZUtilities::runningFromDistributionDisk()) << c.path.toStdString();
        EXPECT_EQ(RZUtilities::installationMode(), c.mode) << c.path.toStdString();
    }
    Bundle::setMainBundlePathForTesting(QString());
}

TEST(LaunchContext, TheMarkerMakesAVolumeTheDistributionDisk)
{
    QTemporaryDir root;
    const QString volume = root.path() + "/media/" + me() + "/Velkaro Disk";
    const QString app = makeBundle(volume, QStringLiteral("App"), {});
    RZUtilities::setRemovableMediaRootsForTesting({ root.path() + "/media" });
    Bundle::setMainBundlePathForTesting(app);
    EXPECT_FALSE(RZUtilities::runningFromDistributionDisk());
    ASSERT_TRUE(writeFile(volume + "/launchlock", ""));
    EXPECT_TRUE(RZUtilities::runningFromDistributionDisk());
    EXPECT_EQ(RZUtilities::installationMode(), 1);
    RZUtilities::setRemovableMediaRootsForTesting({});
    Bundle::setMainBundlePathForTesting(QString());
}

TEST(LaunchContext, ResolvedAliasFollowsChainsOrKeepsTheSameString)
{
    QTemporaryDir dir;
    const QString d = dir.path();
    ASSERT_TRUE(writeFile(d + "/target", "x"));
    ASSERT_TRUE(QFile::link(d + "/target", d + "/one"));
    ASSERT_TRUE(QFile::link("one", d + "/two")); // relative
    ASSERT_TRUE(QFile::link(d + "/missing", d + "/dangling"));
    ASSERT_TRUE(QFile::link(d + "/loopB", d + "/loopA"));
    ASSERT_TRUE(QFile::link(d + "/loopA", d + "/loopB"));
    ASSERT_TRUE(QDir().mkpath(d + "/folder"));
    ASSERT_TRUE(QFile::link(d + "/folder", d + "/folderLink"));

    EXPECT_EQ(RZUtilities::resolvedAlias(d + "/one"), d + "/target");
    EXPECT_EQ(RZUtilities::resolvedAlias(d + "/two"), d + "/target");
    EXPECT_EQ(RZUtilities::resolvedAlias(d + "/folderLink"), d + "/folder");
    for (const char* unchanged : { "/target", "/dangling", "/loopA", "/nothing", "/folder" }) {
        const QString path = d + QLatin1String(unchanged);
        const QString resolved = RZUtilities::resolvedAlias(path);
        EXPECT_EQ(resolved.constData(), path.constData()) << unchanged; // the same string
    }
}

TEST(LaunchContext, LauncherCreatorDecides)
{
    FakeProcessManager processes;
    processes.current = processes.add(100, QStringLiteral("Self"), QStringLiteral("SELF")).psn;
    FakeProcess& launcher = processes.add(50, QStringLiteral("Launcher"), QStringLiteral("LNCH"));
    launcher.info = { { QStringLiteral("FileCreator"), QStringLiteral("LNCH") } };
    processes.find(processes.current)->launcher = launcher.psn;
    EXPECT_TRUE(RZUtilities::wasLaunchedByProcess(QStringLiteral("LNCH")));
    EXPECT_FALSE(RZUtilities::wasLaunchedByProcess(QStringLiteral("lnch")));
    EXPECT_FALSE(RZUtilities::wasLaunchedAsLoginItem());

    FakeProcess& autostart = processes.add(1, QStringLiteral("Autostart"));
    autostart.info = { { QStringLiteral("FileCreator"), QStringLiteral("lgnw") } };
    const ProcessSerialNumber autostartPsn = autostart.psn;
    processes.find(processes.current)->launcher = autostartPsn;
    EXPECT_TRUE(RZUtilities::wasLaunchedAsLoginItem());

    processes.find(processes.current)->launcher = { 1, 999 }; // gone
    EXPECT_FALSE(RZUtilities::wasLaunchedAsLoginItem());
    processes.find(processes.current)->launcher = autostartPsn;
    for (const char* failing :
        { "getCurrentProcess", "getProcessInformation", "getProcessLauncher" }) {
        processes.failing = { QString::fromLatin1(failing) };
        EXPECT_FALSE(RZUtilities::wasLaunchedAsLoginItem()) << failing;
    }
}

namespace {
class LaunchMicroTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        RZUtilities::resetMenuBarMonitorForTesting();
        RZProcess::resetForTesting();
        Bundle::setMainBundlePathForTesting(QStringLiteral(INSTALLER_APP));
        self = processes.add(100, QStringLiteral("Self")).psn;
        micro = processes.add(200, QStringLiteral("Micro")).psn;
        processes.current = self;
        processes.front = self;
    }
    void TearDown() override
    {
        RZUtilities::resetMenuBarMonitorForTesting();
        RZProcess::resetForTesting();
        Bundle::setMainBundlePathForTesting(QString());
    }
    /// Micro takes the front after `comesAfter` polls and leaves it after `leavesAfter` more.
    void microBehaves(int comesAfter, int leavesAfter)
    {
        desktop.onOpen = [=, this](const QString&) {
            sleeps = 0;
            if (comesAfter == 0)
                processes.front = micro;
            clock.onSleep([=, this](double) {
                ++sleeps;
                if (sleeps == comesAfter)
                    processes.front = micro;
                if (sleeps == comesAfter + leavesAfter)
                    processes.front = self;
            });
        };
    }
    QStringList frontCalls() const
    {
        QStringList out;
        for (const QString& c : processes.calls) {
            if (c == "wakeUpProcess" || c == "setFrontProcessFrontWindowOnly")
                out.append(c);
        }
        return out;
    }

    FakeClock clock;
    FakeProcessManager processes;
    FakeDesktopEnvironment desktop;
    ProcessSerialNumber self, micro;
    int sleeps = 0;
};
} // namespace

TEST_F(LaunchMicroTest, OpensMicroWaitsForBothChangesAndHandsTheFrontBack)
{
    LogRecorder log;
    microBehaves(3, 4);
    RZUtilities::launchMicro(false);
    ASSERT_EQ(desktop.opened.size(), 1);
    EXPECT_TRUE(desktop.opened.first().endsWith("/Contents/Resources/Micro.app"));
    EXPECT_TRUE(log.contains(QStringLiteral("wait count (Micro) = 3")));
    EXPECT_EQ(frontCalls(),
        QStringList({ "wakeUpProcess", "wakeUpProcess", "setFrontProcessFrontWindowOnly",
            "setFrontProcessFrontWindowOnly", "wakeUpProcess" }));
    EXPECT_LT(clock.elapsed(), 0.02);
}

TEST_F(LaunchMicroTest, EachWaitGivesUpAfterFiveHundredPolls)
{
    LogRecorder log;
    microBehaves(0, 100000); // comes at once and never leaves
    RZUtilities::launchMicro(true);
    EXPECT_TRUE(log.contains(QStringLiteral("wait count (Micro) = 0")));
    // flag YES: no front-window step before the second wait, which runs out.
    EXPECT_EQ(frontCalls(),
        QStringList({ "wakeUpProcess", "wakeUpProcess", "setFrontProcessFrontWindowOnly",
            "wakeUpProcess" }));
    EXPECT_NEAR(clock.elapsed(), 0.5, 0.01);

    log.clear();
    processes.front = self;
    desktop.onOpen = nullptr;
    clock.onSleep(nullptr);
    clock.advance(-clock.elapsed());
    RZUtilities::launchMicro(true); // Micro never shows up
    EXPECT_TRUE(log.contains(QStringLiteral("wait count (Micro) = 500")));
    EXPECT_NEAR(clock.elapsed(), 0.5, 0.01);
}

TEST_F(LaunchMicroTest, AnOpenThatCannotStartIsLoggedAndTheFrontStillHandedBack)
{
    LogRecorder log;
    desktop.openError = QStringLiteral("xdg-open: No such file or directory");
    RZUtilities::launchMicro(false);
    EXPECT_TRUE(log.contains(
        QStringLiteral("** Error while running Micro: xdg-open: No such file or directory")));
    EXPECT_EQ(frontCalls(), QStringList({ "setFrontProcessFrontWindowOnly", "wakeUpProcess" }));
}

TEST_F(LaunchMicroTest, NothingHappensInFullScreenMode)
{
    RZUtilities::fullScreenMode(); // installs the monitor
    desktop.send(kEventClassMenu, kEventMenuBarHidden);
    RZUtilities::launchMicro(false);
    EXPECT_TRUE(desktop.opened.isEmpty());
    EXPECT_TRUE(frontCalls().isEmpty());
}
