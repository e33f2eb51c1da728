#include "UI/HubController.h"

#include "App/AppCommanding.h"
#include "App/AppState.h"
#include "Clipboard/ClipboardListModel.h"

HubController::HubController(AppState *appState, AppCommanding *commander, QObject *parent)
    : QObject(parent), m_appState(appState), m_commander(commander)
{
}

HubController::~HubController() = default;

AppState *HubController::appState() const
{
    return m_appState.data();
}

ClipboardListModel *HubController::model() const
{
    return m_appState ? m_appState->clipboardList() : nullptr;
}

ClipboardHistoryEntry HubController::entryAt(int row) const
{
    return m_appState ? m_appState->clipboardList()->entryAt(row) : ClipboardHistoryEntry();
}

void HubController::setShown(bool shown)
{
    // A search left over from last time would reopen the hub on a few rows, which looks like lost
    // history.
    if (!shown && m_appState)
        m_appState->setSearchQuery(QString());
    if (shown && m_appState) {
        m_appState->clipboardList()->refreshDay();
        m_appState->clipboardList()->selectFirstRow();
    }
    if (m_shown == shown)
        return;
    m_shown = shown;
    emit shownChanged();
}

void HubController::search(const QString &query)
{
    if (m_appState)
        m_appState->setSearchQuery(query);
}

void HubController::copyRow(int row)
{
    const ClipboardHistoryEntry entry = entryAt(row);
    if (entry.id.isNull() || !m_appState || !m_commander)
        return;
    m_appState->setSelectedClipboardEntryID(entry.id);
    m_commander->copyEntry(entry, PasteMode::formatted);
}

void HubController::pasteRow(int row, bool plainText)
{
    const ClipboardHistoryEntry entry = entryAt(row);
    if (entry.id.isNull() || !m_commander)
        return;
    m_commander->pasteEntry(entry, plainText ? PasteMode::plainText : PasteMode::formatted);
}

void HubController::togglePinRow(int row)
{
    const ClipboardHistoryEntry entry = entryAt(row);
    if (!entry.id.isNull() && m_commander)
        m_commander->togglePin(entry.id);
}

void HubController::deleteRow(int row)
{
    const ClipboardHistoryEntry entry = entryAt(row);
    if (!entry.id.isNull() && m_commander)
        m_commander->deleteEntry(entry.id);
}

void HubController::clearRecentHistory()
{
    if (m_commander)
        m_commander->clearRecentHistory();
}

void HubController::clearHistory()
{
    if (m_commander)
        m_commander->clearHistory();
}

void HubController::openSettings()
{
    if (m_commander)
        m_commander->openSettings();
}

void HubController::quit()
{
    if (m_commander)
        m_commander->quit();
}

void HubController::toggleMirror()
{
    if (m_commander)
        m_commander->toggleMirror();
}

void HubController::toggleDesktopCover()
{
    if (m_commander)
        m_commander->toggleDesktopCover();
}

void HubController::moveSelection(int delta)
{
    if (m_appState)
        m_appState->clipboardList()->moveSelection(delta);
}

void HubController::activateSelection(bool pastePlainText)
{
    const int row = m_appState ? m_appState->clipboardList()->selectedRow() : -1;
    if (row < 0)
        return;
    if (pastePlainText)
        pasteRow(row, true);
    else
        copyRow(row);
}

bool HubController::pasteQuickNumber(int number)
{
    const int row = m_appState ? m_appState->clipboardList()->rowForQuickNumber(number) : -1;
    if (row < 0)
        return false;
    pasteRow(row, false);
    return true;
}

void HubController::requestClose()
{
    emit closeRequested();
}
