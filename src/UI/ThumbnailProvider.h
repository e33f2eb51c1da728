#pragma once

#include <QQuickImageProvider>
#include <QString>

// Small thumbnails of history images for "image://thumbnail/<id>/<bookmark>". Runs on Qt Quick's
// loader threads with its own read-only database connection, so a large image never stalls the GUI
// thread and is decoded straight at the requested size.
class ThumbnailProvider final : public QQuickImageProvider
{
public:
    // `databasePath` empty: history is in memory only; no thumbnails are offered.
    explicit ThumbnailProvider(const QString &databasePath);

    QImage requestImage(const QString &id, QSize *size, const QSize &requestedSize) override;

    // Decodes `bytes` no larger than `bound` (keeping the aspect ratio); null image on failure.
    static QImage decodeScaled(const QByteArray &bytes, const QSize &bound);

private:
    QString m_databasePath;
};
