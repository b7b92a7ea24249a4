#pragma once
// Starting a program that outlives us: its own session, standard streams on the null device, not
// waited for. A thread of ours reaps it when it ends, so it never lingers as a zombie.

#include <QString>
#include <QStringList>

/// Starts program (looked up in PATH when the name has no slash) with args. 0, or the error
/// number of a start that failed (no such program, not executable).
int spawnDetached(const QString& program, const QStringList& args);
