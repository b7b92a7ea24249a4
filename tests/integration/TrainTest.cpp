// The privileged tool under attack: hostile argument vectors are refused without touching
// anything, and a destination folder flipped between a real folder and a link to a canary folder
// while it copies never gets anything written into the canary.

#include "TestSupport.h"

#include <QDir>
#include <QProcess>
#include <QTemporaryDir>

#include <atomic>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdio.h>
#include <thread>
#include <unistd.h>

namespace {
const QString kTrain = QStringLiteral(INSTALLER_APP "/Contents/Resources/train");

int runTrain(const QStringList& args)
{
    QProcess p;
    QProcessEnvironment env;
    env.insert(QStringLiteral("PKEXEC_UID"), QString::number(::getuid()));
    p.setProcessEnvironment(env);
    p.start(kTrain, args);
    p.waitForFinished(60000);
    return p.exitStatus() == QProcess::NormalExit ? p.exitCode() : -1;
}
} // namespace

TEST(Train, HostileArgumentsAreRefused)
{
    QTemporaryDir dir;
    const QString app = makeBundle(dir.path(), QStringLiteral("Foo"), {});
    const QString apps = dir.filePath(QStringLiteral("apps"));
    QDir().mkpath(apps);
    QDir().mkpath(dir.filePath(QStringLiteral("real")));
    ::symlink(QFile::encodeName(dir.filePath(QStringLiteral("real"))).constData(),
        QFile::encodeName(dir.filePath(QStringLiteral("linked"))).constData());
    const QString good = apps + QStringLiteral("/Foo.app");
    const struct {
        const char* what;
        QStringList args;
    } cases[] = {
        { "no arguments", {} },
        { "one argument", { app } },
        { "four arguments", { app, good, apps, apps } },
        { "relative source", { QStringLiteral("Foo.app"), good } },
        { "relative destination", { app, QStringLiteral("apps/Foo.app") } },
        { "dot-dot", { app, apps + QStringLiteral("/../apps/Foo.app") } },
        { "dot", { app, apps + QStringLiteral("/./Foo.app") } },
        { "double slash", { app, apps + QStringLiteral("//Foo.app") } },
        { "newline", { app, apps + QStringLiteral("/Foo\n.app") } },
        { "control character", { app, apps + QStringLiteral("/Foo\x01.app") } },
        { "over-long", { app, apps + QLatin1Char('/') + QString(5000, QLatin1Char('x')) } },
        { "missing destination folder", { app, dir.filePath(QStringLiteral("none/Foo.app")) } },
        { "missing source", { dir.filePath(QStringLiteral("none.app")), good } },
        { "symlinked destination folder", { app, dir.filePath(QStringLiteral("linked/Foo.app")) } },
    };
    for (const auto& c : cases) {
        const int rc = runTrain(c.args);
        EXPECT_NE(rc, 0) << c.what;
        EXPECT_NE(rc, 126) << c.what;
        EXPECT_NE(rc, 127) << c.what;
    }
    EXPECT_TRUE(QDir(apps).isEmpty());
    EXPECT_TRUE(QDir(dir.filePath(QStringLiteral("real"))).isEmpty()) << "nothing through the link";
    EXPECT_EQ(runTrain({ app, good }), 0) << "the plain case works";
    EXPECT_TRUE(QFileInfo::exists(good + QStringLiteral("/Contents/Info.plist")));
}

TEST(Train, AFolderFlippedToALinkNeverRedirectsTheCopy)
{
    QTemporaryDir dir;
    const QString app = makeBundle(dir.path(), QStringLiteral("Foo"), {});
    for (int i = 0; i < 40; ++i)
        writeFile(app + QStringLiteral("/Contents/Resources/f%1").arg(i), QByteArray(20000, 'x'));
    const QString canary = dir.filePath(QStringLiteral("canary"));
    const QString flip = dir.filePath(QStringLiteral("flip"));
    QDir().mkpath(canary + QStringLiteral("/apps"));
    QDir().mkpath(flip + QStringLiteral("/apps")); // a real folder ...
    const QByteArray flipPath = QFile::encodeName(flip), otherPath = flipPath + ".other";
    ::symlink(QFile::encodeName(canary).constData(),
        otherPath.constData()); // ... and a link to the canary

    // The path component "flip" keeps changing between the real folder and the link.
    std::atomic<bool> stop { false };
    std::thread flipper([&] {
        while (!stop)
            ::renameat2(
                AT_FDCWD, flipPath.constData(), AT_FDCWD, otherPath.constData(), RENAME_EXCHANGE);
    });
    int copied = 0;
    for (int i = 0; i < 40; ++i) {
        if (runTrain({ app, flip + QStringLiteral("/apps/Foo.app") }) == 0)
            ++copied;
    }
    stop = true;
    flipper.join();
    EXPECT_TRUE(QDir(canary + QStringLiteral("/apps")).isEmpty())
        << "nothing was ever written into the canary";
    RecordProperty("copied", copied);
}
