#include "EntryFactory.h"
#include "StateFixture.h"
#include "UI/ClipboardListModel.h"
#include "UI/HubPopover.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>
#include <QTest>

// The hub's list as QML sees it: order, sections, quick numbers, selection.
class tst_ClipboardListModel : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<StateFixture> m_fixture;
    AppState *m_state = nullptr;

    QVariant role(const ClipboardListModel &model, int row, int role) const
    {
        return model.data(model.index(row), role);
    }

private slots:
    void init()
    {
        m_fixture = std::make_unique<StateFixture>();
        m_state = &m_fixture->state;
    }
    void cleanup()
    {
        m_state = nullptr;
        m_fixture.reset();
    }

    void quickNumbersSkipPinnedEntries()
    {
        const QDateTime now = QDateTime::currentDateTime();
        ClipboardHistoryEntries entries;
        for (int i = 0; i < 12; ++i)
            entries << makeEntry(QStringLiteral("e%1").arg(i + 1), now.addSecs(-i), i == 1 || i == 4);
        const QHash<QUuid, int> numbers = ClipboardListModel::quickNumbers(entries);
        QCOMPARE(numbers.size(), 9);
        QCOMPARE(numbers.value(entries.at(0).id), 1);
        QVERIFY(!numbers.contains(entries.at(1).id));
        QCOMPARE(numbers.value(entries.at(2).id), 2);
        QCOMPARE(numbers.value(entries.at(3).id), 3);
        QVERIFY(!numbers.contains(entries.at(4).id));
        QCOMPARE(numbers.value(entries.at(10).id), 9);
        QVERIFY(!numbers.contains(entries.at(11).id));
    }

    void rowsFollowSectionsUntilASearchFlattensThem()
    {
        const QDateTime now = QDateTime::currentDateTime();
        const ClipboardHistoryEntries entries = {
            makeEntry(QStringLiteral("today text"), now.addSecs(-30)),
            makeEntry(QStringLiteral("pinned note"), now.addSecs(-60), true),
            makeEntry(QStringLiteral("old text"), now.addDays(-20)),
        };
        m_state->applyEntries(entries);
        ClipboardListModel model(m_state);
        QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);

        QCOMPARE(model.rowCount(), 3);
        QCOMPARE(role(model, 0, ClipboardListModel::TitleRole).toString(), QStringLiteral("pinned note"));
        QCOMPARE(role(model, 0, ClipboardListModel::SectionRole).toString(), QStringLiteral("Pinned"));
        QCOMPARE(role(model, 1, ClipboardListModel::SectionRole).toString(), QStringLiteral("Today"));
        QVERIFY(!role(model, 2, ClipboardListModel::SectionRole).toString().isEmpty());
        QCOMPARE(role(model, 0, ClipboardListModel::QuickNumberRole).toInt(), 0);
        QCOMPARE(role(model, 2, ClipboardListModel::QuickNumberRole).toInt(), 2);
        QCOMPARE(role(model, 1, ClipboardListModel::AccessibleNameRole).toString(),
                 QStringLiteral("Text, from Terminal"));

        QSignalSpy countSpy(&model, &ClipboardListModel::countChanged);
        m_state->setSearchQuery(QStringLiteral("old"));
        QCOMPARE(model.rowCount(), 1);
        QCOMPARE(countSpy.count(), 1);
        QVERIFY(role(model, 0, ClipboardListModel::SectionRole).toString().isEmpty());

        m_state->setSearchQuery(QStringLiteral("nothing like this"));
        QCOMPARE(model.rowCount(), 0);
        m_state->setSearchQuery(QString());
        QCOMPARE(model.rowCount(), 3);
    }

    void todayBecomesYesterdayAtMidnight()
    {
        const QDateTime evening(QDate(2026, 3, 9), QTime(23, 59, 30));
        m_state->applyEntries({makeEntry(QStringLiteral("late"), evening.addSecs(-60))});
        ClipboardListModel model(m_state);
        model.setNow(evening);
        model.refreshDay(); // same day: nothing to do
        m_state->applyEntries({makeEntry(QStringLiteral("late"), evening.addSecs(-60))});
        QCOMPARE(role(model, 0, ClipboardListModel::SectionRole).toString(), QStringLiteral("Today"));
        model.setNow(evening.addSecs(60));
        model.refreshDay();
        QCOMPARE(role(model, 0, ClipboardListModel::SectionRole).toString(), QStringLiteral("Yesterday"));
    }

    void selectionMovesOnlyTheAffectedRows()
    {
        const QDateTime now = QDateTime::currentDateTime();
        const ClipboardHistoryEntries entries = {makeEntry(QStringLiteral("a"), now),
                                                 makeEntry(QStringLiteral("b"), now.addSecs(-1)),
                                                 makeEntry(QStringLiteral("c"), now.addSecs(-2))};
        m_state->applyEntries(entries);
        ClipboardListModel model(m_state);
        QCOMPARE(model.selectedRow(), 0);
        QVERIFY(role(model, 0, ClipboardListModel::IsSelectedRole).toBool());

        QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);
        QSignalSpy reset(&model, &QAbstractItemModel::modelReset);
        m_state->setSelectedClipboardEntryID(entries.at(2).id);
        QCOMPARE(model.selectedRow(), 2);
        QCOMPARE(changed.count(), 2);
        QCOMPARE(reset.count(), 0);
        QVERIFY(!role(model, 0, ClipboardListModel::IsSelectedRole).toBool());
        QVERIFY(role(model, 2, ClipboardListModel::IsSelectedRole).toBool());
        QCOMPARE(model.rowForQuickNumber(3), 2);
        QCOMPARE(model.rowForQuickNumber(4), -1);
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
