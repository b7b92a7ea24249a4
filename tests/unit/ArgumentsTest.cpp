// The installer's command line and the completion of missing arguments from the source bundle.

#include "InstallFunction/InstallerArguments.h"
#include "InstallerWinController.h"
#include "Platform/Foundation/Bundle.h"
#include "RZInstallerInterface.h"
#include "TestSupport.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {
QStringList words(const char* line)
{
    return QString::fromUtf8(line).split(QLatin1Char(' '), Qt::SkipEmptyParts);
}
} // namespace

TEST(ParseInstallerArguments, KeysValuesAndCodeLists)
{
    const struct {
        const char* line;
        QVariantMap expected;
    } cases[] = {
        { "/p/Installer -productName Foo", { { "", "/p/Installer" }, { "productName", "Foo" } } },
        { "/p/Installer -psn_0_12345", { { "", "/p/Installer" } } },
        { "/p/Installer -productName A B", { { "", "/p/Installer" }, { "productName", "B" } } },
        { "/p/Installer -version 1.0 2.0", { { "", "/p/Installer" }, { "version", "2.0" } } },
        { "/p/Installer -productCode AAAA BBBB -quitCode CCCC -productCode DDDD",
            { { "", "/p/Installer" }, { "productCode", QStringList { "AAAA", "BBBB", "DDDD" } },
                { "quitCode", QStringList { "CCCC" } } } },
        { "/p/Installer -quitCode A1 A2 -quitCode A3 A4",
            { { "", "/p/Installer" }, { "quitCode", QStringList { "A1", "A2", "A3", "A4" } } } },
        { "/p/Installer -destinationPath", { { "", "/p/Installer" } } },
        { "/p/Installer -completionQuit -1", { { "", "/p/Installer" } } },
        { "/p/Installer extra -x 1", { { "", "extra" }, { "x", "1" } } },
        { "/p/Installer - lone", { { "", "lone" } } },
        { "/p/Installer --double v", { { "", "/p/Installer" }, { "-double", "v" } } },
        { "/p/Installer -AppleLanguages (en) -productName Foo",
            { { "", "/p/Installer" }, { "AppleLanguages", "(en)" }, { "productName", "Foo" } } },
        { "/p/Installer -productcode abcd", { { "", "/p/Installer" }, { "productcode", "abcd" } } },
    };
    for (const auto& c : cases)
        EXPECT_EQ(parseInstallerArguments(words(c.line)), c.expected) << c.line;
}

TEST(StartedWithArguments, ThreeWordsAndNotAppleLanguages)
{
    EXPECT_TRUE(startedWithArguments(words("/p/Installer -productName Foo")));
    EXPECT_FALSE(startedWithArguments(words("/p/Installer -psn_0_12345")));
    EXPECT_FALSE(startedWithArguments(words("/p/Installer -AppleLanguages (en) -productName Foo")));
    EXPECT_FALSE(startedWithArguments(words("/p/Installer")));
}

class CompletionTest : public ::testing::Test {
protected:
    QTemporaryDir dir;
    LogRecorder log;

    QString bundle(const QString& name, const QVariantMap& info)
    {
        return makeBundle(dir.path(), name, info);
    }

    std::unique_ptr<InstallerWinController> controller(
        const QStringList& args, const QString& installerBundle = QString())
    {
        auto c = std::make_unique<InstallerWinController>(
            QStringList { QStringLiteral("/p/Installer") } + args);
        c->installerBundlePath = installerBundle.isEmpty()
            ? dir.filePath(QStringLiteral("Installer.app"))
            : installerBundle;
        c->extractArguments();
        return c;
    }
};

TEST_F(CompletionTest, SourceIsTheNearestEnclosingBundle)
{
    const QString product = bundle(QStringLiteral("Foo"), {});
    const QString inside = product + QStringLiteral("/Contents/Resources/Installer.app");
    auto c = controller({}, inside);
    EXPECT_FALSE(c->completeSourcePath().has_value());
    EXPECT_EQ(c->argument(RZInstallerKeySourcePath), product);
    EXPECT_TRUE(
        log.contains(QStringLiteral("shortened path = ") + product + QStringLiteral("/Contents")));

    auto outside = controller({}, dir.filePath(QStringLiteral("Installer.app")));
    EXPECT_EQ(outside->completeSourcePath(), QStringLiteral("missing source path"));
    EXPECT_FALSE(outside->hasArgument(RZInstallerKeySourcePath));
}

