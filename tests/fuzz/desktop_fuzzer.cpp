// Desktop entries from untrusted bytes, and the Exec line splitting.

#include "Platform/Foundation/DesktopEntry.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char*>(data), qsizetype(size));
    if (const auto entry = DesktopEntry::fromData(bytes)) {
        (void)entry->boolean(QStringLiteral("Hidden"));
        (void)DesktopEntry::splitExec(entry->value(QStringLiteral("Exec")));
    }
    (void)DesktopEntry::splitExec(QString::fromUtf8(bytes));
    return 0;
}
