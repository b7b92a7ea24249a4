// The desktop queries against real desktops: full screen under a window manager, the idle counter
// of an X server, the portal's colour scheme on a session bus of the test's own, the companion
// application taking the front and giving it back, the autostart mark and a tracer.

#include "Platform/Foundation/Bundle.h"
#include "Platform/Linux/X11Session.h"
#include "PrivateDesktop.h"
#include "RZProcess.h"
#include "RZUtilities.h"
#include "TestSupport.h"
#include "Xvfb.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QProcess>
#include <QTemporaryDir>
#include <QThread>

#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <xcb/xcb.h>

namespace {
const QString kFakeApp = QStringLiteral(TEST_BINARY_DIR "/test-programs/fakeapp");
const QString kProbe = QStringLiteral(TEST_BINARY_DIR "/test-programs/launch_context_probe");

/// Calls request now and then (every half second) while waiting: a window manager may drop a
/// request that comes while it still sets a window up.
std::function<bool()> repeating(
    const std::function<void()>& request, const std::function<bool()>& done)
{
    auto last = std::make_shared<QElapsedTimer>();
    return [=] {
        if (done())
            return true;
        if (!last->isValid() || last->elapsed() >= 500) {
            request();
            last->start();
        }
        return false;
    };
}

/// Asks the window manager to put a window into full screen or out of it, as a pager would.
void requestFullScreen(uint32_t window, bool on)
{
    xcb_connection_t* c = xcb_connect(nullptr, nullptr);
    auto atom = [c](const char* name) {
        xcb_intern_atom_reply_t* r = xcb_intern_atom_reply(
            c, xcb_intern_atom(c, 0, uint16_t(strlen(name)), name), nullptr);
        const xcb_atom_t a = r ? r->atom : 0;
        free(r);
        return a;
    };
    xcb_client_message_event_t event {};
    event.response_type = XCB_CLIENT_MESSAGE;
    event.format = 32;
    event.window = window;
    event.type = atom("_NET_WM_STATE");
    event.data.data32[0] = on ? 1 : 0; // add or remove
    event.data.data32[1] = atom("_NET_WM_STATE_FULLSCREEN");
    event.data.data32[3] = 2;
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(c)).data->root;
    xcb_send_event(c, 0, root,
        XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
        reinterpret_cast<const char*>(&event));
    xcb_flush(c);
    xcb_disconnect(c);
}

class RealDesktopTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        RZProcess::resetForTesting();
        RZUtilities::resetMenuBarMonitorForTesting();
    }
    void TearDown() override
    {
        children.clear();
        RZProcess::resetForTesting();
        RZUtilities::resetMenuBarMonitorForTesting();
        Bundle::setMainBundlePathForTesting(QString());
    }
    /// A window of its own, shown and made active by the window manager.
    QProcess* startActiveWindow(const QString& title)
    {
        QProcess* p = children.add();
        p->start(kFakeApp, { QStringLiteral("--window"), title });
        EXPECT_TRUE(p->waitForStarted(5000));
        const pid_t pid = pid_t(p->processId());
        // A window manager may map a new window without focusing it (focus-stealing
        // prevention): ask for it now and then, as a task bar would.
        EXPECT_TRUE(spinUntil(repeating(
            [pid] {
                const auto windows = X11Session::windowsOfProcess(pid);
                if (!windows.empty())
                    X11Session::activate(windows.back());
            },
            [pid] {
                const auto active = X11Session::activeWindow();
                return active && X11Session::windowPid(active) == pid;
            })))
            << title.toStdString() << " never became active; display "
            << qgetenv("DISPLAY").constData() << ", its output: " << p->readAll().toStdString()
            << p->readAllStandardError().toStdString();
        return p;
    }
    ChildProcesses children;
};
} // namespace

TEST_F(RealDesktopTest, FullScreenOfTheActiveWindowHidesTheMenuBar)
{
    XvfbSession x;
    if (!x.ok())
        GTEST_SKIP() << "no X server: " << x.failure().toStdString();
    LogRecorder log;
    EXPECT_FALSE(RZUtilities::fullScreenMode()); // installs the monitor
    EXPECT_FALSE(
        log.contains(QStringLiteral("could not install menu bar visibility event handl)")));
    QProcess* a = startActiveWindow(QStringLiteral("Editor"));
    const uint32_t window = X11Session::activeWindow();
    // A window manager may drop a request that comes while it still sets the window up: the
    // request is repeated now and then, and the answer must follow the window's real state.
    auto becomes = [window](bool full) {
        return spinUntil(repeating([window, full] { requestFullScreen(window, full); },
            [window, full] {
                return RZUtilities::fullScreenMode() == full
                    && X11Session::isFullScreen(window) == full;
            }));
    };
    EXPECT_TRUE(becomes(true));
    EXPECT_TRUE(becomes(false));

    // Another window coming forward over a full-screen one shows the menu bar again.
    ASSERT_TRUE(becomes(true));
    startActiveWindow(QStringLiteral("Viewer"));
    EXPECT_TRUE(spinUntil([] { return !RZUtilities::fullScreenMode(); }));
    (void)a;
}

