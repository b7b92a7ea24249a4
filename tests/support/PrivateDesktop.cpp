#include "PrivateDesktop.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusReply>
#include <QDeadlineTimer>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QThread>

#include <csignal>
#include <unistd.h>

namespace {
bool waitUntil(const std::function<bool()>& condition, int timeoutMs)
{
    QDeadlineTimer deadline(timeoutMs);
    while (!deadline.hasExpired()) {
        if (condition())
            return true;
        QThread::msleep(50);
    }
    return condition();
}
} // namespace

PrivateDesktop::PrivateDesktop()
    : m_home(QDir::tempPath() + QStringLiteral("/private-desktop-%1").arg(::getpid()))
{
    QDir().mkpath(m_home);
}

PrivateDesktop::~PrivateDesktop()
{
    // Last started first: programs, then the buses, then the window manager, then the server.
    for (auto it = m_processes.rbegin(); it != m_processes.rend(); ++it) {
        QProcess* p = *it;
        if (p->state() != QProcess::NotRunning) {
            ::kill(-pid_t(p->property("group").toLongLong()), SIGTERM);
            p->waitForFinished(3000);
        }
        // Helpers of a daemon (the accessibility bus's own dbus-daemon and registry) may ignore
        // the polite request and outlive their leader: the group goes as a whole.
        if (const auto group = pid_t(p->property("group").toLongLong()); group > 0)
            ::kill(-group, SIGKILL);
        p->waitForFinished(3000);
        delete p;
    }
    QDir(m_home).removeRecursively();
}

QProcess* PrivateDesktop::launch(const QString& program, const QStringList& arguments)
{
    auto* p = new QProcess;
    p->setChildProcessModifier([] { ::setpgid(0, 0); });
    p->setProcessEnvironment(environment());
    p->start(program, arguments);
    p->setProperty("group", p->processId());
    m_processes << p;
    return p;
}

QProcess* PrivateDesktop::start(
    const QString& program, const QStringList& arguments, const QProcessEnvironment& extra)
{
    QProcessEnvironment env = environment();
    env.insert(extra);
    auto* p = new QProcess;
    p->setChildProcessModifier([] { ::setpgid(0, 0); });
    p->setProcessEnvironment(env);
    p->setProcessChannelMode(QProcess::ForwardedErrorChannel);
    p->start(program, arguments);
    p->setProperty("group", p->processId());
    m_processes << p;
    return p;
}

PrivateDesktop::Window PrivateDesktop::startWindow(
    const QString& title, const QProcessEnvironment& extra)
{
    Window w;
    w.process = start(
        QStringLiteral(TEST_BINARY_DIR "/test-programs/accessible_window"), { title }, extra);
    const QStringList ready
        = waitForLine(w.process, QStringLiteral("ready")).split(QLatin1Char(' '));
    if (ready.size() == 3) {
        w.id = ready[1];
        w.pid = pid_t(ready[2].toInt());
    }
    return w;
}

bool PrivateDesktop::activate(const Window& window)
{
    QProcess xdotool;
    xdotool.setProcessEnvironment(environment());
    xdotool.start(QStringLiteral("xdotool"),
        { QStringLiteral("windowactivate"), QStringLiteral("--sync"), window.id });
    return xdotool.waitForFinished(10000) && xdotool.exitCode() == 0;
}

bool PrivateDesktop::fail(const QString& message)
{
    m_error = message;
    return false;
}

QProcessEnvironment PrivateDesktop::environment() const
{
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("HOME"), m_home);
    env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("xcb"));
    env.remove(QStringLiteral("AT_SPI_BUS_ADDRESS"));
    if (!m_display.isEmpty())
        env.insert(QStringLiteral("DISPLAY"), m_display);
    if (!m_sessionBus.isEmpty())
        env.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), m_sessionBus);
    else // an address that leads nowhere: D-Bus would otherwise launch a session bus itself
        env.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"),
            QStringLiteral("unix:path=") + m_home + QStringLiteral("/no-session-bus"));
    return env;
}

