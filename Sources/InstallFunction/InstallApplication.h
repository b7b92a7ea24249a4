#pragma once
// Putting an application in place without ever losing what was there: auxiliary items of the
// wrapper first, then the new copy built in a staging folder beside the destination, made durable,
// published with one atomic rename (an exchange over an existing copy), and only then the old copy
// moved to the Trash. A failure before publishing leaves the old copy where it was.

#include "CopyTree.h"

#include <QString>

#include <functional>
#include <optional>

struct InstallOptions {
    CopyMode mode = CopyMode::AsIs;
    /// Moves the old copy to the Trash (recorded as coming from `original`); false when it cannot.
    std::function<bool(const QString& current, const QString& original)> trash;
    std::function<void(const QString& path)> noteChanged;
};

/// 0 copied, 1 the existing copy could not be moved to the Trash (it is back in place), 2 an
/// auxiliary item, the wrapper or the application could not be copied (the old copy untouched).
int InstallApplication(const QString& source, const QString& destination,
    const std::optional<QString>& wrapper, const InstallOptions& options = {});

/// The prefix of staging folders beside a destination named `name`.
QByteArray stagingPrefix(const QByteArray& name);
