#include "DesktopTools.h"
#include "PeerProcess.h"
#include "Platform/X11/X11FrontmostApplication.h"
#include "SampleContent.h"
#include "TestEnvironment.h"
#include "TestTime.h"
#include "X11TestMain.h"

#include <QDir>
#include <QLocale>
#include <QWindow>

class TestX11FrontmostApplication final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        HALCY_REQUIRE_X11_SESSION("xdotool");
        m_env = std::make_unique<TestEnvironment>();
        const QString dir = m_env->dataHome() + QStringLiteral("/applications");
        QVERIFY(QDir().mkpath(dir + QStringLiteral("/suite")));
        const QList<std::pair<QString, QByteArray>> desktopFiles{
            {"org.example.PeerEditor.desktop", "Name=Peer Editor\nStartupWMClass=HalcyPeerEditor\n"
                                               "[Desktop Action New]\nName=Wrong Name\n"},
            {"halcypeerwriter.desktop", "Name=Peer Writer\n"},
            {"org.example.HalcyPeerNotes.desktop", "Name=Peer\\sNotes\n"},
            {"halcypeeratlas.desktop", "Name=Peer Atlas\nName[de]=Peer-Atlas\n"},
            {"halcypeerhidden.desktop", "Name=Uninstalled\nHidden=true\n"},
            {"suite/halcypeersuite.desktop", "Name=Peer Suite\n"},
        };
        for (const auto &[fileName, contents] : desktopFiles)
            QVERIFY(!writeFile(dir, fileName, "[Desktop Entry]\nType=Application\n" + contents).isEmpty());
        // Only one entry has a German name: the others must fall back to their plain one.
        QLocale::setDefault(QLocale(QStringLiteral("de_DE")));
    }

    void namesTheActiveApplication_data()
    {
        QTest::addColumn<QString>("windowClass");
        QTest::addColumn<QString>("expected");
        const auto row = [](const char *name, const char *windowClass, const char *expected) {
            QTest::newRow(name) << QString::fromLatin1(windowClass) << QString::fromLatin1(expected);
        };
        row("desktop entry found by StartupWMClass", "HalcyPeerEditor", "Peer Editor");
        row("desktop file named after the class", "HalcyPeerWriter", "Peer Writer");
        row("last part of a reverse-domain file name", "HalcyPeerNotes", "Peer Notes");
        row("file in a subdirectory", "Suite-HalcyPeerSuite", "Peer Suite");
        row("localized name", "HalcyPeerAtlas", "Peer-Atlas");
        row("hidden entry falls back to the class", "HalcyPeerHidden", "HalcyPeerHidden");
        row("no entry: the class name", "HalcyPeerPlain", "HalcyPeerPlain");
    }

    void namesTheActiveApplication()
    {
        QFETCH(QString, windowClass);
        QFETCH(QString, expected);

        PeerProcess peer(QStringLiteral(HALCY_TEST_PEERS_DIR "/text_field_peer"));
        QVERIFY(peer.start({"--class", windowClass}) && activatePeerWindow(peer));
        X11FrontmostApplication frontmost;
        QTRY_COMPARE_WITH_TIMEOUT(frontmost.activeWindowClass().value_or(WindowClass()).className,
                                  windowClass, scaledTimeout(10000));
        QCOMPARE(frontmost.activeWindowClass()->instance, QStringLiteral("text_field_peer"));
        QCOMPARE(frontmost.name(), expected);
    }

    // A copy made in the hub belongs to the application the user was in before it.
    void ourOwnWindowIsNeverTheApplication()
    {
        X11FrontmostApplication frontmost;
        {
            PeerProcess peer(QStringLiteral(HALCY_TEST_PEERS_DIR "/text_field_peer"));
            QVERIFY(peer.start({"--class", "HalcyPeerEditor"}) && activatePeerWindow(peer));
            QTRY_COMPARE_WITH_TIMEOUT(frontmost.name(), QStringLiteral("Peer Editor"), scaledTimeout(10000));
            QWindow ours;
            ours.resize(200, 100);
            ours.show();
            QVERIFY(QTest::qWaitForWindowExposed(&ours, scaledTimeout(5000)));
            QVERIFY(xdotool({"windowactivate", "--sync", QString::number(ours.winId())}));
            QTRY_VERIFY_WITH_TIMEOUT(ours.isActive(), scaledTimeout(10000));
            QCOMPARE(frontmost.name(), QStringLiteral("Peer Editor"));
        }
        // With every window gone the window manager leaves none active, and there is no application.
        QTRY_COMPARE_WITH_TIMEOUT(frontmost.name(), QString(), scaledTimeout(10000));
        QVERIFY(!frontmost.activeWindowClass());
    }

private:
    std::unique_ptr<TestEnvironment> m_env;
};

HALCY_X11_TEST_MAIN(TestX11FrontmostApplication)
#include "tst_x11frontmostapplication.moc"
