// The sound catalog on temporary folders, the alert-volume curve, the settings file, the warm-up
// window in virtual time, and playback's device choice and log lines against a fake server.

#include "FakeAudioOutput.h"
#include "FakeClock.h"
#include "Platform/Foundation/Bundle.h"
#include "Platform/Foundation/PropertyList.h"
#include "SoundExtensions.h"
#include "TestSupport.h"

#include <QProcess>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

class SoundTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        NSSound::resetForTesting();
        QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope,
            dir.filePath(QStringLiteral("settings")));
        Bundle::setMainBundlePathForTesting(dir.filePath(QStringLiteral("App.app")));
        QDir().mkpath(dir.filePath(QStringLiteral("App.app/Contents/Resources")));
    }
    void TearDown() override
    {
        NSSound::resetForTesting();
        Bundle::setMainBundlePathForTesting(QString());
        QSettings().remove(QStringLiteral("soundLog"));
    }
    QString tone(const QString& path)
    {
        QDir().mkpath(QFileInfo(path).path());
        QProcess::execute(QStringLiteral("sox"),
            { QStringLiteral("-n"), QStringLiteral("-r"), QStringLiteral("8000"),
                QStringLiteral("-c"), QStringLiteral("1"), path, QStringLiteral("synth"),
                QStringLiteral("0.25"), QStringLiteral("sine"), QStringLiteral("440") });
        return path;
    }
    QString resource(const QString& name)
    {
        return dir.filePath(QStringLiteral("App.app/Contents/Resources/") + name);
    }
    QTemporaryDir dir;
    LogRecorder log;
};

TEST_F(SoundTest, ExtensionSetIsExactAndCaseSensitive)
{
    EXPECT_EQ(NSSound::soundFileExtensions().size(), 23u);
    const struct {
        const char* path;
        bool sound;
    } cases[] = { { "Ping.AIFF", true }, { "Ping.Aiff", false }, { "Ping", false },
        { "x/a.m4a", true }, { "a.M4A", false }, { "a.'AIFC'", false }, { "a.caf", false },
        { "a.'Mp3 '", true }, { "a.ulw", true }, { "a.tar.wav", true } };
    for (const auto& c : cases)
        EXPECT_EQ(NSSound::isSoundFileAtPath(QString::fromLatin1(c.path)), c.sound) << c.path;
}

TEST_F(SoundTest, CatalogPrecedenceAndNames)
{
    const QString a = dir.filePath(QStringLiteral("sys")),
                  b = dir.filePath(QStringLiteral("local")),
                  c = dir.filePath(QStringLiteral("user"));
    NSSound::setSystemSoundFoldersForTesting(QStringList { a, b, c });
    writeFile(a + QStringLiteral("/Glass.aiff"), "x");
    writeFile(b + QStringLiteral("/Basso.wav"), "x");
    writeFile(b + QStringLiteral("/notes.txt"), "x");
    writeFile(c + QStringLiteral("/Glass.aiff"), "x");
    QDir().mkpath(c + QStringLiteral("/Folder.wav"));
    writeFile(resource(QStringLiteral("Beep.aiff")), "x");
    writeFile(resource(QStringLiteral("Beep.wav")), "x");
    writeFile(resource(QStringLiteral("SoundOfSilence.wav")), "x");

    EXPECT_EQ(NSSound::systemSounds(), (QStringList { "Basso", "Folder", "Glass" }));
    EXPECT_EQ(NSSound::systemSoundFiles().size(), 4)
        << "listed flat; a folder named like a sound counts";
    EXPECT_EQ(NSSound::pathOfSound(QStringLiteral("Glass")), a + QStringLiteral("/Glass.aiff"))
        << "the system's own folder wins";
    EXPECT_EQ(NSSound::applicationSounds(), (QStringList { "Beep", "Beep" }));
    EXPECT_EQ(NSSound::pathOfSound(QStringLiteral("SoundOfSilence")),
        resource(QStringLiteral("SoundOfSilence.wav")));
    writeFile(resource(QStringLiteral("Glass.wav")), "x");
    EXPECT_EQ(NSSound::pathOfSound(QStringLiteral("Glass")), resource(QStringLiteral("Glass.wav")))
        << "the application's sound shadows";
    EXPECT_FALSE(NSSound::pathOfSound(QStringLiteral("glass")).has_value());
    QDir(c).removeRecursively();
    EXPECT_EQ(NSSound::systemSoundFiles().size(), 2);
}

TEST_F(SoundTest, AlertVolumeCurve)
{
    QSettings suite(
        QSettings::NativeFormat, QSettings::UserScope, QStringLiteral("com.apple.systemsound"));
    suite.remove(QStringLiteral("com.apple.sound.beep.volume"));
    suite.sync();
    EXPECT_FLOAT_EQ(NSSound::alertVolume(), 1.0f) << "no setting is full volume";
    const struct {
        QVariant value;
        float volume;
    } cases[] = { { 0.35, 0.0f }, { 0.2, 0.0f }, { 0.41, 0.125f }, { 0.47, 0.25f }, { 0.61, 0.5f },
        { 0.78, 0.75f }, { 1.0, 1.0f }, { 1.2, 1.0f }, { QStringLiteral("0.89"), 0.875f },
        { QStringLiteral("loud"), 0.0f } };
    for (const auto& c : cases) {
        suite.setValue(QStringLiteral("com.apple.sound.beep.volume"), c.value);
        suite.sync();
        EXPECT_NEAR(NSSound::alertVolume(), c.volume, 1e-5) << c.value.toString().toStdString();
    }
    suite.setValue(QStringLiteral("com.apple.sound.beep.volume"), QVariantList { 1, 2 });
    suite.sync();
    EXPECT_FLOAT_EQ(NSSound::alertVolume(), 1.0f);
    suite.remove(QStringLiteral("com.apple.sound.beep.volume"));
}

