#include "Clipboard/ClipboardListModel.h"
#include "EntryFactory.h"
#include "RecordingCommander.h"
#include "StateFixture.h"
#include "UI/HubController.h"
#include "UI/HubPopover.h"

#include <QQuickItem>
#include <QQuickView>
#include <QTest>

#include <algorithm>

// HubView.qml driven like a person would: keys into the search field, clicks on rows and cards.
class tst_HubView : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<StateFixture> m_fixture;
    AppState *m_state = nullptr;
    std::unique_ptr<RecordingCommander> m_commander;
    std::unique_ptr<HubPopover> m_popover;
    ClipboardHistoryEntries m_entries;

    QQuickView *view() const { return m_popover->view(); }

    QQuickItem *item(const char *objectName) const
    {
        return view()->rootObject()->findChild<QQuickItem *>(QLatin1String(objectName));
    }

    bool isShowing(const char *objectName) const
    {
        QQuickItem *found = item(objectName);
        return found && found->isVisible();
    }

    QQuickItem *rowAt(int row) const
    {
        auto *list = item("historyList");
        const auto children = list->property("contentItem").value<QQuickItem *>()->childItems();
        for (QQuickItem *child : children) {
            if (child->property("index").toInt() == row && child->property("title").isValid())
                return child;
        }
        return nullptr;
    }

    // Section headers from top to bottom, each title once (the current one is also pinned at the top).
    QStringList sectionHeaders() const
    {
        QList<QQuickItem *> headers;
        const auto children =
            item("historyList")->property("contentItem").value<QQuickItem *>()->childItems();
        for (QQuickItem *child : children) {
            if (child->objectName() == QLatin1String("sectionHeader") && child->isVisible())
                headers << child;
        }
        std::sort(headers.begin(), headers.end(),
                  [](QQuickItem *a, QQuickItem *b) { return a->y() < b->y(); });
        QStringList titles;
        for (QQuickItem *header : std::as_const(headers))
            titles << header->property("section").toString();
        titles.removeDuplicates();
        return titles;
    }

    void type(const QString &text)
    {
        for (const QChar ch : text)
            QTest::keyClick(view(), ch.toLatin1());
    }

    // A visible item of an open menu (menus live in the window's overlay).
    QQuickItem *menuItem(const QString &text, QQuickItem *from = nullptr) const
    {
        from = from ? from : view()->contentItem();
        if (from->inherits("QQuickMenuItem") && from->property("text").toString() == text &&
            from->isVisible() && from->opacity() > 0.99)
            return from;
        const auto children = from->childItems();
        for (QQuickItem *child : children) {
            if (QQuickItem *found = menuItem(text, child))
                return found;
        }
        return nullptr;
    }

    void click(QQuickItem *target, Qt::KeyboardModifiers modifiers = Qt::NoModifier,
               Qt::MouseButton button = Qt::LeftButton)
    {
        QVERIFY(target);
        const QPointF centre = target->mapToScene(QPointF(target->width() / 2, target->height() / 2));
        QTest::mouseClick(view(), button, modifiers, centre.toPoint());
    }

