#include "NSSound.h"

#include "Platform/AudioOutput.h"
#include "Platform/Foundation/Format.h"

#include <QFile>
#include <QFileInfo>

#include <sndfile.h>

namespace {
constexpr qint64 kMaxSoundFileSize = 64 * 1024 * 1024;

std::shared_ptr<PcmData> decode(const QString& path)
{
    if (QFileInfo(path).size() > kMaxSoundFileSize)
        return nullptr;
    SF_INFO info {};
    SNDFILE* file = sf_open(QFile::encodeName(path).constData(), SFM_READ, &info);
    if (!file)
        return nullptr;
    auto pcm = std::make_shared<PcmData>();
    pcm->sampleRate = info.samplerate;
    pcm->channels = info.channels;
    if (info.channels < 1 || info.channels > 8 || info.samplerate < 1000
        || info.samplerate > 384000) {
        sf_close(file);
        return nullptr;
    }
    // The header's frame count can be wrong (MP3): read until the reader says there is no more.
    std::vector<float> chunk(size_t(4096 * info.channels));
    for (;;) {
        const sf_count_t frames = sf_readf_float(file, chunk.data(), 4096);
        if (frames <= 0)
            break;
        pcm->samples.insert(
            pcm->samples.end(), chunk.begin(), chunk.begin() + frames * info.channels);
        if (pcm->samples.size() > size_t(kMaxSoundFileSize))
            break;
    }
    sf_close(file);
    if (pcm->samples.empty())
        return nullptr;
    return pcm;
}
} // namespace

std::shared_ptr<NSSound> NSSound::soundWithContentsOfFile(const QString& path, const QString& name)
{
    auto data = decode(path);
    if (!data)
        return nullptr;
    auto sound = std::make_shared<NSSound>();
    sound->m_path = path;
    sound->m_name = name.isEmpty() ? QFileInfo(path).completeBaseName() : name;
    sound->m_data = std::move(data);
    return sound;
}

std::shared_ptr<NSSound> NSSound::soundNamed(const QString& name)
{
    const auto path = pathOfSound(name);
    return path ? soundWithContentsOfFile(*path, name) : nullptr;
}

void NSSound::setPlaybackDeviceIdentifier(const std::optional<QString>& identifier)
{
    if (identifier && !AudioOutput::shared().hasDevice(*identifier))
        throw std::invalid_argument("no such audio device: " + identifier->toStdString());
    m_device = identifier;
}

double NSSound::duration() const
{
    return m_data ? m_data->duration() : 0.0;
}

bool NSSound::play()
{
    return AudioOutput::shared().play(m_data, m_volume, m_device);
}

QString NSSound::description() const
{
    return stringWithFormat(
        QStringLiteral("<NSSound %@ (%@), volume %1.2f>"), m_name, m_path, double(m_volume));
}
