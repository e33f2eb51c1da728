#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QPointer>
#include <QRect>
#include <QSize>

#include <memory>

class AppCommanding;
class AppState;
class HubController;
class QQuickView;
class Theme;

// The frameless 344 × 560 window that hosts HubView.qml at the tray icon. It takes the keyboard when
// shown, so typing goes to the search field at once, and closes when it loses focus.
class HubPopover final : public QObject
{
    Q_OBJECT
public:
    static constexpr QSize contentSize{344, 560};

    // `databasePath` feeds image thumbnails; empty when the history is not on disk.
    HubPopover(AppState *appState, AppCommanding *commander, const QString &databasePath,
               QObject *parent = nullptr);
    ~HubPopover() override;

    bool isShown() const;
    // `anchor` is the tray icon's geometry; without one the hub opens at the pointer.
    void show(const QRect &anchor);
    void close();
    void toggle(const QRect &anchor);
    // Builds the scene ahead of the first show, so that first show is quick.
    void preload();

    QQuickView *view() const { return m_view.get(); }
    HubController *controller() const { return m_controller; }
    // The colours the hub draws with; null before the view is built.
    Theme *theme() const;

    // Below the anchor when it fits, else above it; always wholly inside `available`.
    static QPoint placement(const QRect &anchor, const QSize &size, const QRect &available);

signals:
    void shownChanged(bool shown);

private:
    void ensureView();

    QString m_databasePath;
    HubController *m_controller;
    std::unique_ptr<QQuickView> m_view;
    QElapsedTimer m_sinceFocusLossClose;
};
