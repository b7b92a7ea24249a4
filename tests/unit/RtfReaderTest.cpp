// The read-me reader on real-shaped documents and on damaged and hostile ones.

#include "UI/RtfReader.h"
#include "TestSupport.h"
#include "UI/ReadMeLoader.h"

#include <QTemporaryDir>
#include <QTextBlock>
#include <QTextDocument>

#include <gtest/gtest.h>

namespace {
QByteArray fixture(const char* name)
{
    return readFile(
        QStringLiteral(TEST_SOURCE_DIR "/tests/fixtures/readme/") + QString::fromLatin1(name));
}

/// The character format at the first occurrence of text.
QTextCharFormat formatOf(QTextDocument& doc, const QString& text)
{
    QTextCursor c = doc.find(text);
    EXPECT_FALSE(c.isNull()) << text.toStdString();
    QTextCursor at(&doc);
    at.setPosition(c.selectionStart() + 1);
    return at.charFormat();
}
} // namespace

TEST(RtfReader, TextAndFormatsOfARealShapedDocument)
{
    QTextDocument doc;
    ASSERT_TRUE(readRtf(fixture("unicode.rtf"), &doc));
    const QString text = doc.toPlainText();
    EXPECT_TRUE(text.startsWith(QStringLiteral("Café naïve € euro smile \U0001F60A done\n")))
        << text.toStdString();
    EXPECT_FALSE(text.contains(QStringLiteral("Hidden title")));
    EXPECT_FALSE(text.contains(QStringLiteral("secret")));
    EXPECT_FALSE(text.contains(QStringLiteral("Helvetica")));
    EXPECT_TRUE(text.contains(QStringLiteral("kept\ttabbed")));
    EXPECT_TRUE(text.contains(QStringLiteral("\u2022 first item")));
    EXPECT_TRUE(text.contains(QStringLiteral("the link after")));
    EXPECT_TRUE(text.contains(QStringLiteral("Ä "))) << "Mac Roman 0x80";
    EXPECT_TRUE(text.contains(QStringLiteral("big\nnext")));

    EXPECT_EQ(formatOf(doc, QStringLiteral("red")).foreground().color(), QColor(255, 0, 0));
    EXPECT_EQ(formatOf(doc, QStringLiteral("bold")).fontWeight(), QFont::Bold);
    EXPECT_NE(formatOf(doc, QStringLiteral("plain")).fontWeight(), QFont::Bold);
    EXPECT_TRUE(formatOf(doc, QStringLiteral("italic")).fontItalic());
    EXPECT_TRUE(formatOf(doc, QStringLiteral("under")).fontUnderline());
    EXPECT_DOUBLE_EQ(formatOf(doc, QStringLiteral("big")).fontPointSize(), 24.0);
    const QTextCharFormat link = formatOf(doc, QStringLiteral("the link"));
    EXPECT_TRUE(link.isAnchor());
    EXPECT_EQ(link.anchorHref(), QStringLiteral("https://example.com/x?a=1"));
    EXPECT_FALSE(formatOf(doc, QStringLiteral("after")).isAnchor());
}

TEST(RtfReader, TextEditDocument)
{
    QTextDocument doc;
    ASSERT_TRUE(readRtf(fixture("textedit.rtf"), &doc));
    const QString text = doc.toPlainText();
    EXPECT_TRUE(text.startsWith(QStringLiteral("Demo 2.0\n\nThank you for trying Demo.")))
        << text.toStdString();
    EXPECT_TRUE(text.contains(QStringLiteral("\u2022\tA faster start")));
    EXPECT_EQ(formatOf(doc, QStringLiteral("Demo 2.0")).fontWeight(), QFont::Bold);
    EXPECT_EQ(formatOf(doc, QStringLiteral("the Demo page")).anchorHref(),
        QStringLiteral("https://example.com/demo"));
}

TEST(RtfReader, DamagedAndHostileInputFinishesQuickly)
{
    QByteArray deep = "{\\rtf1 start";
    for (int i = 0; i < 100000; ++i)
        deep += "{\\b ";
    deep += "deep text";
    QByteArray garbage;
    for (int i = 0; i < 200000; ++i)
        garbage += char((i * 7919) % 251);
    const struct {
        const char* what;
        QByteArray data;
        const char* mustContain;
    } cases[] = {
        { "truncated", fixture("unicode.rtf").left(fixture("unicode.rtf").indexOf("na\\u239")),
            "Caf" },
        { "unbalanced closing braces", "{\\rtf1 a}}}}} b}", "a" },
        { "deeply nested groups", deep, "deep text" },
        { "huge bin length", "{\\rtf1 before\\bin999999999999 after}", "before" },
        { "lone backslash at the end", "{\\rtf1 text\\", "text" },
        { "unicode out of range", "{\\rtf1 \\u99999999999 \\u-99999 ?x}", "x" },
        { "garbage after the signature", QByteArray("{\\rtf1 ") + garbage, "" },
        { "huge font size and colour index", "{\\rtf1 \\fs999999999 \\cf99999999 ok}", "ok" },
    };
    for (const auto& c : cases) {
        // A reader that hangs on one of these runs into the test's time limit.
        QTextDocument doc;
        ASSERT_TRUE(readRtf(c.data, &doc)) << c.what;
        EXPECT_TRUE(doc.toPlainText().contains(QString::fromLatin1(c.mustContain))) << c.what;
    }
    QTextDocument doc;
    EXPECT_FALSE(readRtf("plain text", &doc));
}

TEST(ReadMeLoader, FormatDecidedFromTheFile)
{
    QTemporaryDir dir;
    const struct {
        const char* name;
        QByteArray contents;
        const char* text;
    } cases[] = {
        { "notes.txt", "Plain *not markdown*", "Plain *not markdown*" },
        { "ReadMe", "{\\rtf1 {\\b Bold} words}", "Bold words" },
        { "page.html", "<p>Hello <b>there</b></p>", "Hello there" },
        { "page.txt", "<!DOCTYPE html><html><body><i>tagged</i></body></html>", "tagged" },
        { "ReadMe.md", "# Title\n\nSome **strong** text", "Title\nSome strong text" },
        { "latin1.txt", "caf\xe9", "café" },
    };
    for (const auto& c : cases) {
        const QString path = dir.filePath(QString::fromLatin1(c.name));
        writeFile(path, c.contents);
        QTextDocument doc;
        ASSERT_TRUE(loadReadMeDocument(path, &doc)) << c.name;
        EXPECT_EQ(doc.toPlainText().trimmed(), QString::fromUtf8(c.text)) << c.name;
    }
    QTextDocument doc;
    EXPECT_FALSE(loadReadMeDocument(dir.filePath(QStringLiteral("missing.rtf")), &doc));
}
