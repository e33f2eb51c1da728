#include "UI/ThumbnailProvider.h"

#include "Clipboard/ClipboardStore.h"

#include <QBuffer>
#include <QImageReader>
#include <QUuid>

ThumbnailProvider::ThumbnailProvider(const ClipboardStore *store)
    : QQuickImageProvider(QQuickImageProvider::Image, QQuickImageProvider::ForceAsynchronousImageLoading),
      m_store(store)
{
}

QImage ThumbnailProvider::decodeScaled(const QByteArray &bytes, const QSize &bound)
{
    QBuffer buffer;
    buffer.setData(bytes);
    QImageReader reader(&buffer);
    const QSize full = reader.size();
    if (full.isValid() && bound.isValid() && (full.width() > bound.width() || full.height() > bound.height()))
        reader.setScaledSize(full.scaled(bound, Qt::KeepAspectRatio));
    QImage image = reader.read();
    if (!image.isNull() && bound.isValid() &&
        (image.width() > bound.width() || image.height() > bound.height()))
        image = image.scaled(bound, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    return image;
}

QImage ThumbnailProvider::requestImage(const QString &id, QSize *size, const QSize &requestedSize)
{
    const QUuid entryID = QUuid::fromString(id.section(u'/', 0, 0));
    if (!m_store || entryID.isNull())
        return {};
    const std::optional<QByteArray> bytes = m_store->imageDataFromAnyThread(entryID);
    if (!bytes)
        return {};
    const QSize bound = requestedSize.isValid() ? requestedSize : QSize(96, 96);
    const QImage image = decodeScaled(*bytes, bound);
    if (size)
        *size = image.size();
    return image;
}
