// Reading Info.plist files: both forms, every value type, and every kind of bad file.

#include "Platform/Foundation/PropertyList.h"
#include "TestSupport.h"

#include <QDateTime>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {
QVariantMap sampleDictionary()
{
    QVariantMap nested;
    nested.insert(QStringLiteral("Flag"), false);
    nested.insert(QStringLiteral("List"), QVariantList { 1, QStringLiteral("two"), 3.5 });
    QVariantMap info;
    info.insert(QStringLiteral("CFBundleName"), QStringLiteral("Fö o"));
    info.insert(QStringLiteral("CFBundleSignature"), QStringLiteral("ABCD"));
    info.insert(QStringLiteral("Count"), 42);
    info.insert(QStringLiteral("Negative"), -7);
    info.insert(QStringLiteral("Big"), qlonglong(1) << 40);
    info.insert(QStringLiteral("Ratio"), 0.25);
    info.insert(QStringLiteral("On"), true);
    info.insert(QStringLiteral("When"), QDateTime(QDate(2024, 2, 29), QTime(13, 14, 15), Qt::UTC));
    info.insert(QStringLiteral("Blob"), QByteArray("\x00\x01\xff", 3));
    info.insert(QStringLiteral("Nested"), nested);
    return info;
}
} // namespace

TEST(PropertyList, XmlAndBinaryReadBackAllValueTypes)
{
    QTemporaryDir dir;
    const QVariantMap info = sampleDictionary();
    const QString xml = dir.filePath(QStringLiteral("Info.plist"));
    ASSERT_TRUE(writeFile(xml, xmlPropertyList(info)));
    const QString bin = dir.filePath(QStringLiteral("Info.bin.plist"));
    // The binary form comes from libplist's own converter, so both readers are exercised.
    ASSERT_EQ(QProcess::execute(QStringLiteral("plistutil"),
                  { QStringLiteral("-i"), xml, QStringLiteral("-o"), bin, QStringLiteral("-f"),
                      QStringLiteral("bin") }),
        0);

    for (const QString& path : { xml, bin }) {
        const auto read = dictionaryFromPropertyListFile(path);
        ASSERT_TRUE(read.has_value()) << path.toStdString();
        EXPECT_EQ(read->value(QStringLiteral("CFBundleName")).toString(), QStringLiteral("Fö o"));
        EXPECT_EQ(read->value(QStringLiteral("Count")).toInt(), 42);
        EXPECT_EQ(read->value(QStringLiteral("Negative")).toLongLong(), -7);
        EXPECT_EQ(read->value(QStringLiteral("Big")).toLongLong(), qlonglong(1) << 40);
        EXPECT_DOUBLE_EQ(read->value(QStringLiteral("Ratio")).toDouble(), 0.25);
        EXPECT_EQ(read->value(QStringLiteral("On")).typeId(), QMetaType::Bool);
        EXPECT_EQ(read->value(QStringLiteral("When")).toDateTime(),
            info.value(QStringLiteral("When")).toDateTime());
        EXPECT_EQ(read->value(QStringLiteral("Blob")).toByteArray(), QByteArray("\x00\x01\xff", 3));
        const QVariantMap nested = read->value(QStringLiteral("Nested")).toMap();
        EXPECT_EQ(nested.value(QStringLiteral("List")).toList().size(), 3);
        EXPECT_EQ(
            nested.value(QStringLiteral("List")).toList().at(1).toString(), QStringLiteral("two"));
    }
}

TEST(PropertyList, BadFilesAreAbsentNeverPartial)
{
    const QByteArray good = xmlPropertyList(sampleDictionary());
    QByteArray deepXml = "<?xml version=\"1.0\"?><plist version=\"1.0\">";
    for (int i = 0; i < 100000; ++i)
        deepXml += "<array>";
    QByteArray deepBinary = "bplist00";
    // 200,000 one-element arrays, each referring to the next: deep enough to overflow a
    // recursive parser. Object refs are 4 bytes, offsets 4 bytes.
    const int n = 200000;
    QList<quint32> offsets;
    for (int i = 0; i < n; ++i) {
        offsets.append(quint32(deepBinary.size()));
        deepBinary += char(0xA1);
        const quint32 next = quint32(i + 1 < n ? i + 1 : i);
        for (int s = 24; s >= 0; s -= 8)
            deepBinary += char((next >> s) & 0xff);
    }
    const quint32 table = quint32(deepBinary.size());
    for (quint32 o : offsets)
        for (int s = 24; s >= 0; s -= 8)
            deepBinary += char((o >> s) & 0xff);
    QByteArray trailer(32, '\0');
    trailer[6] = 4;
    trailer[7] = 4;
    for (int s = 0; s < 8; ++s) {
        trailer[8 + 7 - s] = char((quint64(n) >> (8 * s)) & 0xff);
        trailer[24 + 7 - s] = char((quint64(table) >> (8 * s)) & 0xff);
    }
    deepBinary += trailer;

    const struct {
        const char* what;
        QByteArray data;
    } cases[] = {
        { "empty", QByteArray() },
        { "truncated xml", good.left(good.size() / 2) },
        { "not a plist", QByteArray("hello, world") },
        { "truncated binary", QByteArray("bplist00\xd1\x01\x02", 11) },
        { "binary with a bad trailer", QByteArray("bplist00") + QByteArray(40, '\xff') },
        { "deeply nested xml", deepXml },
        { "deeply nested binary", deepBinary },
        { "array at the top", xmlPropertyList(QVariantList { 1, 2 }) },
        { "xml key with a NUL reference",
            QByteArray("<plist><dict><key>a&#0;b</key><string>x</string></dict></plist>") },
        // A dictionary whose key is a UTF-16 string holding NUL: {"\0" = "x"}.
        { "binary key with a NUL",
            QByteArray::fromHex("62706c6973743030d10102610000517808") + QByteArray::fromHex("0b0e")
                + QByteArray(6, '\0') + QByteArray::fromHex("0101")
                + QByteArray::fromHex("0000000000000003") + QByteArray::fromHex("0000000000000000")
                + QByteArray::fromHex("0000000000000010") },
    };
    QTemporaryDir dir;
    for (const auto& c : cases) {
        const QString path = dir.filePath(QString::fromUtf8(c.what));
        ASSERT_TRUE(writeFile(path, c.data));
        EXPECT_FALSE(dictionaryFromPropertyListFile(path).has_value()) << c.what;
    }
    EXPECT_FALSE(
        dictionaryFromPropertyListFile(dir.filePath(QStringLiteral("missing"))).has_value());
}

TEST(PropertyList, OversizedFilesAreRefusedBeforeReading)
{
    QTemporaryDir dir;
    QByteArray big = xmlPropertyList(sampleDictionary());
    big.insert(big.indexOf("<dict>") + 6,
        "<key>Pad</key><string>" + QByteArray(kMaxPropertyListSize, 'x') + "</string>");
    const QString path = dir.filePath(QStringLiteral("big.plist"));
    ASSERT_TRUE(writeFile(path, big));
    EXPECT_FALSE(dictionaryFromPropertyListFile(path).has_value());
}
