#include "Clipboard/ClipboardStore.h"

#include "Clipboard/HistoryDatabase.h"
#include "Clipboard/HistoryFile.h"
#include "Clipboard/HistorySchema.h"
#include "Core/Logging.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QSqlError>
#include <QSqlQuery>
#include <QStandardPaths>
#include <QThread>

#include <algorithm>
#include <utility>

using namespace HistoryDatabase;
using HistorySchema::SchemaState;

namespace {

// The write-ahead log shrinks back to this after a checkpoint, so one large image does not leave a
// large file behind.
constexpr qint64 walSizeLimitBytes = 4 * 1024 * 1024;

// Everything an entry shows; the image bytes are left on disk.
const QString entryColumns = QStringLiteral(
    "id, title, preview, typeRawValue, sourceAppName, timestamp, isPinned, textContent, fileURLStrings, "
    "imageBookmark");
enum EntryColumn
{
    colId,
    colTitle,
    colPreview,
    colType,
    colSource,
    colTimestamp,
    colPinned,
    colText,
    colFiles,
    colBookmark,
    colFingerprint, // record() only
    colImage,       // record() only
};

// Records written in the same millisecond: the later write (higher rowid) counts as newer.
const QString newestFirst = QStringLiteral("ORDER BY timestamp DESC, rowid DESC");

void assertMainThread()
{
    Q_ASSERT_X(!QCoreApplication::instance() ||
                   QThread::currentThread() == QCoreApplication::instance()->thread(),
               "ClipboardStore", "the history store is used from the main thread only");
}

QString nonNull(const QString &text)
{
    return text.isNull() ? QStringLiteral("") : text;
}

QVariant optionalText(const std::optional<QString> &text)
{
    return text ? QVariant(*text) : QVariant(QMetaType::fromType<QString>());
}

QVariant optionalBytes(const std::optional<QByteArray> &bytes)
{
    return bytes ? QVariant(*bytes) : QVariant(QMetaType::fromType<QByteArray>());
}

std::optional<QString> readOptionalText(const QSqlQuery &query, int column)
{
    if (query.isNull(column))
        return std::nullopt;
    return query.value(column).toString();
}

QString encodeFileURLs(const QStringList &urls)
{
    return QString::fromUtf8(QJsonDocument(QJsonArray::fromStringList(urls)).toJson(QJsonDocument::Compact));
}

QStringList decodeFileURLs(const QString &json)
{
    const QJsonDocument document = QJsonDocument::fromJson(json.toUtf8());
    if (!document.isArray()) {
        qCWarning(lcStore) << "Unreadable file list in a history record:" << json.left(80);
        return {};
    }
    QStringList urls;
    for (const QJsonValue &value : document.array())
        urls.append(value.toString());
    return urls;
}

QDateTime fromMsecs(qint64 msecs)
{
    return QDateTime::fromMSecsSinceEpoch(msecs);
}

// Fills the fields an entry shows; the caller adds fingerprint and image bytes when it selected them.
bool readRecord(const QSqlQuery &query, ClipboardRecord *record)
{
    record->id = QUuid::fromString(query.value(colId).toString());
    if (record->id.isNull()) {
        qCWarning(lcStore) << "Skipping a history record with an unreadable id:" << query.value(colId);
        return false;
    }
    record->title = query.value(colTitle).toString();
    record->preview = query.value(colPreview).toString();
    record->typeRawValue = query.value(colType).toString();
    record->sourceAppName = query.value(colSource).toString();
    record->timestamp = fromMsecs(query.value(colTimestamp).toLongLong());
    record->isPinned = query.value(colPinned).toInt() != 0;
    record->textContent = readOptionalText(query, colText);
    record->fileURLStrings = decodeFileURLs(query.value(colFiles).toString());
    record->imageBookmark = readOptionalText(query, colBookmark);
    return true;
}

QString idText(const QUuid &id)
{
    return id.toString(QUuid::WithoutBraces);
}

} // namespace

ClipboardHistoryEntry ClipboardRecord::toEntry() const
{
    ClipboardHistoryEntry entry;
    entry.id = id;
    entry.title = title;
    entry.preview = preview;
    entry.type = contentTypeFromRawValue(typeRawValue);
    entry.sourceAppName = sourceAppName;
    entry.timestamp = timestamp;
    entry.isPinned = isPinned;
    entry.textContent = textContent;
    entry.fileURLStrings = fileURLStrings;
    entry.imageBookmark = imageBookmark;
    return entry;
}