TEST_F(CompletionTest, NameFromTheSourceFileName)
{
    auto c = controller(
        { QStringLiteral("-sourcePath"), QStringLiteral("/Volumes/Disk/Foo Bar.app") });
    EXPECT_FALSE(c->completeProductName().has_value());
    EXPECT_EQ(c->argument(RZInstallerKeyProductName), QStringLiteral("Foo Bar"));

    auto empty = controller({ QStringLiteral("-sourcePath"), QStringLiteral("/") });
    EXPECT_EQ(empty->completeProductName(), QStringLiteral("missing program name"));
}

TEST_F(CompletionTest, ProductAndQuitCodes)
{
    const QString signed_ = bundle(QStringLiteral("Signed"), { { "CFBundleSignature", "SIGN" } });
    const QString unsigned_ = bundle(QStringLiteral("Unsigned"), {});
    const struct {
        QString source;
        QStringList extra;
        std::optional<QString> error;
        QStringList productCode;
        QStringList quitCode;
    } cases[] = {
        { signed_, {}, std::nullopt, { "SIGN" }, { "SIGN" } },
        { signed_, { "-quitCode", "AAAA" }, std::nullopt, { "SIGN" }, { "AAAA", "SIGN" } },
        { unsigned_, { "-productCode", "BBBB", "-quitCode", "AAAA" }, std::nullopt, { "BBBB" },
            { "AAAA", "BBBB" } },
        { signed_, { "-productCode", "BBBB" }, std::nullopt, { "BBBB" }, { "BBBB" } },
        { unsigned_, {}, QStringLiteral("missing product signature"), {}, {} },
    };
    for (const auto& c : cases) {
        auto ctl = controller(QStringList { QStringLiteral("-sourcePath"), c.source } + c.extra);
        ctl->readSourceInfo();
        EXPECT_EQ(ctl->completeProductAndQuitCodes(), c.error) << c.extra.join(' ').toStdString();
        EXPECT_EQ(ctl->arguments->value(RZInstallerKeyProductCode).toStringList(), c.productCode);
        EXPECT_EQ(ctl->arguments->value(RZInstallerKeyQuitCode).toStringList(), c.quitCode);
    }
    EXPECT_TRUE(log.lines().filter(QStringLiteral("Updated arguments: {")).size() == 4);
}

TEST_F(CompletionTest, DocumentationIsDroppedWhenMissing)
{
    writeFile(dir.filePath(QStringLiteral("doc.html")), "<p>doc</p>");
    auto present = controller(
        { QStringLiteral("-documentationPath"), dir.filePath(QStringLiteral("doc.html")) });
    present->checkDocumentationPath();
    EXPECT_TRUE(present->hasArgument(RZInstallerKeyDocumentationPath));
    auto missing = controller(
        { QStringLiteral("-documentationPath"), dir.filePath(QStringLiteral("gone.html")),
            QStringLiteral("-readMePath"), dir.filePath(QStringLiteral("gone.rtf")) });
    missing->checkDocumentationPath();
    EXPECT_FALSE(missing->hasArgument(RZInstallerKeyDocumentationPath));
    EXPECT_TRUE(missing->hasArgument(RZInstallerKeyReadMePath))
        << "the read-me path is never removed";
}

TEST_F(CompletionTest, SecondExtractDoesNothing)
{
    auto c = controller({ QStringLiteral("-productName"), QStringLiteral("Foo") });
    c->arguments->insert(QStringLiteral("marker"), 1);
    c->extractArguments();
    EXPECT_TRUE(c->hasArgument(QStringLiteral("marker")));
    EXPECT_EQ(log.lines().filter(QStringLiteral("arguments: (")).size(), 1);
}
