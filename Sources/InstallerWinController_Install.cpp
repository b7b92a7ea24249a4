// The install run: Install on the window starts one background thread that quits the running
// copies, has the product copied into place, and hands the result back to the window.

#include "InstallerWinController.h"

#include "Platform/Clock.h"
#include "Platform/Foundation/Localization.h"
#include "Platform/Foundation/Log.h"
#include "RZInstallerInterface.h"
#include "RZProcess.h"

#include <QCoreApplication>
#include <QLabel>
#include <QPushButton>
#include <QRegularExpression>
#include <QSettings>
#include <QStackedWidget>
#include <QTimer>

#include <thread>

namespace {
/// The platform's floatValue of a string: the number at its start, 0 when there is none.
float floatValue(const QString& text)
{
    static const QRegularExpression number(
        QStringLiteral("^\\s*([+-]?(\\d+\\.?\\d*|\\.\\d+)([eE][+-]?\\d+)?)"));
    const auto match = number.match(text);
    return match.hasMatch() ? match.captured(1).toFloat() : 0.0f;
}
} // namespace

void InstallerWinController::install()
{
    if (finished) {
        terminate();
        return;
    }
    if (tabView->currentIndex() == 0) {
        selectTab(1);
        return;
    }
    installButton->setEnabled(false);
    cancelButton->setEnabled(false);
    // The disabled buttons are the only guard against a second run.
    std::thread([this] { installThread(); }).detach();
}

void InstallerWinController::installThread()
{
    const QString productName = argument(RZInstallerKeyProductName);
    NSLog(QStringLiteral("Install"));
    QMetaObject::invokeMethod(
        this, [this] { animateProgress(QStringLiteral("YES")); }, Qt::QueuedConnection);

    quitProcesses();
    if (const auto name = processToQuitStillRunning()) {
        NSLog(QStringLiteral("%@ did not quit; will retry"), *name);
        for (int retry = 0; retry < 3; ++retry) {
            clockUsleep(1000000);
            quitProcesses();
            if (!processToQuitStillRunning())
                break;
        }
    }

    std::optional<QString> message;
    if (const auto name = processToQuitStillRunning()) {
        NSLog(QStringLiteral("%@ refused to quit; installation cancelled"), *name);
        message = stringWithFormat(NSLocalizedString(QStringLiteral(
                                       "%1$@ cannot be running during the installation.\rQuit "
                                       "%1$@, then click \"Install\" again.")),
            *name);
    } else if (const auto failure = installMyselfInDestination()) {
        if (failure->isEmpty()) {
            message = QString(); // the administrator prompt was cancelled
        } else {
            message = stringWithFormat(NSLocalizedString(*failure), productName);
            if (!hasArgument(RZInstallerKeyWrapperPath))
                *message += stringWithFormat(QStringLiteral("\r%@"),
                    stringWithFormat(
                        NSLocalizedString(QStringLiteral("Try installing %1$@ manually by copying "
                                                         "it to the Applications folder.")),
                        productName));
        }
    }
    QMetaObject::invokeMethod(
        this, [this, message] { installationFinished(message); }, Qt::QueuedConnection);
}

QList<RZProcessRef> InstallerWinController::processesToQuit() const
{
    // A fresh look every time; the installer itself never counts, even with its own signature in
    // the list.
    const std::optional<QStringList> quitCode = hasArgument(RZInstallerKeyQuitCode)
        ? std::optional(arguments->value(RZInstallerKeyQuitCode).toStringList())
        : std::nullopt;
    const RZProcessRef self = RZProcess::currentProcess();
    QList<RZProcessRef> matching;
    for (const RZProcessRef& process : RZProcess::allProcesses()) {
        if (signatureIsInArray(process->signature(), quitCode)
            && !(self && process->isEqual(*self)))
            matching.append(process);
    }
    return matching;
}

void InstallerWinController::quitProcesses()
{
    for (const RZProcessRef& process : processesToQuit()) {
        NSLog(QStringLiteral("Quitting '%@': %@"), process->signatureString(), process->name());
        process->quit();
        clockUsleep(100000);
    }
}

std::optional<QString> InstallerWinController::processToQuitStillRunning()
{
    for (const RZProcessRef& process : processesToQuit()) {
        NSLog(
            QStringLiteral("Still running '%@': %@"), process->signatureString(), process->name());
        return process->name().value_or(QString());
    }
    return std::nullopt;
}

void InstallerWinController::installationFinished(const std::optional<QString>& message)
{
    if (message) {
        // The message separates its lines with carriage returns; the label breaks on newlines.
        messageField->setText(QString(*message).replace(QLatin1Char('\r'), QLatin1Char('\n')));
        cancelButton->setEnabled(true);
    } else {
        showFinalMessage(QStringLiteral("%@ was successfully installed."));
        checkmarkField->show();
        cancelButton->hide();
        cancelButton->setEnabled(false);
        if (!QSettings().value(QStringLiteral("nosound")).toBool())
            playDoneSound();
    }
    installButton->setEnabled(true);
    animateProgress(std::nullopt);

    if (hasArgument(RZInstallerCompletionQuit)) {
        const float delay = floatValue(argument(RZInstallerCompletionQuit));
        NSLog(QStringLiteral("quit delay: %1.1f"), delay);
        if (delay > 0)
            QTimer::singleShot(int(delay * 1000.0f), this, [this] { terminate(); });
    }
    emit installRunEnded();
}
