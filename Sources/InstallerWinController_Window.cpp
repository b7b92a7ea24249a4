// The window's start-up (awakeFromNib), its two pages, the final-message state, the button
// actions and the system-version alert.

#include "InstallerWinController.h"

#include "InstallFunction/InstallerArguments.h"
#include "Platform/Foundation/Bundle.h"
#include "Platform/Foundation/Localization.h"
#include "Platform/Foundation/Log.h"
#include "RZInstallerInterface.h"
#include "RZProcess.h"
#include "RZUtilities.h"
#include "SoundExtensions.h"
#include "UI/DeferredWork.h"
#include "UI/ReadMeLoader.h"

#include <QApplication>
#include <QDesktopServices>
#include <QFile>
#include <QFileInfo>
#include <QLabel>
#include <QMessageBox>
#include <QPainter>
#include <QProgressBar>
#include <QPushButton>
#include <QScreen>
#include <QStackedWidget>
#include <QStyle>
#include <QSvgRenderer>
#include <QTextBrowser>
#include <QTimer>
#include <QUrl>
#include <QWidget>

namespace {
QPixmap workspaceIcon(const QString& path)
{
    Q_UNUSED(path);
    return QIcon::fromTheme(QStringLiteral("application-x-executable")).pixmap(128, 128);
}

// Vector icons are drawn straight at the size they are shown: sharper than a scaled-down
// raster, and no image-format plugin has to be looked for. Anything else is read as an image.
QPixmap readIcon(const QString& path, const QSize& pixels)
{
    const QString suffix = QFileInfo(path).suffix().toLower();
    if (suffix != QLatin1String("svg") && suffix != QLatin1String("svgz"))
        return QPixmap(path);
    QSvgRenderer svg(path);
    if (!svg.isValid())
        return QPixmap();
    QSize size = svg.defaultSize().scaled(pixels, Qt::KeepAspectRatio);
    if (size.isEmpty())
        size = pixels;
    QImage image(size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    svg.render(&painter);
    painter.end();
    return QPixmap::fromImage(std::move(image));
}

void openWithWorkspace(const QString& path)
{
    QDesktopServices::openUrl(QUrl::fromLocalFile(path));
}

} // namespace

void InstallerWinController::awakeFromNib()
{
    installerBundlePath = Bundle::mainBundle().bundlePath();
    redirectLogIfStartedWithArguments(m_processArguments);

    nameField->clear();
    // The pages have no tabs and no border: a stacked widget shows neither.
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
    loadIcon();

    auto infoString = [this](const QString& key) -> std::optional<QString> {
        if (!sourceInfo || sourceInfo->value(key).typeId() != QMetaType::QString)
            return std::nullopt;
        return sourceInfo->value(key).toString();
    };
    versionToShow = hasArgument(RZInstallerKeyVersion)
        ? std::optional(argument(RZInstallerKeyVersion))
        : infoString(QStringLiteral("CFBundleShortVersionString"));
    minimumSystemVersion = hasArgument(RZInstallerKeyMinSystemVersion)
        ? std::optional(argument(RZInstallerKeyMinSystemVersion))
        : infoString(QStringLiteral("LSMinimumSystemVersion"));
    compatible = !minimumSystemVersion
        || RZUtilities::compareVersion(RZUtilities::systemVersionString(), *minimumSystemVersion)
            != -1;

    settleDestination();
    checkDocumentationPath();
    if (const auto error = completeProductAndQuitCodes()) {
        showSetupError(*error);
        return;
    }

    nameField->setText(
        versionToShow ? productName + QLatin1Char(' ') + *versionToShow : productName);
    introField->setText(stringWithFormat(introField->text(), productName));
    QString explanation = stringWithFormat(explanationField->text(), productName);
    const bool documented = hasArgument(RZInstallerKeyDocumentationPath);
    if (documented)
        explanation = stringWithFormat(QStringLiteral("%@ %@"),
            NSLocalizedString(QStringLiteral(
                "If you wish to read the documentation first, click the \"?\" button.")),
            explanation);
    explanationField->setText(explanation);
    helpButton->setVisible(documented);

    loadReadMe();
    checkmarkField->hide();

    if (const QScreen* screen = window->screen())
        window->move(screen->availableGeometry().center() - window->rect().center());
    window->show();
    window->raise();
    window->activateWindow();
    installButton->setFocus();
    bringInstallerToFront();

    if (!compatible)
        showSystemVersionAlert();
}

void InstallerWinController::loadIcon()
{
    const QSize pixels = iconField->size() * iconField->devicePixelRatioF();
    QPixmap icon;
    if (hasArgument(RZInstallerKeyIconPath))
        icon = readIcon(argument(RZInstallerKeyIconPath), pixels);
    if (icon.isNull() && sourceInfo) {
        const QString iconFile = sourceInfo->value(QStringLiteral("CFBundleIconFile")).toString();
        const Bundle source(argument(RZInstallerKeySourcePath));
        QString path = source.pathForResource(iconFile, QStringLiteral("icns"));
        if (path.isEmpty())
            path = source.pathForResource(iconFile);
        if (!path.isEmpty())
            icon = readIcon(path, pixels);
    }
    if (icon.isNull())
        icon = workspaceIcon(argument(RZInstallerKeySourcePath));
    if (icon.isNull())
        return;
    iconField->setPixmap(icon.scaled(pixels, Qt::KeepAspectRatio, Qt::SmoothTransformation));
    QApplication::setWindowIcon(QIcon(icon));
}

void InstallerWinController::loadReadMe()
{
    const QString path = argument(RZInstallerKeyReadMePath);
    if (!path.isEmpty() && QFileInfo(path).isFile()) {
        loadReadMeDocument(path, ensureReadMeTextView()->document());
        selectTab(0);
    } else {
        selectTab(1);
    }
}

void InstallerWinController::selectTab(int index)
{
    if (index == 0)
        ensureReadMeTextView();
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

void InstallerWinController::cancel()
{
    if (hasArgument(RZInstallerKeyReadMePath) && tabView->currentIndex() == 1) {
        selectTab(0);
        return;
    }
    terminate();
}

void InstallerWinController::openDocumentation()
{
    if (hasArgument(RZInstallerKeyDocumentationPath)) {
        openWithWorkspace(argument(RZInstallerKeyDocumentationPath));
        return;
    }
    NSLog(QStringLiteral("documentation path missing"));
    QApplication::beep();
}

void InstallerWinController::animateProgress(const std::optional<QString>& start)
{
    // A range of 0..0 is the toolkit's indeterminate (busy) animation; a stopped indicator is
    // hidden, as the platform's indeterminate indicators are when they do not animate.
    progressIndicator->setRange(0, start ? 0 : 1);
    progressIndicator->setVisible(start.has_value());
}

void InstallerWinController::showSystemVersionAlert()
{
    auto* alert = new QMessageBox(window);
    systemVersionAlert = alert;
    alert->setWindowModality(Qt::WindowModal);
    alert->setWindowTitle(window->windowTitle());
    alert->setIcon(QMessageBox::Information);
    // The stop sign, as the alert's own icon.
    alert->setIconPixmap(
        window->style()->standardIcon(QStyle::SP_MessageBoxCritical).pixmap(64, 64));
    alert->setText(stringWithFormat(
        NSLocalizedString(QStringLiteral("%1$@ %2$@ cannot be installed on this computer because "
                                         "it requires Mac OS X %3$@ or newer.")),
        argument(RZInstallerKeyProductName), versionToShow, minimumSystemVersion));
    alert->setInformativeText(stringWithFormat(
        NSLocalizedString(QStringLiteral("To check if an older version of %@ is available for your "
                                         "computer, please visit our software archive.")),
        argument(RZInstallerKeyProductName)));
    QPushButton* quit
        = alert->addButton(NSLocalizedString(QStringLiteral("Quit")), QMessageBox::AcceptRole);
    QPushButton* archive = alert->addButton(
        NSLocalizedString(QStringLiteral("Visit Archive")), QMessageBox::RejectRole);
    alert->setDefaultButton(quit);
    alert->setEscapeButton(quit);
    connect(alert, &QMessageBox::finished, this, [this, alert, archive] {
        // First button 1000, second 1001, as the platform numbers an alert's buttons.
        const int code = alert->clickedButton() == archive ? 1001 : 1000;
        systemVersionAlertDidEnd(alert, code, nullptr);
    });
    alert->open();
}

QString InstallerWinController::softwareArchiveURL()
{
    return QStringLiteral("https://www.velkaro.com/downloads/archive/");
}

void InstallerWinController::systemVersionAlertDidEnd(
    QMessageBox* alert, int returnCode, void* contextInfo)
{
    Q_UNUSED(alert);
    Q_UNUSED(contextInfo);
    if (returnCode == 1001)
        QDesktopServices::openUrl(QUrl(softwareArchiveURL()));
    terminate();
}

void InstallerWinController::terminate()
{
    if (terminateHandler)
        terminateHandler();
    else
        QCoreApplication::quit();
}

void InstallerWinController::bringInstallerToFront()
{
    // Asking for the front looks this process's windows up on the display (about two
    // milliseconds), so it is done once the window has been drawn; an obscured window may never
    // be drawn until it is in front, hence the deadline.
    new DeferredWork(
        window, QEvent::Paint,
        [] {
            if (const RZProcessRef self = RZProcess::currentProcess())
                self->setFrontProcess();
        },
        100);
}

void InstallerWinController::playDoneSound()
{
    if (argument(RZInstallerCompletionSound) != QStringLiteral("YES"))
        return;
    if (const auto sound = NSSound::soundNamed(QStringLiteral("Done"))) {
        sound->setVolume(NSSound::alertVolume());
        sound->playAsSoundEffect();
    }
}
