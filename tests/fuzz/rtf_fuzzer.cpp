// The read-me reader on untrusted bytes: any input gives a document, never a crash or a hang.

#include "UI/RtfReader.h"

#include <QGuiApplication>
#include <QTextDocument>

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    QTextDocument document;
    QByteArray input = "{\\rtf1 ";
    input.append(reinterpret_cast<const char*>(data), qsizetype(size));
    readRtf(input, &document);
    (void)document.toPlainText();
    return 0;
}
