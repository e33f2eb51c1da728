#include "Clipboard/ClipboardListModel.h"
#include "EntryFactory.h"
#include "UI/HubPopover.h"

#include <QAbstractItemModelTester>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTest>

// The history list as the hub shows it: order, sections, quick numbers, selection.
class tst_ClipboardListModel : public QObject
{
    Q_OBJECT

private slots:
    void quickNumbersSkipPinnedEntries()
    {
        ClipboardHistoryEntries entries;
        for (int i = 0; i < 12; ++i)
            entries << makeEntry(QString::number(i), secondsAgo(i), i == 1 || i == 4);
        const QHash<QUuid, int> numbers = ClipboardListModel::quickNumbers(entries);
        QList<int> shown; // 0: no number
        for (const ClipboardHistoryEntry &entry : std::as_const(entries))
            shown << numbers.value(entry.id, 0);
        QCOMPARE(shown, (QList<int>{1, 0, 2, 3, 0, 4, 5, 6, 7, 8, 9, 0}));
    }

    // Every change to the history reaches the list as row deltas, never a reset, so an open hub keeps
    // its scroll position and its selection. Rows start as: pinned "note" (Pinned), "alpha", "beta"
    // (Today), "old" (a dated section, shown as *); "beta" is selected, unless a query selected its
    // first row. A row reads "title section", the selected one marked with "<".
    void changesArriveAsRowDeltas_data()
    {
        QTest::addColumn<QString>("query");
        QTest::addColumn<QString>("change");
        QTest::addColumn<QStringList>("rows");

        const auto row = [](const char *name, const char *query, const char *change,
                            const QStringList &rows) {
            QTest::newRow(name) << QString::fromLatin1(query) << QString::fromLatin1(change) << rows;
        };
        row("a copy arrives: a row above, the selection stays", "", "copy gamma",
            {"note Pinned", "gamma Today", "alpha Today", "beta Today <", "old *"});
        row("insert while a search is active: only a match joins", "alpha", "copy alpha-beta",
            {"alpha <", "alpha-beta"});
        row("insert of a non-match while searching changes no row", "alp", "copy zeta", {"alpha <"});
        row("remove the selected row: the next row takes its place", "", "remove beta",
            {"note Pinned", "alpha Today", "old * <"});
        row("remove the selected row and those below: the last row", "", "remove beta old",
            {"note Pinned", "alpha Today <"});
        row("pin moves a row between sections, the selection stays", "", "pin old",
            {"note Pinned", "old Pinned", "alpha Today", "beta Today <"});
        row("remove every row: nothing is selected", "", "remove note alpha beta old", {});
        row("a new query selects the first row shown; a blank one shows every row", "beta", "search  \n",
            {"note Pinned <", "alpha Today", "beta Today", "old *"});
        row("at midnight today becomes yesterday", "", "midnight",
            {"note Pinned", "alpha Yesterday", "beta Yesterday <", "old *"});
    }

    void changesArriveAsRowDeltas()
    {
        QFETCH(QString, query);
        QFETCH(QString, change);
        QFETCH(QStringList, rows);

        const QDateTime now(QDate(2026, 3, 9), QTime(12, 0));
        const ClipboardHistoryEntries entries{
            makeEntry("alpha", now.addSecs(-30)), makeEntry("note", now.addSecs(-60), true),
            makeEntry("beta", now.addSecs(-90)), makeEntry("old", now.addDays(-20))};
        const auto titled = [&entries](const QString &title) {
            return entries.value(titlesOf(entries).indexOf(title));
        };
        ClipboardListModel model(nullptr);
        model.setNow(now);
        model.setEntries(entries, titled("beta").id);
        model.setSearchQuery(query);
        QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
        QSignalSpy reset(&model, &QAbstractItemModel::modelReset);

        const QStringList words = change.split(u' ');
        QList<QUuid> ids;
        for (const QString &title : words.mid(1))
            ids << titled(title).id;
        ClipboardHistoryEntry changed = titled(words.last());
        changed.isPinned = words.first() == QLatin1String("pin");
        if (words.first() == QLatin1String("remove"))
            model.removeEntries(ids);
        else if (words.first() == QLatin1String("search"))
            model.setSearchQuery(change.section(u' ', 1));
        else if (words.first() != QLatin1String("midnight"))
            model.insertEntry(changed.isPinned ? changed : makeEntry(words.last(), now.addSecs(-1)));
        model.setNow(change == QLatin1String("midnight") ? now.addDays(1) : now);
        model.refreshDay();

        QCOMPARE(reset.count(), 0);
        QStringList shown;
        for (int row = 0; row < model.rowCount(); ++row) {
            const auto data = [&model, row](int role) { return model.index(row).data(role); };
            const QString section = data(ClipboardListModel::SectionRole).toString();
            const bool dated = !QStringList{"", "Pinned", "Today", "Yesterday"}.contains(section);
            shown << (data(ClipboardListModel::TitleRole).toString() + u' ' + (dated ? "*" : section) +
                      (data(ClipboardListModel::IsSelectedRole).toBool() ? " <" : ""))
                         .simplified();
        }
        QCOMPARE(shown, rows);
        QCOMPARE(model.selectedRow(), int(rows.indexOf(QRegularExpression(".* <"))));
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
        QCOMPARE(HubPopover::placement(anchor, HubPopover::contentSize, QRect(0, 0, 1920, 1080)), expected);
    }
};

QTEST_MAIN(tst_ClipboardListModel)
#include "tst_clipboardlistmodel.moc"
