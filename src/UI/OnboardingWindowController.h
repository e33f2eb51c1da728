#pragma once

#include <QObject>
#include <QPointer>
#include <QSize>
#include <QtQml/qqmlregistration.h>

#include <functional>
#include <memory>

class AppCommanding;
class AppState;
class QQuickView;

// The first-launch window "Welcome to Halcy": four pages, and a completion that runs exactly once,
// whether the user finishes with "Launch Halcy" or closes the window.
class OnboardingWindowController final : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Made by the coordinator")
    Q_PROPERTY(AppState *appState READ appState CONSTANT)

public:
    static constexpr QSize contentSize{520, 380};

    OnboardingWindowController(AppState *appState, AppCommanding *commander, std::function<void()> completion,
                               QObject *parent = nullptr);
    ~OnboardingWindowController() override;

    AppState *appState() const { return m_appState; }
    bool hasCompleted() const { return m_hasCompleted; }
    // Null until shown.
    QQuickView *window() const { return m_view.get(); }

    void show();
    // Completes (once) and closes the window.
    Q_INVOKABLE void finish();
    // Linux asks nobody: "Request" and "Check again" look at the system once more.
    Q_INVOKABLE void recheckPermissions();

private:
    void complete();

    QPointer<AppState> m_appState;
    QPointer<AppCommanding> m_commander;
    std::function<void()> m_completion;
    bool m_hasCompleted = false;
    std::unique_ptr<QQuickView> m_view;
};
