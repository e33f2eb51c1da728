// Times ClipboardSearch::rank over histories of 200 and 10,000 entries built through the real capture
// path, and prints the median and worst time per query. The search field ranks on every keystroke, so
// the figure that matters is the worst one against a large history.

#include "BenchSupport.h"
#include "Clipboard/ClipboardCapture.h"
#include "Clipboard/ClipboardSearch.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QRandomGenerator>
#include <QUrl>

#include <algorithm>
#include <cstdio>

namespace {

const QStringList words{"meeting", "notes",    "invoice", "release",  "draft",    "budget",
                        "server",  "deploy",   "review",  "customer", "password", "report",
                        "summary", "agenda",   "project", "update",   "design",   "feature",
                        "ticket",  "weekly",   "café",    "résumé",   "Zoë",      "naïve",
                        "Straße",  "Ångström", "the",     "and",      "with",     "from"};
const QStringList sources{"Firefox",     "Terminal",           "Text Editor", "Files",
                          "Thunderbird", "LibreOffice Writer", "Slack",       "Visual Studio Code"};

QString sentence(QRandomGenerator &random, int wordCount)
{
    QStringList parts;
    for (int i = 0; i < wordCount; ++i)
        parts.append(words.at(random.bounded(words.size())));
    if (random.bounded(4) == 0)
        parts.first()[0] = parts.first().at(0).toUpper();
    return parts.join(QLatin1Char(' '));
}

std::optional<ClipboardCapture> makeCapture(QRandomGenerator &random, int index)
{
    const QString source = sources.at(random.bounded(sources.size()));
    switch (random.bounded(10)) {
    case 0:
    case 1:
        return ClipboardCapture::fromString(
            QStringLiteral("https://www.example-%1.com/%2/%3?id=%4")
                .arg(random.bounded(50))
                .arg(words.at(random.bounded(words.size())), words.at(random.bounded(words.size())))
                .arg(index),
            source);
    case 2:
        return ClipboardCapture::fromString(
            QStringLiteral("#%1").arg(random.bounded(0x1000000), 6, 16, QLatin1Char('0')), source);
    case 3:
        return ClipboardCapture::fromFileURLs(
            {QUrl::fromLocalFile(QStringLiteral("/home/ada/Documents/%1-%2.pdf")
                                     .arg(words.at(random.bounded(words.size())))
                                     .arg(index))},
            source);
    case 4:
        return ClipboardCapture::fromImage(QByteArray(64, char(index)), index, source);
    case 5: // a pasted paragraph, several lines
        return ClipboardCapture::fromString(
            sentence(random, 12) + "\n" + sentence(random, 20) + "\n" + sentence(random, 15), source);
    case 6: // a chat message
        return ClipboardCapture::fromString(
            sentence(random, 3 + random.bounded(6)) +
                (random.bounded(2) ? QStringLiteral(" \U0001F44D") : QStringLiteral(" \u2764\uFE0F")),
            source);
    default:
        return ClipboardCapture::fromString(sentence(random, 1 + random.bounded(8)), source);
    }
}

ClipboardHistoryEntries makeHistory(int count)
{
    QRandomGenerator random(20260307);
    const QDateTime now = QDateTime::currentDateTime();
    ClipboardHistoryEntries entries;
    entries.reserve(count);
    for (int i = 0; entries.size() < count; ++i) {
        const auto capture = makeCapture(random, i);
        if (!capture)
            continue;
        entries.append(entryFromCapture(*capture, now.addSecs(-37 * i), i % 97 == 0));
    }
    return entries;
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    constexpr int runs = 31;
    const QStringList queries{"e", "x", "Z", "th", "ré", "zq", "notes", "https", "resum", "qzxjv"};

    std::printf("%-8s %-7s %8s %10s %10s\n", "entries", "query", "matches", "median ms", "worst ms");
    for (const int size : {200, 10000}) {
        const ClipboardHistoryEntries history = makeHistory(size);
        double overallWorst = 0;
        for (const QString &query : queries) {
            Figures times;
            qsizetype matches = 0;
            for (int run = 0; run < runs; ++run) {
                QElapsedTimer timer;
                timer.start();
                const ClipboardHistoryEntries ranked = ClipboardSearch::rank(history, query);
                times.addNanoseconds(timer.nsecsElapsed());
                matches = ranked.size();
            }
            overallWorst = std::max(overallWorst, times.worst());
            std::printf("%-8d %-7s %8lld %10.3f %10.3f\n", size, qPrintable(query),
                        static_cast<long long>(matches), times.median(), times.worst());
        }
        std::printf("%-8d worst of all queries: %.3f ms\n\n", size, overallWorst);
    }
    return 0;
}
