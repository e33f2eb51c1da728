#include "App/AppState.h"
#include "Clipboard/ClipboardStore.h"
#include "Desktop/DesktopCoverWindow.h"
#include "FakeCameraBackend.h"
#include "FakeDesktopNotifier.h"
#include "FakeFrontmostApplication.h"
#include "FakeHotkeyRegistrar.h"
#include "FakeKeystrokePoster.h"
#include "FakePasteboard.h"
#include "Hotkeys/HotkeyManager.h"
#include "Mirror/MirrorCameraEngine.h"
#include "SampleContent.h"
#include "Shell/AppCoordinator.h"
#include "Shell/StatusItemController.h"
#include "TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QGuiApplication>
#include <QRegularExpression>
#include <QTcpServer>
#include <QTest>

// Commands as the hub, the tray and the shortcuts call them, against fakes of the desktop.
class tst_AppCoordinator : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<TestEnvironment> m_env;
    FakePasteboard *m_pasteboard = nullptr;
    FakeKeystrokePoster *m_keystrokes = nullptr;
    FakeDesktopNotifier *m_notifier = nullptr;
    std::shared_ptr<FakeCameraBackend::Shared> m_camera;
    std::unique_ptr<AppCoordinator> m_coordinator;
    QUrl m_updateFeed;

    AppCoordinator::Locations locations() const
    {
        return {m_env->configHome() + QStringLiteral("/Halcy/settings.json"),
                m_env->dataHome() + QStringLiteral("/Halcy/history.sqlite"), QString(), m_updateFeed};
    }

    // Without a registrar the coordinator picks the running platform's own.
    void makeCoordinator(std::unique_ptr<FakeHotkeyRegistrar> registrar = nullptr)
    {
        AppCoordinator::Platform platform;
        platform.hotkeyRegistrar = std::move(registrar);
        auto pasteboard = std::make_unique<FakePasteboard>();
        auto keystrokes = std::make_unique<FakeKeystrokePoster>();
        m_pasteboard = pasteboard.get();
        m_keystrokes = keystrokes.get();
        platform.pasteboard = std::move(pasteboard);
        platform.keystrokePoster = std::move(keystrokes);
        platform.frontmostApplication = std::make_unique<FakeFrontmostApplication>();
        auto notifier = std::make_unique<FakeDesktopNotifier>();
        m_notifier = notifier.get();
        platform.notifier = std::move(notifier);
        m_camera = std::make_shared<FakeCameraBackend::Shared>();
        m_camera->devices = {{QStringLiteral("cam"), QStringLiteral("Test camera")}};
        platform.cameraBackend = std::make_unique<FakeCameraBackend>(m_camera);
        m_coordinator = std::make_unique<AppCoordinator>(locations(), std::move(platform));
    }

    AppState *state() const { return m_coordinator->appState(); }

    // Another application copies and the monitor takes it in.
    void copyElsewhere(const QString &text)
    {
        m_pasteboard->copyText(text);
        m_coordinator->clipboardMonitor()->poll();
        m_coordinator->clipboardStore()->finishWrites();
    }

    ClipboardHistoryEntry entryTitled(const QString &title) const
    {
        for (const auto &entry : state()->clipboardEntries()) {
            if (entry.title == title)
                return entry;
        }
        return {};
    }