TEST_F(RealDesktopTest, WithoutADisplayTheMonitorCannotBeInstalled)
{
    const QByteArray saved = qgetenv("DISPLAY");
    qunsetenv("DISPLAY");
    LogRecorder log;
    EXPECT_FALSE(RZUtilities::fullScreenMode());
    EXPECT_FALSE(RZUtilities::fullScreenMode());
    EXPECT_EQ(log.count(QStringLiteral("could not install menu bar visibility event handl)")), 1);
    EXPECT_FLOAT_EQ(RZUtilities::idleTime(), -1.0f);
    if (!saved.isEmpty())
        qputenv("DISPLAY", saved);
}

TEST_F(RealDesktopTest, IdleTimeGrowsAndResetsAfterInput)
{
    XvfbSession x(false);
    if (!x.ok())
        GTEST_SKIP() << "no X server: " << x.failure().toStdString();
    QThread::msleep(1500);
    const float idle = RZUtilities::idleTime();
    EXPECT_GE(idle, 1.4f);
    QProcess xdotool;
    xdotool.start(QStringLiteral("xdotool"),
        { QStringLiteral("mousemove"), QStringLiteral("40"), QStringLiteral("50") });
    ASSERT_TRUE(xdotool.waitForFinished(5000));
    ASSERT_EQ(xdotool.exitCode(), 0) << xdotool.readAllStandardError().toStdString();
    const float after = RZUtilities::idleTime();
    EXPECT_GE(after, 0.0f);
    EXPECT_LT(after, idle);
    EXPECT_LT(after, 1.0f);
}

TEST_F(RealDesktopTest, MicroTakesTheFrontAndGivesItBack)
{
    XvfbSession x;
    if (!x.ok())
        GTEST_SKIP() << "no X server: " << x.failure().toStdString();
    QProcess* app = startActiveWindow(QStringLiteral("Owner"));
    const RZProcessRef owner = RZProcess::processWithPID(pid_t(app->processId()));
    ASSERT_NE(owner, nullptr);
    Bundle::setMainBundlePathForTesting(QStringLiteral(INSTALLER_APP));
    LogRecorder log;
    RZUtilities::launchMicro(false);

    QString waitLine;
    for (const QString& line : log.lines()) {
        if (line.startsWith(QStringLiteral("wait count (Micro) = ")))
            waitLine = line;
    }
    ASSERT_FALSE(waitLine.isEmpty()) << log.lines().join('\n').toStdString();
    const int polls = waitLine.section(' ', -1).toInt();
    EXPECT_GE(polls, 0);
    EXPECT_LE(polls, 500);
    EXPECT_FALSE(log.lines().join('\n').contains(QStringLiteral("Error while running Micro")));
    EXPECT_TRUE(spinUntil([&owner] {
        const RZProcessRef front = RZProcess::frontProcess();
        return front && front->isEqual(*owner);
    }));
    // Micro leaves by itself.
    EXPECT_TRUE(spinUntil([] {
        QProcess pgrep;
        pgrep.start(QStringLiteral("pgrep"), { QStringLiteral("-x"), QStringLiteral("Micro") });
        pgrep.waitForFinished(3000);
        return pgrep.exitCode() == 1;
    }));

    // Micro on its own: it leaves as soon as the window manager has made it active (exit 0).
    QProcess micro;
    micro.start(QStringLiteral(INSTALLER_APP "/Contents/Resources/Micro.app/Contents/Linux/Micro"),
        QStringList());
    ASSERT_TRUE(micro.waitForFinished(10000));
    EXPECT_EQ(micro.exitCode(), 0) << "Micro was never made active";
    EXPECT_TRUE(spinUntil([&owner] {
        const RZProcessRef front = RZProcess::frontProcess();
        return front && front->isEqual(*owner);
    })) << "the window manager did not give the front back after Micro left";
}

