#include "ResourceFork.h"

#include <QFile>
#include <QFileInfo>

namespace {
constexpr qint64 kMaxForkSize = 16 * 1024 * 1024;

bool readBE(const QByteArray& d, qint64 at, int size, uint32_t& out)
{
    if (at < 0 || size < 1 || size > 4 || at + size > d.size())
        return false;
    out = 0;
    for (int i = 0; i < size; ++i)
        out = (out << 8) | uint8_t(d[qsizetype(at + i)]);
    return true;
}

std::optional<QByteArray> readLimited(const QString& path)
{
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly) || f.size() > kMaxForkSize)
        return std::nullopt;
    return f.read(kMaxForkSize);
}
} // namespace

std::optional<QByteArray> resourceFromResourceFile(
    const QByteArray& file, uint32_t type, int16_t id)
{
    // Header: data offset, map offset, data length, map length (4 bytes each).
    uint32_t dataOffset = 0, mapOffset = 0, dataLength = 0, mapLength = 0;
    if (!readBE(file, 0, 4, dataOffset) || !readBE(file, 4, 4, mapOffset)
        || !readBE(file, 8, 4, dataLength) || !readBE(file, 12, 4, mapLength))
        return std::nullopt;
    if (qint64(dataOffset) + dataLength > file.size() || qint64(mapOffset) + mapLength > file.size()
        || mapLength < 30)
        return std::nullopt;
    // Map: 16 header copy, 4 handle, 2 file ref, 2 attributes, 2 type-list offset, 2 name-list
    // offset.
    uint32_t typeListOffset = 0;
    if (!readBE(file, qint64(mapOffset) + 24, 2, typeListOffset))
        return std::nullopt;
    const qint64 typeList = qint64(mapOffset) + typeListOffset;
    uint32_t typeCountMinusOne = 0;
    if (!readBE(file, typeList, 2, typeCountMinusOne))
        return std::nullopt;
    const uint32_t typeCount = (typeCountMinusOne + 1) & 0xffff; // 0xFFFF means an empty list
    for (uint32_t t = 0; t < typeCount; ++t) {
        const qint64 entry = typeList + 2 + qint64(t) * 8;
        uint32_t entryType = 0, countMinusOne = 0, refListOffset = 0;
        if (!readBE(file, entry, 4, entryType) || !readBE(file, entry + 4, 2, countMinusOne)
            || !readBE(file, entry + 6, 2, refListOffset))
            return std::nullopt;
        if (entryType != type)
            continue;
        for (uint32_t r = 0; r <= countMinusOne; ++r) {
            const qint64 ref = typeList + refListOffset + qint64(r) * 12;
            uint32_t refId = 0, attrsAndOffset = 0;
            if (!readBE(file, ref, 2, refId) || !readBE(file, ref + 4, 4, attrsAndOffset))
                return std::nullopt;
            if (int16_t(refId) != id)
                continue;
            const qint64 at = qint64(dataOffset) + (attrsAndOffset & 0xffffff);
            uint32_t length = 0;
            if (!readBE(file, at, 4, length)
                || at + 4 + qint64(length) > qint64(dataOffset) + dataLength)
                return std::nullopt;
            return file.mid(qsizetype(at + 4), qsizetype(length));
        }
    }
    return std::nullopt;
}

std::optional<QByteArray> readResourceFork(const QString& path)
{
    if (auto named = readLimited(path + QStringLiteral("/..namedfork/rsrc"));
        named && !named->isEmpty())
        return named;
    const QFileInfo info(path);
    const auto doubled = readLimited(info.path() + QStringLiteral("/._") + info.fileName());
    if (!doubled)
        return std::nullopt;
    // AppleDouble: magic 0x00051607, version, 16 filler bytes, entry count, entries of
    // (id, offset, length); entry id 2 is the resource fork.
    uint32_t magic = 0, count = 0;
    if (!readBE(*doubled, 0, 4, magic) || magic != 0x00051607 || !readBE(*doubled, 24, 2, count))
        return std::nullopt;
    for (uint32_t i = 0; i < count; ++i) {
        uint32_t entryId = 0, offset = 0, length = 0;
        const qint64 at = 26 + qint64(i) * 12;
        if (!readBE(*doubled, at, 4, entryId) || !readBE(*doubled, at + 4, 4, offset)
            || !readBE(*doubled, at + 8, 4, length))
            return std::nullopt;
        if (entryId == 2 && qint64(offset) + length <= doubled->size())
            return doubled->mid(qsizetype(offset), qsizetype(length));
    }
    return std::nullopt;
}

std::optional<QString> versionFromVersResource(const QByteArray& data)
{
    if (data.size() < 4)
        return std::nullopt;
    // The version record as the classes declare it: byte 0 pre-release revision, byte 1 stage,
    // byte 2 minor (high nibble) and bug fix (low nibble), byte 3 major in binary-coded decimal.
    const uint8_t revision = uint8_t(data[0]), stage = uint8_t(data[1]),
                  minorBug = uint8_t(data[2]), major = uint8_t(data[3]);
    const int majorValue = (major >> 4) * 10 + (major & 15);
    const int minor = minorBug >> 4, bugfix = minorBug & 15;
    QString text = bugfix ? QStringLiteral("%1.%2.%3").arg(majorValue).arg(minor).arg(bugfix)
                          : QStringLiteral("%1.%2").arg(majorValue).arg(minor);
    if (revision != 0) {
        const uint32_t shifted = uint32_t(stage) - 0x20;
        const uint32_t rotated = (shifted >> 5) | (shifted << 27);
        const QString letter = rotated == 0 ? QStringLiteral("d")
            : rotated == 1                  ? QStringLiteral("a")
            : rotated == 2                  ? QStringLiteral("b")
                                            : QString();
        text += letter + QString::number(revision);
    }
    return text;
}
