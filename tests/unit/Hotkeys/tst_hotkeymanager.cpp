#include "FakeHotkeyRegistrar.h"
#include "Hotkeys/HotkeyManager.h"
#include "Hotkeys/KeyboardShortcutDescriptor.h"
#include "Hotkeys/ShortcutKeys.h"

#include <QKeySequence>
#include <QSet>
#include <QSignalSpy>
#include <QTest>

#include <limits>
#include <memory>

namespace {

const QList<Modifier> shiftCommand{Modifier::command, Modifier::shift};
const QList<Modifier> controlCommand{Modifier::control, Modifier::command};
constexpr Qt::KeyboardModifiers superShift = Qt::MetaModifier | Qt::ShiftModifier;
constexpr Qt::KeyboardModifiers controlSuper = Qt::ControlModifier | Qt::MetaModifier;

KeyboardShortcutDescriptor shortcut(const QString &id, const QString &key, const QList<Modifier> &modifiers)
{
    return {id, id, key, modifiers};
}

// The default table's three combinations, in table order.
void pressAll(FakeHotkeyRegistrar &registrar)
{
    registrar.press(Qt::Key_V, superShift);
    registrar.press(Qt::Key_M, controlSuper);
    registrar.press(Qt::Key_D, controlSuper);
}

QStringList activations(const QSignalSpy &spy)
{
    QStringList actions;
    for (const QList<QVariant> &arguments : spy)
        actions << arguments.at(0).toString();
    return actions;
}

} // namespace

class tst_HotkeyManager : public QObject
{
    Q_OBJECT

private:
    FakeHotkeyRegistrar *m_registrar = nullptr;

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
    // Ids are the 1-based table positions whether or not the shortcuts before registered, and each
    // registered shortcut announces its own action.
    void refusedRegistrationsLeaveGaps_data()
    {
        QTest::addColumn<QList<Qt::Key>>("taken");
        QTest::addColumn<QList<quint32>>("expectedIDs");
        QTest::addColumn<QStringList>("expectedCalls");

        QTest::addRow("nothing taken") << QList<Qt::Key>{} << QList<quint32>{1, 2, 3}
                                       << QStringList{"clipboard.open", "mirror.toggle", "desktop.toggle"};
        QTest::addRow("second taken leaves a gap") << QList<Qt::Key>{Qt::Key_M} << QList<quint32>{1, 3}
                                                   << QStringList{"clipboard.open", "desktop.toggle"};
        QTest::addRow("first taken") << QList<Qt::Key>{Qt::Key_V} << QList<quint32>{2, 3}
                                     << QStringList{"mirror.toggle", "desktop.toggle"};
        QTest::addRow("all taken") << QList<Qt::Key>{Qt::Key_V, Qt::Key_M, Qt::Key_D} << QList<quint32>{}
                                   << QStringList{};
    }

    void refusedRegistrationsLeaveGaps()
    {
        QFETCH(QList<Qt::Key>, taken);
        QFETCH(QList<quint32>, expectedIDs);
        QFETCH(QStringList, expectedCalls);

        auto manager = makeManager(KeyboardShortcutDescriptor::defaultTable(), taken);
        QSignalSpy activated(manager.get(), &HotkeyManager::activated);
        manager->start();

        QCOMPARE(manager->actionIDs().keys(), expectedIDs);
        // Each shortcut was asked for exactly once: no retry after a refusal.
        QCOMPARE(m_registrar->grabCalls(), 3);

        pressAll(*m_registrar);
        QCOMPARE(activations(activated), expectedCalls);
        // Ids without a registered shortcut do nothing, whatever the platform reports.
        for (const quint32 id : {0u, 1u, 2u, 3u, 4u, std::numeric_limits<quint32>::max()}) {
            if (!expectedIDs.contains(id))
                manager->handle(id);
        }
        QCOMPARE(activations(activated), expectedCalls);
    }

