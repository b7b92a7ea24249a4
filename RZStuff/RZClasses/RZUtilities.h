#pragma once
// RZUtilities: class-level system operations only (no instances). Versions of the application and
// of the system, version comparison, launch context, companion launching, shell scripts with a
// time limit, and desktop queries.

#include "Platform/ApplicationEvents.h"
#include "Platform/MacTypes.h"

#include <QImage>
#include <QString>
#include <QStringList>

#include <cstdint>
#include <optional>
#include <stdexcept>

/// The three parts of a system version; packed into 64 bits as major in bits 0-15, minor in
/// bits 16-31 and bugfix in bits 32-47.
struct ThreePartVersion {
    uint16_t major = 0;
    uint16_t minor = 0;
    uint32_t bugfix = 0; // readers mask it to 16 bits

    uint64_t packed() const
    {
        return uint64_t(major) | (uint64_t(minor) << 16) | (uint64_t(bugfix) << 32);
    }
    static ThreePartVersion unpack(uint64_t v)
    {
        return { uint16_t(v & 0xffff), uint16_t((v >> 16) & 0xffff), uint32_t(v >> 32) };
    }
};

/// The index of ch in the stage table "dabf " (d, a, b, f, blank); 0 when it is not there.
int developmentStage(char16_t ch);

/// A failure of the platform that the operations below raise, as the toolkit would: the system's
/// open command that cannot be started, a script that cannot be launched.
class PlatformException : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
    QString reason() const { return QString::fromUtf8(what()); }
};

/// Installs the menu-bar visibility handler, once per process; a failure is logged and not retried.
void InstallMenuBarEventMonitor();
/// Follows menu-bar events: hidden sets the menu-bar flag, shown clears it. Always
/// eventNotHandledErr, so the event travels on to other handlers.
OSStatus MonitorMenuBarEventHandler(
    EventHandlerCallRef handlerCall, EventRef event, void* userData);

class RZUtilities {
public:
    RZUtilities() = delete;

    // --- Versions of the application and of the system ---
    static QString applicationName();
    static QString versionString();
    /// The leading run of digits and dots; the very same string when nothing is cut.
    static QString plainVersionOf(const QString& version);
    static QString plainVersionString();
    /// -1 when a is older than b, 0 when they are the same, 1 when a is newer.
    static int compareVersion(const QString& a, const QString& b);
    /// The platform's numeric-search comparison: digit runs compare by value.
    static int numericCompare(const QString& a, const QString& b);
    static uint32_t hexSystemVersion();
    static uint64_t threePartVersion();
    static uint32_t decimalSystemVersion();
    static QString systemVersionString();
    static bool pantherOrOlder();
    static bool leopardOrNewer();
    static bool snowleopardOrNewer();
    static bool lionOrNewer();
    static bool mountainLionOrNewer();
    static bool mavericksOrNewer();
    static bool yosemiteOrNewer();
    static bool elCapitanOrNewer();
    static bool sierraOrNewer();
    static bool highSierraOrNewer();
    /// A date written YYYY-MM-DD, in the user's locale, short style.
    static QString localizedDateString(const QString& date);

    // --- Launch context, companion launching and shell scripts ---
    /// Runs from a mounted removable volume that carries the "launchlock" marker file.
    static bool runningFromDistributionDisk();
    /// 1 when running from the distribution disk, a runtime mount of a packaged application or a
    /// temporary folder; else 0.
    static int installationMode();
    /// The removable-media volume (its mount folder) that a path lies on; empty when none.
    static QString distributionVolumeOf(const QString& bundlePath);
    /// The end of a chain of symbolic links; the very same string when path is not a link or the
    /// chain cannot be followed.
    static QString resolvedAlias(const QString& path);
    /// The process that launched this one has the creator code given (four characters).
    static bool wasLaunchedByProcess(const QString& creator);
    /// Started by the session's autostart (launcher creator "lgnw").
    static bool wasLaunchedAsLoginItem();
    /// Starts the system's open command on path, not waiting; PlatformException when it cannot.
    static void openFile(const QString& path);
    /// Runs a script with the parameters (none when absent), standard output and error together,
    /// stopping it after timeout seconds. Its output, or "script <name> failed: <reason>".
    static QString runShellScript(
        const QString& script, const std::optional<QStringList>& parameters, double timeout);
    /// Brings this application back to the front through the companion application "Micro".
    /// flag NO also brings the front window forward once before waiting for the return.
    static void launchMicro(bool flag);

    // --- Desktop queries ---
    /// The menu bar was last reported hidden (an application is full screen).
    static bool fullScreenMode();
    static bool darkMenuTheme();
    /// A tracer (debugger) is attached to this process.
    static bool debugging();
    /// Seconds since the last user input, or -1.0.
    static float idleTime();
    /// The type name of the file system path lies on ("ext4", "tmpfs"); empty on error.
    static QString fileSystemTypeFor(const QString& path);
    static bool displayIsZoomed();
    /// The name of the tint image for the system, theme and control tint ("tintYosBlue").
    static QString systemTintImageName();
    /// That image from the application's resources; null when they lack it.
    static QImage systemTintImage();

    /// Forgets the cached decimal version (tests change the system version source).
    static void resetCachesForTesting();
    /// Forgets the menu-bar flag and the installed handler (tests install fakes).
    static void resetMenuBarMonitorForTesting();
    /// Where removable media are mounted (/media and /run/media); empty restores those.
    static void setRemovableMediaRootsForTesting(const QStringList& roots);
};
