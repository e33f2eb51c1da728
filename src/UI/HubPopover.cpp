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

HubPopover::HubPopover(AppState *appState, AppCommanding *commander, const QString &databasePath,
                       QObject *parent)
    : QObject(parent), m_databasePath(databasePath),
      m_controller(new HubController(appState, commander, this))
{
    connect(m_controller, &HubController::closeRequested, this, &HubPopover::close);
}

HubPopover::~HubPopover() = default;

void HubPopover::ensureView()
{
    if (m_view)
        return;
    m_view = std::make_unique<QQuickView>();
    m_view->setObjectName(QStringLiteral("hubWindow"));
    m_view->setTitle(QStringLiteral("Halcy"));
    m_view->setFlags(Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint);
    m_view->setResizeMode(QQuickView::SizeRootObjectToView);
    m_view->resize(contentSize);
    m_view->setMinimumSize(contentSize);
    m_view->setMaximumSize(contentSize);
    m_view->setColor(Qt::transparent);
    m_view->engine()->addImageProvider(QStringLiteral("thumbnail"), new ThumbnailProvider(m_databasePath));
    m_view->setInitialProperties({{QStringLiteral("hub"), QVariant::fromValue(m_controller)}});
    QmlModule::prepare(m_view->engine());
    m_view->setSource(QmlModule::viewUrl("UI/HubView.qml"));
    if (m_view->status() == QQuickView::Error) {
        for (const QQmlError &error : m_view->errors())
            qCCritical(lcApp) << "Hub view:" << error.toString();
    }
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
