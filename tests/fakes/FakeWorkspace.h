#pragma once
// A workspace that records what it was asked and can be told to fail.

#include "Platform/Workspace.h"

#include <QStringList>

#include <mutex>

class FakeWorkspace final : public Workspace {
public:
    FakeWorkspace() { Workspace::setShared(this); }
    ~FakeWorkspace() override { Workspace::setShared(nullptr); }

    int opensFailingFirst = 0; // openFile fails this many times, then works
    bool hasIcon = true;
    QStringList calls;

    bool recycle(const QString& path) override { return record(QStringLiteral("recycle ") + path); }
    bool recycleAs(const QString& current, const QString&) override
    {
        return record(QStringLiteral("recycle ") + current);
    }
    void noteFileSystemChanged(const QString& path) override
    {
        record(QStringLiteral("changed ") + path);
    }
    QImage iconForFile(const QString& path) override
    {
        record(QStringLiteral("icon ") + path);
        return hasIcon ? QImage(4, 4, QImage::Format_ARGB32) : QImage();
    }
    bool openFile(const QString& path) override
    {
        record(QStringLiteral("open ") + path);
        std::lock_guard lock(m_mutex);
        return opensFailingFirst-- <= 0;
    }
    OSStatus lsRegisterURL(const QString& path, bool) override
    {
        record(QStringLiteral("register ") + path);
        return noErr;
    }
    QString displayNameAtPath(const QString& path) override
    {
        return path.section(QLatin1Char('/'), -1);
    }

    QStringList recorded()
    {
        std::lock_guard lock(m_mutex);
        return calls;
    }

private:
    bool record(const QString& call)
    {
        std::lock_guard lock(m_mutex);
        calls.append(call);
        return true;
    }
    std::mutex m_mutex;
};
