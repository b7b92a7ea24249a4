// Property lists from untrusted bytes: any input gives a value or nothing, never a crash or hang.

#include "Platform/Foundation/PropertyList.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const auto value
        = propertyListFromData(QByteArray(reinterpret_cast<const char*>(data), qsizetype(size)));
    if (value)
        (void)value->typeId();
    return 0;
}
