#include "App/AppState.h"

#include "App/Preferences.h"
#include "Clipboard/ClipboardListModel.h"
#include "Core/GuiThread.h"

#include <QMetaProperty>

const std::vector<PreferenceRow> &AppState::preferenceRows()
{
    static const std::vector<PreferenceRow> rows{
        PreferenceRow::flag("clipboardEnabled", true),
        PreferenceRow::flag("mirrorEnabled", true),
        PreferenceRow::flag("desktopEnabled", true),
        PreferenceRow::lenientFlag("clipboardPaused", false),
        PreferenceRow::choice("hideDesktopFill", DesktopFill::matchWallpaper),
        PreferenceRow::color("desktopSolidColor", brandInkColor()),
        PreferenceRow::flag("desktopCoverConsumesClicks", true),
        PreferenceRow::flag("desktopDoubleClickToReveal", false),
        PreferenceRow::choice("mirrorShape", MirrorShape::roundedRectangle),
        PreferenceRow::flag("mirrorFlipDefault", true),
        PreferenceRow::flag("excludeMirrorFromScreenShare", false),
        PreferenceRow::flag("mirrorShowMicLevel", true),
        PreferenceRow::choice("defaultPasteMode", PasteMode::formatted),
    };
    return rows;
}

namespace {

std::size_t rowIndex(const char *field)
{
    const std::vector<PreferenceRow> &rows = AppState::preferenceRows();
    for (std::size_t i = 0; i < rows.size(); ++i) {
        if (qstrcmp(rows[i].field, field) == 0)
            return i;
    }
    qFatal("AppState has no preference row named %s", field);
}

} // namespace

AppState::AppState(Preferences *preferences, QObject *parent)
    : QObject(parent), m_preferences(preferences), m_clipboardList(new ClipboardListModel(this))
{
    connect(m_clipboardList, &ClipboardListModel::searchQueryChanged, this, &AppState::searchQueryChanged);
    connect(m_clipboardList, &ClipboardListModel::selectedEntryIDChanged, this,
            &AppState::selectedClipboardEntryIDChanged);
    for (const PreferenceRow &row : preferenceRows()) {
        Q_ASSERT_X(metaObject()->indexOfProperty(row.field) >= 0, "AppState", row.field);
        m_preferenceValues.push_back(preferences->read(row));
    }
}

QVariant AppState::preference(const char *field) const
{
    return m_preferenceValues[rowIndex(field)];
}

void AppState::setPreference(const char *field, const QVariant &value)
{
    assertGuiThread();
    const std::size_t index = rowIndex(field);
    if (!m_preferences->write(preferenceRows()[index], value))
        return;
    if (m_preferenceValues[index] == value)
        return;
    m_preferenceValues[index] = value;
    const QMetaProperty property = metaObject()->property(metaObject()->indexOfProperty(field));
    property.notifySignal().invoke(this);
}

void AppState::resetToDefaults()
{
    for (const PreferenceRow &row : preferenceRows())
        setPreference(row.field, row.defaultValue);
}

// Session fields.
void AppState::setMirrorOpen(bool value)
{
    if (m_mirrorOpen == value)
        return;
    m_mirrorOpen = value;
    emit mirrorOpenChanged();
}

void AppState::setDesktopHidden(bool value)
{
    if (m_desktopHidden == value)
        return;
    m_desktopHidden = value;
    emit desktopHiddenChanged();
}

QString AppState::searchQuery() const
{
    return m_clipboardList->searchQuery();
}

void AppState::setSearchQuery(const QString &value)
{
    m_clipboardList->setSearchQuery(value);
}

QUuid AppState::selectedClipboardEntryID() const
{
    return m_clipboardList->selectedEntryID();
}

void AppState::setSelectedClipboardEntryID(const QUuid &value)
{
    m_clipboardList->setSelectedEntryID(value);
}

