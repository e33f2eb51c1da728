// Writes to a history file as fast as it can until it is killed, for tst_clipboardstore. After each
// committed capture it prints its number, so the test knows which captures must have survived.
//
// Usage: store_writer <path> <history limit> <label>

#include "Clipboard/ClipboardStore.h"

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QRandomGenerator>

#include <cstdio>

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments();
    QString error;
    const auto store =
        args.size() == 4 ? ClipboardStore::open(args.at(1), args.at(2).toInt(), &error) : nullptr;
    if (!store) {
        std::fprintf(stderr, "store_writer: %s\n", args.size() == 4 ? qPrintable(error) : "wrong arguments");
        return 1;
    }
    QRandomGenerator *random = QRandomGenerator::global();
    for (quint64 number = 1;; ++number) {
        ClipboardCapture capture;
        capture.title = capture.preview = QStringLiteral("capture %1-%2").arg(args.at(3)).arg(number);
        capture.sourceAppName = QStringLiteral("store_writer");
        capture.timestamp = QDateTime::currentDateTimeUtc();
        capture.fingerprint = QString::fromLatin1(
            QCryptographicHash::hash(capture.title.toUtf8(), QCryptographicHash::Sha256).toHex());
        if (number % 5 == 0) {
            // Large enough to spill onto overflow pages, so a kill can land in the middle of one record.
            QByteArray bytes(96 * 1024, Qt::Uninitialized);
            random->fillRange(reinterpret_cast<quint32 *>(bytes.data()), bytes.size() / 4);
            capture.type = ClipboardContentType::image;
            capture.imageBookmark = capture.title;
            capture.imageData = bytes;
        } else {
            capture.textContent = capture.title;
        }
        bool ok = store->insert(capture, &error);
        if (ok) {
            std::printf("%llu\n", static_cast<unsigned long long>(number));
            std::fflush(stdout);
        }
        // Only pins: unpinning may leave one record over the limit until the next insert trims.
        if (ok && number % 11 == 0) {
            ClipboardHistoryEntries unpinned = store->entries();
            unpinned.removeIf([](const ClipboardHistoryEntry &entry) { return entry.isPinned; });
            ok = unpinned.isEmpty() ||
                 store->togglePin(unpinned.at(random->bounded(int(unpinned.size()))).id, &error);
        }
        if (ok && number % 17 == 0) {
            const ClipboardHistoryEntries entries = store->entries();
            ok = entries.size() < 2 || store->deleteEntry(entries.last().id, &error);
        }
        if (!ok) {
            std::fprintf(stderr, "store_writer: %s\n", qPrintable(error));
            return 1;
        }
    }
}
