#include "App/Permissions.h"
#include "Platform/PermissionProbe.h"

#include <QSemaphore>
#include <QSignalSpy>
#include <QTest>

#include <atomic>

namespace {

class FakePermissionProbe final : public PermissionProbe
{
public:
    DeviceAccess camera = DeviceAccess::none;
    DeviceAccess audioServer = DeviceAccess::none;
    bool audioInput = false;
    // When set, every camera check waits until the test lets it go (or 5 s pass).
    QSemaphore *gate = nullptr;
    mutable std::atomic<int> cameraAnswers = 0;

    DeviceAccess cameraAccess() const override
    {
        if (gate)
            gate->tryAcquire(1, 5000);
        ++cameraAnswers;
        return camera;
    }
    DeviceAccess audioServerAccess() const override { return audioServer; }
    bool hasAudioInput() const override { return audioInput; }
    QStringList settingsCommand(SettingsPage page) const override
    {
        return page == SettingsPage::microphone ? QStringList{"pavucontrol", "--tab=4"} : QStringList();
    }
};

} // namespace

// The summaries from what the system answers; the slow answers stay off the GUI thread.
class tst_Permissions : public QObject
{
    Q_OBJECT

private slots:
    void statesFollowTheSystem_data()
    {
        QTest::addColumn<bool>("xtest");
        QTest::addColumn<int>("camera");
        QTest::addColumn<int>("audioServer");
        QTest::addColumn<bool>("audioInput");
        QTest::addColumn<QList<int>>("states");
        using D = DeviceAccess;
        using S = PermissionState;
        const auto i = [](S s) { return int(s); };
        QTest::addRow("everything reachable") << true << int(D::open) << int(D::open) << true
                                              << QList<int>{i(S::allowed), i(S::allowed), i(S::allowed)};
        QTest::addRow("no XTest, camera and audio server refuse")
            << false << int(D::refused) << int(D::refused) << true
            << QList<int>{i(S::needed), i(S::needed), i(S::needed)};
        QTest::addRow("no camera, no audio server")
            << true << int(D::none) << int(D::none) << true
            << QList<int>{i(S::allowed), i(S::unavailable), i(S::unavailable)};
        QTest::addRow("a strange camera, an audio server without inputs")
            << true << int(D::unexpected) << int(D::open) << false
            << QList<int>{i(S::allowed), i(S::unavailable), i(S::unavailable)};
    }
    void statesFollowTheSystem()
    {
        QFETCH(bool, xtest);
        QFETCH(int, camera);
        QFETCH(int, audioServer);
        QFETCH(bool, audioInput);
        QFETCH(QList<int>, states);
        auto probe = std::make_unique<FakePermissionProbe>();
        probe->camera = DeviceAccess(camera);
        probe->audioServer = DeviceAccess(audioServer);
        probe->audioInput = audioInput;
        Permissions permissions(std::move(probe), [xtest] { return xtest; });
        QSignalSpy refreshed(&permissions, &Permissions::refreshed);
        permissions.refresh();
        QVERIFY(refreshed.wait(10000));

        const PermissionSummaries summaries = permissions.summaries();
        QList<int> found;
        QStringList ids;
        for (const PermissionSummary &summary : summaries) {
            found << int(summary.state);
            ids << summary.id;
        }
        QCOMPARE(ids, (QStringList{"accessibility", "camera", "microphone"}));
        QCOMPARE(found, states);
        QVERIFY(!summaries[0].canOpenSettings());
        QVERIFY(summaries[2].canOpenSettings());
    }

    void aSlowSystemNeverHoldsUpTheGuiThread()
    {
        auto probe = std::make_unique<FakePermissionProbe>();
        probe->camera = DeviceAccess::open;
        QSemaphore gate;
        probe->gate = &gate;
        const FakePermissionProbe *held = probe.get();
        Permissions permissions(std::move(probe), [] { return true; });
        QSignalSpy changed(&permissions, &Permissions::summariesChanged);
        QSignalSpy refreshed(&permissions, &Permissions::refreshed);

        // Both calls return while the probe is still held.
        permissions.refresh();
        permissions.refresh();
        QCOMPARE(held->cameraAnswers.load(), 0);
        QCOMPARE(permissions.summaries()[1].state, PermissionState::unavailable);
        gate.release(2);

        // The second request runs after the first and finds nothing new: one change, two answers.
        QTRY_COMPARE_WITH_TIMEOUT(refreshed.size(), 2, 10000);
        QCOMPARE(changed.size(), 1);
        QCOMPARE(permissions.summaries()[1].state, PermissionState::allowed);
    }
};

QTEST_GUILESS_MAIN(tst_Permissions)
#include "tst_permissions.moc"
