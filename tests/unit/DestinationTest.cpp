// The destination rules: unsupported folders, signatures, login items, the Applications folder,
// the wrapper folder and the display form of paths.

#include "FakeApplicationsFolders.h"
#include "FakeLoginItems.h"
#include "InstallerWinController.h"
#include "Platform/Foundation/DesktopEntry.h"
#include "Platform/Foundation/OSTypeCode.h"
#include "RZInstallerInterface.h"
#include "TestSupport.h"

#include <QDir>
#include <QLabel>
#include <QTemporaryDir>

#include <gtest/gtest.h>

TEST(UnsupportedFolder, BuildFoldersInstallerDisksAndTrash)
{
    const struct {
        const char* path;
        bool unsupported;
    } cases[] = {
        { "/Users/x/qor/proj/build/Release/Foo.app", true },
        { "/home/x/qor/build", true },
        { "/home/x/build/Foo.app", false },
        { "/home/x/qor/Foo.app", false },
        { "/Volumes/Foo-Install/Foo.app", true },
        { "/Volumes/Foo/Foo-Installer.app", true },
        { "/media/x/Foo-Install/Foo.app", false },
        { "/home/x/.local/share/Trash/files/Foo.app", true },
        { "/Users/x/.Trash/Foo.app", true },
        { "/data/.Trash-1000/files/Foo.app", false },
        { "/opt/Foo.app", false },
        { "/home/x/Build/QOR/Foo.app", false },
    };
    for (const auto& c : cases)
        EXPECT_EQ(InstallerWinController::isInUnsupportedFolder(QString::fromLatin1(c.path)),
            c.unsupported)
            << c.path;
    EXPECT_FALSE(InstallerWinController::isInUnsupportedFolder(std::nullopt));
}

TEST(SignatureIsInArray, ExactFourCharacterCodes)
{
    const OSType abcd = UTGetOSTypeFromString(QStringLiteral("ABCD"));
    EXPECT_EQ(abcd, 0x41424344u);
    const struct {
        OSType signature;
        std::optional<QStringList> list;
        bool expected;
    } cases[] = {
        { abcd, QStringList { "XXXX", "ABCD" }, true },
        { abcd, QStringList { "abcd" }, false },
        { abcd, QStringList {}, false },
        { abcd, std::nullopt, false },
        { 0, QStringList { "TOOLONG" },
            true }, // no four-character code gives 0, and 0 is not special
        { 0, QStringList { "" }, true },
        { abcd, QStringList { "ABC" }, false },
    };
    for (const auto& c : cases)
        EXPECT_EQ(InstallerWinController::signatureIsInArray(c.signature, c.list), c.expected)
            << (c.list ? c.list->join(',').toStdString() : "none");
}

class DestinationTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        folders.local = { dir.filePath(QStringLiteral("opt")) };
        folders.user = { dir.filePath(QStringLiteral("home/Applications")) };
        QDir().mkpath(folders.local.first());
        QDir().mkpath(folders.user.first());
        source = makeBundle(dir.filePath(QStringLiteral("Disk")), QStringLiteral("Foo"),
            { { "CFBundleSignature", "FOOO" } });
    }

    QString settle(QStringList args)
    {
        controller = std::make_unique<InstallerWinController>(
            QStringList { QStringLiteral("/p/Installer"), QStringLiteral("-sourcePath"), source,
                QStringLiteral("-productName"), QStringLiteral("Foo") }
            + args);
        controller->extractArguments();
        controller->settleDestination();
        return controller->argument(RZInstallerKeyDestinationPath);
    }

    QTemporaryDir dir;
    FakeApplicationsFolders folders;
    FakeLoginItems loginItems;
    LogRecorder log;
    QString source;
    std::unique_ptr<InstallerWinController> controller;
};

TEST_F(DestinationTest, LoginItemWinsByNamePrefix)
{
    const QString kept = dir.filePath(QStringLiteral("home/Applications/Foobar.app"));
    loginItems.items = { std::nullopt, QStringLiteral("/usr/bin/other"), kept };
    EXPECT_EQ(settle({}), kept);
    EXPECT_TRUE(log.contains(QStringLiteral("autolaunch = ") + kept));

    loginItems.items = { QStringLiteral("/Users/x/.Trash/Foo.app") };
    EXPECT_EQ(settle({}), folders.local.first() + QStringLiteral("/Foo.app"))
        << "a login item in the trash is skipped";
    loginItems.readable = false;
    EXPECT_EQ(settle({}), folders.local.first() + QStringLiteral("/Foo.app"));
    EXPECT_TRUE(log.contains(QStringLiteral("autolaunch = (null)")));
}