QString ClipboardStore::defaultPath()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) +
           QStringLiteral("/Halcy/history.sqlite");
}

std::unique_ptr<ClipboardStore> ClipboardStore::open(const QString &path, int historyLimit, QString *error)
{
    assertMainThread();
    if (path.isEmpty()) {
        fail(error, QStringLiteral("No location was given for the clipboard history."));
        return nullptr;
    }
    const QFileInfo info(path);
    const QString absolutePath = info.absoluteFilePath();
    const QString directory = info.absolutePath();

    if (!QFileInfo(directory).isDir()) {
        if (!QDir().mkpath(directory)) {
            fail(error,
                 QStringLiteral("The folder %1 for the clipboard history cannot be created.").arg(directory));
            return nullptr;
        }
        QFile::setPermissions(directory, HistoryFile::ownerOnlyDirectory);
    }

    bool created = false;
    if (info.exists() || info.isSymLink()) {
        if (!info.isFile()) {
            fail(error, QStringLiteral("%1 is not a file, so the clipboard history cannot be kept there.")
                            .arg(absolutePath));
            return nullptr;
        }
        SchemaState state = SchemaState::empty;
        if (!HistoryFile::validateExisting(absolutePath, &state, error))
            return nullptr;
        // Checked up front: SQLite would otherwise open read-only and leave its log files behind.
        if (!info.isWritable() || !QFileInfo(directory).isWritable()) {
            fail(error,
                 QStringLiteral("The clipboard history at %1 cannot be written to.").arg(absolutePath));
            return nullptr;
        }
        HistoryFile::restrictPermissions(absolutePath);
        HistoryFile::restrictPermissions(absolutePath + QStringLiteral("-wal"));
        HistoryFile::restrictPermissions(absolutePath + QStringLiteral("-shm"));
    } else {
        // Created owner-only before SQLite writes anything; its log and index files inherit the mode.
        QFile file(absolutePath);
        if (!file.open(QIODevice::WriteOnly | QIODevice::NewOnly, HistoryFile::ownerOnlyFile)) {
            fail(error, QStringLiteral("The clipboard history cannot be created at %1: %2")
                            .arg(absolutePath, file.errorString()));
            return nullptr;
        }
        created = true;
    }

    std::unique_ptr<ClipboardStore> store(
        new ClipboardStore(newConnectionName("rw"), absolutePath, historyLimit));
    if (!store->connect(error) || !store->prepareSchema(error)) {
        store.reset();
        if (created) {
            for (const char *suffix : {"", "-wal", "-shm"})
                QFile::remove(absolutePath + QLatin1String(suffix));
        }
        return nullptr;
    }
    qCDebug(lcStore) << "Opened the clipboard history at" << absolutePath;
    return store;
}

std::unique_ptr<ClipboardStore> ClipboardStore::openInMemory(int historyLimit, QString *error)
{
    assertMainThread();
    std::unique_ptr<ClipboardStore> store(
        new ClipboardStore(newConnectionName("memory"), QString(), historyLimit));
    if (!store->connect(error) || !store->prepareSchema(error))
        return nullptr;
    return store;
}

ClipboardStore::ClipboardStore(QString connectionName, QString path, int historyLimit)
    : m_connectionName(std::move(connectionName)), m_path(std::move(path)),
      m_historyLimit(std::max(0, historyLimit)), m_persistent(!m_path.isEmpty())
{
    Q_ASSERT(historyLimit >= 0);
}

ClipboardStore::~ClipboardStore()
{
    assertMainThread();
    // The handle must be gone before the connection is removed, or Qt keeps it alive and complains.
    m_database.close();
    m_database = QSqlDatabase();
    if (QSqlDatabase::contains(m_connectionName))
        QSqlDatabase::removeDatabase(m_connectionName);
}

