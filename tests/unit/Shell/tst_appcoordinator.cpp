#include "App/AppState.h"
#include "Clipboard/ClipboardStore.h"
#include "Desktop/DesktopCoverWindow.h"
#include "FakeCameraBackend.h"
#include "FakeDesktopNotifier.h"
#include "FakeFrontmostApplication.h"
#include "FakeHotkeyRegistrar.h"
#include "FakeKeystrokePoster.h"
#include "FakePasteboard.h"
#include "Mirror/MirrorCameraEngine.h"
#include "SampleContent.h"
#include "Shell/AppCoordinator.h"
#include "Shell/StatusItemController.h"
#include "TestEnvironment.h"

#include <QFile>
#include <QGuiApplication>
#include <QRegularExpression>
#include <QTcpServer>
#include <QTest>

// Commands as the hub, the tray and the shortcuts call them, against fakes of the desktop.
class tst_AppCoordinator : public QObject
{
    Q_OBJECT

    std::unique_ptr<TestEnvironment> m_env;
    FakePasteboard *m_pasteboard = nullptr;
    FakeKeystrokePoster *m_keystrokes = nullptr;
    FakeDesktopNotifier *m_notifier = nullptr;
    FakeHotkeyRegistrar *m_hotkeys = nullptr;
    std::unique_ptr<AppCoordinator> m_coordinator;

    AppCoordinator::Locations locations(const QUrl &updateFeed = {}) const
    {
        return {m_env->configHome() + QStringLiteral("/Halcy/settings.json"),
                m_env->dataHome() + QStringLiteral("/Halcy/history.sqlite"), QString(), updateFeed};
    }

    void makeCoordinator(const QUrl &updateFeed = {})
    {
        m_coordinator.reset();
        AppCoordinator::Platform platform;
        platform.pasteboard.reset(m_pasteboard = new FakePasteboard);
        platform.keystrokePoster.reset(m_keystrokes = new FakeKeystrokePoster);
        platform.notifier.reset(m_notifier = new FakeDesktopNotifier);
        platform.hotkeyRegistrar.reset(m_hotkeys = new FakeHotkeyRegistrar);
        platform.frontmostApplication = std::make_unique<FakeFrontmostApplication>();
        auto camera = std::make_shared<FakeCameraBackend::Shared>();
        camera->devices = {{QStringLiteral("cam"), QStringLiteral("Test camera")}};
        platform.cameraBackend = std::make_unique<FakeCameraBackend>(camera);
        m_coordinator = std::make_unique<AppCoordinator>(locations(updateFeed), std::move(platform));
    }

    AppState *state() const { return m_coordinator->appState(); }

    // Another application copies and the monitor takes it in.
    void copyElsewhere(const QByteArray &bytes, const QString &type = QStringLiteral("text/plain"))
    {
        m_pasteboard->copy({{type, bytes}});
        m_coordinator->clipboardMonitor()->poll();
        m_coordinator->clipboardStore()->finishWrites();
    }

private slots:
    void init()
    {
        m_coordinator.reset(); // before the directories it writes to
        m_env = std::make_unique<TestEnvironment>();
        makeCoordinator();
    }

    void updateFlagLastsUntilTheAnswer()
    {
        // Without a feed the answer comes at once and takes the flag with it.
        m_coordinator->checkForUpdates();
        QTRY_COMPARE(state()->updateMessage(), QStringLiteral("Update feed is not configured."));
        QVERIFY(!state()->isCheckingForUpdates());

        // A server that never answers: the flag stays.
        QTcpServer silent;
        QVERIFY(silent.listen(QHostAddress::LocalHost));
        makeCoordinator(QUrl(QStringLiteral("http://127.0.0.1:%1/appcast.xml").arg(silent.serverPort())));
        m_coordinator->checkForUpdates();
        QTRY_VERIFY(silent.hasPendingConnections());
        QVERIFY(state()->isCheckingForUpdates() && state()->updateMessage().isEmpty());
    }

