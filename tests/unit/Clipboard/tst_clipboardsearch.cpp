#include "Clipboard/ClipboardSearch.h"
#include "EntryFactory.h"

#include <QTest>

namespace {

ClipboardHistoryEntry entry(const QString &title, const QString &preview = QString(),
                            ClipboardContentType type = ClipboardContentType::text,
                            const QString &source = QStringLiteral("Editor"))
{
    ClipboardHistoryEntry entry = makeEntry(title, QDateTime::currentDateTime(), false, type);
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

        const auto row = [](const char *name, const QString &input, const QString &expected) {
            QTest::newRow(name) << input << expected;
        };
        row("case and blanks at both ends", " \t\nHello World\n ", "hello world");
        row("inner blanks kept", " a  b ", "a  b");
        row("precomposed accents", "Crème Brûlée", "creme brulee");
        row("combining accents", "Cre\u0300me", "creme");
        row("dotted capital I", "\u0130stanbul", "istanbul");
        row("sharp s", "Straße", "strasse");
        row("ligature", "\uFB01le", "file");
        row("no-break spaces at the ends", "\u00A0Zoë\u00A0", "zoe");
        row("hangul stays whole", "한국", "한국");
        row("conjoining jamo compose", "\u1112\u1161\u11AB", "한");
        row("typographic punctuation", "Wait\u2026 \u201CQuote\u201D", "wait... \u201Cquote\u201D");
        row("variation selector dropped", "\u2764\uFE0F Thanks", "\u2764 thanks");
        row("accent on an emoji's neighbour", "\U0001F600 Ne\u0301", "\U0001F600 ne");
        row("astral letters with case", "\U00010400", "\U00010428");
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
            << entry("Résumé Draft") << "resume draft" << 100;
        QTest::addRow("title begins with") << entry("Meeting notes") << "meet" << 90;
        QTest::addRow("title contains") << entry("Meeting notes") << "notes" << 75;
        QTest::addRow("preview contains") << entry("Meeting", "Meeting with Zoë at noon") << "zoe" << 55;
        QTest::addRow("source contains")
            << entry("alpha", "beta", ClipboardContentType::text, "Firefox") << "fox" << 35;
        QTest::addRow("type name contains") << entry("a", "b", ClipboardContentType::color) << "colo" << 25;
        QTest::addRow("fuzzy across title and preview") << entry("ab", "cd") << "b c" << 2 + 7 + 8;
        QTest::addRow("fuzzy reaches the type name")
            << entry("xq", "yq", ClipboardContentType::link, "zq") << "xlk" << 7 + 2 + 2;
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

        const auto row = [](const char *name, const QString &query, const QString &haystack,
                            std::optional<int> score) { QTest::newRow(name) << query << haystack << score; };
        row("adjacent run at the start", "abc", "abcdef", 7 + 8 + 9);
        row("first character not at the start", "bc", "abc", 2 + 7);
        row("run resets after a gap", "abcd", "abxcd", 7 + 8 + 2 + 7);
        row("another order does not match", "cba", "abc", {});
        row("repeated characters need repeated matches", "aa", "a", {});
        row("astral characters count once", "\U0001F600\U0001F601", "\U0001F600\U0001F601", 7 + 8);
        row("astral characters sharing a high surrogate differ", "\U0001F601", "\U0001F600", {});
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
            newestFirst << makeEntry(title, secondsAgo(60 * int(newestFirst.size() + 1)));
        newestFirst[2].preview = QStringLiteral("report");
        ClipboardHistoryEntries entries;
        for (const int index : inputOrder)
            entries.append(newestFirst.at(index));
        QCOMPARE(titlesOf(ClipboardSearch::rank(entries, query)), expected);
    }
};

QTEST_GUILESS_MAIN(TestClipboardSearch)
#include "tst_clipboardsearch.moc"
