// The attributes of a process, each fetched on first request and kept: name, signature, path,
// bundle data, icon, kind and version.

#include "RZProcess.h"

#include "Platform/Foundation/Bundle.h"
#include "Platform/Foundation/OSTypeCode.h"
#include "Platform/ProcessManager.h"
#include "ResourceFork.h"

#include <QFileInfo>
#include <QIcon>

const QString RZPlatformCocoa = QStringLiteral("Cocoa");
const QString RZPlatformCarbon = QStringLiteral("Carbon");
const QString RZPlatformJava = QStringLiteral("Java");

namespace {
const QString kDefaultVersion = QStringLiteral("1.0");

/// The integer value of a string: its leading decimal number (after white space and a sign).
int leadingInt(const QString& text)
{
    qsizetype i = 0;
    while (i < text.size() && text[i].isSpace())
        ++i;
    bool negative = false;
    if (i < text.size() && (text[i] == QLatin1Char('-') || text[i] == QLatin1Char('+')))
        negative = text[i++] == QLatin1Char('-');
    long long value = 0;
    for (; i < text.size() && text[i] >= QLatin1Char('0') && text[i] <= QLatin1Char('9'); ++i)
        value = std::min<long long>(value * 10 + (text[i].unicode() - '0'), INT_MAX);
    return int(negative ? -value : value);
}
} // namespace

bool RZProcess::getProcessInfo()
{
    std::lock_guard lock(m_mutex);
    if (m_name)
        return true;
    ProcessInfoRecord record;
    if (ProcessManager::shared().getProcessInformation(m_psn, record) != noErr)
        return false;
    m_signature = record.signature;
    m_name = record.name;
    return true;
}

std::optional<QVariantMap> RZProcess::infoDictionary()
{
    std::lock_guard lock(m_mutex);
    if (!m_infoDictionary)
        m_infoDictionary = ProcessManager::shared().processInformationCopyDictionary(m_psn);
    return m_infoDictionary;
}

pid_t RZProcess::unixPID() const
{
    pid_t pid = 0;
    return ProcessManager::shared().getProcessPID(m_psn, pid) == noErr ? pid : 0;
}

std::optional<QString> RZProcess::name()
{
    return getProcessInfo() ? m_name : std::nullopt;
}

std::optional<QString> RZProcess::displayName()
{
    std::lock_guard lock(m_mutex);
    if (m_displayNameFetched)
        return m_displayName;
    m_displayName = ProcessManager::shared().copyProcessName(m_psn);
    if (!m_displayName)
        m_displayName = name();
    m_displayNameFetched = true;
    return m_displayName;
}

OSType RZProcess::signature()
{
    return getProcessInfo() ? m_signature : 0;
}

QString RZProcess::signatureString()
{
    return getProcessInfo() ? UTCreateStringForOSType(m_signature) : QString();
}

QString RZProcess::signatureHexString()
{
    // Each byte is taken as signed and widened, so a byte of 0x80 or above prints as eight digits.
    const OSType code = signature();
    QString text;
    for (int shift = 24; shift >= 0; shift -= 8)
        text += QString::asprintf("%02X", unsigned(int32_t(int8_t((code >> shift) & 0xff))));
    return text;
}

std::optional<QString> RZProcess::path()
{
    std::lock_guard lock(m_mutex);
    if (!m_path)
        m_path = ProcessManager::shared().getProcessBundleLocation(m_psn);
    return m_path;
}

std::optional<QString> RZProcess::bundle()
{
    const auto p = path();
    if (!p || !p->endsWith(QStringLiteral(".app")) || !QFileInfo(*p).isDir())
        return std::nullopt;
    return p;
}

QString RZProcess::identifier()
{
    const auto info = infoDictionary();
    return info ? info->value(QStringLiteral("CFBundleIdentifier")).toString() : QString();
}

