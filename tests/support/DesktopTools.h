#pragma once

#include <QImage>
#include <QStringList>

#include <optional>

class PeerProcess;

// The command line tools and the text field peer that the X11 integration tests drive.

// What another program gets when it pastes the clipboard (as `target`, when given) now; nothing when
// xclip fails, e.g. because nobody owns the clipboard.
std::optional<QByteArray> xclipOutput(const QString &target = QString());

// Runs xdotool to the end; false, with a warning, when it fails.
bool xdotool(const QStringList &arguments);
bool pressKeys(const QString &combination);
// Runs setxkbmap with `arguments`; false when the layout could not be switched.
bool setKeyboardLayout(const QStringList &arguments);

// The text field peer: its window made the active one, whether its field has the keyboard (waiting a
// little for it), and what the field holds.
bool activatePeerWindow(PeerProcess &peer);
bool peerHasFocus(PeerProcess &peer);
QString peerText(PeerProcess &peer);

// Publishes `image` as the root window's background the way wallpaper setters do (_XROOTPMAP_ID and
// ESETROOT_PMAP_ID); a null image takes it away again. Pixmaps live as long as this process.
bool publishRootBackground(const QImage &image);
