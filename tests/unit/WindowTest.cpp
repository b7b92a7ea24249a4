// The installer window driven as a user would see it: real widgets on the offscreen platform.

#include "FakeSystemVersion.h"
#include "InstallerWinController.h"
#include "Platform/Foundation/Bundle.h"
#include "RZInstallerInterface.h"
#include "RZUtilities.h"
#include "TestSupport.h"

#include <QApplication>
#include <QImage>
#include <QLabel>
#include <QMessageBox>
#include <QProgressBar>
#include <QPushButton>
#include <QStackedWidget>
#include <QTemporaryDir>
#include <QTest>
#include <QTextBrowser>

#include <gtest/gtest.h>

class WindowTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        RZUtilities::resetCachesForTesting();
        system.setRelease(6, 1, 0);
        Bundle::setMainBundlePathForTesting(dir.filePath(QStringLiteral("Disk/Installer.app")));
        product = makeBundle(dir.filePath(QStringLiteral("Disk")), QStringLiteral("Foo"),
            { { "CFBundleSignature", "FOOO" }, { "CFBundleShortVersionString", "2.0" } });
        QDir().mkpath(dir.filePath(QStringLiteral("Apps")));
    }
    void TearDown() override
    {
        Bundle::setMainBundlePathForTesting(QString());
        RZUtilities::resetCachesForTesting();
    }

    std::unique_ptr<InstallerWinController> start(QStringList args, bool withDestination = true)
    {
        if (withDestination)
            args << QStringLiteral("-destinationPath")
                 << dir.filePath(QStringLiteral("Apps/Foo.app"));
        auto c = std::make_unique<InstallerWinController>(
            QStringList { QStringLiteral("/p/Installer") } + args);
        c->terminateHandler = [this] { ++terminations; };
        c->awakeFromNib();
        return c;
    }
    QStringList source() const { return { QStringLiteral("-sourcePath"), product }; }

    QTemporaryDir dir;
    QString product;
    FakeSystemVersion system;
    LogRecorder log;
    int terminations = 0;
};

TEST_F(WindowTest, SetupErrorsShowTheirMessageAndKeepOrEmptyTheTitle)
{
    const QString unsignedProduct = makeBundle(dir.path(), QStringLiteral("Bare"), {});
    const struct {
        QStringList args;
        QString message;
        QString title;
    } cases[] = {
        { {}, QStringLiteral("The application to install was not found."), QString() },
        { { "-sourcePath", "/" },
            QStringLiteral("The name of the application to install is missing."), QString() },
        { { "-sourcePath", unsignedProduct },
            QStringLiteral("Bare cannot be installed: its signature is missing."),
            QStringLiteral("Bare Installer") },
    };
    for (const auto& c : cases) {
        auto w = start(c.args, false);
        EXPECT_EQ(w->introField->text(), c.message);
        EXPECT_EQ(w->window->windowTitle(), c.title);
        EXPECT_TRUE(w->finished);
        EXPECT_EQ(w->installButton->text(), QStringLiteral("OK"));
        EXPECT_TRUE(w->cancelButton->isHidden());
        EXPECT_TRUE(w->pathField->isHidden());
        EXPECT_EQ(w->tabView->currentIndex(), 1);
        EXPECT_FALSE(w->window->isVisible())
            << "a setup error neither centres nor shows the window";
    }
    EXPECT_TRUE(log.contains(QStringLiteral("missing source path")));
    EXPECT_TRUE(log.contains(QStringLiteral("missing program name")));
    EXPECT_TRUE(log.contains(QStringLiteral("missing product signature")));
}

TEST_F(WindowTest, NameVersionAndDesignedTexts)
{
    auto w = start(source());
    EXPECT_EQ(w->window->windowTitle(), QStringLiteral("Foo Installer"));
    EXPECT_EQ(w->nameField->text(), QStringLiteral("Foo 2.0"));
    EXPECT_EQ(w->introField->text(), QStringLiteral("This will install Foo on your computer."));
    EXPECT_TRUE(w->explanationField->text().startsWith(QStringLiteral("Foo will be installed")));
    EXPECT_TRUE(w->helpButton->isHidden());
    EXPECT_TRUE(w->checkmarkField->isHidden());
    EXPECT_TRUE(w->window->isVisible());

    auto v = start(source() << QStringLiteral("-version") << QStringLiteral("3.1b2"));
    EXPECT_EQ(v->nameField->text(), QStringLiteral("Foo 3.1b2"));
    const QString noVersion
        = makeBundle(dir.path(), QStringLiteral("Plain"), { { "CFBundleSignature", "PLAN" } });
    auto p = start({ QStringLiteral("-sourcePath"), noVersion });
    EXPECT_EQ(p->nameField->text(), QStringLiteral("Plain"));
}

