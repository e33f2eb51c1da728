#pragma once

#include "Mirror/MirrorShape.h"

#include <QList>
#include <QPainterPath>
#include <QRect>
#include <QRegion>
#include <QSize>

// Where the bubble sits and how large it is; the rules are the same on every desktop.
namespace MirrorGeometry {

inline constexpr QRect initialFrame{160, 160, 300, 300};
inline constexpr int minimumWidth = 140;
inline constexpr int maximumWidth = 900;
inline constexpr qreal cornerRadius = 22;
// Width change per scrolled degree of a wheel (a notch is 15 degrees).
inline constexpr qreal resizePerDegree = 0.0035;

// Width : height.
QSize aspect(MirrorShape shape);
// Same origin and width, height from the shape's aspect.
QRect withAspect(const QRect &frame, MirrorShape shape);
// Grows or shrinks by `degrees` of wheel rotation around the frame's centre, 140…900 wide.
QRect scrolled(const QRect &frame, qreal degrees, const QSize &aspect);
// Inside the first visible area the frame touches, else the main one (the first listed); shrunk to fit,
// aspect kept, when larger.
QRect keptOnScreen(const QRect &frame, const QList<QRect> &visibleAreas);
// The outline of the shape in a frame of `size` at the origin.
QPainterPath outline(MirrorShape shape, const QSizeF &size);
// What of the window takes input and is drawn without a compositor.
QRegion mask(MirrorShape shape, const QSize &size);

} // namespace MirrorGeometry
