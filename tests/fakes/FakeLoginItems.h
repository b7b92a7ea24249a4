#pragma once
// Login items as the test lists them; `readable` false makes the list fail to open.

#include "Platform/LoginItems.h"

class FakeLoginItems final : public LoginItems {
public:
    FakeLoginItems() { LoginItems::setShared(this); }
    ~FakeLoginItems() override { LoginItems::setShared(nullptr); }

    QList<std::optional<QString>> items;
    bool readable = true;
    int snapshots = 0;

    std::optional<QList<std::optional<QString>>> snapshot() override
    {
        ++snapshots;
        if (!readable)
            return std::nullopt;
        return items;
    }
};
