#include "Clipboard/HistorySchema.h"

#include "Clipboard/ClipboardStore.h"
#include "Clipboard/HistoryDatabase.h"
#include "Core/Logging.h"

#include <QSqlError>
#include <QSqlQuery>
#include <QVersionNumber>

#include <array>

using namespace HistoryDatabase;

namespace {

const QString metadataTable = QStringLiteral("metadata");
const QString versionKey = QStringLiteral("schemaVersion");

struct Migration
{
    const char *fromVersion;
    const char *toVersion;
    bool (*apply)(QSqlDatabase &database, QString *error);
};

// Applied in order, each within the transaction that opens the store. A schema change appends a step
// from the previous version and raises ClipboardStore::schemaVersion.
const std::array<Migration, 0> migrations{};

} // namespace

namespace HistorySchema {

const QStringList recordColumns = {
    QStringLiteral("id"),
    QStringLiteral("title"),
    QStringLiteral("preview"),
    QStringLiteral("typeRawValue"),
    QStringLiteral("sourceAppName"),
    QStringLiteral("timestamp"),
    QStringLiteral("isPinned"),
    QStringLiteral("fingerprint"),
    QStringLiteral("textContent"),
    QStringLiteral("fileURLStrings"),
    QStringLiteral("imageBookmark"),
    QStringLiteral("imageData"),
};

bool inspect(QSqlDatabase &database, const QString &displayPath, SchemaState *state, QString *version,
             QString *error)
{
    QSqlQuery tables(database);
    tables.setForwardOnly(true);
    if (!tables.exec(QStringLiteral("SELECT name FROM sqlite_master WHERE type = 'table'")))
        return fail(error, QStringLiteral("The history file %1 cannot be read: %2")
                               .arg(displayPath, tables.lastError().text()));
    QStringList names;
    while (tables.next())
        names.append(tables.value(0).toString());

    if (names.isEmpty()) {
        *state = SchemaState::empty;
        return true;
    }
    const QString notOurs = QStringLiteral("The file %1 is not a Halcy clipboard history.").arg(displayPath);
    if (!names.contains(metadataTable))
        return fail(error, notOurs);

    QSqlQuery read(database);
    read.prepare(QStringLiteral("SELECT value FROM metadata WHERE key = ?"));
    read.addBindValue(versionKey);
    if (!read.exec())
        return fail(error, QStringLiteral("The history file %1 cannot be read: %2")
                               .arg(displayPath, read.lastError().text()));
    if (!read.next())
        return fail(error, notOurs);
    *version = read.value(0).toString();
    const QVersionNumber stored = QVersionNumber::fromString(*version);
    const QVersionNumber ours = QVersionNumber::fromString(QLatin1String(ClipboardStore::schemaVersion));
    if (stored.isNull())
        return fail(error, notOurs);
    if (stored > ours)
        return fail(error, QStringLiteral("The history was written by a newer version of Halcy (schema %1); "
                                          "this version reads schema %2. The file was left as it is.")
                               .arg(*version, QLatin1String(ClipboardStore::schemaVersion)));
    if (stored < ours) {
        *state = SchemaState::older;
        return true;
    }

    QSqlQuery columns(database);
    if (!columns.exec(QStringLiteral("PRAGMA table_info(ClipboardRecord)")))
        return failQuery(error, "Could not read the history table", columns);
    QStringList present;
    while (columns.next())
        present.append(columns.value(1).toString());
    for (const QString &column : recordColumns) {
        if (!present.contains(column))
            return fail(error, QStringLiteral("The history file %1 is damaged: column %2 is missing.")
                                   .arg(displayPath, column));
    }
    *state = SchemaState::current;
    return true;
}

bool create(QSqlDatabase &database, QString *error)
{
    const char *what = "Could not create the history tables";
    return exec(database,
                QStringLiteral("CREATE TABLE metadata (key TEXT PRIMARY KEY NOT NULL, value TEXT NOT NULL)"),
                what, error) &&
           exec(database,
                QStringLiteral("CREATE TABLE ClipboardRecord ("
                               "id TEXT PRIMARY KEY NOT NULL, "
                               "title TEXT NOT NULL, "
                               "preview TEXT NOT NULL, "
                               "typeRawValue TEXT NOT NULL, "
                               "sourceAppName TEXT NOT NULL, "
                               "timestamp INTEGER NOT NULL, "
                               "isPinned INTEGER NOT NULL DEFAULT 0 CHECK (isPinned IN (0, 1)), "
                               "fingerprint TEXT NOT NULL, "
                               "textContent TEXT, "
                               "fileURLStrings TEXT NOT NULL DEFAULT '[]', "
                               "imageBookmark TEXT, "
                               "imageData BLOB)"),
                what, error) &&
           exec(database,
                QStringLiteral("CREATE INDEX ClipboardRecord_fingerprint ON ClipboardRecord (fingerprint)"),
                what, error) &&
           exec(database,
                QStringLiteral("CREATE INDEX ClipboardRecord_timestamp ON ClipboardRecord (timestamp)"), what,
                error);
}

bool writeVersion(QSqlDatabase &database, const QString &version, QString *error)
{
    QSqlQuery query(database);
    query.prepare(QStringLiteral("INSERT OR REPLACE INTO metadata (key, value) VALUES (?, ?)"));
    query.addBindValue(versionKey);
    query.addBindValue(version);
    return exec(query, "Could not record the history schema version", error);
}

bool migrate(QSqlDatabase &database, const QString &from, QString *error)
{
    QString version = from;
    for (const Migration &step : migrations) {
        if (version != QLatin1String(step.fromVersion))
            continue;
        qCInfo(lcStore) << "Migrating the history from schema" << version << "to" << step.toVersion;
        if (!step.apply(database, error))
            return false;
        version = QLatin1String(step.toVersion);
    }
    if (version != QLatin1String(ClipboardStore::schemaVersion))
        return fail(error, QStringLiteral("The history uses schema %1, which this version of Halcy cannot "
                                          "upgrade.")
                               .arg(from));
    return writeVersion(database, version, error);
}

} // namespace HistorySchema
