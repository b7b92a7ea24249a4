// Sound effects on a real sound server with two null sinks, recorded from their monitors and
// measured with sox: the level follows the volume, the event sink gets the sound and the other
// does not, and with no server the call returns at once.

#include "TestSupport.h"

#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QThread>

#include <csignal>
#include <gtest/gtest.h>

namespace {
const QString kProbe = QStringLiteral(TEST_BINARY_DIR "/test-programs/sound_probe");

class SoundServer : public ::testing::Test {
protected:
    void SetUp() override
    {
        if (QStandardPaths::findExecutable(QStringLiteral("pulseaudio")).isEmpty())
            GTEST_SKIP() << "no pulseaudio";
        env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("XDG_RUNTIME_DIR"), dir.filePath(QStringLiteral("run")));
        env.insert(QStringLiteral("HOME"), dir.filePath(QStringLiteral("home")));
        env.remove(QStringLiteral("PULSE_SERVER"));
        QDir().mkpath(dir.filePath(QStringLiteral("home")));
        QDir().mkpath(dir.filePath(QStringLiteral("run")));
        QFile::setPermissions(dir.filePath(QStringLiteral("run")),
            QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
        ASSERT_EQ(
            runIn({ QStringLiteral("pulseaudio"), QStringLiteral("--daemonize=yes"),
                QStringLiteral("-n"), QStringLiteral("--exit-idle-time=-1"),
                QStringLiteral("--load=module-native-protocol-unix"),
                QStringLiteral(
                    "--load=module-null-sink sink_name=alerts "
                    "sink_properties='device.description=Alerts device.intended_roles=event'"),
                QStringLiteral("--load=module-null-sink sink_name=main "
                               "sink_properties=device.description=Main"),
                QStringLiteral("--load=module-stream-restore") }),
            0);
        for (int i = 0; i < 50 && runIn({ QStringLiteral("pactl"), QStringLiteral("info") }) != 0;
             ++i)
            QThread::msleep(100);
        runIn({ QStringLiteral("pactl"), QStringLiteral("set-default-sink"),
            QStringLiteral("main") });
        tone = dir.filePath(QStringLiteral("tone.wav"));
        QProcess::execute(QStringLiteral("sox"),
            { QStringLiteral("-n"), QStringLiteral("-r"), QStringLiteral("44100"),
                QStringLiteral("-c"), QStringLiteral("2"), QStringLiteral("-b"),
                QStringLiteral("16"), tone, QStringLiteral("synth"), QStringLiteral("1.0"),
                QStringLiteral("sine"), QStringLiteral("1000"), QStringLiteral("vol"),
                QStringLiteral("0.5") });
    }
    void TearDown() override
    {
        const QByteArray pid = readFile(dir.filePath(QStringLiteral("run/pulse/pid"))).trimmed();
        if (!pid.isEmpty())
            ::kill(pid.toInt(), SIGTERM);
    }
    int runIn(const QStringList& command)
    {
        QProcess p;
        p.setProcessEnvironment(env);
        p.start(command.first(), command.mid(1));
        p.waitForFinished(15000);
        return p.exitStatus() == QProcess::NormalExit ? p.exitCode() : -1;
    }
    /// Plays the tone at a volume while both sinks are recorded; returns their peak levels.
    std::pair<double, double> playAndMeasure(const QString& volume)
    {
        auto file = [&](const QString& sink) {
            return dir.filePath(sink + volume + QStringLiteral(".wav"));
        };
        auto record = [&](const QString& sink) {
            auto* p = new QProcess;
            p->setProcessEnvironment(env);
            p->start(QStringLiteral("parecord"),
                { QStringLiteral("--device=") + sink + QStringLiteral(".monitor"),
                    QStringLiteral("--file-format=wav"), file(sink) });
            return p;
        };
        QProcess* alerts = record(QStringLiteral("alerts"));
        QProcess* main = record(QStringLiteral("main"));
        // A monitor needs a lead-in, or the start of the sound is lost: wait until both recordings
        // are really capturing (their files grow), then a little more.
        for (int i = 0; i < 100; ++i) {
            if (QFileInfo(file(QStringLiteral("alerts"))).size() > 32768
                && QFileInfo(file(QStringLiteral("main"))).size() > 32768)
                break;
            QThread::msleep(50);
        }
        QThread::msleep(300);
        EXPECT_EQ(runIn({ kProbe, tone, volume }), 0);
        QThread::msleep(500);
        auto peak = [&](QProcess* p, const QString& sink) {
            ::kill(pid_t(p->processId()), SIGINT);
            p->waitForFinished(5000);
            delete p;
            QProcess sox;
            sox.start(QStringLiteral("sox"),
                { file(sink), QStringLiteral("-n"), QStringLiteral("stat") });
            sox.waitForFinished(10000);
            const QString out = QString::fromUtf8(sox.readAllStandardError());
            const auto line
                = out.split(QLatin1Char('\n')).filter(QStringLiteral("Maximum amplitude"));
            return line.isEmpty() ? -1.0
                                  : line.first().section(QLatin1Char(':'), 1).trimmed().toDouble();
        };
        return { peak(alerts, QStringLiteral("alerts")), peak(main, QStringLiteral("main")) };
    }

    QTemporaryDir dir;
    QProcessEnvironment env;
    QString tone;
};
} // namespace

TEST_F(SoundServer, LevelFollowsTheVolumeOnTheEventSinkOnly)
{
    const auto full = playAndMeasure(QStringLiteral("1.0"));
    const auto quarter = playAndMeasure(QStringLiteral("0.25"));
    EXPECT_NEAR(full.first, 0.5, 0.05) << "the event sink plays the tone";
    EXPECT_LT(full.second, 0.01) << "the other sink stays silent";
    EXPECT_NEAR(quarter.first / full.first, 0.25, 0.03)
        << quarter.first << " against " << full.first;
}

TEST_F(SoundServer, NoServerReturnsAtOnce)
{
    QTemporaryDir empty;
    QProcess p;
    QProcessEnvironment none = env;
    none.insert(QStringLiteral("XDG_RUNTIME_DIR"), empty.path());
    p.setProcessEnvironment(none);
    p.start(kProbe, { tone, QStringLiteral("1.0") });
    ASSERT_TRUE(p.waitForFinished(10000));
    EXPECT_EQ(p.exitCode(), 0);
    EXPECT_LT(p.readAllStandardOutput().trimmed().toInt(), 1500);
}
