#pragma once
// A small RTF reader for read-me documents, into a QTextDocument: paragraphs, bold, italic,
// underline, font sizes, the colour table, \'hh escapes in the document's code page, \uN with its
// fallback characters, tabs, bullets and hyperlinks. Anything it does not know is skipped without
// losing the text around it. Group depth and input size are bounded, and it never recurses, so a
// hostile file can neither crash nor hang it; a truncated file gives what was read.

#include <QByteArray>

class QTextDocument;

constexpr qsizetype kMaxRtfSize = 16 * 1024 * 1024;
constexpr int kMaxRtfDepth = 256;

/// Reads RTF into the document (replacing its contents). False when the data is not RTF.
bool readRtf(const QByteArray& rtf, QTextDocument* document);
