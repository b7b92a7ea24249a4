// Shell scripts with a time limit, run for real, and file-system type names of real mounts.

#include "RZUtilities.h"
#include "TestSupport.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QThread>

#include <gtest/gtest.h>
#include <signal.h>

namespace {
class ShellScriptTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        // Scratch files go to a folder of the test's own, so that leftovers can be counted.
        m_savedTmp = qgetenv("TMPDIR");
        qputenv("TMPDIR", tmp.path().toLocal8Bit());
    }
    void TearDown() override
    {
        if (m_savedTmp.isEmpty())
            qunsetenv("TMPDIR");
        else
            qputenv("TMPDIR", m_savedTmp);
    }
    QString script(const QString& name, const QByteArray& body)
    {
        const QString path = dir.path() + QLatin1Char('/') + name;
        writeFile(path, "#!/bin/sh\n" + body);
        QFile::setPermissions(path, QFile::permissions(path) | QFileDevice::ExeOwner);
        return path;
    }
    QStringList leftovers() const { return QDir(tmp.path()).entryList(QDir::Files); }

    QTemporaryDir dir;
    QTemporaryDir tmp;
    QByteArray m_savedTmp;
};
} // namespace

TEST_F(ShellScriptTest, OutputOfBothStreamsInTheOrderWritten)
{
    const QString s = script(QStringLiteral("both.sh"),
        "echo one\necho two >&2\necho \"three $1 $#\"\nprintf 'four' >&2\n");
    EXPECT_EQ(RZUtilities::runShellScript(s, QStringList { QStringLiteral("a b") }, 10.0),
        QStringLiteral("one\ntwo\nthree a b 1\nfour"));
    EXPECT_EQ(RZUtilities::runShellScript(s, std::nullopt, 10.0),
        QStringLiteral("one\ntwo\nthree  0\nfour"));
    EXPECT_TRUE(leftovers().isEmpty()) << leftovers().join(' ').toStdString();
}

TEST_F(ShellScriptTest, RunsInTheHomeFolderWithNothingOnItsInput)
{
    const QString s = script(QStringLiteral("where.sh"), "pwd\ncat\necho done\n");
    EXPECT_EQ(RZUtilities::runShellScript(s, std::nullopt, 10.0),
        QDir::homePath() + QStringLiteral("\ndone\n"));
}

TEST_F(ShellScriptTest, ATildeMeansTheHomeFolder)
{
    QTemporaryDir home;
    const QByteArray savedHome = qgetenv("HOME");
    qputenv("HOME", home.path().toLocal8Bit());
    writeFile(home.path() + "/hello.sh", "#!/bin/sh\necho hello\n");
    QFile::setPermissions(
        home.path() + "/hello.sh", QFileDevice::ReadOwner | QFileDevice::ExeOwner);
    EXPECT_EQ(RZUtilities::runShellScript(QStringLiteral("~/hello.sh"), std::nullopt, 10.0),
        QStringLiteral("hello\n"));
    qputenv("HOME", savedHome);
}

TEST_F(ShellScriptTest, AScriptPastItsLimitIsStoppedWithItsOutputSoFar)
{
    LogRecorder log;
    // The script's own child must go too: the whole process group is stopped.
    const QString s = script(QStringLiteral("sleeper.sh"),
        "echo before\nsleep 30 &\necho \"child $!\"\nwait\necho after\n");
    const QString out = RZUtilities::runShellScript(s, QStringList { QStringLiteral("x") }, 0.5);
    // Without the limit the script would have run its 30 s and written "after".
    EXPECT_TRUE(out.startsWith(QStringLiteral("before\nchild "))) << out.toStdString();
    EXPECT_FALSE(out.contains(QStringLiteral("after")));
    EXPECT_TRUE(log.lines().join('\n').contains(QStringLiteral("script timeout: sleeper.sh (")))
        << log.lines().join('\n').toStdString();
    const pid_t child = pid_t(out.section(' ', 1).trimmed().toInt());
    ASSERT_GT(child, 0);
    bool gone = false;
    for (int i = 0; i < 100 && !gone; ++i) {
        gone = ::kill(child, 0) != 0;
        if (!gone) {
            // A zombie child of the stopped shell counts as gone once its state says so.
            QFile stat(QStringLiteral("/proc/%1/stat").arg(child));
            gone = stat.open(QIODevice::ReadOnly) && stat.readAll().contains(") Z ");
        }
        if (!gone)
            QThread::msleep(50);
    }
    EXPECT_TRUE(gone) << "the script's child still runs";
    EXPECT_TRUE(leftovers().isEmpty());
}