TEST_F(WindowTest, IconFromTheArgumentElseFromTheProduct)
{
    const QString withIcon = makeBundle(dir.path(), QStringLiteral("Painted"),
        { { "CFBundleSignature", "PAIN" }, { "CFBundleIconFile", "Painted.png" } });
    auto paint = [](const QString& path, QColor color) {
        QDir().mkpath(QFileInfo(path).path());
        QImage image(64, 64, QImage::Format_ARGB32);
        image.fill(color);
        ASSERT_TRUE(image.save(path, "PNG"));
    };
    paint(withIcon + QStringLiteral("/Contents/Resources/Painted.png"), Qt::blue);
    paint(dir.filePath(QStringLiteral("given.png")), Qt::red);
    // A wide vector icon is drawn at the field's full width, keeping its proportions.
    writeFile(dir.filePath(QStringLiteral("wide.svg")),
        "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"20\" height=\"10\">"
        "<rect width=\"20\" height=\"10\" fill=\"#00ff00\"/></svg>");
    writeFile(dir.filePath(QStringLiteral("broken.svg")), "<svg");
    const struct {
        const char* name;
        QStringList extra;
        QColor expected;
        QSize drawnAt; // in the field's pixels; empty: any size that fits
    } cases[] = {
        { "the product's own", {}, Qt::blue, {} },
        { "the argument's",
            { QStringLiteral("-iconPath"), dir.filePath(QStringLiteral("given.png")) }, Qt::red,
            {} },
        { "the product's when the argument's is unreadable",
            { QStringLiteral("-iconPath"), dir.filePath(QStringLiteral("none.png")) }, Qt::blue,
            {} },
        { "a vector icon",
            { QStringLiteral("-iconPath"), dir.filePath(QStringLiteral("wide.svg")) }, Qt::green,
            { 96, 48 } },
        { "the product's when the vector icon is damaged",
            { QStringLiteral("-iconPath"), dir.filePath(QStringLiteral("broken.svg")) }, Qt::blue,
            {} },
    };
    for (const auto& c : cases) {
        auto w = start(QStringList { QStringLiteral("-sourcePath"), withIcon } + c.extra);
        const QImage shown = w->iconField->pixmap().toImage();
        const qreal ratio = w->iconField->devicePixelRatioF();
        ASSERT_FALSE(shown.isNull()) << c.name;
        EXPECT_LE(shown.width(), qRound(96 * ratio)) << c.name;
        if (!c.drawnAt.isEmpty()) {
            EXPECT_EQ(shown.size(), c.drawnAt * ratio) << c.name;
        }
        EXPECT_EQ(shown.pixelColor(shown.rect().center()), c.expected) << c.name;
    }
}

TEST_F(WindowTest, NameDestinationAndMessageSelectableUnderThePointer)
{
    auto w = start(source());
    QEnterEvent enter(QPointF(5, 5), QPointF(5, 5), QPointF(5, 5));
    QApplication::sendEvent(w->window, &enter);
    QCoreApplication::processEvents();
    for (const QLabel* label : { w->nameField, w->pathField, w->messageField })
        EXPECT_EQ(label->textInteractionFlags(), Qt::TextSelectableByMouse)
            << qPrintable(label->objectName());
    for (const QLabel* label : { w->introField, w->explanationField })
        EXPECT_FALSE(label->textInteractionFlags() & Qt::TextSelectableByMouse)
            << qPrintable(label->objectName());
}

TEST_F(WindowTest, ReadMeViewOnTheReadMePage)
{
    writeFile(
        dir.filePath(QStringLiteral("ReadMe.html")), "<p>See <a href=\"https://x\">x</a></p>");
    auto w = start(
        source() << QStringLiteral("-readMePath") << dir.filePath(QStringLiteral("ReadMe.html")));
    ASSERT_NE(w->readMeTextView, nullptr);
    EXPECT_TRUE(w->readMeTextView->isVisibleTo(w->window));
    EXPECT_EQ(w->readMeTextView->accessibleName(), QStringLiteral("Read me"));
    EXPECT_TRUE(w->readMeTextView->openExternalLinks());
    EXPECT_EQ(w->readMeTextView->toPlainText(), QStringLiteral("See x"));

    // A read-me that cannot be read: the install page first, and Go Back still has a page
    // (empty) to go back to.
    auto missing = start(
        source() << QStringLiteral("-readMePath") << dir.filePath(QStringLiteral("none.txt")));
    missing->cancelButton->click();
    EXPECT_EQ(missing->tabView->currentIndex(), 0);
    ASSERT_NE(missing->readMeTextView, nullptr);
    EXPECT_TRUE(missing->readMeTextView->isVisibleTo(missing->window));
    EXPECT_TRUE(missing->readMeTextView->toPlainText().isEmpty());
    EXPECT_EQ(terminations, 0);
}

TEST_F(WindowTest, CompatibleAtAndAboveTheMinimumOnly)
{
    const struct {
        const char* minimum;
        bool compatible;
    } cases[] = { { "6.1", true }, { "6.1.0", false }, { "5.10", true }, { "6.2", false },
        { "10.0", false }, { nullptr, true } };
    // 6.1 against the system's "6.1" is the same; "6.1.0" is longer and so newer than "6.1".
    for (const auto& c : cases) {
        QStringList args = source();
        if (c.minimum)
            args << QStringLiteral("-minSystemVersion") << QString::fromLatin1(c.minimum);
        auto w = start(args);
        EXPECT_EQ(w->compatible, c.compatible) << (c.minimum ? c.minimum : "none");
        EXPECT_EQ(w->systemVersionAlert != nullptr, !c.compatible);
    }
}

