#include "Mirror/MicrophoneCapture.h"

#include "Core/Logging.h"
#include "Mirror/AudioLevelStore.h"

#include <QAudioDevice>
#include <QAudioSource>
#include <QMediaDevices>

#include <cmath>
#include <cstring>
#include <limits>

namespace {

// Below any real microphone's noise floor; keeps log10 finite for digital silence.
constexpr double silenceDb = -160.0;

template <typename T> double sampleValue(const char *p)
{
    T value;
    std::memcpy(&value, p, sizeof value);
    if constexpr (std::is_same_v<T, float>)
        return value;
    else if constexpr (std::is_same_v<T, quint8>)
        return (double(value) - 128.0) / 128.0;
    else
        return double(value) / double(std::numeric_limits<T>::max());
}

double normalisedSample(const char *p, QAudioFormat::SampleFormat format)
{
    switch (format) {
    case QAudioFormat::UInt8:
        return sampleValue<quint8>(p);
    case QAudioFormat::Int16:
        return sampleValue<qint16>(p);
    case QAudioFormat::Int32:
        return sampleValue<qint32>(p);
    case QAudioFormat::Float:
        return sampleValue<float>(p);
    default:
        return 0;
    }
}

} // namespace

MicrophoneCapture::MicrophoneCapture(AudioLevelStore *store, QObject *parent)
    : QObject(parent), m_store(store)
{
}

MicrophoneCapture::~MicrophoneCapture()
{
    stop();
}

QList<float> MicrophoneCapture::channelPowers(const char *data, qsizetype bytes, const QAudioFormat &format)
{
    const int channels = format.channelCount();
    const int sampleBytes = format.bytesPerSample();
    if (channels <= 0 || sampleBytes <= 0)
        return {};
    const qsizetype frames = bytes / (qsizetype(channels) * sampleBytes);
    if (frames == 0)
        return {};
    QList<float> powers;
    for (int channel = 0; channel < channels; ++channel) {
        double sumOfSquares = 0;
        for (qsizetype frame = 0; frame < frames; ++frame) {
            const char *p = data + (frame * channels + channel) * sampleBytes;
            const double v = normalisedSample(p, format.sampleFormat());
            sumOfSquares += v * v;
        }
        const double rms = std::sqrt(sumOfSquares / double(frames));
        powers.append(float(rms > 0 ? std::max(20.0 * std::log10(rms), silenceDb) : silenceDb));
    }
    return powers;
}

MicrophoneCapture::Outcome MicrophoneCapture::start(const QByteArray &deviceID)
{
    stop();
    const QList<QAudioDevice> inputs = QMediaDevices::audioInputs();
    const auto device = std::find_if(inputs.cbegin(), inputs.cend(),
                                     [&](const QAudioDevice &d) { return d.id() == deviceID; });
    if (device == inputs.cend())
        return Outcome::cannotUse;
    QAudioFormat format = device->preferredFormat();
    if (!device->isFormatSupported(format) || format.sampleFormat() == QAudioFormat::Unknown) {
        format.setSampleFormat(QAudioFormat::Int16);
        format.setChannelCount(1);
        format.setSampleRate(44100);
    }
    m_source = new QAudioSource(*device, format, this);
    // Small buffers keep the meter lively: about 20 ms of audio each.
    m_source->setBufferSize(format.bytesForDuration(20000) * 4);
    m_io = m_source->start();
    if (!m_io || m_source->error() != QAudio::NoError) {
        const bool openFailed = m_source->error() == QAudio::OpenError;
        qCWarning(lcMirror) << "Microphone did not start, error" << m_source->error();
        stop();
        return openFailed ? Outcome::cannotUse : Outcome::didNotStart;
    }
    connect(m_io, &QIODevice::readyRead, this, &MicrophoneCapture::readAvailable);
    return Outcome::running;
}

void MicrophoneCapture::readAvailable()
{
    if (!m_io || !m_source)
        return;
    // PulseAudio's push device reports nothing in bytesAvailable(), so read until it runs dry.
    const QAudioFormat format = m_source->format();
    const qsizetype frameBytes = qMax(1, format.bytesPerFrame());
    char chunk[16384];
    for (;;) {
        const qint64 got = m_io->read(chunk, sizeof chunk);
        if (got <= 0)
            break;
        m_buffer.append(chunk, got);
    }
    const qsizetype usable = m_buffer.size() - m_buffer.size() % frameBytes;
    if (usable == 0)
        return;
    m_store->recordPowers(channelPowers(m_buffer.constData(), usable, format));
    m_buffer.remove(0, usable);
}

void MicrophoneCapture::stop()
{
    if (!m_source)
        return;
    m_source->stop();
    delete m_source;
    m_source = nullptr;
    m_io = nullptr;
    m_buffer.clear();
}
