#pragma once
// RZUtilities: class-level system operations only (no instances). Versions of the application and
// of the system, version comparison, launch context, companion launching, shell scripts with a
// time limit, and desktop queries.

#include "Platform/MacTypes.h"

#include <QString>

#include <cstdint>

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

    /// Forgets the cached decimal version (tests change the system version source).
    static void resetCachesForTesting();
};
