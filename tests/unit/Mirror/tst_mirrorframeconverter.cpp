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
};

QTEST_MAIN(tst_MirrorFrameConverter)
#include "tst_mirrorframeconverter.moc"
