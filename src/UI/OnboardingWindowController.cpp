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
        m_view = std::make_unique<QQuickView>();
        m_view->setObjectName(QStringLiteral("onboardingWindow"));
        m_view->setTitle(QStringLiteral("Welcome to Halcy"));
        m_view->setFlags(Qt::Window | Qt::WindowTitleHint | Qt::WindowCloseButtonHint);
        m_view->setResizeMode(QQuickView::SizeRootObjectToView);
        m_view->resize(contentSize);
        m_view->setMinimumSize(contentSize);
        m_view->setMaximumSize(contentSize);
        m_view->setInitialProperties({{QStringLiteral("onboarding"), QVariant::fromValue(this)}});
        QmlModule::prepare(m_view->engine());
        m_view->setSource(QmlModule::viewUrl("UI/OnboardingView.qml"));
        if (m_view->status() == QQuickView::Error) {
            for (const QQmlError &error : m_view->errors())
                qCCritical(lcSettings) << "Onboarding view:" << error.toString();
        }
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
