// Times the history store on a real file: one insert with its trim against a history already at the
// limit (what every copy costs on the main thread), a refresh of an existing record, and one read of all
// entries (what every copy costs to redraw). Prints median, 95th percentile and worst.
//
// Usage: bench_store [folder for the temporary history]   (default: the system temporary folder)

#include "BenchSupport.h"
#include "Clipboard/ClipboardStore.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QElapsedTimer>
#include <QStorageInfo>
#include <QTemporaryDir>

#include <cstdio>

namespace {

constexpr int limit = ClipboardStore::defaultHistoryLimit;

ClipboardCapture capture(int index, const QDateTime &when)
{
    const QString text =
        QStringLiteral("Clipboard text number %1: the quick brown fox jumps over the lazy dog, "
                       "then copies another line of a document to the clipboard.")
            .arg(index);
    std::optional<ClipboardCapture> result =
        ClipboardCapture::fromString(text, QStringLiteral("Text Editor"));
    Q_ASSERT(result);
    result->timestamp = when;
    return *result;
}

void report(const char *what, const Figures &figures)
{
    std::printf("%-44s n=%-5zu median %7.3f ms   p95 %7.3f ms   worst %7.3f ms\n", what, figures.count(),
                figures.median(), figures.at(0.95), figures.worst());
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QTemporaryDir folder(app.arguments().size() > 1
                             ? app.arguments().at(1) + QStringLiteral("/bench-store-XXXXXX")
                             : QString());
    if (!folder.isValid()) {
        std::fprintf(stderr, "cannot create a temporary folder\n");
        return 1;
    }
    const QString path = folder.filePath(QStringLiteral("history.sqlite"));
    const QStorageInfo storage(folder.path());
    std::printf("history file: %s (%s on %s)\n", qPrintable(path), storage.fileSystemType().constData(),
                storage.device().constData());

    const auto store = openBenchStore(path, limit);
    if (!store)
        return 1;
    QString error;

    QDateTime clock = QDateTime::currentDateTimeUtc().addDays(-1);
    int index = 0;
    for (; index < limit; ++index) {
        clock = clock.addMSecs(100);
        if (!store->insert(capture(index, clock), &error)) {
            std::fprintf(stderr, "insert failed: %s\n", qPrintable(error));
            return 1;
        }
    }
    for (int pin = 0; pin < 5; ++pin)
        store->togglePin(store->entries().at(pin * 10).id);

    QElapsedTimer timer;
    // Inserts `count` captures, the i-th being number indexAt(i), and times each.
    const auto timeInserts = [&](int count, auto indexAt, Figures &figures) {
        for (int i = 0; i < count; ++i) {
            clock = clock.addMSecs(100);
            const ClipboardCapture next = capture(indexAt(i), clock);
            timer.start();
            const bool ok = store->insert(next, &error);
            figures.addNanoseconds(timer.nsecsElapsed());
            if (!ok) {
                std::fprintf(stderr, "insert failed: %s\n", qPrintable(error));
                return false;
            }
        }
        return true;
    };
    Figures inserts;
    Figures refreshes;
    if (!timeInserts(
            1000, [&](int i) { return index + i; }, inserts))
        return 1;
    index += 1000;
    if (!timeInserts(
            200, [&](int i) { return index - 1 - (i % 100); }, refreshes))
        return 1;

    Figures reads;
    qsizetype count = 0;
    for (int i = 0; i < 200; ++i) {
        timer.start();
        count = store->entries().size();
        reads.addNanoseconds(timer.nsecsElapsed());
    }

    std::printf("history: %d unpinned + 5 pinned records, %lld entries read\n", limit,
                static_cast<long long>(count));
    report("insert new text + trim (at the limit)", inserts);
    report("insert known text (refresh, no trim)", refreshes);
    report("entries() of all records", reads);
    return 0;
}
