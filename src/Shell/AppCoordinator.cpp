#include "Shell/AppCoordinator.h"

#include "App/AppState.h"
#include "App/Permissions.h"
#include "App/PreferenceRow.h"
#include "App/Preferences.h"
#include "App/UpdateProvider.h"
#include "Clipboard/ClipboardListModel.h"
#include "Clipboard/ClipboardStore.h"
#include "Clipboard/PasteService.h"
#include "Core/GuiThread.h"
#include "Core/Logging.h"
#include "Hotkeys/HotkeyManager.h"
#include "Mirror/MicrophoneLevelMonitor.h"
#include "Mirror/MirrorCameraEngine.h"
#include "Mirror/MirrorWindowController.h"
#include "Mirror/QtCameraBackend.h"
#include "Platform/DesktopNotifier.h"
#include "Platform/FrontmostApplication.h"
#include "Platform/HotkeyRegistrar.h"
#include "Platform/KeystrokePoster.h"
#include "Platform/LoginItem.h"
#include "Platform/Pasteboard.h"
#include "Platform/PermissionProbe.h"
#include "Shell/StatusItemController.h"
#include "UI/HubPopover.h"
#include "UI/OnboardingWindowController.h"
#include "UI/SettingsWindowController.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QFileInfo>
#include <QTimer>

AppCoordinator::Locations AppCoordinator::Locations::standard()
{
    return {Preferences::defaultPath(), ClipboardStore::defaultPath(),
            QFileInfo(Preferences::defaultPath()).absolutePath() + QStringLiteral("/windows.ini"),
            builtInFeedURL()};
}

QUrl AppCoordinator::Locations::builtInFeedURL()
{
    return UpdateProvider::builtInFeedURL();
}

namespace {

const PreferenceRow &onboardingRow()
{
    static const PreferenceRow row = PreferenceRow::flag("hasCompletedOnboarding", false);
    return row;
}

} // namespace

AppCoordinator::Platform::Platform() = default;
AppCoordinator::Platform::Platform(Platform &&) noexcept = default;
AppCoordinator::Platform &AppCoordinator::Platform::operator=(Platform &&) noexcept = default;
AppCoordinator::Platform::~Platform() = default;

AppCoordinator::Platform AppCoordinator::Platform::createDefault()
{
    Platform platform;
    platform.pasteboard = Pasteboard::createDefault();
    platform.keystrokePoster = KeystrokePoster::createDefault();
    platform.frontmostApplication = FrontmostApplication::createDefault();
    platform.permissionProbe = PermissionProbe::createDefault();
    platform.loginItem = LoginItem::createDefault();
    platform.notifier = DesktopNotifier::createDefault();
    platform.desktopCover = DesktopCoverManager::Platform::createDefault();
    return platform;
}

