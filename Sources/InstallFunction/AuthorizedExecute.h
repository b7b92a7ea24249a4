#pragma once
// Running the privileged copy tool with administrator rights: pkexec asks the user (through the
// desktop's polkit agent) and runs the tool as root. pkexec's exit status tells a dismissed dialog
// (126) from a refusal, a missing agent or a missing tool (127); the tool itself never exits with
// either.

#include "Platform/MacTypes.h"

#include <QString>
#include <QStringList>

#include <functional>
#include <optional>

constexpr OSStatus errAuthorizationDenied = -60005;
constexpr OSStatus errAuthorizationToolExecuteFailure = -60031;

/// The program that runs the tool as administrator: pkexec, or the stand-in named by the
/// environment variable INSTALLER_TEST_PKEXEC, which only the tests set.
QString privilegeHelper();

/// Runs the tool with administrator rights and waits for it. 0 when it exited with 0;
/// errAuthorizationCanceled when the user dismissed the dialog; the platform's error when the
/// tool could not be started; -1 when it did not exit normally with 0.
OSStatus AuthorizedExecute(const QString& toolPath, const QStringList& arguments);

/// The privileged copy: the tool gets exactly (source, destination[, wrapper]). progress(false)
/// is called before the password dialog comes up and progress(true) after it.
bool authorizedInstallWith(const QString& toolPath, const QString& source,
    const QString& destination, const std::optional<QString>& wrapper, bool* canceled,
    const std::function<void(bool running)>& progress);
