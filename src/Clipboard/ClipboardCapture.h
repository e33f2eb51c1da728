#pragma once

#include "Clipboard/ClipboardContentType.h"

#include <QByteArray>
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
    QString fingerprint;
    std::optional<QString> textContent;
    QStringList fileURLStrings;
    std::optional<QString> imageBookmark;
    std::optional<QByteArray> imageData;

    // Link, colour or text; nothing for a string that is empty once trimmed.
    static std::optional<ClipboardCapture> fromString(const QString &string, const QString &sourceAppName);
    // Non-file URLs are dropped; nothing when no file URL remains.
    static std::optional<ClipboardCapture> fromFileURLs(const QList<QUrl> &urls,
                                                        const QString &sourceAppName);
    static ClipboardCapture fromImage(const QByteArray &imageData, qint64 changeCount,
                                      const QString &sourceAppName);

    // SHA-256 over kind|text|files|bookmark|image digest, as 64 lower-case hex digits.
    static QString makeFingerprint(ClipboardContentType type, const std::optional<QString> &textContent,
                                   const QStringList &fileURLStrings,
                                   const std::optional<QString> &imageBookmark,
                                   const std::optional<QByteArray> &imageData);

    // Counts user-perceived characters; joins lines; appends "..." past the limit.
    static QString shortened(QStringView text, int limit);
};
