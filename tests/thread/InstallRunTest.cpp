// The install run with fakes for the process table and the workspace, in virtual time: retries,
// messages, the quit delay, and the privileged path's results.

#include "FakeClock.h"
#include "FakeProcessManager.h"
#include "FakeWorkspace.h"
#include "InstallerWinController.h"
#include "Platform/Foundation/Bundle.h"
#include "RZInstallerInterface.h"
#include "RZProcess.h"
#include "TestSupport.h"

#include <QApplication>
#include <QLabel>
#include <QPushButton>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

class InstallRunTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        RZProcess::resetForTesting();
        Bundle::setMainBundlePathForTesting(QStringLiteral(INSTALLER_APP));
        source = makeBundle(dir.filePath(QStringLiteral("Disk")), QStringLiteral("Foo"),
            { { "CFBundleSignature", "FOOO" }, { "CFBundleShortVersionString", "2.0" } });
        QDir().mkpath(dir.filePath(QStringLiteral("Apps")));
        destination = dir.filePath(QStringLiteral("Apps/Foo.app"));
        manager.add(
            100, QStringLiteral("Installer"), QStringLiteral("INST")); // the installer itself
    }
    void TearDown() override
    {
        controller.reset();
        Bundle::setMainBundlePathForTesting(QString());
        RZProcess::resetForTesting();
        qunsetenv("INSTALLER_TEST_PKEXEC");
        qunsetenv("FAKE_PKEXEC_MODE");
    }

    /// Starts the window on page 1 and clicks Install; waits for the run's result.
    void run(QStringList extra, Qt::KeyboardModifiers modifiers = Qt::NoModifier)
    {
        controller = std::make_unique<InstallerWinController>(
            QStringList { QStringLiteral("/p/Installer"), QStringLiteral("-sourcePath"), source,
                QStringLiteral("-destinationPath"), destination }
            + extra);
        controller->terminateHandler = [this] { ++terminations; };
        controller->awakeFromNib();
        controller->installModifiers = modifiers;
        QSignalSpy ended(controller.get(), &InstallerWinController::installRunEnded);
        controller->install();
        EXPECT_FALSE(controller->installButton->isEnabled());
        EXPECT_TRUE(ended.wait(30000));
    }

    QTemporaryDir dir;
    QString source, destination;
    FakeClock clock;
    FakeProcessManager manager;
    FakeRunningApplications apps;
    FakeAppleEvents events;
    FakeWorkspace workspace;
    LogRecorder log;
    std::unique_ptr<InstallerWinController> controller;
    int terminations = 0;
};

TEST_F(InstallRunTest, NothingToQuitCopiesAtOnce)
{
    run({});
    EXPECT_EQ(log.count(QStringLiteral("Install")), 1);
    EXPECT_TRUE(log.lines().filter(QStringLiteral("Quitting")).isEmpty());
    EXPECT_TRUE(log.contains(QStringLiteral("successfully copied")));
    EXPECT_TRUE(log.contains(QStringLiteral("launched immediately: 1")));
    EXPECT_TRUE(QFileInfo(destination + QStringLiteral("/Contents/Info.plist")).exists());
    EXPECT_EQ(controller->introField->text(), QStringLiteral("Foo was successfully installed."));
    EXPECT_FALSE(controller->checkmarkField->isHidden());
    EXPECT_TRUE(controller->cancelButton->isHidden());
    EXPECT_TRUE(controller->installButton->isEnabled());
    EXPECT_TRUE(controller->finished);
    controller->install();
    EXPECT_EQ(terminations, 1) << "Install after success quits";
}

TEST_F(InstallRunTest, RetriesUntilTheCopyQuits)
{
    manager.add(200, QStringLiteral("Foo"), QStringLiteral("FOOO"));
    FakeRunningApplication& app = apps.add(200);
    app.quitsOnTerminate = false;
    app.diesOnForce = false;
    int retries = 0;
    clock.onSleep([&](double seconds) {
        if (seconds >= 1.0 && ++retries == 2)
            manager.processes[1].running = false; // it finally quits during the second retry
    });
    run({ QStringLiteral("-productCode"), QStringLiteral("FOOO"), QStringLiteral("-quitCode"),
        QStringLiteral("INST") });
    EXPECT_EQ(log.count(QStringLiteral("Foo did not quit; will retry")), 1);
    EXPECT_EQ(log.count(QStringLiteral("Quitting 'FOOO': Foo")), 2)
        << log.lines().join('|').toStdString();
    EXPECT_TRUE(log.lines()
                    .filter(QStringLiteral("Installer"))
                    .filter(QStringLiteral("Quitting"))
                    .isEmpty())
        << "the installer never quits itself, even with its signature in the list";
    EXPECT_TRUE(log.contains(QStringLiteral("successfully copied")));
}

TEST_F(InstallRunTest, ACopyThatNeverQuitsCancelsTheRun)
{
    manager.add(300, QStringLiteral("Stubborn Foo"), QStringLiteral("FOOO"));
    FakeRunningApplication& app = apps.add(300);
    app.quitsOnTerminate = false;
    app.diesOnForce = false;
    run({ QStringLiteral("-productCode"), QStringLiteral("FOOO") });
    EXPECT_EQ(log.count(QStringLiteral("Quitting 'FOOO': Stubborn Foo")), 4)
        << "one pass and three retries";
    EXPECT_TRUE(
        log.contains(QStringLiteral("Stubborn Foo refused to quit; installation cancelled")));
    EXPECT_EQ(controller->messageField->text(),
        QStringLiteral("Stubborn Foo cannot be running during the installation.\nQuit Stubborn "
                       "Foo, then click \"Install\" again."));
    EXPECT_TRUE(controller->installButton->isEnabled());
    EXPECT_TRUE(controller->cancelButton->isEnabled());
    EXPECT_FALSE(controller->finished);
    EXPECT_FALSE(QFileInfo::exists(destination));
    EXPECT_EQ(events.quitEvents.size(), 4) << "each quit ended with the quit event";
}