bool ClipboardStore::connect(QString *error)
{
    m_database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), m_connectionName);
    if (!m_database.isValid())
        return fail(error, QStringLiteral("The SQLite driver for the clipboard history is not available."));
    m_database.setDatabaseName(m_persistent ? m_path : QStringLiteral(":memory:"));
    m_database.setConnectOptions(QStringLiteral("QSQLITE_BUSY_TIMEOUT=%1").arg(busyTimeoutMs));
    if (!m_database.open())
        return fail(
            error,
            QStringLiteral("The clipboard history cannot be opened: %1").arg(m_database.lastError().text()));

    // Only takes effect on a new file; freed pages are then returned to the file system at each commit.
    if (!exec(m_database, QStringLiteral("PRAGMA auto_vacuum = FULL"), "Could not configure the history",
              error))
        return false;
    // Deleted clips may be passwords: overwrite their bytes instead of leaving them in free pages.
    if (!exec(m_database, QStringLiteral("PRAGMA secure_delete = ON"), "Could not configure the history",
              error))
        return false;
    if (!m_persistent)
        return true;

    QSqlQuery mode(m_database);
    if (!mode.exec(QStringLiteral("PRAGMA journal_mode = WAL")) || !mode.next())
        return failQuery(error, "Could not configure the history journal", mode);
    if (mode.value(0).toString().compare(QLatin1String("wal"), Qt::CaseInsensitive) != 0) {
        // Some network file systems cannot share memory; the rollback journal is just as safe, only slower.
        qCWarning(lcStore) << "Write-ahead logging unavailable for" << m_path << "- using journal mode"
                           << mode.value(0).toString();
    }
    mode.finish();
    // With the write-ahead log, NORMAL never corrupts and never loses a commit when the process dies; only
    // a power cut or kernel crash can roll back the last commits, which is acceptable for clipboard history.
    return exec(m_database, QStringLiteral("PRAGMA synchronous = NORMAL"), "Could not configure the history",
                error) &&
           exec(m_database, QStringLiteral("PRAGMA journal_size_limit = %1").arg(walSizeLimitBytes),
                "Could not configure the history", error);
}

bool ClipboardStore::prepareSchema(QString *error)
{
    const char *what = "Could not prepare the clipboard history";
    Transaction transaction(m_database);
    if (!transaction.begin(what, error))
        return false;

    // Checked again under the write lock: another instance may have changed the file since validation.
    SchemaState state = SchemaState::empty;
    QString version;
    if (!HistorySchema::inspect(m_database, m_persistent ? m_path : QStringLiteral(":memory:"), &state,
                                &version, error))
        return false;
    switch (state) {
    case SchemaState::empty:
        if (!HistorySchema::create(m_database, error) ||
            !HistorySchema::writeVersion(m_database, QLatin1String(schemaVersion), error))
            return false;
        break;
    case SchemaState::older:
        if (!HistorySchema::migrate(m_database, version, error))
            return false;
        break;
    case SchemaState::current:
        break;
    }
    return transaction.commit(what, error);
}

bool ClipboardStore::insert(const ClipboardCapture &capture, QString *error)
{
    assertMainThread();
    const char *what = "Could not save the clipboard item";
    if (capture.fingerprint.isEmpty())
        return fail(error, QStringLiteral("%1: it has no fingerprint.").arg(QLatin1String(what)));

    Transaction transaction(m_database);
    if (!transaction.begin(what, error))
        return false;

    QString id;
    bool pinned = false;
    {
        QSqlQuery existing(m_database);
        existing.setForwardOnly(true);
        existing.prepare(
            QStringLiteral("SELECT id, isPinned FROM ClipboardRecord WHERE fingerprint = ? LIMIT 1"));
        existing.addBindValue(capture.fingerprint);
        if (!exec(existing, what, error))
            return false;
        if (existing.next()) {
            id = existing.value(0).toString();
            pinned = existing.value(1).toInt() != 0;
        }
    }
    const bool known = !id.isEmpty();
    if (!known)
        id = idText(QUuid::createUuid());

    const QDateTime timestamp =
        capture.timestamp.isValid() ? capture.timestamp : QDateTime::currentDateTimeUtc();

    // Replacing (rather than updating) a known record gives it a fresh rowid, so it also wins ties with
    // records captured in the same millisecond.
    QSqlQuery write(m_database);
    write.prepare(
        QStringLiteral("INSERT OR REPLACE INTO ClipboardRecord (id, title, preview, typeRawValue, "
                       "sourceAppName, timestamp, isPinned, fingerprint, textContent, fileURLStrings, "
                       "imageBookmark, imageData) VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)"));
    write.addBindValue(id);
    write.addBindValue(nonNull(capture.title));
    write.addBindValue(nonNull(capture.preview));
    write.addBindValue(enumName(capture.type));
    write.addBindValue(nonNull(capture.sourceAppName));
    write.addBindValue(timestamp.toMSecsSinceEpoch());
    write.addBindValue(pinned ? 1 : 0);
    write.addBindValue(capture.fingerprint);
    write.addBindValue(optionalText(capture.textContent));
    write.addBindValue(encodeFileURLs(capture.fileURLStrings));
    write.addBindValue(optionalText(capture.imageBookmark));
    write.addBindValue(optionalBytes(capture.imageData));
    if (!exec(write, what, error))
        return false;
    write.finish();

    QList<QUuid> trimmed;
    if (!deleteWhere(QStringLiteral("rowid IN (SELECT rowid FROM ClipboardRecord WHERE isPinned = 0 %1 "
                                    "LIMIT -1 OFFSET ?)")
                         .arg(newestFirst),
                     {m_historyLimit}, "Could not trim the clipboard history", &trimmed, error) ||
        !transaction.commit(what, error))
        return false;

    ClipboardRecord record;
    record.id = QUuid::fromString(id);
    record.title = nonNull(capture.title);
    record.preview = nonNull(capture.preview);
    record.typeRawValue = enumName(capture.type);
    record.sourceAppName = nonNull(capture.sourceAppName);
    record.timestamp = fromMsecs(timestamp.toMSecsSinceEpoch());
    record.isPinned = pinned;
    record.textContent = capture.textContent;
    record.fileURLStrings = capture.fileURLStrings;
    record.imageBookmark = capture.imageBookmark;
    if (known)
        emit entryChanged(record.toEntry());
    else
        emit entryInserted(record.toEntry());
    if (!trimmed.isEmpty())
        emit entriesRemoved(trimmed);
    return true;
}

