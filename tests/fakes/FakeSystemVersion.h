#pragma once
// A system version source that reports what the test says, or fails the selectors it is told to.

#include "Platform/SystemVersion.h"

#include <QMap>

class FakeSystemVersion final : public SystemVersion {
public:
    FakeSystemVersion() { SystemVersion::setShared(this); }
    ~FakeSystemVersion() override { SystemVersion::setShared(nullptr); }

    QMap<OSType, int32_t> answers;
    double toolkit = 1561.0;

    OSErr gestalt(OSType selector, int32_t* response) override
    {
        if (!answers.contains(selector))
            return gestaltUndefSelectorErr;
        *response = answers.value(selector);
        return noErr;
    }
    double toolkitVersionNumber() override { return toolkit; }

    void setRelease(int major, int minor, int bugfix)
    {
        answers = { { gestaltSystemVersionMajor, major }, { gestaltSystemVersionMinor, minor },
            { gestaltSystemVersionBugFix, bugfix } };
    }
};
