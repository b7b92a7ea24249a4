#include "Platform/Foundation/PropertyList.h"

#include <QDateTime>
#include <QFile>
#include <QRegularExpression>
#include <QTimeZone>

#include <plist/plist.h>

#include <cstdlib>
#include <memory>
#include <vector>

namespace {

// Seconds between the Unix epoch and the property-list epoch (2001-01-01 00:00:00 UTC).
constexpr qint64 kPlistEpoch = 978307200;

struct PlistDeleter {
    void operator()(void* p) const { plist_free(static_cast<plist_t>(p)); }
};
using PlistPtr = std::unique_ptr<void, PlistDeleter>;

QString takeString(char* s)
{
    QString out = s ? QString::fromUtf8(s) : QString();
    std::free(s);
    return out;
}

std::optional<QVariant> convert(plist_t node, int depth)
{
    if (!node || depth > kMaxPropertyListDepth)
        return std::nullopt;
    switch (plist_get_node_type(node)) {
    case PLIST_BOOLEAN: {
        uint8_t b = 0;
        plist_get_bool_val(node, &b);
        return QVariant(b != 0);
    }
    case PLIST_UINT: {
        uint64_t u = 0;
        plist_get_uint_val(node, &u);
        // Binary plists store negative integers as 64-bit two's complement.
        if (u > uint64_t(INT64_MAX))
            return QVariant(qlonglong(int64_t(u)));
        return u <= uint64_t(INT32_MAX) ? QVariant(int(u)) : QVariant(qlonglong(u));
    }
    case PLIST_REAL: {
        double d = 0;
        plist_get_real_val(node, &d);
        return QVariant(d);
    }
    case PLIST_STRING: {
        // The pointer form: the copying getter asserts when a string holds a NUL character.
        uint64_t length = 0;
        const char* s = plist_get_string_ptr(node, &length);
        return QVariant(s ? QString::fromUtf8(s, qsizetype(length)) : QString());
    }
    case PLIST_DATE: {
        int32_t sec = 0, usec = 0;
        plist_get_date_val(node, &sec, &usec);
        return QVariant(
            QDateTime::fromMSecsSinceEpoch((kPlistEpoch + sec) * 1000 + usec / 1000, Qt::UTC));
    }
    case PLIST_DATA: {
        uint64_t length = 0;
        const char* d = plist_get_data_ptr(node, &length);
        return QVariant(QByteArray(d, d ? qsizetype(length) : 0));
    }
    case PLIST_UID: {
        uint64_t u = 0;
        plist_get_uid_val(node, &u);
        return QVariant(qulonglong(u));
    }
    case PLIST_ARRAY: {
        QVariantList list;
        const uint32_t n = plist_array_get_size(node);
        for (uint32_t i = 0; i < n; ++i) {
            auto item = convert(plist_array_get_item(node, i), depth + 1);
            if (!item)
                return std::nullopt;
            list.append(*item);
        }
        return QVariant(list);
    }
    case PLIST_DICT: {
        QVariantMap map;
        plist_dict_iter it = nullptr;
        plist_dict_new_iter(node, &it);
        if (!it)
            return QVariant(map);
        for (;;) {
            char* key = nullptr;
            plist_t value = nullptr;
            plist_dict_next_item(node, it, &key, &value);
            if (!value) {
                std::free(key);
                break;
            }
            const QString k = takeString(key);
            auto v = convert(value, depth + 1);
            if (!v) {
                std::free(it);
                return std::nullopt;
            }
            map.insert(k, *v);
        }
        std::free(it);
        return QVariant(map);
    }
    default:
        return std::nullopt;
    }
}

// libplist parses containers recursively, so a deeply nested file overflows its stack before we
// see a node. Both forms are measured here first, without recursion.
bool xmlNestingIsSane(const QByteArray& data)
{
    // A character reference to NUL ("&#0;", "&#x00;") would make libplist assert.
    static const QRegularExpression nul(
        QStringLiteral("&#(x0*|0+);"), QRegularExpression::CaseInsensitiveOption);
    if (data.contains("&#") && QString::fromLatin1(data).contains(nul))
        return false;
    int depth = 0;
    for (qsizetype i = data.indexOf('<'); i >= 0; i = data.indexOf('<', i + 1)) {
        const char* p = data.constData() + i + 1;
        const qsizetype left = data.size() - i - 1;
        auto startsWith = [&](const char* word, qsizetype len) {
            return left >= len && std::equal(word, word + len, p);
        };
        if (startsWith("dict", 4) || startsWith("array", 5)) {
            const qsizetype close = data.indexOf('>', i);
            if (close < 0)
                return false;
            if (data[close - 1] != '/' && ++depth > kMaxPropertyListDepth)
                return false;
        } else if (startsWith("/dict", 5) || startsWith("/array", 6)) {
            --depth;
        }
    }
    return true;
}

uint64_t readBigEndian(const uchar* p, int size)
{
    uint64_t v = 0;
    for (int i = 0; i < size; ++i)
        v = (v << 8) | p[i];
    return v;
}

bool binaryNestingIsSane(const QByteArray& data)
{
    const auto* bytes = reinterpret_cast<const uchar*>(data.constData());
    const qsizetype size = data.size();
    if (size < 8 + 32)
        return false;
    const uchar* trailer = bytes + size - 32;
    const int offsetSize = trailer[6];
    const int refSize = trailer[7];
    const uint64_t objectCount = readBigEndian(trailer + 8, 8);
    const uint64_t topObject = readBigEndian(trailer + 16, 8);
    const uint64_t tableOffset = readBigEndian(trailer + 24, 8);
    if (offsetSize < 1 || offsetSize > 8 || refSize < 1 || refSize > 8 || topObject >= objectCount
        || objectCount > uint64_t(size) || tableOffset >= uint64_t(size)
        || tableOffset + objectCount * uint64_t(offsetSize) > uint64_t(size - 32))
        return false;
    auto offsetOf = [&](uint64_t object) {
        return readBigEndian(bytes + tableOffset + object * offsetSize, offsetSize);
    };

    struct Frame {
        uint64_t object;
        int depth;
    };
    std::vector<Frame> stack { { topObject, 0 } };
    uint64_t visits = 0;
    while (!stack.empty()) {
        const Frame f = stack.back();
        stack.pop_back();
        if (f.depth > kMaxPropertyListDepth || ++visits > 4 * objectCount + 16)
            return false; // too deep, or references that loop
        const uint64_t offset = offsetOf(f.object);
        if (offset < 8 || offset >= tableOffset)
            return false;
        const uchar marker = bytes[offset];
        const int type = marker >> 4;
        const bool string = type == 0x5 || type == 0x6;
        if (type != 0xA && type != 0xC && type != 0xD && !string)
            continue;
        uint64_t count = marker & 0xF;
        uint64_t refs = offset + 1;
        if (count == 0xF) { // the count follows as an integer object
            if (refs >= tableOffset || (bytes[refs] >> 4) != 0x1)
                return false;
            const int intSize = 1 << (bytes[refs] & 0xF);
            if (intSize > 8 || refs + 1 + intSize > tableOffset)
                return false;
            count = readBigEndian(bytes + refs + 1, intSize);
            refs += 1 + intSize;
        }
        if (string) {
            // libplist asserts on strings (and dictionary keys) that hold a NUL character.
            const uint64_t unit = type == 0x6 ? 2 : 1;
            if (count > uint64_t(size) || refs + count * unit > tableOffset)
                return false;
            for (uint64_t i = 0; i < count; ++i) {
                if (bytes[refs + i * unit] == 0 && (unit == 1 || bytes[refs + i * unit + 1] == 0))
                    return false;
            }
            continue;
        }
        const uint64_t children = type == 0xD ? 2 * count : count;
        if (children > objectCount * 2 || refs + children * refSize > tableOffset)
            return false;
        for (uint64_t c = 0; c < children; ++c) {
            const uint64_t child = readBigEndian(bytes + refs + c * refSize, refSize);
            if (child >= objectCount)
                return false;
            stack.push_back({ child, f.depth + 1 });
        }
    }
    return true;
}

} // namespace

