#pragma once
// The log call: one line per event on standard error, in the platform's usual form
// "2026-11-22 07:57:39.123 Installer[4242:4243] text". Each line is written with one write(2),
// so lines from two threads never interleave.

#include "Platform/Foundation/Format.h"

void NSLogv(const QString& format, const QList<FormatArg>& args);

template <class... Args> void NSLog(const QString& format, const Args&... args)
{
    NSLogv(format, QList<FormatArg> { FormatArg(args)... });
}

/// Where log lines go in tests: a sink that sees each formatted line (without the prefix) before
/// it is written. Pass nullptr to remove it.
using LogSink = void (*)(const QString& line, void* context);
void setLogSink(LogSink sink, void* context);
