#include "Clipboard/ClipboardListSection.h"

#include <QTest>

namespace {

const QLocale usEnglish(QLocale::English, QLocale::UnitedStates);

ClipboardHistoryEntry makeEntry(const QString &title, const QDateTime &timestamp, bool pinned = false)
{
    ClipboardHistoryEntry entry;
    entry.id = QUuid::createUuid();
    entry.title = title;
    entry.preview = title;
    entry.sourceAppName = QStringLiteral("Editor");
    entry.timestamp = timestamp;
    entry.isPinned = pinned;
    return entry;
}

QDateTime at(int year, int month, int day, int hour = 12, int minute = 0, int second = 0)
{
    return QDateTime(QDate(year, month, day), QTime(hour, minute, second));
}

// "id: title [entry titles]" per section, so a failure shows the whole grouping.
QStringList describe(const QList<ClipboardListSection> &sections)
{
    QStringList lines;
    for (const auto &section : sections) {
        QStringList entryTitles;
        for (const auto &entry : section.entries)
            entryTitles.append(entry.title);
        lines.append(QStringLiteral("%1: %2 [%3]").arg(section.id, section.title, entryTitles.join(", ")));
    }
    return lines;
}

} // namespace

class TestClipboardListSection final : public QObject
{
    Q_OBJECT

private slots:
    void groups_data();
    void groups();
    void titlesOlderDaysInTheUsersLocale_data();
    void titlesOlderDaysInTheUsersLocale();
};

void TestClipboardListSection::groups_data()
{
    QTest::addColumn<QDateTime>("now");
    QTest::addColumn<ClipboardHistoryEntries>("entries");
    QTest::addColumn<QStringList>("expected");

    // 7 March 2026 is a Saturday.
    const QDateTime noon = at(2026, 3, 7);
    const QDateTime justAfterMidnight = at(2026, 3, 7, 0, 0, 30);

    QTest::addRow("empty list gives no sections") << noon << ClipboardHistoryEntries{} << QStringList{};

    QTest::addRow("no pinned section without pinned entries")
        << noon
        << ClipboardHistoryEntries{makeEntry("a", at(2026, 3, 7, 11)), makeEntry("b", at(2026, 3, 7, 9))}
        << QStringList{"2026-3-7: Today [a, b]"};

    QTest::addRow("pinned first, in the given order, and only there")
        << noon
        << ClipboardHistoryEntries{makeEntry("a", at(2026, 3, 7, 11)), makeEntry("p1", at(2026, 3, 1), true),
                                   makeEntry("b", at(2026, 3, 6)), makeEntry("p2", at(2026, 3, 7, 10), true)}
        << QStringList{"pinned: Pinned [p1, p2]", "2026-3-7: Today [a]", "2026-3-6: Yesterday [b]"};

    QTest::addRow("only pinned entries")
        << noon << ClipboardHistoryEntries{makeEntry("p", at(2026, 3, 7), true)}
        << QStringList{"pinned: Pinned [p]"};

    QTest::addRow("seconds apart across midnight")
        << justAfterMidnight
        << ClipboardHistoryEntries{makeEntry("after", at(2026, 3, 7, 0, 0, 10)),
                                   makeEntry("before", at(2026, 3, 6, 23, 59, 50))}
        << QStringList{"2026-3-7: Today [after]", "2026-3-6: Yesterday [before]"};

    QTest::addRow("three days ago is a weekday")
        << noon << ClipboardHistoryEntries{makeEntry("a", at(2026, 3, 4))}
        << QStringList{"2026-3-4: Wednesday [a]"};

    QTest::addRow("six calendar days ago is a weekday")
        << justAfterMidnight << ClipboardHistoryEntries{makeEntry("a", at(2026, 3, 1, 0, 0, 0))}
        << QStringList{"2026-3-1: Sunday [a]"};

    // Less than 7 × 24 hours ago but on the day whose weekday name today already has.
    QTest::addRow("seven calendar days ago is a date")
        << justAfterMidnight << ClipboardHistoryEntries{makeEntry("a", at(2026, 2, 28, 23, 59, 50))}
        << QStringList{"2026-2-28: Feb 28, 2026 [a]"};

    QTest::addRow("eight days ago is a date")
        << noon << ClipboardHistoryEntries{makeEntry("a", at(2026, 2, 27))}
        << QStringList{"2026-2-27: Feb 27, 2026 [a]"};

    QTest::addRow("across a year without leading zeros")
        << at(2026, 1, 2)
        << ClipboardHistoryEntries{makeEntry("a", at(2026, 1, 1)), makeEntry("b", at(2025, 12, 31)),
                                   makeEntry("c", at(2025, 9, 5))}
        << QStringList{"2026-1-1: Yesterday [a]", "2025-12-31: Wednesday [b]", "2025-9-5: Sep 5, 2025 [c]"};

    QTest::addRow("days keep their first appearance")
        << noon
        << ClipboardHistoryEntries{makeEntry("a", at(2026, 3, 7, 11)), makeEntry("b", at(2026, 3, 6)),
                                   makeEntry("c", at(2026, 3, 7, 8))}
        << QStringList{"2026-3-7: Today [a, c]", "2026-3-6: Yesterday [b]"};

    QTest::addRow("a day after today is a date, not a weekday")
        << noon << ClipboardHistoryEntries{makeEntry("a", at(2026, 3, 9))}
        << QStringList{"2026-3-9: Mar 9, 2026 [a]"};
}