AppCoordinator::AppCoordinator(const Locations &locations, Platform platform, QObject *parent)
    : AppCommanding(parent), m_platform(std::move(platform)), m_historyPath(locations.historyPath),
      m_windowStatePath(locations.windowStatePath)
{
    if (!m_platform.permissionProbe)
        m_platform.permissionProbe = PermissionProbe::createDefault();
    if (!m_platform.loginItem)
        m_platform.loginItem = LoginItem::createDefault();
    m_preferences = std::make_unique<Preferences>(locations.preferencesPath);
    m_appState = std::make_unique<AppState>(m_preferences.get());
    createMirror();
    m_pasteService = std::make_unique<PasteService>(
        m_platform.pasteboard.get(), m_platform.keystrokePoster.get(), m_platform.frontmostApplication.get());
    m_desktopCoverManager = std::make_unique<DesktopCoverManager>(std::move(m_platform.desktopCover));
    for (auto changed :
         {&AppState::hideDesktopFillChanged, &AppState::desktopSolidColorChanged,
          &AppState::desktopCoverConsumesClicksChanged, &AppState::desktopDoubleClickToRevealChanged})
        connect(m_appState.get(), changed, this, &AppCoordinator::applyDesktopSettings);
    m_hotkeyManager =
        std::make_unique<HotkeyManager>(m_appState->shortcuts(), std::move(m_platform.hotkeyRegistrar));
    connect(m_hotkeyManager.get(), &HotkeyManager::activated, this, &AppCoordinator::runShortcut);
    // Created now, fetching nothing: the feed is read only when the user asks.
    m_updateProvider = std::make_unique<UpdateProvider>(locations.updateFeedURL);
    connect(m_updateProvider.get(), &UpdateProvider::finished, this, &AppCoordinator::finishUpdateCheck);
    m_permissions = std::make_unique<Permissions>(std::move(m_platform.permissionProbe),
                                                  [this] { return m_pasteService->canPostKeystrokes(); });
    m_appState->setPermissionSummaries(m_permissions->summaries());
    connect(m_permissions.get(), &Permissions::summariesChanged, this,
            [this] { m_appState->setPermissionSummaries(m_permissions->summaries()); });
    openClipboardStore(locations.historyPath);
    if (m_clipboardStore) {
        // The store announces every change; the history list applies each as it comes.
        ClipboardListModel *list = m_appState->clipboardList();
        connect(m_clipboardStore.get(), &ClipboardStore::entryInserted, list,
                &ClipboardListModel::insertEntry);
        connect(m_clipboardStore.get(), &ClipboardStore::entryChanged, list,
                &ClipboardListModel::insertEntry);
        connect(m_clipboardStore.get(), &ClipboardStore::entriesRemoved, list,
                &ClipboardListModel::removeEntries);
        // Seeded with the current change count: what is on the clipboard at launch is not new.
        m_clipboardMonitor = std::make_unique<ClipboardMonitor>(
            m_platform.pasteboard.get(), m_clipboardStore.get(), m_platform.frontmostApplication.get(),
            static_cast<ClipboardMonitorDelegate *>(this));
    }
    m_appState->applyEntries(m_clipboardStore ? m_clipboardStore->entries() : ClipboardHistoryEntries());
    m_appState->setSelectedClipboardEntryID(QUuid());
}

AppCoordinator::~AppCoordinator()
{
    shutdown();
}

void AppCoordinator::openClipboardStore(const QString &historyPath)
{
    QString error;
    m_clipboardStore = ClipboardStore::open(historyPath, ClipboardStore::defaultHistoryLimit, &error);
    if (m_clipboardStore)
        return;

    qCWarning(lcStore, "Persistent store unavailable, running in-memory: %s", qUtf8Printable(error));
    m_clipboardStore = ClipboardStore::openInMemory(ClipboardStore::defaultHistoryLimit, &error);
    if (!m_clipboardStore)
        qCCritical(lcStore, "In-memory store unavailable too: %s", qUtf8Printable(error));
    m_appState->setClipboardStatusMessage(
        QStringLiteral("Clipboard history is running without persistence."));
    m_storeFellBackToMemory = true;
}

void AppCoordinator::start()
{
    assertGuiThread();
    if (m_statusItemController)
        return;
    m_mirrorWindowController->setOnOpenSettings([self = QPointer<AppCoordinator>(this)] {
        if (self)
            self->openSettings();
    });
    m_statusItemController =
        std::make_unique<StatusItemController>(m_appState.get(), this, m_clipboardStore.get());
    // Asked as the hub appears, while the application the user was in is still the active one: copies
    // made in the hub are then credited to that application rather than to Halcy.
    connect(m_statusItemController->popover(), &HubPopover::shownChanged, this, [this](bool shown) {
        if (shown && m_platform.frontmostApplication)
            m_platform.frontmostApplication->name();
    });
    m_hotkeyManager->start();
    if (m_clipboardMonitor)
        m_clipboardMonitor->start();
    if (m_storeFellBackToMemory) {
        tellUser(
            QStringLiteral("Clipboard history is running without persistence."),
            QStringLiteral("The history file %1 could not be opened and is left as it is. Copies are kept "
                           "until Halcy quits.")
                .arg(m_historyPath));
    }
    reportUnregisteredShortcuts();
    if (m_platform.pasteboard && m_platform.pasteboard->acceptHandovers())
        connect(m_platform.pasteboard.get(), &Pasteboard::handoverRequested, this,
                &AppCoordinator::takeHandover);
    m_permissions->refresh();
    showOnboardingIfNeeded();
}

