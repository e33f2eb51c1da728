#include "Clipboard/HistoryDatabase.h"

#include "Core/Logging.h"

#include <QSqlError>
#include <QSqlQuery>

namespace HistoryDatabase {

namespace {

// The write-ahead log shrinks back to this after a checkpoint, so one large image does not leave a
// large file behind.
constexpr qint64 walSizeLimitBytes = 4 * 1024 * 1024;
constexpr int pageCacheKiB = 1024;

} // namespace

bool fail(QString *error, const QString &message)
{
    qCWarning(lcStore).noquote() << message;
    if (error)
        *error = message;
    return false;
}

bool failQuery(QString *error, const char *what, const QSqlQuery &query)
{
    return fail(error, QStringLiteral("%1: %2").arg(QLatin1String(what), query.lastError().text()));
}

bool exec(QSqlQuery &query, const char *what, QString *error)
{
    return query.exec() || failQuery(error, what, query);
}

bool exec(QSqlDatabase &database, const QString &sql, const char *what, QString *error)
{
    QSqlQuery query(database);
    return query.exec(sql) || failQuery(error, what, query);
}

QString newConnectionName(const char *role)
{
    static quint64 counter = 0;
    return QStringLiteral("halcy.store.%1.%2").arg(QLatin1String(role)).arg(++counter);
}

bool openConnection(QSqlDatabase &database, const QString &connectionName, const QString &path,
                    QString *error)
{
    database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), connectionName);
    if (!database.isValid())
        return fail(error, QStringLiteral("The SQLite driver for the clipboard history is not available."));
    const bool persistent = !path.isEmpty();
    database.setDatabaseName(persistent ? path : QStringLiteral(":memory:"));
    database.setConnectOptions(QStringLiteral("QSQLITE_BUSY_TIMEOUT=%1").arg(busyTimeoutMs));
    if (!database.open())
        return fail(
            error,
            QStringLiteral("The clipboard history cannot be opened: %1").arg(database.lastError().text()));

    const char *what = "Could not configure the history";
    // Only takes effect on a new file; freed pages are then returned to the file system at each commit.
    if (!exec(database, QStringLiteral("PRAGMA auto_vacuum = FULL"), what, error))
        return false;
    // Deleted clips may be passwords: overwrite their bytes instead of leaving them in free pages.
    if (!exec(database, QStringLiteral("PRAGMA secure_delete = ON"), what, error))
        return false;
    // Large copies pass through the page cache; a small one gives their memory back at once.
    if (!exec(database, QStringLiteral("PRAGMA cache_size = -%1").arg(pageCacheKiB), what, error))
        return false;
    if (!persistent)
        return true;

    QSqlQuery mode(database);
    if (!mode.exec(QStringLiteral("PRAGMA journal_mode = WAL")) || !mode.next())
        return failQuery(error, "Could not configure the history journal", mode);
    if (mode.value(0).toString().compare(QLatin1String("wal"), Qt::CaseInsensitive) != 0) {
        // Some network file systems cannot share memory; the rollback journal is just as safe, only slower.
        qCWarning(lcStore) << "Write-ahead logging unavailable for" << path << "- using journal mode"
                           << mode.value(0).toString();
    }
    mode.finish();
    // With the write-ahead log, NORMAL never corrupts and never loses a commit when the process dies; only
    // a power cut or kernel crash can roll back the last commits, which is acceptable for clipboard history.
    return exec(database, QStringLiteral("PRAGMA synchronous = NORMAL"), what, error) &&
           exec(database, QStringLiteral("PRAGMA journal_size_limit = %1").arg(walSizeLimitBytes), what,
                error);
}

Transaction::~Transaction()
{
    if (m_open) {
        QSqlQuery query(m_database);
        if (!query.exec(QStringLiteral("ROLLBACK")))
            qCWarning(lcStore) << "Rollback failed:" << query.lastError().text();
    }
}

bool Transaction::begin(const char *what, QString *error)
{
    m_open = exec(m_database, QStringLiteral("BEGIN IMMEDIATE"), what, error);
    return m_open;
}

bool Transaction::commit(const char *what, QString *error)
{
    if (!exec(m_database, QStringLiteral("COMMIT"), what, error))
        return false;
    m_open = false;
    return true;
}

} // namespace HistoryDatabase
