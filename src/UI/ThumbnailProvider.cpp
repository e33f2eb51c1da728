#include "UI/ThumbnailProvider.h"

#include "Core/Logging.h"

#include <QBuffer>
#include <QImageReader>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QThread>
#include <QUuid>

ThumbnailProvider::ThumbnailProvider(const QString &databasePath)
    : QQuickImageProvider(QQuickImageProvider::Image, QQuickImageProvider::ForceAsynchronousImageLoading),
      m_databasePath(databasePath)
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
    if (m_databasePath.isEmpty())
        return {};
    const QUuid entryID = QUuid::fromString(id.section(u'/', 0, 0));
    if (entryID.isNull())
        return {};

    // One connection per loader thread; connections cannot cross threads.
    const QString connectionName =
        QStringLiteral("halcy-thumbnails-%1").arg(quintptr(QThread::currentThreadId()), 0, 16);
    QSqlDatabase database = QSqlDatabase::database(connectionName, false);
    if (!database.isValid()) {
        database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), connectionName);
        database.setDatabaseName(m_databasePath);
        database.setConnectOptions(QStringLiteral("QSQLITE_OPEN_READONLY;QSQLITE_BUSY_TIMEOUT=2000"));
    }
    if (!database.isOpen() && !database.open()) {
        qCWarning(lcClipboard) << "Thumbnail database unavailable:" << database.lastError().text();
        return {};
    }
    QSqlQuery query(database);
    query.prepare(QStringLiteral("SELECT imageData FROM ClipboardRecord WHERE id = ?"));
    query.addBindValue(entryID.toString(QUuid::WithoutBraces));
    if (!query.exec() || !query.next())
        return {};

    const QSize bound = requestedSize.isValid() ? requestedSize : QSize(96, 96);
    const QImage image = decodeScaled(query.value(0).toByteArray(), bound);
    if (size)
        *size = image.size();
    return image;
}
