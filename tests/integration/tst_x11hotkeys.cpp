#include "DesktopTools.h"
#include "PeerProcess.h"
#include "Platform/X11/X11HotkeyRegistrar.h"
#include "TestTime.h"
#include "X11TestMain.h"

#include <QRegularExpression>
#include <QSignalSpy>

#include <xcb/xcb.h>
#include <xcb/xcb_keysyms.h>

#include <memory>

namespace {

constexpr uint16_t controlSuper = XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_4;
constexpr uint16_t capsLock = XCB_MOD_MASK_LOCK;
constexpr uint16_t numLock = XCB_MOD_MASK_2;
constexpr Qt::KeyboardModifiers shiftCommand = Qt::MetaModifier | Qt::ShiftModifier;
constexpr Qt::KeyboardModifiers controlCommand = Qt::ControlModifier | Qt::MetaModifier;

using Presses = QList<QList<QVariant>>; // the ids of the shortcuts pressed
using Connection = std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)>;

// Another program's connection holding a grab of the key in every lock state given; none when the server
// refused one (BadAccess: someone else holds it).
Connection otherProgramGrab(char key, uint16_t modifiers,
                            std::initializer_list<uint16_t> lockStates = {0, capsLock, numLock,
                                                                          capsLock | numLock})
{
    Connection c(xcb_connect(nullptr, nullptr), &xcb_disconnect);
    xcb_key_symbols_t *symbols = xcb_key_symbols_alloc(c.get());
    xcb_keycode_t *codes = xcb_key_symbols_get_keycode(symbols, xcb_keysym_t(key));
    const xcb_keycode_t code = codes ? codes[0] : XCB_NO_SYMBOL;
    std::free(codes);
    xcb_key_symbols_free(symbols);
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(c.get())).data->root;
    bool granted = code != XCB_NO_SYMBOL;
    for (const uint16_t locks : lockStates) {
        xcb_generic_error_t *error =
            xcb_request_check(c.get(), xcb_grab_key_checked(c.get(), 0, root, modifiers | locks, code,
                                                            XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
        granted = granted && !error;
        std::free(error);
    }
    return granted ? std::move(c) : Connection(nullptr, &xcb_disconnect);
}

// Turns "Caps Lock" or "Num Lock" on or off, as the server's LEDs report it.
bool setLock(const QString &name, bool on)
{
    const auto isOn = [&] {
        const std::optional<ToolResult> result = runTool(QStringLiteral("xset"), {QStringLiteral("q")});
        return result &&
               QString::fromLocal8Bit(result->output).contains(QRegularExpression(name + ":\\s+on"));
    };
    if (isOn() != on)
        xdotool({QStringLiteral("key"), QString(name).replace(QLatin1Char(' '), QLatin1Char('_'))});
    return isOn() == on;
}

} // namespace

