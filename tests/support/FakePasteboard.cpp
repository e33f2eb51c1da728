#include "FakePasteboard.h"

#include <QMimeData>

#include <utility>

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

PasteboardData FakePasteboard::fetch(const QString &type, qsizetype limit)
{
    ++m_dataReads;
    std::optional<QByteArray> bytes = peek(type);
    if (!bytes)
        return PasteboardData::of(PasteboardData::Outcome::refused);
    if (bytes->size() > limit)
        return PasteboardData::of(PasteboardData::Outcome::tooLarge, bytes->size());
    return PasteboardData::received(std::move(*bytes));
}

void FakePasteboard::requestContent(const PasteboardRequest &request, QObject *context,
                                    ContentHandler handler)
{
    ++m_requestCount;
    Answer answer{
        context, std::move(handler),
        PasteboardContent::read(request.changeCount, types(), request.isExcluded,
                                [this](const QString &type, qsizetype limit) { return fetch(type, limit); })};
    if (request.prepare)
        request.prepare(answer.content);
    if (!m_answersAtOnce) {
        m_held.append(std::move(answer));
        return;
    }
    if (answer.context)
        answer.handler(answer.content);
}

void FakePasteboard::answerHeldRequests()
{
    const QList<Answer> held = std::exchange(m_held, {});
    for (const Answer &answer : held) {
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

bool FakePasteboard::mirrorToSelection()
{
    m_selection = m_content;
    return !m_content.isEmpty();
}
