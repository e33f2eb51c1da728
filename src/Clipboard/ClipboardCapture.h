#pragma once

#include "Clipboard/ClipboardContentType.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QDateTime>
#include <QList>
#include <QString>
#include <QStringList>
#include <QStringView>
#include <QUrl>

#include <optional>

// One pasteboard item as read by the monitor, before it is stored.
struct ClipboardCapture
{
    QString title;
    QString preview;
    ClipboardContentType type = ClipboardContentType::text;
    QString sourceAppName;
    QDateTime timestamp;
    // SHA-256 over kind|trimmed text|files|bookmark|image digest, as 64 lower-case hex digits.
    QString fingerprint;
    // UTF-8, as copied.
    std::optional<QByteArray> textContent;
    QStringList fileURLStrings;
    std::optional<QString> imageBookmark;
    std::optional<QByteArray> imageData;

    // Link, colour or text; nothing for a text that is empty once trimmed. Broken UTF-8 is repaired
    // with replacement characters; only the start of a long text is decoded, for its title and preview.
    static std::optional<ClipboardCapture> fromText(QByteArray utf8, const QString &sourceAppName);
    static std::optional<ClipboardCapture> fromString(const QString &string, const QString &sourceAppName)
    {
        return fromText(string.toUtf8(), sourceAppName);
    }
    // Non-file URLs are dropped; nothing when no file URL remains.
    static std::optional<ClipboardCapture> fromFileURLs(const QList<QUrl> &urls,
                                                        const QString &sourceAppName);
    static ClipboardCapture fromImage(const QByteArray &imageData, qint64 changeCount,
                                      const QString &sourceAppName);

    // Counts user-perceived characters; joins lines; appends "..." past the limit.
    static QString shortened(QStringView text, int limit);
    // The same of UTF-8 text, decoding only as much of it as the limit needs.
    static QString shortened(QByteArrayView utf8, int limit);
};
