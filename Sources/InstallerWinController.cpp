// The window's start-up and its pages: the order in which the window is filled from the installer
// arguments, the preflight checks, the button titles of each page and the final-message state.

#include "InstallerWinController.h"

#include "InstallFunction/InstallerArguments.h"
#include "Platform/Foundation/Bundle.h"
#include "Platform/Foundation/Localization.h"
#include "Platform/Foundation/Log.h"
#include "RZInstallerInterface.h"
#include "UI/DeferredWork.h"
#include "ui_MainWindow.h"

#include <QApplication>
#include <QFileInfo>
#include <QIcon>
#include <QLabel>
#include <QPainter>
#include <QPushButton>
#include <QShortcut>
#include <QTextBrowser>

namespace {
// The success mark: a green disc with a white tick, drawn rather than loaded so that start-up
// does not pay for an image plugin.
QPixmap checkmarkPixmap(int size, qreal ratio)
{
    QPixmap pixmap(QSize(size, size) * ratio);
    pixmap.setDevicePixelRatio(ratio);
    pixmap.fill(Qt::transparent);
    QPainter p(&pixmap);
    p.setRenderHint(QPainter::Antialiasing);
    p.setPen(Qt::NoPen);
    p.setBrush(QColor(0x2e, 0x9d, 0x47));
    p.drawEllipse(QRectF(1, 1, size - 2, size - 2));
    QPen tick(Qt::white, size / 9.0, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin);
    p.setPen(tick);
    p.drawPolyline(QPolygonF({ QPointF(size * 0.28, size * 0.52), QPointF(size * 0.43, size * 0.67),
        QPointF(size * 0.73, size * 0.35) }));
    return pixmap;
}
} // namespace

InstallerWinController::InstallerWinController(const QStringList& processArguments, QObject* parent)
    : QObject(parent)
    , m_processArguments(
          processArguments.isEmpty() ? QCoreApplication::arguments() : processArguments)
    , m_ui(new Ui::MainWindow)
{
    window = new QWidget;
    m_ui->setupUi(window);
    tabView = m_ui->tabView;
    nameField = m_ui->nameField;
    introField = m_ui->introField;
    pathField = m_ui->pathField;
    explanationField = m_ui->explanationField;
    messageField = m_ui->messageField;
    iconField = m_ui->iconField;
    checkmarkField = m_ui->checkmarkField;
    installButton = m_ui->installButton;
    cancelButton = m_ui->cancelButton;
    helpButton = m_ui->helpButton;
    progressIndicator = m_ui->progressIndicator;

    QFont nameFont = nameField->font();
    nameFont.setPointSizeF(nameFont.pointSizeF() * 1.5);
    nameFont.setBold(true);
    nameField->setFont(nameFont);
    checkmarkField->setPixmap(checkmarkPixmap(40, window->devicePixelRatioF()));
    checkmarkField->hide(); // as designed: shown only once an installation has succeeded
    messageField->setForegroundRole(QPalette::Highlight);
    QSizePolicy keepSpace = progressIndicator->sizePolicy();
    keepSpace.setRetainSizeWhenHidden(true);
    progressIndicator->setSizePolicy(keepSpace);
    progressIndicator->hide();
    helpButton->setFixedWidth(helpButton->sizeHint().height() + 8);
    // Selectable labels keep a text document each, whose layout costs about a millisecond
    // before the first paint. Selecting only matters under the pointer, so the labels become
    // selectable when the pointer first enters the window.
    new DeferredWork(window, QEvent::Enter, [this] {
        for (QLabel* label : { nameField, pathField, messageField })
            label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    });

    connect(installButton, &QPushButton::clicked, this, [this] {
        installModifiers = QGuiApplication::keyboardModifiers();
        install();
    });
    connect(cancelButton, &QPushButton::clicked, this, &InstallerWinController::cancel);
    connect(helpButton, &QPushButton::clicked, this, &InstallerWinController::openDocumentation);
    // The window is not a dialog, so Return and Escape are wired here: Return presses the
    // default button, Escape is Cancel.
    for (const QKeySequence& key : { QKeySequence(Qt::Key_Return), QKeySequence(Qt::Key_Enter) }) {
        connect(new QShortcut(key, window), &QShortcut::activated, this, [this] {
            if (installButton->isVisible() && installButton->isEnabled())
                installButton->click();
        });
    }
    connect(
        new QShortcut(QKeySequence(Qt::Key_Escape), window), &QShortcut::activated, this, [this] {
            if (cancelButton->isVisible() && cancelButton->isEnabled())
                cancelButton->click();
        });
}

