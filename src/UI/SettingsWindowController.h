#pragma once

#include <QObject>
#include <QPoint>
#include <QRect>
#include <QSize>
#include <QString>

#include <memory>

class AppCommanding;
class AppState;
class LoginItem;
class MicrophoneLevelMonitor;
class MirrorCameraEngine;
class QQuickView;
class SettingsController;

// The one settings window "Halcy Settings": built when shown, let go when closed, its position
// remembered across restarts.
class SettingsWindowController final : public QObject
{
    Q_OBJECT
public:
    static constexpr QSize contentSize{540, 480};

    // `statePath` is the file that keeps the window's position; `camera` and `microphone` may be null.
    SettingsWindowController(AppState *appState, AppCommanding *commander, LoginItem *loginItem,
                             MirrorCameraEngine *camera, MicrophoneLevelMonitor *microphone,
                             const QString &statePath, QObject *parent = nullptr);
    ~SettingsWindowController() override;

    // Puts the window in front with the keyboard focus, on the tab AppState selects.
    void show();
    // Null while the window is closed.
    QQuickView *window() const { return m_view.get(); }

    // Where a window of `size` at `topLeft` belongs: there when it overlaps one of `screens` (available
    // areas), else centred on `fallback`.
    static QPoint placement(const QPoint &topLeft, const QSize &size, const QList<QRect> &screens,
                            const QRect &fallback);

private:
    void createWindow();
    void savePosition() const;

    SettingsController *m_controller;
    QString m_statePath;
    std::unique_ptr<QQuickView> m_view;
};
