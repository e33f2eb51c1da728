#include "App/AppCommanding.h"
#include "Hotkeys/HotkeyManager.h"
#include "Hotkeys/KeyboardShortcutDescriptor.h"
#include "PeerProcess.h"
#include "Platform/X11/X11HotkeyRegistrar.h"
#include "X11TestMain.h"

#include <QRegularExpression>
#include <QSignalSpy>
#include <QStandardPaths>

#include <xcb/xcb.h>
#include <xcb/xcb_keysyms.h>

#include <cstdlib>
#include <memory>

namespace {

constexpr xcb_keysym_t keysymD = 'd';
constexpr xcb_keysym_t keysymM = 'm';
constexpr uint16_t controlSuper = XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_4;
constexpr uint16_t numLock = XCB_MOD_MASK_2;

const QList<Modifier> shiftCommand{Modifier::command, Modifier::shift};
const QList<Modifier> controlCommand{Modifier::control, Modifier::command};

// Another X client on its own connection, to hold or probe key grabs the way a second program would.
class OtherClient final
{
public:
    OtherClient() : m_connection(xcb_connect(nullptr, nullptr))
    {
        if (!xcb_connection_has_error(m_connection)) {
            m_root = xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data->root;
            m_symbols = xcb_key_symbols_alloc(m_connection);
        }
    }
    ~OtherClient()
    {
        if (m_symbols)
            xcb_key_symbols_free(m_symbols);
        xcb_disconnect(m_connection);
    }
    OtherClient(const OtherClient &) = delete;
    OtherClient &operator=(const OtherClient &) = delete;

    bool isConnected() const { return m_symbols != nullptr; }

    // True when the server granted the grab, false on BadAccess (someone else holds it).
    bool grab(xcb_keysym_t keysym, uint16_t modifiers)
    {
        xcb_keycode_t *codes = xcb_key_symbols_get_keycode(m_symbols, keysym);
        const xcb_keycode_t code = codes ? codes[0] : XCB_NO_SYMBOL;
        std::free(codes);
        if (code == XCB_NO_SYMBOL)
            return false;
        const xcb_void_cookie_t cookie = xcb_grab_key_checked(m_connection, 0, m_root, modifiers, code,
                                                              XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
        xcb_generic_error_t *error = xcb_request_check(m_connection, cookie);
        std::free(error);
        return error == nullptr;
    }

    // Grabs every lock variant; true only if all four were granted.
    bool grabInEveryLockState(xcb_keysym_t keysym, uint16_t modifiers)
    {
        bool all = true;
        const uint16_t lockStates[] = {0, XCB_MOD_MASK_LOCK, XCB_MOD_MASK_2,
                                       XCB_MOD_MASK_LOCK | XCB_MOD_MASK_2};
        for (const uint16_t locks : lockStates)
            all = grab(keysym, modifiers | locks) && all;
        return all;
    }

private:
    xcb_connection_t *m_connection;
    xcb_window_t m_root = 0;
    xcb_key_symbols_t *m_symbols = nullptr;
};

class CountingCommander final : public AppCommanding
{
public:
    int hub = 0;
    int mirror = 0;
    int desktop = 0;

