#pragma once
// Starting a program that outlives us: its own session, standard streams on the null device, not
// waited for. A thread of ours reaps it when it ends, so it never lingers as a zombie.

#include <QList>
#include <QString>
#include <QStringList>

#include <vector>

/// A program and its arguments as the kernel wants them: file-system encoded, NUL-terminated,
/// with the terminating null pointer. Lives as long as the argument vector is used.
class NativeArguments {
public:
    NativeArguments(const QString& program, const QStringList& args);
    char** argv() { return m_argv.data(); }

private:
    QList<QByteArray> m_storage;
    std::vector<char*> m_argv;
};

/// Starts program (looked up in PATH when the name has no slash) with args. 0, or the error
/// number of a start that failed (no such program, not executable).
int spawnDetached(const QString& program, const QStringList& args);
