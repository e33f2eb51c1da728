#include "Clipboard/ClipboardListSection.h"
#include "EntryFactory.h"

#include <QTest>

class TestClipboardListSection final : public QObject
{
    Q_OBJECT

private slots:
    void groups_data()
    {
        QTest::addColumn<QDateTime>("now");
        QTest::addColumn<QLocale>("locale");
        QTest::addColumn<ClipboardHistoryEntries>("entries");
        QTest::addColumn<QStringList>("expected"); // "id: title [entry titles]" per section

        const auto at = [](int year, int month, int day, int hour = 12, int minute = 0, int second = 0) {
            return QDateTime(QDate(year, month, day), QTime(hour, minute, second));
        };
        // 7 March 2026 is a Saturday.
        const QDateTime noon = at(2026, 3, 7);
        const QDateTime justAfterMidnight = at(2026, 3, 7, 0, 0, 30);
        const QLocale us(QLocale::English, QLocale::UnitedStates);

        QTest::addRow("no pinned section without pinned entries; days keep their first appearance")
            << noon << us
            << ClipboardHistoryEntries{makeEntry("a", at(2026, 3, 7, 11)), makeEntry("b", at(2026, 3, 6)),
                                       makeEntry("c", at(2026, 3, 7, 8))}
            << QStringList{"2026-3-7: Today [a, c]", "2026-3-6: Yesterday [b]"};
        QTest::addRow("pinned first, in the given order, and only there")
            << noon << us
            << ClipboardHistoryEntries{makeEntry("a", at(2026, 3, 7, 11)),
                                       makeEntry("p1", at(2026, 3, 1), true), makeEntry("b", at(2026, 3, 6)),
                                       makeEntry("p2", at(2026, 3, 7, 10), true)}
            << QStringList{"pinned: Pinned [p1, p2]", "2026-3-7: Today [a]", "2026-3-6: Yesterday [b]"};
        QTest::addRow("seconds apart across midnight")
            << justAfterMidnight << us
            << ClipboardHistoryEntries{makeEntry("after", at(2026, 3, 7, 0, 0, 10)),
                                       makeEntry("before", at(2026, 3, 6, 23, 59, 50))}
            << QStringList{"2026-3-7: Today [after]", "2026-3-6: Yesterday [before]"};
        QTest::addRow("six calendar days ago is a weekday")
            << justAfterMidnight << us << ClipboardHistoryEntries{makeEntry("a", at(2026, 3, 1, 0, 0, 0))}
            << QStringList{"2026-3-1: Sunday [a]"};
        // Less than 7 × 24 hours ago but on the day whose weekday name today already has.
        QTest::addRow("seven calendar days ago is a date")
            << justAfterMidnight << us << ClipboardHistoryEntries{makeEntry("a", at(2026, 2, 28, 23, 59, 50))}
            << QStringList{"2026-2-28: Feb 28, 2026 [a]"};
        QTest::addRow("across a year without leading zeros")
            << at(2026, 1, 2) << us
            << ClipboardHistoryEntries{makeEntry("a", at(2026, 1, 1)), makeEntry("b", at(2025, 12, 31)),
                                       makeEntry("c", at(2025, 9, 5))}
            << QStringList{"2026-1-1: Yesterday [a]", "2025-12-31: Wednesday [b]",
                           "2025-9-5: Sep 5, 2025 [c]"};
        QTest::addRow("a day after today is a date, not a weekday")
            << noon << us << ClipboardHistoryEntries{makeEntry("a", at(2026, 3, 9))}
            << QStringList{"2026-3-9: Mar 9, 2026 [a]"};

        // Older days in the user's locale: a weekday three days ago, a date eight days ago.
        const ClipboardHistoryEntries older{makeEntry("a", at(2026, 3, 4)), makeEntry("b", at(2026, 2, 27))};
        const auto localeRow = [&](const char *name, const QLocale &locale, const QString &weekday,
                                   const QString &date) {
            QTest::addRow("%s", name)
                << noon << locale << older
                << QStringList{"2026-3-4: " + weekday + " [a]", "2026-2-27: " + date + " [b]"};
        };
        localeRow("French", QLocale(QLocale::French, QLocale::France), "mercredi",
                  QStringLiteral("27 févr. 2026"));
        localeRow("Japanese, weekday after the date", QLocale(QLocale::Japanese, QLocale::Japan),
                  QStringLiteral("水曜日"), QStringLiteral("2026年2月27日"));
        localeRow("Thai, words tied to the weekday dropped", QLocale(QLocale::Thai, QLocale::Thailand),
                  QStringLiteral("วันพุธ"), QStringLiteral("27 ก.พ. 2026"));
        localeRow("Mongolian, trailing weekday word dropped", QLocale(QLocale::Mongolian, QLocale::Mongolia),
                  QStringLiteral("лхагва"), QStringLiteral("2026 оны 2-р сарын 27"));
        localeRow("Portuguese, quoted words kept", QLocale(QLocale::Portuguese, QLocale::Brazil),
                  QStringLiteral("quarta-feira"), QStringLiteral("27 de fev. de 2026"));
    }

    void groups()
    {
        QFETCH(QDateTime, now);
        QFETCH(QLocale, locale);
        QFETCH(ClipboardHistoryEntries, entries);
        QFETCH(QStringList, expected);

        QStringList lines;
        for (const auto &section : ClipboardListSection::group(entries, now, locale))
            lines << section.id + ": " + section.title + " [" + titlesOf(section.entries).join(", ") + ']';
        QCOMPARE(lines, expected);
    }
};

QTEST_GUILESS_MAIN(TestClipboardListSection)
#include "tst_clipboardlistsection.moc"
