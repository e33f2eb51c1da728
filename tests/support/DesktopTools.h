#pragma once

#include <QByteArray>
#include <QImage>
#include <QStringList>

#include <optional>

// Small pieces the X11 integration tests share: sample content and the command line tools they drive.

// Readable text of the given size, with a recognisable start and end.
QByteArray textOfSize(qsizetype size);

// A small picture with one odd pixel, so a decoded copy can be compared with it exactly.
QImage sampleImage();
QByteArray pngBytes(const QImage &image = sampleImage());

// What another program gets when it pastes the clipboard (as `target`, when given) now; nothing when
// xclip fails, e.g. because nobody owns the clipboard.
std::optional<QByteArray> xclipOutput(const QString &target = QString());

// Runs xdotool to the end; false, with a warning, when it fails.
bool xdotool(const QStringList &arguments);

// Publishes `image` as the root window's background the way wallpaper setters do (_XROOTPMAP_ID and
// ESETROOT_PMAP_ID); a null image takes it away again. Pixmaps live as long as this process.
bool publishRootBackground(const QImage &image);