void AppCoordinator::showOnboardingIfNeeded()
{
    if (m_preferences->read(onboardingRow()).toBool())
        return;
    QPointer<AppCoordinator> self(this);
    m_onboardingController = std::make_unique<OnboardingWindowController>(m_appState.get(), this, [self] {
        if (!self)
            return;
        self->m_preferences->write(onboardingRow(), true);
        // Let go once the window's own signal has returned.
        if (self->m_onboardingController)
            self->m_onboardingController.release()->deleteLater();
    });
    m_onboardingController->show();
}

void AppCoordinator::reportUnregisteredShortcuts()
{
    if (!m_hotkeyManager->isAvailable())
        return;
    QStringList taken;
    const QMap<quint32, QString> registered = m_hotkeyManager->actionIDs();
    for (const KeyboardShortcutDescriptor &shortcut : m_appState->shortcuts()) {
        if (!registered.values().contains(shortcut.id))
            taken << shortcut.displayForm();
    }
    if (taken.isEmpty())
        return;
    const QString verb = taken.size() == 1 ? QStringLiteral("is") : QStringLiteral("are");
    tellUser(QStringLiteral("%1 %2 already in use by another program.")
                 .arg(taken.join(QStringLiteral(", ")), verb),
             QStringLiteral(
                 "Free it in the desktop's keyboard settings and restart Halcy; until then the tray icon "
                 "and \"halcy show\" open the hub."));
}

void AppCoordinator::tellUser(const QString &message, const QString &details)
{
    m_appState->setClipboardStatusMessage(message);
    if (m_statusItemController && m_statusItemController->isPopoverShown())
        return;
    QDeadlineTimer &quietUntil = m_recentNotifications[message];
    if (!quietUntil.hasExpired())
        return;
    quietUntil.setRemainingTime(repeatedNotificationMs);
    const QString body = details.isEmpty() ? message : message + QLatin1Char(' ') + details;
    if (m_platform.notifier && m_platform.notifier->notify(QStringLiteral("Halcy"), body))
        return;
    if (m_statusItemController)
        m_statusItemController->showMessage(body);
}

void AppCoordinator::shutdown()
{
    if (m_shutDown)
        return;
    m_shutDown = true;
    qCInfo(lcApp) << "Shutting down";
    // The webcam's light goes out before anything else is torn down.
    if (m_mirrorWindowController)
        m_mirrorWindowController->close();
    m_clipboardMonitor.reset();
    m_settingsWindowController.reset();
    m_onboardingController.reset();
    // No cover may outlive the process, whatever state it was in.
    m_desktopCoverManager->setConfiguration(DesktopCoverConfiguration());
    m_desktopCoverManager->clearRevealAction();
    m_desktopCoverManager->setHidden(false);
    m_desktopCoverManager->removeCovers();
    // Releases the key grabs, so the combinations are free for other programs at once.
    m_hotkeyManager.reset();
    m_statusItemController.reset();
}

void AppCoordinator::runShortcut(const QString &actionID)
{
    // An action this build does not know (a newer table) does nothing.
    if (actionID == QLatin1String("clipboard.open"))
        toggleHub();
    else if (actionID == QLatin1String("mirror.toggle"))
        toggleMirror();
    else if (actionID == QLatin1String("desktop.toggle"))
        toggleDesktopCover();
}

void AppCoordinator::toggleHub()
{
    if (m_statusItemController)
        m_statusItemController->togglePopover();
}

