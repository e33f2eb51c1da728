// Text another program put on the clipboard: classification, title and preview, fingerprint.
#include "Clipboard/ClipboardCapture.h"
#include "Core/Utf8Text.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char *>(data), qsizetype(size));
    if (const auto capture = ClipboardCapture::fromText(bytes, QStringLiteral("fuzz"))) {
        if (capture->fingerprint.size() != 64 || capture->title.isEmpty() || !capture->textContent ||
            !capture->textContent->isValidUtf8() || (bytes.isValidUtf8() && *capture->textContent != bytes))
            std::abort();
        // Decoding only the start of the text must give what decoding all of it gives.
        const QString whole = Utf8Text::decoded(*capture->textContent).trimmed();
        if (capture->preview != ClipboardCapture::shortened(QStringView(whole), 140))
            std::abort();
    }
    // The first byte picks the limit, so short limits meet long clusters and line breaks.
    const int limit = size > 0 ? data[0] % 80 : 0;
    const QString text = QString::fromUtf8(bytes);
    const QString line = ClipboardCapture::shortened(QStringView(text), limit);
    if (line.contains(QLatin1Char('\n')) || line.size() > text.size() + 3 ||
        line !=
            ClipboardCapture::shortened(QByteArrayView(bytes.isValidUtf8() ? bytes : text.toUtf8()), limit))
        std::abort();
    return 0;
}
