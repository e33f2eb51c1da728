#pragma once

#include "Platform/FrontmostApplication.h"

#include <QHash>
#include <QString>

#include <optional>

// Names the application that owns the window in _NET_ACTIVE_WINDOW: the Name of its desktop entry when
// its WM_CLASS leads to one in the XDG data directories, else the WM_CLASS class name. Lookups are
// cached for the life of the object, so only the first copy from an application reads desktop files.
class X11FrontmostApplication final : public FrontmostApplication
{
public:
    X11FrontmostApplication();
    ~X11FrontmostApplication() override;

    QString name() const override;

    // The WM_CLASS of the active window; nothing without an active window or a connection.
    std::optional<WindowClass> activeWindowClass() const override;
    // The name to show for a window class; never empty when the class is not.
    QString nameForWindowClass(const WindowClass &windowClass) const;

private:
    struct DesktopEntry
    {
        QString name;
        QString startupWMClass;
        bool hidden = false;
    };
    static std::optional<DesktopEntry> readDesktopEntry(const QString &path);
    void buildIndex() const;
    QString desktopEntryName(const WindowClass &windowClass) const;

    mutable quint32 m_activeWindowAtom = 0;
    // The last active window that was not ours.
    mutable std::optional<WindowClass> m_lastForeignClass;
    mutable bool m_indexBuilt = false;
    // Lower-cased StartupWMClass, desktop file id and its last dotted part -> entry name.
    mutable QHash<QString, QString> m_byWMClass;
    mutable QHash<QString, QString> m_byFileId;
    mutable QHash<QString, QString> m_nameCache;
};
