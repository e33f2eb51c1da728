#include "Platform/PasteKeystroke.h"

#include "Platform/FrontmostApplication.h"

#include <QSet>

namespace {

// Lower-cased WM_CLASS class or instance names, as the terminals set them on X11 and XWayland.
const QSet<QString> &controlShiftVTerminals()
{
    static const QSet<QString> names{
        QStringLiteral("gnome-terminal"),
        QStringLiteral("gnome-terminal-server"),
        QStringLiteral("org.gnome.terminal"),
        QStringLiteral("org.gnome.console"),
        QStringLiteral("kgx"),
        QStringLiteral("org.gnome.ptyxis"),
        QStringLiteral("ptyxis"),
        QStringLiteral("konsole"),
        QStringLiteral("org.kde.konsole"),
        QStringLiteral("yakuake"),
        QStringLiteral("xfce4-terminal"),
        QStringLiteral("lxterminal"),
        QStringLiteral("qterminal"),
        QStringLiteral("mate-terminal"),
        QStringLiteral("terminator"),
        QStringLiteral("tilix"),
        QStringLiteral("com.gexperts.tilix"),
        QStringLiteral("guake"),
        QStringLiteral("tilda"),
        QStringLiteral("sakura"),
        QStringLiteral("terminology"),
        QStringLiteral("alacritty"),
        QStringLiteral("kitty"),
        QStringLiteral("org.wezfurlong.wezterm"),
        QStringLiteral("wezterm"),
        QStringLiteral("foot"),
        QStringLiteral("footclient"),
        QStringLiteral("ghostty"),
        QStringLiteral("com.mitchellh.ghostty"),
        QStringLiteral("st"),
        QStringLiteral("st-256color"),
        QStringLiteral("cool-retro-term"),
        QStringLiteral("deepin-terminal"),
        QStringLiteral("com.raggesilver.blackbox"),
        QStringLiteral("contour"),
        QStringLiteral("roxterm"),
    };
    return names;
}

const QSet<QString> &primarySelectionTerminals()
{
    static const QSet<QString> names{
        QStringLiteral("xterm"), QStringLiteral("uxterm"),        QStringLiteral("urxvt"),
        QStringLiteral("rxvt"),  QStringLiteral("urxvt-unicode"), QStringLiteral("rxvt-unicode"),
        QStringLiteral("aterm"), QStringLiteral("eterm"),
    };
    return names;
}

bool matches(const QSet<QString> &names, const WindowClass &windowClass)
{
    return names.contains(windowClass.className.toLower()) || names.contains(windowClass.instance.toLower());
}

} // namespace

namespace PasteKeystrokes {

PasteKeystroke forWindowClass(const WindowClass &windowClass)
{
    if (matches(primarySelectionTerminals(), windowClass))
        return PasteKeystroke::shiftInsertFromSelection;
    if (matches(controlShiftVTerminals(), windowClass))
        return PasteKeystroke::controlShiftV;
    return PasteKeystroke::controlV;
}

} // namespace PasteKeystrokes
