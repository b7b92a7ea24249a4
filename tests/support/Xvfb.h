#pragma once
// An X server (Xvfb) with a window manager (openbox) for a test, on a free display; both are
// stopped when the object goes. DISPLAY is set while it lives.

#include <QProcess>
#include <QString>

class XvfbSession {
public:
    explicit XvfbSession(bool withWindowManager = true);
    ~XvfbSession();
    bool ok() const { return m_ok; }
    QString display() const { return m_display; }
    /// Why the server did not come up, for a test's skip message.
    QString failure() const { return m_failure; }
    void stopWindowManager();

private:
    QProcess m_xvfb;
    QProcess m_wm;
    QString m_display;
    QByteArray m_savedDisplay;
    bool m_ok = false;
    QString m_failure;
};
