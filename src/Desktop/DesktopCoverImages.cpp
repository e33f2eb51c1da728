#include "Desktop/DesktopCoverImages.h"

QString DesktopCoverImages::add(const QString &key, const QImage &image)
{
    const QMutexLocker lock(&m_mutex);
    m_images.insert(key, image);
    return QStringLiteral("image://%1/%2").arg(QLatin1String(providerName), key);
}

QImage DesktopCoverImages::requestImage(const QString &id, QSize *size, const QSize &)
{
    QImage image;
    {
        const QMutexLocker lock(&m_mutex);
        image = m_images.take(id);
    }
    if (size)
        *size = image.size();
    return image;
}

void DesktopCoverImages::clear()
{
    const QMutexLocker lock(&m_mutex);
    m_images.clear();
}
