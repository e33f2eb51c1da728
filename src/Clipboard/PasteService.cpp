#include "Clipboard/PasteService.h"

#include "Clipboard/PasteboardTypes.h"
#include "Core/Logging.h"
#include "Platform/FrontmostApplication.h"
#include "Platform/KeystrokePoster.h"
#include "Platform/Pasteboard.h"
#include "Platform/PasteboardContent.h"

#include <QDir>
#include <QImage>
#include <QMimeData>
#include <QThread>
#include <QUrl>

#include <memory>

namespace {

QList<QUrl> validFileURLs(const QStringList &urlStrings)
{
    QList<QUrl> urls;
    for (const QString &string : urlStrings) {
        const QUrl url(string, QUrl::StrictMode);
        if (url.isValid() && url.isLocalFile())
            urls.append(url);
        else
            qCDebug(lcClipboard) << "skipping malformed file URL" << string;
    }
    return urls;
}

// Puts content into `mime`; false when the entry has none that can be written.
bool addContent(QMimeData *mime, const ClipboardHistoryEntry &entry, PasteMode mode,
                const std::optional<QByteArray> &imageBytes)
{
    if (entry.textContent) {
        mime->setText(mode == PasteMode::plainText ? entry.textContent->trimmed() : *entry.textContent);
        return true;
    }
    if (!entry.fileURLStrings.isEmpty()) {
        const QList<QUrl> urls = validFileURLs(entry.fileURLStrings);
        if (urls.isEmpty())
            return false;
        mime->setUrls(urls);
        // File managers take the URI list; text fields and terminals take the paths.
        QStringList paths;
        for (const QUrl &url : urls)
            paths.append(QDir::toNativeSeparators(url.toLocalFile()));
        mime->setText(paths.join(QLatin1Char('\n')));
        return true;
    }
    if (entry.type == ClipboardContentType::image && imageBytes && !imageBytes->isEmpty()) {
        const QImage image = QImage::fromData(*imageBytes);
        if (image.isNull()) {
            qCWarning(lcClipboard) << "stored image of" << imageBytes->size() << "bytes cannot be decoded";
            return false;
        }
        // The stored bytes are PNG already; serve them unchanged and let Qt offer other formats.
        mime->setData(PasteboardTypes::png, *imageBytes);
        mime->setImageData(image);
        return true;
    }
    return false;
}

} // namespace

PasteService::PasteService(Pasteboard *pasteboard, KeystrokePoster *keystrokePoster,
                           FrontmostApplication *frontmostApplication, QObject *parent)
    : QObject(parent), m_pasteboard(pasteboard), m_keystrokePoster(keystrokePoster),
      m_frontmostApplication(frontmostApplication)
{
}

PasteService::~PasteService() = default;

bool PasteService::write(const ClipboardHistoryEntry &entry, PasteMode mode,
                         const std::optional<QByteArray> &imageBytes)
{
    Q_ASSERT(QThread::currentThread() == thread());
    if (!m_pasteboard)
        return false;

    auto mime = std::make_unique<QMimeData>();
    mime->setData(PasteboardTypes::ownPasteMarker, QByteArrayLiteral("1"));
    const bool hasContent = addContent(mime.get(), entry, mode, imageBytes);
    if (!hasContent) {
        // Only the marker goes out: the clipboard ends up empty of content, and the monitor skips it.
        auto markerOnly = std::make_unique<QMimeData>();
        markerOnly->setData(PasteboardTypes::ownPasteMarker, QByteArrayLiteral("1"));
        mime = std::move(markerOnly);
    }
    const bool written = m_pasteboard->write(mime.release());
    return hasContent && written;
}

bool PasteService::adopt(const PasteboardContent &content)
{
    Q_ASSERT(QThread::currentThread() == thread());
    if (!m_pasteboard || content.status != PasteboardContent::Status::received)
        return false;
    auto mime = std::make_unique<QMimeData>();
    for (const auto &[type, bytes] : content.everyType)
        mime->setData(type, bytes);
    if (content.text)
        mime->setText(QString::fromUtf8(*content.text));
    if (mime->formats().isEmpty())
        return false;
    mime->setData(PasteboardTypes::ownPasteMarker, QByteArrayLiteral("1"));
    return m_pasteboard->write(mime.release());
}

bool PasteService::canPostKeystrokes() const
{
    return m_keystrokePoster && m_keystrokePoster->isAvailable();
}

bool PasteService::postPasteKeystroke()
{
    Q_ASSERT(QThread::currentThread() == thread());
    if (!m_keystrokePoster)
        return false;
    const std::optional<WindowClass> target =
        m_frontmostApplication ? m_frontmostApplication->activeWindowClass() : std::nullopt;
    PasteKeystroke keystroke = target ? PasteKeystrokes::forWindowClass(*target) : PasteKeystroke::controlV;
    if (keystroke == PasteKeystroke::shiftInsertFromSelection &&
        !(m_pasteboard && m_pasteboard->mirrorToSelection())) {
        // Without the selection, the terminal's other paste key is the better guess.
        keystroke = PasteKeystroke::controlShiftV;
    }
    qCDebug(lcClipboard) << "pasting with" << enumName(keystroke) << "into"
                         << (target ? target->className : QStringLiteral("an unknown window"));
    return m_keystrokePoster->postPasteKeystroke(keystroke);
}
