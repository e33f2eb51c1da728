#include "FakePasteboard.h"

#include <utility>

void FakePasteboard::copy(const Content &content)
{
    m_content = content;
    ++m_changeCount;
    if (m_emitsChanged)
        Q_EMIT changed();
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

void FakePasteboard::requestContent(const PasteboardRequest &request, QObject *context,
                                    ContentHandler handler)
{
    ++m_requestCount;
    const auto fetch = [this](const QString &type, qsizetype limit) {
        ++m_dataReads;
        std::optional<QByteArray> bytes = peek(type);
        if (!bytes)
            return PasteboardData::of(PasteboardData::Outcome::refused);
        if (bytes->size() > limit)
            return PasteboardData::of(PasteboardData::Outcome::tooLarge, bytes->size());
        return PasteboardData::received(std::move(*bytes));
    };
    Answer answer{context, std::move(handler),
                  PasteboardContent::read(request.changeCount, types(), request.isExcluded, fetch)};
    if (request.prepare)
        request.prepare(answer.content);
    m_held.append(std::move(answer));
    if (m_answersAtOnce)
        answerHeldRequests();
}

void FakePasteboard::answerHeldRequests()
{
    for (const Answer &answer : std::exchange(m_held, {})) {
        if (answer.context)
            answer.handler(answer.content);
    }
}

bool FakePasteboard::write(QMimeData *data)
{
    std::unique_ptr<QMimeData> owned(data);
    ++m_writeCount;
    if (!m_writeSucceeds)
        return false;
    Content content;
    for (const QString &format : data->formats())
        content.append({format, data->data(format)});
    m_lastWritten = std::move(owned);
    copy(content);
    return true;
}

void FakePasteboard::clear()
{
    m_lastWritten.reset();
    copy({});
}

bool FakePasteboard::mirrorToSelection()
{
    m_selection = m_content;
    return !m_content.isEmpty();
}
