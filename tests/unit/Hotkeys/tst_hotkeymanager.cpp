#include "App/AppCommanding.h"
#include "FakeHotkeyRegistrar.h"
#include "Hotkeys/HotkeyManager.h"
#include "Hotkeys/KeyboardShortcutDescriptor.h"
#include "Hotkeys/ShortcutKeys.h"

#include <QKeySequence>
#include <QSet>
#include <QTest>

#include <limits>
#include <memory>

namespace {

// What reached the commander; kept outside it so a test can still read it after the commander is gone.
struct CommandLog
{
    int hub = 0;
    int mirror = 0;
    int desktop = 0;
    int other = 0;
};

class FakeCommander final : public AppCommanding
{
public:
    explicit FakeCommander(std::shared_ptr<CommandLog> log) : m_log(std::move(log)) {}

    void toggleHub() override { ++m_log->hub; }
    void toggleMirror() override { ++m_log->mirror; }
    void toggleDesktopCover() override { ++m_log->desktop; }
    void copyEntry(const ClipboardHistoryEntry &, PasteMode) override { ++m_log->other; }
    void pasteEntry(const ClipboardHistoryEntry &, PasteMode) override { ++m_log->other; }
    void togglePin(const QUuid &) override { ++m_log->other; }
    void deleteEntry(const QUuid &) override { ++m_log->other; }
    void clearHistory() override { ++m_log->other; }
    void clearRecentHistory() override { ++m_log->other; }
    void openSettings() override { ++m_log->other; }
    void openSettingsAtTab(SettingsTab) override { ++m_log->other; }
    void refreshPermissions() override { ++m_log->other; }
    void checkForUpdates() override { ++m_log->other; }
    void quit() override { ++m_log->other; }

private:
    std::shared_ptr<CommandLog> m_log;
};

const QList<Modifier> shiftCommand{Modifier::command, Modifier::shift};
const QList<Modifier> controlCommand{Modifier::control, Modifier::command};

using IdMap = QMap<quint32, QString>;

KeyboardShortcutDescriptor shortcut(const QString &id, const QString &key, const QList<Modifier> &modifiers)
{
    return {id, id, key, modifiers};
}

} // namespace

class tst_HotkeyManager : public QObject
{
    Q_OBJECT

private:
    FakeHotkeyRegistrar *m_registrar = nullptr;
    std::shared_ptr<CommandLog> m_log;
    std::unique_ptr<FakeCommander> m_commander;

    std::unique_ptr<HotkeyManager> makeManager(const QList<KeyboardShortcutDescriptor> &table,
                                               const QList<Qt::Key> &taken = {})
    {
        auto registrar = std::make_unique<FakeHotkeyRegistrar>();
        for (const Qt::Key key : taken)
            registrar->setTaken(key);
        m_registrar = registrar.get();
        return std::make_unique<HotkeyManager>(table, std::move(registrar));
    }

private Q_SLOTS:
    void init()
    {
        m_log = std::make_shared<CommandLog>();
        m_commander = std::make_unique<FakeCommander>(m_log);
    }

    void tableRegistersAsOneTwoThree()
    {
        auto manager = makeManager(KeyboardShortcutDescriptor::defaultTable());
        manager->start(m_commander.get());

        QCOMPARE(manager->actionIDs(), (IdMap{{1, QStringLiteral("clipboard.open")},
                                              {2, QStringLiteral("mirror.toggle")},
                                              {3, QStringLiteral("desktop.toggle")}}));
        QCOMPARE(manager->registrationCount(), 3);
        const auto &grabs = m_registrar->grabs();
        QCOMPARE(grabs.size(), 3);
        QCOMPARE(grabs[0].id, 1u);
        QCOMPARE(grabs[0].key, Qt::Key_V);
        QCOMPARE(grabs[0].modifiers, shiftCommand);
        QCOMPARE(grabs[1].id, 2u);
        QCOMPARE(grabs[1].key, Qt::Key_M);
        QCOMPARE(grabs[1].modifiers, controlCommand);
        QCOMPARE(grabs[2].id, 3u);
        QCOMPARE(grabs[2].key, Qt::Key_D);
        QCOMPARE(grabs[2].modifiers, controlCommand);
    }

    void refusedRegistrationsAreSkipped_data()
    {
        QTest::addColumn<QList<Qt::Key>>("taken");
        QTest::addColumn<QList<quint32>>("expectedIDs");

        QTest::addRow("nothing taken") << QList<Qt::Key>{} << QList<quint32>{1, 2, 3};
        QTest::addRow("second taken leaves a gap") << QList<Qt::Key>{Qt::Key_M} << QList<quint32>{1, 3};
        QTest::addRow("first taken") << QList<Qt::Key>{Qt::Key_V} << QList<quint32>{2, 3};
        QTest::addRow("last taken") << QList<Qt::Key>{Qt::Key_D} << QList<quint32>{1, 2};
        QTest::addRow("all taken") << QList<Qt::Key>{Qt::Key_V, Qt::Key_M, Qt::Key_D} << QList<quint32>{};
    }

