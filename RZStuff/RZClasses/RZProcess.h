#pragma once
// RZProcess: one running application, identified by its serial number. Every other attribute is
// fetched on first request and kept. The class keeps a cache of the objects it has handed out, so
// that the same process always yields the same object; index 0 of the cache is the most recently
// used entry.

#include "Platform/MacTypes.h"
#include "RZProcessNotifications.h"

#include <QDateTime>
#include <QImage>
#include <QList>
#include <QString>
#include <QVariant>
#include <QVariantMap>

#include <memory>
#include <mutex>
#include <optional>
#include <sys/types.h>

class RZProcess;
using RZProcessRef = std::shared_ptr<RZProcess>;

extern const QString RZPlatformCocoa; // "Cocoa"
extern const QString RZPlatformCarbon; // "Carbon"
extern const QString RZPlatformJava; // "Java"

/// Start time of a process in seconds since 1970; 0 when it cannot be read.
double proc_start_time(pid_t pid);
/// User processor time of a process in seconds; 0 when it cannot be read.
float proc_cpu_time(pid_t pid);
/// The user time as the process-status command prints it ("1:02.50"), parsed by its rules:
/// minutes before the first colon, seconds after it. Exposed for tests.
float parseProcessStatusTime(const QString& text);

class RZProcess : public std::enable_shared_from_this<RZProcess>,
                  public RZProcessNotifications<RZProcess> {
public:
    explicit RZProcess(const ProcessSerialNumber& psn); // use processWithSerialNumber
    ~RZProcess();

    // --- The cache and the lookups ---
    static long indexOfCachedProcessWithSerialNumber(const ProcessSerialNumber& psn);
    static RZProcessRef cachedProcessWithSerialNumber(const ProcessSerialNumber& psn);
    static void cleanupCache();
    /// A snapshot of the cache from front to back; none before the cache was ever created.
    static std::optional<QList<RZProcessRef>> cachedProcessesEnumerator();
    static RZProcessRef frontProcess();
    static RZProcessRef currentProcess();
    static QList<RZProcessRef> allProcesses();
    static RZProcessRef processWithSerialNumber(const ProcessSerialNumber& psn);
    static RZProcessRef processWithPID(pid_t pid);
    static RZProcessRef processWithSignature(OSType signature);
    static RZProcessRef processWithIdentifier(const QString& identifier);
    /// Forgets the cache and the remembered current process (tests only).
    static void resetForTesting();

    void addToCache();
    bool isSameProcess(const ProcessSerialNumber& psn) const;
    bool isEqual(const RZProcess& other) const;
    bool isEqual(const RZProcess* other) const { return other && isEqual(*other); }
    /// Case-insensitive order of the names: -1, 0 or 1.
    int compare(const RZProcess& other) const;
    size_t hash() const;
    QString description() const;
    QVariant infoForKey(const QString& key) const;
    void setInfoForKey(const QVariant& value, const QString& key);
    QVariant info() const { return infoForKey(QString()); }
    void setInfo(const QVariant& value) { setInfoForKey(value, QString()); }
    bool isStillRunning() const;

    // --- Attributes ---
    bool getProcessInfo();
    std::optional<QVariantMap> infoDictionary();
    ProcessSerialNumber serialNumber() const { return m_psn; }
    pid_t unixPID() const;
    std::optional<QString> name();
    std::optional<QString> displayName();
    OSType signature();
    QString signatureString();
    QString signatureHexString();
    std::optional<QString> path();
    /// The bundle folder at path, or none when path is not a bundle.
    std::optional<QString> bundle();
    QString identifier();
    QImage icon();
    bool isFrontProcess();
    bool isBackgroundOnly();
    bool isCocoa();
    QString platform();
    std::optional<QString> carbonVersion();
    QString version();
    int majorVersionNumber();
    bool isAtLeastVersion(const QString& version);

    // --- Timing ---
    QDateTime launchDate();
    float secondsRunning();
    float cpuTime() const;

    // --- Quitting and the window manager ---
    bool quitRunningApplicationWithTimeout(float timeout);
    void quit();
    void sendAppleEventClass(OSType eventClass, OSType eventID, float timeout);
    void wakeUp();
    void setHidden(bool hidden);
    void setFrontProcess();
    void setFrontProcessFrontWindowOnly();
    void temporarilySwitchOut();

    // --- Launch and quit notifications, accessibility observers ---
    // From the base RZProcessNotifications<RZProcess> (RZProcessNotifications.h): the class
    // operations installNotifications, applicationStarted, applicationEnded,
    // applicationLaunchEndCount and classObject (the sender of "RZProcessChangeNotification"),
    // and per object installAXObserver, addAXNotification, removeAXNotification,
    // unregisterAXNotifications with the fields axAppElem and axObserver.

private:
    const ProcessSerialNumber m_psn;
    mutable std::recursive_mutex m_mutex; // guards the lazily filled fields below
    std::optional<QVariantMap> m_infoDictionary;
    OSType m_signature = 0;
    std::optional<QString> m_name;
    std::optional<QString> m_displayName;
    bool m_displayNameFetched = false;
    std::optional<QString> m_path;
    std::optional<QString> m_version;
    std::optional<QDateTime> m_launchDate;
    std::optional<QImage> m_icon;
    int32_t m_cocoaStatus = 0;
    std::optional<QVariantMap> m_customInfo;
};