TEST_F(ShellScriptTest, ScriptsThatCannotStartSayWhy)
{
    const QString notExecutable = dir.path() + "/plain.sh";
    writeFile(notExecutable, "echo never\n");
    const struct {
        QString path;
        QString expected;
    } cases[] = {
        { dir.path() + "/missing.sh", "script missing.sh failed: launch path not accessible" },
        { notExecutable, "script plain.sh failed: launch path not accessible" },
        { dir.path(),
            "script " + QFileInfo(dir.path()).fileName() + " failed: launch path not accessible" },
    };
    for (const auto& c : cases)
        EXPECT_EQ(RZUtilities::runShellScript(c.path, std::nullopt, 1.0), c.expected);
    EXPECT_TRUE(leftovers().isEmpty()) << leftovers().join(' ').toStdString();
}

TEST_F(ShellScriptTest, OutputThatIsNotUtf8GivesNoText)
{
    const QString s = script(QStringLiteral("latin1.sh"), "printf 'caf\\351\\n'\n");
    const QString out = RZUtilities::runShellScript(s, std::nullopt, 10.0);
    EXPECT_TRUE(out.isNull());
    const QString empty = script(QStringLiteral("quiet.sh"), "exit 3\n");
    EXPECT_FALSE(RZUtilities::runShellScript(empty, std::nullopt, 10.0).isNull());
}

TEST(FileSystemType, NamesOfRealMountsAndTheErrorLine)
{
    LogRecorder log;
    // An independent reading of the mount table.
    auto findmnt = [](const QString& path) {
        QProcess p;
        p.start(QStringLiteral("findmnt"),
            { QStringLiteral("-n"), QStringLiteral("-o"), QStringLiteral("FSTYPE"),
                QStringLiteral("--target"), path });
        p.waitForFinished(5000);
        // An over-mounted path lists each mount; the last one is what the path shows.
        return QString::fromUtf8(p.readAllStandardOutput())
            .trimmed()
            .section(QLatin1Char('\n'), -1);
    };
    for (const char* path : { "/", "/proc", "/dev/shm" }) {
        const QString p = QString::fromLatin1(path);
        const QString expected = findmnt(p);
        if (expected.isEmpty())
            continue;
        EXPECT_EQ(RZUtilities::fileSystemTypeFor(p), expected) << path;
    }
    EXPECT_EQ(RZUtilities::fileSystemTypeFor(QStringLiteral("/proc")), QStringLiteral("proc"));
    EXPECT_TRUE(log.contains(QStringLiteral("FS Info /proc")));
    EXPECT_TRUE(log.contains(QStringLiteral("statfs err = 0")));

    log.clear();
    EXPECT_EQ(RZUtilities::fileSystemTypeFor(QStringLiteral("/no/such/path")), QString());
    EXPECT_EQ(log.lines(),
        QStringList(
            { QStringLiteral("FS Info /no/such/path"), QStringLiteral("statfs err = -1") }));
}

TEST(OpenFile, StartsABundleDetachedAndRaisesWhenTheCommandCannotStart)
{
    QTemporaryDir dir;
    const QString bundle = makeBundle(dir.path(), QStringLiteral("Opened"),
        { { QStringLiteral("CFBundleSignature"), QStringLiteral("OPND") } },
        QStringLiteral(TEST_BINARY_DIR "/test-programs/fakeapp"));
    const QString exe = bundle + QStringLiteral("/Contents/Linux/Opened");
    RZUtilities::openFile(bundle);
    auto running = [&exe] {
        QProcess pgrep;
        pgrep.start(QStringLiteral("pgrep"), { QStringLiteral("-f"), QStringLiteral("^") + exe });
        pgrep.waitForFinished(3000);
        return pgrep.exitCode() == 0;
    };
    bool started = false;
    for (int i = 0; i < 100 && !started; ++i) {
        started = running();
        if (!started)
            QThread::msleep(50);
    }
    EXPECT_TRUE(started);
    QProcess::execute(QStringLiteral("pkill"), { QStringLiteral("-f"), QStringLiteral("^") + exe });

    // Anything else goes to xdg-open; without it on the PATH the open raises.
    const QByteArray savedPath = qgetenv("PATH");
    qputenv("PATH", dir.path().toLocal8Bit());
    EXPECT_THROW(
        RZUtilities::openFile(dir.path() + QStringLiteral("/notes.txt")), PlatformException);
    qputenv("PATH", savedPath);
}
