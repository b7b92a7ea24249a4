#pragma once
// Cocoa-style string formatting and value descriptions: "%@", "%1$@", "%d", "%s", "%1.1f", "%X",
// "%%". An absent argument prints as "(null)", as the platform's formatting does.

#include <QString>
#include <QStringList>
#include <QVariant>
#include <QVariantList>
#include <QVariantMap>

#include <optional>
#include <string>

/// One argument of a format: any value, or absent (an invalid QVariant).
struct FormatArg {
    QVariant value;

    FormatArg() = default;
    FormatArg(const QVariant& v)
        : value(v)
    {
    }
    FormatArg(const QString& s)
        : value(s)
    {
    }
    FormatArg(const char* s)
        : value(s ? QVariant(QString::fromUtf8(s)) : QVariant())
    {
    }
    FormatArg(const std::string& s)
        : value(QString::fromStdString(s))
    {
    }
    FormatArg(const QStringList& l)
        : value(l)
    {
    }
    FormatArg(const QVariantMap& m)
        : value(m)
    {
    }
    FormatArg(const QVariantList& l)
        : value(l)
    {
    }
    FormatArg(std::nullptr_t) { }
    FormatArg(bool b)
        : value(int(b))
    {
    }
    FormatArg(int i)
        : value(i)
    {
    }
    FormatArg(unsigned i)
        : value(i)
    {
    }
    FormatArg(long i)
        : value(qlonglong(i))
    {
    }
    FormatArg(unsigned long i)
        : value(qulonglong(i))
    {
    }
    FormatArg(long long i)
        : value(qlonglong(i))
    {
    }
    FormatArg(unsigned long long i)
        : value(qulonglong(i))
    {
    }
    FormatArg(double d)
        : value(d)
    {
    }
    FormatArg(float f)
        : value(double(f))
    {
    }
    template <class T> FormatArg(const std::optional<T>& o)
    {
        if (o)
            value = FormatArg(*o).value;
    }
};

/// Formats like -[NSString stringWithFormat:].
QString cocoaFormat(const QString& format, const QList<FormatArg>& args);

template <class... Args> QString stringWithFormat(const QString& format, const Args&... args)
{
    return cocoaFormat(format, QList<FormatArg> { FormatArg(args)... });
}

/// What "%@" prints for a value: strings as they are, lists and dictionaries in the platform's
/// readable form (one value per key, lists in parentheses), an absent value as "(null)".
QString describeValue(const QVariant& value);
