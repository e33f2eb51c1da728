#include "Platform/X11/X11Wallpaper.h"

#include "Core/Logging.h"
#include "Platform/X11/X11Connection.h"

#include <xcb/xcb.h>

#include <cstdlib>
#include <cstring>
#include <memory>

namespace {

struct Disconnect
{
    void operator()(xcb_connection_t *connection) const { xcb_disconnect(connection); }
};
using Connection = std::unique_ptr<xcb_connection_t, Disconnect>;

// Bits per pixel the server uses for images of `depth`; 0 when it lists no such format.
int bitsPerPixel(const xcb_setup_t *setup, uint8_t depth)
{
    xcb_format_iterator_t it = xcb_setup_pixmap_formats_iterator(setup);
    for (; it.rem > 0; xcb_format_next(&it)) {
        if (it.data->depth == depth)
            return it.data->bits_per_pixel;
    }
    return 0;
}

} // namespace

WallpaperPicture X11Wallpaper::read() const
{
    WallpaperPicture picture;
    picture.image = rootPixmap();
    picture.spansRoot = !picture.image.isNull();
    return picture.spansRoot ? picture : Wallpaper::read();
}

QImage X11Wallpaper::rootPixmap()
{
    int screenNumber = 0;
    const Connection connection(xcb_connect(nullptr, &screenNumber));
    if (xcb_connection_has_error(connection.get()))
        return QImage();
    const xcb_setup_t *setup = xcb_get_setup(connection.get());
    xcb_screen_iterator_t it = xcb_setup_roots_iterator(setup);
    for (int i = 0; i < screenNumber && it.rem > 1; ++i)
        xcb_screen_next(&it);
    const xcb_window_t root = it.data->root;

    xcb_pixmap_t pixmap = XCB_PIXMAP_NONE;
    for (const char *name : {"_XROOTPMAP_ID", "ESETROOT_PMAP_ID"}) {
        const std::vector<uint32_t> ids = X11Connection::property32(
            connection.get(), root, X11Connection::internAtom(connection.get(), name), XCB_ATOM_PIXMAP, 1);
        if (!ids.empty() && ids.front() != XCB_PIXMAP_NONE) {
            pixmap = ids.front();
            break;
        }
    }
    if (pixmap == XCB_PIXMAP_NONE)
        return QImage();

    // A setter that exited without keeping its pixmap leaves a stale id behind: the error says so.
    xcb_generic_error_t *error = nullptr;
    xcb_get_geometry_reply_t *geometry =
        xcb_get_geometry_reply(connection.get(), xcb_get_geometry(connection.get(), pixmap), &error);
    std::free(error);
    if (!geometry)
        return QImage();
    const int width = geometry->width;
    const int height = geometry->height;
    const uint8_t depth = geometry->depth;
    std::free(geometry);
    if ((depth != 24 && depth != 32) || bitsPerPixel(setup, depth) != 32 ||
        setup->image_byte_order != XCB_IMAGE_ORDER_LSB_FIRST) {
        qCDebug(lcDesktop) << "Root pixmap of depth" << depth << "is not in a layout Halcy reads";
        return QImage();
    }

    xcb_get_image_reply_t *reply =
        xcb_get_image_reply(connection.get(),
                            xcb_get_image(connection.get(), XCB_IMAGE_FORMAT_Z_PIXMAP, pixmap, 0, 0,
                                          uint16_t(width), uint16_t(height), ~0u),
                            &error);
    std::free(error);
    if (!reply)
        return QImage();
    QImage image(width, height, QImage::Format_RGB32);
    const int length = xcb_get_image_data_length(reply);
    const qsizetype rowBytes = qsizetype(width) * 4;
    if (!image.isNull() && length >= rowBytes * height) {
        const uint8_t *data = xcb_get_image_data(reply);
        for (int y = 0; y < height; ++y) {
            auto *line = reinterpret_cast<quint32 *>(image.scanLine(y));
            std::memcpy(line, data + y * rowBytes, size_t(rowBytes));
            // Depth 24 leaves the padding byte undefined; RGB32 wants it opaque.
            for (int x = 0; x < width; ++x)
                line[x] |= 0xff000000u;
        }
    } else {
        image = QImage();
    }
    std::free(reply);
    return image;
}
