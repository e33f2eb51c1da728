#pragma once

#include "Platform/LoginItem.h"

// A desktop entry in $XDG_CONFIG_HOME/autostart: every freedesktop session (GNOME, KDE, Xfce, LXQt,
// most window-manager sessions through their autostart helpers) starts what it names at login.
class XdgAutostart final : public LoginItem
{
public:
    // $XDG_CONFIG_HOME/autostart/halcy.desktop
    static QString defaultPath();

    // `program` is written as an absolute path: a login session's PATH often lacks ~/.local/bin.
    XdgAutostart(const QString &entryPath, const QString &program);

    bool isEnabled() const override;
    bool setEnabled(bool enabled, QString *error = nullptr) override;

    // The entry's text for `program`.
    static QByteArray entry(const QString &program);

private:
    QString m_entryPath;
    QString m_program;
};
