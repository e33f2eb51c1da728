#include "Clipboard/HistoryFile.h"

#include "Clipboard/HistoryDatabase.h"
#include "Core/Logging.h"

#include <QFile>
#include <QFileInfo>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QUrl>

using namespace HistoryDatabase;

namespace {

constexpr QFileDevice::Permissions modeBits =
    QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner | QFileDevice::ReadGroup |
    QFileDevice::WriteGroup | QFileDevice::ExeGroup | QFileDevice::ReadOther | QFileDevice::WriteOther |
    QFileDevice::ExeOther;

const QByteArray sqliteHeader = QByteArrayLiteral("SQLite format 3\0");

QString sqliteURI(const QString &path, const QString &parameters)
{
    return QUrl::fromLocalFile(path).toString(QUrl::FullyEncoded) + QLatin1Char('?') + parameters;
}

} // namespace

namespace HistoryFile {

// A file can be damaged behind an intact header and schema, and every write would then fail.
bool passesQuickCheck(QSqlDatabase &database, const QString &path, QString *error)
{
    QSqlQuery check(database);
    if (check.exec(QStringLiteral("PRAGMA quick_check")) && check.next() &&
        check.value(0).toString() == QLatin1String("ok"))
        return true;
    QStringList problems{check.lastError().isValid() ? check.lastError().text() : check.value(0).toString()};
    while (problems.size() < 3 && check.next())
        problems << check.value(0).toString();
    return fail(
        error,
        QStringLiteral("The history file %1 is damaged: %2").arg(path, problems.join(u' ').simplified()));
}

bool validateExisting(const QString &path, HistorySchema::SchemaState *state, QString *error)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return fail(error,
                    QStringLiteral("The history file %1 cannot be read: %2").arg(path, file.errorString()));
    if (file.size() == 0) {
        // Left behind by a start that was interrupted before SQLite wrote anything.
        *state = HistorySchema::SchemaState::empty;
        return true;
    }
    const QByteArray header = file.read(sqliteHeader.size());
    file.close();
    if (header != sqliteHeader)
        return fail(
            error,
            QStringLiteral("The file %1 is not a Halcy clipboard history; it was left as it is.").arg(path));

    const bool hasLog = QFileInfo::exists(path + QStringLiteral("-wal"));
    const QString connectionName = newConnectionName("check");
    bool ok = false;
    {
        QSqlDatabase database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), connectionName);
        database.setConnectOptions(
            QStringLiteral("QSQLITE_OPEN_READONLY;QSQLITE_OPEN_URI;QSQLITE_BUSY_TIMEOUT=%1")
                .arg(busyTimeoutMs));
        database.setDatabaseName(
            sqliteURI(path, hasLog ? QStringLiteral("mode=ro") : QStringLiteral("immutable=1")));
        if (!database.open()) {
            fail(error, QStringLiteral("The history file %1 cannot be opened: %2")
                            .arg(path, database.lastError().text()));
        } else {
            QString version;
            ok = HistorySchema::inspect(database, path, state, &version, error) &&
                 passesQuickCheck(database, path, error);
            database.close();
        }
    }
    QSqlDatabase::removeDatabase(connectionName);
    return ok;
}

void restrictPermissions(const QString &path)
{
    QFile file(path);
    if (!file.exists())
        return;
    const QFileDevice::Permissions current = file.permissions() & modeBits;
    const QFileDevice::Permissions restricted = current & ownerOnlyDirectory;
    if (current != restricted && !file.setPermissions(restricted))
        qCWarning(lcStore) << "Could not restrict the permissions of" << path;
}

} // namespace HistoryFile
