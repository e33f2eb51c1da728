#pragma once

#include <QList>
#include <QObject>
#include <QPointer>
#include <QWindow>

#include <memory>

// Puts windows on the layer just above the desktop's own window (its icons) and below every
// application window, on every virtual desktop, never focused and never listed in a taskbar or pager.
class WindowLayer : public QObject
{
    Q_OBJECT
public:
    using QObject::QObject;
    ~WindowLayer() override = default;

    // The backend for the running Qt platform; one that only sets Qt's window flags where none exists.
    static std::unique_ptr<WindowLayer> createDefault(QObject *parent = nullptr);

    // Call before the window is first shown. With `clickThrough` the mouse reaches whatever is below.
    virtual void prepare(QWindow *window, bool clickThrough);
    // Shown windows to place on the layer now and keep there while the other windows come and go;
    // replaces the previous set (an empty list keeps none).
    virtual void keep(const QList<QWindow *> &windows);
};
