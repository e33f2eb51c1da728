#include "UI/HubPopover.h"

#include "App/AppState.h"
#include "Core/Logging.h"
#include "Core/QmlModule.h"
#include "UI/HubController.h"
#include "UI/Theme.h"
#include "UI/ThumbnailProvider.h"

#include <QCursor>
#include <QGuiApplication>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickView>
#include <QScreen>

namespace {

// A click on the tray icon first takes focus from the open hub (closing it) and then arrives as a
// toggle; within this window the toggle is the same gesture and must not reopen it.
constexpr int reopenGuardMs = 350;
constexpr int anchorGap = 4;

} // namespace

HubPopover::HubPopover(AppState *appState, AppCommanding *commander, const ClipboardStore *store,
                       QObject *parent)
    : QObject(parent), m_store(store), m_controller(new HubController(appState, commander, this))
{
    connect(m_controller, &HubController::closeRequested, this, &HubPopover::close);
}

HubPopover::~HubPopover() = default;

void HubPopover::ensureView()
{
    if (m_view)
        return;
    m_view = QmlModule::createView(QStringLiteral("hubWindow"), QStringLiteral("Halcy"),
                                   Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint);
    m_view->resize(contentSize);
    m_view->setMinimumSize(contentSize);
    m_view->setMaximumSize(contentSize);
    m_view->setColor(Qt::transparent);
    m_view->engine()->addImageProvider(QStringLiteral("thumbnail"), new ThumbnailProvider(m_store));
    QmlModule::load(m_view.get(), "UI/HubView.qml",
                    {{QStringLiteral("hub"), QVariant::fromValue(m_controller)}}, lcApp());
    connect(m_view.get(), &QWindow::activeChanged, this, [this] {
        if (m_view && !m_view->isActive() && m_view->isVisible()) {
            m_sinceFocusLossClose.start();
            close();
        }
    });
}

Theme *HubPopover::theme() const
{
    return m_view ? m_view->engine()->singletonInstance<Theme *>(qmlTypeId("Halcy", 1, 0, "Theme")) : nullptr;
}

void HubPopover::preload()
{
    ensureView();
}

bool HubPopover::isShown() const
{
    return m_view && m_view->isVisible();
}

QPoint HubPopover::placement(const QRect &anchor, const QSize &size, const QRect &available)
{
    const int x = qBound(available.left(), anchor.center().x() - size.width() / 2,
                         qMax(available.left(), available.right() + 1 - size.width()));
    int y = anchor.bottom() + 1 + anchorGap;
    if (y + size.height() > available.bottom() + 1)
        y = anchor.top() - anchorGap - size.height();
    y = qBound(available.top(), y, qMax(available.top(), available.bottom() + 1 - size.height()));
    return {x, y};
}

void HubPopover::show(const QRect &anchor)
{
    ensureView();
    const QRect target = anchor.isValid() ? anchor : QRect(QCursor::pos(), QSize(1, 1));
    QScreen *screen = QGuiApplication::screenAt(target.center());
    if (!screen)
        screen = QGuiApplication::primaryScreen();
    if (screen) {
        m_view->setScreen(screen);
        m_view->setPosition(placement(target, contentSize, screen->availableGeometry()));
    }
    m_controller->setShown(true);
    m_view->show();
    m_view->raise();
    m_view->requestActivate();
    emit shownChanged(true);
}

void HubPopover::close()
{
    if (!isShown())
        return;
    m_view->hide();
    m_controller->setShown(false);
    emit shownChanged(false);
}

void HubPopover::toggle(const QRect &anchor)
{
    if (isShown()) {
        close();
        return;
    }
    if (m_sinceFocusLossClose.isValid() && m_sinceFocusLossClose.elapsed() < reopenGuardMs)
        return;
    show(anchor);
}