void AppCoordinator::createMirror()
{
    // Remembered outside AppState: resetting the settings keeps the chosen devices and the place.
    static const PreferenceRow cameraRow = PreferenceRow::text("selectedCameraDeviceID");
    static const PreferenceRow microphoneRow = PreferenceRow::text("selectedMicDeviceID");
    static const PreferenceRow frameRow = PreferenceRow::rect("mirrorFrame");
    const auto remember = [this](const PreferenceRow &row) {
        return [this, &row](const QString &id) {
            if (id.isEmpty())
                m_preferences->remove(row);
            else
                m_preferences->write(row, id);
        };
    };

    std::unique_ptr<CameraBackend> backend = std::move(m_platform.cameraBackend);
    if (!backend)
        backend = std::make_unique<QtCameraBackend>();
    m_cameraEngine = std::make_unique<MirrorCameraEngine>(std::move(backend), m_platform.pasteboard.get(),
                                                          m_preferences->read(cameraRow).toString());
    connect(m_cameraEngine.get(), &MirrorCameraEngine::selectedDeviceIDChanged, this, remember(cameraRow));
    // A saved camera that is gone was replaced while the engine was built.
    remember(cameraRow)(m_cameraEngine->selectedDeviceID());
    m_microphoneMonitor =
        std::make_unique<MicrophoneLevelMonitor>(m_preferences->read(microphoneRow).toString());
    connect(m_microphoneMonitor.get(), &MicrophoneLevelMonitor::selectedDeviceIDChanged, this,
            remember(microphoneRow));

    m_mirrorWindowController =
        std::make_unique<MirrorWindowController>(m_cameraEngine.get(), m_microphoneMonitor.get());
    m_mirrorWindowController->setSavedFrame(m_preferences->read(frameRow).toRect());
    connect(m_mirrorWindowController.get(), &MirrorWindowController::frameChanged, this,
            [this](const QRect &frame) { m_preferences->write(frameRow, frame); });
    connect(m_mirrorWindowController.get(), &MirrorWindowController::openChanged, m_appState.get(),
            &AppState::setMirrorOpen);
    const auto applySettings = [this] {
        MirrorSettings settings;
        settings.shape = m_appState->mirrorShape();
        settings.flip = m_appState->mirrorFlipDefault();
        settings.excludeFromScreenShare = m_appState->excludeMirrorFromScreenShare();
        settings.showMicLevel = m_appState->mirrorShowMicLevel();
        m_mirrorWindowController->setSettings(settings);
    };
    applySettings();
    for (const auto changed :
         {&AppState::mirrorShapeChanged, &AppState::mirrorFlipDefaultChanged,
          &AppState::excludeMirrorFromScreenShareChanged, &AppState::mirrorShowMicLevelChanged})
        connect(m_appState.get(), changed, this, applySettings);
    // Switching the tool off closes it.
    connect(m_appState.get(), &AppState::mirrorEnabledChanged, this, [this] {
        if (!m_appState->mirrorEnabled())
            m_mirrorWindowController->close();
    });
}

void AppCoordinator::toggleMirror()
{
    if (!m_appState->mirrorEnabled())
        return;
    if (m_appState->mirrorOpen())
        m_mirrorWindowController->close();
    else
        m_mirrorWindowController->show();
}

void AppCoordinator::toggleDesktopCover()
{
    assertGuiThread();
    if (!m_appState->desktopEnabled())
        return;
    const bool hidden = !m_appState->desktopHidden();
    m_appState->setDesktopHidden(hidden);
    m_desktopCoverManager->setConfiguration(m_appState->desktopCoverConfiguration());
    // A double click on a cover has already removed the covers; the state follows.
    m_desktopCoverManager->setRevealAction(this, [this] { m_appState->setDesktopHidden(false); });
    m_desktopCoverManager->setHidden(hidden);
    if (hidden)
        m_desktopCoverManager->rebuildCovers();
    else
        m_desktopCoverManager->removeCovers();
}

