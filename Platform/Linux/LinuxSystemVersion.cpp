// The system version on Linux is the kernel release from uname(2): "6.1.0-18-amd64" reads as
// major 6, minor 1, bugfix 0. The binary-coded form ('sysv') holds what fits in its digits.
// The toolkit version: a running Linux counts as the newest release the predicates know, so the
// number is above every threshold they test.

#include "Platform/SystemVersion.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <sys/utsname.h>

namespace {
class LinuxSystemVersion final : public SystemVersion {
public:
    OSErr gestalt(OSType selector, int32_t* response) override
    {
        utsname u {};
        if (::uname(&u) != 0)
            return gestaltUndefSelectorErr;
        int parts[3] = { 0, 0, 0 };
        std::sscanf(u.release, "%d.%d.%d", &parts[0], &parts[1], &parts[2]);
        switch (selector) {
        case gestaltSystemVersionMajor:
            *response = parts[0];
            return noErr;
        case gestaltSystemVersionMinor:
            *response = parts[1];
            return noErr;
        case gestaltSystemVersionBugFix:
            *response = parts[2];
            return noErr;
        case gestaltSystemVersion: {
            auto bcd = [](int v, int digits) {
                int out = 0;
                for (int i = 0, shift = 0; i < digits; ++i, shift += 4, v /= 10)
                    out |= (v % 10) << shift;
                return out;
            };
            *response = (bcd(parts[0], 2) << 8) | (bcd(std::min(parts[1], 9), 1) << 4)
                | bcd(std::min(parts[2], 9), 1);
            return noErr;
        }
        default:
            return gestaltUndefSelectorErr;
        }
    }
    double toolkitVersionNumber() override { return 2487.0; }
};

LinuxSystemVersion linuxSystemVersion;
std::atomic<SystemVersion*> sharedSource { nullptr };
} // namespace

SystemVersion& SystemVersion::shared()
{
    SystemVersion* s = sharedSource.load();
    return s ? *s : linuxSystemVersion;
}

void SystemVersion::setShared(SystemVersion* source)
{
    sharedSource.store(source);
}
