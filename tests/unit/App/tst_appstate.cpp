#include "Core/QmlModule.h"
#include "EntryFactory.h"
#include "StateFixture.h"

#include <QQmlComponent>
#include <QQmlEngine>
#include <QSignalSpy>
#include <QTest>

namespace {

QStringList titles(const ClipboardHistoryEntries &entries)
{
    QStringList result;
    for (const auto &entry : entries)
        result << entry.title;
    return result;
}

} // namespace

// The history list, search and selection as the hub sees them.
class tst_AppState : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<StateFixture> m_fixture;
    AppState *m_state = nullptr;
    ClipboardHistoryEntries m_entries;

private slots:
    void init()
    {
        m_fixture = std::make_unique<StateFixture>();
        m_state = &m_fixture->state;
        m_entries = {makeEntry(QStringLiteral("alpha release notes"), secondsAgo(60)),
                     makeEntry(QStringLiteral("beta"), secondsAgo(120)),
                     makeEntry(QStringLiteral("Alpha"), secondsAgo(180), true),
                     makeEntry(QStringLiteral("gamma"), secondsAgo(240))};
    }
    void cleanup()
    {
        m_state = nullptr;
        m_fixture.reset();
    }

    void applyingEntriesSelectsTheFirstVisibleOrThePreferred()
    {
        m_state->applyEntries({});
        QVERIFY(m_state->selectedClipboardEntryID().isNull());

        m_state->applyEntries(m_entries);
        QCOMPARE(m_state->selectedClipboardEntryID(), m_entries.first().id);

        m_state->applyEntries(m_entries, m_entries.at(2).id);
        QCOMPARE(m_state->selectedClipboardEntryID(), m_entries.at(2).id);

        m_state->setSearchQuery(QStringLiteral("gamma"));
        m_state->applyEntries(m_entries);
        QCOMPARE(m_state->selectedClipboardEntryID(), m_entries.at(3).id);
    }

    void searchRecomputesTheVisibleList()
    {
        m_state->applyEntries(m_entries);
        QSignalSpy visibleSpy(m_state, &AppState::visibleClipboardEntriesChanged);

        m_state->setSearchQuery(QStringLiteral("   \n"));
        QCOMPARE(titles(m_state->visibleClipboardEntries()), titles(m_entries));

        m_state->setSearchQuery(QStringLiteral("ALPHA"));
        // Exact title (100) ranks above a title that only begins with the query (90).
        QCOMPARE(titles(m_state->visibleClipboardEntries()),
                 QStringList({QStringLiteral("Alpha"), QStringLiteral("alpha release notes")}));
        QVERIFY(visibleSpy.count() >= 2);

        m_state->setSearchQuery(QStringLiteral("zzz"));
        QVERIFY(m_state->visibleClipboardEntries().isEmpty());

        // New entries arriving while a search is active are filtered too.
        m_state->setSearchQuery(QStringLiteral("delta"));
        ClipboardHistoryEntries more = m_entries;
        more.prepend(makeEntry(QStringLiteral("delta"), secondsAgo(0)));
        m_state->applyEntries(more);
        QCOMPARE(titles(m_state->visibleClipboardEntries()), QStringList({QStringLiteral("delta")}));
    }

    void removingAnEntryKeepsOrderAndRepairsTheSelection()
    {
        m_state->applyEntries(m_entries, m_entries.at(1).id);
        m_state->removeEntry(m_entries.at(1).id);
        QCOMPARE(titles(m_state->clipboardEntries()),
                 QStringList({QStringLiteral("alpha release notes"), QStringLiteral("Alpha"),
                              QStringLiteral("gamma")}));
        QCOMPARE(m_state->selectedClipboardEntryID(), m_entries.at(0).id);

        // Removing an unselected entry leaves the selection alone; an unknown id changes nothing.
        m_state->removeEntry(m_entries.at(3).id);
        QCOMPARE(m_state->selectedClipboardEntryID(), m_entries.at(0).id);
        m_state->removeEntry(QUuid::createUuid());
        QCOMPARE(m_state->clipboardEntries().size(), 2);

        m_state->removeEntry(m_entries.at(0).id);
        m_state->removeEntry(m_entries.at(2).id);
        QVERIFY(m_state->selectedClipboardEntryID().isNull());
    }

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
        const DesktopCoverConfiguration configuration = m_state->desktopCoverConfiguration();
        QCOMPARE(configuration.fill, DesktopFill::solidInk);
        QCOMPARE(configuration.solidColor, QColor(10, 200, 30));
        QCOMPARE(configuration.consumesClicks, false);
        QCOMPARE(configuration.doubleClickReveals, true);
        QVERIFY(configuration != DesktopCoverConfiguration());
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
