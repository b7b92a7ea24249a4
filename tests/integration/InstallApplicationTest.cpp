// The copy on real files: byte-exact trees, an old copy replaced and found in the Trash by other
// programs, the results when the trash or the copy fails, stale staging folders, desktop entries.

#include "InstallApplication.h"
#include "Platform/Workspace.h"
#include "TestSupport.h"

#include <QDir>
#include <QProcess>
#include <QTemporaryDir>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {
QByteArray b(const QString& s)
{
    return QFile::encodeName(s);
}

/// A bundle with the awkward things a copy must keep.
QString oddBundle(const QString& parent, const QString& version)
{
    const QString app = makeBundle(parent, QStringLiteral("Odd Name"),
        { { "CFBundleShortVersionString", version }, { "CFBundleSignature", "ODDS" } });
    const QString res = app + QStringLiteral("/Contents/Resources");
    QDir().mkpath(res);
    writeFile(res + QStringLiteral("/data.bin"), QByteArray(300000, 'x') + version.toUtf8());
    ::symlink("data.bin", b(res + QStringLiteral("/link")).constData());
    ::symlink("missing-target", b(res + QStringLiteral("/dangling")).constData());
    ::symlink("loop", b(res + QStringLiteral("/loop")).constData());
    const QByteArray latin1 = b(res) + "/caf\xe9.txt"; // not valid UTF-8
    const int fd = ::open(latin1.constData(), O_WRONLY | O_CREAT, 0640);
    ::write(fd, "latin1", 6);
    ::close(fd);
    writeFile(res + QStringLiteral("/tool"), "#!/bin/sh\n");
    ::chmod(b(res + QStringLiteral("/tool")).constData(), 04751);
    QDir().mkpath(res + QStringLiteral("/readonly"));
    ::chmod(b(res + QStringLiteral("/readonly")).constData(), 0555);
    const timespec old[2] = { { 1000000000, 0 }, { 1000000000, 0 } };
    ::utimensat(
        AT_FDCWD, b(res + QStringLiteral("/data.bin")).constData(), old, AT_SYMLINK_NOFOLLOW);
    return app;
}

QString treeListing(const QString& root)
{
    QProcess find;
    find.setWorkingDirectory(root);
    find.start(QStringLiteral("find"),
        { QStringLiteral("."), QStringLiteral("-printf"), QStringLiteral("%p %y %m %s %T@ %l\n") });
    find.waitForFinished(10000);
    QStringList lines = QString::fromLatin1(find.readAllStandardOutput()).split(QLatin1Char('\n'));
    lines.sort();
    // Folder sizes and the root's own time depend on the file system, not on the copy.
    for (QString& line : lines) {
        QStringList f = line.split(QLatin1Char(' '));
        if (f.size() > 3 && f[1] == QStringLiteral("d"))
            f[3] = QStringLiteral("-");
        line = f.join(QLatin1Char(' '));
    }
    return lines.join(QLatin1Char('\n'));
}

class InstallApplicationTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        qputenv("XDG_DATA_HOME", b(dir.filePath(QStringLiteral("data"))));
        QDir().mkpath(dir.filePath(QStringLiteral("data")));
        QDir().mkpath(dir.filePath(QStringLiteral("Apps")));
        destination = dir.filePath(QStringLiteral("Apps/Odd Name.app"));
    }
    void TearDown() override { qunsetenv("XDG_DATA_HOME"); }
    /// Installs version 1.0 of the odd bundle and makes version 2.0 beside it.
    void installV1()
    {
        v1 = oddBundle(dir.filePath(QStringLiteral("v1")), QStringLiteral("1.0"));
        v2 = oddBundle(dir.filePath(QStringLiteral("v2")), QStringLiteral("2.0"));
        ASSERT_EQ(InstallApplication(v1, destination, std::nullopt), 0);
    }
    QStringList appsEntries()
    {
        return QDir(dir.filePath(QStringLiteral("Apps")))
            .entryList(QDir::Hidden | QDir::AllEntries | QDir::NoDotAndDotDot);
    }
    QString apps(const char* path) { return dir.filePath(QStringLiteral("Apps/")) + path; }
    QString trashList()
    {
        QProcess p;
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        p.setProcessEnvironment(env);
        p.start(QStringLiteral("trash-list"), {});
        p.waitForFinished(20000);
        return QString::fromUtf8(p.readAllStandardOutput());
    }

    QTemporaryDir dir;
    QString destination, v1, v2;
    LogRecorder log;
};
} // namespace

TEST_F(InstallApplicationTest, ByteExactCopyThenReplaceWithTheOldOneInTheTrash)
{
    ASSERT_NO_FATAL_FAILURE(installV1());
    EXPECT_EQ(treeListing(destination), treeListing(v1));

    ASSERT_EQ(InstallApplication(v2, destination, std::nullopt), 0);
    EXPECT_EQ(treeListing(destination), treeListing(v2));
    EXPECT_TRUE(
        readFile(destination + QStringLiteral("/Contents/Resources/data.bin")).endsWith("2.0"));
    const QString trashed = dir.filePath(QStringLiteral("data/Trash/files/Odd Name.app"));
    EXPECT_EQ(treeListing(trashed), treeListing(v1)) << "the old copy is whole in the Trash";
    EXPECT_TRUE(trashList().contains(destination)) << trashList().toStdString();
    EXPECT_EQ(appsEntries(), QStringList { QStringLiteral("Odd Name.app") })
        << "no staging folder is left";
}

