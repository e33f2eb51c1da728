#include "PeerProcess.h"
#include "Platform/X11/X11FrontmostApplication.h"
#include "TestEnvironment.h"
#include "X11TestMain.h"

#include <QDir>
#include <QFile>
#include <QLocale>
#include <QStandardPaths>

namespace {

const QString textFieldPeer = QStringLiteral(HALCY_TEST_PEERS_DIR "/text_field_peer");

bool activate(const QString &readyLine)
{
    const QString windowId = readyLine.section(QLatin1Char(' '), 1, 1);
    const std::optional<ToolResult> result = runTool(
        QStringLiteral("xdotool"), {QStringLiteral("windowactivate"), QStringLiteral("--sync"), windowId});
    return result && result->exitCode == 0;
}

} // namespace

class TestX11FrontmostApplication final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();

    void namesTheActiveApplication_data();
    void namesTheActiveApplication();
    void emptyWithoutActiveWindow();

private:
    void writeDesktopFile(const QString &fileName, const QByteArray &contents);

    std::unique_ptr<TestEnvironment> m_env;
};

void TestX11FrontmostApplication::initTestCase()
{
    HALCY_REQUIRE_X11_SESSION();
    if (QStandardPaths::findExecutable(QStringLiteral("xdotool")).isEmpty())
        QSKIP("xdotool is not installed (scripts/install-deps.sh test)");
    m_env = std::make_unique<TestEnvironment>();

    writeDesktopFile(QStringLiteral("org.example.PeerEditor.desktop"),
                     "[Desktop Entry]\nType=Application\nName=Peer Editor\nStartupWMClass=HalcyPeerEditor\n"
                     "[Desktop Action New]\nName=Wrong Name\n");
    writeDesktopFile(QStringLiteral("halcypeerwriter.desktop"),
                     "[Desktop Entry]\nType=Application\nName=Peer Writer\n");
    writeDesktopFile(QStringLiteral("org.example.HalcyPeerNotes.desktop"),
                     "[Desktop Entry]\nType=Application\nName=Peer\\sNotes\n");
    writeDesktopFile(QStringLiteral("halcypeeratlas.desktop"),
                     "[Desktop Entry]\nType=Application\nName=Peer Atlas\nName[de]=Peer-Atlas\n");
    writeDesktopFile(QStringLiteral("halcypeerhidden.desktop"),
                     "[Desktop Entry]\nType=Application\nName=Uninstalled\nHidden=true\n");
    writeDesktopFile(QStringLiteral("suite/halcypeersuite.desktop"),
                     "[Desktop Entry]\nType=Application\nName=Peer Suite\n");
}

void TestX11FrontmostApplication::cleanup()
{
    QLocale::setDefault(QLocale::c());
}

void TestX11FrontmostApplication::writeDesktopFile(const QString &fileName, const QByteArray &contents)
{
    const QString path = m_env->dataHome() + QStringLiteral("/applications/") + fileName;
    QVERIFY(QDir().mkpath(QFileInfo(path).absolutePath()));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(contents);
}

void TestX11FrontmostApplication::namesTheActiveApplication_data()
{
    QTest::addColumn<QString>("windowClass");
    QTest::addColumn<QString>("locale");
    QTest::addColumn<QString>("expected");

    QTest::addRow("desktop entry found by StartupWMClass") << "HalcyPeerEditor"
                                                           << "C"
                                                           << "Peer Editor";
    QTest::addRow("desktop file named after the class") << "HalcyPeerWriter"
                                                        << "C"
                                                        << "Peer Writer";
    QTest::addRow("last part of a reverse-domain file name") << "HalcyPeerNotes"
                                                             << "C"
                                                             << "Peer Notes";
    QTest::addRow("file in a subdirectory") << "Suite-HalcyPeerSuite"
                                            << "C"
                                            << "Peer Suite";
    QTest::addRow("localized name") << "HalcyPeerAtlas"
                                    << "de_DE"
                                    << "Peer-Atlas";
    QTest::addRow("hidden entry falls back to the class") << "HalcyPeerHidden"
                                                          << "C"
                                                          << "HalcyPeerHidden";
    QTest::addRow("no entry: the class name") << "HalcyPeerPlain"
                                              << "C"
                                              << "HalcyPeerPlain";
}

void TestX11FrontmostApplication::namesTheActiveApplication()
{
    QFETCH(QString, windowClass);
    QFETCH(QString, locale);
    QFETCH(QString, expected);

    QLocale::setDefault(QLocale(locale));
    PeerProcess peer(textFieldPeer);
    QVERIFY2(peer.start({QStringLiteral("--class"), windowClass}), qPrintable(peer.errorOutput()));
    QVERIFY(activate(peer.readyLine()));

    X11FrontmostApplication frontmost;
    QTRY_COMPARE_WITH_TIMEOUT(
        frontmost.activeWindowClass().value_or(X11FrontmostApplication::WindowClass()).className, windowClass,
        3000);
    QCOMPARE(frontmost.activeWindowClass()->instance, QStringLiteral("text_field_peer"));
    QCOMPARE(frontmost.name(), expected);
}

void TestX11FrontmostApplication::emptyWithoutActiveWindow()
{
    {
        PeerProcess peer(textFieldPeer);
        QVERIFY(peer.start({QStringLiteral("--class"), QStringLiteral("HalcyPeerGone")}));
        QVERIFY(activate(peer.readyLine()));
        X11FrontmostApplication frontmost;
        QTRY_COMPARE_WITH_TIMEOUT(frontmost.name(), QStringLiteral("HalcyPeerGone"), 3000);
    }
    // The only application window is gone; the window manager leaves nothing active.
    X11FrontmostApplication frontmost;
    QTRY_COMPARE_WITH_TIMEOUT(frontmost.name(), QString(), 3000);
    QVERIFY(!frontmost.activeWindowClass());
}

HALCY_X11_TEST_MAIN(TestX11FrontmostApplication)
#include "tst_x11frontmostapplication.moc"
