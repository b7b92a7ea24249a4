// Cocoa-style formatting and the readable form of values in log lines.

#include "Platform/Foundation/Format.h"

#include <gtest/gtest.h>

TEST(CocoaFormat, Conversions)
{
    const struct {
        QString format;
        QList<FormatArg> args;
        QString expected;
    } cases[] = {
        { "Quitting '%@': %@", { "ABCD", "Foo" }, "Quitting 'ABCD': Foo" },
        { "%1$@ cannot run.\rQuit %1$@", { "Foo" }, "Foo cannot run.\rQuit Foo" },
        { "%2$@ before %1$@", { "a", "b" }, "b before a" },
        { "%1$@ %2$@ needs %3$@", { "Foo", FormatArg(), "6.1" }, "Foo (null) needs 6.1" },
        { "%@ and %@", { "only" }, "only and (null)" },
        { "quit delay: %1.1f", { 2.5f }, "quit delay: 2.5" },
        { "quit delay: %1.1f", { -1.0 }, "quit delay: -1.0" },
        { "registered app: %d", { -43 }, "registered app: -43" },
        { "temp-%X", { 0xbeefu }, "temp-BEEF" },
        { "failed (%s)", { "/x/train" }, "failed (/x/train)" },
        { "100%% done", {}, "100% done" },
        { "%ld items, %lu left", { 7L, 3UL }, "7 items, 3 left" },
        { "%5d|%-4d|", { 42, 7 }, "   42|7   |" },
        { "tail %", {}, "tail %" },
        { "%@", { QVariant(true) }, "1" },
        { "%99999999999d|%.99999999s", { 5, "abc" }, "5|abc" },
        { "%*d", { 5 }, "%*d" },
    };
    for (const auto& c : cases)
        EXPECT_EQ(cocoaFormat(c.format, c.args), c.expected) << c.format.toStdString();
}

TEST(DescribeValue, DictionariesAndListsReadLikeThePlatformsOwn)
{
    QVariantMap map;
    map.insert(QString(), QStringLiteral("/opt/Installer"));
    map.insert(QStringLiteral("productCode"),
        QStringList { QStringLiteral("ABCD"), QStringLiteral("EF GH") });
    map.insert(QStringLiteral("productName"), QStringLiteral("Foo"));
    EXPECT_EQ(describeValue(map),
        QStringLiteral("{\n"
                       "    \"\" = /opt/Installer;\n"
                       "    productCode =     (\n"
                       "        ABCD,\n"
                       "        \"EF GH\"\n"
                       "    );\n"
                       "    productName = Foo;\n"
                       "}"));
    EXPECT_EQ(describeValue(QStringList { QStringLiteral("a") }), QStringLiteral("(\n    a\n)"));
    EXPECT_EQ(describeValue(QVariant()), QStringLiteral("(null)"));
    EXPECT_EQ(describeValue(QStringLiteral("has \"quotes\"")), QStringLiteral("has \"quotes\""));
}
