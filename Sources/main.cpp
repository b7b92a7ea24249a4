// The installer's entry point: the arguments go unchanged to the application, which creates the
// one window controller with its window and runs its start-up.

#include "InstallerWinController.h"

#include "Platform/Foundation/Localization.h"

#include <QApplication>
#include <QWidget>

int main(int argc, char* argv[])
{
    QApplication app(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("Velkaro"));
    QCoreApplication::setApplicationName(QStringLiteral("Installer"));
    QApplication::setQuitOnLastWindowClosed(
        InstallerWinController::applicationShouldTerminateAfterLastWindowClosed());
    installStringTables(app);
    InstallerWinController controller;
    controller.awakeFromNib();
    controller.window->show();
    return QApplication::exec();
}
