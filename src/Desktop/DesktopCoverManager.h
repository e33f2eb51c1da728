#pragma once

#include "Desktop/DesktopCoverConfiguration.h"

#include <QList>
#include <QObject>
#include <QPointer>
#include <QTimer>

#include <functional>
#include <memory>

class DesktopBackdrop;
class DesktopCoverImages;
class DesktopCoverWindow;
class QQmlEngine;
class VirtualDesktops;
class Wallpaper;
class WindowLayer;

// Owns the covers, one per screen while the desktop is hidden, and builds them again 0.05 s after the
// last change of the screens or the virtual desktop. GUI thread only.
class DesktopCoverManager final : public QObject
{
    Q_OBJECT
public:
    // The desktop behind the platform seam; tests hand in fakes.
    struct Platform
    {
        std::unique_ptr<WindowLayer> windowLayer;
        std::shared_ptr<Wallpaper> wallpaper;
        std::unique_ptr<VirtualDesktops> virtualDesktops;
        static Platform createDefault();

        Platform();
        Platform(Platform &&) noexcept;
        Platform &operator=(Platform &&) noexcept;
        ~Platform();
    };

    static constexpr int reassertionDelayMs = 50;

    explicit DesktopCoverManager(Platform platform = Platform::createDefault(), QObject *parent = nullptr);
    ~DesktopCoverManager() override;

    // Replaces every cover with one per current screen, built with the current configuration.
    void rebuildCovers();
    // Cancels a pending rebuild and closes every cover.
    void removeCovers();

    bool isHidden() const { return m_hidden; }
    void setHidden(bool hidden) { m_hidden = hidden; }
    const DesktopCoverConfiguration &configuration() const { return m_configuration; }
    void setConfiguration(const DesktopCoverConfiguration &configuration) { m_configuration = configuration; }
    // Run after the user revealed the desktop from a cover, only while `context` exists.
    void setRevealAction(QObject *context, std::function<void()> action);
    void clearRevealAction();

    // What a double click on a cover does: the desktop is shown again, every cover goes.
    void reveal();

    QList<DesktopCoverWindow *> covers() const { return m_covers; }
    bool isReassertionPending() const { return m_reassertion.isActive(); }

Q_SIGNALS:
    // After each rebuild, with the new covers shown.
    void coversRebuilt();
    // The covers of the last rebuild received their wallpaper or blur images.
    void backdropsApplied();

private:
    void scheduleReassertion();
    void applyBackdrops(const QList<QImage> &images);

    Platform m_platform;
    QList<DesktopCoverWindow *> m_covers;
    bool m_hidden = false;
    DesktopCoverConfiguration m_configuration;
    QPointer<QObject> m_revealContext;
    std::function<void()> m_revealAction;
    QTimer m_reassertion;
    std::unique_ptr<QQmlEngine> m_engine;
    DesktopCoverImages *m_images = nullptr;
    DesktopBackdrop *m_backdrop = nullptr;
    quint64 m_backdropGeneration = 0;
};
