#pragma once
// Small readings of the running system behind the desktop queries: the control tint a highlight
// colour stands for, a file system's type name, whether a tracer is attached.

#include <QByteArray>
#include <QColor>
#include <QString>

#include <sys/types.h>

/// NSBlueControlTint for a saturated blue highlight, NSGraphiteControlTint for anything else.
int controlTintForHighlight(const QColor& highlight);

/// The type name ("ext4", "tmpfs", "btrfs") of the mount whose device is dev, from a mount table
/// in the format of /proc/self/mountinfo; empty when no mount has that device.
QString mountTypeOfDevice(dev_t dev, const QByteArray& mountinfo);
/// The type name for a file system's magic number (statfs's f_type); empty when unknown.
QString fileSystemTypeForMagic(long magic);
/// The type name of the file system that path lies on: the mount table first, else the magic
/// number; empty when path cannot be looked at.
QString fileSystemTypeName(const QByteArray& path, long magic);

/// The TracerPid of a /proc/<pid>/status text; 0 when none is attached or the line is missing.
pid_t tracerPidIn(const QByteArray& status);
