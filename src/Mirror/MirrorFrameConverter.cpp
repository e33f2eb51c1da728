#include "Mirror/MirrorFrameConverter.h"

#include <QVideoFrame>
#include <QVideoFrameFormat>

#include <algorithm>

namespace {

// BT.601 with video-range luma, the usual encoding of webcam YUV.
inline QRgb rgbFromYuv(int y, int u, int v)
{
    const int c = 298 * (y - 16) + 128;
    const int d = u - 128;
    const int e = v - 128;
    const int r = std::clamp((c + 409 * e) >> 8, 0, 255);
    const int g = std::clamp((c - 100 * d - 208 * e) >> 8, 0, 255);
    const int b = std::clamp((c + 516 * d) >> 8, 0, 255);
    return qRgb(r, g, b);
}

// Two pixels share one U and one V: byte offsets of Y0, U, Y1, V inside each 4-byte group.
QImage fromPacked422(const QVideoFrame &frame, int y0, int u, int y1, int v)
{
    QImage image(frame.width(), frame.height(), QImage::Format_RGB32);
    for (int row = 0; row < frame.height(); ++row) {
        const uchar *src = frame.bits(0) + row * frame.bytesPerLine(0);
        auto *dst = reinterpret_cast<QRgb *>(image.scanLine(row));
        for (int x = 0; x + 1 < frame.width(); x += 2, src += 4) {
            dst[x] = rgbFromYuv(src[y0], src[u], src[v]);
            dst[x + 1] = rgbFromYuv(src[y1], src[u], src[v]);
        }
    }
    return image;
}

// Full-resolution luma and quarter-resolution chroma, interleaved (NV12/NV21) or in two planes.
QImage fromPlanar420(const QVideoFrame &frame, int uPlane, int vPlane, int uOffset, int vOffset,
                     int chromaStep)
{
    QImage image(frame.width(), frame.height(), QImage::Format_RGB32);
    for (int row = 0; row < frame.height(); ++row) {
        const uchar *luma = frame.bits(0) + row * frame.bytesPerLine(0);
        const uchar *us = frame.bits(uPlane) + (row / 2) * frame.bytesPerLine(uPlane) + uOffset;
        const uchar *vs = frame.bits(vPlane) + (row / 2) * frame.bytesPerLine(vPlane) + vOffset;
        auto *dst = reinterpret_cast<QRgb *>(image.scanLine(row));
        for (int x = 0; x < frame.width(); ++x) {
            const int c = (x / 2) * chromaStep;
            dst[x] = rgbFromYuv(luma[x], us[c], vs[c]);
        }
    }
    return image;
}

QImage convertMapped(const QVideoFrame &frame)
{
    using Format = QVideoFrameFormat;
    switch (frame.pixelFormat()) {
    case Format::Format_YUYV:
        return fromPacked422(frame, 0, 1, 2, 3);
    case Format::Format_UYVY:
        return fromPacked422(frame, 1, 0, 3, 2);
    case Format::Format_NV12:
        return fromPlanar420(frame, 1, 1, 0, 1, 2);
    case Format::Format_NV21:
        return fromPlanar420(frame, 1, 1, 1, 0, 2);
    case Format::Format_YUV420P:
        return fromPlanar420(frame, 1, 2, 0, 0, 1);
    case Format::Format_YV12:
        return fromPlanar420(frame, 2, 1, 0, 0, 1);
    case Format::Format_Jpeg:
        return QImage::fromData(frame.bits(0), frame.mappedBytes(0), "JPG");
    default:
        break;
    }
    const QImage::Format imageFormat = QVideoFrameFormat::imageFormatFromPixelFormat(frame.pixelFormat());
    if (imageFormat == QImage::Format_Invalid)
        return {};
    return QImage(frame.bits(0), frame.width(), frame.height(), frame.bytesPerLine(0), imageFormat).copy();
}

} // namespace

namespace MirrorFrameConverter {

QImage toImage(const QVideoFrame &frame)
{
    QVideoFrame mapped(frame);
    if (!mapped.isValid() || !mapped.map(QVideoFrame::ReadOnly))
        return {};
    QImage image = convertMapped(mapped);
    mapped.unmap();
    return image.isNull() ? frame.toImage() : image;
}

} // namespace MirrorFrameConverter
