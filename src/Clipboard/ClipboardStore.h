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

#include <memory>
#include <optional>

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
    // Newest first; records written in the same millisecond are ordered by the later write first. Never
    // carries image bytes. On failure the list is empty and `error` is set.
    ClipboardHistoryEntries entries(QString *error = nullptr) const;
    // Nothing for an unknown id (then `error` stays empty) or on failure (then it is set).
    std::optional<ClipboardRecord> record(const QUuid &id, QString *error = nullptr) const;
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

private:
    ClipboardStore(QString connectionName, QString path, int historyLimit);

    bool connect(QString *error);
    bool prepareSchema(QString *error);
    // Deletes and returns the ids; the caller announces them once its transaction commits.
    bool deleteWhere(const QString &condition, const QVariantList &values, const char *what,
                     QList<QUuid> *removed, QString *error);
    // Deletes in one transaction, empties the log, then announces the removed ids.
    bool removeWhere(const QString &condition, const QVariantList &values, const char *what, QString *error);
    // Empties the write-ahead log so deleted text is not left readable there.
    void truncateLog();

    QString m_connectionName;
    QString m_path;
    QSqlDatabase m_database;
    int m_historyLimit;
    bool m_persistent;
};
