// Version strings: comparison must be antisymmetric and reflexive for any input.

#include "RZUtilities.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QString text = QString::fromUtf8(reinterpret_cast<const char*>(data), qsizetype(size));
    const qsizetype cut = text.indexOf(QLatin1Char('\n'));
    const QString a = cut < 0 ? text : text.left(cut);
    const QString b = cut < 0 ? QString() : text.mid(cut + 1);
    if (RZUtilities::compareVersion(a, b) != -RZUtilities::compareVersion(b, a))
        std::abort();
    if (RZUtilities::compareVersion(a, a) != 0)
        std::abort();
    (void)RZUtilities::plainVersionOf(a);
    return 0;
}