void TestClipboardListSection::groups()
{
    QFETCH(QDateTime, now);
    QFETCH(ClipboardHistoryEntries, entries);
    QFETCH(QStringList, expected);

    const auto sections = ClipboardListSection::group(entries, now, usEnglish);
    QCOMPARE(describe(sections), expected);
    for (const auto &section : sections)
        QVERIFY(!section.entries.isEmpty());
}

void TestClipboardListSection::titlesOlderDaysInTheUsersLocale_data()
{
    QTest::addColumn<QLocale>("locale");
    QTest::addColumn<QString>("weekday");
    QTest::addColumn<QString>("date");

    QTest::addRow("British English") << QLocale(QLocale::English, QLocale::UnitedKingdom) << "Wednesday"
                                     << "27 Feb 2026";
    QTest::addRow("French") << QLocale(QLocale::French, QLocale::France) << "mercredi"
                            << QStringLiteral("27 févr. 2026");
    QTest::addRow("Japanese, weekday after the date")
        << QLocale(QLocale::Japanese, QLocale::Japan) << QStringLiteral("水曜日")
        << QStringLiteral("2026年2月27日");
    QTest::addRow("Thai, words tied to the weekday dropped")
        << QLocale(QLocale::Thai, QLocale::Thailand) << QStringLiteral("วันพุธ")
        << QStringLiteral("27 ก.พ. 2026");
    QTest::addRow("Mongolian, trailing weekday word dropped")
        << QLocale(QLocale::Mongolian, QLocale::Mongolia) << QStringLiteral("лхагва")
        << QStringLiteral("2026 оны 2-р сарын 27");
    QTest::addRow("Portuguese, quoted words kept")
        << QLocale(QLocale::Portuguese, QLocale::Brazil) << QStringLiteral("quarta-feira")
        << QStringLiteral("27 de fev. de 2026");
}

void TestClipboardListSection::titlesOlderDaysInTheUsersLocale()
{
    QFETCH(QLocale, locale);
    QFETCH(QString, weekday);
    QFETCH(QString, date);

    const ClipboardHistoryEntries entries{makeEntry("three days", at(2026, 3, 4)),
                                          makeEntry("eight days", at(2026, 2, 27))};
    const auto sections = ClipboardListSection::group(entries, at(2026, 3, 7), locale);
    QCOMPARE(sections.size(), 2);
    QCOMPARE(sections.at(0).title, weekday);
    QCOMPARE(sections.at(1).title, date);
}

QTEST_GUILESS_MAIN(TestClipboardListSection)
#include "tst_clipboardlistsection.moc"
