#pragma once

#include <QSqlDatabase>
#include <QString>
#include <QStringList>

// The tables of the history, the version recorded with them, and the ordered migrations from older
// versions.
namespace HistorySchema {

enum class SchemaState
{
    empty,
    current,
    older
};

// Every column of ClipboardRecord, named after the record's fields.
extern const QStringList recordColumns;

// What the database holds: nothing yet, this version, or an older one to migrate (`version` says
// which). Fails for a file that is not a history or was written by a newer version. Only reads, so it
// works on a read-only connection.
bool inspect(QSqlDatabase &database, const QString &displayPath, SchemaState *state, QString *version,
             QString *error);
bool create(QSqlDatabase &database, QString *error);
bool writeVersion(QSqlDatabase &database, const QString &version, QString *error);
bool migrate(QSqlDatabase &database, const QString &from, QString *error);

} // namespace HistorySchema
