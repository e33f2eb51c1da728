#include "Clipboard/ClipboardListModel.h"
#include "EntryFactory.h"
#include "RecordingCommander.h"
#include "StateFixture.h"
#include "UI/HubController.h"
#include "UI/HubPopover.h"

#include <QKeySequence>
#include <QQuickItem>
#include <QQuickView>
#include <QTest>

// HubView.qml driven like a person would: keys into the search field, clicks on rows, cards and menus.
class tst_HubView : public QObject
{
    Q_OBJECT

    std::unique_ptr<StateFixture> m_fixture;
    AppState *m_state = nullptr;
    std::unique_ptr<RecordingCommander> m_commander;
    std::unique_ptr<HubPopover> m_popover;
    ClipboardHistoryEntries m_entries;

    QQuickView *view() const { return m_popover->view(); }
    QQuickItem *item(const QString &name) const
    {
        return view()->rootObject()->findChild<QQuickItem *>(name);
    }
    bool isShowing(const QString &name) const { return item(name) && item(name)->isVisible(); }
    QList<QQuickItem *> listChildren() const
    {
        return item("historyList")->property("contentItem").value<QQuickItem *>()->childItems();
    }
    QQuickItem *rowAt(int row) const
    {
        for (QQuickItem *child : listChildren()) {
            if (child->property("index").toInt() == row && child->property("title").isValid())
                return child;
        }
        return nullptr;
    }
    // A visible item of an open menu.
    QQuickItem *menuItem(const QString &text) const
    {
        for (QQuickItem *found : view()->rootObject()->findChildren<QQuickItem *>()) {
            if (found->inherits("QQuickMenuItem") && found->property("text").toString() == text &&
                found->isVisible())
                return found;
        }
        return nullptr;
    }
    void click(QQuickItem *target, Qt::KeyboardModifiers modifiers = {},
               Qt::MouseButton button = Qt::LeftButton)
    {
        QVERIFY(target);
        const QPointF centre = target->mapToScene(QPointF(target->width() / 2, target->height() / 2));
        QTest::mouseClick(view(), button, modifiers, centre.toPoint());
    }
    // Steps: a key ("Alt+Return", a letter is typed), "reopen", "pin:" an entry, "click:", "shift-click:" or
    // "right-click:" an object or "rowN", or "menu:" an item of the open menu, which must lie inside the
    // window. Returns what was typed.
    void perform(const QStringList &steps, QString *typed)
    {
        for (const QString &step : steps) {
            const QString target = step.section(u':', 1);
            const auto on = [&] {
                return target.startsWith(u'r') ? rowAt(target.mid(3).toInt()) : item(target);
            };
            if (step == QLatin1String("reopen")) { // closed, with no text field (hence no clipboard queries)
                QVERIFY(!m_popover->isShown());
                QTRY_VERIFY(!item("searchField"));
                m_popover->show(QRect(100, 0, 24, 24));
                QTRY_VERIFY(item("searchField") && item("searchField")->hasActiveFocus());
                typed->clear();
            } else if (step.startsWith(QLatin1String("pin:"))) {
                m_entries[target.toInt()].isPinned = true;
                m_state->applyEntries(m_entries);
            } else if (step.startsWith(QLatin1String("menu:"))) {
                QTRY_VERIFY(menuItem(target));
                QQuickItem *entry = menuItem(target);
                const QRectF inScene = entry->mapRectToScene(QRectF(0, 0, entry->width(), entry->height()));
                QVERIFY(QRectF(0, 0, view()->width(), view()->height()).contains(inScene));
                click(entry);
            } else if (step.contains(u':')) {
                QTRY_VERIFY(on());
                click(on(), step.startsWith(u's') ? Qt::ShiftModifier : Qt::NoModifier,
                      step.startsWith(u'r') ? Qt::RightButton : Qt::LeftButton);
            } else {
                const QKeyCombination key = QKeySequence(step)[0];
                QTest::keyClick(view(), key.key(), key.keyboardModifiers());
                if (step.size() == 1)
                    *typed += step.toLower();
            }
        }
    }

private slots:
    void init()
    {
        m_state = &(m_fixture = std::make_unique<StateFixture>())->state;
        m_commander = std::make_unique<RecordingCommander>();
        m_entries = {makeEntry("first", secondsAgo(10)), makeEntry("second", secondsAgo(20)),
                     makeEntry("third", secondsAgo(30))};
        m_state->applyEntries(m_entries);
        m_popover = std::make_unique<HubPopover>(m_state, m_commander.get(), nullptr);
        m_popover->show(QRect(100, 0, 24, 24));
        QVERIFY(QTest::qWaitForWindowExposed(view()));
    }
    void cleanup() { m_popover.reset(); }

