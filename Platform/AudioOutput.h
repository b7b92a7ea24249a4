#pragma once
// The sound server: its output devices, the device that carries event (alert) sounds, and playing
// decoded samples on a device. Abstract so tests can use FakeAudioOutput; the real one is
// PulseAudioOutput (libpulse, against PulseAudio or PipeWire's Pulse service).

#include <QList>
#include <QString>

#include <memory>
#include <optional>
#include <vector>

/// Decoded sound: interleaved 32-bit float samples.
struct PcmData {
    int sampleRate = 44100;
    int channels = 2;
    std::vector<float> samples;
    double duration() const
    {
        return sampleRate > 0 && channels > 0 ? double(samples.size()) / channels / sampleRate
                                              : 0.0;
    }
};

struct AudioDevice {
    QString name; // description
    QString vendor;
    QString identifier; // the server's name for it: stable across restarts
};

class AudioOutput {
public:
    virtual ~AudioOutput() = default;
    /// The device that carries event sounds: the one stored for the event role, else a device
    /// meant for events; none when the server routes them itself (or there is no server).
    virtual std::optional<QString> eventSoundDevice() = 0;
    /// Every output device; none when the list cannot be read.
    virtual std::optional<QList<AudioDevice>> devices() = 0;
    virtual bool hasDevice(const QString& identifier) = 0;
    /// Starts playing the samples as an event sound, scaled by gain in software (the stream's
    /// own volume is never set); returns at once. False when nothing could be started.
    virtual bool play(
        std::shared_ptr<const PcmData> sound, float gain, const std::optional<QString>& device)
        = 0;

    static AudioOutput& shared();
    static void setShared(AudioOutput* output);
};
