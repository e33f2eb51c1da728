#include "Clipboard/ClipboardListModel.h"
#include "EntryFactory.h"
#include "UI/HubPopover.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>
#include <QTest>

#include <tuple>

// The history list as the hub shows it: order, sections, quick numbers, selection.
class tst_ClipboardListModel : public QObject
{
    Q_OBJECT

private:
    QVariant role(const ClipboardListModel &model, int row, int role) const
    {
        return model.data(model.index(row), role);
    }

private slots:
    void quickNumbersSkipPinnedEntries()
    {
        const QDateTime now = QDateTime::currentDateTime();
        ClipboardHistoryEntries entries;
        for (int i = 0; i < 12; ++i)
            entries << makeEntry(QStringLiteral("e%1").arg(i + 1), now.addSecs(-i), i == 1 || i == 4);
        const QHash<QUuid, int> numbers = ClipboardListModel::quickNumbers(entries);
        QList<int> shown; // 0: no number
        for (const ClipboardHistoryEntry &entry : std::as_const(entries))
            shown << numbers.value(entry.id, 0);
        QCOMPARE(shown, (QList<int>{1, 0, 2, 3, 0, 4, 5, 6, 7, 8, 9, 0}));
    }

    void todayBecomesYesterdayAtMidnight()
    {
        const QDateTime evening(QDate(2026, 3, 9), QTime(23, 59, 30));
        ClipboardListModel model(nullptr);
        model.setNow(evening);
        model.setEntries({makeEntry(QStringLiteral("late"), evening.addSecs(-60))});
        QCOMPARE(role(model, 0, ClipboardListModel::SectionRole).toString(), QStringLiteral("Today"));
        model.setNow(evening.addSecs(60));
        model.refreshDay();
        QCOMPARE(role(model, 0, ClipboardListModel::SectionRole).toString(), QStringLiteral("Yesterday"));
    }

    // Every change to the history reaches the list as row deltas, never a reset, so an open hub keeps
    // its scroll position and its selection. Rows start as: pinned "note" (Pinned), "alpha", "beta"
    // (Today), "old" (an older section); "beta" is selected, unless a query selected its first row.
    void changesArriveAsRowDeltas_data()
    {
        QTest::addColumn<QString>("query");
        QTest::addColumn<QString>("change");
        QTest::addColumn<QStringList>("rows");
        QTest::addColumn<QStringList>("sections");
        QTest::addColumn<QString>("selected");

        QTest::addRow("a copy arrives: a row above, the selection stays")
            << QString() << "copy gamma" << QStringList{"note", "gamma", "alpha", "beta", "old"}
            << QStringList{"Pinned", "Today", "Today", "Today", "*"} << "beta";
        QTest::addRow("insert while a search is active: only a match joins")
            << "alpha"
            << "copy alpha-beta" << QStringList{"alpha", "alpha-beta"} << QStringList{"", ""} << "alpha";
        QTest::addRow("insert of a non-match while searching changes no row")
            << "alp"
            << "copy zeta" << QStringList{"alpha"} << QStringList{""} << "alpha";
        QTest::addRow("remove the selected row: the next row takes its place")
            << QString() << "remove beta" << QStringList{"note", "alpha", "old"}
            << QStringList{"Pinned", "Today", "*"} << "old";
        QTest::addRow("remove the selected row and those below: the last row")
            << QString() << "remove beta old" << QStringList{"note", "alpha"}
            << QStringList{"Pinned", "Today"} << "alpha";
        QTest::addRow("pin moves a row between sections, the selection stays")
            << QString() << "pin old" << QStringList{"note", "old", "alpha", "beta"}
            << QStringList{"Pinned", "Pinned", "Today", "Today"} << "beta";
        QTest::addRow("remove every row: nothing is selected")
            << QString() << "remove note alpha beta old" << QStringList{} << QStringList{} << QString();
        QTest::addRow("a new query selects the first row shown; a blank one shows every row")
            << "beta"
            << "search  \n"
            << QStringList{"note", "alpha", "beta", "old"} << QStringList{"Pinned", "Today", "Today", "*"}
            << "note";
    }

