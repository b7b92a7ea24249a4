// One QApplication for every test (widget tests need it); offscreen unless a display was chosen.

#include "InstallFunction/InstallerArguments.h"
#include "Platform/Foundation/Bundle.h"
#include "Platform/Foundation/Localization.h"

#include <QApplication>

#include <gmock/gmock.h>

int main(int argc, char* argv[])
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    // The installer's English string table, as the installer itself loads it.
    Bundle::setMainBundlePathForTesting(QStringLiteral(INSTALLER_APP));
    installStringTables(app);
    Bundle::setMainBundlePathForTesting(QString());
    setLogRedirectionEnabled(false);
    ::testing::InitGoogleMock(&argc, argv);
    return RUN_ALL_TESTS();
}
