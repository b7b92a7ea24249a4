#pragma once
// A desktop of the test's own, started on demand and stopped with it: an X server (Xvfb on a
// free display), a window manager (openbox), a session bus (dbus-daemon) and the accessibility
// bus (at-spi2-core's launcher). Each daemon runs in a process group of its own, which is what is
// stopped, so that helpers a daemon starts go with it.

#include <QList>
#include <QProcess>
#include <QProcessEnvironment>
#include <QString>

#include <functional>

class PrivateDesktop {
public:
    PrivateDesktop();
    ~PrivateDesktop();

    /// Xvfb, and openbox unless withWindowManager is false; false with error() set on failure.
    bool startDisplay(bool withWindowManager = true);
    /// A session bus and the accessibility bus on it.
    bool startAccessibilityBus();

    QString display() const { return m_display; }
    QString sessionBusAddress() const { return m_sessionBus; }
    /// The environment for programs on this desktop (DISPLAY, DBUS_SESSION_BUS_ADDRESS, Qt on xcb).
    QProcessEnvironment environment() const;
    QString error() const { return m_error; }

    /// Starts a program on this desktop; it is stopped with the desktop at the latest.
    QProcess* start(const QString& program, const QStringList& arguments,
        const QProcessEnvironment& extra = QProcessEnvironment());

    /// A window of the accessible_window test program, once it reported "ready <window> <pid>".
    struct Window {
        QProcess* process = nullptr;
        QString id; // empty: it did not come up
        pid_t pid = 0;
    };
    Window startWindow(
        const QString& title, const QProcessEnvironment& extra = QProcessEnvironment());
    /// Activates a window through the window manager; whether that worked.
    bool activate(const Window& window);

private:
    QProcess* launch(const QString& program, const QStringList& arguments);
    bool fail(const QString& message);

    QList<QProcess*> m_processes;
    QString m_display;
    QString m_sessionBus;
    QString m_error;
    QString m_home;
};

/// Reads lines from a started program until one starts with prefix; empty after timeoutMs.
QString waitForLine(QProcess* process, const QString& prefix, int timeoutMs = 10000);

/// Runs the event loop until condition holds or timeoutMs passes; answers the condition.
bool spinUntil(const std::function<bool()>& condition, int timeoutMs = 10000);
/// Runs the event loop for ms milliseconds.
void spinFor(int ms);