void AppCoordinator::applyDesktopSettings()
{
    m_desktopCoverManager->setConfiguration(m_appState->desktopCoverConfiguration());
    if (m_desktopCoverManager->isHidden())
        m_desktopCoverManager->rebuildCovers();
}

bool AppCoordinator::writeEntry(const ClipboardHistoryEntry &entry, PasteMode mode)
{
    assertGuiThread();
    m_appState->setSelectedClipboardEntryID(entry.id);
    if (!m_clipboardStore)
        return m_pasteService->write(entry, mode, std::nullopt);
    return m_pasteService->write(m_clipboardStore->withFullText(entry), mode,
                                 m_clipboardStore->imageData(entry.id));
}

void AppCoordinator::copyEntry(const ClipboardHistoryEntry &entry, PasteMode mode)
{
    m_appState->setClipboardStatusMessage(writeEntry(entry, mode)
                                              ? QStringLiteral("Copied to clipboard")
                                              : QStringLiteral("This item could not be copied."));
}

void AppCoordinator::pasteEntry(const ClipboardHistoryEntry &entry, PasteMode mode)
{
    const bool written = writeEntry(entry, mode);
    // X delivers the keystroke to whatever has the focus, so the hub goes away first and the keystroke
    // follows once the window manager has handed the focus back to the application the user was in.
    const bool hubWasShown = m_statusItemController && m_statusItemController->isPopoverShown();
    if (m_statusItemController)
        m_statusItemController->closePopover();
    if (!written) {
        tellUser(AppState::cannotPasteMessage());
        return;
    }
    if (!m_pasteService->canPostKeystrokes()) {
        tellUser(AppState::copiedOnlyMessage());
        return;
    }
    const auto post = [this] {
        if (m_pasteService->postPasteKeystroke())
            m_appState->applyPasteResult(PasteResult::pasted);
        else
            tellUser(AppState::copiedOnlyMessage());
    };
    if (hubWasShown)
        QTimer::singleShot(focusSettleMs, this, post);
    else
        post();
}

void AppCoordinator::togglePin(const QUuid &entryID)
{
    assertGuiThread();
    if (!m_clipboardStore)
        return;
    QString error;
    if (!m_clipboardStore->togglePin(entryID, &error)) {
        qCWarning(lcStore) << "Pin failed:" << error;
        m_appState->setClipboardStatusMessage(QStringLiteral("Pin could not be updated."));
    }
}

void AppCoordinator::deleteEntry(const QUuid &entryID)
{
    assertGuiThread();
    if (!m_clipboardStore)
        return;
    QString error;
    if (!m_clipboardStore->deleteEntry(entryID, &error)) {
        qCWarning(lcStore) << "Delete failed:" << error;
        m_appState->setClipboardStatusMessage(QStringLiteral("Item could not be deleted."));
    }
}

void AppCoordinator::clearHistory()
{
    assertGuiThread();
    if (!m_clipboardStore)
        return;
    QString error;
    const bool cleared = m_clipboardStore->clear(false, &error);
    if (!cleared)
        qCWarning(lcStore) << "Clear failed:" << error;
    m_appState->setClipboardStatusMessage(cleared ? QStringLiteral("History cleared. Pinned items kept.")
                                                  : QStringLiteral("History could not be cleared."));
}

void AppCoordinator::clearRecentHistory()
{
    assertGuiThread();
    if (!m_clipboardStore) {
        m_appState->applyEntries({});
        m_appState->setClipboardStatusMessage(QStringLiteral("Recent history cleared."));
        return;
    }
    const QDateTime cutoff = QDateTime::currentDateTime().addSecs(-clearRecentHistorySeconds);
    QString error;
    const bool cleared = m_clipboardStore->deleteEntriesSince(cutoff, false, &error);
    if (!cleared)
        qCWarning(lcStore) << "Clear recent failed:" << error;
    m_appState->setClipboardStatusMessage(cleared ? QStringLiteral("Recent history cleared.")
                                                  : QStringLiteral("Recent history could not be cleared."));
}

