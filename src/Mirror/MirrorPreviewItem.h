#pragma once

#include <QPointer>
#include <QQuickPaintedItem>
#include <QtQml/qqmlregistration.h>

#include "Mirror/MirrorFrameSource.h"

// Draws the newest camera frame filling the item (cropped, never stretched), mirrored when asked and
// clipped to the bubble's shape with smooth edges. It only reads the newest frame when it repaints, so
// a slow scene never holds up the camera. It tells the frames its size and orientation, so that they
// arrive ready to copy, and nothing at all while hidden, so that none are converted for nobody.
class MirrorPreviewItem : public QQuickPaintedItem
{
    Q_OBJECT
    QML_NAMED_ELEMENT(MirrorPreview)
    Q_PROPERTY(MirrorFrameSource *frames READ frames WRITE setFrames NOTIFY framesChanged)
    Q_PROPERTY(bool mirrored READ mirrored WRITE setMirrored NOTIFY mirroredChanged)
    Q_PROPERTY(QString shape READ shape WRITE setShape NOTIFY shapeChanged)
    Q_PROPERTY(bool hasFrame READ hasFrame NOTIFY hasFrameChanged)

public:
    explicit MirrorPreviewItem(QQuickItem *parent = nullptr);

    MirrorFrameSource *frames() const { return m_frames; }
    void setFrames(MirrorFrameSource *frames);
    bool mirrored() const { return m_mirrored; }
    void setMirrored(bool mirrored);
    QString shape() const { return m_shape; }
    void setShape(const QString &shape);
    bool hasFrame() const { return m_hasFrame; }

    void paint(QPainter *painter) override;

protected:
    void geometryChange(const QRectF &newGeometry, const QRectF &oldGeometry) override;
    void itemChange(ItemChange change, const ItemChangeData &value) override;

signals:
    void framesChanged();
    void mirroredChanged();
    void shapeChanged();
    void hasFrameChanged();
    // After each repaint that drew a camera frame; benchmarks count these.
    void frameDrawn();

private:
    void updatePresentation();

    QPointer<MirrorFrameSource> m_frames;
    bool m_mirrored = true;
    QString m_shape = QStringLiteral("roundedRectangle");
    bool m_hasFrame = false;
};
