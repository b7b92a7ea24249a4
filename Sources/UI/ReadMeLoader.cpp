#include "ReadMeLoader.h"

#include "RtfReader.h"

#include <QFile>
#include <QFileInfo>
#include <QStringDecoder>
#include <QTextDocument>

bool loadReadMeDocument(const QString& path, QTextDocument* document)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    const QByteArray data = file.read(kMaxRtfSize);
    if (readRtf(data, document))
        return true;
    // Text: UTF-8, or Latin-1 when it is not valid UTF-8.
    QStringDecoder utf8(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString text = utf8(data);
    if (utf8.hasError())
        text = QString::fromLatin1(data);
    const QString suffix = QFileInfo(path).suffix().toLower();
    const QString head = text.left(256).trimmed().toLower();
    if (suffix == QStringLiteral("html") || suffix == QStringLiteral("htm")
        || head.startsWith(QStringLiteral("<!doctype html"))
        || head.startsWith(QStringLiteral("<html")))
        document->setHtml(text);
    else if (suffix == QStringLiteral("md") || suffix == QStringLiteral("markdown"))
        document->setMarkdown(text);
    else
        document->setPlainText(text);
    return true;
}
