#include "Xvfb.h"

#include <QStandardPaths>
#include <QThread>

#include <fcntl.h>
#include <unistd.h>
#include <xcb/xcb.h>

XvfbSession::XvfbSession(bool withWindowManager)
{
    m_savedDisplay = qgetenv("DISPLAY");
    if (QStandardPaths::findExecutable(QStringLiteral("Xvfb")).isEmpty())
        return;
    // The server picks a free display number itself and tells it on standard output: no race
    // with servers that other tests or programs start at the same moment.
    m_xvfb.start(QStringLiteral("Xvfb"),
        { QStringLiteral("-displayfd"), QStringLiteral("1"), QStringLiteral("-screen"),
            QStringLiteral("0"), QStringLiteral("1024x768x24"), QStringLiteral("-nolisten"),
            QStringLiteral("tcp") });
    m_xvfb.waitForStarted(5000);
    for (int i = 0; i < 100 && m_xvfb.state() == QProcess::Running && !m_xvfb.canReadLine(); ++i)
        m_xvfb.waitForReadyRead(100);
    bool numbered = false;
    const int number = m_xvfb.readLine().trimmed().toInt(&numbered);
    if (numbered) {
        m_display = QStringLiteral(":%1").arg(number);
        xcb_connection_t* c = xcb_connect(m_display.toLatin1().constData(), nullptr);
        m_ok = !xcb_connection_has_error(c);
        xcb_disconnect(c);
    }
    if (!m_ok) {
        m_failure = QString::fromLocal8Bit(m_xvfb.readAllStandardError()).right(300);
        m_xvfb.kill();
        m_xvfb.waitForFinished(3000);
    }
    if (!m_ok)
        return;
    qputenv("DISPLAY", m_display.toLatin1());
    if (!withWindowManager)
        return;
    // The window manager is ready once it names its check window on the root window; one that
    // exits on the way is started again.
    bool ready = false;
    for (int attempt = 0; attempt < 3 && !ready; ++attempt) {
        m_wm.start(QStringLiteral("openbox"), { QStringLiteral("--sm-disable") });
        m_wm.waitForStarted(5000);
        for (int i = 0; i < 50 && !ready && m_wm.state() == QProcess::Running; ++i) {
            QProcess probe;
            probe.start(QStringLiteral("xprop"),
                { QStringLiteral("-root"), QStringLiteral("_NET_SUPPORTING_WM_CHECK") });
            probe.waitForFinished(2000);
            ready = probe.readAllStandardOutput().contains("window id");
            if (!ready)
                QThread::msleep(100);
        }
        if (!ready) {
            m_failure += QString::fromLocal8Bit(m_wm.readAllStandardError()).right(300);
            m_wm.kill();
            m_wm.waitForFinished(3000);
        }
    }
    if (!ready) {
        m_failure.prepend(QStringLiteral("openbox did not start: "));
        m_ok = false;
    }
}

void XvfbSession::stopWindowManager()
{
    m_wm.terminate();
    m_wm.waitForFinished(3000);
}

XvfbSession::~XvfbSession()
{
    stopWindowManager();
    m_xvfb.terminate();
    m_xvfb.waitForFinished(3000);
    if (m_savedDisplay.isEmpty())
        qunsetenv("DISPLAY");
    else
        qputenv("DISPLAY", m_savedDisplay);
}
