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
    // Every camera format of a red frame becomes the same red image.
    void cameraFormatsBecomeTheSameImage_data()
    {
        QTest::addColumn<int>("format");
        QTest::addColumn<QByteArrayList>("planes");
        QTest::addRow("YUYV, the usual webcam format")
            << int(Format::Format_YUYV) << QByteArrayList{"515a51f0"};
        QTest::addRow("UYVY") << int(Format::Format_UYVY) << QByteArrayList{"5a51f051"};
        QTest::addRow("NV12") << int(Format::Format_NV12) << QByteArrayList{"51", "5af0"};
        QTest::addRow("NV21, chroma swapped") << int(Format::Format_NV21) << QByteArrayList{"51", "f05a"};
        QTest::addRow("I420 in three planes")
            << int(Format::Format_YUV420P) << QByteArrayList{"51", "5a", "f0"};
        QTest::addRow("YV12, planes swapped") << int(Format::Format_YV12) << QByteArrayList{"51", "f0", "5a"};
        QTest::addRow("32-bit RGB") << int(Format::Format_BGRX8888) << QByteArrayList{bgrxRed};
    }

    void cameraFormatsBecomeTheSameImage()
    {
        QFETCH(int, format);
        QFETCH(QByteArrayList, planes);
        const QImage image = MirrorFrameConverter::toImage(frameOf(format, QSize(4, 2), planes));
        QCOMPARE(image.size(), QSize(4, 2));
        for (const QPoint at : {QPoint(0, 0), QPoint(3, 1)})
            QVERIFY2(near(image.pixelColor(at), Qt::red, 5), qPrintable(image.pixelColor(at).name()));
    }

    // A 12×4 frame, green edges two pixels wide, red up to the middle and blue after it, previewed.
    void previewFramesAreCroppedScaledAndMirrored_data()
    {
        QTest::addColumn<int>("format");
        QTest::addColumn<QSize>("size");
        QTest::addColumn<bool>("mirrored");
        QTest::addColumn<QColor>("left");
        const auto yuyv = int(Format::Format_YUYV);
        QTest::addRow("the sides cropped to the aspect, blocks averaged")
            << yuyv << QSize(4, 2) << false << QColor(Qt::red);
        QTest::addRow("mirrored: the sides swap") << yuyv << QSize(4, 2) << true << QColor(Qt::blue);
        QTest::addRow("larger than the crop: scaled up") << yuyv << QSize(16, 8) << true << QColor(Qt::blue);
        QTest::addRow("an RGB frame too")
            << int(Format::Format_BGRX8888) << QSize(4, 2) << true << QColor(Qt::blue);
    }

    void previewFramesAreCroppedScaledAndMirrored()
    {
        QFETCH(int, format);
        QFETCH(QSize, size);
        QFETCH(bool, mirrored);
        QFETCH(QColor, left);
        const QByteArray row =
            format == int(Format::Format_YUYV)
                ? yuyvGreen + yuyvRed.repeated(2) + yuyvBlue.repeated(2) + yuyvGreen
                : bgrxGreen.repeated(2) + bgrxRed.repeated(4) + bgrxBlue.repeated(4) + bgrxGreen.repeated(2);
        const QImage image =
            MirrorFrameConverter::toPreview(frameOf(format, QSize(12, 4), {row}), size, mirrored);
        QCOMPARE(image.size(), size);
        const QColor right = left == QColor(Qt::red) ? QColor(Qt::blue) : QColor(Qt::red);
        const QPoint last(size.width() - 1, size.height() - 1);
        QVERIFY2(near(image.pixelColor(0, 0), left, 15), qPrintable(image.pixelColor(0, 0).name()));
        QVERIFY2(near(image.pixelColor(last), right, 15), qPrintable(image.pixelColor(last).name()));
    }
};

QTEST_MAIN(tst_MirrorFrameConverter)
#include "tst_mirrorframeconverter.moc"
