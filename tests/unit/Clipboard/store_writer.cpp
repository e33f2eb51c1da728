// Writes to a history file (limit 20) as fast as it can until it is killed, for tst_clipboardstore. After
// each committed capture it prints its number, so the test knows which captures must have survived.
//
// Usage: store_writer <path> <label>

#include "Clipboard/ClipboardStore.h"

#include <QCoreApplication>
#include <QRandomGenerator>

#include <cstdio>

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QString error;
    const auto store = ClipboardStore::open(app.arguments().value(1), 20, &error);
    QRandomGenerator *random = QRandomGenerator::global();
    bool ok = bool(store);
    for (quint64 number = 1; ok; ++number) {
        const QString title = QStringLiteral("capture %1-%2").arg(app.arguments().value(2)).arg(number);
        ClipboardCapture capture = *ClipboardCapture::fromString(title, QString());
        if (number % 5 == 0) {
            // Large enough to spill onto overflow pages, so a kill can land in the middle of one record.
            QByteArray bytes(96 * 1024, Qt::Uninitialized);
            random->fillRange(reinterpret_cast<quint32 *>(bytes.data()), bytes.size() / 4);
            capture = ClipboardCapture::fromImage(bytes, qint64(number), QString());
            capture.title = title;
        }
        ok = store->insert(capture, &error);
        if (ok) {
            std::printf("%llu\n", static_cast<unsigned long long>(number));
            std::fflush(stdout);
        }
        // Only pins: unpinning may leave one record over the limit until the next insert trims.
        ClipboardHistoryEntries unpinned = store->entries();
        unpinned.removeIf([](const ClipboardHistoryEntry &entry) { return entry.isPinned; });
        if (ok && number % 11 == 0 && !unpinned.isEmpty())
            ok = store->togglePin(unpinned.at(random->bounded(int(unpinned.size()))).id, &error);
        if (ok && number % 17 == 0)
            ok = store->deleteEntry(store->entries().last().id, &error);
    }
    std::fprintf(stderr, "store_writer: %s\n", qPrintable(error));
    return 1;
}
