#include "App/Permissions.h"
#include "Platform/KeystrokePoster.h"
#include "Platform/Linux/LinuxPermissionProbe.h"
#include "X11TestMain.h"

#include <QDir>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

// The permission summaries on this machine: an X server with XTest, no camera, and PulseAudio present
// or gone.
class TestPermissionsDesktop final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { HALCY_REQUIRE_X11_SESSION(); }

    void summariesOfThisMachine_data()
    {
        QTest::addColumn<QByteArray>("pulseServer");
        QTest::addColumn<QList<int>>("states");
        using S = PermissionState;
        const auto i = [](S s) { return int(s); };
        QTest::addRow("the session's audio server")
            << QByteArray() << QList<int>{i(S::allowed), i(S::unavailable), i(S::allowed)};
        QTest::addRow("no audio server at its address")
            << QByteArray("unix:/nonexistent/pulse/native")
            << QList<int>{i(S::allowed), i(S::unavailable), i(S::unavailable)};
        QTest::addRow("a stale socket nobody listens on")
            << QByteArray("stale") << QList<int>{i(S::allowed), i(S::unavailable), i(S::unavailable)};
    }
    void summariesOfThisMachine()
    {
        if (QStandardPaths::findExecutable(QStringLiteral("pactl")).isEmpty())
            QSKIP("pactl is not installed (scripts/install-deps.sh test)");
        if (!QDir(QStringLiteral("/dev")).entryList({QStringLiteral("video*")}, QDir::System).isEmpty())
            QSKIP("this machine has a camera");
        QFETCH(QByteArray, pulseServer);
        QTemporaryDir dir;
        if (pulseServer == "stale") {
            // A socket file left behind by a server that is gone.
            const QByteArray path = QFile::encodeName(dir.path() + QStringLiteral("/native"));
            sockaddr_un address{};
            address.sun_family = AF_UNIX;
            std::copy(path.begin(), path.end(), address.sun_path);
            const int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
            QCOMPARE(::bind(fd, reinterpret_cast<const sockaddr *>(&address), sizeof(address)), 0);
            ::close(fd);
            pulseServer = "unix:" + path;
        }
        const QByteArray saved = qgetenv("PULSE_SERVER");
        if (!pulseServer.isEmpty())
            qputenv("PULSE_SERVER", pulseServer);
        const std::unique_ptr<KeystrokePoster> poster = KeystrokePoster::createDefault();
        Permissions permissions(std::make_unique<LinuxPermissionProbe>(),
                                [&poster] { return poster->isAvailable(); });
        QSignalSpy refreshed(&permissions, &Permissions::refreshed);
        permissions.refresh();
        const bool answered = refreshed.wait(10000);
        qputenv("PULSE_SERVER", saved);
        if (saved.isEmpty())
            qunsetenv("PULSE_SERVER");
        QVERIFY(answered);

        QFETCH(QList<int>, states);
        QList<int> found;
        for (const PermissionSummary &summary : permissions.summaries())
            found << int(summary.state);
        QCOMPARE(found, states);
    }
};

HALCY_X11_TEST_MAIN(TestPermissionsDesktop)
#include "tst_permissionsdesktop.moc"