    void tableEntriesThatCannotWorkAreSkipped_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<bool>("registers");

        QTest::addRow("function key name") << QStringLiteral("f1") << false;
        QTest::addRow("two characters") << QStringLiteral("vm") << false;
        QTest::addRow("accented letter") << QStringLiteral("é") << false;
        QTest::addRow("upper case is looked up lower-cased") << QStringLiteral("K") << true;
        QTest::addRow("punctuation") << QStringLiteral("`") << true;
    }

    void tableEntriesThatCannotWorkAreSkipped()
    {
        QFETCH(QString, key);
        QFETCH(bool, registers);

        auto manager =
            makeManager({shortcut(QStringLiteral("clipboard.open"), QStringLiteral("v"), shiftCommand),
                         shortcut(QStringLiteral("mirror.toggle"), key, controlCommand)});
        manager->start();

        QCOMPARE(manager->actionIDs().contains(2), registers);
        // A key that cannot exist is not even offered to the desktop.
        QCOMPARE(m_registrar->grabCalls(), registers ? 2 : 1);
    }

    void restartAndRelease()
    {
        auto manager = makeManager(KeyboardShortcutDescriptor::defaultTable(), {Qt::Key_M});
        QSignalSpy activated(manager.get(), &HotkeyManager::activated);
        manager->start();
        const QMap<quint32, QString> ids = manager->actionIDs();

        // A second start registers again under the same ids, without doubling any grab.
        manager->start();
        QCOMPARE(manager->actionIDs(), ids);
        QCOMPARE(m_registrar->grabs().size(), 2);
        pressAll(*m_registrar);
        QCOMPARE(activations(activated), (QStringList{"clipboard.open", "desktop.toggle"}));

        manager->unregisterAll();
        QVERIFY(manager->actionIDs().isEmpty());
        QVERIFY(m_registrar->grabs().isEmpty());
        // A press already queued by the platform before the release finds no action.
        manager->handle(1);
        QCOMPARE(activated.size(), 2);
    }

    void displayForms_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QList<Modifier>>("modifiers");
        QTest::addColumn<QString>("expected");

        QTest::addRow("all four in fixed order, whatever the list order")
            << QStringLiteral("/")
            << QList<Modifier>{Modifier::command, Modifier::shift, Modifier::option, Modifier::control}
            << QStringLiteral("Ctrl+Alt+Super+Shift+/");
        QTest::addRow("no modifiers") << QStringLiteral("7") << QList<Modifier>{} << QStringLiteral("7");
        QTest::addRow("a repeated modifier shows once")
            << QStringLiteral("d") << QList<Modifier>{Modifier::option, Modifier::option}
            << QStringLiteral("Alt+D");
        QTest::addRow("key outside the table still labelled")
            << QStringLiteral("f1") << shiftCommand << QStringLiteral("Super+Shift+F1");
    }

    void displayForms()
    {
        QFETCH(QString, key);
        QFETCH(QList<Modifier>, modifiers);
        QFETCH(QString, expected);
        QCOMPARE(shortcut(QStringLiteral("x"), key, modifiers).displayForm(), expected);
    }

    void keyTableCoversTheUsLayoutKeys()
    {
        const QStringList keys = ShortcutKeys::all();
        QCOMPARE(keys.size(), 47); // letters, digits and the 11 punctuation keys
        QSet<int> qtKeys;
        for (const QString &key : keys) {
            const std::optional<Qt::Key> qtKey = ShortcutKeys::keyFor(key);
            QVERIFY2(qtKey, qPrintable(key));
            qtKeys.insert(*qtKey);
            // The key Qt reports must be the one that types this character.
            QCOMPARE(QKeySequence(*qtKey).toString(QKeySequence::PortableText), key.toUpper());
        }
        QCOMPARE(qtKeys.size(), keys.size());
    }
};

QTEST_MAIN(tst_HotkeyManager)
#include "tst_hotkeymanager.moc"
