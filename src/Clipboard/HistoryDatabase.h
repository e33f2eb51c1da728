#pragma once

#include <QSqlDatabase>
#include <QString>

class QSqlQuery;

// What every piece of the history store does with SQLite: report a failure, run a statement, name a
// connection, hold a transaction.
namespace HistoryDatabase {

// Small enough that a second instance holding the lock cannot freeze the interface for long.
constexpr int busyTimeoutMs = 500;

// Logs `message`, hands it to `error` when given, and returns false.
bool fail(QString *error, const QString &message);
bool failQuery(QString *error, const char *what, const QSqlQuery &query);
bool exec(QSqlQuery &query, const char *what, QString *error);
bool exec(QSqlDatabase &database, const QString &sql, const char *what, QString *error);
// Unique per call, so stores and checks never share a Qt connection. GUI thread only.
QString newConnectionName(const char *role);
// Opens a read-write connection to the history at `path` (in memory when empty), configured as every
// connection that writes to it must be.
bool openConnection(QSqlDatabase &database, const QString &connectionName, const QString &path,
                    QString *error);

// BEGIN IMMEDIATE takes the write lock up front, so a read-only file or a competing writer shows up at
// the start of an operation rather than halfway through it.
class Transaction final
{
public:
    explicit Transaction(QSqlDatabase &database) : m_database(database) {}
    Transaction(const Transaction &) = delete;
    Transaction &operator=(const Transaction &) = delete;
    // Rolls back unless committed.
    ~Transaction();

    bool begin(const char *what, QString *error);
    bool commit(const char *what, QString *error);

private:
    QSqlDatabase &m_database;
    bool m_open = false;
};

} // namespace HistoryDatabase
