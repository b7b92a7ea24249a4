#include "TestSupport.h"

#include "Platform/Foundation/Log.h"
#include "Platform/Foundation/PropertyList.h"
#include "RZProcess.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QProcessEnvironment>

#include <utility>

LogRecorder::LogRecorder()
{
    setLogSink(&LogRecorder::sink, this);
}
LogRecorder::~LogRecorder()
{
    setLogSink(nullptr, nullptr);
}

void LogRecorder::sink(const QString& line, void* self)
{
    auto* recorder = static_cast<LogRecorder*>(self);
    std::lock_guard lock(recorder->m_mutex);
    recorder->m_lines.append(line);
}

QStringList LogRecorder::lines() const
{
    std::lock_guard lock(m_mutex);
    return m_lines;
}

void LogRecorder::clear()
{
    std::lock_guard lock(m_mutex);
    m_lines.clear();
}

QList<pid_t> cachedProcessPids()
{
    QList<pid_t> pids;
    for (const RZProcessRef& p :
        RZProcess::cachedProcessesEnumerator().value_or(QList<RZProcessRef>()))
        pids << pid_t(p->serialNumber().lowLongOfPSN);
    return pids;
}

bool writeFile(const QString& path, const QByteArray& contents)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile f(path);
    if (!f.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return false;
    return f.write(contents) == contents.size();
}

QByteArray readFile(const QString& path)
{
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

QString makeBundle(
    const QString& parent, const QString& name, const QVariantMap& info, const QString& program)
{
    const QString bundle = parent + QLatin1Char('/') + name + QStringLiteral(".app");
    QVariantMap plist = info;
    if (!plist.contains(QStringLiteral("CFBundleExecutable")))
        plist.insert(QStringLiteral("CFBundleExecutable"), name);
    writeFile(bundle + QStringLiteral("/Contents/Info.plist"), xmlPropertyList(plist));
    const QString exe = bundle + QStringLiteral("/Contents/Linux/")
        + plist.value(QStringLiteral("CFBundleExecutable")).toString();
    QDir().mkpath(QFileInfo(exe).absolutePath());
    if (!program.isEmpty())
        QFile::copy(program, exe);
    else
        writeFile(exe, "#!/bin/sh\nexit 0\n");
    QFile::setPermissions(exe,
        QFile::permissions(exe) | QFileDevice::ExeOwner | QFileDevice::ExeGroup
            | QFileDevice::ExeOther);
    return bundle;
}

QProcess* ChildProcesses::add()
{
    auto* p = new QProcess;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("xcb"));
    p->setProcessEnvironment(env);
    m_processes.append(p);
    return p;
}

void ChildProcesses::clear()
{
    for (QProcess* p : std::exchange(m_processes, {})) {
        p->kill();
        p->waitForFinished(3000);
        delete p;
    }
}
