#pragma once

#include "App/PasteResult.h"
#include "App/SettingsTab.h"
#include "Clipboard/ClipboardHistoryEntry.h"
#include "Clipboard/PasteMode.h"
#include "Desktop/DesktopCoverConfiguration.h"
#include "Hotkeys/KeyboardShortcutDescriptor.h"
#include "Mirror/MirrorShape.h"

#include <QColor>
#include <QObject>
#include <QString>
#include <QUuid>

class Preferences;

// The one observable object every view, the tray icon and the coordinator share. Persisted fields
// write themselves through Preferences each time they are set. GUI thread only.
class AppState final : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool clipboardEnabled READ clipboardEnabled WRITE setClipboardEnabled NOTIFY clipboardEnabledChanged)
    Q_PROPERTY(bool mirrorEnabled READ mirrorEnabled WRITE setMirrorEnabled NOTIFY mirrorEnabledChanged)
    Q_PROPERTY(bool desktopEnabled READ desktopEnabled WRITE setDesktopEnabled NOTIFY desktopEnabledChanged)
    Q_PROPERTY(bool clipboardPaused READ clipboardPaused WRITE setClipboardPaused NOTIFY clipboardPausedChanged)
    Q_PROPERTY(bool mirrorOpen READ mirrorOpen WRITE setMirrorOpen NOTIFY mirrorOpenChanged)
    Q_PROPERTY(bool desktopHidden READ desktopHidden WRITE setDesktopHidden NOTIFY desktopHiddenChanged)
    Q_PROPERTY(QString searchQuery READ searchQuery WRITE setSearchQuery NOTIFY searchQueryChanged)
    Q_PROPERTY(QUuid selectedClipboardEntryID READ selectedClipboardEntryID WRITE setSelectedClipboardEntryID
                   NOTIFY selectedClipboardEntryIDChanged)
    Q_PROPERTY(QString clipboardStatusMessage READ clipboardStatusMessage WRITE setClipboardStatusMessage
                   NOTIFY clipboardStatusMessageChanged)
    Q_PROPERTY(QColor desktopSolidColor READ desktopSolidColor WRITE setDesktopSolidColor
                   NOTIFY desktopSolidColorChanged)
    Q_PROPERTY(bool desktopCoverConsumesClicks READ desktopCoverConsumesClicks WRITE setDesktopCoverConsumesClicks
                   NOTIFY desktopCoverConsumesClicksChanged)
    Q_PROPERTY(bool desktopDoubleClickToReveal READ desktopDoubleClickToReveal WRITE setDesktopDoubleClickToReveal
                   NOTIFY desktopDoubleClickToRevealChanged)
    Q_PROPERTY(bool mirrorFlipDefault READ mirrorFlipDefault WRITE setMirrorFlipDefault NOTIFY mirrorFlipDefaultChanged)
    Q_PROPERTY(bool excludeMirrorFromScreenShare READ excludeMirrorFromScreenShare
                   WRITE setExcludeMirrorFromScreenShare NOTIFY excludeMirrorFromScreenShareChanged)
    Q_PROPERTY(bool mirrorShowMicLevel READ mirrorShowMicLevel WRITE setMirrorShowMicLevel
                   NOTIFY mirrorShowMicLevelChanged)
    Q_PROPERTY(QString updateMessage READ updateMessage WRITE setUpdateMessage NOTIFY updateMessageChanged)
    Q_PROPERTY(bool isCheckingForUpdates READ isCheckingForUpdates WRITE setIsCheckingForUpdates
                   NOTIFY isCheckingForUpdatesChanged)

