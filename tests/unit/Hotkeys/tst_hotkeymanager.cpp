#include "FakeHotkeyRegistrar.h"
#include "Hotkeys/HotkeyManager.h"
#include "Hotkeys/ShortcutKeys.h"

#include <QKeySequence>
#include <QTest>

#include <limits>

class tst_HotkeyManager : public QObject
{
    Q_OBJECT

private:
    FakeHotkeyRegistrar *m_registrar = nullptr;
    std::unique_ptr<HotkeyManager> m_manager;
    QStringList m_activated;

    void start(const QList<KeyboardShortcutDescriptor> &table, const QList<Qt::Key> &taken = {})
    {
        m_registrar = new FakeHotkeyRegistrar;
        m_registrar->taken = QSet<Qt::Key>(taken.begin(), taken.end());
        m_manager = std::make_unique<HotkeyManager>(table, std::unique_ptr<HotkeyRegistrar>(m_registrar));
        m_activated.clear();
        connect(m_manager.get(), &HotkeyManager::activated, this,
                [this](const QString &id) { m_activated << id; });
        m_manager->start();
    }

    // The default table's three combinations, in table order.
    void pressAll()
    {
        m_registrar->press(Qt::Key_V, Qt::MetaModifier | Qt::ShiftModifier);
        m_registrar->press(Qt::Key_M, Qt::ControlModifier | Qt::MetaModifier);
        m_registrar->press(Qt::Key_D, Qt::ControlModifier | Qt::MetaModifier);
    }

private Q_SLOTS:
    // Ids are the 1-based table positions whether or not the shortcuts before registered, and each
    // registered shortcut announces its own action.
    void refusedRegistrationsLeaveGaps_data()
    {
        QTest::addColumn<QList<Qt::Key>>("taken");
        QTest::addColumn<QList<quint32>>("ids");

        QTest::addRow("nothing taken") << QList<Qt::Key>{} << QList<quint32>{1, 2, 3};
        QTest::addRow("second taken") << QList<Qt::Key>{Qt::Key_M} << QList<quint32>{1, 3};
        QTest::addRow("first taken") << QList<Qt::Key>{Qt::Key_V} << QList<quint32>{2, 3};
        QTest::addRow("all taken") << QList<Qt::Key>{Qt::Key_V, Qt::Key_M, Qt::Key_D} << QList<quint32>{};
    }

    void refusedRegistrationsLeaveGaps()
    {
        QFETCH(QList<Qt::Key>, taken);
        QFETCH(QList<quint32>, ids);

        start(KeyboardShortcutDescriptor::defaultTable(), taken);
        QCOMPARE(m_manager->actionIDs().keys(), ids);
        // Each shortcut was asked for exactly once: no retry after a refusal.
        QCOMPARE(m_registrar->grabCalls, 3);
        pressAll();
        // Ids without a registered shortcut do nothing, whatever the platform reports.
        for (const quint32 id : {0u, 1u, 2u, 3u, 4u, std::numeric_limits<quint32>::max()})
            if (!ids.contains(id))
                m_manager->handle(id);
        QStringList actions;
        for (const quint32 id : ids)
            actions << QStringList{"clipboard.open", "mirror.toggle", "desktop.toggle"}.at(id - 1);
        QCOMPARE(m_activated, actions);
    }

    // A key outside the table cannot be grabbed, so it is not even offered to the desktop; it is still
    // labelled, with the modifiers in the desktops' fixed order, whatever the list order.
    void tableEntries_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QList<Modifier>>("modifiers");
        QTest::addColumn<bool>("registers");
        QTest::addColumn<QString>("label");

        using M = QList<Modifier>;
        QTest::addRow("function key name")
            << "f1" << M{Modifier::command, Modifier::shift} << false << "Super+Shift+F1";
        QTest::addRow("two characters") << "vm" << M{} << false << "VM";
        QTest::addRow("accented letter, a repeated modifier")
            << "é" << M{Modifier::option, Modifier::option} << false << "Alt+É";
        QTest::addRow("upper case is looked up lower-cased, all four modifiers")
            << "K" << M{Modifier::command, Modifier::shift, Modifier::option, Modifier::control} << true
            << "Ctrl+Alt+Super+Shift+K";
        QTest::addRow("punctuation") << "`" << M{Modifier::control} << true << "Ctrl+`";
    }

    void tableEntries()
    {
        QFETCH(QString, key);
        QFETCH(QList<Modifier>, modifiers);
        QFETCH(bool, registers);
        QFETCH(QString, label);

        start({{"clipboard.open", "", "v", {Modifier::command}}, {"mirror.toggle", "", key, modifiers}});
        QCOMPARE(m_manager->actionIDs().contains(2), registers);
        QCOMPARE(m_registrar->grabCalls, registers ? 2 : 1);
        QCOMPARE(m_manager->shortcuts().at(1).displayForm(), label);
    }

    void restartAndRelease()
    {
        start(KeyboardShortcutDescriptor::defaultTable(), {Qt::Key_M});
        const QMap<quint32, QString> ids = m_manager->actionIDs();
        // A second start registers again under the same ids, without doubling any grab.
        m_manager->start();
        QCOMPARE(m_manager->actionIDs(), ids);
        QCOMPARE(m_registrar->grabs.size(), 2);
        pressAll();
        QCOMPARE(m_activated, (QStringList{"clipboard.open", "desktop.toggle"}));

        m_manager->unregisterAll();
        QVERIFY(m_registrar->grabs.isEmpty());
        // A press already queued by the platform before the release finds no action.
        m_manager->handle(1);
        QCOMPARE(m_activated.size(), 2);
    }

    void keyTableCoversTheUsLayoutKeys()
    {
        const QStringList keys = ShortcutKeys::all();
        QCOMPARE(keys.size(), 47); // letters, digits and the 11 punctuation keys
        QSet<int> qtKeys;
        for (const QString &key : keys) {
            // The key Qt reports must be the one that types this character.
            const Qt::Key qtKey = ShortcutKeys::keyFor(key).value_or(Qt::Key_unknown);
            QCOMPARE(QKeySequence(qtKey).toString(QKeySequence::PortableText), key.toUpper());
            qtKeys.insert(qtKey);
        }
        QCOMPARE(qtKeys.size(), keys.size());
    }
};

QTEST_MAIN(tst_HotkeyManager)
#include "tst_hotkeymanager.moc"
