#pragma once

#include "Platform/Pasteboard.h"

#include <QByteArray>
#include <QList>
#include <QMutex>

#include <functional>
#include <memory>

#include <xcb/xcb.h>

class QThread;
class X11ClipboardSession;

// Reads the CLIPBOARD selection on a thread of its own, over its own connection to the X server and
// with its own unmapped window, so that a huge copy or an owner that stops answering never holds up
// the GUI thread. Transfers follow the selection protocol, INCR included; each gives up after
// transferTimeoutMs without progress, and as soon as it passes the size limit of its type.
class X11ClipboardReader final
{
public:
    static constexpr int transferTimeoutMs = 2000;

    // Called on the reader's thread with every answer.
    using Delivery = std::function<void(quint64 requestId, const PasteboardContent &content)>;

    // Nothing when no connection to `displayName` can be made.
    static std::unique_ptr<X11ClipboardReader> create(const QByteArray &displayName, Delivery deliver);
    ~X11ClipboardReader();

    // Queues a read and returns its id. The newest request wins: queued older ones are answered
    // `superseded`, and one in progress gives up as soon as it notices.
    quint64 request(PasteboardRequest request);

private:
    struct Job
    {
        quint64 id = 0;
        PasteboardRequest request;
    };

    X11ClipboardReader(xcb_connection_t *connection, int screenNumber, Delivery deliver);
    void run();
    // Blocks until there is work; nothing when the reader is stopping.
    std::optional<Job> takeNewestJob(X11ClipboardSession &session);
    // A newer request is waiting or the reader is stopping: the current transfer is moot.
    bool isInterrupted();
    void answerSuperseded(const QList<Job> &jobs);

    xcb_connection_t *m_connection;
    int m_screenNumber;
    Delivery m_deliver;
    // Wakes the reader from its wait on the X connection (eventfd).
    int m_wakeFd = -1;
    std::unique_ptr<QThread> m_thread;

    QMutex m_mutex;
    QList<Job> m_queue;
    quint64 m_nextId = 1;
    bool m_stopping = false;
};
