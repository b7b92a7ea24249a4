#pragma once
// Desktop entry files (.desktop): groups of "Key=Value" lines, with the value escapes and the Exec
// quoting rules of freedesktop.org desktop entries. Damaged lines are skipped; a file
// that is not readable or has no group is absent.

#include <QMap>
#include <QString>
#include <QStringList>

#include <optional>

class DesktopEntry {
public:
    static std::optional<DesktopEntry> fromFile(const QString& path);
    static std::optional<DesktopEntry> fromData(const QByteArray& data);

    /// A key of a group ("Desktop Entry" by default), escapes (\s \n \t \r \\) decoded.
    QString value(const QString& key, const QString& group = QStringLiteral("Desktop Entry")) const;
    bool contains(const QString& key, const QString& group = QStringLiteral("Desktop Entry")) const;
    /// A boolean key: true only for "true" (and the old "1").
    bool boolean(const QString& key, const QString& group = QStringLiteral("Desktop Entry")) const;
    QStringList groups() const { return m_groups.keys(); }

    /// The Exec line split into words: double-quoted arguments unquoted (\" \` \$ \\ inside
    /// them), field codes (%f %F %u %U %i %c %k and the deprecated ones) dropped, "%%" as "%".
    /// Absent when the quoting is broken.
    static std::optional<QStringList> splitExec(const QString& exec);

private:
    QMap<QString, QMap<QString, QString>> m_groups;
};

/// The program a command names: an absolute path as it is, a bare name looked up in PATH. Empty
/// when there is no such executable file.
QString findExecutable(const QString& program);
