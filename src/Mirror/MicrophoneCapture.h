#pragma once

#include <QAudioFormat>
#include <QByteArray>
#include <QList>
#include <QObject>

class AudioLevelStore;
class QAudioSource;
class QIODevice;

// Reads one microphone on the monitor's audio thread and records each buffer's level in the store.
class MicrophoneCapture final : public QObject
{
    Q_OBJECT
public:
    enum class Outcome
    {
        running,
        cannotUse,
        didNotStart
    };

    explicit MicrophoneCapture(AudioLevelStore *store, QObject *parent = nullptr);
    ~MicrophoneCapture() override;

    // Audio thread. Replaces any running input.
    Outcome start(const QByteArray &deviceID);
    void stop();

    // Average power of each channel of interleaved samples, in dBFS.
    static QList<float> channelPowers(const char *data, qsizetype bytes, const QAudioFormat &format);

private:
    void readAvailable();

    AudioLevelStore *m_store;
    QAudioSource *m_source = nullptr;
    QIODevice *m_io = nullptr;
    QByteArray m_buffer;
};
