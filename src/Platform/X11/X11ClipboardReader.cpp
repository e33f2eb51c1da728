#include "Platform/X11/X11ClipboardReader.h"

#include "Core/Logging.h"
#include "Platform/ProcessMemory.h"
#include "Platform/ThreadPriority.h"
#include "Platform/X11/X11ClipboardSession.h"

#include <QDeadlineTimer>
#include <QElapsedTimer>
#include <QHash>
#include <QThread>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

std::unique_ptr<X11ClipboardReader> X11ClipboardReader::create(const QByteArray &displayName,
                                                               Delivery deliver)
{
    int screenNumber = 0;
    xcb_connection_t *connection =
        xcb_connect(displayName.isEmpty() ? nullptr : displayName.constData(), &screenNumber);
    if (xcb_connection_has_error(connection)) {
        qCWarning(lcPlatform) << "clipboard reader cannot connect to the X server" << displayName;
        xcb_disconnect(connection);
        return nullptr;
    }
    std::unique_ptr<X11ClipboardReader> reader(
        new X11ClipboardReader(connection, screenNumber, std::move(deliver)));
    reader->m_wakeFd = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (reader->m_wakeFd < 0) {
        qCWarning(lcPlatform) << "clipboard reader cannot create its wake-up counter:" << strerror(errno);
        return nullptr;
    }
    reader->m_thread.reset(QThread::create([r = reader.get()] { r->run(); }));
    reader->m_thread->setObjectName(QStringLiteral("clipboard reader"));
    reader->m_thread->start();
    return reader;
}

X11ClipboardReader::X11ClipboardReader(xcb_connection_t *connection, int screenNumber, Delivery deliver)
    : m_connection(connection), m_screenNumber(screenNumber), m_deliver(std::move(deliver))
{
}

X11ClipboardReader::~X11ClipboardReader()
{
    if (m_thread) {
        {
            QMutexLocker lock(&m_mutex);
            m_stopping = true;
        }
        const quint64 one = 1;
        (void)::write(m_wakeFd, &one, sizeof one);
        m_thread->wait();
    }
    if (m_wakeFd >= 0)
        ::close(m_wakeFd);
    xcb_disconnect(m_connection);
}

quint64 X11ClipboardReader::request(PasteboardRequest request)
{
    quint64 id = 0;
    {
        QMutexLocker lock(&m_mutex);
        id = m_nextId++;
        m_queue.append({id, std::move(request)});
    }
    const quint64 one = 1;
    if (::write(m_wakeFd, &one, sizeof one) < 0)
        qCWarning(lcPlatform) << "clipboard reader: cannot wake the reader:" << strerror(errno);
    return id;
}

bool X11ClipboardReader::isInterrupted()
{
    QMutexLocker lock(&m_mutex);
    return m_stopping || !m_queue.isEmpty();
}

void X11ClipboardReader::answerSuperseded(const QList<Job> &jobs)
{
    for (const Job &job : jobs) {
        PasteboardContent content;
        content.changeCount = job.request.changeCount;
        content.status = PasteboardContent::Status::superseded;
        m_deliver(job.id, content);
    }
}

std::optional<X11ClipboardReader::Job> X11ClipboardReader::takeNewestJob(X11ClipboardSession &session)
{
    for (;;) {
        std::optional<Job> newest;
        QList<Job> older;
        {
            QMutexLocker lock(&m_mutex);
            if (m_stopping)
                return std::nullopt;
            if (!m_queue.isEmpty()) {
                newest = m_queue.takeLast();
                older = std::exchange(m_queue, {});
            }
        }
        if (newest) {
            answerSuperseded(older);
            return newest;
        }
        session.idle();
    }
}

void X11ClipboardReader::run()
{
    ThreadPriority::yieldToInteractiveWork();
    X11ClipboardSession session(m_connection, m_screenNumber, m_wakeFd, [this] { return isInterrupted(); });
    while (std::optional<Job> job = takeNewestJob(session)) {
        bool handedOn = false;
        {
            const PasteboardContent content = session.read(job->request);
            if (content.status != PasteboardContent::Status::superseded && job->request.prepare)
                job->request.prepare(content);
            handedOn = content.hasPayload();
            m_deliver(job->id, content);
        }
        job.reset();
        // A huge transfer given up on (or read for nothing) would otherwise stay resident for as long as
        // the application runs. Content handed on is freed, and handed back, where it is written.
        if (!handedOn && session.bytesRead() >= ProcessMemory::worthwhileBytes)
            ProcessMemory::releaseFreed();
    }
}
