// Putting the product in place: a plain copy when the destination is writable, the privileged
// tool otherwise (or when Alt is held at Install), then registering and launching it.

#include "InstallerWinController.h"

#include "AuthorizedExecute.h"
#include "InstallApplication.h"
#include "Platform/Clock.h"
#include "Platform/Foundation/Bundle.h"
#include "Platform/Foundation/Log.h"
#include "Platform/Workspace.h"
#include "RZInstallerInterface.h"
#include "RZProcess.h"

#include <QMetaObject>

std::optional<QString> InstallerWinController::installMyselfInDestination()
{
    const QString source = argument(RZInstallerKeySourcePath);
    const QString destination = argument(RZInstallerKeyDestinationPath);
    const std::optional<QString> wrapper = hasArgument(RZInstallerKeyWrapperPath)
        ? std::optional(argument(RZInstallerKeyWrapperPath))
        : std::nullopt;
    const bool writable = canWriteToPath(destination);

    bool privileged = !writable;
    if (installModifiers.testFlag(Qt::AltModifier)) {
        NSLog(QStringLiteral("enforcing authorization"));
        privileged = true;
    }
    if (!privileged) {
        const int result = InstallApplication(source, destination, wrapper);
        if (result == 1)
            return QStringLiteral("Could not delete existing copy.");
        if (result != 0)
            return QStringLiteral("Installation failed.");
    } else {
        bool canceled = false;
        if (!authorizedInstall(source, destination, wrapper, &canceled)) {
            if (canceled) {
                NSLog(QStringLiteral("User canceled authorization"));
                return QString();
            }
            NSLog(QStringLiteral(
                "ERROR -- Could not copy myself to /Applications with authorization"));
            return QStringLiteral("Authorized copying failed.");
        }
    }

    Workspace& workspace = Workspace::shared();
    NSLog(QStringLiteral("successfully copied"));
    workspace.noteFileSystemChanged(destination);
    NSLog(QStringLiteral("launching %@"), destination);

    clockUsleep(500000);
    NSLog(QStringLiteral("registered app: %d"), int(workspace.lsRegisterURL(destination, true)));

    clockUsleep(100000);
    if (workspace.iconForFile(destination).isNull()) {
        NSLog(QStringLiteral("did not get icon"));
        clockUsleep(1000000);
        NSLog(QStringLiteral("retry; %@"),
            workspace.iconForFile(destination).isNull() ? QStringLiteral("failed")
                                                        : QStringLiteral("succeeded"));
    }

    bool launched = workspace.openFile(destination);
    NSLog(QStringLiteral("launched immediately: %d"), int(launched));
    for (int attempt = 0; !launched && attempt < 10; ++attempt) {
        clockUsleep(500000);
        NSLog(QStringLiteral("retry opening"));
        launched = workspace.openFile(destination);
        NSLog(QStringLiteral("launched: %d"), int(launched));
    }

    // The result page stays visible above the product that was just launched.
    if (const RZProcessRef self = RZProcess::currentProcess())
        self->setFrontProcessFrontWindowOnly();
    return std::nullopt;
}

bool InstallerWinController::authorizedInstall(const QString& source, const QString& destination,
    const std::optional<QString>& wrapper, bool* canceled)
{
    const auto progress = [this](bool running) {
        QMetaObject::invokeMethod(
            this,
            [this, running] {
                animateProgress(running ? std::optional(QStringLiteral("YES")) : std::nullopt);
            },
            Qt::QueuedConnection);
    };
    const QString tool = Bundle::mainBundle().pathForResource(QStringLiteral("train"));
    return authorizedInstallWith(tool, source, destination, wrapper, canceled, progress);
}
