#include "Mirror/MirrorGeometry.h"

#include <QtMath>

namespace MirrorGeometry {

QSize aspect(MirrorShape shape)
{
    return shape == MirrorShape::roundedRectangle ? QSize(4, 3) : QSize(1, 1);
}

QRect withAspect(const QRect &frame, MirrorShape shape)
{
    const QSize ratio = aspect(shape);
    return {frame.topLeft(),
            QSize(frame.width(), qRound(frame.width() * qreal(ratio.height()) / ratio.width()))};
}

QRect scrolled(const QRect &frame, qreal degrees, const QSize &aspect)
{
    if (qFuzzyIsNull(degrees))
        return frame;
    const qreal width =
        qBound(qreal(minimumWidth), frame.width() * (1 + degrees * resizePerDegree), qreal(maximumWidth));
    const qreal ratio = aspect.width() > 0 ? qreal(aspect.height()) / aspect.width()
                                           : qreal(frame.height()) / qMax(frame.width(), 1);
    const qreal height = width * ratio;
    const QPointF centre = QRectF(frame).center();
    return QRectF(centre.x() - width / 2, centre.y() - height / 2, width, height).toRect();
}

QRect keptOnScreen(const QRect &frame, const QList<QRect> &visibleAreas)
{
    if (visibleAreas.isEmpty())
        return frame;
    QRect area = visibleAreas.first();
    for (const QRect &candidate : visibleAreas) {
        if (candidate.intersects(frame)) {
            area = candidate;
            break;
        }
    }
    // Shrunk as a whole, so that the bubble keeps its shape's aspect.
    const qreal scale = qMin(1.0, qMin(qreal(area.width()) / qMax(frame.width(), 1),
                                       qreal(area.height()) / qMax(frame.height(), 1)));
    const int width = qMin(area.width(), qRound(frame.width() * scale));
    const int height = qMin(area.height(), qRound(frame.height() * scale));
    const int x = qMin(qMax(frame.x(), area.x()), area.x() + area.width() - width);
    const int y = qMin(qMax(frame.y(), area.y()), area.y() + area.height() - height);
    return {x, y, width, height};
}

QPainterPath outline(MirrorShape shape, const QSizeF &size)
{
    QPainterPath path;
    const QRectF bounds(QPointF(0, 0), size);
    switch (shape) {
    case MirrorShape::roundedRectangle:
        path.addRoundedRect(bounds, cornerRadius, cornerRadius);
        break;
    case MirrorShape::circle:
        path.addEllipse(bounds);
        break;
    case MirrorShape::square:
        path.addRect(bounds);
        break;
    }
    return path;
}

QRegion mask(MirrorShape shape, const QSize &size)
{
    if (shape == MirrorShape::square)
        return QRegion(QRect(QPoint(0, 0), size));
    return QRegion(outline(shape, size).toFillPolygon().toPolygon());
}

} // namespace MirrorGeometry
