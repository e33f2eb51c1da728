#pragma once

#include <QImage>
#include <QString>

#include <memory>

// The desktop's background picture.
struct WallpaperPicture
{
    QImage image;
    // True: the root window's background, pixel (x, y) under root coordinate (x, y), so each screen
    // shows its own part. False: one picture that fills every screen.
    bool spansRoot = false;
};

class Wallpaper
{
public:
    virtual ~Wallpaper() = default;

    // The backend for the running Qt platform. Shared, because reads run on worker threads that may
    // outlive a rebuild.
    static std::shared_ptr<Wallpaper> createDefault();

    // May wait for the X server, the disk or a desktop's settings tool: call it off the GUI thread.
    // A null image when there is no wallpaper that can be read.
    virtual WallpaperPicture read() const;

    // The picture file the running desktop names in its own settings (GNOME and its relatives, KDE
    // Plasma, Xfce); empty when it names none or cannot be asked. Blocks: off the GUI thread only.
    static QString namedPicturePath();
};
