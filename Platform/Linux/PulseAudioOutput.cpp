// Sound through libpulse, against PulseAudio or PipeWire's Pulse service. One threaded main loop
// and context for the process, connected on first use without autospawning a server; a server that
// is not there makes every call answer "nothing" at once. Each sound is its own stream with the
// property media.role=event, on the named sink or where the server routes event sounds; samples
// are scaled in software, because a stream volume set at connect is ignored by PipeWire and one
// changed later is saved by both servers as the user's event volume.

#include "Platform/AudioOutput.h"

#include <pulse/ext-stream-restore.h>
#include <pulse/pulseaudio.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <mutex>

namespace {

struct Playback {
    std::shared_ptr<const PcmData> sound;
    std::vector<float> scaled;
    size_t offset = 0; // bytes written
    pa_stream* stream = nullptr;
};

class PulseAudioOutput final : public AudioOutput {
public:
    ~PulseAudioOutput() override = default; // the loop lives as long as the process

    std::optional<QString> eventSoundDevice() override
    {
        if (!connect())
            return std::nullopt;
        struct Query {
            PulseAudioOutput* self = nullptr;
            std::optional<QString> stored, intended;
            int pending = 2;
        } q;
        q.self = this;
        pa_threaded_mainloop_lock(m_loop);
        pa_operation* restore = pa_ext_stream_restore_read(
            m_context,
            [](pa_context*, const pa_ext_stream_restore_info* info, int eol, void* data) {
                auto* q = static_cast<Query*>(data);
                if (eol) {
                    --q->pending;
                    pa_threaded_mainloop_signal(q->self->m_loop, 0);
                } else if (info && info->name
                    && std::strcmp(info->name, "sink-input-by-media-role:event") == 0
                    && info->device && *info->device)
                    q->stored = QString::fromUtf8(info->device);
            },
            &q);
        if (!restore)
            --q.pending; // the server has no stream-restore module
        pa_operation* sinks = pa_context_get_sink_info_list(
            m_context,
            [](pa_context*, const pa_sink_info* info, int eol, void* data) {
                auto* q = static_cast<Query*>(data);
                if (eol) {
                    --q->pending;
                    pa_threaded_mainloop_signal(q->self->m_loop, 0);
                    return;
                }
                const char* roles = pa_proplist_gets(info->proplist, "device.intended_roles");
                if (!q->intended && roles
                    && QString::fromUtf8(roles)
                           .split(QLatin1Char(' '))
                           .contains(QStringLiteral("event")))
                    q->intended = QString::fromUtf8(info->name);
            },
            &q);
        if (!sinks)
            --q.pending;
        waitLocked([&] { return q.pending <= 0; });
        if (restore)
            pa_operation_unref(restore);
        if (sinks)
            pa_operation_unref(sinks);
        pa_threaded_mainloop_unlock(m_loop);
        return q.stored ? q.stored : q.intended;
    }

    std::optional<QList<AudioDevice>> devices() override
    {
        if (!connect())
            return std::nullopt;
        struct Query {
            PulseAudioOutput* self = nullptr;
            QList<AudioDevice> list;
            bool done = false;
        } q;
        q.self = this;
        pa_threaded_mainloop_lock(m_loop);
        pa_operation* op = pa_context_get_sink_info_list(
            m_context,
            [](pa_context*, const pa_sink_info* info, int eol, void* data) {
                auto* q = static_cast<Query*>(data);
                if (eol) {
                    q->done = true;
                    pa_threaded_mainloop_signal(q->self->m_loop, 0);
                    return;
                }
                const char* vendor = pa_proplist_gets(info->proplist, "device.vendor.name");
                q->list.append(
                    { QString::fromUtf8(info->description ? info->description : info->name),
                        QString::fromUtf8(vendor ? vendor : "unknown"),
                        QString::fromUtf8(info->name) });
            },
            &q);
        const bool ok = op && waitLocked([&] { return q.done; });
        if (op)
            pa_operation_unref(op);
        pa_threaded_mainloop_unlock(m_loop);
        if (!ok)
            return std::nullopt;
        return q.list;
    }

    bool hasDevice(const QString& identifier) override
    {
        const auto list = devices();
        if (!list)
            return false;
        for (const AudioDevice& d : *list) {
            if (d.identifier == identifier)
                return true;
        }
        return false;
    }

