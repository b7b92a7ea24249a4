#pragma once
// The plain platform types the classes are written against: status codes, four-character codes
// and process serial numbers. They keep the classes' contracts in their own terms on Linux.

#include <cstdint>

using OSType = uint32_t; // four-character code, first character in the most significant byte
using OSStatus = int32_t; // 0 is success
using OSErr = int16_t; // 0 is success

constexpr OSErr noErr = 0;
constexpr OSErr procNotFound = -600; // no such process
constexpr OSErr paramErr = -50; // bad argument
constexpr OSErr appIsDaemon = -606; // no window server (or window manager) to act on
constexpr OSErr ioErr = -36; // input or output failed
constexpr OSErr gestaltUndefSelectorErr = -5551;
constexpr OSStatus errAEEventNotHandled = -1708; // no handler for the event on this platform
constexpr OSStatus errAuthorizationCanceled = -60006;

struct ProcessSerialNumber {
    uint32_t highLongOfPSN = 0;
    uint32_t lowLongOfPSN = 0;
};

constexpr uint32_t kNoProcess = 0;
constexpr uint32_t kSystemProcess = 1;
constexpr uint32_t kCurrentProcess = 2;

/// The "not found" index of the platform's lists.
constexpr long NSNotFound = 0x7fffffffffffffffL;
