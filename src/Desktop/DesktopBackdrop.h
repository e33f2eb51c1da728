#pragma once

#include "Desktop/DesktopFill.h"
#include "Platform/Wallpaper.h"

#include <QImage>
#include <QList>
#include <QObject>
#include <QRect>

#include <memory>

// What the wallpaper and blur fills draw: each screen's part of the wallpaper, blurred for the blur
// fill. Read and computed once per rebuild on a worker thread, never per frame.
class DesktopBackdrop final : public QObject
{
    Q_OBJECT
public:
    explicit DesktopBackdrop(std::shared_ptr<Wallpaper> wallpaper, QObject *parent = nullptr);
    ~DesktopBackdrop() override;

    static bool showsWallpaper(DesktopFill fill)
    {
        return fill == DesktopFill::matchWallpaper || fill == DesktopFill::blur;
    }

    // Starts making one image per screen (device pixels in root coordinates); an unfinished earlier
    // request is dropped. Fills without wallpaper make nothing.
    void request(DesktopFill fill, const QList<QRect> &screens);
    void cancel();

    // The part of `picture` a screen shows, at the screen's size: the matching region of a root
    // background, or the picture scaled to fill the screen, centred and clipped. Null when the picture
    // does not reach the screen.
    static QImage screenPart(const WallpaperPicture &picture, const QRect &screen);
    // What a strong blur of `image` shows, at an eighth of its size: the view scales it up smoothly.
    static QImage blurred(const QImage &image);

Q_SIGNALS:
    // One image per requested screen, in order; a null image where there is no wallpaper to show.
    void ready(const QList<QImage> &images);

private:
    std::shared_ptr<Wallpaper> m_wallpaper;
    quint64 m_generation = 0;
};
