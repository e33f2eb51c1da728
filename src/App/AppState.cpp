#include "App/AppState.h"

#include "App/Preferences.h"
#include "Clipboard/ClipboardSearch.h"

#include <QThread>
#include <QCoreApplication>

namespace {

// Defaults of the persisted fields: what a fresh install reads and what a reset restores.
namespace Defaults {
constexpr bool clipboardEnabled = true;
constexpr bool mirrorEnabled = true;
constexpr bool desktopEnabled = true;
constexpr bool clipboardPaused = false;
constexpr DesktopFill hideDesktopFill = DesktopFill::matchWallpaper;
constexpr bool desktopCoverConsumesClicks = true;
constexpr bool desktopDoubleClickToReveal = false;
constexpr MirrorShape mirrorShape = MirrorShape::roundedRectangle;
constexpr bool mirrorFlipDefault = true;
constexpr bool excludeMirrorFromScreenShare = false;
constexpr bool mirrorShowMicLevel = true;
constexpr PasteMode defaultPasteMode = PasteMode::formatted;
} // namespace Defaults

#define HALCY_KEY(field) Preferences::key(#field)

void assertGuiThread()
{
    Q_ASSERT(!QCoreApplication::instance() || QThread::currentThread() == QCoreApplication::instance()->thread());
}

} // namespace

AppState::AppState(Preferences *preferences, QObject *parent)
    : QObject(parent),
      m_preferences(preferences),
      m_clipboardEnabled(preferences->strictBool(HALCY_KEY(clipboardEnabled), Defaults::clipboardEnabled)),
      m_mirrorEnabled(preferences->strictBool(HALCY_KEY(mirrorEnabled), Defaults::mirrorEnabled)),
      m_desktopEnabled(preferences->strictBool(HALCY_KEY(desktopEnabled), Defaults::desktopEnabled)),
      m_clipboardPaused(preferences->plainBool(HALCY_KEY(clipboardPaused))),
      m_hideDesktopFill(preferences->enumValue(HALCY_KEY(hideDesktopFill), Defaults::hideDesktopFill)),
      m_desktopSolidColor(preferences->colorValue(HALCY_KEY(desktopSolidColor), brandInkColor())),
      m_desktopCoverConsumesClicks(
          preferences->strictBool(HALCY_KEY(desktopCoverConsumesClicks), Defaults::desktopCoverConsumesClicks)),
      m_desktopDoubleClickToReveal(
          preferences->strictBool(HALCY_KEY(desktopDoubleClickToReveal), Defaults::desktopDoubleClickToReveal)),
      m_mirrorShape(preferences->enumValue(HALCY_KEY(mirrorShape), Defaults::mirrorShape)),
      m_mirrorFlipDefault(preferences->strictBool(HALCY_KEY(mirrorFlipDefault), Defaults::mirrorFlipDefault)),
      m_excludeMirrorFromScreenShare(
          preferences->strictBool(HALCY_KEY(excludeMirrorFromScreenShare), Defaults::excludeMirrorFromScreenShare)),
      m_mirrorShowMicLevel(preferences->strictBool(HALCY_KEY(mirrorShowMicLevel), Defaults::mirrorShowMicLevel)),
      m_defaultPasteMode(preferences->enumValue(HALCY_KEY(defaultPasteMode), Defaults::defaultPasteMode))
{
}

void AppState::persistBool(bool &member, bool value, const char *field, void (AppState::*changed)())
{
    assertGuiThread();
    m_preferences->setBool(Preferences::key(field), value);
    if (member == value)
        return;
    member = value;
    emit(this->*changed)();
}

template <typename E>
void AppState::persistEnum(E &member, E value, const char *field, void (AppState::*changed)())
{
    assertGuiThread();
    m_preferences->setEnum(Preferences::key(field), value);
    if (member == value)
        return;
    member = value;
    emit(this->*changed)();
}

// Persisted fields: written on every set, announced only on change.
void AppState::setClipboardEnabled(bool value)
{
    persistBool(m_clipboardEnabled, value, "clipboardEnabled", &AppState::clipboardEnabledChanged);
}
void AppState::setMirrorEnabled(bool value)
{
    persistBool(m_mirrorEnabled, value, "mirrorEnabled", &AppState::mirrorEnabledChanged);
}
void AppState::setDesktopEnabled(bool value)
{
    persistBool(m_desktopEnabled, value, "desktopEnabled", &AppState::desktopEnabledChanged);
}
void AppState::setClipboardPaused(bool value)
{
    persistBool(m_clipboardPaused, value, "clipboardPaused", &AppState::clipboardPausedChanged);
}
void AppState::setDesktopCoverConsumesClicks(bool value)
{
    persistBool(m_desktopCoverConsumesClicks, value, "desktopCoverConsumesClicks",
                &AppState::desktopCoverConsumesClicksChanged);
}
void AppState::setDesktopDoubleClickToReveal(bool value)
{
    persistBool(m_desktopDoubleClickToReveal, value, "desktopDoubleClickToReveal",
                &AppState::desktopDoubleClickToRevealChanged);
}
void AppState::setMirrorFlipDefault(bool value)
{
    persistBool(m_mirrorFlipDefault, value, "mirrorFlipDefault", &AppState::mirrorFlipDefaultChanged);
}
void AppState::setExcludeMirrorFromScreenShare(bool value)
{
    persistBool(m_excludeMirrorFromScreenShare, value, "excludeMirrorFromScreenShare",
                &AppState::excludeMirrorFromScreenShareChanged);
}
void AppState::setMirrorShowMicLevel(bool value)
{
    persistBool(m_mirrorShowMicLevel, value, "mirrorShowMicLevel", &AppState::mirrorShowMicLevelChanged);
}

