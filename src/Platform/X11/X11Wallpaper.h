#pragma once

#include "Platform/Wallpaper.h"

// The root window's background pixmap as wallpaper setters publish it (_XROOTPMAP_ID, else
// ESETROOT_PMAP_ID), read over a connection of its own so that it can run on any thread; else the
// picture the desktop names.
class X11Wallpaper final : public Wallpaper
{
public:
    WallpaperPicture read() const override;

    // Only the root pixmap; a null image when none is published or it cannot be read.
    static QImage rootPixmap();
};
