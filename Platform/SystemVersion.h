#pragma once
// The running system's version and the toolkit's version number. Abstract so tests can make every
// query fail or report any release; the real one is LinuxSystemVersion (the kernel release).

#include "Platform/MacTypes.h"

constexpr OSType gestaltSystemVersion = 0x73797376; // 'sysv', binary-coded decimal
constexpr OSType gestaltSystemVersionMajor = 0x73797331; // 'sys1'
constexpr OSType gestaltSystemVersionMinor = 0x73797332; // 'sys2'
constexpr OSType gestaltSystemVersionBugFix = 0x73797333; // 'sys3'

class SystemVersion {
public:
    virtual ~SystemVersion() = default;
    /// Answers one selector; noErr on success, an error (and response untouched) otherwise.
    virtual OSErr gestalt(OSType selector, int32_t* response) = 0;
    /// The toolkit's version number (NSAppKitVersionNumber's scale).
    virtual double toolkitVersionNumber() = 0;

    static SystemVersion& shared();
    static void setShared(SystemVersion* source);
};