private slots:
    void updateFlagLastsUntilTheAnswer()
    {
        // Without a feed the answer comes at once and takes the flag with it.
        m_coordinator->checkForUpdates();
        QTRY_COMPARE(state()->updateMessage(), QStringLiteral("Update feed is not configured."));
        QVERIFY(!state()->isCheckingForUpdates());

        // A server that never answers: the flag stays.
        QTcpServer silent;
        QVERIFY(silent.listen(QHostAddress::LocalHost));
        int requests = 0;
        connect(&silent, &QTcpServer::newConnection, this,
                [&] { requests += silent.nextPendingConnection() ? 1 : 0; });
        m_updateFeed = QUrl(QStringLiteral("http://127.0.0.1:%1/appcast.xml").arg(silent.serverPort()));
        makeCoordinator();
        m_coordinator->checkForUpdates();
        QTRY_COMPARE(requests, 1);
        QVERIFY(state()->isCheckingForUpdates());
        QVERIFY(state()->updateMessage().isEmpty());
        m_updateFeed.clear();
    }

    // The tray, the hub, the shortcut and the command line all toggle through here; quitting closes it.
    void mirrorToggleOpensAndClosesTheCamera()
    {
        MirrorCameraEngine *camera = m_coordinator->cameraEngine();
        m_coordinator->toggleMirror();
        QVERIFY(state()->mirrorOpen());
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
        m_coordinator->shutdown();
        QVERIFY(!state()->mirrorOpen());
        QCOMPARE(camera->state().kind(), MirrorCameraState::Kind::stopped);
        // The camera found for the empty selection is remembered.
        QFile settings(locations().preferencesPath);
        QVERIFY(settings.open(QIODevice::ReadOnly));
        QVERIFY(settings.readAll().contains("\"Halcy.selectedCameraDeviceID\": \"cam\""));
    }

    void init()
    {
        m_env = std::make_unique<TestEnvironment>();
        makeCoordinator();
    }
    void cleanup()
    {
        m_coordinator.reset();
        m_env.reset();
    }

    void startIsIdempotentAndTheHubShortcutTogglesTheHub()
    {
        m_coordinator.reset();
        auto registrar = std::make_unique<FakeHotkeyRegistrar>();
        FakeHotkeyRegistrar *hotkeys = registrar.get();
        makeCoordinator(std::move(registrar));
        QCOMPARE(hotkeys->grabCalls(), 0);

        m_coordinator->start();
        StatusItemController *first = m_coordinator->statusItemController();
        m_coordinator->start();
        QCOMPARE(m_coordinator->statusItemController(), first);
        QCOMPARE(hotkeys->grabCalls(), 3);
        QVERIFY(m_coordinator->clipboardMonitor()->isStarted());

        QVERIFY(hotkeys->press(Qt::Key_V, Qt::MetaModifier | Qt::ShiftModifier));
        QTRY_VERIFY(first->isPopoverShown());
        QVERIFY(hotkeys->press(Qt::Key_V, Qt::ShiftModifier | Qt::MetaModifier));
        QTRY_VERIFY(!first->isPopoverShown());
    }

    void hideDesktopFollowsTheStateAndThePreferences()
    {
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
        QVERIFY(!before); // while hidden, every cover is replaced
        QVERIFY(!covers->covers().constFirst()->configuration().consumesClicks);

        covers->reveal(); // as a double click on a cover does
        QVERIFY(!state()->desktopHidden() && covers->covers().isEmpty());
        m_coordinator->toggleDesktopCover();
        m_coordinator->toggleDesktopCover();
        QVERIFY(!state()->desktopHidden() && covers->covers().isEmpty());

        m_coordinator->toggleDesktopCover();
        m_coordinator->shutdown();
        QVERIFY(covers->covers().isEmpty() && !covers->isHidden());
        QCOMPARE(covers->configuration(), DesktopCoverConfiguration());
    }

    void historyIsLoadedAtLaunchWithoutSelection()
    {
        copyElsewhere(QStringLiteral("one"));
        copyElsewhere(QStringLiteral("two"));
        m_coordinator.reset();
        makeCoordinator();
        QCOMPARE(state()->clipboardEntries().size(), 2);
        QCOMPARE(state()->clipboardEntries().first().title, QStringLiteral("two"));
        QVERIFY(state()->selectedClipboardEntryID().isNull());
        QVERIFY(state()->clipboardStatusMessage().isNull());
    }

    void copyWritesTheEntryInItsMode()
    {
        copyElsewhere(QStringLiteral("  padded text \n"));
        const ClipboardHistoryEntry entry = state()->clipboardEntries().first();
        m_coordinator->copyEntry(entry, PasteMode::plainText);
        QCOMPARE(state()->selectedClipboardEntryID(), entry.id);
        QCOMPARE(state()->clipboardStatusMessage(), QStringLiteral("Copied to clipboard"));
        QCOMPARE(m_pasteboard->peek(QStringLiteral("text/plain")), QByteArray("padded text"));

        // An image is written from the bytes the store keeps for it.
        const QByteArray png = encodedImage();
        m_pasteboard->copy({{QStringLiteral("image/png"), png}});
        m_coordinator->clipboardMonitor()->poll();
        m_coordinator->clipboardStore()->finishWrites();
        m_coordinator->copyEntry(state()->clipboardEntries().first(), PasteMode::formatted);
        QCOMPARE(m_pasteboard->peek(QStringLiteral("image/png")), png);

        ClipboardHistoryEntry broken = entry;
        broken.id = QUuid::createUuid();
        broken.type = ClipboardContentType::image;
        broken.textContent.reset();
        m_coordinator->copyEntry(broken, PasteMode::formatted);
        QCOMPARE(state()->clipboardStatusMessage(), QStringLiteral("This item could not be copied."));
    }

    void pasteReportsWhatHappened_data()
    {
        QTest::addColumn<QString>("keystroke"); // "posted", "refused" or "unavailable" (no XTest)
        QTest::addColumn<bool>("entryWritable");
        QTest::addColumn<int>("expectedPosts");
        QTest::addColumn<QString>("message");
        const QString copiedOnly =
            QStringLiteral("Copied. Enable the XTest extension to paste automatically.");
        QTest::addRow("pasted") << "posted" << true << 1 << QStringLiteral("Pasted");
        QTest::addRow("keystroke refused: copied only") << "refused" << true << 1 << copiedOnly;
        QTest::addRow("no XTest: copied only") << "unavailable" << true << 0 << copiedOnly;
        QTest::addRow("nothing to write")
            << "posted" << false << 0 << QStringLiteral("This item cannot be pasted yet.");
    }

    void pasteReportsWhatHappened()
    {
        QFETCH(QString, keystroke);
        QFETCH(bool, entryWritable);
        QFETCH(int, expectedPosts);
        QFETCH(QString, message);

        copyElsewhere(QStringLiteral("hello"));
        ClipboardHistoryEntry entry = state()->clipboardEntries().first();
        if (!entryWritable) {
            entry.type = ClipboardContentType::image;
            entry.textContent.reset();
        }
        m_keystrokes->setAvailable(keystroke != QLatin1String("unavailable"));
        m_keystrokes->setPostSucceeds(keystroke == QLatin1String("posted"));
        m_coordinator->pasteEntry(entry, PasteMode::formatted);
        QCOMPARE(m_keystrokes->posts(), expectedPosts);
        QCOMPARE(state()->clipboardStatusMessage(), message);
        // The hub has closed for the paste: what went wrong comes as a notification, once.
        const QStringList notified =
            message == QLatin1String("Pasted") ? QStringList() : QStringList{message};
        QCOMPARE(m_notifier->bodies, notified);
        m_coordinator->pasteEntry(entry, PasteMode::formatted);
        QCOMPARE(m_notifier->bodies, notified);
        if (entryWritable)
            QCOMPARE(m_pasteboard->peek(QStringLiteral("text/plain")), QByteArray("hello"));
    }

    void historyCommandsKeepPinnedEntries()
    {
        copyElsewhere(QStringLiteral("keep me"));
        copyElsewhere(QStringLiteral("drop me"));
        copyElsewhere(QStringLiteral("and me"));
        m_coordinator->togglePin(entryTitled(QStringLiteral("keep me")).id);
        QVERIFY(entryTitled(QStringLiteral("keep me")).isPinned);

        m_coordinator->deleteEntry(entryTitled(QStringLiteral("and me")).id);
        QCOMPARE(state()->clipboardEntries().size(), 2);

        m_coordinator->clearRecentHistory();
        QCOMPARE(state()->clipboardStatusMessage(), QStringLiteral("Recent history cleared."));
        QCOMPARE(state()->clipboardEntries().size(), 1);

        copyElsewhere(QStringLiteral("new"));
        m_coordinator->clearHistory();
        QCOMPARE(state()->clipboardStatusMessage(), QStringLiteral("History cleared. Pinned items kept."));
        QCOMPARE(state()->clipboardEntries().size(), 1);
        QCOMPARE(state()->clipboardEntries().first().title, QStringLiteral("keep me"));
    }

    void pausedOrDisabledCopiesAreNotCaptured()
    {
        state()->setClipboardPaused(true);
        copyElsewhere(QStringLiteral("while paused"));
        state()->setClipboardPaused(false);
        state()->setClipboardEnabled(false);
        copyElsewhere(QStringLiteral("while off"));
        QVERIFY(state()->clipboardEntries().isEmpty());
        state()->setClipboardEnabled(true);
        copyElsewhere(QStringLiteral("back on"));
        QCOMPARE(state()->clipboardEntries().size(), 1);
    }

    void unreadableHistoryFallsBackToMemoryAndIsLeftAlone()
    {
        m_coordinator.reset();
        const QString path = locations().historyPath;
        QDir().mkpath(QFileInfo(path).absolutePath());
        const QByteArray garbage("this is not a database, but the user's bytes all the same\n");
        {
            QFile file(path);
            QVERIFY(file.open(QIODevice::WriteOnly));
            file.write(garbage);
        }
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral(
                                               "^Persistent store unavailable, running in-memory: .+")));
        makeCoordinator();
        QCOMPARE(state()->clipboardStatusMessage(),
                 QStringLiteral("Clipboard history is running without persistence."));
        QVERIFY(!m_coordinator->clipboardStore()->isPersistent());
        m_coordinator->start();
        QCOMPARE(m_notifier->bodies.size(), 1);
        QVERIFY2(m_notifier->bodies.first().contains(path), qPrintable(m_notifier->bodies.first()));

        copyElsewhere(QStringLiteral("kept in memory"));
        QCOMPARE(state()->clipboardEntries().size(), 1);
        m_coordinator.reset();
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(), garbage);
    }

    void aShortcutTakenByAnotherProgramIsToldAtStart()
    {
        m_coordinator.reset();
        auto registrar = std::make_unique<FakeHotkeyRegistrar>();
        registrar->setTaken(Qt::Key_V);
        makeCoordinator(std::move(registrar));
        m_coordinator->start();
        QCOMPARE(m_notifier->bodies.size(), 1);
        QVERIFY2(m_notifier->bodies.first().startsWith(QLatin1String("Super+Shift+V is already in use")),
                 qPrintable(m_notifier->bodies.first()));
    }
};

QTEST_MAIN(tst_AppCoordinator)
#include "tst_appcoordinator.moc"
