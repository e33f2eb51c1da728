// The search field against history entries: the first line is the query, each further line an entry.
#include "Clipboard/ClipboardSearch.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QStringList lines =
        QString::fromUtf8(reinterpret_cast<const char *>(data), qsizetype(size)).split(QLatin1Char('\n'));
    const QString query = ClipboardSearch::normalized(lines.first());
    ClipboardHistoryEntries entries;
    for (qsizetype i = 1; i < lines.size(); ++i) {
        ClipboardHistoryEntry entry;
        entry.title = lines.at(i).left(40);
        entry.preview = lines.at(i);
        entry.textContent = lines.at(i);
        entry.type = ClipboardContentType(i % 5);
        entries.append(entry);
        if (!query.isEmpty())
            ClipboardSearch::fuzzyScore(query, ClipboardSearch::normalized(lines.at(i)));
    }
    if (ClipboardSearch::rank(entries, lines.first()).size() > entries.size())
        std::abort();
    return 0;
}
