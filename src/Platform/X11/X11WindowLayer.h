#pragma once

#include "Platform/WindowLayer.h"

#include <QPointer>

#include <memory>

class X11RootEvents;

// Covers are override-redirect windows: the window manager neither frames, focuses, lists nor hides
// them on a desktop switch, and without a frame an empty input shape lets clicks through. The price is
// stacking them ourselves: directly above the topmost _NET_WM_WINDOW_TYPE_DESKTOP window (or at the
// bottom when there is none), and again whenever the window manager restacks its windows.
class X11WindowLayer final : public WindowLayer
{
    Q_OBJECT
public:
    explicit X11WindowLayer(QObject *parent = nullptr);
    ~X11WindowLayer() override;

    void prepare(QWindow *window, bool clickThrough) override;
    void keep(const QList<QWindow *> &windows) override;

private:
    void queueRestack();
    void restack();
    QList<quint32> desktopFrames() const;

    std::unique_ptr<X11RootEvents> m_events;
    QList<QPointer<QWindow>> m_windows;
    QList<quint32> m_ids;
    quint32 m_clientListAtom = 0;
    quint32 m_windowTypeAtom = 0;
    quint32 m_desktopTypeAtom = 0;
    bool m_restackQueued = false;
};