TEST_F(DestinationTest, GivenDestinationUnlessItsParentIsMissing)
{
    const QString given = dir.filePath(QStringLiteral("home/Applications/Foo.app"));
    EXPECT_EQ(settle({ QStringLiteral("-destinationPath"), given }), given);
    EXPECT_EQ(controller->pathField->text(), controller->localizedPath(given));
    EXPECT_EQ(settle({ QStringLiteral("-destinationPath"),
                  dir.filePath(QStringLiteral("gone/Foo.app")) }),
        folders.local.first() + QStringLiteral("/Foo.app"));
}

TEST_F(DestinationTest, WrapperMovesTheApplicationIntoAFolderNamedLikeIt)
{
    const QString wrapper = dir.filePath(QStringLiteral("Disk/Foo"));
    QDir().mkpath(wrapper);
    const QString apps = folders.local.first();
    EXPECT_EQ(
        settle({ QStringLiteral("-wrapperPath"), wrapper }), apps + QStringLiteral("/Foo/Foo.app"));
    EXPECT_TRUE(log.contains(QStringLiteral("wrapper = ") + wrapper));
    QDir().mkpath(apps + QStringLiteral("/Foo"));
    EXPECT_EQ(settle({ QStringLiteral("-wrapperPath"), wrapper, QStringLiteral("-destinationPath"),
                  apps + QStringLiteral("/Foo/Foo.app") }),
        apps + QStringLiteral("/Foo/Foo.app"))
        << "not moved twice";

    EXPECT_EQ(
        settle({ QStringLiteral("-wrapperPath"), dir.filePath(QStringLiteral("Disk/Missing")) }),
        apps + QStringLiteral("/Foo.app"));
    EXPECT_FALSE(controller->hasArgument(RZInstallerKeyWrapperPath));
    EXPECT_EQ(settle({ QStringLiteral("-wrapperPath"), QStringLiteral("/tmp") }),
        apps + QStringLiteral("/Foo.app"));
    EXPECT_FALSE(controller->hasArgument(RZInstallerKeyWrapperPath))
        << "a wrapper outside the source's folder is dropped";
}

TEST_F(DestinationTest, ApplicationsFolderFallsBackToTheUsersOnlyWhenItIsWritable)
{
    InstallerWinController c({ QStringLiteral("/p/Installer") });
    EXPECT_EQ(c.applicationsDirectory(), folders.local.first());
    folders.local = { dir.filePath(QStringLiteral("no-such-opt")) };
    EXPECT_EQ(c.applicationsDirectory(), folders.user.first());
    EXPECT_TRUE(
        log.contains(QStringLiteral("Can't write to /Applications, checking ~/Applications")));
    EXPECT_TRUE(
        log.contains(QStringLiteral("User applicationsDirectory: ") + folders.user.first()));
    folders.user = { dir.filePath(QStringLiteral("no-such-home/Applications")) };
    EXPECT_EQ(c.applicationsDirectory(), folders.local.first())
        << "a missing user folder keeps the local one";
    folders.user.clear();
    EXPECT_EQ(c.applicationsDirectory(), folders.local.first());
}

TEST_F(DestinationTest, WriteTestsWalkUpToTheNearestFolder)
{
    InstallerWinController c({ QStringLiteral("/p/Installer") });
    const QString apps = folders.local.first();
    EXPECT_TRUE(c.canWriteToPath(apps + QStringLiteral("/New Folder/Deeper/Foo.app")));
    EXPECT_TRUE(c.canWriteToDirectory(apps));
    EXPECT_TRUE(QDir(apps).entryList(QDir::NoDotAndDotDot | QDir::AllEntries).isEmpty())
        << "the probe file is removed";
    EXPECT_FALSE(c.canWriteToDirectory(dir.filePath(QStringLiteral("missing"))));
    writeFile(apps + QStringLiteral("/file"), "x");
    EXPECT_TRUE(c.canWriteToFile(apps + QStringLiteral("/file")));
    EXPECT_FALSE(c.canWriteToFile(apps + QStringLiteral("/nofile")));
    EXPECT_FALSE(c.canWriteToFileOrDirectory(apps + QStringLiteral("/nofile")));
    EXPECT_FALSE(c.canWriteToPath(QStringLiteral("/proc/1/Foo.app")));
    EXPECT_TRUE(log.contains(QStringLiteral("Cannot write to folder /proc/1")));
}

