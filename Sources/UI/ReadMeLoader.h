#pragma once
// Read-me documents by format, decided from the file: RTF by its signature, HTML by its name or
// its first tag, Markdown by its name, plain text otherwise.

#include <QString>

class QTextDocument;

/// Loads the file into the document; false when it cannot be read.
bool loadReadMeDocument(const QString& path, QTextDocument* document);