namespace {
QMap<QString, QString> runProbe(const QProcessEnvironment& env, const QStringList& args = {},
    const QString& wrapper = QString())
{
    QProcess probe;
    probe.setProcessEnvironment(env);
    if (wrapper.isEmpty())
        probe.start(kProbe, args);
    else
        probe.start(wrapper,
            QStringList { QStringLiteral("-o"), QStringLiteral("/dev/null"), kProbe } + args);
    probe.waitForFinished(20000);
    QMap<QString, QString> out;
    for (const QByteArray& line : probe.readAllStandardOutput().split('\n')) {
        const qsizetype eq = line.indexOf('=');
        if (eq > 0)
            out.insert(QString::fromUtf8(line.left(eq)), QString::fromUtf8(line.mid(eq + 1)));
    }
    return out;
}
} // namespace

TEST(RealLaunchContext, ThePortalsColourSchemeDecidesTheDarkTheme)
{
    PrivateDesktop desktop;
    if (!desktop.startAccessibilityBus())
        GTEST_SKIP() << desktop.error().toStdString();
    QProcessEnvironment env = desktop.environment();
    // No portal on the bus: reported unavailable, so not dark.
    EXPECT_EQ(runProbe(env).value(QStringLiteral("dark")), QStringLiteral("0"));

    const struct {
        const char* scheme;
        const char* option;
        const char* dark;
        const char* tint;
    } cases[] = {
        { "1", "", "1", "tintYosDarkBlue" },
        { "1", "--no-read-one", "1", "tintYosDarkBlue" },
        { "2", "", "0", "tintYosBlue" },
        { "0", "", "0", "tintYosBlue" },
    };
    for (const auto& c : cases) {
        QStringList args { QString::fromLatin1(c.scheme) };
        if (*c.option)
            args.append(QString::fromLatin1(c.option));
        QProcess* portal
            = desktop.start(QStringLiteral(TEST_SOURCE_DIR "/tests/support/test-portal"), args);
        ASSERT_EQ(waitForLine(portal, QStringLiteral("ready")), QStringLiteral("ready"));
        const auto out = runProbe(env);
        EXPECT_EQ(out.value(QStringLiteral("dark")), QString::fromLatin1(c.dark))
            << c.scheme << c.option;
        EXPECT_EQ(out.value(QStringLiteral("tint")), QString::fromLatin1(c.tint))
            << c.scheme << c.option;
        portal->kill();
        portal->waitForFinished(3000);
    }
}

TEST(RealLaunchContext, AutostartAndTracerAreSeen)
{
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.remove(QStringLiteral("DESKTOP_AUTOSTART_ID"));
    const auto plain = runProbe(env);
    EXPECT_EQ(plain.value(QStringLiteral("loginItem")), QStringLiteral("0"));
    EXPECT_EQ(plain.value(QStringLiteral("debugging")), QStringLiteral("0"));
    // The test program is not in a bundle: its creator is no one's.
    EXPECT_EQ(runProbe(env, { QStringLiteral("????") }).value(QStringLiteral("launchedBy")),
        QStringLiteral("0"));
    // A launcher in a bundle of its own (a shell that stays the probe's parent) is seen.
    QTemporaryDir dir;
    const QString shell = makeBundle(dir.path(), QStringLiteral("Launcher"),
                              { { QStringLiteral("CFBundleSignature"), QStringLiteral("LNCH") } },
                              QStringLiteral("/bin/sh"))
        + QStringLiteral("/Contents/Linux/Launcher");
    for (const char* creator : { "LNCH", "lgnw" }) {
        QProcess launcher;
        launcher.setProcessEnvironment(env);
        launcher.start(shell,
            { QStringLiteral("-c"),
                kProbe + QStringLiteral(" ") + QLatin1String(creator) + QStringLiteral("; true") });
        ASSERT_TRUE(launcher.waitForFinished(20000));
        const QByteArray out = launcher.readAllStandardOutput();
        EXPECT_TRUE(out.contains(QByteArray("launchedBy=") + (creator[0] == 'L' ? "1" : "0")))
            << creator << ": " << out.toStdString();
    }

    env.insert(QStringLiteral("DESKTOP_AUTOSTART_ID"), QStringLiteral("10a1b2c3d4e5f6-1-session"));
    EXPECT_EQ(runProbe(env).value(QStringLiteral("loginItem")), QStringLiteral("1"));

    const auto traced
        = runProbe(QProcessEnvironment::systemEnvironment(), {}, QStringLiteral("strace"));
    EXPECT_EQ(traced.value(QStringLiteral("debugging")), QStringLiteral("1"));
}
