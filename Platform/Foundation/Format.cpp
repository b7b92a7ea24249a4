#include "Platform/Foundation/Format.h"

#include <QDateTime>
#include <QTimeZone>

namespace {

bool needsQuotes(const QString& s)
{
    if (s.isEmpty())
        return true;
    for (const QChar c : s) {
        if (!(c.isLetterOrNumber() && c.unicode() < 128) && !QStringLiteral("_$+/:.-").contains(c))
            return true;
    }
    return false;
}

QString quoted(const QString& s)
{
    if (!needsQuotes(s))
        return s;
    QString out = QStringLiteral("\"");
    for (const QChar c : s) {
        switch (c.unicode()) {
        case '"':
            out += QStringLiteral("\\\"");
            break;
        case '\\':
            out += QStringLiteral("\\\\");
            break;
        case '\n':
            out += QStringLiteral("\\n");
            break;
        case '\r':
            out += QStringLiteral("\\r");
            break;
        case '\t':
            out += QStringLiteral("\\t");
            break;
        default:
            out += c;
        }
    }
    return out + QLatin1Char('"');
}

QString describe(const QVariant& v, int level, bool nested)
{
    const QString indent(4 * level, QLatin1Char(' '));
    const QString inner(4 * (level + 1), QLatin1Char(' '));
    switch (v.typeId()) {
    case QMetaType::UnknownType:
        return QStringLiteral("(null)");
    case QMetaType::QString:
        return nested ? quoted(v.toString()) : v.toString();
    case QMetaType::Bool:
        return v.toBool() ? QStringLiteral("1") : QStringLiteral("0");
    case QMetaType::QDateTime:
        return v.toDateTime().toUTC().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss +0000"));
    case QMetaType::QByteArray:
        return QStringLiteral("{length = %1, bytes = 0x%2}")
            .arg(v.toByteArray().size())
            .arg(QString::fromLatin1(v.toByteArray().left(24).toHex()));
    case QMetaType::QStringList:
    case QMetaType::QVariantList: {
        const QVariantList list = v.toList();
        if (list.isEmpty())
            return QStringLiteral("(\n%1)").arg(indent);
        QStringList lines;
        for (const QVariant& item : list)
            lines << inner + describe(item, level + 1, true);
        return QStringLiteral("(\n%1\n%2)").arg(lines.join(QStringLiteral(",\n")), indent);
    }
    case QMetaType::QVariantMap: {
        const QVariantMap map = v.toMap();
        QString out = QStringLiteral("{\n");
        for (auto it = map.cbegin(); it != map.cend(); ++it) {
            const bool container = it.value().typeId() == QMetaType::QVariantMap
                || it.value().typeId() == QMetaType::QVariantList
                || it.value().typeId() == QMetaType::QStringList;
            out += inner + quoted(it.key()) + QStringLiteral(" = ")
                + (container ? QStringLiteral("    ") : QString())
                + describe(it.value(), level + 1, true) + QStringLiteral(";\n");
        }
        return out + indent + QLatin1Char('}');
    }
    default:
        return v.toString();
    }
}

} // namespace

QString describeValue(const QVariant& value)
{
    return describe(value, 0, false);
}

QString cocoaFormat(const QString& format, const QList<FormatArg>& args)
{
    QString out;
    out.reserve(format.size() + 16 * args.size());
    int sequential = 0;
    const int n = format.size();
    for (int i = 0; i < n; ++i) {
        const QChar c = format[i];
        if (c != QLatin1Char('%')) {
            out += c;
            continue;
        }
        // %[n$][flags][width][.precision][length]conversion
        const int start = i;
        int j = i + 1;
        int position = -1;
        int k = j;
        while (k < n && format[k].isDigit())
            ++k;
        if (k > j && k < n && format[k] == QLatin1Char('$')) {
            position = format.mid(j, k - j).toInt() - 1;
            j = k + 1;
        }
        QString directive = QStringLiteral("%");
        while (j < n && QStringLiteral("-+ #0'").contains(format[j]))
            directive += format[j++];
        // Width and precision are capped: a huge one would only exhaust memory.
        QString number;
        while (j < n && (format[j].isDigit() || format[j] == QLatin1Char('.'))) {
            number += format[j++];
        }
        for (const QString& part : number.split(QLatin1Char('.'))) {
            if (part.size() > 3)
                number.clear();
        }
        directive += number;
        while (j < n && QStringLiteral("hlqLzjt").contains(format[j]))
            ++j; // lengths do not matter: every argument carries its own type
        if (j >= n) {
            out += format.mid(i);
            break;
        }
        const QChar conversion = format[j];
        i = j;
        if (conversion == QLatin1Char('%')) {
            out += QLatin1Char('%');
            continue;
        }
        const int index = position >= 0 ? position : sequential++;
        const QVariant arg = index >= 0 && index < args.size() ? args[index].value : QVariant();
        const QByteArray cdirective = directive.toLatin1();
        switch (conversion.unicode()) {
        case '@':
            out += describeValue(arg);
            break;
        case 's':
        case 'S':
            out += arg.isValid() ? QString::asprintf(
                       (cdirective + "s").constData(), arg.toString().toUtf8().constData())
                                 : QStringLiteral("(null)");
            break;
        case 'd':
        case 'i':
            out += QString::asprintf((cdirective + "lld").constData(), arg.toLongLong());
            break;
        case 'u':
        case 'x':
        case 'X':
        case 'o':
            out += QString::asprintf(
                (cdirective + "ll" + char(conversion.unicode())).constData(), arg.toULongLong());
            break;
        case 'c':
            out += QChar(static_cast<char16_t>(arg.toUInt()));
            break;
        case 'f':
        case 'F':
        case 'e':
        case 'E':
        case 'g':
        case 'G':
            out += QString::asprintf(
                (cdirective + char(conversion.unicode())).constData(), arg.toDouble());
            break;
        case 'p':
            out += QString::asprintf("0x%llx", arg.toULongLong());
            break;
        default:
            out += format.mid(start, j - start + 1); // unknown conversion: kept as written
        }
    }
    return out;
}
