#include "SampleContent.h"

#include <QBuffer>
#include <QColor>
#include <QDir>
#include <QFile>

QByteArray textOfSize(qsizetype size)
{
    QByteArray text = "BEGIN ";
    while (text.size() < size - 4)
        text += "lorem ipsum dolor sit amet ";
    text.truncate(size - 4);
    return text + " END";
}

QImage sampleImage()
{
    QImage image(16, 9, QImage::Format_RGB32);
    image.fill(QColor(250, 120, 0));
    image.setPixelColor(4, 4, Qt::blue);
    return image;
}

QByteArray encodedImage(const QImage &image, const char *format)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, format);
    return bytes;
}

QString writeFile(const QString &dir, const QString &name, const QByteArray &bytes)
{
    const QString path = QDir(dir).filePath(name);
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() ? path : QString();
}