    bool play(std::shared_ptr<const PcmData> sound, float gain,
        const std::optional<QString>& device) override
    {
        if (!sound || sound->samples.empty() || !connect())
            return false;
        auto* playback = new Playback;
        playback->sound = sound;
        playback->scaled.resize(sound->samples.size());
        for (size_t i = 0; i < sound->samples.size(); ++i)
            playback->scaled[i] = sound->samples[i] * gain;

        pa_sample_spec format { PA_SAMPLE_FLOAT32NE, uint32_t(sound->sampleRate),
            uint8_t(sound->channels) };
        if (!pa_sample_spec_valid(&format)) {
            delete playback;
            return false;
        }
        pa_proplist* props = pa_proplist_new();
        pa_proplist_sets(props, PA_PROP_MEDIA_ROLE, "event");
        pa_threaded_mainloop_lock(m_loop);
        playback->stream
            = pa_stream_new_with_proplist(m_context, "Sound effect", &format, nullptr, props);
        pa_proplist_free(props);
        if (!playback->stream) {
            pa_threaded_mainloop_unlock(m_loop);
            delete playback;
            return false;
        }
        pa_stream_set_write_callback(playback->stream, &PulseAudioOutput::write, playback);
        pa_stream_set_state_callback(
            playback->stream,
            [](pa_stream* s, void* data) {
                const pa_stream_state_t state = pa_stream_get_state(s);
                if (state == PA_STREAM_FAILED || state == PA_STREAM_TERMINATED) {
                    auto* p = static_cast<Playback*>(data);
                    pa_stream_set_state_callback(s, nullptr, nullptr);
                    pa_stream_set_write_callback(s, nullptr, nullptr);
                    pa_stream_unref(s);
                    delete p;
                }
            },
            playback);
        const QByteArray sink = device ? device->toUtf8() : QByteArray();
        // No pre-buffering: a short sound is written whole at once and must start right away,
        // not wait for a buffer larger than itself to fill.
        pa_buffer_attr attr;
        attr.maxlength = uint32_t(-1);
        attr.tlength = uint32_t(-1);
        attr.prebuf = 0;
        attr.minreq = uint32_t(-1);
        attr.fragsize = uint32_t(-1);
        const int rc = pa_stream_connect_playback(playback->stream,
            device ? sink.constData() : nullptr, &attr, PA_STREAM_NOFLAGS, nullptr, nullptr);
        if (rc < 0) {
            pa_stream_set_state_callback(playback->stream, nullptr, nullptr);
            pa_stream_unref(playback->stream);
            delete playback;
        }
        pa_threaded_mainloop_unlock(m_loop);
        return rc >= 0;
    }

private:
    static void write(pa_stream* s, size_t length, void* data)
    {
        auto* p = static_cast<Playback*>(data);
        const size_t total = p->scaled.size() * sizeof(float);
        const size_t n = std::min(length, total - p->offset);
        if (n > 0) {
            pa_stream_write(s, reinterpret_cast<const char*>(p->scaled.data()) + p->offset, n,
                nullptr, 0, PA_SEEK_RELATIVE);
            p->offset += n;
        }
        if (p->offset >= total) {
            pa_stream_set_write_callback(s, nullptr, nullptr);
            pa_operation* drain = pa_stream_drain(
                s, [](pa_stream* st, int, void*) { pa_stream_disconnect(st); }, nullptr);
            if (drain)
                pa_operation_unref(drain);
        }
    }

    template <class Done> bool waitLocked(Done done)
    {
        // The loop thread signals after every answer; give up after two seconds.
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(2);
        while (!done()) {
            if (std::chrono::steady_clock::now() > deadline
                || pa_context_get_state(m_context) != PA_CONTEXT_READY)
                return false;
            pa_threaded_mainloop_wait(m_loop);
        }
        return true;
    }

    bool connect()
    {
        std::lock_guard lock(m_connectMutex);
        if (m_loop && m_context && pa_context_get_state(m_context) == PA_CONTEXT_READY)
            return true;
        if (!m_loop) {
            m_loop = pa_threaded_mainloop_new();
            if (!m_loop || pa_threaded_mainloop_start(m_loop) < 0)
                return false;
        }
        pa_threaded_mainloop_lock(m_loop);
        if (m_context) {
            pa_context_disconnect(m_context);
            pa_context_unref(m_context);
        }
        m_context = pa_context_new(pa_threaded_mainloop_get_api(m_loop), "Installer");
        pa_context_set_state_callback(
            m_context,
            [](pa_context*, void* loop) {
                pa_threaded_mainloop_signal(static_cast<pa_threaded_mainloop*>(loop), 0);
            },
            m_loop);
        bool ready = false;
        if (pa_context_connect(m_context, nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr) >= 0) {
            const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(1);
            for (;;) {
                const pa_context_state_t state = pa_context_get_state(m_context);
                if (state == PA_CONTEXT_READY) {
                    ready = true;
                    break;
                }
                if (!PA_CONTEXT_IS_GOOD(state) || std::chrono::steady_clock::now() > deadline)
                    break;
                pa_threaded_mainloop_wait(m_loop);
            }
        }
        pa_threaded_mainloop_unlock(m_loop);
        return ready;
    }

    std::mutex m_connectMutex;
    pa_threaded_mainloop* m_loop = nullptr;
    pa_context* m_context = nullptr;
};

PulseAudioOutput* pulseOutput()
{
    static auto* output
        = new PulseAudioOutput; // never destroyed: sounds may still be playing at exit
    return output;
}
std::atomic<AudioOutput*> sharedOutput { nullptr };
} // namespace

AudioOutput& AudioOutput::shared()
{
    AudioOutput* o = sharedOutput.load();
    return o ? *o : *pulseOutput();
}

void AudioOutput::setShared(AudioOutput* output)
{
    sharedOutput.store(output);
}