public:
    // Reads every persisted field; writes nothing.
    explicit AppState(Preferences *preferences, QObject *parent = nullptr);

    bool clipboardEnabled() const { return m_clipboardEnabled; }
    bool mirrorEnabled() const { return m_mirrorEnabled; }
    bool desktopEnabled() const { return m_desktopEnabled; }
    bool clipboardPaused() const { return m_clipboardPaused; }
    bool mirrorOpen() const { return m_mirrorOpen; }
    bool desktopHidden() const { return m_desktopHidden; }
    QString searchQuery() const { return m_searchQuery; }
    // Null when nothing is selected.
    QUuid selectedClipboardEntryID() const { return m_selectedClipboardEntryID; }
    const ClipboardHistoryEntries &clipboardEntries() const { return m_clipboardEntries; }
    // Null when there is no message.
    QString clipboardStatusMessage() const { return m_clipboardStatusMessage; }
    const ClipboardHistoryEntries &visibleClipboardEntries() const { return m_visibleClipboardEntries; }
    DesktopFill hideDesktopFill() const { return m_hideDesktopFill; }
    QColor desktopSolidColor() const { return m_desktopSolidColor; }
    bool desktopCoverConsumesClicks() const { return m_desktopCoverConsumesClicks; }
    bool desktopDoubleClickToReveal() const { return m_desktopDoubleClickToReveal; }
    MirrorShape mirrorShape() const { return m_mirrorShape; }
    bool mirrorFlipDefault() const { return m_mirrorFlipDefault; }
    bool excludeMirrorFromScreenShare() const { return m_excludeMirrorFromScreenShare; }
    bool mirrorShowMicLevel() const { return m_mirrorShowMicLevel; }
    PasteMode defaultPasteMode() const { return m_defaultPasteMode; }
    QString updateMessage() const { return m_updateMessage; }
    bool isCheckingForUpdates() const { return m_isCheckingForUpdates; }
    SettingsTab selectedSettingsTab() const { return m_selectedSettingsTab; }
    // The fixed table of global shortcuts.
    const QList<KeyboardShortcutDescriptor> &shortcuts() const { return m_shortcuts; }
    // How the shortcut with this action id is written on this desktop; empty for an unknown id.
    Q_INVOKABLE QString shortcutText(const QString &shortcutID) const;

    void setClipboardEnabled(bool value);
    void setMirrorEnabled(bool value);
    void setDesktopEnabled(bool value);
    void setClipboardPaused(bool value);
    void setMirrorOpen(bool value);
    void setDesktopHidden(bool value);
    void setSearchQuery(const QString &value);
    void setSelectedClipboardEntryID(const QUuid &value);
    void setClipboardEntries(const ClipboardHistoryEntries &entries);
    void setClipboardStatusMessage(const QString &value);
    void setHideDesktopFill(DesktopFill value);
    void setDesktopSolidColor(const QColor &value);
    void setDesktopCoverConsumesClicks(bool value);
    void setDesktopDoubleClickToReveal(bool value);
    void setMirrorShape(MirrorShape value);
    void setMirrorFlipDefault(bool value);
    void setExcludeMirrorFromScreenShare(bool value);
    void setMirrorShowMicLevel(bool value);
    void setDefaultPasteMode(PasteMode value);
    void setUpdateMessage(const QString &value);
    void setIsCheckingForUpdates(bool value);
    void setSelectedSettingsTab(SettingsTab value);

    // Publishes a reloaded history: the preferred entry is selected, else the first visible one.
    void applyEntries(const ClipboardHistoryEntries &entries, const QUuid &preferredSelection = QUuid());
    void applyPasteResult(PasteResult result);
    void refreshVisibleEntries();
    // Drops an entry from the in-memory list only; the store is not touched.
    void removeEntry(const QUuid &id);
    DesktopCoverConfiguration desktopCoverConfiguration() const;
    // Every persisted preference back to its default, each written and announced.
    void resetToDefaults();

    static QString pastedMessage();
    static QString copiedOnlyMessage();
    static QString cannotPasteMessage();

signals:
    void clipboardEnabledChanged();
    void mirrorEnabledChanged();
    void desktopEnabledChanged();
    void clipboardPausedChanged();
    void mirrorOpenChanged();
    void desktopHiddenChanged();
    void searchQueryChanged();
    void selectedClipboardEntryIDChanged();
    void clipboardEntriesChanged();
    void clipboardStatusMessageChanged();
    void visibleClipboardEntriesChanged();
    void hideDesktopFillChanged();
    void desktopSolidColorChanged();
    void desktopCoverConsumesClicksChanged();
    void desktopDoubleClickToRevealChanged();
    void mirrorShapeChanged();
    void mirrorFlipDefaultChanged();
    void excludeMirrorFromScreenShareChanged();
    void mirrorShowMicLevelChanged();
    void defaultPasteModeChanged();
    void updateMessageChanged();
    void isCheckingForUpdatesChanged();
    void selectedSettingsTabChanged();

private:
    void persistBool(bool &member, bool value, const char *field, void (AppState::*changed)());
    template <typename E> void persistEnum(E &member, E value, const char *field, void (AppState::*changed)());
    void repairSelection();

    Preferences *m_preferences;

    bool m_clipboardEnabled;
    bool m_mirrorEnabled;
    bool m_desktopEnabled;
    bool m_clipboardPaused;
    bool m_mirrorOpen = false;
    bool m_desktopHidden = false;
    QString m_searchQuery;
    QUuid m_selectedClipboardEntryID;
    ClipboardHistoryEntries m_clipboardEntries;
    QString m_clipboardStatusMessage;
    ClipboardHistoryEntries m_visibleClipboardEntries;
    DesktopFill m_hideDesktopFill;
    QColor m_desktopSolidColor;
    bool m_desktopCoverConsumesClicks;
    bool m_desktopDoubleClickToReveal;
    MirrorShape m_mirrorShape;
    bool m_mirrorFlipDefault;
    bool m_excludeMirrorFromScreenShare;
    bool m_mirrorShowMicLevel;
    PasteMode m_defaultPasteMode;
    QString m_updateMessage;
    bool m_isCheckingForUpdates = false;
    SettingsTab m_selectedSettingsTab = SettingsTab::general;
    const QList<KeyboardShortcutDescriptor> m_shortcuts = KeyboardShortcutDescriptor::defaultTable();
};