bool PrivateDesktop::startDisplay(bool withWindowManager)
{
    QProcess* xvfb = launch(QStringLiteral("Xvfb"),
        { QStringLiteral("-displayfd"), QStringLiteral("1"), QStringLiteral("-screen"),
            QStringLiteral("0"), QStringLiteral("1024x768x24"), QStringLiteral("-nolisten"),
            QStringLiteral("tcp") });
    const QString number = waitForLine(xvfb, QString(), 10000);
    if (number.isEmpty())
        return fail(QStringLiteral("Xvfb did not start"));
    m_display = QLatin1Char(':') + number;
    if (!withWindowManager)
        return true;
    QProcess* wm = launch(QStringLiteral("openbox"), { QStringLiteral("--sm-disable") });
    // The window manager is ready once it names its check window on the root window.
    const bool ready = waitUntil(
        [this] {
            QProcess xprop;
            xprop.setProcessEnvironment(environment());
            xprop.start(QStringLiteral("xprop"),
                { QStringLiteral("-root"), QStringLiteral("_NET_SUPPORTING_WM_CHECK") });
            xprop.waitForFinished(3000);
            return xprop.readAllStandardOutput().contains("window id");
        },
        20000);
    return ready
        || fail(QStringLiteral("openbox did not start on %1 (%2): %3")
                    .arg(m_display, wm->state() == QProcess::Running ? "running" : "ended",
                        QString::fromLocal8Bit(wm->readAllStandardError())));
}

bool PrivateDesktop::startAccessibilityBus()
{
    // A session bus without service folders: nothing gets started on demand behind the test's
    // back (such as a second accessibility bus after the first was stopped).
    const QString config = m_home + QStringLiteral("/session-bus.conf");
    QFile standard(QStringLiteral("/usr/share/dbus-1/session.conf"));
    QFile file(config);
    if (!standard.open(QIODevice::ReadOnly) || !file.open(QIODevice::WriteOnly))
        return fail(QStringLiteral("cannot write ") + config);
    file.write(standard.readAll().replace("<standard_session_servicedirs />", ""));
    file.close();
    QProcess* bus = launch(QStringLiteral("dbus-daemon"),
        { QStringLiteral("--config-file=") + config, QStringLiteral("--nofork"),
            QStringLiteral("--print-address=1") });
    m_sessionBus = waitForLine(bus, QString(), 10000);
    if (m_sessionBus.isEmpty())
        return fail(QStringLiteral("dbus-daemon did not start"));
    launch(QStringLiteral("/usr/libexec/at-spi-bus-launcher"),
        { QStringLiteral("--launch-immediately") });
    const QString name = QStringLiteral("private-desktop-probe");
    const bool ready = waitUntil(
        [&] {
            QDBusConnection c = QDBusConnection::connectToBus(m_sessionBus, name);
            const QDBusReply<QString> reply = c.call(QDBusMessage::createMethodCall(
                QStringLiteral("org.a11y.Bus"), QStringLiteral("/org/a11y/bus"),
                QStringLiteral("org.a11y.Bus"), QStringLiteral("GetAddress")));
            QDBusConnection::disconnectFromBus(name);
            return reply.isValid() && !reply.value().isEmpty();
        },
        10000);
    return ready || fail(QStringLiteral("at-spi-bus-launcher did not start"));
}

QString waitForLine(QProcess* process, const QString& prefix, int timeoutMs)
{
    QDeadlineTimer deadline(timeoutMs);
    while (!deadline.hasExpired()) {
        while (process->canReadLine()) {
            const QString line = QString::fromLocal8Bit(process->readLine()).trimmed();
            if (line.startsWith(prefix))
                return line;
        }
        if (process->state() == QProcess::NotRunning && !process->canReadLine())
            return {};
        process->waitForReadyRead(int(std::max<qint64>(1, deadline.remainingTime())));
    }
    return {};
}

bool spinUntil(const std::function<bool()>& condition, int timeoutMs)
{
    QDeadlineTimer deadline(timeoutMs);
    // A short pause between looks leaves the processes being waited for the CPU.
    while (!condition() && !deadline.hasExpired()) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 50);
        QThread::msleep(5);
    }
    return condition();
}

void spinFor(int ms)
{
    QElapsedTimer t;
    t.start();
    while (t.elapsed() < ms)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
}
