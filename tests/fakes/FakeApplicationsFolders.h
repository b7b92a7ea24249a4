#pragma once
// Applications folders that point wherever the test wants.

#include "Platform/ApplicationsFolders.h"

class FakeApplicationsFolders final : public ApplicationsFolders {
public:
    FakeApplicationsFolders() { ApplicationsFolders::setShared(this); }
    ~FakeApplicationsFolders() override { ApplicationsFolders::setShared(nullptr); }

    QStringList local;
    QStringList user;
    QStringList localDomain() override { return local; }
    QStringList userDomain() override { return user; }
};
