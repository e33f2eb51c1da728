#include "Clipboard/PasteService.h"
#include "PeerProcess.h"
#include "Platform/X11/X11KeystrokePoster.h"
#include "Platform/X11/X11Pasteboard.h"
#include "X11TestMain.h"

#include <QDeadlineTimer>
#include <QStandardPaths>

namespace {

bool run(const QString &tool, const QStringList &arguments)
{
    const std::optional<ToolResult> result = runTool(tool, arguments);
    return result && result->exitCode == 0;
}

} // namespace

class TestX11KeystrokePoster final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        HALCY_REQUIRE_X11_SESSION();
        if (QStandardPaths::findExecutable(QStringLiteral("xdotool")).isEmpty())
            QSKIP("xdotool is not installed (scripts/install-deps.sh test)");
    }

    void cleanup()
    {
        run(QStringLiteral("xdotool"),
            {QStringLiteral("keyup"), QStringLiteral("super"), QStringLiteral("shift"),
             QStringLiteral("ctrl"), QStringLiteral("alt")});
        run(QStringLiteral("setxkbmap"), {QStringLiteral("-layout"), QStringLiteral("us")});
    }

    void pastesIntoAnotherApplication_data()
    {
        QTest::addColumn<QStringList>("heldKeys");
        QTest::addColumn<QStringList>("layout");
        QTest::addColumn<PasteMode>("mode");
        QTest::addColumn<QString>("expected");

        QTest::addRow("formatted paste keeps the blanks")
            << QStringList{} << QStringList{} << PasteMode::formatted << "  pasted by Halcy ✓ ";
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

        if (!layout.isEmpty() && !run(QStringLiteral("setxkbmap"), layout))
            QSKIP("setxkbmap cannot switch the layout here");

        PeerProcess peer(QStringLiteral(HALCY_TEST_PEERS_DIR "/text_field_peer"));
        QVERIFY2(peer.start({}), qPrintable(peer.errorOutput()));
        QVERIFY(run(QStringLiteral("xdotool"), {QStringLiteral("windowactivate"), QStringLiteral("--sync"),
                                                peer.readyLine().section(QLatin1Char(' '), 1, 1)}));
        // Keys typed before the field has taken the focus go nowhere.
        QTRY_VERIFY_WITH_TIMEOUT(([&] {
                                     peer.writeLine(QStringLiteral("focus"));
                                     return peer.readLine(1000) == QStringLiteral("focus 1");
                                 }()),
                                 3000);

        X11Pasteboard pasteboard;
        X11KeystrokePoster poster;
        PasteService service(&pasteboard, &poster);
        ClipboardHistoryEntry entry;
        entry.textContent = QStringLiteral("  pasted by Halcy ✓ ");
        QVERIFY(service.write(entry, mode, std::nullopt));

        if (!heldKeys.isEmpty())
            QVERIFY(run(QStringLiteral("xdotool"), QStringList{QStringLiteral("keydown")} + heldKeys));
        QVERIFY(service.canPostKeystrokes());
        QVERIFY(service.postPasteKeystroke());
        if (!heldKeys.isEmpty())
            QVERIFY(run(QStringLiteral("xdotool"), QStringList{QStringLiteral("keyup")} + heldKeys));

        // The field fetches the text from us, so keep serving while asking.
        QString text;
        const QDeadlineTimer deadline(5000);
        do {
            peer.writeLine(QStringLiteral("text"));
            text = peer.readLine(1000).value_or(QString()).mid(5);
            if (text != expected)
                spinEventLoop(50);
        } while (text != expected && !deadline.hasExpired());
        if (text != expected)
            qWarning().noquote() << "text field peer said:" << peer.errorOutput();
        QCOMPARE(text, expected);
    }
};

HALCY_X11_TEST_MAIN(TestX11KeystrokePoster)
#include "tst_x11keystrokeposter.moc"
