#pragma once

#include "Clipboard/ClipboardCapture.h"
#include "Clipboard/ClipboardHistoryEntry.h"

#include <QByteArray>
#include <QDateTime>
#include <QObject>
#include <QSqlDatabase>
#include <QString>
#include <QUuid>

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

// History persistence on SQLite. Main thread only. Every mutating call reports failure through its
// return value and, when given, `error`; nothing here throws.
class ClipboardStore final : public QObject
{
    Q_OBJECT
public:
    static constexpr int defaultHistoryLimit = 200;
    static constexpr const char *schemaVersion = "1.0.0";

    // $XDG_DATA_HOME/Halcy/history.sqlite
    static QString defaultPath();

    // Opens (creating when missing) the database at `path`. Fails without touching a file that is not a
    // database or has a newer schema.
    static std::unique_ptr<ClipboardStore> open(const QString &path, int historyLimit, QString *error = nullptr);
    // Never fails short of SQLite itself missing.
    static std::unique_ptr<ClipboardStore> openInMemory(int historyLimit, QString *error = nullptr);

    ~ClipboardStore() override;

    int historyLimit() const { return m_historyLimit; }
    bool isPersistent() const { return m_persistent; }

    // De-duplicates by fingerprint (the existing record moves to the top, keeps id and pin), then trims
    // unpinned records beyond historyLimit.
    bool insert(const ClipboardCapture &capture, QString *error = nullptr);
    // Newest first.
    ClipboardHistoryEntries entries() const;
    std::optional<ClipboardRecord> record(const QUuid &id) const;
    std::optional<QByteArray> imageData(const QUuid &id) const;
    bool togglePin(const QUuid &id, QString *error = nullptr);
    bool deleteEntry(const QUuid &id, QString *error = nullptr);
    bool clear(bool includingPinned, QString *error = nullptr);
    bool deleteEntriesSince(const QDateTime &cutoff, bool includingPinned, QString *error = nullptr);

private:
    ClipboardStore(const QString &connectionName, int historyLimit, bool persistent);
    QSqlDatabase database() const;

    QString m_connectionName;
    int m_historyLimit;
    bool m_persistent;
};
