#pragma once
// The installer's argument keys, as products pass them on its command line ("-productName Foo").

#include <QString>

extern const QString RZInstallerKeyProductName; // "productName"
extern const QString RZInstallerKeyVersion; // "version"
extern const QString RZInstallerKeyMinSystemVersion; // "minSystemVersion"
extern const QString RZInstallerKeySourcePath; // "sourcePath"
extern const QString RZInstallerKeyDestinationPath; // "destinationPath"
extern const QString RZInstallerKeyDocumentationPath; // "documentationPath"
extern const QString RZInstallerKeyReadMePath; // "readMePath"
extern const QString RZInstallerKeyProductCode; // "productCode"
extern const QString RZInstallerKeyQuitCode; // "quitCode"
extern const QString RZInstallerKeyIconPath; // "iconPath"
extern const QString RZInstallerKeyWrapperPath; // "wrapperPath"
extern const QString RZInstallerCompletionSound; // "completionSound"
extern const QString RZInstallerCompletionQuit; // "completionQuit"
