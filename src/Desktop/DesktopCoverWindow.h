#pragma once

#include "Desktop/DesktopCoverConfiguration.h"

#include <QPointer>
#include <QQuickView>
#include <QScreen>

#include <functional>

// One screen's cover. Its configuration is fixed for its life: a changed setting replaces the window.
// It never takes the keyboard focus; mouse events never reach the view or anything behind it.
class DesktopCoverWindow final : public QQuickView
{
    Q_OBJECT
public:
    DesktopCoverWindow(QQmlEngine *engine, const DesktopCoverConfiguration &configuration, QScreen *screen,
                       std::function<void()> revealAction);
    ~DesktopCoverWindow() override;

    const DesktopCoverConfiguration &configuration() const { return m_configuration; }
    QScreen *targetScreen() const { return m_targetScreen; }
    // Shows `source` (an image URL) as the wallpaper or blur backdrop; empty: the material drawing.
    void setBackdrop(const QString &source);

protected:
    bool event(QEvent *event) override;

private:
    DesktopCoverConfiguration m_configuration;
    QPointer<QScreen> m_targetScreen;
    std::function<void()> m_revealAction;
    int m_presses = 0;
};
