#include "Platform/Foundation/Bundle.h"

#include "Platform/Foundation/PropertyList.h"

#include <QDir>
#include <QFileInfo>
#include <QLocale>

#include <mutex>
#include <unistd.h>

namespace {
std::mutex mainMutex;
std::optional<Bundle> mainOverride;

QString ownExecutable()
{
    QByteArray buf(4096, '\0');
    const ssize_t n = ::readlink("/proc/self/exe", buf.data(), buf.size() - 1);
    return n > 0 ? QString::fromLocal8Bit(buf.constData(), n) : QString();
}
} // namespace

Bundle::Bundle(const QString& path)
    : m_path(QDir::cleanPath(path))
{
}

const Bundle& Bundle::mainBundle()
{
    static const Bundle real = [] {
        const QString exe = ownExecutable();
        const QString dir = QFileInfo(exe).absolutePath();
        // <X.app>/Contents/Linux/<exe>
        const QString candidate = QDir::cleanPath(dir + QStringLiteral("/../.."));
        if (candidate.endsWith(QStringLiteral(".app"))
            && QFileInfo(dir).fileName() == QStringLiteral("Linux"))
            return Bundle(candidate);
        return Bundle(dir);
    }();
    std::lock_guard lock(mainMutex);
    return mainOverride ? *mainOverride : real;
}

void Bundle::setMainBundlePathForTesting(const QString& path)
{
    std::lock_guard lock(mainMutex);
    if (path.isEmpty())
        mainOverride.reset();
    else
        mainOverride.emplace(path);
}

QString Bundle::enclosingBundlePath(const QString& path)
{
    QString p = QDir::cleanPath(path);
    while (p.size() > 1) {
        if (p.endsWith(QStringLiteral(".app")))
            return p;
        const int slash = p.lastIndexOf(QLatin1Char('/'));
        if (slash < 0)
            break;
        p = slash == 0 ? QStringLiteral("/") : p.left(slash);
    }
    return QString();
}

std::optional<QVariantMap> Bundle::infoDictionary() const
{
    return dictionaryFromPropertyListFile(infoPlistPath());
}

QVariant Bundle::objectForInfoDictionaryKey(const QString& key) const
{
    const auto info = infoDictionary();
    return info ? info->value(key) : QVariant();
}

QString Bundle::stringForInfoDictionaryKey(const QString& key) const
{
    const QVariant v = objectForInfoDictionaryKey(key);
    return v.typeId() == QMetaType::QString ? v.toString() : QString();
}

QString Bundle::bundleIdentifier() const
{
    return stringForInfoDictionaryKey(QStringLiteral("CFBundleIdentifier"));
}

QString Bundle::executablePath() const
{
    const QString name = stringForInfoDictionaryKey(QStringLiteral("CFBundleExecutable"));
    if (name.isEmpty())
        return QString();
    const QString path = contentsPath() + QStringLiteral("/Linux/") + name;
    return QFileInfo::exists(path) ? path : QString();
}

QString Bundle::pathForResource(const QString& name, const QString& type) const
{
    if (name.isEmpty())
        return QString();
    const QString file = type.isEmpty() ? name : name + QLatin1Char('.') + type;
    if (file.contains(QStringLiteral("..")) || file.startsWith(QLatin1Char('/')))
        return QString();
    QStringList folders;
    for (const QString& lang : QLocale().uiLanguages()) {
        folders << resourcePath() + QLatin1Char('/')
                + QString(lang).replace(QLatin1Char('-'), QLatin1Char('_'))
                + QStringLiteral(".lproj");
        folders << resourcePath() + QLatin1Char('/') + lang.section(QLatin1Char('-'), 0, 0)
                + QStringLiteral(".lproj");
    }
    folders << resourcePath();
    for (const QString& folder : folders) {
        const QString path = folder + QLatin1Char('/') + file;
        if (QFileInfo::exists(path))
            return path;
    }
    return QString();
}