private slots:
    void init()
    {
        m_fixture = std::make_unique<StateFixture>();
        m_state = &m_fixture->state;
        m_commander = std::make_unique<RecordingCommander>();
        m_entries = {makeEntry(QStringLiteral("first"), secondsAgo(10)),
                     makeEntry(QStringLiteral("second"), secondsAgo(20)),
                     makeEntry(QStringLiteral("third"), secondsAgo(30))};
        m_state->applyEntries(m_entries);
        m_popover = std::make_unique<HubPopover>(m_state, m_commander.get(), nullptr);
        m_popover->show(QRect(100, 0, 24, 24));
        QVERIFY(QTest::qWaitForWindowExposed(view()));
        QCOMPARE(view()->status(), QQuickView::Ready);
    }
    void cleanup()
    {
        m_popover.reset();
        m_commander.reset();
        m_state = nullptr;
        m_fixture.reset();
    }

    void emptyAndNoMatchStates()
    {
        QVERIFY(isShowing("historyList"));
        type(QStringLiteral("zzzz"));
        QTRY_VERIFY(isShowing("noMatchesState"));
        QVERIFY(!isShowing("historyList"));
        QCOMPARE(item("noMatchesState")->property("title").toString(), QStringLiteral("No matches"));
        QCOMPARE(item("noMatchesState")->property("description").toString(),
                 QStringLiteral("Try another search."));

        m_state->setSearchQuery(QString());
        QTRY_VERIFY(isShowing("historyList"));

        m_state->applyEntries({});
        QTRY_VERIFY(isShowing("emptyHistoryState"));
        QCOMPARE(item("entryCount")->property("text").toString(), QStringLiteral("0"));
    }

    void everySectionHasItsHeader()
    {
        m_entries[1].isPinned = true;
        m_entries[2].timestamp = QDateTime::currentDateTime().addDays(-20);
        m_state->applyEntries(m_entries);
        const ClipboardListModel *model = m_popover->controller()->model();
        QStringList sections;
        for (int row = 0; row < model->rowCount(); ++row)
            sections << model->data(model->index(row), ClipboardListModel::SectionRole).toString();
        sections.removeDuplicates();
        QCOMPARE(sections.size(), 3);
        QTRY_COMPARE(sectionHeaders(), sections);
    }

    void clipboardOffShowsOnlyThatState()
    {
        m_state->setClipboardEnabled(false);
        QTRY_VERIFY(isShowing("clipboardOffState"));
        QVERIFY(!isShowing("historyList"));
        QVERIFY(!isShowing("searchField"));
    }

    void keyboardMovesCopiesAndPastes()
    {
        // The selection stops at either end.
        for (const Qt::Key key : {Qt::Key_Up, Qt::Key_Down, Qt::Key_Down, Qt::Key_Down, Qt::Key_Up})
            QTest::keyClick(view(), key);
        QCOMPARE(m_state->selectedClipboardEntryID(), m_entries.at(1).id);
        QTest::keyClick(view(), Qt::Key_Return);
        QCOMPARE(m_commander->calls, QStringList({QStringLiteral("copyEntry")}));
        QCOMPARE(m_commander->lastEntry.id, m_entries.at(1).id);
        QCOMPARE(m_commander->lastMode, PasteMode::formatted);

        QTest::keyClick(view(), Qt::Key_Return, Qt::AltModifier);
        QCOMPARE(m_commander->calls.last(), QStringLiteral("pasteEntry"));
        QCOMPARE(m_commander->lastMode, PasteMode::plainText);

        QTest::keyClick(view(), Qt::Key_3, Qt::AltModifier);
        QCOMPARE(m_commander->calls.last(), QStringLiteral("pasteEntry"));
        QCOMPARE(m_commander->lastEntry.id, m_entries.at(2).id);
        QCOMPARE(m_commander->lastMode, PasteMode::formatted);
        QCOMPARE(m_state->searchQuery(), QString()); // Alt+digit never types into the search

        // Each opening starts fresh, whether it was left on another row or in a search: the whole
        // history, the newest selected.
        for (const QString &search : {QString(), QStringLiteral("thi")}) {
            type(search);
            QTest::keyClick(view(), Qt::Key_Escape);
            QVERIFY(!m_popover->isShown());
            // No text field, hence no clipboard queries, while the hub is hidden.
            QTRY_VERIFY(!item("searchField"));
            m_popover->show(QRect(100, 0, 24, 24));
            QTRY_VERIFY(item("searchField") && item("searchField")->hasActiveFocus());
            QCOMPARE(m_state->searchQuery(), QString());
            QCOMPARE(m_popover->controller()->model()->rowCount(), 3);
            QCOMPARE(m_state->selectedClipboardEntryID(), m_entries.at(0).id);
        }
    }

    void rowClicksCopyOrPastePlain()
    {
        click(rowAt(2));
        QCOMPARE(m_commander->calls, QStringList({QStringLiteral("copyEntry")}));
        QCOMPARE(m_commander->lastEntry.id, m_entries.at(2).id);
        QCOMPARE(m_state->selectedClipboardEntryID(), m_entries.at(2).id);

        click(rowAt(1), Qt::ShiftModifier);
        QCOMPARE(m_commander->calls.last(), QStringLiteral("pasteEntry"));
        QCOMPARE(m_commander->lastEntry.id, m_entries.at(1).id);
        QCOMPARE(m_commander->lastMode, PasteMode::plainText);
    }

    void rowMenuRunsItsCommandOnThatRow_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("pinned");
        QTest::addColumn<QString>("call");
        QTest::addColumn<PasteMode>("mode");

        QTest::addRow("Copy") << "Copy" << false << "copyEntry" << PasteMode::formatted;
        QTest::addRow("Paste") << "Paste" << false << "pasteEntry" << PasteMode::formatted;
        QTest::addRow("Paste as plain text")
            << "Paste as plain text" << false << "pasteEntry" << PasteMode::plainText;
        QTest::addRow("Pin") << "Pin" << false << "togglePin" << PasteMode::formatted;
        QTest::addRow("a pinned row offers Unpin") << "Unpin" << true << "togglePin" << PasteMode::formatted;
        QTest::addRow("Delete") << "Delete" << false << "deleteEntry" << PasteMode::formatted;
    }

    void rowMenuRunsItsCommandOnThatRow()
    {
        QFETCH(QString, text);
        QFETCH(bool, pinned);
        QFETCH(QString, call);
        QFETCH(PasteMode, mode);

        // The second entry; pinned, it moves to the top.
        m_entries[1].isPinned = pinned;
        m_state->applyEntries(m_entries);
        QTRY_VERIFY(rowAt(pinned ? 0 : 1));
        click(rowAt(pinned ? 0 : 1), Qt::NoModifier, Qt::RightButton);
        QTRY_VERIFY(menuItem(text));
        click(menuItem(text));
        QCOMPARE(m_commander->calls, QStringList{call});
        QCOMPARE(call == QLatin1String("copyEntry") || call == QLatin1String("pasteEntry")
                     ? m_commander->lastEntry.id
                     : m_commander->lastID,
                 m_entries.at(1).id);
        QCOMPARE(m_commander->lastMode, mode);
    }

    void keysActOnTheSelectedRow_data()
    {
        QTest::addColumn<QString>("search");
        QTest::addColumn<int>("key");
        QTest::addColumn<Qt::KeyboardModifiers>("modifiers");
        QTest::addColumn<QString>("call"); // empty: the row menu opens instead

        QTest::addRow("Delete") << QString() << int(Qt::Key_Delete) << Qt::KeyboardModifiers()
                                << "deleteEntry";
        QTest::addRow("Ctrl+Delete while searching")
            << "sec" << int(Qt::Key_Delete) << Qt::KeyboardModifiers(Qt::ControlModifier) << "deleteEntry";
        QTest::addRow("Ctrl+P pins") << QString() << int(Qt::Key_P)
                                     << Qt::KeyboardModifiers(Qt::ControlModifier) << "togglePin";
        QTest::addRow("Menu key") << QString() << int(Qt::Key_Menu) << Qt::KeyboardModifiers() << QString();
        QTest::addRow("Shift+F10") << QString() << int(Qt::Key_F10)
                                   << Qt::KeyboardModifiers(Qt::ShiftModifier) << QString();
    }

    void keysActOnTheSelectedRow()
    {
        QFETCH(QString, search);
        QFETCH(int, key);
        QFETCH(Qt::KeyboardModifiers, modifiers);
        QFETCH(QString, call);

        type(search);
        QTest::keyClick(view(), Qt::Key(key), modifiers);
        if (call.isEmpty()) {
            QTRY_VERIFY(menuItem(QStringLiteral("Pin")));
            click(menuItem(QStringLiteral("Pin")));
            call = QStringLiteral("togglePin");
        }
        QCOMPARE(m_commander->calls, QStringList{call});
        QCOMPARE(m_commander->lastID, m_entries.at(search.isEmpty() ? 0 : 1).id);
        QCOMPARE(m_state->searchQuery(), search); // the key did not edit the search
    }

    // Menus take the keyboard while open; typing must reach the search again once they close.
    void keyboardComesBackAfterAnyMenu_data()
    {
        QTest::addColumn<QString>("menu");
        QTest::addColumn<QString>("choice"); // empty: closed with Escape
        QTest::addRow("row menu, item chosen") << "row"
                                               << "Pin";
        QTest::addRow("row menu, Escape") << "row" << QString();
        QTest::addRow("Clear menu, Escape") << "clear" << QString();
    }

    void keyboardComesBackAfterAnyMenu()
    {
        QFETCH(QString, menu);
        QFETCH(QString, choice);

        if (menu == QLatin1String("row"))
            click(rowAt(1), Qt::NoModifier, Qt::RightButton);
        else
            click(item("clearMenuButton"));
        const QString firstItem =
            menu == QLatin1String("row") ? QStringLiteral("Pin") : QStringLiteral("Clear last 30 minutes");
        QTRY_VERIFY(menuItem(firstItem));
        if (menu == QLatin1String("clear")) {
            // Inside the window, not cut off at its edge.
            QQuickItem *entry = menuItem(firstItem);
            const QRectF inScene = entry->mapRectToScene(QRectF(0, 0, entry->width(), entry->height()));
            QVERIFY2(QRectF(0, 0, view()->width(), view()->height()).contains(inScene), "menu cut off");
        }
        if (choice.isEmpty())
            QTest::keyClick(view(), Qt::Key_Escape);
        else
            click(menuItem(choice));
        QTRY_VERIFY(!menuItem(firstItem));
        QVERIFY(m_popover->isShown());
        type(QStringLiteral("thi"));
        QCOMPARE(m_state->searchQuery(), QStringLiteral("thi"));
        QTest::keyClick(view(), Qt::Key_Escape);
        QVERIFY(!m_popover->isShown());
    }

    void pausedRecordingShowsAndResumes()
    {
        QVERIFY(!isShowing("pausedBanner"));
        m_state->setClipboardPaused(true);
        QTRY_VERIFY(isShowing("pausedBanner"));
        click(item("resumeButton"));
        QVERIFY(!m_state->clipboardPaused());
    }

    void disabledCardIsDimmedAndIgnoresClicks()
    {
        QQuickItem *mirror = item("mirrorCard");
        QCOMPARE(mirror->opacity(), 1.0);
        click(mirror);
        QCOMPARE(m_commander->count(QStringLiteral("toggleMirror")), 1);

        m_state->setMirrorEnabled(false);
        QTRY_COMPARE(mirror->opacity(), 0.45);
        click(mirror);
        QCOMPARE(m_commander->count(QStringLiteral("toggleMirror")), 1);

        click(item("desktopCard"));
        QCOMPARE(m_commander->count(QStringLiteral("toggleDesktopCover")), 1);
    }
};

QTEST_MAIN(tst_HubView)
#include "tst_hubview.moc"
