#include "Clipboard/ClipboardSearch.h"

#include <QTest>

namespace {

const QDateTime baseTime(QDate(2026, 3, 7), QTime(12, 0));

ClipboardHistoryEntry makeEntry(const QString &title, const QString &preview = QString(),
                                const QString &source = QStringLiteral("Editor"),
                                ClipboardContentType type = ClipboardContentType::text, int minutesAgo = 0)
{
    ClipboardHistoryEntry entry;
    entry.id = QUuid::createUuid();
    entry.title = title;
    entry.preview = preview.isNull() ? title : preview;
    entry.type = type;
    entry.sourceAppName = source;
    entry.timestamp = baseTime.addSecs(-60 * minutesAgo);
    return entry;
}

QStringList titles(const ClipboardHistoryEntries &entries)
{
    QStringList result;
    for (const auto &entry : entries)
        result.append(entry.title);
    return result;
}

} // namespace

class TestClipboardSearch final : public QObject
{
    Q_OBJECT

private slots:
    void normalizes_data();
    void normalizes();
    void scoresByFirstMatchingRule_data();
    void scoresByFirstMatchingRule();
    void fuzzyScores_data();
    void fuzzyScores();
    void rankDropsNonMatchesAndOrdersByScore();
    void rankBreaksTiesByNewerTimestamp_data();
    void rankBreaksTiesByNewerTimestamp();
    void rankKeepsStoreOrderForBlankQuery_data();
    void rankKeepsStoreOrderForBlankQuery();
};

void TestClipboardSearch::normalizes_data()
{
    QTest::addColumn<QString>("input");
    QTest::addColumn<QString>("expected");

    QTest::addRow("case") << "Hello World"
                          << "hello world";
    QTest::addRow("blanks at both ends") << " \t\nhello\n "
                                         << "hello";
    QTest::addRow("inner blanks kept") << "a  b"
                                       << "a  b";
    QTest::addRow("precomposed accents") << QStringLiteral("Crème Brûlée") << "creme brulee";
    QTest::addRow("combining accents") << QStringLiteral("Cre\u0300me") << "creme";
    QTest::addRow("dotted capital I") << QStringLiteral("\u0130stanbul") << "istanbul";
    QTest::addRow("sharp s") << QStringLiteral("Straße") << "strasse";
    QTest::addRow("ligature") << QStringLiteral("\uFB01le") << "file";
    QTest::addRow("no-break spaces at the ends") << QStringLiteral("\u00A0Zoë\u00A0") << "zoe";
    QTest::addRow("greek accents and case") << QStringLiteral("Ά") << QStringLiteral("α");
    QTest::addRow("hangul stays whole") << QStringLiteral("한국") << QStringLiteral("한국");
    QTest::addRow("conjoining jamo compose") << QStringLiteral("\u1112\u1161\u11AB") << QStringLiteral("한");
    QTest::addRow("cyrillic case") << QStringLiteral("Привет Ёж") << QStringLiteral("привет еж");
    QTest::addRow("typographic punctuation")
        << QStringLiteral("Wait\u2026 \u201CQuote\u201D") << QStringLiteral("wait... \u201Cquote\u201D");
    QTest::addRow("variation selector dropped")
        << QStringLiteral("\u2764\uFE0F Thanks") << QStringLiteral("\u2764 thanks");
    QTest::addRow("accent on an emoji's neighbour")
        << QStringLiteral("\U0001F600 Ne\u0301") << QStringLiteral("\U0001F600 ne");
    QTest::addRow("full-width letters") << QStringLiteral("\uFF21\uFF22c") << "abc";
    QTest::addRow("astral letters with case") << QStringLiteral("\U00010400") << QStringLiteral("\U00010428");
    QTest::addRow("emoji untouched") << QStringLiteral("\U0001F44D Ok") << QStringLiteral("\U0001F44D ok");
    QTest::addRow("already folded") << "plain"
                                    << "plain";
}

void TestClipboardSearch::normalizes()
{
    QFETCH(QString, input);
    QFETCH(QString, expected);
    QCOMPARE(ClipboardSearch::normalized(input), expected);
}

void TestClipboardSearch::scoresByFirstMatchingRule_data()
{
    QTest::addColumn<ClipboardHistoryEntry>("entry");
    QTest::addColumn<QString>("query");
    QTest::addColumn<int>("score");

    const auto text = ClipboardContentType::text;
    QTest::addRow("title equals") << makeEntry("Meeting notes") << "meeting notes" << 100;
    QTest::addRow("title equals but for case and accents")
        << makeEntry(QStringLiteral("Résumé Draft")) << "resume draft" << 100;
    QTest::addRow("title begins with") << makeEntry("Meeting notes") << "meet" << 90;
    QTest::addRow("title contains") << makeEntry("Meeting notes") << "notes" << 75;
    QTest::addRow("preview contains") << makeEntry("Meeting", "Meeting with Zoë at noon") << "zoe" << 55;
    QTest::addRow("source contains") << makeEntry("alpha", "beta", "Firefox") << "fox" << 35;
    QTest::addRow("type name contains")
        << makeEntry("alpha", "beta", "Editor", ClipboardContentType::color) << "colo" << 25;
    QTest::addRow("title rule wins over preview") << makeEntry("invoice", "invoice 42") << "invoice" << 100;
    QTest::addRow("fuzzy across title and preview")
        << makeEntry("ab", "cd", "Editor", text) << "b c" << 2 + 7 + 8;
    QTest::addRow("fuzzy reaches the type name")
        << makeEntry("xq", "yq", "zq", ClipboardContentType::link) << "xlk" << 7 + 2 + 2;
}

