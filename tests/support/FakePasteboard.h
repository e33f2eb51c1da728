#pragma once

#include "Platform/Pasteboard.h"

#include <QByteArray>
#include <QList>
#include <QMimeData>
#include <QPair>
#include <QPointer>
#include <QString>

#include <memory>

// An in-process clipboard: tests play the other application with copy(), and check what was read
// (every data access is counted) and written. Requests are read at once, by the same rules as the real
// backends; the answer comes at once too, or is held back until answerHeldRequests().
class FakePasteboard final : public Pasteboard
{
    Q_OBJECT
public:
    using Content = QList<QPair<QString, QByteArray>>;

    // Another application copies: the content is replaced, the count moves and changed() is emitted.
    void copy(const Content &content);
    void copyText(const QString &text) { copy({{QStringLiteral("text/plain"), text.toUtf8()}}); }

    // Reads of content (one per type fetched), not of the type list.
    int dataReads() const { return m_dataReads; }
    int requestCount() const { return m_requestCount; }
    // Off: answers wait for answerHeldRequests(), as when a read takes its time on another thread.
    void setAnswersAtOnce(bool atOnce) { m_answersAtOnce = atOnce; }
    // Hands over the held answers, oldest first, to those requesters that still exist.
    void answerHeldRequests();
    int writeCount() const { return m_writeCount; }
    void setWriteSucceeds(bool succeeds) { m_writeSucceeds = succeeds; }
    // Off: changes happen without the notification, as when the platform misses one.
    void setEmitsChanged(bool emits) { m_emitsChanged = emits; }
    QStringList types() const;
    std::optional<QByteArray> peek(const QString &mimeType) const;
    // The object handed to the last write(), for formats that only exist as objects (images).
    const QMimeData *lastWritten() const { return m_lastWritten.get(); }
    // What mirrorToSelection() put into the primary selection.
    const Content &selection() const { return m_selection; }

    qint64 changeCount() const override { return m_changeCount; }
    void requestContent(const PasteboardRequest &request, QObject *context, ContentHandler handler) override;
    bool write(QMimeData *data) override;
    void clear() override;
    bool mirrorToSelection() override;

private:
    struct Answer
    {
        QPointer<QObject> context;
        ContentHandler handler;
        PasteboardContent content;
    };

    // Something left over from before the launch.
    Content m_content{{QStringLiteral("text/plain"), QByteArrayLiteral("copied before launch")}};
    Content m_selection;
    qint64 m_changeCount = 41;
    int m_dataReads = 0;
    int m_requestCount = 0;
    bool m_answersAtOnce = true;
    QList<Answer> m_held;
    int m_writeCount = 0;
    bool m_writeSucceeds = true;
    bool m_emitsChanged = true;
    std::unique_ptr<QMimeData> m_lastWritten;
};
