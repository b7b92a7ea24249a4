#pragma once
// The sound class: a sound file decoded once (libsndfile: WAV, AIFF/AIFC, AU/SND, CAF, MP3, FLAC,
// Ogg), a linear volume applied to the samples, an optional playback device, and play, which
// returns at once while the sound goes on. The sound-effect operations of SoundExtensions are
// declared here too and live in SoundExtensions.cpp.

#include <QDateTime>
#include <QString>
#include <QStringList>

#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <stdexcept>

struct PcmData;

class NSSound {
public:
    /// A sound by name: the application's resources first, then the system sound folders. Null
    /// when there is no such sound or its file cannot be decoded.
    static std::shared_ptr<NSSound> soundNamed(const QString& name);
    static std::shared_ptr<NSSound> soundWithContentsOfFile(
        const QString& path, const QString& name = QString());

    QString name() const { return m_name; }
    QString path() const { return m_path; }
    void setVolume(float volume) { m_volume = volume; }
    float volume() const { return m_volume; }
    /// Chooses the output device by its identifier; nothing (std::nullopt) is the default output.
    /// Throws std::invalid_argument for a device the sound server does not know.
    void setPlaybackDeviceIdentifier(const std::optional<QString>& identifier);
    std::optional<QString> playbackDeviceIdentifier() const { return m_device; }
    double duration() const;
    /// Starts playing; returns at once. False when nothing could be started (no server).
    bool play();
    QString description() const;

    // --- SoundExtensions: the catalog ---
    static const std::set<QString>& soundFileExtensions();
    static bool isSoundFileAtPath(const QString& path);
    static QStringList applicationSoundFiles();
    static QStringList applicationSounds();
    static QStringList systemSoundFiles();
    static QStringList systemSounds();
    static std::optional<QString> pathOfSound(const QString& name);
    /// The system sound folders in their order of precedence (tests point them elsewhere).
    static QStringList systemSoundFolders();
    static void setSystemSoundFoldersForTesting(const std::optional<QStringList>& folders);

    // --- SoundExtensions: playback as a sound effect ---
    static void setSoundDateNow();
    static std::optional<QDateTime> lastSoundDate();
    std::optional<QString> soundEffectDeviceID();
    std::optional<QString> systemAudioDeviceID();
    std::optional<QString> _alertSoundAlertDeviceIdentifier();
    void listAudioDevices();
    void playAsSoundEffect();
    static float alertVolume();
    static void playSilentSoundThread();
    static void prepareForSound();
    /// The audio system settings file that soundEffectDeviceID reads.
    static QString audioSystemSettingsPath();
    static void setAudioSystemSettingsPathForTesting(const QString& path);
    static void resetForTesting();

private:
    QString m_name;
    QString m_path;
    std::shared_ptr<const PcmData> m_data;
    float m_volume = 1.0f;
    std::optional<QString> m_device;
};
