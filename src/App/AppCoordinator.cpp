#include "App/AppCoordinator.h"

#include "App/AppState.h"
#include "App/Logging.h"
#include "App/Preferences.h"
#include "App/StatusItemController.h"
#include "Clipboard/ClipboardStore.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QThread>

namespace {

void assertGuiThread()
{
    Q_ASSERT(QThread::currentThread() == QCoreApplication::instance()->thread());
}

} // namespace

AppCoordinator::Locations AppCoordinator::Locations::standard()
{
    return {Preferences::defaultPath(), ClipboardStore::defaultPath()};
}

AppCoordinator::AppCoordinator(const Locations &locations, QObject *parent) : AppCommanding(parent)
{
    m_preferences = std::make_unique<Preferences>(locations.preferencesPath);
    m_appState = std::make_unique<AppState>(m_preferences.get());
    openClipboardStore(locations.historyPath);
    if (m_clipboardStore)
        m_appState->applyEntries(m_clipboardStore->entries());
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
    m_appState->setClipboardStatusMessage(QStringLiteral("Clipboard history is running without persistence."));
}

void AppCoordinator::start()
{
    assertGuiThread();
    if (m_statusItemController)
        return;
    m_statusItemController = std::make_unique<StatusItemController>(m_appState.get(), this);
}

void AppCoordinator::shutdown()
{
    if (m_shutDown)
        return;
    m_shutDown = true;
    qCInfo(lcApp) << "Shutting down";
    m_statusItemController.reset();
}

void AppCoordinator::reloadEntries()
{
    m_appState->applyEntries(m_clipboardStore ? m_clipboardStore->entries() : ClipboardHistoryEntries());
}

void AppCoordinator::toggleHub()
{
    if (m_statusItemController)
        m_statusItemController->togglePopover();
}

void AppCoordinator::toggleMirror()
{
    if (!m_appState->mirrorEnabled())
        return;
    qCInfo(lcMirror) << "The mirror is not available in this build";
}

void AppCoordinator::toggleDesktopCover()
{
    if (!m_appState->desktopEnabled())
        return;
    qCInfo(lcDesktop) << "Hide Desktop is not available in this build";
}

void AppCoordinator::copyEntry(const ClipboardHistoryEntry &entry, PasteMode mode)
{
    Q_UNUSED(mode);
    m_appState->setSelectedClipboardEntryID(entry.id);
}

void AppCoordinator::pasteEntry(const ClipboardHistoryEntry &entry, PasteMode mode)
{
    Q_UNUSED(mode);
    m_appState->setSelectedClipboardEntryID(entry.id);
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
    reloadEntries();
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
    reloadEntries();
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
    reloadEntries();
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
    reloadEntries();
    m_appState->setClipboardStatusMessage(cleared ? QStringLiteral("Recent history cleared.")
                                                  : QStringLiteral("Recent history could not be cleared."));
}

void AppCoordinator::openSettings()
{
    if (m_statusItemController)
        m_statusItemController->closePopover();
    qCInfo(lcApp) << "The settings window is not available in this build";
}

void AppCoordinator::openSettingsAtTab(SettingsTab tab)
{
    m_appState->setSelectedSettingsTab(tab);
    openSettings();
}

void AppCoordinator::refreshPermissions() {}

void AppCoordinator::checkForUpdates() {}

void AppCoordinator::quit()
{
    QCoreApplication::quit();
}
