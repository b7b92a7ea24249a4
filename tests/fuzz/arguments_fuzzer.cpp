// The installer's command line from untrusted words (NUL-separated), and the log form of the
// dictionary it gives.

#include "InstallFunction/InstallerArguments.h"
#include "Platform/Foundation/Format.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char*>(data), qsizetype(size));
    QStringList words;
    for (const QByteArray& word : bytes.split('\0'))
        words << QString::fromUtf8(word);
    const QVariantMap arguments = parseInstallerArguments(words);
    (void)startedWithArguments(words);
    (void)describeValue(arguments);
    if (!words.isEmpty())
        (void)cocoaFormat(words.first(), { words.value(1), 3, 2.5 });
    return 0;
}
