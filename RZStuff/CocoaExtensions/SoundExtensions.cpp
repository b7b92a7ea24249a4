// The catalog of sounds and playback as a sound effect. On Linux the system sound folders are
// /usr/share/sounds, /usr/local/share/sounds and ~/.local/share/sounds (listed flat, in that
// order of precedence); the sound-effect device is the one the sound server keeps for the event
// role; the alert-volume setting is read from the "com.apple.systemsound" settings suite, which
// is normally absent on Linux, so the server's own event volume is the only attenuation.

#include "SoundExtensions.h"

#include "Platform/AudioOutput.h"
#include "Platform/Clock.h"
#include "Platform/Foundation/Bundle.h"
#include "Platform/Foundation/Log.h"
#include "Platform/Foundation/PropertyList.h"
#include "RZUtilities.h"

#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSettings>

#include <atomic>
#include <mutex>
#include <thread>
#include <unistd.h>

namespace {
std::mutex stateMutex;
std::optional<QDateTime> lastSoundDateValue;
std::optional<QStringList> systemFoldersOverride;
QString settingsPathOverride;
std::recursive_mutex silentSoundLock; // the sound class's own lock
std::shared_ptr<NSSound> silentSound;
std::atomic<int> silentThreads { 0 };

QString soundName(const QString& path)
{
    return QFileInfo(path).completeBaseName();
}

/// A value's floatValue: the number at the start of its text; none for lists and dictionaries.
std::optional<double> floatValueOf(const QVariant& v)
{
    if (!v.isValid() || v.typeId() == QMetaType::QVariantList
        || v.typeId() == QMetaType::QStringList || v.typeId() == QMetaType::QVariantMap)
        return std::nullopt;
    static const QRegularExpression number(
        QStringLiteral("^\\s*([+-]?(\\d+\\.?\\d*|\\.\\d+)([eE][+-]?\\d+)?)"));
    const auto m = number.match(v.toString());
    return m.hasMatch() ? m.captured(1).toDouble() : 0.0;
}
} // namespace

int silentSoundThreadsStarted()
{
    return silentThreads.load();
}

// --- The catalog ---

const std::set<QString>& NSSound::soundFileExtensions()
{
    static const std::set<QString> extensions {
        QStringLiteral("aiff"),
        QStringLiteral("AIFF"),
        QStringLiteral("'AIFF'"),
        QStringLiteral("aif"),
        QStringLiteral("AIF"),
        QStringLiteral("aifc"),
        QStringLiteral("AIFC"),
        QStringLiteral("wav"),
        QStringLiteral("WAV"),
        QStringLiteral("'WAVE'"),
        QStringLiteral("snd"),
        QStringLiteral("SND"),
        QStringLiteral("au"),
        QStringLiteral("AU"),
        QStringLiteral("'ULAW'"),
        QStringLiteral("'ALAW'"),
        QStringLiteral("mp3"),
        QStringLiteral("MP3"),
        QStringLiteral("'Mp3 '"),
        QStringLiteral("ulw"),
        QStringLiteral("ULW"),
        QStringLiteral("m4p"),
        QStringLiteral("m4a"),
    };
    return extensions;
}

bool NSSound::isSoundFileAtPath(const QString& path)
{
    const QString name = QFileInfo(path).fileName();
    const qsizetype dot = name.lastIndexOf(QLatin1Char('.'));
    return dot > 0 && soundFileExtensions().count(name.mid(dot + 1)) > 0;
}

QStringList NSSound::applicationSoundFiles()
{
    const QString resources = Bundle::mainBundle().resourcePath();
    QStringList files;
    for (const QString& entry :
        QDir(resources).entryList(QDir::AllEntries | QDir::NoDotAndDotDot, QDir::Name)) {
        const QString path = resources + QLatin1Char('/') + entry;
        if (isSoundFileAtPath(path))
            files << path;
    }
    return files;
}

QStringList NSSound::applicationSounds()
{
    QStringList names;
    for (const QString& path : applicationSoundFiles()) {
        if (soundName(path) != QStringLiteral("SoundOfSilence"))
            names << soundName(path);
    }
    std::sort(names.begin(), names.end());
    return names;
}

QStringList NSSound::systemSoundFolders()
{
    std::lock_guard lock(stateMutex);
    if (systemFoldersOverride)
        return *systemFoldersOverride;
    return { QStringLiteral("/usr/share/sounds"), QStringLiteral("/usr/local/share/sounds"),
        QDir::homePath() + QStringLiteral("/.local/share/sounds") };
}

void NSSound::setSystemSoundFoldersForTesting(const std::optional<QStringList>& folders)
{
    std::lock_guard lock(stateMutex);
    systemFoldersOverride = folders;
}

QStringList NSSound::systemSoundFiles()
{
    QStringList files;
    files.reserve(20);
    for (const QString& folder : systemSoundFolders()) {
        if (!QFileInfo(folder).isDir())
            continue;
        for (const QString& name : QDir(folder).entryList(
                 QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden, QDir::Name)) {
            if (isSoundFileAtPath(name))
                files << folder + QLatin1Char('/') + name;
        }
    }
    return files;
}

QStringList NSSound::systemSounds()
{
    std::set<QString> names;
    for (const QString& path : systemSoundFiles())
        names.insert(soundName(path));
    return QStringList(names.begin(), names.end());
}

std::optional<QString> NSSound::pathOfSound(const QString& name)
{
    for (const QString& path : applicationSoundFiles()) {
        if (soundName(path) == name)
            return path;
    }
    for (const QString& path : systemSoundFiles()) {
        if (soundName(path) == name)
            return path;
    }
    return std::nullopt;
}

// --- Playback as a sound effect ---

void NSSound::setSoundDateNow()
{
    std::lock_guard lock(stateMutex);
    lastSoundDateValue = Clock::shared().currentDate();
}

