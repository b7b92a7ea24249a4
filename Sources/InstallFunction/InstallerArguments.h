#pragma once
// The installer's command line: "-key value" words into the installer arguments, and where the
// log goes when a product started the installer with arguments.

#include <QString>
#include <QStringList>
#include <QVariantMap>

/// Walks the process arguments (program path first): a word that begins with "-" makes the rest of
/// it the current key; any other word is a value for the current key, collected into a list for a
/// key ending in "Code" and replacing an earlier value otherwise. A key no value follows is not
/// stored. The program path lands under the empty key.
QVariantMap parseInstallerArguments(const QStringList& processArguments);

/// True when the installer was started by a product with arguments: at least 3 process arguments
/// and the second is not "-AppleLanguages".
bool startedWithArguments(const QStringList& processArguments);

/// "$XDG_STATE_HOME/VelkaroInstaller.log" (default ~/.local/state).
QString installerLogPath();

/// Reopens standard output and standard error in append mode on the installer's log when it was
/// started with arguments ("/dev/null" when the log cannot be opened); logs "direct invocation"
/// otherwise.
void redirectLogIfStartedWithArguments(const QStringList& processArguments);

/// In-process tests keep their own standard streams: the decision is still made and logged, but
/// the streams are not reopened.
void setLogRedirectionEnabled(bool enabled);
