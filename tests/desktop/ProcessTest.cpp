// RZProcess against real processes: a small application built into a bundle with its own
// Info.plist and signature, quit in each of its ways, and its window moved by a real window
// manager under Xvfb.

#include "Platform/Foundation/OSTypeCode.h"
#include "RZProcess.h"
#include "TestSupport.h"
#include "Xvfb.h"

#include <QElapsedTimer>
#include <QProcess>
#include <QTemporaryDir>
#include <QThread>

#include <csignal>
#include <functional>
#include <gtest/gtest.h>
#include <sys/wait.h>

namespace {
const QString kFakeApp = QStringLiteral(TEST_BINARY_DIR "/test-programs/fakeapp");

class RealProcessTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        RZProcess::resetForTesting();
        bundle = makeBundle(dir.path(), QStringLiteral("Faker"),
            { { "CFBundleSignature", "FAKR" }, { "CFBundleIdentifier", "com.test.faker" },
                { "CFBundleShortVersionString", "3.4" }, { "CFBundleName", "Faker Pro" } },
            kFakeApp);
    }
    void TearDown() override
    {
        children.clear();
        RZProcess::resetForTesting();
    }

    QProcess* start(const QStringList& args, const QString& program = QString())
    {
        QProcess* p = children.add();
        p->start(
            program.isEmpty() ? bundle + QStringLiteral("/Contents/Linux/Faker") : program, args);
        EXPECT_TRUE(p->waitForStarted(5000));
        for (int i = 0; i < 400 && !p->canReadLine(); ++i)
            p->waitForReadyRead(100);
        EXPECT_EQ(p->readLine().trimmed(), QByteArray("ready"))
            << "state " << p->state() << " exit " << p->exitCode() << ": "
            << p->readAllStandardError().toStdString();
        return p;
    }

    QTemporaryDir dir;
    QString bundle;
    ChildProcesses children;
    LogRecorder log;
};
} // namespace

TEST_F(RealProcessTest, FoundAndDescribedFromItsBundle)
{
    QProcess* child = start({});
    const pid_t pid = pid_t(child->processId());
    RZProcessRef found;
    for (const RZProcessRef& p : RZProcess::allProcesses()) {
        if (p->unixPID() == pid)
            found = p;
    }
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(found->name(), QStringLiteral("Faker Pro"));
    EXPECT_EQ(found->signatureString(), QStringLiteral("FAKR"));
    EXPECT_EQ(found->path(), bundle);
    EXPECT_EQ(found->version(), QStringLiteral("3.4"));
    EXPECT_EQ(found->identifier(), QStringLiteral("com.test.faker"));
    EXPECT_EQ(RZProcess::processWithPID(pid), found);
    EXPECT_EQ(
        RZProcess::processWithSignature(UTGetOSTypeFromString(QStringLiteral("FAKR"))), found);
    EXPECT_EQ(RZProcess::processWithIdentifier(QStringLiteral("com.test.faker")), found);
    EXPECT_GT(found->secondsRunning(), -1.0f);
    EXPECT_LT(found->secondsRunning(), 60.0f);
    EXPECT_TRUE(found->isStillRunning());

    const RZProcessRef self = RZProcess::currentProcess();
    ASSERT_NE(self, nullptr);
    EXPECT_EQ(self->unixPID(), ::getpid());
    EXPECT_EQ(self->signature(), 0u) << "a process outside a bundle has no signature";
    EXPECT_EQ(self->name(), QStringLiteral("desktop_tests"));
    EXPECT_TRUE(self->path()->endsWith(QStringLiteral("/desktop_tests")));
}

TEST_F(RealProcessTest, AReusedPidIsNotTheSameProcess)
{
    QProcess* child = start({});
    const RZProcessRef p = RZProcess::processWithPID(pid_t(child->processId()));
    ASSERT_NE(p, nullptr);
    const ProcessSerialNumber psn = p->serialNumber();
    // The same pid with another start time stands for a process that reused the pid.
    const auto impostor
        = RZProcess::processWithSerialNumber({ psn.highLongOfPSN + 1, psn.lowLongOfPSN });
    EXPECT_FALSE(impostor->isStillRunning());
    EXPECT_FALSE(impostor->isEqual(*p));
    EXPECT_FALSE(impostor->quitRunningApplicationWithTimeout(0.2f));
    EXPECT_TRUE(p->isStillRunning()) << "nothing was sent to the real owner of the pid";
    child->kill();
    child->waitForFinished(3000);
    EXPECT_FALSE(p->isStillRunning());
}

