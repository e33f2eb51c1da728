#include "Mirror/MirrorFrameConverter.h"

#include <QGuiApplication>
#include <QTest>
#include <QVideoFrame>
#include <QVideoFrameFormat>

namespace {

using Format = QVideoFrameFormat;

// A frame each of whose plane rows repeats the bytes given for that plane.
QVideoFrame frameOf(int format, const QSize &size, const QByteArrayList &planes)
{
    QVideoFrame frame(QVideoFrameFormat(size, QVideoFrameFormat::PixelFormat(format)));
    if (!frame.map(QVideoFrame::WriteOnly))
        return {};
    for (int p = 0; p < planes.size(); ++p) {
        const QByteArray pattern = QByteArray::fromHex(planes[p]);
        for (int i = 0; i < frame.mappedBytes(p); ++i)
            frame.bits(p)[i] = uchar(pattern[i % frame.bytesPerLine(p) % pattern.size()]);
    }
    frame.unmap();
    return frame;
}

bool near(const QColor &a, const QColor &b, int tolerance)
{
    return std::abs(a.red() - b.red()) <= tolerance && std::abs(a.green() - b.green()) <= tolerance &&
           std::abs(a.blue() - b.blue()) <= tolerance;
}

// Video-range BT.601 as YUYV pixel pairs, and the same colours as BGRX pixels.
const QByteArray yuyvGreen = "91369122", yuyvRed = "515a51f0", yuyvBlue = "29f0296e";
const QByteArray bgrxGreen = "00ff00ff", bgrxRed = "0000ffff", bgrxBlue = "ff0000ff";

} // namespace

class tst_MirrorFrameConverter : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // A red 4×2 frame in every camera format becomes the same red image. Previews are of a 12×4 frame:
    // green edges two pixels wide, red up to the middle and blue after it; mirrored, the sides swap.
    void frames_data()
    {
        QTest::addColumn<int>("format");
        QTest::addColumn<QByteArrayList>("planes");
        QTest::addColumn<QSize>("preview"); // none: the full image
        QTest::addColumn<bool>("mirrored");
        const auto row = [](const char *name, Format::PixelFormat format, QByteArrayList planes,
                            QSize preview = {}, bool mirrored = false) {
            QTest::addRow("%s", name) << int(format) << planes << preview << mirrored;
        };
        row("YUYV, the usual webcam format", Format::Format_YUYV, {yuyvRed});
        row("UYVY", Format::Format_UYVY, {"5a51f051"});
        row("NV12", Format::Format_NV12, {"51", "5af0"});
        row("NV21, chroma swapped", Format::Format_NV21, {"51", "f05a"});
        row("I420 in three planes", Format::Format_YUV420P, {"51", "5a", "f0"});
        row("YV12, planes swapped", Format::Format_YV12, {"51", "f0", "5a"});
        row("32-bit RGB", Format::Format_BGRX8888, {bgrxRed});
        const QByteArrayList yuyvHalves{yuyvGreen + yuyvRed.repeated(2) + yuyvBlue.repeated(2) + yuyvGreen};
        const auto yuyv = Format::Format_YUYV;
        row("preview: the sides cropped to the aspect, blocks averaged", yuyv, yuyvHalves, {4, 2});
        row("mirrored", yuyv, yuyvHalves, {4, 2}, true);
        row("larger than the crop: scaled up", yuyv, yuyvHalves, {16, 8}, true);
        const QByteArray bgrxHalves = bgrxGreen.repeated(2) + bgrxRed.repeated(4) + bgrxBlue.repeated(4);
        row("an RGB preview", Format::Format_BGRX8888, {bgrxHalves + bgrxGreen.repeated(2)}, {4, 2}, true);
    }

    void frames()
    {
        QFETCH(int, format);
        QFETCH(QByteArrayList, planes);
        QFETCH(QSize, preview);
        QFETCH(bool, mirrored);
        const QVideoFrame frame = frameOf(format, preview.isValid() ? QSize(12, 4) : QSize(4, 2), planes);
        const QImage image = preview.isValid() ? MirrorFrameConverter::toPreview(frame, preview, mirrored)
                                               : MirrorFrameConverter::toImage(frame);
        QCOMPARE(image.size(), preview.isValid() ? preview : QSize(4, 2));
        const QColor left = mirrored ? Qt::blue : Qt::red;
        const QColor right = preview.isValid() && !mirrored ? Qt::blue : Qt::red;
        const int tolerance = preview.isValid() ? 15 : 5;
        QVERIFY2(near(image.pixelColor(0, 0), left, tolerance), qPrintable(image.pixelColor(0, 0).name()));
        const QColor last = image.pixelColor(image.width() - 1, image.height() - 1);
        QVERIFY2(near(last, right, tolerance), qPrintable(last.name()));
    }
};

QTEST_MAIN(tst_MirrorFrameConverter)
#include "tst_mirrorframeconverter.moc"
