#include "Platform/Foundation/OSTypeCode.h"

OSType UTGetOSTypeFromString(const QString& string)
{
    if (string.size() != 4)
        return 0;
    OSType code = 0;
    for (const QChar c : string) {
        if (c.unicode() > 0xff)
            return 0;
        code = (code << 8) | c.unicode();
    }
    return code;
}

QString UTCreateStringForOSType(OSType type)
{
    QString text;
    for (int shift = 24; shift >= 0; shift -= 8)
        text.append(QChar(static_cast<ushort>((type >> shift) & 0xff)));
    return text;
}
