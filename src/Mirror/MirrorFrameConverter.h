#pragma once

#include <QImage>

class QSize;
class QVideoFrame;

// Camera frames to images on the CPU. Qt 6.4's own conversion renders through OpenGL whenever the
// platform offers it, which without a GPU (Mesa's software rasteriser) costs a context per thread,
// about 90 MB and most of a core's time for a 640×480 preview; the formats cameras deliver are
// converted here instead, anything else still by Qt.
namespace MirrorFrameConverter {

// The whole frame at full resolution, as a snap keeps it.
QImage toImage(const QVideoFrame &frame);

// The frame as the preview shows it: the centre, cropped to the aspect of `size`, at exactly `size`,
// mirrored when asked. A frame larger than that is averaged down while it is converted, so a small
// bubble costs a fraction of a full conversion.
QImage toPreview(const QVideoFrame &frame, const QSize &size, bool mirrored);

} // namespace MirrorFrameConverter
