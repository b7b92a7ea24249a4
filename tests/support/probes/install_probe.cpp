// Runs one copy the way the installer does, for fault-injection runs:
//   install_probe SOURCE DESTINATION [WRAPPER]
// Exit status: the copy's result code (0, 1 or 2). The Trash is the one of $XDG_DATA_HOME.

#include "InstallApplication.h"

#include <QCoreApplication>

int main(int argc, char* argv[])
{
    QCoreApplication app(argc, argv);
    const QStringList args = QCoreApplication::arguments();
    if (args.size() < 3)
        return 64;
    return InstallApplication(
        args.at(1), args.at(2), args.size() > 3 ? std::optional(args.at(3)) : std::nullopt);
}
