// Text another program put on the clipboard: classification, title and preview, fingerprint.
#include "Clipboard/ClipboardCapture.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QString text = QString::fromUtf8(reinterpret_cast<const char *>(data), qsizetype(size));
    if (const auto capture = ClipboardCapture::fromString(text, QStringLiteral("fuzz"))) {
        if (capture->fingerprint.size() != 64 || capture->title.isEmpty() || capture->textContent != text)
            std::abort();
    }
    // The first byte picks the limit, so short limits meet long clusters and line breaks.
    const int limit = size > 0 ? data[0] % 80 : 0;
    const QString line = ClipboardCapture::shortened(text, limit);
    if (line.contains(QLatin1Char('\n')) || line.size() > text.size() + 3)
        std::abort();
    return 0;
}
