#include "Platform/Linux/DesktopQueries.h"
#include "Platform/DesktopEnvironment.h"

#include <QFile>
#include <QList>

#include <sys/stat.h>
#include <sys/sysmacros.h>

int controlTintForHighlight(const QColor& highlight)
{
    // A saturated colour between cyan and violet reads as blue; greys and other hues as graphite.
    const int hue = highlight.hsvHue();
    const bool blue = hue >= 180 && hue <= 270 && highlight.hsvSaturationF() >= 0.25;
    return blue ? NSBlueControlTint : NSGraphiteControlTint;
}

QString mountTypeOfDevice(dev_t dev, const QByteArray& mountinfo)
{
    // Each line: id parent major:minor root mount-point options [optional fields...] - type
    // source super-options. A device mounted more than once has the same type everywhere.
    const QByteArray wanted = QByteArray::number(major(dev)) + ':' + QByteArray::number(minor(dev));
    for (const QByteArray& line : mountinfo.split('\n')) {
        const QList<QByteArray> fields = line.split(' ');
        if (fields.size() < 7 || fields.at(2) != wanted)
            continue;
        const qsizetype dash = fields.indexOf("-", 6);
        if (dash > 0 && dash + 1 < fields.size())
            return QString::fromLatin1(fields.at(dash + 1));
    }
    return QString();
}

QString fileSystemTypeForMagic(long magic)
{
    static const struct {
        unsigned long magic;
        const char* name;
    } known[] = {
        { 0xEF53, "ext4" },
        { 0x01021994, "tmpfs" },
        { 0x9123683E, "btrfs" },
        { 0x58465342, "xfs" },
        { 0x6969, "nfs" },
        { 0x794C7630, "overlay" },
        { 0x9fa0, "proc" },
        { 0x62656572, "sysfs" },
        { 0x4d44, "vfat" },
        { 0x5346544e, "ntfs" },
        { 0x2011BAB0, "exfat" },
        { 0x65735546, "fuse" },
        { 0xF2F52010, "f2fs" },
        { 0x9660, "iso9660" },
        { 0x73717368, "squashfs" },
        { 0x1373, "devtmpfs" },
        { 0x858458f6, "ramfs" },
        { 0x2fc12fc1, "zfs" },
        { 0xFF534D42, "cifs" },
    };
    for (const auto& k : known) {
        if (k.magic == (unsigned long)(magic) || k.magic == (unsigned long)(magic & 0xffffffff))
            return QString::fromLatin1(k.name);
    }
    return QString();
}

QString fileSystemTypeName(const QByteArray& path, long magic)
{
    struct stat st { };
    if (::stat(path.constData(), &st) != 0)
        return QString();
    QFile table(QStringLiteral("/proc/self/mountinfo"));
    if (table.open(QIODevice::ReadOnly)) {
        const QString name = mountTypeOfDevice(st.st_dev, table.readAll());
        if (!name.isEmpty())
            return name;
    }
    return fileSystemTypeForMagic(magic);
}

pid_t tracerPidIn(const QByteArray& status)
{
    for (const QByteArray& line : status.split('\n')) {
        if (line.startsWith("TracerPid:"))
            return pid_t(line.mid(10).trimmed().toLong());
    }
    return 0;
}
