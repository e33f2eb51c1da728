#include "Mirror/MirrorFrameConverter.h"

#include <QGuiApplication>
#include <QTest>
#include <QVideoFrame>
#include <QVideoFrameFormat>

namespace {

// Pure red in video-range BT.601.
constexpr uchar redY = 81, redU = 90, redV = 240;

// A 4×2 frame of one colour, written plane by plane as each format lays it out.
QVideoFrame redFrame(QVideoFrameFormat::PixelFormat format)
{
    QVideoFrame frame(QVideoFrameFormat(QSize(4, 2), format));
    if (!frame.map(QVideoFrame::WriteOnly))
        return {};
    const auto fill = [&](int plane, const QByteArray &pattern) {
        for (int i = 0; i < frame.mappedBytes(plane); ++i)
            frame.bits(plane)[i] = uchar(pattern[i % pattern.size()]);
    };
    const QByteArray y(1, char(redY)), u(1, char(redU)), v(1, char(redV));
    switch (format) {
    case QVideoFrameFormat::Format_YUYV:
        fill(0, y + u + y + v);
        break;
    case QVideoFrameFormat::Format_UYVY:
        fill(0, u + y + v + y);
        break;
    case QVideoFrameFormat::Format_NV12:
        fill(0, y);
        fill(1, u + v);
        break;
    case QVideoFrameFormat::Format_NV21:
        fill(0, y);
        fill(1, v + u);
        break;
    case QVideoFrameFormat::Format_YUV420P:
        fill(0, y);
        fill(1, u);
        fill(2, v);
        break;
    case QVideoFrameFormat::Format_YV12:
        fill(0, y);
        fill(1, v);
        fill(2, u);
        break;
    // Memory order B, G, R, X.
    case QVideoFrameFormat::Format_BGRX8888:
        fill(0, QByteArray("\x00\x00\xff\xff", 4));
        break;
    default:
        break;
    }
    frame.unmap();
    return frame;
}

// A 12×4 frame: green edges two pixels wide, red up to the middle and blue after it.
QVideoFrame halvesFrame(QVideoFrameFormat::PixelFormat format)
{
    QVideoFrame frame(QVideoFrameFormat(QSize(12, 4), format));
    if (!frame.map(QVideoFrame::WriteOnly))
        return {};
    const QColor colours[] = {Qt::green, Qt::red, Qt::blue};
    // Video-range BT.601 of the same three.
    constexpr uchar yuv[3][3] = {{145, 54, 34}, {redY, redU, redV}, {41, 240, 110}};
    for (int row = 0; row < 4; ++row) {
        uchar *line = frame.bits(0) + row * frame.bytesPerLine(0);
        for (int x = 0; x < 12; ++x) {
            const int c = x < 2 || x >= 10 ? 0 : x < 6 ? 1 : 2;
            if (format == QVideoFrameFormat::Format_YUYV) {
                line[x * 2] = yuv[c][0];
                line[x * 2 + 1] = yuv[c][x % 2 ? 2 : 1];
            } else {
                const uchar bgrx[] = {uchar(colours[c].blue()), uchar(colours[c].green()),
                                      uchar(colours[c].red()), 0xff};
                std::copy(bgrx, bgrx + 4, line + x * 4);
            }
        }
    }
    frame.unmap();
    return frame;
}

bool near(const QColor &a, const QColor &b)
{
    return std::abs(a.red() - b.red()) < 16 && std::abs(a.green() - b.green()) < 16 &&
           std::abs(a.blue() - b.blue()) < 16;
}

} // namespace

class tst_MirrorFrameConverter : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cameraFormatsBecomeTheSameImage_data()
    {
        QTest::addColumn<int>("format");
        QTest::addRow("YUYV, the usual webcam format") << int(QVideoFrameFormat::Format_YUYV);
        QTest::addRow("UYVY") << int(QVideoFrameFormat::Format_UYVY);
        QTest::addRow("NV12") << int(QVideoFrameFormat::Format_NV12);
        QTest::addRow("NV21, chroma swapped") << int(QVideoFrameFormat::Format_NV21);
        QTest::addRow("I420 in three planes") << int(QVideoFrameFormat::Format_YUV420P);
        QTest::addRow("YV12, planes swapped") << int(QVideoFrameFormat::Format_YV12);
        QTest::addRow("32-bit RGB") << int(QVideoFrameFormat::Format_BGRX8888);
    }

    void cameraFormatsBecomeTheSameImage()
    {
        QFETCH(int, format);
        const QImage image = MirrorFrameConverter::toImage(redFrame(QVideoFrameFormat::PixelFormat(format)));
        QCOMPARE(image.size(), QSize(4, 2));
        for (const QPoint at : {QPoint(0, 0), QPoint(3, 1)}) {
            const QColor pixel = image.pixelColor(at);
            QVERIFY2(pixel.red() >= 250 && pixel.green() <= 5 && pixel.blue() <= 5, qPrintable(pixel.name()));
        }
    }
    void previewFramesAreCroppedScaledAndMirrored_data()
    {
        QTest::addColumn<int>("format");
        QTest::addColumn<QSize>("size");
        QTest::addColumn<bool>("mirrored");
        QTest::addColumn<QColor>("left");
        const auto yuyv = int(QVideoFrameFormat::Format_YUYV);
        QTest::addRow("the sides cropped to the aspect, blocks averaged")
            << yuyv << QSize(4, 2) << false << QColor(Qt::red);
        QTest::addRow("mirrored: the sides swap") << yuyv << QSize(4, 2) << true << QColor(Qt::blue);
        QTest::addRow("larger than the crop: scaled up") << yuyv << QSize(16, 8) << true << QColor(Qt::blue);
        QTest::addRow("an RGB frame too")
            << int(QVideoFrameFormat::Format_BGRX8888) << QSize(4, 2) << true << QColor(Qt::blue);
    }

    void previewFramesAreCroppedScaledAndMirrored()
    {
        QFETCH(int, format);
        QFETCH(QSize, size);
        QFETCH(bool, mirrored);
        QFETCH(QColor, left);
        const QColor right = left == QColor(Qt::red) ? QColor(Qt::blue) : QColor(Qt::red);
        const QImage image = MirrorFrameConverter::toPreview(
            halvesFrame(QVideoFrameFormat::PixelFormat(format)), size, mirrored);
        QCOMPARE(image.size(), size);
        QVERIFY2(near(image.pixelColor(0, 0), left), qPrintable(image.pixelColor(0, 0).name()));
        const QPoint lastPixel(size.width() - 1, size.height() - 1);
        QVERIFY2(near(image.pixelColor(lastPixel), right), qPrintable(image.pixelColor(lastPixel).name()));
    }
};

QTEST_MAIN(tst_MirrorFrameConverter)
#include "tst_mirrorframeconverter.moc"
