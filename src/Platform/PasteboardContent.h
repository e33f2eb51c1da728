#pragma once

#include "Core/EnumNames.h"

#include <QByteArray>
#include <QList>
#include <QPair>
#include <QString>
#include <QStringList>
#include <QUrl>

#include <functional>
#include <optional>

// How much of a single copy the history is willing to read. A transfer stops as soon as it passes the
// limit, so an oversize copy never sits in memory whole.
namespace PasteboardLimits {
// UTF-8 bytes of text, and of a file list.
inline constexpr qsizetype maxTextBytes = 16 * 1024 * 1024;
// Encoded image bytes, as offered and after conversion to PNG.
inline constexpr qsizetype maxImageBytes = 64 * 1024 * 1024;
} // namespace PasteboardLimits

// The bytes of one clipboard target, as a backend fetched them.
struct PasteboardData
{
    enum class Outcome
    {
        received,
        refused,
        tooLarge,
        failed,
        cancelled
    };

    Outcome outcome = Outcome::refused;
    QByteArray bytes;
    // With tooLarge: how many bytes the owner was about to send, as far as known when we stopped.
    qint64 size = 0;

    static PasteboardData received(QByteArray bytes) { return {Outcome::received, std::move(bytes), 0}; }
    static PasteboardData of(Outcome outcome, qint64 size = 0) { return {outcome, {}, size}; }
};

// One clipboard content as the history reads it: the types on offer and, in the history's order of
// preference, the file URLs, else the text, else the image as PNG. Only the winner is read.
struct PasteboardContent
{
    enum class Status
    {
        received,   // read; may still hold nothing the history keeps (rich text alone, blank text)
        empty,      // nobody owns the clipboard
        excluded,   // the type list ruled it out; nothing was read
        tooLarge,   // over a limit; the transfer was given up
        unreadable, // the owner refused every type or stopped answering
        superseded, // a newer request came first; nothing was read
    };

    qint64 changeCount = 0;
    Status status = Status::empty;
    // Targets offered, without the selection protocol's own; text targets appear as text/plain.
    QStringList types;
    QList<QUrl> fileURLs;
    // UTF-8, as the owner sent it but for a C string's terminator and a byte order mark.
    std::optional<QByteArray> text;
    std::optional<QByteArray> imagePNG;
    // With keepEveryType: every other type offered, as the owner sent it, text targets left out when
    // `text` holds the text.
    QList<QPair<QString, QByteArray>> everyType;
    // With tooLarge: the type given up and its size as far as known.
    QString oversizeType;
    qint64 oversizeBytes = 0;

    bool hasPayload() const { return !fileURLs.isEmpty() || text || imagePNG; }

    using Fetch = std::function<PasteboardData(const QString &type, qsizetype limit)>;
    // The preference order shared by every backend: file URLs from text/uri-list; text/plain (UTF-8)
    // unless blank; image/png as it is; image/tiff, then the other image types in the owner's order,
    // decoded and re-encoded as PNG. `fetch` is asked for one type at a time with the limit that
    // applies; a type that is refused or undecodable makes way for the next; an oversize, failed or
    // cancelled one ends the read.
    static PasteboardContent read(qint64 changeCount, const QStringList &types,
                                  const std::function<bool(const QStringList &)> &isExcluded,
                                  const Fetch &fetch);

    // Text bytes as `text` holds them: a C string's terminator and a leading byte order mark dropped.
    static QByteArray cleanedText(QByteArray utf8);

    // The local files of a text/uri-list; comments, blank lines and other URLs are left out.
    static QList<QUrl> fileURLsFromURIList(const QByteArray &uriList);
};

template <> struct EnumTraits<PasteboardContent::Status>
{
    static constexpr std::array<const char *, 6> names{"received", "empty",      "excluded",
                                                       "tooLarge", "unreadable", "superseded"};
};
