#include "Mirror/MirrorFrameSource.h"

#include <QMetaObject>

void MirrorFrameSource::publish(const QImage &frame)
{
    {
        QMutexLocker locker(&m_mutex);
        m_latest = frame;
        if (!frame.isNull())
            ++m_count;
        if (m_notifyPending)
            return;
        m_notifyPending = true;
    }
    QMetaObject::invokeMethod(
        this,
        [this] {
            {
                QMutexLocker locker(&m_mutex);
                m_notifyPending = false;
            }
            emit frameChanged();
        },
        Qt::QueuedConnection);
}

QImage MirrorFrameSource::latest() const
{
    QMutexLocker locker(&m_mutex);
    return m_latest;
}

quint64 MirrorFrameSource::frameCount() const
{
    QMutexLocker locker(&m_mutex);
    return m_count;
}
