#include "DesktopTools.h"
#include "PeerProcess.h"
#include "Platform/X11/X11HotkeyRegistrar.h"
#include "X11TestMain.h"

#include <QRegularExpression>
#include <QScopeGuard>
#include <QSignalSpy>

#include <xcb/xcb.h>
#include <xcb/xcb_keysyms.h>

#include <cstdlib>
#include <memory>

namespace {

constexpr xcb_keysym_t keysymD = 'd';
constexpr xcb_keysym_t keysymM = 'm';
constexpr uint16_t controlSuper = XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_4;
constexpr uint16_t numLock = XCB_MOD_MASK_2;

constexpr Qt::KeyboardModifiers shiftCommand = Qt::MetaModifier | Qt::ShiftModifier;
constexpr Qt::KeyboardModifiers controlCommand = Qt::ControlModifier | Qt::MetaModifier;

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

// Without --clearmodifiers, which would lift the lock states the cases set.
bool press(const QString &combination)
{
    return xdotool({QStringLiteral("key"), combination});
}

// Turns "Caps Lock" or "Num Lock" on or off, as the server's LEDs report it.
bool setLock(const QString &name, bool on)
{
    const auto isOn = [&] {
        const std::optional<ToolResult> result = runTool(QStringLiteral("xset"), {QStringLiteral("q")});
        return result && QRegularExpression(QRegularExpression::escape(name) + QStringLiteral(":\\s+on"))
                             .match(QString::fromLocal8Bit(result->output))
                             .hasMatch();
    };
    if (isOn() != on)
        press(QString(name).replace(QLatin1Char(' '), QLatin1Char('_')));
    return isOn() == on;
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
    void initTestCase() { HALCY_REQUIRE_X11_SESSION("xdotool", "xset"); }

    void init()
    {
        // A grab that fails must stay quiet: no warning of ours, and no X error leaking into Qt's log.
        QTest::failOnWarning(QRegularExpression(QStringLiteral(".*")));
    }

    void cleanup()
    {
        setLock(QStringLiteral("Caps Lock"), false);
        setLock(QStringLiteral("Num Lock"), false);
    }

    void pressReachesItsGrab_data()
    {
        QTest::addColumn<QString>("combination");
        QTest::addColumn<bool>("capsLock");
        QTest::addColumn<bool>("numLock");
        QTest::addColumn<bool>("held");
        QTest::addColumn<quint32>("id"); // 0: the press passes through

        QTest::addRow("super shift v") << QStringLiteral("super+shift+v") << false << false << false << 1u;
        QTest::addRow("ctrl super m with Num Lock on")
            << QStringLiteral("ctrl+super+m") << false << true << false << 2u;
        QTest::addRow("ctrl super d with Caps Lock on")
            << QStringLiteral("ctrl+super+d") << true << false << false << 3u;
        QTest::addRow("with both locks on") << QStringLiteral("super+shift+v") << true << true << false << 1u;
        QTest::addRow("held past the auto-repeat delay fires once")
            << QStringLiteral("super+shift+v") << false << false << true << 1u;
        QTest::addRow("shift missing") << QStringLiteral("super+v") << false << false << false << 0u;
        QTest::addRow("extra modifier")
            << QStringLiteral("ctrl+super+shift+m") << false << false << false << 0u;
        QTest::addRow("alt instead of ctrl")
            << QStringLiteral("alt+super+d") << false << false << false << 0u;
    }

    void pressReachesItsGrab()
    {
        QFETCH(QString, combination);
        QFETCH(bool, capsLock);
        QFETCH(bool, numLock);
        QFETCH(bool, held);
        QFETCH(quint32, id);

        X11HotkeyRegistrar registrar;
        QVERIFY(grabTable(registrar));
        QSignalSpy pressed(&registrar, &HotkeyRegistrar::pressed);
        QVERIFY(setLock(QStringLiteral("Caps Lock"), capsLock));
        QVERIFY(setLock(QStringLiteral("Num Lock"), numLock));

        if (held) {
            QVERIFY(xdotool({QStringLiteral("keydown"), combination}));
            spinEventLoop(1200);
            QVERIFY(xdotool({QStringLiteral("keyup"), combination}));
        } else {
            QVERIFY(press(combination));
        }
        if (id != 0) {
            QTRY_COMPARE(pressed.size(), 1);
            QCOMPARE(pressed.at(0).at(0).value<quint32>(), id);
        }
        spinEventLoop(300);
        QCOMPARE(pressed.size(), id != 0 ? 1 : 0);
        // The grabs still answer afterwards.
        QVERIFY(press(QStringLiteral("super+shift+v")));
        QTRY_COMPARE(pressed.size(), id != 0 ? 2 : 1);
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

    void releasingFreesTheKeys_data()
    {
        QTest::addColumn<bool>("destroy");
        QTest::addRow("ungrab all") << false;
        QTest::addRow("registrar destroyed") << true;
    }

    void releasingFreesTheKeys()
    {
        QFETCH(bool, destroy);
        auto registrar = std::make_unique<X11HotkeyRegistrar>();
        QVERIFY(grabTable(*registrar));
        QSignalSpy pressed(registrar.get(), &HotkeyRegistrar::pressed);
        OtherClient other;
        QVERIFY(!other.grab(keysymM, controlSuper | numLock));

        if (destroy)
            registrar.reset();
        else
            registrar->ungrabAll();
        QVERIFY(press(QStringLiteral("ctrl+super+m")));
        spinEventLoop(300);
        QCOMPARE(pressed.size(), 0);
        QVERIFY(other.grabInEveryLockState(keysymM, controlSuper));
        QVERIFY(other.grabInEveryLockState(keysymD, controlSuper));
    }

    void regrabUnderTheSameIdReplacesTheOldKey()
    {
        X11HotkeyRegistrar registrar;
        QVERIFY(registrar.grab(7, Qt::Key_M, controlCommand));
        QVERIFY(registrar.grab(7, Qt::Key_D, controlCommand));
        QSignalSpy pressed(&registrar, &HotkeyRegistrar::pressed);

        OtherClient other;
        QVERIFY(other.grabInEveryLockState(keysymM, controlSuper));
        QVERIFY(press(QStringLiteral("ctrl+super+d")));
        QTRY_COMPARE(pressed.size(), 1);
        QCOMPARE(pressed.at(0).at(0).value<quint32>(), 7u);
    }

    void grabsFollowALayoutChange()
    {
        X11HotkeyRegistrar registrar;
        QVERIFY(registrar.grab(1, Qt::Key_V, shiftCommand));
        QSignalSpy pressed(&registrar, &HotkeyRegistrar::pressed);
        auto restore = qScopeGuard([&] {
            setKeyboardLayout({QStringLiteral("-layout"), QStringLiteral("us")});
        });
        // Dvorak puts "v" on another key, and "k" where "v" was.
        if (!setKeyboardLayout({QStringLiteral("-layout"), QStringLiteral("us"), QStringLiteral("-variant"),
                                QStringLiteral("dvorak")}))
            QSKIP("setxkbmap cannot switch the layout here");

        QTRY_VERIFY_WITH_TIMEOUT(pressKeys(QStringLiteral("super+shift+v")) &&
                                     QTest::qWaitFor([&] { return !pressed.isEmpty(); }, 200),
                                 10000);
        spinEventLoop(300); // presses sent before the grab moved may still be on their way
        const qsizetype afterMove = pressed.size();
        for (const QList<QVariant> &press : std::as_const(pressed))
            QCOMPARE(press.at(0).value<quint32>(), 1u);
        QVERIFY(pressKeys(QStringLiteral("super+shift+k")));
        spinEventLoop(300);
        QCOMPARE(pressed.size(), afterMove);
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