    // The tray, the hub, the shortcut and the command line all toggle through here; quitting undoes both.
    void mirrorAndHideDesktopFollowTheState()
    {
        MirrorCameraEngine *camera = m_coordinator->cameraEngine();
        m_coordinator->toggleMirror();
        QTRY_COMPARE(camera->state().kind(), MirrorCameraState::Kind::running);
        m_coordinator->toggleMirror();
        QVERIFY(!state()->mirrorOpen());
        QCOMPARE(camera->state().kind(), MirrorCameraState::Kind::stopped);

        state()->setMirrorEnabled(false);
        m_coordinator->toggleMirror();
        QVERIFY(!state()->mirrorOpen());

        state()->setMirrorEnabled(true);
        m_coordinator->toggleMirror();
        QVERIFY(state()->mirrorOpen());

        DesktopCoverManager *covers = m_coordinator->desktopCoverManager();
        state()->setDesktopEnabled(false);
        m_coordinator->toggleDesktopCover();
        QVERIFY(!state()->desktopHidden() && covers->covers().isEmpty());

        state()->setDesktopEnabled(true);
        state()->setHideDesktopFill(DesktopFill::solidInk);
        QVERIFY(covers->covers().isEmpty()); // a preference change while shown makes no window
        m_coordinator->toggleDesktopCover();
        QVERIFY(state()->desktopHidden() && covers->isHidden());
        QCOMPARE(covers->covers().size(), QGuiApplication::screens().size());
        QCOMPARE(covers->covers().constFirst()->configuration().fill, DesktopFill::solidInk);
        const QPointer<DesktopCoverWindow> before = covers->covers().constFirst();
        state()->setDesktopCoverConsumesClicks(false);
        // While hidden, every cover is replaced.
        QVERIFY(!before && !covers->covers().constFirst()->configuration().consumesClicks);

        covers->reveal(); // as a double click on a cover does
        QVERIFY(!state()->desktopHidden() && covers->covers().isEmpty());
        m_coordinator->toggleDesktopCover();
        m_coordinator->toggleDesktopCover();
        QVERIFY(!state()->desktopHidden() && covers->covers().isEmpty());

        m_coordinator->toggleDesktopCover();
        m_coordinator->shutdown();
        QVERIFY(covers->covers().isEmpty() && !covers->isHidden());
        QCOMPARE(covers->configuration(), DesktopCoverConfiguration());
        QVERIFY(!state()->mirrorOpen());
        QCOMPARE(camera->state().kind(), MirrorCameraState::Kind::stopped);
        // The camera found for the empty selection is remembered.
        QFile settings(locations().preferencesPath);
        QVERIFY(settings.open(QIODevice::ReadOnly));
        QVERIFY(settings.readAll().contains("\"Halcy.selectedCameraDeviceID\": \"cam\""));
    }

    void startIsIdempotentAndTheHubShortcutTogglesTheHub()
    {
        m_hotkeys->taken.insert(Qt::Key_M);
        m_coordinator->start();
        StatusItemController *first = m_coordinator->statusItemController();
        m_coordinator->start();
        QCOMPARE(m_coordinator->statusItemController(), first);
        QCOMPARE(m_hotkeys->grabCalls, 3);
        QVERIFY(m_coordinator->clipboardMonitor()->isStarted());
        // A shortcut another program holds is told once.
        QCOMPARE(m_notifier->bodies.size(), 1);
        QVERIFY(m_notifier->bodies.first().startsWith(QLatin1String("Ctrl+Super+M is already in use")));

        QVERIFY(m_hotkeys->press(Qt::Key_V, Qt::MetaModifier | Qt::ShiftModifier));
        QTRY_VERIFY(first->isPopoverShown());
        QVERIFY(m_hotkeys->press(Qt::Key_V, Qt::ShiftModifier | Qt::MetaModifier));
        QTRY_VERIFY(!first->isPopoverShown());
    }

    void pasteReportsWhatHappened_data()
    {
        QTest::addColumn<bool>("available"); // the XTest extension
        QTest::addColumn<bool>("posted");
        QTest::addColumn<bool>("writable");
        QTest::addColumn<QString>("message");
        const QString copiedOnly =
            QStringLiteral("Copied. Enable the XTest extension to paste automatically.");
        QTest::addRow("pasted") << true << true << true << QStringLiteral("Pasted");
        QTest::addRow("keystroke refused: copied only") << true << false << true << copiedOnly;
        QTest::addRow("no XTest: copied only") << false << true << true << copiedOnly;
        QTest::addRow("nothing to write")
            << true << true << false << QStringLiteral("This item cannot be pasted yet.");
    }

