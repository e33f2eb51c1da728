#pragma once

#include "Mirror/MirrorSettings.h"

#include <QObject>
#include <QPointer>
#include <QRect>
#include <QTimer>
#include <QtQml/qqmlregistration.h>

#include <functional>
#include <memory>

class MicrophoneLevelMonitor;
class MirrorCameraEngine;
class QQuickView;

// The floating mirror bubble: a frameless, always-on-top window on every desktop that never takes the
// keyboard focus, showing the camera in the chosen shape with the optional microphone meter. Showing
// it starts the camera (and the meter); closing it stops both at once and drops the window, which the
// next show builds again where the user left it.
class MirrorWindowController final : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Handed to the bubble by its window")
    Q_PROPERTY(QString shape READ shapeName NOTIFY settingsChanged)
    Q_PROPERTY(bool showMicLevel READ showMicLevel NOTIFY settingsChanged)

public:
    MirrorWindowController(MirrorCameraEngine *cameraEngine, MicrophoneLevelMonitor *microphoneMonitor,
                           QObject *parent = nullptr);
    ~MirrorWindowController() override;

    // Where the user last left the bubble; invalid for the first show.
    void setSavedFrame(const QRect &frame) { m_savedFrame = frame; }
    void setSettings(const MirrorSettings &settings);
    const MirrorSettings &settings() const { return m_settings; }
    void setOnOpenSettings(std::function<void()> action) { m_onOpenSettings = std::move(action); }

    bool isOpen() const { return m_open; }
    QString shapeName() const;
    bool showMicLevel() const { return m_settings.showMicLevel; }
    // The open bubble's window; none while closed.
    QQuickView *window() const { return m_window.get(); }

    void show();
    Q_INVOKABLE void close();
    void applySettings();
    void applyShape();

    // From the view.
    Q_INVOKABLE void startMove();
    Q_INVOKABLE void scroll(qreal degrees);
    Q_INVOKABLE void showContextMenu();
    Q_INVOKABLE void showMeterMenu();
    Q_INVOKABLE void openSettings();

signals:
    void openChanged(bool open);
    // The user moved or resized the bubble; worth remembering across restarts.
    void frameChanged(const QRect &frame);
    void settingsChanged();

private:
    void createWindow();
    void setFrame(const QRect &frame);
    void updateMask();

    QPointer<MirrorCameraEngine> m_cameraEngine;
    QPointer<MicrophoneLevelMonitor> m_microphoneMonitor;
    std::unique_ptr<QQuickView> m_window;
    QPointer<QQuickView> m_closedWindow;
    MirrorSettings m_settings;
    QRect m_savedFrame;
    bool m_open = false;
    std::function<void()> m_onOpenSettings;
    // Moves and resizes arrive in bursts while dragging; the frame is announced once they settle.
    QTimer m_frameSettle;
    // Monitor changes arrive in bursts too; the open bubble is brought back on screen once they settle.
    QTimer m_screensSettle;
};