void TestClipboardSearch::scoresByFirstMatchingRule()
{
    QFETCH(ClipboardHistoryEntry, entry);
    QFETCH(QString, query);
    QFETCH(int, score);
    QCOMPARE(ClipboardSearch::score(entry, query), std::optional<int>(score));
}

void TestClipboardSearch::fuzzyScores_data()
{
    QTest::addColumn<QString>("query");
    QTest::addColumn<QString>("haystack");
    QTest::addColumn<std::optional<int>>("score");

    QTest::addRow("adjacent run at the start") << "abc"
                                               << "abcdef" << std::optional<int>(24);
    QTest::addRow("each separated by one character") << "abc"
                                                     << "axbxc" << std::optional<int>(11);
    QTest::addRow("another order does not match") << "cba"
                                                  << "abc" << std::optional<int>();
    QTest::addRow("first character not at the start") << "bc"
                                                      << "abc" << std::optional<int>(2 + 7);
    QTest::addRow("streak resets after a gap") << "abcd"
                                               << "abxcd" << std::optional<int>(7 + 8 + 2 + 7);
    QTest::addRow("long adjacent run passes 100")
        << "abcdefgh"
        << "abcdefgh" << std::optional<int>(7 + 8 + 9 + 10 + 11 + 12 + 13 + 14);
    QTest::addRow("repeated characters need repeated matches") << "aa"
                                                               << "a" << std::optional<int>();
    QTest::addRow("empty query") << ""
                                 << "abc" << std::optional<int>(0);
    QTest::addRow("empty haystack") << "a"
                                    << "" << std::optional<int>();
    QTest::addRow("astral characters count once")
        << QStringLiteral("\U0001F600\U0001F601") << QStringLiteral("\U0001F600\U0001F601")
        << std::optional<int>(7 + 8);
    QTest::addRow("astral characters sharing a high surrogate differ")
        << QStringLiteral("\U0001F601") << QStringLiteral("\U0001F600") << std::optional<int>();
    QTest::addRow("astral gap is one character")
        << QStringLiteral("ab") << QStringLiteral("a\U0001F600b") << std::optional<int>(7 + 2);
}

void TestClipboardSearch::fuzzyScores()
{
    QFETCH(QString, query);
    QFETCH(QString, haystack);
    QFETCH(std::optional<int>, score);
    QCOMPARE(ClipboardSearch::fuzzyScore(query, haystack), score);
}

void TestClipboardSearch::rankDropsNonMatchesAndOrdersByScore()
{
    const ClipboardHistoryEntries entries{
        makeEntry("unrelated", "nothing here", "Terminal", ClipboardContentType::text, 0),
        makeEntry("release notes", "notes", "Editor", ClipboardContentType::text, 1), // 75
        makeEntry("NOTES", "x", "Editor", ClipboardContentType::text, 2),             // 100
        makeEntry("draft", "meeting notes", "Editor", ClipboardContentType::text, 3), // 55
        makeEntry("notes 2026", "x", "Editor", ClipboardContentType::text, 4),        // 90
    };
    const auto ranked = ClipboardSearch::rank(entries, QStringLiteral("  Notes "));
    QCOMPARE(titles(ranked), (QStringList{"NOTES", "notes 2026", "release notes", "draft"}));
}

void TestClipboardSearch::rankBreaksTiesByNewerTimestamp_data()
{
    QTest::addColumn<QList<int>>("inputOrder");
    QTest::addRow("store order, newest first") << QList<int>{0, 1, 2, 3, 4};
    QTest::addRow("oldest first") << QList<int>{4, 3, 2, 1, 0};
    QTest::addRow("shuffled") << QList<int>{2, 4, 0, 3, 1};
}

void TestClipboardSearch::rankBreaksTiesByNewerTimestamp()
{
    QFETCH(QList<int>, inputOrder);
    // Indexed newest to oldest.
    const ClipboardHistoryEntries byAge{
        makeEntry("old report", "", "Editor", ClipboardContentType::text, 1),  // 75
        makeEntry("report", "", "Editor", ClipboardContentType::text, 2),      // 100
        makeEntry("draft", "report", "Editor", ClipboardContentType::text, 3), // 55
        makeEntry("new report", "", "Editor", ClipboardContentType::text, 4),  // 75
        makeEntry("Report", "", "Editor", ClipboardContentType::text, 5),      // 100
    };
    ClipboardHistoryEntries entries;
    for (const int index : inputOrder)
        entries.append(byAge.at(index));
    const auto ranked = ClipboardSearch::rank(entries, QStringLiteral("report"));
    QCOMPARE(titles(ranked), (QStringList{"report", "Report", "old report", "new report", "draft"}));
}

void TestClipboardSearch::rankKeepsStoreOrderForBlankQuery_data()
{
    QTest::addColumn<QString>("query");
    QTest::addRow("empty") << QString();
    QTest::addRow("blanks") << " \t \n";
}

void TestClipboardSearch::rankKeepsStoreOrderForBlankQuery()
{
    QFETCH(QString, query);
    const ClipboardHistoryEntries entries{makeEntry("b", "", "Editor", ClipboardContentType::text, 5),
                                          makeEntry("a", "", "Editor", ClipboardContentType::text, 0),
                                          makeEntry("c", "", "Editor", ClipboardContentType::text, 9)};
    QCOMPARE(ClipboardSearch::rank(entries, query), entries);
}

QTEST_GUILESS_MAIN(TestClipboardSearch)
#include "tst_clipboardsearch.moc"