    void toggleHub() override { ++hub; }
    void toggleMirror() override { ++mirror; }
    void toggleDesktopCover() override { ++desktop; }
    void copyEntry(const ClipboardHistoryEntry &, PasteMode) override {}
    void pasteEntry(const ClipboardHistoryEntry &, PasteMode) override {}
    void togglePin(const QUuid &) override {}
    void deleteEntry(const QUuid &) override {}
    void clearHistory() override {}
    void clearRecentHistory() override {}
    void openSettings() override {}
    void openSettingsAtTab(SettingsTab) override {}
    void refreshPermissions() override {}
    void checkForUpdates() override {}
    void quit() override {}
};

bool xdotool(const QStringList &arguments)
{
    const std::optional<ToolResult> result = runTool(QStringLiteral("xdotool"), arguments);
    return result && result->exitCode == 0;
}

bool pressKeys(const QString &combination)
{
    return xdotool({QStringLiteral("key"), combination});
}

// Caps Lock or Num Lock as the server's LEDs report it.
bool lockIsOn(const QString &name)
{
    const std::optional<ToolResult> result = runTool(QStringLiteral("xset"), {QStringLiteral("q")});
    if (!result)
        return false;
    const QRegularExpression pattern(QRegularExpression::escape(name) + QStringLiteral(":\\s+on"));
    return pattern.match(QString::fromLocal8Bit(result->output)).hasMatch();
}

bool setLock(const QString &name, const QString &keysym, bool on)
{
    if (lockIsOn(name) != on)
        pressKeys(keysym);
    return lockIsOn(name) == on;
}

bool grabTable(X11HotkeyRegistrar &registrar)
{
    return registrar.grab(1, Qt::Key_V, shiftCommand) && registrar.grab(2, Qt::Key_M, controlCommand) &&
           registrar.grab(3, Qt::Key_D, controlCommand);
}

} // namespace

class TestX11Hotkeys final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        HALCY_REQUIRE_X11_SESSION();
        if (QStandardPaths::findExecutable(QStringLiteral("xdotool")).isEmpty())
            QSKIP("xdotool is not installed (scripts/install-deps.sh test)");
        if (QStandardPaths::findExecutable(QStringLiteral("xset")).isEmpty())
            QSKIP("xset is not installed (scripts/install-deps.sh test)");
    }

    void init()
    {
        // A grab that fails must stay quiet: no warning of ours, and no X error leaking into Qt's log.
        QTest::failOnWarning(QRegularExpression(QStringLiteral(".*")));
    }

    void cleanup()
    {
        setLock(QStringLiteral("Caps Lock"), QStringLiteral("Caps_Lock"), false);
        setLock(QStringLiteral("Num Lock"), QStringLiteral("Num_Lock"), false);
    }

    void pressReachesItsGrab_data()
    {
        QTest::addColumn<QString>("combination");
        QTest::addColumn<bool>("capsLock");
        QTest::addColumn<bool>("numLock");
        QTest::addColumn<quint32>("id");

        QTest::addRow("super shift v") << QStringLiteral("super+shift+v") << false << false << 1u;
        QTest::addRow("with Num Lock on") << QStringLiteral("super+shift+v") << false << true << 1u;
        QTest::addRow("with Caps Lock on") << QStringLiteral("super+shift+v") << true << false << 1u;
        QTest::addRow("with both locks on") << QStringLiteral("super+shift+v") << true << true << 1u;
        QTest::addRow("ctrl super m") << QStringLiteral("ctrl+super+m") << false << false << 2u;
        QTest::addRow("ctrl super d with Num Lock on")
            << QStringLiteral("ctrl+super+d") << false << true << 3u;
        QTest::addRow("modifiers typed in another order")
            << QStringLiteral("super+ctrl+m") << false << false << 2u;
    }

    void pressReachesItsGrab()
    {
        QFETCH(QString, combination);
        QFETCH(bool, capsLock);
        QFETCH(bool, numLock);
        QFETCH(quint32, id);

        X11HotkeyRegistrar registrar;
        QVERIFY(grabTable(registrar));
        QSignalSpy pressed(&registrar, &HotkeyRegistrar::pressed);
        QVERIFY(setLock(QStringLiteral("Caps Lock"), QStringLiteral("Caps_Lock"), capsLock));
        QVERIFY(setLock(QStringLiteral("Num Lock"), QStringLiteral("Num_Lock"), numLock));

        QVERIFY(pressKeys(combination));
        QTRY_COMPARE(pressed.size(), 1);
        QCOMPARE(pressed.at(0).at(0).value<quint32>(), id);
        // One press, one signal.
        spinEventLoop(300);
        QCOMPARE(pressed.size(), 1);
    }

    void otherCombinationsPassThrough_data()
    {
        QTest::addColumn<QString>("combination");
        QTest::addRow("shift missing") << QStringLiteral("super+v");
        QTest::addRow("super missing") << QStringLiteral("shift+v");
        QTest::addRow("extra modifier") << QStringLiteral("ctrl+super+shift+m");
        QTest::addRow("alt instead of ctrl") << QStringLiteral("alt+super+d");
        QTest::addRow("plain key") << QStringLiteral("m");
    }

    void otherCombinationsPassThrough()
    {
        QFETCH(QString, combination);
        X11HotkeyRegistrar registrar;
        QVERIFY(grabTable(registrar));
        QSignalSpy pressed(&registrar, &HotkeyRegistrar::pressed);

        QVERIFY(pressKeys(combination));
        spinEventLoop(400);
        QCOMPARE(pressed.size(), 0);
        // The grabs still work afterwards.
        QVERIFY(pressKeys(QStringLiteral("super+shift+v")));
        QTRY_COMPARE(pressed.size(), 1);
    }

    void heldShortcutFiresOnce()
    {
        X11HotkeyRegistrar registrar;
        QVERIFY(grabTable(registrar));
        QSignalSpy pressed(&registrar, &HotkeyRegistrar::pressed);

        QVERIFY(xdotool({QStringLiteral("keydown"), QStringLiteral("super+shift+v")}));
        // Longer than the server's auto-repeat delay, so repeats would have arrived by now.
        spinEventLoop(1200);
        QVERIFY(xdotool({QStringLiteral("keyup"), QStringLiteral("super+shift+v")}));
        spinEventLoop(200);
        QCOMPARE(pressed.size(), 1);

        QVERIFY(pressKeys(QStringLiteral("super+shift+v")));
        QTRY_COMPARE(pressed.size(), 2);
    }

    void combinationTakenByAnotherClientIsSkipped()
    {
        OtherClient other;
        QVERIFY(other.isConnected());
        QVERIFY(other.grabInEveryLockState(keysymD, controlSuper));

        CountingCommander commander;
        HotkeyManager manager(KeyboardShortcutDescriptor::defaultTable(),
                              std::make_unique<X11HotkeyRegistrar>());
        manager.start(&commander);

        QCOMPARE(manager.actionIDs(), (QMap<quint32, QString>{{1, QStringLiteral("clipboard.open")},
                                                              {2, QStringLiteral("mirror.toggle")}}));
        QCOMPARE(manager.registrationCount(), 2);

        QVERIFY(pressKeys(QStringLiteral("ctrl+super+d")));
        QVERIFY(pressKeys(QStringLiteral("super+shift+v")));
        QVERIFY(pressKeys(QStringLiteral("ctrl+super+m")));
        QTRY_COMPARE(commander.hub, 1);
        QTRY_COMPARE(commander.mirror, 1);
        spinEventLoop(200);
        QCOMPARE(commander.desktop, 0);
    }

    void partlyTakenCombinationLeavesNothingGrabbed()
    {
        // The other client holds the shortcut only with Num Lock on.
        OtherClient holder;
        QVERIFY(holder.grab(keysymD, controlSuper | numLock));

        X11HotkeyRegistrar registrar;
        QVERIFY(!registrar.grab(3, Qt::Key_D, controlCommand));

        // Our grabs of the other lock states were given back.
        OtherClient probe;
        QVERIFY(probe.grab(keysymD, controlSuper));
        QVERIFY(probe.grab(keysymD, controlSuper | XCB_MOD_MASK_LOCK));
        QVERIFY(probe.grab(keysymD, controlSuper | XCB_MOD_MASK_LOCK | numLock));
    }

    void destroyingTheRegistrarFreesTheKeys()
    {
        auto registrar = std::make_unique<X11HotkeyRegistrar>();
        QVERIFY(grabTable(*registrar));

        OtherClient other;
        QVERIFY(!other.grab(keysymM, controlSuper));
        QVERIFY(!other.grab(keysymM, controlSuper | numLock));

        registrar.reset();
        QVERIFY(other.grabInEveryLockState(keysymM, controlSuper));
        QVERIFY(other.grabInEveryLockState(keysymD, controlSuper));
    }

    void ungrabAllStopsPresses()
    {
        X11HotkeyRegistrar registrar;
        QVERIFY(grabTable(registrar));
        QSignalSpy pressed(&registrar, &HotkeyRegistrar::pressed);
        registrar.ungrabAll();

        QVERIFY(pressKeys(QStringLiteral("ctrl+super+m")));
        spinEventLoop(300);
        QCOMPARE(pressed.size(), 0);
        OtherClient other;
        QVERIFY(other.grabInEveryLockState(keysymM, controlSuper));
    }

    void regrabUnderTheSameIdReplacesTheOldKey()
    {
        X11HotkeyRegistrar registrar;
        QVERIFY(registrar.grab(7, Qt::Key_M, controlCommand));
        QVERIFY(registrar.grab(7, Qt::Key_D, controlCommand));
        QSignalSpy pressed(&registrar, &HotkeyRegistrar::pressed);

        OtherClient other;
        QVERIFY(other.grabInEveryLockState(keysymM, controlSuper));
        QVERIFY(pressKeys(QStringLiteral("ctrl+super+d")));
        QTRY_COMPARE(pressed.size(), 1);
        QCOMPARE(pressed.at(0).at(0).value<quint32>(), 7u);
    }

    void keyWithoutAPlaceOnTheKeyboardIsRefused()
    {
        X11HotkeyRegistrar registrar;
        QVERIFY(!registrar.grab(1, Qt::Key_F35, shiftCommand));
        QVERIFY(!registrar.grab(2, Qt::Key_Space, shiftCommand));
    }
};

HALCY_X11_TEST_MAIN(TestX11Hotkeys)
#include "tst_x11hotkeys.moc"
