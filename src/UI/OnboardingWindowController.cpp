#include "UI/OnboardingWindowController.h"

#include "App/AppCommanding.h"
#include "App/AppState.h"
#include "Core/Logging.h"
#include "Core/QmlModule.h"

#include <QGuiApplication>
#include <QQmlEngine>
#include <QQuickView>
#include <QScreen>

OnboardingWindowController::OnboardingWindowController(AppState *appState, AppCommanding *commander,
                                                       std::function<void()> completion, QObject *parent)
    : QObject(parent), m_appState(appState), m_commander(commander), m_completion(std::move(completion))
{
}

OnboardingWindowController::~OnboardingWindowController() = default;

void OnboardingWindowController::show()
{
    if (!m_view) {
        m_view = QmlModule::createView(QStringLiteral("onboardingWindow"), QStringLiteral("Welcome to Halcy"),
                                       Qt::Window | Qt::WindowTitleHint | Qt::WindowCloseButtonHint);
        m_view->resize(contentSize);
        m_view->setMinimumSize(contentSize);
        m_view->setMaximumSize(contentSize);
        QmlModule::load(m_view.get(), "UI/OnboardingView.qml",
                        {{QStringLiteral("onboarding"), QVariant::fromValue(this)}}, lcSettings());
        // Closing the window by its close button counts as finishing.
        connect(m_view.get(), &QWindow::visibleChanged, this, [this](bool visible) {
            if (!visible)
                complete();
        });
        if (QScreen *screen = QGuiApplication::primaryScreen())
            m_view->setPosition(screen->availableGeometry().center() -
                                QPoint(contentSize.width() / 2, contentSize.height() / 2));
    }
    m_view->show();
    m_view->raise();
    m_view->requestActivate();
}

void OnboardingWindowController::finish()
{
    complete();
    if (m_view)
        m_view->close();
}

void OnboardingWindowController::recheckPermissions()
{
    if (m_commander)
        m_commander->refreshPermissions();
}

void OnboardingWindowController::complete()
{
    if (m_hasCompleted)
        return;
    m_hasCompleted = true;
    qCInfo(lcSettings) << "Onboarding completed";
    // The completion may let this controller go: nothing of it is touched afterwards.
    const std::function<void()> completion = m_completion;
    if (completion)
        completion();
}
