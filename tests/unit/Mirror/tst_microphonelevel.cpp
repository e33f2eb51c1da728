#include "Mirror/AudioLevelStore.h"
#include "Mirror/MicrophoneCapture.h"
#include "Mirror/MicrophoneLevelMonitor.h"

#include <QGuiApplication>
#include <QTemporaryDir>
#include <QTest>

#include <cmath>

class tst_MicrophoneLevel : public QObject
{
    Q_OBJECT

    QTemporaryDir m_runtime;

private Q_SLOTS:
    // No sound server for this process, before Qt Multimedia first looks for one: the test session's
    // PulseAudio is reached through these.
    void initTestCase()
    {
        qputenv("XDG_RUNTIME_DIR", m_runtime.path().toLocal8Bit());
        qunsetenv("PULSE_SERVER");
        qputenv("PULSE_CLIENTCONFIG", "/dev/null");
    }

    void levelFromChannelPowers_data()
    {
        QTest::addColumn<QList<float>>("powers");
        QTest::addColumn<double>("level");

        QTest::addRow("-60 dB is silence") << QList<float>{-60} << 0.0;
        QTest::addRow("-25 dB is half way") << QList<float>{-25} << 0.5;
        QTest::addRow("+3 dB is clamped to full") << QList<float>{3} << 1.0;
        QTest::addRow("channels are averaged in dB") << QList<float>{-20, -30} << 0.5;
        QTest::addRow("no channels keeps the last level") << QList<float>{} << 0.7;
    }

    void levelFromChannelPowers()
    {
        QFETCH(QList<float>, powers);
        AudioLevelStore store;
        store.set(0.7);
        store.recordPowers(powers);
        QTEST(store.level(), "level");
    }

    // Interleaved frames are split by channel; the sine of the test session's microphone (amplitude
    // 0.5) measures -9.03 dBFS whatever the sample format.
    void channelPowersOfInterleavedSamples()
    {
        QByteArray floats, integers;
        for (int i = 0; i < 2 * 4410; ++i) {
            const double value = i % 2 ? 0.0 : 0.5 * std::sin(2 * M_PI * 441 * (i / 2) / 44100.0);
            const float f = float(value);
            const auto s = qint16(std::lround(value * 32767));
            floats.append(reinterpret_cast<const char *>(&f), sizeof f);
            integers.append(reinterpret_cast<const char *>(&s), sizeof s);
        }
        for (const auto sampleFormat : {QAudioFormat::Int16, QAudioFormat::Float}) {
            QAudioFormat format;
            format.setSampleRate(44100);
            format.setChannelCount(2);
            format.setSampleFormat(sampleFormat);
            const QByteArray &data = sampleFormat == QAudioFormat::Float ? floats : integers;
            const auto powers = MicrophoneCapture::channelPowers(data.constData(), data.size(), format);
            QCOMPARE(powers.size(), 2);
            QVERIFY2(std::abs(powers[0] - -9.03f) < 0.05f, qPrintable(QString::number(powers[0])));
            QVERIFY(powers[1] < -100);
        }
    }

    void withoutSoundServerTheMeterIsUnavailable()
    {
        MicrophoneLevelMonitor monitor({});
        monitor.start();
        QCOMPARE(monitor.state(),
                 MicrophoneMeterState::unavailable(MicrophoneLevelMonitor::noSoundServerMessage()));
        QCOMPARE(monitor.stateLabel(), QStringLiteral("Mic unavailable"));
        QCOMPARE(monitor.level(), 0.0);
    }
};

QTEST_MAIN(tst_MicrophoneLevel)
#include "tst_microphonelevel.moc"
