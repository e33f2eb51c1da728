#include "Platform/X11/X11Pasteboard.h"

#include "Core/Logging.h"
#include "Platform/X11/X11ClipboardReader.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QMimeData>
#include <QThread>

// From Xlib. Qt declares Display already; Xlib.h itself would bring its macros (Status, None …) here.
extern "C" char *XDisplayString(Display *display);

namespace {

// Targets that belong to the selection protocol itself rather than to the content.
bool isProtocolTarget(const QString &type)
{
    return type == QLatin1String("TARGETS") || type == QLatin1String("TIMESTAMP") ||
           type == QLatin1String("MULTIPLE") || type == QLatin1String("SAVE_TARGETS") ||
           type == QLatin1String("DELETE");
}

// The display Qt is connected to, which may come from -display rather than DISPLAY.
QByteArray qtDisplayName()
{
    auto *x11 = qGuiApp ? qGuiApp->nativeInterface<QNativeInterface::QX11Application>() : nullptr;
    if (x11 && x11->display()) {
        if (const char *name = XDisplayString(x11->display()))
            return QByteArray(name);
    }
    return qgetenv("DISPLAY");
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

    if (QGuiApplication::platformName() == QLatin1String("xcb")) {
        // The reader calls back on its own thread; the answer crosses over as a queued call, which is
        // dropped with this object if it is gone by then.
        m_reader =
            X11ClipboardReader::create(qtDisplayName(), [this](quint64 id, const PasteboardContent &content) {
                QMetaObject::invokeMethod(
                    this, [this, id, content] { deliver(id, content); }, Qt::QueuedConnection);
            });
        if (!m_reader)
            qCWarning(lcPlatform)
                << "reading the clipboard in place; a slow clipboard owner will stall the UI";
    }
}

X11Pasteboard::~X11Pasteboard() = default;

void X11Pasteboard::requestContent(const PasteboardRequest &request, QObject *context, ContentHandler handler)
{
    Q_ASSERT(QThread::currentThread() == thread());
    if (m_reader) {
        // The answer is queued to this thread, so it cannot arrive before the handler is stored.
        m_pending.insert(m_reader->request(request), {context, std::move(handler)});
        return;
    }
    PasteboardContent content = readInPlace(request);
    if (request.prepare)
        request.prepare(content);
    QMetaObject::invokeMethod(
        this,
        [context = QPointer<QObject>(context), handler = std::move(handler), content] {
            if (context)
                handler(content);
        },
        Qt::QueuedConnection);
}

void X11Pasteboard::deliver(quint64 requestId, const PasteboardContent &content)
{
    const PendingRequest pending = m_pending.take(requestId);
    if (pending.context && pending.handler)
        pending.handler(content);
}

PasteboardContent X11Pasteboard::readInPlace(const PasteboardRequest &request) const
{
    const QMimeData *mime = m_clipboard->mimeData(QClipboard::Clipboard);
    QStringList types;
    if (mime) {
        const QStringList formats = mime->formats();
        for (const QString &format : formats) {
            if (!isProtocolTarget(format) && !types.contains(format))
                types.append(format);
        }
    }
    return PasteboardContent::read(
        request.changeCount, types, request.isExcluded, [mime](const QString &type, qsizetype limit) {
            const QByteArray bytes = mime->data(type);
            if (bytes.isEmpty() && !mime->hasFormat(type))
                return PasteboardData::of(PasteboardData::Outcome::refused);
            if (bytes.size() > limit)
                return PasteboardData::of(PasteboardData::Outcome::tooLarge, bytes.size());
            return PasteboardData::received(bytes);
        });
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
