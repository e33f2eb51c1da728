#pragma once

#include <QImage>
#include <QMutex>
#include <QObject>

// The newest preview frame, handed from the camera's threads to the GUI thread. Publishing never
// blocks on the GUI: a frame that arrives before the last one was drawn simply replaces it.
class MirrorFrameSource final : public QObject
{
    Q_OBJECT
public:
    using QObject::QObject;

    // Any thread.
    void publish(const QImage &frame);
    void clear() { publish(QImage()); }
    QImage latest() const;
    quint64 frameCount() const;

signals:
    // GUI thread, at most one pending at a time.
    void frameChanged();

private:
    mutable QMutex m_mutex;
    QImage m_latest;
    quint64 m_count = 0;
    bool m_notifyPending = false;
};
