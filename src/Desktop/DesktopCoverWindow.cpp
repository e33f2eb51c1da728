#include "Desktop/DesktopCoverWindow.h"

#include "Core/Logging.h"
#include "Core/QmlModule.h"

#include <QCoreApplication>
#include <QGuiApplication>
#include <QPalette>
#include <QQuickItem>

DesktopCoverWindow::DesktopCoverWindow(QQmlEngine *engine, const DesktopCoverConfiguration &configuration,
                                       QScreen *screen, std::function<void()> revealAction)
    : QQuickView(engine, nullptr), m_configuration(configuration), m_targetScreen(screen),
      m_revealAction(std::move(revealAction))
{
    setObjectName(QStringLiteral("desktopCover"));
    setTitle(QStringLiteral("Desktop icons hidden"));
    if (screen) {
        setScreen(screen);
        setGeometry(screen->geometry());
    }
    setResizeMode(QQuickView::SizeRootObjectToView);
    const QColor material = QGuiApplication::palette().color(QPalette::Window);
    // Painted before the first frame, so a cover never flashes another colour while it appears.
    setColor(configuration.fill == DesktopFill::solidInk ? configuration.solidColor : material);
    setInitialProperties({
        {QStringLiteral("fill"), enumName(configuration.fill)},
        {QStringLiteral("solidColor"), configuration.solidColor},
        {QStringLiteral("materialColor"), material},
    });
    setSource(QmlModule::viewUrl("Desktop/DesktopCoverView.qml"));
    if (status() == QQuickView::Error) {
        for (const QQmlError &error : errors())
            qCCritical(lcDesktop) << "Cover view:" << error.toString();
    }
}

DesktopCoverWindow::~DesktopCoverWindow() = default;

void DesktopCoverWindow::setBackdrop(const QString &source)
{
    if (QQuickItem *root = rootObject())
        root->setProperty("backdrop", source);
}

bool DesktopCoverWindow::event(QEvent *event)
{
    switch (event->type()) {
    case QEvent::MouseButtonPress:
        ++m_presses;
        event->accept();
        return true;
    case QEvent::MouseButtonDblClick:
        // Qt pairs presses across windows; both clicks of a revealing double click land on the cover.
        if (m_presses >= 2 && m_configuration.consumesClicks && m_configuration.doubleClickReveals &&
            m_revealAction) {
            // The action deletes this window, so it runs from the event loop, not from the window's own
            // event handling.
            QMetaObject::invokeMethod(QCoreApplication::instance(), m_revealAction, Qt::QueuedConnection);
        }
        Q_FALLTHROUGH();
    case QEvent::MouseButtonRelease:
    case QEvent::MouseMove:
    case QEvent::Wheel:
        // Clicks stop at the cover: the hidden desktop must not receive them, nor the view.
        event->accept();
        return true;
    default:
        return QQuickView::event(event);
    }
}