class TestX11Hotkeys final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { HALCY_REQUIRE_X11_SESSION("xdotool", "xset"); }

    // A grab that fails must stay quiet: no warning of ours, and no X error leaking into Qt's log.
    void init() { QTest::failOnWarning(QRegularExpression(QStringLiteral(".*"))); }

    void cleanup()
    {
        setLock(QStringLiteral("Caps Lock"), false);
        setLock(QStringLiteral("Num Lock"), false);
        setKeyboardLayout({QStringLiteral("-layout"), QStringLiteral("us")});
    }

    void pressReachesItsGrab_data()
    {
        QTest::addColumn<QString>("keys"); // xdotool's command line
        QTest::addColumn<bool>("capsLock");
        QTest::addColumn<bool>("numLock");
        QTest::addColumn<quint32>("id"); // 0: the press passes through

        QTest::addRow("super shift v") << "key super+shift+v" << false << false << 1u;
        QTest::addRow("ctrl super m with Num Lock on") << "key ctrl+super+m" << false << true << 2u;
        QTest::addRow("ctrl super d with Caps Lock on") << "key ctrl+super+d" << true << false << 3u;
        QTest::addRow("with both locks on") << "key super+shift+v" << true << true << 1u;
        QTest::addRow("held past the auto-repeat delay fires once")
            << "keydown super+shift+v sleep 1.2 keyup super+shift+v" << false << false << 1u;
        QTest::addRow("shift missing") << "key super+v" << false << false << 0u;
        QTest::addRow("extra modifier") << "key ctrl+super+shift+m" << false << false << 0u;
        QTest::addRow("alt instead of ctrl") << "key alt+super+d" << false << false << 0u;
    }

    void pressReachesItsGrab()
    {
        QFETCH(QString, keys);
        QFETCH(bool, capsLock);
        QFETCH(bool, numLock);
        QFETCH(quint32, id);

        X11HotkeyRegistrar registrar;
        QVERIFY(registrar.grab(1, Qt::Key_V, shiftCommand) && registrar.grab(2, Qt::Key_M, controlCommand) &&
                registrar.grab(3, Qt::Key_D, controlCommand));
        QSignalSpy pressed(&registrar, &HotkeyRegistrar::pressed);
        QVERIFY(setLock(QStringLiteral("Caps Lock"), capsLock));
        QVERIFY(setLock(QStringLiteral("Num Lock"), numLock));
        QVERIFY(xdotool(keys.split(QLatin1Char(' '))));
        // Another shortcut after it (without --clearmodifiers, which would lift the lock states): whatever
        // the first press caused has arrived by then.
        QVERIFY(xdotool({"key", "ctrl+super+m"}));
        QTRY_COMPARE_WITH_TIMEOUT(Presses(pressed), (id ? Presses{{id}, {2u}} : Presses{{2u}}),
                                  scaledTimeout(5000));
    }

    void keysAreRefusedOrGivenBack()
    {
        auto registrar = std::make_unique<X11HotkeyRegistrar>();
        QSignalSpy pressed(registrar.get(), &HotkeyRegistrar::pressed);
        QVERIFY(!registrar->grab(1, Qt::Key_F35, shiftCommand)); // no place on the keyboard
        QVERIFY(!registrar->grab(2, Qt::Key_Space, shiftCommand));
        {
            // Held by another program only with Num Lock on: ours is refused, with nothing left grabbed.
            const Connection holder = otherProgramGrab('d', controlSuper, {numLock});
            QVERIFY(holder && !registrar->grab(3, Qt::Key_D, controlCommand));
            QVERIFY(otherProgramGrab('d', controlSuper, {0, capsLock, capsLock | numLock}));
        }
        // A grab under an id already in use replaces the old key.
        QVERIFY(registrar->grab(7, Qt::Key_M, controlCommand));
        QVERIFY(registrar->grab(7, Qt::Key_D, controlCommand));
        QVERIFY(otherProgramGrab('m', controlSuper));
        QVERIFY(pressKeys(QStringLiteral("ctrl+super+d")));
        QTRY_COMPARE_WITH_TIMEOUT(Presses(pressed), Presses{{7u}}, scaledTimeout(5000));

        registrar->ungrabAll();
        QVERIFY(otherProgramGrab('d', controlSuper));
        QVERIFY(registrar->grab(2, Qt::Key_M, controlCommand));
        registrar.reset();
        QVERIFY(otherProgramGrab('m', controlSuper));
    }

    void grabsFollowALayoutChange()
    {
        X11HotkeyRegistrar registrar;
        QVERIFY(registrar.grab(1, Qt::Key_V, shiftCommand));
        QSignalSpy pressed(&registrar, &HotkeyRegistrar::pressed);
        // Dvorak puts "v" on another key, and "k" where "v" was.
        if (!setKeyboardLayout({"-layout", "us", "-variant", "dvorak"}))
            QSKIP("setxkbmap cannot switch the layout here");

        QTRY_VERIFY_WITH_TIMEOUT(pressKeys(QStringLiteral("super+shift+v")) &&
                                     QTest::qWaitFor([&] { return !pressed.isEmpty(); }, scaledTimeout(200)),
                                 scaledTimeout(10000));
        spinEventLoop(300); // presses sent before the grab moved may still be on their way
        const qsizetype afterMove = pressed.size();
        QVERIFY(pressKeys(QStringLiteral("super+shift+k")));
        spinEventLoop(300);
        QCOMPARE(pressed.size(), afterMove);
    }
};

HALCY_X11_TEST_MAIN(TestX11Hotkeys)
#include "tst_x11hotkeys.moc"