const ClipboardHistoryEntries &AppState::clipboardEntries() const
{
    return m_clipboardList->entries();
}

void AppState::setClipboardStatusMessage(const QString &value)
{
    // Re-announce an identical message too: the same outcome twice is still news to the user.
    m_clipboardStatusMessage = value;
    emit clipboardStatusMessageChanged();
}

void AppState::setUpdateMessage(const QString &value)
{
    if (m_updateMessage == value && m_updateMessage.isNull() == value.isNull())
        return;
    m_updateMessage = value;
    emit updateMessageChanged();
}

void AppState::setIsCheckingForUpdates(bool value)
{
    if (m_isCheckingForUpdates == value)
        return;
    m_isCheckingForUpdates = value;
    emit isCheckingForUpdatesChanged();
}

void AppState::setSelectedSettingsTab(SettingsTab value)
{
    if (m_selectedSettingsTab == value)
        return;
    m_selectedSettingsTab = value;
    emit selectedSettingsTabChanged();
}

void AppState::applyEntries(const ClipboardHistoryEntries &entries, const QUuid &preferredSelection)
{
    m_clipboardList->setEntries(entries, preferredSelection);
}

QString AppState::pastedMessage()
{
    return QStringLiteral("Pasted");
}

QString AppState::copiedOnlyMessage()
{
    // XTest is what lets Halcy press Ctrl+V for the user on X11.
    return QStringLiteral("Copied. Enable the XTest extension to paste automatically.");
}

QString AppState::cannotPasteMessage()
{
    return QStringLiteral("This item cannot be pasted yet.");
}

void AppState::applyPasteResult(PasteResult result)
{
    switch (result) {
    case PasteResult::pasted:
        setClipboardStatusMessage(pastedMessage());
        break;
    case PasteResult::copiedOnly:
        setClipboardStatusMessage(copiedOnlyMessage());
        break;
    case PasteResult::cannotPaste:
        setClipboardStatusMessage(cannotPasteMessage());
        break;
    }
}

DesktopCoverConfiguration AppState::desktopCoverConfiguration() const
{
    DesktopCoverConfiguration configuration;
    configuration.fill = hideDesktopFill();
    configuration.solidColor = desktopSolidColor();
    configuration.consumesClicks = desktopCoverConsumesClicks();
    configuration.doubleClickReveals = desktopDoubleClickToReveal();
    return configuration;
}

void AppState::setUpdateURL(const QUrl &value)
{
    if (m_updateURL == value)
        return;
    m_updateURL = value;
    emit updateURLChanged();
}

void AppState::setPermissionSummaries(const PermissionSummaries &value)
{
    if (m_permissionSummaries == value)
        return;
    m_permissionSummaries = value;
    emit permissionSummariesChanged();
}

QVariantList AppState::permissionSummaryRows() const
{
    QVariantList rows;
    for (const PermissionSummary &summary : m_permissionSummaries) {
        rows << QVariantMap{{QStringLiteral("id"), summary.id},
                            {QStringLiteral("title"), summary.title},
                            {QStringLiteral("detail"), summary.detail},
                            {QStringLiteral("state"), enumName(summary.state)},
                            {QStringLiteral("canOpenSettings"), summary.canOpenSettings()}};
    }
    return rows;
}

QVariantList AppState::shortcutRows() const
{
    QVariantList rows;
    for (const KeyboardShortcutDescriptor &shortcut : m_shortcuts) {
        rows << QVariantMap{{QStringLiteral("id"), shortcut.id},
                            {QStringLiteral("title"), shortcut.title},
                            {QStringLiteral("key"), shortcut.key},
                            {QStringLiteral("display"), shortcut.displayForm()}};
    }
    return rows;
}

QString AppState::shortcutText(const QString &shortcutID) const
{
    for (const KeyboardShortcutDescriptor &shortcut : m_shortcuts) {
        if (shortcut.id == shortcutID)
            return shortcut.displayForm();
    }
    return {};
}