    void changesArriveAsRowDeltas()
    {
        QFETCH(QString, query);
        QFETCH(QString, change);
        QFETCH(QStringList, rows);
        QFETCH(QStringList, sections);
        QFETCH(QString, selected);

        const QDateTime now(QDate(2026, 3, 9), QTime(12, 0));
        QHash<QString, ClipboardHistoryEntry> byTitle;
        ClipboardHistoryEntries entries;
        for (const auto &[title, when, pinned] :
             {std::tuple{"alpha", now.addSecs(-30), false}, std::tuple{"note", now.addSecs(-60), true},
              std::tuple{"beta", now.addSecs(-90), false}, std::tuple{"old", now.addDays(-20), false}}) {
            entries << makeEntry(QLatin1String(title), when, pinned);
            byTitle.insert(QLatin1String(title), entries.last());
        }
        ClipboardListModel model(nullptr);
        model.setNow(now);
        model.setEntries(entries, byTitle.value(QStringLiteral("beta")).id);
        model.setSearchQuery(query);
        QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
        QSignalSpy reset(&model, &QAbstractItemModel::modelReset);

        const QString verb = change.section(u' ', 0, 0);
        const QStringList words = change.section(u' ', 1).split(u' ');
        if (verb == QLatin1String("copy")) {
            model.insertEntry(makeEntry(words.first(), now.addSecs(-1)));
        } else if (verb == QLatin1String("remove")) {
            QList<QUuid> ids;
            for (const QString &title : std::as_const(words))
                ids << byTitle.value(title).id;
            model.removeEntries(ids);
        } else if (verb == QLatin1String("pin")) {
            ClipboardHistoryEntry pinned = byTitle.value(words.first());
            pinned.isPinned = true;
            model.insertEntry(pinned);
        } else {
            model.setSearchQuery(change.section(u' ', 1));
        }

        QCOMPARE(reset.count(), 0);
        QStringList actualRows;
        QStringList actualSections;
        for (int row = 0; row < model.rowCount(); ++row) {
            actualRows << role(model, row, ClipboardListModel::TitleRole).toString();
            const QString section = role(model, row, ClipboardListModel::SectionRole).toString();
            actualSections << (section.isEmpty() || section == QLatin1String("Pinned") ||
                                       section == QLatin1String("Today")
                                   ? section
                                   : QStringLiteral("*"));
        }
        QCOMPARE(actualRows, rows);
        QCOMPARE(actualSections, sections);
        QCOMPARE(model.selectedRow(), rows.indexOf(selected));
        QCOMPARE(role(model, model.selectedRow(), ClipboardListModel::IsSelectedRole).toBool(),
                 !selected.isEmpty());
    }

    void colourCodesBecomeSwatches_data()
    {
        QTest::addColumn<QString>("code");
        QTest::addColumn<QColor>("expected");
        QTest::addRow("six digits with #") << "#3D7EFF" << QColor(0x3d, 0x7e, 0xff);
        QTest::addRow("six digits without #") << "ff0000" << QColor(255, 0, 0);
        QTest::addRow("eight digits are RRGGBBAA") << "#11223380" << QColor(0x11, 0x22, 0x33, 0x80);
        QTest::addRow("five digits are no colour") << "#12345" << QColor();
        QTest::addRow("not hex") << "#zzzzzz" << QColor();
    }

    void colourCodesBecomeSwatches()
    {
        QFETCH(QString, code);
        QFETCH(QColor, expected);
        QCOMPARE(ClipboardListModel::swatchColor(code), expected);
    }

    void hubPlacementStaysOnScreen_data()
    {
        QTest::addColumn<QRect>("anchor");
        QTest::addColumn<QPoint>("expected");
        // 344 × 560 on a 1920 × 1080 screen.
        QTest::addRow("tray at the top right: below, pulled left")
            << QRect(1896, 0, 24, 24) << QPoint(1576, 28);
        QTest::addRow("tray at the bottom: above") << QRect(900, 1056, 24, 24) << QPoint(739, 492);
        QTest::addRow("tray at the top left: below, pushed right") << QRect(0, 0, 24, 24) << QPoint(0, 28);
        QTest::addRow("pointer in the middle: below it") << QRect(960, 300, 1, 1) << QPoint(788, 305);
    }

    void hubPlacementStaysOnScreen()
    {
        QFETCH(QRect, anchor);
        QFETCH(QPoint, expected);
        const QRect screen(0, 0, 1920, 1080);
        const QPoint position = HubPopover::placement(anchor, HubPopover::contentSize, screen);
        QCOMPARE(position, expected);
        QVERIFY(screen.contains(QRect(position, HubPopover::contentSize)));
    }
};

QTEST_MAIN(tst_ClipboardListModel)
#include "tst_clipboardlistmodel.moc"
