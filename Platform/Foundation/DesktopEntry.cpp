#include "Platform/Foundation/DesktopEntry.h"

#include <QFile>
#include <QFileInfo>

#include <unistd.h>

namespace {
constexpr qint64 kMaxDesktopEntrySize = 1024 * 1024;

QString unescape(const QString& raw)
{
    QString out;
    out.reserve(raw.size());
    for (qsizetype i = 0; i < raw.size(); ++i) {
        if (raw[i] != QLatin1Char('\\') || i + 1 == raw.size()) {
            out += raw[i];
            continue;
        }
        switch (raw[++i].unicode()) {
        case 's':
            out += QLatin1Char(' ');
            break;
        case 'n':
            out += QLatin1Char('\n');
            break;
        case 't':
            out += QLatin1Char('\t');
            break;
        case 'r':
            out += QLatin1Char('\r');
            break;
        case '\\':
            out += QLatin1Char('\\');
            break;
        default:
            out += QLatin1Char('\\');
            out += raw[i];
        }
    }
    return out;
}
} // namespace

std::optional<DesktopEntry> DesktopEntry::fromFile(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly) || file.size() > kMaxDesktopEntrySize)
        return std::nullopt;
    return fromData(file.read(kMaxDesktopEntrySize));
}

std::optional<DesktopEntry> DesktopEntry::fromData(const QByteArray& data)
{
    DesktopEntry entry;
    QString group;
    const QString text = QString::fromUtf8(data);
    for (QString line : text.split(QLatin1Char('\n'))) {
        if (line.endsWith(QLatin1Char('\r')))
            line.chop(1);
        const QString trimmed = line.trimmed();
        if (trimmed.isEmpty() || trimmed.startsWith(QLatin1Char('#')))
            continue;
        if (trimmed.startsWith(QLatin1Char('[')) && trimmed.endsWith(QLatin1Char(']'))) {
            group = trimmed.mid(1, trimmed.size() - 2);
            entry.m_groups[group]; // a group may be empty
            continue;
        }
        const qsizetype eq = line.indexOf(QLatin1Char('='));
        if (group.isEmpty() || eq <= 0)
            continue; // a key outside any group, or not a key line at all
        const QString key = line.left(eq).trimmed();
        auto& keys = entry.m_groups[group];
        if (!keys.contains(key)) // the first of duplicate keys counts
            keys.insert(key, unescape(line.mid(eq + 1).trimmed()));
    }
    if (entry.m_groups.isEmpty())
        return std::nullopt;
    return entry;
}

QString DesktopEntry::value(const QString& key, const QString& group) const
{
    return m_groups.value(group).value(key);
}

bool DesktopEntry::contains(const QString& key, const QString& group) const
{
    return m_groups.value(group).contains(key);
}

bool DesktopEntry::boolean(const QString& key, const QString& group) const
{
    const QString v = value(key, group);
    return v == QStringLiteral("true") || v == QStringLiteral("1");
}

std::optional<QStringList> DesktopEntry::splitExec(const QString& exec)
{
    QStringList words;
    QString word;
    bool inWord = false;
    for (qsizetype i = 0; i < exec.size(); ++i) {
        const QChar c = exec[i];
        if (c == QLatin1Char('"')) {
            inWord = true;
            for (++i;; ++i) {
                if (i >= exec.size())
                    return std::nullopt; // unterminated quote
                if (exec[i] == QLatin1Char('"'))
                    break;
                if (exec[i] == QLatin1Char('\\') && i + 1 < exec.size()
                    && QStringLiteral("\"`$\\").contains(exec[i + 1]))
                    ++i;
                word += exec[i];
            }
        } else if (c == QLatin1Char(' ') || c == QLatin1Char('\t')) {
            if (inWord)
                words << word;
            word.clear();
            inWord = false;
        } else if (c == QLatin1Char('%') && i + 1 < exec.size()) {
            const QChar code = exec[++i];
            if (code == QLatin1Char('%')) {
                word += QLatin1Char('%');
                inWord = true;
            } else if (!QStringLiteral("fFuUickdDnNvm").contains(code)) {
                return std::nullopt; // an unknown field code makes the line invalid
            }
        } else {
            word += c;
            inWord = true;
        }
    }
    if (inWord)
        words << word;
    return words;
}

QString findExecutable(const QString& program)
{
    auto executable = [](const QString& path) {
        const QFileInfo info(path);
        return info.isFile() && ::access(QFile::encodeName(path).constData(), X_OK) == 0;
    };
    if (program.isEmpty())
        return QString();
    if (program.contains(QLatin1Char('/')))
        return executable(program) ? QFileInfo(program).absoluteFilePath() : QString();
    const QString path
        = qEnvironmentVariable("PATH", QStringLiteral("/usr/local/bin:/usr/bin:/bin"));
    for (const QString& dir : path.split(QLatin1Char(':'), Qt::SkipEmptyParts)) {
        const QString candidate = dir + QLatin1Char('/') + program;
        if (executable(candidate))
            return candidate;
    }
    return QString();
}