TEST_F(InstallRunTest, FailureMessagesWithAndWithoutWrapper)
{
    source = dir.filePath(QStringLiteral("Disk/Missing.app"));
    run({ QStringLiteral("-productName"), QStringLiteral("Foo"), QStringLiteral("-productCode"),
        QStringLiteral("FOOO") });
    EXPECT_EQ(controller->messageField->text(),
        QStringLiteral("The installation of Foo failed.\nTry installing Foo manually by copying it "
                       "to the Applications folder."));
    EXPECT_TRUE(
        log.lines().filter(QStringLiteral("ERROR -- Could not copy myself to ")).size() == 1);

    QDir().mkpath(dir.filePath(QStringLiteral("Disk/Foo")));
    run({ QStringLiteral("-productName"), QStringLiteral("Foo"), QStringLiteral("-productCode"),
        QStringLiteral("FOOO"), QStringLiteral("-wrapperPath"),
        dir.filePath(QStringLiteral("Disk/Foo")) });
    EXPECT_EQ(controller->messageField->text(), QStringLiteral("The installation of Foo failed."));
}

TEST_F(InstallRunTest, PrivilegedPathResults)
{
    qputenv("INSTALLER_TEST_PKEXEC", TEST_SOURCE_DIR "/tests/support/fake-pkexec");
    const struct {
        const char* mode;
        const char* message;
        const char* line;
    } cases[] = {
        { "cancel", "", "User canceled authorization" },
        { "deny",
            "Foo could not be copied with administrator rights.\nTry installing Foo manually by "
            "copying it to the Applications folder.",
            "ERROR -- Could not copy myself to /Applications with authorization" },
        { "kill",
            "Foo could not be copied with administrator rights.\nTry installing Foo manually by "
            "copying it to the Applications folder.",
            "!WIFEXITED" },
    };
    for (const auto& c : cases) {
        qputenv("FAKE_PKEXEC_MODE", c.mode);
        log.clear();
        run({}, Qt::AltModifier);
        EXPECT_TRUE(log.contains(QStringLiteral("enforcing authorization"))) << c.mode;
        EXPECT_TRUE(log.contains(QString::fromLatin1(c.line)))
            << c.mode << ": " << log.lines().join('|').toStdString();
        EXPECT_EQ(controller->messageField->text(), QString::fromUtf8(c.message)) << c.mode;
        EXPECT_TRUE(controller->installButton->isEnabled()) << c.mode;
    }
    qputenv("FAKE_PKEXEC_MODE", "run");
    log.clear();
    run({}, Qt::AltModifier);
    EXPECT_TRUE(log.contains(QStringLiteral("successfully copied")))
        << log.lines().join('|').toStdString();
    EXPECT_TRUE(QFileInfo(destination + QStringLiteral("/Contents/Info.plist")).exists());
}

TEST_F(InstallRunTest, QuitDelayValues)
{
    const struct {
        const char* value;
        const char* line;
        bool quits;
    } cases[] = { { "2.5", "quit delay: 2.5", true }, { "0", "quit delay: 0.0", false },
        { "abc", "quit delay: 0.0", false }, { "1e-9", "quit delay: 0.0", true } };
    for (const auto& c : cases) {
        log.clear();
        terminations = 0;
        QDir(destination).removeRecursively();
        run({ QStringLiteral("-completionQuit"), QString::fromLatin1(c.value) });
        EXPECT_TRUE(log.contains(QString::fromLatin1(c.line))) << c.value;
        if (c.quits)
            EXPECT_TRUE(QTest::qWaitFor([this] { return terminations == 1; }, 4000)) << c.value;
        else
            QTest::qWait(100);
        EXPECT_EQ(terminations, c.quits ? 1 : 0) << c.value;
    }
    // -1 is a key of its own on the command line, so it gives no delay at all.
    log.clear();
    run({ QStringLiteral("-completionQuit"), QStringLiteral("-1") });
    EXPECT_TRUE(log.lines().filter(QStringLiteral("quit delay")).isEmpty());
}

TEST_F(InstallRunTest, LaunchRetriesAndIconWait)
{
    workspace.opensFailingFirst = 3;
    workspace.hasIcon = false;
    run({});
    EXPECT_TRUE(log.contains(QStringLiteral("did not get icon")));
    EXPECT_TRUE(log.contains(QStringLiteral("retry; failed")));
    EXPECT_TRUE(log.contains(QStringLiteral("launched immediately: 0")));
    EXPECT_EQ(log.count(QStringLiteral("retry opening")), 3);
    EXPECT_EQ(log.count(QStringLiteral("launched: 0")), 2);
    EXPECT_EQ(log.count(QStringLiteral("launched: 1")), 1);
    EXPECT_NEAR(clock.elapsed(), 0.5 + 0.1 + 1.0 + 3 * 0.5, 0.01)
        << "the launch waits, in virtual time";
}