TEST_F(InstallApplicationTest, TrashRefusedPutsTheOldCopyBack)
{
    ASSERT_NO_FATAL_FAILURE(installV1());
    InstallOptions refuse;
    refuse.trash = [](const QString&, const QString&) { return false; };
    EXPECT_EQ(InstallApplication(v2, destination, std::nullopt, refuse), 1);
    EXPECT_EQ(treeListing(destination), treeListing(v1));
    EXPECT_TRUE(log.contains(
        QStringLiteral("ERROR -- Could not trash '") + destination + QStringLiteral("'")));
    EXPECT_TRUE(log.contains(QStringLiteral("ERROR -- Could not trash existing ") + destination));
    EXPECT_EQ(appsEntries().size(), 1);
}

TEST_F(InstallApplicationTest, RefusedItemsFailTheCopyAndLeaveTheOldCopy)
{
    ASSERT_NO_FATAL_FAILURE(installV1());
    ASSERT_EQ(::mkfifo(b(v2 + QStringLiteral("/Contents/Resources/pipe")).constData(), 0600), 0);
    EXPECT_EQ(InstallApplication(v2, destination, std::nullopt), 2);
    EXPECT_EQ(treeListing(destination), treeListing(v1));
    EXPECT_TRUE(log.contains(QStringLiteral("ERROR -- Could not copy myself to ") + destination));
    EXPECT_EQ(
        InstallApplication(dir.filePath(QStringLiteral("nothing.app")), destination, std::nullopt),
        2);
    EXPECT_EQ(treeListing(destination), treeListing(v1));
}

TEST_F(InstallApplicationTest, AStagingFolderLeftByAKilledRunGoesToTheTrash)
{
    v1 = oddBundle(dir.filePath(QStringLiteral("v1")), QStringLiteral("1.0"));
    const QString stale
        = apps(stagingPrefix("Odd Name.app").constData()) + QStringLiteral("999999-abc");
    QDir().mkpath(stale + QStringLiteral("/Contents"));
    ASSERT_EQ(InstallApplication(v1, destination, std::nullopt), 0);
    EXPECT_FALSE(QFileInfo::exists(stale));
    EXPECT_TRUE(
        QFileInfo::exists(dir.filePath(QStringLiteral("data/Trash/files/Odd Name.app/Contents"))))
        << "kept, never deleted";
}

TEST_F(InstallApplicationTest, WrapperItemsOneByOneOrTheWholeFolder)
{
    const QString wrapper = dir.filePath(QStringLiteral("Disk/Foo"));
    writeFile(wrapper + QStringLiteral("/Plugins/plugin.txt"), "new plugin");
    writeFile(wrapper + QStringLiteral("/Read Me.txt"), "read me");
    const QString app = makeBundle(dir.filePath(QStringLiteral("Disk")), QStringLiteral("Foo"), {});

    // A missing target folder gets the whole wrapper.
    EXPECT_EQ(InstallApplication(app, apps("Foo/Foo.app"), wrapper), 0);
    EXPECT_EQ(readFile(apps("Foo/Read Me.txt")), QByteArray("read me"));
    EXPECT_TRUE(QFileInfo::exists(apps("Foo/Foo.app/Contents/Info.plist")));

    // An existing one has each item replaced; others stay.
    writeFile(apps("Foo/Plugins/old.txt"), "old");
    writeFile(apps("Foo/mine.txt"), "mine");
    writeFile(wrapper + QStringLiteral("/Read Me.txt"), "read me 2");
    EXPECT_EQ(InstallApplication(app, apps("Foo/Foo.app"), wrapper), 0);
    EXPECT_EQ(readFile(apps("Foo/Read Me.txt")), QByteArray("read me 2"));
    EXPECT_FALSE(QFileInfo::exists(apps("Foo/Plugins/old.txt")))
        << "an existing item is replaced whole";
    EXPECT_TRUE(QFileInfo::exists(apps("Foo/mine.txt")));

    ::mkfifo(b(wrapper + QStringLiteral("/fifo")).constData(), 0600);
    EXPECT_EQ(InstallApplication(app, apps("Foo/Foo.app"), wrapper), 2);
    EXPECT_TRUE(log.contains(
        QStringLiteral("ERROR -- Could not copy auxiliary item to ") + apps("Foo/fifo")));
}

TEST_F(InstallApplicationTest, DesktopEntryIsValidAndReplacedNotDuplicated)
{
    const QString app
        = makeBundle(dir.filePath(QStringLiteral("Apps")), QStringLiteral("My \"App\" $1"),
            { { "CFBundleIdentifier", "com.test.my-app" }, { "CFBundleName", "My App" } });
    Workspace& workspace = Workspace::shared();
    ASSERT_EQ(workspace.lsRegisterURL(app, true), noErr);
    ASSERT_EQ(workspace.lsRegisterURL(app, true), noErr);
    const QString folder = dir.filePath(QStringLiteral("data/applications"));
    EXPECT_EQ(QDir(folder).entryList({ QStringLiteral("*.desktop") }),
        QStringList { QStringLiteral("com.test.my-app.desktop") });
    const QString entry = folder + QStringLiteral("/com.test.my-app.desktop");
    EXPECT_EQ(QProcess::execute(QStringLiteral("desktop-file-validate"), { entry }), 0)
        << readFile(entry).toStdString();
    EXPECT_TRUE(
        readFile(entry).contains("Exec=\"" + b(app).replace("\"", "\\\"").replace("$", "\\$")
            + "/Contents/Linux/My \\\"App\\\" \\$1\""))
        << readFile(entry).toStdString();
    EXPECT_EQ(workspace.displayNameAtPath(app), QStringLiteral("My \"App\" $1"));
}
