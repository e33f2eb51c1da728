#include "Mirror/MirrorFrameConverter.h"

#include <QVideoFrame>
#include <QVideoFrameFormat>

#include <algorithm>
#include <optional>

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

// Where the samples of a YUV format lie: luma in plane 0 every `lumaStep` bytes; one U and one V per
// two pixels across, every `chromaStep` bytes, on every row (4:2:2) or every second row (4:2:0).
struct YuvLayout
{
    int lumaStep;
    int lumaOffset;
    int uPlane;
    int vPlane;
    int uOffset;
    int vOffset;
    int chromaStep;
    int chromaRowShift;
};

std::optional<YuvLayout> yuvLayout(QVideoFrameFormat::PixelFormat format)
{
    using Format = QVideoFrameFormat;
    static constexpr struct
    {
        Format::PixelFormat format;
        YuvLayout layout;
    } layouts[] = {
        {Format::Format_YUYV, {2, 0, 0, 0, 1, 3, 4, 0}},    {Format::Format_UYVY, {2, 1, 0, 0, 0, 2, 4, 0}},
        {Format::Format_NV12, {1, 0, 1, 1, 0, 1, 2, 1}},    {Format::Format_NV21, {1, 0, 1, 1, 1, 0, 2, 1}},
        {Format::Format_YUV420P, {1, 0, 1, 2, 0, 0, 1, 1}}, {Format::Format_YV12, {1, 0, 2, 1, 0, 0, 1, 1}},
    };
    for (const auto &entry : layouts) {
        if (entry.format == format)
            return entry.layout;
    }
    return std::nullopt;
}

// `crop` of a mapped frame with each `step` × `step` block of luma averaged into one pixel (chroma is
// taken from the block's centre: it has half the resolution anyway), mirrored when asked.
QImage fromYuv(const QVideoFrame &frame, const YuvLayout &layout, const QRect &crop, int step, bool mirrored)
{
    const int width = crop.width() / step;
    const int height = crop.height() / step;
    QImage image(width, height, QImage::Format_RGB32);
    const uchar *luma = frame.bits(0) + layout.lumaOffset;
    const qsizetype lumaStride = frame.bytesPerLine(0);
    const uchar *uBase = frame.bits(layout.uPlane) + layout.uOffset;
    const uchar *vBase = frame.bits(layout.vPlane) + layout.vOffset;
    const qsizetype uStride = frame.bytesPerLine(layout.uPlane);
    const qsizetype vStride = frame.bytesPerLine(layout.vPlane);
    const int area = step * step;
    for (int row = 0; row < height; ++row) {
        const int top = crop.y() + row * step;
        const int chromaRow = (top + step / 2) >> layout.chromaRowShift;
        const uchar *us = uBase + chromaRow * uStride;
        const uchar *vs = vBase + chromaRow * vStride;
        auto *dst = reinterpret_cast<QRgb *>(image.scanLine(row));
        for (int column = 0; column < width; ++column) {
            const int left = crop.x() + column * step;
            int sum = 0;
            for (int dy = 0; dy < step; ++dy) {
                const uchar *ys = luma + (top + dy) * lumaStride + left * layout.lumaStep;
                for (int dx = 0; dx < step; ++dx)
                    sum += ys[dx * layout.lumaStep];
            }
            const int c = ((left + step / 2) >> 1) * layout.chromaStep;
            dst[mirrored ? width - 1 - column : column] = rgbFromYuv(sum / area, us[c], vs[c]);
        }
    }
    return image;
}

// Formats without a YUV layout: JPEG and the RGB family.
QImage fromOther(const QVideoFrame &frame)
{
    if (frame.pixelFormat() == QVideoFrameFormat::Format_Jpeg)
        return QImage::fromData(frame.bits(0), frame.mappedBytes(0), "JPG");
    const QImage::Format imageFormat = QVideoFrameFormat::imageFormatFromPixelFormat(frame.pixelFormat());
    if (imageFormat == QImage::Format_Invalid)
        return {};
    return QImage(frame.bits(0), frame.width(), frame.height(), frame.bytesPerLine(0), imageFormat).copy();
}

// The centre of `source` with the aspect of `size`, as large as fits.
QRect centreCrop(const QSize &source, const QSize &size)
{
    const QSize cropped = size.scaled(source, Qt::KeepAspectRatio).boundedTo(source);
    return {QPoint((source.width() - cropped.width()) / 2, (source.height() - cropped.height()) / 2),
            cropped};
}

// `convert` applied to `frame` mapped for reading.
template <typename Convert> QImage mapped(const QVideoFrame &frame, Convert convert)
{
    QVideoFrame mapping(frame);
    if (!mapping.isValid() || !mapping.map(QVideoFrame::ReadOnly))
        return {};
    QImage image = convert(mapping);
    mapping.unmap();
    return image;
}

} // namespace

namespace MirrorFrameConverter {

QImage toImage(const QVideoFrame &frame)
{
    const QImage image = mapped(frame, [](const QVideoFrame &mapping) {
        if (const auto layout = yuvLayout(mapping.pixelFormat()))
            return fromYuv(mapping, *layout, QRect(QPoint(), mapping.size()), 1, false);
        return fromOther(mapping);
    });
    return image.isNull() ? frame.toImage() : image;
}

QImage toPreview(const QVideoFrame &frame, const QSize &size, bool mirrored)
{
    if (size.isEmpty() || !frame.isValid())
        return {};
    const QRect crop = centreCrop(frame.size(), size);
    if (crop.isEmpty())
        return {};
    const int step = std::max(1, std::min(crop.width() / size.width(), crop.height() / size.height()));
    QImage image = mapped(frame, [&](const QVideoFrame &mapping) {
        if (const auto layout = yuvLayout(mapping.pixelFormat()))
            return fromYuv(mapping, *layout, crop, step, mirrored);
        return QImage();
    });
    if (image.isNull()) {
        image = toImage(frame);
        if (image.isNull())
            return {};
        image = image.copy(crop).mirrored(mirrored, false);
    }
    if (image.size() != size)
        image = image.scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    return image;
}

} // namespace MirrorFrameConverter
