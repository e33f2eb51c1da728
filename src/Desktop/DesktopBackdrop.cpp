#include "Desktop/DesktopBackdrop.h"

#include "Platform/ProcessMemory.h"

#include <QCoreApplication>
#include <QPointer>
#include <QThreadPool>

#include <algorithm>

namespace {

constexpr int blurScaleDown = 8;
// In pixels of the scaled-down image, three passes: about 40 screen pixels of spread on each side.
constexpr int blurRadius = 5;

// One box pass along rows (`horizontal`) or columns, with the edge pixels repeated.
void boxPass(QImage &image, bool horizontal)
{
    const int outer = horizontal ? image.height() : image.width();
    const int inner = horizontal ? image.width() : image.height();
    const int window = 2 * blurRadius + 1;
    std::vector<QRgb> line(static_cast<size_t>(inner));
    for (int o = 0; o < outer; ++o) {
        auto pixel = [&](int i) -> QRgb & {
            return horizontal ? reinterpret_cast<QRgb *>(image.scanLine(o))[i]
                              : reinterpret_cast<QRgb *>(image.scanLine(i))[o];
        };
        for (int i = 0; i < inner; ++i)
            line[size_t(i)] = pixel(i);
        auto at = [&](int i) { return line[size_t(std::clamp(i, 0, inner - 1))]; };
        int r = 0, g = 0, b = 0;
        for (int k = -blurRadius; k <= blurRadius; ++k) {
            r += qRed(at(k));
            g += qGreen(at(k));
            b += qBlue(at(k));
        }
        for (int i = 0; i < inner; ++i) {
            pixel(i) = qRgb(r / window, g / window, b / window);
            const QRgb in = at(i + blurRadius + 1);
            const QRgb out = at(i - blurRadius);
            r += qRed(in) - qRed(out);
            g += qGreen(in) - qGreen(out);
            b += qBlue(in) - qBlue(out);
        }
    }
}

} // namespace

DesktopBackdrop::DesktopBackdrop(std::shared_ptr<Wallpaper> wallpaper, QObject *parent)
    : QObject(parent), m_wallpaper(std::move(wallpaper))
{
}

DesktopBackdrop::~DesktopBackdrop() = default;

void DesktopBackdrop::cancel()
{
    ++m_generation;
}

void DesktopBackdrop::request(DesktopFill fill, const QList<QRect> &screens)
{
    const quint64 generation = ++m_generation;
    if (!showsWallpaper(fill) || !m_wallpaper)
        return;
    const bool blur = fill == DesktopFill::blur;
    QPointer<DesktopBackdrop> guard(this);
    QThreadPool::globalInstance()->start([guard, generation, blur, screens, wallpaper = m_wallpaper] {
        QList<QImage> images;
        {
            const WallpaperPicture picture = wallpaper->read();
            for (const QRect &screen : screens) {
                const QImage part = picture.image.isNull() ? QImage() : screenPart(picture, screen);
                images.append(blur && !part.isNull() ? blurred(part) : part);
            }
        }
        // The freed wallpaper (tens of MB on wide screens) would otherwise stay resident for as long as
        // the application runs.
        ProcessMemory::releaseFreed();
        QMetaObject::invokeMethod(QCoreApplication::instance(), [guard, generation, images] {
            if (guard && guard->m_generation == generation)
                emit guard->ready(images);
        });
    });
}

QImage DesktopBackdrop::screenPart(const WallpaperPicture &picture, const QRect &screen)
{
    if (picture.image.isNull() || screen.isEmpty())
        return QImage();
    if (picture.spansRoot) {
        const QRect part = screen.intersected(picture.image.rect());
        if (part.isEmpty())
            return QImage();
        if (part == screen)
            return picture.image.copy(part);
        // A background smaller than the screen: fill with what there is.
        return screenPart({picture.image.copy(part), false}, QRect(QPoint(), screen.size()));
    }
    const QImage scaled =
        picture.image.scaled(screen.size(), Qt::KeepAspectRatioByExpanding, Qt::SmoothTransformation);
    QRect crop(QPoint(), screen.size());
    crop.moveCenter(scaled.rect().center());
    return scaled.copy(crop);
}

QImage DesktopBackdrop::blurred(const QImage &image)
{
    const QSize small = (image.size() / blurScaleDown).expandedTo(QSize(1, 1));
    QImage result = image.scaled(small, Qt::IgnoreAspectRatio, Qt::SmoothTransformation)
                        .convertToFormat(QImage::Format_RGB32);
    for (int pass = 0; pass < 3; ++pass) {
        boxPass(result, true);
        boxPass(result, false);
    }
    return result;
}
