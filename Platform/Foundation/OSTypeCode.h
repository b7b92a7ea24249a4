#pragma once
// Four-character codes written as text and back.

#include "Platform/MacTypes.h"

#include <QString>

/// The four characters as a 32-bit code, the first one in the most significant byte. A string that
/// is not exactly four characters of Latin-1 holds no code and gives 0.
OSType UTGetOSTypeFromString(const QString& string);

/// The four characters of a code; bytes that are not printable are kept as Latin-1 characters.
QString UTCreateStringForOSType(OSType type);
