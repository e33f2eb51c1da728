#pragma once

#include <QImage>

class QVideoFrame;

// Camera frames to images on the CPU. Qt 6.4's own conversion renders through OpenGL whenever the
// platform offers it, which without a GPU (Mesa's software rasteriser) costs a context per thread,
// about 90 MB and most of a core's time for a 640×480 preview; the formats cameras deliver are
// converted here instead, anything else still by Qt.
namespace MirrorFrameConverter {

QImage toImage(const QVideoFrame &frame);

} // namespace MirrorFrameConverter
