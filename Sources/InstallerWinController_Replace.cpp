// A running copy of the product as the destination (filled in with the process model).

#include "InstallerWinController.h"

std::optional<QString> InstallerWinController::pathToProcessToReplace() const
{
    return std::nullopt;
}
