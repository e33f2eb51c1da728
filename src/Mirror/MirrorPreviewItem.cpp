#include "Mirror/MirrorPreviewItem.h"

#include "Core/EnumNames.h"
#include "Mirror/MirrorFrameSource.h"
#include "Mirror/MirrorGeometry.h"

#include <QPainter>

MirrorPreviewItem::MirrorPreviewItem(QQuickItem *parent) : QQuickPaintedItem(parent)
{
    setAntialiasing(true);
    setOpaquePainting(false);
}

void MirrorPreviewItem::setFrames(MirrorFrameSource *frames)
{
    if (frames == m_frames)
        return;
    if (m_frames)
        disconnect(m_frames, nullptr, this, nullptr);
    m_frames = frames;
    if (m_frames)
        connect(m_frames, &MirrorFrameSource::frameChanged, this, [this] {
            const bool hasFrame = m_frames && !m_frames->latest().isNull();
            if (hasFrame != m_hasFrame) {
                m_hasFrame = hasFrame;
                emit hasFrameChanged();
            }
            update();
        });
    emit framesChanged();
    update();
}

void MirrorPreviewItem::setMirrored(bool mirrored)
{
    if (mirrored == m_mirrored)
        return;
    m_mirrored = mirrored;
    emit mirroredChanged();
    update();
}

void MirrorPreviewItem::setShape(const QString &shape)
{
    if (shape == m_shape)
        return;
    m_shape = shape;
    emit shapeChanged();
    update();
}

void MirrorPreviewItem::paint(QPainter *painter)
{
    const QImage frame = m_frames ? m_frames->latest() : QImage();
    if (frame.isNull())
        return;

    const QSizeF area = size();
    const MirrorShape shape = enumFromName<MirrorShape>(m_shape).value_or(MirrorShape::roundedRectangle);
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setRenderHint(QPainter::SmoothPixmapTransform);
    painter->setClipPath(MirrorGeometry::outline(shape, area));

    // Fill the item and crop the overflow, as a camera viewfinder does.
    const qreal scale = qMax(area.width() / frame.width(), area.height() / frame.height());
    const QSizeF drawn(frame.width() * scale, frame.height() * scale);
    QRectF target(QPointF((area.width() - drawn.width()) / 2, (area.height() - drawn.height()) / 2), drawn);
    if (m_mirrored) {
        painter->translate(area.width(), 0);
        painter->scale(-1, 1);
    }
    painter->drawImage(target, frame);
    emit frameDrawn();
}