TEST_F(SoundTest, SoundEffectDeviceFromTheSettingsFile)
{
    const QString path = dir.filePath(QStringLiteral("SystemSettings.plist"));
    NSSound::setAudioSystemSettingsPathForTesting(path);
    const QVariantMap good { { "preferred devices",
        QVariantMap {
            { "system output", QVariantList { QVariantMap { { "uid", "alerts" } } } } } } };
    const QVariantMap stringOutput { { "preferred devices",
        QVariantMap { { "system output", "alerts" } } } };
    const QVariantMap emptyList { { "preferred devices",
        QVariantMap { { "system output", QVariantList {} } } } };
    NSSound probe;
    EXPECT_FALSE(probe.soundEffectDeviceID().has_value()) << "no file";
    writeFile(path, xmlPropertyList(good));
    EXPECT_EQ(probe.soundEffectDeviceID(), QStringLiteral("alerts"));
    writeFile(path, xmlPropertyList(stringOutput));
    EXPECT_FALSE(probe.soundEffectDeviceID().has_value());
    writeFile(path, xmlPropertyList(emptyList));
    EXPECT_FALSE(probe.soundEffectDeviceID().has_value());
    writeFile(path, "garbage");
    EXPECT_FALSE(probe.soundEffectDeviceID().has_value());
}

TEST_F(SoundTest, PlaybackGoesToTheEventDeviceAndFallsBack)
{
    FakeAudioOutput server;
    FakeClock clock;
    auto sound = NSSound::soundWithContentsOfFile(tone(resource(QStringLiteral("Done.wav"))));
    ASSERT_NE(sound, nullptr);
    EXPECT_NEAR(sound->duration(), 0.25, 0.01);
    sound->setVolume(0.25f);
    server.list = { { "Alerts", "Null", "alerts" } };
    server.eventDevice = QStringLiteral("alerts");
    sound->playAsSoundEffect();
    server.eventDevice = QStringLiteral("gone");
    sound->playAsSoundEffect();
    server.eventDevice.reset();
    sound->playAsSoundEffect();
    ASSERT_EQ(server.played.size(), 3);
    EXPECT_EQ(server.played[0].device, QStringLiteral("alerts"));
    EXPECT_FLOAT_EQ(server.played[0].gain, 0.25f);
    EXPECT_FALSE(server.played[1].device.has_value())
        << "a refused device falls back to the default output";
    EXPECT_FALSE(server.played[2].device.has_value());
    EXPECT_EQ(NSSound::lastSoundDate(), clock.currentDate());
    EXPECT_TRUE(log.lines().isEmpty()) << "no log line without soundLog";

    QSettings().setValue(QStringLiteral("soundLog"), true);
    server.eventDevice = QStringLiteral("gone");
    sound->playAsSoundEffect();
    const QStringList lines = log.lines();
    EXPECT_TRUE(lines.contains(QStringLiteral("   device Alerts by Null id alerts")));
    EXPECT_TRUE(lines.contains(QStringLiteral("+SL: soundEffectID=gone")));
    EXPECT_TRUE(lines.contains(QStringLiteral("+SL: setPlaybackDeviceIdentifier:gone")));
    EXPECT_TRUE(lines.contains(QStringLiteral("+SL: exception no such audio device: gone")));
    EXPECT_FALSE(lines.filter(QStringLiteral("+SL: play self (")).isEmpty());
    EXPECT_TRUE(
        NSSound::soundWithContentsOfFile(dir.filePath(QStringLiteral("nothing.wav"))) == nullptr);
    writeFile(dir.filePath(QStringLiteral("bad.wav")), "RIFF....WAVEfmt garbage");
    EXPECT_TRUE(
        NSSound::soundWithContentsOfFile(dir.filePath(QStringLiteral("bad.wav"))) == nullptr)
        << "undecodable is no sound";
}

TEST_F(SoundTest, WarmUpOnlyAfterTwentyFiveQuietSeconds)
{
    FakeAudioOutput server;
    FakeClock clock;
    tone(resource(QStringLiteral("SoundOfSilence.wav")));
    const int before = silentSoundThreadsStarted();
    NSSound::prepareForSound();
    NSSound::prepareForSound();
    EXPECT_EQ(silentSoundThreadsStarted(), before + 1);
    clock.advance(25.0);
    NSSound::prepareForSound();
    EXPECT_EQ(silentSoundThreadsStarted(), before + 1) << "25 s is still within the window";
    clock.advance(25.5);
    NSSound::prepareForSound();
    EXPECT_EQ(silentSoundThreadsStarted(), before + 2);
    EXPECT_TRUE(QTest::qWaitFor([&] { return server.playedCount() == 2; }, 3000));
    EXPECT_FLOAT_EQ(server.played[0].gain, 0.01f);
}
