#include "Clipboard/PasteService.h"
#include "DesktopTools.h"
#include "PeerProcess.h"
#include "Platform/X11/X11FrontmostApplication.h"
#include "Platform/X11/X11KeystrokePoster.h"
#include "Platform/X11/X11Pasteboard.h"
#include "X11TestMain.h"

#include <QFile>
#include <QProcess>
#include <QScopeGuard>
#include <QStandardPaths>
#include <QTemporaryDir>

class TestX11KeystrokePoster final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { HALCY_REQUIRE_X11_SESSION("xdotool"); }

    void cleanup()
    {
        xdotool({QStringLiteral("keyup"), QStringLiteral("super"), QStringLiteral("shift"),
                 QStringLiteral("ctrl"), QStringLiteral("alt")});
        setKeyboardLayout({QStringLiteral("-layout"), QStringLiteral("us")});
    }

    void pastesIntoAnotherApplication_data()
    {
        QTest::addColumn<QStringList>("heldKeys");
        QTest::addColumn<QStringList>("layout");
        QTest::addColumn<PasteMode>("mode");
        QTest::addColumn<QString>("expected");

        QTest::addRow("plain text paste with super and shift still held from the shortcut")
            << QStringList{"super", "shift"} << QStringList{} << PasteMode::plainText << "pasted by Halcy ✓";
        QTest::addRow("alt still held")
            << QStringList{"alt"} << QStringList{} << PasteMode::plainText << "pasted by Halcy ✓";
        // Dvorak puts "v" on another key: the keystroke must follow the layout, not a fixed position.
        QTest::addRow("dvorak layout") << QStringList{} << QStringList{"-layout", "us", "-variant", "dvorak"}
                                       << PasteMode::plainText << "pasted by Halcy ✓";
    }

    void pastesIntoAnotherApplication()
    {
        QFETCH(QStringList, heldKeys);
        QFETCH(QStringList, layout);
        QFETCH(PasteMode, mode);
        QFETCH(QString, expected);

        if (!layout.isEmpty() && !setKeyboardLayout(layout))
            QSKIP("setxkbmap cannot switch the layout here");

        PeerProcess peer(QStringLiteral(HALCY_TEST_PEERS_DIR "/text_field_peer"));
        QVERIFY2(peer.start({}), qPrintable(peer.errorOutput()));
        // Keys typed before the field has taken the focus go nowhere.
        QVERIFY(activatePeerWindow(peer) && peerHasFocus(peer));

        X11Pasteboard pasteboard;
        X11KeystrokePoster poster;
        PasteService service(&pasteboard, &poster);
        ClipboardHistoryEntry entry;
        entry.textContent = QStringLiteral("  pasted by Halcy ✓ ");
        QVERIFY(service.write(entry, mode, std::nullopt));

        if (!heldKeys.isEmpty())
            QVERIFY(xdotool(QStringList{QStringLiteral("keydown")} + heldKeys));
        QVERIFY(service.canPostKeystrokes());
        QVERIFY(service.postPasteKeystroke());
        if (!heldKeys.isEmpty())
            QVERIFY(xdotool(QStringList{QStringLiteral("keyup")} + heldKeys));

        // The field fetches the text from us, so keep serving while asking.
        if (!QTest::qWaitFor([&] { return peerText(peer) == expected; }, 5000))
            qWarning().noquote() << "text field peer said:" << peer.errorOutput();
        QCOMPARE(peerText(peer), expected);
    }

    // Each terminal takes its own keystroke; the one chosen by the window's class must paste there.
    void pastesIntoTerminals_data()
    {
        QTest::addColumn<QString>("program");
        QTest::addColumn<QStringList>("titleOption");

        QTest::addRow("lxterminal takes Control+Shift+V")
            << QStringLiteral("lxterminal") << QStringList{"--no-remote", "-t"};
        QTest::addRow("xterm takes Shift+Insert from the primary selection")
            << QStringLiteral("xterm") << QStringList{"-T"};
    }

    void pastesIntoTerminals()
    {
        QFETCH(QString, program);
        QFETCH(QStringList, titleOption);
        if (QStandardPaths::findExecutable(program).isEmpty())
            QSKIP("the terminal is not installed (scripts/install-deps.sh test)");

        QTemporaryDir dir;
        const QString output = dir.filePath(QStringLiteral("pasted"));
        const QString title = QStringLiteral("halcy-paste-%1").arg(program);
        QProcess terminal;
        terminal.start(program, titleOption + QStringList{title, QStringLiteral("-e"), QStringLiteral("sh"),
                                                          QStringLiteral("-c"),
                                                          QStringLiteral("cat > '%1'").arg(output)});
        auto stop = qScopeGuard([&] {
            terminal.kill();
            terminal.waitForFinished(3000);
        });
        QString window;
        QTRY_VERIFY_WITH_TIMEOUT(([&] {
                                     const std::optional<ToolResult> found =
                                         runTool(QStringLiteral("xdotool"),
                                                 {QStringLiteral("search"), QStringLiteral("--name"), title});
                                     window = found ? QString::fromUtf8(found->output).section(u'\n', 0, 0)
                                                    : QString();
                                     return !window.isEmpty();
                                 }()),
                                 15000);
        QVERIFY(xdotool({QStringLiteral("windowactivate"), QStringLiteral("--sync"), window}));

        X11Pasteboard pasteboard;
        X11KeystrokePoster poster;
        X11FrontmostApplication frontmost;
        PasteService service(&pasteboard, &poster, &frontmost);
        ClipboardHistoryEntry entry;
        entry.textContent = QStringLiteral("echo pasted by Halcy ✓\n");
        QVERIFY(service.write(entry, PasteMode::formatted, std::nullopt));
        QVERIFY(service.postPasteKeystroke());

        QFile file(output);
        QTRY_VERIFY_WITH_TIMEOUT(([&] {
                                     file.close();
                                     return file.open(QIODevice::ReadOnly) &&
                                            file.readAll() == "echo pasted by Halcy \xe2\x9c\x93\n";
                                 }()),
                                 8000);
    }
};

HALCY_X11_TEST_MAIN(TestX11KeystrokePoster)
#include "tst_x11keystrokeposter.moc"
