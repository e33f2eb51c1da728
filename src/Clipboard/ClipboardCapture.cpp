#include "Clipboard/ClipboardCapture.h"

#include "Core/Utf8Text.h"

#include <QBuffer>
#include <QCryptographicHash>
#include <QImageReader>
#include <QStringView>
#include <QTextBoundaryFinder>

namespace {

constexpr int titleLimit = 72;
constexpr int previewLimit = 140;

// Ends of the first `count` grapheme clusters of `text` (fewer when the text is shorter), as a UTF-16
// length, and how many clusters that is. Boundaries are found in a window that grows as needed, so a
// multi-megabyte copy costs no more than its first few hundred characters.
std::pair<qsizetype, int> graphemePrefix(QStringView text, int count)
{
    qsizetype window = std::min<qsizetype>(text.size(), qsizetype(count) * 4 + 64);
    for (;;) {
        const bool whole = window >= text.size();
        QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text.left(window));
        qsizetype end = 0;
        int found = 0;
        while (found < count) {
            const qsizetype next = finder.toNextBoundary();
            // A boundary at the window's edge may sit inside a cluster that continues beyond it; any
            // boundary before the edge depends only on what precedes it and the one character after.
            if (next == -1 || (!whole && next >= window))
                break;
            end = next;
            ++found;
        }
        if (found == count || whole)
            return {end, found};
        window = std::min(text.size(), window * 2);
    }
}

// Line breaks become single spaces; "\r\n" counts as one break, like it counts as one character.
QString joinLines(QString text)
{
    text.replace(QLatin1String("\r\n"), QLatin1String(" "));
    text.replace(QLatin1Char('\n'), QLatin1Char(' '));
    text.replace(QLatin1Char('\r'), QLatin1Char(' '));
    return text;
}

bool isHexDigit(QChar c)
{
    const char16_t u = c.unicode();
    return (u >= u'0' && u <= u'9') || (u >= u'a' && u <= u'f') || (u >= u'A' && u <= u'F');
}

// "#" optional, then six or eight hexadecimal digits and nothing else.
bool isColorCode(QStringView text)
{
    if (text.startsWith(QLatin1Char('#')))
        text = text.mid(1);
    if (text.size() != 6 && text.size() != 8)
        return false;
    return std::all_of(text.begin(), text.end(), isHexDigit);
}

bool isSpaceOrControl(QChar c)
{
    return c.isSpace() || c.category() == QChar::Other_Control;
}

// A link is a single token that parses as a URL whose scheme, as typed, begins with "http". Text with
// blanks or line breaks is prose even when it starts with an address ("https://x.org is down"), so it
// is refused before parsing. Tolerant parsing then accepts what browsers and terminals leave unescaped
// ("?a=1|2", "[x]") but still refuses broken hosts. QUrl lower-cases the scheme, so the prefix test runs
// on the original characters: "HTTP://…" stays text.
std::optional<QUrl> linkURL(QByteArrayView trimmed)
{
    if (!trimmed.startsWith("http") || Utf8Text::containsAny(trimmed, isSpaceOrControl))
        return std::nullopt;
    const QString text = Utf8Text::decoded(trimmed);
    const QUrl url(text, QUrl::TolerantMode);
    if (!url.isValid() || url.scheme().isEmpty())
        return std::nullopt;
    // The scheme must be the "http…" we saw, not a relative reference such as "httpdocs/index.html".
    if (!text.startsWith(url.scheme() + QLatin1Char(':'), Qt::CaseInsensitive))
        return std::nullopt;
    return url;
}

// SHA-256 over kind|text|files|bookmark|image digest, the parts as UTF-8.
QString fingerprintOf(ClipboardContentType type, QByteArrayView text, const QStringList &fileURLStrings,
                      const std::optional<QString> &imageBookmark, const std::optional<QByteArray> &imageData)
{
    QByteArray imageDigest;
    if (type == ClipboardContentType::image)
        imageDigest =
            QCryptographicHash::hash(imageData.value_or(QByteArray()), QCryptographicHash::Sha256).toHex();
    QCryptographicHash hash(QCryptographicHash::Sha256);
    hash.addData(enumName(type).toUtf8());
    hash.addData("|");
    hash.addData(text);
    hash.addData("|");
    hash.addData(fileURLStrings.join(QLatin1Char('\n')).toUtf8());
    hash.addData("|");
    hash.addData(imageBookmark.value_or(QString()).toUtf8());
    hash.addData("|");
    hash.addData(imageDigest);
    return QString::fromLatin1(hash.result().toHex());
}

QString withoutTrailingSlashes(QString path)
{
    while (path.size() > 1 && path.endsWith(QLatin1Char('/')))
        path.chop(1);
    return path;
}

QString lastPathComponent(const QString &path)
{
    if (path == QLatin1String("/"))
        return path;
    return path.mid(path.lastIndexOf(QLatin1Char('/')) + 1);
}

} // namespace

