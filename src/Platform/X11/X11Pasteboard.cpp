#include "Platform/X11/X11Pasteboard.h"

#include "App/Logging.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QMimeData>

namespace {

// Targets that belong to the selection protocol itself rather than to the content.
bool isProtocolTarget(const QString &type)
{
    return type == QLatin1String("TARGETS") || type == QLatin1String("TIMESTAMP") ||
           type == QLatin1String("MULTIPLE") || type == QLatin1String("SAVE_TARGETS") ||
           type == QLatin1String("DELETE");
}

} // namespace

X11Pasteboard::X11Pasteboard(QObject *parent) : Pasteboard(parent), m_clipboard(QGuiApplication::clipboard())
{
    connect(m_clipboard, &QClipboard::changed, this, [this](QClipboard::Mode mode) {
        if (mode != QClipboard::Clipboard)
            return;
        ++m_changeCount;
        qCDebug(lcPlatform) << "clipboard changed, count" << m_changeCount;
        Q_EMIT changed();
    });
}

const QMimeData *X11Pasteboard::currentMimeData() const
{
    return m_clipboard->mimeData(QClipboard::Clipboard);
}

QStringList X11Pasteboard::types() const
{
    const QMimeData *mime = currentMimeData();
    if (!mime)
        return {};
    QStringList result;
    const QStringList formats = mime->formats();
    for (const QString &format : formats) {
        if (!isProtocolTarget(format) && !result.contains(format))
            result.append(format);
    }
    return result;
}

std::optional<QString> X11Pasteboard::string() const
{
    const QMimeData *mime = currentMimeData();
    if (!mime || !mime->hasText())
        return std::nullopt;
    return mime->text();
}

QList<QUrl> X11Pasteboard::fileURLs() const
{
    const QMimeData *mime = currentMimeData();
    if (!mime || !mime->hasUrls())
        return {};
    QList<QUrl> result;
    const QList<QUrl> urls = mime->urls();
    for (const QUrl &url : urls) {
        if (url.isValid() && url.isLocalFile())
            result.append(url);
    }
    return result;
}

std::optional<QByteArray> X11Pasteboard::data(const QString &mimeType) const
{
    const QMimeData *mime = currentMimeData();
    if (!mime || !mime->hasFormat(mimeType))
        return std::nullopt;
    return mime->data(mimeType);
}

bool X11Pasteboard::write(QMimeData *data)
{
    if (!data)
        return false;
    m_clipboard->setMimeData(data, QClipboard::Clipboard);
    // Another client can take the selection back between our request and the server's answer; on
    // platforms that cannot tell ownership, trust the write.
    const bool owned =
        m_clipboard->ownsClipboard() || QGuiApplication::platformName() != QLatin1String("xcb");
    if (!owned)
        qCWarning(lcPlatform) << "could not take ownership of the clipboard";
    return owned;
}

void X11Pasteboard::clear()
{
    m_clipboard->clear(QClipboard::Clipboard);
}
