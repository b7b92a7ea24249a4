#pragma once
// Application bundles: a folder whose name ends in ".app", holding Contents/Info.plist,
// Contents/Linux/<CFBundleExecutable> and Contents/Resources/. The running program's own bundle is
// found from /proc/self/exe, wherever the folder was moved or copied.

#include <QString>
#include <QVariantMap>

#include <optional>

class Bundle {
public:
    explicit Bundle(const QString& path);

    /// The running program's bundle: the ".app" folder three levels above its executable, or the
    /// executable's folder when it does not lie in a bundle.
    static const Bundle& mainBundle();
    /// Tests point the main bundle elsewhere; an empty path restores the real one.
    static void setMainBundlePathForTesting(const QString& path);

    /// The nearest folder at or above path whose name ends in ".app"; empty when there is none.
    static QString enclosingBundlePath(const QString& path);

    QString bundlePath() const { return m_path; }
    QString contentsPath() const { return m_path + QStringLiteral("/Contents"); }
    QString resourcePath() const { return m_path + QStringLiteral("/Contents/Resources"); }
    QString infoPlistPath() const { return m_path + QStringLiteral("/Contents/Info.plist"); }

    /// The Info.plist dictionary, read on every call (bundles we look at may change on disk).
    std::optional<QVariantMap> infoDictionary() const;
    QVariant objectForInfoDictionaryKey(const QString& key) const;
    QString stringForInfoDictionaryKey(const QString& key) const;
    QString bundleIdentifier() const;
    QString executablePath() const;

    /// Contents/Resources/<name>.<type>, or <name> as given when type is empty; also looked up in
    /// the current language's "<lang>.lproj" folder first. Empty when there is no such file.
    QString pathForResource(const QString& name, const QString& type = QString()) const;

private:
    QString m_path;
};