    void panelsAndHeadersFollowTheState()
    {
        m_entries[1].isPinned = true;
        m_entries[2].timestamp = QDateTime::currentDateTime().addDays(-20);
        m_state->applyEntries(m_entries);
        const ClipboardListModel *model = m_popover->controller()->model();
        QSet<QString> sections;
        for (int row = 0; row < model->rowCount(); ++row)
            sections << model->data(model->index(row), ClipboardListModel::SectionRole).toString();
        // In any order (the current one is also pinned at the top).
        const auto headers = [&] {
            QSet<QString> titles;
            for (QQuickItem *child : listChildren()) {
                if (child->objectName() == QLatin1String("sectionHeader") && child->isVisible())
                    titles << child->property("section").toString();
            }
            return titles;
        };
        QTRY_COMPARE(headers(), sections);

        m_state->setClipboardPaused(true);
        QTRY_VERIFY(isShowing("pausedBanner"));
        click(item("resumeButton"));
        QVERIFY(!m_state->clipboardPaused() && !isShowing("pausedBanner"));

        m_state->setClipboardEnabled(false);
        QTRY_VERIFY(isShowing("clipboardOffState"));
        QVERIFY(!isShowing("historyList") && !isShowing("searchField"));
        m_state->setClipboardEnabled(true);

        m_state->setSearchQuery(QStringLiteral("zzzz"));
        QTRY_VERIFY(isShowing("noMatchesState") && !isShowing("historyList"));
        QCOMPARE(item("noMatchesState")->property("title").toString(), QStringLiteral("No matches"));
        m_state->setSearchQuery(QString());
        m_state->applyEntries({});
        QTRY_VERIFY(isShowing("emptyHistoryState"));
        QCOMPARE(item("entryCount")->property("text").toString(), QStringLiteral("0"));

        // A disabled card is dimmed and ignores clicks.
        QCOMPARE(item("mirrorCard")->opacity(), 1.0);
        m_state->setMirrorEnabled(false);
        QTRY_VERIFY(item("mirrorCard")->opacity() < 1);
        click(item("mirrorCard"));
        QVERIFY(m_commander->calls.isEmpty());
    }

    // Every gesture runs one command on its entry, leaves the hub open and gives typing back to the search.
    void gesturesRunTheirCommand_data()
    {
        QTest::addColumn<QString>("steps");
        QTest::addColumn<int>("entry");    // -1: takes none
        QTest::addColumn<QString>("call"); // empty: none; "+plain": in the plain-text mode

        QTest::addRow("Up and Down stop at either end; Return copies")
            << "Up, Down, Down, Down, Up, Return" << 1 << "copyEntry";
        // Each opening starts on the whole history with the newest selected.
        QTest::addRow("reopened after moving") << "Down, Esc, reopen, Return" << 0 << "copyEntry";
        QTest::addRow("reopened after a search") << "t, h, i, Esc, reopen, Return" << 0 << "copyEntry";
        QTest::addRow("Alt+Return pastes plain") << "Alt+Return" << 0 << "pasteEntry+plain";
        QTest::addRow("Alt+3 pastes the third") << "Alt+3" << 2 << "pasteEntry";
        QTest::addRow("Delete") << "Del" << 0 << "deleteEntry";
        QTest::addRow("Ctrl+Delete while searching") << "s, e, c, Ctrl+Del" << 1 << "deleteEntry";
        QTest::addRow("Ctrl+P pins") << "Ctrl+P" << 0 << "togglePin";
        QTest::addRow("Menu key") << "Menu, menu:Pin" << 0 << "togglePin";
        QTest::addRow("Shift+F10") << "Shift+F10, menu:Pin" << 0 << "togglePin";
        QTest::addRow("click copies") << "click:row2" << 2 << "copyEntry";
        QTest::addRow("Shift-click pastes plain") << "shift-click:row1" << 1 << "pasteEntry+plain";
        QTest::addRow("row menu Copy") << "right-click:row1, menu:Copy" << 1 << "copyEntry";
        QTest::addRow("row menu Paste") << "right-click:row1, menu:Paste" << 1 << "pasteEntry";
        QTest::addRow("row menu Paste as plain text")
            << "right-click:row1, menu:Paste as plain text" << 1 << "pasteEntry+plain";
        QTest::addRow("row menu Pin") << "right-click:row1, menu:Pin" << 1 << "togglePin";
        QTest::addRow("a pinned row's menu offers Unpin")
            << "pin:1, right-click:row0, menu:Unpin" << 1 << "togglePin";
        QTest::addRow("row menu Delete") << "right-click:row1, menu:Delete" << 1 << "deleteEntry";
        QTest::addRow("row menu closed with Escape") << "right-click:row1, Esc" << -1 << "";
        QTest::addRow("Clear last 30 minutes")
            << "click:clearMenuButton, menu:Clear last 30 minutes" << -1 << "clearRecentHistory";
        QTest::addRow("Mirror card") << "click:mirrorCard" << -1 << "toggleMirror";
        QTest::addRow("Hide Desktop card") << "click:desktopCard" << -1 << "toggleDesktopCover";
    }

    void gesturesRunTheirCommand()
    {
        QFETCH(QString, steps);
        QFETCH(int, entry);
        QFETCH(QString, call);

        QString search;
        perform(steps.split(QLatin1String(", ")), &search);
        QCOMPARE(m_commander->calls, call.isEmpty() ? QStringList() : QStringList{call.section(u'+', 0, 0)});
        QCOMPARE(m_commander->lastID, entry >= 0 ? m_entries.at(entry).id : QUuid());
        QCOMPARE(m_commander->lastMode,
                 call.endsWith(u"+plain") ? PasteMode::plainText : PasteMode::formatted);
        if (call == QLatin1String("copyEntry"))
            QCOMPARE(m_state->selectedClipboardEntryID(), m_entries.at(entry).id);
        QVERIFY(m_popover->isShown());
        QTRY_VERIFY(!menuItem(QStringLiteral("Copy")) && !menuItem(QStringLiteral("Clear all history")));
        perform({QStringLiteral("x")}, &search);
        QCOMPARE(m_state->searchQuery(), search);
    }
};

QTEST_MAIN(tst_HubView)
#include "tst_hubview.moc"
