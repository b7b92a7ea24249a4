#include "Xvfb.h"

#include <QStandardPaths>
#include <QThread>

#include <fcntl.h>
#include <unistd.h>

XvfbSession::XvfbSession(bool withWindowManager)
{
    m_savedDisplay = qgetenv("DISPLAY");
    if (QStandardPaths::findExecutable(QStringLiteral("Xvfb")).isEmpty())
        return;
    int fds[2];
    if (::pipe(fds) != 0)
        return;
    // Xvfb writes the display number it chose to the descriptor given with -displayfd.
    m_xvfb.setChildProcessModifier([fds] { ::close(fds[0]); });
    m_xvfb.start(QStringLiteral("Xvfb"),
        { QStringLiteral("-displayfd"), QString::number(fds[1]), QStringLiteral("-screen"),
            QStringLiteral("0"), QStringLiteral("1024x768x24"), QStringLiteral("-nolisten"),
            QStringLiteral("tcp") });
    ::close(fds[1]);
    char buf[16] = {};
    ssize_t n = 0;
    for (int i = 0; i < 100 && n <= 0; ++i)
        n = ::read(fds[0], buf, sizeof buf - 1);
    ::close(fds[0]);
    if (n <= 0)
        return;
    m_display = QLatin1Char(':') + QString::fromLatin1(buf).trimmed();
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
    m_ok = true;
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
