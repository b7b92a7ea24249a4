#pragma once
// The installer's one window and everything it does: start-up and arguments, the window and its
// checks, the destination, the install run, copying with and without administrator rights, and
// launching the product. The controller is also the application's delegate: closing the window
// quits the installer.

#include "Platform/MacTypes.h"

#include <QObject>
#include <QStringList>
#include <QVariantMap>

#include <functional>
#include <memory>
#include <optional>

class QLabel;
class RZProcess;
class QProgressBar;
class QPushButton;
class QStackedWidget;
class QTextBrowser;
class QWidget;
class QMessageBox;

namespace Ui {
class MainWindow;
}

class InstallerWinController : public QObject {
    Q_OBJECT
public:
    /// Loads the window from its interface file. processArguments defaults to the application's.
    explicit InstallerWinController(
        const QStringList& processArguments = {}, QObject* parent = nullptr);
    ~InstallerWinController() override;

    // --- Outlets ---
    QWidget* window = nullptr;
    QStackedWidget* tabView = nullptr;
    QLabel* nameField = nullptr;
    QLabel* introField = nullptr;
    QLabel* pathField = nullptr;
    QLabel* explanationField = nullptr;
    QLabel* messageField = nullptr;
    QLabel* iconField = nullptr;
    QLabel* checkmarkField = nullptr;
    /// Made when the read-me page is first shown; null until then.
    QTextBrowser* readMeTextView = nullptr;
    QPushButton* installButton = nullptr;
    QPushButton* cancelButton = nullptr;
    QPushButton* helpButton = nullptr;
    QProgressBar* progressIndicator = nullptr;

    /// The installer arguments; absent until extractArguments has run.
    std::optional<QVariantMap> arguments;
    bool finished = false;

    // --- Start-up and arguments ---
    static bool applicationShouldTerminateAfterLastWindowClosed() { return true; }
    void awakeFromNib();
    void extractArguments();
    QString argument(const QString& key) const;
    bool hasArgument(const QString& key) const;

    // Steps of the argument completion; each returns the setup-error message key, or nothing.
    std::optional<QString> completeSourcePath(); // A
    std::optional<QString> completeProductName(); // B
    void readSourceInfo(); // C
    void settleDestination(); // D and E
    void checkDocumentationPath(); // F
    std::optional<QString> completeProductAndQuitCodes(); // G

    // --- The window ---
    void selectTab(int index);
    void showSetupError(const QString& message);
    void showFinalMessage(const QString& messageKey);
    void cancel();
    void openDocumentation();
    void animateProgress(const std::optional<QString>& start);
    void playDoneSound();
    void systemVersionAlertDidEnd(QMessageBox* alert, int returnCode, void* contextInfo);
    /// Shows the system-version alert as a sheet on the window (start-up's last step).
    void showSystemVersionAlert();
    /// Ends the application (the platform's terminate:); tests replace terminateHandler.
    void terminate();
    std::function<void()> terminateHandler;
    /// The web page of the maker's software archive.
    static QString softwareArchiveURL();

    // --- Destination and write access ---
    bool canWriteToFile(const QString& path) const;
    bool canWriteToDirectory(const QString& path) const;
    bool canWriteToFileOrDirectory(const QString& path) const;
    bool canWriteToPath(const QString& path) const;
    static bool isInUnsupportedFolder(const std::optional<QString>& path);
    std::optional<QString> autoLaunchPathFor(const QString& name) const;
    std::optional<QString> pathToProcessToReplace() const;
    std::optional<QString> findPreferredDestinationFor(const QString& name) const;
    QString applicationsDirectory() const;
    QString recursiveLocalizedPath(const QString& path) const;
    QString localizedPath(const QString& path) const;
    static bool signatureIsInArray(OSType signature, const std::optional<QStringList>& array);

    // --- The install run ---
    void install();
    void installThread();
    void quitProcesses();
    std::optional<QString> processToQuitStillRunning();
    void installationFinished(const std::optional<QString>& message);

    // --- Copying ---
    std::optional<QString> installMyselfInDestination();
    bool authorizedInstall(const QString& source, const QString& destination,
        const std::optional<QString>& wrapper, bool* canceled);

    // --- What the start-up keeps for itself ---
    QString installerBundlePath;
    std::optional<QString> versionToShow;
    std::optional<QString> minimumSystemVersion;
    bool compatible = true;
    std::optional<QVariantMap> sourceInfo;
    /// The keyboard modifiers of the click that started the install run (Alt forces the
    /// privileged copy).
    Qt::KeyboardModifiers installModifiers;
    QMessageBox* systemVersionAlert = nullptr;

signals:
    /// Emitted on the main thread when an install run has ended (after installationFinished).
    void installRunEnded();

private:
    QList<std::shared_ptr<RZProcess>> processesToQuit() const;
    void loadIcon();
    void loadReadMe();
    QTextBrowser* ensureReadMeTextView();
    void bringInstallerToFront();
    QStringList m_processArguments;
    Ui::MainWindow* m_ui = nullptr;
};
