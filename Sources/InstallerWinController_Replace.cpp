// A running copy of the product as the destination: the main signature wins over the others,
// whatever the order in which the processes run.

#include "InstallerWinController.h"

#include "Platform/Foundation/OSTypeCode.h"
#include "RZInstallerInterface.h"
#include "RZProcess.h"

std::optional<QString> InstallerWinController::pathToProcessToReplace() const
{
    if (!hasArgument(RZInstallerKeyProductCode))
        return std::nullopt;
    const QStringList codes = arguments->value(RZInstallerKeyProductCode).toStringList();
    const RZProcessRef self = RZProcess::currentProcess();
    auto replaceable = [&self](const RZProcessRef& process) {
        return !(self && process->isEqual(*self)) && !isInUnsupportedFolder(process->path());
    };
    const OSType main = UTGetOSTypeFromString(codes.value(0));
    for (const RZProcessRef& process : RZProcess::allProcesses()) {
        if (process->signature() == main && replaceable(process))
            return process->path();
    }
    if (codes.size() >= 2) {
        for (const RZProcessRef& process : RZProcess::allProcesses()) {
            if (signatureIsInArray(process->signature(), codes) && replaceable(process))
                return process->path();
        }
    }
    return std::nullopt;
}
