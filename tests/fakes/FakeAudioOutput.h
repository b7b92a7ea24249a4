#pragma once
// A sound server that records what it was asked to play.

#include "Platform/AudioOutput.h"

#include <mutex>

class FakeAudioOutput final : public AudioOutput {
public:
    FakeAudioOutput() { AudioOutput::setShared(this); }
    ~FakeAudioOutput() override { AudioOutput::setShared(nullptr); }

    std::optional<QString> eventDevice;
    QList<AudioDevice> list;
    struct Played {
        float gain;
        std::optional<QString> device;
        double duration;
    };
    QList<Played> played;
    std::mutex mutex;

    std::optional<QString> eventSoundDevice() override { return eventDevice; }
    std::optional<QList<AudioDevice>> devices() override { return list; }
    bool hasDevice(const QString& id) override
    {
        for (const auto& d : list) {
            if (d.identifier == id)
                return true;
        }
        return false;
    }
    bool play(std::shared_ptr<const PcmData> sound, float gain,
        const std::optional<QString>& device) override
    {
        std::lock_guard lock(mutex);
        played.append({ gain, device, sound ? sound->duration() : 0.0 });
        return true;
    }
    int playedCount()
    {
        std::lock_guard lock(mutex);
        return int(played.size());
    }
};
