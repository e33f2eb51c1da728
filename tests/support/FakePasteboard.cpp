#include "FakePasteboard.h"

#include <QMimeData>

FakePasteboard::FakePasteboard(QObject *parent) : Pasteboard(parent)
{
    // Something left over from before the launch.
    m_content = {{QStringLiteral("text/plain"), QByteArrayLiteral("copied before launch")}};
    m_changeCount = 41;
}

FakePasteboard::~FakePasteboard() = default;

void FakePasteboard::bump()
{
    ++m_changeCount;
    if (m_emitsChanged)
        Q_EMIT changed();
}

void FakePasteboard::copy(const Content &content)
{
    m_content = content;
    bump();
}

void FakePasteboard::copyText(const QString &text)
{
    copy({{QStringLiteral("text/plain"), text.toUtf8()}});
}

void FakePasteboard::ownerExited()
{
    m_content.clear();
    bump();
}

std::optional<QByteArray> FakePasteboard::peek(const QString &mimeType) const
{
    for (const auto &[type, bytes] : m_content) {
        if (type == mimeType)
            return bytes;
    }
    return std::nullopt;
}

QStringList FakePasteboard::types() const
{
    QStringList result;
    for (const auto &item : m_content)
        result.append(item.first);
    return result;
}

std::optional<QString> FakePasteboard::string() const
{
    ++m_dataReads;
    const std::optional<QByteArray> bytes = peek(QStringLiteral("text/plain"));
    if (!bytes)
        return std::nullopt;
    return QString::fromUtf8(*bytes);
}

QList<QUrl> FakePasteboard::fileURLs() const
{
    ++m_dataReads;
    QList<QUrl> urls;
    const std::optional<QByteArray> list = peek(QStringLiteral("text/uri-list"));
    if (!list)
        return urls;
    for (const QByteArray &line : list->split('\n')) {
        const QByteArray trimmed = line.trimmed();
        if (trimmed.isEmpty() || trimmed.startsWith('#'))
            continue;
        const QUrl url = QUrl::fromEncoded(trimmed);
        if (url.isValid() && url.isLocalFile())
            urls.append(url);
    }
    return urls;
}

std::optional<QByteArray> FakePasteboard::data(const QString &mimeType) const
{
    ++m_dataReads;
    return peek(mimeType);
}

bool FakePasteboard::write(QMimeData *data)
{
    std::unique_ptr<QMimeData> owned(data);
    ++m_writeCount;
    if (!m_writeSucceeds)
        return false;
    m_content.clear();
    for (const QString &format : data->formats())
        m_content.append({format, data->data(format)});
    m_lastWritten = std::move(owned);
    bump();
    return true;
}

void FakePasteboard::clear()
{
    m_content.clear();
    m_lastWritten.reset();
    bump();
}