TEST_F(RealProcessTest, QuitEndsEachKindWithinItsLimits)
{
    const struct {
        const char* what;
        QStringList args;
        const char* line;
    } cases[] = {
        { "quits on SIGTERM", {}, "quit Faker Pro: terminated after" },
        { "ignores SIGTERM", { "--ignore-term" }, "force-quit Faker Pro: terminated after" },
    };
    for (const auto& c : cases) {
        log.clear();
        QProcess* child = start(c.args);
        const RZProcessRef p = RZProcess::processWithPID(pid_t(child->processId()));
        ASSERT_NE(p, nullptr);
        QElapsedTimer timer;
        timer.start();
        EXPECT_TRUE(p->quitRunningApplicationWithTimeout(1.0f)) << c.what;
        EXPECT_LT(timer.elapsed(), 2500) << c.what;
        EXPECT_FALSE(log.lines().filter(QString::fromLatin1(c.line)).isEmpty())
            << c.what << ": " << log.lines().join('|').toStdString();
        child->waitForFinished(3000);
        EXPECT_FALSE(p->isStillRunning()) << c.what;
    }

    QProcess* quick = start({ QStringLiteral("--exit-after"), QStringLiteral("50") });
    const RZProcessRef ending = RZProcess::processWithPID(pid_t(quick->processId()));
    ASSERT_EQ(ending->name(), QStringLiteral("Faker Pro")); // fetched while it runs, then kept
    quick->waitForFinished(3000);
    log.clear();
    ending->quit();
    EXPECT_TRUE(log.lines().join('|').contains(QStringLiteral("cannot quit Faker Pro: no pid")))
        << log.lines().join('|').toStdString();
}

TEST_F(RealProcessTest, WindowsComeToTheFrontHideAndShowUnderAWindowManager)
{
    XvfbSession x;
    if (!x.ok())
        GTEST_SKIP() << "no X server: " << x.failure().toStdString();
    QProcess* a = start({ QStringLiteral("--window"), QStringLiteral("First") });
    QProcess* b = start({ QStringLiteral("--window"), QStringLiteral("Second") });
    const RZProcessRef first = RZProcess::processWithPID(pid_t(a->processId()));
    const RZProcessRef second = RZProcess::processWithPID(pid_t(b->processId()));
    ASSERT_NE(first, nullptr);
    ASSERT_NE(second, nullptr);
    // A newly mapped window may still take the focus after a request: the request is repeated
    // every half second while waiting.
    auto waitFront = [](const RZProcessRef& p, const std::function<void()>& request) {
        for (int i = 0; i < 150; ++i) {
            if (i % 5 == 0)
                request();
            QThread::msleep(100);
            if (const RZProcessRef front = RZProcess::frontProcess(); front && front->isEqual(*p))
                return true;
        }
        return false;
    };
    // The window manager must manage both windows (list them) before it can raise them.
    for (int i = 0; i < 150; ++i) {
        QProcess list;
        list.start(QStringLiteral("xprop"),
            { QStringLiteral("-root"), QStringLiteral("_NET_CLIENT_LIST") });
        list.waitForFinished(2000);
        if (list.readAllStandardOutput().count("0x") >= 2)
            break;
        QThread::msleep(100);
    }
    EXPECT_TRUE(waitFront(first, [&] { first->setFrontProcess(); }));
    EXPECT_TRUE(waitFront(second, [&] { second->setFrontProcessFrontWindowOnly(); }));
    second->setHidden(true);
    auto hidden = [](const QString& title) {
        QProcess xprop;
        xprop.start(QStringLiteral("sh"),
            { QStringLiteral("-c"), QStringLiteral("xprop -name %1 _NET_WM_STATE").arg(title) });
        xprop.waitForFinished(3000);
        return xprop.readAllStandardOutput().contains("_NET_WM_STATE_HIDDEN");
    };
    bool wasHidden = false;
    for (int i = 0; i < 150 && !wasHidden; ++i, QThread::msleep(100))
        wasHidden = hidden(QStringLiteral("Second"));
    EXPECT_TRUE(wasHidden);
    second->setHidden(false);
    bool shown = false;
    for (int i = 0; i < 150 && !shown; ++i, QThread::msleep(100))
        shown = !hidden(QStringLiteral("Second"));
    EXPECT_TRUE(shown);

    // A window manager is needed: without one the same calls change nothing and say so quietly.
    x.stopWindowManager();
    QThread::msleep(300);
    EXPECT_EQ(RZProcess::frontProcess(), nullptr);
    first->setFrontProcess();
    second->setHidden(true);
    EXPECT_FALSE(hidden(QStringLiteral("Second")));
}
