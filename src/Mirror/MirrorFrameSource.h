#pragma once

#include <QImage>
#include <QMutex>
#include <QObject>
#include <QSize>
#include <QtQml/qqmlregistration.h>

// The newest preview frame, handed from the camera's threads to the GUI thread. Publishing never
// blocks on the GUI: a frame that arrives before the last one was drawn simply replaces it. The preview
// says how it shows frames, so that the camera side prepares each one that way and the GUI thread only
// copies it to the screen.
class MirrorFrameSource : public QObject
{
    Q_OBJECT
    // Known to QML as the type of the preview's frames, so its bindings are checked.
    QML_ANONYMOUS
public:
    struct Presentation
    {
        // Device pixels; empty while nothing shows the frames.
        QSize size;
        bool mirrored = false;
        bool operator==(const Presentation &other) const
        {
            return size == other.size && mirrored == other.mirrored;
        }
    };

    struct Frame
    {
        QImage image;
        bool mirrored = false;
    };

    using QObject::QObject;

    // Any thread.
    void publish(const Frame &frame);
    void clear() { publish({}); }
    Frame latest() const;
    quint64 frameCount() const;
    Presentation presentation() const;

    // GUI thread.
    void setPresentation(const Presentation &presentation);

signals:
    // GUI thread, at most one pending at a time.
    void frameChanged();

private:
    mutable QMutex m_mutex;
    Frame m_latest;
    Presentation m_presentation;
    quint64 m_count = 0;
    bool m_notifyPending = false;
};