void AppCoordinator::openSettings()
{
    if (m_statusItemController)
        m_statusItemController->closePopover();
    if (!m_settingsWindowController) {
        m_settingsWindowController = std::make_unique<SettingsWindowController>(
            m_appState.get(), this, m_platform.loginItem.get(), m_cameraEngine.get(),
            m_microphoneMonitor.get(), m_windowStatePath);
    }
    m_settingsWindowController->show();
}

void AppCoordinator::openSettingsAtTab(SettingsTab tab)
{
    m_appState->setSelectedSettingsTab(tab);
    openSettings();
}

void AppCoordinator::refreshPermissions()
{
    m_permissions->refresh();
}

void AppCoordinator::openPermissionSettings(const QString &permissionID)
{
    m_permissions->openSettings(permissionID);
}

void AppCoordinator::checkForUpdates()
{
    if (m_appState->isCheckingForUpdates())
        return;
    m_appState->setIsCheckingForUpdates(true);
    m_appState->setUpdateMessage(QString());
    m_appState->setUpdateURL(QUrl());
    m_updateCheckClock.start();
    m_updateProvider->checkForUpdates();
}

void AppCoordinator::finishUpdateCheck(const UpdateCheckResult &result)
{
    m_appState->setUpdateMessage(result.message);
    m_appState->setUpdateURL(result.downloadURL);
    // A configured check keeps "Checking…" for its minimum time; one that could not start clears it at once.
    const qint64 remaining = result.outcome == UpdateCheckResult::Outcome::notConfigured
                                 ? 0
                                 : updateCheckingFlagMs - m_updateCheckClock.elapsed();
    if (remaining <= 0) {
        m_appState->setIsCheckingForUpdates(false);
        return;
    }
    QTimer::singleShot(int(remaining), this, [this] { m_appState->setIsCheckingForUpdates(false); });
}

void AppCoordinator::refreshDevices()
{
    m_cameraEngine->refreshDevices();
    m_microphoneMonitor->refreshDevices();
}

void AppCoordinator::resetSettings()
{
    m_appState->resetToDefaults();
}

bool AppCoordinator::isCaptureEnabled() const
{
    return m_appState->clipboardEnabled() && !m_appState->clipboardPaused();
}

void AppCoordinator::reportStatus(const QString &message)
{
    tellUser(message);
}

// On X11 a copy lives in the program that made it. When that program has gone without handing its
// content over, the newest entry takes its place, so that pasting still pastes what was copied last.
void AppCoordinator::clipboardEmptied()
{
    assertGuiThread();
    if (!m_clipboardStore || !m_appState->clipboardEnabled())
        return;
    const ClipboardHistoryEntries &entries = m_appState->clipboardEntries();
    if (entries.isEmpty())
        return;
    const ClipboardHistoryEntry &newest = entries.constFirst();
    if (m_pasteService->write(m_clipboardStore->withFullText(newest), PasteMode::formatted,
                              m_clipboardStore->imageData(newest.id)))
        qCDebug(lcClipboard) << "the clipboard's owner left; put back the newest entry";
}

void AppCoordinator::takeHandover()
{
    Pasteboard *pasteboard = m_platform.pasteboard.get();
    if (!m_appState->clipboardEnabled()) {
        pasteboard->finishHandover(false);
        return;
    }
    PasteboardRequest request;
    request.changeCount = pasteboard->changeCount();
    // A secret stays with the program that is leaving: it goes when that program goes.
    request.isExcluded = &ClipboardMonitor::isExcluded;
    request.keepEveryType = true;
    pasteboard->requestContent(request, this, [this](const PasteboardContent &content) {
        const bool taken = m_pasteService->adopt(content);
        qCDebug(lcClipboard) << "handover of" << content.types << (taken ? "taken" : "declined");
        if (m_platform.pasteboard)
            m_platform.pasteboard->finishHandover(taken);
    });
}

void AppCoordinator::quit()
{
    QCoreApplication::quit();
}
