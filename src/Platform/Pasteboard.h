#pragma once

#include <QByteArray>
#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QUrl>

#include <memory>
#include <optional>

class QMimeData;

// The system clipboard as the history sees it: a change counter that moves on every new content of the
// clipboard (our own writes included), the types on offer, and typed reads and writes.
class Pasteboard : public QObject
{
    Q_OBJECT
public:
    using QObject::QObject;
    ~Pasteboard() override = default;

    // The backend for the running Qt platform.
    static std::unique_ptr<Pasteboard> createDefault(QObject *parent = nullptr);

    virtual qint64 changeCount() const = 0;
    // MIME names and other targets offered now, without the selection protocol's own targets
    // (TARGETS, TIMESTAMP, MULTIPLE, SAVE_TARGETS). Empty when nobody owns the clipboard.
    virtual QStringList types() const = 0;
    // text/plain as UTF-8; nothing when no plain text is offered.
    virtual std::optional<QString> string() const = 0;
    // The file URLs listed in text/uri-list; other URLs are left out.
    virtual QList<QUrl> fileURLs() const = 0;
    virtual std::optional<QByteArray> data(const QString &mimeType) const = 0;
    // Replaces the clipboard with every format of `data` at once; takes ownership.
    virtual bool write(QMimeData *data) = 0;
    virtual void clear() = 0;

Q_SIGNALS:
    // Emitted as soon as the platform reports new content; changeCount() has already moved.
    void changed();
};
