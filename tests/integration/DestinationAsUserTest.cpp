// Write access as an ordinary user (root may write everywhere): unwritable Applications folder,
// missing ~/Applications, a destination below a missing folder, a read-only mount.

#include "TestSupport.h"

#include <QDir>
#include <QProcess>
#include <QTemporaryDir>
#include <QThread>

#include <gtest/gtest.h>
#include <unistd.h>

namespace {
const char* kUser = "instprobe";

class AsUser : public ::testing::Test {
protected:
    void SetUp() override
    {
        if (::geteuid() != 0)
            GTEST_SKIP() << "needs root to create a user";
        // The tests of this file may run at once: useradd takes a lock, so whoever loses waits
        // for the other to finish creating the user.
        for (int i = 0; i < 100
             && QProcess::execute(QStringLiteral("id"), { QString::fromLatin1(kUser) }) != 0;
             ++i) {
            QProcess::execute(
                QStringLiteral("useradd"), { QStringLiteral("-m"), QString::fromLatin1(kUser) });
            QThread::msleep(50);
        }
        ASSERT_EQ(QProcess::execute(QStringLiteral("id"), { QString::fromLatin1(kUser) }), 0);
        home = QStringLiteral("/home/") + QString::fromLatin1(kUser);
        QDir(home + QStringLiteral("/Applications")).removeRecursively();
        dir.setAutoRemove(true);
        QFile::setPermissions(dir.path(),
            QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner
                | QFileDevice::ReadOther | QFileDevice::ExeOther);
    }

    /// Runs the probe as the ordinary user; returns its answer, and its log in `log`.
    QString probe(const QStringList& args, QString* log = nullptr)
    {
        QProcess p;
        p.start(QStringLiteral("setpriv"),
            QStringList { QStringLiteral("--reuid=") + QString::fromLatin1(kUser),
                QStringLiteral("--regid=") + QString::fromLatin1(kUser),
                QStringLiteral("--init-groups"), QStringLiteral("--reset-env"),
                QStringLiteral(TEST_BINARY_DIR "/test-programs/destination_probe") }
                + args);
        p.waitForFinished(20000);
        if (log)
            *log = QString::fromUtf8(p.readAllStandardError());
        return QString::fromUtf8(p.readAllStandardOutput()).trimmed();
    }

    QTemporaryDir dir;
    QString home;
};
} // namespace

TEST_F(AsUser, UnwritableOptAndMissingUserFolderKeepOpt)
{
    QString log;
    EXPECT_EQ(probe({ QStringLiteral("applicationsDirectory") }, &log), QStringLiteral("/opt"));
    EXPECT_TRUE(
        log.contains(QStringLiteral("Can't write to /Applications, checking ~/Applications")));
    EXPECT_TRUE(log.contains(
        QStringLiteral("User applicationsDirectory: ") + home + QStringLiteral("/Applications")));

    QProcess::execute(QStringLiteral("runuser"),
        { QStringLiteral("-u"), QString::fromLatin1(kUser), QStringLiteral("--"),
            QStringLiteral("mkdir"), home + QStringLiteral("/Applications") });
    EXPECT_EQ(
        probe({ QStringLiteral("applicationsDirectory") }), home + QStringLiteral("/Applications"));
    QDir(home + QStringLiteral("/Applications")).removeRecursively();
}

TEST_F(AsUser, WriteTestsFollowThePermissionsOfTheNearestFolder)
{
    QString log;
    EXPECT_EQ(probe({ QStringLiteral("canWriteToPath"), QStringLiteral("/opt/New Folder/Foo.app") },
                  &log),
        QStringLiteral("NO"));
    EXPECT_TRUE(log.contains(QStringLiteral("Cannot write to folder /opt")));
    EXPECT_EQ(probe({ QStringLiteral("canWriteToPath"),
                  home + QStringLiteral("/Missing/Deeper/Foo.app") }),
        QStringLiteral("YES"));
    EXPECT_EQ(
        probe({ QStringLiteral("canWriteToFileOrDirectory"), home + QStringLiteral("/Missing") }),
        QStringLiteral("NO"));

    // An existing item the user cannot write, in a folder it can.
    const QString owned = home + QStringLiteral("/RootOwned.app");
    QDir().mkpath(owned);
    EXPECT_EQ(probe({ QStringLiteral("canWriteToPath"), owned }, &log), QStringLiteral("NO"));
    EXPECT_TRUE(log.contains(QStringLiteral("Cannot write to item ") + owned));
    QDir(owned).removeRecursively();
}

TEST_F(AsUser, ReadOnlyMountIsNotWritable)
{
    const QString mount = dir.filePath(QStringLiteral("ro"));
    QDir().mkpath(mount);
    if (QProcess::execute(QStringLiteral("mount"),
            { QStringLiteral("-t"), QStringLiteral("tmpfs"), QStringLiteral("-o"),
                QStringLiteral("size=1m,mode=0777"), QStringLiteral("none"), mount })
        != 0)
        GTEST_SKIP() << "cannot mount a tmpfs here";
    EXPECT_EQ(probe({ QStringLiteral("canWriteToPath"), mount + QStringLiteral("/Foo.app") }),
        QStringLiteral("YES"));
    ASSERT_EQ(QProcess::execute(QStringLiteral("mount"),
                  { QStringLiteral("-o"), QStringLiteral("remount,ro"), mount }),
        0);
    EXPECT_EQ(probe({ QStringLiteral("canWriteToPath"), mount + QStringLiteral("/Foo.app") }),
        QStringLiteral("NO"));
    QProcess::execute(QStringLiteral("umount"), { mount });
}