ClipboardHistoryEntries ClipboardStore::entries(QString *error) const
{
    assertMainThread();
    ClipboardHistoryEntries result;
    QSqlQuery query(m_database);
    query.setForwardOnly(true);
    if (!query.exec(QStringLiteral("SELECT %1 FROM ClipboardRecord %2").arg(entryColumns, newestFirst))) {
        failQuery(error, "Could not read the clipboard history", query);
        return result;
    }
    ClipboardRecord record;
    while (query.next()) {
        if (readRecord(query, &record))
            result.append(record.toEntry());
    }
    if (query.lastError().isValid()) {
        failQuery(error, "Could not read the clipboard history", query);
        return {};
    }
    return result;
}

std::optional<ClipboardRecord> ClipboardStore::record(const QUuid &id, QString *error) const
{
    assertMainThread();
    QSqlQuery query(m_database);
    query.setForwardOnly(true);
    query.prepare(QStringLiteral("SELECT %1, fingerprint, imageData FROM ClipboardRecord WHERE id = ?")
                      .arg(entryColumns));
    query.addBindValue(idText(id));
    if (!exec(query, "Could not read the clipboard item", error) || !query.next())
        return std::nullopt;
    ClipboardRecord record;
    if (!readRecord(query, &record))
        return std::nullopt;
    record.fingerprint = query.value(colFingerprint).toString();
    if (!query.isNull(colImage))
        record.imageData = query.value(colImage).toByteArray();
    return record;
}

std::optional<QByteArray> ClipboardStore::imageData(const QUuid &id, QString *error) const
{
    assertMainThread();
    QSqlQuery query(m_database);
    query.setForwardOnly(true);
    query.prepare(QStringLiteral("SELECT imageData FROM ClipboardRecord WHERE id = ?"));
    query.addBindValue(idText(id));
    if (!exec(query, "Could not read the image of the clipboard item", error) || !query.next() ||
        query.isNull(0))
        return std::nullopt;
    return query.value(0).toByteArray();
}

bool ClipboardStore::togglePin(const QUuid &id, QString *error)
{
    assertMainThread();
    QSqlQuery query(m_database);
    query.prepare(QStringLiteral("UPDATE ClipboardRecord SET isPinned = 1 - isPinned WHERE id = ?"));
    query.addBindValue(idText(id));
    if (!exec(query, "Could not pin the clipboard item", error))
        return false;
    if (query.numRowsAffected() == 0)
        return fail(error, QStringLiteral("There is no clipboard item with the id %1.").arg(idText(id)));
    if (const std::optional<ClipboardRecord> changed = record(id, error))
        emit entryChanged(changed->toEntry());
    return true;
}

bool ClipboardStore::deleteEntry(const QUuid &id, QString *error)
{
    assertMainThread();
    QSqlQuery query(m_database);
    query.prepare(QStringLiteral("DELETE FROM ClipboardRecord WHERE id = ?"));
    query.addBindValue(idText(id));
    if (!exec(query, "Could not delete the clipboard item", error))
        return false;
    if (query.numRowsAffected() == 0)
        return fail(error, QStringLiteral("There is no clipboard item with the id %1.").arg(idText(id)));
    emit entriesRemoved({id});
    truncateLog();
    return true;
}

