#include "Mirror/MirrorFrameSource.h"

#include <QMetaObject>

void MirrorFrameSource::publish(const Frame &frame)
{
    {
        QMutexLocker locker(&m_mutex);
        m_latest = frame;
        if (!frame.image.isNull())
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

MirrorFrameSource::Frame MirrorFrameSource::latest() const
{
    QMutexLocker locker(&m_mutex);
    return m_latest;
}

quint64 MirrorFrameSource::frameCount() const
{
    QMutexLocker locker(&m_mutex);
    return m_count;
}

MirrorFrameSource::Presentation MirrorFrameSource::presentation() const
{
    QMutexLocker locker(&m_mutex);
    return m_presentation;
}

void MirrorFrameSource::setPresentation(const Presentation &presentation)
{
    QMutexLocker locker(&m_mutex);
    m_presentation = presentation;
}