    void pasteReportsWhatHappened()
    {
        QFETCH(bool, available);
        QFETCH(bool, posted);
        QFETCH(bool, writable);
        QFETCH(QString, message);

        copyElsewhere("hello");
        const ClipboardHistoryEntry entry =
            writable ? state()->clipboardEntries().first() : ClipboardHistoryEntry();
        m_keystrokes->available = available;
        m_keystrokes->postSucceeds = posted;
        m_coordinator->pasteEntry(entry, PasteMode::formatted);
        m_coordinator->pasteEntry(entry, PasteMode::formatted);
        QCOMPARE(m_keystrokes->posts, available && writable ? 2 : 0);
        QCOMPARE(state()->clipboardStatusMessage(), message);
        // The hub has closed for the paste: what went wrong comes as a notification, once.
        QCOMPARE(m_notifier->bodies,
                 message == QLatin1String("Pasted") ? QStringList() : QStringList{message});
        const QStringList written{QStringLiteral("com.tarnwick.Halcy.SelfGeneratedPaste"), "text/plain"};
        QCOMPARE(m_pasteboard->types(), writable ? written : written.mid(0, 1));
    }

    // Paused or disabled, copies are not captured; copying writes the entry in its mode; history commands
    // keep pinned entries; the history is loaded at launch, with nothing selected.
    void captureAndHistoryCommandsFollowTheState()
    {
        state()->setClipboardPaused(true);
        copyElsewhere("while paused");
        state()->setClipboardPaused(false);
        state()->setClipboardEnabled(false);
        copyElsewhere("while off");
        QVERIFY(state()->clipboardEntries().isEmpty());
        state()->setClipboardEnabled(true);

        copyElsewhere("  padded text \n");
        const ClipboardHistoryEntry entry = state()->clipboardEntries().first();
        m_coordinator->copyEntry(entry, PasteMode::plainText);
        QCOMPARE(state()->selectedClipboardEntryID(), entry.id);
        QCOMPARE(state()->clipboardStatusMessage(), QStringLiteral("Copied to clipboard"));
        QCOMPARE(m_pasteboard->peek(QStringLiteral("text/plain")), QByteArray("padded text"));

        // An image is written from the bytes the store keeps for it.
        const QByteArray png = encodedImage();
        copyElsewhere(png, QStringLiteral("image/png"));
        m_coordinator->copyEntry(state()->clipboardEntries().first(), PasteMode::formatted);
        QCOMPARE(m_pasteboard->peek(QStringLiteral("image/png")), png);

        m_coordinator->copyEntry(ClipboardHistoryEntry(), PasteMode::formatted); // nothing to write
        QCOMPARE(state()->clipboardStatusMessage(), QStringLiteral("This item could not be copied."));

        for (const char *text : {"keep me", "drop me", "and me"})
            copyElsewhere(text);
        const ClipboardHistoryEntries copied = state()->clipboardEntries(); // newest first
        m_coordinator->togglePin(copied.at(2).id);
        m_coordinator->deleteEntry(copied.at(0).id);
        QCOMPARE(state()->clipboardEntries().size(), 4);

        m_coordinator->clearRecentHistory();
        QCOMPARE(state()->clipboardStatusMessage(), QStringLiteral("Recent history cleared."));
        QCOMPARE(state()->clipboardEntries().size(), 1);

        copyElsewhere("new");
        m_coordinator->clearHistory();
        QCOMPARE(state()->clipboardStatusMessage(), QStringLiteral("History cleared. Pinned items kept."));
        QCOMPARE(state()->clipboardEntries().value(0).title, QStringLiteral("keep me"));

        makeCoordinator();
        QCOMPARE(state()->clipboardEntries().size(), 1);
        QVERIFY(state()->selectedClipboardEntryID().isNull() && state()->clipboardStatusMessage().isNull());
    }

    void unreadableHistoryFallsBackToMemoryAndIsLeftAlone()
    {
        m_coordinator.reset();
        const QFileInfo history(locations().historyPath);
        const QByteArray garbage("this is not a database, but the user's bytes all the same\n");
        QVERIFY(!writeFile(history.absolutePath(), history.fileName(), garbage).isEmpty());
        QTest::ignoreMessage(QtWarningMsg,
                             QRegularExpression("^Persistent store unavailable, running in-memory"));
        makeCoordinator();
        QCOMPARE(state()->clipboardStatusMessage(),
                 QStringLiteral("Clipboard history is running without persistence."));
        QVERIFY(!m_coordinator->clipboardStore()->isPersistent());
        m_coordinator->start();
        QVERIFY(m_notifier->bodies.size() == 1 && m_notifier->bodies.first().contains(history.filePath()));

        copyElsewhere("kept in memory");
        QCOMPARE(state()->clipboardEntries().size(), 1);
        m_coordinator.reset();
        QFile file(history.filePath());
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(), garbage);
    }
};

QTEST_MAIN(tst_AppCoordinator)
#include "tst_appcoordinator.moc"
