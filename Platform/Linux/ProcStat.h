#pragma once
// One process's line of /proc/<pid>/stat, and the facts of the process table the classes need.

#include <QString>

#include <cstdint>
#include <optional>
#include <sys/types.h>

struct ProcStat {
    pid_t pid = 0;
    pid_t ppid = 0;
    char state = '?';
    uint32_t flags = 0;
    uint64_t startTicks = 0; // clock ticks since boot
    uint64_t userTicks = 0; // user CPU time in clock ticks
    uid_t uid = 0; // owner of /proc/<pid> (the effective uid)

    bool isZombie() const { return state == 'Z' || state == 'X'; }
    bool isKernelThread() const { return flags & 0x00200000; } // PF_KTHREAD
};

/// Reads /proc/<pid>/stat; absent when the process is gone (or never was).
std::optional<ProcStat> readProcStat(pid_t pid);
/// The executable's path (without the " (deleted)" the kernel adds); empty when unreadable.
QString processExecutable(pid_t pid);
/// Started by the desktop session's autostart: the session manager marks such a start with
/// DESKTOP_AUTOSTART_ID in the environment the process began with, systemd with an
/// "app-<entry>@autostart.service" unit around it.
bool startedByAutostart(pid_t pid);
/// The first word of the command line, as the program was started.
QString processArgv0(pid_t pid);
/// Seconds since 1970 at which the system booted (btime of /proc/stat).
double bootTime();
long clockTicksPerSecond();
