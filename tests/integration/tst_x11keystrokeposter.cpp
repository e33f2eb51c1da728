#include "Clipboard/PasteService.h"
#include "DesktopTools.h"
#include "PeerProcess.h"
#include "Platform/X11/X11KeystrokePoster.h"
#include "Platform/X11/X11Pasteboard.h"
#include "X11TestMain.h"

namespace {

bool setLayout(const QStringList &arguments)
{
    const std::optional<ToolResult> result = runTool(QStringLiteral("setxkbmap"), arguments);
    return result && result->exitCode == 0;
}

} // namespace

class TestX11KeystrokePoster final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { HALCY_REQUIRE_X11_SESSION("xdotool"); }

    void cleanup()
    {
        xdotool({QStringLiteral("keyup"), QStringLiteral("super"), QStringLiteral("shift"),
                 QStringLiteral("ctrl"), QStringLiteral("alt")});
        setLayout({QStringLiteral("-layout"), QStringLiteral("us")});
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

        if (!layout.isEmpty() && !setLayout(layout))
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
};

HALCY_X11_TEST_MAIN(TestX11KeystrokePoster)
#include "tst_x11keystrokeposter.moc"
