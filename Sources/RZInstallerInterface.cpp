#include "RZInstallerInterface.h"

const QString RZInstallerKeyProductName = QStringLiteral("productName");
const QString RZInstallerKeyVersion = QStringLiteral("version");
const QString RZInstallerKeyMinSystemVersion = QStringLiteral("minSystemVersion");
const QString RZInstallerKeySourcePath = QStringLiteral("sourcePath");
const QString RZInstallerKeyDestinationPath = QStringLiteral("destinationPath");
const QString RZInstallerKeyDocumentationPath = QStringLiteral("documentationPath");
const QString RZInstallerKeyReadMePath = QStringLiteral("readMePath");
const QString RZInstallerKeyProductCode = QStringLiteral("productCode");
const QString RZInstallerKeyQuitCode = QStringLiteral("quitCode");
const QString RZInstallerKeyIconPath = QStringLiteral("iconPath");
const QString RZInstallerKeyWrapperPath = QStringLiteral("wrapperPath");
const QString RZInstallerCompletionSound = QStringLiteral("completionSound");
const QString RZInstallerCompletionQuit = QStringLiteral("completionQuit");