TEST_F(WindowTest, SystemVersionAlertBothButtonsQuit)
{
    auto w = start(source() << QStringLiteral("-minSystemVersion") << QStringLiteral("99.0"));
    ASSERT_NE(w->systemVersionAlert, nullptr);
    QMessageBox* alert = w->systemVersionAlert;
    EXPECT_EQ(alert->windowModality(), Qt::WindowModal);
    EXPECT_EQ(alert->text(),
        QStringLiteral("Foo 2.0 cannot be installed on this computer because it requires Linux "
                       "99.0 or newer."));
    EXPECT_TRUE(alert->informativeText().contains(QStringLiteral("older version of Foo")));
    const auto buttons = alert->buttons();
    ASSERT_EQ(buttons.size(), 2);
    EXPECT_EQ(alert->defaultButton()->text(), QStringLiteral("Quit"));
    alert->defaultButton()->click();
    QApplication::processEvents();
    EXPECT_EQ(terminations, 1);
}

TEST_F(WindowTest, ButtonTitlesPerPage)
{
    writeFile(dir.filePath(QStringLiteral("ReadMe.txt")), "Read me first.");
    auto withReadMe = start(
        source() << QStringLiteral("-readMePath") << dir.filePath(QStringLiteral("ReadMe.txt")));
    EXPECT_EQ(withReadMe->tabView->currentIndex(), 0);
    EXPECT_EQ(withReadMe->installButton->text(), QStringLiteral("Continue"));
    EXPECT_EQ(withReadMe->cancelButton->text(), QStringLiteral("Cancel"));
    EXPECT_TRUE(
        withReadMe->readMeTextView->toPlainText().contains(QStringLiteral("Read me first.")));
    withReadMe->selectTab(1);
    EXPECT_EQ(withReadMe->installButton->text(), QStringLiteral("Install"));
    EXPECT_EQ(withReadMe->cancelButton->text(), QStringLiteral("Go Back"));
    withReadMe->cancelButton->click();
    EXPECT_EQ(withReadMe->tabView->currentIndex(), 0) << "Go Back shows the read-me page";
    EXPECT_EQ(terminations, 0);
    withReadMe->cancelButton->click();
    EXPECT_EQ(terminations, 1) << "Cancel on the read-me page quits";

    auto missingReadMe = start(
        source() << QStringLiteral("-readMePath") << dir.filePath(QStringLiteral("none.txt")));
    EXPECT_EQ(missingReadMe->tabView->currentIndex(), 1);
    EXPECT_EQ(missingReadMe->cancelButton->text(), QStringLiteral("Go Back"));

    auto noReadMe = start(source());
    const QString designed = noReadMe->cancelButton->text();
    noReadMe->selectTab(0);
    EXPECT_EQ(noReadMe->cancelButton->text(), designed)
        << "without a read-me the designed title stays";
    noReadMe->selectTab(1);
    noReadMe->cancelButton->click();
    EXPECT_EQ(terminations, 2);
}

TEST_F(WindowTest, DocumentationHintAndHelpButton)
{
    writeFile(dir.filePath(QStringLiteral("doc.html")), "<p>doc</p>");
    auto documented = start(source()
        << QStringLiteral("-documentationPath") << dir.filePath(QStringLiteral("doc.html")));
    EXPECT_FALSE(documented->helpButton->isHidden());
    EXPECT_TRUE(documented->explanationField->text().startsWith(
        QStringLiteral("If you wish to read the documentation first, click the \"?\" button. Foo "
                       "will be installed")));

    auto missing = start(source() << QStringLiteral("-documentationPath")
                                  << dir.filePath(QStringLiteral("gone.html")));
    EXPECT_TRUE(missing->helpButton->isHidden());
    EXPECT_FALSE(missing->explanationField->text().contains(QStringLiteral("documentation")));
    missing->openDocumentation();
    EXPECT_TRUE(log.contains(QStringLiteral("documentation path missing")));
}

TEST_F(WindowTest, FinalMessageAndProgress)
{
    auto w = start(source());
    w->animateProgress(QStringLiteral("YES"));
    EXPECT_EQ(w->progressIndicator->maximum(), 0) << "busy";
    EXPECT_FALSE(w->progressIndicator->isHidden());
    w->animateProgress(std::nullopt);
    EXPECT_NE(w->progressIndicator->maximum(), 0);
    EXPECT_TRUE(w->progressIndicator->isHidden());
    w->showFinalMessage(QStringLiteral("%@ was successfully installed."));
    EXPECT_EQ(w->introField->text(), QStringLiteral("Foo was successfully installed."));
    EXPECT_TRUE(w->finished);
    EXPECT_TRUE(w->explanationField->isHidden());
    EXPECT_TRUE(w->helpButton->isHidden());
}
