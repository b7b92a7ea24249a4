// The real built Installer.app, started as a child process: where its log goes, what it parsed,
// the setup error of a product without a signature, and a bundle moved to another folder.

#include "TestSupport.h"

#include <QDir>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

class InstallerRun : public ::testing::Test {
protected:
    QTemporaryDir dir;
    QString state() const { return dir.filePath(QStringLiteral("state")); }
    QString logPath() const { return state() + QStringLiteral("/VelkaroInstaller.log"); }

    QProcessEnvironment environment() const
    {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
        env.insert(QStringLiteral("HOME"), dir.filePath(QStringLiteral("home")));
        env.insert(QStringLiteral("XDG_STATE_HOME"), state());
        env.insert(QStringLiteral("XDG_RUNTIME_DIR"), dir.filePath(QStringLiteral("run")));
        env.remove(QStringLiteral("DISPLAY"));
        QDir().mkpath(dir.filePath(QStringLiteral("home")));
        QDir().mkpath(dir.filePath(QStringLiteral("run")));
        return env;
    }

    /// Starts the installer, waits until its log (file or stderr) shows `until`, then ends it.
    QString run(const QString& installer, const QStringList& args, const QString& until,
        bool toFile = true, int times = 1)
    {
        QProcess p;
        p.setProcessEnvironment(environment());
        p.start(installer, args);
        EXPECT_TRUE(p.waitForStarted(5000));
        QString seen;
        for (int i = 0; i < 400 && seen.count(until) < times; ++i) {
            p.waitForReadyRead(50);
            seen = toFile ? QString::fromUtf8(readFile(logPath()))
                          : seen + QString::fromUtf8(p.readAllStandardError());
        }
        p.terminate();
        if (!p.waitForFinished(5000)) {
            p.kill();
            p.waitForFinished(5000);
        }
        return seen;
    }
};

const QString kInstaller = QStringLiteral(INSTALLER_APP "/Contents/Linux/Installer");

} // namespace

TEST_F(InstallerRun, ArgumentsAreLoggedToTheAppendedLogFile)
{
    const QString product = makeBundle(
        dir.path(), QStringLiteral("NoSig"), { { "CFBundleShortVersionString", "1.5" } });
    const QStringList args { QStringLiteral("-sourcePath"), product, QStringLiteral("-quitCode"),
        QStringLiteral("QQQQ") };

    const QString first = run(kInstaller, args, QStringLiteral("missing product signature"));
    EXPECT_TRUE(first.contains(QStringLiteral("] arguments: (\n")));
    EXPECT_TRUE(
        first.contains(QStringLiteral("    -sourcePath,\n    ") + product + QStringLiteral(",\n")));
    EXPECT_TRUE(first.contains(QStringLiteral("] missing product signature\n")));
    const QRegularExpression prefix(
        QStringLiteral(
            "^\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d\\.\\d{3} Installer\\[\\d+:\\d+\\] "),
        QRegularExpression::MultilineOption);
    // Every line that starts an entry carries the platform's prefix.
    const QRegularExpression entryStart(
        QStringLiteral("^\\d"), QRegularExpression::MultilineOption);
    EXPECT_GE(first.count(prefix), 3);
    EXPECT_EQ(first.count(prefix), first.count(entryStart)) << first.toStdString();

    // Once the second run's line is there, the log holds both runs.
    const QString both
        = run(kInstaller, args, QStringLiteral("missing product signature\n"), true, 2);
    EXPECT_EQ(both.count(QStringLiteral("] arguments: (")), 2) << "the second run appends";
    EXPECT_TRUE(both.startsWith(first.left(40)));
}

TEST_F(InstallerRun, DirectInvocationLeavesTheStreamsAlone)
{
    const QString err = run(kInstaller, {}, QStringLiteral("direct invocation"), false);
    EXPECT_TRUE(err.contains(QStringLiteral("] direct invocation")));
    EXPECT_FALSE(QFile::exists(logPath()));
}

TEST_F(InstallerRun, AMovedBundleInsideAProductInstallsThatProduct)
{
    const QString product
        = makeBundle(dir.path(), QStringLiteral("Prod"), { { "CFBundleSignature", "PROD" } });
    const QString moved = product + QStringLiteral("/Contents/Resources/Installer.app");
    QDir().mkpath(product + QStringLiteral("/Contents/Resources"));
    ASSERT_EQ(QProcess::execute(QStringLiteral("cp"),
                  { QStringLiteral("-a"), QStringLiteral(INSTALLER_APP), moved }),
        0);
    // Three words so that the log goes to the file; none of them names the source.
    const QString log = run(moved + QStringLiteral("/Contents/Linux/Installer"),
        { QStringLiteral("-completionQuit"), QStringLiteral("0") },
        QStringLiteral("Updated arguments"));
    EXPECT_TRUE(log.contains(
        QStringLiteral("shortened path = ") + product + QStringLiteral("/Contents\n")));
    EXPECT_TRUE(log.contains(QStringLiteral("sourcePath = \"") + product + QStringLiteral("\";"))
        || log.contains(QStringLiteral("sourcePath = ") + product + QStringLiteral(";")))
        << log.toStdString();
    EXPECT_TRUE(log.contains(QStringLiteral("productName = Prod;")));
}
