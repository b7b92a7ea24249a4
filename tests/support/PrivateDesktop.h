#pragma once
// A desktop of the test's own, started on demand and stopped with it: an X server (Xvfb on a
// free display), a window manager (openbox), a session bus (dbus-daemon) and the accessibility
// bus (at-spi2-core's launcher). Each daemon runs in a process group of its own, which is what is
// stopped, so that helpers a daemon starts go with it.

#include <QList>
#include <QProcess>
#include <QProcessEnvironment>
#include <QString>

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
