#include "Clipboard/ClipboardStore.h"

#include "Clipboard/HistoryDatabase.h"
#include "Clipboard/HistoryFile.h"
#include "Clipboard/HistorySchema.h"
#include "Clipboard/HistoryWriter.h"
#include "Core/Logging.h"
#include "Core/Utf8Text.h"
#include "Platform/ProcessMemory.h"

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

// Everything an entry shows; the image bytes are left on disk. (Not substr() on the text: SQLite's text
// functions stop at a NUL, which copies may hold.)
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

// Bound as bytes, which SQLite takes without a copy, and cast back to text by the statement. An empty
// text stays an empty text, not NULL.
QVariant utf8Text(const std::optional<QByteArray> &text)
{
    if (!text)
        return QVariant(QMetaType::fromType<QString>());
    if (text->isEmpty())
        return QStringLiteral("");
    return *text;
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

// How much memory a capture's content takes, to know when freeing it is worth handing back.
qint64 payloadBytes(const ClipboardCapture &capture)
{
    return (capture.textContent ? capture.textContent->size() : 0) +
           (capture.imageData ? capture.imageData->size() : 0);
}

std::optional<ClipboardRecord> fetchRecord(QSqlDatabase &database, const QUuid &id, QString *error)
{
    QSqlQuery query(database);
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

// Runs `statement` on the record `id`; a missing record is a failure.
bool changeRecord(QSqlDatabase &database, const QString &statement, const QUuid &id, const char *what,
                  QString *error)
{
    QSqlQuery query(database);
    query.prepare(statement);
    query.addBindValue(idText(id));
    if (!exec(query, what, error))
        return false;
    if (query.numRowsAffected() == 0)
        return fail(error, QStringLiteral("There is no clipboard item with the id %1.").arg(idText(id)));
    return true;
}

// Deletes and returns the ids; the caller announces them once its transaction commits.
bool deleteWhere(QSqlDatabase &database, const QString &condition, const QVariantList &values,
                 const char *what, QList<QUuid> *removed, QString *error)
{
    QSqlQuery select(database);
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

    QSqlQuery query(database);
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

// secure_delete overwrites the database's own pages, but the write-ahead log keeps the pages written
// before, deleted text included, until it is overwritten. Emptying the log makes a deletion final.
void truncateLog(QSqlDatabase &database)
{
    if (database.databaseName() == QLatin1String(":memory:"))
        return;
    QSqlQuery query(database);
    if (!query.exec(QStringLiteral("PRAGMA wal_checkpoint(TRUNCATE)")) || !query.next())
        qCWarning(lcStore) << "Could not empty the history's write-ahead log:" << query.lastError().text();
    else if (query.value(0).toInt() != 0)
        qCWarning(lcStore) << "The history's write-ahead log is in use by another reader and was not emptied";
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
    // Every entry lives as long as the history does; a long text is read back when it is pasted.
    entry.textLeftInStore = textContent && textContent->size() > ClipboardHistoryEntry::inlineTextLength;
    if (!entry.textLeftInStore)
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
    if (!store->connect(error) || !store->prepareSchema(error) ||
        !(store->m_writer = HistoryWriter::start(absolutePath, newConnectionName("writer"), error))) {
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
    // Every change asked for reaches the disk; nobody is left to hear of it.
    m_writer.reset();
    // The handle must be gone before the connection is removed, or Qt keeps it alive and complains.
    m_database.close();
    m_database = QSqlDatabase();
    if (QSqlDatabase::contains(m_connectionName))
        QSqlDatabase::removeDatabase(m_connectionName);
}

bool ClipboardStore::connect(QString *error)
{
    return openConnection(m_database, m_connectionName, m_path, error);
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
    return run(insertion(capture), error, payloadBytes(capture));
}

void ClipboardStore::enqueueInsert(const ClipboardCapture &capture)
{
    assertMainThread();
    submit(insertion(capture), true, payloadBytes(capture));
}

ClipboardStore::Write ClipboardStore::insertion(const ClipboardCapture &capture)
{
    return [this, capture = capture, historyLimit = m_historyLimit](QSqlDatabase &database, QString *error,
                                                                    Announcement *announcement) mutable {
        const char *what = "Could not save the clipboard item";
        if (capture.fingerprint.isEmpty())
            return fail(error, QStringLiteral("%1: it has no fingerprint.").arg(QLatin1String(what)));

        // What the announcement will carry. A text with more bytes than three per UTF-16 unit of the
        // inline limit stays in the store whatever it holds, so it is never decoded whole.
        ClipboardHistoryEntry entry = [&capture] {
            const bool surelyLeftInStore =
                capture.textContent &&
                capture.textContent->size() > 3 * ClipboardHistoryEntry::inlineTextLength;
            ClipboardRecord record;
            record.title = nonNull(capture.title);
            record.preview = nonNull(capture.preview);
            record.typeRawValue = enumName(capture.type);
            record.sourceAppName = nonNull(capture.sourceAppName);
            if (capture.textContent && !surelyLeftInStore)
                record.textContent = Utf8Text::decoded(*capture.textContent);
            record.fileURLStrings = capture.fileURLStrings;
            record.imageBookmark = capture.imageBookmark;
            ClipboardHistoryEntry entry = record.toEntry();
            entry.textLeftInStore = entry.textLeftInStore || surelyLeftInStore;
            return entry;
        }();
        const QVariant text = utf8Text(std::exchange(capture.textContent, std::nullopt));

        Transaction transaction(database);
        if (!transaction.begin(what, error))
            return false;

        QString id;
        bool pinned = false;
        {
            QSqlQuery existing(database);
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

        // Replacing (rather than updating) a known record gives it a fresh rowid, so it also wins ties
        // with records captured in the same millisecond.
        QSqlQuery write(database);
        write.prepare(QStringLiteral(
            "INSERT OR REPLACE INTO ClipboardRecord (id, title, preview, typeRawValue, "
            "sourceAppName, timestamp, isPinned, fingerprint, textContent, fileURLStrings, "
            "imageBookmark, imageData) VALUES (?, ?, ?, ?, ?, ?, ?, ?, CAST(? AS TEXT), ?, ?, ?)"));
        write.addBindValue(id);
        write.addBindValue(nonNull(capture.title));
        write.addBindValue(nonNull(capture.preview));
        write.addBindValue(enumName(capture.type));
        write.addBindValue(nonNull(capture.sourceAppName));
        write.addBindValue(timestamp.toMSecsSinceEpoch());
        write.addBindValue(pinned ? 1 : 0);
        write.addBindValue(capture.fingerprint);
        write.addBindValue(text);
        write.addBindValue(encodeFileURLs(capture.fileURLStrings));
        write.addBindValue(optionalText(capture.imageBookmark));
        write.addBindValue(optionalBytes(capture.imageData));
        if (!exec(write, what, error))
            return false;
        write.finish();

        QList<QUuid> trimmed;
        if (!deleteWhere(database,
                         QStringLiteral("rowid IN (SELECT rowid FROM ClipboardRecord WHERE isPinned = 0 %1 "
                                        "LIMIT -1 OFFSET ?)")
                             .arg(newestFirst),
                         {historyLimit}, "Could not trim the clipboard history", &trimmed, error) ||
            !transaction.commit(what, error))
            return false;

        entry.id = QUuid::fromString(id);
        entry.timestamp = fromMsecs(timestamp.toMSecsSinceEpoch());
        entry.isPinned = pinned;
        *announcement = [this, entry, known, trimmed] {
            if (known)
                emit entryChanged(entry);
            else
                emit entryInserted(entry);
            if (!trimmed.isEmpty())
                emit entriesRemoved(trimmed);
        };
        return true;
    };
}

std::shared_ptr<ClipboardStore::PendingWrite> ClipboardStore::submit(Write write, bool reportFailure,
                                                                     qint64 payloadBytes)
{
    auto pending = std::make_shared<PendingWrite>();
    pending->write = std::move(write);
    pending->reportFailure = reportFailure;
    m_pending.push_back(pending);
    const auto runPending = [pending](QSqlDatabase &database) {
        pending->succeeded = pending->write(database, &pending->error, &pending->announcement);
        // The content goes with the write, on the thread that wrote it.
        pending->write = nullptr;
        pending->done.store(true, std::memory_order_release);
    };
    if (!m_writer) {
        runPending(m_database);
        announceDone();
        return pending;
    }
    m_writer->post([this, runPending, payloadBytes](QSqlDatabase &database) {
        runPending(database);
        QMetaObject::invokeMethod(this, &ClipboardStore::announceDone, Qt::QueuedConnection);
        // The copy's last references and SQLite's buffers for it were freed here; an in-memory store
        // keeps the content anyway.
        if (payloadBytes >= ProcessMemory::worthwhileBytes)
            ProcessMemory::releaseFreed();
    });
    return pending;
}

void ClipboardStore::finishWrites()
{
    assertMainThread();
    if (m_writer)
        m_writer->waitForIdle();
    announceDone();
}

void ClipboardStore::announceDone()
{
    // Taken off the queue before announcing: a listener may write again from its slot.
    while (!m_pending.empty() && m_pending.front()->done.load(std::memory_order_acquire)) {
        const std::shared_ptr<PendingWrite> pending = m_pending.front();
        m_pending.pop_front();
        if (pending->succeeded && pending->announcement)
            pending->announcement();
        else if (!pending->succeeded && pending->reportFailure)
            emit insertFailed(pending->error);
    }
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
    return fetchRecord(const_cast<QSqlDatabase &>(m_database), id, error);
}

ClipboardHistoryEntry ClipboardStore::withFullText(const ClipboardHistoryEntry &entry) const
{
    if (!entry.textLeftInStore)
        return entry;
    ClipboardHistoryEntry full = entry;
    if (const std::optional<ClipboardRecord> stored = record(entry.id)) {
        full.textContent = stored->textContent;
        full.textLeftInStore = false;
    }
    return full;
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
    return run(
        [this, id](QSqlDatabase &database, QString *error, Announcement *announcement) {
            if (!changeRecord(
                    database,
                    QStringLiteral("UPDATE ClipboardRecord SET isPinned = 1 - isPinned WHERE id = ?"), id,
                    "Could not pin the clipboard item", error))
                return false;
            if (const std::optional<ClipboardRecord> changed = fetchRecord(database, id, error))
                *announcement = [this, entry = changed->toEntry()] { emit entryChanged(entry); };
            return true;
        },
        error);
}

bool ClipboardStore::deleteEntry(const QUuid &id, QString *error)
{
    assertMainThread();
    return run(
        [this, id](QSqlDatabase &database, QString *error, Announcement *announcement) {
            if (!changeRecord(database, QStringLiteral("DELETE FROM ClipboardRecord WHERE id = ?"), id,
                              "Could not delete the clipboard item", error))
                return false;
            truncateLog(database);
            *announcement = [this, id] { emit entriesRemoved({id}); };
            return true;
        },
        error);
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
    return run(
        [this, condition, values, what](QSqlDatabase &database, QString *error, Announcement *announcement) {
            Transaction transaction(database);
            QList<QUuid> removed;
            if (!transaction.begin(what, error) ||
                !deleteWhere(database, condition, values, what, &removed, error) ||
                !transaction.commit(what, error))
                return false;
            truncateLog(database);
            if (!removed.isEmpty())
                *announcement = [this, removed] { emit entriesRemoved(removed); };
            return true;
        },
        error);
}

bool ClipboardStore::run(Write write, QString *error, qint64 payloadBytes)
{
    std::shared_ptr<PendingWrite> pending = submit(std::move(write), false, payloadBytes);
    finishWrites();
    if (error && !pending->succeeded)
        *error = pending->error;
    return pending->succeeded;
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