std::optional<QDateTime> NSSound::lastSoundDate()
{
    std::lock_guard lock(stateMutex);
    return lastSoundDateValue;
}

QString NSSound::audioSystemSettingsPath()
{
    std::lock_guard lock(stateMutex);
    return settingsPathOverride.isEmpty()
        ? QStringLiteral("/Library/Preferences/Audio/com.apple.audio.SystemSettings.plist")
        : settingsPathOverride;
}

void NSSound::setAudioSystemSettingsPathForTesting(const QString& path)
{
    std::lock_guard lock(stateMutex);
    settingsPathOverride = path;
}

std::optional<QString> NSSound::soundEffectDeviceID()
{
    const auto file = dictionaryFromPropertyListFile(audioSystemSettingsPath());
    if (!file)
        return std::nullopt;
    auto stringOf = [](const QVariant& v) -> std::optional<QString> {
        if (v.typeId() != QMetaType::QString)
            return std::nullopt;
        return v.toString();
    };
    if (RZUtilities::yosemiteOrNewer()) {
        const QVariant preferred = file->value(QStringLiteral("preferred devices"));
        if (preferred.typeId() != QMetaType::QVariantMap)
            return std::nullopt;
        const QVariant output = preferred.toMap().value(QStringLiteral("system output"));
        if (output.typeId() != QMetaType::QVariantList || output.toList().isEmpty())
            return std::nullopt;
        const QVariant first = output.toList().first();
        if (first.typeId() != QMetaType::QVariantMap)
            return std::nullopt;
        return stringOf(first.toMap().value(QStringLiteral("uid")));
    }
    const QVariant user = file->value(QString::asprintf("%d", int(::getuid())));
    if (user.typeId() == QMetaType::QVariantMap
        && user.toMap().contains(QStringLiteral("current default system output device")))
        return stringOf(user.toMap().value(QStringLiteral("current default system output device")));
    const QVariant all = file->value(QStringLiteral("0"));
    if (all.typeId() != QMetaType::QVariantMap)
        return std::nullopt;
    return stringOf(all.toMap().value(QStringLiteral("current default system output device")));
}

std::optional<QString> NSSound::systemAudioDeviceID()
{
    return AudioOutput::shared().eventSoundDevice();
}

std::optional<QString> NSSound::_alertSoundAlertDeviceIdentifier()
{
    return AudioOutput::shared().eventSoundDevice();
}

void NSSound::listAudioDevices()
{
    const auto devices = AudioOutput::shared().devices();
    if (!devices)
        return;
    for (const AudioDevice& d : *devices) {
        if (d.name.isEmpty() || d.identifier.isEmpty())
            continue; // a device whose reads fail is skipped
        NSLog(QStringLiteral("   device %s by %s id %@"), d.name, d.vendor, d.identifier);
    }
}

void NSSound::playAsSoundEffect()
{
    const bool log = QSettings().value(QStringLiteral("soundLog")).toBool();
    std::optional<QString> device;
    if (log) {
        NSLog(QStringLiteral("playAsSoundEffect: %@"), description());
        listAudioDevices();
        device = systemAudioDeviceID();
        NSLog(QStringLiteral("+SL: soundEffectID=%@"), device);
    } else {
        device = systemAudioDeviceID();
    }
    if (device) {
        if (log)
            NSLog(QStringLiteral("+SL: setPlaybackDeviceIdentifier:%@"), *device);
        try {
            setPlaybackDeviceIdentifier(device);
        } catch (const std::exception& e) {
            if (log)
                NSLog(QStringLiteral("+SL: exception %@"), QString::fromUtf8(e.what()));
            setPlaybackDeviceIdentifier(
                std::nullopt); // the default output, so a sound is always played
        }
    }
    if (log)
        NSLog(QStringLiteral("+SL: play self (%@)"), description());
    (void)duration();
    play();
    setSoundDateNow();
}

float NSSound::alertVolume()
{
    const QSettings suite(
        QSettings::NativeFormat, QSettings::UserScope, QStringLiteral("com.apple.systemsound"));
    const auto value = floatValueOf(suite.value(QStringLiteral("com.apple.sound.beep.volume")));
    if (!value)
        return 1.0f;
    const double v = *value;
    double result = 0.0;
    if (v <= 0.35)
        return 0.0f;
    if (v <= 0.47)
        result = (v - 0.35) / 0.12 * 0.25;
    else if (v <= 0.61)
        result = (v - 0.47) / 0.14 * 0.25 + 0.25;
    else if (v <= 0.78)
        result = (v - 0.61) / (0.78 - 0.61) * 0.25 + 0.5;
    else
        result = (v - 0.78) / (1.0 - 0.78) * 0.25 + 0.75;
    return std::min(float(result), 1.0f);
}

void NSSound::playSilentSoundThread()
{
    std::lock_guard lock(silentSoundLock);
    if (!silentSound) {
        silentSound = soundNamed(QStringLiteral("SoundOfSilence"));
        if (silentSound)
            silentSound->setVolume(0.01f);
    }
    if (silentSound)
        silentSound->playAsSoundEffect();
}

void NSSound::prepareForSound()
{
    {
        std::lock_guard lock(stateMutex);
        const QDateTime now = Clock::shared().currentDate();
        if (lastSoundDateValue && double(now.msecsTo(*lastSoundDateValue)) / 1000.0 >= -25.0)
            return;
        lastSoundDateValue = now;
    }
    ++silentThreads;
    std::thread(&NSSound::playSilentSoundThread).detach();
}

void NSSound::resetForTesting()
{
    std::lock_guard lock(stateMutex);
    lastSoundDateValue.reset();
    systemFoldersOverride.reset();
    settingsPathOverride.clear();
}
