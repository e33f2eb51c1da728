#pragma once

#include <QQuickImageProvider>

class ClipboardStore;

// Small thumbnails of history images for "image://thumbnail/<id>/<bookmark>". Runs on Qt Quick's
// loader threads and reads the bytes through the store's any-thread read, so a large image never
// stalls the GUI thread and is decoded straight at the requested size. The store outlives the view.
class ThumbnailProvider final : public QQuickImageProvider
{
public:
    // Without a store there are no thumbnails.
    explicit ThumbnailProvider(const ClipboardStore *store);

    QImage requestImage(const QString &id, QSize *size, const QSize &requestedSize) override;

    // Decodes `bytes` no larger than `bound` (keeping the aspect ratio); null image on failure.
    static QImage decodeScaled(const QByteArray &bytes, const QSize &bound);

private:
    const ClipboardStore *m_store;
};
