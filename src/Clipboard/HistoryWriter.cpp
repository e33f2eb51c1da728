#include "Clipboard/HistoryWriter.h"

#include "Clipboard/HistoryDatabase.h"
#include "Core/Logging.h"
#include "Platform/ThreadPriority.h"

#include <QObject>
#include <QSqlDatabase>
#include <QThread>

HistoryWriter::HistoryWriter(QString connectionName) : m_connectionName(std::move(connectionName)) {}

std::unique_ptr<HistoryWriter> HistoryWriter::start(const QString &path, const QString &connectionName,
                                                    QString *error)
{
    std::unique_ptr<HistoryWriter> writer(new HistoryWriter(connectionName));
    writer->m_thread = std::make_unique<QThread>();
    writer->m_thread->setObjectName(QStringLiteral("history writer"));
    writer->m_context = std::make_unique<QObject>();
    writer->m_context->moveToThread(writer->m_thread.get());
    writer->m_thread->start();

    // A connection belongs to the thread that opened it.
    bool opened = false;
    HistoryWriter *self = writer.get();
    QMetaObject::invokeMethod(
        writer->m_context.get(),
        [self, path, error, &opened] {
            ThreadPriority::yieldToInteractiveWork();
            self->m_database = std::make_unique<QSqlDatabase>();
            opened = HistoryDatabase::openConnection(*self->m_database, self->m_connectionName, path, error);
        },
        Qt::BlockingQueuedConnection);
    if (!opened)
        return nullptr;
    return writer;
}

HistoryWriter::~HistoryWriter()
{
    if (!m_thread)
        return;
    QMetaObject::invokeMethod(
        m_context.get(),
        [this] {
            if (m_database) {
                m_database->close();
                m_database.reset();
            }
            if (QSqlDatabase::contains(m_connectionName))
                QSqlDatabase::removeDatabase(m_connectionName);
            m_context->moveToThread(nullptr);
            QThread::currentThread()->quit();
        },
        Qt::QueuedConnection);
    m_thread->wait();
}

void HistoryWriter::post(Job job)
{
    QMetaObject::invokeMethod(
        m_context.get(), [this, job = std::move(job)] { job(*m_database); }, Qt::QueuedConnection);
}

void HistoryWriter::waitForIdle()
{
    QMetaObject::invokeMethod(
        m_context.get(), [] {}, Qt::BlockingQueuedConnection);
}
