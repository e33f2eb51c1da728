#include "Platform/PasteboardContent.h"

#include "Core/Logging.h"
#include "Core/Utf8Text.h"

#include <QBuffer>
#include <QImage>

#include <algorithm>

namespace {

const QString uriList = QStringLiteral("text/uri-list");
// GNOME Files and Nautilus-like file managers: "copy" or "cut", then one URI per line.
const QString gnomeCopiedFiles = QStringLiteral("x-special/gnome-copied-files");
const QString plainText = QStringLiteral("text/plain");
const QString png = QStringLiteral("image/png");
const QString tiff = QStringLiteral("image/tiff");

std::optional<QByteArray> encodePNG(const QImage &image)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    if (!buffer.open(QIODevice::WriteOnly) || !image.save(&buffer, "PNG"))
        return std::nullopt;
    return bytes;
}

} // namespace

PasteboardContent PasteboardContent::read(qint64 changeCount, const QStringList &types,
                                          const std::function<bool(const QStringList &)> &isExcluded,
                                          const Fetch &fetch)
{
    PasteboardContent content;
    content.changeCount = changeCount;
    content.types = types;
    if (types.isEmpty()) {
        content.status = Status::empty;
        return content;
    }
    if (isExcluded && isExcluded(types)) {
        content.status = Status::excluded;
        return content;
    }
    content.status = Status::received;

    // True when this answer ends the read; the status then says why.
    const auto endsRead = [&content](const QString &type, const PasteboardData &data) {
        switch (data.outcome) {
        case PasteboardData::Outcome::received:
        case PasteboardData::Outcome::refused:
            return false;
        case PasteboardData::Outcome::tooLarge:
            content.status = Status::tooLarge;
            content.oversizeType = type;
            content.oversizeBytes = data.size;
            return true;
        case PasteboardData::Outcome::failed:
            content.status = Status::unreadable;
            return true;
        case PasteboardData::Outcome::cancelled:
            content.status = Status::superseded;
            return true;
        }
        return true;
    };

    // Files win over text (a file manager also offers the paths as text), text over images (an editor
    // also offers a picture of the selection).
    if (types.contains(uriList)) {
        const PasteboardData data = fetch(uriList, PasteboardLimits::maxTextBytes);
        if (endsRead(uriList, data))
            return content;
        content.fileURLs = fileURLsFromURIList(data.bytes);
        if (!content.fileURLs.isEmpty())
            return content;
    }
    if (types.contains(gnomeCopiedFiles)) {
        const PasteboardData data = fetch(gnomeCopiedFiles, PasteboardLimits::maxTextBytes);
        if (endsRead(gnomeCopiedFiles, data))
            return content;
        const qsizetype firstLineEnd = data.bytes.indexOf('\n');
        if (firstLineEnd >= 0)
            content.fileURLs = fileURLsFromURIList(data.bytes.mid(firstLineEnd + 1));
        if (!content.fileURLs.isEmpty())
            return content;
    }

    if (types.contains(plainText)) {
        PasteboardData data = fetch(plainText, PasteboardLimits::maxTextBytes);
        if (endsRead(plainText, data))
            return content;
        if (data.outcome == PasteboardData::Outcome::received) {
            QByteArray text = PasteboardContent::cleanedText(std::move(data.bytes));
            if (!Utf8Text::trimmed(text).isEmpty()) {
                content.text = std::move(text);
                return content;
            }
        }
    }

    if (types.contains(png)) {
        PasteboardData data = fetch(png, PasteboardLimits::maxImageBytes);
        if (endsRead(png, data))
            return content;
        if (!data.bytes.isEmpty()) {
            content.imagePNG = std::move(data.bytes);
            return content;
        }
    }

    // Anything else is kept as PNG: TIFF first, then the other image types in the owner's order.
    QStringList candidates;
    if (types.contains(tiff))
        candidates.append(tiff);
    for (const QString &type : types) {
        if (type.startsWith(QLatin1String("image/")) && type != png && type != tiff)
            candidates.append(type);
    }
    for (const QString &type : std::as_const(candidates)) {
        PasteboardData data = fetch(type, PasteboardLimits::maxImageBytes);
        if (endsRead(type, data))
            return content;
        if (data.bytes.isEmpty())
            continue;
        const qsizetype encodedSize = data.bytes.size();
        QImage image = QImage::fromData(std::exchange(data.bytes, {}));
        if (image.isNull()) {
            qCDebug(lcPlatform) << "could not decode" << type << "of" << encodedSize << "bytes";
            continue;
        }
        std::optional<QByteArray> encoded = encodePNG(image);
        image = QImage();
        if (!encoded)
            continue;
        if (encoded->size() > PasteboardLimits::maxImageBytes) {
            content.status = Status::tooLarge;
            content.oversizeType = png;
            content.oversizeBytes = encoded->size();
            return content;
        }
        content.imagePNG = std::move(encoded);
        return content;
    }
    return content;
}

QByteArray PasteboardContent::cleanedText(QByteArray utf8)
{
    // Some owners send C strings, terminator included.
    qsizetype end = utf8.size();
    while (end > 0 && utf8.at(end - 1) == '\0')
        --end;
    utf8.truncate(end);
    if (utf8.startsWith("\xEF\xBB\xBF"))
        utf8.remove(0, 3);
    return utf8;
}

QList<QUrl> PasteboardContent::fileURLsFromURIList(const QByteArray &uriList)
{
    QList<QUrl> urls;
    for (const QByteArray &line : uriList.split('\n')) {
        const QByteArray trimmed = line.trimmed();
        if (trimmed.isEmpty() || trimmed.startsWith('#'))
            continue;
        const QUrl url = QUrl::fromEncoded(trimmed);
        if (url.isValid() && url.isLocalFile())
            urls.append(url);
    }
    return urls;
}
