#include "Mirror/MirrorPreviewItem.h"

#include "Core/EnumNames.h"
#include "Mirror/MirrorFrameSource.h"
#include "Mirror/MirrorGeometry.h"

#include <QPainter>
#include <QQuickWindow>

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
            const bool hasFrame = m_frames && !m_frames->latest().image.isNull();
            if (hasFrame != m_hasFrame) {
                m_hasFrame = hasFrame;
                emit hasFrameChanged();
            }
            update();
        });
    updatePresentation();
    emit framesChanged();
    update();
}

void MirrorPreviewItem::setMirrored(bool mirrored)
{
    if (mirrored == m_mirrored)
        return;
    m_mirrored = mirrored;
    updatePresentation();
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

void MirrorPreviewItem::geometryChange(const QRectF &newGeometry, const QRectF &oldGeometry)
{
    QQuickPaintedItem::geometryChange(newGeometry, oldGeometry);
    if (newGeometry.size() != oldGeometry.size())
        updatePresentation();
}

void MirrorPreviewItem::itemChange(ItemChange change, const ItemChangeData &value)
{
    QQuickPaintedItem::itemChange(change, value);
    if (change == ItemVisibleHasChanged || change == ItemSceneChange ||
        change == ItemDevicePixelRatioHasChanged)
        updatePresentation();
}

void MirrorPreviewItem::updatePresentation()
{
    if (!m_frames)
        return;
    const qreal ratio = window() ? window()->effectiveDevicePixelRatio() : 1.0;
    const QSize pixels = isVisible() ? (size() * ratio).toSize() : QSize();
    m_frames->setPresentation({pixels, m_mirrored});
}

void MirrorPreviewItem::paint(QPainter *painter)
{
    const MirrorFrameSource::Frame frame = m_frames ? m_frames->latest() : MirrorFrameSource::Frame();
    if (frame.image.isNull())
        return;

    const QSizeF area = size();
    const MirrorShape shape = enumFromName<MirrorShape>(m_shape).value_or(MirrorShape::roundedRectangle);
    const QPainterPath outline = MirrorGeometry::outline(shape, area);
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setPen(Qt::NoPen);
    const qreal ratio = window() ? window()->effectiveDevicePixelRatio() : 1.0;
    if (frame.mirrored == m_mirrored && frame.image.size() == (area * ratio).toSize()) {
        // The usual case: the frame was made for this item, and fills its outline as it is.
        QImage image = frame.image;
        image.setDevicePixelRatio(ratio);
        painter->setBrush(image);
        painter->drawPath(outline);
        emit frameDrawn();
        return;
    }

    // Until a frame of the new size or orientation arrives: fill the item and crop the overflow, as a
    // camera viewfinder does.
    const QImage &image = frame.image;
    painter->setRenderHint(QPainter::SmoothPixmapTransform);
    painter->setClipPath(outline);
    const qreal scale = qMax(area.width() / image.width(), area.height() / image.height());
    const QSizeF drawn(image.width() * scale, image.height() * scale);
    const QRectF target(QPointF((area.width() - drawn.width()) / 2, (area.height() - drawn.height()) / 2),
                        drawn);
    if (frame.mirrored != m_mirrored) {
        painter->translate(area.width(), 0);
        painter->scale(-1, 1);
    }
    painter->drawImage(target, image);
    emit frameDrawn();
}