TEST_F(DestinationTest, DisplayPathsAbbreviateHomeAndHideBundleExtensions)
{
    InstallerWinController c({ QStringLiteral("/p/Installer") });
    QDir().mkpath(QDir::homePath() + QStringLiteral("/Applications/ZzDisplay.app"));
    EXPECT_EQ(c.localizedPath(QDir::homePath() + QStringLiteral("/Applications/ZzDisplay.app")),
        QStringLiteral("~/Applications/ZzDisplay"));
    QDir(QDir::homePath() + QStringLiteral("/Applications/ZzDisplay.app")).removeRecursively();
    EXPECT_EQ(c.localizedPath(QStringLiteral("/opt/Foo.app")), QStringLiteral("/opt/Foo.app"))
        << "not a bundle on disk";
    EXPECT_EQ(c.localizedPath(QStringLiteral("/")), QStringLiteral("/"));
    EXPECT_EQ(c.localizedPath(source), source.left(source.size() - 4));
}

TEST(DesktopEntryExec, QuotingAndFieldCodes)
{
    const struct {
        const char* exec;
        std::optional<QStringList> words;
    } cases[] = {
        { "foo --bar %U", QStringList { "foo", "--bar" } },
        { "\"/opt/My App.app/Contents/Linux/My App\" %f",
            QStringList { "/opt/My App.app/Contents/Linux/My App" } },
        { "sh -c \"echo \\\"hi\\\" \\$HOME\"", QStringList { "sh", "-c", "echo \"hi\" $HOME" } },
        { "printf 100%%", QStringList { "printf", "100%" } },
        { "\"unterminated", std::nullopt },
        { "bad %z", std::nullopt },
        { "", QStringList {} },
    };
    for (const auto& c : cases)
        EXPECT_EQ(DesktopEntry::splitExec(QString::fromUtf8(c.exec)), c.words) << c.exec;
}

TEST(XdgAutostart, EntriesInFileNameOrderResolvedToTheirBundles)
{
    QTemporaryDir dir;
    const QString autostart = dir.filePath(QStringLiteral("config/autostart"));
    const QString bundle = makeBundle(dir.path(), QStringLiteral("Kept App"), {});
    const QString exe = bundle + QStringLiteral("/Contents/Linux/Kept App");
    writeFile(autostart + QStringLiteral("/a-hidden.desktop"),
        "[Desktop Entry]\nType=Application\nExec=/bin/sh\nHidden=true\n");
    writeFile(autostart + QStringLiteral("/b-disabled.desktop"),
        "[Desktop Entry]\nExec=/bin/sh\nX-GNOME-Autostart-enabled=false\n");
    writeFile(autostart + QStringLiteral("/c-tryexec.desktop"),
        "[Desktop Entry]\nExec=/bin/sh\nTryExec=no-such-program-here\n");
    writeFile(
        autostart + QStringLiteral("/d-broken.desktop"), "[Desktop Entry]\nExec=\"unterminated\n");
    writeFile(
        autostart + QStringLiteral("/e-garbage.desktop"), QByteArray("\x00\xff\xfe garbage", 11));
    writeFile(autostart + QStringLiteral("/f-bundle.desktop"),
        "[Desktop Entry]\nType=Application\nExec=\"" + exe.toUtf8() + "\" --autostart %U\n");
    writeFile(autostart + QStringLiteral("/g-path.desktop"), "[Desktop Entry]\nExec=sh -c true\n");
    writeFile(autostart + QStringLiteral("/h-other.txt"), "[Desktop Entry]\nExec=/bin/sh\n");

    qputenv("XDG_CONFIG_HOME", dir.filePath(QStringLiteral("config")).toUtf8());
    const auto items = LoginItems::shared().snapshot();
    qunsetenv("XDG_CONFIG_HOME");
    ASSERT_TRUE(items.has_value());
    ASSERT_EQ(items->size(), 4);
    EXPECT_FALSE(items->at(0).has_value()) << "broken quoting does not resolve";
    EXPECT_FALSE(items->at(1).has_value()) << "a file without a group does not resolve";
    EXPECT_EQ(items->at(2), bundle);
    EXPECT_EQ(items->at(3), findExecutable(QStringLiteral("sh")));
}
