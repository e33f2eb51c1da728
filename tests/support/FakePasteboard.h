#pragma once

#include "Platform/Pasteboard.h"

#include <QByteArray>
#include <QList>
#include <QPair>
#include <QString>

#include <memory>

class QMimeData;

// An in-process clipboard: tests play the other application with copy(), and check what was read
// (every data access is counted) and written.
class FakePasteboard final : public Pasteboard
{
    Q_OBJECT
public:
    using Content = QList<QPair<QString, QByteArray>>;

    explicit FakePasteboard(QObject *parent = nullptr);
    ~FakePasteboard() override;

    // Another application copies: the content is replaced, the count moves and changed() is emitted.
    void copy(const Content &content);
    void copyText(const QString &text);
    // The owner exits: the content disappears, which also counts as a change.
    void ownerExited();

    // Reads of content (string, file URLs, data), not of the type list.
    int dataReads() const { return m_dataReads; }
    void resetDataReads() { m_dataReads = 0; }
    int writeCount() const { return m_writeCount; }
    void setWriteSucceeds(bool succeeds) { m_writeSucceeds = succeeds; }
    // Off: changes happen without the notification, as when the platform misses one.
    void setEmitsChanged(bool emits) { m_emitsChanged = emits; }
    // The content as it stands, without counting a read.
    const Content &content() const { return m_content; }
    std::optional<QByteArray> peek(const QString &mimeType) const;
    // The object handed to the last write(), for formats that only exist as objects (images).
    const QMimeData *lastWritten() const { return m_lastWritten.get(); }

    qint64 changeCount() const override { return m_changeCount; }
    QStringList types() const override;
    std::optional<QString> string() const override;
    QList<QUrl> fileURLs() const override;
    std::optional<QByteArray> data(const QString &mimeType) const override;
    bool write(QMimeData *data) override;
    void clear() override;

private:
    void bump();

    Content m_content;
    qint64 m_changeCount = 0;
    mutable int m_dataReads = 0;
    int m_writeCount = 0;
    bool m_writeSucceeds = true;
    bool m_emitsChanged = true;
    std::unique_ptr<QMimeData> m_lastWritten;
};
