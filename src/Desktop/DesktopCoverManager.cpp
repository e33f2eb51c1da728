#include "Desktop/DesktopCoverManager.h"

#include "Core/GuiThread.h"
#include "Core/Logging.h"
#include "Core/QmlModule.h"
#include "Core/ScreenChanges.h"
#include "Desktop/DesktopBackdrop.h"
#include "Desktop/DesktopCoverImages.h"
#include "Desktop/DesktopCoverWindow.h"
#include "Platform/VirtualDesktops.h"
#include "Platform/Wallpaper.h"
#include "Platform/WindowLayer.h"

#include <QGuiApplication>
#include <QQmlEngine>
#include <QScreen>

namespace {

QRect devicePixels(const QScreen *screen)
{
    const QRect geometry = screen->geometry();
    const qreal ratio = screen->devicePixelRatio();
    return QRect((QPointF(geometry.topLeft()) * ratio).toPoint(), (QSizeF(geometry.size()) * ratio).toSize());
}

} // namespace

DesktopCoverManager::Platform::Platform() = default;
DesktopCoverManager::Platform::Platform(Platform &&) noexcept = default;
DesktopCoverManager::Platform &DesktopCoverManager::Platform::operator=(Platform &&) noexcept = default;
DesktopCoverManager::Platform::~Platform() = default;

DesktopCoverManager::Platform DesktopCoverManager::Platform::createDefault()
{
    Platform platform;
    platform.windowLayer = WindowLayer::createDefault();
    platform.wallpaper = Wallpaper::createDefault();
    platform.virtualDesktops = VirtualDesktops::createDefault();
    return platform;
}

DesktopCoverManager::DesktopCoverManager(Platform platform, QObject *parent)
    : QObject(parent), m_platform(std::move(platform))
{
    assertGuiThread();
    if (!m_platform.windowLayer)
        m_platform.windowLayer = std::make_unique<WindowLayer>();
    m_reassertion.setSingleShot(true);
    m_reassertion.setInterval(reassertionDelayMs);
    connect(&m_reassertion, &QTimer::timeout, this, &DesktopCoverManager::rebuildCovers);

    m_backdrop = new DesktopBackdrop(m_platform.wallpaper, this);
    connect(m_backdrop, &DesktopBackdrop::ready, this, &DesktopCoverManager::applyBackdrops);

    ScreenChanges::watch(this, &QScreen::geometryChanged, [this] { scheduleReassertion(); });
    if (m_platform.virtualDesktops) {
        connect(m_platform.virtualDesktops.get(), &VirtualDesktops::currentChanged, this,
                &DesktopCoverManager::scheduleReassertion);
    }
}

DesktopCoverManager::~DesktopCoverManager()
{
    removeCovers();
}

void DesktopCoverManager::scheduleReassertion()
{
    if (!m_hidden)
        return;
    // Restarting the one timer drops the rebuild a previous change asked for: a burst of changes
    // leads to a single rebuild after the last of them.
    m_reassertion.start();
}

void DesktopCoverManager::setRevealAction(QObject *context, std::function<void()> action)
{
    m_revealContext = context;
    m_revealAction = std::move(action);
}

void DesktopCoverManager::clearRevealAction()
{
    m_revealContext = nullptr;
    m_revealAction = nullptr;
}

void DesktopCoverManager::rebuildCovers()
{
    assertGuiThread();
    removeCovers();
    const QList<QScreen *> screens = QGuiApplication::screens();
    if (screens.isEmpty())
        return;

    if (!m_engine) {
        // One engine for every cover: the view is compiled once, not per screen and rebuild.
        m_engine = std::make_unique<QQmlEngine>();
        QmlModule::prepare(m_engine.get());
        m_images = new DesktopCoverImages;
        m_engine->addImageProvider(QLatin1String(DesktopCoverImages::providerName), m_images);
    }
    QList<QRect> areas;
    for (QScreen *screen : screens)
        areas.append(devicePixels(screen));
    // The wallpaper is read while the windows are made.
    if (DesktopBackdrop::showsWallpaper(m_configuration.fill))
        m_backdrop->request(m_configuration.fill, areas);

    QList<QWindow *> windows;
    for (QScreen *screen : screens) {
        QPointer<DesktopCoverManager> guard(this);
        auto *cover = new DesktopCoverWindow(m_engine.get(), m_configuration, screen, [guard] {
            if (guard)
                guard->reveal();
        });
        m_platform.windowLayer->prepare(cover, !m_configuration.consumesClicks);
        cover->create();
        m_covers.append(cover);
        windows.append(cover);
    }
    // Placed in the stack before they are mapped, so no cover ever shows above an application.
    m_platform.windowLayer->keep(windows);
    for (DesktopCoverWindow *cover : std::as_const(m_covers))
        cover->show();
    qCDebug(lcDesktop) << "Covers built:" << areas;
    emit coversRebuilt();
}

void DesktopCoverManager::removeCovers()
{
    assertGuiThread();
    m_reassertion.stop();
    m_backdrop->cancel();
    if (m_covers.isEmpty())
        return;
    m_platform.windowLayer->keep({});
    const QList<DesktopCoverWindow *> covers = std::exchange(m_covers, {});
    for (DesktopCoverWindow *cover : covers) {
        cover->close();
        delete cover;
    }
    if (m_images)
        m_images->clear();
}

void DesktopCoverManager::reveal()
{
    m_hidden = false;
    removeCovers();
    if (m_revealContext && m_revealAction)
        m_revealAction();
}

void DesktopCoverManager::applyBackdrops(const QList<QImage> &images)
{
    ++m_backdropGeneration;
    for (qsizetype i = 0; i < m_covers.size() && i < images.size(); ++i) {
        if (images.at(i).isNull())
            continue;
        const QString key = QStringLiteral("%1-%2").arg(m_backdropGeneration).arg(i);
        m_covers.at(i)->setBackdrop(m_images->add(key, images.at(i)));
    }
    emit backdropsApplied();
}
