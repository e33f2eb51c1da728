#include "UI/Theme.h"

#include <QGuiApplication>
#include <QPalette>

Theme::Theme(bool dark, QObject *parent) : QObject(parent), m_dark(dark) {}

Theme *Theme::create(QQmlEngine *, QJSEngine *)
{
    // The engine takes ownership of what create() returns.
    return new Theme(desktopPrefersDark());
}

bool Theme::desktopPrefersDark()
{
    const QByteArray scheme = qgetenv("HALCY_COLOR_SCHEME");
    if (scheme == "dark" || scheme == "light")
        return scheme == "dark";
    return QGuiApplication::palette().color(QPalette::Window).lightness() < 128;
}

void Theme::setDark(bool dark)
{
    if (m_dark == dark)
        return;
    m_dark = dark;
    emit darkChanged();
}
