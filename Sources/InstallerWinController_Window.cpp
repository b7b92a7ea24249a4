// The window's start-up (awakeFromNib) and the page and message operations.

#include "InstallerWinController.h"

#include "InstallFunction/InstallerArguments.h"
#include "Platform/Foundation/Bundle.h"
#include "Platform/Foundation/Localization.h"
#include "Platform/Foundation/Log.h"
#include "RZInstallerInterface.h"

#include <QApplication>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QStackedWidget>
#include <QWidget>

void InstallerWinController::awakeFromNib()
{
    installerBundlePath = Bundle::mainBundle().bundlePath();
    redirectLogIfStartedWithArguments(m_processArguments);

    nameField->clear();
    selectTab(1);
    extractArguments();

    if (const auto error = completeSourcePath()) {
        playDoneSound();
        showSetupError(*error);
        return;
    }
    if (const auto error = completeProductName()) {
        showSetupError(*error);
        return;
    }
    const QString productName = argument(RZInstallerKeyProductName);
    window->setWindowTitle(stringWithFormat(window->windowTitle(), productName));
    readSourceInfo();
    settleDestination();
    checkDocumentationPath();
    if (const auto error = completeProductAndQuitCodes()) {
        showSetupError(*error);
        return;
    }
    nameField->setText(productName);
    introField->setText(stringWithFormat(introField->text(), productName));
    explanationField->setText(stringWithFormat(explanationField->text(), productName));
}

void InstallerWinController::selectTab(int index)
{
    tabView->setCurrentIndex(index);
    installButton->setText(index == 0 ? NSLocalizedString(QStringLiteral("Continue"))
                                      : NSLocalizedString(QStringLiteral("Install")));
    if (hasArgument(RZInstallerKeyReadMePath))
        cancelButton->setText(index == 0 ? NSLocalizedString(QStringLiteral("Cancel"))
                                         : NSLocalizedString(QStringLiteral("Go Back")));
}

void InstallerWinController::showFinalMessage(const QString& messageKey)
{
    cancelButton->hide();
    installButton->setText(NSLocalizedString(QStringLiteral("OK")));
    pathField->hide();
    explanationField->hide();
    helpButton->hide();
    const QVariant name = arguments ? arguments->value(RZInstallerKeyProductName) : QVariant();
    introField->setText(stringWithFormat(NSLocalizedString(messageKey), name));
    finished = true;
}

void InstallerWinController::showSetupError(const QString& message)
{
    NSLog(QStringLiteral("%@"), message);
    showFinalMessage(message);
    if (window->windowTitle().contains(QLatin1Char('%')))
        window->setWindowTitle(QString());
}

void InstallerWinController::playDoneSound() { }