std::optional<QVariant> propertyListFromData(const QByteArray& data)
{
    if (data.isEmpty() || data.size() > kMaxPropertyListSize)
        return std::nullopt;
    const bool binary = plist_is_binary(data.constData(), uint32_t(data.size()));
    if (binary ? !binaryNestingIsSane(data) : !xmlNestingIsSane(data))
        return std::nullopt;
    plist_t root = nullptr;
    if (binary)
        plist_from_bin(data.constData(), uint32_t(data.size()), &root);
    else
        plist_from_xml(data.constData(), uint32_t(data.size()), &root);
    PlistPtr owner(root);
    if (!root)
        return std::nullopt;
    return convert(root, 0);
}

std::optional<QVariant> propertyListFromFile(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    if (file.size() > kMaxPropertyListSize)
        return std::nullopt;
    const QByteArray data = file.read(kMaxPropertyListSize + 1);
    return propertyListFromData(data);
}

std::optional<QVariantMap> dictionaryFromPropertyListFile(const QString& path)
{
    const auto value = propertyListFromFile(path);
    if (!value || value->typeId() != QMetaType::QVariantMap)
        return std::nullopt;
    return value->toMap();
}

namespace {
plist_t toPlist(const QVariant& v)
{
    switch (v.typeId()) {
    case QMetaType::Bool:
        return plist_new_bool(v.toBool());
    case QMetaType::Int:
    case QMetaType::LongLong:
    case QMetaType::UInt:
    case QMetaType::ULongLong:
        return plist_new_uint(uint64_t(v.toLongLong()));
    case QMetaType::Double:
        return plist_new_real(v.toDouble());
    case QMetaType::QByteArray: {
        const QByteArray b = v.toByteArray();
        return plist_new_data(b.constData(), uint64_t(b.size()));
    }
    case QMetaType::QDateTime: {
        const qint64 ms = v.toDateTime().toMSecsSinceEpoch() - kPlistEpoch * 1000;
        return plist_new_date(int32_t(ms / 1000), int32_t((ms % 1000) * 1000));
    }
    case QMetaType::QStringList:
    case QMetaType::QVariantList: {
        plist_t a = plist_new_array();
        for (const QVariant& item : v.toList())
            plist_array_append_item(a, toPlist(item));
        return a;
    }
    case QMetaType::QVariantMap: {
        plist_t d = plist_new_dict();
        const QVariantMap m = v.toMap();
        for (auto it = m.cbegin(); it != m.cend(); ++it)
            plist_dict_set_item(d, it.key().toUtf8().constData(), toPlist(it.value()));
        return d;
    }
    default:
        return plist_new_string(v.toString().toUtf8().constData());
    }
}
} // namespace

QByteArray xmlPropertyList(const QVariant& value)
{
    PlistPtr root(toPlist(value));
    char* xml = nullptr;
    uint32_t len = 0;
    plist_to_xml(static_cast<plist_t>(root.get()), &xml, &len);
    QByteArray out(xml, qsizetype(len));
    plist_to_xml_free(xml);
    return out;
}
