// Writes to a history file as fast as it can until it is killed. Used by tst_clipboardstore to kill a
// writer at random moments. After each committed change it prints the number of the last committed
// capture, so the test knows which captures must have survived.
//
// Usage: store_writer <path> <history limit> <label>

#include "Clipboard/ClipboardStore.h"

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QRandomGenerator>

#include <cstdio>

namespace {

ClipboardCapture makeCapture(const QString &label, quint64 number, bool withImage)
{
    ClipboardCapture capture;
    const QString text = QStringLiteral("capture %1-%2").arg(label).arg(number);
    capture.title = text;
    capture.preview = text;
    capture.sourceAppName = QStringLiteral("store_writer");
    capture.timestamp = QDateTime::currentDateTimeUtc();
    if (withImage) {
        // Large enough to spill onto overflow pages, so a kill can land in the middle of one record.
        QByteArray bytes(96 * 1024, Qt::Uninitialized);
        QRandomGenerator::global()->fillRange(reinterpret_cast<quint32 *>(bytes.data()), bytes.size() / 4);
        capture.type = ClipboardContentType::image;
        capture.imageBookmark = text;
        capture.imageData = bytes;
    } else {
        capture.type = ClipboardContentType::text;
        capture.textContent = text;
    }
    capture.fingerprint =
        QString::fromLatin1(QCryptographicHash::hash(text.toUtf8(), QCryptographicHash::Sha256).toHex());
    return capture;
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments();
    if (args.size() != 4) {
        std::fprintf(stderr, "usage: store_writer <path> <history limit> <label>\n");
        return 2;
    }
    QString error;
    const auto store = ClipboardStore::open(args.at(1), args.at(2).toInt(), &error);
    if (!store) {
        std::fprintf(stderr, "open failed: %s\n", qPrintable(error));
        return 1;
    }
    const QString label = args.at(3);
    for (quint64 number = 1;; ++number) {
        if (!store->insert(makeCapture(label, number, number % 5 == 0), &error)) {
            std::fprintf(stderr, "insert failed: %s\n", qPrintable(error));
            return 1;
        }
        std::printf("%llu\n", static_cast<unsigned long long>(number));
        std::fflush(stdout);

        // Only pins: unpinning may leave one record over the limit until the next insert trims.
        if (number % 11 == 0) {
            ClipboardHistoryEntries unpinned = store->entries();
            unpinned.removeIf([](const ClipboardHistoryEntry &entry) { return entry.isPinned; });
            if (!unpinned.isEmpty()) {
                const auto index = QRandomGenerator::global()->bounded(int(unpinned.size()));
                if (!store->togglePin(unpinned.at(index).id, &error)) {
                    std::fprintf(stderr, "pin failed: %s\n", qPrintable(error));
                    return 1;
                }
            }
        }
        if (number % 17 == 0) {
            const ClipboardHistoryEntries entries = store->entries();
            if (entries.size() > 1 && !store->deleteEntry(entries.last().id, &error)) {
                std::fprintf(stderr, "delete failed: %s\n", qPrintable(error));
                return 1;
            }
        }
    }
}
