// Where the product goes: the destination at start-up, the write-access tests and display paths.

#include "InstallerWinController.h"

#include "RZInstallerInterface.h"

#include <QDir>
#include <QFileInfo>

void InstallerWinController::settleDestination()
{
    QString destination = argument(RZInstallerKeyDestinationPath);
    if (destination.isEmpty() || !QFileInfo(QFileInfo(destination).path()).isDir())
        destination = QDir::homePath() + QStringLiteral("/Applications/")
            + QFileInfo(argument(RZInstallerKeySourcePath)).fileName();
    arguments->insert(RZInstallerKeyDestinationPath, destination);
}