    void refusedRegistrationsAreSkipped()
    {
        QFETCH(QList<Qt::Key>, taken);
        QFETCH(QList<quint32>, expectedIDs);

        auto manager = makeManager(KeyboardShortcutDescriptor::defaultTable(), taken);
        manager->start(m_commander.get());

        QCOMPARE(manager->actionIDs().keys(), expectedIDs);
        QCOMPARE(manager->registrationCount(), expectedIDs.size());
        // Each shortcut was asked for exactly once: no retry after a refusal.
        QCOMPARE(m_registrar->grabCalls(), 3);

        // Every shortcut that did register still works.
        m_registrar->press(Qt::Key_V, shiftCommand);
        m_registrar->press(Qt::Key_M, controlCommand);
        m_registrar->press(Qt::Key_D, controlCommand);
        QCOMPARE(m_log->hub, expectedIDs.contains(1) ? 1 : 0);
        QCOMPARE(m_log->mirror, expectedIDs.contains(2) ? 1 : 0);
        QCOMPARE(m_log->desktop, expectedIDs.contains(3) ? 1 : 0);
    }

    void keysOutsideTheTableAreSkipped_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<bool>("registers");

        QTest::addRow("function key name") << QStringLiteral("f1") << false;
        QTest::addRow("space") << QStringLiteral(" ") << false;
        QTest::addRow("empty") << QString() << false;
        QTest::addRow("two characters") << QStringLiteral("vm") << false;
        QTest::addRow("accented letter") << QStringLiteral("é") << false;
        QTest::addRow("upper case is looked up lower-cased") << QStringLiteral("K") << true;
        QTest::addRow("punctuation") << QStringLiteral("`") << true;
    }

    void keysOutsideTheTableAreSkipped()
    {
        QFETCH(QString, key);
        QFETCH(bool, registers);

        auto manager =
            makeManager({shortcut(QStringLiteral("clipboard.open"), QStringLiteral("v"), shiftCommand),
                         shortcut(QStringLiteral("mirror.toggle"), key, controlCommand),
                         shortcut(QStringLiteral("desktop.toggle"), QStringLiteral("d"), controlCommand)});
        manager->start(m_commander.get());

        QCOMPARE(manager->actionIDs().value(3), QStringLiteral("desktop.toggle"));
        QCOMPARE(manager->actionIDs().contains(2), registers);
        QCOMPARE(manager->registrationCount(), registers ? 3 : 2);
        // A key that cannot exist is not even offered to the desktop.
        QCOMPARE(m_registrar->grabCalls(), registers ? 3 : 2);
    }

    void pressRunsItsCommand_data()
    {
        QTest::addColumn<Qt::Key>("key");
        QTest::addColumn<QList<Modifier>>("modifiers");
        QTest::addColumn<int>("hub");
        QTest::addColumn<int>("mirror");
        QTest::addColumn<int>("desktop");

        QTest::addRow("shift command V toggles the hub") << Qt::Key_V << shiftCommand << 1 << 0 << 0;
        QTest::addRow("control command M toggles the mirror") << Qt::Key_M << controlCommand << 0 << 1 << 0;
        QTest::addRow("control command D toggles hide desktop") << Qt::Key_D << controlCommand << 0 << 0 << 1;
        QTest::addRow("modifier order does not matter")
            << Qt::Key_M << QList<Modifier>{Modifier::command, Modifier::control} << 0 << 1 << 0;
        QTest::addRow("wrong modifiers do nothing") << Qt::Key_V << controlCommand << 0 << 0 << 0;
    }

    void pressRunsItsCommand()
    {
        QFETCH(Qt::Key, key);
        QFETCH(QList<Modifier>, modifiers);
        QFETCH(int, hub);
        QFETCH(int, mirror);
        QFETCH(int, desktop);

        auto manager = makeManager(KeyboardShortcutDescriptor::defaultTable());
        manager->start(m_commander.get());
        m_registrar->press(key, modifiers);

        QCOMPARE(m_log->hub, hub);
        QCOMPARE(m_log->mirror, mirror);
        QCOMPARE(m_log->desktop, desktop);
        QCOMPARE(m_log->other, 0);
    }

    void pressingTwiceTogglesTwice()
    {
        auto manager = makeManager(KeyboardShortcutDescriptor::defaultTable());
        manager->start(m_commander.get());
        m_registrar->press(Qt::Key_V, shiftCommand);
        m_registrar->press(Qt::Key_V, shiftCommand);
        QCOMPARE(m_log->hub, 2);
    }

    void idsWithoutAnActionDoNothing_data()
    {
        QTest::addColumn<quint32>("hotKeyID");
        QTest::addRow("zero") << 0u;
        QTest::addRow("past the table") << 4u;
        QTest::addRow("id of a refused shortcut") << 2u;
        QTest::addRow("largest id") << std::numeric_limits<quint32>::max();
    }

    void idsWithoutAnActionDoNothing()
    {
        QFETCH(quint32, hotKeyID);
        auto manager = makeManager(KeyboardShortcutDescriptor::defaultTable(), {Qt::Key_M});
        manager->start(m_commander.get());
        manager->handle(hotKeyID);
        QCOMPARE(m_log->hub + m_log->mirror + m_log->desktop + m_log->other, 0);
    }

    void unknownActionIdentifierDoesNothing()
    {
        auto manager =
            makeManager({shortcut(QStringLiteral("clipboard.erase"), QStringLiteral("e"), shiftCommand)});
        manager->start(m_commander.get());
        QCOMPARE(manager->actionIDs(), (IdMap{{1, QStringLiteral("clipboard.erase")}}));
        QVERIFY(m_registrar->press(Qt::Key_E, shiftCommand));
        QCOMPARE(m_log->hub + m_log->mirror + m_log->desktop + m_log->other, 0);
    }

    void pressAfterCommanderIsGoneIsIgnored()
    {
        auto manager = makeManager(KeyboardShortcutDescriptor::defaultTable());
        manager->start(m_commander.get());
        m_commander.reset();

        QVERIFY(m_registrar->press(Qt::Key_V, shiftCommand));
        QVERIFY(m_registrar->press(Qt::Key_D, controlCommand));
        QCOMPARE(m_log->hub + m_log->desktop, 0);
    }

    void secondStartRegistersAgainWithTheSameIDs()
    {
        auto manager = makeManager(KeyboardShortcutDescriptor::defaultTable(), {Qt::Key_M});
        manager->start(m_commander.get());
        const IdMap first = manager->actionIDs();

        auto otherLog = std::make_shared<CommandLog>();
        FakeCommander other(otherLog);
        manager->start(&other);

        QCOMPARE(manager->actionIDs(), first);
        QCOMPARE(manager->registrationCount(), 2);
        QCOMPARE(m_registrar->grabs().size(), 2);
        QCOMPARE(m_registrar->ungrabAllCalls(), 2);
        // The latest commander receives the commands.
        m_registrar->press(Qt::Key_D, controlCommand);
        QCOMPARE(otherLog->desktop, 1);
        QCOMPARE(m_log->desktop, 0);
    }

    void unregisterAllReleasesEverything()
    {
        auto manager = makeManager(KeyboardShortcutDescriptor::defaultTable());
        manager->start(m_commander.get());
        manager->unregisterAll();

        QVERIFY(manager->actionIDs().isEmpty());
        QCOMPARE(manager->registrationCount(), 0);
        QVERIFY(m_registrar->grabs().isEmpty());
        // A press already queued by the platform before the release finds no action.
        manager->handle(1);
        QCOMPARE(m_log->hub, 0);
    }

    void displayForms_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QList<Modifier>>("modifiers");
        QTest::addColumn<QString>("symbols");
        QTest::addColumn<QString>("native");

        QTest::addRow("shift command V")
            << QStringLiteral("v") << shiftCommand << QStringLiteral("⇧⌘V") << QStringLiteral("Meta+Shift+V");
        QTest::addRow("control before command, whatever the list order")
            << QStringLiteral("m") << QList<Modifier>{Modifier::command, Modifier::control}
            << QStringLiteral("⌃⌘M") << QStringLiteral("Meta+Ctrl+M");
        QTest::addRow("all four in fixed order")
            << QStringLiteral("/")
            << QList<Modifier>{Modifier::command, Modifier::shift, Modifier::option, Modifier::control}
            << QStringLiteral("⌃⌥⇧⌘/") << QStringLiteral("Meta+Ctrl+Alt+Shift+/");
        QTest::addRow("no modifiers")
            << QStringLiteral("7") << QList<Modifier>{} << QStringLiteral("7") << QStringLiteral("7");
        QTest::addRow("a repeated modifier shows once")
            << QStringLiteral("d") << QList<Modifier>{Modifier::option, Modifier::option}
            << QStringLiteral("⌥D") << QStringLiteral("Alt+D");
        QTest::addRow("key outside the table still labelled")
            << QStringLiteral("f1") << shiftCommand << QStringLiteral("⇧⌘F1")
            << QStringLiteral("Meta+Shift+F1");
    }

    void displayForms()
    {
        QFETCH(QString, key);
        QFETCH(QList<Modifier>, modifiers);
        QFETCH(QString, symbols);
        QFETCH(QString, native);

        const KeyboardShortcutDescriptor descriptor = shortcut(QStringLiteral("x"), key, modifiers);
        QCOMPARE(descriptor.macDisplayForm(), symbols);
        QCOMPARE(descriptor.displayForm(), native);
    }

    void keyTableCoversTheUsLayoutKeys()
    {
        const QStringList keys = ShortcutKeys::all();
        QCOMPARE(keys.size(), 47);
        QSet<int> qtKeys;
        for (const QString &key : keys) {
            const std::optional<Qt::Key> qtKey = ShortcutKeys::keyFor(key);
            QVERIFY2(qtKey, qPrintable(key));
            qtKeys.insert(*qtKey);
            // The key Qt reports must be the one that types this character.
            QCOMPARE(QKeySequence(*qtKey).toString(QKeySequence::PortableText), key.toUpper());
        }
        QCOMPARE(qtKeys.size(), 47);
    }
};

QTEST_MAIN(tst_HotkeyManager)
#include "tst_hotkeymanager.moc"
