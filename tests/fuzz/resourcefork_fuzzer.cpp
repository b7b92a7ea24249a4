// Classic resource files from untrusted bytes: the lookup answers or says none, never crashes.

#include "ResourceFork.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray file(reinterpret_cast<const char*>(data), qsizetype(size));
    if (const auto vers = resourceFromResourceFile(file, 0x76657273, 1))
        (void)versionFromVersResource(*vers);
    (void)resourceFromResourceFile(file, 0x49434e23, -16455);
    return 0;
}
