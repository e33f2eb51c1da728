#pragma once

#include "Clipboard/ClipboardCapture.h"
#include "Clipboard/ClipboardHistoryEntry.h"

#include <QByteArray>
#include <QDateTime>
#include <QObject>
#include <QSqlDatabase>
#include <QString>
#include <QStringList>
#include <QUuid>
#include <QVariant>

#include <atomic>
#include <deque>
#include <functional>
#include <memory>
#include <optional>

class HistoryWriter;

// The persisted form of one history item; columns are named after these fields.
struct ClipboardRecord
{
    QUuid id;
    QString title;
    QString preview;
    QString typeRawValue;
    QString sourceAppName;
    QDateTime timestamp;
    bool isPinned = false;
    QString fingerprint;
    std::optional<QString> textContent;
    QStringList fileURLStrings;
    std::optional<QString> imageBookmark;
    std::optional<QByteArray> imageData;

    ClipboardHistoryEntry toEntry() const;
};

// History persistence on SQLite, and the one source of "history changed": every successful change is
// announced as entries inserted, changed or removed, so nobody needs to read the whole history again.
// Main thread only, except imageDataFromAnyThread(). Every call reports failure through its return
// value and, when given, `error`; nothing here throws. Each mutating call is one transaction: a crash
// loses at most the change in flight.
//
// A history file is written on a thread of its own, one change after another in the order asked; the
// announcements follow in that order on the main thread. enqueueInsert() does not wait for the disk; the
// other changes do, after the ones before them. Reads see what has committed. Destruction waits for
// every pending write.
class ClipboardStore final : public QObject
{
    Q_OBJECT
public:
    static constexpr int defaultHistoryLimit = 200;
    static constexpr const char *schemaVersion = "1.0.0";

    // $XDG_DATA_HOME/Halcy/history.sqlite
    static QString defaultPath();

    // Opens (creating when missing) the database at `path`. Fails without touching a file that is not a
    // history database or was written with a newer schema.
    static std::unique_ptr<ClipboardStore> open(const QString &path, int historyLimit,
                                                QString *error = nullptr);
    // Never fails short of SQLite itself missing.
    static std::unique_ptr<ClipboardStore> openInMemory(int historyLimit, QString *error = nullptr);

    ~ClipboardStore() override;

    int historyLimit() const { return m_historyLimit; }
    bool isPersistent() const { return m_persistent; }
    // Empty for an in-memory store.
    QString path() const { return m_path; }

    // De-duplicates by fingerprint (the existing record moves to the top, keeps id and pin), then trims
    // unpinned records beyond historyLimit.
    bool insert(const ClipboardCapture &capture, QString *error = nullptr);
    // The same without waiting: announced once written, or reported through insertFailed().
    void enqueueInsert(const ClipboardCapture &capture);
    // Returns once every change asked for so far is written and announced.
    void finishWrites();
    // Newest first; records written in the same millisecond are ordered by the later write first. Never
    // carries image bytes. On failure the list is empty and `error` is set.
    ClipboardHistoryEntries entries(QString *error = nullptr) const;
    // Nothing for an unknown id (then `error` stays empty) or on failure (then it is set).
    std::optional<ClipboardRecord> record(const QUuid &id, QString *error = nullptr) const;
    // The entry with a long text it left out (textLeftInStore) read back in; otherwise `entry` itself.
    ClipboardHistoryEntry withFullText(const ClipboardHistoryEntry &entry) const;
    // Nothing for an unknown id or a record without image bytes.
    std::optional<QByteArray> imageData(const QUuid &id, QString *error = nullptr) const;
    // The same from any thread (image loaders), over a read-only connection of that thread's own.
    // Nothing for an in-memory store, whose one connection belongs to the main thread.
    std::optional<QByteArray> imageDataFromAnyThread(const QUuid &id) const;
    // An unknown id is a failure.
    bool togglePin(const QUuid &id, QString *error = nullptr);
    // An unknown id is a failure.
    bool deleteEntry(const QUuid &id, QString *error = nullptr);
    bool clear(bool includingPinned, QString *error = nullptr);
    // Deletes records whose timestamp is at or after `cutoff`.
    bool deleteEntriesSince(const QDateTime &cutoff, bool includingPinned, QString *error = nullptr);

signals:
    // A record that was not there before.
    void entryInserted(const ClipboardHistoryEntry &entry);
    // A record whose fields changed: pinned or unpinned, or copied again (newer timestamp).
    void entryChanged(const ClipboardHistoryEntry &entry);
    // Deleted, cleared or trimmed beyond the limit.
    void entriesRemoved(const QList<QUuid> &ids);
    // An enqueued insert could not be written.
    void insertFailed(const QString &error);

private:
    ClipboardStore(QString connectionName, QString path, int historyLimit);

    // What a change announces once it has committed; runs on the main thread.
    using Announcement = std::function<void()>;
    // One change on the writing connection: true with what to announce, or false with the error.
    using Write = std::function<bool(QSqlDatabase &database, QString *error, Announcement *announcement)>;
    struct PendingWrite
    {
        Write write;
        bool reportFailure = false;
        bool succeeded = false;
        QString error;
        Announcement announcement;
        std::atomic<bool> done{false};
    };

    bool connect(QString *error);
    bool prepareSchema(QString *error);
    Write insertion(const ClipboardCapture &capture);
    // Queues `write` behind the ones before it; `payloadBytes` is what it frees once written.
    std::shared_ptr<PendingWrite> submit(Write write, bool reportFailure, qint64 payloadBytes = 0);
    // Submits `write` and waits for it.
    bool run(Write write, QString *error, qint64 payloadBytes = 0);
    // Announces the writes that are done, in the order they were asked for, up to the first still running.
    void announceDone();
    // Deletes in one transaction, empties the log, then announces the removed ids.
    bool removeWhere(const QString &condition, const QVariantList &values, const char *what, QString *error);

    QString m_connectionName;
    QString m_path;
    QSqlDatabase m_database;
    int m_historyLimit;
    bool m_persistent;
    std::deque<std::shared_ptr<PendingWrite>> m_pending;
    // Null for an in-memory store, whose one connection writes in place.
    std::unique_ptr<HistoryWriter> m_writer;
};
