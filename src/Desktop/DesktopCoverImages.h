#pragma once

#include <QHash>
#include <QImage>
#include <QMutex>
#include <QQuickImageProvider>

// Hands the covers' backdrop images to their views. Each image is given out once and then dropped, so
// only the view keeps it in memory.
class DesktopCoverImages final : public QQuickImageProvider
{
public:
    static constexpr const char *providerName = "desktopcover";

    DesktopCoverImages() : QQuickImageProvider(QQuickImageProvider::Image) {}

    // Returns the image:// URL of `image`.
    QString add(const QString &key, const QImage &image);
    void clear();

    QImage requestImage(const QString &id, QSize *size, const QSize &requestedSize) override;

private:
    // Views may load on Qt Quick's loader thread.
    QMutex m_mutex;
    QHash<QString, QImage> m_images;
};
