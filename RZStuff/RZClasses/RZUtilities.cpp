#include "RZUtilities.h"

#include "Platform/Foundation/Bundle.h"
#include "Platform/Foundation/Log.h"
#include "Platform/SystemVersion.h"

#include <QDateTime>
#include <QLocale>
#include <QTimeZone>

#include <atomic>
#include <cmath>

namespace {
std::atomic<uint32_t> cachedDecimalVersion { 0 };
const char16_t kStageTable[] = u"dabf ";
} // namespace

int developmentStage(char16_t ch)
{
    for (int i = 0; i < 5; ++i) {
        if (kStageTable[i] == ch)
            return i;
    }
    return 0;
}

QString RZUtilities::applicationName()
{
    return Bundle::mainBundle().stringForInfoDictionaryKey(QStringLiteral("CFBundleExecutable"));
}

QString RZUtilities::versionString()
{
    return Bundle::mainBundle().stringForInfoDictionaryKey(QStringLiteral("CFBundleVersion"));
}

QString RZUtilities::plainVersionOf(const QString& version)
{
    qsizetype i = 0;
    while (i < version.size()
        && ((version[i] >= QLatin1Char('0') && version[i] <= QLatin1Char('9'))
            || version[i] == QLatin1Char('.')))
        ++i;
    if (i == version.size())
        return version; // the same (implicitly shared) string
    return version.left(i);
}

QString RZUtilities::plainVersionString()
{
    return plainVersionOf(versionString());
}

int RZUtilities::numericCompare(const QString& a, const QString& b)
{
    auto isDigit = [](QChar c) { return c >= QLatin1Char('0') && c <= QLatin1Char('9'); };
    qsizetype i = 0, j = 0;
    while (i < a.size() && j < b.size()) {
        if (isDigit(a[i]) && isDigit(b[j])) {
            qsizetype ei = i, ej = j;
            while (ei < a.size() && isDigit(a[ei]))
                ++ei;
            while (ej < b.size() && isDigit(b[ej]))
                ++ej;
            // Compare the runs by value: skip leading zeros, then the longer run is larger.
            qsizetype si = i, sj = j;
            while (si < ei - 1 && a[si] == QLatin1Char('0'))
                ++si;
            while (sj < ej - 1 && b[sj] == QLatin1Char('0'))
                ++sj;
            if (ei - si != ej - sj)
                return ei - si < ej - sj ? -1 : 1;
            for (; si < ei; ++si, ++sj) {
                if (a[si] != b[sj])
                    return a[si] < b[sj] ? -1 : 1;
            }
            i = ei;
            j = ej;
            continue;
        }
        if (a[i] != b[j])
            return a[i] < b[j] ? -1 : 1;
        ++i;
        ++j;
    }
    if (i < a.size())
        return 1;
    if (j < b.size())
        return -1;
    return 0;
}

int RZUtilities::compareVersion(const QString& a, const QString& b)
{
    struct Split {
        QString head;
        int stage;
        QString tail;
    };
    auto split = [](const QString& v) {
        for (qsizetype p = 0; p < v.size(); ++p) {
            if (v[p].isLetter())
                return Split { v.left(p), developmentStage(v[p].unicode()), v.mid(p + 1) };
        }
        return Split { v, 4, QStringLiteral("0") };
    };
    const Split x = split(a), y = split(b);
    if (const int heads = numericCompare(x.head, y.head); heads != 0)
        return heads;
    if (x.stage != y.stage)
        return x.stage < y.stage ? -1 : 1;
    return numericCompare(x.tail, y.tail);
}

uint32_t RZUtilities::hexSystemVersion()
{
    int32_t v = 0;
    if (SystemVersion::shared().gestalt(gestaltSystemVersion, &v) != noErr)
        return 0;
    return uint32_t(v);
}

uint64_t RZUtilities::threePartVersion()
{
    SystemVersion& system = SystemVersion::shared();
    ThreePartVersion version;
    int32_t major = 0;
    if (system.gestalt(gestaltSystemVersionMajor, &major) != noErr) {
        int32_t v = 0;
        if (system.gestalt(gestaltSystemVersion, &v) != noErr)
            return ThreePartVersion {}.packed();
        version.major = uint16_t(((v >> 12) & 15) * 10 + ((v >> 8) & 15));
        version.minor = uint16_t((v >> 4) & 15);
        version.bugfix = uint32_t(v & 15);
        return version.packed();
    }
    version.major = uint16_t(major);
    int32_t minor = 0, bugfix = 0;
    if (system.gestalt(gestaltSystemVersionMinor, &minor) != noErr) {
        NSLog(QStringLiteral("cannot get minor version number"));
        minor = 0;
    }
    if (system.gestalt(gestaltSystemVersionBugFix, &bugfix) != noErr) {
        NSLog(QStringLiteral("cannot get bugfix version number"));
        bugfix = 0;
    }
    version.minor = uint16_t(minor);
    version.bugfix = uint32_t(bugfix);
    return version.packed();
}

uint32_t RZUtilities::decimalSystemVersion()
{
    if (const uint32_t cached = cachedDecimalVersion.load(); cached != 0)
        return cached;
    const ThreePartVersion v = ThreePartVersion::unpack(threePartVersion());
    const uint32_t value = (uint32_t(v.major) * 100 + v.minor) * 100 + (v.bugfix & 0xffff);
    cachedDecimalVersion.store(value);
    return value;
}

QString RZUtilities::systemVersionString()
{
    const ThreePartVersion v = ThreePartVersion::unpack(threePartVersion());
    const uint16_t bugfix = uint16_t(v.bugfix & 0xffff);
    if (bugfix == 0)
        return QString::asprintf("%d.%d", v.major, v.minor);
    return QString::asprintf("%d.%d.%d", v.major, v.minor, bugfix);
}

namespace {
double toolkit()
{
    return SystemVersion::shared().toolkitVersionNumber();
}
} // namespace

bool RZUtilities::pantherOrOlder()
{
    return std::floor(toolkit()) <= 743.0;
}
bool RZUtilities::leopardOrNewer()
{
    return std::floor(toolkit()) > 824.0;
}
bool RZUtilities::snowleopardOrNewer()
{
    return std::floor(toolkit()) >= 1038.0;
}
bool RZUtilities::lionOrNewer()
{
    return toolkit() >= 1138.0;
}
bool RZUtilities::mountainLionOrNewer()
{
    return toolkit() >= 1187.0;
}
bool RZUtilities::mavericksOrNewer()
{
    return toolkit() >= 1265.0;
}
bool RZUtilities::yosemiteOrNewer()
{
    return toolkit() >= 1343.0;
}
bool RZUtilities::elCapitanOrNewer()
{
    return toolkit() >= 1404.0;
}
bool RZUtilities::sierraOrNewer()
{
    return toolkit() >= 1490.0;
}

bool RZUtilities::highSierraOrNewer()
{
    const double v = toolkit();
    NSLog(QStringLiteral("AppKit version number = %1.1f"), v);
    return v >= 1537.2;
}

QString RZUtilities::localizedDateString(const QString& date)
{
    // Midnight, universal time, written in the user's time zone and locale, short style. A string
    // that does not parse is not checked: the formatter gets a missing date.
    const QDate day = QDate::fromString(date, QStringLiteral("yyyy-MM-dd"));
    const QDateTime instant(day, QTime(0, 0), Qt::UTC);
    return QLocale().toString(instant.toLocalTime().date(), QLocale::ShortFormat);
}

void RZUtilities::resetCachesForTesting()
{
    cachedDecimalVersion.store(0);
}
