#pragma once

#include "App/PasteResult.h"
#include "App/PermissionSummary.h"
#include "App/PreferenceRow.h"
#include "App/SettingsTab.h"
#include "Clipboard/ClipboardHistoryEntry.h"
#include "Clipboard/PasteMode.h"
#include "Desktop/DesktopCoverConfiguration.h"
#include "Hotkeys/KeyboardShortcutDescriptor.h"
#include "Mirror/MirrorShape.h"

#include <QColor>
#include <QObject>
#include <QString>
#include <QUrl>
#include <QUuid>
#include <QVariantList>
#include <QtQml/qqmlregistration.h>

#include <vector>

class ClipboardListModel;
class Preferences;

// A persisted field of AppState: its property, getter, setter and change signal. The field's row in
// AppState::preferenceRows() (same name) gives its key, default and validation.
// clang-format off
#define HALCY_PREFERENCE(Type, name, setter)                                                                 \
    Q_PROPERTY(Type name READ name WRITE setter NOTIFY name##Changed)                                        \
public:                                                                                                      \
    Type name() const { return preference(#name).value<Type>(); }                                            \
    void setter(const Type &value) { setPreference(#name, QVariant::fromValue(value)); }                     \
    Q_SIGNAL void name##Changed();                                                                           \
                                                                                                             \
private:
// clang-format on

// The one observable object every view, the tray icon and the coordinator share. Persisted fields
// write themselves through Preferences each time they are set. GUI thread only.
class AppState final : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("One per process, owned by the coordinator")
    // Persisted: one line here and one row in preferenceRows() per field.
    HALCY_PREFERENCE(bool, clipboardEnabled, setClipboardEnabled)
    HALCY_PREFERENCE(bool, mirrorEnabled, setMirrorEnabled)
    HALCY_PREFERENCE(bool, desktopEnabled, setDesktopEnabled)
    HALCY_PREFERENCE(bool, clipboardPaused, setClipboardPaused)
    HALCY_PREFERENCE(Desktop::DesktopFill, hideDesktopFill, setHideDesktopFill)
    HALCY_PREFERENCE(QColor, desktopSolidColor, setDesktopSolidColor)
    HALCY_PREFERENCE(bool, desktopCoverConsumesClicks, setDesktopCoverConsumesClicks)
    HALCY_PREFERENCE(bool, desktopDoubleClickToReveal, setDesktopDoubleClickToReveal)
    HALCY_PREFERENCE(Mirror::MirrorShape, mirrorShape, setMirrorShape)
    HALCY_PREFERENCE(bool, mirrorFlipDefault, setMirrorFlipDefault)
    HALCY_PREFERENCE(bool, excludeMirrorFromScreenShare, setExcludeMirrorFromScreenShare)
    HALCY_PREFERENCE(bool, mirrorShowMicLevel, setMirrorShowMicLevel)
    HALCY_PREFERENCE(Clipboard::PasteMode, defaultPasteMode, setDefaultPasteMode)

    // Session state.
    Q_PROPERTY(bool mirrorOpen READ mirrorOpen WRITE setMirrorOpen NOTIFY mirrorOpenChanged)
    Q_PROPERTY(bool desktopHidden READ desktopHidden WRITE setDesktopHidden NOTIFY desktopHiddenChanged)
    // The history list's query and selection; the list decides what both do to its rows.
    Q_PROPERTY(QString searchQuery READ searchQuery WRITE setSearchQuery NOTIFY searchQueryChanged)
    Q_PROPERTY(QUuid selectedClipboardEntryID READ selectedClipboardEntryID WRITE setSelectedClipboardEntryID
                   NOTIFY selectedClipboardEntryIDChanged)
    Q_PROPERTY(QString clipboardStatusMessage READ clipboardStatusMessage WRITE setClipboardStatusMessage
                   NOTIFY clipboardStatusMessageChanged)
    Q_PROPERTY(QString updateMessage READ updateMessage WRITE setUpdateMessage NOTIFY updateMessageChanged)
    // The download page of a newer release the last check found; empty otherwise.
    Q_PROPERTY(QUrl updateURL READ updateURL WRITE setUpdateURL NOTIFY updateURLChanged)
    // One map (id, title, detail, state as its case name, canOpenSettings) per permission.
    Q_PROPERTY(QVariantList permissionSummaries READ permissionSummaryRows NOTIFY permissionSummariesChanged)
    Q_PROPERTY(bool isCheckingForUpdates READ isCheckingForUpdates WRITE setIsCheckingForUpdates NOTIFY
                   isCheckingForUpdatesChanged)
    Q_PROPERTY(Settings::SettingsTab selectedSettingsTab READ selectedSettingsTab WRITE setSelectedSettingsTab
                   NOTIFY selectedSettingsTabChanged)
    // The fixed table of global shortcuts, one map (id, title, key, display) per row.
    Q_PROPERTY(QVariantList shortcuts READ shortcutRows CONSTANT)

public:
    // Reads every persisted field; writes nothing.
    explicit AppState(Preferences *preferences, QObject *parent = nullptr);

    bool mirrorOpen() const { return m_mirrorOpen; }
    bool desktopHidden() const { return m_desktopHidden; }
    // The clipboard history: every entry, the rows the search leaves, and the selection.
    ClipboardListModel *clipboardList() const { return m_clipboardList; }
    QString searchQuery() const;
    // Null when nothing is selected.
    QUuid selectedClipboardEntryID() const;
    // Newest first.
    const ClipboardHistoryEntries &clipboardEntries() const;
    // Null when there is no message.
    QString clipboardStatusMessage() const { return m_clipboardStatusMessage; }
    QString updateMessage() const { return m_updateMessage; }
    bool isCheckingForUpdates() const { return m_isCheckingForUpdates; }
    QUrl updateURL() const { return m_updateURL; }
    const PermissionSummaries &permissionSummaries() const { return m_permissionSummaries; }
    QVariantList permissionSummaryRows() const;
    SettingsTab selectedSettingsTab() const { return m_selectedSettingsTab; }
    // The fixed table of global shortcuts.
    const QList<KeyboardShortcutDescriptor> &shortcuts() const { return m_shortcuts; }
    // How the shortcut with this action id is written on this desktop; empty for an unknown id.
    Q_INVOKABLE QString shortcutText(const QString &shortcutID) const;
    QVariantList shortcutRows() const;

    // Every persisted field, in the order settings lists them.
    static const std::vector<PreferenceRow> &preferenceRows();

    void setMirrorOpen(bool value);
    void setDesktopHidden(bool value);
    void setSearchQuery(const QString &value);
    void setSelectedClipboardEntryID(const QUuid &value);
    void setClipboardStatusMessage(const QString &value);
    void setUpdateMessage(const QString &value);
    void setIsCheckingForUpdates(bool value);
    void setUpdateURL(const QUrl &value);
    // Announced only when a summary differs.
    void setPermissionSummaries(const PermissionSummaries &value);
    void setSelectedSettingsTab(SettingsTab value);

    // Publishes a whole history: the preferred entry is selected, else the first row shown.
    void applyEntries(const ClipboardHistoryEntries &entries, const QUuid &preferredSelection = QUuid());
    void applyPasteResult(PasteResult result);
    DesktopCoverConfiguration desktopCoverConfiguration() const;
    // Every persisted preference back to its default, each written; changed ones are announced.
    void resetToDefaults();

    static QString pastedMessage();
    static QString copiedOnlyMessage();
    static QString cannotPasteMessage();

signals:
    void mirrorOpenChanged();
    void desktopHiddenChanged();
    void searchQueryChanged();
    void selectedClipboardEntryIDChanged();
    void clipboardStatusMessageChanged();
    void updateMessageChanged();
    void isCheckingForUpdatesChanged();
    void updateURLChanged();
    void permissionSummariesChanged();
    void selectedSettingsTabChanged();

private:
    QVariant preference(const char *field) const;
    // Written on every set, announced only on change.
    void setPreference(const char *field, const QVariant &value);

    Preferences *m_preferences;
    // Parallel to preferenceRows().
    std::vector<QVariant> m_preferenceValues;

    bool m_mirrorOpen = false;
    bool m_desktopHidden = false;
    ClipboardListModel *m_clipboardList;
    QString m_clipboardStatusMessage;
    QString m_updateMessage;
    bool m_isCheckingForUpdates = false;
    QUrl m_updateURL;
    PermissionSummaries m_permissionSummaries;
    SettingsTab m_selectedSettingsTab = SettingsTab::general;
    const QList<KeyboardShortcutDescriptor> m_shortcuts = KeyboardShortcutDescriptor::defaultTable();
};