std::optional<ClipboardCapture> ClipboardCapture::fromText(QByteArray utf8, const QString &sourceAppName)
{
    if (!utf8.isValidUtf8())
        utf8 = QString::fromUtf8(utf8).toUtf8();
    // A view: a long copy is not duplicated for the sake of its surrounding blanks.
    const QByteArrayView trimmed = Utf8Text::trimmed(utf8);
    if (trimmed.isEmpty())
        return std::nullopt;

    ClipboardCapture capture;
    if (const auto url = linkURL(trimmed)) {
        capture.type = ClipboardContentType::link;
        const QString host = url->host();
        capture.title = host.isEmpty() ? Utf8Text::decoded(trimmed) : host;
    } else if (const QString code = trimmed.size() <= 9 ? Utf8Text::decoded(trimmed) : QString();
               isColorCode(code)) {
        capture.type = ClipboardContentType::color;
        capture.title = code.toUpper();
    } else {
        capture.type = ClipboardContentType::text;
        capture.title = shortened(trimmed, titleLimit);
    }
    capture.preview = shortened(trimmed, previewLimit);
    capture.sourceAppName = sourceAppName;
    capture.timestamp = QDateTime::currentDateTime();
    // The fingerprint comes from the trimmed text, so copies that differ only in surrounding blanks stay
    // one record.
    capture.fingerprint = fingerprintOf(capture.type, trimmed, {}, std::nullopt, std::nullopt);
    // Kept exactly as copied: code keeps its indentation and final newline.
    capture.textContent = std::move(utf8);
    return capture;
}

std::optional<ClipboardCapture> ClipboardCapture::fromFileURLs(const QList<QUrl> &urls,
                                                               const QString &sourceAppName)
{
    QStringList urlStrings;
    QStringList paths;
    for (const QUrl &url : urls) {
        if (!url.isLocalFile())
            continue;
        urlStrings.append(url.toString(QUrl::FullyEncoded));
        paths.append(withoutTrailingSlashes(url.toLocalFile()));
    }
    if (urlStrings.isEmpty())
        return std::nullopt;

    ClipboardCapture capture;
    capture.type = ClipboardContentType::file;
    capture.title =
        paths.size() == 1 ? lastPathComponent(paths.first()) : QStringLiteral("%1 files").arg(paths.size());
    capture.preview = paths.join(QLatin1Char('\n'));
    capture.sourceAppName = sourceAppName;
    capture.timestamp = QDateTime::currentDateTime();
    capture.fileURLStrings = urlStrings;
    capture.fingerprint = fingerprintOf(capture.type, {}, capture.fileURLStrings, std::nullopt, std::nullopt);
    return capture;
}

ClipboardCapture ClipboardCapture::fromImage(const QByteArray &imageData, qint64 changeCount,
                                             const QString &sourceAppName)
{
    ClipboardCapture capture;
    capture.type = ClipboardContentType::image;
    capture.title = QStringLiteral("Image");
    // Size and format from the header alone; the picture itself is not decoded here.
    QBuffer buffer;
    buffer.setData(imageData);
    QImageReader reader(&buffer);
    const QSize size = reader.size();
    capture.preview = size.isValid() ? QStringLiteral("%1 × %2 %3")
                                           .arg(size.width())
                                           .arg(size.height())
                                           .arg(QString::fromLatin1(reader.format()).toUpper())
                                     : QStringLiteral("Image copied to clipboard");
    capture.sourceAppName = sourceAppName;
    capture.timestamp = QDateTime::currentDateTime();
    capture.imageBookmark = QStringLiteral("pasteboard-image-%1").arg(changeCount);
    capture.imageData = imageData;
    capture.fingerprint = fingerprintOf(capture.type, {}, {}, capture.imageBookmark, capture.imageData);
    return capture;
}

QString ClipboardCapture::shortened(QStringView text, int limit)
{
    limit = std::max(limit, 0);
    const auto [prefixLength, count] = graphemePrefix(text, limit + 1);
    const QString line = joinLines(text.left(prefixLength).toString()).trimmed();
    if (count <= limit)
        return line;
    // Joining lines can merge clusters (a space followed by a combining mark), so count again.
    const qsizetype keep = graphemePrefix(line, limit).first;
    return line.left(keep) + QLatin1String("...");
}

QString ClipboardCapture::shortened(QByteArrayView utf8, int limit)
{
    limit = std::max(limit, 0);
    // Room for the limit's characters in any script; a text of long combining sequences takes more rounds.
    qsizetype window = qsizetype(limit + 1) * 16 + 256;
    for (;;) {
        if (window >= utf8.size())
            return shortened(Utf8Text::decoded(utf8), limit);
        const QString start = Utf8Text::decoded(utf8.first(Utf8Text::characterStart(utf8, window)));
        // Once the characters past the limit end inside the start, the rest cannot change them.
        const auto [end, count] = graphemePrefix(start, limit + 1);
        if (count > limit && end < start.size())
            return shortened(start, limit);
        window *= 2;
    }
}
