#include "DesktopTools.h"

#include "PeerProcess.h"

#include <QBuffer>
#include <QColor>
#include <QDebug>

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

QByteArray pngBytes(const QImage &image)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return bytes;
}

std::optional<QByteArray> xclipOutput(const QString &target)
{
    QStringList arguments{QStringLiteral("-o"), QStringLiteral("-selection"), QStringLiteral("clipboard")};
    if (!target.isEmpty())
        arguments << QStringLiteral("-t") << target;
    const std::optional<ToolResult> result = runTool(QStringLiteral("xclip"), arguments);
    if (!result || result->exitCode != 0)
        return std::nullopt;
    return result->output;
}

bool xdotool(const QStringList &arguments)
{
    const std::optional<ToolResult> result = runTool(QStringLiteral("xdotool"), arguments);
    if (!result || result->exitCode != 0)
        qWarning() << "xdotool" << arguments << (result ? result->exitCode : -1);
    return result && result->exitCode == 0;
}