QTextBrowser* InstallerWinController::ensureReadMeTextView()
{
    // Made on first use: most installers show no read-me, and the text view is the costliest
    // widget of the window to make.
    if (readMeTextView)
        return readMeTextView;
    readMeTextView = new QTextBrowser(m_ui->readMePage);
    readMeTextView->setObjectName(QStringLiteral("readMeTextView"));
    readMeTextView->setOpenExternalLinks(true);
    readMeTextView->setAccessibleName(QCoreApplication::translate("MainWindow", "Read me"));
    readMeTextView->setTabStopDistance(
        readMeTextView->fontMetrics().horizontalAdvance(QLatin1Char(' ')) * 4);
    m_ui->readMeLayout->addWidget(readMeTextView);
    QWidget::setTabOrder(helpButton, readMeTextView);
    return readMeTextView;
}

InstallerWinController::~InstallerWinController()
{
    delete window;
    delete m_ui;
}

QString InstallerWinController::argument(const QString& key) const
{
    if (!arguments)
        return QString();
    const QVariant v = arguments->value(key);
    return v.typeId() == QMetaType::QString ? v.toString() : QString();
}

bool InstallerWinController::hasArgument(const QString& key) const
{
    return arguments && arguments->contains(key);
}

void InstallerWinController::extractArguments()
{
    if (arguments)
        return;
    NSLog(QStringLiteral("arguments: %@"), QVariant(m_processArguments));
    arguments = parseInstallerArguments(m_processArguments);
}

std::optional<QString> InstallerWinController::completeSourcePath()
{
    if (hasArgument(RZInstallerKeySourcePath))
        return std::nullopt;
    QString path = QFileInfo(installerBundlePath).path();
    while (path.size() >= 2 && !path.endsWith(QStringLiteral(".app"))) {
        path = QFileInfo(path).path();
        NSLog(QStringLiteral("shortened path = %@"), path);
    }
    if (!path.endsWith(QStringLiteral(".app")))
        return QStringLiteral("missing source path");
    arguments->insert(RZInstallerKeySourcePath, path);
    return std::nullopt;
}

std::optional<QString> InstallerWinController::completeProductName()
{
    if (hasArgument(RZInstallerKeyProductName))
        return std::nullopt;
    const QString name = QFileInfo(argument(RZInstallerKeySourcePath)).completeBaseName();
    if (name.isEmpty())
        return QStringLiteral("missing program name");
    arguments->insert(RZInstallerKeyProductName, name);
    return std::nullopt;
}

void InstallerWinController::readSourceInfo()
{
    sourceInfo = Bundle(argument(RZInstallerKeySourcePath)).infoDictionary();
}

void InstallerWinController::checkDocumentationPath()
{
    if (hasArgument(RZInstallerKeyDocumentationPath)
        && !QFileInfo::exists(argument(RZInstallerKeyDocumentationPath)))
        arguments->remove(RZInstallerKeyDocumentationPath);
}

std::optional<QString> InstallerWinController::completeProductAndQuitCodes()
{
    QVariant productCode = arguments->value(RZInstallerKeyProductCode);
    if (!productCode.isValid() && sourceInfo) {
        const QVariant signature = sourceInfo->value(QStringLiteral("CFBundleSignature"));
        if (signature.isValid()) {
            productCode = QStringList { signature.toString() };
            arguments->insert(RZInstallerKeyProductCode, productCode);
        }
    }
    if (!productCode.isValid())
        return QStringLiteral("missing product signature");
    const QStringList codes = productCode.toStringList();
    if (arguments->contains(RZInstallerKeyQuitCode))
        arguments->insert(RZInstallerKeyQuitCode,
            arguments->value(RZInstallerKeyQuitCode).toStringList() + codes);
    else
        arguments->insert(RZInstallerKeyQuitCode, codes);
    NSLog(QStringLiteral("Updated arguments: %@"), QVariant(*arguments));
    return std::nullopt;
}
