#include "Clipboard/HistoryDatabase.h"

#include "Core/Logging.h"

#include <QSqlError>
#include <QSqlQuery>

namespace HistoryDatabase {

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
