#include "Core/QmlModule.h"
#include "StateFixture.h"

#include <QQmlComponent>
#include <QQmlEngine>
#include <QSignalSpy>
#include <QTest>

// What the views read from the state besides the history list.
class tst_AppState : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<StateFixture> m_fixture;
    AppState *m_state = nullptr;

private slots:
    void init() { m_state = &(m_fixture = std::make_unique<StateFixture>())->state; }

    // The messages themselves are checked where the coordinator decides the outcome.
    void theSameOutcomeTwiceIsAnnouncedTwice()
    {
        QSignalSpy spy(m_state, &AppState::clipboardStatusMessageChanged);
        m_state->applyPasteResult(PasteResult::pasted);
        m_state->applyPasteResult(PasteResult::pasted);
        QCOMPARE(spy.count(), 2);
    }

    void desktopCoverConfigurationFollowsPreferences()
    {
        QCOMPARE(m_state->desktopCoverConfiguration(), DesktopCoverConfiguration());
        m_state->setHideDesktopFill(DesktopFill::solidInk);
        m_state->setDesktopSolidColor(QColor(10, 200, 30));
        m_state->setDesktopCoverConsumesClicks(false);
        m_state->setDesktopDoubleClickToReveal(true);
        QCOMPARE(m_state->desktopCoverConfiguration(),
                 (DesktopCoverConfiguration{DesktopFill::solidInk, QColor(10, 200, 30), false, true}));
    }

    // What a settings page needs: enum fields read and written by name, and the shortcut table.
    void preferencesBindFromQml()
    {
        QQmlEngine engine;
        QmlModule::prepare(&engine);
        QQmlComponent component(&engine);
        component.setData(R"(
            import QtQml
            import Halcy
            QtObject {
                required property AppState state
                readonly property bool circle: state.mirrorShape === Mirror.MirrorShape.circle
                readonly property string hubShortcut: state.shortcuts[0].display
                function choose() {
                    state.hideDesktopFill = Desktop.DesktopFill.solidInk;
                    state.defaultPasteMode = Clipboard.PasteMode.plainText;
                }
            })",
                          QUrl());
        std::unique_ptr<QObject> page(
            component.createWithInitialProperties({{QStringLiteral("state"), QVariant::fromValue(m_state)}}));
        QVERIFY2(page, qPrintable(component.errorString()));

        QCOMPARE(page->property("circle").toBool(), false);
        m_state->setMirrorShape(MirrorShape::circle);
        QCOMPARE(page->property("circle").toBool(), true);
        QCOMPARE(page->property("hubShortcut").toString(), m_state->shortcuts().first().displayForm());

        QVERIFY(QMetaObject::invokeMethod(page.get(), "choose"));
        QCOMPARE(m_state->hideDesktopFill(), DesktopFill::solidInk);
        QCOMPARE(m_state->defaultPasteMode(), PasteMode::plainText);
    }
};

QTEST_GUILESS_MAIN(tst_AppState)
#include "tst_appstate.moc"