QImage RZProcess::icon()
{
    std::lock_guard lock(m_mutex);
    if (m_icon)
        return *m_icon;
    QImage image;
    if (const auto b = bundle()) {
        const Bundle appBundle(*b);
        const QString iconFile
            = appBundle.stringForInfoDictionaryKey(QStringLiteral("CFBundleIconFile"));
        QString file = appBundle.pathForResource(iconFile, QStringLiteral("icns"));
        if (file.isEmpty())
            file = appBundle.pathForResource(iconFile);
        if (!file.isEmpty())
            image.load(file);
    }
    if (image.isNull())
        image = QIcon::fromTheme(QStringLiteral("application-x-executable"))
                    .pixmap(128, 128)
                    .toImage();
    m_icon = image;
    return image;
}

bool RZProcess::isFrontProcess()
{
    const RZProcessRef front = frontProcess();
    return front && isEqual(*front);
}

bool RZProcess::isBackgroundOnly()
{
    const auto info = infoDictionary();
    if (!info)
        return false;
    if (info->contains(QStringLiteral("LSBackgroundOnly"))
        && info->value(QStringLiteral("LSBackgroundOnly")).toBool())
        return true;
    return info->value(QStringLiteral("LSUIElement")).toBool();
}

bool RZProcess::isCocoa()
{
    std::lock_guard lock(m_mutex);
    if (m_cocoaStatus == 0) {
        // An application bundle (folder with an Info.plist) whose Info.plist names a principal
        // class counts as a native toolkit application.
        m_cocoaStatus = 2;
        if (const auto b = bundle()) {
            const auto plist = Bundle(*b).infoDictionary();
            if (plist
                && plist->value(QStringLiteral("NSPrincipalClass")).typeId() == QMetaType::QString)
                m_cocoaStatus = 1;
        }
    }
    return m_cocoaStatus == 1;
}

QString RZProcess::platform()
{
    if (isCocoa())
        return RZPlatformCocoa;
    if (identifier().contains(QStringLiteral(".java")))
        return RZPlatformJava;
    return RZPlatformCarbon;
}

std::optional<QString> RZProcess::carbonVersion()
{
    const auto location = path(); // the bundle location, fetched once
    if (!location)
        return std::nullopt;
    // The version resource lives in the resource fork of the executable file.
    QString file = *location;
    if (QFileInfo(file).isDir()) {
        const QString exe = Bundle(file).executablePath();
        if (!exe.isEmpty())
            file = exe;
    }
    const auto fork = readResourceFork(file);
    if (!fork)
        return std::nullopt;
    const auto vers = resourceFromResourceFile(*fork, 0x76657273 /* 'vers' */, 1);
    return vers ? versionFromVersResource(*vers) : std::nullopt;
}

QString RZProcess::version()
{
    std::lock_guard lock(m_mutex);
    if (m_version)
        return *m_version;
    m_version = kDefaultVersion; // every early exit keeps the default for good
    if (!getProcessInfo() || !path())
        return *m_version;
    if (const auto b = bundle()) {
        const auto plist = Bundle(*b).infoDictionary();
        if (!plist)
            return *m_version;
        const QVariant shortVersion = plist->value(QStringLiteral("CFBundleShortVersionString"));
        if (shortVersion.typeId() == QMetaType::QString
            && shortVersion.toString().contains(QLatin1Char('.'))) {
            m_version = shortVersion.toString();
            return *m_version;
        }
        const QVariant bundleVersion = plist->value(QStringLiteral("CFBundleVersion"));
        if (bundleVersion.typeId() == QMetaType::QString)
            m_version = bundleVersion.toString();
        return *m_version;
    }
    if (const auto carbon = carbonVersion())
        m_version = *carbon;
    return *m_version;
}

int RZProcess::majorVersionNumber()
{
    return leadingInt(version());
}

bool RZProcess::isAtLeastVersion(const QString& other)
{
    const QStringList a = version().split(QLatin1Char('.'));
    const QStringList b = other.split(QLatin1Char('.'));
    for (qsizetype i = 0;; ++i) {
        if (i >= a.size() && i >= b.size())
            return true;
        const int x = i < a.size() ? leadingInt(a[i]) : 0;
        const int y = i < b.size() ? leadingInt(b[i]) : 0;
        if (x != y)
            return x > y;
    }
}
