#include "Mirror/MicrophoneLevelMonitor.h"
#include "PeerProcess.h"
#include "TestTime.h"

#include <QGuiApplication>
#include <QSignalSpy>
#include <QTest>

// The meter against the test session's PulseAudio, whose "fakemic" source plays a -9.03 dBFS sine.
class tst_MicrophoneLevelMonitor : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        const auto info = runTool(QStringLiteral("pactl"), {QStringLiteral("info")});
        if (!info || info->exitCode != 0)
            QSKIP("needs the PulseAudio of scripts/desktop-session.sh");
    }

    void meterReadsTheSessionMicrophone()
    {
        MicrophoneLevelMonitor monitor(QStringLiteral("fakemic"));
        monitor.refreshDevices();
        QCOMPARE(monitor.selectedDeviceID(), QStringLiteral("fakemic"));
        QSignalSpy levels(&monitor, &MicrophoneLevelMonitor::levelChanged);
        monitor.start();
        QCOMPARE(monitor.stateLabel(), QStringLiteral("Starting mic"));
        QTRY_COMPARE_WITH_TIMEOUT(monitor.stateLabel(), QStringLiteral("Mic live"), scaledTimeout(5000));
        // (-9.03 + 50) / 50
        QTRY_VERIFY_WITH_TIMEOUT(std::abs(monitor.level() - 0.819) < 0.02, scaledTimeout(5000));

        monitor.stop();
        QCOMPARE(monitor.stateLabel(), QStringLiteral("Mic off"));
        QCOMPARE(monitor.level(), 0.0);
        // Nothing published after the stop.
        levels.clear();
        QTest::qWait(3 * MicrophoneLevelMonitor::publishIntervalMs);
        QCOMPARE(levels.count(), 0);
    }
};

QTEST_GUILESS_MAIN(tst_MicrophoneLevelMonitor)
#include "tst_microphonelevelmonitor.moc"
