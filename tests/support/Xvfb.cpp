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
    // A display number of our own (Xvfb refuses one a live server holds, and clears a dead
    // server's lock): the server must answer on it before anything is started there.
    for (int attempt = 0; attempt < 20 && !m_ok; ++attempt) {
        const int number = 200 + int((::getpid() + attempt * 7) % 500);
        m_display = QStringLiteral(":%1").arg(number);
        m_xvfb.start(QStringLiteral("Xvfb"),
            { m_display, QStringLiteral("-screen"), QStringLiteral("0"),
                QStringLiteral("1024x768x24"), QStringLiteral("-nolisten"),
                QStringLiteral("tcp") });
        m_xvfb.waitForStarted(5000);
        for (int i = 0; i < 100 && m_xvfb.state() == QProcess::Running && !m_ok; ++i) {
            xcb_connection_t* c = xcb_connect(m_display.toLatin1().constData(), nullptr);
            m_ok = !xcb_connection_has_error(c);
            xcb_disconnect(c);
            if (!m_ok)
                QThread::msleep(50);
        }
        if (!m_ok) {
            m_failure += QString::fromLocal8Bit(m_xvfb.readAllStandardError()).right(300);
            m_xvfb.kill();
            m_xvfb.waitForFinished(3000);
        }
    }
    if (!m_ok)
        return;
    qputenv("DISPLAY", m_display.toLatin1());
    if (withWindowManager) {
        m_wm.start(QStringLiteral("openbox"), { QStringLiteral("--sm-disable") });
        for (int i = 0; i < 50; ++i) {
            QProcess probe;
            probe.start(QStringLiteral("xprop"),
                { QStringLiteral("-root"), QStringLiteral("_NET_SUPPORTING_WM_CHECK") });
            probe.waitForFinished(2000);
            if (probe.readAllStandardOutput().contains("window id"))
                break;
            QThread::msleep(100);
        }
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