// secure_delete overwrites the database's own pages, but the write-ahead log keeps the pages written
// before, deleted text included, until it is overwritten. Emptying the log makes a deletion final.
void ClipboardStore::truncateLog()
{
    if (!m_persistent)
        return;
    QSqlQuery query(m_database);
    if (!query.exec(QStringLiteral("PRAGMA wal_checkpoint(TRUNCATE)")) || !query.next())
        qCWarning(lcStore) << "Could not empty the history's write-ahead log:" << query.lastError().text();
    else if (query.value(0).toInt() != 0)
        qCWarning(lcStore) << "The history's write-ahead log is in use by another reader and was not emptied";
}

bool ClipboardStore::clear(bool includingPinned, QString *error)
{
    assertMainThread();
    return removeWhere(includingPinned ? QStringLiteral("1") : QStringLiteral("isPinned = 0"), {},
                       "Could not clear the clipboard history", error);
}

bool ClipboardStore::deleteEntriesSince(const QDateTime &cutoff, bool includingPinned, QString *error)
{
    assertMainThread();
    const char *what = "Could not clear the recent clipboard history";
    if (!cutoff.isValid())
        return fail(error, QStringLiteral("%1: the cut-off time is not valid.").arg(QLatin1String(what)));
    QString condition = QStringLiteral("timestamp >= ?");
    if (!includingPinned)
        condition += QStringLiteral(" AND isPinned = 0");
    return removeWhere(condition, {cutoff.toMSecsSinceEpoch()}, what, error);
}

bool ClipboardStore::removeWhere(const QString &condition, const QVariantList &values, const char *what,
                                 QString *error)
{
    Transaction transaction(m_database);
    QList<QUuid> removed;
    if (!transaction.begin(what, error) || !deleteWhere(condition, values, what, &removed, error) ||
        !transaction.commit(what, error))
        return false;
    truncateLog();
    if (!removed.isEmpty())
        emit entriesRemoved(removed);
    return true;
}

bool ClipboardStore::deleteWhere(const QString &condition, const QVariantList &values, const char *what,
                                 QList<QUuid> *removed, QString *error)
{
    QSqlQuery select(m_database);
    select.setForwardOnly(true);
    select.prepare(QStringLiteral("SELECT id FROM ClipboardRecord WHERE ") + condition);
    for (const QVariant &value : values)
        select.addBindValue(value);
    if (!exec(select, what, error))
        return false;
    QList<QUuid> ids;
    while (select.next())
        ids.append(QUuid::fromString(select.value(0).toString()));
    select.finish();

    QSqlQuery query(m_database);
    query.prepare(QStringLiteral("DELETE FROM ClipboardRecord WHERE ") + condition);
    for (const QVariant &value : values)
        query.addBindValue(value);
    if (!exec(query, what, error))
        return false;
    if (!ids.isEmpty())
        qCDebug(lcStore) << "Deleted" << ids.size() << "clipboard records";
    *removed = ids;
    return true;
}

std::optional<QByteArray> ClipboardStore::imageDataFromAnyThread(const QUuid &id) const
{
    if (!m_persistent)
        return std::nullopt;
    // Connections cannot cross threads: one read-only connection per thread and store file.
    const QString connectionName = QStringLiteral("halcy.store.image.%1.%2")
                                       .arg(quintptr(QThread::currentThreadId()), 0, 16)
                                       .arg(qHash(m_path), 0, 16);
    QSqlDatabase database = QSqlDatabase::database(connectionName, false);
    if (!database.isValid()) {
        database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), connectionName);
        database.setDatabaseName(m_path);
        database.setConnectOptions(QStringLiteral("QSQLITE_OPEN_READONLY;QSQLITE_BUSY_TIMEOUT=2000"));
    }
    if (!database.isOpen() && !database.open()) {
        qCWarning(lcStore) << "Image read unavailable:" << database.lastError().text();
        return std::nullopt;
    }
    QSqlQuery query(database);
    query.prepare(QStringLiteral("SELECT imageData FROM ClipboardRecord WHERE id = ?"));
    query.addBindValue(idText(id));
    if (!query.exec() || !query.next() || query.isNull(0))
        return std::nullopt;
    return query.value(0).toByteArray();
}
