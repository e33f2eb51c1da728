#include "Clipboard/ClipboardSearch.h"
#include "EntryFactory.h"

#include <QTest>

namespace {

ClipboardHistoryEntry entry(const QString &title, const QString &preview = QString(),
                            const QString &source = QStringLiteral("Editor"),
                            ClipboardContentType type = ClipboardContentType::text, int minutesAgo = 0)
{
    ClipboardHistoryEntry entry =
        makeEntry(title, QDateTime(QDate(2026, 3, 7), QTime(12, 0)).addSecs(-60 * minutesAgo), false, type);
    entry.preview = preview.isNull() ? title : preview;
    entry.sourceAppName = source;
    return entry;
}

} // namespace

class TestClipboardSearch final : public QObject
{
    Q_OBJECT

private slots:
    void normalizes_data()
    {
        QTest::addColumn<QString>("input");
        QTest::addColumn<QString>("expected");

        QTest::addRow("case and blanks at both ends")
            << " \t\nHello World\n " << QStringLiteral("hello world");
        QTest::addRow("inner blanks kept") << " a  b " << QStringLiteral("a  b");
        QTest::addRow("precomposed accents") << QStringLiteral("Crème Brûlée") << "creme brulee";
        QTest::addRow("combining accents") << QStringLiteral("Cre\u0300me") << "creme";
        QTest::addRow("dotted capital I") << QStringLiteral("\u0130stanbul") << "istanbul";
        QTest::addRow("sharp s") << QStringLiteral("Straße") << "strasse";
        QTest::addRow("ligature") << QStringLiteral("\uFB01le") << "file";
        QTest::addRow("no-break spaces at the ends") << QStringLiteral("\u00A0Zoë\u00A0") << "zoe";
        QTest::addRow("hangul stays whole") << QStringLiteral("한국") << QStringLiteral("한국");
        QTest::addRow("conjoining jamo compose")
            << QStringLiteral("\u1112\u1161\u11AB") << QStringLiteral("한");
        QTest::addRow("typographic punctuation")
            << QStringLiteral("Wait\u2026 \u201CQuote\u201D") << QStringLiteral("wait... \u201Cquote\u201D");
        QTest::addRow("variation selector dropped")
            << QStringLiteral("\u2764\uFE0F Thanks") << QStringLiteral("\u2764 thanks");
        QTest::addRow("accent on an emoji's neighbour")
            << QStringLiteral("\U0001F600 Ne\u0301") << QStringLiteral("\U0001F600 ne");
        QTest::addRow("astral letters with case")
            << QStringLiteral("\U00010400") << QStringLiteral("\U00010428");
    }

    void normalizes()
    {
        QFETCH(QString, input);
        QFETCH(QString, expected);
        QCOMPARE(ClipboardSearch::normalized(input), expected);
    }

    void scoresByFirstMatchingRule_data()
    {
        QTest::addColumn<ClipboardHistoryEntry>("entry");
        QTest::addColumn<QString>("query");
        QTest::addColumn<int>("score");

        QTest::addRow("title equals") << entry("Meeting notes") << "meeting notes" << 100;
        QTest::addRow("title equals but for case and accents")
            << entry(QStringLiteral("Résumé Draft")) << "resume draft" << 100;
        QTest::addRow("title begins with") << entry("Meeting notes") << "meet" << 90;
        QTest::addRow("title contains") << entry("Meeting notes") << "notes" << 75;
        QTest::addRow("preview contains") << entry("Meeting", "Meeting with Zoë at noon") << "zoe" << 55;
        QTest::addRow("source contains") << entry("alpha", "beta", "Firefox") << "fox" << 35;
        QTest::addRow("type name contains")
            << entry("alpha", "beta", "Editor", ClipboardContentType::color) << "colo" << 25;
        QTest::addRow("fuzzy across title and preview") << entry("ab", "cd") << "b c" << 2 + 7 + 8;
        QTest::addRow("fuzzy reaches the type name")
            << entry("xq", "yq", "zq", ClipboardContentType::link) << "xlk" << 7 + 2 + 2;
    }

    void scoresByFirstMatchingRule()
    {
        QFETCH(ClipboardHistoryEntry, entry);
        QFETCH(QString, query);
        QFETCH(int, score);
        QCOMPARE(ClipboardSearch::score(entry, query), std::optional<int>(score));
    }

    void fuzzyScores_data()
    {
        // Adjacent characters score 7, 8, 9 … as a run grows; any other match scores 2 and ends the run.
        QTest::addColumn<QString>("query");
        QTest::addColumn<QString>("haystack");
        QTest::addColumn<std::optional<int>>("score");

        QTest::addRow("adjacent run at the start")
            << "abc" << QStringLiteral("abcdef") << std::optional(7 + 8 + 9);
        QTest::addRow("first character not at the start")
            << "bc" << QStringLiteral("abc") << std::optional(2 + 7);
        QTest::addRow("run resets after a gap")
            << "abcd" << QStringLiteral("abxcd") << std::optional(7 + 8 + 2 + 7);
        QTest::addRow("another order does not match")
            << "cba" << QStringLiteral("abc") << std::optional<int>();
        QTest::addRow("repeated characters need repeated matches")
            << "aa" << QStringLiteral("a") << std::optional<int>();
        QTest::addRow("astral characters count once")
            << QStringLiteral("\U0001F600\U0001F601") << QStringLiteral("\U0001F600\U0001F601")
            << std::optional(7 + 8);
        QTest::addRow("astral characters sharing a high surrogate differ")
            << QStringLiteral("\U0001F601") << QStringLiteral("\U0001F600") << std::optional<int>();
    }

    void fuzzyScores()
    {
        QFETCH(QString, query);
        QFETCH(QString, haystack);
        QFETCH(std::optional<int>, score);
        QCOMPARE(ClipboardSearch::fuzzyScore(query, haystack), score);
    }

    void rank_data()
    {
        QTest::addColumn<QList<int>>("inputOrder");
        QTest::addColumn<QString>("query");
        QTest::addColumn<QStringList>("expected");

        // Best score first, newer first on ties, non-matches dropped; whatever order the entries come in.
        const QStringList ranked{"report", "Report", "my report", "your report", "draft"};
        QTest::addRow("store order, newest first") << QList<int>{0, 1, 2, 3, 4, 5} << " Report " << ranked;
        QTest::addRow("shuffled") << QList<int>{2, 4, 5, 0, 3, 1} << "report" << ranked;
        QTest::addRow("blank query keeps the given order")
            << QList<int>{2, 4, 5, 0, 3, 1} << " \t \n"
            << QStringList{"draft", "Report", "unrelated", "my report", "your report", "report"};
    }

    void rank()
    {
        QFETCH(QList<int>, inputOrder);
        QFETCH(QString, query);
        QFETCH(QStringList, expected);

        // Scores 75, 100, 55 (by its preview), 75, 100 and none.
        ClipboardHistoryEntries newestFirst;
        for (const char *title : {"my report", "report", "draft", "your report", "Report", "unrelated"})
            newestFirst << entry(title, "", "Editor", ClipboardContentType::text,
                                 int(newestFirst.size()) + 1);
        newestFirst[2].preview = QStringLiteral("report");
        ClipboardHistoryEntries entries;
        for (const int index : inputOrder)
            entries.append(newestFirst.at(index));
        QCOMPARE(titlesOf(ClipboardSearch::rank(entries, query)), expected);
    }
};

QTEST_GUILESS_MAIN(TestClipboardSearch)
#include "tst_clipboardsearch.moc"
