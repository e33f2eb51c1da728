#pragma once

#include <QString>

#include <functional>
#include <memory>

class QObject;
class QSqlDatabase;
class QThread;

// The history file's one writer: a thread with a connection of its own that runs writes one after
// another in the order they were posted, so that the GUI thread never waits for the disk (large blobs,
// commits, log checkpoints).
class HistoryWriter final
{
public:
    using Job = std::function<void(QSqlDatabase &database)>;

    // Opens `path` on a new thread with the settings every writer uses; nothing when it cannot.
    static std::unique_ptr<HistoryWriter> start(const QString &path, const QString &connectionName,
                                                QString *error);
    // Runs every job posted so far, then closes the connection and ends the thread.
    ~HistoryWriter();
    HistoryWriter(const HistoryWriter &) = delete;
    HistoryWriter &operator=(const HistoryWriter &) = delete;

    void post(Job job);
    // Returns once every job posted before has run.
    void waitForIdle();

private:
    HistoryWriter(QString connectionName);

    QString m_connectionName;
    std::unique_ptr<QThread> m_thread;
    std::unique_ptr<QObject> m_context;
    std::unique_ptr<QSqlDatabase> m_database;
};