void AppState::setHideDesktopFill(DesktopFill value)
{
    persistEnum(m_hideDesktopFill, value, "hideDesktopFill", &AppState::hideDesktopFillChanged);
}

void AppState::setMirrorShape(MirrorShape value)
{
    persistEnum(m_mirrorShape, value, "mirrorShape", &AppState::mirrorShapeChanged);
}

void AppState::setDefaultPasteMode(PasteMode value)
{
    persistEnum(m_defaultPasteMode, value, "defaultPasteMode", &AppState::defaultPasteModeChanged);
}

void AppState::setDesktopSolidColor(const QColor &value)
{
    assertGuiThread();
    m_preferences->setColor(HALCY_KEY(desktopSolidColor), value);
    if (m_desktopSolidColor == value)
        return;
    m_desktopSolidColor = value;
    emit desktopSolidColorChanged();
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

void AppState::setSearchQuery(const QString &value)
{
    assertGuiThread();
    const bool changed = m_searchQuery != value;
    m_searchQuery = value;
    // Ranked before the change is announced, so that listeners (the hub selects the best match) see
    // the results of the new query rather than those of the old one.
    refreshVisibleEntries();
    if (changed)
        emit searchQueryChanged();
}

void AppState::setSelectedClipboardEntryID(const QUuid &value)
{
    if (m_selectedClipboardEntryID == value)
        return;
    m_selectedClipboardEntryID = value;
    emit selectedClipboardEntryIDChanged();
}

void AppState::setClipboardEntries(const ClipboardHistoryEntries &entries)
{
    assertGuiThread();
    m_clipboardEntries = entries;
    emit clipboardEntriesChanged();
    refreshVisibleEntries();
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

void AppState::refreshVisibleEntries()
{
    m_visibleClipboardEntries = ClipboardSearch::rank(m_clipboardEntries, m_searchQuery);
    emit visibleClipboardEntriesChanged();
}

void AppState::applyEntries(const ClipboardHistoryEntries &entries, const QUuid &preferredSelection)
{
    setClipboardEntries(entries);
    if (!preferredSelection.isNull())
        setSelectedClipboardEntryID(preferredSelection);
    else
        setSelectedClipboardEntryID(m_visibleClipboardEntries.isEmpty() ? QUuid()
                                                                        : m_visibleClipboardEntries.first().id);
}

void AppState::removeEntry(const QUuid &id)
{
    assertGuiThread();
    for (auto it = m_clipboardEntries.begin(); it != m_clipboardEntries.end(); ++it) {
        if (it->id == id) {
            m_clipboardEntries.erase(it);
            emit clipboardEntriesChanged();
            break;
        }
    }
    refreshVisibleEntries();
    repairSelection();
}

void AppState::repairSelection()
{
    if (m_selectedClipboardEntryID.isNull())
        return;
    for (const ClipboardHistoryEntry &entry : std::as_const(m_visibleClipboardEntries)) {
        if (entry.id == m_selectedClipboardEntryID)
            return;
    }
    setSelectedClipboardEntryID(m_visibleClipboardEntries.isEmpty() ? QUuid() : m_visibleClipboardEntries.first().id);
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
    configuration.fill = m_hideDesktopFill;
    configuration.solidColor = m_desktopSolidColor;
    configuration.consumesClicks = m_desktopCoverConsumesClicks;
    configuration.doubleClickReveals = m_desktopDoubleClickToReveal;
    return configuration;
}

void AppState::resetToDefaults()
{
    setClipboardEnabled(Defaults::clipboardEnabled);
    setClipboardPaused(Defaults::clipboardPaused);
    setMirrorEnabled(Defaults::mirrorEnabled);
    setDesktopEnabled(Defaults::desktopEnabled);
    setHideDesktopFill(Defaults::hideDesktopFill);
    setDesktopSolidColor(brandInkColor());
    setDesktopCoverConsumesClicks(Defaults::desktopCoverConsumesClicks);
    setDesktopDoubleClickToReveal(Defaults::desktopDoubleClickToReveal);
    setMirrorShape(Defaults::mirrorShape);
    setMirrorFlipDefault(Defaults::mirrorFlipDefault);
    setExcludeMirrorFromScreenShare(Defaults::excludeMirrorFromScreenShare);
    setMirrorShowMicLevel(Defaults::mirrorShowMicLevel);
    setDefaultPasteMode(Defaults::defaultPasteMode);
}

QString AppState::shortcutText(const QString &shortcutID) const
{
    for (const KeyboardShortcutDescriptor &shortcut : m_shortcuts) {
        if (shortcut.id == shortcutID)
            return shortcut.displayForm();
    }
    return {};
}
