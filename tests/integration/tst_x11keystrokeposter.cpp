#include "Clipboard/PasteService.h"
#include "DesktopTools.h"
#include "PeerProcess.h"
#include "Platform/X11/X11FrontmostApplication.h"
#include "Platform/X11/X11KeystrokePoster.h"
#include "Platform/X11/X11Pasteboard.h"
#include "TestTime.h"
#include "X11TestMain.h"

#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>

class TestX11KeystrokePoster final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { HALCY_REQUIRE_X11_SESSION("xdotool"); }

    void cleanup()
    {
        xdotool({"keyup", "super", "shift", "ctrl", "alt"});
        setKeyboardLayout({QStringLiteral("-layout"), QStringLiteral("us")});
    }

    // The keystroke follows the class of the window (terminals take their own), the keyboard layout (Dvorak
    // puts "v" on another key), and releases the modifiers still held from the shortcut.
    void pastesIntoTheActiveWindow_data()
    {
        QTest::addColumn<QStringList>("terminal"); // program and title option; none: the text field peer
        QTest::addRow("text field") << QStringList{};
        QTest::addRow("lxterminal takes Control+Shift+V") << QStringList{"lxterminal", "--no-remote", "-t"};
        QTest::addRow("xterm takes Shift+Insert from the primary selection") << QStringList{"xterm", "-T"};
    }

    void pastesIntoTheActiveWindow()
    {
        QFETCH(QStringList, terminal);
        if (!terminal.isEmpty() && QStandardPaths::findExecutable(terminal.constFirst()).isEmpty())
            QSKIP("the terminal is not installed (scripts/install-deps.sh test)");
        if (!setKeyboardLayout({"-layout", "us", "-variant", "dvorak"}))
            QSKIP("setxkbmap cannot switch the layout here");

        QTemporaryDir dir;
        const QString output = dir.filePath(QStringLiteral("pasted"));
        PeerProcess field(QStringLiteral(HALCY_TEST_PEERS_DIR "/text_field_peer"));
        QProcess window;
        if (terminal.isEmpty()) {
            QVERIFY(field.start({}));
            // Keys typed before the field has taken the focus go nowhere.
            QVERIFY(activatePeerWindow(field) && peerHasFocus(field));
        } else {
            // Without line buffering, so that text without a line end reaches the file.
            const QString title = QStringLiteral("halcy-paste-") + terminal.constFirst();
            window.start(terminal.constFirst(),
                         terminal.mid(1) +
                             QStringList{title, "-e", "sh", "-c", "stty -icanon; cat > '" + output + "'"});
            QVERIFY(xdotool({"search", "--sync", "--name", title, "windowactivate", "--sync"}));
        }

        X11Pasteboard pasteboard;
        X11KeystrokePoster poster;
        X11FrontmostApplication frontmost;
        PasteService service(&pasteboard, &poster, &frontmost);
        ClipboardHistoryEntry entry;
        entry.textContent = QStringLiteral("pasted by Halcy ✓");
        QVERIFY(service.write(entry, PasteMode::plainText, std::nullopt));
        QVERIFY(xdotool({"keydown", "super", "shift", "alt"}));
        QVERIFY(service.postPasteKeystroke());
        // The window fetches the text from us, so keep serving while asking.
        const auto pasted = [&] {
            QFile file(output);
            return terminal.isEmpty()               ? peerText(field)
                   : file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll())
                                                    : QString();
        };
        QTRY_COMPARE_WITH_TIMEOUT(pasted(), entry.textContent.value(), scaledTimeout(8000));
    }
};

HALCY_X11_TEST_MAIN(TestX11KeystrokePoster)
#include "tst_x11keystrokeposter.moc"
